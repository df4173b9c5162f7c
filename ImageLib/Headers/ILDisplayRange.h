// ILDisplayRange.h - nice axis ranges and tick steps for displaying a data range.
#ifndef IMAGELIB_ILDISPLAYRANGE_H
#define IMAGELIB_ILDISPLAYRANGE_H

#include <stdint.h>

#include "ILTypes.h"

// A display axis chosen by getNiceRangeForDisplay.
struct tagQORDisplayRange {
    int32_t numMajor;          // major ticks within the data range
    int32_t numMinor;          // minor intervals over the widened range
    double minorStep;          // (rangeMax - rangeMin) / numMinor
    double firstTick;          // value of the first labelled tick
    double majorStep;          // the nice step: 1, 2 or 5 times a power of ten
    double firstTickFraction;  // where firstTick lies within the data range, 0 to 1
    double rangeMin;           // data minimum rounded down to a whole step
    double rangeMax;           // data maximum rounded up to a whole step
    double exponent;           // suggested power of ten for labels; 1.0 for none
};

// Picks a major step of 1, 2 or 5 times a power of ten for about `ticks` major
// ticks over [min, max], widens the range to whole steps and fills `out`
// (skipped when null); returns numMajor. Odd on purpose: the first tick is
// the step itself, not the first multiple above min; below a target of 0.5
// the step search keeps the farther of two candidates; min == max gives the
// short form (one tick, step 0, exponent 0).
IMAGELIB_API int getNiceRangeForDisplay(double min, double max, int ticks, tagQORDisplayRange* out);

#endif
