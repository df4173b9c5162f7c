// libFuzzer target for the TIFF loader: every input is written to a file and
// read through the same entry points the application uses.
#include <ImageLib.h>

#include <tiffio.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include <unistd.h>

namespace {

// Pages so large that merely allocating them would exceed the fuzzer's memory
// limit are skipped: they test the allocator, not the loader.
const uint64_t kMaxPageBytes = 64ull << 20;

bool pagesAreSmall(const char* path)
{
    TIFF* tif = TIFFOpen(path, "r");
    if (!tif) return true;
    bool small = true;
    for (tdir_t page = 0; page < 2 && small; ++page) {
        if (!TIFFSetDirectory(tif, page)) break;
        uint32_t width = 0, height = 0;
        TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
        small = static_cast<uint64_t>(width) * height * 8 <= kMaxPageBytes;
    }
    TIFFClose(tif);
    return small;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::string path = "/tmp/imagelib-fuzz-" + std::to_string(getpid()) + ".tif";
    static CILImage silencer;  // the first construction silences libtiff
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return 0;
    std::fwrite(data, 1, size, f);
    std::fclose(f);

    CILImage::canInitFromFile(path.c_str());
    if (!pagesAreSmall(path.c_str())) return 0;
    CILImage image;
    if (image.LoadFromTIFFFile(path.c_str(), 0)) {
        image.getFrameData(1);
        image.getFrameData(0);
    }
    image.LoadFromTIFFFile(path.c_str(), 1);
    image.getImageCount();
    image.getXResolution();
    return 0;
}
