// ILHistogram.cpp - the histogram series: bin count, image range flags and the
// cumulative (integrated) histogram.
#include "ILHistogram.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILHistogram"

namespace {

const int8_t kImageMinSet = 1;
const int8_t kImageMaxSet = 2;

// Running sum of `n` >= 1 counts in single precision: sums[0] is the first
// count itself, every later sum adds the next count converted to float.
template <typename T>
void runningSum(const T* counts, size_t n, float* sums)
{
    sums[0] = ILConvertSample<float>(counts[0]);
    for (size_t k = 1; k < n; ++k) sums[k] = sums[k - 1] + ILConvertSample<float>(counts[k]);
}

} // namespace

CILHistogram::CILHistogram() : CIL1DData(), m_minmaxflags(0), m_imagemax(0.0), m_imagemin(0.0)
{
}

CILHistogram::CILHistogram(const CILHistogram& other)
    : CIL1DData(other), m_minmaxflags(other.m_minmaxflags), m_imagemax(other.m_imagemax),
      m_imagemin(other.m_imagemin)
{
}

CILHistogram::~CILHistogram()
{
}

void CILHistogram::setMaxBins(uint64_t bins)
{
    // The size is the number of samples every series operation reads: growing
    // it past the held block would read beyond the block, so the block grows
    // with it.
    if (m_data && bins > m_size && !growSamples(bins)) return;
    m_size = static_cast<size_t>(bins);
}

bool CILHistogram::growSamples(uint64_t bins)
{
    const size_t sampleBytes = ILSeriesSampleBytes(m_datatype);
    if (sampleBytes == 0 || bins > SIZE_MAX / sampleBytes) return false;
    void* grown = std::realloc(m_data, static_cast<size_t>(bins) * sampleBytes);
    if (!grown) return false;
    const size_t heldBytes = m_size * sampleBytes;
    std::memset(static_cast<unsigned char*>(grown) + heldBytes, 0, static_cast<size_t>(bins) * sampleBytes - heldBytes);
    m_data = grown;
    return true;
}

void CILHistogram::setImageMin(double value)
{
    m_imagemin = value;
    m_minmaxflags |= kImageMinSet;
}

void CILHistogram::setImageMax(double value)
{
    m_imagemax = value;
    m_minmaxflags |= kImageMaxSet;
}

int CILHistogram::IsMaxMinSet()
{
    return m_minmaxflags;
}

// Both tests compare the whole flag byte, not its bits: a maximum alone
// (flags 2) also passes the minimum's test, a minimum alone fails the
// maximum's. Callers rely on this.
int CILHistogram::ImageMin(double* out)
{
    if (m_minmaxflags < 1 || !out) return 0;
    *out = m_imagemin;
    return 1;
}

int CILHistogram::ImageMax(double* out)
{
    if (m_minmaxflags < 2 || !out) return 0;
    *out = m_imagemax;
    return 1;
}

bool CILHistogram::integrate(CILHistogram* dest)
{
    // A series without bins has no first count to start the sum from.
    if (!m_data || m_size == 0) return false;
    const size_t bins = m_size;
    float* sums = static_cast<float*>(std::calloc(bins, sizeof(float)));
    if (!sums) return false;
    const bool known = ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        runningSum(static_cast<const T*>(m_data), bins, sums);
    });
    if (!known) IL_ASSERT_UNKNOWN_TYPE();
    CIL1DData* target = dest ? dest : this;
    target->initWithArray(sums, bins, eFloat);
    std::free(sums);
    return true;
}
