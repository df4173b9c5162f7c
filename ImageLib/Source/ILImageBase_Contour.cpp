// ILImageBase_Contour.cpp - contour tracing: a Moore-neighbour tracer over the
// image's own samples, a crack (pixel-corner) follower over a byte buffer, and
// the clean-up of the chains they produce (one lap out of two, gap filling,
// repeated points, chain codes).
//
// The caller's record has no capacity; its arrays are taken to hold
// width x height + 1 entries, and nothing here writes or reads past that.
#include "ILImageBase.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"
#include "ILRegions.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <new>
#include <vector>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase"

namespace {

bool hasChainArrays(const tagContourTraceInfo* info)
{
    return info && info->pXPoints && info->pYPoints;
}

// Chain code of the step (dx, dy), found through d = dx * width + dy:
// width - 1 is 7, -1 is 6, -width - 1 is 5, -width is 4, -width + 1 is 3,
// 1 is 2, width + 1 is 1, anything else (width and 0 among them) 0. The
// comparisons are made in that order, which matters on images 1 or 2 wide.
// The arithmetic wraps instead of overflowing for points far apart.
int32_t chainCode(int64_t dx, int64_t dy, uint32_t width)
{
    const uint64_t w = width;
    const uint64_t d = static_cast<uint64_t>(dx) * w + static_cast<uint64_t>(dy);
    if (d == w - 1) return 7;
    if (d == ~uint64_t(0)) return 6;
    if (d == 0 - w - 1) return 5;
    if (d == 0 - w) return 4;
    if (d == 1 - w) return 3;
    if (d == 1) return 2;
    if (d == w + 1) return 1;
    return 0;
}

// Writes the chain code of every point k from points k and k + 1. The last
// code reads the entry just past the chain, which the caller's arrays hold;
// it is whatever an earlier step of the trace left there.
void writeChainCodes(tagContourTraceInfo* info, uint32_t width)
{
    for (int32_t k = 0; k < info->nNumPoints; ++k) {
        const int64_t dx = static_cast<int64_t>(info->pXPoints[k + 1]) - info->pXPoints[k];
        const int64_t dy = static_cast<int64_t>(info->pYPoints[k + 1]) - info->pYPoints[k];
        info->pDirections[k] = chainCode(dx, dy, width);
    }
}

// ---- Moore tracing ----

// The ring of the eight neighbours of a point, clockwise from the upper left
// with y growing downward.
const int kRingDx[8] = {-1, 0, 1, 1, 1, 0, -1, -1};
const int kRingDy[8] = {-1, -1, -1, 0, 1, 1, 1, 0};

struct RingPoint {
    int64_t x;
    int64_t y;
    bool operator==(const RingPoint& other) const { return x == other.x && y == other.y; }
};

RingPoint ringNeighbour(const RingPoint& p, int position)
{
    return RingPoint{p.x + kRingDx[position], p.y + kRingDy[position]};
}

// Ring position of `backtrack` around `current`; 0 when it is none of 1 to 7.
int ringPosition(const RingPoint& current, const RingPoint& backtrack)
{
    for (int k = 1; k < 8; ++k)
        if (ringNeighbour(current, k) == backtrack) return k;
    return 0;
}

template <typename T>
struct MooreImage {
    const T* samples;
    int64_t width;
    int64_t height;

    // Neighbours outside the image read as 0, so they are never 1.
    bool isOne(const RingPoint& p) const
    {
        if (p.x < 0 || p.y < 0 || p.x >= width || p.y >= height) return false;
        return ILSampleEqualsInt(samples[p.y * width + p.x], 1);
    }

    // The first sample equal to `value` scanning column c = 0..height-1 and,
    // within it, r = width-1 down to 0 at index r * width + c (the ranges are
    // crossed on purpose; indices past the end are skipped). (0, 0) when none.
    RingPoint findStart(int value) const
    {
        const int64_t count = width * height;
        for (int64_t c = 0; c < height; ++c) {
            for (int64_t r = width - 1; r >= 0; --r) {
                const int64_t index = r * width + c;
                if (index < count && ILSampleEqualsInt(samples[index], value)) return RingPoint{c, r};
            }
        }
        return RingPoint{0, 0};
    }
};

// Walks the boundary from the start until it has come back to the start
// twice, writing the points to `xs`, `ys`. Each move searches the ring from
// just after the backtrack point for a neighbour equal to 1; the new
// backtrack is the ring position before the one moved to. Without such a
// neighbour the walk moves to the position after the backtrack (or stays when
// that is position 7). False when the walk needs more than `capacity` points.
template <typename T>
bool traceMoore(const MooreImage<T>& image, int value, int32_t* xs, int32_t* ys, int64_t capacity, int64_t* count)
{
    const RingPoint start = image.findStart(value);
    RingPoint current = start;
    RingPoint backtrack{start.x, start.y + 1};
    int64_t n = 0;
    int returns = 0;
    for (;;) {
        if (n >= capacity) return false;
        xs[n] = static_cast<int32_t>(current.x);
        ys[n] = static_cast<int32_t>(current.y);
        ++n;
        if (n > 1 && current == start && ++returns == 2) break;

        const int b = ringPosition(current, backtrack);
        int found = -1;
        for (int step = 1; step <= 8 && found < 0; ++step)
            if (image.isOne(ringNeighbour(current, (b + step) % 8))) found = (b + step) % 8;
        if (found < 0 && b != 7) found = b + 1;
        if (found >= 0) {
            backtrack = ringNeighbour(current, (found + 7) % 8);
            current = ringNeighbour(current, found);
        }
    }
    *count = n;
    return true;
}

// ---- crack following ----

enum CrackHeading { kRight, kDown, kLeft, kUp };

// The crack follower's walk over a padded copy of the labels: one extra
// column and row whose bytes never equal the object value. Corner
// (row, column) is flat index row * (width + 1) + column; the four pixels
// around it sit at that index minus width + 2, minus width + 1, minus 1, and
// at the index itself.
struct CrackWalk {
    std::vector<unsigned char> padded;
    int64_t stride;
    int value;
    bool outside;  // a read fell outside the padded buffer

    bool object(int64_t row, int64_t column)
    {
        const int64_t index = row * stride + column;
        if (index < 0 || index >= static_cast<int64_t>(padded.size())) {
            outside = true;
            return false;
        }
        return static_cast<int>(padded[static_cast<size_t>(index)]) == value;
    }

    // One step from (row, column) along `heading`, the object kept on the
    // right-hand side. The tests on row 0 and column 0 are the ones the walk
    // makes; they stand in for reading above or left of the image.
    void step(int64_t& row, int64_t& column, CrackHeading& heading)
    {
        switch (heading) {
        case kDown:
            if (object(row, column)) heading = kRight;
            else if (!object(row, column - 1)) heading = kLeft;
            break;
        case kRight:
            if (row == 0) break;
            if (object(row - 1, column)) heading = kUp;
            else if (!object(row, column)) heading = kDown;
            break;
        case kUp:
            if (column == 0) break;
            if (row == 0) heading = kRight;
            else if (object(row - 1, column - 1)) heading = kLeft;
            else if (!object(row - 1, column)) heading = kRight;
            break;
        case kLeft:
            if (column == 0) heading = kUp;
            else if (object(row, column - 1)) heading = kDown;
            else if (!object(row - 1, column - 1)) heading = kUp;
            break;
        }
        if (heading == kRight) ++column;
        else if (heading == kDown) ++row;
        else if (heading == kLeft) --column;
        else --row;
    }
};

} // namespace

void CILImageBase::RemoveMultipleEntriesInContourTrace(tagContourTraceInfo* info)
{
    if (!hasChainArrays(info)) return;
    const int32_t n = info->nNumPoints;
    if (n < 1 || n % 2 == 0) return;
    const int32_t half = (n - 1) / 2;
    for (int32_t k = 0; k < half; ++k)
        if (info->pXPoints[k] != info->pXPoints[k + half] || info->pYPoints[k] != info->pYPoints[k + half]) return;
    // The first lap stays where it is; its first point closes it.
    info->pXPoints[half] = info->pXPoints[0];
    info->pYPoints[half] = info->pYPoints[0];
    info->nNumPoints = half + 1;
}

void CILImageBase::RemoveMultipleEntriesInContour(tagContourTraceInfo* info)
{
    if (!hasChainArrays(info) || info->nNumPoints < 2) return;
    const int32_t n = info->nNumPoints;
    int32_t kept = 0;
    for (int32_t k = 0; k < n; ++k) {
        const bool repeated = k + 1 < n && info->pXPoints[k] == info->pXPoints[k + 1] &&
                              info->pYPoints[k] == info->pYPoints[k + 1];
        if (repeated) continue;
        info->pXPoints[kept] = info->pXPoints[k];
        info->pYPoints[kept] = info->pYPoints[k];
        ++kept;
    }
    info->nNumPoints = kept;
}

void CILImageBase::SmoothContourPts(tagContourTraceInfo* info)
{
    if (!hasChainArrays(info) || info->nNumPoints < 2) return;
    const int32_t n = info->nNumPoints;
    const int32_t* xs = info->pXPoints;
    const int32_t* ys = info->pYPoints;
    // Adjacency is judged on the index x * width + y (wrapping arithmetic):
    // the next point must hit one of the nine indices around the point.
    const uint64_t width = m_width;
    auto crossedIndex = [&](int64_t x, int64_t y) { return static_cast<uint64_t>(x) * width + static_cast<uint64_t>(y); };
    auto isGap = [&](int32_t k) {
        const uint64_t next = crossedIndex(xs[k + 1], ys[k + 1]);
        for (int dx = -1; dx <= 1; ++dx)
            for (int dy = -1; dy <= 1; ++dy)
                if (next == crossedIndex(static_cast<int64_t>(xs[k]) + dx, static_cast<int64_t>(ys[k]) + dy))
                    return false;
        return true;
    };

    bool anyGap = false;
    for (int32_t k = 0; k + 1 < n && !anyGap; ++k) anyGap = isGap(k);
    if (!anyGap) return;

    // The rebuilt chain may hold width x height points.
    const int64_t capacity = static_cast<int64_t>(pixelCount());
    std::list<int> newXs, newYs;
    try {
        int64_t total = 0;
        for (int32_t k = 0; k < n; ++k) {
            if (total >= capacity) return;
            newXs.push_back(xs[k]);
            newYs.push_back(ys[k]);
            ++total;
            if (k + 1 == n || !isGap(k)) continue;
            const int64_t dx = std::llabs(static_cast<int64_t>(xs[k + 1]) - xs[k]);
            const int64_t dy = std::llabs(static_cast<int64_t>(ys[k + 1]) - ys[k]);
            const int64_t between = (dx > dy ? dx : dy) - 1;
            if (total + between > capacity) return;
            getIntermediatePoints(xs[k], ys[k], xs[k + 1], ys[k + 1], newXs, newYs);
            total = static_cast<int64_t>(newXs.size());
        }
    } catch (...) {
        return;  // out of memory: the chain stays as it was
    }
    int32_t k = 0;
    for (auto x = newXs.begin(), y = newYs.begin(); x != newXs.end(); ++x, ++y, ++k) {
        info->pXPoints[k] = *x;
        info->pYPoints[k] = *y;
    }
    info->nNumPoints = k;
}

bool CILImageBase::ContourTrace(tagContourTraceInfo* info, int value, char* out)
{
    if (!hasPixels() || !hasChainArrays(info) || !info->pDirections) return false;
    const size_t count = pixelCount();
    std::unique_ptr<int32_t[]> xs(new (std::nothrow) int32_t[count > 0 ? count : 1]);
    std::unique_ptr<int32_t[]> ys(new (std::nothrow) int32_t[count > 0 ? count : 1]);
    if (!xs || !ys) return false;

    bool traced = false;
    int64_t n = 0;
    if (!ILDispatchSampleType(m_datatype, [&](auto tag) {
            using T = typename decltype(tag)::type;
            const MooreImage<T> image = {reinterpret_cast<const T*>(m_data), m_width, m_height};
            traced = traceMoore(image, value, xs.get(), ys.get(), static_cast<int64_t>(count), &n);
        })) {
        IL_ASSERT_UNKNOWN_TYPE();
        return false;
    }
    if (!traced) return false;

    info->nNumPoints = static_cast<int32_t>(n);
    std::memcpy(info->pXPoints, xs.get(), static_cast<size_t>(n) * sizeof(int32_t));
    std::memcpy(info->pYPoints, ys.get(), static_cast<size_t>(n) * sizeof(int32_t));
    RemoveMultipleEntriesInContourTrace(info);
    writeChainCodes(info, m_width);
    if (out) return true;

    // The destructive path leaves a byte picture nothing draws into: zeros.
    const bool reshaped = InitWithType(eByte, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height));
    if (reshaped && count > 0) std::memset(m_data, 0, count);
    return reshaped;
}

bool CILImageBase::ContourTrace_Core(unsigned char* labels, tagContourTraceInfo* info, int value)
{
    if (!labels || !hasChainArrays(info) || !info->pDirections) return false;
    const int64_t width = m_width;
    const int64_t height = m_height;
    const int64_t capacity = width * height + 1;
    int64_t row = info->nStartX;
    int64_t column = info->nStartY;
    if (row < 0 || row > height || column < 0 || column > width) return false;

    CrackWalk walk;
    walk.stride = width + 1;
    walk.value = value;
    walk.outside = false;
    try {
        walk.padded.assign(static_cast<size_t>((width + 1) * (height + 1)), value == 0 ? 1 : 0);
    } catch (...) {
        return false;
    }
    for (int64_t r = 0; r < height; ++r)
        std::memcpy(&walk.padded[static_cast<size_t>(r * walk.stride)], labels + r * width, static_cast<size_t>(width));

    // The visited corners, the start first; the record can take `capacity`.
    std::vector<int32_t> columns, rows;
    try {
        const int64_t startIndex = row * walk.stride + column;
        columns.push_back(static_cast<int32_t>(column));
        rows.push_back(static_cast<int32_t>(row));
        CrackHeading heading = kRight;
        do {
            walk.step(row, column, heading);
            // A walk that never closes (along row 0, or up column 0 past the
            // image) ends here, as does one that would leave the padded buffer.
            if (walk.outside || static_cast<int64_t>(columns.size()) >= capacity) return false;
            columns.push_back(static_cast<int32_t>(column == width ? column - 1 : column));
            rows.push_back(static_cast<int32_t>(row == height ? row - 1 : row));
        } while (row * walk.stride + column != startIndex);
    } catch (...) {
        return false;
    }

    const size_t n = columns.size();
    std::memcpy(info->pXPoints, columns.data(), n * sizeof(int32_t));
    std::memcpy(info->pYPoints, rows.data(), n * sizeof(int32_t));
    info->nNumPoints = static_cast<int32_t>(n);
    info->nStartX = columns[0];
    info->nStartY = rows[0];
    SmoothContourPts(info);
    RemoveMultipleEntriesInContour(info);
    // The chain codes read one entry past the chain.
    if (info->nNumPoints >= capacity) return false;
    writeChainCodes(info, m_width);
    return true;
}
