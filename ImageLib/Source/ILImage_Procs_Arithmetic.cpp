// ILImage_Procs_Arithmetic.cpp - the arithmetic operators of CILImage.
//
// Each forwards to the CILImageBase operation; results that are new images
// take the display properties of their source (copyFnForOpOvld), images
// changed in place refresh their statistics and become dirty.
#include "ILImage.h"
#include "ILArithmetic.h"
#include "ILInternal.h"

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImage_Procs"

CILImage::CILImage(CILImageBase& pixels, AdoptPixels) : CILImageBase()
{
    swapPixels(pixels);
    m_datavalid = true;  // as for an image constructed from a CILImageBase
}

CILImage CILImage::resultFrom(CILImageBase&& pixels) const
{
    CILImage result(pixels, AdoptPixels());
    result.copyFnForOpOvld(*this);
    return result;
}

CILImage& CILImage::applyScalarInPlace(int operation, double s)
{
    ILArithmeticOp op = static_cast<ILArithmeticOp>(operation);
    ILScalarForms forms = ILScalarForms::from(s);
    // Subtraction adds the negated forms, as the operators returning images do.
    if (op == eILOpSubtract) {
        forms = forms.negated();
        op = eILOpAdd;
    }
    if (hasPixels() && !ILApplyScalarFast(m_datatype, m_data, m_data, pixelCount(), op, forms)) IL_ASSERT_UNKNOWN_TYPE();
    refreshed(*this, true);
    return *this;
}

// ---- image-image: compound forms refresh, binary forms carry the display ---

CILImage& CILImage::operator+=(const CILImage& other)
{
    CILImageBase::operator+=(other);
    refreshed(*this, true);
    return *this;
}

CILImage& CILImage::operator-=(const CILImage& other)
{
    CILImageBase::operator-=(other);
    refreshed(*this, true);
    return *this;
}

CILImage& CILImage::operator*=(const CILImage& other)
{
    CILImageBase::operator*=(other);
    refreshed(*this, true);
    return *this;
}

CILImage& CILImage::operator/=(const CILImage& other)
{
    CILImageBase::operator/=(other);
    refreshed(*this, true);
    return *this;
}

CILImage CILImage::operator+(const CILImage& other) { return resultFrom(CILImageBase::operator+(other)); }
CILImage CILImage::operator-(const CILImage& other) { return resultFrom(CILImageBase::operator-(other)); }
CILImage CILImage::operator*(const CILImage& other) { return resultFrom(CILImageBase::operator*(other)); }
CILImage CILImage::operator/(const CILImage& other) { return resultFrom(CILImageBase::operator/(other)); }

// ---- image-scalar ---------------------------------------------------------

CILImage CILImage::operator+(int32_t s) { return resultFrom(CILImageBase::operator+(s)); }
CILImage CILImage::operator+(double s) { return resultFrom(CILImageBase::operator+(s)); }
CILImage CILImage::operator-(int32_t s) { return resultFrom(CILImageBase::operator-(s)); }
CILImage CILImage::operator-(double s) { return resultFrom(CILImageBase::operator-(s)); }
CILImage CILImage::operator*(int32_t s) { return resultFrom(CILImageBase::operator*(s)); }
CILImage CILImage::operator*(double s) { return resultFrom(CILImageBase::operator*(s)); }
// Integer images: a scalar that becomes 0 gives 0 (never a division fault).
CILImage CILImage::operator/(int32_t s) { return resultFrom(CILImageBase::operator/(s)); }
CILImage CILImage::operator/(double s) { return resultFrom(CILImageBase::operator/(s)); }
CILImage CILImage::divideScalarbyImage(float s) { return resultFrom(CILImageBase::divideScalarbyImage(s)); }
CILImage CILImage::divideScalarbyImage(double s) { return resultFrom(CILImageBase::divideScalarbyImage(s)); }

// In place with the same scalar forms; every integer scalar is exact as a double.
CILImage& CILImage::operator+=(int32_t s) { return applyScalarInPlace(eILOpAdd, s); }
CILImage& CILImage::operator+=(double s) { return applyScalarInPlace(eILOpAdd, s); }
CILImage& CILImage::operator-=(int32_t s) { return applyScalarInPlace(eILOpSubtract, s); }
CILImage& CILImage::operator-=(double s) { return applyScalarInPlace(eILOpSubtract, s); }
CILImage& CILImage::operator*=(int32_t s) { return applyScalarInPlace(eILOpMultiply, s); }
CILImage& CILImage::operator*=(double s) { return applyScalarInPlace(eILOpMultiply, s); }
CILImage& CILImage::operator/=(int32_t s) { return applyScalarInPlace(eILOpDivide, s); }
CILImage& CILImage::operator/=(double s) { return applyScalarInPlace(eILOpDivide, s); }

// ---- scalar on the left ---------------------------------------------------

CILImage operator+(int32_t s, CILImage& image) { return image + s; }
CILImage operator*(int32_t s, CILImage& image) { return image * s; }
CILImage operator-(int32_t s, CILImage& image) { return image.resultFrom(CILImage::scalarMinusImage(s, image)); }
// Integer images: a zero sample gives 0 (never a division fault).
CILImage operator/(int32_t s, CILImage& image) { return image.resultFrom(CILImage::scalarDividedByImage(s, image)); }
