// Overlay and blend of display pixels.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <array>

namespace {

CILImage paletteImage(int w, int h, const std::vector<uint8_t>& values, QOR_COLORTABLE_TYPES table, unsigned format)
{
    CILImage image;
    image.initWithData(eByte, w, h, const_cast<uint8_t*>(values.data()));
    image.setColorTable(table, 0, 255);
    image.setGLFormat(format);
    return image;
}

std::vector<unsigned char> pixelsOf(CILImage& image)
{
    const unsigned char* p = static_cast<const unsigned char*>(image.getPixelsForGL(0));
    return std::vector<unsigned char>(p, p + 3 * image.get_width() * image.get_height());
}

std::vector<unsigned char> rgbRow(std::initializer_list<std::array<int, 3>> pixels)
{
    std::vector<unsigned char> out;
    for (const auto& p : pixels)
        for (int c : p) out.push_back(static_cast<unsigned char>(c));
    return out;
}

} // namespace

TEST(Combine, OverlayStretchesByNearestSampleAndPastesAnyAlpha)
{
    CILImage base = paletteImage(4, 2, {10, 20, 30, 40, 50, 60, 70, 80}, eClutGrey, 6407);
    // Half the base's width and height: red with alpha 0 and 200.
    CILImage top = paletteImage(2, 1, {0, 200}, eClutRedAlpha, 6408);
    ASSERT_TRUE(base.overlay(&top, 0));
    EXPECT_FALSE(base.isGLBufferDirty());
    // Overlay column 1 covers base columns 2 and 3, in both rows; entry 200
    // over white is (255, 55, 55).
    EXPECT_EQ(pixelsOf(base), rgbRow({{10, 10, 10}, {20, 20, 20}, {255, 55, 55}, {255, 55, 55},
                                      {50, 50, 50}, {60, 60, 60}, {255, 55, 55}, {255, 55, 55}}));

    // Alpha 1 is as opaque as 255.
    CILImage faint = paletteImage(1, 1, {1}, eClutRedAlpha, 6408);
    CILImage single = paletteImage(1, 1, {99}, eClutGrey, 6407);
    ASSERT_TRUE(single.overlay(&faint, 0));
    EXPECT_EQ(pixelsOf(single), rgbRow({{255, 254, 254}}));

    // The static form works on a copy.
    CILImage original = paletteImage(4, 2, {10, 20, 30, 40, 50, 60, 70, 80}, eClutGrey, 6407);
    CILImage combined = CILImage::overlay(&original, &top, 0);
    EXPECT_EQ(pixelsOf(combined)[6], 255);
    EXPECT_EQ(pixelsOf(original)[6], 30);
    EXPECT_FALSE(original.overlay(nullptr, 0));
}

TEST(Combine, BlendUsesTablesWithoutPaletteAlphaAndPixelAlphaWithIt)
{
    CILImage base = paletteImage(2, 1, {100, 100}, eClutGrey, 6407);
    CILImage top = paletteImage(2, 1, {200, 0}, eClutGrey, 6408);
    ASSERT_TRUE(base.blend(&top, 0.5f, 0));
    // 200 * 0.5 + 100 * 0.5; the second overlay pixel is black but opaque.
    EXPECT_EQ(pixelsOf(base), rgbRow({{150, 150, 150}, {50, 50, 50}}));

    CILImage under = paletteImage(2, 1, {100, 100}, eClutGrey, 6407);
    CILImage red = paletteImage(2, 1, {255, 0}, eClutRedAlpha, 6408);
    ASSERT_TRUE(under.blend(&red, 1.0f, 0));
    // Full alpha: the overlay colour; alpha 0: the base is kept.
    EXPECT_EQ(pixelsOf(under), rgbRow({{255, 0, 0}, {100, 100, 100}}));

    CILImage soft = paletteImage(1, 1, {100}, eClutGrey, 6407);
    CILImage half = paletteImage(1, 1, {255}, eClutRedAlpha, 6408);
    ASSERT_TRUE(soft.blend(&half, 0.5f, 0));
    // f = 1 * 0.5: 100 * 0.5 + 255 * 0.5 = 177.5 and 100 * 0.5 = 50.
    EXPECT_EQ(pixelsOf(soft), rgbRow({{177, 50, 50}}));

    CILImage copy = CILImage::blend(&base, &top, 0.5f, 0);
    EXPECT_EQ(copy.get_width(), 2u);
}

TEST(Combine, FormatsAreCheckedAndMissingPixelsRefused)
{
    CILImage rgbaBase = paletteImage(2, 1, {1, 2}, eClutGrey, 6408);
    CILImage rgbTop = paletteImage(2, 1, {1, 2}, eClutGrey, 6407);
    AssertRecorder asserts;
    // An RGB overlay holds three bytes a pixel: it is refused, not misread.
    EXPECT_FALSE(rgbaBase.overlay(&rgbTop, 0));
    EXPECT_TRUE(asserts.saw(L"this->getFormat() == GL_RGB", L"ImageLib/Source/ILImage"));
    EXPECT_TRUE(asserts.saw(L"pOverlayImage->getFormat() == GL_RGBA", L"ImageLib/Source/ILImage"));
    EXPECT_FALSE(rgbaBase.blend(&rgbTop, 0.5f, 0));
    EXPECT_TRUE(asserts.saw(L"pBlendImage->getFormat() == GL_RGBA", L"ImageLib/Source/ILImage"));

    CILImage base = paletteImage(1, 1, {1}, eClutGrey, 6407);
    CILImage flat = paletteImage(1, 1, {1}, eClutGrey, 6408);
    flat.setColorTable(eClutGrey, 3, 3);
    flat.setGamma(2.0f);  // no display pixels can be made
    EXPECT_FALSE(base.blend(&flat, 0.5f, 0));
}
