// ILImageBase_Procs1_Holes.cpp - holes of a binary image: labelling each
// enclosed region of background with its own number, and closing them.
//
// Background is a sample equal to 0; every other sample is object, so images
// of 0 and 1 (thresholds) and of 0 and 255 (fills) both work. A hole is a
// 4-connected region of background none of whose pixels lies on the border:
// background connected to the border through 4-neighbours is outside. Two
// background regions that touch only diagonally are therefore different
// regions, and a hole may touch the outside diagonally.
#include "ILImageBase.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"
#include "ILRegions.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImageBase_Procs1"

namespace {

// Label states before the holes are numbered 1, 2, ...
const int32_t kObject = 0;
const int32_t kOutside = -1;
const int32_t kUnlabelled = -2;

// Labels every pixel of a width x height grid, using `pending` (one entry
// per pixel) as the stack of a 4-connected flood: each pixel is pushed at
// most once, when it receives its label.
struct HoleLabeller {
    int32_t* labels;
    uint32_t* pending;
    int64_t width;
    int64_t height;

    // Gives `label` to the unlabelled background region around `seed`.
    void flood(int64_t seed, int32_t label)
    {
        int64_t depth = 0;
        labels[seed] = label;
        pending[depth++] = static_cast<uint32_t>(seed);
        while (depth > 0) {
            const int64_t p = pending[--depth];
            const int64_t x = p % width;
            const int64_t neighbours[4] = {p - width, x > 0 ? p - 1 : -1, x + 1 < width ? p + 1 : -1, p + width};
            for (int64_t n : neighbours) {
                if (n < 0 || n >= width * height || labels[n] != kUnlabelled) continue;
                labels[n] = label;
                pending[depth++] = static_cast<uint32_t>(n);
            }
        }
    }

    void floodOutsideFrom(int64_t i)
    {
        if (labels[i] == kUnlabelled) flood(i, kOutside);
    }

    // Marks the background reached from the border as outside (the set does
    // not depend on the order the border is walked in), then numbers the rest
    // in row-major order of first pixels; outside becomes 0.
    uint32_t labelHoles()
    {
        const int64_t count = width * height;
        if (count == 0) return 0;
        for (int64_t x = 0; x < width; ++x) {
            floodOutsideFrom(x);
            floodOutsideFrom((height - 1) * width + x);
        }
        for (int64_t y = 0; y < height; ++y) {
            floodOutsideFrom(y * width);
            floodOutsideFrom(y * width + width - 1);
        }
        int32_t holes = 0;
        for (int64_t i = 0; i < count; ++i) {
            if (labels[i] == kUnlabelled) flood(i, ++holes);
            if (labels[i] == kOutside) labels[i] = kObject;
        }
        return static_cast<uint32_t>(holes);
    }
};

// The hole number of every pixel of a width x height image of `type`, in a
// fresh array; the status as the public members report it.
EILSTATUS numberHoles(QORDataTypes type, const unsigned char* data, uint32_t width, uint32_t height,
                      std::unique_ptr<int32_t[]>& numbers, uint32_t* holeCount)
{
    const size_t count = static_cast<size_t>(width) * height;
    numbers.reset(new (std::nothrow) int32_t[count > 0 ? count : 1]);
    std::unique_ptr<uint32_t[]> pending(new (std::nothrow) uint32_t[count > 0 ? count : 1]);
    if (!numbers || !pending) return eILAllocFailed;
    int32_t* labels = numbers.get();
    if (!ILDispatchSampleType(type, [&](auto tag) {
            using T = typename decltype(tag)::type;
            const T* samples = reinterpret_cast<const T*>(data);
            for (size_t i = 0; i < count; ++i) labels[i] = ILSampleEqualsInt(samples[i], 0) ? kUnlabelled : kObject;
        })) {
        IL_ASSERT_UNKNOWN_TYPE();
        return eILInvalidArgument;
    }
    HoleLabeller labeller = {labels, pending.get(), width, height};
    *holeCount = labeller.labelHoles();
    return eILSuccess;
}

} // namespace

EILSTATUS CILImageBase::LabelHolesInImage(CILImageBase& labels, uint32_t* holeCount)
{
    if (!hasPixels()) return eILNoData;
    const size_t count = pixelCount();
    std::unique_ptr<int32_t[]> numbers;
    uint32_t holes = 0;
    const EILSTATUS status = numberHoles(m_datatype, m_data, m_width, m_height, numbers, &holes);
    if (status != eILSuccess) return status;
    // Re-shaped only now, so `labels` may be this image.
    if (!labels.InitWithType(eLong, static_cast<int32_t>(m_width), static_cast<int32_t>(m_height)))
        return eILAllocFailed;
    if (count > 0) std::memcpy(labels.m_data, numbers.get(), count * sizeof(int32_t));
    if (holeCount) *holeCount = holes;
    return eILSuccess;
}

EILSTATUS CILImageBase::closeAllHolesInImage()
{
    if (!hasPixels()) return eILNoData;
    std::unique_ptr<int32_t[]> labels;
    uint32_t holes = 0;
    const EILSTATUS status = numberHoles(m_datatype, m_data, m_width, m_height, labels, &holes);
    if (status != eILSuccess) return status;
    const int32_t* numbers = labels.get();
    const size_t count = pixelCount();
    ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        T* samples = reinterpret_cast<T*>(m_data);
        for (size_t i = 0; i < count; ++i)
            if (numbers[i] > 0) samples[i] = T(1);
    });
    return eILSuccess;
}
