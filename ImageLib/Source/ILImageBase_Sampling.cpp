// ILImageBase_Sampling.cpp - single-point sampling of the pixel buffer (the
// value at a position, the last position of a value) and the integer line
// rasteriser used to bridge gaps in traced contours.
#include "ILImageBase.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"
#include "ILRegions.h"

#include <cstdint>
#include <cstdlib>
#include <list>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase"

EILSTATUS CILImageBase::getImageValueForXY(double row, double col, float* value)
{
    if (!hasPixels()) return eILNoData;
    // The flat index of the truncated position: a column past the width reads
    // on into the next row; an index outside the buffer is refused.
    const int64_t index = static_cast<int64_t>(ILTruncToInt32(col)) +
                          static_cast<int64_t>(ILTruncToInt32(row)) * m_width;
    if (index < 0 || index >= static_cast<int64_t>(pixelCount())) return eILInvalidArgument;
    if (!ILDispatchSampleType(m_datatype, [&](auto tag) {
            using T = typename decltype(tag)::type;
            if (value) *value = ILConvertSample<float>(reinterpret_cast<const T*>(m_data)[index]);
        })) {
        IL_ASSERT_UNKNOWN_TYPE();
        return eILInvalidArgument;
    }
    return eILSuccess;
}

bool CILImageBase::getXYPosThroughScanLine(int value, double* row, double* col)
{
    if (!hasPixels()) return false;
    int64_t found = -1;
    const int64_t count = static_cast<int64_t>(pixelCount());
    if (!ILDispatchSampleType(m_datatype, [&](auto tag) {
            using T = typename decltype(tag)::type;
            const T* samples = reinterpret_cast<const T*>(m_data);
            // Backwards from the last sample: the first match is the last
            // occurrence in row-major order.
            for (int64_t i = count - 1; i >= 0 && found < 0; --i)
                if (ILSampleEqualsInt(samples[i], value)) found = i;
        })) {
        IL_ASSERT_UNKNOWN_TYPE();
        return false;
    }
    const double foundRow = found < 0 ? 0.0 : static_cast<double>(found / m_width);
    const double foundCol = found < 0 ? 0.0 : static_cast<double>(found % m_width);
    if (row) *row = foundRow;
    if (col) *col = foundCol;
    return true;
}

void CILImageBase::getIntermediatePoints(int x1, int y1, int x2, int y2, std::list<int>& xs, std::list<int>& ys)
{
    const int64_t dx = std::llabs(static_cast<int64_t>(x2) - x1);
    const int64_t dy = std::llabs(static_cast<int64_t>(y2) - y1);
    const bool alongX = dx >= dy;
    const int64_t major = alongX ? dx : dy;
    const int64_t minor = alongX ? dy : dx;
    const int64_t majorStep = (alongX ? x2 >= x1 : y2 >= y1) ? 1 : -1;
    const int64_t minorStep = (alongX ? y2 >= y1 : x2 >= x1) ? 1 : -1;
    int64_t x = x1, y = y1;
    int64_t& along = alongX ? x : y;
    int64_t& across = alongX ? y : x;
    // Doubled error term: the minor coordinate moves when the error turns
    // positive, so a point exactly half-way stays on the start's side.
    int64_t error = 2 * minor - major;
    for (int64_t step = 1; step < major; ++step) {
        if (error > 0) {
            across += minorStep;
            error -= 2 * major;
        }
        error += 2 * minor;
        along += majorStep;
        if (!xs.empty() && xs.back() == x && ys.back() == y) continue;
        xs.push_back(static_cast<int>(x));
        ys.push_back(static_cast<int>(y));
    }
}
