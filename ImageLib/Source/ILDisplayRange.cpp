// ILDisplayRange.cpp - nice display ranges: a 1-2-5 major step for a wanted
// number of ticks, the range widened to whole steps, minor steps and a label
// exponent.
#include "ILDisplayRange.h"

#include <algorithm>
#include <cmath>

namespace {

// Largest decimal exponent the step search covers.
const int kMaxDecade = 19;

// The decade floor(log10 |min|) or ceil(log10 |max|), 0 for a zero value.
double decadeOf(double value, bool roundUp)
{
    if (value == 0.0) return 0.0;
    const double exact = std::log10(std::fabs(value));
    return roundUp ? std::ceil(exact) : std::floor(exact);
}

// The power of ten by which values of extreme magnitude are brought within
// the decades the step search covers; 0 when none is needed.
double magnitudeShift(double min, double max)
{
    const double lo = decadeOf(min, false);
    const double hi = decadeOf(max, true);
    const double m = std::max(std::fabs(lo), std::fabs(hi));
    if (!(m > kMaxDecade)) return 0.0;
    return (lo < 0.0 && hi < 0.0) ? kMaxDecade - m : m - kMaxDecade;
}

// The one comparison of both step searches: true when target - first exceeds
// second - target. With first below second this picks the nearer value and
// leaves ties to first.
bool prefersSecond(double target, double first, double second)
{
    return target - first > second - target;
}

// The 1-2-5 step nearest the target for targets from 0.5 to 5e19.
bool searchDecades(double target, double* step)
{
    double prev = 0.5;
    for (int e = 0; e <= kMaxDecade; ++e) {
        const double p = std::pow(10.0, e);
        const double bounds[4] = {prev, p, 2.0 * p, 5.0 * p};
        for (int b = 0; b < 3; ++b) {
            if (bounds[b] <= target && target <= bounds[b + 1]) {
                *step = prefersSecond(target, bounds[b], bounds[b + 1]) ? bounds[b + 1] : bounds[b];
                return true;
            }
        }
        prev = 5.0 * p;
    }
    return false;
}

// The step for small targets, walking down from 1.0 through 5, 2, 1 times
// 10^-d (each nudged up by 1e-15). The comparison is the one of the decade
// search although the candidate is the lower bound here, so the value farther
// from the target is taken; kept so on purpose. 1.0 when nothing matches.
double searchFractions(double target)
{
    const double multipliers[3] = {5.0, 2.0, 1.0};
    double prev = 1.0;
    for (int d = 1; d <= kMaxDecade; ++d) {
        for (double c : multipliers) {
            const double candidate = c / std::pow(10.0, d) + 1e-15;
            if (candidate <= target && target <= prev)
                return prefersSecond(target, prev, candidate) ? candidate : prev;
            prev = candidate;
        }
    }
    return 1.0;
}

// The label exponent for a widened range and step; 1.0 when none.
double labelExponent(double rangeMin, double rangeMax, double step)
{
    double span = std::fabs(rangeMax - rangeMin);
    if (span == 0.0 && rangeMin != 0.0) span = rangeMin;  // deliberately not its magnitude
    double e = 0.0;
    bool big = false;
    double exponent = 1.0;
    if (!(span == 0.0 && rangeMin == 0.0)) {
        e = std::floor(std::log10(span));
        big = (e <= -1.0 || e >= 3.0);
        if (big) exponent = e;
    }
    if (!big && std::log10(step) <= -3.0) exponent = e;
    return exponent;
}

// Major ticks within [min, max]: 1, plus one per step added to min while the
// sum stays within max, up to `ticks`.
int32_t countMajorTicks(double min, double max, double step, int ticks)
{
    int32_t count = 1;
    if (ticks <= 1) return count;
    for (double sum = min + step; sum <= max && count < ticks; sum += step) ++count;
    return count;
}

} // namespace

int getNiceRangeForDisplay(double min, double max, int ticks, tagQORDisplayRange* out)
{
    tagQORDisplayRange range;
    if (max - min == 0.0) {
        range.numMajor = 1;
        range.numMinor = 1;
        range.minorStep = min;
        range.firstTick = min;
        range.majorStep = 0.0;
        range.firstTickFraction = 0.0;
        range.rangeMin = min;
        range.rangeMax = max;
        range.exponent = 0.0;
        if (out) *out = range;
        return range.numMajor;
    }

    // Values of extreme magnitude are searched in shifted decades.
    const double shift = magnitudeShift(min, max);
    const double scale = std::pow(10.0, shift);
    const double workMin = shift != 0.0 ? min / scale : min;
    const double workMax = shift != 0.0 ? max / scale : max;

    const double target = (workMax - workMin) / ticks * 5.0;
    double step = 1.0;
    if (!searchDecades(target, &step)) step = searchFractions(target);
    if (shift != 0.0) step *= scale;

    range.majorStep = step;
    range.rangeMin = std::floor(min / step) * step;
    range.rangeMax = std::ceil(max / step) * step;
    range.exponent = labelExponent(range.rangeMin, range.rangeMax, step);

    // The first tick is the step itself, not the first multiple above min.
    if (step > min) {
        range.firstTick = step;
        range.firstTickFraction = (step - min) / (max - min);
    } else {
        range.firstTick = min;
        range.firstTickFraction = 0.0;
    }

    range.numMajor = countMajorTicks(min, max, step, ticks);
    range.numMinor = CILMathFns::round((range.rangeMax - range.rangeMin) / (step * 0.2), eRoundClamped);
    range.minorStep = (range.rangeMax - range.rangeMin) / range.numMinor;
    if (out) *out = range;
    return range.numMajor;
}
