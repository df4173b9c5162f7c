// ILLineProfile.h - CILLineProfile, the samples along a row, a column or a
// segment of an image (filled by CILImage::lineProfile), together with the
// description of the line they were taken on. The samples are eDouble.
#ifndef IMAGELIB_ILLINEPROFILE_H
#define IMAGELIB_ILLINEPROFILE_H

#include <stdint.h>

#include "IL1DData.h"
#include "ILTypes.h"

// Kind of line a profile is taken on.
enum IL_LINETYPES : int32_t {
    eLineRow = 1,          // the row given by the line number, full width
    eLineColumn = 2,       // the column given by the line number, full height
    eLineSegment = 3,      // the segment between the two end points
    eLineArbitrary = 16,   // from setLinePoints: neither horizontal nor vertical
    eLineHorizontal = 17,  // from setLinePoints: y1 equal to y2
    eLineVertical = 18,    // from setLinePoints: x1 equal to x2
    eLinePoint = 19        // from setLinePoints: both end points equal
};

class IMAGELIB_API CILLineProfile : public CIL1DData {
public:
    // A row profile of row 0, width 1, end points 0, no samples.
    CILLineProfile();
    // Copies the series, then the line description.
    CILLineProfile(const CILLineProfile& other);
    // Copies the line description first, then assigns the series.
    CILLineProfile& operator=(const CILLineProfile& other);
    virtual ~CILLineProfile();

    // Writes the four end points and returns 1.
    int getLinePoints(double& x1, double& y1, double& x2, double& y2) const;
    double x1() const { return m_x1; }
    double y1() const { return m_y1; }
    double x2() const { return m_x2; }
    double y2() const { return m_y2; }
    int lineNumber() const { return m_linenumber; }
    IL_LINETYPES lineType() const { return m_linetype; }
    // The number of parallel lines averaged (at least 1).
    int lineWidth() const { return m_linewidth; }

    // Every width argument below is taken when positive; 0 or a negative
    // width sets 1.
    void setLineNumber(int n);
    void setLineNumber(int n, int w);
    void setLineNumber(int n, IL_LINETYPES t);
    void setLineNumber(int n, IL_LINETYPES t, int w);
    void setLineType(IL_LINETYPES t);
    // Kind and number; the current width is kept (1 if it is not positive).
    void setLineType(IL_LINETYPES t, int n);
    void setLineType(IL_LINETYPES t, int n, int w);
    void setLineWidth(int w);
    void setLineWidth(int w, int n);
    void setLineWidth(int w, int n, IL_LINETYPES t);

    // Stores the end points and classifies the line: eLinePoint when both
    // pairs agree within 1e-8, else eLineVertical when x1 == x2 EXACTLY, else
    // eLineHorizontal when y1 == y2 exactly, else eLineArbitrary.
    void setLinePoints(double x1, double y1, double x2, double y2);

protected:
    IL_LINETYPES m_linetype;
    int32_t m_linenumber;
    int32_t m_linewidth;
    double m_x1;
    double m_y1;
    double m_x2;
    double m_y2;
};

#endif
