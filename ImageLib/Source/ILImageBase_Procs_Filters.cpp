// ILImageBase_Procs_Filters.cpp - the neighbourhood filters of the pixel
// buffer: correlation with a caller's kernel and the median.
//
// Each comes in three forms around one core: the core writes into a raw
// buffer of the image's type and size, the destination form re-shapes the
// destination and runs the core into it, and the in-place form runs the core
// into a temporary and copies it back. The pixel work itself is done by the
// reference kernels of ILFilterKernels.h, except where the fast convolution
// of ILFastConvolution.h applies (it gives the same bytes).
#include "ILImageBase.h"
#include "ILFastConvolution.h"
#include "ILFastFilterKernels.h"
#include "ILFilterKernels.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <cstdlib>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase_Procs"

namespace {

// Copies a filtered temporary of the image's own type and sides back over the
// image. The copy reads as many bytes as the image records for itself, so an
// image whose recorded size exceeds its sides (changed through the plain
// setters) is refused rather than read past the temporary.
bool copyBack(CILImageBase& image, const CILImageBase& result)
{
    if (image.get_sizeinbytes() > result.get_sizeinbytes()) return false;
    return image.setImageData(result.get_data(), image.get_datatype(), static_cast<int>(image.get_width()),
                              static_cast<int>(image.get_height()), false);
}

} // namespace

bool CILImageBase::Filter_core(unsigned int n, const double* kernel, void* dest)
{
    if (!hasPixels() || !dest) return false;
    double* window = ilAllocateWindow(n, 1);
    if (!window) return false;
    bool ok = true;
    if (m_height >= 1) {
        // The kernel is read only by windows that fit whole, which exist
        // exactly when both sides reach n. A null kernel is refused then
        // instead of being read; otherwise it is never touched.
        const bool kernelRead = n >= 1 && m_width >= n && m_height >= n;
        if (!kernel && kernelRead) {
            ok = false;
        } else if (ilConvolveFast(m_datatype, m_data, dest, m_width, m_height, n, kernel)) {
            ok = true;
        } else {
            ok = ILDispatchSampleType(m_datatype, [&](auto tag) {
                using T = typename decltype(tag)::type;
                ilConvolveReference(reinterpret_cast<const T*>(m_data), static_cast<T*>(dest), m_width, m_height, n,
                                    kernel, window);
            });
        }
    }
    std::free(window);
    return ok;
}

EILSTATUS CILImageBase::filter(unsigned int n, const double* kernel)
{
    CILImageBase result;
    if (!result.InitWithType(m_datatype, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height)))
        return eILAllocFailed;
    if (!Filter_core(n, kernel, result.m_data)) return eILOperationFailed;
    // A failed copy-back has always been reported as eILNullArgument; callers
    // know the code, so it stays.
    if (!copyBack(*this, result)) return eILNullArgument;
    return eILSuccess;
}

EILSTATUS CILImageBase::filter(unsigned int n, const double* kernel, CILImageBase& dest)
{
    // Re-shaping the image itself would free the samples the filter reads.
    if (&dest == this) return filter(n, kernel);
    if (!dest.InitWithType(m_datatype, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height)))
        return eILAllocFailed;
    if (!Filter_core(n, kernel, dest.m_data)) return eILOperationFailed;
    return eILSuccess;
}

bool CILImageBase::Median_core(unsigned int n, void* dest)
{
    // n = 0 leaves every window empty, with no middle sample to store: refused.
    if (!hasPixels() || !dest || n == 0) return false;
    double* window = ilAllocateWindow(n, 2);
    if (!window) return false;
    bool ok = true;
    // The fast kernels give the reference kernel's bytes; they decline only
    // when their work memory cannot be had.
    if (m_height >= 1 && !ilMedianFast(m_datatype, m_data, dest, m_width, m_height, n, window)) {
        ok = ILDispatchSampleType(m_datatype, [&](auto tag) {
            using T = typename decltype(tag)::type;
            ilMedianReference(reinterpret_cast<const T*>(m_data), static_cast<T*>(dest), m_width, m_height, n, window);
        });
    }
    std::free(window);
    return ok;
}

bool CILImageBase::Median(unsigned int n)
{
    CILImageBase result;
    if (!result.InitWithType(m_datatype, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height))) return false;
    if (!Median_core(n, result.m_data)) return false;
    return copyBack(*this, result);
}

bool CILImageBase::Median(unsigned int n, CILImageBase& dest)
{
    if (n == 0) return false;  // refused before `dest` is touched
    if (&dest == this) return Median(n);
    if (!dest.InitWithType(m_datatype, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height))) return false;
    return Median_core(n, dest.m_data);
}
