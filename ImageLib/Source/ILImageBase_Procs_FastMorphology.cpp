// ILImageBase_Procs_FastMorphology.cpp - erosion and dilation over a
// rectangle in a few operations per sample, with the bytes of the plain
// kernel.
//
// The extreme of a rectangle is the extreme of its rows' extremes, so each
// output row is made in two passes: a vertical pass folds the rows of the
// window column by column into a row buffer, and a horizontal pass slides the
// window along that buffer with a doubling table (extremes of 2, 4, ...
// samples, then a few overlapping pieces cover the window). The buffer is
// padded on both sides with the operation's identity (the type's largest
// value for erosion, its smallest for dilation, infinities for floating
// samples), which makes the windows cut at the image edges come out right
// without a separate edge path: the identity never wins against an in-image
// sample, and an in-image sample equal to it has the same bits.
//
// Why this gives the plain kernel's bytes:
// - Integer samples: the plain kernel's result is the window's extreme, and
//   equal integers have equal bits, so any order of folding gives it.
// - Floating samples: the plain kernel starts from the pixel's own sample and
//   takes a sample only when it is strictly beyond the result, so a NaN never
//   wins and a NaN pixel keeps itself. The vertical pass folds raw samples into
//   an accumulator that starts at the identity and is never NaN, with the
//   sample as the first operand of the selection, so a NaN sample is passed
//   over; the pixel's own NaN is put back at the end. Equal floating values
//   have equal bits except +0 and -0, where the plain kernel keeps whichever it
//   met first: an output row whose window rows hold both zeros is made by the
//   plain loop instead.
#include "ILFastFilterKernels.h"
#include "ILFilterKernels.h"
#include "ILImageBase_templates.h"
#include "ILVectorOps.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

namespace {

// The fold of one operation: the new sample first, so that an unordered
// (NaN) sample leaves the accumulator as it was.
template <typename T, bool Erode>
struct ILExtreme {
    typedef typename ILVector<T>::type V;
    static constexpr size_t lanes = ILVector<T>::lanes;

    static T identity()
    {
        if (std::numeric_limits<T>::has_infinity)
            return Erode ? std::numeric_limits<T>::infinity() : -std::numeric_limits<T>::infinity();
        return Erode ? std::numeric_limits<T>::max() : std::numeric_limits<T>::lowest();
    }
    static IL_FORCE_INLINE T fold(T acc, T sample)
    {
        return Erode ? ilMinScalar(sample, acc) : ilMaxScalar(sample, acc);
    }
    static IL_FORCE_INLINE V fold(const V& acc, const V& sample)
    {
        return Erode ? ilMin(sample, acc) : ilMax(sample, acc);
    }
};

// Accumulators for a run of columns: four vectors side by side (so that the
// folds down the rows, each waiting for the one before, overlap), one vector
// for the columns left over, and one sample for the tail.
template <typename T, bool Erode>
struct ILFourColumns {
    typedef ILExtreme<T, Erode> Op;
    typedef typename Op::V V;
    static constexpr size_t samples = 4 * Op::lanes;
    V a, b, c, d;

    IL_FORCE_INLINE void start() { a = b = c = d = ilSplat<V>(Op::identity()); }
    IL_FORCE_INLINE void fold(const T* row)
    {
        a = Op::fold(a, ilLoad<V>(row));
        b = Op::fold(b, ilLoad<V>(row + Op::lanes));
        c = Op::fold(c, ilLoad<V>(row + 2 * Op::lanes));
        d = Op::fold(d, ilLoad<V>(row + 3 * Op::lanes));
    }
    IL_FORCE_INLINE void store(T* out) const
    {
        ilStore(out, a);
        ilStore(out + Op::lanes, b);
        ilStore(out + 2 * Op::lanes, c);
        ilStore(out + 3 * Op::lanes, d);
    }
};

template <typename T, bool Erode>
struct ILOneColumn {
    typedef ILExtreme<T, Erode> Op;
    typedef typename Op::V V;
    static constexpr size_t samples = Op::lanes;
    V a;

    IL_FORCE_INLINE void start() { a = ilSplat<V>(Op::identity()); }
    IL_FORCE_INLINE void fold(const T* row) { a = Op::fold(a, ilLoad<V>(row)); }
    IL_FORCE_INLINE void store(T* out) const { ilStore(out, a); }
};

template <typename T, bool Erode>
struct ILOneSample {
    typedef ILExtreme<T, Erode> Op;
    static constexpr size_t samples = 1;
    T a;

    IL_FORCE_INLINE void start() { a = Op::identity(); }
    IL_FORCE_INLINE void fold(const T* row) { a = Op::fold(a, *row); }
    IL_FORCE_INLINE void store(T* out) const { *out = a; }
};

// The rows of the window of output row `first` + j are `firstRow` + j up to
// but excluding `firstRow` + j + `length`, cut to the image's `height` rows.
struct ILRowBlock {
    int64_t firstRow;
    int64_t length;
    int64_t height;
    size_t outputs;  // output rows in the block

    bool inImage(int64_t row) const { return row >= 0 && row < height; }
};

// Vertical pass for a block of output rows whose windows overlap in turn
// (van Herk / Gil-Werman): the block's first window A and the `length` rows
// B after it make every window of the block, A[j..] followed by B[..j). Going
// up A the suffix extremes are stored; going down B the prefix extreme is
// carried and merged into them. About three operations per sample whatever
// the window's height. `out[j]` receives output row j's folded columns.
// Returns the first column not done.
// Prefetches the cache lines of a run of columns a few kilobytes ahead.
template <typename Columns, typename T>
IL_FORCE_INLINE void ilPrefetchColumns(const T* row)
{
    for (size_t o = 0; o < Columns::samples; o += 64 / sizeof(T)) ilPrefetch(row + o, false);
}

template <typename Columns, typename T>
IL_FORCE_INLINE size_t ilFoldBlockBy(const T* src, size_t stride, size_t count, const ILRowBlock& block,
                                     T* const* out, size_t x)
{
    for (; x + Columns::samples <= count; x += Columns::samples) {
        Columns suffix;
        suffix.start();
        for (int64_t j = block.length - 1; j >= 0; --j) {
            const int64_t row = block.firstRow + j;
            if (block.inImage(row)) suffix.fold(src + static_cast<size_t>(row) * stride + x);
            if (j < static_cast<int64_t>(block.outputs)) suffix.store(out[j] + x);
        }
        Columns prefix;
        prefix.start();
        for (size_t j = 1; j < block.outputs; ++j) {
            const int64_t row = block.firstRow + block.length + static_cast<int64_t>(j) - 1;
            if (block.inImage(row)) {
                // Rows after the block's first window come from memory for the first time.
                ilPrefetchColumns<Columns>(src + static_cast<size_t>(row) * stride + x);
                prefix.fold(src + static_cast<size_t>(row) * stride + x);
            }
            // Neither holds a NaN: folding one into the other in either order is exact.
            Columns merged = prefix;
            merged.fold(out[j] + x);
            merged.store(out[j] + x);
        }
    }
    return x;
}

// Vertical pass for one output row with rows [firstBegin, end), or for two
// whose windows share rows [begin, end): rows [firstBegin, end) go to `out`
// and [begin, nextEnd) to `outNext`, the shared rows folded once.
template <typename Columns, typename T>
IL_FORCE_INLINE size_t ilFoldRowsBy(const T* src, size_t stride, size_t count, int64_t firstBegin, int64_t begin,
                                    int64_t end, int64_t nextEnd, T* out, T* outNext, size_t x)
{
    // The last row of the second window (or of the only one) is new to the cache.
    const T* newest = src + static_cast<size_t>((outNext ? nextEnd : end) - 1) * stride;
    for (; x + Columns::samples <= count; x += Columns::samples) {
        ilPrefetchColumns<Columns>(newest + x);
        Columns shared;
        shared.start();
        for (int64_t r = begin; r < end; ++r) shared.fold(src + static_cast<size_t>(r) * stride + x);
        Columns own = shared;
        for (int64_t r = firstBegin; r < begin; ++r) own.fold(src + static_cast<size_t>(r) * stride + x);
        own.store(out + x);
        if (outNext) {
            for (int64_t r = end; r < nextEnd; ++r) shared.fold(src + static_cast<size_t>(r) * stride + x);
            shared.store(outNext + x);
        }
    }
    return x;
}

template <typename T, bool Erode>
IL_FORCE_INLINE void ilFoldBlock(const T* src, size_t width, const ILRowBlock& block, T* const* out)
{
    size_t x = ilFoldBlockBy<ILFourColumns<T, Erode>>(src, width, width, block, out, 0);
    x = ilFoldBlockBy<ILOneColumn<T, Erode>>(src, width, width, block, out, x);
    ilFoldBlockBy<ILOneSample<T, Erode>>(src, width, width, block, out, x);
}

template <typename T, bool Erode>
IL_FORCE_INLINE void ilFoldRows(const T* src, size_t width, int64_t firstBegin, int64_t begin, int64_t end,
                                int64_t nextEnd, T* out, T* outNext)
{
    size_t x =
        ilFoldRowsBy<ILFourColumns<T, Erode>>(src, width, width, firstBegin, begin, end, nextEnd, out, outNext, 0);
    x = ilFoldRowsBy<ILOneColumn<T, Erode>>(src, width, width, firstBegin, begin, end, nextEnd, out, outNext, x);
    ilFoldRowsBy<ILOneSample<T, Erode>>(src, width, width, firstBegin, begin, end, nextEnd, out, outNext, x);
}

// out[i] = extreme of from[i] and from[i + shift], i < count.
template <typename T, bool Erode>
IL_FORCE_INLINE void ilPairExtremes(const T* from, size_t count, size_t shift, T* out)
{
    typedef ILExtreme<T, Erode> Op;
    typedef typename Op::V V;
    size_t i = 0;
    for (; i + Op::lanes <= count; i += Op::lanes)
        ilStore(out + i, Op::fold(ilLoad<V>(from + i), ilLoad<V>(from + i + shift)));
    for (; i < count; ++i) out[i] = Op::fold(from[i], from[i + shift]);
}

// Horizontal pass: pads the folded row held at row[before .. before + count)
// (no NaN) with the identity, slides a window reaching `before` samples back
// and `after` - 1 forward along it, and writes the extreme of each window to
// `out`. The pixel's own sample from `centre` is folded in last with the
// operands the other way round, so that a NaN pixel keeps itself; otherwise
// it is already part of its window and changes nothing. `row` is
// overwritten; `spare` holds as many samples (count + before + after - 1).
// Answers whether any result compares equal to zero.
template <typename T, bool Erode>
IL_FORCE_INLINE bool ilSlideRow(T* row, T* spare, size_t count, size_t before, size_t after, const T* centre, T* out)
{
    typedef ILExtreme<T, Erode> Op;
    typedef typename Op::V V;
    for (size_t i = 0; i < before; ++i) row[i] = Op::identity();
    for (size_t i = 0; i + 1 < after; ++i) row[before + count + i] = Op::identity();
    const size_t reach = before + after;
    // Doubling table: after each step cur[i] is the extreme of `span` samples.
    T* cur = row;
    T* next = spare;
    size_t span = 1;
    size_t length = count + reach - 1;
    while (4 * span < reach) {
        ilPairExtremes<T, Erode>(cur, length - span, span, next);
        length -= span;
        T* t = cur;
        cur = next;
        next = t;
        span *= 2;
    }
    // Pieces of `span` samples starting at 0, span, 2 span, ... and one ending
    // exactly at the window's end cover the window (at most four pieces).
    size_t offsets[4];
    size_t pieces = 0;
    for (size_t o = 0; o + span < reach; o += span) offsets[pieces++] = o;
    offsets[pieces++] = reach - span;
    const bool floating = std::is_floating_point<T>::value;
    decltype(V() == V()) zeros = {};
    size_t x = 0;
    for (; x + Op::lanes <= count; x += Op::lanes) {
        V acc = ilLoad<V>(cur + x + offsets[0]);
        for (size_t p = 1; p < pieces; ++p) acc = Op::fold(acc, ilLoad<V>(cur + x + offsets[p]));
        if (floating) {
            acc = Op::fold(ilLoad<V>(centre + x), acc);
            zeros |= acc == 0;
        }
        ilPrefetch(out + x, true);
        ilStore(out + x, acc);
    }
    bool anyZero = false;
    for (size_t i = 0; i < Op::lanes; ++i) anyZero |= zeros[i] != 0;
    for (; x < count; ++x) {
        T acc = cur[x + offsets[0]];
        for (size_t p = 1; p < pieces; ++p) acc = Op::fold(acc, cur[x + offsets[p]]);
        if (floating) {
            acc = Op::fold(centre[x], acc);
            anyZero |= acc == 0;
        }
        out[x] = acc;
    }
    return anyZero;
}

// The plain loop for one output row, as the reference kernel runs it.
template <typename T>
void ilErodeDilatePlainRow(const T* src, T* dst, uint32_t width, uint32_t height, int sx, int sy, bool erode,
                           uint32_t y)
{
    const ILSpan rows = ilNeighbourhoodSpan(y, sy, height);
    for (uint32_t x = 0; x < width; ++x) {
        const ILSpan cols = ilNeighbourhoodSpan(x, sx, width);
        T result = src[static_cast<size_t>(y) * width + x];
        for (int64_t ny = rows.begin; ny < rows.end; ++ny) {
            const T* row = src + static_cast<size_t>(ny) * width;
            for (int64_t nx = cols.begin; nx < cols.end; ++nx)
                if (erode ? (row[nx] < result) : (result < row[nx])) result = row[nx];
        }
        dst[static_cast<size_t>(y) * width + x] = result;
    }
}

// Counts of the rows that hold +0 and of those that hold -0 (floating
// samples only), filled as far as needed when an output row has a zero
// result: such a row whose window rows hold both zeros is made by the plain
// loop, since the plain loop keeps whichever zero it meets first.
template <typename T>
struct ILSignedZeroRows {
    uint32_t* positiveBefore;  // rows above r holding +0, for r = 0 .. height
    uint32_t* negativeBefore;
    int64_t surveyed;

    void survey(const T* src, size_t width, int64_t end)
    {
        typedef typename std::conditional<sizeof(T) == 4, uint32_t, uint64_t>::type Bits;
        typedef typename ILVector<Bits>::type BV;
        const Bits sign = static_cast<Bits>(Bits(1) << (sizeof(Bits) * 8 - 1));
        for (; surveyed < end; ++surveyed) {
            const T* row = src + static_cast<size_t>(surveyed) * width;
            BV positive = {}, negative = {};
            size_t x = 0;
            for (; x + ILVector<Bits>::lanes <= width; x += ILVector<Bits>::lanes) {
                const BV bits = ilLoad<BV>(row + x);
                positive |= (BV)(bits == 0);
                negative |= (BV)(bits == sign);
            }
            bool anyPositive = false, anyNegative = false;
            for (size_t i = 0; i < ILVector<Bits>::lanes; ++i) {
                anyPositive |= positive[i] != 0;
                anyNegative |= negative[i] != 0;
            }
            for (; x < width; ++x) {
                Bits bits;
                std::memcpy(&bits, row + x, sizeof bits);
                anyPositive |= bits == 0;
                anyNegative |= bits == sign;
            }
            positiveBefore[surveyed + 1] = positiveBefore[surveyed] + (anyPositive ? 1 : 0);
            negativeBefore[surveyed + 1] = negativeBefore[surveyed] + (anyNegative ? 1 : 0);
        }
    }
    bool bothIn(ILSpan rows) const
    {
        return positiveBefore[rows.end] != positiveBefore[rows.begin] &&
               negativeBefore[rows.end] != negativeBefore[rows.begin];
    }
};

// Work memory of one call: `blockRows` row buffers for the folded rows of a
// block, a spare for the doubling table, and the signed-zero row counts.
template <typename T>
struct ILMorphologyWork {
    T* rows[256];
    T* spare;
    size_t blockRows;
    ILSignedZeroRows<T> zeros;
};

// Windows this tall or taller (and at most 256 rows) go by van Herk blocks,
// smaller ones two output rows at a time.
const int64_t kBlockFoldFrom = 6;
const int64_t kBlockFoldUpTo = 256;

template <typename T, bool Erode>
IL_FORCE_INLINE void ilErodeDilateRows(const T* src, T* dst, uint32_t width, uint32_t height, int sx, int sy,
                                       ILMorphologyWork<T>& work)
{
    // The cut windows are those of a window reaching `before` samples back
    // and `after` - 1 forward with the outside filled by the identity; reaches
    // beyond the image change nothing, so they are clipped to it. The same
    // holds for the rows.
    const int64_t halfX = sx / 2, halfY = sy / 2;
    const size_t before = static_cast<size_t>(halfX < int64_t(width) - 1 ? halfX : int64_t(width) - 1);
    const size_t after = static_cast<size_t>(sx - halfX < int64_t(width) ? sx - halfX : int64_t(width));
    const int64_t above = halfY < int64_t(height) - 1 ? halfY : int64_t(height) - 1;
    const int64_t below = sy - halfY < int64_t(height) ? sy - halfY : int64_t(height);
    // The vertical passes write each folded row where the horizontal pass
    // wants it, after its padding.
    T* folded[256];
    for (size_t j = 0; j < work.blockRows; ++j) folded[j] = work.rows[j] + before;

    for (uint32_t first = 0; first < height;) {
        size_t outputs = height - first < work.blockRows ? height - first : work.blockRows;
        const ILSpan firstRows = ilNeighbourhoodSpan(first, sy, height);
        const ILSpan lastRows = ilNeighbourhoodSpan(first + outputs - 1, sy, height);
        if (work.blockRows > 2) {
            const ILRowBlock block = {int64_t(first) - above, above + below, height, outputs};
            ilFoldBlock<T, Erode>(src, width, block, folded);
        } else if (outputs == 2 && lastRows.begin < firstRows.end) {
            ilFoldRows<T, Erode>(src, width, firstRows.begin, lastRows.begin, firstRows.end, lastRows.end, folded[0],
                                 folded[1]);
        } else {
            outputs = 1;
            ilFoldRows<T, Erode>(src, width, firstRows.begin, firstRows.begin, firstRows.end, firstRows.end,
                                 folded[0], nullptr);
        }
        for (size_t j = 0; j < outputs; ++j) {
            const uint32_t y = first + static_cast<uint32_t>(j);
            const size_t start = static_cast<size_t>(y) * width;
            if (!ilSlideRow<T, Erode>(work.rows[j], work.spare, width, before, after, src + start, dst + start))
                continue;
            const ILSpan rows = ilNeighbourhoodSpan(y, sy, height);
            work.zeros.survey(src, width, rows.end);
            if (work.zeros.bothIn(rows)) ilErodeDilatePlainRow(src, dst, width, height, sx, sy, Erode, y);
        }
        first += static_cast<uint32_t>(outputs);
    }
}

template <typename T>
IL_FORCE_INLINE bool ilErodeDilateTyped(const void* src, void* dst, uint32_t width, uint32_t height, int sx, int sy,
                                        bool erode)
{
    const T* from = static_cast<const T*>(src);
    T* to = static_cast<T*>(dst);
    // A size below 1 leaves the window empty on that side: every pixel keeps
    // its own sample.
    if (sx < 1 || sy < 1) {
        std::memcpy(to, from, static_cast<size_t>(width) * height * sizeof(T));
        return true;
    }
    ILMorphologyWork<T> work;
    // Each row buffer: the row and its reach of at most 2 x width - 1 samples.
    // Consecutive buffers start 320 bytes apart modulo 4 KiB, so that the same
    // column of different buffers does not compete for one cache set.
    const size_t rowSamples = ((3 * static_cast<size_t>(width) * sizeof(T) + 4095) / 4096 * 4096 + 320) / sizeof(T);
    const int64_t halfY = sy / 2;
    const int64_t windowRows = (halfY < int64_t(height) - 1 ? halfY : int64_t(height) - 1) +
                               (sy - halfY < int64_t(height) ? sy - halfY : int64_t(height));
    work.blockRows = 2;
    if (windowRows >= kBlockFoldFrom && windowRows <= kBlockFoldUpTo &&
        static_cast<uint64_t>(windowRows) * rowSamples * sizeof(T) <= (uint64_t(1) << 25))
        work.blockRows = static_cast<size_t>(windowRows);
    const size_t zeroCounts = std::is_floating_point<T>::value ? 2 * (static_cast<size_t>(height) + 1) : 0;
    void* block = std::malloc((work.blockRows + 1) * rowSamples * sizeof(T) + zeroCounts * sizeof(uint32_t));
    if (!block) return false;
    T* rows = static_cast<T*>(block);
    for (size_t j = 0; j < work.blockRows; ++j) work.rows[j] = rows + j * rowSamples;
    work.spare = rows + work.blockRows * rowSamples;
    uint32_t* counts = reinterpret_cast<uint32_t*>(work.spare + rowSamples);
    work.zeros.positiveBefore = counts;
    work.zeros.negativeBefore = counts + (zeroCounts ? height + 1 : 0);
    work.zeros.surveyed = 0;
    if (zeroCounts) counts[0] = counts[height + 1] = 0;
    if (erode)
        ilErodeDilateRows<T, true>(from, to, width, height, sx, sy, work);
    else
        ilErodeDilateRows<T, false>(from, to, width, height, sx, sy, work);
    std::free(block);
    return true;
}

// The same kernel built twice: for AVX2 and for the x86-64 baseline.
template <typename T>
IL_TARGET_AVX2 bool ilErodeDilateAvx2(const void* s, void* d, uint32_t w, uint32_t h, int sx, int sy, bool erode)
{
    return ilErodeDilateTyped<T>(s, d, w, h, sx, sy, erode);
}
template <typename T>
bool ilErodeDilateBaseline(const void* s, void* d, uint32_t w, uint32_t h, int sx, int sy, bool erode)
{
    return ilErodeDilateTyped<T>(s, d, w, h, sx, sy, erode);
}

} // namespace

bool ilErodeDilateFast(int32_t type, const void* src, void* dst, uint32_t width, uint32_t height, int sx, int sy,
                       bool erode)
{
    if (type < 1 || type > 5) return false;
    if (width == 0 || height == 0) return true;
    const bool avx2 = ilCpuHasAvx2();
    bool done = false;
    ILDispatchSampleType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        done = avx2 ? ilErodeDilateAvx2<T>(src, dst, width, height, sx, sy, erode)
                    : ilErodeDilateBaseline<T>(src, dst, width, height, sx, sy, erode);
    });
    return done;
}
