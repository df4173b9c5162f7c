// The median filter and grey erosion/dilation.
//
// Median against medianBlur and erode/dilate against the OpenCV calls with a
// rectangular element of the same size (the border rules differ, the work
// does not). medianBlur has no 16-bit form beyond 5 x 5, so the large 16-bit
// medians are timed against sorting every window, the plain kernel that
// defines the result, here taken from the test tree's reference copy.
#include "BenchSupport.h"
#include "../tests/reference/ReferenceKernels.h"

#include <opencv2/imgproc.hpp>

namespace {

template <typename T, int N> void ours_median(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    CILImageBase dest;
    for (auto _ : state) benchmark::DoNotOptimize(image.CILImageBase::Median(N, dest));
}
template <typename T, int N> void peer_median(benchmark::State& state)
{
    cv::Mat m = randomMat<T>(), out;
    for (auto _ : state) cv::medianBlur(m, out, N);
}
template <typename T, int N> void sorted_median(benchmark::State& state)
{
    const std::vector<T> samples = randomSamples<T>(static_cast<size_t>(kBenchSide) * kBenchSide);
    std::vector<T> out(samples.size());
    for (auto _ : state) {
        reference::median(samples.data(), out.data(), kBenchSide, kBenchSide, N);
        benchmark::DoNotOptimize(out.data());
    }
}

template <typename T, int N, bool Erode> void ours_morph(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    std::vector<T> out(static_cast<size_t>(kBenchSide) * kBenchSide);
    for (auto _ : state) {
        const bool done =
            Erode ? image.CILImageBase::Erode(N, N, out.data()) : image.CILImageBase::Dilate(N, N, out.data());
        benchmark::DoNotOptimize(done);
    }
}
template <typename T, int N, bool Erode> void peer_morph(benchmark::State& state)
{
    cv::Mat m = randomMat<T>(), out;
    const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(N, N));
    for (auto _ : state) {
        if (Erode)
            cv::erode(m, out, element);
        else
            cv::dilate(m, out, element);
    }
}

#define MEDIAN_BENCH(T, N, name)                                                                              \
    BENCHMARK_TEMPLATE(ours_median, T, N)->Name("ours/median" #N "/" name)->Unit(benchmark::kMillisecond);   \
    BENCHMARK_TEMPLATE(peer_median, T, N)->Name("peer/median" #N "/" name)->Unit(benchmark::kMillisecond);
#define MEDIAN_BENCH_SORTED(T, N, name)                                                                                \
    BENCHMARK_TEMPLATE(ours_median, T, N)->Name("ours/median" #N "/" name)->Unit(benchmark::kMillisecond);             \
    BENCHMARK_TEMPLATE(sorted_median, T, N)                                                                            \
        ->Name("peer/median" #N "/" name)                                                                              \
        ->Unit(benchmark::kMillisecond)                                                                                \
        ->Iterations(1);
#define MORPH_BENCH(T, N, name)                                                                                     \
    BENCHMARK_TEMPLATE(ours_morph, T, N, true)->Name("ours/erode" #N "/" name)->Unit(benchmark::kMillisecond);     \
    BENCHMARK_TEMPLATE(peer_morph, T, N, true)->Name("peer/erode" #N "/" name)->Unit(benchmark::kMillisecond);     \
    BENCHMARK_TEMPLATE(ours_morph, T, N, false)->Name("ours/dilate" #N "/" name)->Unit(benchmark::kMillisecond);   \
    BENCHMARK_TEMPLATE(peer_morph, T, N, false)->Name("peer/dilate" #N "/" name)->Unit(benchmark::kMillisecond);

MEDIAN_BENCH(uint8_t, 3, "u8")
MEDIAN_BENCH(uint16_t, 3, "u16")
MEDIAN_BENCH(float, 3, "f32")
MEDIAN_BENCH(uint8_t, 5, "u8")
MEDIAN_BENCH(uint16_t, 5, "u16")
MEDIAN_BENCH(float, 5, "f32")
MEDIAN_BENCH(uint8_t, 7, "u8")
MEDIAN_BENCH(uint8_t, 15, "u8")
MEDIAN_BENCH_SORTED(uint16_t, 7, "u16")
MEDIAN_BENCH_SORTED(uint16_t, 15, "u16")

MORPH_BENCH(uint8_t, 3, "u8")
MORPH_BENCH(float, 3, "f32")
MORPH_BENCH(uint8_t, 7, "u8")
MORPH_BENCH(float, 7, "f32")
MORPH_BENCH(uint8_t, 15, "u8")
MORPH_BENCH(float, 15, "f32")

} // namespace
