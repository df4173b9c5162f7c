// ILImageBase_OpOvrld.cpp - arithmetic between two images and between an image
// and a scalar.
//
// Compound forms pair samples linearly in memory order and accept any right
// operand type; binary forms align the images by position on a common canvas
// and require one type. Scalar forms bring the scalar to the image's type
// first. The sample arithmetic itself (wrap-around, fault-free integer
// division) is in ILArithmetic.h.
#include "ILImageBase.h"
#include "ILArithmetic.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <algorithm>
#include <type_traits>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase_OpOvrld"

namespace {

// The result of an operation that cannot run: a copy of a default image. The
// copy asks for the size of type -1, which raises "1==0" and leaves a
// zero-byte buffer; the application sees an image of type -1, 0 x 0.
CILImageBase emptyResult()
{
    const CILImageBase none;
    return CILImageBase(none);
}

// a[i] = a[i] op cast(b[i]) for the first `count` samples. A divisor that is
// zero in its own type gives 0; one that only becomes 0 by the cast is
// handled by the fault-free division (also 0 for integer targets).
template <typename A, typename B, typename Combine>
void combineLinearly(A* a, const B* b, size_t count, Combine combine)
{
    for (size_t i = 0; i < count; ++i) {
        if (std::is_same<Combine, ILDivideOp>::value && b[i] == B(0))
            a[i] = A(0);
        else
            a[i] = combine(a[i], ILConvertSample<A>(b[i]));
    }
}

// Operand sample (x, y), or the zero padding outside its own sides.
template <typename T> T sampleOrPadding(const T* samples, uint32_t width, uint32_t height, uint32_t x, uint32_t y)
{
    return (x < width && y < height) ? samples[static_cast<size_t>(y) * width + x] : T(0);
}

// The canvas: where both operands have samples (a rectangle at the top
// left) the fast loop of the type combines them, the rest of each row is
// combined with the padding. Operands of the canvas's own sides are one run.
template <typename T, typename Combine>
void combineOnCanvasFast(const T* a, uint32_t aWidth, uint32_t aHeight, const T* b, uint32_t bWidth,
                         uint32_t bHeight, T* out, uint32_t width, uint32_t height, Combine combine,
                         ILArithmeticOp op, int32_t type)
{
    if (aWidth == width && bWidth == width && aHeight == height && bHeight == height) {
        ILCombineSameTypeFast(type, a, b, out, static_cast<size_t>(width) * height, op);
        return;
    }
    const uint32_t sharedRows = std::min({aHeight, bHeight, height});
    const uint32_t sharedColumns = std::min({aWidth, bWidth, width});
    if (sharedRows > 0 && sharedColumns > 0)
        ILCombineRowsFast(type, a, aWidth, b, bWidth, out, width, sharedColumns, sharedRows, op);
    for (uint32_t y = 0; y < height; ++y) {
        const uint32_t shared = y < sharedRows ? sharedColumns : 0;
        T* row = out + static_cast<size_t>(y) * width;
        for (uint32_t x = shared; x < width; ++x) {
            const T left = sampleOrPadding(a, aWidth, aHeight, x, y);
            const T right = sampleOrPadding(b, bWidth, bHeight, x, y);
            if (std::is_same<Combine, ILDivideOp>::value && right == T(0))
                row[x] = T(0);
            else
                row[x] = combine(left, right);
        }
    }
}

// out = a op b on the W x H canvas, each operand anchored at the top-left
// corner. Division by a zero divisor gives 0 for every type, floats included.
// This is the plain form of combineOnCanvasFast.
template <typename T, typename Combine>
void combineOnCanvas(const T* a, uint32_t aWidth, uint32_t aHeight, const T* b, uint32_t bWidth, uint32_t bHeight,
                     T* out, uint32_t width, uint32_t height, Combine combine)
{
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            const T left = sampleOrPadding(a, aWidth, aHeight, x, y);
            const T right = sampleOrPadding(b, bWidth, bHeight, x, y);
            if (std::is_same<Combine, ILDivideOp>::value && right == T(0))
                *out++ = T(0);
            else
                *out++ = combine(left, right);
        }
    }
}

typedef CILImageBase (CILImageBase::*ScalarCore)(QORDataTypes, unsigned char, unsigned short, int32_t, float,
                                                 double) const;

CILImageBase runScalarCore(const CILImageBase& image, ScalarCore core, QORDataTypes scalarType,
                           const ILScalarForms& forms)
{
    return (image.*core)(scalarType, forms.byteForm, forms.ushortForm, forms.longForm, forms.floatForm,
                         forms.doubleForm);
}

} // namespace

void CILImageBase::getMinMaxWidHgt(const CILImageBase& other, uint32_t* minWidth, uint32_t* maxWidth,
                                   uint32_t* minHeight, uint32_t* maxHeight)
{
    *minWidth = m_width < other.m_width ? m_width : other.m_width;
    *maxWidth = m_width < other.m_width ? other.m_width : m_width;
    *minHeight = m_height < other.m_height ? m_height : other.m_height;
    *maxHeight = m_height < other.m_height ? other.m_height : m_height;
}

// ---- compound forms -------------------------------------------------------

CILImageBase& CILImageBase::compound_core(const CILImageBase& other, int operation)
{
    uint32_t minWidth, maxWidth, minHeight, maxHeight;
    getMinMaxWidHgt(other, &minWidth, &maxWidth, &minHeight, &maxHeight);
    // Both buffers hold at least min width x min height samples, so the linear
    // pairing stays inside them; without both buffers nothing is combined.
    const uint32_t count = minWidth * minHeight;
    if (count == 0 || !hasPixels() || !other.hasPixels()) return *this;
    // One type on both sides: the cast is the identity and the fast loop
    // gives the same bytes.
    if (m_datatype == other.m_datatype &&
        ILCombineSameTypeFast(m_datatype, m_data, other.m_data, m_data, count, static_cast<ILArithmeticOp>(operation)))
        return *this;
    const bool knownTypes = ILDispatchSampleType(m_datatype, [&](auto targetTag) {
        using A = typename decltype(targetTag)::type;
        const bool knownSource = ILDispatchSampleType(other.m_datatype, [&](auto sourceTag) {
            using B = typename decltype(sourceTag)::type;
            ILDispatchOperation(static_cast<ILArithmeticOp>(operation), [&](auto combine) {
                combineLinearly(reinterpret_cast<A*>(m_data), reinterpret_cast<const B*>(other.m_data), count,
                                combine);
            });
        });
        if (!knownSource) IL_ASSERT_UNKNOWN_TYPE();
    });
    if (!knownTypes) IL_ASSERT_UNKNOWN_TYPE();
    return *this;
}

CILImageBase& CILImageBase::operator+=(const CILImageBase& other) { return compound_core(other, eILOpAdd); }
CILImageBase& CILImageBase::operator-=(const CILImageBase& other) { return compound_core(other, eILOpSubtract); }
CILImageBase& CILImageBase::operator*=(const CILImageBase& other) { return compound_core(other, eILOpMultiply); }
CILImageBase& CILImageBase::operator/=(const CILImageBase& other) { return compound_core(other, eILOpDivide); }

// ---- binary forms ---------------------------------------------------------

CILImageBase CILImageBase::binary_core(const CILImageBase& other, int operation)
{
    // An operand without pixels is treated like a mismatch: there is nothing
    // defined to combine.
    if (m_datatype != other.m_datatype || !hasPixels() || !other.hasPixels()) return emptyResult();
    uint32_t minWidth, width, minHeight, height;
    getMinMaxWidHgt(other, &minWidth, &width, &minHeight, &height);
    // Every path of `combined` returns its one result object, which is
    // therefore built in place of the returned image instead of copied into it.
    auto combined = [&]() {
        CILImageBase result;
        // A canvas that cannot be allocated (or does not fit) gives an empty image.
        if (width > INT32_MAX || height > INT32_MAX ||
            !result.InitWithType(m_datatype, static_cast<int32_t>(width), static_cast<int32_t>(height)))
            return result;
        const bool known = ILDispatchSampleType(m_datatype, [&](auto tag) {
            using T = typename decltype(tag)::type;
            ILDispatchOperation(static_cast<ILArithmeticOp>(operation), [&](auto combine) {
                combineOnCanvasFast(reinterpret_cast<const T*>(m_data), m_width, m_height,
                                    reinterpret_cast<const T*>(other.m_data), other.m_width, other.m_height,
                                    reinterpret_cast<T*>(result.m_data), width, height, combine,
                                    static_cast<ILArithmeticOp>(operation), m_datatype);
            });
        });
        if (!known) IL_ASSERT_UNKNOWN_TYPE();
        return result;
    };
    return combined();
}

CILImageBase CILImageBase::operator+(const CILImageBase& other) { return binary_core(other, eILOpAdd); }
CILImageBase CILImageBase::operator-(const CILImageBase& other) { return binary_core(other, eILOpSubtract); }
CILImageBase CILImageBase::operator*(const CILImageBase& other) { return binary_core(other, eILOpMultiply); }
CILImageBase CILImageBase::operator/(const CILImageBase& other) { return binary_core(other, eILOpDivide); }

// ---- scalar forms ---------------------------------------------------------

CILImageBase CILImageBase::scalar_core(int operation, unsigned char byteForm, unsigned short ushortForm,
                                       int32_t longForm, float floatForm, double doubleForm) const
{
    if (!hasPixels()) return emptyResult();
    const ILScalarForms forms = {byteForm, ushortForm, longForm, floatForm, doubleForm};
    // As in binary_core, one result object on every path of `computed`, built
    // in place of the returned image. The samples are computed straight into
    // it rather than copied and then changed in place.
    auto computed = [&]() {
        CILImageBase result;
        // A failed allocation leaves the result empty.
        if (!result.InitWithType(m_datatype, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height)))
            return result;
        if (!ILApplyScalarFast(m_datatype, m_data, result.m_data, pixelCount(), static_cast<ILArithmeticOp>(operation),
                               forms))
            IL_ASSERT_UNKNOWN_TYPE();
        return result;
    };
    return computed();
}

CILImageBase CILImageBase::operator_add_core(QORDataTypes, unsigned char byteForm, unsigned short ushortForm,
                                             int32_t longForm, float floatForm, double doubleForm) const
{
    return scalar_core(eILOpAdd, byteForm, ushortForm, longForm, floatForm, doubleForm);
}

CILImageBase CILImageBase::operator_mul_core(QORDataTypes, unsigned char byteForm, unsigned short ushortForm,
                                             int32_t longForm, float floatForm, double doubleForm) const
{
    return scalar_core(eILOpMultiply, byteForm, ushortForm, longForm, floatForm, doubleForm);
}

CILImageBase CILImageBase::operator_div_core(QORDataTypes, unsigned char byteForm, unsigned short ushortForm,
                                             int32_t longForm, float floatForm, double doubleForm) const
{
    return scalar_core(eILOpDivide, byteForm, ushortForm, longForm, floatForm, doubleForm);
}

CILImageBase CILImageBase::operator_onebyx_core(QORDataTypes, unsigned char byteForm, unsigned short ushortForm,
                                                int32_t longForm, float floatForm, double doubleForm) const
{
    return scalar_core(eILOpScalarDivide, byteForm, ushortForm, longForm, floatForm, doubleForm);
}

CILImageBase CILImageBase::operator_oneminusx_core(QORDataTypes, unsigned char byteForm, unsigned short ushortForm,
                                                   int32_t longForm, float floatForm, double doubleForm) const
{
    return scalar_core(eILOpScalarMinus, byteForm, ushortForm, longForm, floatForm, doubleForm);
}

// Subtraction adds the negated forms (image - 1 on a byte 0 gives 255).
CILImageBase CILImageBase::operator+(unsigned char s)
{
    return runScalarCore(*this, &CILImageBase::operator_add_core, eByte, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator+(unsigned short s)
{
    return runScalarCore(*this, &CILImageBase::operator_add_core, eUShort, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator+(int32_t s)
{
    return runScalarCore(*this, &CILImageBase::operator_add_core, eLong, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator+(float s)
{
    return runScalarCore(*this, &CILImageBase::operator_add_core, eFloat, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator+(double s)
{
    return runScalarCore(*this, &CILImageBase::operator_add_core, eDouble, ILScalarForms::from(s));
}

CILImageBase CILImageBase::operator-(unsigned char s)
{
    return runScalarCore(*this, &CILImageBase::operator_add_core, eByte, ILScalarForms::from(s).negated());
}
CILImageBase CILImageBase::operator-(unsigned short s)
{
    return runScalarCore(*this, &CILImageBase::operator_add_core, eUShort, ILScalarForms::from(s).negated());
}
CILImageBase CILImageBase::operator-(int32_t s)
{
    return runScalarCore(*this, &CILImageBase::operator_add_core, eLong, ILScalarForms::from(s).negated());
}
CILImageBase CILImageBase::operator-(float s)
{
    return runScalarCore(*this, &CILImageBase::operator_add_core, eFloat, ILScalarForms::from(s).negated());
}
CILImageBase CILImageBase::operator-(double s)
{
    return runScalarCore(*this, &CILImageBase::operator_add_core, eDouble, ILScalarForms::from(s).negated());
}

CILImageBase CILImageBase::operator*(unsigned char s)
{
    return runScalarCore(*this, &CILImageBase::operator_mul_core, eByte, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator*(unsigned short s)
{
    return runScalarCore(*this, &CILImageBase::operator_mul_core, eUShort, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator*(int32_t s)
{
    return runScalarCore(*this, &CILImageBase::operator_mul_core, eLong, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator*(float s)
{
    return runScalarCore(*this, &CILImageBase::operator_mul_core, eFloat, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator*(double s)
{
    return runScalarCore(*this, &CILImageBase::operator_mul_core, eDouble, ILScalarForms::from(s));
}

// Integer images: a scalar that becomes 0 gives 0 (never a division fault).
CILImageBase CILImageBase::operator/(unsigned char s)
{
    return runScalarCore(*this, &CILImageBase::operator_div_core, eByte, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator/(unsigned short s)
{
    return runScalarCore(*this, &CILImageBase::operator_div_core, eUShort, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator/(int32_t s)
{
    return runScalarCore(*this, &CILImageBase::operator_div_core, eLong, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator/(float s)
{
    return runScalarCore(*this, &CILImageBase::operator_div_core, eFloat, ILScalarForms::from(s));
}
CILImageBase CILImageBase::operator/(double s)
{
    return runScalarCore(*this, &CILImageBase::operator_div_core, eDouble, ILScalarForms::from(s));
}

// Integer images: a zero sample gives 0 (never a division fault).
CILImageBase CILImageBase::divideScalarbyImage(float s)
{
    return runScalarCore(*this, &CILImageBase::operator_onebyx_core, eFloat, ILScalarForms::from(s));
}
CILImageBase CILImageBase::divideScalarbyImage(double s)
{
    return runScalarCore(*this, &CILImageBase::operator_onebyx_core, eDouble, ILScalarForms::from(s));
}

CILImageBase CILImageBase::scalarMinusImage(int32_t s, const CILImageBase& image)
{
    return runScalarCore(image, &CILImageBase::operator_oneminusx_core, eLong, ILScalarForms::from(s));
}

CILImageBase CILImageBase::scalarDividedByImage(int32_t s, const CILImageBase& image)
{
    return runScalarCore(image, &CILImageBase::operator_onebyx_core, eLong, ILScalarForms::from(s));
}
