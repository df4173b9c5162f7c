// Flip, mirror and quarter turns on every sample type and on degenerate shapes.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// Runs `check` with a 3 x 2 image holding 1..6 in each sample type.
template <typename Check>
void forEveryType(Check check)
{
    check(makeImage<uint8_t>(eByte, 3, 2, {1, 2, 3, 4, 5, 6}), uint8_t());
    check(makeImage<uint16_t>(eUShort, 3, 2, {1, 2, 3, 4, 5, 6}), uint16_t());
    check(makeImage<int32_t>(eLong, 3, 2, {1, 2, 3, 4, 5, 6}), int32_t());
    check(makeImage<float>(eFloat, 3, 2, {1, 2, 3, 4, 5, 6}), float());
    check(makeImage<double>(eDouble, 3, 2, {1, 2, 3, 4, 5, 6}), double());
}

template <typename T> std::vector<T> values(std::initializer_list<int> v) { return std::vector<T>(v.begin(), v.end()); }

} // namespace

TEST(Rearrange, FourFormsOnEverySampleType)
{
    forEveryType([](CILImageBase image, auto tag) {
        using T = decltype(tag);
        CILImageBase dest;
        ASSERT_TRUE(image.Flip(dest));
        EXPECT_EQ(samplesOf<T>(dest), values<T>({4, 5, 6, 1, 2, 3}));
        ASSERT_TRUE(image.Mirror(dest));
        EXPECT_EQ(samplesOf<T>(dest), values<T>({3, 2, 1, 6, 5, 4}));
        ASSERT_TRUE(image.RotateLeft(dest));
        EXPECT_EQ(dest.get_width(), 2u);
        EXPECT_EQ(dest.get_height(), 3u);
        EXPECT_EQ(samplesOf<T>(dest), values<T>({3, 6, 2, 5, 1, 4}));
        ASSERT_TRUE(image.RotateRight(dest));
        EXPECT_EQ(samplesOf<T>(dest), values<T>({4, 1, 5, 2, 6, 3}));
        EXPECT_EQ(samplesOf<T>(image), values<T>({1, 2, 3, 4, 5, 6}));  // source untouched

        // In place.
        CILImageBase work(image);
        ASSERT_TRUE(work.Flip(static_cast<void*>(nullptr)));
        EXPECT_EQ(samplesOf<T>(work), values<T>({4, 5, 6, 1, 2, 3}));
        ASSERT_TRUE(work.Mirror(static_cast<void*>(nullptr)));
        EXPECT_EQ(samplesOf<T>(work), values<T>({6, 5, 4, 3, 2, 1}));
        ASSERT_TRUE(work.RotateRight());
        EXPECT_EQ(work.get_width(), 2u);
        EXPECT_EQ(samplesOf<T>(work), values<T>({3, 6, 2, 5, 1, 4}));
        ASSERT_TRUE(work.RotateLeft());
        EXPECT_EQ(samplesOf<T>(work), values<T>({6, 5, 4, 3, 2, 1}));
        EXPECT_EQ(work.get_datatype(), image.get_datatype());
    });
}

TEST(Rearrange, RawBufferFormsDifferDeliberately)
{
    CILImageBase image = makeImage<uint16_t>(eUShort, 3, 2, {1, 2, 3, 4, 5, 6});
    std::vector<uint16_t> buffer(6, 0);
    ASSERT_TRUE(image.Flip(buffer.data()));
    EXPECT_EQ(buffer, (std::vector<uint16_t>{4, 5, 6, 1, 2, 3}));
    EXPECT_EQ(samplesOf<uint16_t>(image), (std::vector<uint16_t>{1, 2, 3, 4, 5, 6}));  // Flip leaves the image

    ASSERT_TRUE(image.Mirror(buffer.data()));
    EXPECT_EQ(buffer, (std::vector<uint16_t>{3, 2, 1, 6, 5, 4}));
    EXPECT_EQ(samplesOf<uint16_t>(image), buffer);  // Mirror changes the image too
}

TEST(Rearrange, TurnsRoundTripAndSamplesMoveBitForBit)
{
    std::vector<float> odd(7 * 5);
    for (size_t i = 0; i < odd.size(); ++i) odd[i] = static_cast<float>(i) * 1.5f - 9.0f;
    uint32_t signalingNaN = 0x7f800001u;  // a NaN payload a float copy could disturb
    std::memcpy(&odd[3], &signalingNaN, sizeof signalingNaN);
    CILImageBase image = makeImage<float>(eFloat, 7, 5, odd);
    CILImageBase work(image);
    for (int i = 0; i < 4; ++i) ASSERT_TRUE(work.RotateLeft());
    EXPECT_EQ(work == image, 1);
    ASSERT_TRUE(work.RotateLeft());
    ASSERT_TRUE(work.RotateRight());
    EXPECT_EQ(work == image, 1);
    ASSERT_TRUE(work.Mirror(static_cast<void*>(nullptr)));
    ASSERT_TRUE(work.Mirror(static_cast<void*>(nullptr)));
    EXPECT_EQ(work == image, 1);
    // A quarter turn moves (x, y) to (y, W-1-x): check one corner sample.
    CILImageBase left;
    image.RotateLeft(left);
    uint32_t moved;
    std::memcpy(&moved, &samplesOf<float>(left)[(7 - 1 - 3) * 5 + 0], sizeof moved);
    EXPECT_EQ(moved, signalingNaN);
}

TEST(Rearrange, DegenerateAndEmptyShapes)
{
    CILImageBase row = makeImage<int32_t>(eLong, 4, 1, {1, 2, 3, 4});
    CILImageBase column = makeImage<double>(eDouble, 1, 4, {1, 2, 3, 4});
    CILImageBase out;
    ASSERT_TRUE(row.Flip(out));
    EXPECT_EQ(samplesOf<int32_t>(out), (std::vector<int32_t>{1, 2, 3, 4}));
    ASSERT_TRUE(column.Mirror(out));
    EXPECT_EQ(samplesOf<double>(out), (std::vector<double>{1, 2, 3, 4}));
    ASSERT_TRUE(row.RotateRight(out));
    EXPECT_EQ(out.get_width(), 1u);
    EXPECT_EQ(out.get_height(), 4u);
    EXPECT_EQ(samplesOf<int32_t>(out), (std::vector<int32_t>{1, 2, 3, 4}));
    ASSERT_TRUE(column.RotateLeft());
    EXPECT_EQ(column.get_width(), 4u);
    EXPECT_EQ(samplesOf<double>(column), (std::vector<double>{1, 2, 3, 4}));

    CILImageBase empty;
    ASSERT_TRUE(empty.InitWithType(eByte, 5, 0));
    EXPECT_TRUE(empty.Flip(static_cast<void*>(nullptr)));
    EXPECT_TRUE(empty.Mirror(static_cast<void*>(nullptr)));
    EXPECT_TRUE(empty.Flip(out));
    EXPECT_TRUE(empty.Mirror(out));
    EXPECT_TRUE(empty.RotateLeft(out));
    EXPECT_EQ(out.get_width(), 0u);
    EXPECT_EQ(out.get_height(), 5u);
    EXPECT_TRUE(empty.RotateRight());
    EXPECT_EQ(empty.get_width(), 0u);
    EXPECT_EQ(empty.get_height(), 5u);

    CILImageBase none;
    EXPECT_FALSE(none.Flip(static_cast<void*>(nullptr)));
    EXPECT_FALSE(none.Mirror(static_cast<void*>(nullptr)));
    EXPECT_FALSE(none.RotateLeft());

    // The image as its own destination works in place.
    CILImageBase self = makeImage<uint8_t>(eByte, 2, 1, {1, 2});
    ASSERT_TRUE(self.Mirror(self));
    EXPECT_EQ(samplesOf<uint8_t>(self), (std::vector<uint8_t>{2, 1}));
    ASSERT_TRUE(self.RotateLeft(self));
    EXPECT_EQ(self.get_height(), 2u);
}

TEST(Rearrange, DisplayImageFormsRefreshOnlyOnSuccess)
{
    CILImage image;
    image.initWithData(eByte, 2, 2, std::vector<uint8_t>{1, 2, 3, 4}.data());
    CILImage dest;
    ASSERT_TRUE(image.RotateRight(dest));
    EXPECT_EQ(dest.getMax(), 4.0f);
    EXPECT_TRUE(dest.isGLBufferDirty());
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{3, 1, 4, 2}));
    image.setFlipped(true);
    ASSERT_TRUE(image.Flip());
    EXPECT_TRUE(image.isFlipped());  // untouched
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{3, 4, 1, 2}));
    ASSERT_TRUE(image.Mirror(dest));
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{4, 3, 2, 1}));
    ASSERT_TRUE(image.Mirror());
    ASSERT_TRUE(image.RotateLeft());
    ASSERT_TRUE(image.RotateLeft(dest));
    ASSERT_TRUE(image.Flip(dest));

    CILImage none;
    none.set_max(-3.0f);
    EXPECT_FALSE(none.Flip());
    EXPECT_FALSE(none.RotateRight());
    EXPECT_EQ(none.getMax(), -3.0f);
}
