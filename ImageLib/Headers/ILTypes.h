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

// Method of upSample/downSample. Any other value is accepted and writes
// nothing (the destination keeps unspecified contents).
enum IL_RESAMPLEMODES : int32_t {
    eResampleNearest = 1,  // nearest sample, positions accumulated in single precision
    eResampleAverage = 2,  // mean of an integer-sized block
    eResampleSum = 3,      // sum of an integer-sized block (integer results wrap)
    eResampleBilinear = 4  // bilinear between the four neighbours
};

// How embed places a patch. Only eEmbedByClipping is supported.
enum eEmbedTypes : int32_t {
    eEmbedByClipping = 1
};

// Smoothing method of CILImage::filter. eSmoothUnsupported names a method that
// was never settled and is refused; values beyond eSmoothMedianFilter are
// refused as invalid.
enum eSmoothFilterTypes : int32_t {
    eSmoothUndefined = 0,
    eSmoothBoxFilter = 1,     // n x n mean
    eSmoothUnsupported = 2,   // refused with eILOperationFailed
    eSmoothMedianFilter = 3   // n x n median
};

// A traced contour: a chain of pixel positions with the chain code of each
// step (0 right, 1 right-down, 2 down, 3 left-down, 4 left, 5 left-up, 6 up,
// 7 right-up; y grows downward). The caller owns the three arrays and sizes
// each for width x height + 1 entries: the record carries no capacity.
struct tagContourTraceInfo {
    int32_t nNumPoints;    // points in the chain
    int32_t* pXPoints;     // column of each point
    int32_t* pYPoints;     // row of each point
    int32_t nStartX;       // start position (see CILImageBase::ContourTrace_Core)
    int32_t nStartY;
    int32_t* pDirections;  // chain code of the step from each point to the next
};

// Result of CILImageBase::getImageStats.
struct tagImageStatsInfo {
    double dMin;
    double dMax;
    double dMean;
    double dStdDev;  // sample standard deviation (divides by n - 1)
    double dMinRow;
    double dMinCol;
    double dMaxRow;
    double dMaxCol;
    double dSum;
    uint32_t nCount;     // samples taken; always written
    bool bComputeStats;  // input: false writes nCount only
};

// Result of CILImageBase::getImageParticleAnalysisStats over the samples
// equal to 1. Centroid: dSumX / dArea, dSumY / dArea.
struct tagImageParticleAnalyzeInfo {
    int64_t nReserved1;        // not used by the library
    double dArea;              // particle pixels
    double dSumX;              // sum of columns
    double dSumY;              // sum of rows
    double dSumXX;             // sum of column^2
    double dSumYY;             // sum of row^2
    double dSumXY;             // sum of column x row
    int64_t nReserved2;        // not used by the library
    uint32_t* pParticleMap;    // width x height entries (1 particle, 0 not), or null
    uint32_t* pParticleMap2;   // a second copy of the same map, or null
    uint32_t nLastRow;         // last particle pixel in scan order (0 if none)
    uint32_t nLastCol;
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
