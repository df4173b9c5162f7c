// ILVectorOps.h - the small set of vector operations the fast neighbourhood
// kernels are written in (not installed).
//
// The kernels use the compiler's generic vector types rather than
// instruction-set intrinsics, so one source serves every target: the kernel
// is forced inline into two entry points, one marked IL_TARGET_AVX2 and one
// built for the plain x86-64 baseline (SSE2), and ilCpuHasAvx2() picks one
// per call (ILCpuDispatch.h). Everything below is forced inline into those
// entry points, so a vector never crosses a call boundary (and the ABI notes
// about passing wide vectors do not apply, so including this header silences
// them for the unit).
#ifndef IMAGELIB_ILVECTOROPS_H
#define IMAGELIB_ILVECTOROPS_H

#pragma GCC diagnostic ignored "-Wpsabi"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ILCpuDispatch.h"

#define IL_FORCE_INLINE inline __attribute__((always_inline))

// A 32-byte vector of samples of type T.
template <typename T>
struct ILVector {
    typedef T type __attribute__((vector_size(32)));
    static constexpr size_t lanes = 32 / sizeof(T);
};

template <typename V>
IL_FORCE_INLINE V ilLoad(const void* from)
{
    V v;
    std::memcpy(&v, from, sizeof v);
    return v;
}

template <typename V>
IL_FORCE_INLINE void ilStore(void* to, const V& v)
{
    std::memcpy(to, &v, sizeof v);
}

template <typename V, typename T>
IL_FORCE_INLINE V ilSplat(T value)
{
    V v;
    for (size_t i = 0; i < sizeof(V) / sizeof(T); ++i) v[i] = value;
    return v;
}

// Minimum and maximum as selections: the result is always one of the two
// operands, bit for bit. With an unordered (NaN) pair both give `b`.
template <typename V>
IL_FORCE_INLINE V ilMin(const V& a, const V& b)
{
    return a < b ? a : b;
}
template <typename V>
IL_FORCE_INLINE V ilMax(const V& a, const V& b)
{
    return b < a ? a : b;
}

// Asks for the memory a few kilobytes after `p` (in the same row or the
// next) to be brought into the cache, for reading or for writing. The address
// is formed as an integer: it may lie past the image, which a prefetch
// ignores.
template <typename T>
IL_FORCE_INLINE void ilPrefetch(const T* p, bool forWriting)
{
    const uintptr_t ahead = reinterpret_cast<uintptr_t>(p) + 4096;
    if (forWriting)
        __builtin_prefetch(reinterpret_cast<const void*>(ahead), 1);
    else
        __builtin_prefetch(reinterpret_cast<const void*>(ahead), 0);
}

// Plain scalars through the same two selections.
template <typename T>
IL_FORCE_INLINE T ilMinScalar(T a, T b)
{
    return a < b ? a : b;
}
template <typename T>
IL_FORCE_INLINE T ilMaxScalar(T a, T b)
{
    return b < a ? a : b;
}

#endif
