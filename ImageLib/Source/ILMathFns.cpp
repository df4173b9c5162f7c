// ILMathFns.cpp - tolerant comparison and rounding helpers.
#include "ILTypes.h"
#include "ILImageBase_templates.h"

#include <cmath>

namespace {
const double kTolerance = 1e-8;
const int kClampedMax = 2147483647;
} // namespace

int CILMathFns::doublecomp(double a, double b)
{
    if (std::fabs(b - a) <= kTolerance) return 0;
    return (b > a) ? 1 : -1;
}

bool CILMathFns::isZero(double x)
{
    return std::fabs(0.0 - x) <= kTolerance;
}

int CILMathFns::round(double x, eRoundingStyle style)
{
    const int32_t f = ILTruncToInt32(std::floor(x));
    const int32_t c = ILTruncToInt32(std::ceil(x));
    const bool clamped = (style == eRoundClamped);
    if ((x - f) > (c - x)) {
        if (clamped && x > 0 && c < 0) return kClampedMax;
        return c;
    }
    // Ties round down, toward minus infinity. The clamped range is symmetric.
    if (clamped && ((x < 0 && f > 0) || f <= -kClampedMax)) return -kClampedMax;
    return f;
}
