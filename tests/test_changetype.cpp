// Conversion between sample types: a plain cast that wraps and never saturates.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

const float kNaNf = std::numeric_limits<float>::quiet_NaN();
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const float kInff = std::numeric_limits<float>::infinity();

template <typename T> bool sameSample(T a, T b) { return a == b; }
template <> bool sameSample<float>(float a, float b) { return (std::isnan(a) && std::isnan(b)) || a == b; }
template <> bool sameSample<double>(double a, double b) { return (std::isnan(a) && std::isnan(b)) || a == b; }

template <typename From, typename To>
void expectConversion(QORDataTypes from, QORDataTypes to, const std::vector<From>& in, const std::vector<To>& out)
{
    ASSERT_EQ(in.size(), out.size());
    CILImageBase image = makeImage<From>(from, static_cast<int>(in.size()), 1, in);
    ASSERT_TRUE(image.ChangeType(to));
    EXPECT_EQ(image.get_datatype(), to);
    EXPECT_EQ(image.get_width(), in.size());
    EXPECT_EQ(image.get_sizeinbytes(), in.size() * sizeof(To));
    const std::vector<To> got = samplesOf<To>(image);
    for (size_t i = 0; i < in.size(); ++i)
        EXPECT_TRUE(sameSample(got[i], out[i])) << "sample " << i << " from type " << from << " to " << to
                                                << ": got " << +got[i] << ", expected " << +out[i];
}

} // namespace

TEST(ChangeType, FromByteZeroExtendsAndIsExact)
{
    const std::vector<uint8_t> in{0, 1, 127, 128, 255};
    expectConversion<uint8_t, uint16_t>(eByte, eUShort, in, {0, 1, 127, 128, 255});
    expectConversion<uint8_t, int32_t>(eByte, eLong, in, {0, 1, 127, 128, 255});
    expectConversion<uint8_t, float>(eByte, eFloat, in, {0, 1, 127, 128, 255});
    expectConversion<uint8_t, double>(eByte, eDouble, in, {0, 1, 127, 128, 255});
}

TEST(ChangeType, FromUShortKeepsTheLowByte)
{
    const std::vector<uint16_t> in{0, 255, 256, 65535, 32768, 300};
    expectConversion<uint16_t, uint8_t>(eUShort, eByte, in, {0, 255, 0, 255, 0, 44});
    expectConversion<uint16_t, int32_t>(eUShort, eLong, in, {0, 255, 256, 65535, 32768, 300});
    expectConversion<uint16_t, float>(eUShort, eFloat, in, {0, 255, 256, 65535, 32768, 300});
    expectConversion<uint16_t, double>(eUShort, eDouble, in, {0, 255, 256, 65535, 32768, 300});
}

TEST(ChangeType, FromLongWrapsAndRoundsToNearestFloat)
{
    const std::vector<int32_t> in{0, -1, 256, 65537, INT32_MIN, INT32_MAX, 16777217};
    expectConversion<int32_t, uint8_t>(eLong, eByte, in, {0, 255, 0, 1, 0, 255, 1});
    expectConversion<int32_t, uint16_t>(eLong, eUShort, in, {0, 65535, 256, 1, 0, 65535, 1});
    expectConversion<int32_t, float>(eLong, eFloat, in,
                                     {0.0f, -1.0f, 256.0f, 65537.0f, -2147483648.0f, 2147483648.0f, 16777216.0f});
    expectConversion<int32_t, double>(eLong, eDouble, in,
                                      {0.0, -1.0, 256.0, 65537.0, -2147483648.0, 2147483647.0, 16777217.0});
}

TEST(ChangeType, FromFloatTruncatesToThirtyTwoBitsBeforeTheCut)
{
    const std::vector<float> in{2.9f, -2.9f, 300.5f, 1e10f, kNaNf, -1.7f, 65536.5f, -2147483648.0f, 2147483520.0f};
    expectConversion<float, uint8_t>(eFloat, eByte, in, {2, 254, 44, 0, 0, 255, 0, 0, 128});
    expectConversion<float, uint16_t>(eFloat, eUShort, in, {2, 65534, 300, 0, 0, 65535, 0, 0, 65408});
    expectConversion<float, int32_t>(eFloat, eLong, in,
                                     {2, -2, 300, INT32_MIN, INT32_MIN, -1, 65536, INT32_MIN, 2147483520});
    std::vector<double> widened;
    for (float f : in) widened.push_back(static_cast<double>(f));
    expectConversion<float, double>(eFloat, eDouble, in, widened);
}

TEST(ChangeType, FromDoubleTruncatesAndNarrows)
{
    const std::vector<double> in{2.9, -2.9, 300.5, 1e10, kNaN, -1.7, 2147483647.9, -2147483648.9, 1e300, 0.1};
    expectConversion<double, uint8_t>(eDouble, eByte, in, {2, 254, 44, 0, 0, 255, 255, 0, 0, 0});
    expectConversion<double, uint16_t>(eDouble, eUShort, in, {2, 65534, 300, 0, 0, 65535, 65535, 0, 0, 0});
    expectConversion<double, int32_t>(eDouble, eLong, in,
                                      {2, -2, 300, INT32_MIN, INT32_MIN, -1, INT32_MAX, INT32_MIN, INT32_MIN, 0});
    expectConversion<double, float>(eDouble, eFloat, in,
                                    {2.9f, -2.9f, 300.5f, 1e10f, kNaNf, -1.7f, 2147483648.0f, -2147483648.0f, kInff, 0.1f});
}

TEST(ChangeType, SameTypeIsANoOpEvenWithoutData)
{
    CILImageBase image;
    image.InitWithType(eFloat, 2, 2);
    image.InitWithType(eFloat, -2, 2);  // leaves no buffer, type kept
    ASSERT_EQ(image.get_data(), nullptr);
    EXPECT_TRUE(image.ChangeType(eFloat));
    EXPECT_EQ(image.get_data(), nullptr);
    EXPECT_FALSE(image.ChangeType(eByte));
    EXPECT_EQ(image.get_datatype(), eFloat);
}

TEST(ChangeType, AnInvalidTargetAssertsAndLeavesAZeroByteImage)
{
    CILImageBase image = makeImage<uint8_t>(eByte, 2, 1, {1, 2});
    AssertRecorder asserts;
    EXPECT_TRUE(image.ChangeType(static_cast<QORDataTypes>(9)));
    EXPECT_TRUE(asserts.saw(L"1==0", L"ImageLib/Source/ILImageBase"));
    EXPECT_EQ(image.get_datatype(), static_cast<QORDataTypes>(9));
    EXPECT_EQ(image.get_sizeinbytes(), 0u);
    EXPECT_EQ(image.get_width(), 2u);
    // Nothing can read the old pixels any more.
    EXPECT_FALSE(image.setConstData(1.0));
}

// Buffers of 32 MiB and more come from a separate allocation path (2 MiB
// aligned, with page advice): conversions and arithmetic into such buffers,
// and freeing them, behave as for small ones.
TEST(ChangeType, BuffersOfManyMegabytesConvertAndFreeLikeSmallOnes)
{
    const int w = 2048, h = 2049;  // 33.6 MB as doubles, not a whole number of 2 MiB pages
    std::vector<uint16_t> samples(size_t(w) * h);
    for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<uint16_t>(i * 2654435761u >> 7);
    CILImageBase image = makeImage<uint16_t>(eUShort, w, h, samples);
    ASSERT_TRUE(image.ChangeType(eDouble));
    ASSERT_EQ(image.get_sizeinbytes(), samples.size() * sizeof(double));
    const double* converted = static_cast<const double*>(image.get_data());
    for (size_t i : {size_t(0), size_t(1), samples.size() / 2, samples.size() - 1})
        EXPECT_EQ(converted[i], static_cast<double>(samples[i])) << i;
    CILImageBase sum = image + image;
    ASSERT_EQ(sum.get_datatype(), eDouble);
    EXPECT_EQ(static_cast<const double*>(sum.get_data())[samples.size() - 1], 2.0 * samples.back());
    ASSERT_TRUE(image.ChangeType(eUShort));
    EXPECT_EQ(samplesOf<uint16_t>(image), samples);
}
