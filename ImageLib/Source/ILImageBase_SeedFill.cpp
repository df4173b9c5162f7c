// ILImageBase_SeedFill.cpp - seed fills that turn an image into a two-level
// picture: the region connected to a seed becomes the fill value, everything
// else 0. Two connectivities with two algorithms: an 8-connected fill that
// grows 3 x 3 blocks from a queue of flat indices, and a 4-connected scanline
// fill working on a stack of segments.
//
// Both mark the region with the value 255 while they run and then map every
// 255 to the fill value, so a 255 that was in the image before ends as the
// fill value too. The 8-connected fill's queue count is a local of each call.
#include "ILImageBase.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"
#include "ILRegions.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase"

namespace {

// The value region pixels hold while a fill runs.
const int kMarker = 255;

// The 4-connected fill's segment stack holds this many segments; further
// pushes are dropped.
const int kMaxSegments = 65536;

// The seed as a flat index: truncated row * width + truncated column.
int64_t flatSeedIndex(double row, double col, uint32_t width)
{
    return static_cast<int64_t>(ILTruncToInt32(row)) * width + ILTruncToInt32(col);
}

// Maps the marker to `fillValue` (converted to T: low bits for integers) and
// every other sample to 0.
template <typename T>
void finishFill(T* samples, int64_t count, int fillValue)
{
    const T fill = ILConvertSample<T>(static_cast<int32_t>(fillValue));
    for (int64_t i = 0; i < count; ++i) samples[i] = (samples[i] == static_cast<T>(kMarker)) ? fill : T(0);
}

// ---- 8-connected fill ----

template <typename T>
struct BlockFill {
    T* samples;
    int64_t width;
    int64_t count;
    int matchValue;
    uint32_t* queue;
    int64_t queued;
};

// Marks the 3 x 3 block around the flat index `centre`: its matching samples
// become the marker and all but the centre are queued. The block is formed on
// the flat index, so at the left and right edges it wraps onto the
// neighbouring row. No block is grown when centre - width - 1 < 0 or
// centre + 2 * width - 1 >= count; a one-pixel-wide image would still reach
// centre + 2 past the end, so that is refused as well.
template <typename T>
void markBlock(BlockFill<T>& fill, int64_t centre)
{
    const int64_t width = fill.width;
    if (centre - width - 1 < 0 || centre + 2 * width - 1 >= fill.count) return;
    if (centre + width + 1 >= fill.count) return;
    const int64_t rowStarts[3] = {centre - width - 1, centre - 1, centre + width - 1};
    for (int64_t first : rowStarts) {
        for (int64_t i = first; i < first + 3; ++i) {
            if (!ILSampleEqualsInt(fill.samples[i], fill.matchValue)) continue;
            fill.samples[i] = static_cast<T>(kMarker);
            // A queued sample no longer matches, so at most `count` are queued.
            if (i != centre && fill.queued < fill.count) fill.queue[fill.queued++] = static_cast<uint32_t>(i);
        }
    }
}

// Grows the region from `seed` (inside the image; matchValue is not the
// marker). Every queued pixel grows at most one block: around the first of
// its eight neighbours, in reading order, that lies in the image and still
// matches. False when the queue cannot be allocated.
template <typename T>
bool fillEightConnected(T* samples, int64_t width, int64_t count, int64_t seed, int matchValue, int fillValue)
{
    std::unique_ptr<uint32_t[]> queue(new (std::nothrow) uint32_t[count > 0 ? count : 1]);
    if (!queue) return false;
    BlockFill<T> fill = {samples, width, count, matchValue, queue.get(), 0};
    markBlock(fill, seed);

    const int64_t neighbours[8] = {-width - 1, -width, -width + 1, -1, 1, width - 1, width, width + 1};
    for (int64_t i = 0; i < fill.queued; ++i) {
        const int64_t p = queue[i];
        for (int64_t offset : neighbours) {
            const int64_t n = p + offset;
            if (n >= 0 && n < count && ILSampleEqualsInt(samples[n], matchValue)) {
                markBlock(fill, n);
                break;
            }
        }
    }
    finishFill(samples, count, fillValue);
    samples[seed] = ILConvertSample<T>(static_cast<int32_t>(fillValue));
    return true;
}

// ---- 4-connected fill ----

// A run [first, last] on line `line`, to be continued on line + direction.
// Stored in 16 bits each, as the fill's fixed stack is laid out.
struct FillSegment {
    int16_t line;
    int16_t first;
    int16_t last;
    int16_t direction;
};

// The scanline fill's view of the image: pixel (x, y) is element
// x * width + y, with x in [1, right] (the scan axis: rows of the image) and
// y in [1, bottom] (the line axis: its columns). The window comes from the
// width and the height the other way round; on a wide image part of it lies
// beyond the buffer, and those samples read as not matching.
template <typename T>
struct ScanlineFill {
    T* samples;
    int64_t width;
    int64_t count;
    int matchValue;
    int64_t right;
    int64_t bottom;
    FillSegment* stack;
    int depth;

    bool matches(int64_t x, int64_t y) const
    {
        const int64_t index = x * width + y;
        return index >= 0 && index < count && ILSampleEqualsInt(samples[index], matchValue);
    }
    void mark(int64_t x, int64_t y) { samples[x * width + y] = static_cast<T>(kMarker); }
    // Segments whose next line leaves the window, or that find the stack
    // full, are dropped.
    void push(int64_t line, int64_t first, int64_t last, int direction)
    {
        const int64_t next = line + direction;
        if (depth >= kMaxSegments || next < 1 || next > bottom) return;
        stack[depth++] = FillSegment{static_cast<int16_t>(line), static_cast<int16_t>(first),
                                     static_cast<int16_t>(last), static_cast<int16_t>(direction)};
    }
};

// Fills the run of line `y` below `x1` and then the runs up to `x2` that
// continue the popped segment, pushing their continuations and the leaks on
// the far side of the segment's ends.
template <typename T>
void fillSegment(ScanlineFill<T>& fill, int64_t y, int64_t x1, int64_t x2, int direction)
{
    int64_t x = x1;
    for (; x >= 1 && fill.matches(x, y); --x) fill.mark(x, y);
    int64_t left = x + 1;
    // Nothing at x1: start by skipping to the next matching pixel.
    bool skipFirst = (x >= x1);
    if (skipFirst) {
        x = x1;
    } else {
        if (left < x1) fill.push(y, left, x1 - 1, -direction);
        x = x1 + 1;
    }
    do {
        if (!skipFirst) {
            for (; x <= fill.right && fill.matches(x, y); ++x) fill.mark(x, y);
            fill.push(y, left, x - 1, direction);
            if (x > x2 + 1) fill.push(y, x2 + 1, x - 1, -direction);
        }
        skipFirst = false;
        for (++x; x <= x2 && !fill.matches(x, y); ++x) {
        }
        left = x;
    } while (x <= x2);
}

// The scanline fill from seed (x, y), already inside the window.
// The segment stack (512 KB) lives on the heap, not the call stack, so that
// the fill is safe on threads with small stacks; false when it cannot be had.
template <typename T>
bool fillFourConnected(T* samples, int64_t width, int64_t height, int64_t x, int64_t y, int matchValue,
                       int fillValue)
{
    std::unique_ptr<FillSegment[]> segments(new (std::nothrow) FillSegment[kMaxSegments]);
    if (!segments) return false;
    FillSegment* stack = segments.get();
    const int64_t count = width * height;
    ScanlineFill<T> fill = {samples, width, count, matchValue, width - 2, height - 2, stack, 0};
    fill.push(y, x, x, 1);
    fill.push(y + 1, x, x, -1);
    while (fill.depth > 0) {
        const FillSegment segment = stack[--fill.depth];
        fillSegment(fill, static_cast<int64_t>(segment.line) + segment.direction, segment.first, segment.last,
                    segment.direction);
    }
    finishFill(samples, count, fillValue);
    return true;
}

} // namespace

bool CILImageBase::ImageSeedFill_Core(double row, double col, void* out, int matchValue, int fillValue)
{
    // 255 is the marker: marked samples would keep matching and be queued again.
    if (!hasPixels() || matchValue == kMarker) return false;
    const int64_t count = static_cast<int64_t>(pixelCount());
    const int64_t seed = flatSeedIndex(row, col, m_width);
    // The seed is written whatever it holds: one outside the image is refused.
    if (seed < 0 || seed >= count) return false;
    bool filled = false;
    size_t sampleBytes = 0;
    if (!ILDispatchSampleType(m_datatype, [&](auto tag) {
            using T = typename decltype(tag)::type;
            sampleBytes = sizeof(T);
            filled = fillEightConnected(reinterpret_cast<T*>(m_data), m_width, count, seed, matchValue, fillValue);
        }))
        return false;
    if (filled && out && out != m_data) std::memcpy(out, m_data, static_cast<size_t>(count) * sampleBytes);
    return filled;
}

bool CILImageBase::ImageSeedFill_4_Connected_Core(double row, double col, void* out, int matchValue, int fillValue)
{
    if (!hasPixels() || matchValue == kMarker) return false;
    const int64_t x = ILTruncToInt32(row);
    const int64_t y = ILTruncToInt32(col);
    if (x < 1 || x > static_cast<int64_t>(m_width) - 2 || y < 1 || y > static_cast<int64_t>(m_height) - 2)
        return false;
    size_t sampleBytes = 0;
    bool filled = false;
    if (!ILDispatchSampleType(m_datatype, [&](auto tag) {
            using T = typename decltype(tag)::type;
            sampleBytes = sizeof(T);
            filled = fillFourConnected(reinterpret_cast<T*>(m_data), m_width, m_height, x, y, matchValue, fillValue);
        }) ||
        !filled)
        return false;
    if (out && out != m_data) std::memcpy(out, m_data, pixelCount() * sampleBytes);
    return true;
}

bool CILImageBase::seedFillInPlace(bool (CILImageBase::*core)(double, double, void*, int, int), double row,
                                   double col, int matchValue, int fillValue)
{
    const size_t sampleBytes = ILSampleBytes(m_datatype);
    if (!hasPixels() || sampleBytes == 0) return false;
    const size_t bytes = pixelCount() * sampleBytes;
    std::unique_ptr<unsigned char[]> result(new (std::nothrow) unsigned char[bytes > 0 ? bytes : 1]);
    if (!result) return false;
    // The copy starts as the image, so a fill that refuses to start leaves
    // the image as it was when the copy is written back.
    if (bytes > 0) std::memcpy(result.get(), m_data, bytes);
    (this->*core)(row, col, result.get(), matchValue, fillValue);
    if (bytes > 0) std::memcpy(m_data, result.get(), bytes);
    return true;
}

bool CILImageBase::ImageSeedFill(double row, double col, void* out, int matchValue, int fillValue)
{
    if (out) return ImageSeedFill_Core(row, col, out, matchValue, fillValue);
    // These refusals answer false on the in-place path too.
    if (matchValue == kMarker) return false;
    const int64_t seed = flatSeedIndex(row, col, m_width);
    if (seed < 0 || seed >= static_cast<int64_t>(pixelCount())) return false;
    return seedFillInPlace(&CILImageBase::ImageSeedFill_Core, row, col, matchValue, fillValue);
}

bool CILImageBase::ImageSeedFill_4_Connected(double row, double col, void* out, int matchValue, int fillValue)
{
    if (out) return ImageSeedFill_4_Connected_Core(row, col, out, matchValue, fillValue);
    // The answer is true whenever the work copy exists, even when the fill
    // refuses to start (255, a seed outside the window): deliberately so.
    return seedFillInPlace(&CILImageBase::ImageSeedFill_4_Connected_Core, row, col, matchValue, fillValue);
}
