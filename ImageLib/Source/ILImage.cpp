// ILImage.cpp - CILImage: construction, copying, cached statistics, display
// buffer and palette state.
#include "ILImage.h"
#include "ILInternal.h"

#include <tiffio.h>

#include <cstdlib>
#include <cstring>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImage"

namespace {
const unsigned int kGLRGBA = 6408;
} // namespace

CILImage::CILImage() : CILImageBase()
{
    // The library never prints TIFF diagnostics; this global change is
    // deliberate and repeated on every default construction.
    TIFFSetWarningHandler(nullptr);
    TIFFSetErrorHandler(nullptr);
}

CILImage::CILImage(const CILImageBase& image) : CILImageBase(image)
{
    m_datavalid = true;
}

CILImage::CILImage(const CILImage& image) : CILImageBase(image), m_palette(image.m_palette)
{
    copyDisplayState(image);
}

const CILImage& CILImage::operator=(const CILImage& image)
{
    copyDisplayState(image);
    // The display buffer is kept but its size forgotten, so the next request
    // replaces it.
    m_glRgbBufSize = 0;
    CILImageBase::operator=(image);
    return *this;
}

void CILImage::copyDisplayState(const CILImage& image)
{
    m_datavalid = image.m_datavalid;
    m_max = image.m_max;
    m_min = image.m_min;
    m_nonZeroMin = image.m_nonZeroMin;
    m_nonZeroMax = image.m_nonZeroMax;
    m_ImageDataType = image.m_ImageDataType;
    m_binningFactor = image.m_binningFactor;
    m_gamma = image.m_gamma;
    m_mean = image.m_mean;
    m_flipped = image.m_flipped;
    m_palette = image.m_palette;
    m_glBufferDirty = true;
    m_glFormat = image.m_glFormat;
    m_ImageMask = image.m_ImageMask;  // shared, never owned
    m_isRGBImageFormat = image.m_isRGBImageFormat;
    m_lensDistortionCorrected = image.m_lensDistortionCorrected;
}

CILImage::~CILImage()
{
    releaseGLRgbBuf();
    m_ImageMask = nullptr;
}

ImageWrapper::~ImageWrapper() {}

void CILImage::releaseGLRgbBuf()
{
    std::free(m_glRgbBuf);
    m_glRgbBuf = nullptr;
    m_glRgbBufSize = 0;
    m_glRgbBufAdopted = false;
}

float CILImage::Max() { return m_max; }
float CILImage::getMax() { return m_max; }
float CILImage::Min() { return m_min; }
float CILImage::getMin() { return m_min; }
float CILImage::nonZeroMax() { return m_nonZeroMax; }
float CILImage::getNonZeroMax() { return m_nonZeroMax; }
float CILImage::nonZeroMin() { return m_nonZeroMin; }
float CILImage::getNonZeroMin() { return m_nonZeroMin; }
double CILImage::Mean() { return m_mean; }

bool CILImage::initWithData(QORDataTypes type, int32_t width, int32_t height, void* data)
{
    if (!setImageData(data, type, width, height, true)) return false;
    RefreshImageStats();
    return true;
}

bool CILImage::refreshed(CILImage& target, bool ok)
{
    if (ok) {
        target.RefreshImageStats();
        target.m_glBufferDirty = true;
    }
    return ok;
}

bool CILImage::setConstData(double value) { return refreshed(*this, CILImageBase::setConstData(value)); }
bool CILImage::setConstData(int32_t value) { return refreshed(*this, CILImageBase::setConstData(value)); }

bool CILImage::ChangeType(QORDataTypes target)
{
    if (target == m_datatype) return true;
    if (!CILImageBase::ChangeType(target)) return false;
    RefreshImageStats();
    m_glBufferDirty = true;
    // The display buffer goes; its recorded size stays, and the next request
    // allocates because the pointer is null.
    std::free(m_glRgbBuf);
    m_glRgbBuf = nullptr;
    m_glRgbBufAdopted = false;
    return true;
}

void CILImage::RefreshImageStats()
{
    char* mask = nullptr;
    if (m_ImageMask) {
        IL_ASSERT(m_ImageMask->maskType()==eByteMask);
        if (m_ImageMask->maskType() != eByteMask) return;
        mask = static_cast<char*>(const_cast<void*>(m_ImageMask->get_maskdata()));
        // The scan reads one mask byte per pixel: a smaller mask is refused.
        if (mask && m_ImageMask->masksizeBytes() < pixelCount()) return;
    }
    getMinMax(&m_min, &m_max, &m_mean, mask, &m_nonZeroMin, &m_nonZeroMax);
}

bool CILImage::selectImageByMask(CILImage& pImgMask, CILImage& pOtherImg)
{
    return refreshed(*this, CILImageBase::selectImageByMask(pImgMask, pOtherImg));
}

void CILImage::copyFnForOpOvld(const CILImage& source)
{
    RefreshImageStats();
    m_ImageDataType = source.m_ImageDataType;
    m_binningFactor = source.m_binningFactor;
    m_gamma = source.m_gamma;
    m_glFormat = source.m_glFormat;
    m_palette = source.m_palette;
    m_glBufferDirty = true;
}

unsigned char* CILImage::getGLRgbBuf(unsigned int format)
{
    const int64_t channels = (format == kGLRGBA) ? 4 : 3;
    const int64_t wanted = channels * static_cast<int64_t>(m_height) * static_cast<int64_t>(m_width);
    // A size beyond the signed 32-bit count cannot be described: refused.
    if (wanted > INT32_MAX) return nullptr;
    const int32_t size = static_cast<int32_t>(wanted);
    if (m_glRgbBuf && !m_glRgbBufAdopted && (size < 1 || static_cast<uint32_t>(size) == m_glRgbBufSize))
        return m_glRgbBuf;
    if (!m_glRgbBuf && size < 1) return nullptr;
    if (m_glRgbBuf && m_glRgbBufAdopted && size < 1) return m_glRgbBuf;
    m_glRgbBufSize = static_cast<uint32_t>(size);
    unsigned char* fresh = static_cast<unsigned char*>(std::malloc(size > 0 ? static_cast<size_t>(size) : 1));
    std::free(m_glRgbBuf);
    m_glRgbBuf = fresh;
    m_glRgbBufAdopted = false;
    return m_glRgbBuf;
}

void CILImage::setGLRgbBuf(void* buffer, unsigned int format)
{
    m_glRgbBuf = static_cast<unsigned char*>(buffer);
    m_glRgbBufAdopted = (buffer != nullptr);
    m_glFormat = format;
    m_glBufferDirty = false;
}

void CILImage::setColorTable(QOR_COLORTABLE_TYPES type)
{
    m_palette.SetColorTable(type, m_min, m_max);
    m_glBufferDirty = true;
}

void CILImage::setColorTable(QOR_COLORTABLE_TYPES type, double low, double high)
{
    m_palette.SetColorTable(type, low, high);
    m_glBufferDirty = true;
}

void CILImage::setCustomColorTable(SColorTable& table)
{
    m_palette.SetCustomColorTable(table, m_min, m_max);
    m_glBufferDirty = true;
}

void CILImage::setPalette(CILPalette palette)
{
    m_palette = palette;
    m_glBufferDirty = true;
}

bool CILImage::Flip(CILImage& dest) { return refreshed(dest, CILImageBase::Flip(static_cast<CILImageBase&>(dest))); }
bool CILImage::Flip() { return refreshed(*this, CILImageBase::Flip(static_cast<void*>(nullptr))); }
bool CILImage::Mirror(CILImage& dest)
{
    return refreshed(dest, CILImageBase::Mirror(static_cast<CILImageBase&>(dest)));
}
bool CILImage::Mirror() { return refreshed(*this, CILImageBase::Mirror(static_cast<void*>(nullptr))); }
bool CILImage::RotateLeft(CILImage& dest)
{
    return refreshed(dest, CILImageBase::RotateLeft(static_cast<CILImageBase&>(dest)));
}
bool CILImage::RotateLeft() { return refreshed(*this, CILImageBase::RotateLeft()); }
bool CILImage::RotateRight(CILImage& dest)
{
    return refreshed(dest, CILImageBase::RotateRight(static_cast<CILImageBase&>(dest)));
}
bool CILImage::RotateRight() { return refreshed(*this, CILImageBase::RotateRight()); }
