// ILImageBase_Procs_Threshold.cpp - the fixed threshold: a byte mask of 1
// where a sample is above the threshold and 0 elsewhere.
//
// The threshold is first brought to each sample type by its own rule (the
// table below); those per-type differences are relied on by the application.
#include "ILImageBase.h"
#include "ILCpuDispatch.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <cmath>
#include <cstring>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase_Procs"

namespace {

// The effective threshold per sample type, compared with "sample > limit":
//   byte    t + 0.5 truncated to 32 bits, then clamped to 0..255
//   16-bit  t truncated to 32 bits, then its low 16 bits (no rounding)
//   32-bit  t + 0.5 truncated to 32 bits (no clamping)
//   float   t + 1e-5 in single precision, except within 0.01 of 1e-5
//   double  t + 1e-8
// A t out of the 32-bit range (or NaN) truncates to -2147483648 like every
// float-to-integer conversion of the library, so a huge byte threshold ends
// up clamped to 0.
template <typename T> T effectiveThreshold(float t);

template <> uint8_t effectiveThreshold<uint8_t>(float t)
{
    const int32_t rounded = ILTruncToInt32(static_cast<double>(t) + 0.5);
    return static_cast<uint8_t>(rounded < 0 ? 0 : rounded > 255 ? 255 : rounded);
}
template <> uint16_t effectiveThreshold<uint16_t>(float t)
{
    return static_cast<uint16_t>(ILTruncToInt32(t));
}
template <> int32_t effectiveThreshold<int32_t>(float t)
{
    return ILTruncToInt32(static_cast<double>(t) + 0.5);
}
template <> float effectiveThreshold<float>(float t)
{
    // The band is measured around 1e-5 in double against the single-precision
    // 0.01, so it is slightly lopsided around 0.
    if (std::fabs(static_cast<double>(t) - 1e-5) > static_cast<double>(0.01f)) return t + 1e-5f;
    return t;
}
template <> double effectiveThreshold<double>(float t)
{
    return static_cast<double>(t) + 1e-8;
}

template <typename T>
void thresholdSamples(const T* samples, size_t count, T limit, char* mask)
{
    for (size_t i = 0; i < count; ++i) mask[i] = samples[i] > limit ? 1 : 0;
}

#if IL_HAVE_AVX2_KERNELS

// The AVX2 form of thresholdSamples for 32 samples at a time: each lane
// compares as the plain loop does (unsigned for the unsigned types, NaN never
// above), and the lane masks (all ones or zero) are narrowed to bytes and cut
// to 1 or 0. Returns how many samples it covered.
IL_TARGET_AVX2 inline __m256i unsignedAbove(__m256i v, __m256i limit, __m256i signBits, bool bytes)
{
    return bytes ? _mm256_cmpgt_epi8(_mm256_xor_si256(v, signBits), _mm256_xor_si256(limit, signBits))
                 : _mm256_cmpgt_epi16(_mm256_xor_si256(v, signBits), _mm256_xor_si256(limit, signBits));
}

// Four vectors of 32-bit lane masks, in order, as 32 bytes.
IL_TARGET_AVX2 inline __m256i narrowMasks32(__m256i m0, __m256i m1, __m256i m2, __m256i m3)
{
    const __m256i bytes = _mm256_packs_epi16(_mm256_packs_epi32(m0, m1), _mm256_packs_epi32(m2, m3));
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

IL_TARGET_AVX2 inline void storeMask32(char* mask, __m256i lanes)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(mask), _mm256_and_si256(lanes, _mm256_set1_epi8(1)));
}

IL_TARGET_AVX2 size_t thresholdAvx2(const uint8_t* s, size_t count, uint8_t limit, char* mask)
{
    const __m256i l = _mm256_set1_epi8(static_cast<char>(limit)), sign = _mm256_set1_epi8(static_cast<char>(0x80));
    size_t i = 0;
    for (; count - i >= 32; i += 32)
        storeMask32(mask + i, unsignedAbove(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i)), l, sign, true));
    return i;
}
IL_TARGET_AVX2 size_t thresholdAvx2(const uint16_t* s, size_t count, uint16_t limit, char* mask)
{
    const __m256i l = _mm256_set1_epi16(static_cast<short>(limit)), sign = _mm256_set1_epi16(static_cast<short>(0x8000));
    size_t i = 0;
    for (; count - i >= 32; i += 32) {
        const __m256i m0 = unsignedAbove(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i)), l, sign, false);
        const __m256i m1 = unsignedAbove(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i + 16)), l, sign, false);
        storeMask32(mask + i, _mm256_permute4x64_epi64(_mm256_packs_epi16(m0, m1), 0xD8));
    }
    return i;
}
// Eight 32-bit lane masks: s[0..7] > limit.
IL_TARGET_AVX2 inline __m256i above8(const int32_t* s, int32_t limit)
{
    return _mm256_cmpgt_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s)), _mm256_set1_epi32(limit));
}
IL_TARGET_AVX2 inline __m256i above8(const float* s, float limit)
{
    return _mm256_castps_si256(_mm256_cmp_ps(_mm256_loadu_ps(s), _mm256_set1_ps(limit), _CMP_GT_OQ));
}

template <typename T> IL_TARGET_AVX2 size_t threshold32Avx2(const T* s, size_t count, T limit, char* mask)
{
    size_t i = 0;
    for (; count - i >= 32; i += 32)
        storeMask32(mask + i, narrowMasks32(above8(s + i, limit), above8(s + i + 8, limit), above8(s + i + 16, limit),
                                            above8(s + i + 24, limit)));
    return i;
}
IL_TARGET_AVX2 size_t thresholdAvx2(const int32_t* s, size_t count, int32_t limit, char* mask)
{
    return threshold32Avx2(s, count, limit, mask);
}
IL_TARGET_AVX2 size_t thresholdAvx2(const float* s, size_t count, float limit, char* mask)
{
    return threshold32Avx2(s, count, limit, mask);
}
IL_TARGET_AVX2 size_t thresholdAvx2(const double* s, size_t count, double limit, char* mask)
{
    const __m256d l = _mm256_set1_pd(limit);
    // 64-bit lane masks: the low halves of two vectors make one vector of
    // 32-bit masks.
    const __m256i lowHalves = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
    size_t i = 0;
    for (; count - i >= 32; i += 32) {
        __m256i m[4];
        for (int k = 0; k < 4; ++k) {
            const __m256i a = _mm256_castpd_si256(_mm256_cmp_pd(_mm256_loadu_pd(s + i + 8 * k), l, _CMP_GT_OQ));
            const __m256i b = _mm256_castpd_si256(_mm256_cmp_pd(_mm256_loadu_pd(s + i + 8 * k + 4), l, _CMP_GT_OQ));
            m[k] = _mm256_permute2x128_si256(_mm256_permutevar8x32_epi32(a, lowHalves),
                                             _mm256_permutevar8x32_epi32(b, lowHalves), 0x20);
        }
        storeMask32(mask + i, narrowMasks32(m[0], m[1], m[2], m[3]));
    }
    return i;
}

#endif

// The plain loop, with the AVX2 form doing the whole vectors where it runs.
template <typename T>
void thresholdSamplesFast(const T* samples, size_t count, T limit, char* mask)
{
    size_t done = 0;
#if IL_HAVE_AVX2_KERNELS
    if (ilCpuHasAvx2()) done = thresholdAvx2(samples, count, limit, mask);
#endif
    thresholdSamples(samples + done, count - done, limit, mask + done);
}

} // namespace

void CILImageBase::Threshold_Core(float t, char* mask)
{
    if (!hasPixels() || !mask) return;
    const bool known = ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        thresholdSamplesFast(reinterpret_cast<const T*>(m_data), pixelCount(), effectiveThreshold<T>(t), mask);
    });
    // This check reports under the buffer's own unit name.
    if (!known) ILReportAssertion(L"1==0", L"ImageLib/Source/ILImageBase", __LINE__);
}

bool CILImageBase::Threshold(float t, char* mask)
{
    if (!hasPixels()) return false;
    if (mask) {
        Threshold_Core(t, mask);
        return true;
    }
    const int32_t width = static_cast<int32_t>(m_width);
    const int32_t height = static_cast<int32_t>(m_height);
    CILImageBase binary;
    if (!binary.InitWithType(eByte, width, height)) return false;
    // Zeroed first, so that an unknown type (which writes no mask) leaves a
    // defined all-0 image rather than the temporary's leftover bytes.
    std::memset(binary.m_data, 0, pixelCount());
    Threshold_Core(t, reinterpret_cast<char*>(binary.m_data));
    // InitWithType releases the old samples before it allocates: on failure
    // the image has lost them.
    if (!InitWithType(eByte, width, height)) return false;
    std::memcpy(m_data, binary.m_data, pixelCount());
    return true;
}
