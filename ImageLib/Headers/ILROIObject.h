// ILROIObject.h - CILROIObject, a region-of-interest mask with one cell per pixel.
#ifndef IMAGELIB_ILROIOBJECT_H
#define IMAGELIB_ILROIOBJECT_H

#include <stdint.h>

#include "ILTypes.h"

// Kind of mask. Only byte masks can be created; bit masks are declared for
// the application's sake and refused by initMask.
enum QORImageMaskTypes : int32_t {
    eByteMask = 1,  // one byte per pixel, row-major, non-zero = inside
    eBitMask = 2
};

class IMAGELIB_API CILROIObject {
public:
    // An empty mask: no data, size and width 0.
    CILROIObject();
    // An empty mask of `right`'s kind and sides, then a copy of its cells.
    CILROIObject(const CILROIObject& right);
    virtual ~CILROIObject();

    QORImageMaskTypes maskType() { return m_masktype; }
    uint32_t masksizeBytes() const { return m_masksize_bytes; }
    uint32_t maskHeight() const { return m_maskheight; }
    uint32_t maskWidth() const { return m_maskwidth; }
    const void* get_maskdata() const { return m_maskdata; }
    void setMaskType(QORImageMaskTypes kind) { m_masktype = kind; }
    void setMaskHeight(uint32_t height) { m_maskheight = height; }
    void setMaskWidth(uint32_t width) { m_maskwidth = width; }
    // Adopts `data` as the cells without freeing the previous block and without
    // changing the size: the caller vouches that it holds masksizeBytes() bytes.
    void set_maskdata(void* data) { m_maskdata = static_cast<unsigned char*>(data); }

    // Replaces the cells with a width x height byte mask, all 255 (fillAll
    // non-zero) or all 0. eBitMask asserts "1==0" and fails; other kinds
    // succeed without data. Negative sides or a size beyond 32 bits fail.
    bool initMask(QORImageMaskTypes kind, int width, int height, int fillAll);
    // Sets cells to 1 where the other mask is non-zero. Visits columns up to
    // min(other width, width - 1) and rows up to min(other height, height - 1)
    // inclusively; cells beyond the other mask's data read as outside.
    bool AddMask(const CILROIObject& someothermask);
    // Writes 1 (value non-zero) or 0 into the inclusive rectangle, clamped to
    // columns 0..width-2 and rows 0..height-2: the last row and column are
    // never written. A negative top is clamped to row 0.
    bool AddMaskRect(int left, int top, int right, int bottom, int value);
    // All cells 0 / all cells 255.
    bool ClearMask();
    bool MaskAll();
    // Byte masks: every cell XOR 1, so 255 becomes 254 and stays inside.
    // Bit masks: every byte complemented (a height of 0 is refused).
    bool InvertMask();

protected:
    QORImageMaskTypes m_masktype;
    uint32_t m_masksize_bytes;
    uint32_t m_maskheight;
    uint32_t m_maskwidth;
    unsigned char* m_maskdata;

private:
    void releaseData();
};

#endif
