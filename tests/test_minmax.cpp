// The minimum/maximum scan: extremes, mean, non-zero extremes, mask and NaN rules.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

struct Survey {
    float min = -123, max = -123, nonZeroMin = -123, nonZeroMax = -123;
    double mean = -123;
};

Survey survey(CILImageBase& image, const std::vector<char>* mask = nullptr)
{
    Survey s;
    char* m = mask ? const_cast<char*>(mask->data()) : nullptr;
    EXPECT_TRUE(image.getMinMax(&s.min, &s.max, &s.mean, m, &s.nonZeroMin, &s.nonZeroMax));
    return s;
}

} // namespace

TEST(MinMax, ScansEveryTypeInItsOwnComparison)
{
    CILImageBase bytes = makeImage<uint8_t>(eByte, 3, 2, {0, 200, 5, 255, 0, 7});
    Survey s = survey(bytes);
    EXPECT_EQ(s.min, 0.0f);
    EXPECT_EQ(s.max, 255.0f);
    EXPECT_EQ(s.nonZeroMin, 5.0f);
    EXPECT_EQ(s.nonZeroMax, 255.0f);
    EXPECT_DOUBLE_EQ(s.mean, 467.0 / 6.0);

    CILImageBase shorts = makeImage<uint16_t>(eUShort, 2, 2, {40000, 3, 65535, 0});
    s = survey(shorts);
    EXPECT_EQ(s.min, 0.0f);
    EXPECT_EQ(s.max, 65535.0f);
    EXPECT_EQ(s.nonZeroMin, 3.0f);

    // Signed comparison, then rounding to the nearest float for the outputs;
    // the mean sums the exact values.
    CILImageBase longs = makeImage<int32_t>(eLong, 3, 1, {-5, 16777217, 0});
    s = survey(longs);
    EXPECT_EQ(s.min, -5.0f);
    EXPECT_EQ(s.max, 16777216.0f);
    EXPECT_EQ(s.nonZeroMin, -5.0f);
    EXPECT_DOUBLE_EQ(s.mean, 16777212.0 / 3.0);

    CILImageBase doubles = makeImage<double>(eDouble, 2, 1, {1e300, -0.5});
    s = survey(doubles);
    EXPECT_EQ(s.min, -0.5f);
    EXPECT_EQ(s.max, std::numeric_limits<float>::infinity());
    EXPECT_DOUBLE_EQ(s.mean, 1e300 / 2.0 - 0.25);
}

TEST(MinMax, NullOutputsAreSkippedAndTheMeanNeedsMinOrMax)
{
    CILImageBase image = makeImage<float>(eFloat, 2, 1, {2.0f, 4.0f});
    double mean = -1;
    ASSERT_TRUE(image.getMinMax(nullptr, nullptr, &mean, nullptr, nullptr, nullptr));
    EXPECT_EQ(mean, 0.0);
    float nzMin = -1;
    ASSERT_TRUE(image.getMinMax(nullptr, nullptr, &mean, nullptr, &nzMin, nullptr));
    EXPECT_EQ(mean, 0.0);
    EXPECT_EQ(nzMin, 2.0f);
    float mx = -1;
    ASSERT_TRUE(image.getMinMax(nullptr, &mx, &mean, nullptr, nullptr, nullptr));
    EXPECT_EQ(mx, 4.0f);
    EXPECT_EQ(mean, 3.0);
    // Nothing requested at all still succeeds.
    EXPECT_TRUE(image.getMinMax(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST(MinMax, TheMaskSelectsPixelsAndAnEmptySelectionKeepsTheFirstSample)
{
    CILImageBase image = makeImage<int32_t>(eLong, 3, 2, {9, -4, 8, 0, 100, 3});
    const std::vector<char> mask{0, 1, 0, 1, 0, 1};
    Survey s = survey(image, &mask);
    EXPECT_EQ(s.min, -4.0f);
    EXPECT_EQ(s.max, 3.0f);
    EXPECT_EQ(s.nonZeroMin, -4.0f);
    EXPECT_EQ(s.nonZeroMax, 3.0f);
    EXPECT_DOUBLE_EQ(s.mean, -1.0 / 3.0);

    const std::vector<char> none(6, 0);
    s = survey(image, &none);
    EXPECT_EQ(s.min, 9.0f);
    EXPECT_EQ(s.max, 9.0f);
    EXPECT_EQ(s.nonZeroMin, 9.0f);
    EXPECT_EQ(s.nonZeroMax, 9.0f);
    EXPECT_EQ(s.mean, 0.0);

    // Only zeros under the mask: the non-zero extremes keep the first sample.
    const std::vector<char> zeroOnly{0, 0, 0, 1, 0, 0};
    s = survey(image, &zeroOnly);
    EXPECT_EQ(s.min, 0.0f);
    EXPECT_EQ(s.nonZeroMin, 9.0f);
    EXPECT_EQ(s.nonZeroMax, 9.0f);
}

TEST(MinMax, AllZeroImageHasZeroNonZeroExtremes)
{
    CILImageBase image = makeImage<uint8_t>(eByte, 2, 2, {0, 0, 0, 0});
    Survey s = survey(image);
    EXPECT_EQ(s.nonZeroMin, 0.0f);
    EXPECT_EQ(s.nonZeroMax, 0.0f);
    EXPECT_EQ(s.mean, 0.0);
}

TEST(MinMax, NaNNeverReplacesAnExtremeButStaysWhenFirst)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    CILImageBase later = makeImage<float>(eFloat, 3, 1, {1.0f, nan, -2.0f});
    Survey s = survey(later);
    EXPECT_EQ(s.min, -2.0f);
    EXPECT_EQ(s.max, 1.0f);
    EXPECT_TRUE(std::isnan(s.mean));

    CILImageBase first = makeImage<float>(eFloat, 3, 1, {nan, 5.0f, -2.0f});
    s = survey(first);
    EXPECT_TRUE(std::isnan(s.min));
    EXPECT_TRUE(std::isnan(s.max));
    EXPECT_TRUE(std::isnan(s.nonZeroMin));  // NaN counts as non-zero
    EXPECT_TRUE(std::isnan(s.mean));

    // -0.0 equals 0 and is skipped by the non-zero extremes.
    CILImageBase zeros = makeImage<double>(eDouble, 3, 1, {-0.0, 2.0, 0.0});
    s = survey(zeros);
    EXPECT_EQ(s.nonZeroMin, 2.0f);
    EXPECT_EQ(s.nonZeroMax, 2.0f);
}

TEST(MinMax, FailsWithoutDataOrWithAnUnknownType)
{
    CILImageBase empty;
    float mn = 7;
    EXPECT_FALSE(empty.getMinMax(&mn, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(mn, 7.0f);
    CILImageBase image = makeImage<uint8_t>(eByte, 2, 1, {1, 2});
    image.set_datatype(static_cast<QORDataTypes>(0));
    EXPECT_FALSE(image.getMinMax(&mn, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(mn, 7.0f);
}
