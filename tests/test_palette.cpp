// Colour tables and the value-to-colour mapping of the palette.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace {

struct Colour {
    double r = -7, g = -7, b = -7, a = -7;
    int result = 99;
};

Colour map(CILPalette& palette, double value)
{
    Colour c;
    c.result = palette.GetRGBForImageValue(value, &c.r, &c.g, &c.b, &c.a);
    return c;
}

void expectColour(const Colour& c, double r, double g, double b, double a, int result)
{
    EXPECT_DOUBLE_EQ(c.r, r);
    EXPECT_DOUBLE_EQ(c.g, g);
    EXPECT_DOUBLE_EQ(c.b, b);
    EXPECT_DOUBLE_EQ(c.a, a);
    EXPECT_EQ(c.result, result);
}

bool sameRGB(const _tagIL_PALRGB& e, int r, int g, int b) { return e.red == r && e.green == g && e.blue == b; }

struct AnchorCheck {
    int entry, r, g, b;
};

void expectTable(QOR_COLORTABLE_TYPES type, int count, std::initializer_list<AnchorCheck> anchors)
{
    CILPalette palette;
    palette.SetColorTable(type, 0.0, 1.0);
    ASSERT_EQ(palette.getMaxIndex(), count) << "table " << type;
    const _tagIL_PALRGB* t = palette.getColorTableBuffer();
    for (const AnchorCheck& a : anchors)
        EXPECT_TRUE(sameRGB(t[a.entry], a.r, a.g, a.b)) << "table " << type << " entry " << a.entry;
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(t[i].alpha, 255) << "table " << type << " entry " << i;
        if (i > 0) {
            // Smooth: neighbouring entries never jump by more than a few levels.
            EXPECT_LE(std::abs(t[i].red - t[i - 1].red), 9) << "table " << type << " entry " << i;
            EXPECT_LE(std::abs(t[i].green - t[i - 1].green), 9) << "table " << type << " entry " << i;
            EXPECT_LE(std::abs(t[i].blue - t[i - 1].blue), 9) << "table " << type << " entry " << i;
        }
    }
}

} // namespace

TEST(Palette, DefaultPaletteMapsNothingUntilItHasARange)
{
    CILPalette palette;
    EXPECT_EQ(palette.colorTableType(), eClutGrey);
    EXPECT_EQ(palette.getMaxIndex(), 256);
    EXPECT_FALSE(palette.hasAlpha());
    EXPECT_TRUE(palette.getUseMaxColorAboveThresh());
    EXPECT_FALSE(palette.getUseMinColorBelowThresh());
    EXPECT_EQ(palette.getColorTableLow(), 0.0f);
    EXPECT_EQ(palette.getColorTableHigh(), 1.0f);
    expectColour(map(palette, 10.0), -7, -7, -7, -7, 0);
    EXPECT_EQ(palette.setAlphaMode(1, 0.25), 1);
    expectColour(map(palette, 10.0), -7, -7, -7, 0.25 * 255, 0);
}

TEST(Palette, GreyRampInRangeBelowAndAbove)
{
    CILPalette palette;
    palette.SetColorTable(eClutGrey, 0, 255);
    expectColour(map(palette, 0), 0, 0, 0, 255, 1);
    expectColour(map(palette, 128), 128, 128, 128, 255, 1);
    expectColour(map(palette, 255), 255, 255, 255, 255, 1);
    expectColour(map(palette, 127.999), 127, 127, 127, 255, 1);  // truncation, not rounding
    expectColour(map(palette, 300), 255, 255, 255, 255, 1);
    expectColour(map(palette, -1), 0, 0, 0, 0, -1);
    // Other tables answer white below the range.
    palette.SetColorTable(eClutRainbow, 0, 255);
    expectColour(map(palette, -1), 255, 255, 255, 0, -1);
    // Below the range with the lowest entry in use.
    palette.setUseMinColorBelowThresh(true);
    expectColour(map(palette, -1), 255, 0, 0, 255, 1);
}

TEST(Palette, AboveRangeColourRules)
{
    CILPalette palette;
    palette.SetColorTable(eClutGrey, 0, 255);
    palette.setUseMaxColorAboveThresh(false);
    expectColour(map(palette, 1000), 255, 255, 255, 0, 1);  // top entry, transparent
    const _tagIL_PALRGB above = {10, 20, 30, 200};
    palette.setColorForAboveMax(&above);
    EXPECT_FALSE(palette.getUseMaxColorAboveThresh());
    expectColour(map(palette, 1000), 10, 20, 30, 200, -1);
    _tagIL_PALRGB read = {};
    EXPECT_TRUE(palette.getColorForAboveMax(&read));
    EXPECT_TRUE(sameRGB(read, 10, 20, 30));
    EXPECT_FALSE(palette.getColorForAboveMax(nullptr));
    EXPECT_FALSE(palette.getColorForBelowMin(&read));
    const _tagIL_PALRGB below = {1, 2, 3, 4};
    palette.setColorForBelowMin(&below);
    EXPECT_TRUE(palette.getClrBelowMinSet());
    expectColour(map(palette, -5), 1, 2, 3, 4, -1);
    // In range, the below colour being set mixes its alpha in.
    expectColour(map(palette, 51), 51, 51, 51, 4 * 0.0 + 255 * 1.0, 1);
}

TEST(Palette, ReversedEqualLimitsAndLogScale)
{
    CILPalette palette;
    palette.SetColorTable(eClutGrey, 0, 255, 1, 0);
    EXPECT_EQ(palette.reversed(), 1);
    expectColour(map(palette, 0), 255, 255, 255, 255, 1);
    expectColour(map(palette, 200), 55, 55, 55, 255, 1);
    expectColour(map(palette, 1000), 0, 0, 0, 255, 1);  // the top entry is entry 0 when reversed

    // Equal limits: range 1.0, every value from min on takes entry n - 1.
    CILPalette flat;
    flat.SetColorTable(eClutGrey, 5, 5);
    expectColour(map(flat, 5), 255, 255, 255, 255, 1);
    expectColour(map(flat, 1e6), 255, 255, 255, 255, 1);
    expectColour(map(flat, 4.9), 0, 0, 0, 0, -1);

    // Logarithmic from 0 to 1000: display minimum 1, range 3 decades.
    CILPalette logPalette;
    logPalette.SetColorTable(eClutGrey, 0, 1000, 0, 1);
    EXPECT_DOUBLE_EQ(logPalette.getDisplayMin(), 1.0);
    EXPECT_DOUBLE_EQ(logPalette.getDisplayMax(), 1000.0);
    expectColour(map(logPalette, 10), 85, 85, 85, 255, 1);
    expectColour(map(logPalette, 100), 170, 170, 170, 255, 1);
    expectColour(map(logPalette, 0.5), 0, 0, 0, 0, -1);  // log below the display minimum
}

TEST(Palette, FractionsOfTheTable)
{
    CILPalette palette;
    palette.setColorTableType(eClutGrey, 0.25f, 0.75f);
    EXPECT_EQ(palette.getMaxIndex(), 128);
    EXPECT_EQ(palette.getColorTableBuffer()->red, 64);
    palette.SetImageMinMax(0, 127);
    expectColour(map(palette, 0), 64, 64, 64, 255, 1);
    expectColour(map(palette, 127), 191, 191, 191, 255, 1);
    // Reversed: 1 - 0.75 = 0.25, so the same entries, in reverse order.
    palette.setReversed(1);
    palette.setColorTableType(eClutGrey, 0.25f, 0.75f);
    EXPECT_EQ(palette.getColorTableBuffer()->red, 64);
    EXPECT_EQ(palette.getMaxIndex(), 128);
    expectColour(map(palette, 0), 191, 191, 191, 255, 1);

    // Fractions alone do not recompute the scale factors.
    CILPalette stale;
    stale.SetColorTable(eClutGrey, 0, 255);
    stale.setColorTableType(eClutGrey, 0.0f, 0.5f);
    EXPECT_EQ(stale.getMaxIndex(), 128);
    expectColour(map(stale, 100), 100, 100, 100, 255, 1);  // old scale 1.0 still in force
    stale.SetImageMinMax(0, 127);
    expectColour(map(stale, 127), 127, 127, 127, 255, 1);

    // A reversed pair asserts and changes nothing.
    AssertRecorder asserts;
    const _tagIL_PALRGB* before = palette.getColorTableBuffer();
    palette.setColorTableType(eClutGrey, 0.6f, 0.4f);
    EXPECT_TRUE(asserts.saw(L"1==0", L"ImageLib/Source/ILPalette"));
    EXPECT_EQ(palette.getColorTableBuffer(), before);
    EXPECT_EQ(palette.getMaxIndex(), 128);
}

TEST(Palette, AlphaRampsBlendAndTheFlagSticks)
{
    CILPalette palette;
    palette.SetColorTable(eClutRedAlpha, 0, 255);
    EXPECT_TRUE(palette.hasAlpha());
    // Entry 51 is red with alpha 51, over the white background.
    expectColour(map(palette, 51), 255, 204, 204, 51, 1);
    // A below-range colour becomes the background and mixes into alpha.
    const _tagIL_PALRGB blue = {0, 0, 255, 255};
    palette.setColorForBelowMin(&blue);
    expectColour(map(palette, 51), 51, 0, 204, 255 * 0.8 + 51 * 0.2, 1);

    // Switching to grey keeps blending on: deliberate.
    CILPalette sticky;
    sticky.SetColorTable(eClutOrangeAlpha, 0, 126);
    EXPECT_EQ(sticky.getMaxIndex(), 127);
    EXPECT_EQ(sticky.getColorTableBuffer()[126].alpha, 252);
    EXPECT_TRUE(sameRGB(sticky.getColorTableBuffer()[126], 255, 127, 0));
    sticky.SetColorTable(eClutGrey, 0, 255);
    EXPECT_TRUE(sticky.hasAlpha());
}

TEST(Palette, CustomTablesAndCopies)
{
    unsigned char rgba[3][4] = {{10, 20, 30, 255}, {40, 50, 60, 254}, {70, 80, 90, 255}};
    SColorTable table(rgba, 3);
    EXPECT_TRUE(table.hasAlpha());
    EXPECT_TRUE(table.m_generated);
    CILPalette palette;
    palette.SetCustomColorTable(table, 0, 2);
    EXPECT_EQ(palette.colorTableType(), eClutCustom);
    EXPECT_EQ(palette.getMaxIndex(), 3);
    EXPECT_FALSE(palette.hasAlpha());  // not taken from the table
    expectColour(map(palette, 1), 40, 50, 60, 254, 1);

    // A copy does not carry the custom table: it maps nothing until given it.
    CILPalette copy(palette);
    EXPECT_EQ(map(copy, 1).result, 0);
    copy.SetCustomColorTable(table, 0, 2);
    expectColour(map(copy, 2), 70, 80, 90, 255, 1);

    // Assignment keeps the target's table pointer but checks it is big enough.
    CILPalette orange;
    orange.SetColorTable(eClutWhiteToOrange, 0, 1);
    CILPalette big;
    unsigned char many[256][3] = {};
    SColorTable wide(many, 256);
    big.SetCustomColorTable(wide, 0, 255);
    orange = big;
    EXPECT_EQ(orange.getMaxIndex(), 256);
    EXPECT_EQ(map(orange, 200).result, 0);

    const unsigned char rgb[2][3] = {{1, 2, 3}, {4, 5, 6}};
    SColorTable plain(rgb, 2);
    EXPECT_FALSE(plain.hasAlpha());
    EXPECT_EQ(plain.m_colors[1].alpha, 255);
}

TEST(Palette, RampGenerationWrapsChannelsToEightBits)
{
    SColorTable ramp(200, 0, 255, 1.0f, 0.5f, -1.0f, 300, 250.9f, 1.0f);
    EXPECT_EQ(ramp.m_numColors, 256);
    EXPECT_EQ(ramp.m_startAlpha, 250);
    EXPECT_FALSE(ramp.m_generated);
    ramp.generateColorTable();
    EXPECT_TRUE(ramp.m_generated);
    EXPECT_EQ(ramp.m_colors[55].red, 255);
    EXPECT_EQ(ramp.m_colors[56].red, 0);  // 256 wraps
    EXPECT_EQ(ramp.m_colors[3].green, 1);  // 1.5 truncates
    EXPECT_EQ(ramp.m_colors[255].blue, 0);
    EXPECT_EQ(ramp.m_colors[4].alpha, 254);
    EXPECT_TRUE(ramp.hasAlpha());
    ramp.m_colors[0].red = 7;
    ramp.generateColorTable();  // generated once only
    EXPECT_EQ(ramp.m_colors[0].red, 7);
}

TEST(Palette, EveryTableHasItsCountAndAnchors)
{
    expectTable(eClutGrey, 256, {{0, 0, 0, 0}, {255, 255, 255, 255}});
    expectTable(eClutRainbow, 268, {{0, 255, 0, 0}, {267, 115, 0, 255}});
    expectTable(eClutDarkRedToYellow, 212, {{0, 67, 0, 0}, {106, 255, 0, 0}, {211, 255, 255, 0}});
    expectTable(eClutBlackRedYellowBlue, 212,
                {{0, 0, 0, 0}, {79, 255, 0, 0}, {159, 248, 252, 255}, {211, 51, 128, 255}});
    expectTable(eClutBlueRedGreen, 229, {{0, 0, 0, 255}, {114, 255, 0, 0}, {228, 0, 255, 0}});
    expectTable(eClutBlackOrangeGreenBlue, 215,
                {{0, 0, 0, 0}, {107, 0, 255, 0}, {188, 206, 206, 206}, {214, 0, 0, 255}});
    expectTable(eClutNavyGreenYellowWhite, 228, {{0, 51, 51, 153}, {227, 252, 251, 251}});
    expectTable(eClutSpectrumToBlack, 256,
                {{0, 255, 0, 0}, {96, 4, 255, 0}, {128, 0, 255, 165}, {192, 0, 8, 255}, {224, 87, 0, 141},
                 {255, 0, 0, 0}});
    expectTable(eClutWhiteToRed, 256, {{0, 255, 255, 255}, {255, 255, 0, 0}});
    expectTable(eClutWhiteToOrange, 127, {{0, 255, 255, 255}, {126, 255, 129, 3}});
    expectTable(eClutBlackBlueGreenRedYellow, 255,
                {{0, 0, 0, 0}, {31, 0, 0, 64}, {63, 0, 96, 100}, {95, 0, 150, 53}, {127, 112, 102, 0},
                 {159, 207, 34, 0}, {191, 223, 108, 0}, {223, 239, 182, 0}, {254, 255, 253, 0}});
    expectTable(eClutBlackGreenBlueMagenta, 255,
                {{0, 0, 0, 0}, {31, 0, 169, 19}, {63, 0, 133, 81}, {95, 0, 97, 142}, {127, 15, 57, 197},
                 {159, 165, 2, 186}, {191, 252, 12, 194}, {223, 252, 78, 209}, {254, 252, 141, 224}});
    expectTable(eClutBlackBlueGreenRed, 255,
                {{0, 0, 0, 0}, {31, 0, 0, 247}, {63, 0, 247, 7}, {95, 0, 242, 0}, {127, 112, 189, 0},
                 {159, 207, 140, 0}, {191, 223, 92, 0}, {223, 239, 46, 0}, {254, 255, 1, 0}});
    expectTable(eClutBlueCyanYellowRed, 255,
                {{0, 0, 0, 131}, {31, 0, 0, 255}, {63, 0, 128, 255}, {95, 0, 255, 255}, {127, 128, 255, 128},
                 {159, 255, 255, 0}, {191, 255, 128, 0}, {223, 255, 0, 0}, {254, 131, 0, 0}});

    // The six named colours of table 6 all appear, in order.
    CILPalette navy;
    navy.SetColorTable(eClutNavyGreenYellowWhite, 0, 1);
    const int named[][3] = {{0, 179, 176},   {106, 226, 120}, {234, 251, 148},
                            {194, 169, 114}, {141, 96, 83},   {216, 201, 197}};
    int from = 0;
    for (const auto& c : named) {
        int found = -1;
        for (int i = from; i < 228 && found < 0; ++i)
            if (sameRGB(navy.getColorTableBuffer()[i], c[0], c[1], c[2])) found = i;
        EXPECT_GT(found, from - 1) << c[0] << "," << c[1] << "," << c[2];
        from = found + 1;
    }

    // The alpha ramps: colour fixed, alpha counting up.
    for (int type = eClutRedAlpha; type <= eClutMagentaAlpha; ++type) {
        CILPalette p;
        p.SetColorTable(static_cast<QOR_COLORTABLE_TYPES>(type), 0, 1);
        EXPECT_EQ(p.getMaxIndex(), 256);
        EXPECT_EQ(p.getColorTableBuffer()[0].alpha, 0);
        EXPECT_EQ(p.getColorTableBuffer()[200].alpha, 200);
    }
}

TEST(Palette, HsvConversionAndTolerantCompare)
{
    double r, g, b;
    CILPalette::HSVToRGB(0, 1, 0.5, &r, &g, &b, 1.0, 255.0);
    EXPECT_DOUBLE_EQ(r, 255);
    EXPECT_DOUBLE_EQ(g, 0);
    EXPECT_DOUBLE_EQ(b, 0);
    CILPalette::HSVToRGB(60, 100, 50, &r, &g, &b, 100.0, 255.0);
    EXPECT_DOUBLE_EQ(r, 255);
    EXPECT_DOUBLE_EQ(g, 255);
    EXPECT_DOUBLE_EQ(b, 0);
    CILPalette::HSVToRGB(120, 1, 0.5, &r, &g, &b, 1.0, 1.0);
    EXPECT_DOUBLE_EQ(g, 1);
    EXPECT_DOUBLE_EQ(r, 0);
    CILPalette::HSVToRGB(240, 1, 0.5, &r, &g, &b, 1.0, 1.0);
    EXPECT_DOUBLE_EQ(b, 1);
    EXPECT_DOUBLE_EQ(r, 0);
    EXPECT_DOUBLE_EQ(g, 0);
    EXPECT_EQ(CILPalette::HSVToRGB(330, 1, 0.5, &r, &g, &b, 1.0, 1.0), 1);  // wraps to -30 degrees
    EXPECT_DOUBLE_EQ(r, 1);
    EXPECT_DOUBLE_EQ(g, 0);
    EXPECT_DOUBLE_EQ(b, 0.5);
    CILPalette::HSVToRGB(10, 0, 0.25, &r, &g, &b, 1.0, 4.0);  // no saturation: grey
    EXPECT_DOUBLE_EQ(r, 1);
    EXPECT_DOUBLE_EQ(b, 1);
    // Light colours: m1 = l - (1 - l) s.
    CILPalette::HSVToRGB(0, 0.5, 0.75, &r, &g, &b, 1.0, 1.0);
    EXPECT_DOUBLE_EQ(r, 0.875);
    EXPECT_DOUBLE_EQ(g, 0.625);
    EXPECT_DOUBLE_EQ(b, 0.625);

    EXPECT_EQ(CILPalette::doublecomp(1.0, 1.0 + 0.9e-9), 0);
    EXPECT_EQ(CILPalette::doublecomp(1.0, 1.0 + 1e-8), 1);
    EXPECT_EQ(CILPalette::doublecomp(1.0, 1.0 - 1e-8), -1);
}
