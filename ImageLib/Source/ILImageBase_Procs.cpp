// ILImageBase_Procs.cpp - rearrangements of the pixel grid (flip, mirror,
// quarter turns) and the merge of two images under a mask.
//
// Rearrangements move whole samples by their size, never by their type, so a
// float or double sample travels bit for bit.
#include "ILImageBase.h"
#include "ILCpuDispatch.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <cstdlib>
#include <cstring>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase_Procs"

namespace {

// An unsigned integer of the sample's size: samples are moved as raw bits.
template <size_t Size> struct RawSample;
template <> struct RawSample<1> { typedef uint8_t type; };
template <> struct RawSample<2> { typedef uint16_t type; };
template <> struct RawSample<4> { typedef uint32_t type; };
template <> struct RawSample<8> { typedef uint64_t type; };

// Calls kernel with the raw sample type of the image's sample size; false for
// an unknown type.
template <typename Kernel>
bool dispatchSampleSize(int32_t type, Kernel&& kernel)
{
    return ILDispatchSampleType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        kernel(ILSampleTag<typename RawSample<sizeof(T)>::type>());
    });
}

// Reverses the order of the samples packed in a 64-bit word.
template <typename S> uint64_t reverseSamples(uint64_t word);
template <> uint64_t reverseSamples<uint8_t>(uint64_t w) { return __builtin_bswap64(w); }
template <> uint64_t reverseSamples<uint16_t>(uint64_t w)
{
    w = (w >> 32) | (w << 32);
    return ((w & 0xFFFF0000FFFF0000ull) >> 16) | ((w & 0x0000FFFF0000FFFFull) << 16);
}
template <> uint64_t reverseSamples<uint32_t>(uint64_t w) { return (w >> 32) | (w << 32); }
template <> uint64_t reverseSamples<uint64_t>(uint64_t w) { return w; }

// Each row is reversed eight bytes at a time: a word read from the end of the
// source row has its samples reversed and is stored at the start of the
// destination row. Pure moves, so the result is the sample-by-sample one.
template <typename S>
void mirrorRows(const S* src, S* dst, size_t width, size_t height)
{
    const size_t perWord = sizeof(uint64_t) / sizeof(S);
    for (size_t y = 0; y < height; ++y) {
        const S* in = src + y * width;
        S* out = dst + y * width;
        size_t j = 0;
        for (; j + perWord <= width; j += perWord) {
            uint64_t word;
            std::memcpy(&word, in + width - j - perWord, sizeof word);
            word = reverseSamples<S>(word);
            std::memcpy(out + j, &word, sizeof word);
        }
        for (; j < width; ++j) out[j] = in[width - 1 - j];
    }
}

#if IL_HAVE_AVX2_KERNELS
// Reverses the order of the samples in a 32-byte vector: within each 16-byte
// half by a byte shuffle (or a lane permutation), then the halves swapped.
template <typename S> IL_TARGET_AVX2 __m256i reverseSamples32(__m256i v);
template <> IL_TARGET_AVX2 __m256i reverseSamples32<uint8_t>(__m256i v)
{
    const __m256i order = _mm256_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11,
                                           10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    return _mm256_permute4x64_epi64(_mm256_shuffle_epi8(v, order), 0x4E);
}
template <> IL_TARGET_AVX2 __m256i reverseSamples32<uint16_t>(__m256i v)
{
    const __m256i order = _mm256_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1, 14, 15, 12, 13, 10,
                                           11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
    return _mm256_permute4x64_epi64(_mm256_shuffle_epi8(v, order), 0x4E);
}
template <> IL_TARGET_AVX2 __m256i reverseSamples32<uint32_t>(__m256i v)
{
    return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));
}
template <> IL_TARGET_AVX2 __m256i reverseSamples32<uint64_t>(__m256i v) { return _mm256_permute4x64_epi64(v, 0x1B); }

// As mirrorRows, 32 bytes at a time, then sample by sample.
template <typename S>
IL_TARGET_AVX2 void mirrorRowsAvx2(const S* src, S* dst, size_t width, size_t height)
{
    const size_t perVector = 32 / sizeof(S);
    for (size_t y = 0; y < height; ++y) {
        const S* in = src + y * width;
        S* out = dst + y * width;
        size_t j = 0;
        for (; j + perVector <= width; j += perVector) {
            const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + width - j - perVector));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + j), reverseSamples32<S>(v));
        }
        for (; j < width; ++j) out[j] = in[width - 1 - j];
    }
}
#endif

// Source (x, y) goes to (y, W-1-x) turning left and to (H-1-y, x) turning
// right; the destination is H samples wide. The grid is walked in square
// tiles so that both the reads and the strided writes stay in cache; every
// sample is moved exactly once, so the result is the same in any order.
template <typename S>
void quarterTurn(const S* src, S* dst, size_t width, size_t height, bool right)
{
    const size_t tile = 16;  // measured best for 1- to 8-byte samples
    for (size_t y0 = 0; y0 < height; y0 += tile) {
        const size_t y1 = y0 + tile < height ? y0 + tile : height;
        for (size_t x0 = 0; x0 < width; x0 += tile) {
            const size_t x1 = x0 + tile < width ? x0 + tile : width;
            for (size_t x = x0; x < x1; ++x) {
                // One destination row per source column: contiguous writes.
                S* out = right ? dst + x * height + (height - 1 - y0) : dst + (width - 1 - x) * height + y0;
                const S* in = src + y0 * width + x;
                if (right)
                    for (size_t y = y0; y < y1; ++y, in += width) *out-- = *in;
                else
                    for (size_t y = y0; y < y1; ++y, in += width) *out++ = *in;
            }
        }
    }
}

bool isKnownType(int32_t type) { return type >= eByte && type <= eDouble; }

} // namespace

bool CILImageBase::Flip_core(void* dest)
{
    if (!hasPixels() || !dest) return false;
    if (!isKnownType(m_datatype)) return true;  // nothing to do
    const size_t rowBytes = static_cast<size_t>(m_width) * get_reqsizefortype(m_datatype);
    unsigned char* out = static_cast<unsigned char*>(dest);
    for (size_t i = 0; i < m_height; ++i)
        std::memcpy(out + i * rowBytes, m_data + (m_height - 1 - i) * rowBytes, rowBytes);
    return true;
}

bool CILImageBase::Mirror_core(void* dest)
{
    if (!hasPixels() || !dest) return false;
    dispatchSampleSize(m_datatype, [&](auto tag) {
        using S = typename decltype(tag)::type;
#if IL_HAVE_AVX2_KERNELS
        if (ilCpuHasAvx2()) {
            mirrorRowsAvx2(reinterpret_cast<const S*>(m_data), static_cast<S*>(dest), m_width, m_height);
            return;
        }
#endif
        mirrorRows(reinterpret_cast<const S*>(m_data), static_cast<S*>(dest), m_width, m_height);
    });
    return true;
}

bool CILImageBase::Rotate_LR_core(unsigned int newWidth, unsigned int newHeight, void* dest, int direction)
{
    if (newWidth != m_height || newHeight != m_width) return false;
    if (!hasPixels() || !dest) return false;
    dispatchSampleSize(m_datatype, [&](auto tag) {
        using S = typename decltype(tag)::type;
        quarterTurn(reinterpret_cast<const S*>(m_data), static_cast<S*>(dest), m_width, m_height, direction != 0);
    });
    return true;
}

bool CILImageBase::Flip(CILImageBase& dest)
{
    if (&dest == this) return Flip(static_cast<void*>(nullptr));
    if (!dest.InitWithType(m_datatype, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height))) return false;
    return Flip_core(dest.m_data);
}

bool CILImageBase::Flip(void* dest)
{
    if (dest) return Flip_core(dest);
    if (!hasPixels()) return false;
    if (!isKnownType(m_datatype)) return true;
    CILImageBase flipped;
    if (!flipped.InitWithType(m_datatype, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height)))
        return false;
    if (!Flip_core(flipped.m_data)) return false;
    std::memcpy(m_data, flipped.m_data, m_sizeinbytes);
    return true;
}

bool CILImageBase::Mirror(CILImageBase& dest)
{
    if (&dest == this) return Mirror(static_cast<void*>(nullptr));
    if (!dest.InitWithType(m_datatype, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height))) return false;
    return Mirror_core(dest.m_data);
}

bool CILImageBase::Mirror(void* dest)
{
    if (!hasPixels()) return false;
    if (!isKnownType(m_datatype)) return true;
    const size_t bytes = pixelCount() * get_reqsizefortype(m_datatype);
    void* target = dest ? dest : std::malloc(bytes ? bytes : 1);
    if (!target) return false;
    const bool ok = Mirror_core(target);
    // A caller's buffer is copied back too: image and buffer both end up mirrored.
    if (ok) std::memcpy(m_data, target, bytes);
    if (!dest) std::free(target);
    return ok;
}

bool CILImageBase::rotateInto(CILImageBase& dest, int direction)
{
    if (&dest == this) return rotateInPlace(direction);
    if (!dest.InitWithType(m_datatype, static_cast<int32_t>(m_height), static_cast<int32_t>(m_width))) return false;
    return Rotate_LR_core(m_height, m_width, dest.m_data, direction);
}

bool CILImageBase::rotateInPlace(int direction)
{
    if (!hasPixels()) return false;
    if (!isKnownType(m_datatype)) return true;
    CILImageBase turned;
    if (!turned.InitWithType(m_datatype, static_cast<int32_t>(m_height), static_cast<int32_t>(m_width)))
        return false;
    if (!Rotate_LR_core(m_height, m_width, turned.m_data, direction)) return false;
    if (!InitWithType(m_datatype, static_cast<int32_t>(turned.m_width), static_cast<int32_t>(turned.m_height)))
        return false;
    std::memcpy(m_data, turned.m_data, m_sizeinbytes);
    return true;
}

bool CILImageBase::RotateLeft(CILImageBase& dest) { return rotateInto(dest, 0); }
bool CILImageBase::RotateLeft() { return rotateInPlace(0); }
bool CILImageBase::RotateRight(CILImageBase& dest) { return rotateInto(dest, 1); }
bool CILImageBase::RotateRight() { return rotateInPlace(1); }

bool CILImageBase::selectImageByMask(CILImageBase& pImgMask, CILImageBase& pOtherImg)
{
    if (m_width != pImgMask.m_width || m_width != pOtherImg.m_width || m_height != pImgMask.m_height ||
        m_height != pOtherImg.m_height)
        return false;
    if (!hasPixels() || !pImgMask.hasPixels() || !pOtherImg.hasPixels()) return false;
    IL_ASSERT(pImgMask.m_datatype == eByte);
    IL_ASSERT(m_datatype == pOtherImg.m_datatype);
    if (!isKnownType(m_datatype)) return false;
    const size_t count = pixelCount();
    // The other image is read with this image's sample size; one whose buffer
    // is too small for that (another, smaller type) is refused. The mask image
    // is read as one byte per pixel, which any sample type holds.
    if (pOtherImg.m_allocatedBytes < count * CILImageBase::get_reqsizefortype(m_datatype)) return false;
    return dispatchSampleSize(m_datatype, [&](auto tag) {
        using S = typename decltype(tag)::type;
        const unsigned char* mask = pImgMask.m_data;
        const S* other = reinterpret_cast<const S*>(pOtherImg.m_data);
        S* samples = reinterpret_cast<S*>(m_data);
        for (size_t i = 0; i < count; ++i)
            if (mask[i] != 0) samples[i] = other[i];
    });
}

bool CILImageBase::selectImageByMask(CILImageBase&, CILImageBase&, CILImageBase&)
{
    return false;
}
