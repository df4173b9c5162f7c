// ILImageBase_templates.h - the pieces every pixel algorithm shares: the mapping
// from QORDataTypes to the C++ sample type, the one dispatcher that selects it at
// run time, and the conversion rule between sample types.
#ifndef IMAGELIB_ILIMAGEBASE_TEMPLATES_H
#define IMAGELIB_ILIMAGEBASE_TEMPLATES_H

#include <stddef.h>
#include <stdint.h>

#include <limits>

#include "ILTypes.h"

// Compile-time mapping from a sample type value to its C++ type.
template <int32_t Type> struct ILSampleOf;
template <> struct ILSampleOf<eByte> { typedef uint8_t type; };
template <> struct ILSampleOf<eUShort> { typedef uint16_t type; };
template <> struct ILSampleOf<eLong> { typedef int32_t type; };
template <> struct ILSampleOf<eFloat> { typedef float type; };
template <> struct ILSampleOf<eDouble> { typedef double type; };

// An empty value that carries a sample type to a generic kernel:
// `[&](auto tag) { using T = typename decltype(tag)::type; ... }`.
template <typename T> struct ILSampleTag { typedef T type; };

// The single run-time dispatcher of the library. Calls `kernel` with the tag of
// the sample type named by `type`, testing 1, 2, 3, 4, 5 in that order, and
// returns true; returns false for any other value without calling it. Callers
// turn the false into their own failure path (the "1==0" assertion, a false,
// 0 or status result).
template <typename Kernel>
inline bool ILDispatchSampleType(int32_t type, Kernel&& kernel)
{
    switch (type) {
    case eByte: kernel(ILSampleTag<uint8_t>()); return true;
    case eUShort: kernel(ILSampleTag<uint16_t>()); return true;
    case eLong: kernel(ILSampleTag<int32_t>()); return true;
    case eFloat: kernel(ILSampleTag<float>()); return true;
    case eDouble: kernel(ILSampleTag<double>()); return true;
    default: return false;
    }
}

// Bytes per sample of the five sample types through the dispatcher; 0 for any
// other value, without raising an assertion.
struct ILSampleBytesOf {
    size_t* bytes;
    template <typename Tag> void operator()(Tag) const { *bytes = sizeof(typename Tag::type); }
};
inline size_t ILSampleBytes(int32_t type)
{
    size_t bytes = 0;
    ILDispatchSampleType(type, ILSampleBytesOf{&bytes});
    return bytes;
}

// Truncates toward zero to a signed 32-bit integer. NaN and values outside the
// 32-bit range give -2147483648, the value a truncating conversion produces on
// overflow; the library relies on that value (its low 8 and 16 bits are 0).
inline int32_t ILTruncToInt32(double x)
{
    if (x > -2147483649.0 && x < 2147483648.0)
        return static_cast<int32_t>(x);
    return INT32_MIN;
}

// The conversion rule between sample types: a plain numeric cast without scaling
// or saturation. Floating values truncate toward zero to 32 bits first; integer
// targets keep the low 8 or 16 bits (wrap-around); float targets round to nearest.
template <typename To> struct ILConvert {
    static To from(uint8_t v) { return static_cast<To>(v); }
    static To from(uint16_t v) { return static_cast<To>(v); }
    static To from(int32_t v) { return static_cast<To>(v); }
    static To from(float v) { return static_cast<To>(ILTruncToInt32(v)); }
    static To from(double v) { return static_cast<To>(ILTruncToInt32(v)); }
};
// Narrows a double to float, rounding to nearest; values beyond the float
// range become +-infinity as IEEE hardware gives them (and NaN stays NaN).
inline float ILNarrowToFloat(double v)
{
    // 2^128 - 2^103: the half-way point above FLT_MAX, which rounds to infinity.
    const double overflowEdge = 3.4028235677973366e38;
    if (v >= overflowEdge) return std::numeric_limits<float>::infinity();
    if (v <= -overflowEdge) return -std::numeric_limits<float>::infinity();
    return static_cast<float>(v);
}

template <> struct ILConvert<float> {
    template <typename From> static float from(From v) { return static_cast<float>(v); }
    static float from(double v) { return ILNarrowToFloat(v); }
};
template <> struct ILConvert<double> {
    template <typename From> static double from(From v) { return static_cast<double>(v); }
};

template <typename To, typename From>
inline To ILConvertSample(From v)
{
    return ILConvert<To>::from(v);
}

#endif
