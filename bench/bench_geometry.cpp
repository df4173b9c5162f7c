// Flip, mirror and quarter turns.
#include "BenchSupport.h"

#include <opencv2/core.hpp>

namespace {

// Each form writes a second image, as the peer's calls do.
template <typename T> void ours_flip(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    std::vector<T> out(image.get_sizeinbytes() / sizeof(T));
    for (auto _ : state) benchmark::DoNotOptimize(image.CILImageBase::Flip(static_cast<void*>(out.data())));
}
template <typename T> void ours_mirror(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    CILImageBase dest;
    for (auto _ : state) benchmark::DoNotOptimize(image.CILImageBase::Mirror(dest));
}
template <typename T> void ours_rotate(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    CILImageBase dest;
    for (auto _ : state) benchmark::DoNotOptimize(image.CILImageBase::RotateRight(dest));
}
template <typename T> void peer_flip(benchmark::State& state)
{
    cv::Mat m = randomMat<T>(), out;
    for (auto _ : state) cv::flip(m, out, 0);
}
template <typename T> void peer_mirror(benchmark::State& state)
{
    cv::Mat m = randomMat<T>(), out;
    for (auto _ : state) cv::flip(m, out, 1);
}
template <typename T> void peer_rotate(benchmark::State& state)
{
    cv::Mat m = randomMat<T>(), out;
    for (auto _ : state) cv::rotate(m, out, cv::ROTATE_90_CLOCKWISE);
}
template <typename T> void copy_image(benchmark::State& state)
{
    memcpyBench(state, static_cast<size_t>(kBenchSide) * kBenchSide * sizeof(T));
}

#define GEOMETRY_BENCH(op, T, name)                                             \
    BENCHMARK_TEMPLATE(ours_##op, T)->Name("ours/" #op "/" name);             \
    BENCHMARK_TEMPLATE(peer_##op, T)->Name("peer/" #op "/" name);             \
    BENCHMARK_TEMPLATE(copy_image, T)->Name("memcpy/" #op "/" name);

GEOMETRY_BENCH(flip, uint8_t, "u8")
GEOMETRY_BENCH(flip, uint16_t, "u16")
GEOMETRY_BENCH(flip, float, "f32")
GEOMETRY_BENCH(mirror, uint8_t, "u8")
GEOMETRY_BENCH(mirror, uint16_t, "u16")
GEOMETRY_BENCH(mirror, float, "f32")
GEOMETRY_BENCH(rotate, uint8_t, "u8")
GEOMETRY_BENCH(rotate, uint16_t, "u16")
GEOMETRY_BENCH(rotate, float, "f32")

} // namespace
