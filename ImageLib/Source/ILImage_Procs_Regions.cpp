// ILImage_Procs_Regions.cpp - CILImage region and measurement members: line
// profiles, region statistics under the image's mask, and the wrappers of the
// seed fills, contour tracing, point sampling and hole operations, which
// refresh the statistics of the image that received pixels.
#include "ILImage.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"
#include "ILLineProfile.h"
#include "ILRegions.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImage_Procs"

namespace {

// Reads single samples as doubles; `samples` is null for an image without
// data.
template <typename T>
struct PointReader {
    const T* samples;
    int64_t width;
    int64_t height;

    bool inside(int64_t row, int64_t col) const { return col >= 0 && col < width && row >= 0 && row < height; }
    EILSTATUS read(int64_t row, int64_t col, double* value) const
    {
        if (!samples) return eILNoData;
        if (!inside(row, col)) return eILInvalidArgument;
        *value = static_cast<double>(samples[row * width + col]);
        return eILSuccess;
    }
};

// The integer end points of a line: x is the column, y the row.
struct LineEnds {
    int64_t x1, y1, x2, y2;
};

// Where the samples of one line go: at most `capacity` of them.
struct LineSamples {
    double* values;
    size_t capacity;
    size_t count;
};

template <typename T>
EILSTATUS takePoint(const PointReader<T>& reader, int64_t row, int64_t col, LineSamples& out)
{
    double value = 0.0;
    const EILSTATUS status = reader.read(row, col, &value);
    if (status != eILSuccess) return status;
    // Only in-image points get here, one per row or column: never reached.
    if (out.count >= out.capacity) return eILInvalidArgument;
    out.values[out.count++] = value;
    return eILSuccess;
}

// A segment neither horizontal nor vertical, through slope and intercept in
// single precision, stepped along its longer axis in increasing order
// whatever the order of the end points. The first point that cannot be read
// ends the line with its status.
template <typename T>
EILSTATUS sampleSegment(const PointReader<T>& reader, const LineEnds& e, LineSamples& out)
{
    const float slope = static_cast<float>(e.y2 - e.y1) / static_cast<float>(e.x2 - e.x1);
    const float intercept = static_cast<float>(e.y1) - static_cast<float>(e.x1) * slope;
    const bool alongY = std::llabs(e.x2 - e.x1) <= std::llabs(e.y2 - e.y1);
    const int64_t from = alongY ? std::min(e.y1, e.y2) : std::min(e.x1, e.x2);
    const int64_t to = alongY ? std::max(e.y1, e.y2) : std::max(e.x1, e.x2);
    for (int64_t t = from; t <= to; ++t) {
        const float position = static_cast<float>(t);
        const EILSTATUS status =
            alongY ? takePoint(reader, t, ILTruncToInt32((position - intercept) / slope), out)
                   : takePoint(reader, ILTruncToInt32(position * slope + intercept), t, out);
        if (status != eILSuccess) return status;
    }
    return eILSuccess;
}

// Samples one line into `out`. Rows and columns must lie in the image and
// give the in-image part from the first end to the second (nothing when the
// ends are reversed); a point outside the image gives status 1.
template <typename T>
EILSTATUS sampleLine(const PointReader<T>& reader, const LineEnds& e, LineSamples& out)
{
    out.count = 0;
    if (!reader.samples) return eILNoData;
    if (e.x1 != e.x2 && e.y1 != e.y2) return sampleSegment(reader, e, out);
    if (e.x1 != e.x2) {
        if (e.y1 < 0 || e.y1 >= reader.height) return eILInvalidArgument;
        for (int64_t x = std::max<int64_t>(e.x1, 0); x <= std::min(e.x2, reader.width - 1); ++x)
            takePoint(reader, e.y1, x, out);
        return eILSuccess;
    }
    if (e.y1 != e.y2) {
        if (e.x1 < 0 || e.x1 >= reader.width) return eILInvalidArgument;
        for (int64_t y = std::max<int64_t>(e.y1, 0); y <= std::min(e.y2, reader.height - 1); ++y)
            takePoint(reader, y, e.x1, out);
        return eILSuccess;
    }
    if (!reader.inside(e.y1, e.x1)) return static_cast<EILSTATUS>(1);
    return takePoint(reader, e.y1, e.x1, out);
}

// Averages `lineWidth` parallel lines, moved across by -lineWidth/2 up to
// lineWidth - lineWidth/2 - 1: rows for row and horizontal kinds, columns
// for the others. Lines that cannot be sampled are left out; the profile
// takes as many samples as the last line that could be sampled gave.
template <typename T>
int averagedProfile(const PointReader<T>& reader, const LineEnds& base, bool moveRows, int lineWidth, double* sum,
                    double* line, size_t length, CILLineProfile& profile)
{
    std::fill(sum, sum + length, 0.0);
    const int64_t half = lineWidth / 2;
    int lines = 0;
    size_t lastCount = 0;
    for (int64_t k = -half; k <= lineWidth - half - 1; ++k) {
        LineEnds ends = base;
        (moveRows ? ends.y1 : ends.x1) += k;
        (moveRows ? ends.y2 : ends.x2) += k;
        LineSamples out = {line, length, 0};
        if (sampleLine(reader, ends, out) != eILSuccess) continue;
        ++lines;
        lastCount = out.count;
        for (size_t i = 0; i < out.count; ++i) sum[i] += line[i];
    }
    if (lines > 0)
        for (size_t i = 0; i < length; ++i) sum[i] /= lines;
    return profile.initWithArray(sum, lastCount, eDouble) ? 1 : 0;
}

} // namespace

int CILImage::lineProfile(CILLineProfile& profile)
{
    const size_t length = static_cast<size_t>(std::hypot(static_cast<double>(m_width), static_cast<double>(m_height))) + 2;
    std::unique_ptr<double[]> samples(new (std::nothrow) double[length]);
    if (!samples) return 0;

    const IL_LINETYPES kind = profile.lineType();
    const int64_t number = profile.lineNumber();
    LineEnds ends = {0, 0, 0, 0};
    switch (kind) {
    case eLineRow: ends = LineEnds{0, number, static_cast<int64_t>(m_width), number}; break;
    case eLineColumn: ends = LineEnds{number, 0, number, static_cast<int64_t>(m_height)}; break;
    case eLineSegment:
    case eLineArbitrary:
    case eLineHorizontal:
    case eLineVertical:
    case eLinePoint:
        ends = LineEnds{ILTruncToInt32(profile.x1()), ILTruncToInt32(profile.y1()), ILTruncToInt32(profile.x2()),
                        ILTruncToInt32(profile.y2())};
        break;
    default: IL_ASSERT_UNKNOWN_TYPE(); return 0;
    }

    // Only rows and columns are averaged over a width; other segments are
    // sampled once whatever their width.
    const bool moveRows = (kind == eLineRow || kind == eLineHorizontal);
    const bool moveColumns = (kind == eLineColumn || kind == eLineVertical);
    std::unique_ptr<double[]> line;
    if (profile.lineWidth() >= 2 && (moveRows || moveColumns)) {
        const int64_t x1 = ends.x1, y1 = ends.y1, x2 = ends.x2, y2 = ends.y2;
        if (kind == eLineHorizontal) IL_ASSERT(y1 == y2);
        if (kind == eLineVertical) IL_ASSERT(x1 == x2);
        line.reset(new (std::nothrow) double[length]);
    }

    int result = 0;
    if (!ILDispatchSampleType(m_datatype, [&](auto tag) {
            using T = typename decltype(tag)::type;
            const PointReader<T> reader = {hasPixels() ? reinterpret_cast<const T*>(m_data) : nullptr, m_width,
                                           m_height};
            if (line) {
                result = averagedProfile(reader, ends, moveRows, profile.lineWidth(), samples.get(), line.get(), length,
                                         profile);
                return;
            }
            LineSamples out = {samples.get(), length, 0};
            if (sampleLine(reader, ends, out) == eILSuccess)
                result = profile.initWithArray(samples.get(), out.count, eDouble) ? 1 : 0;
        }))
        IL_ASSERT_UNKNOWN_TYPE();
    return result;
}

EILSTATUS CILImage::imageStats(tagImageStatsInfo* info, bool updateImage, const char* mask, int colStart, int rowStart)
{
    const char* statsMask = mask;
    if (!statsMask && m_ImageMask) {
        if (m_ImageMask->maskType() != eByteMask) {
            ILReportAssertion(L"m_ImageMask->maskType()==eByteMask", L"ImageLib/Source/ILImage", __LINE__);
            return eILInvalidArgument;
        }
        // Read one byte per pixel: a smaller mask is refused.
        statsMask = static_cast<const char*>(m_ImageMask->get_maskdata());
        if (statsMask && m_ImageMask->masksizeBytes() < pixelCount()) return eILInvalidArgument;
    }
    const EILSTATUS status = getImageStats(info, statsMask, colStart, rowStart, 0, 0);
    if (updateImage && status == eILSuccess) {
        m_max = ILNarrowToFloat(info->dMax);
        m_min = ILNarrowToFloat(info->dMin);
        // The mean goes through single precision on purpose.
        m_mean = static_cast<double>(ILNarrowToFloat(info->dMean));
    }
    return status;
}

bool CILImage::ImageSeedFill(double row, double col, CILImage& dest, int matchValue, int fillValue)
{
    // `dest`'s buffer receives a copy of this image's samples.
    if (dest.m_data && !(dest.hasPixels() && dest.m_sizeinbytes >= pixelCount() * ILSampleBytes(m_datatype)))
        return false;
    return refreshed(dest, CILImageBase::ImageSeedFill(row, col, dest.m_data, matchValue, fillValue));
}

bool CILImage::ImageSeedFill_4_Connected(double row, double col, CILImage& dest, int matchValue, int fillValue)
{
    if (dest.m_data && !(dest.hasPixels() && dest.m_sizeinbytes >= pixelCount() * ILSampleBytes(m_datatype)))
        return false;
    return refreshed(dest, CILImageBase::ImageSeedFill_4_Connected(row, col, dest.m_data, matchValue, fillValue));
}

bool CILImage::ContourTrace(CILImage& dest, tagContourTraceInfo* info, int value)
{
    const bool byteImageOfThisSize =
        dest.m_datatype == eByte && dest.m_width == m_width && dest.m_height == m_height && dest.hasPixels();
    if (!byteImageOfThisSize) {
        // Re-shaping this image itself would lose the samples to be traced.
        if (&dest == this) return false;
        if (!dest.InitWithType(eByte, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height))) return false;
        if (dest.m_sizeinbytes > 0) std::memset(dest.m_data, 0, dest.m_sizeinbytes);
    }
    // A null buffer would send the trace down its destructive path.
    if (!dest.m_data) return false;
    return refreshed(dest, CILImageBase::ContourTrace(info, value, reinterpret_cast<char*>(dest.m_data)));
}

bool CILImage::getImageValueForXY(double row, double col, float* value)
{
    return CILImageBase::getImageValueForXY(row, col, value) != eILSuccess;
}

bool CILImage::getXYPosThroughScanLine(int value, double* row, double* col)
{
    return CILImageBase::getXYPosThroughScanLine(value, row, col);
}

EILSTATUS CILImage::LabelHolesInImage(CILImage& labels, uint32_t* holeCount)
{
    const EILSTATUS status = CILImageBase::LabelHolesInImage(labels, holeCount);
    refreshed(labels, status == eILSuccess);
    return status;
}

EILSTATUS CILImage::closeAllHolesInImage()
{
    const EILSTATUS status = CILImageBase::closeAllHolesInImage();
    refreshed(*this, status == eILSuccess);
    return status;
}
