// ILImageBase_Procs_Threshold.cpp - the fixed threshold: a byte mask of 1
// where a sample is above the threshold and 0 elsewhere.
//
// The threshold is first brought to each sample type by its own rule (the
// table below); those per-type differences are relied on by the application.
#include "ILImageBase.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <cmath>
#include <cstring>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase_Procs"

namespace {

// The effective threshold per sample type, compared with "sample > limit":
//   byte    t + 0.5 truncated to 32 bits, then clamped to 0..255
//   16-bit  t truncated to 32 bits, then its low 16 bits (no rounding)
//   32-bit  t + 0.5 truncated to 32 bits (no clamping)
//   float   t + 1e-5 in single precision, except within 0.01 of 1e-5
//   double  t + 1e-8
// A t out of the 32-bit range (or NaN) truncates to -2147483648 like every
// float-to-integer conversion of the library, so a huge byte threshold ends
// up clamped to 0.
template <typename T> T effectiveThreshold(float t);

template <> uint8_t effectiveThreshold<uint8_t>(float t)
{
    const int32_t rounded = ILTruncToInt32(static_cast<double>(t) + 0.5);
    return static_cast<uint8_t>(rounded < 0 ? 0 : rounded > 255 ? 255 : rounded);
}
template <> uint16_t effectiveThreshold<uint16_t>(float t)
{
    return static_cast<uint16_t>(ILTruncToInt32(t));
}
template <> int32_t effectiveThreshold<int32_t>(float t)
{
    return ILTruncToInt32(static_cast<double>(t) + 0.5);
}
template <> float effectiveThreshold<float>(float t)
{
    // The band is measured around 1e-5 in double against the single-precision
    // 0.01, so it is slightly lopsided around 0.
    if (std::fabs(static_cast<double>(t) - 1e-5) > static_cast<double>(0.01f)) return t + 1e-5f;
    return t;
}
template <> double effectiveThreshold<double>(float t)
{
    return static_cast<double>(t) + 1e-8;
}

template <typename T>
void thresholdSamples(const T* samples, size_t count, T limit, char* mask)
{
    for (size_t i = 0; i < count; ++i) mask[i] = samples[i] > limit ? 1 : 0;
}

} // namespace

void CILImageBase::Threshold_Core(float t, char* mask)
{
    if (!hasPixels() || !mask) return;
    const bool known = ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        thresholdSamples(reinterpret_cast<const T*>(m_data), pixelCount(), effectiveThreshold<T>(t), mask);
    });
    // This check reports under the buffer's own unit name.
    if (!known) ILReportAssertion(L"1==0", L"ImageLib/Source/ILImageBase", __LINE__);
}

bool CILImageBase::Threshold(float t, char* mask)
{
    if (!hasPixels()) return false;
    if (mask) {
        Threshold_Core(t, mask);
        return true;
    }
    const int32_t width = static_cast<int32_t>(m_width);
    const int32_t height = static_cast<int32_t>(m_height);
    CILImageBase binary;
    if (!binary.InitWithType(eByte, width, height)) return false;
    // Zeroed first, so that an unknown type (which writes no mask) leaves a
    // defined all-0 image rather than the temporary's leftover bytes.
    std::memset(binary.m_data, 0, pixelCount());
    Threshold_Core(t, reinterpret_cast<char*>(binary.m_data));
    // InitWithType releases the old samples before it allocates: on failure
    // the image has lost them.
    if (!InitWithType(eByte, width, height)) return false;
    std::memcpy(m_data, binary.m_data, pixelCount());
    return true;
}
