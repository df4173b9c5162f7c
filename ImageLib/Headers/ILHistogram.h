// ILHistogram.h - CILHistogram, a one-dimensional series of bin counts that
// also remembers the image range it was taken over.
//
// The bins are the series' samples: 32-bit signed counts (eLong) when filled
// by CILImage::Histogram, 32-bit floats (eFloat) once integrated. The number
// of bins is the series' size.
#ifndef IMAGELIB_ILHISTOGRAM_H
#define IMAGELIB_ILHISTOGRAM_H

#include <stdint.h>

#include "IL1DData.h"
#include "ILTypes.h"

class IMAGELIB_API CILHistogram : public CIL1DData {
public:
    // An empty series (512 bins announced, no counts) with no image range set.
    CILHistogram();
    // Copies the series, then the range flags, image maximum and minimum.
    CILHistogram(const CILHistogram& other);
    // Assigns the series, then the range flags, image maximum and minimum.
    CILHistogram& operator=(const CILHistogram& other) = default;
    virtual ~CILHistogram();

    // The number of bins, which is the series' size.
    uint64_t MaxBins() const { return m_size; }
    // Sets the number of bins used by the next CILImage::Histogram. A series
    // that holds counts keeps them; when it grows, the new bins read 0 (and
    // if they cannot be allocated the size is left as it was). The minimum
    // and maximum of the series are not recomputed.
    void setMaxBins(uint64_t bins);

    // Store the image value of the first / last bin and mark it as set.
    void setImageMin(double value);
    void setImageMax(double value);
    // The flag byte: 1 minimum set, 2 maximum set, 3 both, 0 neither.
    int IsMaxMinSet();
    // Writes the stored minimum and returns 1 when the flag byte is at least
    // 1 - so also when ONLY THE MAXIMUM was set (the minimum is then 0 unless
    // set before). Otherwise, or for a null `out`, returns 0 and writes nothing.
    int ImageMin(double* out);
    // Writes the stored maximum and returns 1 when the flag byte is at least
    // 2; a histogram with only its minimum set answers 0. Returns 0 without
    // writing for a null `out`.
    int ImageMax(double* out);

    // Replaces `dest` (or this histogram when `dest` is null) by the running
    // sum of the bins as a float series, summed in single precision and not
    // normalised: 1, 2, 3 gives 1, 3, 6. False without counts or with no bins;
    // an unknown sample type raises "1==0" and stores zeros.
    bool integrate(CILHistogram* dest);

protected:
    // Bit 0: image minimum set; bit 1: image maximum set.
    int8_t m_minmaxflags;
    double m_imagemax;
    double m_imagemin;

private:
    // Extends the held counts to `bins` samples, the new ones zero; false when
    // the block cannot be allocated.
    bool growSamples(uint64_t bins);
};

#endif
