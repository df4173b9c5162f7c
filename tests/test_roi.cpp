// Region-of-interest masks and the merge of two images under a mask image.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <numeric>

namespace {

std::vector<unsigned char> cells(const CILROIObject& mask)
{
    const unsigned char* data = static_cast<const unsigned char*>(mask.get_maskdata());
    return data ? std::vector<unsigned char>(data, data + mask.masksizeBytes()) : std::vector<unsigned char>();
}

int insideCount(const CILROIObject& mask)
{
    int n = 0;
    for (unsigned char c : cells(mask)) n += c != 0;
    return n;
}

} // namespace

TEST(RoiMask, InitInvertAndClearToggleBitZero)
{
    CILROIObject mask;
    EXPECT_EQ(mask.get_maskdata(), nullptr);
    EXPECT_FALSE(mask.InvertMask());
    ASSERT_TRUE(mask.initMask(eByteMask, 4, 3, 1));
    EXPECT_EQ(mask.maskType(), eByteMask);
    EXPECT_EQ(mask.masksizeBytes(), 12u);
    EXPECT_EQ(cells(mask), std::vector<unsigned char>(12, 255));
    ASSERT_TRUE(mask.InvertMask());
    EXPECT_EQ(cells(mask), std::vector<unsigned char>(12, 254));  // still inside
    ASSERT_TRUE(mask.ClearMask());
    ASSERT_TRUE(mask.InvertMask());
    EXPECT_EQ(cells(mask), std::vector<unsigned char>(12, 1));
    ASSERT_TRUE(mask.MaskAll());
    EXPECT_EQ(cells(mask), std::vector<unsigned char>(12, 255));
    ASSERT_TRUE(mask.initMask(eByteMask, 2, 2, 0));
    EXPECT_EQ(cells(mask), std::vector<unsigned char>(4, 0));
    EXPECT_FALSE(mask.initMask(eByteMask, -2, 2, 0));
    EXPECT_FALSE(mask.initMask(eByteMask, 70000, 70000, 0));  // more than 32 bits of cells
}

TEST(RoiMask, BitMasksAreRefusedAndOtherKindsHoldNothing)
{
    CILROIObject mask;
    mask.initMask(eByteMask, 3, 3, 1);
    AssertRecorder asserts;
    EXPECT_FALSE(mask.initMask(eBitMask, 3, 3, 1));
    EXPECT_TRUE(asserts.saw(L"1==0", L"ImageLib/Source/ILROIObject"));
    EXPECT_EQ(mask.maskType(), eBitMask);
    EXPECT_EQ(mask.get_maskdata(), nullptr);
    EXPECT_FALSE(mask.ClearMask());
    EXPECT_TRUE(mask.initMask(static_cast<QORImageMaskTypes>(7), 3, 3, 1));
    EXPECT_EQ(mask.get_maskdata(), nullptr);
}

TEST(RoiMask, AddMaskRectNeverWritesTheLastRowOrColumn)
{
    CILROIObject mask;
    mask.initMask(eByteMask, 10, 10, 0);
    ASSERT_TRUE(mask.AddMaskRect(0, 0, 100, 100, 1));
    EXPECT_EQ(insideCount(mask), 81);
    const std::vector<unsigned char> c = cells(mask);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(c[9 * 10 + i], 0) << "last row";
        EXPECT_EQ(c[i * 10 + 9], 0) << "last column";
    }
    EXPECT_EQ(c[8 * 10 + 8], 1);

    // value 7 writes 1, value 0 clears; inclusive bounds.
    mask.ClearMask();
    mask.AddMaskRect(2, 3, 4, 3, 7);
    EXPECT_EQ(insideCount(mask), 3);
    EXPECT_EQ(cells(mask)[3 * 10 + 2], 1);
    mask.AddMaskRect(3, 3, 3, 3, 0);
    EXPECT_EQ(insideCount(mask), 2);

    // left beyond the clamped right changes nothing; top beyond bottom neither.
    mask.ClearMask();
    EXPECT_TRUE(mask.AddMaskRect(9, 0, 20, 5, 1));
    EXPECT_TRUE(mask.AddMaskRect(0, 6, 5, 2, 1));
    EXPECT_EQ(insideCount(mask), 0);

    // A negative top starts at row 0.
    mask.AddMaskRect(2, -5, 3, 1, 1);
    EXPECT_EQ(insideCount(mask), 4);
    EXPECT_EQ(cells(mask)[0 * 10 + 2], 1);
    EXPECT_EQ(cells(mask)[1 * 10 + 3], 1);

    // A one-column mask: the limit max(width - 2, 0) lets column 0 be written.
    CILROIObject thin;
    thin.initMask(eByteMask, 1, 4, 0);
    thin.AddMaskRect(0, 0, 5, 5, 1);
    EXPECT_EQ(cells(thin), (std::vector<unsigned char>{1, 1, 1, 0}));
}

TEST(RoiMask, AddMaskUnitesAndReadsOneCellPastASmallerMask)
{
    CILROIObject a, b;
    a.initMask(eByteMask, 3, 2, 0);
    b.initMask(eByteMask, 3, 2, 0);
    a.AddMaskRect(0, 0, 0, 0, 1);
    b.MaskAll();
    b.AddMaskRect(0, 0, 0, 0, 0);  // b is 255 except cell 0
    ASSERT_TRUE(a.AddMask(b));
    EXPECT_EQ(cells(a), std::vector<unsigned char>(6, 1));

    // A 2x2 mask into a 4x4 one: rows and columns 0..2 are visited, cells
    // addressed with the smaller mask's row length.
    CILROIObject big, small;
    big.initMask(eByteMask, 4, 4, 0);
    small.initMask(eByteMask, 2, 2, 0);
    const_cast<unsigned char*>(static_cast<const unsigned char*>(small.get_maskdata()))[2] = 1;  // (row 1, col 0)
    ASSERT_TRUE(big.AddMask(small));
    std::vector<unsigned char> expected(16, 0);
    expected[1 * 4 + 0] = 1;  // r=1, c=0 reads cell 2
    expected[0 * 4 + 2] = 1;  // r=0, c=2 reads cell 2 as well
    EXPECT_EQ(cells(big), expected);

    // Different kinds assert and go on with this mask's kind.
    CILROIObject other;
    other.initMask(static_cast<QORImageMaskTypes>(5), 1, 1, 0);
    AssertRecorder asserts;
    EXPECT_TRUE(big.AddMask(other));
    EXPECT_TRUE(asserts.saw(L"someothermask.m_masktype == m_masktype", L"ImageLib/Source/ILROIObject"));

    CILROIObject empty;
    EXPECT_FALSE(empty.AddMask(big));
}

TEST(RoiMask, CopyMakesAnIndependentMask)
{
    CILROIObject mask;
    mask.initMask(eByteMask, 3, 3, 0);
    mask.AddMaskRect(1, 1, 1, 1, 1);
    CILROIObject copy(mask);
    EXPECT_EQ(cells(copy), cells(mask));
    EXPECT_NE(copy.get_maskdata(), mask.get_maskdata());
    EXPECT_EQ(copy.maskWidth(), 3u);
    EXPECT_EQ(copy.maskHeight(), 3u);
}

TEST(SelectImageByMask, TakesTheOtherImageWhereTheMaskIsSet)
{
    CILImageBase image = makeImage<float>(eFloat, 3, 1, {1, 2, 3});
    CILImageBase other = makeImage<float>(eFloat, 3, 1, {7, 8, 9});
    CILImageBase mask = makeImage<uint8_t>(eByte, 3, 1, {0, 5, 0});
    ASSERT_TRUE(image.selectImageByMask(mask, other));
    EXPECT_EQ(samplesOf<float>(image), (std::vector<float>{1, 8, 3}));

    CILImageBase wrongSize = makeImage<uint8_t>(eByte, 2, 1, {1, 1});
    EXPECT_FALSE(image.selectImageByMask(wrongSize, other));
    EXPECT_EQ(samplesOf<float>(image), (std::vector<float>{1, 8, 3}));
    EXPECT_FALSE(image.selectImageByMask(mask, other, other));

    // A mask image that is not bytes asserts and is still read byte by byte.
    // Its bytes are 1 0 0 0 0 0: only pixel 0 is selected.
    CILImageBase shortMask = makeImage<uint16_t>(eUShort, 3, 1, {1, 0, 0});
    AssertRecorder asserts;
    ASSERT_TRUE(image.selectImageByMask(shortMask, other));
    EXPECT_TRUE(asserts.saw(L"pImgMask.m_datatype == eByte", L"ImageLib/Source/ILImageBase_Procs"));
    EXPECT_EQ(samplesOf<float>(image), (std::vector<float>{7, 8, 3}));

    // Another type for the other image asserts; a smaller one is refused.
    CILImageBase bytes = makeImage<uint8_t>(eByte, 3, 1, {1, 2, 3});
    EXPECT_FALSE(image.selectImageByMask(mask, bytes));
    EXPECT_TRUE(asserts.saw(L"m_datatype == pOtherImg.m_datatype", L"ImageLib/Source/ILImageBase_Procs"));
}
