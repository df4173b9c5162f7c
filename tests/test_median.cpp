// Median filter: windows cut at the edges, the upper middle for even counts,
// exact storage, the tolerant ordering and the refusals.
#include "FilterTestSupport.h"

#include <gtest/gtest.h>

TEST(Median, CutsTheWindowAtEdgesAndTakesTheUpperMiddleOnEveryType)
{
    forEverySampleType([](auto tag) {
        using T = decltype(tag);
        // 4 x 3; n = 3 at corner (0,0) sees {1,9,7,3} -> 1,3,7,9 -> entry 2 = 7.
        CILImageBase image = imageOf<T>(4, 3, {1, 9, 2, 8, 7, 3, 6, 4, 5, 0, 10, 11});
        CILImageBase dest;
        ASSERT_TRUE(image.Median(3, dest));
        EXPECT_EQ(samplesOf<T>(dest), typed<T>({7, 6, 6, 6, 5, 5, 6, 8, 5, 6, 6, 10}));
        // n = 2 reaches one back: (1,1) sees {1,9,7,3} -> 7, (1,0) sees {1,9} -> 9.
        ASSERT_TRUE(image.Median(2));
        EXPECT_EQ(samplesOf<T>(image), typed<T>({1, 9, 9, 8, 7, 7, 6, 6, 7, 5, 6, 10}));
    });
}

TEST(Median, StoresSamplesExactlyAndTreatsNearValuesAsEqual)
{
    CILImageBase longs = makeImage<int32_t>(eLong, 3, 1, {-7, INT32_MAX, INT32_MIN});
    ASSERT_TRUE(longs.Median(3));
    EXPECT_EQ(samplesOf<int32_t>(longs), (std::vector<int32_t>{INT32_MAX, -7, INT32_MAX}));
    // 1.0 and 1.0 + 5e-9 compare equal: the middle is one of them.
    CILImageBase near = makeImage<double>(eDouble, 3, 1, {1.0, 1.0 + 5e-9, 0.5});
    ASSERT_TRUE(near.Median(3));
    const double middle = samplesOf<double>(near)[1];
    EXPECT_TRUE(middle == 1.0 || middle == 1.0 + 5e-9);
}

TEST(Median, RefusesEmptyWindowsAndImageFormsRefreshOnlyTheReceiver)
{
    AssertRecorder quiet;
    CILImageBase dest = makeImage<float>(eFloat, 1, 1, {5});
    CILImageBase image = makeImage<uint8_t>(eByte, 3, 1, {0, 200, 0});
    EXPECT_FALSE(image.Median(0));
    EXPECT_FALSE(image.Median(0, dest));
    EXPECT_EQ(dest.get_datatype(), eFloat);  // a refused n leaves it alone
    EXPECT_FALSE(CILImageBase().Median(3));

    CILImage shown, shownDest;
    shown.initWithData(eByte, 3, 1, const_cast<void*>(image.get_data()));
    shown.setGamma(2.0f);
    EXPECT_FALSE(shown.medianFilter(-1));  // 4294967295^2 windows do not fit
    ASSERT_TRUE(shown.medianFilter(3, shownDest));  // {0,200} -> 200, {0,200,0} -> 0
    EXPECT_EQ(samplesOf<uint8_t>(shownDest), (std::vector<uint8_t>{200, 0, 200}));
    EXPECT_EQ(shownDest.Min(), 0.0f);
    EXPECT_EQ(shownDest.getGamma(), 1.0f);  // no display state copied
    ASSERT_TRUE(shown.medianFilter(2));  // {0} {0,200} {200,0} -> 0, 200, 200
    EXPECT_DOUBLE_EQ(shown.Mean(), 400.0 / 3);
}
