// Image-image and image-scalar arithmetic: wrap-around, conversion of the
// right operand, canvas alignment, division by zero and the display state of
// CILImage results.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

namespace {

CILImage makeDisplayImage(QORDataTypes type, int width, int height, const std::vector<uint8_t>& samples)
{
    CILImage image;
    image.initWithData(type, width, height, const_cast<uint8_t*>(samples.data()));
    return image;
}

bool isEmptyResult(const CILImageBase& image)
{
    return image.get_datatype() == static_cast<QORDataTypes>(-1) && image.get_width() == 0 &&
           image.get_height() == 0 && image.get_sizeinbytes() == 0;
}

} // namespace

TEST(ImageArithmetic, IntegerSamplesWrapAroundInEveryIntegerType)
{
    CILImageBase bytes = makeImage<uint8_t>(eByte, 2, 1, {200, 100});
    CILImageBase otherBytes = makeImage<uint8_t>(eByte, 2, 1, {100, 200});
    bytes += otherBytes;
    EXPECT_EQ(samplesOf<uint8_t>(bytes), (std::vector<uint8_t>{44, 44}));
    CILImageBase hundred = makeImage<uint8_t>(eByte, 1, 1, {100});
    CILImageBase twoHundred = makeImage<uint8_t>(eByte, 1, 1, {200});
    EXPECT_EQ(samplesOf<uint8_t>(hundred - twoHundred), (std::vector<uint8_t>{156}));

    CILImageBase shorts = makeImage<uint16_t>(eUShort, 3, 1, {65000, 300, 65535});
    CILImageBase shortFactors = makeImage<uint16_t>(eUShort, 3, 1, {1000, 300, 65535});
    CILImageBase sum = shorts + shortFactors;
    EXPECT_EQ(samplesOf<uint16_t>(sum)[0], 464);  // 66000 - 65536
    shorts *= shortFactors;
    // 65000000, 90000 and 65535^2 modulo 65536.
    EXPECT_EQ(samplesOf<uint16_t>(shorts), (std::vector<uint16_t>{53824, 24464, 1}));

    CILImageBase longs = makeImage<int32_t>(eLong, 3, 1, {INT32_MAX, INT32_MIN, 65536});
    CILImageBase longOperand = makeImage<int32_t>(eLong, 3, 1, {1, 1, 65536});
    CILImageBase longSum = longs + longOperand;
    EXPECT_EQ(samplesOf<int32_t>(longSum)[0], INT32_MIN);
    CILImageBase longDifference = longs - longOperand;
    EXPECT_EQ(samplesOf<int32_t>(longDifference)[1], INT32_MAX);
    CILImageBase longProduct = longs * longOperand;
    EXPECT_EQ(samplesOf<int32_t>(longProduct)[2], 0);  // 2^32 wraps to 0

    // The scalar forms wrap the same way, and subtraction adds the negated form.
    CILImageBase scalarBytes = makeImage<uint8_t>(eByte, 3, 1, {250, 5, 0});
    EXPECT_EQ(samplesOf<uint8_t>(scalarBytes + static_cast<unsigned char>(10)), (std::vector<uint8_t>{4, 15, 10}));
    EXPECT_EQ(samplesOf<uint8_t>(scalarBytes - static_cast<unsigned char>(10)), (std::vector<uint8_t>{240, 251, 246}));
    EXPECT_EQ(samplesOf<uint8_t>(scalarBytes + 300), (std::vector<uint8_t>{38, 49, 44}));  // 300 adds 44
    EXPECT_EQ(samplesOf<uint8_t>(scalarBytes - 1), (std::vector<uint8_t>{249, 4, 255}));
    CILImageBase scalarShorts = makeImage<uint16_t>(eUShort, 1, 1, {65535});
    EXPECT_EQ(samplesOf<uint16_t>(scalarShorts + static_cast<unsigned short>(2)), (std::vector<uint16_t>{1}));
    EXPECT_EQ(samplesOf<uint16_t>(scalarShorts * 65535), (std::vector<uint16_t>{1}));
    CILImageBase scalarLongs = makeImage<int32_t>(eLong, 2, 1, {INT32_MAX, INT32_MIN});
    EXPECT_EQ(samplesOf<int32_t>(scalarLongs + 1), (std::vector<int32_t>{INT32_MIN, INT32_MIN + 1}));
    EXPECT_EQ(samplesOf<int32_t>(scalarLongs - INT32_MIN), (std::vector<int32_t>{-1, 0}));
    EXPECT_EQ(samplesOf<int32_t>(scalarLongs * 2), (std::vector<int32_t>{-2, 0}));
}

TEST(ImageArithmetic, CompoundFormsPairSamplesInMemoryOrderAndCastTheRightOperand)
{
    // 4 x 2 += 2 x 4: the first 2 * 2 = 4 samples of each buffer, i.e. row 0
    // of the left image with rows 0 and 1 of the right one.
    CILImageBase wide = makeImage<uint8_t>(eByte, 4, 2, {1, 2, 3, 4, 5, 6, 7, 8});
    CILImageBase tall = makeImage<uint8_t>(eByte, 2, 4, {10, 20, 30, 40, 50, 60, 70, 80});
    wide += tall;
    EXPECT_EQ(wide.get_width(), 4u);
    EXPECT_EQ(samplesOf<uint8_t>(wide), (std::vector<uint8_t>{11, 22, 33, 44, 5, 6, 7, 8}));

    // Float samples truncate toward zero to 32 bits, then keep the low byte:
    // 2.9 -> 2, -2.9 -> -2 -> 254, 300.5 -> 44, 1e10 -> out of range -> 0.
    CILImageBase bytes = makeImage<uint8_t>(eByte, 4, 1, {10, 10, 10, 10});
    bytes += makeImage<float>(eFloat, 4, 1, {2.9f, -2.9f, 300.5f, 1e10f});
    EXPECT_EQ(samplesOf<uint8_t>(bytes), (std::vector<uint8_t>{12, 8, 54, 10}));

    CILImageBase shorts = makeImage<uint16_t>(eUShort, 1, 1, {10});
    shorts += makeImage<int32_t>(eLong, 1, 1, {70000});  // low 16 bits: 4464
    EXPECT_EQ(samplesOf<uint16_t>(shorts), (std::vector<uint16_t>{4474}));
    CILImageBase longs = makeImage<int32_t>(eLong, 2, 1, {5, -7});
    longs -= makeImage<uint16_t>(eUShort, 2, 1, {65535, 3});
    EXPECT_EQ(samplesOf<int32_t>(longs), (std::vector<int32_t>{-65530, -10}));
    CILImageBase doubles = makeImage<double>(eDouble, 1, 1, {1.5});
    doubles *= makeImage<uint8_t>(eByte, 1, 1, {4});
    EXPECT_EQ(samplesOf<double>(doubles), (std::vector<double>{6.0}));

    // Division: a divisor that is 0 in its own type gives 0; one that only
    // casts to 0 (a 16-bit 256 into bytes, 0.5 into longs) gives 0 as well.
    CILImageBase dividend = makeImage<uint8_t>(eByte, 3, 1, {100, 100, 100});
    dividend /= makeImage<uint16_t>(eUShort, 3, 1, {0, 256, 7});
    EXPECT_EQ(samplesOf<uint8_t>(dividend), (std::vector<uint8_t>{0, 0, 14}));
    CILImageBase longDividend = makeImage<int32_t>(eLong, 3, 1, {-7, 9, INT32_MIN});
    longDividend /= makeImage<float>(eFloat, 3, 1, {2.9f, 0.5f, -1.0f});
    EXPECT_EQ(samplesOf<int32_t>(longDividend), (std::vector<int32_t>{-3, 0, INT32_MIN}));
    CILImageBase floats = makeImage<float>(eFloat, 3, 1, {1.0f, 7.0f, 1.0f});
    floats /= makeImage<double>(eDouble, 3, 1, {0.0, 2.0, 1e-50});
    const std::vector<float> quotients = samplesOf<float>(floats);
    EXPECT_EQ(quotients[0], 0.0f);
    EXPECT_EQ(quotients[1], 3.5f);
    EXPECT_TRUE(std::isinf(quotients[2]));  // non-zero double, 0 as a float: IEEE
}

TEST(ImageArithmetic, BinaryFormsAlignImagesOnTheLargerCanvasWithZeroPadding)
{
    CILImageBase square = makeImage<uint8_t>(eByte, 2, 2, {1, 2, 3, 4});
    CILImageBase row = makeImage<uint8_t>(eByte, 3, 1, {10, 20, 30});
    CILImageBase sum = square + row;
    ASSERT_EQ(sum.get_width(), 3u);
    ASSERT_EQ(sum.get_height(), 2u);
    EXPECT_EQ(samplesOf<uint8_t>(sum), (std::vector<uint8_t>{11, 22, 30, 3, 4, 0}));
    EXPECT_EQ(samplesOf<uint8_t>(square - row), (std::vector<uint8_t>{247, 238, 226, 3, 4, 0}));
    EXPECT_EQ(samplesOf<uint8_t>(row * square), (std::vector<uint8_t>{10, 40, 0, 0, 0, 0}));

    // Division by 0 gives 0 for floats too, so the area only the left
    // operand covers divides to 0.
    CILImageBase dividend = makeImage<float>(eFloat, 2, 2, {10, 20, 30, 40});
    CILImageBase divisor = makeImage<float>(eFloat, 3, 1, {2, 0, 8});
    EXPECT_EQ(samplesOf<float>(dividend / divisor), (std::vector<float>{5, 0, 0, 0, 0, 0}));
    CILImageBase longs = makeImage<int32_t>(eLong, 2, 1, {INT32_MIN, -9});
    CILImageBase minusOnes = makeImage<int32_t>(eLong, 2, 1, {-1, 2});
    EXPECT_EQ(samplesOf<int32_t>(longs / minusOnes), (std::vector<int32_t>{INT32_MIN, -4}));

    // Different sample types: no arithmetic, an empty image of type -1.
    AssertRecorder asserts;
    CILImageBase shorts = makeImage<uint16_t>(eUShort, 3, 1, {1, 2, 3});
    CILImageBase mismatch = shorts + row;
    EXPECT_TRUE(isEmptyResult(mismatch));
    EXPECT_TRUE(asserts.saw(L"1==0", L"ImageLib/Source/ILImageBase"));
}

TEST(ImageArithmetic, ScalarsAreBroughtToTheImageTypeBeforeTheArithmetic)
{
    CILImageBase bytes = makeImage<uint8_t>(eByte, 3, 1, {10, 200, 7});
    EXPECT_EQ(samplesOf<uint8_t>(bytes * 2.9), (std::vector<uint8_t>{20, 144, 14}));  // times 2
    EXPECT_EQ(samplesOf<uint8_t>(bytes * 0.5f), (std::vector<uint8_t>{0, 0, 0}));
    EXPECT_EQ(samplesOf<uint8_t>(bytes / 3.99), (std::vector<uint8_t>{3, 66, 2}));
    CILImageBase longs = makeImage<int32_t>(eLong, 2, 1, {5, INT32_MIN});
    EXPECT_EQ(samplesOf<int32_t>(longs - 2.7), (std::vector<int32_t>{3, INT32_MAX - 1}));
    EXPECT_EQ(samplesOf<int32_t>(longs - (-2.7f)), (std::vector<int32_t>{7, INT32_MIN + 2}));
    EXPECT_EQ(samplesOf<int32_t>(longs / -1), (std::vector<int32_t>{-5, INT32_MIN}));

    // Integer division by a scalar that becomes 0 gives 0; floats stay IEEE.
    CILImageBase shorts = makeImage<uint16_t>(eUShort, 2, 1, {9, 65535});
    EXPECT_EQ(samplesOf<uint16_t>(shorts / 0.5), (std::vector<uint16_t>{0, 0}));
    EXPECT_EQ(samplesOf<int32_t>(longs / 0), (std::vector<int32_t>{0, 0}));
    CILImageBase floats = makeImage<float>(eFloat, 3, 1, {2.0f, 0.0f, -1.0f});
    const std::vector<float> quotients = samplesOf<float>(floats / 0.0);
    EXPECT_TRUE(std::isinf(quotients[0]) && quotients[0] > 0);
    EXPECT_TRUE(std::isnan(quotients[1]));
    EXPECT_TRUE(std::isinf(quotients[2]) && quotients[2] < 0);

    // s / image: 2.5 is 2 on a byte image and 2.5 on a float image; a zero
    // integer sample gives 0.
    CILImageBase divisors = makeImage<uint8_t>(eByte, 3, 1, {1, 2, 0});
    EXPECT_EQ(samplesOf<uint8_t>(divisors.divideScalarbyImage(2.5)), (std::vector<uint8_t>{2, 1, 0}));
    CILImageBase floatDivisors = makeImage<float>(eFloat, 2, 1, {1.0f, 2.0f});
    EXPECT_EQ(samplesOf<float>(floatDivisors.divideScalarbyImage(2.5f)), (std::vector<float>{2.5f, 1.25f}));
    EXPECT_EQ(samplesOf<uint8_t>(bytes), (std::vector<uint8_t>{10, 200, 7}));  // operand unchanged

    AssertRecorder asserts;
    CILImageBase none;
    EXPECT_TRUE(isEmptyResult(none + 1));
    EXPECT_TRUE(asserts.saw(L"1==0", L"ImageLib/Source/ILImageBase"));
}

TEST(ImageArithmetic, ReversedScalarFormsComputeScalarMinusAndOverTheImage)
{
    CILImage longs;
    const std::vector<int32_t> longSamples = {3, -5, INT32_MIN};
    longs.initWithData(eLong, 3, 1, const_cast<int32_t*>(longSamples.data()));
    EXPECT_EQ(samplesOf<int32_t>(10 - longs), (std::vector<int32_t>{7, 15, INT32_MIN + 10}));
    EXPECT_EQ(samplesOf<int32_t>(100 / longs), (std::vector<int32_t>{33, -20, 0}));
    EXPECT_EQ(samplesOf<int32_t>(2 + longs), (std::vector<int32_t>{5, -3, INT32_MIN + 2}));
    EXPECT_EQ(samplesOf<int32_t>(3 * longs), (std::vector<int32_t>{9, -15, INT32_MIN}));

    CILImage bytes = makeDisplayImage(eByte, 3, 1, {7, 0, 200});
    CILImage quotient = 100 / bytes;
    EXPECT_EQ(samplesOf<uint8_t>(quotient), (std::vector<uint8_t>{14, 0, 0}));
    EXPECT_EQ(quotient.getMax(), 14.0f);
    EXPECT_EQ(samplesOf<uint8_t>(1 - bytes), (std::vector<uint8_t>{250, 1, 57}));
}

TEST(ImageArithmetic, ImageResultsTakeTheDisplayStateOfTheirSource)
{
    CILImage left = makeDisplayImage(eByte, 2, 1, {1, 2});
    CILImage right = makeDisplayImage(eByte, 3, 1, {10, 20, 30});
    left.setColorTable(eClutRainbow, 0, 255);
    right.setColorTable(eClutGrey, 0, 255);
    left.setGamma(2.0f);
    left.setBinningFactor(3.0f);
    left.setFlipped(true);
    CILROIObject mask;
    left.setImageMask(&mask);

    CILImage sum = left + right;
    EXPECT_EQ(samplesOf<uint8_t>(sum), (std::vector<uint8_t>{11, 22, 30}));
    EXPECT_EQ(sum.getGamma(), 2.0f);
    EXPECT_EQ(sum.binningFactor(), 3.0f);
    EXPECT_EQ(sum.getPalette()->getMaxIndex(), left.getPalette()->getMaxIndex());
    EXPECT_NE(sum.getPalette()->getMaxIndex(), right.getPalette()->getMaxIndex());
    EXPECT_FALSE(sum.isFlipped());
    EXPECT_EQ(sum.getImageMask(), nullptr);
    EXPECT_TRUE(sum.isGLBufferDirty());
    EXPECT_EQ(sum.getMin(), 11.0f);
    EXPECT_EQ(sum.getMax(), 30.0f);

    CILImage scaled = right * 0.5;  // the byte form of 0.5 is 0
    EXPECT_EQ(scaled.getMax(), 0.0f);
    EXPECT_EQ(scaled.getPalette()->getMaxIndex(), right.getPalette()->getMaxIndex());
}

TEST(ImageArithmetic, InPlaceFormsRefreshTheStatisticsAndMarkTheImageDirty)
{
    CILImage image = makeDisplayImage(eByte, 3, 1, {10, 100, 0});
    ASSERT_NE(image.getPixelsForGL(0), nullptr);
    ASSERT_FALSE(image.isGLBufferDirty());
    image *= 3;
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{30, 44, 0}));
    EXPECT_EQ(image.getMax(), 44.0f);
    EXPECT_EQ(image.getNonZeroMin(), 30.0f);
    EXPECT_TRUE(image.isGLBufferDirty());

    image -= 31;  // 30 - 31 wraps
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{255, 13, 225}));
    image /= 0.9;  // truncates to 0: 0 instead of a division fault
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{0, 0, 0}));
    EXPECT_EQ(image.getMax(), 0.0f);

    CILImage floats;
    const std::vector<float> samples = {1.0f, -2.0f};
    floats.initWithData(eFloat, 2, 1, const_cast<float*>(samples.data()));
    floats += 0.25;
    floats /= 2;
    EXPECT_EQ(samplesOf<float>(floats), (std::vector<float>{0.625f, -0.875f}));
    EXPECT_EQ(floats.getMin(), -0.875f);

    CILImage other = makeDisplayImage(eByte, 2, 1, {5, 6});
    CILImage target = makeDisplayImage(eByte, 2, 1, {50, 60});
    target -= other;
    EXPECT_EQ(samplesOf<uint8_t>(target), (std::vector<uint8_t>{45, 54}));
    EXPECT_EQ(target.getMax(), 54.0f);
}
