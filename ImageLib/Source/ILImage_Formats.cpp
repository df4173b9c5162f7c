// ILImage_Formats.cpp - writing a CILImage as BMP (its display colours) or
// TIFF (its samples), and adopting a raw frame of a foreign format.
#include "ILImage.h"
#include "ILInternal.h"

#include <tiffio.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImage_Formats"

namespace {

const int32_t kBmpHeaderBytes = 54;

void put16(unsigned char* p, uint32_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

void put32(unsigned char* p, uint32_t v)
{
    put16(p, v);
    put16(p + 2, v >> 16);
}

// 3 x width rounded up to a multiple of 4.
uint64_t bmpRowBytes(uint32_t width) { return ((static_cast<uint64_t>(width) + 1) * 3) & ~static_cast<uint64_t>(3); }

void writeBmpHeaders(unsigned char* out, uint32_t width, uint32_t height, uint32_t imageBytes)
{
    put16(out + 0, 0x4D42);
    put32(out + 2, kBmpHeaderBytes + imageBytes);
    put32(out + 10, kBmpHeaderBytes);
    put32(out + 14, 40);
    put32(out + 18, width);
    put32(out + 22, height);
    put16(out + 26, 1);
    put16(out + 28, 24);
    put32(out + 34, imageBytes);
}

} // namespace

int32_t CILImage::getBMPRepresentation(unsigned char* buffer, uint32_t size)
{
    if (!hasPixels() || m_width == 0 || m_height == 0) return -1;
    const uint64_t rowBytes = bmpRowBytes(m_width);
    const uint64_t total = kBmpHeaderBytes + rowBytes * m_height;
    // The size is reported as a signed 32-bit number: larger files are refused.
    if (total > INT32_MAX) return -1;
    if (!buffer) return static_cast<int32_t>(total);
    if (size < total) return -2;
    std::memset(buffer, 0, size);
    writeBmpHeaders(buffer, m_width, m_height, static_cast<uint32_t>(rowBytes * m_height));

    // Flip 1 gives the last row first, the BMP's order; a cache that is not
    // dirty is used in whatever order it was built.
    const unsigned char* source = static_cast<const unsigned char*>(getPixelsForGL(1));
    if (!source) return kBmpHeaderBytes;
    if (m_glFormat != 6407 && m_glFormat != 6408) {
        ILReportAssertion(L"\"Image in unknown GL format\"== NULL", IL_ASSERT_SOURCE, __LINE__);
        return kBmpHeaderBytes;
    }
    const uint64_t step = (m_glFormat == 6408) ? 4 : 3;
    // A cache of another size than the image (sides changed through the
    // base class) is not read past its end.
    if (!m_glRgbBufAdopted && step * m_width * m_height > m_glRgbBufSize) return kBmpHeaderBytes;
    unsigned char* row = buffer + kBmpHeaderBytes;
    for (uint32_t y = 0; y < m_height; ++y, row += rowBytes) {
        unsigned char* out = row;
        for (uint32_t x = 0; x < m_width; ++x, source += step) {
            *out++ = source[2];
            *out++ = source[1];
            *out++ = source[0];
        }
    }
    return static_cast<int32_t>(total);
}

int32_t CILImage::saveAsBMP(const char* path)
{
    if (!hasPixels() || m_width == 0 || m_height == 0) return -1;
    const int32_t total = getBMPRepresentation(nullptr, 0);
    if (total < 1) return -1;
    unsigned char* buffer = static_cast<unsigned char*>(std::malloc(static_cast<size_t>(total)));
    if (!buffer) return -2;
    int32_t result = -4;
    const int32_t n = getBMPRepresentation(buffer, static_cast<uint32_t>(total));
    if (n >= total) {
        FILE* f = path ? std::fopen(path, "wb") : nullptr;
        if (!f) {
            result = -3;
        } else {
            std::fwrite(buffer, 1, static_cast<size_t>(n), f);
            std::fclose(f);
            result = 1;
        }
    }
    std::free(buffer);
    return result;
}

int32_t CILImage::saveAsTIFF(const char* path)
{
    TIFF* tif = path ? TIFFOpen(path, "w") : nullptr;
    if (!tif) return -1;
    const size_t sampleBytes = hasPixels() ? get_reqsizefortype(m_datatype) : 0;
    TIFFSetField(tif, TIFFTAG_SUBFILETYPE, 0);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, m_width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, m_height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, static_cast<uint16_t>(8 * sampleBytes));
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    if (sampleBytes >= 4)
        TIFFSetField(tif, TIFFTAG_SAMPLEFORMAT,
                     (m_datatype == eFloat || m_datatype == eDouble) ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_INT);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tif, 0xFFFFFFFFu));
    TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
    TIFFSetField(tif, TIFFTAG_XRESOLUTION, 0.0f);
    TIFFSetField(tif, TIFFTAG_YRESOLUTION, 0.0f);
    // An image without samples has no rows to write from.
    const uint32_t rows = hasPixels() ? m_height : 0;
    const size_t rowBytes = static_cast<size_t>(m_width) * sampleBytes;
    for (uint32_t row = 0; row < rows; ++row) {
        if (TIFFWriteScanline(tif, m_data + row * rowBytes, row, 0) == -1) {
            TIFFClose(tif);
            return -1;
        }
    }
    TIFFClose(tif);
    return 1;
}

bool CILImage::InitFromDICOMFile(char* pixels, unsigned int rows, unsigned int columns, unsigned int bitsAllocated)
{
    const unsigned int bits = bitsAllocated & 0xFFFFu;
    QORDataTypes type;
    if (bits <= 8)
        type = eByte;
    else if (bits <= 16)
        type = eUShort;
    else if (bits <= 32)
        type = eLong;
    else
        type = static_cast<QORDataTypes>(bitsAllocated);  // kept: 64 stays type number 64
    if (columns > INT32_MAX || rows > INT32_MAX) return false;
    if (!InitWithType(type, static_cast<int32_t>(columns), static_cast<int32_t>(rows))) return false;
    if (pixels && m_sizeinbytes > 0) std::memcpy(m_data, pixels, m_sizeinbytes);
    return true;
}
