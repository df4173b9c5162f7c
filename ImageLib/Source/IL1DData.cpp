// IL1DData.cpp - the one-dimensional data series: storage, extremes, level
// search, filtering, reversal, scaling and typed read-out.
#include "IL1DData.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#define IL_ASSERT_SOURCE L"ImageLib/Source/IL1DData"

// The filter's index checks report under the name of the header that
// declares the series. Their text is written out because the code compares
// signed copies of the size and the tap count, which spares a comparison of
// an unsigned index with 0.
#define IL_FILTER_CHECK(cond, text)                                                    \
    do {                                                                               \
        if (!(cond)) ILReportAssertion(text, L"ImageLib/Headers/IL1DData", __LINE__); \
    } while (0)

namespace {

bool isValueType(int32_t type)
{
    return type >= eByte && type <= eDouble;
}

// A level as an integer threshold in the width of the sample type T: the
// truncating conversion rule, so out-of-range levels wrap like any sample.
template <typename T>
T integerThreshold(double level)
{
    return ILConvertSample<T>(level);
}

// Interpolated position base + (level - a) / (b - a), all in single precision.
template <typename T>
float interpolatedPosition(size_t base, float level, T a, T b)
{
    const float fa = static_cast<float>(a);
    const float fb = static_cast<float>(b);
    return static_cast<float>(base) + (level - fa) / (fb - fa);
}

// Runs `search(samples, threshold)` over the samples of a type 1 to 5 series,
// with the level truncated into the sample's width for integer series; -1.0
// without samples or for any other type.
template <typename Search>
float searchLevel(const void* data, int32_t type, float level, Search&& search)
{
    float found = -1.0f;
    if (!data) return found;
    ILDispatchSampleType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T threshold = std::is_integral<T>::value ? integerThreshold<T>(level) : static_cast<T>(level);
        found = search(static_cast<const T*>(data), threshold);
    });
    return found;
}

} // namespace

CIL1DData::CIL1DData()
    : m_data(nullptr), m_datatype(static_cast<QORDataTypes>(-1)), m_size(512), m_relatedData(nullptr),
      m_max(0.0), m_min(0.0), m_maxPos(0), m_minPos(0)
{
}

CIL1DData::CIL1DData(const CIL1DData& other) : CIL1DData()
{
    *this = other;
}

CIL1DData::~CIL1DData()
{
    std::free(m_data);
}

CIL1DData& CIL1DData::operator=(const CIL1DData& other)
{
    // initWithArray copies from the source before releasing the old samples,
    // so assigning a series to itself keeps its samples.
    initWithArray(other.m_data, other.m_size, other.m_datatype);
    m_relatedData = other.m_relatedData;
    return *this;
}

bool CIL1DData::initWithType(size_t n, QORDataTypes type)
{
    return initWithArray(nullptr, n, type);
}

bool CIL1DData::initWithArray(const void* src, size_t n, QORDataTypes type)
{
    const size_t sampleBytes = ILSeriesSampleBytes(type);
    if (sampleBytes == 0) {
        IL_ASSERT(1 == 0);
        return false;
    }
    // A size whose byte count does not fit is an allocation failure. The new
    // block is zeroed so that a series without copied samples reads as 0; an
    // empty series still gets a block, so that it counts as having samples.
    void* fresh = nullptr;
    if (n <= SIZE_MAX / sampleBytes) fresh = std::calloc(n == 0 ? 1 : n, sampleBytes);
    if (fresh && src) std::memcpy(fresh, src, n * sampleBytes);
    std::free(m_data);
    m_data = fresh;
    if (!fresh) return false;
    m_size = n;
    m_datatype = type;
    return updateMinMax(true);
}

bool CIL1DData::updateMinMax(bool includeZeros)
{
    if (!m_data) return false;
    auto scan = [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T* samples = static_cast<const T*>(m_data);
        bool started = false;
        double lowest = 0.0, highest = 0.0;
        size_t lowestPos = 0, highestPos = 0;
        for (size_t i = 0; i < m_size; ++i) {
            if (!includeZeros && samples[i] == 0) continue;
            const double v = static_cast<double>(samples[i]);
            if (!started) {
                lowest = highest = v;
                lowestPos = highestPos = i;
                started = true;
                continue;
            }
            if (v <= lowest) { lowest = v; lowestPos = i; }
            if (v > highest) { highest = v; highestPos = i; }
        }
        m_min = lowest;
        m_minPos = lowestPos;
        m_max = highest;
        m_maxPos = highestPos;
    };
    if (m_datatype == kILSeriesByteKind)
        scan(ILSampleTag<int8_t>());
    else if (m_datatype == kILSeriesShortKind)
        scan(ILSampleTag<int16_t>());
    else
        ILDispatchSampleType(m_datatype, scan);
    return true;
}

int CIL1DData::getMinMax(double* first, double* second) const
{
    if (!m_data) return 0;
    if (first) *first = m_max;
    if (second) *second = m_min;
    return 1;
}

int CIL1DData::valueAtIndex(QORDataTypes type, size_t index, void* out) const
{
    if (!m_data || !isValueType(m_datatype)) return -1;
    if (index >= m_size) return 0;
    if (!out) return -1;
    double value = 0.0;
    ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        value = static_cast<double>(static_cast<const T*>(m_data)[index]);
    });
    const bool written = ILDispatchSampleType(type, [&](auto tag) {
        using To = typename decltype(tag)::type;
        const To converted = std::is_integral<To>::value ? ILConvertSample<To>(std::floor(value))
                                                         : ILConvertSample<To>(value);
        std::memcpy(out, &converted, sizeof converted);
    });
    return written ? 1 : -1;
}

size_t CIL1DData::getData(QORDataTypes type, void* dest) const
{
    const size_t failed = static_cast<size_t>(-1);
    if (!m_data) return failed;
    if (!dest) return m_size;
    if (!isValueType(m_datatype) || !isValueType(type)) return failed;
    ILDispatchSampleType(m_datatype, [&](auto fromTag) {
        using From = typename decltype(fromTag)::type;
        const From* samples = static_cast<const From*>(m_data);
        ILDispatchSampleType(type, [&](auto toTag) {
            using To = typename decltype(toTag)::type;
            To* out = static_cast<To*>(dest);
            for (size_t i = 0; i < m_size; ++i) out[i] = ILConvertSample<To>(samples[i]);
        });
    });
    return m_size;
}

int64_t CIL1DData::findLevel(float level) const
{
    int64_t found = -1;
    if (!m_data) return found;
    ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T* samples = static_cast<const T*>(m_data);
        // 32-bit series truncate the level; byte and 16-bit series round it
        // half up first. Float series need a sample strictly above it.
        const double integerLevel = std::is_same<T, int32_t>::value ? level : static_cast<double>(level) + 0.5;
        const T threshold = integerThreshold<T>(integerLevel);
        for (size_t i = 0; i < m_size; ++i) {
            const bool reached =
                std::is_integral<T>::value ? samples[i] >= threshold : samples[i] > static_cast<T>(level);
            if (reached) {
                found = static_cast<int64_t>(i);
                return;
            }
        }
    });
    return found;
}

float CIL1DData::findLevel(float level, bool interpolate) const
{
    return searchLevel(m_data, m_datatype, level, [&](const auto* samples, auto threshold) {
        for (size_t i = 0; i < m_size; ++i) {
            if (!(samples[i] >= threshold)) continue;
            return (interpolate && i >= 1) ? interpolatedPosition(i - 1, level, samples[i - 1], samples[i])
                                           : static_cast<float>(i);
        }
        return -1.0f;
    });
}

float CIL1DData::findLevelReverse(float level, bool interpolate) const
{
    return searchLevel(m_data, m_datatype, level, [&](const auto* samples, auto threshold) {
        for (size_t i = m_size; i-- > 0;) {
            if (samples[i] > threshold) continue;
            // Interpolating a match on the last sample would read past the
            // end; that match is returned as its plain index instead.
            const bool canInterpolate = interpolate && i >= 1 && i + 1 < m_size;
            return canInterpolate ? interpolatedPosition(i, level, samples[i], samples[i + 1])
                                  : static_cast<float>(i);
        }
        return -1.0f;
    });
}

void CIL1DData::filter_core(const float* coeffs, int nFilterCoeffs, CIL1DData* dest) const
{
    ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T* samples = static_cast<const T*>(m_data);
        T* out = static_cast<T*>(dest->m_data);
        const int64_t size = static_cast<int64_t>(m_size);
        const int64_t taps = nFilterCoeffs;
        const int64_t half = taps / 2;
        for (int64_t i = 0; i < size; ++i) {
            double sum = 0.0;
            const int64_t last = std::min(size, i + taps - half);
            for (int64_t jj = std::max<int64_t>(0, i - half); jj < last; ++jj) {
                const int64_t kk = jj - i + half;
                const bool sampleInside = (0 <= jj) && (jj < size);
                const bool coeffInside = (0 <= kk) && (kk < taps);
                IL_FILTER_CHECK(sampleInside, L"(0 <= jj) && (jj < m_size)");
                IL_FILTER_CHECK(coeffInside, L"(0 <= kk) && (kk < size_t(nFilterCoeffs))");
                if (sampleInside && coeffInside) sum += static_cast<double>(samples[jj]) * coeffs[kk];
            }
            out[i] = ILConvertSample<T>(sum);
        }
    });
}

int CIL1DData::filter(const float* coeffs, int nFilterCoeffs)
{
    if (!m_data) return 2;
    if (!isValueType(m_datatype)) {
        IL_ASSERT(1 == 0);
        return 1;
    }
    if (!coeffs && nFilterCoeffs > 0) return 1;
    CIL1DData filtered;
    if (!filtered.initWithType(m_size, m_datatype)) return 1;
    filter_core(coeffs, nFilterCoeffs, &filtered);
    return initWithArray(filtered.m_data, m_size, m_datatype) ? 0 : 1;
}

int CIL1DData::filter(const float* coeffs, int nFilterCoeffs, CIL1DData* dest)
{
    if (!m_data || !dest) return 2;
    // Re-shaping the destination would discard the very samples to be
    // filtered, so filtering into the series itself runs in place.
    if (dest == this) return filter(coeffs, nFilterCoeffs);
    if (!isValueType(m_datatype)) {
        IL_ASSERT(1 == 0);
        return 1;
    }
    if (!coeffs && nFilterCoeffs > 0) return 1;
    if (!dest->initWithType(m_size, m_datatype)) return 1;
    filter_core(coeffs, nFilterCoeffs, dest);
    return 0;
}

int CIL1DData::reverse()
{
    if (!m_data) return 2;
    const size_t sampleBytes = ILSeriesSampleBytes(m_datatype);
    if (sampleBytes == 0) {
        IL_ASSERT(1 == 0);
        return 1;
    }
    // Samples are moved by size, whatever their type.
    unsigned char* bytes = static_cast<unsigned char*>(m_data);
    for (size_t k = 0; k < m_size / 2; ++k) {
        unsigned char* front = bytes + k * sampleBytes;
        std::swap_ranges(front, front + sampleBytes, bytes + (m_size - 1 - k) * sampleBytes);
    }
    return 0;
}

CIL1DData& CIL1DData::operator/=(double factor)
{
    if (m_data) {
        const bool scaled = ILDispatchSampleType(m_datatype, [&](auto tag) {
            using T = typename decltype(tag)::type;
            T* samples = static_cast<T*>(m_data);
            for (size_t i = 0; i < m_size; ++i)
                samples[i] = ILConvertSample<T>(static_cast<double>(samples[i]) * factor);
        });
        if (!scaled) IL_ASSERT(1 == 0);
    }
    updateMinMax(true);
    return *this;
}
