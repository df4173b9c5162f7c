// Erosion and dilation: the rectangle cut at the edges for odd and even
// sizes, NaN handling, the two in-place paths and the CILImage forms.
#include "FilterTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(Morphology, TakesTheExtremeOfTheRectangleCutAtTheEdgesOnEveryType)
{
    forEverySampleType([](auto tag) {
        using T = decltype(tag);
        const std::vector<double> picture = {5, 4, 9, 3, 8, 7, 6, 2, 1, 0, 4, 3};  // 3 x 4
        CILImageBase image = imageOf<T>(3, 4, picture);
        std::vector<T> out(12);
        // Corner (0,0) under 3 x 3 sees the 2 x 2 block {5,4,3,8}.
        ASSERT_TRUE(image.Erode(3, 3, out.data()));
        EXPECT_EQ(out, typed<T>({3, 3, 4, 2, 1, 1, 0, 0, 1, 0, 0, 1}));
        ASSERT_TRUE(image.Dilate(3, 3, out.data()));
        EXPECT_EQ(out, typed<T>({8, 9, 9, 8, 9, 9, 8, 8, 8, 6, 6, 4}));
        // 2 x 2 reaches one back: (1,1) sees {5,4,3,8}, (0,0) only itself.
        ASSERT_TRUE(image.Dilate(2, 2, out.data()));
        EXPECT_EQ(out, typed<T>({5, 5, 9, 5, 8, 9, 6, 8, 8, 6, 6, 4}));
        EXPECT_EQ(samplesOf<T>(image), typed<T>(picture));  // a buffer leaves the image alone
        // 2 x 1 in place shifts bright edges one column to the right; 1 x 1 copies.
        CILImageBase row = imageOf<T>(4, 2, {0, 5, 0, 0, 7, 0, 0, 3});
        ASSERT_TRUE(row.Dilate(2, 1, nullptr));
        ASSERT_TRUE(row.Erode(1, 1, nullptr));
        EXPECT_EQ(samplesOf<T>(row), typed<T>({0, 5, 5, 0, 7, 7, 0, 3}));
    });
}

TEST(Morphology, ANaNNeverReplacesAResultAndIsNeverReplaced)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    CILImageBase image = makeImage<float>(eFloat, 4, 1, {5, 1, nan, 3});
    std::vector<float> dilated(4), eroded(4);
    ASSERT_TRUE(image.Dilate(3, 1, dilated.data()));
    ASSERT_TRUE(image.Erode(3, 1, eroded.data()));
    EXPECT_TRUE(std::isnan(dilated[2]) && std::isnan(eroded[2]));
    EXPECT_EQ(std::vector<float>({dilated[0], dilated[1], dilated[3]}), (std::vector<float>{5, 5, 3}));
    EXPECT_EQ(std::vector<float>({eroded[0], eroded[1], eroded[3]}), (std::vector<float>{1, 1, 3}));
}

TEST(Morphology, InPlaceErodeAndDilateDifferForAnUnknownType)
{
    AssertRecorder recorder;
    CILImageBase image = makeImage<int32_t>(eLong, 2, 1, {4, 2});
    image.set_datatype(static_cast<QORDataTypes>(9));
    EXPECT_TRUE(image.Erode(3, 3, nullptr));
    EXPECT_FALSE(image.Dilate(3, 3, nullptr));
    EXPECT_TRUE(recorder.saw(L"1==0", L"ImageLib/Source/ILImageBase"));  // shaping the temporary
    image.set_datatype(eLong);
    EXPECT_EQ(samplesOf<int32_t>(image), (std::vector<int32_t>{4, 2}));
}

TEST(Morphology, ImageFormsWriteTheDestinationOrWithoutOneTheImageItself)
{
    CILImage image, dest, empty, small;
    fillImage<uint8_t>(image, 3, 1, {1, 9, 4});
    fillImage<uint8_t>(dest, 3, 1, {0, 0, 0});
    fillImage<uint8_t>(small, 2, 1, {0, 0});
    ASSERT_TRUE(image.Dilate(3, 1, dest));
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{9, 9, 9}));
    EXPECT_EQ(dest.Min(), 9.0f);
    EXPECT_FALSE(image.Erode(3, 1, small));
    ASSERT_TRUE(image.Erode(3, 1, empty));  // no buffer: the image itself is eroded
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{1, 1, 4}));
    EXPECT_EQ(empty.get_data(), nullptr);
    ASSERT_TRUE(image.Erode(2, 1, image));
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{1, 1, 1}));
    EXPECT_EQ(image.Max(), 1.0f);
}
