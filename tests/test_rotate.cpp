// Rotation by an arbitrary angle: nearest-sample inverse mapping in single
// precision, with and without enlargement.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Samples 1 .. width * height, row by row, in type T.
template <typename T> CILImageBase counting(QORDataTypes type, int width, int height)
{
    std::vector<T> samples;
    for (int i = 1; i <= width * height; ++i) samples.push_back(static_cast<T>(i));
    return makeImage<T>(type, width, height, samples);
}

} // namespace

TEST(Rotate, ZeroDegreesLeavesEverySampleInPlace)
{
    const CILImageBase doubles = makeImage<double>(eDouble, 3, 2, {-0.0, 1.25, 2.5, 1e300, -7.0, 0.1});
    const CILImageBase shorts = counting<uint16_t>(eUShort, 5, 3);
    for (bool enlarge : {false, true}) {
        CILImageBase image = doubles;
        ASSERT_TRUE(image.Rotate(0.0f, enlarge));
        EXPECT_EQ(image == doubles, 1);  // bitwise, so -0.0 stays -0.0
        image = shorts;
        ASSERT_TRUE(image.Rotate(0.0f, enlarge));
        EXPECT_EQ(image == shorts, 1);
    }
}

TEST(Rotate, QuarterTurnSamplesTheSourceCornersNotCentres)
{
    // 4 x 2 holding 1..8. The angle in radians is a hair above pi/2, so the
    // cosine is a tiny negative number: the top output row maps to source
    // column 4 (outside) and source column 0 is never reached.
    CILImageBase image = counting<uint8_t>(eByte, 4, 2);
    ASSERT_TRUE(image.Rotate(90.0f, true));
    EXPECT_EQ(image.get_width(), 2u);
    EXPECT_EQ(image.get_height(), 4u);
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{0, 0, 4, 8, 3, 7, 2, 6}));

    image = counting<uint8_t>(eByte, 4, 2);
    ASSERT_TRUE(image.Rotate(90.0f, false));
    EXPECT_EQ(image.get_width(), 4u);
    EXPECT_EQ(image.get_height(), 2u);
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{0, 4, 8, 0, 0, 3, 7, 0}));
}

TEST(Rotate, FortyFiveDegreesCutsOrEnlarges)
{
    // 4 x 4 holding 10 * y + x + 1: cos and sin are the same float here.
    CILImageBase image = makeImage<int32_t>(eLong, 4, 4, {1, 2, 3, 4, 11, 12, 13, 14, 21, 22, 23, 24, 31, 32, 33, 34});
    ASSERT_TRUE(image.Rotate(45.0f, false));
    EXPECT_EQ(image.get_width(), 4u);
    EXPECT_EQ(samplesOf<int32_t>(image),
              (std::vector<int32_t>{0, 0, 4, 0, 0, 3, 13, 24, 1, 12, 23, 23, 0, 21, 22, 33}));

    // 10 x 10 enlarges to 2 * 7.0710678 + 0.5 = 14 on each side; the four
    // corners are background and the sample beside the centre, (7, 7),
    // comes from source (5, 4).
    CILImageBase large = counting<float>(eFloat, 10, 10);
    ASSERT_TRUE(large.Rotate(45.0f, true));
    ASSERT_EQ(large.get_width(), 14u);
    ASSERT_EQ(large.get_height(), 14u);
    const std::vector<float> samples = samplesOf<float>(large);
    EXPECT_EQ(samples[0], 0.0f);
    EXPECT_EQ(samples[13], 0.0f);
    EXPECT_EQ(samples[13 * 14], 0.0f);
    EXPECT_EQ(samples[14 * 14 - 1], 0.0f);
    EXPECT_EQ(samples[7 * 14 + 7], 46.0f);
}

TEST(Rotate, DisplayImagesRefreshAndTheDestinationFormDoesNothing)
{
    CILImage image(counting<uint8_t>(eByte, 4, 4));
    image.RefreshImageStats();
    ASSERT_EQ(image.getMin(), 1.0f);
    CILImage dest(counting<uint8_t>(eByte, 2, 2));
    EXPECT_FALSE(image.Rotate(dest, 30.0f, false));
    EXPECT_EQ(image == counting<uint8_t>(eByte, 4, 4), 1);
    EXPECT_EQ(dest == counting<uint8_t>(eByte, 2, 2), 1);

    ASSERT_NE(image.getPixelsForGL(0), nullptr);
    ASSERT_FALSE(image.isGLBufferDirty());
    ASSERT_TRUE(image.Rotate(45.0f, false));
    EXPECT_EQ(image.getMin(), 0.0f);
    EXPECT_TRUE(image.isGLBufferDirty());

    CILImageBase none;
    EXPECT_FALSE(none.Rotate(10.0f, true));
}
