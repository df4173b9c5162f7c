// ILArithmetic.h - the sample arithmetic shared by the image operators and the
// in-place scalar forms of CILImage (not installed).
//
// Integer samples wrap around modulo 2^8, 2^16 or 2^32 (eLong as two's
// complement); the arithmetic is done in unsigned 32 bits so that no signed
// overflow can occur. Integer division never faults: a zero divisor gives 0 and
// -2147483648 / -1 gives -2147483648. Floating samples follow IEEE arithmetic.
#ifndef IMAGELIB_ILARITHMETIC_H
#define IMAGELIB_ILARITHMETIC_H

#include "ILImageBase_templates.h"

#include <stddef.h>
#include <stdint.h>

#include <type_traits>

// The operations of the arithmetic kernels. The reversed forms compute
// scalar - sample and scalar / sample.
enum ILArithmeticOp { eILOpAdd, eILOpSubtract, eILOpMultiply, eILOpDivide, eILOpScalarMinus, eILOpScalarDivide };

template <ILArithmeticOp Op, typename T> inline T ILCombine(T a, T b);

// Integer division truncating toward zero, made total: the two cases that
// would raise a division fault get defined results instead (x / 0 = 0, and
// INT32_MIN / -1 = INT32_MIN, the wrapped quotient). Floats divide as IEEE.
template <typename T> inline T ILDivideNoFault(T a, T b)
{
    if constexpr (std::is_integral<T>::value) {
        if (b == 0) return 0;
        if (std::is_signed<T>::value && b == static_cast<T>(-1)) return ILCombine<eILOpSubtract>(T(0), a);
        return static_cast<T>(a / b);
    } else {
        return a / b;
    }
}

// a op b in the samples' own type (b op a for the reversed operations).
// Integers wrap: the arithmetic is done in unsigned 32 bits and cut back, so
// no signed overflow can occur.
template <ILArithmeticOp Op, typename T> inline T ILCombine(T a, T b)
{
    if constexpr (Op == eILOpScalarMinus) {
        return ILCombine<eILOpSubtract>(b, a);
    } else if constexpr (Op == eILOpScalarDivide) {
        return ILDivideNoFault(b, a);
    } else if constexpr (Op == eILOpDivide) {
        return ILDivideNoFault(a, b);
    } else if constexpr (std::is_integral<T>::value) {
        const uint32_t x = static_cast<uint32_t>(a), y = static_cast<uint32_t>(b);
        if constexpr (Op == eILOpAdd) return static_cast<T>(x + y);
        else if constexpr (Op == eILOpSubtract) return static_cast<T>(x - y);
        else return static_cast<T>(x * y);
    } else {
        if constexpr (Op == eILOpAdd) return a + b;
        else if constexpr (Op == eILOpSubtract) return a - b;
        else return a * b;
    }
}

// An operation as a function object, `combine(sample, operand)`; the choice
// is made once by ILDispatchOperation, outside the sample loops.
template <ILArithmeticOp Op> struct ILOperation {
    template <typename T> T operator()(T a, T b) const { return ILCombine<Op>(a, b); }
};
typedef ILOperation<eILOpDivide> ILDivideOp;

template <typename Kernel> inline void ILDispatchOperation(ILArithmeticOp op, Kernel&& kernel)
{
    switch (op) {
    case eILOpAdd: kernel(ILOperation<eILOpAdd>()); break;
    case eILOpSubtract: kernel(ILOperation<eILOpSubtract>()); break;
    case eILOpMultiply: kernel(ILOperation<eILOpMultiply>()); break;
    case eILOpDivide: kernel(ILOperation<eILOpDivide>()); break;
    case eILOpScalarMinus: kernel(ILOperation<eILOpScalarMinus>()); break;
    case eILOpScalarDivide: kernel(ILOperation<eILOpScalarDivide>()); break;
    }
}

// A scalar in the five forms the scalar operators use, one per sample type:
// truncated toward zero to 32 bits for the integer forms (then the low 8 or
// 16 bits), rounded to nearest for float, exact for double.
struct ILScalarForms {
    uint8_t byteForm;
    uint16_t ushortForm;
    int32_t longForm;
    float floatForm;
    double doubleForm;

    // Every scalar type widens to double exactly, so one builder serves all.
    static ILScalarForms from(double s)
    {
        ILScalarForms forms;
        forms.longForm = ILTruncToInt32(s);
        forms.byteForm = static_cast<uint8_t>(forms.longForm);
        forms.ushortForm = static_cast<uint16_t>(forms.longForm);
        forms.floatForm = ILNarrowToFloat(s);
        forms.doubleForm = s;
        return forms;
    }

    // Each form negated in its own type: two's complement for the integer
    // forms (so subtracting 1 from a byte 0 gives 255), a sign change for the
    // floating forms. Subtraction is addition of these.
    ILScalarForms negated() const
    {
        ILScalarForms forms;
        forms.byteForm = ILCombine<eILOpSubtract, uint8_t>(0, byteForm);
        forms.ushortForm = ILCombine<eILOpSubtract, uint16_t>(0, ushortForm);
        forms.longForm = ILCombine<eILOpSubtract, int32_t>(0, longForm);
        forms.floatForm = -floatForm;
        forms.doubleForm = -doubleForm;
        return forms;
    }

    template <typename T> T as() const;
};
template <> inline uint8_t ILScalarForms::as<uint8_t>() const { return byteForm; }
template <> inline uint16_t ILScalarForms::as<uint16_t>() const { return ushortForm; }
template <> inline int32_t ILScalarForms::as<int32_t>() const { return longForm; }
template <> inline float ILScalarForms::as<float>() const { return floatForm; }
template <> inline double ILScalarForms::as<double>() const { return doubleForm; }

// The scalar kernel: every sample x of the buffer becomes x op f (f op x for
// the reversed operations), with f the scalar's form of the buffer's type.
// False for an unknown sample type (nothing written).
inline bool ILApplyScalar(int32_t type, void* data, size_t count, ILArithmeticOp op, const ILScalarForms& forms)
{
    return ILDispatchSampleType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        T* samples = static_cast<T*>(data);
        const T f = forms.as<T>();
        ILDispatchOperation(op, [&](auto combine) {
            for (size_t i = 0; i < count; ++i) samples[i] = combine(samples[i], f);
        });
    });
}

// The fast forms of the element loops, with the same bytes as the plain ones
// (ILImageBase_OpOvrld_Fast.cpp).
//
// ILApplyScalarFast: out[i] = in[i] op f (f op in[i] for the reversed
// operations) with the form of the buffers' type, as ILApplyScalar does in
// place; `in` and `out` are the same buffer or do not overlap.
// ILCombineSameTypeFast: out[i] = a[i] op b[i] for two buffers of one type,
// a divisor equal to 0 giving 0 (the image-image rule); `out` is `a`, or
// overlaps neither.
// ILCombineRowsFast: the same for `rows` rows of `count` samples, row r of
// each buffer starting r x its stride (in samples) after its start.
// All return false for an unknown sample type, with nothing written.
bool ILApplyScalarFast(int32_t type, const void* in, void* out, size_t count, ILArithmeticOp op,
                       const ILScalarForms& forms);
bool ILCombineSameTypeFast(int32_t type, const void* a, const void* b, void* out, size_t count, ILArithmeticOp op);
bool ILCombineRowsFast(int32_t type, const void* a, size_t aStride, const void* b, size_t bStride, void* out,
                       size_t outStride, size_t count, size_t rows, ILArithmeticOp op);

#endif
