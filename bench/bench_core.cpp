// Type conversion, the minimum/maximum scan, histograms and display pixels.
#include "BenchSupport.h"

#include <opencv2/imgproc.hpp>

namespace {

const size_t kPixels = static_cast<size_t>(kBenchSide) * kBenchSide;

// ChangeType there and back: u16 <-> the other type (both directions timed).
template <typename T> void ours_changetype(benchmark::State& state)
{
    CILImage image = randomImage<uint16_t>();
    for (auto _ : state) {
        image.CILImageBase::ChangeType(TypeOf<T>::value);
        image.CILImageBase::ChangeType(eUShort);
    }
}
template <typename T> void peer_changetype(benchmark::State& state)
{
    cv::Mat m = randomMat<uint16_t>(), other, back;
    for (auto _ : state) {
        m.convertTo(other, CvDepth<T>::value);
        other.convertTo(back, CV_16U);
    }
}
template <typename T> void copy_changetype(benchmark::State& state)
{
    // Each direction reads one image and writes the other.
    memcpyBench(state, kPixels * (sizeof(T) + sizeof(uint16_t)));
}

template <typename T> void ours_minmax(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    float mn, mx;
    double mean;
    for (auto _ : state) benchmark::DoNotOptimize(image.getMinMax(&mn, &mx, &mean, nullptr, nullptr, nullptr));
}
// The survey as the image's statistics refresh asks for it: all outputs.
template <typename T> void ours_refresh(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    for (auto _ : state) image.RefreshImageStats();
}
template <typename T> void peer_refresh(benchmark::State& state)
{
    cv::Mat m = randomMat<T>();
    double mn, mx;
    for (auto _ : state) {
        cv::minMaxLoc(m, &mn, &mx);
        benchmark::DoNotOptimize(cv::mean(m));
        benchmark::DoNotOptimize(cv::countNonZero(m));
    }
}

template <typename T> void peer_minmax(benchmark::State& state)
{
    cv::Mat m = randomMat<T>();
    double mn, mx;
    for (auto _ : state) {
        cv::minMaxLoc(m, &mn, &mx);
        benchmark::DoNotOptimize(cv::mean(m));
    }
}
template <typename T> void copy_read(benchmark::State& state) { memcpyBench(state, kPixels * sizeof(T) / 2); }

void ours_histogram(benchmark::State& state)
{
    CILImage image = randomImage<uint16_t>();
    std::vector<int32_t> counts(4096);
    for (auto _ : state) benchmark::DoNotOptimize(image.getHistogram(counts.data(), 4096, 0.0f, 65535.0f, nullptr));
}
void peer_histogram(benchmark::State& state)
{
    cv::Mat m = randomMat<uint16_t>(), hist;
    const int bins = 4096;
    const float range[] = {0.0f, 65536.0f};
    const float* ranges[] = {range};
    const int channel = 0;
    for (auto _ : state) cv::calcHist(&m, 1, &channel, cv::Mat(), hist, 1, &bins, ranges);
}

// Display pixels through a palette, against calling the palette per pixel.
template <typename T> void ours_display(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    image.setColorTable(eClutRainbow);
    for (auto _ : state) {
        image.setGLBufferDirty();
        benchmark::DoNotOptimize(image.getPixelsForGL(0));
    }
}
template <typename T> void perpixel_display(benchmark::State& state)
{
    CILImage image = randomImage<T>();
    image.setColorTable(eClutRainbow);
    CILPalette* palette = image.getPalette();
    const T* samples = static_cast<const T*>(image.get_data());
    std::vector<unsigned char> out(kPixels * 3);
    for (auto _ : state) {
        double r = 0, g = 0, b = 0, a = 255;
        unsigned char* o = out.data();
        for (size_t i = 0; i < kPixels; ++i) {
            palette->GetRGBForImageValue(static_cast<double>(samples[i]), &r, &g, &b, &a);
            *o++ = static_cast<unsigned char>(static_cast<int>(r));
            *o++ = static_cast<unsigned char>(static_cast<int>(g));
            *o++ = static_cast<unsigned char>(static_cast<int>(b));
        }
        benchmark::DoNotOptimize(out.data());
    }
}

#define CORE_BENCH3(op, T, name, copy)                                          \
    BENCHMARK_TEMPLATE(ours_##op, T)->Name("ours/" #op "/" name);             \
    BENCHMARK_TEMPLATE(peer_##op, T)->Name("peer/" #op "/" name);             \
    BENCHMARK_TEMPLATE(copy, T)->Name("memcpy/" #op "/" name);

CORE_BENCH3(changetype, uint8_t, "u16-u8", copy_changetype)
CORE_BENCH3(changetype, int32_t, "u16-i32", copy_changetype)
CORE_BENCH3(changetype, float, "u16-f32", copy_changetype)
CORE_BENCH3(changetype, double, "u16-f64", copy_changetype)
CORE_BENCH3(minmax, uint8_t, "u8", copy_read)
CORE_BENCH3(minmax, uint16_t, "u16", copy_read)
CORE_BENCH3(minmax, int32_t, "i32", copy_read)
CORE_BENCH3(minmax, float, "f32", copy_read)
CORE_BENCH3(minmax, double, "f64", copy_read)
CORE_BENCH3(refresh, uint8_t, "u8", copy_read)
CORE_BENCH3(refresh, uint16_t, "u16", copy_read)
CORE_BENCH3(refresh, float, "f32", copy_read)
CORE_BENCH3(refresh, double, "f64", copy_read)
BENCHMARK(ours_histogram)->Name("ours/histogram4096/u16");
BENCHMARK(peer_histogram)->Name("peer/histogram4096/u16");
BENCHMARK_TEMPLATE(ours_display, uint8_t)->Name("ours/display/u8");
BENCHMARK_TEMPLATE(perpixel_display, uint8_t)->Name("peer/display/u8");
BENCHMARK_TEMPLATE(ours_display, uint16_t)->Name("ours/display/u16");
BENCHMARK_TEMPLATE(perpixel_display, uint16_t)->Name("peer/display/u16");
BENCHMARK_TEMPLATE(ours_display, float)->Name("ours/display/f32");
BENCHMARK_TEMPLATE(perpixel_display, float)->Name("peer/display/f32");

} // namespace
