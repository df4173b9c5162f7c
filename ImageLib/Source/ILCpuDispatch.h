// ILCpuDispatch.h - choosing at run time between the baseline build of a fast
// kernel and its AVX2 build (not installed).
//
// The library must run on every x86-64 processor, so AVX2 code lives only in
// functions marked IL_TARGET_AVX2 and is reached only after ilCpuHasAvx2()
// said yes. Every AVX2 kernel has a portable counterpart that computes the
// same bits. Neither build contracts a multiply and an add: the target names
// AVX2 alone (no FMA) and the library is compiled with -ffp-contract=off.
//
// Setting IMAGELIB_NO_AVX2 in the environment (to anything but "" or "0")
// makes every kernel take its baseline build, so that build can be tested on
// a processor that would otherwise run the AVX2 one. The variable is read on
// each call: nothing is cached.
#ifndef IMAGELIB_ILCPUDISPATCH_H
#define IMAGELIB_ILCPUDISPATCH_H

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define IL_HAVE_AVX2_KERNELS 1
#define IL_TARGET_AVX2 __attribute__((target("avx2")))
#include <cstdlib>
#include <immintrin.h>

// True when the processor executes AVX2 and the environment does not ask for
// the baseline kernels. The runtime's CPU survey is filled once when the
// program starts; asking again costs a load and a test. Callers ask once per
// operation, never per row or pixel.
inline bool ilCpuHasAvx2()
{
    const char* off = std::getenv("IMAGELIB_NO_AVX2");
    if (off && *off && !(off[0] == '0' && off[1] == 0)) return false;
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
}
#else
#define IL_HAVE_AVX2_KERNELS 0
#define IL_TARGET_AVX2
inline bool ilCpuHasAvx2() { return false; }
#endif

#endif
