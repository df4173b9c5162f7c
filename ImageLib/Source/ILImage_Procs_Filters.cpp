// ILImage_Procs_Filters.cpp - CILImage's filters, point operations,
// thresholds and morphology.
//
// Most members run the CILImageBase operation and then refresh the cached
// statistics and mark the display dirty on the image that received the pixels
// (or give a destination the source's display state). The automatic
// thresholds compute their threshold from a reference image here.
#include "ILImage.h"
#include "ILFilterKernels.h"
#include "ILHistogram.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <cstdint>
#include <cstdlib>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImage_Procs"

namespace {

const unsigned int kGLRGB = 6407;

// The n x n box kernel: every coefficient 1 / (n x n), the count taken as a
// signed 32-bit product (wrapping as it always has), the quotient in double.
// Null when it cannot be allocated.
double* makeBoxKernel(unsigned int n)
{
    double* kernel = ilAllocateWindow(n, 1);
    if (!kernel) return nullptr;
    const int32_t count = static_cast<int32_t>(static_cast<uint32_t>(n) * static_cast<uint32_t>(n));
    const double weight = 1.0 / static_cast<double>(count);
    const size_t coefficients = static_cast<size_t>(n) * n;
    for (size_t i = 0; i < coefficients; ++i) kernel[i] = weight;
    return kernel;
}

// The choice of smoothing method shared by both smoothing forms: `median()`
// answers true or false, `box(kernel)` a status.
template <typename Median, typename Box>
EILSTATUS smoothBy(eSmoothFilterTypes type, unsigned int n, Median median, Box box)
{
    switch (type) {
    case eSmoothMedianFilter:
        return median() ? eILSuccess : eILOperationFailed;
    case eSmoothBoxFilter: {
        double* kernel = makeBoxKernel(n);
        // The code callers have always seen for a failed allocation here.
        if (!kernel) return eILInvalidArgument;
        const EILSTATUS status = box(kernel);
        std::free(kernel);
        return status;
    }
    case eSmoothUnsupported:
        return eILOperationFailed;
    default:
        return eILInvalidArgument;
    }
}

// The mean of the means below and above the threshold, iterated from `start`
// over 16-bit samples until the threshold's integer part settles. A class
// left empty makes its mean NaN, which is not guarded: the threshold then
// truncates to -2147483648 and settles on the next round.
//
// Stopping is only allowed within the first 50 rounds; a later round repeats
// for ever (once settled, nothing changes any more). Instead of hanging, an
// iteration that has not settled by round 50 is refused: false, and the
// caller leaves the image as it was.
const int kIterativeRoundsAllowed = 50;

bool iterativeThresholdOf(const uint16_t* samples, size_t count, double start, double& settled)
{
    double threshold = start;
    for (int round = 1; round <= kIterativeRoundsAllowed; ++round) {
        double lowerSum = 0.0, upperSum = 0.0;
        size_t lowerCount = 0, upperCount = 0;
        for (size_t i = 0; i < count; ++i) {
            const uint16_t v = samples[i];
            if (static_cast<double>(v) > threshold) {
                upperSum += v;
                ++upperCount;
            } else {
                lowerSum += v;
                ++lowerCount;
            }
        }
        const double next =
            (lowerSum / static_cast<double>(lowerCount) + upperSum / static_cast<double>(upperCount)) * 0.5;
        if (ILTruncToInt32(next) == ILTruncToInt32(threshold)) {
            settled = next;
            return true;
        }
        threshold = next;
    }
    return false;
}

// The valley search on smoothed histogram counts: from the peak upward
// while the index is below `limit` (the reference image's maximum), the
// first bin that rises after the counts have started to fall; 0 when there
// is none. Differences are truncated to integers, so changes below 1 count as
// flat. The search also stops at the last bin: with a fractional maximum the
// index may otherwise reach one bin past the end.
uint64_t valleyAfterPeak(const float* counts, uint64_t bins, uint64_t peak, double limit)
{
    bool descending = false;
    for (uint64_t i = peak; static_cast<double>(i) < limit && i < bins; ++i) {
        // A peak in bin 0 has no bin before it: it is treated as equal, a
        // difference of 0 that changes nothing, instead of being read.
        const int32_t rise = (i == 0) ? 0 : ILTruncToInt32(counts[i] - counts[i - 1]);
        if (rise < 0 && !descending) descending = true;
        else if (rise > 0 && descending) return i;
    }
    return 0;
}

// The bin count for a maximum, truncated. A negative maximum or NaN has no
// unsigned count and gives 0 bins; one beyond the 64-bit range saturates (its
// histogram cannot be allocated).
uint64_t binsForMaximum(double max)
{
    if (!(max >= 0.0)) return 0;
    if (max >= 18446744073709551616.0) return UINT64_MAX;
    return static_cast<uint64_t>(max);
}

} // namespace

// ---- median and convolution ----

bool CILImage::medianFilter(int n)
{
    return refreshed(*this, Median(static_cast<unsigned int>(n)));
}

bool CILImage::medianFilter(int n, CILImage& dest)
{
    return refreshed(dest, Median(static_cast<unsigned int>(n), dest));
}

EILSTATUS CILImage::filter(unsigned int n, const double* kernel, eSmoothFilterTypes type)
{
    if (type == eSmoothUndefined && !kernel) return eILInvalidArgument;
    const EILSTATUS status = CILImageBase::filter(n, kernel);
    if (status == eILSuccess) refreshed(*this, true);
    return status;
}

EILSTATUS CILImage::filter(unsigned int n, const double* kernel, CILImage& dest, eSmoothFilterTypes)
{
    const EILSTATUS status = CILImageBase::filter(n, kernel, dest);
    if (status == eILSuccess) dest.copyFnForOpOvld(*this);
    return status;
}

EILSTATUS CILImage::filter(unsigned int n, eSmoothFilterTypes type)
{
    return smoothBy(
        type, n, [&] { return refreshed(*this, Median(n)); },
        [&](const double* box) { return filter(n, box, eSmoothBoxFilter); });
}

EILSTATUS CILImage::filter(unsigned int n, CILImage& dest, eSmoothFilterTypes type)
{
    return smoothBy(
        type, n, [&] { return refreshed(dest, Median(n, dest)); },
        [&](const double* box) { return filter(n, box, dest, eSmoothBoxFilter); });
}

// ---- point operations ----

bool CILImage::ModifyGamma(float g)
{
    if (g == m_gamma) return false;
    if (!ApplyGamma(g)) return false;
    m_gamma = g;
    return refreshed(*this, true);
}

bool CILImage::ModifyGamma(float g, CILImage& dest)
{
    if (g == m_gamma) return false;
    if (!ApplyGamma(g, dest)) return false;
    // The gamma is recorded on this image, not on `dest`, and neither is
    // refreshed: the application relies on this.
    m_gamma = g;
    return true;
}

bool CILImage::polynomialAdd(int n, float* coefficients)
{
    return refreshed(*this, CILImageBase::polynomialAdd(n, coefficients));
}

bool CILImage::polynomialAdd(int n, float* coefficients, CILImage& dest)
{
    // Assigning the image to itself would lose its samples.
    if (&dest == this) return polynomialAdd(n, coefficients);
    dest = *this;
    const bool mapped = dest.CILImageBase::polynomialAdd(n, coefficients);
    dest.RefreshImageStats();
    dest.m_glBufferDirty = true;
    return mapped;
}

bool CILImage::abs()
{
    return Abs();
}

void CILImage::AdjustRGBBrightness(unsigned char level)
{
    if (m_glFormat != kGLRGB || !m_glRgbBuf) return;
    const uint64_t bytes = 3ull * m_width * m_height;
    // The pass covers width x height x 3 bytes: a held buffer recorded as
    // smaller is left alone. An adopted buffer is trusted, as everywhere.
    if (!m_glRgbBufAdopted && bytes > m_glRgbBufSize) return;
    float brightest = 0.0f;
    for (uint64_t i = 0; i < bytes; ++i)
        if (static_cast<float>(m_glRgbBuf[i]) > brightest) brightest = static_cast<float>(m_glRgbBuf[i]);
    if (brightest == 0.0f) return;
    for (uint64_t i = 0; i < bytes; ++i) {
        const float scaled = static_cast<float>(m_glRgbBuf[i] * level) / brightest;  // at most `level`
        m_glRgbBuf[i] = static_cast<unsigned char>(static_cast<int>(scaled));
    }
}

bool CILImage::ModifyBrightness()
{
    return false;
}

// ---- thresholds ----

bool CILImage::Threshold(float t)
{
    return refreshed(*this, CILImageBase::Threshold(t, nullptr));
}

bool CILImage::Threshold(float t, CILImage& dest)
{
    // Re-shaping the image itself would free the samples to be thresholded.
    if (&dest == this) return Threshold(t);
    // A byte image of this size is written as it is. One without a buffer is
    // re-shaped too: handing on its null buffer would select the in-place
    // form and threshold this image instead.
    const bool reusable =
        dest.m_datatype == eByte && dest.m_width == m_width && dest.m_height == m_height && dest.hasPixels();
    if (!reusable && !dest.InitWithType(eByte, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height)))
        return false;
    return refreshed(dest, CILImageBase::Threshold(t, reinterpret_cast<char*>(dest.m_data)));
}

bool CILImage::FractionalThreshold(CILImage& ref, float fraction)
{
    const double max = ref.getMax();
    const double min = ref.getMin();
    const int32_t threshold = ILTruncToInt32((max - min) * static_cast<double>(fraction) + min);
    return Threshold(static_cast<float>(threshold));
}

bool CILImage::IterativeThreshold(CILImage& ref)
{
    // `ref` is read as width x height unsigned 16-bit values whatever its
    // type. A byte image holds only half of those bytes (and an unknown type
    // none): refused, the image unchanged.
    const bool readable = ref.hasPixels() && ref.m_datatype >= eUShort && ref.m_datatype <= eDouble;
    if (!readable) return false;
    double settled = 0.0;
    if (!iterativeThresholdOf(reinterpret_cast<const uint16_t*>(ref.m_data), ref.pixelCount(), ref.Mean(), settled))
        return false;
    return Threshold(static_cast<float>(ILTruncToInt32(settled)));
}

bool CILImage::BimodalThreshold(CILImage& ref)
{
    const double max = ref.getMax();
    const double min = ref.getMin();
    CILHistogram hist;
    hist.setMaxBins(binsForMaximum(max));
    hist.setImageMin(min);
    hist.setImageMax(max);
    ref.Histogram(hist);

    float taps[100];
    for (float& tap : taps) tap = 0.01f;
    hist.filter(taps, 100);
    hist.filter(taps, 100);

    const uint64_t bins = hist.MaxBins();
    // Zeroed, so that bins a failed histogram never filled read as 0. Without
    // the buffer there is nothing to search and the threshold stays 0.
    float* counts = nullptr;
    if (bins <= SIZE_MAX / sizeof(float)) counts = static_cast<float*>(std::calloc(bins ? bins : 1, sizeof(float)));
    uint64_t threshold = 0;
    if (counts) {
        hist.getData(eFloat, counts);
        threshold = valleyAfterPeak(counts, bins, hist.MaxPos(), max);
    }
    std::free(counts);
    return Threshold(static_cast<float>(threshold));
}

// ---- morphology ----

bool CILImage::Erode(int sx, int sy)
{
    return refreshed(*this, CILImageBase::Erode(sx, sy, nullptr));
}

bool CILImage::Dilate(int sx, int sy)
{
    return refreshed(*this, CILImageBase::Dilate(sx, sy, nullptr));
}

// `dest`'s buffer is written without re-shaping: one that does not hold this
// image's type and pixel count is refused. A `dest` without a buffer hands on
// a null destination, which filters this image in place; so does `dest` being
// this image (its buffer would be read and written at once).
bool CILImage::morphologyInto(CILImage& dest, int sx, int sy, bool erode)
{
    void* target = (&dest == this) ? nullptr : dest.m_data;
    if (target && !(dest.hasPixels() && dest.m_datatype == m_datatype && dest.pixelCount() >= pixelCount()))
        return false;
    return refreshed(dest, erode ? CILImageBase::Erode(sx, sy, target) : CILImageBase::Dilate(sx, sy, target));
}

bool CILImage::Erode(int sx, int sy, CILImage& dest) { return morphologyInto(dest, sx, sy, true); }

bool CILImage::Dilate(int sx, int sy, CILImage& dest) { return morphologyInto(dest, sx, sy, false); }
