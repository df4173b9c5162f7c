// ImageLib.h - umbrella header: includes every public header of the library.
#ifndef IMAGELIB_IMAGELIB_H
#define IMAGELIB_IMAGELIB_H

#include "ILAssert.h"
#include "ILTypes.h"
#include "ILImageBase.h"
#include "IL1DData.h"
#include "ILHistogram.h"
#include "ILLineProfile.h"
#include "ILDisplayRange.h"
#include "ILROIObject.h"
#include "ILPalette.h"
#include "ILImage.h"

#endif
