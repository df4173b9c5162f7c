// Reading TIFF files made at test time by ImageMagick and libtiff's tools,
// checked against what libtiff itself decodes and against the known pictures.
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstdlib>
#include <cstring>
#include <algorithm>
#include <fstream>
#include <functional>
#include <string>

namespace {

const std::string& corpusDir()
{
    static const std::string dir = std::string(IMAGELIB_TEST_DATA_DIR) + "/tiff-corpus";
    return dir;
}

std::string corpus(const std::string& name) { return corpusDir() + "/" + name; }

class TiffFiles : public ::testing::Test {
protected:
    // CTest makes the corpus once before the tests run (in parallel); a
    // binary started by hand makes it when it is missing.
    static void SetUpTestSuite()
    {
        if (std::ifstream(corpusDir() + "/.complete")) return;
        const std::string command = std::string("\"") + IMAGELIB_TIFF_CORPUS_SCRIPT + "\" \"" + corpusDir() + "\"";
        ASSERT_EQ(std::system(command.c_str()), 0) << "could not make the TIFF corpus";
    }
};

// The page's rows as libtiff decodes them, one after the other.
std::vector<uint8_t> libtiffScanlines(const std::string& path, int page = 0)
{
    std::vector<uint8_t> out;
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif) return out;
    if (TIFFSetDirectory(tif, static_cast<tdir_t>(page))) {
        uint32_t height = 0;
        TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
        const tmsize_t scan = TIFFScanlineSize(tif);
        out.resize(static_cast<size_t>(scan) * height);
        for (uint32_t row = 0; row < height; ++row)
            if (TIFFReadScanline(tif, out.data() + row * scan, row, 0) < 0) out.clear();
    }
    TIFFClose(tif);
    return out;
}

std::vector<uint32_t> libtiffRGBA(const std::string& path, uint32_t& width, uint32_t& height)
{
    std::vector<uint32_t> raster;
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif) return raster;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
    raster.resize(static_cast<size_t>(width) * height);
    if (!TIFFReadRGBAImage(tif, width, height, raster.data(), 1)) raster.clear();
    TIFFClose(tif);
    return raster;
}

std::vector<uint8_t> bytesOf(const CILImageBase& image, size_t count)
{
    const uint8_t* data = static_cast<const uint8_t*>(image.get_data());
    return data ? std::vector<uint8_t>(data, data + count) : std::vector<uint8_t>();
}

CILImage load(const std::string& name, int page = 0)
{
    CILImage image;
    EXPECT_TRUE(image.LoadFromTIFFFile(corpus(name).c_str(), page)) << name;
    return image;
}

const uint32_t kW = 37, kH = 23;

// The picture ImageMagick was asked to draw into grey16.tif.
uint16_t grey16At(uint32_t x, uint32_t y) { return static_cast<uint16_t>((x * 1031 + y * 7919) % 65536); }

} // namespace

TEST_F(TiffFiles, GreyPagesTakeTheTypeOfTheirPixelWidthAndLibtiffsBytes)
{
    struct Case {
        const char* file;
        QORDataTypes type;
    };
    const Case cases[] = {{"grey1.tif", eByte},     {"grey4.tif", eByte},        {"grey8.tif", eByte},
                          {"grey16.tif", eUShort},  {"grey32.tif", eLong},       {"float32.tif", eFloat},
                          {"float32-nosf.tif", eLong}, {"float64.tif", eDouble}, {"palette.tif", eByte}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        CILImage image = load(c.file);
        EXPECT_EQ(image.get_datatype(), c.type);
        EXPECT_EQ(image.get_width(), kW);
        EXPECT_EQ(image.get_height(), kH);
        EXPECT_FALSE(image.isRGBImageFormat());
        EXPECT_EQ(image.currentImageNumber(), 0);
        const std::vector<uint8_t> reference = libtiffScanlines(corpus(c.file));
        ASSERT_FALSE(reference.empty());
        ASSERT_LE(reference.size(), image.get_sizeinbytes());
        EXPECT_EQ(bytesOf(image, reference.size()), reference);  // 1- and 4-bit pages stay packed
    }
    // The samples are the picture that was drawn.
    CILImage grey16 = load("grey16.tif");
    const std::vector<uint16_t> samples = samplesOf<uint16_t>(grey16);
    for (uint32_t y = 0; y < kH; y += 5)
        for (uint32_t x = 0; x < kW; x += 3) EXPECT_EQ(samples[y * kW + x], grey16At(x, y)) << x << "," << y;
    CILImage grey8 = load("grey8.tif");
    EXPECT_EQ(samplesOf<uint8_t>(grey8)[5 * kW + 9], (9 * 7 + 5 * 13) % 256);
    CILImage float32 = load("float32.tif");
    EXPECT_NEAR(samplesOf<float>(float32)[2 * kW + 3], (3 + 2 * 40) / 1000.0, 2e-5);  // drawn at 16-bit precision
    CILImage float64 = load("float64.tif");
    EXPECT_NEAR(samplesOf<double>(float64)[4 * kW + 30], (30 + 4 * 40) / 1000.0, 2e-5);
}

TEST_F(TiffFiles, StripLayoutsByteOrdersBigTiffAndCompressionDecodeTheSame)
{
    const CILImage reference = load("grey16.tif");
    for (const char* file : {"strips1.tif", "strips5.tif", "strips-whole.tif", "strips-none.tif",
                             "big-endian16.tif", "little-endian16.tif", "bigtiff16.tif", "lzw16.tif",
                             "deflate16.tif", "orient1.tif"}) {
        SCOPED_TRACE(file);
        CILImage image = load(file);
        EXPECT_EQ(image == reference, 1);
    }
    EXPECT_EQ(load("packbits8.tif") == load("grey8.tif"), 1);
}

TEST_F(TiffFiles, OrientationIsUndoneOnStripPages)
{
    // Where sample (x, y) of the result comes from, for each orientation.
    using Source = std::function<uint16_t(uint32_t x, uint32_t y)>;
    struct Case {
        int orientation;
        uint32_t width, height;
        Source source;
    };
    const Case cases[] = {
        {2, kW, kH, [](uint32_t x, uint32_t y) { return grey16At(kW - 1 - x, y); }},
        {3, kW, kH, [](uint32_t x, uint32_t y) { return grey16At(kW - 1 - x, kH - 1 - y); }},
        {4, kW, kH, [](uint32_t x, uint32_t y) { return grey16At(x, kH - 1 - y); }},
        {5, kH, kW, [](uint32_t x, uint32_t y) { return grey16At(y, x); }},
        {6, kH, kW, [](uint32_t x, uint32_t y) { return grey16At(kW - 1 - y, x); }},
        {7, kH, kW, [](uint32_t x, uint32_t y) { return grey16At(kW - 1 - y, kH - 1 - x); }},
        {8, kH, kW, [](uint32_t x, uint32_t y) { return grey16At(y, kH - 1 - x); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.orientation);
        CILImage image = load("orient" + std::to_string(c.orientation) + ".tif");
        ASSERT_EQ(image.get_width(), c.width);
        ASSERT_EQ(image.get_height(), c.height);
        const std::vector<uint16_t> samples = samplesOf<uint16_t>(image);
        int mismatches = 0;
        for (uint32_t y = 0; y < c.height; ++y)
            for (uint32_t x = 0; x < c.width; ++x) mismatches += samples[y * c.width + x] != c.source(x, y);
        EXPECT_EQ(mismatches, 0);
        // The rearranging operations refreshed the cached statistics.
        uint16_t largest = 0;
        for (uint32_t y = 0; y < kH; ++y)
            for (uint32_t x = 0; x < kW; ++x) largest = std::max(largest, grey16At(x, y));
        EXPECT_EQ(image.getMax(), static_cast<float>(largest));
    }
}

TEST_F(TiffFiles, ColourPagesGoThroughTheRgbaReaderBottomRowFirst)
{
    for (const char* file : {"rgb8.tif", "rgba8.tif", "rgb16.tif"}) {
        SCOPED_TRACE(file);
        CILImage image = load(file);
        EXPECT_TRUE(image.isRGBImageFormat());
        EXPECT_EQ(image.get_datatype(), std::string(file) == "rgb16.tif" ? eDouble : eLong);
        uint32_t w = 0, h = 0;
        const std::vector<uint32_t> raster = libtiffRGBA(corpus(file), w, h);
        ASSERT_EQ(raster.size(), static_cast<size_t>(w) * h);
        ASSERT_EQ(image.get_width(), w);
        // Replay the documented writes: BGRA, rows get_width() bytes apart,
        // so later rows overwrite most of the earlier ones.
        std::vector<int> expected(image.get_sizeinbytes(), -1);
        for (uint32_t r = 0; r < h; ++r)
            for (uint32_t x = 0; x < w; ++x) {
                uint8_t rgba[4];
                std::memcpy(rgba, &raster[r * w + x], 4);
                const size_t at = static_cast<size_t>(r) * w + x * 4;
                expected[at] = rgba[2];
                expected[at + 1] = rgba[1];
                expected[at + 2] = rgba[0];
                expected[at + 3] = rgba[3];
            }
        const std::vector<uint8_t> got = bytesOf(image, image.get_sizeinbytes());
        int mismatches = 0;
        for (size_t i = 0; i < expected.size(); ++i) mismatches += expected[i] >= 0 && expected[i] != got[i];
        EXPECT_EQ(mismatches, 0);
    }
    // Independently of libtiff: the last row written is the picture's top
    // row, pure red, stored blue-green-red-alpha.
    CILImage rgb = load("rgb8.tif");
    const std::vector<uint8_t> bytes = bytesOf(rgb, rgb.get_sizeinbytes());
    const size_t top = 6 * 13;
    for (size_t x = 0; x < 13; ++x) {
        EXPECT_EQ(bytes[top + 4 * x + 0], 0);
        EXPECT_EQ(bytes[top + 4 * x + 1], 0);
        EXPECT_EQ(bytes[top + 4 * x + 2], 255);
        EXPECT_EQ(bytes[top + 4 * x + 3], 255);
    }
    CILImage rgba = load("rgba8.tif");
    EXPECT_NEAR(bytesOf(rgba, rgba.get_sizeinbytes())[top + 3], 128, 1);  // 50% alpha
}

TEST_F(TiffFiles, TiledPagesLeaveTheBufferAsAllocated)
{
    CILImage image = load("tiled16.tif");
    EXPECT_EQ(image.get_datatype(), eUShort);
    EXPECT_EQ(image.get_width(), kW);
    EXPECT_EQ(image.get_height(), kH);
    EXPECT_NE(image.get_data(), nullptr);
}

TEST_F(TiffFiles, PagesFramesAndFileQueries)
{
    CILImage image;
    EXPECT_EQ(image.getImageWidth(), -1);
    EXPECT_EQ(image.getImageHeight(), -1);
    EXPECT_EQ(image.getOriginalWidth(), 0u);
    EXPECT_EQ(image.getResolutionUnit(), 65535);
    EXPECT_EQ(image.getXResolution(), -1.0f);
    EXPECT_EQ(image.getImageCount(), 0);

    const std::string multi = corpus("multipage.tif");
    ASSERT_TRUE(image.LoadFromTIFFFile(multi.c_str(), 1));
    EXPECT_EQ(image.get_datatype(), eByte);
    EXPECT_EQ(image.currentImageNumber(), 1);
    EXPECT_EQ(image.getImageCount(), 3);
    EXPECT_EQ(CILImage::readImageCount(multi.c_str()), 3);
    EXPECT_TRUE(CILImage::isMultiPageImage(multi.c_str()));
    EXPECT_FALSE(CILImage::isMultiPageImage(corpus("grey8.tif").c_str()));
    EXPECT_EQ(image.getImageWidth(), 37);
    EXPECT_EQ(image.getOriginalHeight(), kH);

    // Frames are decoded into the existing buffer as it stands.
    ASSERT_TRUE(image.LoadFromTIFFFile(multi.c_str(), 0));
    ASSERT_EQ(image.get_datatype(), eUShort);
    const void* data = image.get_data();
    EXPECT_EQ(image.getFrameData(1), data);
    EXPECT_EQ(image.currentImageNumber(), 1);
    const std::vector<uint8_t> page1 = libtiffScanlines(multi, 1);
    EXPECT_EQ(bytesOf(image, page1.size()), page1);
    EXPECT_EQ(image.getFrameData(2), data);  // a float page: bounded by the 16-bit buffer
    EXPECT_EQ(image.getFrameData(3), nullptr);
    EXPECT_EQ(image.currentImageNumber(), 2);

    // A page past the end fails but the new path is already recorded.
    const std::vector<uint8_t> before = bytesOf(image, image.get_sizeinbytes());
    EXPECT_FALSE(image.LoadFromTIFFFile(corpus("grey8.tif").c_str(), 1));
    EXPECT_EQ(image.get_data(), data);
    EXPECT_EQ(bytesOf(image, image.get_sizeinbytes()), before);
    EXPECT_EQ(image.currentImageNumber(), 2);
    EXPECT_EQ(image.getImageCount(), 1);  // grey8.tif's count

    CILImage dense = load("resolution.tif");
    EXPECT_EQ(dense.getResolutionUnit(), RESUNIT_INCH);
    EXPECT_FLOAT_EQ(dense.getXResolution(), 300.0f);
    EXPECT_FLOAT_EQ(dense.getYResolution(), 300.0f);
}

TEST_F(TiffFiles, CanInitFromFileChecksTheHeader)
{
    EXPECT_EQ(CILImage::canInitFromFile(corpus("grey8.tif").c_str()), 1);
    EXPECT_EQ(CILImage::canInitFromFile(corpus("big-endian16.tif").c_str()), 1);
    EXPECT_EQ(CILImage::canInitFromFile(corpus("bigtiff16.tif").c_str()), 1);
    EXPECT_EQ(CILImage::isImage(corpus("multipage.tif").c_str()), 1);
    EXPECT_EQ(CILImage::canInitFromFile(corpus("text.tif").c_str()), 0);
    EXPECT_EQ(CILImage::canInitFromFile(corpus("tiny.tif").c_str()), 0);
    EXPECT_EQ(CILImage::canInitFromFile(corpus("missing.tif").c_str()), 0);
    EXPECT_EQ(CILImage::isImage(nullptr), 0);
}

TEST_F(TiffFiles, HostileFilesFailCleanlyAndSilently)
{
    CILImage warmUp;  // silences libtiff before anything is read
    for (const char* file : {"truncated16.tif", "short-strips16.tif", "huge-size8.tif", "zero-width8.tif",
                             "absurd-bits8.tif", "rgba128.tif", "text.tif", "tiny.tif", "missing.tif"}) {
        SCOPED_TRACE(file);
        CILImage image;
        testing::internal::CaptureStderr();
        EXPECT_FALSE(image.LoadFromTIFFFile(corpus(file).c_str(), 0));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
    // These decode as far as their data goes; what matters is that nothing
    // is written outside the buffer.
    for (const char* file : {"long-strips16.tif", "odd-bits16.tif"}) {
        SCOPED_TRACE(file);
        CILImage image;
        image.LoadFromTIFFFile(corpus(file).c_str(), 0);
    }
    CILImage image;
    EXPECT_FALSE(image.LoadFromTIFFFile(corpus("grey8.tif").c_str(), -1));
    EXPECT_FALSE(image.LoadFromTIFFFile(nullptr, 0));
}

// Inputs that once broke the loader (found by the fuzzer) must keep loading
// without harm, whatever their result.
TEST(TiffRegressions, FuzzerFindingsLoadSafely)
{
    const std::string dir = IMAGELIB_FUZZ_REGRESSION_DIR;
    const std::string listing = "ls -1 \"" + dir + "\" 2>/dev/null";
    FILE* pipe = popen(listing.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    char name[512];
    while (std::fgets(name, sizeof name, pipe)) {
        std::string file = dir + "/" + std::string(name, std::strcspn(name, "\n"));
        if (file.size() < 4 || file.compare(file.size() - 3, 3, ".md") == 0) continue;
        SCOPED_TRACE(file);
        CILImage image;
        if (image.LoadFromTIFFFile(file.c_str(), 0)) image.getFrameData(1);
        image.LoadFromTIFFFile(file.c_str(), 1);
        CILImage::canInitFromFile(file.c_str());
    }
    pclose(pipe);
}
