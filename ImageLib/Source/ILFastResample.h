// ILFastResample.h - the fast paths of nearest and bilinear resampling, and
// the position rule they share with the plain kernels (not installed).
#ifndef IMAGELIB_ILFASTRESAMPLE_H
#define IMAGELIB_ILFASTRESAMPLE_H

#include <stdint.h>

// The source index a non-negative position truncates to, kept inside
// [0, limit - 1]. Repeated single-precision addition can drift past the
// last index on very long rows; such a position reads the last sample
// instead of the memory behind the row.
inline uint32_t ilTruncatedIndex(float position, uint32_t limit)
{
    if (!(position > 0.0f)) return 0;
    if (!(position < 4294967296.0f)) return limit - 1;
    const uint32_t index = static_cast<uint32_t>(position);
    return index < limit ? index : limit - 1;
}

// Nearest and bilinear resampling of `src` (width x height) into `dst`
// (newWidth x newHeight), with exactly the bytes of the plain kernels: the
// column positions are accumulated once per call by the same repeated
// single-precision addition and their indices and weights reused on every
// row; a destination row that reads the same source rows as the one before
// is copied or reuses that row's horizontal interpolation. All four sides
// must be at least 1. Returns false, with nothing written, when the work
// memory cannot be had; the caller then runs the plain kernel.
template <typename T>
bool ilResampleNearestFast(const T* src, uint32_t width, uint32_t height, T* dst, uint32_t newWidth,
                           uint32_t newHeight);
template <typename T>
bool ilResampleBilinearFast(const T* src, uint32_t width, uint32_t height, T* dst, uint32_t newWidth,
                            uint32_t newHeight);

#endif
