// ILImage.h - CILImage, the image the application handles: a pixel buffer
// with cached statistics, display state, a palette, an optional mask it never
// owns, and an OpenGL-ready display pixel buffer it owns.
#ifndef IMAGELIB_ILIMAGE_H
#define IMAGELIB_ILIMAGE_H

#include <stdint.h>

#include <string>

#include "ILImageBase.h"
#include "ILPalette.h"
#include "ILROIObject.h"

class CILHistogram;
class CILLineProfile;
struct tagImageStatsInfo;

class IMAGELIB_API CILImage : public CILImageBase {
public:
    // An empty image with default display state. As a side effect it silences
    // the TIFF library's warning and error handlers (every time).
    CILImage();
    // Copies the pixels; m_datavalid is true although nothing was computed.
    CILImage(const CILImageBase& image);
    // Copies pixels, statistics, display state, palette and the mask pointer
    // (both images then share one mask). Not the display buffer or file name.
    CILImage(const CILImage& image);
    // As the copy constructor, but keeps the display buffer pointer (with size
    // 0, so it is replaced on next use), the file name and the page number.
    const CILImage& operator=(const CILImage& image);
    // Frees the display buffer; the mask is not freed.
    virtual ~CILImage();

    // Histogram of the image over its mask (slot 2).
    virtual bool Histogram(CILHistogram& hist);
    // Fills a line profile (eDouble samples) along the profile's row, column
    // or segment; segments run in increasing x or y whatever the end points'
    // order. Rows and columns (also set by points) of width w average w lines
    // from number - w/2; lines outside the image are left out. 1 or 0 (slot 3).
    virtual int lineProfile(CILLineProfile& profile);
    // Cached statistics (RefreshImageStats). Each name pair shares one body.
    virtual float Max();
    virtual float Min();
    virtual float getMax();
    virtual float getMin();
    virtual float nonZeroMax();
    virtual float nonZeroMin();
    virtual float getNonZeroMax();
    virtual float getNonZeroMin();
    virtual double Mean();
    // getImageStats from (colStart, rowStart) to the image's end under `mask`,
    // else under the image's byte mask (one of another kind raises an assertion
    // and one smaller than the image is refused: eILInvalidArgument). With
    // updateImage the cached min and max take the result, and the mean is
    // stored PASSED THROUGH SINGLE PRECISION.
    virtual EILSTATUS imageStats(tagImageStatsInfo* info, bool updateImage, const char* mask, int colStart,
                                 int rowStart);
    // Fill with a constant, then refresh the statistics and mark dirty.
    virtual bool setConstData(double value);
    virtual bool setConstData(int32_t value);
    virtual bool isOverlay() { return false; }
    virtual bool isGLBufferDirty() { return m_glBufferDirty; }
    virtual void setGLBufferDirty() { m_glBufferDirty = true; }
    virtual bool isGLRgbBuf() { return m_glRgbBuf != nullptr; }
    // Colour table over the cached range (or the given one); marks dirty.
    virtual void setColorTable(QOR_COLORTABLE_TYPES type);
    virtual void setColorTable(QOR_COLORTABLE_TYPES type, double low, double high);
    virtual void setCustomColorTable(SColorTable& table);
    // The display pixels (RGB or RGBA bytes through gamma and palette),
    // rebuilt only when dirty; flip non-zero delivers the last row first.
    // A pixel the palette writes nothing for repeats the previous pixel.
    virtual void* getPixelsForGL(int flip);
    virtual void setPalette(CILPalette palette);
    virtual CILPalette* getPalette() { return &m_palette; }
    // Draws the display pixels with glDrawPixels at the current raster
    // position of the caller's OpenGL context (flip as in getPixelsForGL).
    virtual void display(int flip);

    // Grey RGB bytes into `out` (3 x width x height): each sample scaled from
    // Min()..Max() to 0..255 and cut to its low 8 bits (no clamping).
    bool getPixelsForShader(unsigned char* out, int flip);

    // Copies width x height samples of `type` from `data`, then refreshes.
    bool initWithData(QORDataTypes type, int32_t width, int32_t height, void* data);
    // Converts the samples (as CILImageBase::ChangeType), then refreshes the
    // statistics, marks dirty and drops the display buffer.
    bool ChangeType(QORDataTypes target);
    // Recomputes min, max, mean and non-zero extremes over all pixels or
    // under the byte mask. A mask smaller than the image is refused: the
    // cached values then stay as they were.
    void RefreshImageStats();
    // Takes the other image's pixels where the mask image is non-zero.
    bool selectImageByMask(CILImage& pImgMask, CILImage& pOtherImg);

    // Quarter turns, flips and mirrors; each refreshes the statistics of the
    // image that received the pixels and marks it dirty (m_flipped untouched).
    bool Flip(CILImage& dest);
    bool Flip();
    bool Mirror(CILImage& dest);
    bool Mirror();
    bool RotateLeft(CILImage& dest);
    bool RotateLeft();
    bool RotateRight(CILImage& dest);
    bool RotateRight();

    // Pastes every overlay pixel whose alpha is non-zero onto this image's
    // display pixels (the overlay stretched by nearest sample). The result
    // stays in the display buffer; the dirty flag is not changed.
    bool overlay(CILImage* pOverlayImage, int flip);
    // A copy of `base` with the overlay pasted on.
    static CILImage overlay(CILImage* base, CILImage* pOverlayImage, int flip);
    // Mixes the blend image's display pixels in by `alpha` (and by each
    // pixel's alpha when its palette has alpha); transparent pixels are kept.
    bool blend(CILImage* pBlendImage, float alpha, int flip);
    static CILImage blend(CILImage* base, CILImage* pBlendImage, float alpha, int flip);

    // The display colours as a 24-bit bottom-up BMP in `buffer`. Returns the
    // total size (only computed when `buffer` is null), -1 for an empty
    // image, -2 for a buffer too small, 54 when no display pixels exist.
    int32_t getBMPRepresentation(unsigned char* buffer, uint32_t size);
    // Writes the BMP: 1, or -1 empty image, -2 out of memory, -3 cannot open,
    // -4 incomplete representation.
    int32_t saveAsBMP(const char* path);
    // Writes the samples as a one-page LZW TIFF in the image's own type: 1 or -1.
    int32_t saveAsTIFF(const char* path);
    // Reshapes to columns x rows of the type for `bitsAllocated` (<= 8 byte,
    // <= 16 ushort, <= 32 long, above that the value itself as the type
    // number) and copies the caller's pixels.
    bool InitFromDICOMFile(char* pixels, unsigned int rows, unsigned int columns, unsigned int bitsAllocated);

    // Reads page `page` (0-based) of a TIFF file into this image, choosing
    // the sample type from the bits of a whole pixel (8-bit RGB becomes eLong,
    // read through libtiff's RGBA reader: BGRA bytes, bottom row first, rows
    // get_width() bytes apart). Strip pages are undone for orientation; tiled
    // pages leave the buffer as allocated. False on any failure, silently.
    bool LoadFromTIFFFile(const char* path, int page);
    // Reads page `page` of the last loaded file into the existing buffer;
    // returns get_data(), or null on failure.
    const void* getFrameData(int page);
    // Page count of the last loaded file (0 when it cannot be opened).
    int getImageCount();
    static int readImageCount(const char* path);
    static bool isMultiPageImage(const char* path);
    // Size and resolution of the FIRST page of the last loaded file, whatever
    // page was read: -1 / 0 / 65535 / -1.0 when not available.
    int32_t getImageWidth();
    int32_t getImageHeight();
    unsigned int getOriginalWidth();
    unsigned int getOriginalHeight();
    unsigned short getResolutionUnit();
    float getXResolution();
    float getYResolution();
    // 1 when `path` is a TIFF file this library can read (a classic
    // little-endian header is accepted without opening it with libtiff).
    static int canInitFromFile(const char* path);
    static int isImage(const char* path);

    // ---- arithmetic wrappers ----

    // The CILImageBase compound forms (linear pairing, any right-hand type),
    // then the statistics are refreshed and the image marked dirty.
    CILImage& operator+=(const CILImage& other);
    CILImage& operator-=(const CILImage& other);
    CILImage& operator*=(const CILImage& other);
    CILImage& operator/=(const CILImage& other);
    // The CILImageBase binary forms. The result takes this image's kind,
    // binning, gamma, GL format and palette, fresh statistics and the dirty
    // flag; not its mask, flipped flag or file name.
    CILImage operator+(const CILImage& other);
    CILImage operator-(const CILImage& other);
    CILImage operator*(const CILImage& other);
    CILImage operator/(const CILImage& other);
    // Image op scalar as in CILImageBase (scalar brought to the image's type
    // first; integer division by a scalar that becomes 0 gives 0), with this
    // image's display properties carried over as for the binary forms.
    CILImage operator+(int32_t s);
    CILImage operator+(double s);
    CILImage operator-(int32_t s);
    CILImage operator-(double s);
    CILImage operator*(int32_t s);
    CILImage operator*(double s);
    CILImage operator/(int32_t s);
    CILImage operator/(double s);
    CILImage divideScalarbyImage(float s);
    CILImage divideScalarbyImage(double s);
    // In place with the same scalar forms, then refresh and dirty.
    CILImage& operator+=(int32_t s);
    CILImage& operator+=(double s);
    CILImage& operator-=(int32_t s);
    CILImage& operator-=(double s);
    CILImage& operator*=(int32_t s);
    CILImage& operator*=(double s);
    CILImage& operator/=(int32_t s);
    CILImage& operator/=(double s);
    // Scalar on the left: s + image and s * image forward to the members;
    // s - image and s / image (a zero integer sample gives 0) are computed on
    // a copy. The result takes the image's display properties.
    friend IMAGELIB_API CILImage operator+(int32_t s, CILImage& image);
    friend IMAGELIB_API CILImage operator-(int32_t s, CILImage& image);
    friend IMAGELIB_API CILImage operator*(int32_t s, CILImage& image);
    friend IMAGELIB_API CILImage operator/(int32_t s, CILImage& image);

private:
    // A new image holding `pixels` that takes this image's display
    // properties (copyFnForOpOvld). The pixels are taken over, not copied.
    CILImage resultFrom(CILImageBase&& pixels) const;
    // An image built from `pixels` as the CILImageBase constructor builds it,
    // taking the buffer over instead of copying it.
    struct AdoptPixels {};
    CILImage(CILImageBase& pixels, AdoptPixels);
    // Applies a scalar operation to the samples in place, then refreshes the
    // statistics and marks the image dirty.
    CILImage& applyScalarInPlace(int operation, double s);
    // Erodes (or dilates) into `dest` as Erode/Dilate with a destination do.
    bool morphologyInto(CILImage& dest, int sx, int sy, bool erode);

public:
    // ---- geometry wrappers ----

    // The CILImageBase operations. In-place forms refresh the statistics and
    // mark the image dirty on success (crop: also on eILClipped); forms into
    // `dest` give dest this image's display properties on success.
    EILSTATUS crop(int left, int top, int right, int bottom);
    EILSTATUS crop(int left, int top, int right, int bottom, CILImage& dest);
    EILSTATUS embed(const CILImage* patch, unsigned int x, unsigned int y, eEmbedTypes eMode);
    EILSTATUS embed(CILImage& dest, const CILImage* patch, unsigned int x, unsigned int y, eEmbedTypes eMode);
    EILSTATUS clipCorners(float value, int size);
    EILSTATUS upSample(CILImage& dest, int newWidth, int newHeight, IL_RESAMPLEMODES mode);
    EILSTATUS downSample(CILImage& dest, int newWidth, int newHeight, IL_RESAMPLEMODES mode);
    EILSTATUS upSample(int newWidth, int newHeight, IL_RESAMPLEMODES mode);
    EILSTATUS downSample(int newWidth, int newHeight, IL_RESAMPLEMODES mode);

    // Re-bins into `dest` (a copy of this image): to a coarser binning by
    // summing k x k blocks (k = new / current, integer), to a finer one by
    // bilinear enlargement by k = current / new and division by k * k. Works
    // in float and converts back to the source type. A current factor that
    // truncates to 0 (or k = 0, or a new binning of 0 when refining) is
    // refused with eILInvalidArgument instead of dividing by zero.
    EILSTATUS changeBinning(int newBinning, CILImage& dest);
    // As changeBinning with block averages both ways: refining therefore gives
    // an image of zeros (empty blocks), which the application expects.
    EILSTATUS changeBinningAvg(int newBinning, CILImage& dest);

    // CILImageBase::Rotate, then refresh and dirty on success.
    bool Rotate(float angle, bool enlarge);
    // Not implemented: always false, both images unchanged.
    bool Rotate(CILImage& dest, float angle, bool enlarge);

    // ---- filter wrappers ----

    // Median filter (CILImageBase::Median); on success the image that
    // received the pixels gets its statistics refreshed and is marked dirty.
    // Unlike most destination forms the display state is NOT copied to `dest`.
    bool medianFilter(int n);
    bool medianFilter(int n, CILImage& dest);

    // Runs CILImageBase::filter with the caller's kernel; `type` is ignored
    // except that eSmoothUndefined with a null kernel is eILInvalidArgument.
    // On eILSuccess refreshes and marks dirty.
    EILSTATUS filter(unsigned int n, const double* kernel, eSmoothFilterTypes type);
    // Into `dest` (type ignored); on eILSuccess `dest` takes this image's
    // display state (copyFnForOpOvld).
    EILSTATUS filter(unsigned int n, const double* kernel, CILImage& dest, eSmoothFilterTypes type);
    // Smooths by method: box (mean, edges as in CILImageBase::filter) or
    // median; eSmoothUnsupported gives eILOperationFailed, other values
    // eILInvalidArgument; a failed median is eILOperationFailed.
    EILSTATUS filter(unsigned int n, eSmoothFilterTypes type);
    // As above into `dest`: a median refreshes `dest`, a box filter gives it
    // this image's display state.
    EILSTATUS filter(unsigned int n, CILImage& dest, eSmoothFilterTypes type);

    // ApplyGamma and record g as this image's gamma. False, doing nothing,
    // when g equals the recorded gamma (although nothing failed).
    bool ModifyGamma(float g);
    // Gamma into `dest`; on success records g on THIS image, not on `dest`,
    // and refreshes neither image.
    bool ModifyGamma(float g, CILImage& dest);
    // CILImageBase::polynomialAdd, then refresh and mark dirty.
    bool polynomialAdd(int n, float* coefficients);
    // Assigns this image to `dest`, then maps `dest` and refreshes it.
    bool polynomialAdd(int n, float* coefficients, CILImage& dest);
    // CILImageBase::Abs without refreshing the statistics or marking dirty.
    bool abs();
    // Scales the RGB display bytes so the brightest becomes `level`. Only for
    // an RGB (6407) display buffer that holds width x height x 3 bytes;
    // nothing happens otherwise or when every byte is 0. No dirty flag.
    void AdjustRGBBrightness(unsigned char level);
    // Placeholder: always false, no effect.
    bool ModifyBrightness();

    // Turns this image into a byte mask of 0 and 1 (CILImageBase::Threshold
    // with a null mask), then refreshes and marks dirty.
    bool Threshold(float t);
    // Mask into `dest`: its buffer is reused when it is a byte image of this
    // size, otherwise it is re-shaped to one. Only the pixels, statistics and
    // dirty flag of `dest` change.
    bool Threshold(float t, CILImage& dest);
    // Thresholds this image in place at the first rise after the main peak
    // of `ref`'s twice-smoothed histogram (max(ref) bins). The BIN INDEX is
    // the threshold, which matches a sample value only when ref's minimum is
    // 0; without a valley the threshold is 0.
    bool BimodalThreshold(CILImage& ref);
    // Thresholds this image in place at the iterative mean of the means
    // below and above, starting from ref's cached mean. `ref`'s buffer is
    // read as width x height unsigned 16-bit values whatever its type; a
    // byte `ref` (too few bytes for that) is refused with false. Stopping is
    // only allowed within 50 rounds: an iteration that has not settled by
    // then is refused with false instead of repeating for ever.
    bool IterativeThreshold(CILImage& ref);
    // Thresholds this image in place at min + (max - min) * fraction of
    // ref's cached range, truncated to an integer.
    bool FractionalThreshold(CILImage& ref, float fraction);

    // Erosion / dilation in place; refresh and mark dirty on success.
    bool Erode(int sx, int sy);
    bool Dilate(int sx, int sy);
    // Into `dest`'s existing buffer (never re-shaped; one of another type or
    // fewer pixels is refused). A `dest` WITHOUT a buffer makes the filter
    // work on this image itself, yet it is `dest` that gets refreshed.
    bool Erode(int sx, int sy, CILImage& dest);
    bool Dilate(int sx, int sy, CILImage& dest);

    // ---- region and measurement wrappers ----

    // The seed fills of CILImageBase with `dest`'s buffer as `out`: this image
    // is filled in place and `dest` receives a copy; only `dest` has its
    // statistics refreshed and is marked dirty. A `dest` without a buffer just
    // lets this image be filled; one too small for this image is refused.
    bool ImageSeedFill(double row, double col, CILImage& dest, int matchValue, int fillValue);
    bool ImageSeedFill_4_Connected(double row, double col, CILImage& dest, int matchValue, int fillValue);
    // Makes `dest` an eByte image of this size (zeroed) unless it is one, then
    // traces with its buffer as `out` and refreshes it. `dest` may be this image
    // only when it already is such a byte image.
    bool ContourTrace(CILImage& dest, tagContourTraceInfo* info, int value);
    // CILImageBase::getImageValueForXY with the result INVERTED: false on
    // success, true on any failure.
    bool getImageValueForXY(double row, double col, float* value);
    // Forwards to CILImageBase::getXYPosThroughScanLine.
    bool getXYPosThroughScanLine(int value, double* row, double* col);
    // The hole operations of CILImageBase; the image that received pixels has
    // its statistics refreshed and is marked dirty on eILSuccess.
    EILSTATUS LabelHolesInImage(CILImage& labels, uint32_t* holeCount);
    EILSTATUS closeAllHolesInImage();

    // Chooses RGB (6407) or RGBA (6408) display pixels, sizes the display
    // buffer for it and marks the image dirty.
    void setGLFormat(unsigned int format)
    {
        if (!((format == 6408) || (format == 6407)))
            ILReportAssertion(L"(format == GL_RGBA) || (format == GL_RGB)", L"ImageLib/Headers/ILImage", __LINE__);
        m_glFormat = format;
        getGLRgbBuf(format);
        m_glBufferDirty = true;
    }
    unsigned int getFormat() const { return m_glFormat; }
    // Display pixels are always unsigned bytes (GL_UNSIGNED_BYTE).
    unsigned int getType() const { return 5121; }

    void setGamma(float gamma)
    {
        m_gamma = gamma;
        m_glBufferDirty = true;
    }
    float getGamma() const { return m_gamma; }
    float binningFactor() const { return m_binningFactor; }
    void setBinningFactor(float factor) { m_binningFactor = factor; }
    bool isFlipped() const { return m_flipped; }
    void setFlipped(bool flipped) { m_flipped = flipped; }
    // The mask is referred to, never owned: the caller keeps it alive.
    CILROIObject* getImageMask() const { return m_ImageMask; }
    void setImageMask(CILROIObject* mask) { m_ImageMask = mask; }
    void set_max(float value) { m_max = value; }
    void set_min(float value) { m_min = value; }
    bool get_datavalid() const { return m_datavalid; }
    void set_datavalid(bool valid) { m_datavalid = valid; }
    QORImageTypes get_ImageDataType() const { return m_ImageDataType; }
    void set_ImageDataType(QORImageTypes type) { m_ImageDataType = type; }
    int getLensDistortionCorrected() const { return m_lensDistortionCorrected; }
    void setLensDistortionCorrected(int corrected) { m_lensDistortionCorrected = corrected; }
    bool isRGBImageFormat() const { return m_isRGBImageFormat; }
    int currentImageNumber() const { return m_currentImageNumber; }

protected:
    // The display buffer for `format`, reallocated when its size no longer
    // matches (never filled here). Null when nothing can be allocated or the
    // size does not fit a signed 32-bit count.
    unsigned char* getGLRgbBuf(unsigned int format);
    // Adopts finished display pixels and clears the dirty flag. The adopted
    // block is replaced (not reused) the next time a buffer is requested,
    // since its size is not known.
    void setGLRgbBuf(void* buffer, unsigned int format);

    bool m_isRGBImageFormat = false;
    int32_t m_currentImageNumber = 0;
    std::string m_fileName;
    bool m_datavalid = false;
    float m_max = 0.0f;
    float m_min = 0.0f;
    float m_nonZeroMin = 0.0f;
    float m_nonZeroMax = 0.0f;
    QORImageTypes m_ImageDataType = eImageTypeUnknown;
    float m_binningFactor = 1.0f;
    float m_gamma = 1.0f;
    double m_mean = 0.0;
    bool m_flipped = false;
    bool m_glBufferDirty = true;
    unsigned char* m_glRgbBuf = nullptr;
    uint32_t m_glRgbBufSize = 0;
    uint32_t m_glFormat = 6407;  // GL_RGB
    CILROIObject* m_ImageMask = nullptr;
    CILPalette m_palette;
    int32_t m_lensDistortionCorrected = 0;

private:
    bool InitFromTIFFFile(const char* path, int page);
    // Copies `rows` rows of `rowBytes` bytes, skipping `destSkip` and
    // `sourceSkip` bytes after each row.
    void TileToStrip(unsigned char* dest, const unsigned char* source, int32_t rows, int32_t rowBytes, int destSkip,
                     int sourceSkip);
    // Steps shared by InitFromTIFFFile (reshape true) and getFrameData.
    bool decodeTIFFPage(void* tiff, bool reshape);
    void undoOrientation(unsigned short orientation);

    // The frame shared by overlay and blend: both display buffers, checked to
    // hold what will be read; false when either is missing.
    bool prepareCombination(CILImage* other, int flip, unsigned char** baseOut, const unsigned char** otherOut);

    void copyFnForOpOvld(const CILImage& source);
    void copyDisplayState(const CILImage& image);
    // Refreshes the statistics of `target` and marks it dirty when `ok`.
    static bool refreshed(CILImage& target, bool ok);
    void releaseGLRgbBuf();

    bool m_glRgbBufAdopted = false;
};

// A CILImage that adds nothing; it exists for the application's sake.
class IMAGELIB_API ImageWrapper : public CILImage {
public:
    ImageWrapper() : CILImage() {}
    ImageWrapper(const CILImage& image) : CILImage(image) {}
    ImageWrapper& operator=(const CILImage& image)
    {
        CILImage::operator=(image);
        return *this;
    }
    virtual ~ImageWrapper();
};

#endif
