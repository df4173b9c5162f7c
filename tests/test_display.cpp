// Display pixels through gamma and palette, and drawing on a real offscreen
// OpenGL context read back with glReadPixels.
#include "GLContext.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>

namespace {

CILImage greyImage(QORDataTypes type, int w, int h, const std::vector<double>& values, double lo, double hi)
{
    CILImageBase base = makeImage<double>(eDouble, w, h, values);
    base.ChangeType(type);
    CILImage image;
    image.initWithData(type, w, h, const_cast<void*>(base.get_data()));
    image.setColorTable(eClutGrey, lo, hi);
    return image;
}

std::vector<unsigned char> displayBytes(CILImage& image, int flip)
{
    const unsigned char* p = static_cast<const unsigned char*>(image.getPixelsForGL(flip));
    const size_t channels = image.getFormat() == 6408 ? 4 : 3;
    return p ? std::vector<unsigned char>(p, p + channels * image.get_width() * image.get_height())
             : std::vector<unsigned char>();
}

std::vector<unsigned char> rgb(std::initializer_list<int> greys)
{
    std::vector<unsigned char> out;
    for (int g : greys) out.insert(out.end(), 3, static_cast<unsigned char>(g));
    return out;
}

} // namespace

TEST(DisplayPixels, PaletteMappingRowOrderAndCaching)
{
    for (QORDataTypes type : {eByte, eUShort, eLong, eFloat, eDouble}) {
        SCOPED_TRACE(type);
        CILImage image = greyImage(type, 3, 2, {0, 10, 20, 200, 250, 255}, 0, 255);
        EXPECT_EQ(displayBytes(image, 0), rgb({0, 10, 20, 200, 250, 255}));
        EXPECT_FALSE(image.isGLBufferDirty());
        image.setGLBufferDirty();
        EXPECT_EQ(displayBytes(image, 1), rgb({200, 250, 255, 0, 10, 20}));
    }
    CILImage image = greyImage(eByte, 2, 1, {64, 128}, 0, 255);
    void* first = image.getPixelsForGL(0);
    // The palette is changed behind the image's back: no rebuild without dirty.
    image.getPalette()->SetColorTable(eClutGrey, 0, 128);
    EXPECT_EQ(image.getPixelsForGL(0), first);
    EXPECT_EQ(displayBytes(image, 0), rgb({64, 128}));

    // RGBA: the fourth byte is the palette's alpha.
    CILImage alpha = greyImage(eUShort, 2, 1, {51, 300}, 0, 255);
    alpha.setColorTable(eClutRedAlpha, 0, 255);
    alpha.setGLFormat(6408);
    EXPECT_EQ(displayBytes(alpha, 0), (std::vector<unsigned char>{255, 204, 204, 51, 255, 0, 0, 255}));
}

TEST(DisplayPixels, GammaCurveAndItsRefusal)
{
    CILImage image = greyImage(eByte, 3, 1, {0, 64, 255}, 0, 255);
    image.setGamma(2.0f);
    // sqrt(64 / 255) * 255 = 127.75
    EXPECT_EQ(displayBytes(image, 0), rgb({0, 127, 255}));

    CILImage flat = greyImage(eByte, 1, 1, {7}, 5, 5);
    flat.setGamma(2.0f);
    EXPECT_EQ(flat.getPixelsForGL(0), nullptr);
    EXPECT_TRUE(flat.isGLBufferDirty());
    unsigned char out[3];
    EXPECT_FALSE(flat.getPixelsForShader(out, 0));
}

TEST(DisplayPixels, UnwrittenOutputsRepeatThePresetsAndThePreviousPixel)
{
    CILImage image;
    image.initWithData(eByte, 2, 1, std::vector<uint8_t>{1, 2}.data());
    image.setGLFormat(6408);
    // A default palette has no range: nothing is written by it.
    EXPECT_EQ(displayBytes(image, 0), (std::vector<unsigned char>{0, 0, 0, 255, 0, 0, 0, 255}));
    image.getPalette()->setAlphaMode(1, 0.5);
    image.setGLBufferDirty();
    EXPECT_EQ(displayBytes(image, 0), (std::vector<unsigned char>{0, 0, 0, 127, 0, 0, 0, 127}));

    // A value below the range without a colour for it gives transparent
    // black for grey; the next pixel is mapped normally.
    CILImage below = greyImage(eFloat, 2, 1, {-5, 9}, 0, 255);
    below.setGLFormat(6408);
    EXPECT_EQ(displayBytes(below, 0), (std::vector<unsigned char>{0, 0, 0, 0, 9, 9, 9, 255}));
}

TEST(DisplayPixels, ShaderPixelsScaleTheCachedRangeWithoutClamping)
{
    CILImage image;
    image.initWithData(eUShort, 4, 1, std::vector<uint16_t>{0, 500, 1000, 1100}.data());
    std::vector<unsigned char> out(12, 9);
    ASSERT_TRUE(image.getPixelsForShader(out.data(), 0));
    EXPECT_EQ(out, rgb({0, 115, 231, 255}));  // 500 * 255 / 1100 = 115.9
    image.set_max(1000.0f);
    ASSERT_TRUE(image.getPixelsForShader(out.data(), 1));
    // 1100 gives 280.5 -> 280, whose low byte is 24: no clamping.
    EXPECT_EQ(out, rgb({0, 127, 255, 24}));
    EXPECT_FALSE(image.getPixelsForShader(nullptr, 0));
    CILImage empty;
    EXPECT_FALSE(empty.getPixelsForShader(out.data(), 0));
}

class OffscreenDrawing : public ::testing::Test {
protected:
    static const int kSize = 64;
    void SetUp() override
    {
        gl.reset(new OffscreenGL(kSize, kSize));
        if (!gl->ready()) GTEST_SKIP() << "no offscreen OpenGL context";
    }
    std::unique_ptr<OffscreenGL> gl;
};

TEST_F(OffscreenDrawing, DisplayDrawsRowsOfAnyWidthAndRestoresThePixelStore)
{
    for (int format : {6407, 6408}) {
        for (int flip : {0, 1}) {
            SCOPED_TRACE(std::to_string(format) + " flip " + std::to_string(flip));
            // Width 5: RGB rows of 15 bytes, not a multiple of 4.
            std::vector<double> values;
            for (int i = 0; i < 5 * 3; ++i) values.push_back(i * 17);
            CILImage image = greyImage(eByte, 5, 3, values, 0, 255);
            image.setColorTable(eClutRainbow, 0, 255);
            image.setGLFormat(static_cast<unsigned int>(format));
            gl->clear();
            glPixelStorei(GL_UNPACK_ALIGNMENT, 8);
            glRasterPos2i(0, 0);
            image.display(flip);
            GLint alignment = 0;
            glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
            EXPECT_EQ(alignment, 8);
            const std::vector<unsigned char> screen = gl->read();
            const std::vector<unsigned char> cached = displayBytes(image, flip);
            const int channels = format == 6408 ? 4 : 3;
            int mismatches = 0;
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 5; ++x)
                    for (int c = 0; c < 3; ++c)
                        mismatches += gl->at(screen, x, y)[c] != cached[(y * 5 + x) * channels + c];
            EXPECT_EQ(mismatches, 0);
            // The drawn image's bottom screen row is the buffer's first row:
            // row 0 of the image without flip, its last row with flip.
            double r, g, b, a;
            image.getPalette()->GetRGBForImageValue(flip ? 10 * 17 : 0, &r, &g, &b, &a);
            EXPECT_EQ(gl->at(screen, 0, 0)[0], static_cast<int>(r));
            EXPECT_EQ(gl->at(screen, 5, 0)[3], 0) << "nothing drawn beyond the image";
        }
    }
}

TEST_F(OffscreenDrawing, HorizontalColourBarOverTheCheckerboard)
{
    CILPalette grey;
    grey.SetColorTable(eClutGrey, 0, 1);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glColor3ub(1, 2, 3);
    grey.display(0, 0, 62, 40, false);
    GLint modes[2];
    glGetIntegerv(GL_POLYGON_MODE, modes);
    EXPECT_EQ(modes[0], GL_LINE);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    GLfloat colour[4];
    glGetFloatv(GL_CURRENT_COLOR, colour);
    EXPECT_NEAR(colour[0] * 255, 1, 0.01);
    std::vector<unsigned char> screen = gl->read();
    const float step = 62.0f / 255.0f;
    for (int x = 0; x < 62; x += 7) {
        const double expected = (x + 0.5) / step;
        EXPECT_NEAR(gl->at(screen, x, 10)[0], expected, 2.0) << x;
    }
    EXPECT_EQ(gl->at(screen, 30, 25)[3], 0) << "above the bar";
    EXPECT_EQ(gl->at(screen, 63, 5)[3], 0) << "the last column is clipped at the bar's right edge";

    // Reversed, and an alpha table that lets the checkerboard through.
    gl->clear();
    grey.SetColorTable(eClutGrey, 0, 1, 1, 0);
    grey.display(0, 0, 62, 40, false);
    screen = gl->read();
    EXPECT_NEAR(gl->at(screen, 3, 10)[0], 255 - 3.5 / step, 2.0);

    gl->clear();
    CILPalette red;
    red.SetColorTable(eClutRedAlpha, 0, 1);
    red.display(0, 0, 62, 40, false);
    screen = gl->read();
    for (int x : {1, 6, 11, 33}) {
        for (int y : {1, 7}) {
            const double f = ((x + 0.5) / step) / 255.0;
            const double level = ((x / 5 + y / 5) % 2 == 0) ? 255 : 210;
            SCOPED_TRACE(std::to_string(x) + "," + std::to_string(y));
            EXPECT_NEAR(gl->at(screen, x, y)[0], level * (1 - f) + 255 * f, 3.0);
            EXPECT_NEAR(gl->at(screen, x, y)[1], level * (1 - f), 3.0);
        }
    }
}

TEST_F(OffscreenDrawing, VerticalColourBarClipsItsLastRow)
{
    CILPalette grey;
    grey.SetColorTable(eClutGrey, 0, 1);
    grey.display(0, 0, 40, 62, true);
    const std::vector<unsigned char> screen = gl->read();
    const float step = 62.0f / 255.0f;
    for (int y = 0; y < 62; y += 9) EXPECT_NEAR(gl->at(screen, 10, y)[0], (y + 0.5) / step, 2.0) << y;
    EXPECT_EQ(gl->at(screen, 25, 30)[3], 0) << "right of the bar";
    EXPECT_EQ(gl->at(screen, 5, 63)[3], 0) << "the last checker row is clipped at the top";

    CILPalette orange;
    orange.SetColorTable(eClutOrangeAlpha, 0, 1);
    gl->clear();
    orange.display(0, 0, 40, 62, true);
    const std::vector<unsigned char> checker = gl->read();
    // Near the bottom the orange is almost transparent: cell (0,0) light, (1,0) dark.
    EXPECT_NEAR(checker[(1 * 64 + 1) * 4 + 1], 255, 6);
    EXPECT_NEAR(checker[(1 * 64 + 6) * 4 + 2], 210, 6);
}
