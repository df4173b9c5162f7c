// BenchSupport.h - random images and the naming scheme shared by the
// benchmarks. Each operation is measured three ways in one run:
//   ours/<op>/<type>    this library
//   peer/<op>/<type>    the equivalent OpenCV call, single-threaded
//   memcpy/<op>/<type>  a memcpy of the bytes the operation reads and writes
// bench/compare pairs them up by <op>/<type>.
#ifndef IMAGELIB_BENCH_BENCHSUPPORT_H
#define IMAGELIB_BENCH_BENCHSUPPORT_H

#include <ImageLib.h>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include <cstring>
#include <random>
#include <vector>

const int kBenchSide = 2048;

template <typename T> struct CvDepth;
template <> struct CvDepth<uint8_t> { static const int value = CV_8U; };
template <> struct CvDepth<uint16_t> { static const int value = CV_16U; };
template <> struct CvDepth<int32_t> { static const int value = CV_32S; };
template <> struct CvDepth<float> { static const int value = CV_32F; };
template <> struct CvDepth<double> { static const int value = CV_64F; };

template <typename T> struct TypeOf;
template <> struct TypeOf<uint8_t> { static const QORDataTypes value = eByte; };
template <> struct TypeOf<uint16_t> { static const QORDataTypes value = eUShort; };
template <> struct TypeOf<int32_t> { static const QORDataTypes value = eLong; };
template <> struct TypeOf<float> { static const QORDataTypes value = eFloat; };
template <> struct TypeOf<double> { static const QORDataTypes value = eDouble; };

// Seeded random samples over the type's useful range.
template <typename T>
std::vector<T> randomSamples(size_t count, uint32_t seed = 12345)
{
    std::mt19937 rng(seed);
    std::vector<T> out(count);
    for (T& v : out) {
        if (std::is_floating_point<T>::value)
            v = static_cast<T>(std::uniform_real_distribution<double>(0.0, 1000.0)(rng));
        else if (sizeof(T) == 4)
            v = static_cast<T>(rng() & 0x00FFFFFF);
        else
            v = static_cast<T>(rng());
    }
    return out;
}

template <typename T>
CILImage randomImage(int width = kBenchSide, int height = kBenchSide)
{
    std::vector<T> samples = randomSamples<T>(static_cast<size_t>(width) * height);
    CILImage image;
    image.initWithData(TypeOf<T>::value, width, height, samples.data());
    return image;
}

template <typename T>
cv::Mat randomMat(int width = kBenchSide, int height = kBenchSide)
{
    std::vector<T> samples = randomSamples<T>(static_cast<size_t>(width) * height);
    cv::Mat m(height, width, CvDepth<T>::value);
    std::memcpy(m.data, samples.data(), samples.size() * sizeof(T));
    return m;
}

// The physical limit: copying `bytes` bytes.
inline void memcpyBench(benchmark::State& state, size_t bytes)
{
    std::vector<unsigned char> from(bytes, 1), to(bytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}

#endif
