// Region statistics and particle analysis: tie rules, narrowed positions,
// rectangles and masks, the two-pass standard deviation, the image object's
// mask and single-precision mean, and the particle sums and maps.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// A record whose every output field holds -5 until written.
tagImageStatsInfo freshStats(bool compute)
{
    tagImageStatsInfo info;
    info.dMin = info.dMax = info.dMean = info.dStdDev = info.dSum = -5.0;
    info.dMinRow = info.dMinCol = info.dMaxRow = info.dMaxCol = -5.0;
    info.nCount = 12345;
    info.bComputeStats = compute;
    return info;
}

// min, max, mean, standard deviation, min row, min column, max row, max
// column, sum.
std::vector<double> statsOf(const tagImageStatsInfo& i)
{
    return {i.dMin, i.dMax, i.dMean, i.dStdDev, i.dMinRow, i.dMinCol, i.dMaxRow, i.dMaxCol, i.dSum};
}

// area, the five sums, last row, last column.
std::vector<double> sumsOf(const tagImageParticleAnalyzeInfo& i)
{
    return {i.dArea, i.dSumX, i.dSumY, i.dSumXX, i.dSumYY, i.dSumXY, double(i.nLastRow), double(i.nLastCol)};
}

tagImageParticleAnalyzeInfo freshParticles(uint32_t* map, uint32_t* map2)
{
    tagImageParticleAnalyzeInfo info;
    std::memset(&info, 0, sizeof info);
    info.dArea = -1.0;
    info.pParticleMap = map;
    info.pParticleMap2 = map2;
    return info;
}

} // namespace

TEST(ImageStats, TiesGoToTheLastPixelForBothExtremes)
{
    CILImageBase flat = makeImage<uint8_t>(eByte, 2, 2, {5, 5, 5, 5});
    tagImageStatsInfo info = freshStats(true);
    ASSERT_EQ(flat.getImageStats(&info, nullptr, 0, 0, 0, 0), eILSuccess);
    EXPECT_EQ(info.nCount, 4u);
    EXPECT_EQ(statsOf(info), (std::vector<double>{5, 5, 5, 0, 1, 1, 1, 1, 20}));

    CILImageBase row = makeImage<int32_t>(eLong, 5, 1, {2, 1, 9, 1, 9});
    info = freshStats(true);
    ASSERT_EQ(row.getImageStats(&info, nullptr, 0, 0, 0, 0), eILSuccess);
    EXPECT_EQ(info.dMinCol, 3.0);
    EXPECT_EQ(info.dMaxCol, 4.0);
    EXPECT_EQ(info.dSum, 22.0);
    EXPECT_DOUBLE_EQ(info.dMean, 4.4);
    // Squared deviations 5.76 + 11.56 + 21.16 + 11.56 + 21.16 over n - 1 = 4.
    EXPECT_DOUBLE_EQ(info.dStdDev, std::sqrt(71.2 / 4.0));
}

TEST(ImageStats, PositionsWrapInTheWidthOfByteAndSixteenBitSamples)
{
    std::vector<uint8_t> bytes(301, 0);
    bytes[300] = 9;
    CILImageBase byteImage = makeImage<uint8_t>(eByte, 301, 1, bytes);
    tagImageStatsInfo info = freshStats(true);
    ASSERT_EQ(byteImage.getImageStats(&info, nullptr, 0, 0, 0, 0), eILSuccess);
    EXPECT_EQ(info.dMaxCol, 44.0);
    EXPECT_EQ(info.dMinCol, 299.0 - 256.0);

    std::vector<int32_t> longs(bytes.begin(), bytes.end());
    CILImageBase longImage = makeImage<int32_t>(eLong, 301, 1, longs);
    ASSERT_EQ(longImage.getImageStats(&info, nullptr, 0, 0, 0, 0), eILSuccess);
    EXPECT_EQ(info.dMaxCol, 300.0);

    std::vector<uint16_t> shorts(65540, 1);
    shorts[65539] = 2;
    CILImageBase shortImage = makeImage<uint16_t>(eUShort, 65540, 1, shorts);
    ASSERT_EQ(shortImage.getImageStats(&info, nullptr, 0, 0, 0, 0), eILSuccess);
    EXPECT_EQ(info.dMaxCol, 3.0);
}

TEST(ImageStats, MasksRestrictTheCountAndAnEmptySelectionGivesZeros)
{
    CILImageBase image = makeImage<float>(eFloat, 3, 2, {1, 2, 3, 4, 5, 6});
    const std::vector<char> none(6, 0);
    tagImageStatsInfo info = freshStats(true);
    ASSERT_EQ(image.getImageStats(&info, none.data(), 0, 0, 0, 0), eILSuccess);
    EXPECT_EQ(info.nCount, 0u);
    EXPECT_EQ(statsOf(info), std::vector<double>(9, 0.0));

    // Without bComputeStats only the count is written.
    const std::vector<char> some{0, 1, 0, 0, 0, 1};
    info = freshStats(false);
    ASSERT_EQ(image.getImageStats(&info, some.data(), 0, 0, 0, 0), eILSuccess);
    EXPECT_EQ(info.nCount, 2u);
    EXPECT_EQ(statsOf(info), std::vector<double>(9, -5.0));

    // One counted pixel has a standard deviation of 0.
    const std::vector<char> one{0, 0, 0, 0, 1, 0};
    info = freshStats(true);
    ASSERT_EQ(image.getImageStats(&info, one.data(), 0, 0, 0, 0), eILSuccess);
    EXPECT_EQ(info.nCount, 1u);
    EXPECT_EQ(statsOf(info), (std::vector<double>{5, 5, 5, 0, 1, 1, 1, 1, 5}));
}

TEST(ImageStats, RectanglesRunToTheImageEndAndReadOnPastTheWidth)
{
    // 4 x 3 image holding its own index.
    std::vector<double> index(12);
    for (int i = 0; i < 12; ++i) index[i] = i;
    CILImageBase image = makeImage<double>(eDouble, 4, 3, index);
    tagImageStatsInfo info = freshStats(true);
    // rowEnd equal to rowStart means the last row: rows 1..2, columns 1..2.
    ASSERT_EQ(image.getImageStats(&info, nullptr, 1, 1, 3, 1), eILSuccess);
    EXPECT_EQ(info.nCount, 4u);
    EXPECT_EQ(info.dSum, 5.0 + 6.0 + 9.0 + 10.0);
    EXPECT_EQ(info.dMaxRow, 2.0);
    EXPECT_EQ(info.dMaxCol, 2.0);

    // Columns 3..4 of row 0: column 4 is the first sample of row 1.
    ASSERT_EQ(image.getImageStats(&info, nullptr, 3, 0, 5, 1), eILSuccess);
    EXPECT_EQ(info.nCount, 2u);
    EXPECT_EQ(info.dMax, 4.0);
    EXPECT_EQ(info.dMaxCol, 4.0);

    // The same on the last row would read past the buffer: refused.
    info = freshStats(true);
    EXPECT_EQ(image.getImageStats(&info, nullptr, 3, 2, 5, 3), eILInvalidArgument);
    EXPECT_EQ(image.getImageStats(&info, nullptr, -1, 0, 2, 1), eILInvalidArgument);
    EXPECT_EQ(info.nCount, 12345u);

    CILImageBase empty;
    EXPECT_EQ(empty.getImageStats(&info, nullptr, 0, 0, 0, 0), eILNoData);
    EXPECT_EQ(info.nCount, 12345u);
}

TEST(ImageStats, TheImageObjectUsesItsMaskAndStoresTheMeanInSinglePrecision)
{
    CILImage image;
    std::vector<double> samples{0.1, 0.2, 9.0, 7.0};
    ASSERT_TRUE(image.initWithData(eDouble, 2, 2, samples.data()));
    CILROIObject mask;
    ASSERT_TRUE(mask.initMask(eByteMask, 2, 2, 1));
    char* cells = static_cast<char*>(const_cast<void*>(mask.get_maskdata()));
    cells[2] = cells[3] = 0;  // the first row only
    image.setImageMask(&mask);

    tagImageStatsInfo info = freshStats(true);
    ASSERT_EQ(image.imageStats(&info, true, nullptr, 0, 0), eILSuccess);
    EXPECT_EQ(info.nCount, 2u);
    EXPECT_DOUBLE_EQ(info.dMean, 0.15);
    EXPECT_EQ(image.Mean(), static_cast<double>(static_cast<float>(info.dMean)));
    EXPECT_NE(image.Mean(), info.dMean);
    EXPECT_EQ(image.Max(), 0.2f);
    EXPECT_EQ(image.Min(), 0.1f);

    // A caller's mask wins over the image's.
    const std::vector<char> last{0, 0, 0, 1};
    ASSERT_EQ(image.imageStats(&info, false, last.data(), 0, 0), eILSuccess);
    EXPECT_EQ(info.dMax, 7.0);
    EXPECT_EQ(image.Max(), 0.2f);

    // A mask of another kind raises the assertion and computes nothing; a
    // byte mask smaller than the image is refused.
    mask.setMaskType(eBitMask);
    {
        AssertRecorder recorder;
        EXPECT_EQ(image.imageStats(&info, true, nullptr, 0, 0), eILInvalidArgument);
        EXPECT_TRUE(recorder.saw(L"m_ImageMask->maskType()==eByteMask", L"ImageLib/Source/ILImage"));
    }
    CILROIObject small;
    ASSERT_TRUE(small.initMask(eByteMask, 1, 2, 1));
    image.setImageMask(&small);
    EXPECT_EQ(image.imageStats(&info, true, nullptr, 0, 0), eILInvalidArgument);
    EXPECT_EQ(image.Max(), 0.2f);
    image.setImageMask(nullptr);
}

TEST(ParticleAnalysis, SumsAndMapsCoverThePixelsEqualToOne)
{
    // 4 x 3; ones at (col 1, row 0), (2, 1), (3, 2); a 2 is not a particle.
    CILImageBase image = makeImage<uint8_t>(eByte, 4, 3, {0, 1, 0, 2,
                                                          0, 0, 1, 0,
                                                          0, 0, 0, 1});
    std::vector<uint32_t> map(12, 9), map2(12, 9);
    tagImageParticleAnalyzeInfo info = freshParticles(map.data(), map2.data());
    ASSERT_EQ(image.getImageParticleAnalysisStats(&info, nullptr, 0, 0), eILSuccess);
    EXPECT_EQ(sumsOf(info), (std::vector<double>{3, 6, 3, 14, 5, 8, 2, 3}));
    const std::vector<uint32_t> expected{0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    EXPECT_EQ(map, expected);
    EXPECT_EQ(map2, expected);

    // Floating images compare with 1.0; without particles all is 0.
    CILImageBase none = makeImage<float>(eFloat, 2, 2, {0.5f, 2.0f, 0.0f, 1.5f});
    info = freshParticles(nullptr, nullptr);
    ASSERT_EQ(none.getImageParticleAnalysisStats(&info, nullptr, 7, 0), eILSuccess);
    EXPECT_EQ(sumsOf(info), std::vector<double>(8, 0.0));
}

TEST(ParticleAnalysis, TheMaskIsReadFromItsFirstByteWhateverTheStartRow)
{
    CILImageBase image = makeImage<int32_t>(eLong, 4, 3, {1, 1, 1, 1,
                                                          0, 0, 1, 0,
                                                          1, 1, 1, 1});
    // Mask row 0 applies to image row 1, mask row 1 to image row 2.
    const std::vector<char> mask{1, 1, 1, 1,
                                 0, 0, 0, 0,
                                 0, 0, 0, 0};
    std::vector<uint32_t> map(12, 9), map2(12, 9);
    tagImageParticleAnalyzeInfo info = freshParticles(map.data(), map2.data());
    ASSERT_EQ(image.getImageParticleAnalysisStats(&info, mask.data(), 0, 1), eILSuccess);
    EXPECT_EQ(sumsOf(info), (std::vector<double>{1, 2, 1, 4, 1, 2, 1, 2}));
    // Rows above the start and masked pixels stay 0.
    EXPECT_EQ(map, (std::vector<uint32_t>{0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0}));

    // One map alone is not written.
    std::vector<uint32_t> lone(12, 9);
    info = freshParticles(lone.data(), nullptr);
    ASSERT_EQ(image.getImageParticleAnalysisStats(&info, nullptr, 0, 0), eILSuccess);
    EXPECT_EQ(lone, std::vector<uint32_t>(12, 9));
    EXPECT_EQ(image.getImageParticleAnalysisStats(&info, nullptr, 0, -1), eILInvalidArgument);
}

TEST(ParticleAnalysis, SquaresAreFormedInThirtyTwoBits)
{
    std::vector<uint8_t> samples(70001, 0);
    samples[70000] = 1;
    CILImageBase image = makeImage<uint8_t>(eByte, 70001, 1, samples);
    tagImageParticleAnalyzeInfo info = freshParticles(nullptr, nullptr);
    ASSERT_EQ(image.getImageParticleAnalysisStats(&info, nullptr, 0, 0), eILSuccess);
    EXPECT_EQ(sumsOf(info), (std::vector<double>{1, 70000, 0, 4900000000.0 - 4294967296.0, 0, 0, 0, 70000}));

    CILImageBase empty;
    EXPECT_EQ(empty.getImageParticleAnalysisStats(&info, nullptr, 0, 0), eILNoData);
}
