// ILInternal.h - helpers shared by the implementation units (not installed).
#ifndef IMAGELIB_ILINTERNAL_H
#define IMAGELIB_ILINTERNAL_H

#include "ILAssert.h"
#include "ILImageBase_templates.h"

#include <cstddef>

// Each unit defines IL_ASSERT_SOURCE as its own source name before using
// IL_ASSERT, so that reports name the unit that made the check.
#define IL_WIDE_TEXT(text) L"" text

// Checks `cond`; on failure reports its text, the unit and the line, and
// carries on.
#define IL_ASSERT(cond)                                                      \
    do {                                                                     \
        if (!(cond))                                                         \
            ILReportAssertion(IL_WIDE_TEXT(#cond), IL_ASSERT_SOURCE, __LINE__); \
    } while (0)

// Reports the dispatcher's unknown-type failure.
#define IL_ASSERT_UNKNOWN_TYPE() ILReportAssertion(L"1==0", IL_ASSERT_SOURCE, __LINE__)

// One-dimensional series (and histograms) hold the five sample types and two
// small signed kinds of their own: 6, 8-bit, and 7, 16-bit values.
const int32_t kILSeriesByteKind = 6;
const int32_t kILSeriesShortKind = 7;

// Bytes per sample of every kind a series holds; 0 for any other value.
inline size_t ILSeriesSampleBytes(int32_t type)
{
    if (type == kILSeriesByteKind) return 1;
    if (type == kILSeriesShortKind) return 2;
    return ILSampleBytes(type);
}

#endif
