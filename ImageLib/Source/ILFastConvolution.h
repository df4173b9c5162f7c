// ILFastConvolution.h - the fast path of Filter_core (not installed).
#ifndef IMAGELIB_ILFASTCONVOLUTION_H
#define IMAGELIB_ILFASTCONVOLUTION_H

#include <stdint.h>

// Correlates `src` (width x height samples of `type`) with the n x n kernel
// into `dst`, with exactly the bytes of ilConvolveReference: whole windows
// sum kernel[i] x sample[i] in double in index order, cut windows give the
// plain mean of their in-image samples. Instead of copying every window, it
// converts each source row to doubles once and works on many pixels at a
// time, each pixel keeping its own order of summation.
//
// Returns false, with nothing written, where it does not apply: no whole
// window at all (n = 0, or a side below n), an unknown type, or no memory
// for the converted rows. The caller then runs the reference kernel.
bool ilConvolveFast(int32_t type, const void* src, void* dst, uint32_t width, uint32_t height, unsigned int n,
                    const double* kernel);

#endif
