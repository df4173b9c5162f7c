// ILLineProfile.cpp - the line profile series: the description of the line a
// profile is taken on (kind, number, width, end points) and its setters.
#include "ILLineProfile.h"

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILLineProfile"

namespace {

// A width is at least 1.
int32_t usableWidth(int w)
{
    return w > 0 ? w : 1;
}

} // namespace

CILLineProfile::CILLineProfile()
    : CIL1DData(), m_linetype(eLineRow), m_linenumber(0), m_linewidth(1), m_x1(0.0), m_y1(0.0), m_x2(0.0),
      m_y2(0.0)
{
}

CILLineProfile::CILLineProfile(const CILLineProfile& other)
    : CIL1DData(other), m_linetype(other.m_linetype), m_linenumber(other.m_linenumber),
      m_linewidth(other.m_linewidth), m_x1(other.m_x1), m_y1(other.m_y1), m_x2(other.m_x2), m_y2(other.m_y2)
{
}

CILLineProfile& CILLineProfile::operator=(const CILLineProfile& other)
{
    m_linetype = other.m_linetype;
    m_linenumber = other.m_linenumber;
    m_linewidth = other.m_linewidth;
    m_x1 = other.m_x1;
    m_y1 = other.m_y1;
    m_x2 = other.m_x2;
    m_y2 = other.m_y2;
    CIL1DData::operator=(other);
    return *this;
}

CILLineProfile::~CILLineProfile()
{
}

int CILLineProfile::getLinePoints(double& x1, double& y1, double& x2, double& y2) const
{
    x1 = m_x1;
    y1 = m_y1;
    x2 = m_x2;
    y2 = m_y2;
    return 1;
}

void CILLineProfile::setLineNumber(int n)
{
    m_linenumber = n;
}

void CILLineProfile::setLineNumber(int n, int w)
{
    m_linenumber = n;
    m_linewidth = usableWidth(w);
}

void CILLineProfile::setLineNumber(int n, IL_LINETYPES t)
{
    m_linenumber = n;
    m_linetype = t;
}

void CILLineProfile::setLineNumber(int n, IL_LINETYPES t, int w)
{
    setLineType(t, n, w);
}

void CILLineProfile::setLineType(IL_LINETYPES t)
{
    m_linetype = t;
}

void CILLineProfile::setLineType(IL_LINETYPES t, int n)
{
    setLineType(t, n, m_linewidth);
}

void CILLineProfile::setLineType(IL_LINETYPES t, int n, int w)
{
    m_linetype = t;
    m_linenumber = n;
    m_linewidth = usableWidth(w);
}

void CILLineProfile::setLineWidth(int w)
{
    m_linewidth = usableWidth(w);
}

void CILLineProfile::setLineWidth(int w, int n)
{
    setLineNumber(n, w);
}

void CILLineProfile::setLineWidth(int w, int n, IL_LINETYPES t)
{
    setLineType(t, n, w);
}

void CILLineProfile::setLinePoints(double x1, double y1, double x2, double y2)
{
    m_x1 = x1;
    m_y1 = y1;
    m_x2 = x2;
    m_y2 = y2;
    // The point test is tolerant, the other two exact: deliberately so.
    if (CILMathFns::doublecomp(x1, x2) == 0 && CILMathFns::doublecomp(y1, y2) == 0)
        m_linetype = eLinePoint;
    else if (x1 == x2)
        m_linetype = eLineVertical;
    else if (y1 == y2)
        m_linetype = eLineHorizontal;
    else
        m_linetype = eLineArbitrary;
}
