// Loading a 4096 x 4096 16-bit TIFF of uncompressed strips, against a plain
// libtiff strip-reading loop.
#include "BenchSupport.h"

#include <tiffio.h>

#include <cstdio>
#include <string>

namespace {

const uint32_t kSide = 4096;

const std::string& tiffPath()
{
    static const std::string path = [] {
        const std::string p = "/tmp/imagelib-bench-4096-u16.tif";
        TIFF* tif = TIFFOpen(p.c_str(), "w");
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, kSide);
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, kSide);
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 16);
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 64);
        std::vector<uint16_t> row = randomSamples<uint16_t>(kSide);
        for (uint32_t y = 0; y < kSide; ++y) TIFFWriteScanline(tif, row.data(), y, 0);
        TIFFClose(tif);
        return p;
    }();
    return path;
}

void ours_tiffload(benchmark::State& state)
{
    CILImage image;
    for (auto _ : state) benchmark::DoNotOptimize(image.LoadFromTIFFFile(tiffPath().c_str(), 0));
}

void plain_tiffload(benchmark::State& state)
{
    std::vector<uint16_t> pixels(static_cast<size_t>(kSide) * kSide);
    for (auto _ : state) {
        TIFF* tif = TIFFOpen(tiffPath().c_str(), "r");
        unsigned char* out = reinterpret_cast<unsigned char*>(pixels.data());
        for (tstrip_t s = 0; s < TIFFNumberOfStrips(tif); ++s) {
            const tmsize_t n = TIFFReadEncodedStrip(tif, s, out, -1);
            out += n;
        }
        TIFFClose(tif);
        benchmark::DoNotOptimize(pixels.data());
    }
}

BENCHMARK(ours_tiffload)->Name("ours/tiffload4096/u16")->Unit(benchmark::kMillisecond);
BENCHMARK(plain_tiffload)->Name("peer/tiffload4096/u16")->Unit(benchmark::kMillisecond);

} // namespace
