// The one-dimensional data series: extremes, level search, filtering,
// reversal, scaling, read-out and copying.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

const QORDataTypes kSmallByteKind = static_cast<QORDataTypes>(6);
const wchar_t* const kSeriesSource = L"ImageLib/Source/IL1DData";

template <typename T>
CIL1DData makeSeries(QORDataTypes type, const std::vector<T>& samples)
{
    CIL1DData series;
    EXPECT_TRUE(series.initWithArray(samples.data(), samples.size(), type));
    return series;
}

template <typename T>
std::vector<T> seriesSamples(const CIL1DData& series, QORDataTypes type)
{
    std::vector<T> out(series.numPoints());
    EXPECT_EQ(series.getData(type, out.data()), out.size());
    return out;
}

} // namespace

TEST(OneDData, FindLevelRoundsOnlyForSmallIntegersAndNeedsMoreThanTheLevelForFloats)
{
    EXPECT_EQ(makeSeries<uint8_t>(eByte, {0, 1, 2, 3}).findLevel(2.5f), 3);
    EXPECT_EQ(makeSeries<uint8_t>(eByte, {0, 1, 2, 3}).findLevel(2.4f), 2);
    EXPECT_EQ(makeSeries<int32_t>(eLong, {0, 1, 2, 3}).findLevel(2.5f), 2);
    EXPECT_EQ(makeSeries<float>(eFloat, {0, 1, 2, 3}).findLevel(2.0f), 3);
    // The threshold is taken in the sample's width: -1.5 truncates to -1,
    // which is 255 as a byte.
    EXPECT_EQ(makeSeries<uint8_t>(eByte, {0, 200, 255}).findLevel(-2.0f), 2);
    EXPECT_EQ(makeSeries<uint8_t>(eByte, {0, 1}).findLevel(10.0f), -1);
    EXPECT_EQ(CIL1DData().findLevel(1.0f), -1);
}

TEST(OneDData, InterpolatedFindLevelTruncatesTheLevelAndInterpolatesFromThePreviousSample)
{
    const CIL1DData bytes = makeSeries<uint8_t>(eByte, {0, 1, 2, 3});
    EXPECT_FLOAT_EQ(bytes.findLevel(2.5f, true), 2.5f);
    EXPECT_FLOAT_EQ(bytes.findLevel(2.5f, false), 2.0f);
    EXPECT_FLOAT_EQ(makeSeries<int32_t>(eLong, {10, 20}).findLevel(15.7f, true), 0.57f);
    // Floats need only reach the level here, unlike the integer-result form.
    EXPECT_FLOAT_EQ(makeSeries<float>(eFloat, {0, 1, 2, 3}).findLevel(2.0f, false), 2.0f);
    EXPECT_FLOAT_EQ(makeSeries<float>(eFloat, {0, 4}).findLevel(1.0f, true), 0.25f);
    // A match on the first sample is never interpolated.
    EXPECT_FLOAT_EQ(makeSeries<uint8_t>(eByte, {5, 6}).findLevel(1.0f, true), 0.0f);
    EXPECT_FLOAT_EQ(bytes.findLevel(9.0f, true), -1.0f);
}

TEST(OneDData, FindLevelReverseFindsTheLastSampleNotAboveTheLevel)
{
    const CIL1DData rising = makeSeries<uint8_t>(eByte, {0, 2, 4, 6, 8});
    EXPECT_FLOAT_EQ(rising.findLevelReverse(5.0f, false), 2.0f);
    EXPECT_FLOAT_EQ(rising.findLevelReverse(5.0f, true), 2.5f);
    // The match uses trunc(5.9) = 5; the interpolation uses the level itself.
    EXPECT_FLOAT_EQ(rising.findLevelReverse(5.9f, true), 2.95f);
    EXPECT_FLOAT_EQ(makeSeries<float>(eFloat, {0, 1, 3}).findLevelReverse(2.0f, true), 1.5f);
    // No interpolation on the first sample, nor on the last (nothing after it).
    EXPECT_FLOAT_EQ(makeSeries<uint8_t>(eByte, {1, 5, 9}).findLevelReverse(2.0f, true), 0.0f);
    EXPECT_FLOAT_EQ(makeSeries<uint8_t>(eByte, {0, 2, 4}).findLevelReverse(5.0f, true), 2.0f);
    EXPECT_FLOAT_EQ(makeSeries<uint8_t>(eByte, {3, 4}).findLevelReverse(1.0f, false), -1.0f);
}

TEST(OneDData, MinimumTiesTakeTheLastIndexAndMaximumTiesTheFirst)
{
    CIL1DData series = makeSeries<uint8_t>(eByte, {5, 1, 1});
    EXPECT_EQ(series.MinPos(), 2u);
    // getMinMax hands out the maximum first.
    double first = 0, second = 0;
    EXPECT_EQ(series.getMinMax(&first, &second), 1);
    EXPECT_EQ(first, 5.0);
    EXPECT_EQ(second, 1.0);
    EXPECT_EQ(CIL1DData().getMinMax(&first, &second), 0);
    series = makeSeries<int32_t>(eLong, {7, 7, 0});
    EXPECT_EQ(series.MaxPos(), 0u);

    // Zeros count by default; skipped, the search starts at the first
    // non-zero sample.
    series = makeSeries<int32_t>(eLong, {0, 3, 0, 2});
    EXPECT_EQ(series.MinPos(), 2u);
    EXPECT_TRUE(series.callUpdateMinMax(false));
    EXPECT_EQ(series.Min(), 2.0);
    EXPECT_EQ(series.MinPos(), 3u);
    EXPECT_EQ(series.Max(), 3.0);
    EXPECT_EQ(series.MaxPos(), 1u);

    // The one-byte small kind holds signed samples.
    const std::vector<int8_t> small{-1, 1};
    series.initWithArray(small.data(), small.size(), kSmallByteKind);
    EXPECT_EQ(series.Min(), -1.0);
    EXPECT_EQ(series.Max(), 1.0);
}

TEST(OneDData, FilterCorrelatesInGivenOrderAndLeavesOutSamplesBeyondTheEnds)
{
    const float box[] = {1, 1, 1};
    CIL1DData series = makeSeries<int32_t>(eLong, {1, 2, 3});
    EXPECT_EQ(series.filter(box, 3), 0);
    EXPECT_EQ(seriesSamples<int32_t>(series, eLong), (std::vector<int32_t>{3, 6, 5}));
    EXPECT_EQ(series.Max(), 6.0);
    EXPECT_EQ(series.MaxPos(), 1u);

    // Coefficient 0 weighs the sample before the centre: not a convolution.
    const float previous[] = {1, 0, 0};
    series = makeSeries<int32_t>(eLong, {1, 2, 3});
    series.filter(previous, 3);
    EXPECT_EQ(seriesSamples<int32_t>(series, eLong), (std::vector<int32_t>{0, 1, 2}));

    // Two taps centre on the second: half = 1.
    const float pair[] = {1, 10};
    series = makeSeries<int32_t>(eLong, {1, 2, 3});
    series.filter(pair, 2);
    EXPECT_EQ(seriesSamples<int32_t>(series, eLong), (std::vector<int32_t>{10, 21, 32}));

    // Integer series truncate toward zero.
    const float half[] = {0.5f};
    series = makeSeries<int32_t>(eLong, {3, -3});
    series.filter(half, 1);
    EXPECT_EQ(seriesSamples<int32_t>(series, eLong), (std::vector<int32_t>{1, -1}));
}

TEST(OneDData, FilterIntoADestinationLeavesTheSourceAndReportsFailures)
{
    AssertRecorder recorder;
    const float box[] = {1, 1, 1};
    CIL1DData source = makeSeries<float>(eFloat, {1, 2, 3});
    CIL1DData dest;
    EXPECT_EQ(source.filter(box, 3, &dest), 0);
    EXPECT_EQ(seriesSamples<float>(dest, eFloat), (std::vector<float>{3, 6, 5}));
    EXPECT_EQ(seriesSamples<float>(source, eFloat), (std::vector<float>{1, 2, 3}));
    EXPECT_EQ(source.filter(box, 3, nullptr), 2);
    EXPECT_EQ(CIL1DData().filter(box, 3), 2);
    EXPECT_EQ(recorder.count(), 0u);

    const std::vector<int8_t> small{1, 2};
    source.initWithArray(small.data(), small.size(), kSmallByteKind);
    EXPECT_EQ(source.filter(box, 3), 1);
    EXPECT_TRUE(recorder.saw(L"1 == 0", kSeriesSource));
}

TEST(OneDData, ReverseSwapsTheSamplesButNotTheExtremePositions)
{
    CIL1DData series = makeSeries<uint16_t>(eUShort, {1, 5, 3, 2});
    EXPECT_EQ(series.reverse(), 0);
    EXPECT_EQ(seriesSamples<uint16_t>(series, eUShort), (std::vector<uint16_t>{2, 3, 5, 1}));
    EXPECT_EQ(series.MaxPos(), 1u);

    series = makeSeries<double>(eDouble, {1, 2, 3});
    series.reverse();
    EXPECT_EQ(seriesSamples<double>(series, eDouble), (std::vector<double>{3, 2, 1}));
    EXPECT_EQ(CIL1DData().reverse(), 2);
}

TEST(OneDData, DivideAssignMultipliesAndTruncatesIntoTheSampleType)
{
    CIL1DData series = makeSeries<uint16_t>(eUShort, {3, 5});
    series /= 2.0;
    EXPECT_EQ(seriesSamples<uint16_t>(series, eUShort), (std::vector<uint16_t>{6, 10}));
    EXPECT_EQ(series.Max(), 10.0);

    series = makeSeries<int32_t>(eLong, {7, -7});
    series /= 0.5;
    EXPECT_EQ(seriesSamples<int32_t>(series, eLong), (std::vector<int32_t>{3, -3}));
    series = makeSeries<uint8_t>(eByte, {200});
    series /= 2.0;
    EXPECT_EQ(seriesSamples<uint8_t>(series, eByte), (std::vector<uint8_t>{144}));  // 400 wraps

    AssertRecorder recorder;
    const std::vector<int8_t> small{1, 2};
    series.initWithArray(small.data(), small.size(), kSmallByteKind);
    series /= 3.0;
    EXPECT_TRUE(recorder.saw(L"1 == 0", kSeriesSource));
    EXPECT_EQ(series.Max(), 2.0);
}

TEST(OneDData, ValueAtIndexFloorsWhileGetDataTruncates)
{
    const CIL1DData series = makeSeries<double>(eDouble, {-1.5, 2.7, 300.5});
    int32_t asLong = 0;
    EXPECT_EQ(series.valueAtIndex(eLong, 0, &asLong), 1);
    EXPECT_EQ(asLong, -2);
    uint8_t asByte = 0;
    EXPECT_EQ(series.valueAtIndex(eByte, 2, &asByte), 1);
    EXPECT_EQ(asByte, 44);
    float asFloat = 0;
    EXPECT_EQ(series.valueAtIndex(eFloat, 1, &asFloat), 1);
    EXPECT_EQ(asFloat, 2.7f);
    EXPECT_EQ(series.valueAtIndex(eLong, 3, &asLong), 0);

    EXPECT_EQ(seriesSamples<int32_t>(series, eLong), (std::vector<int32_t>{-1, 2, 300}));
    EXPECT_EQ(series.getData(eLong, nullptr), 3u);
    EXPECT_EQ(CIL1DData().getData(eLong, nullptr), static_cast<size_t>(-1));
}

TEST(OneDData, CopiesRecomputeTheExtremesWithZerosAndCarryTheRelatedPointer)
{
    int related = 0;
    CIL1DData series = makeSeries<int32_t>(eLong, {0, 4});
    series.setRelatedData(&related);
    series.callUpdateMinMax(false);
    EXPECT_EQ(series.Min(), 4.0);

    const CIL1DData copy(series);
    EXPECT_EQ(copy.Min(), 0.0);
    EXPECT_EQ(copy.getRelatedData(), &related);
    EXPECT_EQ(seriesSamples<int32_t>(copy, eLong), (std::vector<int32_t>{0, 4}));

    const CIL1DData& itself = series;
    series = itself;
    EXPECT_EQ(seriesSamples<int32_t>(series, eLong), (std::vector<int32_t>{0, 4}));

    // A series without a type copies only the related pointer.
    AssertRecorder recorder;
    const CIL1DData untyped;
    series = untyped;
    EXPECT_TRUE(recorder.saw(L"1 == 0", kSeriesSource));
    EXPECT_EQ(series.getRelatedData(), nullptr);
    EXPECT_EQ(seriesSamples<int32_t>(series, eLong), (std::vector<int32_t>{0, 4}));
}

TEST(OneDData, InitAcceptsTypesOneToSevenOnly)
{
    AssertRecorder recorder;
    CIL1DData series;
    EXPECT_EQ(series.numPoints(), 512u);
    EXPECT_TRUE(series.initWithType(3, static_cast<QORDataTypes>(7)));
    EXPECT_EQ(recorder.count(), 0u);
    EXPECT_FALSE(series.initWithType(3, static_cast<QORDataTypes>(8)));
    EXPECT_TRUE(recorder.saw(L"1 == 0", kSeriesSource));
    EXPECT_EQ(series.numPoints(), 3u);  // the refused call left the series alone
}
