// ILImage_TIFF.cpp - reading TIFF pages into a CILImage through libtiff.
//
// libtiff decodes; this unit decides which tags are read, which sample type a
// page becomes, how strips, tiles and colour pages reach the pixel buffer and
// how the orientation is undone. Every copy into the pixel buffer is bounded
// by the buffer's size, whatever the file declares.
#include "ILImage.h"

#include <tiffio.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// A read failure with its message. Raised and caught inside the operation
// that reads; the text never reaches the caller.
struct TiffReadFailure {
    const char* text;
};

[[noreturn]] void fail(const char* text) { throw TiffReadFailure{text}; }

// Closes the TIFF handle on every path.
class TiffFile {
public:
    explicit TiffFile(const char* path) : m_tiff(path ? TIFFOpen(path, "rb") : nullptr) {}
    ~TiffFile()
    {
        if (m_tiff) TIFFClose(m_tiff);
    }
    TiffFile(const TiffFile&) = delete;
    TiffFile& operator=(const TiffFile&) = delete;
    TIFF* get() const { return m_tiff; }

private:
    TIFF* m_tiff;
};

// Frees a malloc'd block on every path.
struct MallocBlock {
    explicit MallocBlock(size_t bytes) : data(static_cast<unsigned char*>(std::malloc(bytes ? bytes : 1))) {}
    ~MallocBlock() { std::free(data); }
    MallocBlock(const MallocBlock&) = delete;
    MallocBlock& operator=(const MallocBlock&) = delete;
    unsigned char* data;
};

// The header values of one page, with the defaults an absent tag leaves.
struct PageHeader {
    uint16_t compression = 1;
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t samplesPerPixel = 1;
    uint16_t bitsPerSample = 1;
    uint32_t rowsPerStrip = 0xFFFFFFFFu;
    uint16_t photometric = 0;
    uint16_t orientation = 1;
};

PageHeader readHeader(TIFF* tif)
{
    PageHeader h;
    TIFFGetField(tif, TIFFTAG_COMPRESSION, &h.compression);
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &h.width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &h.height);
    TIFFGetField(tif, TIFFTAG_SAMPLESPERPIXEL, &h.samplesPerPixel);
    TIFFGetField(tif, TIFFTAG_BITSPERSAMPLE, &h.bitsPerSample);
    TIFFGetField(tif, TIFFTAG_ROWSPERSTRIP, &h.rowsPerStrip);
    TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &h.photometric);
    TIFFGetField(tif, TIFFTAG_ORIENTATION, &h.orientation);
    return h;
}

bool isColourPage(const PageHeader& h)
{
    if (h.bitsPerSample < 8) return false;
    switch (h.photometric) {
    case PHOTOMETRIC_RGB:
    case PHOTOMETRIC_SEPARATED:
    case PHOTOMETRIC_YCBCR:
    case PHOTOMETRIC_LOGL:
    case PHOTOMETRIC_LOGLUV: return true;
    default: return false;
    }
}

// The sample type for the bits of one whole pixel; -1 refuses the page (above
// 64 bits, and 0 bits, which no type describes).
int32_t sampleTypeFor(TIFF* tif, const PageHeader& h)
{
    const uint32_t bits = static_cast<uint32_t>(h.samplesPerPixel) * h.bitsPerSample;
    if (bits >= 1 && bits <= 8) return eByte;
    if (bits >= 9 && bits <= 16) return eUShort;
    if (bits >= 17 && bits <= 32) {
        uint16_t sampleFormat = 0;
        TIFFGetField(tif, TIFFTAG_SAMPLEFORMAT, &sampleFormat);
        return sampleFormat == SAMPLEFORMAT_IEEEFP ? eFloat : eLong;
    }
    if (bits >= 33 && bits <= 64) return eDouble;
    return -1;
}

// Colour pages through libtiff's RGBA reader: each pixel's red, green, blue,
// alpha bytes are stored as blue, green, red, alpha; raster rows keep
// libtiff's bottom-up order and start `rowStride` bytes apart (the image
// width counted in bytes, deliberately).
bool readRGBAPage(TIFF* tif, const PageHeader& h, unsigned char* dest, uint64_t destBytes, uint64_t rowStride)
{
    const uint64_t pixels = static_cast<uint64_t>(h.width) * h.height;
    // The last row ends (height - 1) * stride + 4 * width bytes in: a buffer
    // too small for that (a page that does not fit it) is refused.
    if (h.height > 0 && (h.height - 1) * rowStride + 4ull * h.width > destBytes) return false;
    const uint64_t rasterBytes = pixels > 0 ? pixels * 4 : 4;
    uint32_t* raster = static_cast<uint32_t*>(_TIFFmalloc(static_cast<tmsize_t>(rasterBytes)));
    if (!raster) fail("No space for raster buffer");
    if (!TIFFReadRGBAImage(tif, h.width, h.height, raster, 1)) {
        _TIFFfree(raster);
        fail("Corrupted TIFF file!");
    }
    for (uint64_t r = 0; r < h.height; ++r) {
        const unsigned char* in = reinterpret_cast<const unsigned char*>(raster + r * h.width);
        unsigned char* out = dest + r * rowStride;
        for (uint64_t x = 0; x < h.width; ++x, in += 4, out += 4) {
            out[0] = in[2];
            out[1] = in[1];
            out[2] = in[0];
            out[3] = in[3];
        }
    }
    _TIFFfree(raster);
    return true;
}

// Strips: decoded bytes are copied as libtiff delivers them, one strip after
// the other. A strip whose whole read fits the rest of the buffer is decoded
// straight into it: the same bytes as decoding into the staging buffer and
// copying them over, without the copy.
bool readStrips(TIFF* tif, const PageHeader& h, unsigned char* dest, uint64_t destBytes)
{
    const uint64_t rowBytes = (static_cast<uint64_t>(h.samplesPerPixel) * h.bitsPerSample * h.width + 7) / 8;
    const int64_t stripSize = TIFFStripSize(tif);
    const uint64_t limit = static_cast<uint64_t>(h.samplesPerPixel) * destBytes;
    const uint64_t stagingBytes = stripSize > 0 && static_cast<uint64_t>(stripSize) < limit ? stripSize : limit;
    if (stripSize <= 0 || stagingBytes == 0) return false;
    MallocBlock staging(stagingBytes);
    if (!staging.data) return false;
    // A strip of 0 rows would never advance: read the page as one strip.
    const uint32_t rowsPerStrip = h.rowsPerStrip ? h.rowsPerStrip : h.height;
    uint64_t written = 0;
    for (uint64_t row = 0; row < h.height; row += rowsPerStrip) {
        const uint64_t rows = rowsPerStrip < h.height - row ? rowsPerStrip : h.height - row;
        const uint32_t strip = TIFFComputeStrip(tif, static_cast<uint32_t>(row), 0);
        // The read is limited to the staging buffer as well as to the rows.
        const uint64_t wanted = rows * rowBytes < stagingBytes ? rows * rowBytes : stagingBytes;
        const uint64_t room = destBytes - written;
        const bool direct = wanted <= room;
        unsigned char* target = direct ? dest + written : staging.data;
        const tmsize_t count = TIFFReadEncodedStrip(tif, strip, target, static_cast<tmsize_t>(wanted));
        if (count == -1) fail("Corrupted TIFF file!");
        const uint64_t copied = static_cast<uint64_t>(count) < room ? static_cast<uint64_t>(count) : room;
        if (!direct && copied) std::memcpy(dest + written, staging.data, copied);
        written += copied;
    }
    return true;
}

// Tiles are read (a tile that fails to decode is reported), but a band is
// moved into the pixel buffer with the byte count of the last strip read,
// which on a tiled page is 0: the pixel buffer keeps what the allocation left
// in it. This is the library's established behaviour and is kept
// deliberately. The band-sized staging buffer the bands would pass through is
// still allocated, so a page whose band does not fit in memory fails as before.
bool readTiles(TIFF* tif, const PageHeader& h)
{
    uint32_t tileWidth = 0, tileLength = 0;
    TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(tif, TIFFTAG_TILELENGTH, &tileLength);
    if (tileWidth == 0 || tileLength == 0) return false;  // no tile grid to walk
    const int64_t tileSize = TIFFTileSize(tif);
    if (tileSize <= 0) return false;
    MallocBlock tile(static_cast<size_t>(tileSize));
    if (!tile.data) return false;
    MallocBlock staging(static_cast<uint64_t>(tileSize) * (h.width / tileWidth + 1));
    if (!staging.data) return false;
    for (uint64_t row = 0; row < h.height; row += tileLength)
        for (uint64_t x = 0; x < h.width; x += tileWidth)
            if (TIFFReadTile(tif, tile.data, static_cast<uint32_t>(x), static_cast<uint32_t>(row), 0, 0) < 0)
                fail("Corrupted tiled TIFF file!");
    return true;
}

} // namespace

bool CILImage::LoadFromTIFFFile(const char* path, int page)
{
    return InitFromTIFFFile(path, page);
}

bool CILImage::InitFromTIFFFile(const char* path, int page)
{
    try {
        m_fileName = path ? path : "";
        TiffFile file(path);
        if (!file.get()) fail("Error encountered while opening TIFF file");
        TIFFNumberOfDirectories(file.get());
        if (!TIFFSetDirectory(file.get(), static_cast<uint16_t>(page))) fail("Error: page not present in TIFF file");
        m_currentImageNumber = page;
        return decodeTIFFPage(file.get(), true);
    } catch (...) {
        return false;
    }
}

const void* CILImage::getFrameData(int page)
{
    try {
        TiffFile file(m_fileName.c_str());
        if (!file.get()) fail("Error encountered while reading TIFF file");
        TIFFNumberOfDirectories(file.get());
        if (!TIFFSetDirectory(file.get(), static_cast<uint16_t>(page))) fail("Error: page not present in TIFF file");
        if (!decodeTIFFPage(file.get(), false)) return nullptr;
        m_currentImageNumber = page;
        return get_data();
    } catch (...) {
        return nullptr;
    }
}

bool CILImage::decodeTIFFPage(void* handle, bool reshape)
{
    TIFF* tif = static_cast<TIFF*>(handle);
    PageHeader header = readHeader(tif);
    if (header.rowsPerStrip > header.height) {
        header.rowsPerStrip = header.height;
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, header.height);
    }
    if (reshape) {
        m_isRGBImageFormat = isColourPage(header);
        const int32_t type = sampleTypeFor(tif, header);
        if (type < 0) return false;
        if (header.width > INT32_MAX || header.height > INT32_MAX) return false;
        if (!InitWithType(static_cast<QORDataTypes>(type), static_cast<int32_t>(header.width),
                          static_cast<int32_t>(header.height)))
            return false;
    }
    if (!hasPixels()) return false;

    bool ok;
    if (m_isRGBImageFormat)
        ok = readRGBAPage(tif, header, m_data, m_sizeinbytes, get_width());
    else if (TIFFIsTiled(tif))
        ok = readTiles(tif, header);
    else
        ok = readStrips(tif, header, m_data, m_sizeinbytes);
    if (!ok) return false;
    if (!m_isRGBImageFormat) undoOrientation(header.orientation);
    return true;
}

void CILImage::undoOrientation(unsigned short orientation)
{
    switch (orientation) {
    case 2: Mirror(); break;
    case 3:
        Flip();
        Mirror();
        break;
    case 4: Flip(); break;
    case 5:
        RotateRight();
        Mirror();
        break;
    case 6: RotateLeft(); break;
    case 7:
        RotateLeft();
        Mirror();
        break;
    case 8: RotateRight(); break;
    default: break;
    }
}

void CILImage::TileToStrip(unsigned char* dest, const unsigned char* source, int32_t rows, int32_t rowBytes,
                           int destSkip, int sourceSkip)
{
    if (rows < 1 || !dest || !source || rowBytes < 0) return;
    for (int32_t r = 0; r < rows; ++r) {
        std::memcpy(dest, source, static_cast<size_t>(rowBytes));
        dest += rowBytes + destSkip;
        source += rowBytes + sourceSkip;
    }
}

// ------------------------------------------------------------ file queries

namespace {

template <typename T>
bool firstPageTag(const std::string& path, ttag_t tag, T* value)
{
    TiffFile file(path.c_str());
    if (!file.get()) return false;
    return TIFFGetField(file.get(), tag, value) == 1;
}

int directoryCount(const char* path)
{
    TiffFile file(path);
    if (!file.get()) return 0;
    return static_cast<uint16_t>(TIFFNumberOfDirectories(file.get()));
}

} // namespace

int CILImage::getImageCount() { return directoryCount(m_fileName.c_str()); }
int CILImage::readImageCount(const char* path) { return directoryCount(path); }
bool CILImage::isMultiPageImage(const char* path) { return directoryCount(path) > 1; }

int32_t CILImage::getImageWidth()
{
    uint32_t width = 0;
    return firstPageTag(m_fileName, TIFFTAG_IMAGEWIDTH, &width) ? static_cast<int32_t>(width) : -1;
}

int32_t CILImage::getImageHeight()
{
    uint32_t height = 0;
    return firstPageTag(m_fileName, TIFFTAG_IMAGELENGTH, &height) ? static_cast<int32_t>(height) : -1;
}

unsigned int CILImage::getOriginalWidth()
{
    uint32_t width = 0;
    return firstPageTag(m_fileName, TIFFTAG_IMAGEWIDTH, &width) ? width : 0;
}

unsigned int CILImage::getOriginalHeight()
{
    uint32_t height = 0;
    return firstPageTag(m_fileName, TIFFTAG_IMAGELENGTH, &height) ? height : 0;
}

unsigned short CILImage::getResolutionUnit()
{
    uint16_t unit = 0;
    return firstPageTag(m_fileName, TIFFTAG_RESOLUTIONUNIT, &unit) ? unit : 65535;
}

float CILImage::getXResolution()
{
    float resolution = 0;
    return firstPageTag(m_fileName, TIFFTAG_XRESOLUTION, &resolution) ? resolution : -1.0f;
}

float CILImage::getYResolution()
{
    float resolution = 0;
    return firstPageTag(m_fileName, TIFFTAG_YRESOLUTION, &resolution) ? resolution : -1.0f;
}

int CILImage::canInitFromFile(const char* path)
{
    if (!path) return 0;
    FILE* f = std::fopen(path, "rb");
    if (!f) return 0;
    unsigned char head[8];
    const size_t got = std::fread(head, 1, sizeof head, f);
    std::fclose(f);
    if (got < sizeof head) return 0;
    const unsigned order = head[0] | (head[1] << 8);
    if (order != 0x4949 && order != 0x4D4D) return 0;
    if ((head[2] | (head[3] << 8)) == 42) return 1;
    TiffFile file(path);
    if (!file.get() || !TIFFSetDirectory(file.get(), 0)) return 0;
    uint16_t samplesPerPixel = 0, bitsPerSample = 0;
    TIFFGetField(file.get(), TIFFTAG_SAMPLESPERPIXEL, &samplesPerPixel);
    TIFFGetField(file.get(), TIFFTAG_BITSPERSAMPLE, &bitsPerSample);
    return (samplesPerPixel || bitsPerSample) ? 1 : 0;
}

int CILImage::isImage(const char* path) { return canInitFromFile(path); }
