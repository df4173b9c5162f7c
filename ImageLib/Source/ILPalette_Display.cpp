// ILPalette_Display.cpp - drawing a palette as a colour bar over a
// checkerboard on the caller's OpenGL context.
#include "ILPalette.h"
#include "ILInternal.h"

#include <GL/gl.h>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILPalette"

namespace {

const GLubyte kLightCell = 255;
const GLubyte kDarkCell = 210;

// Square cells of alternating grey under the bar. A vertical bar clips the
// last row at its top and lets the last column run past its right edge; a
// horizontal bar does the opposite. The asymmetry is the established look.
void drawCheckerboard(float x, float y, float barRight, float barTop, float side, bool vertical)
{
    glBegin(GL_QUADS);
    int row = 0;
    for (float bottom = y; bottom < barTop; bottom += side, ++row) {
        float top = bottom + side;
        if (vertical && top > barTop) top = barTop;
        int column = 0;
        for (float left = x; left < barRight; left += side, ++column) {
            float right = left + side;
            if (!vertical && right > barRight) right = barRight;
            const GLubyte level = ((row + column) % 2 == 0) ? kLightCell : kDarkCell;
            glColor3ub(level, level, level);
            glVertex2f(left, bottom);
            glVertex2f(right, bottom);
            glVertex2f(right, top);
            glVertex2f(left, top);
        }
    }
    glEnd();
}

} // namespace

void CILPalette::display(float x, float y, float w, float h, bool vertical)
{
    // Everything changed here is given back: polygon mode, blending and the
    // current colour. The colour is also restored by hand, because some
    // drivers lose it when attribute pushes are nested.
    GLfloat savedColour[4];
    glGetFloatv(GL_CURRENT_COLOR, savedColour);
    glPushAttrib(GL_POLYGON_BIT | GL_CURRENT_BIT | GL_COLOR_BUFFER_BIT | GL_ENABLE_BIT);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    if (m_colorTableType > eClutBlueCyanYellowRed || m_colorTableType < 0) {
        IL_ASSERT_UNKNOWN_TYPE();
        glPopAttrib();
        return;
    }
    const float barRight = vertical ? x + w / 2 : x + w;
    const float barTop = vertical ? y + h : y + h / 2;
    const float side = vertical ? w / 8 : h / 8;
    if (side > 0) drawCheckerboard(x, y, barRight, barTop, side, vertical);

    const int n = m_numColors;
    // Only entries the table holds are drawn (a copied custom palette has none).
    if (m_colorTable && n >= 1 && n <= m_colorTableCapacity) {
        glPushAttrib(GL_COLOR_BUFFER_BIT);
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        // A single entry gives an infinite step; the division is kept as is.
        const float step = (vertical ? h : w) / static_cast<float>(n - 1);
        float along = vertical ? y : x;
        glBegin(GL_QUAD_STRIP);
        for (int i = 0; i < n; ++i) {
            const _tagIL_PALRGB& entry = m_colorTable[m_reversed ? n - 1 - i : i];
            glColor4ub(entry.red, entry.green, entry.blue, entry.alpha);
            if (vertical) {
                glVertex2f(x, along);
                glVertex2f(x + w / 2, along);
            } else {
                glVertex2f(along, y);
                glVertex2f(along, y + h / 2);
            }
            along += step;
        }
        glEnd();
        glPopAttrib();
    }
    glPopAttrib();
    glColor4fv(savedColour);
}
