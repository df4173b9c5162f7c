// ILPalette.h - colour tables (SColorTable) and the palette that maps image
// values to display colours (CILPalette).
#ifndef IMAGELIB_ILPALETTE_H
#define IMAGELIB_ILPALETTE_H

#include <stddef.h>
#include <stdint.h>

#include "ILTypes.h"

// One colour: red, green, blue, alpha (255 = opaque).
struct _tagIL_PALRGB {
    unsigned char red;
    unsigned char green;
    unsigned char blue;
    unsigned char alpha;
};

// The 27 colour tables. Ramps are generated on first use, stored tables are
// fixed data, loaded tables are filled when the library is loaded, and
// eClutCustom is the caller's own SColorTable.
enum QOR_COLORTABLE_TYPES : int32_t {
    eClutGrey = 0,                     // ramp, 256
    eClutRainbow = 1,                  // stored, 268
    eClutDarkRedToYellow = 2,          // stored, 212
    eClutBlackRedYellowBlue = 3,       // stored, 212
    eClutBlueRedGreen = 4,             // stored, 229
    eClutBlackOrangeGreenBlue = 5,     // stored, 215
    eClutNavyGreenYellowWhite = 6,     // stored, 228
    eClutSpectrumToBlack = 7,          // stored, 256
    eClutRedAlpha = 8,                 // ramps 8..14 carry alpha
    eClutGreenAlpha = 9,
    eClutBlueAlpha = 10,
    eClutCyanAlpha = 11,
    eClutYellowAlpha = 12,
    eClutMagentaAlpha = 13,
    eClutOrangeAlpha = 14,             // 127 entries, alpha 0..252
    eClutWhiteToRed = 15,
    eClutWhiteToGreen = 16,
    eClutWhiteToBlue = 17,
    eClutWhiteToCyan = 18,
    eClutWhiteToYellow = 19,
    eClutWhiteToMagenta = 20,
    eClutWhiteToOrange = 21,           // 127 entries
    eClutCustom = 22,
    eClutBlackBlueGreenRedYellow = 23, // loaded, 255
    eClutBlackGreenBlueMagenta = 24,   // loaded, 255
    eClutBlackBlueGreenRed = 25,       // loaded, 255
    eClutBlueCyanYellowRed = 26        // loaded, 255
};

// A table of up to 256 entries, given entry by entry or as a linear ramp.
struct IMAGELIB_API SColorTable {
    // A ramp: entry i has channel c = trunc(i * step c + start c) in single
    // precision, stored as its low 8 bits (256 wraps to 0). Counts above 256
    // become 256; the start alpha is truncated. Entries come with
    // generateColorTable().
    SColorTable(int startRed, int startGreen, int startBlue, float stepRed, float stepGreen, float stepBlue,
                int count, float startAlpha = 255.0f, float stepAlpha = 0.0f);
    // Entries given as red-green-blue triples (alpha 255); at most 256 taken.
    SColorTable(unsigned char (*rgb)[3], int count);
    SColorTable(const unsigned char (*rgb)[3], int count);
    // Entries given with alpha; hasAlpha() when some alpha is 254 or less.
    SColorTable(unsigned char (*rgba)[4], int count);
    SColorTable(const unsigned char (*rgba)[4], int count);

    // Fills the entries of a ramp once; tables given entry by entry are
    // already generated.
    void generateColorTable();
    bool hasAlpha() const { return m_hasAlpha; }

    bool m_generated;
    int32_t m_numColors;
    int32_t m_startRed, m_startGreen, m_startBlue, m_startAlpha;
    float m_stepRed, m_stepGreen, m_stepBlue, m_stepAlpha;
    _tagIL_PALRGB m_colors[256];
    bool m_hasAlpha;

private:
    template <typename Entry> void copyEntries(const Entry* entries, int count, bool withAlpha);
};

// Maps an image value to a colour through one table over a value range
// (linear or logarithmic, optionally reversed, optionally a fraction of the
// table), with colours for values below and above the range.
class IMAGELIB_API CILPalette {
public:
    // Grey table over the range 0..0 (which maps nothing until a range is set).
    CILPalette();
    // Copies the settings and re-derives table and scale factors. The table
    // pointer itself is not copied: a copy of an eClutCustom palette needs
    // SetCustomColorTable again (until then it maps nothing).
    CILPalette(const CILPalette& other);
    // As the copy constructor, then also copies the log offset; keeps this
    // palette's colour index range.
    CILPalette& operator=(const CILPalette& other);
    virtual ~CILPalette();

    void SetColorTable(QOR_COLORTABLE_TYPES type, double min, double max);
    void SetColorTable(QOR_COLORTABLE_TYPES type, double min, double max, int reversed, int logScale);
    // Uses the caller's table (which must outlive the palette's use of it);
    // the palette's own hasAlpha() is not taken from the table.
    void SetCustomColorTable(SColorTable& table, double min, double max);
    // Chooses a fraction of the table; the scale factors deliberately keep
    // their old values until the next call that recomputes them.
    void setColorTableType(QOR_COLORTABLE_TYPES type, float low, float high);
    void SetImageMin(double min);
    void SetImageMax(double max);
    void SetImageMinMax(double min, double max);
    void setLogScale(int logScale);
    // Stored only: takes effect at the next table selection.
    void setReversed(int reversed) { m_reversed = reversed; }
    int setAlphaMode(int mode, double value);
    void setColorForAboveMax(const _tagIL_PALRGB* colour);
    void setColorForBelowMin(const _tagIL_PALRGB* colour);
    bool getColorForAboveMax(_tagIL_PALRGB* colour);
    bool getColorForBelowMin(_tagIL_PALRGB* colour);
    void setUseMaxColorAboveThresh(bool use) { m_useMaxColorAboveThresh = use; }
    void setUseMinColorBelowThresh(bool use) { m_useMinColorBelowThresh = use; }
    _tagIL_PALRGB getClrBelowMin() const { return m_clrBelowMin; }
    bool getClrBelowMinSet() const { return m_clrBelowMinSet; }

    QOR_COLORTABLE_TYPES colorTableType() const { return m_colorTableType; }
    int reversed() const { return m_reversed; }
    int logScale() const { return m_logScale; }
    int getMaxIndex() const { return m_numColors; }
    _tagIL_PALRGB* getColorTableBuffer() const { return m_colorTable; }
    bool hasAlpha() const { return m_hasAlpha; }
    double getImageMin() const { return m_imageMin; }
    double getImageMax() const { return m_imageMax; }
    double getDisplayMin() const { return m_displayMin; }
    double getDisplayMax() const { return m_displayMax; }
    float getColorTableLow() const { return m_colorTableLow; }
    float getColorTableHigh() const { return m_colorTableHigh; }
    bool getUseMaxColorAboveThresh() const { return m_useMaxColorAboveThresh; }
    bool getUseMinColorBelowThresh() const { return m_useMinColorBelowThresh; }

    // The colour of `value` as doubles 0..255. Returns 1 for a colour from the
    // table, -1 below the range (or for the above-range colour), 0 when the
    // palette has no range (both display limits 0) or no table entries.
    int GetRGBForImageValue(double value, double* r, double* g, double* b, double* a);
    // The table position `value` falls on, before reversal: negative below
    // the range, getMaxIndex() or more above it. The colour
    // GetRGBForImageValue gives depends on nothing else, so values with the
    // same position (or both below, or both above) share a colour.
    int tablePositionFor(double value) const;
    // tablePositionFor of `count` values at once.
    void tablePositionsFor(const double* values, int32_t* positions, size_t count) const;

    // Hue (degrees), saturation and lightness scaled by inputScale to red,
    // green, blue scaled by outputScale. Returns 1.
    static int HSVToRGB(double h, double s, double l, double* r, double* g, double* b, double inputScale,
                        double outputScale);
    // 0 when a and b differ by at most 1e-9, 1 when b is the larger, else -1.
    static int doublecomp(double a, double b);

    // Draws the colour bar at (x, y) with size w x h on the current OpenGL
    // context, vertical or horizontal.
    void display(float x, float y, float w, float h, bool vertical);

private:
    int setCLUTinfo();
    void CalcScalefactors();
    void copySettings(const CILPalette& other);

    QOR_COLORTABLE_TYPES m_colorTableType;
    int32_t m_reversed;
    int32_t m_numColors;
    double m_imageMax;
    double m_imageMin;
    double m_displayMax;
    double m_displayMin;
    double m_logOffset;
    int32_t m_logScale;
    _tagIL_PALRGB* m_colorTable;
    bool m_hasAlpha;
    double m_scale;
    double m_invRange;
    double m_clutScale;
    int32_t m_alphaMode;
    double m_alphaValue;
    double m_clutLow;
    double m_clutHigh;
    _tagIL_PALRGB m_clrBelowMin;
    _tagIL_PALRGB m_clrAboveMax;
    bool m_clrBelowMinSet;
    bool m_clrAboveMaxSet;
    bool m_useMinColorBelowThresh;
    bool m_useMaxColorAboveThresh;
    float m_colorTableLow;
    float m_colorTableHigh;
    // Entries available from m_colorTable onwards; colours are only read
    // within them.
    int32_t m_colorTableCapacity;
};

#endif
