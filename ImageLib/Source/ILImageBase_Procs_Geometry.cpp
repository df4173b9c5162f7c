// ILImageBase_Procs_Geometry.cpp - changes of the pixel grid: crop, embed,
// corner clipping, resampling (nearest, block average, block sum, bilinear)
// and rotation by an arbitrary angle.
//
// Crop, embed and rotation move samples by their size, never converting them;
// resampling computes new values per sample type. Positions and weights of
// resampling and rotation are single precision, as the application expects
// the exact samples this produces.
#include "ILImageBase.h"
#include "ILFastResample.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase_Procs"

namespace {

// ---- crop -----------------------------------------------------------------

struct CropBounds {
    int64_t left, top, right, bottom;
    bool clipped;
};

CropBounds clipCropBounds(int left, int top, int right, int bottom, uint32_t width, uint32_t height)
{
    CropBounds bounds;
    bounds.left = left > 0 ? left : 0;
    bounds.top = top > 0 ? top : 0;
    bounds.right = right < static_cast<int64_t>(width) ? right : static_cast<int64_t>(width);
    bounds.bottom = bottom < static_cast<int64_t>(height) ? bottom : static_cast<int64_t>(height);
    bounds.clipped = bounds.left != left || bounds.top != top || bounds.right != right || bounds.bottom != bottom;
    return bounds;
}

// ---- resampling -----------------------------------------------------------

struct Grid {
    uint32_t width, height;
};

template <typename T> void resampleNearest(const T* src, Grid from, T* dst, Grid to)
{
    const float stepX = to.width > 0 ? static_cast<float>(from.width) / static_cast<float>(to.width) : 0.0f;
    const float stepY = to.height > 0 ? static_cast<float>(from.height) / static_cast<float>(to.height) : 0.0f;
    float rowPosition = 0.0f;
    for (uint32_t j = 0; j < to.height; ++j) {
        const T* row = src + static_cast<size_t>(ilTruncatedIndex(rowPosition, from.height)) * from.width;
        float columnPosition = 0.0f;
        for (uint32_t i = 0; i < to.width; ++i) {
            *dst++ = row[ilTruncatedIndex(columnPosition, from.width)];
            columnPosition += stepX;
        }
        rowPosition += stepY;
    }
}

// Single-precision weights; the products and sums are single precision too,
// except for double samples, where they are double.
template <typename T> void resampleBilinear(const T* src, Grid from, T* dst, Grid to)
{
    typedef typename std::conditional<std::is_same<T, double>::value, double, float>::type Acc;
    const float stepX =
        to.width > 1 ? static_cast<float>(from.width - 1) / static_cast<float>(to.width - 1) : 0.0f;
    const float stepY =
        to.height > 1 ? static_cast<float>(from.height - 1) / static_cast<float>(to.height - 1) : 0.0f;
    float rowPosition = 0.0f;
    for (uint32_t j = 0; j < to.height; ++j) {
        const uint32_t y0 = ilTruncatedIndex(rowPosition, from.height);
        const float fy = rowPosition - static_cast<float>(y0);
        const uint32_t y1 = y0 + 1 < from.height ? y0 + 1 : from.height - 1;
        const T* upper = src + static_cast<size_t>(y0) * from.width;
        const T* lower = src + static_cast<size_t>(y1) * from.width;
        float columnPosition = 0.0f;
        for (uint32_t i = 0; i < to.width; ++i) {
            const uint32_t x0 = ilTruncatedIndex(columnPosition, from.width);
            const float fx = columnPosition - static_cast<float>(x0);
            const uint32_t x1 = x0 + 1 < from.width ? x0 + 1 : from.width - 1;
            const Acc wx0 = static_cast<Acc>(1.0f - fx), wx1 = static_cast<Acc>(fx);
            const Acc lowerValue = static_cast<Acc>(lower[x0]) * wx0 + static_cast<Acc>(lower[x1]) * wx1;
            const Acc upperValue = static_cast<Acc>(upper[x0]) * wx0 + static_cast<Acc>(upper[x1]) * wx1;
            const Acc value = lowerValue * static_cast<Acc>(fy) + upperValue * static_cast<Acc>(1.0f - fy);
            *dst++ = ILConvertSample<T>(value);
            columnPosition += stepX;
        }
        rowPosition += stepY;
    }
}

// Destination (i, j) sums source block [i*bx, (i+1)*bx) x [j*by, (j+1)*by),
// bx = W / W' and by = H / H'; the remainder of an uneven division belongs to
// no block, and an enlarged side has empty blocks (result 0).
template <typename T> void resampleBlocks(const T* src, Grid from, T* dst, Grid to, bool average)
{
    const size_t blockWidth = from.width / to.width;
    const size_t blockHeight = from.height / to.height;
    for (size_t j = 0; j < to.height; ++j) {
        for (size_t i = 0; i < to.width; ++i) {
            double sum = 0.0;
            size_t count = 0;
            for (size_t y = j * blockHeight; y < (j + 1) * blockHeight && y < from.height; ++y) {
                const T* row = src + y * from.width;
                for (size_t x = i * blockWidth; x < (i + 1) * blockWidth && x < from.width; ++x) {
                    sum += static_cast<double>(row[x]);
                    ++count;
                }
            }
            const double value = average ? (count ? sum / static_cast<double>(count) : 0.0) : sum;
            *dst++ = ILConvertSample<T>(value);
        }
    }
}

template <typename T>
EILSTATUS resampleSamples(const T* src, Grid from, T* dst, Grid to, IL_RESAMPLEMODES mode)
{
    if (!src) return eILNoData;
    if (!dst) return eILNullArgument;
    const bool emptySource = from.width == 0 || from.height == 0;
    const bool emptyResult = to.width == 0 || to.height == 0;
    switch (mode) {
    case eResampleNearest:
    case eResampleBilinear:
        if (emptyResult) break;
        // There is no sample to pick or interpolate from.
        if (emptySource) return eILNoData;
        // The fast paths give the same bytes; without their work memory the
        // plain kernels run.
        if (mode == eResampleNearest) {
            if (!ilResampleNearestFast(src, from.width, from.height, dst, to.width, to.height))
                resampleNearest(src, from, dst, to);
        } else {
            if (!ilResampleBilinearFast(src, from.width, from.height, dst, to.width, to.height))
                resampleBilinear(src, from, dst, to);
        }
        break;
    case eResampleAverage:
    case eResampleSum:
        // The block size W / W' is undefined for a zero side: refused.
        if (emptyResult) return eILInvalidArgument;
        resampleBlocks(src, from, dst, to, mode == eResampleAverage);
        break;
    default:
        // An unknown mode computes nothing; the samples are cleared so that
        // they are at least defined.
        std::memset(dst, 0, static_cast<size_t>(to.width) * to.height * sizeof(T));
        break;
    }
    return eILSuccess;
}

// ---- rotation -------------------------------------------------------------

struct RotationFrame {
    float c, s;    // cosine and sine of the angle
    float cx, cy;  // source centre
    float hw, hh;  // output half sides
};

// Output (i, j) takes source (floor(dx c + dy s + cx), floor(cy - (dy c - dx s)))
// with dx = i - hw and dy = hh - j, or keeps the background outside the source.
template <size_t SampleBytes>
void rotateSamples(const unsigned char* const* rows, uint32_t width, uint32_t height, unsigned char* out,
                   int32_t newWidth, int32_t newHeight, const RotationFrame& f)
{
    for (int32_t j = 0; j < newHeight; ++j) {
        const float dy = f.hh - static_cast<float>(j);
        const float dyc = dy * f.c;
        const float dys = dy * f.s;
        for (int32_t i = 0; i < newWidth; ++i, out += SampleBytes) {
            const float dx = static_cast<float>(i) - f.hw;
            const float sourceX = dx * f.c + dys + f.cx;
            const float sourceY = f.cy - (dyc - dx * f.s);
            // Negative columns and rows fail the unsigned comparison.
            const uint32_t sx = static_cast<uint32_t>(ILTruncToInt32(std::floor(static_cast<double>(sourceX))));
            const uint32_t sy = static_cast<uint32_t>(ILTruncToInt32(std::floor(static_cast<double>(sourceY))));
            if (sx < width && sy < height) std::memcpy(out, rows[sy] + static_cast<size_t>(sx) * SampleBytes, SampleBytes);
        }
    }
}

RotationFrame rotationFrame(float angle, bool enlarge, uint32_t width, uint32_t height)
{
    RotationFrame f;
    const double radians = static_cast<double>(angle) * 0.01745329252;
    f.c = static_cast<float>(std::cos(radians));
    f.s = static_cast<float>(std::sin(radians));
    f.cx = static_cast<float>(width) * 0.5f;
    f.cy = static_cast<float>(height) * 0.5f;
    f.hw = f.cx;
    f.hh = f.cy;
    if (enlarge) {
        const float cornerX[4] = {-f.cx, f.cx, -f.cx, f.cx};
        const float cornerY[4] = {-f.cy, -f.cy, f.cy, f.cy};
        float minX = 0.0f, maxX = 0.0f, minY = 0.0f, maxY = 0.0f;
        for (int k = 0; k < 4; ++k) {
            const float x = cornerX[k] * f.c - cornerY[k] * f.s;
            const float y = cornerX[k] * f.s + cornerY[k] * f.c;
            if (k == 0 || x < minX) minX = x;
            if (k == 0 || x > maxX) maxX = x;
            if (k == 0 || y < minY) minY = y;
            if (k == 0 || y > maxY) maxY = y;
        }
        f.hw = (maxX - minX) * 0.5f;
        f.hh = (maxY - minY) * 0.5f;
    }
    return f;
}

} // namespace

// ---- crop -----------------------------------------------------------------

EILSTATUS CILImageBase::crop(int left, int top, int right, int bottom)
{
    CILImageBase cropped;
    const EILSTATUS status = crop(left, top, right, bottom, cropped);
    if (status != eILSuccess && status != eILClipped) return status;
    // The cropped image becomes this one's pixels; no second copy.
    swapPixels(cropped);
    return status;
}

EILSTATUS CILImageBase::crop(int left, int top, int right, int bottom, CILImageBase& dest)
{
    if (&dest == this) return crop(left, top, right, bottom);
    if (!hasPixels()) return eILNoData;
    const CropBounds bounds = clipCropBounds(left, top, right, bottom, m_width, m_height);
    const int64_t width = bounds.right - bounds.left;
    const int64_t height = bounds.bottom - bounds.top;
    if (width < 0 || height < 0) {
        // A rectangle with a negative extent is never shaped (a negative side
        // cannot describe a buffer). The codes are those of the steps that
        // would have refused it: the shaping, whose signed product is negative
        // when exactly one extent is negative and the other non-zero, and
        // otherwise the copy, which rejects any negative extent.
        const bool negativeProduct = (width < 0) != (height < 0) && width != 0 && height != 0;
        return negativeProduct ? eILAllocFailed : eILInvalidArgument;
    }
    if (!dest.InitWithType(m_datatype, static_cast<int32_t>(width), static_cast<int32_t>(height)))
        return eILAllocFailed;
    const EILSTATUS status = crop_core_base(static_cast<int>(bounds.left), static_cast<int>(bounds.top),
                                            static_cast<int>(bounds.right), static_cast<int>(bounds.bottom), dest);
    if (status != eILSuccess) return status;
    return bounds.clipped ? eILClipped : eILSuccess;
}

EILSTATUS CILImageBase::crop_core_base(int left, int top, int right, int bottom, CILImageBase& dest)
{
    if (!hasPixels()) return eILNoData;
    const int64_t width = static_cast<int64_t>(right) - left;
    const int64_t height = static_cast<int64_t>(bottom) - top;
    if (width < 0 || height < 0) return eILInvalidArgument;
    if (height < 1) return eILSuccess;
    // The caller passes clipped bounds and a shaped destination; anything else
    // would copy outside one of the buffers and is refused.
    if (left < 0 || top < 0 || right > static_cast<int64_t>(m_width) || bottom > static_cast<int64_t>(m_height) ||
        !dest.hasPixels() || dest.m_datatype != m_datatype ||
        dest.pixelCount() < static_cast<size_t>(width) * static_cast<size_t>(height))
        return eILInvalidArgument;
    const size_t sampleBytes = ILSampleBytes(m_datatype);
    if (sampleBytes == 0) {
        IL_ASSERT_UNKNOWN_TYPE();
        return eILSuccess;
    }
    const size_t rowBytes = static_cast<size_t>(width) * sampleBytes;
    const size_t sourceStride = static_cast<size_t>(m_width) * sampleBytes;
    const unsigned char* in = m_data + static_cast<size_t>(top) * sourceStride + static_cast<size_t>(left) * sampleBytes;
    for (int64_t row = 0; row < height; ++row, in += sourceStride)
        std::memcpy(dest.m_data + static_cast<size_t>(row) * rowBytes, in, rowBytes);
    return eILSuccess;
}

// ---- embed ----------------------------------------------------------------

EILSTATUS CILImageBase::embed(const CILImageBase* patch, unsigned int x, unsigned int y, eEmbedTypes eMode)
{
    if (!hasPixels() || !patch) return eILNoData;
    if (x >= m_width || y >= m_height) return eILInvalidArgument;
    if (m_datatype != patch->m_datatype) return eILTypeMismatch;
    IL_ASSERT(eMode == eEmbedByClipping);
    if (eMode != eEmbedByClipping) return eILTypeMismatch;
    // A patch object without pixels has nothing to read.
    if (!patch->hasPixels()) return eILNoData;
    const size_t sampleBytes = ILSampleBytes(m_datatype);
    if (sampleBytes == 0) return eILSuccess;
    const size_t copiedWidth = patch->m_width < m_width - x ? patch->m_width : m_width - x;
    const size_t copiedHeight = patch->m_height < m_height - y ? patch->m_height : m_height - y;
    const size_t rowBytes = copiedWidth * sampleBytes;
    for (size_t r = 0; r < copiedHeight; ++r) {
        unsigned char* out = m_data + ((y + r) * m_width + x) * sampleBytes;
        const unsigned char* in = patch->m_data + r * patch->m_width * sampleBytes;
        // memmove: a patch may be this very image.
        std::memmove(out, in, rowBytes);
    }
    return eILSuccess;
}

EILSTATUS CILImageBase::embed(CILImageBase& dest, const CILImageBase* patch, unsigned int x, unsigned int y,
                              eEmbedTypes eMode)
{
    if (!hasPixels()) return eILNoData;
    if (x >= m_width || y >= m_height) return eILInvalidArgument;
    // A missing patch is refused as the in-place form refuses it, before its
    // type is read.
    if (!patch) return eILNoData;
    if (m_datatype != patch->m_datatype) return eILTypeMismatch;
    IL_ASSERT(eMode == eEmbedByClipping);
    // Assigning an image to itself would lose its pixels: embedding into this
    // image is the in-place form.
    if (&dest != this) dest = *this;
    return dest.embed(patch, x, y, eMode);
}

// ---- corner clipping ------------------------------------------------------

EILSTATUS CILImageBase::clipCorners(float value, int size)
{
    if (size == 0) return eILInvalidArgument;
    if (!hasPixels()) return eILNoData;
    if (m_height < 1) return eILSuccess;
    // The tests are evaluated in 64 bits: they equal the signed 32-bit ones
    // wherever those do not overflow, and a huge or negative size then
    // simply selects nothing.
    const int64_t width = m_width, height = m_height, n = size;
    ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        T* samples = reinterpret_cast<T*>(m_data);
        const T fill = ILConvertSample<T>(value);
        for (int64_t y = 0; y < height; ++y) {
            for (int64_t x = 0; x < width; ++x, ++samples) {
                const bool top = y <= n && (x < n - y || x > width - n - 1 + y);
                // Deliberately the width, not the height, in the bottom test.
                const bool bottom = y >= height - n - 1 && (x < y - width + 1 + n || x > 2 * width - 2 - y - n);
                if (top || bottom) *samples = fill;
            }
        }
    });
    return eILSuccess;
}

// ---- resampling -----------------------------------------------------------

EILSTATUS CILImageBase::upSample(CILImageBase& dest, int newWidth, int newHeight, IL_RESAMPLEMODES mode)
{
    // Shaping this image as its own destination would discard the source.
    if (&dest == this) return upSample(newWidth, newHeight, mode);
    if (!dest.InitWithType(m_datatype, newWidth, newHeight)) return eILAllocFailed;
    return reSample_core(newWidth, newHeight, mode, dest);
}

EILSTATUS CILImageBase::downSample(CILImageBase& dest, int newWidth, int newHeight, IL_RESAMPLEMODES mode)
{
    return upSample(dest, newWidth, newHeight, mode);
}

EILSTATUS CILImageBase::upSample(int newWidth, int newHeight, IL_RESAMPLEMODES mode)
{
    CILImageBase resampled;
    if (!resampled.InitWithType(m_datatype, newWidth, newHeight)) return eILAllocFailed;
    const EILSTATUS status = reSample_core(newWidth, newHeight, mode, resampled);
    if (status != eILSuccess) return status;
    swapPixels(resampled);
    return eILSuccess;
}

EILSTATUS CILImageBase::downSample(int newWidth, int newHeight, IL_RESAMPLEMODES mode)
{
    return upSample(newWidth, newHeight, mode);
}

EILSTATUS CILImageBase::reSample_core(int newWidth, int newHeight, IL_RESAMPLEMODES mode, CILImageBase& dest)
{
    // The destination must be shaped to this type and the new sides; one that
    // is not counts as having no buffer.
    const bool destShaped = dest.hasPixels() && dest.m_datatype == m_datatype && newWidth >= 0 && newHeight >= 0 &&
                            dest.m_width == static_cast<uint32_t>(newWidth) &&
                            dest.m_height == static_cast<uint32_t>(newHeight);
    const Grid from = {m_width, m_height};
    const Grid to = {dest.m_width, dest.m_height};
    EILSTATUS status = eILSuccess;
    ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        status = resampleSamples(hasPixels() ? reinterpret_cast<const T*>(m_data) : nullptr, from,
                                 destShaped ? reinterpret_cast<T*>(dest.m_data) : nullptr, to, mode);
    });
    return status;
}

// ---- rotation -------------------------------------------------------------

bool CILImageBase::Rotate(float angle, bool enlarge)
{
    // Without pixels there is nothing to sample from.
    if (!hasPixels()) return false;
    const RotationFrame frame = rotationFrame(angle, enlarge, m_width, m_height);
    // A NaN or infinite angle gives -2147483648 here, which shaping refuses.
    const int32_t newWidth = ILTruncToInt32(static_cast<double>(2.0f * frame.hw) + 0.5);
    const int32_t newHeight = ILTruncToInt32(static_cast<double>(2.0f * frame.hh) + 0.5);
    CILImageBase rotated;
    if (!rotated.InitWithType(m_datatype, newWidth, newHeight)) return false;
    if (rotated.m_sizeinbytes > 0) std::memset(rotated.m_data, 0, rotated.m_sizeinbytes);

    const unsigned char** rows =
        static_cast<const unsigned char**>(std::malloc((m_height > 0 ? m_height : 1) * sizeof(unsigned char*)));
    if (!rows) return false;
    const size_t sampleBytes = ILSampleBytes(m_datatype);
    for (uint32_t y = 0; y < m_height; ++y) rows[y] = m_data + static_cast<size_t>(y) * m_width * sampleBytes;
    ILDispatchSampleType(m_datatype, [&](auto tag) {
        rotateSamples<sizeof(typename decltype(tag)::type)>(rows, m_width, m_height, rotated.m_data, newWidth,
                                                             newHeight, frame);
    });
    std::free(rows);
    swapPixels(rotated);
    return true;
}
