// ILImageBase_Procs1.cpp - region filling on byte masks: the contour mask
// flood fill with its growable point stack.
#include "ILImageBase.h"
#include "ILInternal.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase_Procs1"

namespace {

// Cell states of the already-visited buffer.
const char kNotReached = 0;
const char kPushed = 1;
const char kFilled = 3;

// The stack grows in steps of this many points.
const unsigned int kStackStep = 25;

typedef bool (*AddStackPointFn)(unsigned short x, unsigned short y, _tagUSHORT_POINT** stack,
                                unsigned int* capacity, unsigned int* count);

// The state shared by the steps of one contour fill.
struct ContourFill {
    char** rows;
    char** visited;
    unsigned int width;
    unsigned int height;
    char target;
    char fillValue;
    AddStackPointFn addPoint;
    _tagUSHORT_POINT* stack;
    unsigned int capacity;
    unsigned int count;
};

} // namespace

bool CILImageBase::fillContourMask_addStackPoint(unsigned short x, unsigned short y, _tagUSHORT_POINT** stack,
                                                 unsigned int* capacity, unsigned int* count)
{
    if (*capacity == 0) {
        std::free(*stack);
        *stack = static_cast<_tagUSHORT_POINT*>(std::calloc(kStackStep, sizeof(_tagUSHORT_POINT)));
        if (!*stack) return false;
        *capacity = kStackStep;
        *count = 0;
    } else if (*count >= *capacity) {
        if (*capacity > UINT32_MAX - kStackStep) return false;
        const unsigned int grown = *capacity + kStackStep;
        void* larger = std::realloc(*stack, static_cast<size_t>(grown) * sizeof(_tagUSHORT_POINT));
        if (!larger) return false;  // the old block stays with the caller
        *stack = static_cast<_tagUSHORT_POINT*>(larger);
        std::memset(*stack + *capacity, 0, kStackStep * sizeof(_tagUSHORT_POINT));
        *capacity = grown;
    }
    (*stack)[*count].x = x;
    (*stack)[*count].y = y;
    ++*count;
    return true;
}

namespace {

// Pushes (c, r) when it lies inside the mask, holds the target and has not
// been reached yet; marks it as pushed. Coordinates are stored in 16 bits.
// False only when the stack cannot grow.
bool pushIfFillable(ContourFill& fill, unsigned int c, unsigned int r)
{
    if (c >= fill.width || r >= fill.height) return true;
    if (fill.rows[r][c] != fill.target || fill.visited[r][c] != kNotReached) return true;
    if (!fill.addPoint(static_cast<unsigned short>(c), static_cast<unsigned short>(r), &fill.stack, &fill.capacity,
                       &fill.count))
        return false;
    fill.visited[r][c] = kPushed;
    return true;
}

// Fills cell (c, r) when it holds the target, then pushes its neighbours:
// below; with eight neighbours below-left and below-right; left; right; with
// eight neighbours above-left and above-right; above. Column 0 minus one
// wraps to a value outside the mask and is skipped like any outside cell.
bool processCell(ContourFill& fill, unsigned int c, unsigned int r, bool eightConnected)
{
    if (fill.rows[r][c] == fill.target) {
        fill.rows[r][c] = fill.fillValue;
        fill.visited[r][c] = kFilled;
    }
    bool ok = pushIfFillable(fill, c, r + 1);
    if (ok && eightConnected && r + 1 < fill.height)
        ok = pushIfFillable(fill, c - 1, r + 1) && pushIfFillable(fill, c + 1, r + 1);
    ok = ok && pushIfFillable(fill, c - 1, r) && pushIfFillable(fill, c + 1, r);
    if (ok && eightConnected)
        ok = pushIfFillable(fill, c - 1, r - 1) && pushIfFillable(fill, c + 1, r - 1);
    return ok && pushIfFillable(fill, c, r - 1);
}

} // namespace

EILSTATUS CILImageBase::fillContourMask(unsigned int x, unsigned int y, char** rows, unsigned int width,
                                        unsigned int height, char fillValue, eFillContourLogicType logic,
                                        char** pAlreadyVisitedBuffer, unsigned int* reserved)
{
    (void)reserved;
    if (pAlreadyVisitedBuffer == NULL) {
        IL_ASSERT(pAlreadyVisitedBuffer != NULL);
        return eILNullArgument;
    }
    if (rows == NULL) return eILNullArgument;
    // The seed reduction divides by both sides.
    if (width == 0 || height == 0) return eILInvalidArgument;

    // The seed's row is reduced by the width and its column by the height:
    // crossed, and kept so. On a mask that is not square the reduced seed can
    // lie outside it; such a seed is refused.
    unsigned int r = y % width;
    unsigned int c = x % height;
    if (r >= height || c >= width) return eILInvalidArgument;

    ContourFill fill = {rows, pAlreadyVisitedBuffer, width, height, rows[r][c], fillValue,
                        &CILImageBase::fillContourMask_addStackPoint, NULL, 0, 0};
    for (unsigned int row = 0; row < height; ++row) std::memset(pAlreadyVisitedBuffer[row], kNotReached, width);

    const bool eightConnected = (logic == eFillContour8Connected);
    for (;;) {
        if (!processCell(fill, c, r, eightConnected)) {
            std::free(fill.stack);
            return eILAllocFailed;
        }
        if (fill.count == 0) break;
        const _tagUSHORT_POINT next = fill.stack[--fill.count];
        c = next.x % width;
        r = next.y % height;
    }
    std::free(fill.stack);
    return eILSuccess;
}
