// ILPalette.cpp - colour tables and the value-to-colour mapping of CILPalette.
#include "ILPalette.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"
#include "ILPalette_Tables.h"

#include <cmath>
#include <cstring>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILPalette"

namespace {

const _tagIL_PALRGB kOpaqueWhite = {255, 255, 255, 255};
const _tagIL_PALRGB kOpaqueBlack = {0, 0, 0, 255};
const int kMaxTableEntries = 256;
const int kLastColorTable = eClutBlueCyanYellowRed;

bool isAlphaRamp(int type) { return type >= eClutRedAlpha && type <= eClutOrangeAlpha; }

// Truncation toward zero as the mapping uses it: NaN and out-of-range values
// give the conversion's overflow value, which falls below the range.
int truncIndex(double x) { return ILTruncToInt32(x); }

} // namespace

// ---------------------------------------------------------------- SColorTable

SColorTable::SColorTable(int startRed, int startGreen, int startBlue, float stepRed, float stepGreen, float stepBlue,
                         int count, float startAlpha, float stepAlpha)
    : m_generated(false), m_numColors(count > kMaxTableEntries ? kMaxTableEntries : count), m_startRed(startRed),
      m_startGreen(startGreen), m_startBlue(startBlue), m_startAlpha(ILTruncToInt32(startAlpha)),
      m_stepRed(stepRed), m_stepGreen(stepGreen), m_stepBlue(stepBlue), m_stepAlpha(stepAlpha), m_colors(),
      m_hasAlpha(false)
{
}

template <typename Entry>
void SColorTable::copyEntries(const Entry* entries, int count, bool withAlpha)
{
    m_startRed = m_startGreen = m_startBlue = m_startAlpha = 0;
    m_stepRed = m_stepGreen = m_stepBlue = m_stepAlpha = 0.0f;
    m_hasAlpha = false;
    m_numColors = count < kMaxTableEntries ? count : kMaxTableEntries;
    for (int i = 0; i < m_numColors; ++i) {
        const unsigned char alpha = withAlpha ? entries[i][3] : 255;
        m_colors[i] = _tagIL_PALRGB{entries[i][0], entries[i][1], entries[i][2], alpha};
        if (alpha <= 254) m_hasAlpha = true;
    }
    m_generated = true;
}

SColorTable::SColorTable(unsigned char (*rgb)[3], int count) : m_colors() { copyEntries(rgb, count, false); }
SColorTable::SColorTable(const unsigned char (*rgb)[3], int count) : m_colors() { copyEntries(rgb, count, false); }
SColorTable::SColorTable(unsigned char (*rgba)[4], int count) : m_colors() { copyEntries(rgba, count, true); }
SColorTable::SColorTable(const unsigned char (*rgba)[4], int count) : m_colors() { copyEntries(rgba, count, true); }

void SColorTable::generateColorTable()
{
    if (m_generated) return;
    // Channel values wrap to their low 8 bits (a ramp reaching 256 gives 0).
    auto channel = [](int i, float step, int32_t start) {
        const float value = static_cast<float>(i) * step + static_cast<float>(start);
        return static_cast<unsigned char>(ILTruncToInt32(value));
    };
    for (int i = 0; i < m_numColors; ++i) {
        _tagIL_PALRGB& entry = m_colors[i];
        entry.red = channel(i, m_stepRed, m_startRed);
        entry.green = channel(i, m_stepGreen, m_startGreen);
        entry.blue = channel(i, m_stepBlue, m_startBlue);
        entry.alpha = channel(i, m_stepAlpha, m_startAlpha);
        if (entry.alpha <= 254) m_hasAlpha = true;
    }
    m_generated = true;
}

// ----------------------------------------------------------------- CILPalette

CILPalette::CILPalette()
    : m_colorTableType(eClutGrey), m_reversed(0), m_numColors(0), m_imageMax(0.0), m_imageMin(0.0),
      m_displayMax(0.0), m_displayMin(0.0), m_logOffset(0.0), m_logScale(0), m_colorTable(nullptr),
      m_hasAlpha(false), m_scale(1.0), m_invRange(0.0), m_clutScale(0.0), m_alphaMode(0), m_alphaValue(0.5),
      m_clutLow(0.0), m_clutHigh(268.0), m_clrBelowMin(kOpaqueBlack), m_clrAboveMax(kOpaqueWhite),
      m_clrBelowMinSet(false), m_clrAboveMaxSet(false), m_useMinColorBelowThresh(false),
      m_useMaxColorAboveThresh(true), m_colorTableLow(0.0f), m_colorTableHigh(1.0f), m_colorTableCapacity(0)
{
    setCLUTinfo();
}

CILPalette::CILPalette(const CILPalette& other) : CILPalette()
{
    m_colorTable = nullptr;
    m_colorTableCapacity = 0;
    copySettings(other);
    m_clutLow = 0.0;
    m_clutHigh = 268.0;
    setCLUTinfo();
    CalcScalefactors();
}

CILPalette& CILPalette::operator=(const CILPalette& other)
{
    copySettings(other);
    setCLUTinfo();
    CalcScalefactors();
    m_logOffset = other.m_logOffset;
    return *this;
}

CILPalette::~CILPalette() {}

void CILPalette::copySettings(const CILPalette& other)
{
    m_colorTableType = other.m_colorTableType;
    m_hasAlpha = other.m_hasAlpha;
    m_numColors = other.m_numColors;
    m_imageMin = other.m_imageMin;
    m_imageMax = other.m_imageMax;
    m_displayMin = other.m_displayMin;
    m_displayMax = other.m_displayMax;
    m_invRange = other.m_invRange;
    m_clutScale = other.m_clutScale;
    m_reversed = other.m_reversed;
    m_logScale = other.m_logScale;
    m_alphaMode = other.m_alphaMode;
    m_alphaValue = other.m_alphaValue;
    m_clrBelowMinSet = other.m_clrBelowMinSet;
    m_clrAboveMaxSet = other.m_clrAboveMaxSet;
    m_useMinColorBelowThresh = other.m_useMinColorBelowThresh;
    m_useMaxColorAboveThresh = other.m_useMaxColorAboveThresh;
    m_colorTableLow = other.m_colorTableLow;
    m_colorTableHigh = other.m_colorTableHigh;
    m_clrBelowMin = other.m_clrBelowMin;
    m_clrAboveMax = other.m_clrAboveMax;
}

int CILPalette::setCLUTinfo()
{
    float low = m_colorTableLow;
    float high = m_colorTableHigh;
    if (!(0.0f <= low && low <= high && high <= 1.0f)) {
        IL_ASSERT_UNKNOWN_TYPE();
        return 0;
    }
    if (m_reversed) {
        const float reversedLow = 1.0f - high;
        high = 1.0f - low;
        low = reversedLow;
    }

    const ILColorTableRef table = ILGetColorTable(m_colorTableType);
    switch (table.kind) {
    case ILColorTableRef::eRamp:
        if (!table.record->m_generated) table.record->generateColorTable();
        break;
    case ILColorTableRef::eLoaded:
        if (!table.record->m_generated) {
            IL_ASSERT_UNKNOWN_TYPE();
            return 1;
        }
        break;
    case ILColorTableRef::eCustom: return 1;
    case ILColorTableRef::eStored: break;
    default: IL_ASSERT_UNKNOWN_TYPE(); return 1;
    }

    // Type 25 takes its start from table 24's entry count (both have 255).
    const int startCount =
        m_colorTableType == eClutBlackBlueGreenRed ? ILGetColorTable(eClutBlackGreenBlueMagenta).count : table.count;
    const int start = ILTruncToInt32(static_cast<float>(startCount) * low);
    const int entries = table.count > 0 ? table.count : 0;
    const int safeStart = start < 0 ? 0 : (start > entries ? entries : start);
    m_colorTable = table.entries + safeStart;
    m_colorTableCapacity = entries - safeStart;
    m_numColors = ILTruncToInt32(std::fabs(static_cast<float>(table.count) * high - static_cast<float>(start)));

    // Only the alpha ramps set the flag; every other table leaves it as it
    // was, so blending stays on after switching away from an alpha ramp.
    if (isAlphaRamp(m_colorTableType)) m_hasAlpha = table.record->m_hasAlpha;
    return 1;
}

void CILPalette::CalcScalefactors()
{
    m_displayMax = m_imageMax;
    m_logOffset = 0.0;
    double range;
    if (m_logScale) {
        m_displayMin = m_imageMin > 0.0 ? m_imageMin : m_imageMax / 1000.0;
        range = std::log10(m_imageMax) - std::log10(m_displayMin);
    } else {
        m_displayMin = m_imageMin;
        range = m_imageMax - m_imageMin;
    }
    if (std::fabs(range) < 1e-12) range = range < 0.0 ? -1.0 : 1.0;
    m_invRange = 1.0 / range;
    m_clutScale = (m_clutHigh - m_clutLow) / range;
    m_scale = static_cast<double>(m_numColors - 1) / range;
}

void CILPalette::SetColorTable(QOR_COLORTABLE_TYPES type, double min, double max)
{
    m_imageMin = min;
    m_imageMax = max;
    m_colorTableType = type;
    setCLUTinfo();
    CalcScalefactors();
}

void CILPalette::SetColorTable(QOR_COLORTABLE_TYPES type, double min, double max, int reversed, int logScale)
{
    m_reversed = reversed;
    m_logScale = logScale;
    SetColorTable(type, min, max);
}

void CILPalette::SetCustomColorTable(SColorTable& table, double min, double max)
{
    m_imageMin = min;
    m_imageMax = max;
    m_colorTableType = eClutCustom;
    table.generateColorTable();
    m_colorTable = table.m_colors;
    m_numColors = table.m_numColors;
    m_colorTableCapacity = table.m_numColors > 0 ? table.m_numColors : 0;
    CalcScalefactors();
}

void CILPalette::setColorTableType(QOR_COLORTABLE_TYPES type, float low, float high)
{
    m_colorTableLow = low;
    m_colorTableHigh = high;
    m_colorTableType = type;
    setCLUTinfo();
}

void CILPalette::SetImageMin(double min)
{
    m_imageMin = min;
    CalcScalefactors();
}

void CILPalette::SetImageMax(double max)
{
    m_imageMax = max;
    CalcScalefactors();
}

void CILPalette::SetImageMinMax(double min, double max)
{
    m_imageMin = min;
    m_imageMax = max;
    CalcScalefactors();
}

void CILPalette::setLogScale(int logScale)
{
    m_logScale = logScale;
    CalcScalefactors();
}

int CILPalette::setAlphaMode(int mode, double value)
{
    m_alphaMode = mode;
    m_alphaValue = value;
    return 1;
}

void CILPalette::setColorForAboveMax(const _tagIL_PALRGB* colour)
{
    if (!colour) return;
    m_clrAboveMax = *colour;
    m_clrAboveMaxSet = true;
    m_useMaxColorAboveThresh = false;
}

void CILPalette::setColorForBelowMin(const _tagIL_PALRGB* colour)
{
    if (!colour) return;
    m_clrBelowMin = *colour;
    m_clrBelowMinSet = true;
    m_useMinColorBelowThresh = false;
}

bool CILPalette::getColorForAboveMax(_tagIL_PALRGB* colour)
{
    if (!m_clrAboveMaxSet || !colour) return false;
    *colour = m_clrAboveMax;
    return true;
}

bool CILPalette::getColorForBelowMin(_tagIL_PALRGB* colour)
{
    if (!m_clrBelowMinSet || !colour) return false;
    *colour = m_clrBelowMin;
    return true;
}

namespace {

struct ColourOut {
    double* r;
    double* g;
    double* b;
    double* a;
    void rgb(double red, double green, double blue) const
    {
        if (r) *r = red;
        if (g) *g = green;
        if (b) *b = blue;
    }
    void alpha(double value) const
    {
        if (a) *a = value;
    }
    // The entry's colour, over the background by the entry's own alpha when
    // blending is on.
    void blended(const _tagIL_PALRGB& entry, double f, bool blend, const _tagIL_PALRGB& background) const
    {
        if (blend)
            rgb(background.red * (1.0 - f) + entry.red * f, background.green * (1.0 - f) + entry.green * f,
                background.blue * (1.0 - f) + entry.blue * f);
        else
            rgb(entry.red, entry.green, entry.blue);
    }
};

} // namespace

namespace {

// The rule that puts a value on a table position, taken from a palette's
// settings; kept apart so that the batch form runs it inline.
struct PositionRule {
    double imageMin, displayMin, displayMax, logOffset, scale;
    bool logScale, useMinBelow;
    int operator()(double value) const
    {
        if (value < imageMin) return useMinBelow ? 0 : -1;
        if (displayMin == displayMax) return truncIndex(scale);
        if (logScale) return truncIndex((std::log10(value + logOffset) - std::log10(displayMin)) * scale);
        return truncIndex((value - displayMin) * scale);
    }
};

} // namespace

int CILPalette::tablePositionFor(double value) const
{
    const PositionRule rule{m_imageMin, m_displayMin, m_displayMax, m_logOffset, m_scale, m_logScale != 0,
                            m_useMinColorBelowThresh};
    return rule(value);
}

void CILPalette::tablePositionsFor(const double* values, int32_t* positions, size_t count) const
{
    const PositionRule rule{m_imageMin, m_displayMin, m_displayMax, m_logOffset, m_scale, m_logScale != 0,
                            m_useMinColorBelowThresh};
    for (size_t i = 0; i < count; ++i) positions[i] = rule(values[i]);
}

int CILPalette::GetRGBForImageValue(double value, double* r, double* g, double* b, double* a)
{
    const ColourOut out{r, g, b, a};
    if (m_displayMin == 0.0 && m_displayMax == 0.0) {
        if (m_alphaMode) out.alpha(m_alphaValue * 255.0);
        return 0;
    }
    if (m_colorTableType > kLastColorTable || m_colorTableType < 0) {
        IL_ASSERT_UNKNOWN_TYPE();
        return 0;
    }
    const int n = m_numColors;
    // Without entries to read (an empty fraction, or a copied custom palette
    // that has not been given its table again) nothing can be mapped.
    if (!m_colorTable || n < 1 || n > m_colorTableCapacity) return 0;
    const _tagIL_PALRGB* table = m_colorTable;
    const _tagIL_PALRGB& top = m_reversed ? table[0] : table[n - 1];
    const _tagIL_PALRGB& bottom = m_reversed ? table[n - 1] : table[0];

    _tagIL_PALRGB background = kOpaqueWhite;
    if (m_hasAlpha) {
        if (m_clrBelowMinSet)
            background = m_clrBelowMin;
        else if (m_useMinColorBelowThresh)
            background = bottom;
    }

    int k = tablePositionFor(value);

    if (k < 0) {
        if (m_clrBelowMinSet) {
            out.rgb(m_clrBelowMin.red, m_clrBelowMin.green, m_clrBelowMin.blue);
            out.alpha(m_clrBelowMin.alpha);
            return -1;
        }
        const double level = m_colorTableType == eClutGrey ? 0.0 : 255.0;
        out.rgb(level, level, level);
        out.alpha(0.0);
        return -1;
    }
    if (k < n) {
        if (m_reversed) k = n - 1 - k;
        const _tagIL_PALRGB& entry = table[k];
        const double f = entry.alpha / 255.0;
        if (m_clrBelowMinSet || m_useMinColorBelowThresh)
            out.alpha(background.alpha * (1.0 - f) + entry.alpha * f);
        else
            out.alpha(entry.alpha);
        out.blended(entry, f, m_hasAlpha, background);
        return 1;
    }
    if (m_useMaxColorAboveThresh) {
        const double f = top.alpha / 255.0;
        out.alpha(top.alpha);
        out.blended(top, f, m_hasAlpha, background);
        return 1;
    }
    if (!m_clrAboveMaxSet) {
        // Above the range with no colour for it: the top entry, fully transparent.
        out.rgb(top.red, top.green, top.blue);
        out.alpha(0.0);
        return 1;
    }
    const double f = m_clrAboveMax.alpha / 255.0;
    out.alpha(m_clrAboveMax.alpha);
    out.blended(m_clrAboveMax, f, m_hasAlpha, background);
    return -1;
}

int CILPalette::HSVToRGB(double h, double s, double l, double* r, double* g, double* b, double inputScale,
                         double outputScale)
{
    const double lightness = l / inputScale;
    const double saturation = s / inputScale;
    double hue = h / 60.0;
    if (hue > 5.0) hue -= 6.0;
    double red, green, blue;
    if (std::fabs(saturation) <= 1e-9) {
        red = green = blue = lightness;
    } else {
        const double m1 = lightness <= 0.5 ? (1.0 - saturation) * lightness : lightness - (1.0 - lightness) * saturation;
        const double m2 = 2.0 * lightness - m1;
        const double d = m2 - m1;
        if (hue < 1.0) {
            red = m2;
            if (hue < 0.0) {
                green = m1;
                blue = m1 - d * hue;
            } else {
                blue = m1;
                green = m1 + d * hue;
            }
        } else if (hue < 3.0) {
            green = m2;
            const double t = (hue - 2.0) * d;
            if (hue < 2.0) {
                blue = m1;
                red = m1 - t;
            } else {
                red = m1;
                blue = m1 + t;
            }
        } else {
            blue = m2;
            const double t = (hue - 4.0) * d;
            if (hue < 4.0) {
                red = m1;
                green = m1 - t;
            } else {
                green = m1;
                red = m1 + t;
            }
        }
    }
    if (r) *r = red * outputScale;
    if (g) *g = green * outputScale;
    if (b) *b = blue * outputScale;
    return 1;
}

int CILPalette::doublecomp(double a, double b)
{
    if (std::fabs(b - a) <= 1e-9) return 0;
    return b > a ? 1 : -1;
}
