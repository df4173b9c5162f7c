// ILPalette_Tables.cpp - the library's colour tables.
//
// Ramp tables are SColorTable records generated on first use. Stored tables
// are fixed arrays, and loaded tables are SColorTable records filled from
// red-green-blue triples when the library is loaded. Both are smooth
// gradients through anchor colours at fixed entries.
#include "ILPalette_Tables.h"

#include <cmath>

namespace {

struct Anchor {
    int entry;
    unsigned char red, green, blue;
};

// Linear interpolation between consecutive anchors, rounded to the nearest
// integer; the anchors themselves are met exactly.
template <size_t AnchorCount>
void fillGradient(const Anchor (&anchors)[AnchorCount], unsigned char (*out)[3])
{
    for (size_t a = 0; a + 1 < AnchorCount; ++a) {
        const Anchor& from = anchors[a];
        const Anchor& to = anchors[a + 1];
        const double span = to.entry - from.entry;
        for (int i = from.entry; i <= to.entry; ++i) {
            const double t = (i - from.entry) / span;
            out[i][0] = static_cast<unsigned char>(std::lround(from.red + (to.red - from.red) * t));
            out[i][1] = static_cast<unsigned char>(std::lround(from.green + (to.green - from.green) * t));
            out[i][2] = static_cast<unsigned char>(std::lround(from.blue + (to.blue - from.blue) * t));
        }
    }
}

template <size_t AnchorCount, size_t EntryCount>
void fillStored(const Anchor (&anchors)[AnchorCount], _tagIL_PALRGB (&table)[EntryCount])
{
    unsigned char rgb[EntryCount][3];
    fillGradient(anchors, rgb);
    for (size_t i = 0; i < EntryCount; ++i) table[i] = _tagIL_PALRGB{rgb[i][0], rgb[i][1], rgb[i][2], 255};
}

template <size_t AnchorCount>
SColorTable makeLoaded(const Anchor (&anchors)[AnchorCount])
{
    unsigned char rgb[kLoadedTableEntries][3];
    fillGradient(anchors, rgb);
    return SColorTable(rgb, kLoadedTableEntries);
}

const Anchor kRainbow[] = {{0, 255, 0, 0},     {45, 255, 128, 0},  {89, 255, 255, 0},  {134, 0, 255, 0},
                           {178, 0, 255, 255}, {223, 0, 0, 255},   {267, 115, 0, 255}};
const Anchor kDarkRedToYellow[] = {{0, 67, 0, 0}, {106, 255, 0, 0}, {159, 255, 128, 0}, {211, 255, 255, 0}};
const Anchor kBlackRedYellowBlue[] = {{0, 0, 0, 0},         {79, 255, 0, 0},       {119, 255, 255, 0},
                                      {159, 248, 252, 255}, {185, 150, 190, 255}, {211, 51, 128, 255}};
const Anchor kBlueRedGreen[] = {{0, 0, 0, 255}, {57, 128, 0, 128}, {114, 255, 0, 0}, {171, 128, 128, 0},
                                {228, 0, 255, 0}};
const Anchor kBlackOrangeGreenBlue[] = {{0, 0, 0, 0},      {36, 175, 87, 0},    {71, 255, 191, 0},
                                        {89, 128, 223, 0}, {107, 0, 255, 0},    {148, 0, 160, 140},
                                        {188, 206, 206, 206}, {214, 0, 0, 255}};
const Anchor kNavyGreenYellowWhite[] = {{0, 51, 51, 153},     {32, 0, 179, 176},    {65, 106, 226, 120},
                                        {97, 234, 251, 148},  {130, 194, 169, 114}, {162, 141, 96, 83},
                                        {195, 216, 201, 197}, {227, 252, 251, 251}};
const Anchor kSpectrumToBlack[] = {{0, 255, 0, 0},    {48, 255, 255, 0}, {96, 4, 255, 0}, {128, 0, 255, 165},
                                   {192, 0, 8, 255},  {224, 87, 0, 141}, {255, 0, 0, 0}};

const Anchor kBlackBlueGreenRedYellow[] = {{0, 0, 0, 0},      {31, 0, 0, 64},     {63, 0, 96, 100},
                                           {95, 0, 150, 53},  {127, 112, 102, 0}, {159, 207, 34, 0},
                                           {191, 223, 108, 0}, {223, 239, 182, 0}, {254, 255, 253, 0}};
const Anchor kBlackGreenBlueMagenta[] = {{0, 0, 0, 0},        {31, 0, 169, 19},    {63, 0, 133, 81},
                                         {95, 0, 97, 142},    {127, 15, 57, 197},  {159, 165, 2, 186},
                                         {191, 252, 12, 194}, {223, 252, 78, 209}, {254, 252, 141, 224}};
const Anchor kBlackBlueGreenRed[] = {{0, 0, 0, 0},       {31, 0, 0, 247},   {63, 0, 247, 7},
                                     {95, 0, 242, 0},    {127, 112, 189, 0}, {159, 207, 140, 0},
                                     {191, 223, 92, 0},  {223, 239, 46, 0}, {254, 255, 1, 0}};
const Anchor kBlueCyanYellowRed[] = {{0, 0, 0, 131},     {31, 0, 0, 255},     {63, 0, 128, 255},
                                     {95, 0, 255, 255},  {127, 128, 255, 128}, {159, 255, 255, 0},
                                     {191, 255, 128, 0}, {223, 255, 0, 0},     {254, 131, 0, 0}};

struct ColorTables {
    SColorTable ramps[22] = {
        // 0: grey
        SColorTable(0, 0, 0, 1, 1, 1, 256, 255, 0),
        // 1..7 are stored tables; these records are unused placeholders.
        SColorTable(0, 0, 0, 0, 0, 0, 0), SColorTable(0, 0, 0, 0, 0, 0, 0), SColorTable(0, 0, 0, 0, 0, 0, 0),
        SColorTable(0, 0, 0, 0, 0, 0, 0), SColorTable(0, 0, 0, 0, 0, 0, 0), SColorTable(0, 0, 0, 0, 0, 0, 0),
        SColorTable(0, 0, 0, 0, 0, 0, 0),
        // 8..14: colour with an alpha ramp
        SColorTable(255, 0, 0, 0, 0, 0, 256, 0, 1), SColorTable(0, 255, 0, 0, 0, 0, 256, 0, 1),
        SColorTable(0, 0, 255, 0, 0, 0, 256, 0, 1), SColorTable(0, 255, 255, 0, 0, 0, 256, 0, 1),
        SColorTable(255, 255, 0, 0, 0, 0, 256, 0, 1), SColorTable(255, 0, 255, 0, 0, 0, 256, 0, 1),
        SColorTable(255, 127, 0, 0, 0, 0, 127, 0, 2),
        // 15..21: white to a colour
        SColorTable(255, 255, 255, 0, -1, -1, 256, 255, 0), SColorTable(255, 255, 255, -1, 0, -1, 256, 255, 0),
        SColorTable(255, 255, 255, -1, -1, 0, 256, 255, 0), SColorTable(255, 255, 255, -1, 0, 0, 256, 255, 0),
        SColorTable(255, 255, 255, 0, 0, -1, 256, 255, 0), SColorTable(255, 255, 255, 0, -1, 0, 256, 255, 0),
        SColorTable(255, 255, 255, 0, -1, -2, 127, 255, 0)};

    _tagIL_PALRGB rainbow[268];
    _tagIL_PALRGB darkRedToYellow[212];
    _tagIL_PALRGB blackRedYellowBlue[212];
    _tagIL_PALRGB blueRedGreen[229];
    _tagIL_PALRGB blackOrangeGreenBlue[215];
    _tagIL_PALRGB navyGreenYellowWhite[228];
    _tagIL_PALRGB spectrumToBlack[256];

    SColorTable loaded[4] = {makeLoaded(kBlackBlueGreenRedYellow), makeLoaded(kBlackGreenBlueMagenta),
                             makeLoaded(kBlackBlueGreenRed), makeLoaded(kBlueCyanYellowRed)};

    ColorTables()
    {
        fillStored(kRainbow, rainbow);
        fillStored(kDarkRedToYellow, darkRedToYellow);
        fillStored(kBlackRedYellowBlue, blackRedYellowBlue);
        fillStored(kBlueRedGreen, blueRedGreen);
        fillStored(kBlackOrangeGreenBlue, blackOrangeGreenBlue);
        fillStored(kNavyGreenYellowWhite, navyGreenYellowWhite);
        fillStored(kSpectrumToBlack, spectrumToBlack);
    }
};

ColorTables& colorTables()
{
    static ColorTables tables;
    return tables;
}

// Fills the stored and loaded tables when the library is loaded.
[[maybe_unused]] const bool g_tablesLoaded = (colorTables(), true);

} // namespace

ILColorTableRef ILGetColorTable(int type)
{
    ColorTables& t = colorTables();
    ILColorTableRef ref{ILColorTableRef::eUnknown, nullptr, 0, nullptr};
    if (type == eClutGrey || (type >= eClutRedAlpha && type <= eClutWhiteToOrange)) {
        SColorTable& ramp = t.ramps[type];
        ref = {ILColorTableRef::eRamp, ramp.m_colors, ramp.m_numColors, &ramp};
    } else if (type >= eClutRainbow && type <= eClutSpectrumToBlack) {
        switch (type) {
        case eClutRainbow: ref = {ILColorTableRef::eStored, t.rainbow, 268, nullptr}; break;
        case eClutDarkRedToYellow: ref = {ILColorTableRef::eStored, t.darkRedToYellow, 212, nullptr}; break;
        case eClutBlackRedYellowBlue: ref = {ILColorTableRef::eStored, t.blackRedYellowBlue, 212, nullptr}; break;
        case eClutBlueRedGreen: ref = {ILColorTableRef::eStored, t.blueRedGreen, 229, nullptr}; break;
        case eClutBlackOrangeGreenBlue:
            ref = {ILColorTableRef::eStored, t.blackOrangeGreenBlue, 215, nullptr};
            break;
        case eClutNavyGreenYellowWhite:
            ref = {ILColorTableRef::eStored, t.navyGreenYellowWhite, 228, nullptr};
            break;
        default: ref = {ILColorTableRef::eStored, t.spectrumToBlack, 256, nullptr}; break;
        }
    } else if (type == eClutCustom) {
        ref.kind = ILColorTableRef::eCustom;
    } else if (type >= eClutBlackBlueGreenRedYellow && type <= eClutBlueCyanYellowRed) {
        SColorTable& loaded = t.loaded[type - eClutBlackBlueGreenRedYellow];
        ref = {ILColorTableRef::eLoaded, loaded.m_colors, loaded.m_numColors, &loaded};
    }
    return ref;
}
