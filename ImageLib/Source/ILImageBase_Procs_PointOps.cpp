// ILImageBase_Procs_PointOps.cpp - operations that map every sample on its
// own: the gamma curve scaled to the image's maximum, replacement by a
// polynomial of the sample, and the absolute value.
//
// Each operation is one mapping of a single sample, written per sample type
// where the types differ in precision or storage, and applied by one loop.
#include "ILImageBase.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <cmath>
#include <cstdint>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase_Procs"

namespace {

// Applies `map` to `count` samples of `in`, writing to `out` (which may be
// `in`: each sample is read before its slot is written).
template <typename T, typename Map>
void mapSamples(const T* in, T* out, size_t count, Map map)
{
    for (size_t i = 0; i < count; ++i) out[i] = map(in[i]);
}

// Gamma of one sample, v -> pow(v / m, e) x m. The quotient is taken in
// single precision (v converted to float first) except for double samples;
// integer results are floored. 8- and 16-bit results pass through single
// precision before they are truncated and cut to their low bits.
template <typename T>
T gammaOf(T v, float m, double e)
{
    const float q = static_cast<float>(v) / m;
    const double mapped = std::floor(std::pow(static_cast<double>(q), e) * static_cast<double>(m));
    return ILConvertSample<T>(ILNarrowToFloat(mapped));
}
inline int32_t gammaOf(int32_t v, float m, double e)
{
    const float q = static_cast<float>(v) / m;
    return ILTruncToInt32(std::floor(std::pow(static_cast<double>(q), e) * static_cast<double>(m)));
}
inline float gammaOf(float v, float m, double e)
{
    const float q = v / m;
    return ILNarrowToFloat(std::pow(static_cast<double>(q), e) * static_cast<double>(m));
}
inline double gammaOf(double v, float m, double e)
{
    const double max = static_cast<double>(m);
    return std::pow(v / max, e) * max;
}

// The k-th power of a sample as the polynomial uses it: 32-bit and double
// samples pass through single precision first (a deliberate loss kept from the
// original interface).
template <typename T> double samplePower(T v, int k) { return std::pow(static_cast<double>(v), k); }
inline double samplePower(int32_t v, int k) { return std::pow(static_cast<double>(static_cast<float>(v)), k); }
inline double samplePower(double v, int k) { return std::pow(static_cast<double>(ILNarrowToFloat(v)), k); }

// a0 + a1 v + ... + a(n-1) v^(n-1), summed in double in increasing k.
template <typename T>
double polynomialOf(T v, int n, const float* a)
{
    double sum = 0.0;
    for (int k = 0; k < n; ++k) sum += static_cast<double>(a[k]) * samplePower(v, k);
    return sum;
}
// Float samples build their powers by repeated multiplication from 1.0 (in
// double) instead of calling pow.
inline double polynomialOf(float v, int n, const float* a)
{
    double sum = 0.0;
    double power = 1.0;
    for (int k = 0; k < n; ++k) {
        sum += static_cast<double>(a[k]) * power;
        power *= static_cast<double>(v);
    }
    return sum;
}

// Storing a polynomial's value: truncation with wrap-around for 8 and 16 bits,
// floor for 32 bits, rounding for float.
template <typename T> T storePolynomial(double x) { return ILConvertSample<T>(x); }
template <> int32_t storePolynomial<int32_t>(double x) { return ILTruncToInt32(std::floor(x)); }

// Absolute values: unsigned samples are their own; the most negative 32-bit
// value has no positive counterpart and stays as it is.
template <typename T> T absoluteOf(T v) { return v; }
inline int32_t absoluteOf(int32_t v) { return (v < 0 && v != INT32_MIN) ? -v : v; }
inline float absoluteOf(float v) { return std::fabs(v); }
inline double absoluteOf(double v) { return std::fabs(v); }

} // namespace

bool CILImageBase::ApplyGamma_core(float g, void* dest)
{
    if (!hasPixels() || !dest) return false;
    const float exponent = 1.0f / g;  // g = 0 gives an infinite exponent; not refused
    float max = 0.0f;
    // The survey fails only for an unknown type, which writes nothing and
    // counts as done.
    if (!getMinMax(nullptr, &max, nullptr, nullptr, nullptr, nullptr)) return true;
    if (CILMathFns::doublecomp(max, 0.0) == 0) return false;
    ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        mapSamples(reinterpret_cast<const T*>(m_data), static_cast<T*>(dest), pixelCount(),
                   [&](T v) { return gammaOf(v, max, static_cast<double>(exponent)); });
    });
    return true;
}

bool CILImageBase::ApplyGamma(float g)
{
    return ApplyGamma_core(g, m_data);
}

bool CILImageBase::ApplyGamma(float g, CILImageBase& dest)
{
    if (dest.m_datatype != m_datatype) return false;
    // `dest` is written as it is, never re-shaped: it must hold every sample.
    if (!dest.hasPixels() || dest.pixelCount() < pixelCount()) return false;
    return ApplyGamma_core(g, dest.m_data);
}

bool CILImageBase::polynomialAdd(int n, float* coefficients)
{
    if (n == 0) return true;
    if (!hasPixels()) return false;
    // With n > 0 the coefficients are read for every sample: a null array is
    // refused. n < 0 reads none and gives 0 everywhere.
    if (n > 0 && !coefficients) return false;
    ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        T* samples = reinterpret_cast<T*>(m_data);
        mapSamples(samples, samples, pixelCount(),
                   [&](T v) { return storePolynomial<T>(polynomialOf(v, n, coefficients)); });
    });
    return true;
}

bool CILImageBase::Abs()
{
    if (!hasPixels()) return false;
    ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        T* samples = reinterpret_cast<T*>(m_data);
        mapSamples(samples, samples, pixelCount(), [](T v) { return absoluteOf(v); });
    });
    return true;
}
