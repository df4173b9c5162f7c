// ILImageBase.cpp - the pixel buffer: storage, copying, comparison, filling,
// canvas resizing, type conversion and the minimum/maximum scan.
#include "ILImageBase.h"
#include "ILImageBase_templates.h"
#include "ILCpuDispatch.h"
#include "ILInternal.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#if defined(__linux__)
#include <sys/mman.h>
#endif

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase"

namespace {

// Bytes per sample without the assertion, for internal size checks.

// Pixel buffers of 32 MiB and more are asked to be backed by 2 MiB pages
// where the system grants them on request. Blocks that large lie beyond
// every threshold of the C library's allocator (with glibc on 64 bits its
// adaptive mmap threshold stops at 32 MiB), so each one is mapped afresh and
// returned to the system on free: filling it cost thousands of 4 KiB page
// faults, more than the arithmetic that fills it. Smaller blocks are left to
// the allocator, which reuses them without faults (advising them measured
// slower). The buffer stays an ordinary block released with free; the
// advice changes nothing else.
unsigned char* allocatePixels(size_t bytes)
{
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    const size_t hugePage = size_t(2) << 20;
    if (bytes >= 16 * hugePage && bytes <= SIZE_MAX - hugePage) {
        const size_t rounded = (bytes + hugePage - 1) / hugePage * hugePage;
        if (void* block = std::aligned_alloc(hugePage, rounded)) {
            madvise(block, rounded, MADV_HUGEPAGE);
            return static_cast<unsigned char*>(block);
        }
    }
#endif
    return static_cast<unsigned char*>(std::malloc(bytes));
}

// The pixel count of a width x height canvas, or -1 when a side is negative or
// the product does not fit the signed 32-bit size every image must have.
int64_t checkedPixelCount(int64_t width, int64_t height)
{
    if (width < 0 || height < 0) return -1;
    const int64_t count = width * height;  // both below 2^32: no overflow in 64 bits
    return count > INT32_MAX ? -1 : count;
}

template <typename T> T* samplesOf(unsigned char* data) { return reinterpret_cast<T*>(data); }
template <typename T> const T* samplesOf(const unsigned char* data) { return reinterpret_cast<const T*>(data); }

template <typename T>
void fillSamples(unsigned char* data, size_t count, T value)
{
    T* out = samplesOf<T>(data);
    for (size_t i = 0; i < count; ++i) out[i] = value;
}

template <typename T>
bool samplesWithin(const T* a, const T* b, size_t count, double precision)
{
    for (size_t i = 0; i < count; ++i)
        if (a[i] != b[i]) return false;
    (void)precision;
    return true;
}

template <>
bool samplesWithin<float>(const float* a, const float* b, size_t count, double precision)
{
    const double limit = static_cast<double>(ILNarrowToFloat(precision));
    for (size_t i = 0; i < count; ++i) {
        const float difference = a[i] - b[i];
        if (std::fabs(static_cast<double>(difference)) > limit) return false;
    }
    return true;
}

template <>
bool samplesWithin<double>(const double* a, const double* b, size_t count, double precision)
{
    for (size_t i = 0; i < count; ++i)
        if (std::fabs(a[i] - b[i]) > precision) return false;
    return true;
}

template <typename From, typename To>
void convertSamples(const unsigned char* source, unsigned char* target, size_t count)
{
    const From* in = samplesOf<From>(source);
    To* out = samplesOf<To>(target);
    for (size_t i = 0; i < count; ++i) out[i] = ILConvertSample<To>(in[i]);
}

// Running state of the minimum/maximum scan in the sample's own type.
template <typename T> struct MinMaxScan {
    T min, max, nonZeroMin, nonZeroMax;
    double sum;
    size_t count;
};

template <typename T>
void scanMinMax(const T* samples, size_t count, const char* mask, bool wantExtremes, bool wantNonZero,
                MinMaxScan<T>& scan)
{
    bool firstExtreme = true;
    bool firstNonZero = true;
    for (size_t i = 0; i < count; ++i) {
        if (mask && mask[i] == 0) continue;
        const T value = samples[i];
        if (wantExtremes) {
            if (firstExtreme) {
                scan.min = scan.max = value;
                firstExtreme = false;
            }
            if (value < scan.min) scan.min = value;
            if (value > scan.max) scan.max = value;
            scan.sum += static_cast<double>(value);
            ++scan.count;
        }
        if (wantNonZero && !(value == 0)) {
            if (firstNonZero) {
                scan.nonZeroMin = scan.nonZeroMax = value;
                firstNonZero = false;
            }
            if (value < scan.nonZeroMin) scan.nonZeroMin = value;
            if (value > scan.nonZeroMax) scan.nonZeroMax = value;
        }
    }
}

// The same survey for floating-point samples without a mask, in one pass of
// selections instead of branches. The ordered double sum is a chain of
// dependent additions that no reordering may shorten; the comparisons run
// beside it for free. Each selection is the plain scan's comparison, so NaN
// never replaces an extreme (and a NaN first sample stays), and of two equal
// zeros the earlier one stays. Zeros are kept out of the non-zero extremes
// by turning them into infinities, which lose every comparison; the
// non-zero extremes start from the first non-zero sample as in the plain scan.
template <typename T>
void scanMinMaxFloating(const T* samples, size_t count, bool wantExtremes, bool wantNonZero, MinMaxScan<T>& scan)
{
    static_assert(std::is_floating_point<T>::value, "floating-point samples only");
    if (count == 0) return;
    const T inf = std::numeric_limits<T>::infinity();
    T mn = samples[0], mx = samples[0], nzMin = scan.nonZeroMin, nzMax = scan.nonZeroMax;
    size_t firstNonZero = 0;
    if (wantNonZero) {
        while (firstNonZero < count && samples[firstNonZero] == 0) ++firstNonZero;
        if (firstNonZero < count) nzMin = nzMax = samples[firstNonZero];
    }
    double sum = 0.0;
    if (wantExtremes && wantNonZero) {
        for (size_t i = 0; i < count; ++i) {
            const T v = samples[i];
            mn = v < mn ? v : mn;
            mx = v > mx ? v : mx;
            sum += static_cast<double>(v);
            const bool zero = v == 0;
            const T high = zero ? inf : v, low = zero ? -inf : v;
            nzMin = high < nzMin ? high : nzMin;
            nzMax = low > nzMax ? low : nzMax;
        }
    } else if (wantExtremes) {
        for (size_t i = 0; i < count; ++i) {
            const T v = samples[i];
            mn = v < mn ? v : mn;
            mx = v > mx ? v : mx;
            sum += static_cast<double>(v);
        }
    } else {
        for (size_t i = firstNonZero; i < count; ++i) {
            const T v = samples[i];
            const bool zero = v == 0;
            const T high = zero ? inf : v, low = zero ? -inf : v;
            nzMin = high < nzMin ? high : nzMin;
            nzMax = low > nzMax ? low : nzMax;
        }
    }
    if (wantExtremes) {
        scan.min = mn;
        scan.max = mx;
        scan.sum = sum;
        scan.count = count;
    }
    if (wantNonZero && firstNonZero < count) {
        scan.nonZeroMin = nzMin;
        scan.nonZeroMax = nzMax;
    }
}

// The exact sum of a block of integer samples; small unsigned samples are
// summed into a 32-bit partial sum, which cannot overflow in a block of at
// most 65536 samples and vectorises well.
template <typename T>
int64_t exactBlockSum(const T* samples, size_t count)
{
    if constexpr (sizeof(T) <= 2 && std::is_unsigned<T>::value) {
        uint32_t partial = 0;
        for (size_t i = 0; i < count; ++i) partial += samples[i];
        return partial;
    } else {
        int64_t sum = 0;
        for (size_t i = 0; i < count; ++i) sum += samples[i];
        return sum;
    }
}

// The same survey for integer samples without a mask, as plain reductions the
// compiler can vectorise, block by block so that each block is still in cache
// for its second and third pass. Integers compare exactly, so the extremes do
// not depend on the order; the sum is gathered exactly in 64 bits and is only
// used when every partial sum of the ordered double sum would have been exact
// too (below 2^53), so the mean is bit for bit the same. Returns false when
// that cannot be guaranteed; the caller then runs the ordered scan.
// Whether every partial sum of `count` samples of T stays below 2^53, where
// a double sum is exact in any order.
template <typename T> bool integerSumIsExact(size_t count)
{
    const uint64_t largestMagnitude = std::is_signed<T>::value ? (uint64_t(1) << 31) : std::numeric_limits<T>::max();
    return count == 0 || largestMagnitude <= (uint64_t(1) << 53) / count;
}

template <typename T>
__attribute__((always_inline)) inline bool scanMinMaxIntegerFast(const T* samples, size_t count, bool wantExtremes,
                                                                 bool wantNonZero, MinMaxScan<T>& scan)
{
    static_assert(std::is_integral<T>::value, "integer samples only");
    if (!integerSumIsExact<T>(count)) return false;
    if (count == 0) return true;
    const size_t block = 16384;
    const T high = std::numeric_limits<T>::max(), low = std::numeric_limits<T>::lowest();
    T mn = samples[0], mx = samples[0];
    int64_t sum = 0;
    // Zeros are replaced by values that cannot win, so the non-zero extremes
    // are branch-free reductions too (written with masks so they vectorise).
    T nzMin = high, nzMax = low, any = 0;
    for (size_t start = 0; start < count; start += block) {
        const T* in = samples + start;
        const size_t n = count - start < block ? count - start : block;
        if (wantExtremes) {
            for (size_t i = 0; i < n; ++i) {
                const T v = in[i];
                mn = v < mn ? v : mn;
                mx = v > mx ? v : mx;
            }
            sum += exactBlockSum(in, n);
        }
        if (wantNonZero) {
            if constexpr (std::is_unsigned<T>::value) {
                // v - 1 wraps a zero to the largest value, which cannot be
                // the smallest non-zero one; the largest sample is the
                // largest non-zero one whenever there is one.
                T belowMin = high;
                for (size_t i = 0; i < n; ++i) {
                    const T v = in[i];
                    const T less = static_cast<T>(v - 1);
                    belowMin = less < belowMin ? less : belowMin;
                    nzMax = v > nzMax ? v : nzMax;
                    any = static_cast<T>(any | v);
                }
                const T candidate = static_cast<T>(belowMin + 1);
                nzMin = candidate != 0 && candidate < nzMin ? candidate : nzMin;
            } else {
                for (size_t i = 0; i < n; ++i) {
                    const T v = in[i];
                    const T zero = static_cast<T>(v == 0);
                    nzMin = std::min(nzMin, static_cast<T>(v + zero * high));
                    nzMax = std::max(nzMax, static_cast<T>(v + zero * low));
                    any = static_cast<T>(any | v);
                }
            }
        }
    }
    if (wantExtremes) {
        scan.min = mn;
        scan.max = mx;
        scan.sum = static_cast<double>(sum);
        scan.count = count;
    }
    if (wantNonZero && any != 0) {
        scan.nonZeroMin = nzMin;
        scan.nonZeroMax = nzMax;
    }
    return true;
}

#if IL_HAVE_AVX2_KERNELS
// The integer survey in one AVX2 pass, 32 bytes at a time, with the results
// of the block-wise reductions (integers compare and add exactly, so the
// order does not matter).
//
// Exact sums, in lanes folded into 64 bits every 16384 vectors: bytes by sums
// of absolute differences from zero into 64-bit lanes; 16-bit samples as
// signed pairs (v - 32768) added by a multiply-add into 32-bit lanes (each
// gains at most 65536 a vector, far from 2^31 in a chunk); 32-bit samples
// widened to 64 bits.
//
// Non-zero extremes: unsigned samples take the minimum of v - 1, where a zero
// wraps to the largest value and cannot win, and the largest sample is the
// largest non-zero one whenever there is one; signed samples blend values
// that cannot win in place of zeros.
struct SurveyLanes {
    __m256i mn, mx, nzMin, nzMax, any, sum;
};

IL_TARGET_AVX2 inline int64_t laneSum64(__m256i v)
{
    alignas(32) int64_t lanes[4];
    _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), v);
    return lanes[0] + lanes[1] + lanes[2] + lanes[3];
}

IL_TARGET_AVX2 inline void surveyVector(SurveyLanes& l, __m256i v, bool nonZero, const uint8_t*)
{
    l.mn = _mm256_min_epu8(l.mn, v);
    l.mx = _mm256_max_epu8(l.mx, v);
    l.sum = _mm256_add_epi64(l.sum, _mm256_sad_epu8(v, _mm256_setzero_si256()));
    if (nonZero) {
        l.nzMin = _mm256_min_epu8(l.nzMin, _mm256_sub_epi8(v, _mm256_set1_epi8(1)));
        l.any = _mm256_or_si256(l.any, v);
    }
}
IL_TARGET_AVX2 inline void surveyVector(SurveyLanes& l, __m256i v, bool nonZero, const uint16_t*)
{
    l.mn = _mm256_min_epu16(l.mn, v);
    l.mx = _mm256_max_epu16(l.mx, v);
    const __m256i centred = _mm256_xor_si256(v, _mm256_set1_epi16(static_cast<short>(0x8000)));
    l.sum = _mm256_add_epi32(l.sum, _mm256_madd_epi16(centred, _mm256_set1_epi16(1)));
    if (nonZero) {
        l.nzMin = _mm256_min_epu16(l.nzMin, _mm256_sub_epi16(v, _mm256_set1_epi16(1)));
        l.any = _mm256_or_si256(l.any, v);
    }
}
IL_TARGET_AVX2 inline void surveyVector(SurveyLanes& l, __m256i v, bool nonZero, const int32_t*)
{
    l.mn = _mm256_min_epi32(l.mn, v);
    l.mx = _mm256_max_epi32(l.mx, v);
    l.sum = _mm256_add_epi64(l.sum, _mm256_add_epi64(_mm256_cvtepi32_epi64(_mm256_castsi256_si128(v)),
                                                      _mm256_cvtepi32_epi64(_mm256_extracti128_si256(v, 1))));
    if (nonZero) {
        const __m256i zero = _mm256_cmpeq_epi32(v, _mm256_setzero_si256());
        l.nzMin = _mm256_min_epi32(l.nzMin, _mm256_blendv_epi8(v, _mm256_set1_epi32(INT32_MAX), zero));
        l.nzMax = _mm256_max_epi32(l.nzMax, _mm256_blendv_epi8(v, _mm256_set1_epi32(INT32_MIN), zero));
        l.any = _mm256_or_si256(l.any, v);
    }
}

// Moves the lanes' partial sum of `vectors` vectors into 64 bits.
IL_TARGET_AVX2 inline int64_t foldSum(__m256i sum, size_t, const uint8_t*) { return laneSum64(sum); }
IL_TARGET_AVX2 inline int64_t foldSum(__m256i sum, size_t vectors, const uint16_t*)
{
    const __m256i wide = _mm256_add_epi64(_mm256_cvtepi32_epi64(_mm256_castsi256_si128(sum)),
                                          _mm256_cvtepi32_epi64(_mm256_extracti128_si256(sum, 1)));
    return laneSum64(wide) + static_cast<int64_t>(vectors) * 16 * 32768;
}
IL_TARGET_AVX2 inline int64_t foldSum(__m256i sum, size_t, const int32_t*) { return laneSum64(sum); }

template <typename T, bool NonZero>
IL_TARGET_AVX2 void surveyVectors(const T* samples, size_t vectors, SurveyLanes& l, int64_t& sum)
{
    const size_t chunk = 16384;
    const __m256i* in = reinterpret_cast<const __m256i*>(samples);
    for (size_t start = 0; start < vectors; start += chunk) {
        const size_t end = vectors - start < chunk ? vectors : start + chunk;
        l.sum = _mm256_setzero_si256();
        for (size_t k = start; k < end; ++k) surveyVector(l, _mm256_loadu_si256(in + k), NonZero, samples);
        sum += foldSum(l.sum, end - start, samples);
    }
}

template <typename T, size_t N> IL_TARGET_AVX2 void storeLanes(T (&out)[N], __m256i v)
{
    static_assert(N * sizeof(T) == 32, "one vector");
    std::memcpy(out, &v, 32);
}

template <typename T>
IL_TARGET_AVX2 bool scanMinMaxIntegerAvx2(const T* samples, size_t count, bool wantExtremes, bool wantNonZero,
                                          MinMaxScan<T>& scan)
{
    const size_t lanes = 32 / sizeof(T);
    const size_t vectors = count / lanes;
    if (vectors == 0) return scanMinMaxIntegerFast(samples, count, wantExtremes, wantNonZero, scan);
    if (!integerSumIsExact<T>(count)) return false;
    const T high = std::numeric_limits<T>::max(), low = std::numeric_limits<T>::lowest();
    SurveyLanes l;
    l.mn = l.mx = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(samples));
    T fill[32 / sizeof(T)];
    for (T& v : fill) v = high;
    std::memcpy(&l.nzMin, fill, 32);
    for (T& v : fill) v = low;
    std::memcpy(&l.nzMax, fill, 32);
    l.any = _mm256_setzero_si256();
    int64_t sum = 0;
    if (wantNonZero)
        surveyVectors<T, true>(samples, vectors, l, sum);
    else
        surveyVectors<T, false>(samples, vectors, l, sum);

    T mnLanes[32 / sizeof(T)], mxLanes[32 / sizeof(T)], nzMinLanes[32 / sizeof(T)], nzMaxLanes[32 / sizeof(T)];
    storeLanes(mnLanes, l.mn);
    storeLanes(mxLanes, l.mx);
    storeLanes(nzMinLanes, l.nzMin);
    storeLanes(nzMaxLanes, l.nzMax);
    T smallest = mnLanes[0], largest = mxLanes[0], nzSmallest = high, nzLargest = low;
    for (size_t j = 0; j < lanes; ++j) {
        smallest = mnLanes[j] < smallest ? mnLanes[j] : smallest;
        largest = mxLanes[j] > largest ? mxLanes[j] : largest;
        nzSmallest = nzMinLanes[j] < nzSmallest ? nzMinLanes[j] : nzSmallest;
        nzLargest = nzMaxLanes[j] > nzLargest ? nzMaxLanes[j] : nzLargest;
    }
    bool anyNonZero = !_mm256_testz_si256(l.any, l.any);
    if constexpr (std::is_unsigned<T>::value) {
        // The lanes hold the smallest v - 1 (a zero wrapped to the largest);
        // the largest non-zero sample is the largest sample.
        nzSmallest = static_cast<T>(nzSmallest + 1);
        nzLargest = largest;
    }
    for (size_t i = vectors * lanes; i < count; ++i) {
        const T v = samples[i];
        smallest = v < smallest ? v : smallest;
        largest = v > largest ? v : largest;
        sum += v;
        if (v != 0) {
            nzSmallest = (v < nzSmallest || !anyNonZero) ? v : nzSmallest;
            nzLargest = (v > nzLargest || !anyNonZero) ? v : nzLargest;
            anyNonZero = true;
        }
    }
    if (wantExtremes) {
        scan.min = smallest;
        scan.max = largest;
        scan.sum = static_cast<double>(sum);
        scan.count = count;
    }
    if (wantNonZero && anyNonZero) {
        scan.nonZeroMin = nzSmallest;
        scan.nonZeroMax = nzLargest;
    }
    return true;
}
#endif

template <typename T>
void surveySamples(const T* samples, size_t count, const char* mask, bool wantExtremes, bool wantNonZero,
                   MinMaxScan<T>& scan)
{
    if constexpr (std::is_integral<T>::value) {
#if IL_HAVE_AVX2_KERNELS
        if (!mask && ilCpuHasAvx2() && scanMinMaxIntegerAvx2(samples, count, wantExtremes, wantNonZero, scan)) return;
#endif
        if (!mask && scanMinMaxIntegerFast(samples, count, wantExtremes, wantNonZero, scan)) return;
    } else {
        if (!mask) {
            scanMinMaxFloating(samples, count, wantExtremes, wantNonZero, scan);
            return;
        }
    }
    scanMinMax(samples, count, mask, wantExtremes, wantNonZero, scan);
}

template <typename T> float toFloatOutput(T value) { return ILConvertSample<float>(value); }

} // namespace

CILImageBase::CILImageBase()
    : m_datatype(static_cast<QORDataTypes>(-1)), m_width(0), m_height(0), m_sizeinbytes(0), m_data(nullptr),
      m_pByteData(nullptr), m_pUShortData(nullptr), m_pLongData(nullptr), m_pFloatData(nullptr),
      m_pDoubleData(nullptr), m_allocatedBytes(0)
{
}

CILImageBase::CILImageBase(const CILImageBase& other) : CILImageBase()
{
    if (!InitWithType(other.m_datatype, static_cast<int32_t>(other.m_width), static_cast<int32_t>(other.m_height)))
        return;
    if (other.hasPixels() && other.m_allocatedBytes >= m_sizeinbytes && m_sizeinbytes > 0)
        std::memcpy(m_data, other.m_data, m_sizeinbytes);
}

CILImageBase::~CILImageBase()
{
    freeBuffer();
}

const CILImageBase& CILImageBase::operator=(const CILImageBase& other)
{
    // No self-assignment guard: the buffer is always replaced. Copying a
    // buffer onto itself would be meaningless, so a self-assignment only
    // loses the old values.
    const bool selfAssignment = (this == &other);
    if (!InitWithType(other.m_datatype, static_cast<int32_t>(other.m_width), static_cast<int32_t>(other.m_height)))
        return *this;
    if (!selfAssignment && other.hasPixels() && other.m_allocatedBytes >= m_sizeinbytes && m_sizeinbytes > 0)
        std::memcpy(m_data, other.m_data, m_sizeinbytes);
    return *this;
}

size_t CILImageBase::get_reqsizefortype(QORDataTypes type)
{
    const size_t bytes = ILSampleBytes(type);
    if (bytes == 0) IL_ASSERT_UNKNOWN_TYPE();
    return bytes;
}

bool CILImageBase::hasPixels() const
{
    if (!m_data) return false;
    const size_t needed = pixelCount() * ILSampleBytes(m_datatype);
    return needed <= m_allocatedBytes && m_sizeinbytes <= m_allocatedBytes;
}

void CILImageBase::freeBuffer()
{
    std::free(m_data);
    m_data = nullptr;
    m_allocatedBytes = 0;
}

void CILImageBase::swapPixels(CILImageBase& other)
{
    std::swap(m_datatype, other.m_datatype);
    std::swap(m_width, other.m_width);
    std::swap(m_height, other.m_height);
    std::swap(m_sizeinbytes, other.m_sizeinbytes);
    std::swap(m_data, other.m_data);
    std::swap(m_allocatedBytes, other.m_allocatedBytes);
}

bool CILImageBase::InitWithType(QORDataTypes type, int32_t width, int32_t height)
{
    const size_t sampleBytes = get_reqsizefortype(type);
    const int64_t count = checkedPixelCount(width, height);
    const size_t bytes = count < 0 ? 0 : static_cast<size_t>(count) * sampleBytes;
    // A buffer of exactly the new byte size is kept: its contents are
    // undefined either way, and re-shaping a destination of the same size
    // over and over then costs no fresh pages.
    if (count >= 0 && m_data && m_allocatedBytes == bytes) {
        m_datatype = type;
        m_width = static_cast<uint32_t>(width);
        m_height = static_cast<uint32_t>(height);
        m_sizeinbytes = bytes;
        return true;
    }
    freeBuffer();
    if (count < 0) return false;
    unsigned char* buffer = allocatePixels(bytes);
    if (!buffer) return false;
    m_data = buffer;
    m_allocatedBytes = bytes;
    m_datatype = type;
    m_width = static_cast<uint32_t>(width);
    m_height = static_cast<uint32_t>(height);
    m_sizeinbytes = bytes;
    return true;
}

bool CILImageBase::setImageData(const void* src, QORDataTypes type, int width, int height, bool reinit)
{
    if (reinit) {
        if (!InitWithType(type, width, height)) return false;
    } else if (type != m_datatype) {
        return false;
    }
    if (src && hasPixels() && m_sizeinbytes > 0) std::memcpy(m_data, src, m_sizeinbytes);
    return true;
}

void CILImageBase::setlocalpointers()
{
    const bool known = ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        T* samples = samplesOf<T>(m_data);
        if constexpr (std::is_same<T, uint8_t>::value) m_pByteData = samples;
        else if constexpr (std::is_same<T, uint16_t>::value) m_pUShortData = samples;
        else if constexpr (std::is_same<T, int32_t>::value) m_pLongData = samples;
        else if constexpr (std::is_same<T, float>::value) m_pFloatData = samples;
        else m_pDoubleData = samples;
    });
    if (!known) IL_ASSERT_UNKNOWN_TYPE();
}

int CILImageBase::operator==(const CILImageBase& other) const
{
    if (m_datatype != other.m_datatype || m_width != other.m_width || m_height != other.m_height) return 0;
    if (!hasPixels()) return other.hasPixels() ? 0 : 1;
    if (!other.hasPixels() || other.m_allocatedBytes < m_sizeinbytes) return 0;
    if (m_sizeinbytes == 0) return 1;
    return std::memcmp(m_data, other.m_data, m_sizeinbytes) == 0 ? 1 : 0;
}

int CILImageBase::operator!=(const CILImageBase& other) const
{
    if (m_datatype != other.m_datatype || m_width != other.m_width || m_height != other.m_height) return 1;
    if (!hasPixels()) return other.hasPixels() ? 1 : 0;
    if (!other.hasPixels() || other.m_allocatedBytes < m_sizeinbytes) return 1;
    if (m_sizeinbytes == 0) return 0;
    return std::memcmp(m_data, other.m_data, m_sizeinbytes) != 0 ? 1 : 0;
}

int CILImageBase::compareWithPrecession(const CILImageBase& other, double precision)
{
    if (m_width != other.m_width || m_height != other.m_height) return 0;
    if (!hasPixels()) return other.hasPixels() ? 0 : 1;
    if (!other.hasPixels()) return 0;
    if (m_datatype != other.m_datatype) return 0;
    bool equal = true;
    const size_t count = pixelCount();
    // An unknown type counts as equal.
    ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        equal = samplesWithin<T>(samplesOf<T>(m_data), samplesOf<T>(other.m_data), count, precision);
    });
    return equal ? 1 : 0;
}

bool CILImageBase::setConstData(int32_t value)
{
    if (!hasPixels()) return false;
    return ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        fillSamples<T>(m_data, pixelCount(), ILConvertSample<T>(value));
    });
}

bool CILImageBase::setConstData(double value)
{
    if (!hasPixels()) return false;
    return ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        fillSamples<T>(m_data, pixelCount(), ILConvertSample<T>(value));
    });
}

template <typename T>
bool CILImageBase::resizeAs(uint32_t width, uint32_t height, T fill)
{
    const int64_t count = checkedPixelCount(width, height);
    if (count < 0) return false;
    // One spare byte keeps malloc from answering null for an empty canvas.
    T* canvas = static_cast<T*>(std::malloc(static_cast<size_t>(count) * sizeof(T) + 1));
    if (!canvas) return false;
    for (int64_t i = 0; i < count; ++i) canvas[i] = fill;

    // The old buffer is read as T whatever its type; reads stop at its end.
    if (m_data) {
        const T* old = samplesOf<T>(m_data);
        const size_t oldElements = m_allocatedBytes / sizeof(T);
        const uint32_t rows = m_height < height ? m_height : height;
        const uint32_t columns = m_width < width ? m_width : width;
        for (uint32_t y = 0; y < rows; ++y) {
            for (uint32_t x = 0; x < columns; ++x) {
                const size_t from = static_cast<size_t>(y) * m_width + x;
                if (from < oldElements) canvas[static_cast<size_t>(y) * width + x] = old[from];
            }
        }
    }

    if (!InitWithType(m_datatype, static_cast<int32_t>(width), static_cast<int32_t>(height))) {
        std::free(canvas);
        return false;
    }
    const size_t canvasBytes = static_cast<size_t>(count) * sizeof(T);
    const size_t copied = canvasBytes < m_allocatedBytes ? canvasBytes : m_allocatedBytes;
    if (copied > 0) std::memcpy(m_data, canvas, copied);
    std::free(canvas);
    return true;
}

bool CILImageBase::resize(uint32_t width, uint32_t height, unsigned char fill) { return resizeAs(width, height, fill); }
bool CILImageBase::resize(uint32_t width, uint32_t height, unsigned short fill) { return resizeAs(width, height, fill); }
bool CILImageBase::resize(uint32_t width, uint32_t height, int32_t fill) { return resizeAs(width, height, fill); }
bool CILImageBase::resize(uint32_t width, uint32_t height, float fill) { return resizeAs(width, height, fill); }
bool CILImageBase::resize(uint32_t width, uint32_t height, double fill) { return resizeAs(width, height, fill); }

bool CILImageBase::ChangeType(QORDataTypes target)
{
    if (target == m_datatype) return true;
    if (!hasPixels()) return false;
    if (pixelCount() > static_cast<size_t>(INT32_MAX)) return false;
    const size_t count = pixelCount();

    bool converted = false;
    unsigned char* buffer = nullptr;
    size_t bytes = 0;
    const bool knownSource = ILDispatchSampleType(m_datatype, [&](auto sourceTag) {
        using From = typename decltype(sourceTag)::type;
        bytes = count * get_reqsizefortype(target);
        buffer = allocatePixels(bytes);
        if (!buffer) return;
        converted = true;
        // An unknown target has already asserted (its size is 0): nothing to convert.
        ILDispatchSampleType(target, [&](auto targetTag) {
            using To = typename decltype(targetTag)::type;
            convertSamples<From, To>(m_data, buffer, count);
        });
    });
    if (!knownSource) {
        IL_ASSERT_UNKNOWN_TYPE();
        return false;
    }
    if (!converted) return false;

    freeBuffer();
    m_data = buffer;
    m_allocatedBytes = bytes;
    m_datatype = target;
    m_sizeinbytes = bytes;
    return true;
}

bool CILImageBase::getMinMax(float* min, float* max, double* mean, char* mask, float* nonZeroMin, float* nonZeroMax)
{
    if (!hasPixels()) return false;
    const bool wantExtremes = (min || max);
    const bool wantNonZero = (nonZeroMin || nonZeroMax);
    const size_t count = pixelCount();
    return ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T* samples = samplesOf<T>(m_data);
        MinMaxScan<T> scan;
        // An empty image has no first sample; its extremes are 0.
        const T first = count > 0 ? samples[0] : T(0);
        scan.min = scan.max = scan.nonZeroMin = scan.nonZeroMax = first;
        scan.sum = 0.0;
        scan.count = 0;
        if (wantExtremes || wantNonZero) surveySamples(samples, count, mask, wantExtremes, wantNonZero, scan);
        if (min) *min = toFloatOutput(scan.min);
        if (max) *max = toFloatOutput(scan.max);
        if (nonZeroMin) *nonZeroMin = toFloatOutput(scan.nonZeroMin);
        if (nonZeroMax) *nonZeroMax = toFloatOutput(scan.nonZeroMax);
        if (mean) *mean = scan.count ? scan.sum / static_cast<double>(scan.count) : 0.0;
    });
}
