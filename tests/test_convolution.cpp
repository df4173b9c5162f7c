// Convolution with a caller's kernel and the smoothing entry points: the
// unflipped kernel on whole windows, the plain mean on cut ones, storage by
// floor with wrap-around, and the status codes.
#include "FilterTestSupport.h"

#include <gtest/gtest.h>

TEST(Convolution, WholeWindowsUseTheKernelUnflippedAndCutOnesThePlainMean)
{
    // 4 x 4 holding 4y + x; coefficient (kx 2, ky 1) picks the right-hand
    // neighbour. Edge means are sums of sample x (1 / count) in reading order:
    // (2,0) = (1+2+3+5+6+7) x (1/6) comes to 3.9999999999999996 and floors to 3.
    const double rightNeighbour[9] = {0, 0, 0, 0, 0, 1, 0, 0, 0};
    const std::vector<double> exact = {2.5, 3.0, 3.9999999999999996, 4.5, 4.5, 6, 7, 6.499999999999999,
                                       8.5, 10, 11, 10.5, 10.5, 11, 12, 12.5};
    forEverySampleType([&](auto tag) {
        using T = decltype(tag);
        CILImageBase image = imageOf<T>(4, 4, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15});
        CILImageBase dest;
        ASSERT_EQ(image.filter(3, rightNeighbour, dest), eILSuccess);
        EXPECT_EQ(samplesOf<T>(dest), typed<T>(exact));
        // n = 2 reaches one back; only row 0 and column 0 are cut.
        const double kernel[4] = {1, 2, 3, 4};
        image = imageOf<T>(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
        ASSERT_EQ(image.filter(2, kernel), eILSuccess);  // (1,1) = 1x1 + 2x2 + 3x4 + 4x5
        EXPECT_EQ(samplesOf<T>(image), typed<T>({1, 1.5, 2.5, 2.5, 37, 47, 5.5, 67, 77}));
    });
}

TEST(Convolution, IntegerResultsAreFlooredAndKeepTheirLowBits)
{
    const double minusOne = -1.0, minusHalf = -0.5, three = 3.0;
    CILImageBase bytes = makeImage<uint8_t>(eByte, 3, 1, {1, 3, 100});
    CILImageBase out;
    ASSERT_EQ(bytes.filter(1, &minusOne, out), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(out), (std::vector<uint8_t>{255, 253, 156}));
    ASSERT_EQ(bytes.filter(1, &minusHalf, out), eILSuccess);  // floor(-1.5) = -2, not -1
    EXPECT_EQ(samplesOf<uint8_t>(out), (std::vector<uint8_t>{255, 254, 206}));
    ASSERT_EQ(bytes.filter(1, &three, out), eILSuccess);  // 300 keeps its low byte
    EXPECT_EQ(samplesOf<uint8_t>(out), (std::vector<uint8_t>{3, 9, 44}));
    CILImageBase shorts = makeImage<uint16_t>(eUShort, 1, 1, {1});
    ASSERT_EQ(shorts.filter(1, &minusOne), eILSuccess);
    EXPECT_EQ(samplesOf<uint16_t>(shorts)[0], 65535);
}

TEST(Convolution, SmallImagesNeverReadTheKernelAndSizeZeroGivesZero)
{
    // Smaller than n both ways: every pixel is the whole image's mean, and a
    // null kernel is fine because no window is whole.
    CILImageBase small = makeImage<double>(eDouble, 2, 2, {1, 2, 3, 4});
    ASSERT_EQ(small.filter(5, nullptr), eILSuccess);
    EXPECT_EQ(samplesOf<double>(small), std::vector<double>(4, 2.5));
    CILImageBase image = makeImage<int32_t>(eLong, 3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    EXPECT_EQ(image.filter(3, nullptr), eILOperationFailed);  // a whole window would read it
    EXPECT_EQ(samplesOf<int32_t>(image)[4], 5);
    ASSERT_EQ(image.filter(0, nullptr), eILSuccess);
    EXPECT_EQ(samplesOf<int32_t>(image), std::vector<int32_t>(9, 0));
}

TEST(Convolution, SmoothingChoosesByMethodAndAnswersWithTheDocumentedCodes)
{
    CILImage image, dest, medianDest;
    fillImage<uint8_t>(image, 3, 3, {0, 0, 0, 0, 9, 0, 0, 0, 0});
    image.setGamma(3.0f);
    EXPECT_EQ(image.filter(3, eSmoothUnsupported), eILOperationFailed);
    EXPECT_EQ(image.filter(3, eSmoothUndefined), eILInvalidArgument);
    EXPECT_EQ(image.filter(3, static_cast<eSmoothFilterTypes>(4)), eILInvalidArgument);
    EXPECT_EQ(image.filter(3, nullptr, eSmoothUndefined), eILInvalidArgument);
    EXPECT_EQ(samplesOf<uint8_t>(image)[4], 9);

    // Box: corner 9/4 -> 2, edge 9/6 -> 1, centre 1. `dest` takes the display state.
    ASSERT_EQ(image.filter(3, dest, eSmoothBoxFilter), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{2, 1, 2, 1, 1, 1, 2, 1, 2}));
    EXPECT_EQ(dest.getGamma(), 3.0f);
    EXPECT_EQ(dest.Max(), 2.0f);
    // The median destination is refreshed but copies nothing.
    ASSERT_EQ(image.filter(3, medianDest, eSmoothMedianFilter), eILSuccess);
    EXPECT_EQ(medianDest.getGamma(), 1.0f);
    EXPECT_EQ(medianDest.Max(), 0.0f);

    // With a kernel the method is ignored.
    const double sum[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    ASSERT_EQ(image.filter(3, sum, eSmoothUnsupported), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{2, 1, 2, 1, 9, 1, 2, 1, 2}));
    ASSERT_EQ(image.filter(3, eSmoothBoxFilter), eILSuccess);
    EXPECT_EQ(image.Max(), 3.0f);  // corners now see {2,1,1,9}: 13/4 -> 3
}
