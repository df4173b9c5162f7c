// ILPalette_Tables.h - access to the library's colour tables (internal).
#ifndef IMAGELIB_ILPALETTE_TABLES_H
#define IMAGELIB_ILPALETTE_TABLES_H

#include "ILPalette.h"

const int kLoadedTableEntries = 255;

// Where the entries of one colour table live.
struct ILColorTableRef {
    enum Kind { eUnknown, eRamp, eStored, eLoaded, eCustom };
    Kind kind;
    _tagIL_PALRGB* entries;
    int count;
    SColorTable* record;  // the SColorTable of a ramp or loaded table
};

// The table of a QOR_COLORTABLE_TYPES value; kind eUnknown outside 0..26.
ILColorTableRef ILGetColorTable(int type);

#endif
