// Point operations: the gamma curve scaled to the maximum, the polynomial
// replacement, absolute values and the display brightness rescale.
#include "FilterTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(PointOps, GammaIsScaledToTheMaximumWithASinglePrecisionQuotient)
{
    // g = 2: 64 -> floor(sqrt(64/255) x 255) = floor(127.7497...) = 127.
    forEverySampleType([](auto tag) {
        using T = decltype(tag);
        CILImageBase image = imageOf<T>(4, 1, {0, 64, 128, 255});
        ASSERT_TRUE(image.ApplyGamma(2.0f));
        const std::vector<T> mapped = samplesOf<T>(image);
        EXPECT_NEAR(mapped[1], std::is_integral<T>::value ? 127 : 127.74975538, 1e-4);
        EXPECT_NEAR(mapped[2], std::is_integral<T>::value ? 180 : 180.66543665, 1e-4);
        EXPECT_EQ(mapped[3], 255);
    });
    // 1 / 65535 as a float times 65535 lies just below 1: even g = 1 moves
    // small 16-bit samples down by one.
    CILImageBase shorts = makeImage<uint16_t>(eUShort, 4, 1, {1, 3, 100, 65535});
    ASSERT_TRUE(shorts.ApplyGamma(1.0f));
    EXPECT_EQ(samplesOf<uint16_t>(shorts), (std::vector<uint16_t>{0, 2, 99, 65535}));
}

TEST(PointOps, GammaRefusalsAndModifyGammaRecordingOnTheCallerOnly)
{
    CILImageBase zeros = makeImage<float>(eFloat, 2, 1, {0, 0});
    EXPECT_FALSE(zeros.ApplyGamma(2.0f));
    CILImage image, dest, wrongType, tooSmall;
    fillImage<uint8_t>(image, 2, 1, {64, 255});
    fillImage<uint8_t>(dest, 1, 2, {1, 1});  // other sides, same count: written as it is
    fillImage<uint16_t>(wrongType, 2, 1, {0, 0});
    fillImage<uint8_t>(tooSmall, 1, 1, {0});
    EXPECT_FALSE(image.ApplyGamma(2.0f, wrongType));
    EXPECT_FALSE(image.ApplyGamma(2.0f, tooSmall));
    EXPECT_FALSE(image.ModifyGamma(1.0f));  // already 1
    ASSERT_TRUE(image.ModifyGamma(2.0f, dest));
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{127, 255}));
    EXPECT_EQ(image.getGamma(), 2.0f);
    EXPECT_EQ(dest.getGamma(), 1.0f);
    EXPECT_EQ(dest.Max(), 1.0f);  // not refreshed
    ASSERT_TRUE(image.ModifyGamma(0.5f));  // 64 -> floor((64/255)^2 x 255) = 16
    EXPECT_EQ(image.Min(), 16.0f);
}

TEST(PointOps, PolynomialReplacesSamplesWithEachTypesStorageRule)
{
    float linear[2] = {10, 2}, minusOneAndHalf = -1.5f, identity[2] = {0, 1}, half[2] = {0, 0.5f};
    CILImageBase bytes = makeImage<uint8_t>(eByte, 2, 1, {100, 200});
    ASSERT_TRUE(bytes.polynomialAdd(2, linear));  // 410 keeps its low byte
    EXPECT_EQ(samplesOf<uint8_t>(bytes), (std::vector<uint8_t>{210, 154}));
    ASSERT_TRUE(bytes.polynomialAdd(1, &minusOneAndHalf));  // truncated to -1, not floored
    EXPECT_EQ(samplesOf<uint8_t>(bytes), (std::vector<uint8_t>{255, 255}));
    EXPECT_FALSE(bytes.polynomialAdd(1, nullptr));
    ASSERT_TRUE(bytes.polynomialAdd(-1, nullptr));
    EXPECT_EQ(samplesOf<uint8_t>(bytes), (std::vector<uint8_t>{0, 0}));

    CILImageBase longs = makeImage<int32_t>(eLong, 2, 1, {-3, 16777217});
    CILImageBase halves(longs);
    ASSERT_TRUE(halves.polynomialAdd(2, half));  // -1.5 floors to -2
    EXPECT_EQ(samplesOf<int32_t>(halves)[0], -2);
    ASSERT_TRUE(longs.polynomialAdd(2, identity));  // the power passes through float
    EXPECT_EQ(samplesOf<int32_t>(longs)[1], 16777216);

    float square[3] = {0, 0, 1};
    CILImage floats, dest;
    fillImage<float>(floats, 2, 1, {3, -1.5});
    ASSERT_TRUE(floats.polynomialAdd(3, square, dest));
    EXPECT_EQ(samplesOf<float>(dest), (std::vector<float>{9, 2.25f}));
    EXPECT_EQ(dest.Max(), 9.0f);
    EXPECT_EQ(samplesOf<float>(floats)[1], -1.5f);
}

TEST(PointOps, AbsKeepsTheMostNegativeLongAndBrightnessScalesDisplayBytes)
{
    CILImage longs;
    fillImage<int32_t>(longs, 3, 1, {-7, -2147483648.0, 5});
    ASSERT_TRUE(longs.abs());
    EXPECT_EQ(samplesOf<int32_t>(longs), (std::vector<int32_t>{7, INT32_MIN, 5}));
    EXPECT_EQ(longs.Min(), -2147483648.0f);  // cached values untouched
    CILImageBase floats = makeImage<float>(eFloat, 1, 1, {-0.0f});
    ASSERT_TRUE(floats.Abs());
    EXPECT_FALSE(std::signbit(samplesOf<float>(floats)[0]));

    // The brightest display byte (100) becomes the level; the rest in proportion.
    CILImage image;
    fillImage<uint8_t>(image, 2, 1, {0, 1});
    unsigned char* display = static_cast<unsigned char*>(image.getPixelsForGL(0));
    ASSERT_NE(display, nullptr);
    const unsigned char bytes[6] = {10, 100, 50, 0, 25, 99};
    std::memcpy(display, bytes, 6);
    image.AdjustRGBBrightness(200);
    EXPECT_EQ(std::vector<unsigned char>(display, display + 6),
              (std::vector<unsigned char>{20, 200, 100, 0, 50, 198}));
    EXPECT_FALSE(image.ModifyBrightness());
}
