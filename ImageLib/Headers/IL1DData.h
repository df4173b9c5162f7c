// IL1DData.h - CIL1DData, a typed one-dimensional data series.
//
// A malloc'd block of samples of one type with its minimum, maximum and their
// positions kept up to date. Types 1 to 5 are the image sample types; the
// series also stores two small kinds, 6 (one byte, signed) and 7 (two bytes,
// signed), which only allocation, copying, reversal and the minimum/maximum
// search accept. Base class of the histogram and the line profile.
#ifndef IMAGELIB_IL1DDATA_H
#define IMAGELIB_IL1DDATA_H

#include <stddef.h>
#include <stdint.h>

#include "ILTypes.h"

class IMAGELIB_API CIL1DData {
public:
    // An empty series: 512 points announced, no samples, type not set
    // (-1), no related data.
    CIL1DData();
    // Copies as operator= does, starting from a series without samples.
    CIL1DData(const CIL1DData& other);
    // Frees the samples.
    virtual ~CIL1DData();

    // Copies type, size and samples through initWithArray (so the minimum and
    // maximum are recomputed with zeros included, not copied), then the
    // related-data pointer. An unknown type raises "1 == 0" and only the
    // related-data pointer is copied.
    CIL1DData& operator=(const CIL1DData& other);

    // Replaces the samples by n fresh ones of `type` (1 to 7; any other type
    // raises "1 == 0" and returns false with nothing changed). The fresh
    // samples are zero. On an allocation failure the old samples are gone
    // and false is returned. Returns the result of the minimum/maximum search.
    bool initWithType(size_t n, QORDataTypes type);
    // As initWithType, then copies n samples from `src` when it is not null.
    // `src` may point into this series' own samples.
    bool initWithArray(const void* src, size_t n, QORDataTypes type);

    // The number of points, cut to 32 bits.
    uint32_t numPoints() const { return static_cast<uint32_t>(m_size); }
    // The extremes and their indices from the last minimum/maximum search.
    double Min() const { return m_min; }
    double Max() const { return m_max; }
    size_t MinPos() const { return m_minPos; }
    size_t MaxPos() const { return m_maxPos; }

    // Returns 0 without samples; otherwise writes the MAXIMUM to `first` and
    // the minimum to `second` (this order is deliberate) and returns 1. A null
    // pointer is skipped.
    int getMinMax(double* first, double* second) const;
    // Runs the minimum/maximum search and returns true whatever it found.
    bool callUpdateMinMax(bool includeZeros) { updateMinMax(includeZeros); return true; }

    // The caller's own pointer, carried along and copied, never dereferenced.
    void* getRelatedData() const { return m_relatedData; }
    void setRelatedData(void* related) { m_relatedData = related; }

    // Writes sample `index` converted to `type` to `out`: integer targets get
    // floor() of the value (not truncation), floats are narrowed. Returns 1;
    // 0 when index >= the size; -1 without samples, for a stored or target
    // type outside 1 to 5, or a null `out` (nothing written then).
    int valueAtIndex(QORDataTypes type, size_t index, void* out) const;
    // Converts all samples into `dest` as `type`, truncating toward zero for
    // integer targets (unlike valueAtIndex). Returns the size; with a null
    // `dest` only the size. (size_t)-1 without samples or for a stored or
    // target type outside 1 to 5.
    size_t getData(QORDataTypes type, void* dest) const;

    // First index whose sample reaches `level`, -1 when none. Byte and 16-bit
    // series compare with >= trunc(level + 0.5) taken in their width, 32-bit
    // series with >= trunc(level), float series need a sample strictly above
    // `level`.
    int64_t findLevel(float level) const;
    // First index i with sample >= level (>= trunc(level) in the sample's
    // width for integer series, no +0.5 here), -1.0 when none. With
    // `interpolate` and i >= 1 the position is interpolated linearly between
    // i - 1 and i in single precision.
    float findLevel(float level, bool interpolate) const;
    // Searching from the end, the last index whose sample is not greater than
    // the level (trunc(level) for integer series), -1.0 when none. With
    // `interpolate` and i >= 1 the position is interpolated toward i + 1; a
    // match on the last sample has no i + 1 and is returned uninterpolated.
    float findLevelReverse(float level, bool interpolate) const;

    // Centred correlation with `nFilterCoeffs` coefficients applied in their
    // given order; samples beyond the ends are left out (no renormalising).
    // In place, then the minimum and maximum are recomputed. Returns 0, 1 on
    // failure (type outside 1 to 5 with "1 == 0", allocation, null
    // coefficients) or 2 without samples.
    int filter(const float* coeffs, int nFilterCoeffs);
    // The same into `dest`, re-shaped to this series' size and type; `dest`
    // keeps the minimum and maximum of its fresh zeroed samples, so callers
    // call callUpdateMinMax afterwards. 2 also for a null `dest`. Filtering
    // into the series itself works as the in-place form.
    int filter(const float* coeffs, int nFilterCoeffs, CIL1DData* dest);

    // Reverses the sample order in place. The minimum and maximum values are
    // kept; their positions are NOT mirrored. Returns 0, 2 without samples, 1
    // for an unknown type (with "1 == 0").
    int reverse();

    // MULTIPLIES every sample by `factor` (despite the operator's name),
    // truncating toward zero for integer series, then recomputes the minimum
    // and maximum with zeros. Types other than 1 to 5 raise "1 == 0" and only
    // get the minimum and maximum recomputed.
    CIL1DData& operator/=(double factor);

protected:
    // Recomputes minimum, maximum and their indices. Without samples: false.
    // For a type outside 1 to 7: true, nothing changed. A sample <= the current
    // minimum takes its place (ties give the last index), one strictly above
    // the maximum takes that (ties give the first). Without `includeZeros`
    // zero samples are skipped; when no sample is left (or the series is
    // empty) both extremes become 0 at index 0.
    bool updateMinMax(bool includeZeros);

    void* m_data;
    QORDataTypes m_datatype;
    size_t m_size;
    void* m_relatedData;
    double m_max;
    double m_min;
    size_t m_maxPos;
    size_t m_minPos;

private:
    // The filter itself: writes into `dest`, which must already hold m_size
    // samples of this series' type. Does not update the destination's
    // minimum and maximum.
    void filter_core(const float* coeffs, int nFilterCoeffs, CIL1DData* dest) const;
};

#endif
