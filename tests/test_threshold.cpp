// Thresholds: the per-type effective threshold, the mask and in-place forms,
// and the three automatic thresholds on images whose threshold is worked out
// below.
#include "FilterTestSupport.h"

#include <gtest/gtest.h>

namespace {

template <typename T>
std::vector<char> maskOf(QORDataTypes type, const std::vector<T>& samples, float t)
{
    CILImageBase image = makeImage<T>(type, static_cast<int>(samples.size()), 1, samples);
    std::vector<char> mask(samples.size(), 7);
    EXPECT_TRUE(image.Threshold(t, mask.data()));
    return mask;
}

typedef std::vector<char> Mask;

} // namespace

TEST(Threshold, EachTypeAdjustsTheThresholdByItsOwnRule)
{
    // Byte: rounded then clamped.
    EXPECT_EQ(maskOf<uint8_t>(eByte, {128, 129}, 127.5f), (Mask{0, 1}));
    EXPECT_EQ(maskOf<uint8_t>(eByte, {127, 128}, 127.4f), (Mask{0, 1}));
    EXPECT_EQ(maskOf<uint8_t>(eByte, {255}, 300.0f), (Mask{0}));
    EXPECT_EQ(maskOf<uint8_t>(eByte, {0, 1}, -3.0f), (Mask{0, 1}));
    // 16-bit: truncated, low 16 bits (65636 compares as 100).
    EXPECT_EQ(maskOf<uint16_t>(eUShort, {99, 100}, 99.9f), (Mask{0, 1}));
    EXPECT_EQ(maskOf<uint16_t>(eUShort, {100, 101, 50000}, 65636.0f), (Mask{0, 1, 1}));
    // 32-bit: rounded half up, also below zero (-2.5 + 0.5 = -2).
    EXPECT_EQ(maskOf<int32_t>(eLong, {3, 4}, 2.5f), (Mask{0, 1}));
    EXPECT_EQ(maskOf<int32_t>(eLong, {-2, -1}, -2.5f), (Mask{0, 1}));
    // Float: + 1e-5 except within 0.01 of 1e-5; the band is lopsided around 0.
    EXPECT_EQ(maskOf<float>(eFloat, {1.0f, 1.000005f, 1.00002f}, 1.0f), (Mask{0, 0, 1}));
    EXPECT_EQ(maskOf<float>(eFloat, {0.0f, 1e-6f}, 0.0f), (Mask{0, 1}));
    EXPECT_EQ(maskOf<float>(eFloat, {0.005f + 5e-6f}, 0.005f), (Mask{1}));
    EXPECT_EQ(maskOf<float>(eFloat, {-0.0099f + 5e-6f}, -0.0099f), (Mask{1}));
    EXPECT_EQ(maskOf<float>(eFloat, {-0.0101f + 5e-6f}, -0.0101f), (Mask{0}));
    // Double: + 1e-8.
    EXPECT_EQ(maskOf<double>(eDouble, {2.0, 2.000000005, 2.0000001}, 2.0f), (Mask{0, 0, 1}));
}

TEST(Threshold, ImageFormsMakeByteMasksAndTheFractionIsTruncated)
{
    CILImage image, byteDest, floatDest, ref;
    fillImage<float>(image, 4, 1, {12, 13, 15, 16});
    fillImage<uint8_t>(byteDest, 4, 1, {9, 9, 9, 9});
    fillImage<float>(floatDest, 1, 1, {9});
    const void* reused = byteDest.get_data();
    ASSERT_TRUE(image.Threshold(13.0f, byteDest));  // a byte image of the size is written as it is
    EXPECT_EQ(byteDest.get_data(), reused);
    EXPECT_EQ(samplesOf<uint8_t>(byteDest), (std::vector<uint8_t>{0, 0, 1, 1}));
    EXPECT_EQ(byteDest.Max(), 1.0f);
    ASSERT_TRUE(image.Threshold(15.0f, floatDest));  // another is re-shaped
    EXPECT_EQ(samplesOf<uint8_t>(floatDest), (std::vector<uint8_t>{0, 0, 0, 1}));
    EXPECT_EQ(image.get_datatype(), eFloat);

    // Fractions of ref's range 10..20: 0.5 gives 15 (16 passes); 0.25 gives
    // 12.5, truncated to 12 before the byte rounding would make it 13.
    fillImage<uint8_t>(ref, 2, 1, {10, 20});
    CILImage second;
    fillImage<uint8_t>(second, 4, 1, {12, 13, 15, 16});
    ASSERT_TRUE(image.FractionalThreshold(ref, 0.5f));
    EXPECT_EQ(image.get_datatype(), eByte);
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{0, 0, 0, 1}));
    EXPECT_EQ(image.Min(), 0.0f);
    ASSERT_TRUE(second.FractionalThreshold(ref, 0.25f));
    EXPECT_EQ(samplesOf<uint8_t>(second), (std::vector<uint8_t>{0, 1, 1, 1}));
}

TEST(Threshold, IterativeThresholdSettlesOnTheMeanOfTheClassMeans)
{
    // Mean 45 -> classes {0 x8} / {50,80,200,210}: (0 + 135) / 2 = 67.5;
    // -> (50/9 + 490/3) / 2 = 84.44; -> (130/10 + 205) / 2 = 109, settled.
    CILImage ref, probes;
    fillImage<uint16_t>(ref, 4, 3, {0, 0, 0, 0, 0, 0, 0, 0, 50, 80, 200, 210});
    fillImage<uint16_t>(probes, 2, 1, {109, 110});
    ASSERT_TRUE(probes.IterativeThreshold(ref));
    EXPECT_EQ(samplesOf<uint8_t>(probes), (std::vector<uint8_t>{0, 1}));

    // Any type is read as 16-bit values: these longs start with the halves
    // 100, 300, 0, 0 and average 150 -> (100/3 + 300) / 2 = 166.67, settled.
    CILImage longs;
    fillImage<int32_t>(longs, 4, 1, {100 + 300 * 65536.0, 0, -19660300, 0});
    fillImage<uint16_t>(probes, 2, 1, {166, 167});
    ASSERT_TRUE(probes.IterativeThreshold(longs));
    EXPECT_EQ(samplesOf<uint8_t>(probes), (std::vector<uint8_t>{0, 1}));

    CILImage bytes;  // holds only half the bytes such a read needs
    fillImage<uint8_t>(bytes, 2, 1, {1, 2});
    EXPECT_FALSE(bytes.IterativeThreshold(bytes));
    EXPECT_EQ(samplesOf<uint8_t>(bytes), (std::vector<uint8_t>{1, 2}));
}

TEST(Threshold, BimodalThresholdTakesTheFirstRiseAfterTheMainPeak)
{
    // 600 bins over 0..600: 0 -> bin 0, 200 -> bin 199, 600 -> bin 599. The
    // first smoothing (bins i-50 .. i+49 times 0.01f, truncated) turns 100
    // zeros into 0.99999998 -> 0, 10000 x 200 into 99 on bins 150..249 and
    // 5000 x 600 into 49 on bins 550..599. The second makes a peak at bin 199
    // (first of three 98s) falling to 0 by bin 299, and a rise where its window
    // covers k of the 49s with k x 49 x 0.01f >= 1: k = 3, at bin 503.
    std::vector<double> values(100, 0);
    values.insert(values.end(), 10000, 200);
    values.insert(values.end(), 5000, 600);
    CILImage ref, probes;
    fillImage<uint16_t>(ref, 100, 151, values);
    fillImage<uint16_t>(probes, 2, 1, {503, 504});
    ASSERT_TRUE(probes.BimodalThreshold(ref));
    EXPECT_EQ(samplesOf<uint8_t>(probes), (std::vector<uint8_t>{0, 1}));

    // 350 x 0 and 350 x 600 smooth to 3 and then to a flat 1 from bin 0 on:
    // the peak is bin 0, which has no bin before it. The plateau falls to 0
    // at bin 68; the far one reaches 1 where it covers 34 bins (34 x 3 x
    // 0.01f >= 1), at bin 534.
    std::vector<double> edgePeak(350, 0);
    edgePeak.insert(edgePeak.end(), 350, 600);
    fillImage<uint16_t>(ref, 28, 25, edgePeak);
    fillImage<uint16_t>(probes, 2, 1, {534, 535});
    ASSERT_TRUE(probes.BimodalThreshold(ref));
    EXPECT_EQ(samplesOf<uint8_t>(probes), (std::vector<uint8_t>{0, 1}));

    // No valley (and a fractional maximum of 10.5, 10 bins): threshold 0.
    CILImage floats;
    fillImage<float>(floats, 3, 1, {0, 4, 10.5});
    ASSERT_TRUE(floats.BimodalThreshold(floats));
    EXPECT_EQ(samplesOf<uint8_t>(floats), (std::vector<uint8_t>{0, 1, 1}));
}
