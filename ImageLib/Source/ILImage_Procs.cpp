// ILImage_Procs.cpp - CILImage measurement: the histogram over the image's
// mask. Line profiles and region statistics live in ILImage_Procs_Regions.cpp.
#include "ILImage.h"
#include "ILHistogram.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <cstdint>
#include <cstdlib>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImage_Procs"

namespace {

// The byte mask to scan with: `mask` must be a byte mask (the caller has
// reported it otherwise) holding at least one byte per pixel, since the scan
// reads exactly that many; a smaller one is refused. A byte mask without cells
// restricts nothing.
bool usableByteMask(CILROIObject& mask, size_t pixels, char** data)
{
    if (mask.maskType() != eByteMask) return false;
    *data = static_cast<char*>(const_cast<void*>(mask.get_maskdata()));
    return !*data || mask.masksizeBytes() >= pixels;
}

} // namespace

bool CILImage::Histogram(CILHistogram& hist)
{
    const uint64_t bins = hist.MaxBins();
    // A bin count whose counter array size does not fit is refused.
    if (bins > SIZE_MAX / sizeof(int32_t)) return false;
    int32_t* counters = static_cast<int32_t*>(std::malloc(static_cast<size_t>(bins) * sizeof(int32_t)));
    if (!counters) return false;

    // The histogram's own range wins; otherwise a masked image uses its cached
    // (masked) extremes, and an unmasked one lets getHistogram survey itself.
    float rangeMin = 0.0f, rangeMax = 0.0f;
    char* maskData = nullptr;
    bool maskUsable = true;
    if (hist.IsMaxMinSet() != 0) {
        // An end that was never set reads as 0.
        double imageMin = 0.0, imageMax = 0.0;
        hist.ImageMin(&imageMin);
        hist.ImageMax(&imageMax);
        rangeMin = ILNarrowToFloat(imageMin);
        rangeMax = ILNarrowToFloat(imageMax);
        if (m_ImageMask) {
            IL_ASSERT(m_ImageMask->maskType()==eByteMask);
            maskUsable = usableByteMask(*m_ImageMask, pixelCount(), &maskData);
        }
    } else if (m_ImageMask) {
        IL_ASSERT(m_ImageMask->maskType()==eByteMask);
        maskUsable = usableByteMask(*m_ImageMask, pixelCount(), &maskData);
        rangeMin = Min();
        rangeMax = Max();
    }

    bool filled = false;
    if (maskUsable && getHistogram(counters, bins, rangeMin, rangeMax, maskData))
        filled = hist.initWithArray(counters, static_cast<size_t>(bins), eLong);
    std::free(counters);
    return filled;
}

