// Writing BMP and TIFF files, checked by readers we did not write (libtiff's
// tools, ImageMagick and libtiff itself), and adopting a raw foreign frame.
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace {

std::string outPath(const std::string& name)
{
    const std::string dir = std::string(IMAGELIB_TEST_DATA_DIR) + "/written";
    std::system(("mkdir -p \"" + dir + "\"").c_str());
    return dir + "/" + name;
}

std::vector<unsigned char> fileBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string run(const std::string& command)
{
    std::string out;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return out;
    char chunk[4096];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0) out.append(chunk, n);
    pclose(pipe);
    return out;
}

uint32_t le32(const std::vector<unsigned char>& b, size_t at)
{
    return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
}

CILImage rampImage(int w, int h, QOR_COLORTABLE_TYPES table)
{
    std::vector<uint8_t> values;
    for (int i = 0; i < w * h; ++i) values.push_back(static_cast<uint8_t>(i * 37 % 256));
    CILImage image;
    image.initWithData(eByte, w, h, values.data());
    image.setColorTable(table, 0, 255);
    return image;
}

} // namespace

TEST(BmpWriting, SizesAndCodes)
{
    EXPECT_EQ(rampImage(1, 1, eClutGrey).getBMPRepresentation(nullptr, 0), 58);
    EXPECT_EQ(rampImage(2, 1, eClutGrey).getBMPRepresentation(nullptr, 0), 62);
    EXPECT_EQ(rampImage(4, 1, eClutGrey).getBMPRepresentation(nullptr, 0), 66);
    CILImage ten = rampImage(10, 10, eClutGrey);
    EXPECT_EQ(ten.getBMPRepresentation(nullptr, 0), 374);
    EXPECT_TRUE(ten.isGLBufferDirty());  // the size alone does not build display pixels
    std::vector<unsigned char> small(100);
    EXPECT_EQ(ten.getBMPRepresentation(small.data(), 100), -2);

    CILImage empty;
    EXPECT_EQ(empty.getBMPRepresentation(nullptr, 0), -1);
    EXPECT_EQ(empty.saveAsBMP(outPath("empty.bmp").c_str()), -1);
    EXPECT_EQ(ten.saveAsBMP("/nonexistent-dir/x.bmp"), -3);

    // No display pixels can be made: a header-only representation, -4, no file.
    CILImage flat = rampImage(3, 3, eClutGrey);
    flat.setColorTable(eClutGrey, 7, 7);
    flat.setGamma(2.0f);
    std::vector<unsigned char> buffer(flat.getBMPRepresentation(nullptr, 0));
    EXPECT_EQ(flat.getBMPRepresentation(buffer.data(), static_cast<uint32_t>(buffer.size())), 54);
    std::remove(outPath("flat.bmp").c_str());
    EXPECT_EQ(flat.saveAsBMP(outPath("flat.bmp").c_str()), -4);
    EXPECT_TRUE(fileBytes(outPath("flat.bmp")).empty());

    // An unknown GL format asserts and stops after the headers.
    CILImage odd = rampImage(2, 2, eClutGrey);
    AssertRecorder asserts;
    odd.setGLFormat(5);
    std::vector<unsigned char> oddBuffer(odd.getBMPRepresentation(nullptr, 0));
    EXPECT_EQ(odd.getBMPRepresentation(oddBuffer.data(), static_cast<uint32_t>(oddBuffer.size())), 54);
    EXPECT_TRUE(asserts.saw(L"\"Image in unknown GL format\"== NULL", L"ImageLib/Source/ILImage_Formats"));
}

TEST(BmpWriting, LayoutForWidthsOneToFiveMatchesTheDisplayPixels)
{
    for (int width = 1; width <= 5; ++width) {
        SCOPED_TRACE(width);
        for (unsigned format : {6407u, 6408u}) {
            CILImage image = rampImage(width, 3, eClutRainbow);
            image.setGLFormat(format);
            const std::string path = outPath("w" + std::to_string(width) + ".bmp");
            ASSERT_EQ(image.saveAsBMP(path.c_str()), 1);
            const std::vector<unsigned char> bmp = fileBytes(path);
            const size_t rowBytes = (3 * width + 3) / 4 * 4;
            ASSERT_EQ(bmp.size(), 54 + rowBytes * 3);
            EXPECT_EQ(bmp[0], 'B');
            EXPECT_EQ(bmp[1], 'M');
            EXPECT_EQ(le32(bmp, 2), bmp.size());
            EXPECT_EQ(le32(bmp, 10), 54u);
            EXPECT_EQ(le32(bmp, 14), 40u);
            EXPECT_EQ(le32(bmp, 18), static_cast<uint32_t>(width));
            EXPECT_EQ(le32(bmp, 22), 3u);
            EXPECT_EQ(bmp[26] | (bmp[27] << 8), 1);
            EXPECT_EQ(bmp[28] | (bmp[29] << 8), 24);
            EXPECT_EQ(le32(bmp, 30), 0u);
            EXPECT_EQ(le32(bmp, 34), rowBytes * 3);
            // Rows bottom-up, blue-green-red, zero padding. The display cache
            // was built for the file with the last row first.
            const size_t channels = format == 6408 ? 4 : 3;
            const unsigned char* display = static_cast<const unsigned char*>(image.getPixelsForGL(1));
            for (int row = 0; row < 3; ++row) {
                const unsigned char* fileRow = &bmp[54 + row * rowBytes];
                for (int x = 0; x < width; ++x) {
                    const unsigned char* d = display + (row * width + x) * channels;
                    EXPECT_EQ(fileRow[3 * x + 0], d[2]);
                    EXPECT_EQ(fileRow[3 * x + 1], d[1]);
                    EXPECT_EQ(fileRow[3 * x + 2], d[0]);
                }
                for (size_t pad = 3 * width; pad < rowBytes; ++pad) EXPECT_EQ(fileRow[pad], 0);
            }
        }
    }
}

TEST(BmpWriting, ImageMagickReadsTheSameColours)
{
    CILImage image = rampImage(5, 3, eClutSpectrumToBlack);
    const std::string path = outPath("magick.bmp");
    ASSERT_EQ(image.saveAsBMP(path.c_str()), 1);
    EXPECT_EQ(run(std::string(IMAGELIB_IDENTIFY) + " -format '%w %h %m' " + path).substr(0, 7), "5 3 BMP");
    // ImageMagick gives the rows top-down as RGB bytes.
    const std::string raw = run(std::string(IMAGELIB_CONVERT) + " " + path + " -depth 8 rgb:-");
    ASSERT_EQ(raw.size(), 5u * 3 * 3);
    image.setGLBufferDirty();
    const unsigned char* display = static_cast<const unsigned char*>(image.getPixelsForGL(0));
    EXPECT_EQ(std::vector<unsigned char>(raw.begin(), raw.end()),
              std::vector<unsigned char>(display, display + raw.size()));
}

namespace {

template <typename T>
void expectTiffRoundTrip(QORDataTypes type, std::vector<T> values, int bits, int sampleFormat)
{
    SCOPED_TRACE(type);
    const int w = 7, h = 3;
    values.resize(w * h);
    CILImage image;
    image.initWithData(type, w, h, values.data());
    const std::string path = outPath("samples" + std::to_string(type) + ".tif");
    ASSERT_EQ(image.saveAsTIFF(path.c_str()), 1);

    // Tags through libtiff itself.
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    ASSERT_NE(tif, nullptr);
    uint32_t width = 0, height = 0, subfile = 9;
    uint16_t bps = 0, compression = 0, photometric = 9, planar = 0, orientation = 0, format = 0, unit = 0, spp = 0;
    float xres = -1, yres = -1;
    TIFFGetField(tif, TIFFTAG_SUBFILETYPE, &subfile);
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(tif, TIFFTAG_BITSPERSAMPLE, &bps);
    TIFFGetField(tif, TIFFTAG_COMPRESSION, &compression);
    TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFGetField(tif, TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetField(tif, TIFFTAG_ORIENTATION, &orientation);
    const bool hasFormat = TIFFGetField(tif, TIFFTAG_SAMPLEFORMAT, &format) == 1;
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &spp);
    TIFFGetField(tif, TIFFTAG_RESOLUTIONUNIT, &unit);
    TIFFGetField(tif, TIFFTAG_XRESOLUTION, &xres);
    TIFFGetField(tif, TIFFTAG_YRESOLUTION, &yres);
    EXPECT_EQ(subfile, 0u);
    EXPECT_EQ(width, 7u);
    EXPECT_EQ(height, 3u);
    EXPECT_EQ(bps, bits);
    EXPECT_EQ(compression, COMPRESSION_LZW);
    EXPECT_EQ(photometric, PHOTOMETRIC_MINISBLACK);
    EXPECT_EQ(planar, PLANARCONFIG_CONTIG);
    EXPECT_EQ(orientation, ORIENTATION_TOPLEFT);
    EXPECT_EQ(spp, 1);
    EXPECT_EQ(unit, RESUNIT_CENTIMETER);
    EXPECT_EQ(xres, 0.0f);
    EXPECT_EQ(yres, 0.0f);
    if (sampleFormat) {
        EXPECT_TRUE(hasFormat);
        EXPECT_EQ(format, sampleFormat);
    } else {
        EXPECT_FALSE(hasFormat);
    }
    std::vector<T> decoded(w * h);
    for (int row = 0; row < h; ++row) TIFFReadScanline(tif, decoded.data() + row * w, row, 0);
    TIFFClose(tif);
    EXPECT_EQ(decoded, values);

    // And through the independent tools.
    const std::string info = run(std::string(IMAGELIB_TIFFINFO) + " " + path + " 2>&1");
    EXPECT_NE(info.find("Bits/Sample: " + std::to_string(bits)), std::string::npos) << info;
    EXPECT_NE(info.find("Compression Scheme: LZW"), std::string::npos) << info;
    EXPECT_EQ(run(std::string(IMAGELIB_IDENTIFY) + " -format '%w %h' " + path + " 2>/dev/null"), "7 3");
    // Our own loader gets the same samples back.
    CILImage reloaded;
    ASSERT_TRUE(reloaded.LoadFromTIFFFile(path.c_str(), 0));
    EXPECT_EQ(reloaded == image, 1);
}

} // namespace

TEST(TiffWriting, EverySampleTypeRoundTripsWithItsTags)
{
    expectTiffRoundTrip<uint8_t>(eByte, {0, 1, 127, 128, 255}, 8, 0);
    expectTiffRoundTrip<uint16_t>(eUShort, {0, 1, 300, 65535, 40000}, 16, 0);
    expectTiffRoundTrip<int32_t>(eLong, {0, -1, INT32_MIN, INT32_MAX, 123456}, 32, SAMPLEFORMAT_INT);
    expectTiffRoundTrip<float>(eFloat, {0.0f, -1.5f, 3.25e10f, 1e-30f}, 32, SAMPLEFORMAT_IEEEFP);
    expectTiffRoundTrip<double>(eDouble, {0.0, -1.5, 1e300, 0.1}, 64, SAMPLEFORMAT_IEEEFP);

    // ImageMagick decodes the 16-bit samples to the same values.
    std::vector<uint16_t> ramp;
    for (int i = 0; i < 12; ++i) ramp.push_back(static_cast<uint16_t>(i * 5000));
    CILImage image;
    image.initWithData(eUShort, 4, 3, ramp.data());
    const std::string path = outPath("magick16.tif");
    ASSERT_EQ(image.saveAsTIFF(path.c_str()), 1);
    const std::string raw = run(std::string(IMAGELIB_CONVERT) + " " + path + " -depth 16 -endian LSB gray:-");
    ASSERT_EQ(raw.size(), 24u);
    EXPECT_EQ(std::memcmp(raw.data(), ramp.data(), 24), 0);

    EXPECT_EQ(image.saveAsTIFF("/nonexistent-dir/x.tif"), -1);
}

TEST(ForeignFrames, BitsAllocatedChooseTheType)
{
    std::vector<char> pixels = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    CILImage image;
    ASSERT_TRUE(image.InitFromDICOMFile(pixels.data(), 2, 3, 12));
    EXPECT_EQ(image.get_datatype(), eUShort);
    EXPECT_EQ(image.get_width(), 3u);
    EXPECT_EQ(image.get_height(), 2u);
    EXPECT_EQ(std::memcmp(image.get_data(), pixels.data(), 12), 0);
    ASSERT_TRUE(image.InitFromDICOMFile(pixels.data(), 3, 2, 1));
    EXPECT_EQ(image.get_datatype(), eByte);
    EXPECT_EQ(image.get_sizeinbytes(), 6u);
    ASSERT_TRUE(image.InitFromDICOMFile(pixels.data(), 1, 3, 32));
    EXPECT_EQ(image.get_datatype(), eLong);
    // Only the low 16 bits choose, but above 32 the whole value is the type.
    ASSERT_TRUE(image.InitFromDICOMFile(pixels.data(), 1, 1, 0x10008));
    EXPECT_EQ(image.get_datatype(), eByte);
    AssertRecorder asserts;
    image.InitFromDICOMFile(pixels.data(), 1, 1, 64);
    EXPECT_EQ(image.get_datatype(), static_cast<QORDataTypes>(64));
    EXPECT_TRUE(asserts.saw(L"1==0", L"ImageLib/Source/ILImageBase"));
}
