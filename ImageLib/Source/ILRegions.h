// ILRegions.h - helpers shared by the region and measurement units (not
// installed): how a sample is compared with an int, and the sample size.
#ifndef IMAGELIB_ILREGIONS_H
#define IMAGELIB_ILREGIONS_H

#include <stddef.h>
#include <stdint.h>

#include <type_traits>

#include "ILImageBase_templates.h"

// Compares a sample with an int the way the region operations do: integer
// samples are widened, so a byte sample never equals 256 or -1; floating
// samples are compared, exactly, with the value converted to their own type.
template <typename T>
inline bool ILSampleEqualsInt(T sample, int value)
{
    if constexpr (std::is_integral<T>::value)
        return static_cast<int64_t>(sample) == static_cast<int64_t>(value);
    else
        return sample == static_cast<T>(value);
}

#endif
