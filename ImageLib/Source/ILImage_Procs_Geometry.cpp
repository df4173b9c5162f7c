// ILImage_Procs_Geometry.cpp - the geometry members of CILImage: crop, embed,
// corner clipping, resampling, re-binning and rotation.
//
// In-place forms refresh the statistics and mark the image dirty when they
// succeed; forms into a destination give it this image's display properties.
#include "ILImage.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImage_Procs"

namespace {

// A side for the resampler: values outside the 32-bit range become -1, which
// shaping refuses (eILAllocFailed), as it refuses any negative side.
int sideOf(int64_t side)
{
    return (side < INT32_MIN || side > INT32_MAX) ? -1 : static_cast<int>(side);
}

// The re-binning shared by changeBinning and changeBinningAvg; they differ
// only in the modes used to coarsen and to refine.
EILSTATUS rebin(CILImage& source, int newBinning, CILImage& dest, IL_RESAMPLEMODES coarsen, IL_RESAMPLEMODES refine)
{
    // Assigning an image to itself would lose its pixels: re-binning into
    // the image itself works on it directly.
    if (&dest != &source) dest = source;
    const QORDataTypes sourceType = source.get_datatype();
    const float factor = source.binningFactor();
    if (factor == static_cast<float>(newBinning)) return eILSuccess;
    const int64_t current = ILTruncToInt32(factor);

    EILSTATUS status = eILSuccess;
    if (newBinning > current) {
        // A factor below 1 truncates to 0; dividing by it (or by a k of 0,
        // possible with a negative factor) is refused.
        if (current == 0) return eILInvalidArgument;
        const int64_t k = newBinning / current;
        if (k == 0) return eILInvalidArgument;
        dest.ChangeType(eFloat);
        int64_t width = static_cast<int64_t>(dest.get_width()) / k;
        int64_t height = static_cast<int64_t>(dest.get_height()) / k;
        if (width == 0 || height == 0) width = height = 1;
        status = dest.upSample(sideOf(width), sideOf(height), coarsen);
        if (status == eILSuccess) dest.setBinningFactor(static_cast<float>(newBinning));
    } else if (newBinning < current) {
        if (newBinning == 0) return eILInvalidArgument;
        const int64_t k = current / newBinning;
        dest.ChangeType(eFloat);
        status = dest.upSample(sideOf(k * dest.get_width()), sideOf(k * dest.get_height()), refine);
        if (status == eILSuccess) {
            dest *= 1.0 / (static_cast<double>(k) * static_cast<double>(k));
            dest.setBinningFactor(static_cast<float>(newBinning));
        }
    }
    if (sourceType != eFloat && sourceType != dest.get_datatype()) dest.ChangeType(sourceType);
    return status;
}

bool producedResult(EILSTATUS status) { return status == eILSuccess || status == eILClipped; }

} // namespace

EILSTATUS CILImage::crop(int left, int top, int right, int bottom)
{
    const EILSTATUS status = CILImageBase::crop(left, top, right, bottom);
    refreshed(*this, producedResult(status));
    return status;
}

EILSTATUS CILImage::crop(int left, int top, int right, int bottom, CILImage& dest)
{
    const EILSTATUS status = CILImageBase::crop(left, top, right, bottom, dest);
    if (producedResult(status)) dest.copyFnForOpOvld(*this);
    return status;
}

EILSTATUS CILImage::embed(const CILImage* patch, unsigned int x, unsigned int y, eEmbedTypes eMode)
{
    const EILSTATUS status = CILImageBase::embed(patch, x, y, eMode);
    refreshed(*this, status == eILSuccess);
    return status;
}

EILSTATUS CILImage::embed(CILImage& dest, const CILImage* patch, unsigned int x, unsigned int y, eEmbedTypes eMode)
{
    const EILSTATUS status = CILImageBase::embed(dest, patch, x, y, eMode);
    if (status == eILSuccess) dest.copyFnForOpOvld(*this);
    return status;
}

EILSTATUS CILImage::clipCorners(float value, int size)
{
    const EILSTATUS status = CILImageBase::clipCorners(value, size);
    refreshed(*this, status == eILSuccess);
    return status;
}

EILSTATUS CILImage::upSample(CILImage& dest, int newWidth, int newHeight, IL_RESAMPLEMODES mode)
{
    const EILSTATUS status = CILImageBase::upSample(dest, newWidth, newHeight, mode);
    if (status == eILSuccess) dest.copyFnForOpOvld(*this);
    return status;
}

EILSTATUS CILImage::downSample(CILImage& dest, int newWidth, int newHeight, IL_RESAMPLEMODES mode)
{
    return upSample(dest, newWidth, newHeight, mode);
}

EILSTATUS CILImage::upSample(int newWidth, int newHeight, IL_RESAMPLEMODES mode)
{
    const EILSTATUS status = CILImageBase::upSample(newWidth, newHeight, mode);
    refreshed(*this, status == eILSuccess);
    return status;
}

EILSTATUS CILImage::downSample(int newWidth, int newHeight, IL_RESAMPLEMODES mode)
{
    return upSample(newWidth, newHeight, mode);
}

EILSTATUS CILImage::changeBinning(int newBinning, CILImage& dest)
{
    return rebin(*this, newBinning, dest, eResampleSum, eResampleBilinear);
}

EILSTATUS CILImage::changeBinningAvg(int newBinning, CILImage& dest)
{
    return rebin(*this, newBinning, dest, eResampleAverage, eResampleAverage);
}

bool CILImage::Rotate(float angle, bool enlarge)
{
    return refreshed(*this, CILImageBase::Rotate(angle, enlarge));
}

bool CILImage::Rotate(CILImage&, float, bool)
{
    // Rotation into another image was never provided; callers rotate a copy.
    return false;
}
