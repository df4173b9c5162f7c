// Convolution, resampling, image arithmetic and the fixed threshold.
//
// Convolution and box smoothing are timed against filter2D with the same
// kernel (the border rules differ, the work does not); resampling against
// resize with the same sides and method; arithmetic and threshold against
// their OpenCV counterparts and against a memcpy that moves as many bytes:
// since a memcpy of b bytes reads b and writes b, it copies half the sum of
// the bytes the operation reads and writes.
#include "BenchSupport.h"

#include <opencv2/imgproc.hpp>

namespace {

const size_t kPixels = static_cast<size_t>(kBenchSide) * kBenchSide;

// ---- convolution ----------------------------------------------------------

// A kernel of size n with distinct, unnormalised coefficients (and a box one).
std::vector<double> convolutionKernel(int n, bool box)
{
    std::vector<double> kernel(static_cast<size_t>(n) * n);
    for (size_t i = 0; i < kernel.size(); ++i)
        kernel[i] = box ? 1.0 / static_cast<double>(kernel.size()) : 0.05 * static_cast<double>(i % 7) - 0.1;
    return kernel;
}

template <typename T, int N> void ours_conv(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    CILImageBase dest;
    const std::vector<double> kernel = convolutionKernel(N, false);
    for (auto _ : state) benchmark::DoNotOptimize(image.CILImageBase::filter(N, kernel.data(), dest));
}
template <typename T, int N> void peer_conv(benchmark::State& state)
{
    cv::Mat m = randomMat<T>(), out;
    const std::vector<double> coefficients = convolutionKernel(N, false);
    cv::Mat kernel(N, N, CV_64F, const_cast<double*>(coefficients.data()));
    for (auto _ : state) cv::filter2D(m, out, -1, kernel);
}

// Box smoothing as the application asks for it: CILImage into a destination.
template <typename T, int N> void ours_box(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    CILImage dest;
    for (auto _ : state) benchmark::DoNotOptimize(image.filter(N, dest, eSmoothBoxFilter));
}
template <typename T, int N> void peer_box(benchmark::State& state)
{
    cv::Mat m = randomMat<T>(), out;
    const std::vector<double> coefficients = convolutionKernel(N, true);
    cv::Mat kernel(N, N, CV_64F, const_cast<double*>(coefficients.data()));
    for (auto _ : state) cv::filter2D(m, out, -1, kernel);
}

// The box filtering alone: CILImageBase::filter with the kernel CILImage
// builds for box smoothing (the smoothing entry point also refreshes the
// destination's statistics).
template <typename T, int N> void ours_boxkernel(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    CILImageBase dest;
    const std::vector<double> kernel = convolutionKernel(N, true);
    for (auto _ : state) benchmark::DoNotOptimize(image.CILImageBase::filter(N, kernel.data(), dest));
}
template <typename T, int N> void peer_boxkernel(benchmark::State& state) { peer_box<T, N>(state); }

#define CONV_BENCH(op, T, N, name)                                                     \
    BENCHMARK_TEMPLATE(ours_##op, T, N)->Name("ours/" #op #N "/" name)->Unit(benchmark::kMillisecond); \
    BENCHMARK_TEMPLATE(peer_##op, T, N)->Name("peer/" #op #N "/" name)->Unit(benchmark::kMillisecond);

CONV_BENCH(conv, uint8_t, 3, "u8")
CONV_BENCH(conv, float, 3, "f32")
CONV_BENCH(conv, uint8_t, 5, "u8")
CONV_BENCH(conv, float, 5, "f32")
CONV_BENCH(box, uint8_t, 3, "u8")
CONV_BENCH(box, float, 3, "f32")
CONV_BENCH(box, uint8_t, 5, "u8")
CONV_BENCH(box, float, 5, "f32")
CONV_BENCH(boxkernel, uint8_t, 3, "u8")
CONV_BENCH(boxkernel, float, 3, "f32")
CONV_BENCH(boxkernel, uint8_t, 5, "u8")
CONV_BENCH(boxkernel, float, 5, "f32")

// ---- resampling -----------------------------------------------------------

// Factor in percent: 50 halves both sides, 200 doubles them.
template <typename T, int Percent, IL_RESAMPLEMODES Mode> void ours_resample(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    CILImageBase dest;
    const int side = kBenchSide * Percent / 100;
    for (auto _ : state) benchmark::DoNotOptimize(image.CILImageBase::upSample(dest, side, side, Mode));
}
template <typename T, int Percent, IL_RESAMPLEMODES Mode> void peer_resample(benchmark::State& state)
{
    cv::Mat m = randomMat<T>(), out;
    const int side = kBenchSide * Percent / 100;
    const int method = Mode == eResampleNearest ? cv::INTER_NEAREST : cv::INTER_LINEAR;
    for (auto _ : state) cv::resize(m, out, cv::Size(side, side), 0, 0, method);
}

#define RESAMPLE_BENCH(T, percent, mode, name)                                                          \
    BENCHMARK_TEMPLATE(ours_resample, T, percent, mode)->Name("ours/" name)->Unit(benchmark::kMillisecond); \
    BENCHMARK_TEMPLATE(peer_resample, T, percent, mode)->Name("peer/" name)->Unit(benchmark::kMillisecond);
#define RESAMPLE_BENCH_TYPE(T, type)                                                \
    RESAMPLE_BENCH(T, 50, eResampleNearest, "nearest-x0.5/" type)                 \
    RESAMPLE_BENCH(T, 200, eResampleNearest, "nearest-x2/" type)                  \
    RESAMPLE_BENCH(T, 50, eResampleBilinear, "bilinear-x0.5/" type)               \
    RESAMPLE_BENCH(T, 200, eResampleBilinear, "bilinear-x2/" type)

RESAMPLE_BENCH_TYPE(uint8_t, "u8")
RESAMPLE_BENCH_TYPE(uint16_t, "u16")
RESAMPLE_BENCH_TYPE(float, "f32")

// ---- arithmetic and threshold -----------------------------------------------

// image + image and image - image: the operators that return a new image.
template <typename T> void ours_add(benchmark::State& state)
{
    CILImage a = randomImage<T>(), b = randomImage<T>();
    for (auto _ : state) {
        CILImageBase sum = a.CILImageBase::operator+(b);
        benchmark::DoNotOptimize(sum.get_data());
    }
}
template <typename T> void peer_add(benchmark::State& state)
{
    cv::Mat a = randomMat<T>(), b = randomMat<T>(), out;
    for (auto _ : state) cv::add(a, b, out);
}
template <typename T> void ours_subtract(benchmark::State& state)
{
    CILImage a = randomImage<T>(), b = randomImage<T>();
    for (auto _ : state) {
        CILImageBase difference = a.CILImageBase::operator-(b);
        benchmark::DoNotOptimize(difference.get_data());
    }
}
template <typename T> void peer_subtract(benchmark::State& state)
{
    cv::Mat a = randomMat<T>(), b = randomMat<T>(), out;
    for (auto _ : state) cv::subtract(a, b, out);
}
// a += b in place: no new image (the operators above allocate theirs on every
// call, which for 2048 x 2048 doubles means fresh pages from the system).
template <typename T> void ours_addinplace(benchmark::State& state)
{
    CILImage a = randomImage<T>(), b = randomImage<T>();
    for (auto _ : state) benchmark::DoNotOptimize(&a.CILImageBase::operator+=(b));
}
template <typename T> void peer_addinplace(benchmark::State& state)
{
    cv::Mat a = randomMat<T>(), b = randomMat<T>();
    for (auto _ : state) cv::add(a, b, a);
}
// Reads two images, writes one.
template <typename T> void copy_twoToOne(benchmark::State& state) { memcpyBench(state, kPixels * sizeof(T) * 3 / 2); }

// image x scalar, returning a new image.
template <typename T> void ours_mulscalar(benchmark::State& state)
{
    CILImage a = randomImage<T>();
    for (auto _ : state) {
        CILImageBase product = a.CILImageBase::operator*(3.0);
        benchmark::DoNotOptimize(product.get_data());
    }
}
template <typename T> void peer_mulscalar(benchmark::State& state)
{
    cv::Mat a = randomMat<T>(), out;
    for (auto _ : state) cv::multiply(a, cv::Scalar(3.0), out);
}
// Reads one image, writes one.
template <typename T> void copy_oneToOne(benchmark::State& state) { memcpyBench(state, kPixels * sizeof(T)); }

// The fixed threshold into the caller's mask; the peer compares into a mask.
template <typename T> void ours_threshold(benchmark::State& state)
{
    CILImage a = randomImage<T>();
    std::vector<char> mask(kPixels);
    for (auto _ : state) benchmark::DoNotOptimize(a.CILImageBase::Threshold(100.0f, mask.data()));
}
template <typename T> void peer_threshold(benchmark::State& state)
{
    cv::Mat a = randomMat<T>(), out;
    for (auto _ : state) cv::compare(a, cv::Scalar(100.0), out, cv::CMP_GT);
}
// Reads one image, writes a byte per pixel.
template <typename T> void copy_toMask(benchmark::State& state)
{
    memcpyBench(state, kPixels * (sizeof(T) + 1) / 2);
}

#define ARITH_BENCH(op, T, name, copy)                                                           \
    BENCHMARK_TEMPLATE(ours_##op, T)->Name("ours/" #op "/" name)->Unit(benchmark::kMillisecond); \
    BENCHMARK_TEMPLATE(peer_##op, T)->Name("peer/" #op "/" name)->Unit(benchmark::kMillisecond); \
    BENCHMARK_TEMPLATE(copy, T)->Name("memcpy/" #op "/" name)->Unit(benchmark::kMillisecond);
#define ARITH_BENCH_TYPES(op, copy)              \
    ARITH_BENCH(op, uint8_t, "u8", copy)         \
    ARITH_BENCH(op, uint16_t, "u16", copy)       \
    ARITH_BENCH(op, int32_t, "i32", copy)        \
    ARITH_BENCH(op, float, "f32", copy)          \
    ARITH_BENCH(op, double, "f64", copy)

ARITH_BENCH_TYPES(add, copy_twoToOne)
ARITH_BENCH_TYPES(subtract, copy_twoToOne)
ARITH_BENCH_TYPES(addinplace, copy_twoToOne)
ARITH_BENCH_TYPES(mulscalar, copy_oneToOne)
ARITH_BENCH_TYPES(threshold, copy_toMask)

} // namespace
