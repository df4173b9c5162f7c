// ILImageBase_Histogram.cpp - the pixel buffer's histogram: counting samples
// into bins over a value range, and the value a bin index stands for.
#include "ILImageBase.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase"

namespace {

// Counts `count` samples (skipping those whose mask byte is 0) into `counts`.
// The bin is floor((value - rangeMin) * scale) taken through double and cut to
// 32 bits; a NaN or out-of-range product gives INT32_MIN. The index is
// compared as an unsigned 64-bit number, so negative bins fall outside.
// Sizes a work table, answering false instead of throwing when memory is short.
template <typename V>
bool reserveQuietly(std::vector<V>& table, size_t size)
{
    try {
        table.resize(size);
        return true;
    } catch (...) {
        return false;
    }
}

template <typename T>
int32_t binOf(T sample, float rangeMin, float scale)
{
    const float value = ILConvertSample<float>(sample);
    const float position = (value - rangeMin) * scale;
    return ILTruncToInt32(std::floor(static_cast<double>(position)));
}

template <typename T>
void countSamples(const T* samples, size_t count, const char* mask, float rangeMin, float scale, int32_t* counts,
                  uint64_t binCount)
{
    // 8- and 16-bit samples: the bin of every possible value is worked out
    // once with the same arithmetic and looked up (only worth it when there
    // are more samples than values). -1 marks a value that falls outside.
    if constexpr (std::is_integral<T>::value && sizeof(T) <= 2) {
        const size_t values = size_t(1) << (8 * sizeof(T));
        std::vector<int32_t> binOfValue;
        if (count > values && reserveQuietly(binOfValue, values)) {
            for (size_t v = 0; v < values; ++v) {
                const int32_t bin = binOf(static_cast<T>(v), rangeMin, scale);
                binOfValue[v] = static_cast<uint64_t>(static_cast<int64_t>(bin)) < binCount ? bin : -1;
            }
            for (size_t i = 0; i < count; ++i) {
                if (mask && mask[i] == 0) continue;
                const int32_t bin = binOfValue[samples[i]];
                if (bin >= 0) ++counts[bin];
            }
            return;
        }
    }
    for (size_t i = 0; i < count; ++i) {
        if (mask && mask[i] == 0) continue;
        const int32_t bin = binOf(samples[i], rangeMin, scale);
        if (static_cast<uint64_t>(static_cast<int64_t>(bin)) < binCount) ++counts[bin];
    }
}

} // namespace

bool CILImageBase::getHistogram(int32_t* counts, uint64_t binCount, float rangeMin, float rangeMax, char* mask)
{
    setlocalpointers();
    if (rangeMin == 0.0f && rangeMax == 0.0f) {
        double mean = 0.0;
        if (!getMinMax(&rangeMin, &rangeMax, &mean, mask, nullptr, nullptr)) return false;
    }
    if (binCount == 0) return false;
    // Refused rather than written through: a null counter array, a counter
    // array whose byte size does not fit, and an image without data. An image
    // of more than INT32_MAX pixels (only reachable through the field setters)
    // could overflow a 32-bit counter.
    if (!counts || binCount > SIZE_MAX / sizeof(int32_t)) return false;
    if (!hasPixels() || pixelCount() > static_cast<size_t>(INT32_MAX)) return false;

    const float scale = static_cast<float>(binCount - 1) / (rangeMax - rangeMin);
    std::memset(counts, 0, static_cast<size_t>(binCount) * sizeof(int32_t));
    const bool known = ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        countSamples(reinterpret_cast<const T*>(m_data), pixelCount(), mask, rangeMin, scale, counts, binCount);
    });
    if (!known) IL_ASSERT_UNKNOWN_TYPE();
    return known;
}

bool CILImageBase::getImageValueForHistogramIndex(uint32_t binCount, float binIndex, float* value, float rangeMax,
                                                  float rangeMin, char* mask)
{
    if (binCount == 0) return false;
    // A null output is refused instead of written through.
    if (!value) return false;
    if (rangeMax == 0.0f && rangeMin == 0.0f) {
        double mean = 0.0;
        if (!getMinMax(&rangeMin, &rangeMax, &mean, mask, nullptr, nullptr)) return false;
    }
    const float binWidth = (rangeMax - rangeMin) / static_cast<float>(binCount - 1);
    *value = binWidth * binIndex + rangeMin;
    return true;
}
