// ILFastFilterKernels.h - fast versions of the median, erosion and dilation
// kernels (not installed).
//
// Each gives exactly the bytes of its reference kernel in ILFilterKernels.h
// for every input, edges, NaN, signed zeros and ties included; where a fast
// method cannot promise that for some window or row, it computes that part the
// reference way. They answer false only when they could not get their work
// memory, having written nothing the caller relies on: the caller then runs
// the reference kernel.
#ifndef IMAGELIB_ILFASTFILTERKERNELS_H
#define IMAGELIB_ILFASTFILTERKERNELS_H

#include <cstdint>

// n x n median of a whole image of sample type `type` (1 to 5) into `dst`
// (same type and size, not overlapping). `window` is the reference kernel's
// buffer of 2 x n x n doubles (ilAllocateWindow(n, 2)); n >= 1.
bool ilMedianFast(int32_t type, const void* src, void* dst, uint32_t width, uint32_t height, unsigned int n,
                  double* window);

// Grey erosion (erode true) or dilation over sx x sy of a whole image of
// sample type `type` (1 to 5) into `dst` (same type and size, not overlapping).
bool ilErodeDilateFast(int32_t type, const void* src, void* dst, uint32_t width, uint32_t height, int sx, int sy,
                       bool erode);

#endif
