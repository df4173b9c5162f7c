// Holes of binary images: 4-connected background regions that do not reach
// the border are numbered in reading order, and closing sets them to 1.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

// A 5 x 5 ring of ones around the centre; `gap` (x, y) is left at 0.
std::vector<uint8_t> ring(int gapX = -1, int gapY = -1)
{
    std::vector<uint8_t> samples(25, 0);
    for (int y = 1; y <= 3; ++y)
        for (int x = 1; x <= 3; ++x)
            if (!(x == 2 && y == 2) && !(x == gapX && y == gapY)) samples[y * 5 + x] = 1;
    return samples;
}

std::vector<int32_t> holeLabels(const CILImageBase& image, uint32_t* count)
{
    CILImageBase source(image);
    CILImageBase labels;
    EXPECT_EQ(source.LabelHolesInImage(labels, count), eILSuccess);
    EXPECT_EQ(labels.get_datatype(), eLong);
    return samplesOf<int32_t>(labels);
}

} // namespace

TEST(Holes, AnEnclosedRegionIsAHoleAndOneReachingTheBorderIsNot)
{
    uint32_t count = 99;
    std::vector<int32_t> expected(25, 0);
    expected[12] = 1;
    EXPECT_EQ(holeLabels(makeImage<uint8_t>(eByte, 5, 5, ring()), &count), expected);
    EXPECT_EQ(count, 1u);

    // An opening on the right joins the centre to the border.
    EXPECT_EQ(holeLabels(makeImage<uint8_t>(eByte, 5, 5, ring(3, 2)), &count), std::vector<int32_t>(25, 0));
    EXPECT_EQ(count, 0u);

    // An opening at a corner touches the centre only diagonally: still a hole.
    EXPECT_EQ(holeLabels(makeImage<uint8_t>(eByte, 5, 5, ring(1, 1)), &count), expected);
    EXPECT_EQ(count, 1u);
}

TEST(Holes, HolesAreNumberedInReadingOrderAndDiagonalNeighboursStaySeparate)
{
    // Any non-zero sample is object, 255 included; the right hole is two
    // pixels tall.
    const std::vector<uint8_t> samples{0, 0, 0, 0, 0, 0, 0,
                                       0, 1, 1, 1, 1, 1, 0,
                                       0, 1, 0, 1, 0, 1, 0,
                                       0, 1, 1, 1, 0, 1, 0,
                                       0, 255, 255, 255, 255, 255, 0,
                                       0, 0, 0, 0, 0, 0, 0};
    uint32_t count = 0;
    std::vector<int32_t> expected(42, 0);
    expected[16] = 1;
    expected[18] = expected[25] = 2;
    EXPECT_EQ(holeLabels(makeImage<uint8_t>(eByte, 7, 6, samples), &count), expected);
    EXPECT_EQ(count, 2u);

    const std::vector<float> diagonal{0, 0, 0, 0, 0, 0,
                                      0, 1, 1, 1, 1, 0,
                                      0, 1, 0, 1, 1, 0,
                                      0, 1, 1, 0, 1, 0,
                                      0, 1, 1, 1, 1, 0,
                                      0, 0, 0, 0, 0, 0};
    std::vector<int32_t> two(36, 0);
    two[14] = 1;
    two[21] = 2;
    EXPECT_EQ(holeLabels(makeImage<float>(eFloat, 6, 6, diagonal), &count), two);
    EXPECT_EQ(count, 2u);
}

TEST(Holes, ClosingSetsTheHolesToOneAndLeavesTheOutsideAlone)
{
    CILImageBase image = makeImage<uint8_t>(eByte, 5, 5, ring());
    ASSERT_EQ(image.closeAllHolesInImage(), eILSuccess);
    std::vector<uint8_t> filled = ring();
    filled[12] = 1;
    EXPECT_EQ(samplesOf<uint8_t>(image), filled);

    CILImageBase open = makeImage<uint8_t>(eByte, 5, 5, ring(3, 2));
    ASSERT_EQ(open.closeAllHolesInImage(), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(open), ring(3, 2));

    // The labels may replace the image itself.
    CILImageBase self = makeImage<uint8_t>(eByte, 5, 5, ring());
    ASSERT_EQ(self.LabelHolesInImage(self, nullptr), eILSuccess);
    EXPECT_EQ(self.get_datatype(), eLong);
    EXPECT_EQ(samplesOf<int32_t>(self)[12], 1);

    CILImageBase empty;
    EXPECT_EQ(empty.closeAllHolesInImage(), eILNoData);
    EXPECT_EQ(empty.LabelHolesInImage(self, nullptr), eILNoData);
}

TEST(Holes, TheImageFormsRefreshTheImageThatChanged)
{
    CILImage image;
    std::vector<uint8_t> samples = ring();
    ASSERT_TRUE(image.initWithData(eByte, 5, 5, samples.data()));
    EXPECT_DOUBLE_EQ(image.Mean(), 8.0 / 25.0);
    CILImage labels;
    uint32_t count = 0;
    ASSERT_EQ(image.LabelHolesInImage(labels, &count), eILSuccess);
    EXPECT_EQ(labels.Max(), 1.0f);
    EXPECT_DOUBLE_EQ(labels.Mean(), 1.0 / 25.0);
    ASSERT_EQ(image.closeAllHolesInImage(), eILSuccess);
    EXPECT_DOUBLE_EQ(image.Mean(), 9.0 / 25.0);
    EXPECT_TRUE(image.isGLBufferDirty());
}
