// demo.cpp - ImageLib's main job on data it makes itself.
//
// Builds a test picture (a radial ramp with a bright spot and a dark band) in
// every sample type, surveys it, converts it between types and prints the
// results as a table.
#include <ImageLib.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

const int kWidth = 257;   // odd sides on purpose: no row is a multiple of 4 bytes
const int kHeight = 129;

// The test picture as doubles: a ramp from -1000 to 70000 with a hot spot.
std::vector<double> makePicture()
{
    std::vector<double> values(static_cast<size_t>(kWidth) * kHeight);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const double dx = x - kWidth / 2.0, dy = y - kHeight / 2.0;
            double v = 71000.0 * (1.0 - std::sqrt(dx * dx + dy * dy) / 144.0) - 1000.0;
            if (y >= 60 && y < 64) v = 0.0;                        // dark band
            if (std::abs(x - 200) < 3 && std::abs(y - 30) < 3) v = 99999.5;  // hot spot
            values[static_cast<size_t>(y) * kWidth + x] = v;
        }
    }
    return values;
}

const char* typeName(QORDataTypes type)
{
    switch (type) {
    case eByte: return "byte";
    case eUShort: return "ushort";
    case eLong: return "long";
    case eFloat: return "float";
    case eDouble: return "double";
    default: return "?";
    }
}

void printSurvey(const char* label, CILImageBase& image)
{
    float mn = 0, mx = 0, nzMin = 0, nzMax = 0;
    double mean = 0;
    if (!image.getMinMax(&mn, &mx, &mean, nullptr, &nzMin, &nzMax)) {
        std::printf("%-28s  (no data)\n", label);
        return;
    }
    std::printf("%-28s %-7s %12.2f %12.2f %14.3f %12.2f %12.2f\n", label, typeName(image.get_datatype()), mn, mx,
                mean, nzMin, nzMax);
}

} // namespace

int main()
{
    const std::vector<double> picture = makePicture();
    CILImageBase master;
    if (!master.setImageData(picture.data(), eDouble, kWidth, kHeight, true)) return 1;

    std::printf("ImageLib demo: a %dx%d test picture in every sample type\n\n", kWidth, kHeight);
    std::printf("%-28s %-7s %12s %12s %14s %12s %12s\n", "image", "type", "min", "max", "mean", "nz-min", "nz-max");

    const QORDataTypes types[] = {eDouble, eFloat, eLong, eUShort, eByte};
    for (QORDataTypes type : types) {
        CILImageBase image(master);
        if (!image.ChangeType(type)) return 2;
        char label[64];
        std::snprintf(label, sizeof label, "picture as %s", typeName(type));
        printSurvey(label, image);
    }

    // Conversion is a plain cast: narrowing wraps around instead of saturating.
    CILImageBase narrowed(master);
    narrowed.ChangeType(eUShort);
    narrowed.ChangeType(eByte);
    printSurvey("double -> ushort -> byte", narrowed);
    CILImageBase widened(narrowed);
    widened.ChangeType(eFloat);
    printSurvey("... -> float again", widened);

    // A survey under a byte mask: only the left half takes part.
    std::vector<char> mask(static_cast<size_t>(kWidth) * kHeight, 0);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth / 2; ++x) mask[static_cast<size_t>(y) * kWidth + x] = 1;
    float mn = 0, mx = 0;
    double mean = 0;
    master.getMinMax(&mn, &mx, &mean, mask.data(), nullptr, nullptr);
    std::printf("%-28s %-7s %12.2f %12.2f %14.3f\n", "double, left half (mask)", "double", mn, mx, mean);

    // Display mapping: the 16-bit picture as a CILImage, its cached range
    // driving a few colour tables; three probe values per table.
    CILImage display(master);
    display.ChangeType(eUShort);
    std::printf("\n%-30s %-18s %-18s %-18s\n", "colour table (cached range)", "at min", "at middle", "at max");
    const QOR_COLORTABLE_TYPES tables[] = {eClutGrey, eClutRainbow, eClutSpectrumToBlack, eClutBlueCyanYellowRed,
                                           eClutRedAlpha};
    const char* tableNames[] = {"grey", "rainbow", "spectrum to black", "blue-cyan-yellow-red", "red alpha"};
    for (int t = 0; t < 5; ++t) {
        display.setColorTable(tables[t]);
        CILPalette* palette = display.getPalette();
        const double probes[] = {display.getMin(), (display.getMin() + display.getMax()) / 2.0, display.getMax()};
        std::printf("%-30s", tableNames[t]);
        for (double value : probes) {
            double r = 0, g = 0, b = 0, a = 0;
            palette->GetRGBForImageValue(value, &r, &g, &b, &a);
            char cell[32];
            std::snprintf(cell, sizeof cell, "%3.0f,%3.0f,%3.0f/%3.0f", r, g, b, a);
            std::printf(" %-18s", cell);
        }
        std::printf("\n");
    }
    return 0;
}
