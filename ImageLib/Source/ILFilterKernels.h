// ILFilterKernels.h - the reference kernels of the neighbourhood filters
// (convolution, median, erosion and dilation) and the neighbourhood rule they
// share. Not installed.
//
// Each kernel is a plain template over the sample type that reads a whole
// source buffer and writes a whole destination buffer of the same type and
// size; the two must not overlap. These kernels define the results: a faster
// kernel must give the same bytes on every input.
#ifndef IMAGELIB_ILFILTERKERNELS_H
#define IMAGELIB_ILFILTERKERNELS_H

#include "ILAssert.h"
#include "ILImageBase_templates.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

// One side of a neighbourhood: positions begin .. end - 1.
struct ILSpan {
    int64_t begin;
    int64_t end;
    int64_t length() const { return end - begin; }
};

// The neighbourhood rule: for size n and r = n / 2 (truncated toward zero)
// position p reaches from p - r up to but excluding p - r + n, cut to
// 0 .. extent. Odd sizes are centred; even sizes reach one further back than
// forward. A size below 1 gives an empty span.
inline ILSpan ilNeighbourhoodSpan(int64_t p, int64_t n, int64_t extent)
{
    ILSpan span;
    span.begin = p - n / 2;
    span.end = span.begin + n;
    if (span.begin < 0) span.begin = 0;
    if (span.end > extent) span.end = extent;
    if (span.end < span.begin) span.end = span.begin;
    return span;
}

// Copies the samples of cols x rows into `out` as doubles, row after row,
// packed; returns how many were copied.
template <typename T>
size_t ilGatherNeighbourhood(const T* samples, size_t width, ILSpan cols, ILSpan rows, double* out)
{
    size_t count = 0;
    for (int64_t y = rows.begin; y < rows.end; ++y) {
        const T* row = samples + static_cast<size_t>(y) * width;
        for (int64_t x = cols.begin; x < cols.end; ++x) out[count++] = static_cast<double>(row[x]);
    }
    return count;
}

// A window buffer of n x n doubles, `copies` times over, or null when the
// size does not fit or the memory is not there. At least one element is
// allocated so that n = 0 is not mistaken for a failure. Free with std::free.
inline double* ilAllocateWindow(unsigned int n, size_t copies)
{
    const uint64_t count = static_cast<uint64_t>(n) * n;  // below 2^64 for any unsigned int
    if (count > SIZE_MAX / sizeof(double) / copies) return nullptr;
    const size_t elements = static_cast<size_t>(count) * copies;
    return static_cast<double*>(std::malloc((elements ? elements : 1) * sizeof(double)));
}

// How a filtered value is stored: integer samples take floor(value),
// truncated to 32 bits, and keep their low 8 or 16 bits (no saturation, so -1
// on a byte image becomes 255); float samples round to single precision;
// double samples keep it.
template <typename T>
T ilStoreFiltered(double value)
{
    if (std::is_integral<T>::value) return ILConvertSample<T>(std::floor(value));
    return ILConvertSample<T>(value);
}

// Correlation with an n x n kernel. Full windows: sum over i of kernel[i] x
// window[i], in double and in index order. Windows cut by an edge ignore the
// kernel and give the plain mean of their in-image samples: the sum of
// sample x (1 / (w x h)) in reading order. (The window is conceptually n x n
// with zeros after the copied samples; those add nothing to the sum.) n = 0
// leaves every window empty and whole, and gives 0. `window` holds n x n
// doubles (ilAllocateWindow(n, 1)); `kernel` is read only for whole windows.
template <typename T>
void ilConvolveReference(const T* src, T* dst, uint32_t width, uint32_t height, unsigned int n,
                         const double* kernel, double* window)
{
    const size_t full = static_cast<size_t>(n) * n;
    for (uint32_t y = 0; y < height; ++y) {
        const ILSpan rows = ilNeighbourhoodSpan(y, n, height);
        for (uint32_t x = 0; x < width; ++x) {
            const ILSpan cols = ilNeighbourhoodSpan(x, n, width);
            const size_t count = ilGatherNeighbourhood(src, width, cols, rows, window);
            double value = 0.0;
            if (rows.length() < static_cast<int64_t>(n) || cols.length() < static_cast<int64_t>(n)) {
                const double weight = 1.0 / static_cast<double>(count);
                for (size_t i = 0; i < count; ++i) value += window[i] * weight;
            } else {
                for (size_t i = 0; i < full; ++i) value += kernel[i] * window[i];
            }
            dst[static_cast<size_t>(y) * width + x] = ilStoreFiltered<T>(value);
        }
    }
}

// The median's ordering: values within 1e-8 of each other count as equal.
// The relation is not transitive, and a NaN compares as the smaller from
// either side.
inline int ilTolerantCompare(double a, double b)
{
    if (std::fabs(a - b) <= 1e-8) return 0;
    return a > b ? 1 : -1;
}

// Sorts ascending with ilTolerantCompare by a stable bottom-up merge sort.
// Unlike a library sort it stays inside the buffers whatever the comparison
// answers, which matters because the tolerant ordering is not consistent.
// `scratch` holds `count` doubles.
inline void ilTolerantSort(double* values, size_t count, double* scratch)
{
    for (size_t run = 1; run < count; run *= 2) {
        for (size_t lo = 0; lo < count; lo += 2 * run) {
            const size_t mid = (count - lo > run) ? lo + run : count;
            const size_t hi = (count - lo > 2 * run) ? lo + 2 * run : count;
            size_t i = lo, j = mid;
            for (size_t k = lo; k < hi; ++k) {
                if (j >= hi || (i < mid && ilTolerantCompare(values[i], values[j]) <= 0))
                    scratch[k] = values[i++];
                else
                    scratch[k] = values[j++];
            }
            std::memcpy(values + lo, scratch + lo, (hi - lo) * sizeof(double));
        }
    }
}

// n x n median: the neighbourhood's samples sorted with the tolerant ordering,
// entry count / 2 taken (the upper middle for an even count). The value is
// one of the samples, so storing it back is exact. `window` holds 2 x n x n
// doubles (ilAllocateWindow(n, 2)). n = 0 would leave every window empty with
// no middle to take: nothing is written then.
template <typename T>
void ilMedianReference(const T* src, T* dst, uint32_t width, uint32_t height, unsigned int n, double* window)
{
    if (n == 0) return;
    double* scratch = window + static_cast<size_t>(n) * n;
    for (uint32_t y = 0; y < height; ++y) {
        const ILSpan rows = ilNeighbourhoodSpan(y, n, height);
        for (uint32_t x = 0; x < width; ++x) {
            const ILSpan cols = ilNeighbourhoodSpan(x, n, width);
            const size_t count = ilGatherNeighbourhood(src, width, cols, rows, window);
            ilTolerantSort(window, count, scratch);
            dst[static_cast<size_t>(y) * width + x] = ILConvertSample<T>(window[count / 2]);
        }
    }
}

// Grey erosion (erode true: minimum) or dilation (maximum) over a rectangle
// of sx x sy samples, cut at the edges. The result starts from the pixel's own
// sample and is replaced only by a strictly smaller (larger) one, so a NaN
// never replaces a result and a NaN result is never replaced.
template <typename T>
void ilErodeDilateReference(const T* src, T* dst, uint32_t width, uint32_t height, int sx, int sy, bool erode)
{
    const T* const sourceEnd = src + static_cast<size_t>(width) * height;
    for (uint32_t y = 0; y < height; ++y) {
        const ILSpan rows = ilNeighbourhoodSpan(y, sy, height);
        for (uint32_t x = 0; x < width; ++x) {
            const ILSpan cols = ilNeighbourhoodSpan(x, sx, width);
            T result = src[static_cast<size_t>(y) * width + x];
            for (int64_t ny = rows.begin; ny < rows.end; ++ny) {
                for (int64_t nx = cols.begin; nx < cols.end; ++nx) {
                    const T* sample = src + static_cast<size_t>(ny) * width + static_cast<size_t>(nx);
                    if (!(sample < sourceEnd)) {
                        ILReportAssertion(L"pc3 < pc2", L"ImageLib/Headers/ILImageBase_templates", __LINE__);
                        continue;
                    }
                    if (erode ? (*sample < result) : (result < *sample)) result = *sample;
                }
            }
            dst[static_cast<size_t>(y) * width + x] = result;
        }
    }
}

#endif
