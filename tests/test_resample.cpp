// Resampling in its four modes and re-binning of display images.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// A width x height image whose sample (x, y) is 10 * y + x.
CILImageBase tensAndUnits(int width, int height)
{
    std::vector<uint8_t> samples;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) samples.push_back(static_cast<uint8_t>(10 * y + x));
    return makeImage<uint8_t>(eByte, width, height, samples);
}

CILImage displayImage(const CILImageBase& pixels, float binning)
{
    CILImage image(pixels);
    image.RefreshImageStats();
    image.setBinningFactor(binning);
    return image;
}

} // namespace

TEST(Resample, NearestPicksTruncatedAccumulatedPositions)
{
    CILImageBase dest;
    ASSERT_EQ(tensAndUnits(4, 4).upSample(dest, 2, 2, eResampleNearest), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{0, 2, 20, 22}));

    // Enlarging a non-square image: steps 3/5 across and 2/3 down.
    ASSERT_EQ(tensAndUnits(3, 2).downSample(dest, 5, 3, eResampleNearest), eILSuccess);
    EXPECT_EQ(dest.get_width(), 5u);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{0, 0, 1, 1, 2, 0, 0, 1, 1, 2, 10, 10, 11, 11, 12}));

    // Nine additions of the float 1/3 stay just below 3, so the tenth sample
    // still comes from column 2 (index * step would give column 3).
    CILImageBase row = makeImage<uint8_t>(eByte, 4, 1, {10, 20, 30, 40});
    ASSERT_EQ(row.upSample(dest, 12, 1, eResampleNearest), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{10, 10, 10, 20, 20, 20, 30, 30, 30, 30, 40, 40}));
}

TEST(Resample, BilinearInterpolatesWithSinglePrecisionWeights)
{
    CILImageBase dest;
    CILImageBase image = makeImage<uint8_t>(eByte, 3, 2, {0, 100, 200, 50, 150, 250});
    ASSERT_EQ(image.upSample(dest, 3, 2, eResampleBilinear), eILSuccess);
    EXPECT_EQ(dest == image, 1);

    CILImageBase ends = makeImage<uint8_t>(eByte, 2, 1, {0, 255});
    ASSERT_EQ(ends.upSample(dest, 3, 1, eResampleBilinear), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{0, 127, 255}));  // 127.5 truncated

    CILImageBase square = makeImage<float>(eFloat, 2, 2, {0, 10, 20, 30});
    ASSERT_EQ(square.upSample(dest, 3, 3, eResampleBilinear), eILSuccess);
    EXPECT_EQ(samplesOf<float>(dest), (std::vector<float>{0, 5, 10, 10, 15, 20, 20, 25, 30}));

    // Narrower and taller: columns 0 and 2 of the only row, repeated.
    CILImageBase wide = makeImage<uint16_t>(eUShort, 3, 1, {7, 8, 9});
    ASSERT_EQ(wide.upSample(dest, 2, 3, eResampleBilinear), eILSuccess);
    EXPECT_EQ(samplesOf<uint16_t>(dest), (std::vector<uint16_t>{7, 9, 7, 9, 7, 9}));

    // Long samples go through float arithmetic; double samples stay double.
    CILImageBase longs = makeImage<int32_t>(eLong, 1, 1, {16777217});
    ASSERT_EQ(longs.upSample(dest, 1, 1, eResampleBilinear), eILSuccess);
    EXPECT_EQ(samplesOf<int32_t>(dest), (std::vector<int32_t>{16777216}));
    CILImageBase doubles = makeImage<double>(eDouble, 2, 1, {1e10, 1e10 + 1});
    ASSERT_EQ(doubles.upSample(dest, 3, 1, eResampleBilinear), eILSuccess);
    EXPECT_EQ(samplesOf<double>(dest)[1], 10000000000.5);
}

TEST(Resample, BlockModesUseIntegerBlocksAndWrapIntegerSums)
{
    CILImageBase dest;
    // 5 x 5 to 2 x 2: blocks of 2 x 2, the last row and column belong to none.
    ASSERT_EQ(tensAndUnits(5, 5).upSample(dest, 2, 2, eResampleAverage), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{5, 7, 25, 27}));
    ASSERT_EQ(tensAndUnits(5, 5).upSample(dest, 2, 2, eResampleSum), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{22, 30, 102, 110}));

    CILImageBase saturated = makeImage<uint8_t>(eByte, 2, 2, {255, 255, 255, 255});
    ASSERT_EQ(saturated.upSample(dest, 1, 1, eResampleSum), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{252}));

    // Non-square: 4 x 2 to 2 x 1 averages 2 x 2 blocks.
    CILImageBase floats = makeImage<float>(eFloat, 4, 2, {1, 2, 3, 4, 5, 6, 7, 9});
    ASSERT_EQ(floats.upSample(dest, 2, 1, eResampleAverage), eILSuccess);
    EXPECT_EQ(samplesOf<float>(dest), (std::vector<float>{3.5f, 5.75f}));

    // Enlarging gives empty blocks: every sample is 0.
    ASSERT_EQ(saturated.upSample(dest, 3, 3, eResampleAverage), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(dest), std::vector<uint8_t>(9, 0));
}

TEST(Resample, RefusalsAndTheInPlaceForm)
{
    CILImageBase image = tensAndUnits(4, 2);
    CILImageBase dest;
    EXPECT_EQ(image.upSample(dest, 0, 2, eResampleSum), eILInvalidArgument);
    EXPECT_EQ(image.upSample(dest, 2, 0, eResampleAverage), eILInvalidArgument);
    EXPECT_EQ(image.upSample(dest, 0, 2, eResampleNearest), eILSuccess);
    EXPECT_EQ(image.upSample(dest, -1, 2, eResampleNearest), eILAllocFailed);
    EXPECT_EQ(image.upSample(dest, 3, 3, static_cast<IL_RESAMPLEMODES>(9)), eILSuccess);
    EXPECT_EQ(dest.get_width(), 3u);

    // A byte image whose buffer is gone (a failed re-shape keeps the fields).
    CILImageBase lost = tensAndUnits(2, 2);
    ASSERT_FALSE(lost.InitWithType(eByte, -1, 1));
    EXPECT_EQ(lost.upSample(dest, 2, 2, eResampleNearest), eILNoData);
    EXPECT_EQ(image.upSample(2, 0, eResampleSum), eILInvalidArgument);
    EXPECT_EQ(image.get_width(), 4u);  // refused in place: unchanged
    EXPECT_EQ(image.downSample(2, 1, eResampleNearest), eILSuccess);
    EXPECT_EQ(image.get_width(), 2u);
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{0, 2}));
}

TEST(Resample, DisplayImagesRefreshOrInheritTheirState)
{
    CILImage image = displayImage(tensAndUnits(4, 4), 1.0f);
    image.setGamma(1.5f);
    CILImage dest;
    ASSERT_EQ(image.upSample(dest, 2, 2, eResampleSum), eILSuccess);
    EXPECT_EQ(dest.getGamma(), 1.5f);
    EXPECT_EQ(dest.getMax(), 110.0f);  // block (1, 1): 22 + 23 + 32 + 33

    CILImage shown = displayImage(tensAndUnits(4, 4), 1.0f);
    ASSERT_NE(shown.getPixelsForGL(0), nullptr);
    ASSERT_FALSE(shown.isGLBufferDirty());
    ASSERT_EQ(shown.downSample(2, 2, eResampleNearest), eILSuccess);
    EXPECT_EQ(shown.getMax(), 22.0f);
    EXPECT_TRUE(shown.isGLBufferDirty());
}

TEST(Rebin, CoarserBinningSumsBlocksAndConvertsBack)
{
    CILImage image = displayImage(makeImage<uint8_t>(eByte, 4, 2, {10, 20, 30, 40, 50, 60, 70, 80}), 2.0f);
    CILImage dest;
    ASSERT_EQ(image.changeBinning(4, dest), eILSuccess);
    EXPECT_EQ(dest.get_datatype(), eByte);
    EXPECT_EQ(dest.get_width(), 2u);
    EXPECT_EQ(dest.get_height(), 1u);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{140, 220}));
    EXPECT_EQ(dest.binningFactor(), 4.0f);
    EXPECT_EQ(image.get_width(), 4u);  // the source is untouched

    ASSERT_EQ(image.changeBinningAvg(4, dest), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{35, 55}));

    // A sum beyond a byte wraps on the way back (400 -> 144); sides that
    // would become 0 become 1 x 1.
    CILImage bright = displayImage(makeImage<uint8_t>(eByte, 2, 2, {100, 100, 100, 100}), 1.0f);
    ASSERT_EQ(bright.changeBinning(8, dest), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{144}));

    // k = 3 / 2 = 1: same pixels, new binning recorded.
    ASSERT_EQ(image.changeBinning(3, dest), eILSuccess);
    EXPECT_EQ(dest == image, 1);
    EXPECT_EQ(dest.binningFactor(), 3.0f);
}

TEST(Rebin, FinerBinningSpreadsPixelsOrGivesZerosWhenAveraging)
{
    CILImage image = displayImage(makeImage<uint8_t>(eByte, 2, 1, {0, 8}), 2.0f);
    CILImage dest;
    ASSERT_EQ(image.changeBinning(1, dest), eILSuccess);
    ASSERT_EQ(dest.get_width(), 4u);
    ASSERT_EQ(dest.get_height(), 2u);
    // Bilinear 0, 8/3, 16/3, 8, divided by 4, truncated back to bytes.
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{0, 0, 1, 2, 0, 0, 1, 2}));
    EXPECT_EQ(dest.binningFactor(), 1.0f);

    CILImage floats = displayImage(makeImage<float>(eFloat, 2, 1, {0, 8}), 2.0f);
    ASSERT_EQ(floats.changeBinning(1, dest), eILSuccess);
    EXPECT_EQ(dest.get_datatype(), eFloat);
    EXPECT_NEAR(samplesOf<float>(dest)[1], 2.0 / 3.0, 1e-6);
    EXPECT_EQ(dest.getMax(), 2.0f);

    ASSERT_EQ(image.changeBinningAvg(1, dest), eILSuccess);
    EXPECT_EQ(dest.get_width(), 4u);
    EXPECT_EQ(samplesOf<uint8_t>(dest), std::vector<uint8_t>(8, 0));
}

TEST(Rebin, UnchangedOrUndividableFactors)
{
    CILImage image = displayImage(makeImage<uint8_t>(eByte, 2, 2, {1, 2, 3, 4}), 2.0f);
    CILImage dest;
    ASSERT_EQ(image.changeBinning(2, dest), eILSuccess);
    EXPECT_EQ(dest == image, 1);

    // A stored 2.5 truncates to the requested 2: neither branch runs.
    image.setBinningFactor(2.5f);
    ASSERT_EQ(image.changeBinning(2, dest), eILSuccess);
    EXPECT_EQ(dest == image, 1);
    EXPECT_EQ(dest.binningFactor(), 2.5f);

    // A factor that truncates to 0, or a new binning of 0, would divide by 0.
    image.setBinningFactor(0.5f);
    EXPECT_EQ(image.changeBinning(2, dest), eILInvalidArgument);
    image.setBinningFactor(2.0f);
    EXPECT_EQ(image.changeBinningAvg(0, dest), eILInvalidArgument);
}
