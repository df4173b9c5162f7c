// Histograms: binning over a range, the value of a bin, the histogram series
// with its range flags and integration, and the image histogram under a mask.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

typedef std::vector<int32_t> Counts;
const float kInf = std::numeric_limits<float>::infinity();

// Counts a one-row image into counters that start out as garbage.
template <typename T>
Counts histogramOf(QORDataTypes type, const std::vector<T>& samples, uint64_t bins, float low, float high,
                   std::vector<char> mask = {})
{
    CILImageBase image = makeImage<T>(type, static_cast<int>(samples.size()), 1, samples);
    Counts counts(bins, 99);
    EXPECT_TRUE(image.getHistogram(counts.data(), bins, low, high, mask.empty() ? nullptr : mask.data()));
    return counts;
}

template <typename T> std::vector<T> binsOf(const CIL1DData& series, QORDataTypes type)
{
    std::vector<T> out(series.numPoints());
    EXPECT_EQ(series.getData(type, out.data()), out.size());
    return out;
}

// 10 20 30 / 40 50 60 with its statistics cached (range 10..60).
CILImage sixValueImage()
{
    CILImage image(makeImage<uint16_t>(eUShort, 3, 2, {10, 20, 30, 40, 50, 60}));
    image.RefreshImageStats();
    return image;
}

} // namespace

TEST(Histogram, BinsFloorTheScaledOffsetAndDropSamplesOutsideTheBins)
{
    // Range 2..12 in 3 bins, scale 2/10: 1 gives bin -1 (floor, not 0); 12 is
    // the last bin and 13 still inside it; 17 reaches bin 3 and is dropped.
    EXPECT_EQ(histogramOf<uint16_t>(eUShort, {1, 2, 6, 7, 11, 12, 13, 17}, 3, 2, 12), (Counts{2, 2, 2}));
    EXPECT_EQ(histogramOf<int32_t>(eLong, {-11, -10, -6, -5, 0, 9, 10, 14, 15}, 5, -10, 10), (Counts{2, 1, 1, 1, 2}));
    EXPECT_EQ(histogramOf<float>(eFloat, {0.4f, 0.5f, 0.99f, 1, 2.5f, 2.9f, 3, NAN, kInf, -kInf}, 5, 0.5f, 2.5f),
              (Counts{2, 1, 0, 0, 2}));
    // Doubles are narrowed first: 0.99999999 -> 1 (bin 1), 1.99999999 -> 2 and
    // 1e300 -> infinity (both dropped).
    EXPECT_EQ(histogramOf<double>(eDouble, {0.99999999, 0.5, 1.99999999, 1e300, -1e-9}, 2, 0, 1), (Counts{1, 1}));

    // One bin: the scale is 0 and every finite masked sample lands in bin 0.
    EXPECT_EQ(histogramOf<int32_t>(eLong, {-100, 5, 1000}, 1, 0, 10, {1, 0, 1}), Counts{2});
    EXPECT_EQ(histogramOf<float>(eFloat, {kInf, 3, NAN}, 1, 0, 10), Counts{1});
}

TEST(Histogram, AutomaticRangeComesFromTheMaskedExtremesAndAConstantImageCountsNothing)
{
    const std::vector<uint8_t> samples = {10, 20, 30, 40, 50, 60};
    EXPECT_EQ(histogramOf<uint8_t>(eByte, samples, 4, 0, 0), (Counts{2, 2, 1, 1}));
    EXPECT_EQ(histogramOf<uint8_t>(eByte, samples, 4, 0, 0, {0, 1, 1, 0, 1, 0}), (Counts{1, 1, 0, 1}));
    // A range of no width: 0 x infinity is NaN for every pixel.
    EXPECT_EQ(histogramOf<uint16_t>(eUShort, {7, 7, 7}, 3, 0, 0), (Counts{0, 0, 0}));
    EXPECT_EQ(histogramOf<float>(eFloat, {-2.5f, -2.5f}, 2, 0, 0), (Counts{0, 0}));

    CILImageBase image = makeImage<uint8_t>(eByte, 2, 1, {1, 2});
    int32_t counts[2];
    EXPECT_FALSE(image.getHistogram(counts, 0, 0, 2, nullptr));
    EXPECT_FALSE(image.getHistogram(nullptr, 2, 0, 2, nullptr));
    EXPECT_FALSE(image.getHistogram(counts, UINT64_MAX / 2, 0, 2, nullptr));
}

TEST(Histogram, ValueForIndexTakesTheMaximumFirst)
{
    CILImageBase image = makeImage<uint8_t>(eByte, 3, 2, {10, 20, 30, 40, 50, 60});
    float value = -1;
    ASSERT_TRUE(image.getImageValueForHistogramIndex(5, 1, &value, 10, 2, nullptr));  // 2 per bin from 2
    EXPECT_EQ(value, 4.0f);
    std::vector<char> mask = {0, 1, 1, 0, 1, 0};  // extremes 20..50
    ASSERT_TRUE(image.getImageValueForHistogramIndex(4, 1, &value, 0, 0, mask.data()));
    EXPECT_EQ(value, 30.0f);
    ASSERT_TRUE(image.getImageValueForHistogramIndex(1, 1, &value, 10, 2, nullptr));  // divides by 0
    EXPECT_EQ(value, kInf);
    EXPECT_FALSE(image.getImageValueForHistogramIndex(0, 1, &value, 10, 2, nullptr));
}

TEST(HistogramSeries, RangeFlagsAreComparedAsNumbersNotBits)
{
    CILHistogram maxOnly, minOnly;
    double out = -1;
    maxOnly.setImageMax(60);
    EXPECT_EQ(maxOnly.IsMaxMinSet(), 2);
    EXPECT_EQ(maxOnly.ImageMin(&out), 1);  // passes although never set
    EXPECT_EQ(out, 0.0);
    minOnly.setImageMin(-3.5);
    EXPECT_EQ(minOnly.IsMaxMinSet(), 1);
    EXPECT_EQ(minOnly.ImageMax(&out), 0);

    const int32_t counts[] = {1, 2, 3};  // growing the bin count pads with zeros
    ASSERT_TRUE(minOnly.initWithArray(counts, 3, eLong));
    minOnly.setMaxBins(5);
    EXPECT_EQ(binsOf<int32_t>(minOnly, eLong), (Counts{1, 2, 3, 0, 0}));
}

TEST(HistogramSeries, IntegrateSumsRunningTotalsInSinglePrecision)
{
    CILHistogram hist, dest;
    const int32_t counts[] = {1, 2, 3};
    ASSERT_TRUE(hist.initWithArray(counts, 3, eLong));
    ASSERT_TRUE(hist.integrate(nullptr));
    EXPECT_EQ(binsOf<float>(hist, eFloat), (std::vector<float>{1, 3, 6}));
    // 2^24 + 1 is not a float: each step rounds back to 2^24.
    const int32_t large[] = {16777216, 1, 1};
    ASSERT_TRUE(hist.initWithArray(large, 3, eLong));
    ASSERT_TRUE(hist.integrate(&dest));
    EXPECT_EQ(binsOf<float>(dest, eFloat), (std::vector<float>{16777216, 16777216, 16777216}));

    const int8_t smallKind[] = {4, 5};
    ASSERT_TRUE(hist.initWithArray(smallKind, 2, static_cast<QORDataTypes>(6)));
    AssertRecorder asserts;
    EXPECT_TRUE(hist.integrate(&dest));
    EXPECT_TRUE(asserts.saw(L"1==0", L"ImageLib/Source/ILHistogram"));
    EXPECT_EQ(binsOf<float>(dest, eFloat), (std::vector<float>{0, 0}));
    ASSERT_TRUE(hist.initWithArray(nullptr, 0, eLong));
    EXPECT_FALSE(hist.integrate(nullptr));
}

TEST(ImageHistogram, UsesTheHistogramRangeOrTheCachedImageRangeUnderTheMask)
{
    CILImage image = sixValueImage();
    CILHistogram hist;
    hist.setMaxBins(4);
    ASSERT_TRUE(image.Histogram(hist));  // no mask: surveyed range 10..60
    EXPECT_EQ(binsOf<int32_t>(hist, eLong), (Counts{2, 2, 1, 1}));
    hist.setImageMax(60);  // the minimum then reads 0: range 0..60
    ASSERT_TRUE(image.Histogram(hist));
    EXPECT_EQ(binsOf<int32_t>(hist, eLong), (Counts{1, 2, 2, 1}));

    CILROIObject mask;
    mask.initMask(eByteMask, 3, 2, 0);
    mask.AddMaskRect(0, 0, 1, 1, 1);  // the samples 10 and 20
    image.setImageMask(&mask);
    CILHistogram six;
    six.setMaxBins(6);
    ASSERT_TRUE(image.Histogram(six));  // cached 10..60, not the masked 10..20
    EXPECT_EQ(binsOf<int32_t>(six, eLong), (Counts{1, 1, 0, 0, 0, 0}));
    image.RefreshImageStats();
    ASSERT_TRUE(image.Histogram(six));
    EXPECT_EQ(binsOf<int32_t>(six, eLong), (Counts{1, 0, 0, 0, 0, 1}));
}

TEST(ImageHistogram, RefusalsLeaveTheHistogramUnchanged)
{
    CILImage image = sixValueImage();
    CILHistogram hist;
    const int32_t previous[] = {7, 8};
    ASSERT_TRUE(hist.initWithArray(previous, 2, eLong));
    CILROIObject otherKind, small;
    otherKind.initMask(static_cast<QORImageMaskTypes>(9), 3, 2, 0);
    small.initMask(eByteMask, 2, 2, 1);  // fewer cells than pixels: not read
    image.setImageMask(&otherKind);
    {
        AssertRecorder asserts;
        EXPECT_FALSE(image.Histogram(hist));
        hist.setImageMax(60);
        EXPECT_FALSE(image.Histogram(hist));
        ASSERT_EQ(asserts.count(), 2u);  // two sites of the same check
        EXPECT_TRUE(asserts.saw(L"m_ImageMask->maskType()==eByteMask", L"ImageLib/Source/ILImage_Procs"));
        EXPECT_NE(asserts.reports()[0].line, asserts.reports()[1].line);
    }
    image.setImageMask(&small);
    EXPECT_FALSE(image.Histogram(hist));
    EXPECT_EQ(binsOf<int32_t>(hist, eLong), (Counts{7, 8}));
}
