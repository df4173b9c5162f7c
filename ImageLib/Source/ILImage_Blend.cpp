// ILImage_Blend.cpp - combining the display pixels of a second (RGBA) image
// onto those of a base (RGB) image: overlay and blend.
#include "ILImage.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <GL/gl.h>

#include <new>
#include <vector>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImage"

namespace {

unsigned char lowByte(float v) { return static_cast<unsigned char>(ILTruncToInt32(v)); }

// Walks the base pixels and, for each, the overlay pixel found by
// nearest-sample stretching with single-precision accumulators.
template <typename Combine>
bool combineStretched(unsigned char* base, uint32_t width, uint32_t height, const unsigned char* overlay,
                      uint32_t overlayWidth, uint32_t overlayHeight, Combine&& combine)
{
    std::vector<const unsigned char*> rows;
    try {
        rows.resize(overlayHeight);
    } catch (const std::bad_alloc&) {
        return false;
    }
    for (uint32_t r = 0; r < overlayHeight; ++r) rows[r] = overlay + static_cast<size_t>(r) * overlayWidth * 4;
    const float sx = static_cast<float>(overlayWidth) / static_cast<float>(width);
    const float sy = static_cast<float>(overlayHeight) / static_cast<float>(height);
    float fy = 0.0f;
    for (uint32_t y = 0; y < height; ++y, fy += sy) {
        // Accumulated rounding can reach the overlay's far edge on very large
        // images: the index stays inside.
        uint32_t oy = static_cast<uint32_t>(ILTruncToInt32(fy));
        if (oy >= overlayHeight) oy = overlayHeight - 1;
        float fx = 0.0f;
        for (uint32_t x = 0; x < width; ++x, fx += sx, base += 3) {
            uint32_t ox = static_cast<uint32_t>(ILTruncToInt32(fx));
            if (ox >= overlayWidth) ox = overlayWidth - 1;
            combine(base, rows[oy] + static_cast<size_t>(ox) * 4);
        }
    }
    return true;
}

} // namespace

bool CILImage::prepareCombination(CILImage* other, int flip, unsigned char** baseOut, const unsigned char** otherOut)
{
    const unsigned char* basePixels = static_cast<const unsigned char*>(getPixelsForGL(flip));
    const unsigned char* otherPixels = static_cast<const unsigned char*>(other->getPixelsForGL(flip));
    if (!basePixels || !otherPixels) return false;
    unsigned char* buffer = getGLRgbBuf(GL_RGB);
    if (!buffer) return false;
    // The other image is read four bytes a pixel: its buffer must hold that
    // (an RGB overlay does not), and it must have pixels to stretch.
    const uint64_t otherBytes = 4ull * other->m_width * other->m_height;
    if (other->m_width == 0 || other->m_height == 0) return false;
    if (!other->m_glRgbBufAdopted && otherBytes > other->m_glRgbBufSize) return false;
    *baseOut = buffer;
    *otherOut = otherPixels;
    return true;
}

bool CILImage::overlay(CILImage* pOverlayImage, int flip)
{
    IL_ASSERT(this->getFormat() == GL_RGB);
    if (!pOverlayImage) return false;
    IL_ASSERT(pOverlayImage->getFormat() == GL_RGBA);
    unsigned char* base;
    const unsigned char* top;
    if (!prepareCombination(pOverlayImage, flip, &base, &top)) return false;
    // Any alpha above 0 counts as fully opaque.
    return combineStretched(base, m_width, m_height, top, pOverlayImage->m_width, pOverlayImage->m_height,
                            [](unsigned char* p, const unsigned char* o) {
                                if (o[3] != 0) {
                                    p[0] = o[0];
                                    p[1] = o[1];
                                    p[2] = o[2];
                                }
                            });
}

bool CILImage::blend(CILImage* pBlendImage, float alpha, int flip)
{
    IL_ASSERT(this->getFormat() == GL_RGB);
    if (!pBlendImage) return false;
    IL_ASSERT(pBlendImage->getFormat() == GL_RGBA);
    unsigned char* base;
    const unsigned char* top;
    if (!prepareCombination(pBlendImage, flip, &base, &top)) return false;

    // The weight tables are built by repeated addition, in single precision.
    float weighted[256], kept[256];
    const float keep = 1.0f - alpha;
    weighted[0] = kept[0] = 0.0f;
    for (int i = 1; i < 256; ++i) {
        weighted[i] = weighted[i - 1] + alpha;
        kept[i] = kept[i - 1] + keep;
    }
    const bool perPixelAlpha = pBlendImage->getPalette()->hasAlpha();
    return combineStretched(base, m_width, m_height, top, pBlendImage->m_width, pBlendImage->m_height,
                            [&](unsigned char* p, const unsigned char* o) {
                                if (o[3] == 0) return;
                                if (!perPixelAlpha) {
                                    for (int c = 0; c < 3; ++c) p[c] = lowByte(weighted[o[c]] + kept[p[c]]);
                                    return;
                                }
                                const float f = (o[3] / 255.0f) * alpha;
                                for (int c = 0; c < 3; ++c) p[c] = lowByte(p[c] * (1.0f - f) + o[c] * f);
                            });
}

// The combined pixels live in the result's display buffer, which a copy
// would not carry: the result is built in place and returned as the one
// named object (so it is not copied on the way out).
CILImage CILImage::overlay(CILImage* base, CILImage* pOverlayImage, int flip)
{
    CILImage result(base ? *base : CILImage());
    if (base) result.overlay(pOverlayImage, flip);
    return result;
}

CILImage CILImage::blend(CILImage* base, CILImage* pBlendImage, float alpha, int flip)
{
    CILImage result(base ? *base : CILImage());
    if (base) result.blend(pBlendImage, alpha, flip);
    return result;
}
