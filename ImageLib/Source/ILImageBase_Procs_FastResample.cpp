// ILImageBase_Procs_FastResample.cpp - the fast paths of nearest and bilinear
// resampling, giving the bytes of the plain kernels.
//
// The plain kernels accumulate the column position sample by sample on every
// row. Every row accumulates the same sequence, so here it is accumulated
// once per call, with the same single-precision additions, into a table of
// source indices (and, for bilinear, weights) that every row reuses. Rows
// then become table look-ups:
//   nearest   a destination row that reads the same source row as the one
//             before is a copy of it; other rows gather through the table.
//   bilinear  the interpolation along a source row (upper or lower) depends
//             only on that row, so it is computed once per source row and
//             kept while destination rows still need it; each destination
//             row then only blends two such rows with its own weight.
// The AVX2 build gathers whole blocks of a row with byte shuffles planned
// once per call, wherever a block's sources lie close together; the other
// blocks, and the baseline build, look samples up one at a time.
#include "ILFastResample.h"

#include "ILCpuDispatch.h"
#include "ILImageBase_templates.h"

#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace {

// Work memory for one call, freed on every path.
class WorkBuffer {
public:
    explicit WorkBuffer(uint64_t bytes)
        : m_data(bytes <= SIZE_MAX ? std::malloc(bytes ? static_cast<size_t>(bytes) : 1) : nullptr), m_used(0)
    {
    }
    ~WorkBuffer() { std::free(m_data); }
    WorkBuffer(const WorkBuffer&) = delete;
    WorkBuffer& operator=(const WorkBuffer&) = delete;

    bool ok() const { return m_data != nullptr; }
    // The next `count` elements; the caller asked for enough bytes (the sum
    // of bytesFor over the parts). Parts start at multiples of 32 bytes from
    // the malloc'd start, which suits every element type used here.
    template <typename E> E* take(uint64_t count)
    {
        E* part = reinterpret_cast<E*>(static_cast<unsigned char*>(m_data) + m_used);
        m_used += bytesFor<E>(count);
        return part;
    }
    template <typename E> static uint64_t bytesFor(uint64_t count) { return (count * sizeof(E) + 31) / 32 * 32 + 32; }

private:
    void* m_data;
    size_t m_used;
};

// Column positions accumulated exactly as the plain kernels accumulate them.
void nearestColumns(uint32_t width, uint32_t newWidth, uint32_t* columns)
{
    const float step = static_cast<float>(width) / static_cast<float>(newWidth);
    float position = 0.0f;
    for (uint32_t i = 0; i < newWidth; ++i) {
        columns[i] = ilTruncatedIndex(position, width);
        position += step;
    }
}

// ---- nearest: a gather plan of 16-byte blocks -------------------------------

// Destination bytes 16 b .. 16 b + 15 of a row are source bytes
// `base` .. `base` + 31 of the source row picked by two byte shuffles: `low`
// selects from the first 16 bytes and `high` from the next 16 (0x80 selects
// nothing). A negative base means the block's sources lie too far apart, or
// too near the row's end to read 32 bytes; it is gathered sample by sample.
struct GatherBlock {
    unsigned char low[16];
    unsigned char high[16];
    int64_t base;
};

template <typename T>
void planGather(const uint32_t* columns, uint32_t width, GatherBlock* blocks, size_t blockCount)
{
    const size_t perBlock = 16 / sizeof(T);
    const uint64_t rowBytes = static_cast<uint64_t>(width) * sizeof(T);
    for (size_t b = 0; b < blockCount; ++b) {
        const uint32_t* c = columns + b * perBlock;
        uint32_t lo = c[0], hi = c[0];
        for (size_t k = 1; k < perBlock; ++k) {
            lo = c[k] < lo ? c[k] : lo;
            hi = c[k] > hi ? c[k] : hi;
        }
        GatherBlock& block = blocks[b];
        const uint64_t base = static_cast<uint64_t>(lo) * sizeof(T);
        if ((static_cast<uint64_t>(hi - lo) + 1) * sizeof(T) > 32 || base + 32 > rowBytes) {
            block.base = -1;
            continue;
        }
        block.base = static_cast<int64_t>(base);
        for (size_t k = 0; k < 16; ++k) {
            const size_t from = (c[k / sizeof(T)] - lo) * sizeof(T) + k % sizeof(T);
            block.low[k] = from < 16 ? static_cast<unsigned char>(from) : 0x80;
            block.high[k] = from < 16 ? 0x80 : static_cast<unsigned char>(from - 16);
        }
    }
}

template <typename T> void gatherPortable(const T* row, const uint32_t* columns, T* out, uint32_t first, uint32_t last)
{
    for (uint32_t i = first; i < last; ++i) out[i] = row[columns[i]];
}

#if IL_HAVE_AVX2_KERNELS
template <typename T>
IL_TARGET_AVX2 void gatherAvx2(const T* row, const uint32_t* columns, const GatherBlock* blocks, size_t blockCount,
                               T* out, uint32_t newWidth)
{
    const unsigned char* rowBytes = reinterpret_cast<const unsigned char*>(row);
    unsigned char* outBytes = reinterpret_cast<unsigned char*>(out);
    const uint32_t perBlock = 16 / sizeof(T);
    for (size_t b = 0; b < blockCount; ++b) {
        const GatherBlock& block = blocks[b];
        if (block.base < 0) {
            gatherPortable(row, columns, out, static_cast<uint32_t>(b * perBlock), static_cast<uint32_t>((b + 1) * perBlock));
            continue;
        }
        const unsigned char* from = rowBytes + block.base;
        const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 16));
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block.low));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block.high));
        const __m128i picked = _mm_or_si128(_mm_shuffle_epi8(first, low), _mm_shuffle_epi8(second, high));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(outBytes + b * 16), picked);
    }
    gatherPortable(row, columns, out, static_cast<uint32_t>(blockCount * perBlock), newWidth);
}
#endif

template <typename T>
bool resampleNearest(const T* src, uint32_t width, uint32_t height, T* dst, uint32_t newWidth, uint32_t newHeight)
{
    const bool avx2 = ilCpuHasAvx2();
    const size_t blockCount = avx2 ? static_cast<size_t>(newWidth) * sizeof(T) / 16 : 0;
    WorkBuffer work(WorkBuffer::bytesFor<uint32_t>(newWidth) + WorkBuffer::bytesFor<GatherBlock>(blockCount));
    if (!work.ok()) return false;
    uint32_t* columns = work.take<uint32_t>(newWidth);
    GatherBlock* blocks = work.take<GatherBlock>(blockCount);
    nearestColumns(width, newWidth, columns);
    planGather<T>(columns, width, blocks, blockCount);

    const float stepY = static_cast<float>(height) / static_cast<float>(newHeight);
    const size_t rowBytes = static_cast<size_t>(newWidth) * sizeof(T);
    float rowPosition = 0.0f;
    uint32_t previousSource = 0;
    for (uint32_t j = 0; j < newHeight; ++j) {
        const uint32_t source = ilTruncatedIndex(rowPosition, height);
        T* out = dst + static_cast<size_t>(j) * newWidth;
        if (j > 0 && source == previousSource) {
            std::memcpy(out, out - newWidth, rowBytes);
        } else {
            const T* row = src + static_cast<size_t>(source) * width;
#if IL_HAVE_AVX2_KERNELS
            if (avx2)
                gatherAvx2(row, columns, blocks, blockCount, out, newWidth);
            else
#endif
                gatherPortable(row, columns, out, 0, newWidth);
        }
        previousSource = source;
        rowPosition += stepY;
    }
    return true;
}

// ---- bilinear ---------------------------------------------------------------

// Single-precision arithmetic, except for double samples.
template <typename T> using Interp = typename std::conditional<std::is_same<T, double>::value, double, float>::type;

template <typename T> struct BilinearColumns {
    uint32_t* x0;
    uint32_t* x1;
    Interp<T>* w0;  // 1 - fx
    Interp<T>* w1;  // fx
};

template <typename T> void bilinearColumns(uint32_t width, uint32_t newWidth, const BilinearColumns<T>& c)
{
    typedef Interp<T> Acc;
    const float step = newWidth > 1 ? static_cast<float>(width - 1) / static_cast<float>(newWidth - 1) : 0.0f;
    float position = 0.0f;
    for (uint32_t i = 0; i < newWidth; ++i) {
        const uint32_t x0 = ilTruncatedIndex(position, width);
        const float fx = position - static_cast<float>(x0);
        c.x0[i] = x0;
        c.x1[i] = x0 + 1 < width ? x0 + 1 : width - 1;
        c.w0[i] = static_cast<Acc>(1.0f - fx);
        c.w1[i] = static_cast<Acc>(fx);
        position += step;
    }
}

// Interpolation along one source row: out[i] = row[x0] w0 + row[x1] w1.
template <typename T>
void interpolateRowPortable(const T* row, const BilinearColumns<T>& c, Interp<T>* out, uint32_t first, uint32_t last)
{
    typedef Interp<T> Acc;
    for (uint32_t i = first; i < last; ++i)
        out[i] = static_cast<Acc>(row[c.x0[i]]) * c.w0[i] + static_cast<Acc>(row[c.x1[i]]) * c.w1[i];
}

// Blends the interpolated lower and upper rows: lower fy + upper (1 - fy).
template <typename T>
void blendRowsPortable(const Interp<T>* lower, const Interp<T>* upper, Interp<T> fy, Interp<T> oneMinusFy, T* out,
                       uint32_t first, uint32_t last)
{
    for (uint32_t i = first; i < last; ++i) out[i] = ILConvertSample<T>(lower[i] * fy + upper[i] * oneMinusFy);
}

#if IL_HAVE_AVX2_KERNELS

// Eight destination columns at a time take their samples x0 and x1 straight
// from the source row when these lie close together, by a plan made once per
// call. A negative base marks a block looked up sample by sample (its sources
// lie too far apart, or too near the row's end for whole vectors).
//
// 32-bit samples: two vectors from `base` (16 samples) and a lane permutation
// for each of x0 and x1. 8- and 16-bit samples: two 16-byte windows from byte
// `base`, each copied to both halves of a vector, and byte shuffles that put
// each sample's bytes into the low end of a zeroed 32-bit lane, which gives
// the samples widened to int32 in lane order.
struct PermuteBlock {
    int32_t first[8];
    int32_t second[8];
    int64_t base;
};
struct ShuffleBlock {
    unsigned char first[2][32];   // x0: from window A, from window B
    unsigned char second[2][32];  // x1
    int64_t base;
};

template <typename T> using InterpBlock = typename std::conditional<sizeof(T) == 4, PermuteBlock, ShuffleBlock>::type;

// The smallest and largest source column of block b.
template <typename T> void blockSpan(const BilinearColumns<T>& c, size_t b, uint32_t& lo, uint32_t& hi)
{
    lo = hi = c.x0[b * 8];
    for (size_t k = b * 8; k < b * 8 + 8; ++k) {
        lo = c.x0[k] < lo ? c.x0[k] : lo;
        lo = c.x1[k] < lo ? c.x1[k] : lo;
        hi = c.x0[k] > hi ? c.x0[k] : hi;
        hi = c.x1[k] > hi ? c.x1[k] : hi;
    }
}

template <typename T>
void planInterpolation(const BilinearColumns<T>& c, uint32_t width, PermuteBlock* blocks, size_t blockCount)
{
    for (size_t b = 0; b < blockCount; ++b) {
        uint32_t lo, hi;
        blockSpan(c, b, lo, hi);
        PermuteBlock& block = blocks[b];
        block.base = -1;
        if (hi - lo >= 16 || static_cast<uint64_t>(lo) + 16 > width) continue;
        block.base = lo;
        for (size_t k = 0; k < 8; ++k) {
            block.first[k] = static_cast<int32_t>(c.x0[b * 8 + k] - lo);
            block.second[k] = static_cast<int32_t>(c.x1[b * 8 + k] - lo);
        }
    }
}

template <typename T>
void planInterpolation(const BilinearColumns<T>& c, uint32_t width, ShuffleBlock* blocks, size_t blockCount)
{
    const uint64_t rowBytes = static_cast<uint64_t>(width) * sizeof(T);
    for (size_t b = 0; b < blockCount; ++b) {
        uint32_t lo, hi;
        blockSpan(c, b, lo, hi);
        ShuffleBlock& block = blocks[b];
        block.base = -1;
        const uint64_t base = static_cast<uint64_t>(lo) * sizeof(T);
        if ((static_cast<uint64_t>(hi - lo) + 1) * sizeof(T) > 32 || base + 32 > rowBytes) continue;
        block.base = static_cast<int64_t>(base);
        for (size_t k = 0; k < 8; ++k) {
            const uint32_t columns[2] = {c.x0[b * 8 + k], c.x1[b * 8 + k]};
            for (int which = 0; which < 2; ++which) {
                unsigned char(&masks)[2][32] = which == 0 ? block.first : block.second;
                for (size_t byte = 0; byte < 4; ++byte) {
                    const size_t lane = (k / 4) * 16 + (k % 4) * 4 + byte;
                    const size_t from = (columns[which] - lo) * sizeof(T) + byte;
                    const bool inSample = byte < sizeof(T);
                    masks[0][lane] = inSample && from < 16 ? static_cast<unsigned char>(from) : 0x80;
                    masks[1][lane] = inSample && from >= 16 ? static_cast<unsigned char>(from - 16) : 0x80;
                }
            }
        }
    }
}

// Picks lane idx (0 .. 15) of the 16 lanes a, b.
IL_TARGET_AVX2 inline __m256i permute16(__m256i a, __m256i b, __m256i idx)
{
    const __m256i fromB = _mm256_slli_epi32(idx, 28);
    return _mm256_castps_si256(_mm256_blendv_ps(_mm256_castsi256_ps(_mm256_permutevar8x32_epi32(a, idx)),
                                                _mm256_castsi256_ps(_mm256_permutevar8x32_epi32(b, idx)),
                                                _mm256_castsi256_ps(fromB)));
}

// Lanes holding float samples as they are, or int32 samples converted (to
// nearest, as a cast does).
IL_TARGET_AVX2 inline __m256 asFloat(__m256i lanes, const float*) { return _mm256_castsi256_ps(lanes); }
IL_TARGET_AVX2 inline __m256 asFloat(__m256i lanes, const int32_t*) { return _mm256_cvtepi32_ps(lanes); }
IL_TARGET_AVX2 inline __m256 asFloat(__m256i lanes, const uint16_t*) { return _mm256_cvtepi32_ps(lanes); }
IL_TARGET_AVX2 inline __m256 asFloat(__m256i lanes, const uint8_t*) { return _mm256_cvtepi32_ps(lanes); }

// Blocks read the row from left to right; fetching ahead keeps a row that
// is not yet in the cache streaming in.
const int kFetchAheadBytes = 512;

template <typename T>
IL_TARGET_AVX2 void sampleBlock(const T* row, const PermuteBlock& block, __m256& v0, __m256& v1)
{
    const T* from = row + block.base;
    _mm_prefetch(reinterpret_cast<const char*>(from) + kFetchAheadBytes, _MM_HINT_T0);
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + 8));
    v0 = asFloat(permute16(a, b, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(block.first))), row);
    v1 = asFloat(permute16(a, b, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(block.second))), row);
}

template <typename T>
IL_TARGET_AVX2 void sampleBlock(const T* row, const ShuffleBlock& block, __m256& v0, __m256& v1)
{
    const unsigned char* from = reinterpret_cast<const unsigned char*>(row) + block.base;
    _mm_prefetch(reinterpret_cast<const char*>(from) + kFetchAheadBytes, _MM_HINT_T0);
    const __m256i a = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
    const __m256i b = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 16)));
    const unsigned char(&first)[2][32] = block.first;
    const unsigned char(&second)[2][32] = block.second;
    v0 = asFloat(_mm256_or_si256(_mm256_shuffle_epi8(a, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(first[0]))),
                                 _mm256_shuffle_epi8(b, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(first[1])))),
                 row);
    v1 = asFloat(_mm256_or_si256(_mm256_shuffle_epi8(a, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(second[0]))),
                                 _mm256_shuffle_epi8(b, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(second[1])))),
                 row);
}

template <typename T>
IL_TARGET_AVX2 void interpolateRowAvx2(const T* row, const BilinearColumns<T>& c, const InterpBlock<T>* blocks,
                                       size_t blockCount, float* out, uint32_t newWidth)
{
    // Local copies: the vector stores may alias anything, `c` included.
    const float* const w0 = c.w0;
    const float* const w1 = c.w1;
    for (size_t b = 0; b < blockCount; ++b) {
        const uint32_t i = static_cast<uint32_t>(b * 8);
        if (blocks[b].base < 0) {
            interpolateRowPortable(row, c, out, i, i + 8);
            continue;
        }
        __m256 v0, v1;
        sampleBlock(row, blocks[b], v0, v1);
        const __m256 sum =
            _mm256_add_ps(_mm256_mul_ps(v0, _mm256_loadu_ps(w0 + i)), _mm256_mul_ps(v1, _mm256_loadu_ps(w1 + i)));
        _mm256_storeu_ps(out + i, sum);
    }
    interpolateRowPortable(row, c, out, static_cast<uint32_t>(blockCount * 8), newWidth);
}

// Eight blended values stored as ILConvertSample<T> stores a float: the
// truncating conversion answers 0x80000000 (the library's -2147483648) out of
// range, and integers keep their low bits.
IL_TARGET_AVX2 inline void storeBlended8(float* out, __m256 v) { _mm256_storeu_ps(out, v); }
IL_TARGET_AVX2 inline void storeBlended8(int32_t* out, __m256 v)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm256_cvttps_epi32(v));
}
IL_TARGET_AVX2 inline __m128i lowHalvesOf8(__m256 v)
{
    const __m256i low = _mm256_and_si256(_mm256_cvttps_epi32(v), _mm256_set1_epi32(0xFFFF));
    return _mm_packus_epi32(_mm256_castsi256_si128(low), _mm256_extracti128_si256(low, 1));
}
IL_TARGET_AVX2 inline void storeBlended8(uint16_t* out, __m256 v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), lowHalvesOf8(v));
}
IL_TARGET_AVX2 inline void storeBlended8(uint8_t* out, __m256 v)
{
    const __m128i halves = _mm_and_si128(lowHalvesOf8(v), _mm_set1_epi16(0xFF));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(halves, halves));
}

template <typename T>
IL_TARGET_AVX2 void blendRowsAvx2(const float* lower, const float* upper, float fy, float oneMinusFy, T* out,
                                  uint32_t newWidth)
{
    const __m256 wLower = _mm256_set1_ps(fy), wUpper = _mm256_set1_ps(oneMinusFy);
    uint32_t i = 0;
    for (; newWidth - i >= 8; i += 8) {
        const __m256 v = _mm256_add_ps(_mm256_mul_ps(_mm256_loadu_ps(lower + i), wLower),
                                       _mm256_mul_ps(_mm256_loadu_ps(upper + i), wUpper));
        storeBlended8(out + i, v);
    }
    blendRowsPortable<T>(lower, upper, fy, oneMinusFy, out, i, newWidth);
}

// Both source rows of a destination row interpolated in one pass, each
// block's plan and weights read once, and blended straight from the
// registers: what interpolateRowAvx2 twice and blendRowsAvx2 compute, with
// the same operations in the same order. The interpolated rows are kept for
// the destination rows after.
template <typename T>
IL_TARGET_AVX2 void interpolatePairAndBlendAvx2(const T* upperRow, const T* lowerRow, const BilinearColumns<T>& c,
                                                const InterpBlock<T>* blocks, size_t blockCount, float* upper,
                                                float* lower, float fy, float oneMinusFy, T* out, uint32_t newWidth)
{
    const float* const w0 = c.w0;
    const float* const w1 = c.w1;
    const __m256 wLower = _mm256_set1_ps(fy), wUpper = _mm256_set1_ps(oneMinusFy);
    for (size_t b = 0; b < blockCount; ++b) {
        const uint32_t i = static_cast<uint32_t>(b * 8);
        if (blocks[b].base < 0) {
            interpolateRowPortable(upperRow, c, upper, i, i + 8);
            interpolateRowPortable(lowerRow, c, lower, i, i + 8);
            blendRowsPortable<T>(lower, upper, fy, oneMinusFy, out, i, i + 8);
            continue;
        }
        __m256 u0, u1, l0, l1;
        sampleBlock(upperRow, blocks[b], u0, u1);
        sampleBlock(lowerRow, blocks[b], l0, l1);
        const __m256 weight0 = _mm256_loadu_ps(w0 + i), weight1 = _mm256_loadu_ps(w1 + i);
        const __m256 up = _mm256_add_ps(_mm256_mul_ps(u0, weight0), _mm256_mul_ps(u1, weight1));
        const __m256 low = _mm256_add_ps(_mm256_mul_ps(l0, weight0), _mm256_mul_ps(l1, weight1));
        _mm256_storeu_ps(upper + i, up);
        _mm256_storeu_ps(lower + i, low);
        storeBlended8(out + i, _mm256_add_ps(_mm256_mul_ps(low, wLower), _mm256_mul_ps(up, wUpper)));
    }
    const uint32_t tail = static_cast<uint32_t>(blockCount * 8);
    interpolateRowPortable(upperRow, c, upper, tail, newWidth);
    interpolateRowPortable(lowerRow, c, lower, tail, newWidth);
    blendRowsPortable<T>(lower, upper, fy, oneMinusFy, out, tail, newWidth);
}

#endif

// The interpolated source rows, two at a time: each destination row needs its
// upper and lower source row; a row already interpolated is reused.
template <typename T> class InterpolatedRows {
public:
    typedef Interp<T> Acc;
    InterpolatedRows(const T* src, uint32_t width, const BilinearColumns<T>& columns, uint32_t newWidth, Acc* slot0,
                     Acc* slot1)
        : m_src(src), m_width(width), m_columns(columns), m_newWidth(newWidth), m_blocks(nullptr), m_blockCount(0)
    {
        m_slot[0] = slot0;
        m_slot[1] = slot1;
        m_row[0] = m_row[1] = UINT32_MAX;
    }

    void useAvx2(const void* blocks, size_t blockCount)
    {
        m_blocks = blocks;
        m_blockCount = blockCount;
    }

    bool holds(uint32_t row) const { return m_row[0] == row || m_row[1] == row; }

    // Both slots, for two rows neither of which is held; the caller fills them.
    void claimBoth(uint32_t first, uint32_t second, Acc*& firstSlot, Acc*& secondSlot)
    {
        m_row[0] = first;
        m_row[1] = second;
        firstSlot = m_slot[0];
        secondSlot = m_slot[1];
    }

    // Source row `row`, without evicting `keep`.
    const Acc* get(uint32_t row, uint32_t keep)
    {
        if (m_row[0] == row) return m_slot[0];
        if (m_row[1] == row) return m_slot[1];
        const int victim = m_row[0] == keep ? 1 : 0;
        interpolate(row, m_slot[victim]);
        m_row[victim] = row;
        return m_slot[victim];
    }

private:
    void interpolate(uint32_t row, Acc* out)
    {
        const T* samples = m_src + static_cast<size_t>(row) * m_width;
#if IL_HAVE_AVX2_KERNELS
        if constexpr (std::is_same<Acc, float>::value) {
            if (m_blocks) {
                interpolateRowAvx2(samples, m_columns, static_cast<const InterpBlock<T>*>(m_blocks), m_blockCount, out,
                                   m_newWidth);
                return;
            }
        }
#endif
        interpolateRowPortable(samples, m_columns, out, 0, m_newWidth);
    }

    const T* m_src;
    uint32_t m_width;
    BilinearColumns<T> m_columns;
    uint32_t m_newWidth;
    const void* m_blocks;
    size_t m_blockCount;
    Acc* m_slot[2];
    uint32_t m_row[2];
};

template <typename T>
bool resampleBilinear(const T* src, uint32_t width, uint32_t height, T* dst, uint32_t newWidth, uint32_t newHeight)
{
    typedef Interp<T> Acc;
#if IL_HAVE_AVX2_KERNELS
    const bool avx2 = std::is_same<Acc, float>::value && ilCpuHasAvx2();
    const size_t blockCount = avx2 ? newWidth / 8 : 0;
    const uint64_t avx2Bytes = avx2 ? WorkBuffer::bytesFor<InterpBlock<T>>(blockCount) : 0;
#else
    const uint64_t avx2Bytes = 0;
#endif
    WorkBuffer work(2 * WorkBuffer::bytesFor<uint32_t>(newWidth) + 4 * WorkBuffer::bytesFor<Acc>(newWidth) +
                    avx2Bytes);
    if (!work.ok()) return false;
    BilinearColumns<T> columns;
    columns.x0 = work.take<uint32_t>(newWidth);
    columns.x1 = work.take<uint32_t>(newWidth);
    columns.w0 = work.take<Acc>(newWidth);
    columns.w1 = work.take<Acc>(newWidth);
    bilinearColumns(width, newWidth, columns);
    Acc* slot0 = work.take<Acc>(newWidth);
    Acc* slot1 = work.take<Acc>(newWidth);
    InterpolatedRows<T> rows(src, width, columns, newWidth, slot0, slot1);
#if IL_HAVE_AVX2_KERNELS
    InterpBlock<T>* blocks = nullptr;
    if (avx2) {
        blocks = work.take<InterpBlock<T>>(blockCount);
        planInterpolation(columns, width, blocks, blockCount);
        rows.useAvx2(blocks, blockCount);
    }
#endif

    const float stepY = newHeight > 1 ? static_cast<float>(height - 1) / static_cast<float>(newHeight - 1) : 0.0f;
    float rowPosition = 0.0f;
    for (uint32_t j = 0; j < newHeight; ++j) {
        const uint32_t y0 = ilTruncatedIndex(rowPosition, height);
        const float fy = rowPosition - static_cast<float>(y0);
        const uint32_t y1 = y0 + 1 < height ? y0 + 1 : height - 1;
        T* out = dst + static_cast<size_t>(j) * newWidth;
        const Acc wLower = static_cast<Acc>(fy), wUpper = static_cast<Acc>(1.0f - fy);
#if IL_HAVE_AVX2_KERNELS
        if constexpr (std::is_same<Acc, float>::value) {
            // Two new source rows (every row when shrinking by two or more):
            // interpolated and blended in one pass.
            if (avx2 && y0 != y1 && !rows.holds(y0) && !rows.holds(y1)) {
                Acc *upperSlot, *lowerSlot;
                rows.claimBoth(y0, y1, upperSlot, lowerSlot);
                interpolatePairAndBlendAvx2(src + static_cast<size_t>(y0) * width, src + static_cast<size_t>(y1) * width,
                                            columns, blocks, blockCount, upperSlot, lowerSlot, wLower, wUpper, out,
                                            newWidth);
                rowPosition += stepY;
                continue;
            }
        }
#endif
        const Acc* upper = rows.get(y0, y1);
        const Acc* lower = rows.get(y1, y0);
#if IL_HAVE_AVX2_KERNELS
        if constexpr (std::is_same<Acc, float>::value) {
            if (avx2) {
                blendRowsAvx2(lower, upper, wLower, wUpper, out, newWidth);
                rowPosition += stepY;
                continue;
            }
        }
#endif
        blendRowsPortable<T>(lower, upper, wLower, wUpper, out, 0, newWidth);
        rowPosition += stepY;
    }
    return true;
}

} // namespace

template <typename T>
bool ilResampleNearestFast(const T* src, uint32_t width, uint32_t height, T* dst, uint32_t newWidth,
                           uint32_t newHeight)
{
    if (!src || !dst || width == 0 || height == 0 || newWidth == 0 || newHeight == 0) return false;
    return resampleNearest(src, width, height, dst, newWidth, newHeight);
}

template <typename T>
bool ilResampleBilinearFast(const T* src, uint32_t width, uint32_t height, T* dst, uint32_t newWidth,
                            uint32_t newHeight)
{
    if (!src || !dst || width == 0 || height == 0 || newWidth == 0 || newHeight == 0) return false;
    return resampleBilinear(src, width, height, dst, newWidth, newHeight);
}

#define IL_INSTANTIATE_FAST_RESAMPLE(T)                                                                        \
    template bool ilResampleNearestFast<T>(const T*, uint32_t, uint32_t, T*, uint32_t, uint32_t);            \
    template bool ilResampleBilinearFast<T>(const T*, uint32_t, uint32_t, T*, uint32_t, uint32_t);
IL_INSTANTIATE_FAST_RESAMPLE(uint8_t)
IL_INSTANTIATE_FAST_RESAMPLE(uint16_t)
IL_INSTANTIATE_FAST_RESAMPLE(int32_t)
IL_INSTANTIATE_FAST_RESAMPLE(float)
IL_INSTANTIATE_FAST_RESAMPLE(double)
#undef IL_INSTANTIATE_FAST_RESAMPLE
