// The pixel buffer: lifecycle, copying, comparison, filling and canvas resizing.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

TEST(PixelBuffer, DefaultImageIsEmptyAndUntyped)
{
    CILImageBase image;
    EXPECT_EQ(image.get_datatype(), static_cast<QORDataTypes>(-1));
    EXPECT_EQ(image.get_width(), 0u);
    EXPECT_EQ(image.getHeight(), 0u);
    EXPECT_EQ(image.get_sizeinbytes(), 0u);
    EXPECT_EQ(image.get_data(), nullptr);
}

TEST(PixelBuffer, InitWithTypeSizesTheBufferByTypeAndSides)
{
    CILImageBase image;
    ASSERT_TRUE(image.InitWithType(eDouble, 7, 3));
    EXPECT_EQ(image.get_sizeinbytes(), 7u * 3u * 8u);
    EXPECT_EQ(image.get_width(), 7u);
    EXPECT_EQ(image.get_height(), 3u);
    ASSERT_TRUE(image.InitWithType(eUShort, 5, 1));
    EXPECT_EQ(image.get_sizeinbytes(), 10u);
    EXPECT_EQ(image.get_datatype(), eUShort);
}

TEST(PixelBuffer, InitWithTypeRefusesSizesThatDoNotFitAndKeepsTheOldShape)
{
    CILImageBase image;
    ASSERT_TRUE(image.InitWithType(eFloat, 4, 2));
    // 65536 x 65536 pixels do not fit the signed 32-bit size.
    EXPECT_FALSE(image.InitWithType(eByte, 65536, 65536));
    EXPECT_EQ(image.get_data(), nullptr);
    EXPECT_EQ(image.get_datatype(), eFloat);
    EXPECT_EQ(image.get_width(), 4u);
    EXPECT_EQ(image.get_height(), 2u);
    EXPECT_EQ(image.get_sizeinbytes(), 32u);
    EXPECT_FALSE(image.InitWithType(eByte, -1, 5));
    EXPECT_FALSE(image.InitWithType(eByte, 5, -1));
    EXPECT_FALSE(image.InitWithType(eDouble, INT32_MAX, 2));
    EXPECT_EQ(image.get_data(), nullptr);
    // Operations see no data and refuse.
    EXPECT_FALSE(image.setConstData(int32_t(1)));
    float mn = 0;
    EXPECT_FALSE(image.getMinMax(&mn, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST(PixelBuffer, SettersThatOutgrowTheBufferMakeTheImageLookEmpty)
{
    CILImageBase image = makeImage<uint8_t>(eByte, 2, 2, {1, 2, 3, 4});
    image.set_width(100);
    EXPECT_FALSE(image.setConstData(int32_t(9)));
    float mx = 0;
    EXPECT_FALSE(image.getMinMax(nullptr, &mx, nullptr, nullptr, nullptr, nullptr));
    EXPECT_FALSE(image.ChangeType(eDouble));
    image.set_width(2);
    image.set_sizeinbytes(4000);
    EXPECT_FALSE(image.setConstData(int32_t(9)));
    image.set_sizeinbytes(4);
    EXPECT_TRUE(image.setConstData(int32_t(9)));
}

TEST(PixelBuffer, CopyAndAssignmentCopyThePixels)
{
    CILImageBase source = makeImage<int32_t>(eLong, 3, 2, {1, -2, 3, -4, 5, -6});
    CILImageBase copy(source);
    EXPECT_EQ(copy.get_datatype(), eLong);
    EXPECT_NE(copy.get_data(), source.get_data());
    EXPECT_EQ(samplesOf<int32_t>(copy), samplesOf<int32_t>(source));

    CILImageBase assigned = makeImage<uint8_t>(eByte, 1, 1, {9});
    assigned = source;
    EXPECT_EQ(assigned.get_datatype(), eLong);
    EXPECT_EQ(assigned.get_width(), 3u);
    EXPECT_EQ(samplesOf<int32_t>(assigned), samplesOf<int32_t>(source));

    // Assigning an empty, untyped image goes through the unknown-type size.
    AssertRecorder asserts;
    CILImageBase empty;
    CILImageBase emptyCopy(empty);
    EXPECT_TRUE(asserts.saw(L"1==0", L"ImageLib/Source/ILImageBase"));
    EXPECT_EQ(emptyCopy.get_datatype(), static_cast<QORDataTypes>(-1));
    EXPECT_EQ(emptyCopy.get_width(), 0u);
    EXPECT_EQ(emptyCopy.get_sizeinbytes(), 0u);
}

TEST(PixelBuffer, SelfAssignmentKeepsShapeButNotValues)
{
    CILImageBase image = makeImage<uint16_t>(eUShort, 3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    CILImageBase& alias = image;
    image = alias;
    EXPECT_EQ(image.get_datatype(), eUShort);
    EXPECT_EQ(image.get_width(), 3u);
    EXPECT_EQ(image.get_sizeinbytes(), 18u);
    EXPECT_NE(image.get_data(), nullptr);
}

TEST(PixelBuffer, SetImageDataCopiesAndChecksTheType)
{
    const std::vector<uint8_t> pixels{1, 2, 3, 4, 5, 6};
    CILImageBase image;
    ASSERT_TRUE(image.setImageData(pixels.data(), eByte, 3, 2, true));
    EXPECT_NE(image.get_data(), static_cast<const void*>(pixels.data()));
    EXPECT_EQ(samplesOf<uint8_t>(image), pixels);

    // reinit false keeps the buffer; another type fails and changes nothing.
    const std::vector<uint8_t> other{9, 9, 9, 9, 9, 9};
    EXPECT_FALSE(image.setImageData(other.data(), eUShort, 3, 2, false));
    EXPECT_EQ(samplesOf<uint8_t>(image), pixels);
    // Same type: width and height are ignored.
    EXPECT_TRUE(image.setImageData(other.data(), eByte, 100, 100, false));
    EXPECT_EQ(image.get_width(), 3u);
    EXPECT_EQ(samplesOf<uint8_t>(image), other);
    // A null source only allocates.
    EXPECT_TRUE(image.setImageData(nullptr, eFloat, 2, 2, true));
    EXPECT_EQ(image.get_sizeinbytes(), 16u);

    // reinit false with the same type and no buffer: true, nothing copied.
    CILImageBase failed;
    failed.InitWithType(eByte, 2, 2);
    failed.InitWithType(eByte, -1, 2);
    EXPECT_TRUE(failed.setImageData(other.data(), eByte, 2, 2, false));
    EXPECT_EQ(failed.get_data(), nullptr);
}

TEST(PixelBuffer, EqualityIsBytewise)
{
    CILImageBase a = makeImage<float>(eFloat, 2, 1, {0.0f, std::nanf("")});
    CILImageBase b(a);
    EXPECT_EQ(a == b, 1);
    EXPECT_EQ(a != b, 0);
    // +0 and -0 are different bytes.
    CILImageBase c = makeImage<float>(eFloat, 2, 1, {-0.0f, std::nanf("")});
    EXPECT_EQ(a == c, 0);
    EXPECT_EQ(a != c, 1);
    // Type or shape differences.
    CILImageBase d = makeImage<int32_t>(eLong, 2, 1, {0, 0});
    EXPECT_EQ(a == d, 0);
    CILImageBase e = makeImage<float>(eFloat, 1, 2, {0.0f, std::nanf("")});
    EXPECT_EQ(a == e, 0);
    EXPECT_EQ(a != e, 1);
    // Empty images.
    CILImageBase empty1, empty2;
    EXPECT_EQ(empty1 == empty2, 1);
    EXPECT_EQ(empty1 != empty2, 0);
    EXPECT_EQ(empty1.compareWithPrecession(empty2, 0.0), 1);
}

TEST(PixelBuffer, CompareWithPrecessionIsExactForIntegersAndTolerantForFloats)
{
    CILImageBase a = makeImage<float>(eFloat, 2, 1, {1.0f, 2.0f});
    CILImageBase b = makeImage<float>(eFloat, 2, 1, {1.5f, 2.0f});
    EXPECT_EQ(a.compareWithPrecession(b, 0.5), 1);  // exactly the precision passes
    EXPECT_EQ(a.compareWithPrecession(b, 0.4999), 0);
    CILImageBase da = makeImage<double>(eDouble, 1, 1, {1.0});
    CILImageBase db = makeImage<double>(eDouble, 1, 1, {1.25});
    EXPECT_EQ(da.compareWithPrecession(db, 0.25), 1);
    EXPECT_EQ(da.compareWithPrecession(db, 0.2499999), 0);
    // Integer samples ignore the precision.
    CILImageBase ia = makeImage<int32_t>(eLong, 1, 1, {5});
    CILImageBase ib = makeImage<int32_t>(eLong, 1, 1, {6});
    EXPECT_EQ(ia.compareWithPrecession(ib, 100.0), 0);
    // Sides first, then buffers, then types.
    CILImageBase other = makeImage<double>(eDouble, 2, 1, {1.0, 2.0});
    EXPECT_EQ(a.compareWithPrecession(other, 10.0), 0);
    CILImageBase emptySameSize;
    EXPECT_EQ(emptySameSize.compareWithPrecession(CILImageBase(), 0.0), 1);
    // The float precision is rounded to single precision first: 0.1f is
    // slightly above 0.1, so a difference of 0.1f passes with 0.1.
    CILImageBase fa = makeImage<float>(eFloat, 1, 1, {0.0f});
    CILImageBase fb = makeImage<float>(eFloat, 1, 1, {0.1f});
    EXPECT_EQ(fa.compareWithPrecession(fb, 0.1), 1);
}

TEST(PixelBuffer, SetConstDataWrapsIntoSmallTypes)
{
    CILImageBase bytes;
    bytes.InitWithType(eByte, 3, 2);
    ASSERT_TRUE(bytes.setConstData(int32_t(300)));
    EXPECT_EQ(samplesOf<uint8_t>(bytes), std::vector<uint8_t>(6, 44));
    ASSERT_TRUE(bytes.setConstData(int32_t(-1)));
    EXPECT_EQ(samplesOf<uint8_t>(bytes), std::vector<uint8_t>(6, 255));
    ASSERT_TRUE(bytes.setConstData(255.9));
    EXPECT_EQ(samplesOf<uint8_t>(bytes), std::vector<uint8_t>(6, 255));
    ASSERT_TRUE(bytes.setConstData(std::nan("")));
    EXPECT_EQ(samplesOf<uint8_t>(bytes), std::vector<uint8_t>(6, 0));

    CILImageBase shorts;
    shorts.InitWithType(eUShort, 2, 2);
    ASSERT_TRUE(shorts.setConstData(-1.5));
    EXPECT_EQ(samplesOf<uint16_t>(shorts), std::vector<uint16_t>(4, 65535));
    ASSERT_TRUE(shorts.setConstData(int32_t(65536 + 7)));
    EXPECT_EQ(samplesOf<uint16_t>(shorts), std::vector<uint16_t>(4, 7));

    CILImageBase longs;
    longs.InitWithType(eLong, 2, 1);
    ASSERT_TRUE(longs.setConstData(3e9));
    EXPECT_EQ(samplesOf<int32_t>(longs), std::vector<int32_t>(2, INT32_MIN));
    ASSERT_TRUE(longs.setConstData(-7.9));
    EXPECT_EQ(samplesOf<int32_t>(longs), std::vector<int32_t>(2, -7));

    CILImageBase floats;
    floats.InitWithType(eFloat, 2, 1);
    ASSERT_TRUE(floats.setConstData(0.1));
    EXPECT_EQ(samplesOf<float>(floats), std::vector<float>(2, 0.1f));
    ASSERT_TRUE(floats.setConstData(int32_t(16777217)));
    EXPECT_EQ(samplesOf<float>(floats), std::vector<float>(2, 16777216.0f));

    CILImageBase doubles;
    doubles.InitWithType(eDouble, 1, 3);
    ASSERT_TRUE(doubles.setConstData(0.1));
    EXPECT_EQ(samplesOf<double>(doubles), std::vector<double>(3, 0.1));

    CILImageBase none;
    EXPECT_FALSE(none.setConstData(1.0));
}

TEST(PixelBuffer, ResizeChangesTheCanvasAnchoredTopLeft)
{
    // 4 x 3 byte image to 2 x 5 with fill 7.
    CILImageBase image = makeImage<uint8_t>(eByte, 4, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    ASSERT_TRUE(image.resize(2u, 5u, static_cast<unsigned char>(7)));
    EXPECT_EQ(image.get_width(), 2u);
    EXPECT_EQ(image.get_height(), 5u);
    EXPECT_EQ(image.get_sizeinbytes(), 10u);
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{1, 2, 5, 6, 9, 10, 7, 7, 7, 7}));

    CILImageBase wide = makeImage<double>(eDouble, 2, 2, {1.5, 2.5, 3.5, 4.5});
    ASSERT_TRUE(wide.resize(3u, 1u, -1.0));
    EXPECT_EQ(samplesOf<double>(wide), (std::vector<double>{1.5, 2.5, -1.0}));

    CILImageBase shorts = makeImage<uint16_t>(eUShort, 1, 1, {500});
    ASSERT_TRUE(shorts.resize(2u, 2u, static_cast<unsigned short>(65535)));
    EXPECT_EQ(samplesOf<uint16_t>(shorts), (std::vector<uint16_t>{500, 65535, 65535, 65535}));

    CILImageBase longs = makeImage<int32_t>(eLong, 2, 1, {-5, 6});
    ASSERT_TRUE(longs.resize(1u, 2u, int32_t(-9)));
    EXPECT_EQ(samplesOf<int32_t>(longs), (std::vector<int32_t>{-5, -9}));

    CILImageBase floats = makeImage<float>(eFloat, 1, 1, {0.25f});
    ASSERT_TRUE(floats.resize(2u, 1u, 8.0f));
    EXPECT_EQ(samplesOf<float>(floats), (std::vector<float>{0.25f, 8.0f}));
}

TEST(PixelBuffer, ResizeRefusesOversizedCanvasesAndSurvivesAMismatchedOverload)
{
    CILImageBase image = makeImage<uint8_t>(eByte, 2, 2, {1, 2, 3, 4});
    EXPECT_FALSE(image.resize(70000u, 70000u, static_cast<unsigned char>(0)));
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{1, 2, 3, 4}));
    // The double overload on a byte image garbles pixels but stays in bounds.
    ASSERT_TRUE(image.resize(3u, 3u, 1.0));
    EXPECT_EQ(image.get_datatype(), eByte);
    EXPECT_EQ(image.get_sizeinbytes(), 9u);
}
