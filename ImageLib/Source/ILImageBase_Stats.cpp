// ILImageBase_Stats.cpp - measurement passes over the pixel buffer: region
// statistics (extremes with their positions, mean, standard deviation, sum,
// count) over a rectangle and a byte mask, and the particle analysis of a
// binary image (area, coordinate sums and membership maps).
#include "ILImageBase.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"
#include "ILRegions.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase"

namespace {

// Rows [rowStart, rowEnd) and columns [colStart, colEnd) of the statistics;
// a pixel's index is row * width + col, so columns past the width carry on
// into the next row.
struct StatsRect {
    int64_t rowStart, rowEnd, colStart, colEnd;
    int64_t width;
};

// Calls visit(value, row, col) for every pixel of the rectangle whose mask
// byte (at the pixel's own index) is not 0, row by row.
template <typename T, typename Visit>
void forEachCounted(const T* samples, const char* mask, const StatsRect& rect, Visit&& visit)
{
    for (int64_t row = rect.rowStart; row < rect.rowEnd; ++row) {
        for (int64_t col = rect.colStart; col < rect.colEnd; ++col) {
            const int64_t index = row * rect.width + col;
            if (mask && mask[index] == 0) continue;
            visit(samples[index], row, col);
        }
    }
}

// The first pass's running state. Positions live in the sample's own type,
// so byte and 16-bit images keep them modulo 256 and 65536.
template <typename T>
struct ExtremesScan {
    T min, max;
    T minRow, minCol, maxRow, maxCol;
    double sum;
    uint32_t count;
};

template <typename T>
void computeStats(const T* samples, const char* mask, const StatsRect& rect, tagImageStatsInfo* info)
{
    ExtremesScan<T> scan = {T(0), T(0), T(0), T(0), T(0), T(0), 0.0, 0};
    forEachCounted(samples, mask, rect, [&](T value, int64_t row, int64_t col) {
        if (scan.count == 0) scan.min = scan.max = value;
        // Ties go to the last pixel in scan order for both extremes.
        if (value >= scan.max) {
            scan.max = value;
            scan.maxRow = ILConvertSample<T>(static_cast<int32_t>(row));
            scan.maxCol = ILConvertSample<T>(static_cast<int32_t>(col));
        }
        if (scan.min >= value) {
            scan.minRow = ILConvertSample<T>(static_cast<int32_t>(row));
            scan.minCol = ILConvertSample<T>(static_cast<int32_t>(col));
        }
        scan.min = (scan.min < value) ? scan.min : value;
        scan.sum += static_cast<double>(value);
        ++scan.count;
    });

    info->nCount = scan.count;
    if (!info->bComputeStats) return;
    if (scan.count == 0) {
        info->dMin = info->dMax = info->dMean = info->dStdDev = info->dSum = 0.0;
        info->dMinRow = info->dMinCol = info->dMaxRow = info->dMaxCol = 0.0;
        return;
    }
    info->dMin = static_cast<double>(scan.min);
    info->dMax = static_cast<double>(scan.max);
    info->dMinRow = static_cast<double>(scan.minRow);
    info->dMinCol = static_cast<double>(scan.minCol);
    info->dMaxRow = static_cast<double>(scan.maxRow);
    info->dMaxCol = static_cast<double>(scan.maxCol);
    const double mean = scan.sum / scan.count;
    info->dMean = mean;
    info->dSum = scan.sum;
    info->dStdDev = 0.0;
    if (scan.count < 2) return;

    // Second pass over the same pixels: the sample standard deviation.
    double squares = 0.0;
    forEachCounted(samples, mask, rect, [&](T value, int64_t, int64_t) {
        const double deviation = static_cast<double>(value) - mean;
        squares += deviation * deviation;
    });
    info->dStdDev = std::sqrt(squares / (scan.count - 1));
}

// The particle analysis of the samples equal to 1 over rows rowStart and
// below, with the mask read from its first byte on.
template <typename T>
void analyseParticles(const T* samples, const char* mask, uint32_t width, uint32_t height, uint32_t rowStart,
                      uint32_t* map, uint32_t* map2, tagImageParticleAnalyzeInfo& result)
{
    for (uint32_t row = rowStart; row < height; ++row) {
        for (uint32_t col = 0; col < width; ++col) {
            const size_t index = static_cast<size_t>(row) * width + col;
            const char maskByte = mask ? *mask++ : 1;
            if (maskByte == 0) continue;
            if (!ILSampleEqualsInt(samples[index], 1)) {
                map[index] = map2[index] = 0;
                continue;
            }
            result.dArea += 1.0;
            result.dSumX += col;
            result.dSumY += row;
            // The squares and the product are formed in 32 bits and wrap.
            result.dSumXX += static_cast<uint32_t>(col * col);
            result.dSumYY += static_cast<uint32_t>(row * row);
            result.dSumXY += static_cast<uint32_t>(col * row);
            map[index] = map2[index] = 1;
            result.nLastRow = row;
            result.nLastCol = col;
        }
    }
}

} // namespace

EILSTATUS CILImageBase::getImageStats(tagImageStatsInfo* info, const char* mask, int colStart, int rowStart, int colEnd,
                                      int rowEnd)
{
    if (!hasPixels()) return eILNoData;
    if (!info) return eILNullArgument;
    StatsRect rect;
    rect.width = m_width;
    rect.rowStart = rowStart;
    rect.colStart = colStart;
    rect.rowEnd = (rowEnd == 0 || rowEnd <= rowStart) ? static_cast<int64_t>(m_height) : rowEnd;
    rect.colEnd = (colEnd == 0 || colEnd <= colStart) ? static_cast<int64_t>(m_width) : colEnd;
    // The indices grow with the row and the column, so the first and the last
    // pixel bound every index the rectangle touches.
    if (rect.rowStart < rect.rowEnd && rect.colStart < rect.colEnd) {
        const int64_t first = rect.rowStart * rect.width + rect.colStart;
        const int64_t last = (rect.rowEnd - 1) * rect.width + rect.colEnd - 1;
        if (first < 0 || last >= static_cast<int64_t>(pixelCount())) return eILInvalidArgument;
    }
    if (!ILDispatchSampleType(m_datatype, [&](auto tag) {
            using T = typename decltype(tag)::type;
            computeStats(reinterpret_cast<const T*>(m_data), mask, rect, info);
        })) {
        IL_ASSERT_UNKNOWN_TYPE();
        return eILInvalidArgument;
    }
    return eILSuccess;
}

EILSTATUS CILImageBase::getImageParticleAnalysisStats(tagImageParticleAnalyzeInfo* info, const char* mask, int,
                                                      int rowStart)
{
    if (!hasPixels()) return eILNoData;
    // Rows above the image do not exist.
    if (rowStart < 0) return eILInvalidArgument;
    const size_t count = pixelCount();
    // Entries the scan never reaches (rows above rowStart, masked pixels) stay 0.
    std::unique_ptr<uint32_t[]> map(new (std::nothrow) uint32_t[count > 0 ? count : 1]());
    std::unique_ptr<uint32_t[]> map2(new (std::nothrow) uint32_t[count > 0 ? count : 1]());
    if (!map || !map2) return eILAllocFailed;

    tagImageParticleAnalyzeInfo result;
    std::memset(&result, 0, sizeof result);
    if (!ILDispatchSampleType(m_datatype, [&](auto tag) {
            using T = typename decltype(tag)::type;
            analyseParticles(reinterpret_cast<const T*>(m_data), mask, m_width, m_height,
                             static_cast<uint32_t>(rowStart), map.get(), map2.get(), result);
        })) {
        IL_ASSERT_UNKNOWN_TYPE();
        return eILInvalidArgument;
    }
    if (!info) return eILSuccess;
    info->dArea = result.dArea;
    info->dSumX = result.dSumX;
    info->dSumY = result.dSumY;
    info->dSumXX = result.dSumXX;
    info->dSumYY = result.dSumYY;
    info->dSumXY = result.dSumXY;
    info->nLastRow = result.nLastRow;
    info->nLastCol = result.nLastCol;
    if (info->pParticleMap && info->pParticleMap2 && m_height >= 1) {
        std::memcpy(info->pParticleMap, map.get(), count * sizeof(uint32_t));
        std::memcpy(info->pParticleMap2, map2.get(), count * sizeof(uint32_t));
    }
    return eILSuccess;
}
