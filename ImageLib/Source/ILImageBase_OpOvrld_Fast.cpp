// ILImageBase_OpOvrld_Fast.cpp - the fast element loops of the arithmetic
// operators, giving the bytes of the plain loops of ILArithmetic.h and
// ILImageBase_OpOvrld.cpp.
//
// The AVX2 build works on 32 bytes at a time with the same lane arithmetic:
// integer lanes wrap exactly as the unsigned 32-bit arithmetic of ILCombine
// does, float lanes are IEEE operations of the same precision in the same
// operand order. Integer division has no vector instruction and stays one
// sample at a time, as do the last samples of every run and the baseline
// build.
#include "ILArithmetic.h"

#include "ILCpuDispatch.h"

namespace {

// The plain rules, one sample at a time, for what the vector loops leave.
template <typename T, ILArithmeticOp Op>
void applyScalarPortable(const T* in, T f, T* out, size_t first, size_t count)
{
    for (size_t i = first; i < count; ++i) out[i] = ILCombine<Op>(in[i], f);
}

template <typename T, ILArithmeticOp Op>
void combinePortable(const T* a, const T* b, T* out, size_t first, size_t count)
{
    for (size_t i = first; i < count; ++i) {
        if (Op == eILOpDivide && b[i] == T(0))
            out[i] = T(0);
        else
            out[i] = ILCombine<Op>(a[i], b[i]);
    }
}

#if IL_HAVE_AVX2_KERNELS

// The lanes of one sample type: loading, storing, broadcasting and the
// element operations that have a vector form. `divides` tells whether
// division has one (floating types only).
template <typename T> struct Lanes;

struct IntegerLanes {
    typedef __m256i V;
    static const bool divides = false;
    IL_TARGET_AVX2 static V load(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
    IL_TARGET_AVX2 static void store(void* p, V v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
    // Integer lanes are never divided; these keep the generic loop whole.
    IL_TARGET_AVX2 static V div(V a, V) { return a; }
    IL_TARGET_AVX2 static V divGuarded(V a, V) { return a; }
};

template <> struct Lanes<uint8_t> : IntegerLanes {
    IL_TARGET_AVX2 static V broadcast(uint8_t v) { return _mm256_set1_epi8(static_cast<char>(v)); }
    IL_TARGET_AVX2 static V add(V a, V b) { return _mm256_add_epi8(a, b); }
    IL_TARGET_AVX2 static V sub(V a, V b) { return _mm256_sub_epi8(a, b); }
    // No byte multiply: the low byte of a 16-bit product is the byte product,
    // so even and odd bytes are multiplied as 16-bit lanes and recombined.
    IL_TARGET_AVX2 static V mul(V a, V b)
    {
        const V even = _mm256_mullo_epi16(a, b);
        const V odd = _mm256_mullo_epi16(_mm256_srli_epi16(a, 8), _mm256_srli_epi16(b, 8));
        return _mm256_or_si256(_mm256_and_si256(even, _mm256_set1_epi16(0xFF)), _mm256_slli_epi16(odd, 8));
    }
};
template <> struct Lanes<uint16_t> : IntegerLanes {
    IL_TARGET_AVX2 static V broadcast(uint16_t v) { return _mm256_set1_epi16(static_cast<short>(v)); }
    IL_TARGET_AVX2 static V add(V a, V b) { return _mm256_add_epi16(a, b); }
    IL_TARGET_AVX2 static V sub(V a, V b) { return _mm256_sub_epi16(a, b); }
    IL_TARGET_AVX2 static V mul(V a, V b) { return _mm256_mullo_epi16(a, b); }
};
template <> struct Lanes<int32_t> : IntegerLanes {
    IL_TARGET_AVX2 static V broadcast(int32_t v) { return _mm256_set1_epi32(v); }
    IL_TARGET_AVX2 static V add(V a, V b) { return _mm256_add_epi32(a, b); }
    IL_TARGET_AVX2 static V sub(V a, V b) { return _mm256_sub_epi32(a, b); }
    IL_TARGET_AVX2 static V mul(V a, V b) { return _mm256_mullo_epi32(a, b); }
};
template <> struct Lanes<float> {
    typedef __m256 V;
    static const bool divides = true;
    IL_TARGET_AVX2 static V load(const void* p) { return _mm256_loadu_ps(static_cast<const float*>(p)); }
    IL_TARGET_AVX2 static void store(void* p, V v) { _mm256_storeu_ps(static_cast<float*>(p), v); }
    IL_TARGET_AVX2 static V broadcast(float v) { return _mm256_set1_ps(v); }
    IL_TARGET_AVX2 static V add(V a, V b) { return _mm256_add_ps(a, b); }
    IL_TARGET_AVX2 static V sub(V a, V b) { return _mm256_sub_ps(a, b); }
    IL_TARGET_AVX2 static V mul(V a, V b) { return _mm256_mul_ps(a, b); }
    IL_TARGET_AVX2 static V div(V a, V b) { return _mm256_div_ps(a, b); }
    // A divisor equal to 0 (either sign) gives +0.
    IL_TARGET_AVX2 static V divGuarded(V a, V b)
    {
        return _mm256_andnot_ps(_mm256_cmp_ps(b, _mm256_setzero_ps(), _CMP_EQ_OQ), _mm256_div_ps(a, b));
    }
};
template <> struct Lanes<double> {
    typedef __m256d V;
    static const bool divides = true;
    IL_TARGET_AVX2 static V load(const void* p) { return _mm256_loadu_pd(static_cast<const double*>(p)); }
    IL_TARGET_AVX2 static void store(void* p, V v) { _mm256_storeu_pd(static_cast<double*>(p), v); }
    IL_TARGET_AVX2 static V broadcast(double v) { return _mm256_set1_pd(v); }
    IL_TARGET_AVX2 static V add(V a, V b) { return _mm256_add_pd(a, b); }
    IL_TARGET_AVX2 static V sub(V a, V b) { return _mm256_sub_pd(a, b); }
    IL_TARGET_AVX2 static V mul(V a, V b) { return _mm256_mul_pd(a, b); }
    IL_TARGET_AVX2 static V div(V a, V b) { return _mm256_div_pd(a, b); }
    IL_TARGET_AVX2 static V divGuarded(V a, V b)
    {
        return _mm256_andnot_pd(_mm256_cmp_pd(b, _mm256_setzero_pd(), _CMP_EQ_OQ), _mm256_div_pd(a, b));
    }
};

// Whether the operation has a vector form for T.
template <typename T, ILArithmeticOp Op> constexpr bool vectorised()
{
    return (Op != eILOpDivide && Op != eILOpScalarDivide) || Lanes<T>::divides;
}

// sample op f (f op sample for the reversed forms), as ILCombine does it.
template <typename T, ILArithmeticOp Op>
IL_TARGET_AVX2 typename Lanes<T>::V scalarLanes(typename Lanes<T>::V x, typename Lanes<T>::V f)
{
    typedef Lanes<T> L;
    if constexpr (Op == eILOpAdd) return L::add(x, f);
    else if constexpr (Op == eILOpSubtract) return L::sub(x, f);
    else if constexpr (Op == eILOpMultiply) return L::mul(x, f);
    else if constexpr (Op == eILOpDivide) return L::div(x, f);
    else if constexpr (Op == eILOpScalarMinus) return L::sub(f, x);
    else return L::div(f, x);
}

// a op b between images, division guarded against a zero divisor.
template <typename T, ILArithmeticOp Op>
IL_TARGET_AVX2 typename Lanes<T>::V imageLanes(typename Lanes<T>::V a, typename Lanes<T>::V b)
{
    typedef Lanes<T> L;
    if constexpr (Op == eILOpDivide) return L::divGuarded(a, b);
    else return scalarLanes<T, Op>(a, b);
}

// The whole vectors of a run; returns how many samples they covered.
template <typename T, ILArithmeticOp Op>
IL_TARGET_AVX2 size_t applyScalarAvx2(const T* in, T f, T* out, size_t count)
{
    typedef Lanes<T> L;
    const size_t step = 32 / sizeof(T);
    const typename L::V fv = L::broadcast(f);
    size_t i = 0;
    for (; count - i >= step; i += step) L::store(out + i, scalarLanes<T, Op>(L::load(in + i), fv));
    return i;
}

template <typename T, ILArithmeticOp Op>
IL_TARGET_AVX2 size_t combineAvx2(const T* a, const T* b, T* out, size_t count)
{
    typedef Lanes<T> L;
    const size_t step = 32 / sizeof(T);
    size_t i = 0;
    for (; count - i >= step; i += step) L::store(out + i, imageLanes<T, Op>(L::load(a + i), L::load(b + i)));
    return i;
}

#endif

// `avx2`: ilCpuHasAvx2(), asked once per call of the entry points below.
template <typename T, ILArithmeticOp Op> void applyScalarRun(const T* in, T f, T* out, size_t count, bool avx2)
{
    size_t done = 0;
#if IL_HAVE_AVX2_KERNELS
    if constexpr (vectorised<T, Op>()) {
        if (avx2) done = applyScalarAvx2<T, Op>(in, f, out, count);
    }
#else
    (void)avx2;
#endif
    applyScalarPortable<T, Op>(in, f, out, done, count);
}

template <typename T, ILArithmeticOp Op> void combineRun(const T* a, const T* b, T* out, size_t count, bool avx2)
{
    size_t done = 0;
#if IL_HAVE_AVX2_KERNELS
    if constexpr (vectorised<T, Op>()) {
        if (avx2) done = combineAvx2<T, Op>(a, b, out, count);
    }
#else
    (void)avx2;
#endif
    combinePortable<T, Op>(a, b, out, done, count);
}

// Calls kernel(std::integral_constant<ILArithmeticOp, op>()).
template <typename Kernel> bool dispatchOperation(ILArithmeticOp op, Kernel&& kernel)
{
    switch (op) {
    case eILOpAdd: kernel(std::integral_constant<ILArithmeticOp, eILOpAdd>()); return true;
    case eILOpSubtract: kernel(std::integral_constant<ILArithmeticOp, eILOpSubtract>()); return true;
    case eILOpMultiply: kernel(std::integral_constant<ILArithmeticOp, eILOpMultiply>()); return true;
    case eILOpDivide: kernel(std::integral_constant<ILArithmeticOp, eILOpDivide>()); return true;
    case eILOpScalarMinus: kernel(std::integral_constant<ILArithmeticOp, eILOpScalarMinus>()); return true;
    case eILOpScalarDivide: kernel(std::integral_constant<ILArithmeticOp, eILOpScalarDivide>()); return true;
    }
    return false;
}

} // namespace

bool ILApplyScalarFast(int32_t type, const void* in, void* out, size_t count, ILArithmeticOp op,
                       const ILScalarForms& forms)
{
    const bool avx2 = ilCpuHasAvx2();
    return ILDispatchSampleType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        dispatchOperation(op, [&](auto operation) {
            applyScalarRun<T, decltype(operation)::value>(static_cast<const T*>(in), forms.as<T>(),
                                                           static_cast<T*>(out), count, avx2);
        });
    });
}

bool ILCombineSameTypeFast(int32_t type, const void* a, const void* b, void* out, size_t count, ILArithmeticOp op)
{
    return ILCombineRowsFast(type, a, 0, b, 0, out, 0, count, 1, op);
}

bool ILCombineRowsFast(int32_t type, const void* a, size_t aStride, const void* b, size_t bStride, void* out,
                       size_t outStride, size_t count, size_t rows, ILArithmeticOp op)
{
    const bool avx2 = ilCpuHasAvx2();
    return ILDispatchSampleType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        dispatchOperation(op, [&](auto operation) {
            for (size_t r = 0; r < rows; ++r)
                combineRun<T, decltype(operation)::value>(static_cast<const T*>(a) + r * aStride,
                                                           static_cast<const T*>(b) + r * bStride,
                                                           static_cast<T*>(out) + r * outStride, count, avx2);
        });
    });
}
