// ILImage_Procs.cpp - CILImage members whose machinery is still being built.
//
// Histogram, line profile, region statistics and display pixel generation
// report failure until their implementations land; the virtual slots exist now
// so that the object layout stays fixed.
#include "ILImage.h"

bool CILImage::Histogram(CILHistogram&) { return false; }

int CILImage::lineProfile(CILLineProfile&) { return 0; }

EILSTATUS CILImage::imageStats(tagImageStatsInfo*, bool, const char*, int, int) { return eILOperationFailed; }

void* CILImage::getPixelsForGL(int) { return nullptr; }
