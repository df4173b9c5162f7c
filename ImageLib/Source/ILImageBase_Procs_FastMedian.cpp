// ILImageBase_Procs_FastMedian.cpp - the median filter without sorting every
// window, with the bytes of the plain kernel.
//
// The plain kernel sorts each window's samples as doubles with a tolerant,
// stable merge sort and takes entry count / 2. Three faster ways give the same
// sample:
// - Integer samples are distinct as doubles by at least 1, far beyond the
//   tolerance, so the tolerant sort is an exact sort and the result is the
//   window's exact order statistic of rank count / 2. Any exact selection
//   finds it: selection networks on vectors of pixels (3 x 3 and 5 x 5), a
//   running histogram with column histograms (bytes, any other size) or a
//   running three-level histogram (16-bit samples, any other size).
// - Floating samples: the stable merge sort keeps every value v that no other
//   distinct value of the window comes within the tolerance of, and that is
//   not a NaN, exactly where an exact sort puts it: all smaller values before
//   it, all larger ones after, and its equals in between. So when the exact
//   order statistic m is such a value, and is not a zero in a window holding
//   both +0 and -0, the answer is m. Single-precision values of magnitude at
//   least 0.25 are at least 2^-26 (above the tolerance) from any other float;
//   the networks' answers below that magnitude, and every window holding a
//   NaN, are settled one window at a time: select the middle exactly, check
//   its nearest neighbours and zeros, and sort the plain way when the check
//   fails.
// - Edge pixels and sizes without a faster way take that one-window path.
#include "ILFastFilterKernels.h"
#include "ILFilterKernels.h"
#include "ILImageBase_templates.h"
#include "ILVectorOps.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// ---- one window at a time ---------------------------------------------------

// Selects the exact middle (entry count / 2 of an exact sort) of `window`
// into place and answers whether the tolerant stable sort leaves the same
// value there: no NaN in the window, no other value within the tolerance of
// the middle, and not a zero among zeros of both signs.
inline bool ilSelectMiddleExactly(double* window, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        if (window[i] != window[i]) return false;
    const size_t middle = count / 2;
    std::nth_element(window, window + middle, window + count);
    const double m = window[middle];
    double below = -std::numeric_limits<double>::infinity();
    double above = std::numeric_limits<double>::infinity();
    bool positiveZero = false, negativeZero = false;
    for (size_t i = 0; i < count; ++i) {
        const double v = window[i];
        if (v < m && v > below) below = v;
        if (v > m && v < above) above = v;
        if (v == 0) (std::signbit(v) ? negativeZero : positiveZero) = true;
    }
    if (ilTolerantCompare(m, below) == 0 || ilTolerantCompare(above, m) == 0) return false;
    return !(m == 0 && positiveZero && negativeZero);
}

// The median of one window, as the plain kernel finds it. `window` and
// `scratch` hold the window's samples (n x n doubles each).
template <typename T>
T ilMedianOfWindow(const T* src, size_t width, ILSpan cols, ILSpan rows, double* window, double* scratch)
{
    const size_t count = ilGatherNeighbourhood(src, width, cols, rows, window);
    const size_t middle = count / 2;
    if (std::is_integral<T>::value) {
        std::nth_element(window, window + middle, window + count);
        return ILConvertSample<T>(window[middle]);
    }
    if (ilSelectMiddleExactly(window, count)) return ILConvertSample<T>(window[middle]);
    ilGatherNeighbourhood(src, width, cols, rows, window);
    ilTolerantSort(window, count, scratch);
    return ILConvertSample<T>(window[middle]);
}

template <typename T>
void ilMedianRowByWindows(const T* src, T* dst, uint32_t width, uint32_t height, unsigned int n, uint32_t y,
                          size_t begin, size_t end, double* window)
{
    double* scratch = window + static_cast<size_t>(n) * n;
    const ILSpan rows = ilNeighbourhoodSpan(y, n, height);
    for (size_t x = begin; x < end; ++x)
        dst[static_cast<size_t>(y) * width + x] =
            ilMedianOfWindow(src, width, ilNeighbourhoodSpan(static_cast<int64_t>(x), n, width), rows, window, scratch);
}

// ---- selection networks -----------------------------------------------------

// One compare-exchange of a network: slot `low` receives the smaller value and
// `high` the larger; `keep` says which of the two are read later (1 the
// smaller, 2 the larger, 3 both), so that a step computes only those.
struct ILCompareExchange {
    uint8_t low, high, keep;
};

const int kNetworkSlots = 32;
// Bytes of samples per piece of a row the networks work on.
const size_t kNetworkPiece = 1024;
const int kNetworkSteps = 256;

struct ILNetworkPlan {
    ILCompareExchange step[kNetworkSteps];
    int steps;
    int result;                 // the slot that ends up holding the selected value
    int order[kNetworkSlots];   // for a sort: the slot that ends up holding rank i
};

// Builds comparator networks on slot numbers at compile time: Batcher's
// odd-even merge of two sorted runs of any lengths, and sorting by merging.
struct ILNetworkBuilder {
    ILCompareExchange step[kNetworkSteps] = {};
    int steps = 0;

    constexpr void exchange(int low, int high)
    {
        step[steps] = ILCompareExchange{static_cast<uint8_t>(low), static_cast<uint8_t>(high), 3};
        ++steps;
    }
    // Merges the sorted runs a[0..na) and b[0..nb) of slots; `out` receives
    // the slots in ascending order of their values afterwards.
    constexpr void merge(const int* a, int na, const int* b, int nb, int* out)
    {
        if (na == 0 || nb == 0) {
            for (int i = 0; i < na; ++i) out[i] = a[i];
            for (int i = 0; i < nb; ++i) out[na + i] = b[i];
            return;
        }
        if (na == 1 && nb == 1) {
            exchange(a[0], b[0]);
            out[0] = a[0];
            out[1] = b[0];
            return;
        }
        int aEven[kNetworkSlots] = {}, aOdd[kNetworkSlots] = {}, bEven[kNetworkSlots] = {}, bOdd[kNetworkSlots] = {};
        for (int i = 0; i < na; ++i) (i % 2 ? aOdd : aEven)[i / 2] = a[i];
        for (int i = 0; i < nb; ++i) (i % 2 ? bOdd : bEven)[i / 2] = b[i];
        int evens[kNetworkSlots] = {}, odds[kNetworkSlots] = {};
        const int nEven = (na + 1) / 2 + (nb + 1) / 2, nOdd = na / 2 + nb / 2;
        merge(aEven, (na + 1) / 2, bEven, (nb + 1) / 2, evens);
        merge(aOdd, na / 2, bOdd, nb / 2, odds);
        int n = 0, i = 0;
        out[n++] = evens[0];
        for (; i < nOdd && i + 1 < nEven; ++i) {
            exchange(odds[i], evens[i + 1]);
            out[n++] = odds[i];
            out[n++] = evens[i + 1];
        }
        for (int j = i; j < nOdd; ++j) out[n++] = odds[j];
        for (int j = i + 1; j < nEven; ++j) out[n++] = evens[j];
    }
    constexpr void sort(const int* slots, int n, int* out)
    {
        if (n <= 1) {
            for (int i = 0; i < n; ++i) out[i] = slots[i];
            return;
        }
        int low[kNetworkSlots] = {}, high[kNetworkSlots] = {};
        sort(slots, n / 2, low);
        sort(slots + n / 2, n - n / 2, high);
        merge(low, n / 2, high, n - n / 2, out);
    }
    // Merges runs [first, last) of `runs` (each `lengths[i]` slots long).
    constexpr int mergeRuns(const int (*runs)[kNetworkSlots], const int* lengths, int first, int last, int* out)
    {
        if (last - first == 1) {
            for (int i = 0; i < lengths[first]; ++i) out[i] = runs[first][i];
            return lengths[first];
        }
        const int mid = first + (last - first) / 2;
        int low[kNetworkSlots] = {}, high[kNetworkSlots] = {};
        const int nLow = mergeRuns(runs, lengths, first, mid, low);
        const int nHigh = mergeRuns(runs, lengths, mid, last, high);
        merge(low, nLow, high, nHigh, out);
        return nLow + nHigh;
    }
};

// The network that takes the median (entry count / 2 of the ascending order)
// of Rows x Cols values arriving as Cols columns already sorted ascending,
// column c in slots c x Rows .. c x Rows + Rows - 1. Sorting the rows of
// ranks keeps the columns sorted, after which value (i, j) has at least
// (i + 1)(j + 1) - 1 values at or below it and (Rows - i)(Cols - j) - 1 at or
// above it; those that cannot be the median drop out, and the sorted rows of
// the rest are merged. Steps whose results are never read are dropped.
template <int Rows, int Cols>
constexpr ILNetworkPlan ilMedianPlan()
{
    constexpr int count = Rows * Cols, middle = count / 2;
    ILNetworkBuilder b;
    int runs[Rows][kNetworkSlots] = {};
    int lengths[Rows] = {};
    int discardedBelow = 0, nRuns = 0;
    for (int i = 0; i < Rows; ++i) {
        int rank[kNetworkSlots] = {}, sorted[kNetworkSlots] = {};
        for (int j = 0; j < Cols; ++j) rank[j] = j * Rows + i;
        b.sort(rank, Cols, sorted);
        int kept = 0;
        for (int j = 0; j < Cols; ++j) {
            const int atOrBelow = (i + 1) * (j + 1) - 1, atOrAbove = (Rows - i) * (Cols - j) - 1;
            if (atOrBelow > middle) continue;
            if (atOrAbove > count - 1 - middle) {
                ++discardedBelow;
                continue;
            }
            runs[nRuns][kept++] = sorted[j];
        }
        if (kept) lengths[nRuns++] = kept;
    }
    int merged[kNetworkSlots] = {};
    b.mergeRuns(runs, lengths, 0, nRuns, merged);
    ILNetworkPlan plan = {};
    plan.result = merged[middle - discardedBelow];
    // Keep only the steps that lead to the result, last step first.
    bool live[kNetworkSlots] = {};
    live[plan.result] = true;
    ILCompareExchange kept[kNetworkSteps] = {};
    int nKept = 0;
    for (int s = b.steps - 1; s >= 0; --s) {
        ILCompareExchange e = b.step[s];
        const bool lowLive = live[e.low], highLive = live[e.high];
        if (!lowLive && !highLive) continue;
        e.keep = static_cast<uint8_t>((lowLive ? 1 : 0) | (highLive ? 2 : 0));
        live[e.low] = live[e.high] = true;
        kept[nKept++] = e;
    }
    for (int s = 0; s < nKept; ++s) plan.step[s] = kept[nKept - 1 - s];
    plan.steps = nKept;
    return plan;
}

// A full ascending sort of Rows slots.
template <int Rows>
constexpr ILNetworkPlan ilSortPlan()
{
    ILNetworkBuilder b;
    int slots[kNetworkSlots] = {}, sorted[kNetworkSlots] = {};
    for (int i = 0; i < Rows; ++i) slots[i] = i;
    b.sort(slots, Rows, sorted);
    ILNetworkPlan plan = {};
    for (int s = 0; s < b.steps; ++s) plan.step[s] = b.step[s];
    plan.steps = b.steps;
    for (int i = 0; i < Rows; ++i) plan.order[i] = sorted[i];
    return plan;
}

template <int Rows, int Cols>
struct ILMedianNetwork {
    static constexpr ILNetworkPlan plan = ilMedianPlan<Rows, Cols>();
};
template <int Rows>
struct ILSortNetwork {
    static constexpr ILNetworkPlan plan = ilSortPlan<Rows>();
};

#if !defined(__clang__)
// The zero-one principle: a comparator network picks the median of every
// input if it does so for every input of zeros and ones. Inputs here arrive
// as sorted columns, so a column is fixed by how many ones it holds, and all
// (Rows + 1)^Cols of them are tried at compile time. (Clang's default limit
// on constant evaluation is too small for this; one compiler proving it is
// enough.)
template <int Rows, int Cols>
constexpr bool ilPlanTakesTheMedian()
{
    constexpr int count = Rows * Cols, middle = count / 2;
    const ILNetworkPlan& plan = ILMedianNetwork<Rows, Cols>::plan;
    // 64 inputs at a time, one bit each: the smaller of two zero-one values
    // is their AND, the larger their OR.
    int ones[Cols] = {};
    bool more = true;
    while (more) {
        uint64_t v[kNetworkSlots] = {};
        uint64_t expected = 0;
        for (int bit = 0; bit < 64 && more; ++bit) {
            int total = 0;
            for (int j = 0; j < Cols; ++j) {
                for (int i = 0; i < Rows; ++i)
                    if (i >= Rows - ones[j]) v[j * Rows + i] |= uint64_t(1) << bit;
                total += ones[j];
            }
            if (middle >= count - total) expected |= uint64_t(1) << bit;
            int j = 0;
            while (j < Cols && ones[j] == Rows) ones[j++] = 0;
            if (j == Cols)
                more = false;
            else
                ++ones[j];
        }
        for (int s = 0; s < plan.steps; ++s) {
            const ILCompareExchange e = plan.step[s];
            const uint64_t a = v[e.low], b = v[e.high];
            if (e.keep & 1) v[e.low] = a & b;
            if (e.keep & 2) v[e.high] = a | b;
        }
        if (v[plan.result] != expected) return false;
    }
    return true;
}
#define IL_CHECK_MEDIAN_PLAN(rows, cols) \
    static_assert(ilPlanTakesTheMedian<rows, cols>(), "median network " #rows " x " #cols)
#else
#define IL_CHECK_MEDIAN_PLAN(rows, cols) static_assert(true, "")
#endif

// Every network the filters use: whole windows of 3 and 5 rows and fewer at
// the top and bottom edges, and windows cut to 2, 3 or 4 columns at the sides.
IL_CHECK_MEDIAN_PLAN(1, 2);
IL_CHECK_MEDIAN_PLAN(2, 2);
IL_CHECK_MEDIAN_PLAN(3, 2);
IL_CHECK_MEDIAN_PLAN(1, 3);
IL_CHECK_MEDIAN_PLAN(2, 3);
IL_CHECK_MEDIAN_PLAN(3, 3);
IL_CHECK_MEDIAN_PLAN(4, 3);
IL_CHECK_MEDIAN_PLAN(5, 3);
IL_CHECK_MEDIAN_PLAN(1, 4);
IL_CHECK_MEDIAN_PLAN(2, 4);
IL_CHECK_MEDIAN_PLAN(3, 4);
IL_CHECK_MEDIAN_PLAN(4, 4);
IL_CHECK_MEDIAN_PLAN(5, 4);
IL_CHECK_MEDIAN_PLAN(1, 5);
IL_CHECK_MEDIAN_PLAN(2, 5);
IL_CHECK_MEDIAN_PLAN(3, 5);
IL_CHECK_MEDIAN_PLAN(4, 5);
IL_CHECK_MEDIAN_PLAN(5, 5);

template <int Low, int High, int Keep, typename V>
IL_FORCE_INLINE void ilStep(V* v)
{
    const V a = v[Low], b = v[High];
    if (Keep & 1) v[Low] = ilMin(a, b);
    if (Keep & 2) v[High] = ilMax(a, b);
}

template <typename Network, typename V, size_t... I>
IL_FORCE_INLINE void ilRunNetwork(V* v, std::index_sequence<I...>)
{
    (void)v;  // a network of one slot has no steps
    (ilStep<Network::plan.step[I].low, Network::plan.step[I].high, Network::plan.step[I].keep>(v), ...);
}

template <typename Network, typename V>
IL_FORCE_INLINE void ilRunNetwork(V* v)
{
    ilRunNetwork<Network>(v, std::make_index_sequence<Network::plan.steps>());
}

// Stores the sorted slots as rows of ranks, lowest first. The slot of each
// rank is a constant here, so the slots stay in registers.
template <typename Network, typename T, typename V, size_t... I>
IL_FORCE_INLINE void ilStoreRanks(T* ranks, size_t rankStride, size_t x, const V* v, std::index_sequence<I...>)
{
    (ilStore(ranks + I * rankStride + x, v[Network::plan.order[I]]), ...);
}

template <typename V, size_t... I>
IL_FORCE_INLINE bool ilAnyLaneSet(const V& mask, std::index_sequence<I...>)
{
    return ((mask[I] != 0) || ...);
}

// The median of Rows x Cols values given as sorted columns (see
// ilMedianPlan); V is a vector of pixels or a single sample. For 3 x 3 the
// well-known shorter form: the median of the largest of the lows, the median
// of the middles and the smallest of the highs.
template <int Rows, int Cols, typename V>
IL_FORCE_INLINE V ilMedianOfSortedColumns(V* v)
{
    if constexpr (Rows == 3 && Cols == 3) {
        const V low = ilMax(ilMax(v[0], v[3]), v[6]);
        const V high = ilMin(ilMin(v[2], v[5]), v[8]);
        const V middle = ilMax(ilMin(v[1], v[4]), ilMin(ilMax(v[1], v[4]), v[7]));
        return ilMax(ilMin(low, middle), ilMin(ilMax(low, middle), high));
    } else {
        ilRunNetwork<ILMedianNetwork<Rows, Cols>>(v);
        return v[ILMedianNetwork<Rows, Cols>::plan.result];
    }
}

// Sorts, for every column, the Rows samples src[0], src[stride], ... and
// stores rank i of column x at ranks[i x rankStride + x]. With `checkLast`
// (floating samples) it also answers whether the last row holds a NaN.
template <typename T, int Rows>
IL_FORCE_INLINE bool ilSortColumns(const T* src, size_t stride, size_t width, T* ranks, size_t rankStride,
                                   bool checkLast)
{
    typedef typename ILVector<T>::type V;
    const size_t lanes = ILVector<T>::lanes;
    auto nan = V() != V();
    size_t x = 0;
    // The window's last row is the one most likely not yet in the cache.
    const T* last = src + (Rows - 1) * stride;
    for (; x + lanes <= width; x += lanes) {
        ilPrefetch(last + x, false);
        V v[Rows];
        for (int i = 0; i < Rows; ++i) v[i] = ilLoad<V>(src + i * stride + x);
        if (std::is_floating_point<T>::value && checkLast) nan |= v[Rows - 1] != v[Rows - 1];
        ilRunNetwork<ILSortNetwork<Rows>>(v);
        ilStoreRanks<ILSortNetwork<Rows>>(ranks, rankStride, x, v, std::make_index_sequence<Rows>());
    }
    bool nanFound =
        std::is_floating_point<T>::value && checkLast && ilAnyLaneSet(nan, std::make_index_sequence<lanes>());
    for (; x < width; ++x) {
        T v[Rows];
        for (int i = 0; i < Rows; ++i) v[i] = src[i * stride + x];
        nanFound |= checkLast && v[Rows - 1] != v[Rows - 1];
        ilRunNetwork<ILSortNetwork<Rows>>(v);
        for (int i = 0; i < Rows; ++i) ranks[i * rankStride + x] = v[ILSortNetwork<Rows>::plan.order[i]];
    }
    return nanFound;
}

// Single-precision medians at least this far from zero are isolated (see the
// top of the file); the others, and a NaN, are settled window by window.
template <typename T>
IL_FORCE_INLINE bool ilDoubtfulMedian(T m)
{
    return std::is_floating_point<T>::value && !(m >= T(0.25) || m <= T(-0.25));
}

// Windows of Rows x Cols: the columns' ranks are loaded for `lanes` pixels at
// once and the network picks each pixel's median. Pixels x in [first, last)
// are done, `last` - `first` at least one vector; `ranks` begins with the
// window of pixel `first`. Answers whether any floating median is doubtful.
template <typename T, int Rows, int Cols>
IL_FORCE_INLINE bool ilNetworkRow(const T* ranks, size_t rankStride, size_t first, size_t last, T* out)
{
    typedef typename ILVector<T>::type V;
    const size_t lanes = ILVector<T>::lanes;
    typedef decltype(V() != V()) Mask;
    Mask isolated = ~Mask();
    for (size_t x = first;; x += lanes) {
        // The last vector may overlap the one before it.
        if (x + lanes > last) x = last - lanes;
        V v[Rows * Cols];
        for (int j = 0; j < Cols; ++j)
            for (int i = 0; i < Rows; ++i) v[j * Rows + i] = ilLoad<V>(ranks + i * rankStride + (x - first) + j);
        const V m = ilMedianOfSortedColumns<Rows, Cols>(v);
        ilPrefetch(out + x, true);
        ilStore(out + x, m);
        if (std::is_floating_point<T>::value) {
            // |m| >= 0.25 (false for a NaN), the magnitude taken by clearing the sign bit.
            const V magnitude = (V)((Mask)m & (Mask)ilSplat<V>(std::numeric_limits<T>::max()));
            isolated &= magnitude >= T(0.25);
        }
        if (x + lanes >= last) break;
    }
    return ilAnyLaneSet(~isolated, std::make_index_sequence<lanes>());
}

// Rows of NaN-holding samples (single-precision images only), counted as the
// rows come into the windows: an output row whose window rows hold a NaN is
// made window by window. A row is looked at once, mostly while its columns
// are sorted for the first window that takes it in.
struct ILNaNRows {
    uint32_t* before;  // rows above r holding a NaN, for r = 0 .. height
    int64_t surveyed;

    IL_FORCE_INLINE void survey(const float* src, size_t width, int64_t end)
    {
        typedef ILVector<float>::type V;
        while (surveyed < end) {
            const float* row = src + static_cast<size_t>(surveyed) * width;
            auto nan = V() != V();
            size_t x = 0;
            for (; x + ILVector<float>::lanes <= width; x += ILVector<float>::lanes) {
                const V v = ilLoad<V>(row + x);
                nan |= v != v;
            }
            bool any = ilAnyLaneSet(nan, std::make_index_sequence<ILVector<float>::lanes>());
            for (; x < width; ++x) any |= row[x] != row[x];
            record(any);
        }
    }
    void record(bool nan)
    {
        before[surveyed + 1] = before[surveyed] + (nan ? 1 : 0);
        ++surveyed;
    }
    bool any(ILSpan rows) const { return before[rows.end] != before[rows.begin]; }
};

// The median of a window cut across by the left or right edge to Cols
// columns, starting at rank column `column`.
template <typename T, int Rows, int Cols>
IL_FORCE_INLINE T ilCutWindowMedian(const T* ranks, size_t rankStride, size_t column)
{
    T v[Rows * Cols];
    for (int j = 0; j < Cols; ++j)
        for (int i = 0; i < Rows; ++i) v[j * Rows + i] = ranks[i * rankStride + column + j];
    return ilMedianOfSortedColumns<Rows, Cols>(v);
}

template <typename T, int N, int Rows>
IL_FORCE_INLINE T ilCutWindowMedian(const T* ranks, size_t rankStride, size_t column, size_t cols)
{
    static_assert(N == 3 || N == 5, "windows cut to 2, 3 or 4 columns");
    if (N == 3 || cols == 2) return ilCutWindowMedian<T, Rows, 2>(ranks, rankStride, column);
    if (cols == 3) return ilCutWindowMedian<T, Rows, 3>(ranks, rankStride, column);
    return ilCutWindowMedian<T, Rows, 4>(ranks, rankStride, column);
}

// One output row by networks, pixels [first, last), in pieces of about a
// kilobyte of samples so that the columns' ranks stay in the first-level
// cache between being sorted and being read. `ranks` holds N rows of a piece
// and its reach. Answers whether any floating median is doubtful; `nan`
// tells whether the window's last row (when `checkLast`) holds a NaN.
template <typename T, int N, int Rows>
IL_FORCE_INLINE bool ilNetworkRowOf(const T* src, size_t width, ILSpan rows, T* ranks, size_t first, size_t last,
                                    T* out, bool checkLast, bool& nan)
{
    const size_t lanes = ILVector<T>::lanes;
    const size_t piece = kNetworkPiece / sizeof(T);
    const T* top = src + static_cast<size_t>(rows.begin) * width;
    bool doubtful = false;
    nan = false;
    for (size_t begin = first; begin < last; begin += piece) {
        size_t end = begin + piece < last ? begin + piece : last;
        // A short last piece reaches back into the one before.
        if (end - begin < lanes) begin = end - lanes;
        const size_t rankStride = end - begin + N - 1;
        nan |= ilSortColumns<T, Rows>(top + begin - N / 2, width, rankStride, ranks, rankStride, checkLast);
        doubtful |= ilNetworkRow<T, Rows, N>(ranks, rankStride, begin, end, out);
        // The windows cut by the left and right edges, from the same ranks.
        if (begin == first) {
            for (size_t x = 0; x < first; ++x) {
                out[x] = ilCutWindowMedian<T, N, Rows>(ranks, rankStride, 0, x + N - N / 2);
                doubtful |= ilDoubtfulMedian(out[x]);
            }
        }
        if (end == last) {
            for (size_t x = last; x < width; ++x) {
                out[x] = ilCutWindowMedian<T, N, Rows>(ranks, rankStride, x - begin, width - x + N / 2);
                doubtful |= ilDoubtfulMedian(out[x]);
            }
        }
    }
    return doubtful;
}

// n x n medians (n = N, 3 or 5) of byte, 16-bit, 32-bit and single-precision
// images by networks, vectors of pixels whose window is whole across and
// single pixels at the left and right edges; narrow images, rows with a NaN in
// their windows and doubtful floating medians window by window.
template <typename T, int N>
IL_FORCE_INLINE bool ilMedianByNetworks(const T* src, T* dst, uint32_t width, uint32_t height, double* window)
{
    static_assert(!std::is_same<T, double>::value, "double-precision windows are settled one at a time");
    const size_t lanes = ILVector<T>::lanes;
    const size_t before = N / 2, after = N - N / 2 - 1;
    if (width < before + after + lanes) {
        // Too narrow for a vector of whole windows.
        for (uint32_t y = 0; y < height; ++y) ilMedianRowByWindows(src, dst, width, height, N, y, 0, width, window);
        return true;
    }
    const size_t interiorEnd = width - after;
    const bool floating = std::is_floating_point<T>::value;
    const float* floats = reinterpret_cast<const float*>(src);
    const size_t nanCounts = floating ? static_cast<size_t>(height) + 1 : 0;
    // The NaN row counts and the columns' ranks (N rows of a piece).
    const size_t rankSamples = N * (kNetworkPiece / sizeof(T) + N);
    uint32_t* block = static_cast<uint32_t*>(std::malloc(nanCounts * sizeof(uint32_t) + rankSamples * sizeof(T)));
    if (!block) return false;
    ILNaNRows nanRows = {block, 0};
    T* ranks = reinterpret_cast<T*>(block + nanCounts);
    if (floating) nanRows.before[0] = 0;
    for (uint32_t y = 0; y < height; ++y) {
        const ILSpan rows = ilNeighbourhoodSpan(y, N, height);
        T* out = dst + static_cast<size_t>(y) * width;
        // The rows before the window's last are looked at already (or now);
        // a new last row is looked at while its columns are sorted.
        bool checkLast = false;
        if (floating) {
            nanRows.survey(floats, width, rows.end - 1);
            checkLast = nanRows.surveyed < rows.end;
            if (nanRows.any(ILSpan{rows.begin, nanRows.surveyed})) {
                nanRows.survey(floats, width, rows.end);
                ilMedianRowByWindows(src, dst, width, height, N, y, 0, width, window);
                continue;
            }
        }
        bool doubtful = false, nan = false;
        const size_t first = before;
        switch (rows.length()) {
        case 1:
            doubtful = ilNetworkRowOf<T, N, 1>(src, width, rows, ranks, first, interiorEnd, out, checkLast, nan);
            break;
        case 2:
            doubtful = ilNetworkRowOf<T, N, 2>(src, width, rows, ranks, first, interiorEnd, out, checkLast, nan);
            break;
        case 3:
            doubtful = ilNetworkRowOf<T, N, 3>(src, width, rows, ranks, first, interiorEnd, out, checkLast, nan);
            break;
        case 4:
            doubtful = ilNetworkRowOf<T, N, (N > 3 ? 4 : 3)>(src, width, rows, ranks, first, interiorEnd, out,
                                                             checkLast, nan);
            break;
        default:
            doubtful = ilNetworkRowOf<T, N, N>(src, width, rows, ranks, first, interiorEnd, out, checkLast, nan);
            break;
        }
        if (checkLast) nanRows.record(nan);
        if (nan) {
            ilMedianRowByWindows(src, dst, width, height, N, y, 0, width, window);
            continue;
        }
        if (doubtful)
            for (size_t x = 0; x < width; ++x)
                if (ilDoubtfulMedian(out[x])) ilMedianRowByWindows(src, dst, width, height, N, y, x, x + 1, window);
    }
    std::free(block);
    return true;
}

// ---- byte images: running histogram with column histograms -------------------

// Perreault and Hebert's running median: each column keeps a histogram of
// its samples in the window's rows (256 fine bins and 16 coarse ones), moved
// down a row at a time; along a row the window's coarse histogram adds the
// column entering and drops the one leaving, finds the coarse bin holding the
// median, and brings only that bin's 16 fine counts up to date.
template <typename Count>
struct ILByteHistograms {
    typedef Count V __attribute__((vector_size(16 * sizeof(Count))));
    Count* fine;    // 256 per column
    Count* coarse;  // 16 per column
};

// The bin of 16 counts holding the sample of rank `rank` (from 0), given
// `below` samples in earlier bins; `below` grows by the samples in this
// list's bins before it.
template <typename V>
IL_FORCE_INLINE size_t ilSelectBin(const V& counts, size_t rank, size_t& below)
{
    size_t bin = 0;
    while (below + counts[bin] <= rank) below += counts[bin++];
    return bin;
}

#if defined(__SSE2__)
// Byte counts (a window of at most 255 samples): running sums across the 16
// lanes, the lanes whose sum stays at or below the rank counted at once.
IL_FORCE_INLINE size_t ilSelectBin(const ILByteHistograms<uint8_t>::V& counts, size_t rank, size_t& below)
{
    __m128i sums = reinterpret_cast<const __m128i&>(counts);
    sums = _mm_add_epi8(sums, _mm_slli_si128(sums, 1));
    sums = _mm_add_epi8(sums, _mm_slli_si128(sums, 2));
    sums = _mm_add_epi8(sums, _mm_slli_si128(sums, 4));
    sums = _mm_add_epi8(sums, _mm_slli_si128(sums, 8));
    const __m128i limit = _mm_set1_epi8(static_cast<char>(static_cast<uint8_t>(rank - below)));
    const __m128i atOrBelow = _mm_cmpeq_epi8(_mm_min_epu8(sums, limit), sums);
    const unsigned lanes = static_cast<unsigned>(_mm_movemask_epi8(atOrBelow));
    // The sums never fall, so the lanes at or below the limit come first.
    const size_t bin = static_cast<size_t>(__builtin_ctz(~lanes));
    if (bin > 0) {
        uint8_t laneSums[16];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(laneSums), sums);
        below += laneSums[bin - 1];
    }
    return bin;
}
#endif

template <typename Count>
IL_FORCE_INLINE void ilAddByteRow(const uint8_t* row, size_t width, ILByteHistograms<Count>& h, bool add)
{
    for (size_t x = 0; x < width; ++x) {
        const uint8_t v = row[x];
        Count& f = h.fine[x * 256 + v];
        Count& c = h.coarse[x * 16 + (v >> 4)];
        if (add) {
            ++f;
            ++c;
        } else {
            --f;
            --c;
        }
    }
}

template <typename Count>
IL_FORCE_INLINE void ilMedianBytesByHistograms(const uint8_t* src, uint8_t* dst, uint32_t width, uint32_t height,
                                               unsigned int n, ILByteHistograms<Count>& h)
{
    typedef typename ILByteHistograms<Count>::V V;
    ILSpan held = {0, 0};  // rows in the column histograms
    for (uint32_t y = 0; y < height; ++y) {
        const ILSpan rows = ilNeighbourhoodSpan(y, n, height);
        for (; held.begin < rows.begin; ++held.begin)
            ilAddByteRow(src + static_cast<size_t>(held.begin) * width, width, h, false);
        for (; held.end < rows.end; ++held.end)
            ilAddByteRow(src + static_cast<size_t>(held.end) * width, width, h, true);

        V coarse = {};
        V fine[16] = {};
        size_t fineFrom[16] = {}, fineTo[16] = {};  // columns the fine counts of each coarse bin hold
        size_t from = 0, to = 0;                   // columns the coarse counts hold
        for (uint32_t x = 0; x < width; ++x) {
            const ILSpan cols = ilNeighbourhoodSpan(x, n, width);
            for (; to < static_cast<size_t>(cols.end); ++to) coarse += ilLoad<V>(h.coarse + to * 16);
            for (; from < static_cast<size_t>(cols.begin); ++from) coarse -= ilLoad<V>(h.coarse + from * 16);
            const size_t middle = static_cast<size_t>(cols.length()) * static_cast<size_t>(rows.length()) / 2;
            size_t below = 0;
            const size_t bin = ilSelectBin(coarse, middle, below);
            // Bring the bin's fine counts to columns [from, to): step them
            // along, or start again when that is cheaper.
            V& counts = fine[bin];
            const Count* binFine = h.fine + bin * 16;
            if (fineTo[bin] <= from || (to - fineTo[bin]) + (from - fineFrom[bin]) > to - from) {
                counts = V();
                for (size_t c = from; c < to; ++c) counts += ilLoad<V>(binFine + c * 256);
            } else {
                for (size_t c = fineTo[bin]; c < to; ++c) counts += ilLoad<V>(binFine + c * 256);
                for (size_t c = fineFrom[bin]; c < from; ++c) counts -= ilLoad<V>(binFine + c * 256);
            }
            fineFrom[bin] = from;
            fineTo[bin] = to;
            const size_t value = ilSelectBin(counts, middle, below);
            dst[static_cast<size_t>(y) * width + x] = static_cast<uint8_t>(bin * 16 + value);
        }
    }
}

// ---- 16-bit images: running three-level histogram ----------------------------

// Huang's running median along each row with counts at three levels (the top
// 8 bits, the top 12, all 16): the window adds the column entering and drops
// the one leaving; the coarse bin holding the median is followed from pixel
// to pixel, then 16 middle and 16 fine bins are searched.
struct ILShortHistogram {
    uint32_t* fine;    // 65536
    uint32_t* middle;  // 4096
    uint32_t* coarse;  // 256
    size_t bin;        // coarse bin followed
    size_t belowBin;   // samples in coarse bins below it

    IL_FORCE_INLINE void add(uint16_t v)
    {
        ++fine[v];
        ++middle[v >> 4];
        ++coarse[v >> 8];
        belowBin += (static_cast<size_t>(v >> 8) < bin) ? 1 : 0;
    }
    IL_FORCE_INLINE void remove(uint16_t v)
    {
        --fine[v];
        --middle[v >> 4];
        --coarse[v >> 8];
        belowBin -= (static_cast<size_t>(v >> 8) < bin) ? 1 : 0;
    }
    IL_FORCE_INLINE uint16_t select(size_t rank)
    {
        while (belowBin > rank) belowBin -= coarse[--bin];
        while (belowBin + coarse[bin] <= rank) belowBin += coarse[bin++];
        size_t below = belowBin, m = bin * 16;
        while (below + middle[m] <= rank) below += middle[m++];
        size_t f = m * 16;
        while (below + fine[f] <= rank) below += fine[f++];
        return static_cast<uint16_t>(f);
    }
};

IL_FORCE_INLINE void ilShortColumn(const uint16_t* src, size_t width, size_t x, ILSpan rows, ILShortHistogram& h,
                                   bool add)
{
    for (int64_t r = rows.begin; r < rows.end; ++r) {
        const uint16_t v = src[static_cast<size_t>(r) * width + x];
        if (add)
            h.add(v);
        else
            h.remove(v);
    }
}

IL_FORCE_INLINE void ilMedianShortsByHistogram(const uint16_t* src, uint16_t* dst, uint32_t width, uint32_t height,
                                               unsigned int n, ILShortHistogram& h)
{
    for (uint32_t y = 0; y < height; ++y) {
        const ILSpan rows = ilNeighbourhoodSpan(y, n, height);
        h.bin = 0;
        h.belowBin = 0;
        size_t from = 0, to = 0;
        for (uint32_t x = 0; x < width; ++x) {
            const ILSpan cols = ilNeighbourhoodSpan(x, n, width);
            for (; to < static_cast<size_t>(cols.end); ++to) ilShortColumn(src, width, to, rows, h, true);
            for (; from < static_cast<size_t>(cols.begin); ++from) ilShortColumn(src, width, from, rows, h, false);
            const size_t middle = static_cast<size_t>(cols.length()) * static_cast<size_t>(rows.length()) / 2;
            dst[static_cast<size_t>(y) * width + x] = h.select(middle);
        }
        for (; from < to; ++from) ilShortColumn(src, width, from, rows, h, false);
    }
}

// ---- choosing a way ---------------------------------------------------------

template <typename T>
void ilMedianByWindows(const T* src, T* dst, uint32_t width, uint32_t height, unsigned int n, double* window)
{
    for (uint32_t y = 0; y < height; ++y) ilMedianRowByWindows(src, dst, width, height, n, y, 0, width, window);
}

// n = 1: each window is the pixel itself, stored back through a double as
// the plain kernel does (which quiets a signalling NaN).
template <typename T>
void ilMedianOfOne(const T* src, T* dst, size_t count)
{
    for (size_t i = 0; i < count; ++i) dst[i] = ILConvertSample<T>(static_cast<double>(src[i]));
}

template <typename Count>
IL_FORCE_INLINE bool ilMedianBytesWith(const uint8_t* src, uint8_t* dst, uint32_t width, uint32_t height,
                                       unsigned int n)
{
    ILByteHistograms<Count> h;
    h.fine = static_cast<Count*>(std::calloc(static_cast<size_t>(width) * (256 + 16), sizeof(Count)));
    if (!h.fine) return false;
    h.coarse = h.fine + static_cast<size_t>(width) * 256;
    ilMedianBytesByHistograms(src, dst, width, height, n, h);
    std::free(h.fine);
    return true;
}

// The most samples a window holds: the image's sides cut the n x n square.
uint64_t ilLargestWindow(uint32_t width, uint32_t height, unsigned int n)
{
    return static_cast<uint64_t>(n < width ? n : width) * (n < height ? n : height);
}

IL_FORCE_INLINE bool ilMedianBytes(const uint8_t* src, uint8_t* dst, uint32_t width, uint32_t height, unsigned int n,
                                   double* window)
{
    if (n == 3) return ilMedianByNetworks<uint8_t, 3>(src, dst, width, height, window);
    if (n == 5) return ilMedianByNetworks<uint8_t, 5>(src, dst, width, height, window);
    // The column histograms take 272 counts per column; very wide images go
    // window by window instead.
    const uint64_t largest = ilLargestWindow(width, height, n);
    if (static_cast<uint64_t>(width) * 272 * (largest <= 0xFFFF ? 2 : 4) > (uint64_t(1) << 28)) {
        ilMedianByWindows(src, dst, width, height, n, window);
        return true;
    }
    if (largest <= 0xFF) return ilMedianBytesWith<uint8_t>(src, dst, width, height, n);
    if (largest <= 0xFFFF) return ilMedianBytesWith<uint16_t>(src, dst, width, height, n);
    return ilMedianBytesWith<uint32_t>(src, dst, width, height, n);
}

IL_FORCE_INLINE bool ilMedianShorts(const uint16_t* src, uint16_t* dst, uint32_t width, uint32_t height, unsigned int n,
                    double* window)
{
    if (n == 3) return ilMedianByNetworks<uint16_t, 3>(src, dst, width, height, window);
    if (n == 5) return ilMedianByNetworks<uint16_t, 5>(src, dst, width, height, window);
    if (ilLargestWindow(width, height, n) > 0xFFFFFFFFu) {
        ilMedianByWindows(src, dst, width, height, n, window);
        return true;
    }
    ILShortHistogram h;
    h.fine = static_cast<uint32_t*>(std::calloc(65536 + 4096 + 256, sizeof(uint32_t)));
    if (!h.fine) return false;
    h.middle = h.fine + 65536;
    h.coarse = h.middle + 4096;
    ilMedianShortsByHistogram(src, dst, width, height, n, h);
    std::free(h.fine);
    return true;
}

template <typename T>
IL_FORCE_INLINE bool ilMedianOthers(const T* src, T* dst, uint32_t width, uint32_t height, unsigned int n,
                                    double* window)
{
    if (!std::is_same<T, double>::value) {
        if (n == 3) return ilMedianByNetworks<T, 3>(src, dst, width, height, window);
        if (n == 5) return ilMedianByNetworks<T, 5>(src, dst, width, height, window);
    }
    ilMedianByWindows(src, dst, width, height, n, window);
    return true;
}

template <typename T>
IL_FORCE_INLINE bool ilMedianTyped(const T* src, T* dst, uint32_t width, uint32_t height, unsigned int n,
                                   double* window)
{
    if constexpr (std::is_same<T, uint8_t>::value) {
        return ilMedianBytes(src, dst, width, height, n, window);
    } else if constexpr (std::is_same<T, uint16_t>::value) {
        return ilMedianShorts(src, dst, width, height, n, window);
    } else if constexpr (std::is_same<T, double>::value) {
        // Doubles have no faster kernel than the plain window sort.
        ilMedianByWindows(src, dst, width, height, n, window);
        return true;
    } else {
        return ilMedianOthers(src, dst, width, height, n, window);
    }
}

// The same kernel built twice: for AVX2 and for the x86-64 baseline.
template <typename T>
IL_TARGET_AVX2 bool ilMedianAvx2(const T* s, T* d, uint32_t w, uint32_t h, unsigned int n, double* win)
{
    return ilMedianTyped(s, d, w, h, n, win);
}
template <typename T>
bool ilMedianBaseline(const T* s, T* d, uint32_t w, uint32_t h, unsigned int n, double* win)
{
    return ilMedianTyped(s, d, w, h, n, win);
}

} // namespace

bool ilMedianFast(int32_t type, const void* src, void* dst, uint32_t width, uint32_t height, unsigned int n,
                  double* window)
{
    if (type < 1 || type > 5 || n == 0) return false;
    if (width == 0 || height == 0) return true;
    const size_t count = static_cast<size_t>(width) * height;
    const bool avx2 = ilCpuHasAvx2();
    bool done = false;
    ILDispatchSampleType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T* from = static_cast<const T*>(src);
        T* to = static_cast<T*>(dst);
        if (n == 1) {
            ilMedianOfOne(from, to, count);
            done = true;
        } else {
            done = avx2 ? ilMedianAvx2(from, to, width, height, n, window)
                        : ilMedianBaseline(from, to, width, height, n, window);
        }
    });
    return done;
}
