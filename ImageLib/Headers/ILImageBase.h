// ILImageBase.h - CILImageBase, the typed two-dimensional pixel buffer.
//
// One malloc'd block of width x height samples of one QORDataTypes type,
// row-major, row 0 first, no row padding; the sample at (x, y) is element
// y * width + x. Copying copies the pixels.
#ifndef IMAGELIB_ILIMAGEBASE_H
#define IMAGELIB_ILIMAGEBASE_H

#include <stddef.h>
#include <stdint.h>

#include <list>

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

    // Compound forms: sample i of this image op sample i of `other`, for the
    // first min(widths) x min(heights) samples in plain memory order (rows are
    // NOT aligned when the widths differ). `other` may have any sample type; its
    // samples are converted to this type first. Integers wrap. Division by a
    // sample that is zero in its own type gives 0; a divisor that only becomes
    // 0 by the conversion also gives 0. Nothing happens unless both have data.
    CILImageBase& operator+=(const CILImageBase& other);
    CILImageBase& operator-=(const CILImageBase& other);
    CILImageBase& operator*=(const CILImageBase& other);
    CILImageBase& operator/=(const CILImageBase& other);

    // Binary forms: both images placed at the top-left of a canvas of the
    // larger width and height, padding 0, and combined position by position.
    // Different sample types (or an operand without data) give an empty image
    // of type -1 (raising "1==0"). Division by 0 gives 0 for every type,
    // floats included, so padding of the divisor divides to 0.
    CILImageBase operator+(const CILImageBase& other);
    CILImageBase operator-(const CILImageBase& other);
    CILImageBase operator*(const CILImageBase& other);
    CILImageBase operator/(const CILImageBase& other);

    // Image op scalar into a new image of the same type and sides. The scalar
    // is first brought to the image's type (floats truncate toward zero to 32
    // bits, then the low 8 or 16 bits): a byte image * 0.5 is all 0, + 300 adds
    // 44. Integers wrap. Integer division by a scalar that becomes 0 gives 0,
    // -2147483648 / -1 gives -2147483648; float division is IEEE (inf, NaN).
    // No data gives an empty image of type -1 (raising "1==0").
    CILImageBase operator+(unsigned char s);
    CILImageBase operator+(unsigned short s);
    CILImageBase operator+(int32_t s);
    CILImageBase operator+(float s);
    CILImageBase operator+(double s);
    CILImageBase operator-(unsigned char s);
    CILImageBase operator-(unsigned short s);
    CILImageBase operator-(int32_t s);
    CILImageBase operator-(float s);
    CILImageBase operator-(double s);
    CILImageBase operator*(unsigned char s);
    CILImageBase operator*(unsigned short s);
    CILImageBase operator*(int32_t s);
    CILImageBase operator*(float s);
    CILImageBase operator*(double s);
    CILImageBase operator/(unsigned char s);
    CILImageBase operator/(unsigned short s);
    CILImageBase operator/(int32_t s);
    CILImageBase operator/(float s);
    CILImageBase operator/(double s);

    // s / image, the scalar brought to the image's type first (2.5 divides as
    // 2 on integer images). A zero integer sample gives 0 instead of faulting;
    // float images store the IEEE result.
    CILImageBase divideScalarbyImage(float s);
    CILImageBase divideScalarbyImage(double s);

    // ---- geometry: crop, embed, corner clipping, resampling, binning, rotation ----

    // Cuts [left, right) x [top, bottom) out of the image in place. The
    // rectangle is clipped to the image: eILClipped (a complete result) when
    // any bound moved, else eILSuccess. eILNoData without pixels; an extent
    // that is negative after clipping gives eILAllocFailed, or
    // eILInvalidArgument when both are negative or the other is 0.
    EILSTATUS crop(int left, int top, int right, int bottom);
    // As above into `dest` (re-shaped), the image unchanged.
    EILSTATUS crop(int left, int top, int right, int bottom, CILImageBase& dest);

    // Pastes `patch` with its top-left sample at (x, y), cut at the image's
    // edges, samples copied unconverted. eILNoData without pixels or patch,
    // eILInvalidArgument for x >= width or y >= height (never clipped),
    // eILTypeMismatch for another sample type or a mode other than
    // eEmbedByClipping (which also raises "eMode == eEmbedByClipping").
    // Clipping still answers eILSuccess, never eILClipped.
    EILSTATUS embed(const CILImageBase* patch, unsigned int x, unsigned int y, eEmbedTypes eMode);
    // Copies the image into `dest`, then pastes into `dest` as above.
    EILSTATUS embed(CILImageBase& dest, const CILImageBase* patch, unsigned int x, unsigned int y,
                    eEmbedTypes eMode);

    // Overwrites four corner triangles with `value` (integers: truncated, low
    // bits kept). Triangle legs are `size` pixels; the bottom test uses the
    // WIDTH where a symmetric rule would use the height, so on a wide image the
    // bottom triangles shrink or vanish and on a tall one they grow.
    // size 0: eILInvalidArgument; a negative size changes nothing.
    EILSTATUS clipCorners(float value, int size);

    // Resamples to newWidth x newHeight into `dest` (re-shaped to this type).
    // Nearest and bilinear accumulate positions in single precision; the block
    // modes use integer blocks W / newW by H / newH, drop the remainder, and
    // give 0 everywhere when enlarging. Integer sums wrap (4 x 255 -> 252).
    // A block mode with a zero side is refused with eILInvalidArgument; an
    // unknown mode answers eILSuccess without writing. downSample is the same.
    EILSTATUS upSample(CILImageBase& dest, int newWidth, int newHeight, IL_RESAMPLEMODES mode);
    EILSTATUS downSample(CILImageBase& dest, int newWidth, int newHeight, IL_RESAMPLEMODES mode);
    // In place: the image takes the new sides on eILSuccess only.
    EILSTATUS upSample(int newWidth, int newHeight, IL_RESAMPLEMODES mode);
    EILSTATUS downSample(int newWidth, int newHeight, IL_RESAMPLEMODES mode);

    // Rotates in place by `angle` degrees about the centre: nearest-sample
    // inverse mapping in single precision, background 0. enlarge grows the
    // image to the rotated bounding box; otherwise the sides stay and corners
    // are cut. False without pixels or when memory runs out.
    bool Rotate(float angle, bool enlarge);

    // ---- filters: median, convolution, point operations, thresholds, morphology ----

    // Correlates the image with an n x n kernel (row-major, not flipped, not
    // normalised), in place. Where the window is cut by an edge the kernel is
    // NOT used: the pixel becomes the plain mean of its in-image samples.
    // Integer results are floored and keep their low bits (-1 on a byte image
    // is 255). n = 0 gives 0 everywhere. eILAllocFailed, eILOperationFailed
    // (no data, or a null kernel some pixel would read), and eILNullArgument
    // when the result cannot be copied back.
    EILSTATUS filter(unsigned int n, const double* kernel);
    // As above into `dest`, re-shaped to this image's type and sides first.
    EILSTATUS filter(unsigned int n, const double* kernel, CILImageBase& dest);

    // n x n median in place: the upper of the two middle samples for an even
    // count, no averaging; the window is cut at the edges. Samples closer
    // than 1e-8 count as equal. False for n = 0, no data or no memory.
    bool Median(unsigned int n);
    // As above into `dest`, re-shaped first (so it stays re-shaped when the
    // filter then fails); n = 0 is refused before `dest` is touched.
    bool Median(unsigned int n, CILImageBase& dest);

    // Maps v to (v / max)^(1/g) * max with the image's own maximum; integer
    // results are floored. False (nothing written) when the maximum is within
    // 1e-8 of 0, or without data. g = 0 is not refused.
    bool ApplyGamma(float g);
    // Into `dest`'s existing buffer (never re-shaped): false when its type
    // differs or it holds fewer samples than this image.
    bool ApplyGamma(float g, CILImageBase& dest);
    // REPLACES every sample v by a0 + a1 v + ... + a(n-1) v^(n-1) (include
    // a1 = 1 to add to the image). 32-bit and double samples are rounded to
    // float before the powers. 8- and 16-bit results truncate and keep their
    // low bits, 32-bit ones are floored. n < 0 gives 0 everywhere, n = 0
    // changes nothing. False without data or for null coefficients, n > 0.
    bool polynomialAdd(int n, float* coefficients);
    // Absolute value in place; byte and 16-bit images are unchanged and
    // -2147483648 stays as it is. False without data.
    bool Abs();

    // Writes 1 for every sample above `t`, else 0, into `mask` (width x
    // height bytes); the image is unchanged. The threshold is adjusted per
    // type: byte rounds and clamps to 0..255, 16-bit truncates and keeps the
    // low bits, 32-bit rounds, float adds 1e-5 unless t is within 0.01 of
    // 1e-5, double adds 1e-8. A null mask turns the image itself into a byte
    // 0/1 mask. False without data.
    bool Threshold(float t, char* mask);

    // Grey erosion (minimum) over an sx x sy rectangle cut at the edges, into
    // a raw buffer of this image's type and size. A null `dest` works in
    // place and answers true even when the type is unknown (false only
    // without data or memory).
    bool Erode(int sx, int sy, void* dest);
    // Grey dilation (maximum), as Erode; in place it keeps the image and
    // answers false when the filter fails. A NaN never wins either way.
    bool Dilate(int sx, int sy, void* dest);

    // ---- regions and measurement: seed fill, contours, statistics, profiles, holes ----

    // 8-connected seed fill in place from flat index (int)row * width + (int)col:
    // matching samples are marked 255 a 3 x 3 block at a time, then every 255 -
    // ANY 255 already in the image too - becomes `fillValue`, all else 0, and the
    // seed is set regardless. Blocks wrap at the sides and are never grown around
    // the last two rows (bar the second-to-last's first pixel). `out` (width x
    // height samples) gets a copy. matchValue 255 (the marker) and a seed outside
    // the image give false; otherwise a null `out` answers true.
    bool ImageSeedFill(double row, double col, void* out, int matchValue, int fillValue);
    // 4-connected scanline fill, in place, with the image's ROWS as the scan
    // axis: the truncated row must lie in 1..width-2 and the column in
    // 1..height-2 (a window transposed on non-square images; its samples beyond
    // the buffer never match). Result as ImageSeedFill, the seed not forced.
    // matchValue 255 or a seed outside the window: false with `out`, but true and
    // the image unchanged with a null `out`. Segments past 65536 stacked are
    // dropped, so a very ragged region may stay partly unfilled.
    bool ImageSeedFill_4_Connected(double row, double col, void* out, int matchValue, int fillValue);

    // Moore tracing of the object whose first sample equal to `value` is found
    // scanning c = 0..height-1, r = width-1..0 at index r * width + c (indices
    // past the end skipped; none found: starts at 0, 0). The walk follows
    // neighbours EQUAL TO 1, goes round twice and is cut to one closed lap when
    // both laps agree. `info`'s arrays need width x height + 1 entries; a walk of
    // more than width x height points is refused (false). `out` is never written;
    // a null `out` turns the image into an eByte image of zeros.
    bool ContourTrace(tagContourTraceInfo* info, int value, char* out);
    // Crack following along the pixel corners of `labels` (a byte image of this
    // image's sides) from corner row info->nStartX, column info->nStartY (crossed
    // on input; on output nStartX, nStartY hold the start's x and y). Corners on
    // the last row / column are reported one less. Gaps are bridged, repeats
    // removed, chain codes written. A walk that never closes (an object touching
    // row 0) or needs more than width x height + 1 points is refused with false.
    bool ContourTrace_Core(unsigned char* labels, tagContourTraceInfo* info, int value);
    // Cuts a twice-traced chain (an odd count whose two halves agree) to its
    // first lap plus the first point again; any other chain is left alone.
    void RemoveMultipleEntriesInContourTrace(tagContourTraceInfo* info);
    // Inserts straight-line points between consecutive points that are not
    // neighbours, judging adjacency on the index x * width + y (so on tall
    // images some distant points count as neighbours). Left unchanged when there
    // is no gap, when memory runs out or when it would exceed width x height.
    void SmoothContourPts(tagContourTraceInfo* info);
    // Removes consecutive repeated points, keeping the last of each run and the
    // order of the rest; the chain codes are not touched.
    void RemoveMultipleEntriesInContour(tagContourTraceInfo* info);

    // Statistics over rows [rowStart, rowEnd) and columns [colStart, colEnd) (an
    // end of 0 or not beyond its start means the image's end), skipping pixels
    // whose full-image `mask` byte is 0. Ties go to the LAST pixel for both
    // extremes; byte and 16-bit images report positions modulo 256 / 65536.
    // Columns past the width read on into the next row (flat index); a rectangle
    // reaching outside the buffer is refused with eILInvalidArgument.
    EILSTATUS getImageStats(tagImageStatsInfo* info, const char* mask, int colStart, int rowStart, int colEnd,
                            int rowEnd);
    // Area and coordinate sums of the samples equal to 1 from row `rowStart`
    // on. The mask is read from ITS FIRST BYTE, so for rowStart > 0 it applies
    // shifted up by rowStart rows. Squares and products wrap in 32 bits. Both
    // maps (when both are given) get 1 for particle pixels and 0 elsewhere. The
    // third argument is ignored; a negative rowStart is eILInvalidArgument.
    EILSTATUS getImageParticleAnalysisStats(tagImageParticleAnalyzeInfo* info, const char* mask, int, int rowStart);
    // The sample at index (int)col + (int)row * width (truncated, no
    // interpolation) as float: a column past the width reads on into the next
    // row. An index outside the buffer is eILInvalidArgument; eILNoData
    // without pixels.
    EILSTATUS getImageValueForXY(double row, double col, float* value);
    // Row and column of the LAST sample equal to `value` in row-major order;
    // 0, 0 when there is none. False without pixels.
    bool getXYPosThroughScanLine(int value, double* row, double* col);

    // Hole labelling on a binary image: 0 is background, any other sample
    // object. A hole is a 4-connected region of 0s none of whose pixels lies on
    // the image border. `labels` is re-shaped to an eLong image of this size
    // holding 0 outside holes and 1, 2, ... per hole, numbered in row-major order
    // of their first pixel; `holeCount` (may be null) receives their number.
    // `labels` may be this image. eILNoData, eILAllocFailed on failure.
    EILSTATUS LabelHolesInImage(CILImageBase& labels, uint32_t* holeCount);
    // Sets every hole pixel (see LabelHolesInImage) to 1, in place.
    EILSTATUS closeAllHolesInImage();

protected:
    // True when the image has a buffer that holds every sample its type and
    // sides describe (and get_sizeinbytes() bytes). Every pixel operation
    // tests this before touching samples.
    bool hasPixels() const;
    // The number of pixels, width x height.
    size_t pixelCount() const { return static_cast<size_t>(m_width) * m_height; }
    // Releases the buffer (the fields are kept).
    void freeBuffer();
    // Exchanges type, sides and buffer with `other` (no pixel is copied).
    void swapPixels(CILImageBase& other);

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
    // The smaller and larger of the two widths and of the two heights.
    void getMinMaxWidHgt(const CILImageBase& other, uint32_t* minWidth, uint32_t* maxWidth, uint32_t* minHeight,
                         uint32_t* maxHeight);
    // The compound and binary image-image forms; `operation` selects + - * /.
    CILImageBase& compound_core(const CILImageBase& other, int operation);
    CILImageBase binary_core(const CILImageBase& other, int operation);
    // Scalar cores: a copy of the image combined with the scalar's form of the
    // image's own type (`scalarType`, the overload's type, is informational).
    // Subtraction is add_core with the negated forms.
    CILImageBase operator_add_core(QORDataTypes scalarType, unsigned char byteForm, unsigned short ushortForm,
                                   int32_t longForm, float floatForm, double doubleForm) const;
    CILImageBase operator_mul_core(QORDataTypes scalarType, unsigned char byteForm, unsigned short ushortForm,
                                   int32_t longForm, float floatForm, double doubleForm) const;
    CILImageBase operator_div_core(QORDataTypes scalarType, unsigned char byteForm, unsigned short ushortForm,
                                   int32_t longForm, float floatForm, double doubleForm) const;
    // s / x and s - x.
    CILImageBase operator_onebyx_core(QORDataTypes scalarType, unsigned char byteForm, unsigned short ushortForm,
                                      int32_t longForm, float floatForm, double doubleForm) const;
    CILImageBase operator_oneminusx_core(QORDataTypes scalarType, unsigned char byteForm,
                                         unsigned short ushortForm, int32_t longForm, float floatForm,
                                         double doubleForm) const;
    CILImageBase scalar_core(int operation, unsigned char byteForm, unsigned short ushortForm, int32_t longForm,
                             float floatForm, double doubleForm) const;

protected:
    // s - image and s / image for an integer s on the left: the reversed
    // cores, reached by the image object's operators with the scalar first.
    static CILImageBase scalarMinusImage(int32_t s, const CILImageBase& image);
    static CILImageBase scalarDividedByImage(int32_t s, const CILImageBase& image);

private:
    // ---- private cores: geometry ----
    // Copies [left, right) x [top, bottom), already clipped, into `dest`,
    // already shaped; rows packed at stride right - left.
    EILSTATUS crop_core_base(int left, int top, int right, int bottom, CILImageBase& dest);
    // Resamples into `dest`, already shaped to newWidth x newHeight.
    EILSTATUS reSample_core(int newWidth, int newHeight, IL_RESAMPLEMODES mode, CILImageBase& dest);
    // ---- private cores: filters ----
    // The filters into a raw buffer of this image's type and size.
    bool Filter_core(unsigned int n, const double* kernel, void* dest);
    bool Median_core(unsigned int n, void* dest);
    bool ApplyGamma_core(float g, void* dest);
    void Threshold_Core(float t, char* mask);
    bool Erode_Dilate_Core(int sx, int sy, void* dest, bool erode);
    // The in-place paths of Erode and Dilate, with their deliberate difference.
    bool erodeDilateInPlace(int sx, int sy, bool erode);
    // ---- private cores: regions and measurement ----
    // The seed fills into `out` (may be null): the fill in place, then a
    // copy of the result into `out`.
    bool ImageSeedFill_Core(double row, double col, void* out, int matchValue, int fillValue);
    bool ImageSeedFill_4_Connected_Core(double row, double col, void* out, int matchValue, int fillValue);
    // The null-`out` path of both fills: `core` into a copy of the image, then
    // copied back; true once the copy exists.
    bool seedFillInPlace(bool (CILImageBase::*core)(double, double, void*, int, int), double row, double col,
                         int matchValue, int fillValue);
    // Appends the points strictly between (x1, y1) and (x2, y2) as a doubled-
    // error line rasteriser steps them, skipping one equal to the last appended.
    void getIntermediatePoints(int x1, int y1, int x2, int y2, std::list<int>& xs, std::list<int>& ys);

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
