// ILImageBase_Procs_FastConvolution.cpp - the fast path of the correlation
// with a caller's kernel, giving the bytes of ilConvolveReference.
//
// The reference copies every n x n window into a work buffer and sums it.
// Here each source row is converted to doubles once (a ring of n converted
// rows follows the filter down the image) and whole windows are summed
// straight from those rows. The AVX2 build sums 32 neighbouring pixels at a
// time, one pixel per vector lane: every lane still adds kernel[i] x
// sample[i] for i = 0, 1, 2, ... in order, starting from 0.0, with a separate
// multiply and add, so each pixel gets the reference's value to the last bit.
// Pixels whose window is cut by an edge take the plain mean, summed in
// reading order as the reference does.
#include "ILFastConvolution.h"

#include "ILCpuDispatch.h"
#include "ILFilterKernels.h"
#include "ILImageBase_templates.h"

#include <cstdlib>
#include <cstring>

namespace {

// The mean of the in-image samples of a cut window: the sum of sample x
// (1 / count), in reading order.
template <typename T> double edgeMean(const T* src, uint32_t width, ILSpan cols, ILSpan rows)
{
    const double weight = 1.0 / static_cast<double>(cols.length() * rows.length());
    double value = 0.0;
    for (int64_t y = rows.begin; y < rows.end; ++y) {
        const T* row = src + static_cast<size_t>(y) * width;
        for (int64_t x = cols.begin; x < cols.end; ++x) value += static_cast<double>(row[x]) * weight;
    }
    return value;
}

template <typename T> void filterCutPixel(const T* src, T* dst, uint32_t width, uint32_t height, unsigned int n,
                                          uint32_t x, uint32_t y)
{
    const ILSpan cols = ilNeighbourhoodSpan(x, n, width);
    const ILSpan rows = ilNeighbourhoodSpan(y, n, height);
    dst[static_cast<size_t>(y) * width + x] = ilStoreFiltered<T>(edgeMean(src, width, cols, rows));
}

// The window rows of one output row: rows[ky] is the converted source row
// y - r + ky, so the window of pixel x starts at rows[ky] + x - r. `upcoming`
// is the source row the next output row will convert (null if none), which
// the AVX2 build fetches into the cache while it computes this one.
struct WindowRows {
    const double* const* rows;
    unsigned int n;
    uint32_t r;
    const double* kernel;
    const unsigned char* upcoming;
    size_t upcomingBytes;
};

// Whole windows of pixels first .. last - 1 of one row, one pixel at a time.
// This is the baseline build's loop and the AVX2 build's row end.
template <typename T> void filterWholePortable(const WindowRows& w, T* out, uint32_t first, uint32_t last)
{
    for (uint32_t x = first; x < last; ++x) {
        const double* k = w.kernel;
        double value = 0.0;
        for (unsigned int ky = 0; ky < w.n; ++ky) {
            const double* p = w.rows[ky] + (x - w.r);
            for (unsigned int kx = 0; kx < w.n; ++kx) value += *k++ * p[kx];
        }
        out[x] = ilStoreFiltered<T>(value);
    }
}

template <typename T> void convertRowPortable(const T* in, double* out, uint32_t width)
{
    for (uint32_t x = 0; x < width; ++x) out[x] = static_cast<double>(in[x]);
}

#if IL_HAVE_AVX2_KERNELS

// Four filtered values stored as ilStoreFiltered<T> stores each: integers
// take floor, then the truncating conversion, whose out-of-range answer
// (0x80000000) is the library's -2147483648, then their low bits; floats
// round to nearest, overflowing to infinity exactly as ILNarrowToFloat does.
IL_TARGET_AVX2 inline __m128i floorToInt32(__m256d v) { return _mm256_cvttpd_epi32(_mm256_floor_pd(v)); }

IL_TARGET_AVX2 inline void storeFiltered4(uint8_t* out, __m256d v)
{
    const __m128i lowBytes = _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const int32_t packed = _mm_cvtsi128_si32(_mm_shuffle_epi8(floorToInt32(v), lowBytes));
    std::memcpy(out, &packed, 4);
}
IL_TARGET_AVX2 inline void storeFiltered4(uint16_t* out, __m256d v)
{
    const __m128i lowHalves = _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(floorToInt32(v), lowHalves));
}
IL_TARGET_AVX2 inline void storeFiltered4(int32_t* out, __m256d v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), floorToInt32(v));
}
IL_TARGET_AVX2 inline void storeFiltered4(float* out, __m256d v) { _mm_storeu_ps(out, _mm256_cvtpd_ps(v)); }
IL_TARGET_AVX2 inline void storeFiltered4(double* out, __m256d v) { _mm256_storeu_pd(out, v); }

// acc += k x p[0..3], multiply then add.
#define IL_ACCUMULATE(acc, k, p) acc = _mm256_add_pd(acc, _mm256_mul_pd(k, _mm256_loadu_pd(p)))

// `Size` is the kernel size when it is known when compiling (3 and 5, so
// that the tap loops unroll), 0 when it is read from `w`.
template <unsigned int Size, typename T>
IL_TARGET_AVX2 void filterWholeAvx2(const WindowRows& w, T* out, uint32_t first, uint32_t last)
{
    const unsigned int n = Size ? Size : w.n;
    uint32_t x = first;
    // 32 pixels in eight independent sums keep both adders busy.
    for (; last - x >= 32; x += 32) {
        if (w.upcoming) {
            const size_t ahead = static_cast<size_t>(x - first) * sizeof(T);
            for (size_t line = 0; line < 32 * sizeof(T) && ahead + line < w.upcomingBytes; line += 64)
                _mm_prefetch(reinterpret_cast<const char*>(w.upcoming + ahead + line), _MM_HINT_T0);
        }
        __m256d a0 = _mm256_setzero_pd(), a1 = a0, a2 = a0, a3 = a0, a4 = a0, a5 = a0, a6 = a0, a7 = a0;
        const double* k = w.kernel;
        for (unsigned int ky = 0; ky < n; ++ky) {
            const double* p = w.rows[ky] + (x - w.r);
            for (unsigned int kx = 0; kx < n; ++kx, ++k, ++p) {
                const __m256d kv = _mm256_broadcast_sd(k);
                IL_ACCUMULATE(a0, kv, p);
                IL_ACCUMULATE(a1, kv, p + 4);
                IL_ACCUMULATE(a2, kv, p + 8);
                IL_ACCUMULATE(a3, kv, p + 12);
                IL_ACCUMULATE(a4, kv, p + 16);
                IL_ACCUMULATE(a5, kv, p + 20);
                IL_ACCUMULATE(a6, kv, p + 24);
                IL_ACCUMULATE(a7, kv, p + 28);
            }
        }
        storeFiltered4(out + x, a0);
        storeFiltered4(out + x + 4, a1);
        storeFiltered4(out + x + 8, a2);
        storeFiltered4(out + x + 12, a3);
        storeFiltered4(out + x + 16, a4);
        storeFiltered4(out + x + 20, a5);
        storeFiltered4(out + x + 24, a6);
        storeFiltered4(out + x + 28, a7);
    }
    for (; last - x >= 4; x += 4) {
        __m256d a0 = _mm256_setzero_pd();
        const double* k = w.kernel;
        for (unsigned int ky = 0; ky < n; ++ky) {
            const double* p = w.rows[ky] + (x - w.r);
            for (unsigned int kx = 0; kx < n; ++kx, ++k, ++p) IL_ACCUMULATE(a0, _mm256_broadcast_sd(k), p);
        }
        storeFiltered4(out + x, a0);
    }
    filterWholePortable(w, out, x, last);
}

template <typename T> IL_TARGET_AVX2 void filterWholeAvx2(const WindowRows& w, T* out, uint32_t first, uint32_t last)
{
    if (w.n == 3)
        filterWholeAvx2<3>(w, out, first, last);
    else if (w.n == 5)
        filterWholeAvx2<5>(w, out, first, last);
    else
        filterWholeAvx2<0>(w, out, first, last);
}

#undef IL_ACCUMULATE

// Exact conversions of eight samples to doubles.
IL_TARGET_AVX2 inline void convert8(const uint8_t* in, double* out)
{
    int64_t bytes;
    std::memcpy(&bytes, in, 8);
    const __m256i wide = _mm256_cvtepu8_epi32(_mm_cvtsi64_si128(bytes));
    _mm256_storeu_pd(out, _mm256_cvtepi32_pd(_mm256_castsi256_si128(wide)));
    _mm256_storeu_pd(out + 4, _mm256_cvtepi32_pd(_mm256_extracti128_si256(wide, 1)));
}
IL_TARGET_AVX2 inline void convert8(const uint16_t* in, double* out)
{
    const __m256i wide = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in)));
    _mm256_storeu_pd(out, _mm256_cvtepi32_pd(_mm256_castsi256_si128(wide)));
    _mm256_storeu_pd(out + 4, _mm256_cvtepi32_pd(_mm256_extracti128_si256(wide, 1)));
}
IL_TARGET_AVX2 inline void convert8(const int32_t* in, double* out)
{
    _mm256_storeu_pd(out, _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in))));
    _mm256_storeu_pd(out + 4, _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 4))));
}
IL_TARGET_AVX2 inline void convert8(const float* in, double* out)
{
    _mm256_storeu_pd(out, _mm256_cvtps_pd(_mm_loadu_ps(in)));
    _mm256_storeu_pd(out + 4, _mm256_cvtps_pd(_mm_loadu_ps(in + 4)));
}

template <typename T> IL_TARGET_AVX2 void convertRowAvx2(const T* in, double* out, uint32_t width)
{
    uint32_t x = 0;
    for (; width - x >= 8; x += 8) convert8(in + x, out + x);
    convertRowPortable(in + x, out + x, width - x);
}

#endif

// Source rows as doubles, n of them at a time: row s lives in slot s % n and
// is converted when the filter first needs it, by which time row s - n is no
// longer needed. Double samples need no conversion and are read in place.
template <typename T> class ConvertedRows {
public:
    ConvertedRows(const T* src, uint32_t width, unsigned int n, double* ring, bool avx2)
        : m_src(src), m_width(width), m_n(n), m_ring(ring), m_next(0), m_avx2(avx2)
    {
    }

    const double* row(uint32_t s)
    {
        while (m_next <= s) convert(m_next++);
        return m_ring + static_cast<size_t>(s % m_n) * m_width;
    }

private:
    void convert(uint32_t s)
    {
        const T* in = m_src + static_cast<size_t>(s) * m_width;
        double* out = m_ring + static_cast<size_t>(s % m_n) * m_width;
#if IL_HAVE_AVX2_KERNELS
        if (m_avx2) {
            convertRowAvx2(in, out, m_width);
            return;
        }
#endif
        convertRowPortable(in, out, m_width);
    }

    const T* m_src;
    uint32_t m_width;
    unsigned int m_n;
    double* m_ring;
    uint32_t m_next;
    bool m_avx2;
};

template <> class ConvertedRows<double> {
public:
    ConvertedRows(const double* src, uint32_t width, unsigned int, double*, bool) : m_src(src), m_width(width) {}
    const double* row(uint32_t s) { return m_src + static_cast<size_t>(s) * m_width; }

private:
    const double* m_src;
    uint32_t m_width;
};

// The whole image. `work` holds n row pointers, then (for sample types other
// than double) n converted rows of `width` doubles. Requires width >= n,
// height >= n and n >= 1.
template <typename T>
void convolveImage(const T* src, T* dst, uint32_t width, uint32_t height, unsigned int n, const double* kernel,
                   void* work, bool avx2)
{
    const uint32_t r = n / 2;
    // Whole windows: rows and columns r .. side - n + r.
    const uint32_t firstWholeRow = r, endWholeRow = height - n + r + 1;
    const uint32_t firstWholeColumn = r, endWholeColumn = width - n + r + 1;
    const double** windowRows = static_cast<const double**>(work);
    double* ring = reinterpret_cast<double*>(static_cast<unsigned char*>(work) + sizeof(double*) * n);
    ConvertedRows<T> converted(src, width, n, ring, avx2);
    WindowRows window = {windowRows, n, r, kernel, nullptr, static_cast<size_t>(width) * sizeof(T)};

    for (uint32_t y = 0; y < height; ++y) {
        T* out = dst + static_cast<size_t>(y) * width;
        if (y < firstWholeRow || y >= endWholeRow) {
            for (uint32_t x = 0; x < width; ++x) filterCutPixel(src, dst, width, height, n, x, y);
            continue;
        }
        for (unsigned int ky = 0; ky < n; ++ky) windowRows[ky] = converted.row(y - r + ky);
        const uint32_t upcomingRow = y - r + n;
        window.upcoming = upcomingRow < height
                              ? reinterpret_cast<const unsigned char*>(src + static_cast<size_t>(upcomingRow) * width)
                              : nullptr;
        for (uint32_t x = 0; x < firstWholeColumn; ++x) filterCutPixel(src, dst, width, height, n, x, y);
#if IL_HAVE_AVX2_KERNELS
        if (avx2)
            filterWholeAvx2(window, out, firstWholeColumn, endWholeColumn);
        else
#endif
            filterWholePortable(window, out, firstWholeColumn, endWholeColumn);
        for (uint32_t x = endWholeColumn; x < width; ++x) filterCutPixel(src, dst, width, height, n, x, y);
    }
}

} // namespace

bool ilConvolveFast(int32_t type, const void* src, void* dst, uint32_t width, uint32_t height, unsigned int n,
                    const double* kernel)
{
    if (n == 0 || width < n || height < n || !src || !dst || !kernel) return false;
    // Work memory: n row pointers and n converted rows (width >= n, so the
    // product below cannot overflow before the check does its job).
    const uint64_t ringDoubles = type == eDouble ? 0 : static_cast<uint64_t>(n) * width;
    if (ringDoubles > (SIZE_MAX - sizeof(double*) * static_cast<uint64_t>(n)) / sizeof(double)) return false;
    const size_t workBytes = sizeof(double*) * static_cast<size_t>(n) + sizeof(double) * static_cast<size_t>(ringDoubles);
    void* work = std::malloc(workBytes);
    if (!work) return false;
    const bool avx2 = ilCpuHasAvx2();
    const bool known = ILDispatchSampleType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        convolveImage(static_cast<const T*>(src), static_cast<T*>(dst), width, height, n, kernel, work, avx2);
    });
    std::free(work);
    return known;
}
