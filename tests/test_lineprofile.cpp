// Line profiles (rows, columns and segments, averaged over a width) and the
// single-point sampling members.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

// A CILImage whose sample at (col, row) is col + 10 * row.
CILImage gridImage(int width, int height)
{
    std::vector<int32_t> samples;
    for (int row = 0; row < height; ++row)
        for (int col = 0; col < width; ++col) samples.push_back(col + 10 * row);
    CILImage image;
    image.initWithData(eLong, width, height, samples.data());
    return image;
}

// The samples of a profile; none for a profile that was never filled.
std::vector<double> valuesOf(const CILLineProfile& profile)
{
    if (profile.getData(eDouble, nullptr) == static_cast<size_t>(-1)) return {};
    std::vector<double> out(profile.numPoints());
    if (!out.empty()) profile.getData(eDouble, out.data());
    return out;
}

// The profile of `image` after `setUp` has described the line.
template <typename SetUp>
std::vector<double> profileOf(CILImage& image, SetUp setUp, int expectedResult = 1)
{
    CILLineProfile profile;
    setUp(profile);
    EXPECT_EQ(image.lineProfile(profile), expectedResult);
    return valuesOf(profile);
}

} // namespace

TEST(LineProfile, SetLinePointsTestsThePointTolerantlyAndTheAxesExactly)
{
    CILLineProfile profile;
    EXPECT_EQ(profile.lineType(), eLineRow);
    EXPECT_EQ(profile.lineNumber(), 0);
    EXPECT_EQ(profile.lineWidth(), 1);
    profile.setLinePoints(3, 4, 3, 9);
    EXPECT_EQ(profile.lineType(), eLineVertical);
    profile.setLinePoints(3, 4, 8, 4);
    EXPECT_EQ(profile.lineType(), eLineHorizontal);
    profile.setLinePoints(3, 4, 3, 4);
    EXPECT_EQ(profile.lineType(), eLinePoint);
    profile.setLinePoints(0, 0, 5, 2);
    EXPECT_EQ(profile.lineType(), eLineArbitrary);
    profile.setLinePoints(1, 1, 1 + 1e-9, 1 - 1e-9);
    EXPECT_EQ(profile.lineType(), eLinePoint);
    profile.setLinePoints(1, 1, 1 + 1e-9, 2);
    EXPECT_EQ(profile.lineType(), eLineArbitrary);
}

TEST(LineProfile, SettersKeepTheWidthPositiveAndCopiesCarryEverything)
{
    CILLineProfile profile;
    profile.setLineNumber(3, 5);
    profile.setLineType(eLineColumn, 9);  // keeps the width
    EXPECT_EQ(profile.lineWidth(), 5);
    profile.setLineWidth(-4, 7);
    EXPECT_EQ(profile.lineWidth(), 1);
    EXPECT_EQ(profile.lineNumber(), 7);
    profile.setLineType(eLineSegment, 2, 0);
    EXPECT_EQ(profile.lineWidth(), 1);
    profile.setLineWidth(3, 1, eLineRow);

    CILImage image = gridImage(4, 3);
    ASSERT_EQ(image.lineProfile(profile), 1);
    CILLineProfile copy(profile);
    CILLineProfile assigned;
    assigned = profile;
    for (const CILLineProfile* p : {&copy, &assigned}) {
        EXPECT_EQ(p->lineType(), eLineRow);
        EXPECT_EQ(p->lineNumber(), 1);
        EXPECT_EQ(p->lineWidth(), 3);
        EXPECT_EQ(valuesOf(*p), (std::vector<double>{10, 11, 12, 13}));
    }
}

TEST(LineProfile, RowsAndColumnsCoverTheImageAndAverageOverTheWidth)
{
    CILImage image = gridImage(4, 3);
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLineNumber(1, eLineRow); }),
              (std::vector<double>{10, 11, 12, 13}));
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLineNumber(2, eLineColumn); }),
              (std::vector<double>{2, 12, 22}));
    // Width 2 takes the line before and the line itself.
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLineNumber(1, eLineRow, 2); }),
              (std::vector<double>{5, 6, 7, 8}));
    // Width 4 at row 1: rows -1 to 2, the first left out.
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLineNumber(1, eLineRow, 4); }),
              (std::vector<double>{10, 11, 12, 13}));
    // A horizontal segment averages like a row.
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) {
                  p.setLinePoints(1, 1, 2, 1);
                  p.setLineWidth(3);
              }),
              (std::vector<double>{11, 12}));
}

TEST(LineProfile, AveragedLinesOutsideTheImageAreLeftOutAtEitherBorder)
{
    CILImage image = gridImage(4, 3);
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLineNumber(0, eLineRow, 3); }),
              (std::vector<double>{5, 6, 7, 8}));
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLineNumber(2, eLineRow, 3); }),
              (std::vector<double>{15, 16, 17, 18}));
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLineNumber(0, eLineColumn, 3); }),
              (std::vector<double>{0.5, 10.5, 20.5}));
    // No line inside at all: an empty profile.
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLineNumber(9, eLineRow, 3); }), std::vector<double>{});
    // A single row outside the image fails.
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLineNumber(3, eLineRow); }, 0), std::vector<double>{});
}

TEST(LineProfile, SegmentsRunInIncreasingOrderWhateverTheirEnds)
{
    CILImage image = gridImage(5, 5);
    const std::vector<double> shallow{0, 1, 12, 13, 24};
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLinePoints(0, 0, 4, 2); }), shallow);
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLinePoints(4.7, 2.2, 0, 0); }), shallow);
    // Steep: x = (y + 4) / 4 truncated.
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLinePoints(1, 0, 2, 4); }),
              (std::vector<double>{1, 11, 21, 31, 42}));
    // Horizontal right to left gives nothing; a point gives its sample.
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLinePoints(3, 1, 0, 1); }), std::vector<double>{});
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) { p.setLinePoints(2, 1, 2, 1); }), std::vector<double>{12});
    // Wider segments are sampled once.
    EXPECT_EQ(profileOf(image, [](CILLineProfile& p) {
                  p.setLinePoints(0, 0, 4, 2);
                  p.setLineWidth(3);
              }),
              shallow);
}

TEST(LineProfile, SegmentsAndPointsLeavingTheImageFailAndOddKindsAssert)
{
    CILImage image = gridImage(5, 3);
    profileOf(image, [](CILLineProfile& p) { p.setLinePoints(0, 0, 10, 5); }, 0);
    profileOf(image, [](CILLineProfile& p) { p.setLinePoints(7, 1, 7, 1); }, 0);
    {
        AssertRecorder recorder;
        profileOf(image, [](CILLineProfile& p) { p.setLineType(static_cast<IL_LINETYPES>(5)); }, 0);
        EXPECT_TRUE(recorder.saw(L"1==0", L"ImageLib/Source/ILImage_Procs"));
    }
    {
        // A horizontal kind set by hand over ends that are not: the rows
        // are still moved, after the check has spoken.
        AssertRecorder recorder;
        const std::vector<double> values = profileOf(image, [](CILLineProfile& p) {
            p.setLinePoints(0, 0, 4, 2);
            p.setLineType(eLineHorizontal, 0, 2);
        });
        EXPECT_TRUE(recorder.saw(L"y1 == y2", L"ImageLib/Source/ILImage_Procs"));
        EXPECT_EQ(values, (std::vector<double>{0, 1, 12, 13, 24}));
    }
}

TEST(PointSampling, TheValueIsReadAtTheTruncatedFlatIndex)
{
    std::vector<double> samples(20);
    for (int i = 0; i < 20; ++i) samples[i] = i + 0.1;
    CILImage image;
    ASSERT_TRUE(image.initWithData(eDouble, 5, 4, samples.data()));
    CILImageBase& base = image;
    float value = 0.0f;
    ASSERT_EQ(base.getImageValueForXY(1.9, 2.7, &value), eILSuccess);
    EXPECT_EQ(value, 7.1f);
    // A column past the width reads on into the next row.
    ASSERT_EQ(base.getImageValueForXY(0, 7, &value), eILSuccess);
    EXPECT_EQ(value, 7.1f);
    ASSERT_EQ(base.getImageValueForXY(-0.9, -0.9, &value), eILSuccess);
    EXPECT_EQ(value, 0.1f);
    value = -1.0f;
    EXPECT_EQ(base.getImageValueForXY(4, 0, &value), eILInvalidArgument);
    EXPECT_EQ(base.getImageValueForXY(0, -1, &value), eILInvalidArgument);
    EXPECT_EQ(base.getImageValueForXY(std::numeric_limits<double>::quiet_NaN(), 0, &value), eILInvalidArgument);
    EXPECT_EQ(value, -1.0f);
    EXPECT_EQ(base.getImageValueForXY(3, 4, nullptr), eILSuccess);

    // The image object's form answers the other way round.
    EXPECT_FALSE(image.getImageValueForXY(3, 4, &value));
    EXPECT_EQ(value, 19.1f);
    EXPECT_TRUE(image.getImageValueForXY(5, 0, &value));
    CILImage empty;
    EXPECT_TRUE(empty.getImageValueForXY(0, 0, &value));
    EXPECT_EQ(static_cast<CILImageBase&>(empty).getImageValueForXY(0, 0, &value), eILNoData);
}

TEST(PointSampling, TheScanLineSearchReportsTheLastOccurrence)
{
    CILImage image;
    std::vector<uint8_t> bytes{4, 1, 4,
                               0, 4, 2};
    ASSERT_TRUE(image.initWithData(eByte, 3, 2, bytes.data()));
    double row = -1, col = -1;
    ASSERT_TRUE(image.getXYPosThroughScanLine(4, &row, &col));
    EXPECT_EQ(row, 1.0);
    EXPECT_EQ(col, 1.0);
    ASSERT_TRUE(image.getXYPosThroughScanLine(260, &row, &col));  // a byte is never 260
    EXPECT_EQ(row, 0.0);
    EXPECT_EQ(col, 0.0);
    ASSERT_TRUE(image.getXYPosThroughScanLine(1, nullptr, &col));
    EXPECT_EQ(col, 1.0);

    CILImageBase floats = makeImage<float>(eFloat, 2, 1, {2.0f, 2.5f});
    ASSERT_TRUE(floats.getXYPosThroughScanLine(2, &row, &col));
    EXPECT_EQ(col, 0.0);
    CILImageBase empty;
    EXPECT_FALSE(empty.getXYPosThroughScanLine(2, &row, &col));
}
