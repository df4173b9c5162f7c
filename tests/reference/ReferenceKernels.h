// ReferenceKernels.h - plain, obviously-correct versions of the operations
// the library speeds up. They define the expected result: every fast path is
// compared with them bit for bit on random images.
#ifndef IMAGELIB_TESTS_REFERENCEKERNELS_H
#define IMAGELIB_TESTS_REFERENCEKERNELS_H

#include <ImageLib.h>

#include <cmath>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace reference {

// Quarter turn sample by sample: (x, y) -> (y, W-1-x) left, (H-1-y, x) right.
template <typename T>
std::vector<T> quarterTurn(const std::vector<T>& src, size_t w, size_t h, bool right)
{
    std::vector<T> out(src.size());
    for (size_t y = 0; y < h; ++y)
        for (size_t x = 0; x < w; ++x) {
            const size_t col = right ? h - 1 - y : y;
            const size_t row = right ? x : w - 1 - x;
            out[row * h + col] = src[y * w + x];
        }
    return out;
}

// Mirror sample by sample: (x, y) -> (W-1-x, y).
template <typename T>
std::vector<T> mirror(const std::vector<T>& src, size_t w, size_t h)
{
    std::vector<T> out(src.size());
    for (size_t y = 0; y < h; ++y)
        for (size_t x = 0; x < w; ++x) out[y * w + (w - 1 - x)] = src[y * w + x];
    return out;
}

struct Survey {
    float min, max, nonZeroMin, nonZeroMax;
    double mean;
};

// The minimum/maximum scan in its stated order.
template <typename T>
Survey minMax(const std::vector<T>& s, const char* mask)
{
    T mn = s[0], mx = s[0], nzMin = s[0], nzMax = s[0];
    double sum = 0;
    size_t count = 0;
    bool first = true, firstNonZero = true;
    for (size_t i = 0; i < s.size(); ++i) {
        if (mask && mask[i] == 0) continue;
        const T v = s[i];
        if (first) mn = mx = v, first = false;
        if (v < mn) mn = v;
        if (v > mx) mx = v;
        sum += static_cast<double>(v);
        ++count;
        if (!(v == 0)) {
            if (firstNonZero) nzMin = nzMax = v, firstNonZero = false;
            if (v < nzMin) nzMin = v;
            if (v > nzMax) nzMax = v;
        }
    }
    return Survey{static_cast<float>(mn), static_cast<float>(mx), static_cast<float>(nzMin), static_cast<float>(nzMax),
                  count ? sum / static_cast<double>(count) : 0.0};
}

// Display pixels one sample at a time through the palette, outputs carried
// from pixel to pixel, gamma as stated.
template <typename T>
std::vector<unsigned char> displayPixels(const std::vector<T>& s, size_t w, size_t h, int flip, CILPalette palette,
                                         float gamma, bool rgba)
{
    std::vector<unsigned char> out;
    const double lo = palette.getImageMin(), hi = palette.getImageMax();
    double r = 0, g = 0, b = 0, a = 255;
    for (size_t i = 0; i < h; ++i) {
        const size_t row = flip ? h - 1 - i : i;
        for (size_t x = 0; x < w; ++x) {
            double v = static_cast<double>(s[row * w + x]);
            if (gamma != 1.0f) v = std::pow((v - lo) / (hi - lo), 1.0 / gamma) * (hi - lo) + lo;
            palette.GetRGBForImageValue(v, &r, &g, &b, &a);
            out.push_back(static_cast<unsigned char>(static_cast<int32_t>(r)));
            out.push_back(static_cast<unsigned char>(static_cast<int32_t>(g)));
            out.push_back(static_cast<unsigned char>(static_cast<int32_t>(b)));
            if (rgba) out.push_back(static_cast<unsigned char>(static_cast<int32_t>(a)));
        }
    }
    return out;
}

// Histogram sample by sample in single precision.
template <typename T>
std::vector<int32_t> histogram(const std::vector<T>& s, size_t bins, float lo, float hi, const char* mask)
{
    std::vector<int32_t> counts(bins, 0);
    const float scale = static_cast<float>(bins - 1) / (hi - lo);
    for (size_t i = 0; i < s.size(); ++i) {
        if (mask && mask[i] == 0) continue;
        const float position = (static_cast<float>(s[i]) - lo) * scale;
        const double f = std::floor(static_cast<double>(position));
        const int32_t bin = (f > -2147483649.0 && f < 2147483648.0) ? static_cast<int32_t>(f) : INT32_MIN;
        if (static_cast<uint64_t>(static_cast<int64_t>(bin)) < bins) ++counts[bin];
    }
    return counts;
}

// ---- median, erosion and dilation -------------------------------------------
// The plain neighbourhood kernels as the library defines them: windows cut at
// the edges, the median taken from a stable merge sort under the tolerant
// ordering (values within 1e-8 count as equal, a NaN is the smaller from
// either side), erosion and dilation replacing the pixel's own sample only by
// a strictly smaller (larger) one.

struct Span {
    int64_t begin, end;
};

// Size n reaches from p - n / 2 up to but excluding p - n / 2 + n, cut to
// 0 .. extent; a size below 1 is empty.
inline Span neighbourhood(int64_t p, int64_t n, int64_t extent)
{
    Span s{p - n / 2, p - n / 2 + n};
    if (s.begin < 0) s.begin = 0;
    if (s.end > extent) s.end = extent;
    if (s.end < s.begin) s.end = s.begin;
    return s;
}

inline int tolerantCompare(double a, double b)
{
    if (std::fabs(a - b) <= 1e-8) return 0;
    return a > b ? 1 : -1;
}

// Bottom-up stable merge sort with the tolerant comparison.
inline void tolerantSort(std::vector<double>& values)
{
    std::vector<double> scratch(values.size());
    const size_t count = values.size();
    for (size_t run = 1; run < count; run *= 2) {
        for (size_t lo = 0; lo < count; lo += 2 * run) {
            const size_t mid = (count - lo > run) ? lo + run : count;
            const size_t hi = (count - lo > 2 * run) ? lo + 2 * run : count;
            size_t i = lo, j = mid;
            for (size_t k = lo; k < hi; ++k) {
                if (j >= hi || (i < mid && tolerantCompare(values[i], values[j]) <= 0))
                    scratch[k] = values[i++];
                else
                    scratch[k] = values[j++];
            }
            for (size_t k = lo; k < hi; ++k) values[k] = scratch[k];
        }
    }
}

// Integer samples keep the truncated value; floating samples take it as it is.
template <typename T>
T fromMedian(double v)
{
    if (std::is_integral<T>::value) return static_cast<T>(static_cast<int32_t>(v));
    return static_cast<T>(v);
}

// n x n median (n >= 1), entry count / 2 of the sorted window.
template <typename T>
void median(const T* src, T* dst, size_t w, size_t h, unsigned int n)
{
    std::vector<double> window;
    for (size_t y = 0; y < h; ++y) {
        const Span rows = neighbourhood(static_cast<int64_t>(y), n, static_cast<int64_t>(h));
        for (size_t x = 0; x < w; ++x) {
            const Span cols = neighbourhood(static_cast<int64_t>(x), n, static_cast<int64_t>(w));
            window.clear();
            for (int64_t ny = rows.begin; ny < rows.end; ++ny)
                for (int64_t nx = cols.begin; nx < cols.end; ++nx)
                    window.push_back(static_cast<double>(src[static_cast<size_t>(ny) * w + static_cast<size_t>(nx)]));
            tolerantSort(window);
            dst[y * w + x] = fromMedian<T>(window[window.size() / 2]);
        }
    }
}

// Erosion (minimum) or dilation (maximum) over sx x sy, cut at the edges.
template <typename T>
void erodeDilate(const T* src, T* dst, size_t w, size_t h, int sx, int sy, bool erode)
{
    for (size_t y = 0; y < h; ++y) {
        const Span rows = neighbourhood(static_cast<int64_t>(y), sy, static_cast<int64_t>(h));
        for (size_t x = 0; x < w; ++x) {
            const Span cols = neighbourhood(static_cast<int64_t>(x), sx, static_cast<int64_t>(w));
            T result = src[y * w + x];
            for (int64_t ny = rows.begin; ny < rows.end; ++ny)
                for (int64_t nx = cols.begin; nx < cols.end; ++nx) {
                    const T s = src[static_cast<size_t>(ny) * w + static_cast<size_t>(nx)];
                    if (erode ? (s < result) : (result < s)) result = s;
                }
            dst[y * w + x] = result;
        }
    }
}

// ---- convolution, resampling, arithmetic and threshold ------------------------
// The plain kernels of the library's correlation filter, nearest and bilinear
// resampling, element arithmetic and fixed threshold, one sample at a time in
// the stated order.

// Truncation toward zero to 32 bits; NaN and values outside the range give
// -2147483648.
inline int32_t truncToInt32(double x)
{
    return (x > -2147483649.0 && x < 2147483648.0) ? static_cast<int32_t>(x) : INT32_MIN;
}

// The conversion rule between sample types: floating values truncate to 32
// bits, integer targets keep their low bits, float targets round to nearest
// (beyond the float range: infinity).
template <typename To, typename From>
To convertSample(From v)
{
    if constexpr (std::is_integral<To>::value) {
        if constexpr (std::is_floating_point<From>::value) return static_cast<To>(truncToInt32(static_cast<double>(v)));
        else return static_cast<To>(v);
    } else if constexpr (std::is_same<To, float>::value && std::is_same<From, double>::value) {
        const double edge = 3.4028235677973366e38;  // half-way between FLT_MAX and 2^128
        if (v >= edge) return INFINITY;
        if (v <= -edge) return -INFINITY;
        return static_cast<float>(v);
    } else {
        return static_cast<To>(v);
    }
}

// A filtered value as stored: integers take floor first.
template <typename T>
T storeFiltered(double value)
{
    return convertSample<T>(std::is_integral<T>::value ? std::floor(value) : value);
}

// n x n correlation: whole windows sum kernel[i] x sample[i] in index order;
// windows cut by an edge give the sum of sample x (1 / count) in reading order.
template <typename T>
std::vector<T> convolve(const std::vector<T>& src, size_t w, size_t h, unsigned int n, const double* kernel)
{
    std::vector<T> out(src.size());
    std::vector<double> window;
    for (size_t y = 0; y < h; ++y) {
        const Span rows = neighbourhood(static_cast<int64_t>(y), n, static_cast<int64_t>(h));
        for (size_t x = 0; x < w; ++x) {
            const Span cols = neighbourhood(static_cast<int64_t>(x), n, static_cast<int64_t>(w));
            window.clear();
            for (int64_t ny = rows.begin; ny < rows.end; ++ny)
                for (int64_t nx = cols.begin; nx < cols.end; ++nx)
                    window.push_back(static_cast<double>(src[static_cast<size_t>(ny) * w + static_cast<size_t>(nx)]));
            double value = 0.0;
            if (rows.end - rows.begin < static_cast<int64_t>(n) || cols.end - cols.begin < static_cast<int64_t>(n)) {
                const double weight = 1.0 / static_cast<double>(window.size());
                for (double sample : window) value += sample * weight;
            } else {
                for (size_t i = 0; i < window.size(); ++i) value += kernel[i] * window[i];
            }
            out[y * w + x] = storeFiltered<T>(value);
        }
    }
    return out;
}

// A non-negative position truncated to an index below `limit`.
inline uint32_t positionIndex(float position, uint32_t limit)
{
    if (!(position > 0.0f)) return 0;
    if (!(position < 4294967296.0f)) return limit - 1;
    const uint32_t index = static_cast<uint32_t>(position);
    return index < limit ? index : limit - 1;
}

// Nearest sample: positions accumulated in single precision by W / W' and
// H / H' per step, restarting at 0 on every row.
template <typename T>
std::vector<T> resampleNearest(const std::vector<T>& src, uint32_t w, uint32_t h, uint32_t nw, uint32_t nh)
{
    std::vector<T> out;
    const float stepX = static_cast<float>(w) / static_cast<float>(nw);
    const float stepY = static_cast<float>(h) / static_cast<float>(nh);
    float rowPosition = 0.0f;
    for (uint32_t j = 0; j < nh; ++j) {
        const size_t row = static_cast<size_t>(positionIndex(rowPosition, h)) * w;
        float columnPosition = 0.0f;
        for (uint32_t i = 0; i < nw; ++i) {
            out.push_back(src[row + positionIndex(columnPosition, w)]);
            columnPosition += stepX;
        }
        rowPosition += stepY;
    }
    return out;
}

// Bilinear: steps (W - 1) / (W' - 1) and (H - 1) / (H' - 1) accumulated in
// single precision; single-precision weights and arithmetic (double for
// double samples).
template <typename T>
std::vector<T> resampleBilinear(const std::vector<T>& src, uint32_t w, uint32_t h, uint32_t nw, uint32_t nh)
{
    typedef typename std::conditional<std::is_same<T, double>::value, double, float>::type Acc;
    std::vector<T> out;
    const float stepX = nw > 1 ? static_cast<float>(w - 1) / static_cast<float>(nw - 1) : 0.0f;
    const float stepY = nh > 1 ? static_cast<float>(h - 1) / static_cast<float>(nh - 1) : 0.0f;
    float rowPosition = 0.0f;
    for (uint32_t j = 0; j < nh; ++j) {
        const uint32_t y0 = positionIndex(rowPosition, h);
        const float fy = rowPosition - static_cast<float>(y0);
        const uint32_t y1 = y0 + 1 < h ? y0 + 1 : h - 1;
        const T* upper = src.data() + static_cast<size_t>(y0) * w;
        const T* lower = src.data() + static_cast<size_t>(y1) * w;
        float columnPosition = 0.0f;
        for (uint32_t i = 0; i < nw; ++i) {
            const uint32_t x0 = positionIndex(columnPosition, w);
            const float fx = columnPosition - static_cast<float>(x0);
            const uint32_t x1 = x0 + 1 < w ? x0 + 1 : w - 1;
            const Acc wx0 = static_cast<Acc>(1.0f - fx), wx1 = static_cast<Acc>(fx);
            const Acc lowerValue = static_cast<Acc>(lower[x0]) * wx0 + static_cast<Acc>(lower[x1]) * wx1;
            const Acc upperValue = static_cast<Acc>(upper[x0]) * wx0 + static_cast<Acc>(upper[x1]) * wx1;
            out.push_back(convertSample<T>(lowerValue * static_cast<Acc>(fy) + upperValue * static_cast<Acc>(1.0f - fy)));
            columnPosition += stepX;
        }
        rowPosition += stepY;
    }
    return out;
}

enum Arith { kAdd, kSubtract, kMultiply, kDivide };

// a op b in the samples' type: integers wrap (computed in unsigned 32 bits),
// integer division truncates, x / 0 is 0 and -2147483648 / -1 wraps to
// itself; floats are IEEE.
template <typename T>
T arith(Arith op, T a, T b)
{
    if constexpr (std::is_floating_point<T>::value) {
        if (op == kAdd) return a + b;
        if (op == kSubtract) return a - b;
        if (op == kMultiply) return a * b;
        return a / b;
    } else {
        const uint32_t x = static_cast<uint32_t>(a), y = static_cast<uint32_t>(b);
        if (op == kAdd) return static_cast<T>(x + y);
        if (op == kSubtract) return static_cast<T>(x - y);
        if (op == kMultiply) return static_cast<T>(x * y);
        if (b == T(0)) return T(0);
        if (std::is_signed<T>::value && b == static_cast<T>(-1)) return static_cast<T>(0u - x);
        return static_cast<T>(static_cast<int64_t>(a) / static_cast<int64_t>(b));
    }
}

// The compound form: the first `count` samples paired in memory order, the
// right operand converted to the left's type; a divisor equal to 0 in its own
// type gives 0.
template <typename A, typename B>
void compound(Arith op, std::vector<A>& a, const std::vector<B>& b, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        if (op == kDivide && b[i] == B(0))
            a[i] = A(0);
        else
            a[i] = arith(op, a[i], convertSample<A>(b[i]));
    }
}

// The binary form on the max(W) x max(H) canvas with zero padding; a zero
// divisor gives 0 for every type.
template <typename T>
std::vector<T> canvas(Arith op, const std::vector<T>& a, uint32_t aw, uint32_t ah, const std::vector<T>& b, uint32_t bw,
                      uint32_t bh)
{
    const uint32_t w = aw > bw ? aw : bw, h = ah > bh ? ah : bh;
    std::vector<T> out;
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) {
            const T left = (x < aw && y < ah) ? a[static_cast<size_t>(y) * aw + x] : T(0);
            const T right = (x < bw && y < bh) ? b[static_cast<size_t>(y) * bw + x] : T(0);
            out.push_back((op == kDivide && right == T(0)) ? T(0) : arith(op, left, right));
        }
    return out;
}

// The scalar brought to the image's type: integers truncated to 32 bits and
// cut to their low bits, float rounded, double kept.
template <typename T>
T scalarForm(double s)
{
    if constexpr (std::is_integral<T>::value) return static_cast<T>(truncToInt32(s));
    else return convertSample<T>(s);
}

// Every sample x becomes x op f, or f op x when `reversed`.
template <typename T>
std::vector<T> scalarOp(Arith op, const std::vector<T>& samples, T f, bool reversed)
{
    std::vector<T> out;
    for (T x : samples) out.push_back(reversed ? arith(op, f, x) : arith(op, x, f));
    return out;
}

// The threshold each type compares with, and the 0/1 mask.
template <typename T>
T thresholdLimit(float t)
{
    if constexpr (std::is_same<T, uint8_t>::value) {
        const int32_t r = truncToInt32(static_cast<double>(t) + 0.5);
        return static_cast<T>(r < 0 ? 0 : r > 255 ? 255 : r);
    } else if constexpr (std::is_same<T, uint16_t>::value) {
        return static_cast<T>(truncToInt32(t));
    } else if constexpr (std::is_same<T, int32_t>::value) {
        return truncToInt32(static_cast<double>(t) + 0.5);
    } else if constexpr (std::is_same<T, float>::value) {
        return std::fabs(static_cast<double>(t) - 1e-5) > static_cast<double>(0.01f) ? t + 1e-5f : t;
    } else {
        return static_cast<double>(t) + 1e-8;
    }
}

template <typename T>
std::vector<char> threshold(const std::vector<T>& samples, float t)
{
    const T limit = thresholdLimit<T>(t);
    std::vector<char> mask;
    for (T v : samples) mask.push_back(v > limit ? 1 : 0);
    return mask;
}

} // namespace reference

#endif
