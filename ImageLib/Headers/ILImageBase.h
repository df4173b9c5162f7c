// ILImageBase.h - CILImageBase, the typed two-dimensional pixel buffer.
//
// One malloc'd block of width x height samples of one QORDataTypes type,
// row-major, row 0 first, no row padding; the sample at (x, y) is element
// y * width + x. Copying copies the pixels.
#ifndef IMAGELIB_ILIMAGEBASE_H
#define IMAGELIB_ILIMAGEBASE_H

#include <stddef.h>
#include <stdint.h>

#include "ILTypes.h"

class IMAGELIB_API CILImageBase {
public:
    // An empty image: type -1 (none), 0 x 0, no buffer.
    CILImageBase();
    // Copies type, sides and pixels. If the allocation fails the copy is left
    // empty (no buffer, 0 x 0, type not set) without reporting it.
    CILImageBase(const CILImageBase& other);
    virtual ~CILImageBase();

    // Always reallocates to the source's type and sides, then copies its
    // pixels. Assigning an image to itself leaves it with a fresh buffer whose
    // contents are undefined (the old values are lost); callers never do it.
    const CILImageBase& operator=(const CILImageBase& other);

    // Bytes per sample for types 1..5 (1, 2, 4, 4, 8). Any other value raises
    // the "1==0" assertion and gives 0.
    static size_t get_reqsizefortype(QORDataTypes type);

    // Flood fill of a byte mask given as `height` row pointers of `width`
    // bytes: every cell connected to the seed and holding the seed's value
    // becomes `fillValue`. The seed is reduced crosswise (row = y % width,
    // column = x % height); a reduced seed outside the mask, or a side of 0,
    // is refused with eILInvalidArgument. `pAlreadyVisitedBuffer` (same shape)
    // is cleared and left with 1 for cells pushed and 3 for cells filled.
    // `reserved` is not used.
    static EILSTATUS fillContourMask(unsigned int x, unsigned int y, char** rows, unsigned int width,
                                     unsigned int height, char fillValue, eFillContourLogicType logic,
                                     char** pAlreadyVisitedBuffer, unsigned int* reserved);

    // Frees the buffer and allocates width x height samples of `type`
    // (contents undefined). On failure the buffer is gone, false is returned
    // and type, sides and size keep their old values. A negative side or a
    // pixel count or byte size that does not fit is refused the same way.
    bool InitWithType(QORDataTypes type, int32_t width, int32_t height);

    // reinit true: InitWithType(type, width, height) first. reinit false: keeps
    // buffer and sides and fails when `type` differs from the image's type.
    // Then copies get_sizeinbytes() bytes from `src` when both exist. The
    // caller's pointer is never adopted.
    bool setImageData(const void* src, QORDataTypes type, int width, int height, bool reinit);

    // Points the typed view of the current sample type at the buffer; any
    // other type raises "1==0".
    void setlocalpointers();

    // Plain accessors; the setters only store the field and do not touch the
    // buffer. An image whose fields no longer fit its buffer behaves as an
    // image without data in every operation.
    QORDataTypes get_datatype() const { return m_datatype; }
    void set_datatype(QORDataTypes type) { m_datatype = type; }
    uint32_t getWidth() const { return m_width; }
    uint32_t get_width() const { return m_width; }
    void set_width(uint32_t width) { m_width = width; }
    uint32_t getHeight() const { return m_height; }
    uint32_t get_height() const { return m_height; }
    void set_height(uint32_t height) { m_height = height; }
    uint64_t get_sizeinbytes() const { return m_sizeinbytes; }
    void set_sizeinbytes(int32_t size) { m_sizeinbytes = static_cast<uint64_t>(static_cast<int64_t>(size)); }
    const void* get_data() const { return m_data; }

    // Bytewise equality of type, sides and pixels (+0.0f and -0.0f differ,
    // identical NaN bit patterns are equal). Two images without buffers are equal.
    int operator==(const CILImageBase& other) const;
    int operator!=(const CILImageBase& other) const;

    // Tolerant equality: integer samples exactly, float samples when their
    // single-precision difference is within `precision` (rounded to float),
    // double samples when |a - b| <= precision.
    int compareWithPrecession(const CILImageBase& other, double precision);

    // Writes `value` to every sample. Byte and 16-bit images keep the low
    // 8 or 16 bits (300 -> 44 as a byte): wrap-around, never clamped.
    bool setConstData(int32_t value);
    // As above; integer images receive the value truncated toward zero to
    // 32 bits first (NaN and out-of-range give -2147483648, then cut).
    bool setConstData(double value);

    // Changes the canvas to width x height anchored at the top-left corner:
    // the overlap keeps its samples, the rest gets `fill`. Call the overload of
    // the image's own sample type; a mismatched overload garbles the pixels
    // (it never reads or writes outside the buffers).
    bool resize(uint32_t width, uint32_t height, unsigned char fill);
    bool resize(uint32_t width, uint32_t height, unsigned short fill);
    bool resize(uint32_t width, uint32_t height, int32_t fill);
    bool resize(uint32_t width, uint32_t height, float fill);
    bool resize(uint32_t width, uint32_t height, double fill);

    // Converts every sample in place to `target` by the plain cast rule:
    // no scaling, integers wrap, floats truncate toward zero to 32 bits first
    // (NaN and out-of-range become -2147483648 before the cut).
    bool ChangeType(QORDataTypes target);

    // Minimum, maximum, mean and non-zero extremes, optionally under a byte
    // mask (one byte per pixel, non-zero = take part). Null outputs are not
    // computed. The mean is only gathered when min or max is asked for;
    // outputs with no eligible pixel keep the buffer's first sample.
    bool getMinMax(float* min, float* max, double* mean, char* mask, float* nonZeroMin, float* nonZeroMax);

    // Zeroes `binCount` counters and counts each masked sample v into bin
    // floor((v - rangeMin) * ((binCount - 1) / (rangeMax - rangeMin))) (single
    // precision); samples outside the bins are DROPPED, v == rangeMax is the last
    // bin. Range 0, 0 takes the masked extremes: a constant image counts nothing.
    // False for a failed survey, binCount 0, null `counts`, no data, unknown type.
    bool getHistogram(int32_t* counts, uint64_t binCount, float rangeMin, float rangeMax, char* mask);
    // The inverse of getHistogram: the value (possibly fractional) bin
    // `binIndex` stands for. NOTE the range order: MAXIMUM first, unlike
    // getHistogram. 0, 0 takes the masked extremes; binCount 1 divides by 0
    // (infinity or NaN). False for binCount 0, a failed survey or null `value`.
    bool getImageValueForHistogramIndex(uint32_t binCount, float binIndex, float* value, float rangeMax,
                                        float rangeMin, char* mask);

    // Reverses the order of the rows into `dest` (re-shaped to this image).
    bool Flip(CILImageBase& dest);
    // Into a raw buffer of width x height samples, or in place when null.
    // With a buffer the image itself is left untouched.
    bool Flip(void* dest);
    // Reverses the samples inside each row into `dest`.
    bool Mirror(CILImageBase& dest);
    // Into a raw buffer, or in place when null. Unlike Flip, a given buffer
    // is also copied back over the image: both end up mirrored.
    bool Mirror(void* dest);
    // Counter-clockwise quarter turn into `dest` (sides swapped), or in place.
    bool RotateLeft(CILImageBase& dest);
    bool RotateLeft();
    // Clockwise quarter turn into `dest` (sides swapped), or in place.
    bool RotateRight(CILImageBase& dest);
    bool RotateRight();

    // Where the byte image `pImgMask` is non-zero, takes the sample of
    // `pOtherImg` (read with this image's sample size). All three must have
    // data and equal sides.
    bool selectImageByMask(CILImageBase& pImgMask, CILImageBase& pOtherImg);
    // Declared three-image form: does nothing and answers false.
    bool selectImageByMask(CILImageBase& pImgMask, CILImageBase& pOtherImg, CILImageBase& pThird);

    // ---- arithmetic (image-image and scalar operators) ----

    // ---- geometry: crop, embed, corner clipping, resampling, binning, rotation ----

    // ---- filters: median, convolution, point operations, thresholds, morphology ----

    // ---- regions and measurement: seed fill, contours, statistics, profiles, holes ----

protected:
    // True when the image has a buffer that holds every sample its type and
    // sides describe (and get_sizeinbytes() bytes). Every pixel operation
    // tests this before touching samples.
    bool hasPixels() const;
    // The number of pixels, width x height.
    size_t pixelCount() const { return static_cast<size_t>(m_width) * m_height; }
    // Releases the buffer (the fields are kept).
    void freeBuffer();

    QORDataTypes m_datatype;
    uint32_t m_width;
    uint32_t m_height;
    uint64_t m_sizeinbytes;
    unsigned char* m_data;
    uint8_t* m_pByteData;
    uint16_t* m_pUShortData;
    int32_t* m_pLongData;
    float* m_pFloatData;
    double* m_pDoubleData;

private:
    // ---- private cores: arithmetic ----
    // ---- private cores: geometry ----
    // ---- private cores: filters ----
    // ---- private cores: regions and measurement ----

    bool Flip_core(void* dest);
    bool Mirror_core(void* dest);
    bool Rotate_LR_core(unsigned int newWidth, unsigned int newHeight, void* dest, int direction);
    bool rotateInPlace(int direction);
    bool rotateInto(CILImageBase& dest, int direction);

    template <typename T> bool resizeAs(uint32_t width, uint32_t height, T fill);
    // Appends (x, y) to the contour fill's stack, allocating 25 zeroed points
    // when the capacity is 0 and growing by 25 when full; false when an
    // allocation fails.
    static bool fillContourMask_addStackPoint(unsigned short x, unsigned short y, _tagUSHORT_POINT** stack,
                                              unsigned int* capacity, unsigned int* count);

    // Bytes actually allocated for m_data; guards against fields changed
    // through the plain setters.
    size_t m_allocatedBytes;
};

#endif
