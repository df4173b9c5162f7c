// ILImageBase_Procs_Morphology.cpp - grey erosion and dilation over a
// rectangle, into a raw buffer or in place.
//
// The in-place forms of Erode and Dilate differ on purpose: Erode copies the
// temporary back and answers true whatever the filter did, Dilate copies back
// only a finished result and passes the filter's answer on.
#include "ILImageBase.h"
#include "ILFastFilterKernels.h"
#include "ILFilterKernels.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <cstring>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase_Procs"

bool CILImageBase::Erode_Dilate_Core(int sx, int sy, void* dest, bool erode)
{
    if (!hasPixels() || !dest) return false;
    // The fast kernel gives the reference kernel's bytes; it declines only
    // when its row buffers cannot be had.
    if (ilErodeDilateFast(m_datatype, m_data, dest, m_width, m_height, sx, sy, erode)) return true;
    return ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        ilErodeDilateReference(reinterpret_cast<const T*>(m_data), static_cast<T*>(dest), m_width, m_height, sx, sy,
                               erode);
    });
}

bool CILImageBase::erodeDilateInPlace(int sx, int sy, bool erode)
{
    if (!hasPixels()) return false;
    CILImageBase result;
    if (!result.InitWithType(m_datatype, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height)))
        return false;
    const bool filtered = Erode_Dilate_Core(sx, sy, result.m_data, erode);
    // The deliberate difference: erosion copies the temporary back whatever
    // the filter did (the filter only fails for an unknown type, whose
    // temporary holds no bytes) and answers true; dilation copies back only a
    // finished result and answers the filter's result.
    if (filtered || erode) {
        const uint64_t bytes = result.m_sizeinbytes < m_sizeinbytes ? result.m_sizeinbytes : m_sizeinbytes;
        if (bytes > 0) std::memcpy(m_data, result.m_data, static_cast<size_t>(bytes));
    }
    return erode || filtered;
}

bool CILImageBase::Erode(int sx, int sy, void* dest)
{
    if (dest) return Erode_Dilate_Core(sx, sy, dest, true);
    return erodeDilateInPlace(sx, sy, true);
}

bool CILImageBase::Dilate(int sx, int sy, void* dest)
{
    if (dest) return Erode_Dilate_Core(sx, sy, dest, false);
    return erodeDilateInPlace(sx, sy, false);
}
