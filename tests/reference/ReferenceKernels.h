// ReferenceKernels.h - plain, obviously-correct versions of the operations
// the library speeds up. They define the expected result: every fast path is
// compared with them bit for bit on random images.
#ifndef IMAGELIB_TESTS_REFERENCEKERNELS_H
#define IMAGELIB_TESTS_REFERENCEKERNELS_H

#include <ImageLib.h>

#include <cmath>
#include <cstdint>
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

} // namespace reference

#endif
