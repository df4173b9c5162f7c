// Seed fills: the 8-connected block fill with its flat-index neighbourhoods
// and asymmetric bounds, the 4-connected scanline fill with its transposed
// window, the 255 marker, and the refusals.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

std::vector<uint8_t> zeros(size_t n) { return std::vector<uint8_t>(n, 0); }

} // namespace

TEST(SeedFill, EightConnectedBlocksWrapAtTheSidesAndAreNeverGrownAroundTheLastTwoRows)
{
    // Blocks can only be grown around indices 6 to 15, so the fill of a zero
    // image reaches indices 3 to 18 and no further.
    CILImageBase image = makeImage<uint8_t>(eByte, 5, 5, zeros(25));
    std::vector<uint8_t> out(25, 77);
    ASSERT_TRUE(image.ImageSeedFill(2, 2, out.data(), 0, 9));
    const std::vector<uint8_t> expected{0, 0, 0, 9, 9,
                                        9, 9, 9, 9, 9,
                                        9, 9, 9, 9, 9,
                                        9, 9, 9, 9, 0,
                                        0, 0, 0, 0, 0};
    EXPECT_EQ(samplesOf<uint8_t>(image), expected);
    EXPECT_EQ(out, expected);

    // The seed is a flat index: row 0, column 7 is row 1, column 2.
    CILImageBase wrapped = makeImage<uint8_t>(eByte, 5, 5, zeros(25));
    CILImageBase plain = makeImage<uint8_t>(eByte, 5, 5, zeros(25));
    ASSERT_TRUE(wrapped.ImageSeedFill(0, 7.9, nullptr, 0, 9));
    ASSERT_TRUE(plain.ImageSeedFill(1, 2, nullptr, 0, 9));
    EXPECT_EQ(samplesOf<uint8_t>(wrapped), samplesOf<uint8_t>(plain));
}

TEST(SeedFill, TheBlockBoundSparesOnlyTheFirstPixelOfTheSecondToLastRow)
{
    // Seed (3, 2) is index 17: 17 + 2 * 5 - 1 reaches past the end, so no
    // block is grown and only the forced seed changes.
    CILImageBase inner = makeImage<uint8_t>(eByte, 5, 5, zeros(25));
    ASSERT_TRUE(inner.ImageSeedFill(3, 2, nullptr, 0, 9));
    std::vector<uint8_t> seedOnly(25, 0);
    seedOnly[17] = 9;
    EXPECT_EQ(samplesOf<uint8_t>(inner), seedOnly);

    // Seed (3, 0) is index 15, the one pixel of that row with a block; the
    // block wraps to the ends of the rows above, so it takes column 0 of
    // rows 2 to 4 and nothing else.
    std::vector<uint8_t> column(25, 1);
    column[10] = column[15] = column[20] = 0;
    CILImageBase edge = makeImage<uint8_t>(eByte, 5, 5, column);
    ASSERT_TRUE(edge.ImageSeedFill(3, 0, nullptr, 0, 9));
    std::vector<uint8_t> expected(25, 0);
    expected[10] = expected[15] = expected[20] = 9;
    EXPECT_EQ(samplesOf<uint8_t>(edge), expected);
}

TEST(SeedFill, EightConnectedFillFollowsDiagonalsWhereTheScanlineFillStops)
{
    std::vector<float> diagonal(36, 0.0f);
    for (int i = 1; i <= 4; ++i) diagonal[i * 6 + i] = 2.0f;
    diagonal[5] = 2.0f;  // not connected to the diagonal

    CILImageBase eight = makeImage<float>(eFloat, 6, 6, diagonal);
    ASSERT_TRUE(eight.ImageSeedFill(1, 1, nullptr, 2, 5));
    std::vector<float> expected(36, 0.0f);
    for (int i = 1; i <= 4; ++i) expected[i * 6 + i] = 5.0f;
    EXPECT_EQ(samplesOf<float>(eight), expected);

    CILImageBase four = makeImage<float>(eFloat, 6, 6, diagonal);
    ASSERT_TRUE(four.ImageSeedFill_4_Connected(1, 1, nullptr, 2, 5));
    std::vector<float> alone(36, 0.0f);
    alone[7] = 5.0f;
    EXPECT_EQ(samplesOf<float>(four), alone);
}

TEST(SeedFill, AnyFormer255EndsAsTheFillValueAndTheSeedIsAlwaysSet)
{
    // Nothing matches 1, yet the old 255 and the seed both end as the fill
    // value; the fill value is cut to a byte (300 -> 44).
    std::vector<uint8_t> samples(25, 3);
    samples[24] = 255;
    CILImageBase image = makeImage<uint8_t>(eByte, 5, 5, samples);
    ASSERT_TRUE(image.ImageSeedFill(2, 2, nullptr, 1, 300));
    std::vector<uint8_t> expected(25, 0);
    expected[12] = 44;
    expected[24] = 44;
    EXPECT_EQ(samplesOf<uint8_t>(image), expected);

    // A byte never equals 256, and 255 (the marker) is refused outright.
    CILImageBase bytes = makeImage<uint8_t>(eByte, 3, 3, std::vector<uint8_t>(9, 0));
    ASSERT_TRUE(bytes.ImageSeedFill(1, 1, nullptr, 256, 7));
    EXPECT_EQ(samplesOf<uint8_t>(bytes), (std::vector<uint8_t>{0, 0, 0, 0, 7, 0, 0, 0, 0}));
}

TEST(SeedFill, EightConnectedRefusesTheMarkerValueAndSeedsOutsideTheImage)
{
    const std::vector<int32_t> samples(16, 255);
    CILImageBase image = makeImage<int32_t>(eLong, 4, 4, samples);
    std::vector<int32_t> out(16, 0);
    EXPECT_FALSE(image.ImageSeedFill(1, 1, out.data(), 255, 1));
    EXPECT_FALSE(image.ImageSeedFill(1, 1, nullptr, 255, 1));
    EXPECT_FALSE(image.ImageSeedFill(4, 0, nullptr, 0, 1));
    EXPECT_FALSE(image.ImageSeedFill(0, -1, out.data(), 0, 1));
    EXPECT_EQ(samplesOf<int32_t>(image), samples);
    EXPECT_EQ(out, std::vector<int32_t>(16, 0));

    CILImageBase empty;
    EXPECT_FALSE(empty.ImageSeedFill(0, 0, nullptr, 0, 1));
}

TEST(SeedFill, ScanlineFillStaysInsideTheWindowAndFillsAroundCorners)
{
    // A U of 2s inside the window, an isolated 2 inside it and a 2 on the
    // border next to the U: only the U is filled.
    std::vector<uint16_t> samples(49, 0);
    for (int r = 1; r <= 3; ++r) samples[r * 7 + 1] = samples[r * 7 + 5] = 2;
    for (int c = 1; c <= 5; ++c) samples[4 * 7 + c] = 2;
    samples[1 * 7 + 3] = 2;
    samples[0 * 7 + 1] = 2;
    CILImageBase image = makeImage<uint16_t>(eUShort, 7, 7, samples);
    std::vector<uint16_t> out(49, 0);
    ASSERT_TRUE(image.ImageSeedFill_4_Connected(4, 3, out.data(), 2, 1000));

    std::vector<uint16_t> expected(49, 0);
    for (int r = 1; r <= 3; ++r) expected[r * 7 + 1] = expected[r * 7 + 5] = 1000;
    for (int c = 1; c <= 5; ++c) expected[4 * 7 + c] = 1000;
    EXPECT_EQ(samplesOf<uint16_t>(image), expected);
    EXPECT_EQ(out, expected);

    // On a 3 x 3 image the window is the centre pixel alone.
    CILImageBase small = makeImage<uint8_t>(eByte, 3, 3, zeros(9));
    ASSERT_TRUE(small.ImageSeedFill_4_Connected(1, 1, nullptr, 0, 7));
    EXPECT_EQ(samplesOf<uint8_t>(small), (std::vector<uint8_t>{0, 0, 0, 0, 7, 0, 0, 0, 0}));
}

TEST(SeedFill, ScanlineWindowTakesRowsFromTheWidthAndColumnsFromTheHeight)
{
    // 4 wide, 6 high: rows 1..2 and "columns" 1..4, so pixels (x, y) with
    // index x * 4 + y run from 5 to 12, spilling into row 3.
    CILImageBase tall = makeImage<uint8_t>(eByte, 4, 6, zeros(24));
    ASSERT_TRUE(tall.ImageSeedFill_4_Connected(1, 1, nullptr, 0, 8));
    std::vector<uint8_t> expected(24, 0);
    for (int i = 5; i <= 12; ++i) expected[i] = 8;
    EXPECT_EQ(samplesOf<uint8_t>(tall), expected);

    // 6 wide, 3 high: rows 1..4 of column 1, but rows 3 and 4 lie beyond
    // the buffer and never match.
    CILImageBase wide = makeImage<uint8_t>(eByte, 6, 3, zeros(18));
    ASSERT_TRUE(wide.ImageSeedFill_4_Connected(1, 1, nullptr, 0, 8));
    std::vector<uint8_t> two(18, 0);
    two[7] = two[13] = 8;
    EXPECT_EQ(samplesOf<uint8_t>(wide), two);
    // Row 3 passes the window test but lies beyond the buffer: nothing is
    // marked, and the final pass still turns the image into zeros.
    EXPECT_TRUE(wide.ImageSeedFill_4_Connected(3, 1, nullptr, 8, 9));
    EXPECT_EQ(samplesOf<uint8_t>(wide), zeros(18));
}

TEST(SeedFill, ScanlineRefusalsAreFalseWithABufferButTrueInPlace)
{
    const std::vector<double> samples(25, 0.0);
    CILImageBase image = makeImage<double>(eDouble, 5, 5, samples);
    std::vector<double> out(25, 4.0);
    EXPECT_FALSE(image.ImageSeedFill_4_Connected(0, 2, out.data(), 0, 1));
    EXPECT_FALSE(image.ImageSeedFill_4_Connected(2, 0, out.data(), 0, 1));
    EXPECT_FALSE(image.ImageSeedFill_4_Connected(4, 2, out.data(), 0, 1));
    EXPECT_FALSE(image.ImageSeedFill_4_Connected(2, 2, out.data(), 255, 1));
    EXPECT_EQ(out, std::vector<double>(25, 4.0));
    // In place the answer is true whatever the fill said; the image is kept.
    EXPECT_TRUE(image.ImageSeedFill_4_Connected(0, 0, nullptr, 0, 1));
    EXPECT_TRUE(image.ImageSeedFill_4_Connected(2, 2, nullptr, 255, 1));
    EXPECT_EQ(samplesOf<double>(image), samples);
}

TEST(SeedFill, ImageFormsCopyIntoTheDestinationAndRefreshOnlyIt)
{
    CILImage image;
    std::vector<uint8_t> samples(25, 0);
    ASSERT_TRUE(image.initWithData(eByte, 5, 5, samples.data()));
    CILImage dest;
    ASSERT_TRUE(dest.initWithData(eByte, 5, 5, samples.data()));
    ASSERT_TRUE(image.ImageSeedFill(2, 2, dest, 0, 9));
    EXPECT_EQ(samplesOf<uint8_t>(dest), samplesOf<uint8_t>(image));
    EXPECT_FLOAT_EQ(dest.Max(), 9.0f);
    EXPECT_FLOAT_EQ(image.Max(), 0.0f);  // the filled image is not refreshed
    EXPECT_TRUE(dest.isGLBufferDirty());

    // A destination too small for the result is refused.
    CILImage small;
    ASSERT_TRUE(small.initWithData(eByte, 2, 2, samples.data()));
    EXPECT_FALSE(image.ImageSeedFill_4_Connected(2, 2, small, 9, 1));
    EXPECT_EQ(samplesOf<uint8_t>(small), std::vector<uint8_t>(4, 0));
}
