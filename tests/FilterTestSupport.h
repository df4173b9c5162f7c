// FilterTestSupport.h - one list of values run through all five sample types.
#ifndef IMAGELIB_TESTS_FILTERTESTSUPPORT_H
#define IMAGELIB_TESTS_FILTERTESTSUPPORT_H

#include "TestSupport.h"

#include <cmath>
#include <type_traits>
#include <vector>

template <typename T> struct SampleCode;
template <> struct SampleCode<uint8_t> { static constexpr QORDataTypes value = eByte; };
template <> struct SampleCode<uint16_t> { static constexpr QORDataTypes value = eUShort; };
template <> struct SampleCode<int32_t> { static constexpr QORDataTypes value = eLong; };
template <> struct SampleCode<float> { static constexpr QORDataTypes value = eFloat; };
template <> struct SampleCode<double> { static constexpr QORDataTypes value = eDouble; };

// Calls check(T()) for each sample type T.
template <typename Check> void forEverySampleType(Check check)
{
    check(uint8_t()), check(uint16_t()), check(int32_t()), check(float()), check(double());
}

// Values as T; integer types take floor() first, so an exact filter result
// written once reads as each type stores it.
template <typename T> std::vector<T> typed(const std::vector<double>& values)
{
    std::vector<T> out;
    for (double v : values) out.push_back(static_cast<T>(std::is_integral<T>::value ? std::floor(v) : v));
    return out;
}

template <typename T> CILImageBase imageOf(int width, int height, const std::vector<double>& values)
{
    return makeImage<T>(SampleCode<T>::value, width, height, typed<T>(values));
}

// Fills a CILImage (statistics refreshed).
template <typename T> void fillImage(CILImage& image, int width, int height, const std::vector<double>& values)
{
    std::vector<T> samples = typed<T>(values);
    image.initWithData(SampleCode<T>::value, width, height, samples.data());
}

#endif
