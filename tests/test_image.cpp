// The display image object: defaults, copy rules, statistics, display buffer
// and palette state.
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

// Opens the protected display-buffer members for the tests.
class ProbeImage : public CILImage {
public:
    using CILImage::CILImage;
    ProbeImage() = default;
    unsigned char* buffer(unsigned int format) { return getGLRgbBuf(format); }
    void adopt(void* buffer, unsigned int format) { setGLRgbBuf(buffer, format); }
    uint32_t bufferSize() const { return m_glRgbBufSize; }
    unsigned char* heldBuffer() const { return m_glRgbBuf; }
    const std::string& fileName() const { return m_fileName; }
    void setFileName(const std::string& name) { m_fileName = name; }
};

CILImage makeDisplayImage(QORDataTypes type, int w, int h, const std::vector<double>& values)
{
    CILImageBase base = makeImage<double>(eDouble, w, h, values);
    base.ChangeType(type);
    CILImage image;
    image.initWithData(type, w, h, const_cast<void*>(base.get_data()));
    return image;
}

} // namespace

TEST(DisplayImage, DefaultsPerConstructor)
{
    CILImage image;
    EXPECT_FALSE(image.get_datavalid());
    EXPECT_FALSE(image.isRGBImageFormat());
    EXPECT_EQ(image.binningFactor(), 1.0f);
    EXPECT_EQ(image.getGamma(), 1.0f);
    EXPECT_FALSE(image.isFlipped());
    EXPECT_TRUE(image.isGLBufferDirty());
    EXPECT_FALSE(image.isGLRgbBuf());
    EXPECT_EQ(image.getFormat(), 6407u);
    EXPECT_EQ(image.getType(), 5121u);
    EXPECT_EQ(image.getImageMask(), nullptr);
    EXPECT_FALSE(image.isOverlay());
    EXPECT_EQ(image.getLensDistortionCorrected(), 0);
    EXPECT_EQ(image.getPalette()->colorTableType(), eClutGrey);

    CILImageBase base = makeImage<uint8_t>(eByte, 2, 1, {1, 2});
    CILImage fromBase(base);
    EXPECT_TRUE(fromBase.get_datavalid());  // although nothing was computed
    EXPECT_EQ(samplesOf<uint8_t>(fromBase), (std::vector<uint8_t>{1, 2}));
    ImageWrapper wrapped(fromBase);
    EXPECT_EQ(samplesOf<uint8_t>(wrapped), (std::vector<uint8_t>{1, 2}));
}

TEST(DisplayImage, CopySharesTheMaskAndDropsTheDisplayBuffer)
{
    CILROIObject mask;
    mask.initMask(eByteMask, 2, 2, 1);
    ProbeImage source;
    source.initWithData(eUShort, 2, 2, std::vector<uint16_t>{1, 2, 3, 4}.data());
    source.setImageMask(&mask);
    source.setGamma(2.0f);
    source.setBinningFactor(4.0f);
    source.setFlipped(true);
    source.set_datavalid(true);
    source.setLensDistortionCorrected(3);
    source.setColorTable(eClutRainbow);
    source.setFileName("a.tif");
    ASSERT_NE(source.buffer(6407), nullptr);

    {
        ProbeImage copy(source);
        EXPECT_EQ(copy.getImageMask(), &mask);
        EXPECT_EQ(copy.getGamma(), 2.0f);
        EXPECT_EQ(copy.binningFactor(), 4.0f);
        EXPECT_TRUE(copy.isFlipped());
        EXPECT_TRUE(copy.get_datavalid());
        EXPECT_EQ(copy.getLensDistortionCorrected(), 3);
        EXPECT_EQ(copy.getMax(), 4.0f);
        EXPECT_EQ(copy.Mean(), 2.5);
        EXPECT_EQ(copy.getPalette()->colorTableType(), eClutRainbow);
        EXPECT_EQ(copy.heldBuffer(), nullptr);
        EXPECT_EQ(copy.bufferSize(), 0u);
        EXPECT_TRUE(copy.isGLBufferDirty());
        EXPECT_TRUE(copy.fileName().empty());
    }
    // The copy is gone; the mask is still the caller's and alive.
    EXPECT_EQ(mask.masksizeBytes(), 4u);

    ProbeImage target;
    target.initWithData(eByte, 3, 3, std::vector<uint8_t>(9, 1).data());
    target.setFileName("kept.tif");
    unsigned char* held = target.buffer(6408);
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(target.bufferSize(), 36u);
    target = source;
    EXPECT_EQ(target.heldBuffer(), held);  // pointer kept...
    EXPECT_EQ(target.bufferSize(), 0u);    // ...but its size forgotten
    EXPECT_EQ(target.fileName(), "kept.tif");
    EXPECT_EQ(target.getImageMask(), &mask);
    EXPECT_EQ(target.get_datatype(), eUShort);
    EXPECT_EQ(samplesOf<uint16_t>(target), (std::vector<uint16_t>{1, 2, 3, 4}));
    unsigned char* replaced = target.buffer(6407);
    EXPECT_EQ(replaced, target.heldBuffer());
    EXPECT_EQ(target.bufferSize(), 12u);
}

TEST(DisplayImage, DisplayBufferReallocatesOnlyWhenTheSizeChanges)
{
    ProbeImage image;
    image.initWithData(eFloat, 10, 10, std::vector<float>(100, 1.0f).data());
    unsigned char* rgba = image.buffer(6408);
    ASSERT_NE(rgba, nullptr);
    EXPECT_EQ(image.bufferSize(), 400u);
    EXPECT_TRUE(image.isGLRgbBuf());
    image.buffer(6407);
    EXPECT_EQ(image.bufferSize(), 300u);
    unsigned char* again = image.buffer(6407);
    EXPECT_EQ(again, image.heldBuffer());

    ProbeImage empty;
    EXPECT_EQ(empty.buffer(6408), nullptr);

    // setGLFormat sizes the buffer and dirties; setGLRgbBuf clears dirty.
    image.setGLFormat(6408);
    EXPECT_EQ(image.getFormat(), 6408u);
    EXPECT_EQ(image.bufferSize(), 400u);
    EXPECT_TRUE(image.isGLBufferDirty());
    ProbeImage adopter;
    adopter.initWithData(eByte, 2, 2, std::vector<uint8_t>(4, 0).data());
    void* pixels = std::malloc(12);
    adopter.adopt(pixels, 6407);
    EXPECT_FALSE(adopter.isGLBufferDirty());
    EXPECT_EQ(adopter.heldBuffer(), pixels);
    // An adopted block of unknown size is replaced, not reused.
    unsigned char* fresh = adopter.buffer(6407);
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(adopter.bufferSize(), 12u);
    adopter.setGamma(0.5f);
    EXPECT_TRUE(adopter.isGLBufferDirty());

    AssertRecorder asserts;
    image.setGLFormat(5);
    EXPECT_TRUE(asserts.saw(L"(format == GL_RGBA) || (format == GL_RGB)", L"ImageLib/Headers/ILImage"));
    EXPECT_EQ(image.getFormat(), 5u);
}

TEST(DisplayImage, StatisticsFollowTheMask)
{
    CILImage image = makeDisplayImage(eLong, 3, 2, {5, -2, 9, 0, 4, 100});
    EXPECT_EQ(image.getMin(), -2.0f);
    EXPECT_EQ(image.Max(), 100.0f);
    EXPECT_EQ(image.getNonZeroMin(), -2.0f);
    EXPECT_DOUBLE_EQ(image.Mean(), 116.0 / 6.0);

    CILROIObject mask;
    mask.initMask(eByteMask, 3, 2, 0);
    mask.AddMaskRect(0, 0, 1, 1, 1);  // the last row is never written: (0,0) and (1,0)
    image.setImageMask(&mask);
    image.RefreshImageStats();
    EXPECT_EQ(image.getMin(), -2.0f);
    EXPECT_EQ(image.getMax(), 5.0f);
    EXPECT_EQ(image.nonZeroMin(), -2.0f);
    EXPECT_EQ(image.nonZeroMax(), 5.0f);
    EXPECT_DOUBLE_EQ(image.Mean(), 1.5);

    // A mask of another kind asserts and leaves the cached values.
    CILROIObject other;
    other.initMask(static_cast<QORImageMaskTypes>(9), 3, 2, 0);
    image.setImageMask(&other);
    image.setConstData(int32_t(50));
    AssertRecorder asserts;
    image.RefreshImageStats();
    EXPECT_TRUE(asserts.saw(L"m_ImageMask->maskType()==eByteMask", L"ImageLib/Source/ILImage"));
    // setConstData refreshed under the broken mask too: still the old values.
    EXPECT_EQ(image.getMax(), 5.0f);

    // A mask smaller than the image is not read past its end.
    CILROIObject small;
    small.initMask(eByteMask, 2, 2, 1);
    image.setImageMask(&small);
    image.RefreshImageStats();
    EXPECT_EQ(image.getMax(), 5.0f);
    image.setImageMask(nullptr);
    image.RefreshImageStats();
    EXPECT_EQ(image.getMax(), 50.0f);
}

TEST(DisplayImage, ChangeTypeFillAndPaletteMarkTheImageDirty)
{
    ProbeImage image;
    image.initWithData(eFloat, 2, 1, std::vector<float>{-1.5f, 300.7f}.data());
    image.buffer(6407);
    ASSERT_TRUE(image.ChangeType(eByte));
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{255, 44}));
    EXPECT_EQ(image.getMin(), 44.0f);
    EXPECT_EQ(image.getMax(), 255.0f);
    EXPECT_FALSE(image.isGLRgbBuf());
    EXPECT_EQ(image.bufferSize(), 6u);  // the recorded size stays
    EXPECT_TRUE(image.isGLBufferDirty());
    EXPECT_TRUE(image.ChangeType(eByte));
    EXPECT_NE(image.buffer(6407), nullptr);  // reallocated: the pointer was null

    image.setColorTable(eClutGrey);
    EXPECT_EQ(image.getPalette()->getImageMin(), 44.0);
    EXPECT_EQ(image.getPalette()->getImageMax(), 255.0);
    image.setColorTable(eClutSpectrumToBlack, 1.0, 2.0);
    EXPECT_EQ(image.getPalette()->getImageMax(), 2.0);
    CILPalette palette;
    palette.SetColorTable(eClutBlueRedGreen, 0, 10);
    image.setPalette(palette);
    EXPECT_EQ(image.getPalette()->colorTableType(), eClutBlueRedGreen);
    EXPECT_TRUE(image.isGLBufferDirty());

    ASSERT_TRUE(image.setConstData(7.9));
    EXPECT_EQ(image.getMax(), 7.0f);
    ASSERT_TRUE(image.setConstData(int32_t(260)));
    EXPECT_EQ(image.getMin(), 4.0f);

    CILImage noData;
    EXPECT_FALSE(noData.ChangeType(eDouble));
    EXPECT_FALSE(noData.setConstData(1.0));
    EXPECT_FALSE(noData.initWithData(eByte, -1, 1, nullptr));
}

TEST(DisplayImage, SelectImageByMaskRefreshes)
{
    CILImage image = makeDisplayImage(eDouble, 2, 1, {1, 2});
    CILImage other = makeDisplayImage(eDouble, 2, 1, {10, 20});
    CILImage mask = makeDisplayImage(eByte, 2, 1, {0, 1});
    ASSERT_TRUE(image.selectImageByMask(mask, other));
    EXPECT_EQ(image.getMax(), 20.0f);
    EXPECT_TRUE(image.isGLBufferDirty());
}
