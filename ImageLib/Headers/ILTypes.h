// ILTypes.h - sample types, status codes and the small numeric helpers.
#ifndef IMAGELIB_ILTYPES_H
#define IMAGELIB_ILTYPES_H

#include <stdint.h>

#include "ILAssert.h"

// Sample type of an image or series. -1 marks "no type yet" (a default image);
// 6 and 7 are the one-dimensional series' small kinds.
enum QORDataTypes : int32_t {
    eByte = 1,    // unsigned 8-bit
    eUShort = 2,  // unsigned 16-bit
    eLong = 3,    // signed 32-bit
    eFloat = 4,   // 32-bit IEEE float
    eDouble = 5   // 64-bit IEEE float
};

// Status of the operations that report one. eILClipped is the only non-zero
// code that comes with a complete result.
enum EILSTATUS : int32_t {
    eILSuccess = 0,
    eILAllocFailed = 1,
    eILNoData = 2,
    eILNullArgument = 3,
    eILInvalidArgument = 4,
    eILClipped = 5,
    eILTypeMismatch = 6,
    eILOperationFailed = 7
};

// Rounding mode of CILMathFns::round. Only eRoundClamped changes the result.
enum eRoundingStyle : int32_t {
    eRoundPlain = 0,
    eRoundNearest = 1,
    eRoundClamped = 2
};

// What kind of picture a CILImage holds. The library only stores and copies
// this value; its meaning belongs to the application.
enum QORImageTypes : int32_t {
    eImageTypeUnknown = 0
};

// Connectivity of CILImageBase::fillContourMask. Any value other than
// eFillContour8Connected fills four-connected.
enum eFillContourLogicType : int32_t {
    eFillContour4Connected = 1,
    eFillContour8Connected = 2
};

// A point of the contour fill's work stack: column x, then row y.
struct _tagUSHORT_POINT {
    unsigned short x;
    unsigned short y;
};

// Tolerant comparison and rounding with an absolute tolerance of 1e-8.
class IMAGELIB_API CILMathFns {
public:
    // Three-way comparison with the reversed sign convention: 0 when
    // |b - a| <= 1e-8, +1 when b is the larger, -1 otherwise (also for NaN).
    static int doublecomp(double a, double b);

    // True when |x| <= 1e-8 (so +-1e-8 counts as zero); false for NaN.
    static bool isZero(double x);

    // Nearest integer; an exact tie rounds toward minus infinity (2.5 -> 2,
    // -2.5 -> -3). eRoundClamped clamps to the symmetric range
    // [-2147483647, 2147483647]; other styles keep whatever the truncating
    // conversion gives (-2147483648 for NaN and out-of-range values).
    static int round(double x, eRoundingStyle style);
};

#endif
