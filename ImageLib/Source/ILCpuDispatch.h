// ILCpuDispatch.h - choosing at run time between the baseline build of a fast
// kernel and its AVX2 build (not installed).
//
// The library must run on every x86-64 processor, so AVX2 code lives only in
// functions marked IL_TARGET_AVX2 and is reached only after ilCpuHasAvx2()
// said yes. Every AVX2 kernel has a portable counterpart that computes the
// same bits, and hands its row ends to that counterpart, so both are
// exercised on any machine. Neither build contracts a multiply and an add:
// the target names AVX2 alone (no FMA) and the library is compiled with
// -ffp-contract=off.
#ifndef IMAGELIB_ILCPUDISPATCH_H
#define IMAGELIB_ILCPUDISPATCH_H

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define IL_HAVE_AVX2_KERNELS 1
#define IL_TARGET_AVX2 __attribute__((target("avx2")))
#include <immintrin.h>

// True when the processor executes AVX2. The runtime's CPU survey is filled
// once when the program starts; asking again costs a load and a test.
inline bool ilCpuHasAvx2()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
}
#else
#define IL_HAVE_AVX2_KERNELS 0
inline bool ilCpuHasAvx2() { return false; }
#endif

#endif
