// imagelib-demo - ImageLib's main job on a TIFF file: load, survey, histogram,
// map through a colour table, write the rendering as BMP and the samples as
// TIFF, then smooth, threshold and measure the objects.
#include <ImageLib.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>

#ifndef IMAGELIB_DEMO_SAMPLE
#define IMAGELIB_DEMO_SAMPLE "sample16.tif"
#endif

namespace {

struct Options {
    std::string input = IMAGELIB_DEMO_SAMPLE;
    std::string table = "rainbow";
    bool autoRange = true;
    double low = 0.0, high = 0.0;
    float gamma = 1.0f;
    std::string bmp = "demo-output/rendering.bmp";
    std::string tiff = "demo-output/samples.tif";
    int bins = 16;
    float fraction = 0.5f;
};

struct NamedTable {
    const char* name;
    QOR_COLORTABLE_TYPES type;
};

const NamedTable kTables[] = {
    {"grey", eClutGrey},
    {"rainbow", eClutRainbow},
    {"dark-red-yellow", eClutDarkRedToYellow},
    {"black-red-yellow-blue", eClutBlackRedYellowBlue},
    {"blue-red-green", eClutBlueRedGreen},
    {"black-orange-green-blue", eClutBlackOrangeGreenBlue},
    {"navy-green-yellow-white", eClutNavyGreenYellowWhite},
    {"spectrum", eClutSpectrumToBlack},
    {"white-red", eClutWhiteToRed},
    {"white-blue", eClutWhiteToBlue},
    {"fire", eClutBlackBlueGreenRedYellow},
    {"black-green-blue-magenta", eClutBlackGreenBlueMagenta},
    {"black-blue-green-red", eClutBlackBlueGreenRed},
    {"jet", eClutBlueCyanYellowRed},
};

void usage(FILE* out)
{
    std::fprintf(out,
                 "usage: imagelib-demo [options]\n"
                 "  --input FILE     TIFF file to load (default: the shipped sample)\n"
                 "  --table NAME     colour table (default: rainbow); one of:\n"
                 "                  ");
    for (const NamedTable& t : kTables) std::fprintf(out, " %s", t.name);
    std::fprintf(out,
                 "\n"
                 "  --range LO:HI    display range (default: the image's minimum and maximum)\n"
                 "  --gamma G        display gamma (default: 1)\n"
                 "  --bins N         histogram bins (default: 16)\n"
                 "  --threshold F    object threshold as a fraction of the range (default: 0.5)\n"
                 "  --bmp FILE       where to write the rendering (default: demo-output/rendering.bmp)\n"
                 "  --tiff FILE      where to write the samples (default: demo-output/samples.tif)\n"
                 "  --help           this text\n");
}

bool parse(int argc, char** argv, Options& o)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--help" || arg == "-h") {
            usage(stdout);
            std::exit(0);
        } else if (arg == "--input" && hasValue) {
            o.input = argv[++i];
        } else if (arg == "--table" && hasValue) {
            o.table = argv[++i];
        } else if (arg == "--range" && hasValue) {
            if (std::sscanf(argv[++i], "%lf:%lf", &o.low, &o.high) != 2) return false;
            o.autoRange = false;
        } else if (arg == "--gamma" && hasValue) {
            o.gamma = std::strtof(argv[++i], nullptr);
            if (!(o.gamma > 0.0f)) return false;
        } else if (arg == "--bins" && hasValue) {
            o.bins = std::atoi(argv[++i]);
            if (o.bins < 1 || o.bins > 4096) return false;
        } else if (arg == "--threshold" && hasValue) {
            o.fraction = std::strtof(argv[++i], nullptr);
            if (!(o.fraction >= 0.0f && o.fraction <= 1.0f)) return false;
        } else if (arg == "--bmp" && hasValue) {
            o.bmp = argv[++i];
        } else if (arg == "--tiff" && hasValue) {
            o.tiff = argv[++i];
        } else {
            return false;
        }
    }
    return true;
}

const char* typeName(QORDataTypes type)
{
    switch (type) {
    case eByte: return "8-bit unsigned";
    case eUShort: return "16-bit unsigned";
    case eLong: return "32-bit signed";
    case eFloat: return "32-bit float";
    case eDouble: return "64-bit float";
    default: return "unknown";
    }
}

void makeParentDirectory(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    if (slash != std::string::npos && slash > 0) mkdir(path.substr(0, slash).c_str(), 0755);
}

void printHistogram(CILImage& image, int bins)
{
    CILHistogram histogram;
    histogram.setMaxBins(static_cast<uint64_t>(bins));
    if (!image.Histogram(histogram)) {
        std::printf("histogram: not available\n");
        return;
    }
    std::vector<int32_t> counts(static_cast<size_t>(bins));
    histogram.getData(eLong, counts.data());
    int32_t largest = 1;
    int64_t total = 0;
    for (int32_t c : counts) {
        largest = c > largest ? c : largest;
        total += c;
    }
    std::printf("histogram (%d bins over %.0f .. %.0f, %lld pixels):\n", bins, image.Min(), image.Max(),
                static_cast<long long>(total));
    for (int b = 0; b < bins; ++b) {
        float from = 0;
        image.getImageValueForHistogramIndex(static_cast<uint32_t>(bins), static_cast<float>(b), &from, image.Max(),
                                             image.Min(), nullptr);
        const int bar = static_cast<int>(40.0 * counts[b] / largest + 0.5);
        std::printf("  %9.1f  %7d  %s\n", from, counts[b], std::string(static_cast<size_t>(bar), '#').c_str());
    }
}

// Smooth, threshold at a fraction of the range, then measure the objects:
// particle statistics, holes and the outline of the first object.
void analyseObjects(CILImage& image, float fraction)
{
    CILImage smoothed(image);
    if (smoothed.filter(3, eSmoothMedianFilter) != eILSuccess) {
        std::printf("objects:   smoothing failed\n");
        return;
    }
    CILImage mask(smoothed);
    mask.RefreshImageStats();
    if (!mask.FractionalThreshold(smoothed, fraction)) {
        std::printf("objects:   threshold failed\n");
        return;
    }
    tagImageParticleAnalyzeInfo particles = {};
    uint32_t holes = 0;
    CILImage labels;
    if (mask.getImageParticleAnalysisStats(&particles, nullptr, 0, 0) != eILSuccess ||
        mask.LabelHolesInImage(labels, &holes) != eILSuccess) {
        std::printf("objects:   measurement failed\n");
        return;
    }
    std::printf("objects:   3x3 median, threshold at %.0f%% of the range: %.0f pixels above it, centroid (%.1f, %.1f),"
                " %u hole(s)\n",
                fraction * 100.0, particles.dArea, particles.dArea > 0 ? particles.dSumX / particles.dArea : 0.0,
                particles.dArea > 0 ? particles.dSumY / particles.dArea : 0.0, holes);

    const size_t capacity = static_cast<size_t>(mask.get_width()) * mask.get_height() + 1;
    std::vector<int32_t> xs(capacity), ys(capacity), directions(capacity);
    tagContourTraceInfo outline = {0, xs.data(), ys.data(), 0, 0, directions.data()};
    CILImage traced;
    if (particles.dArea > 0 && mask.ContourTrace(traced, &outline, 1) && outline.nNumPoints > 0)
        std::printf("outline:   first object traced in %d points, starting at column %d, row %d\n",
                    outline.nNumPoints, outline.pXPoints[0], outline.pYPoints[0]);
    else
        std::printf("outline:   no object traced\n");
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr, "imagelib-demo: bad arguments (see --help)\n");
        return 2;
    }
    const NamedTable* table = nullptr;
    for (const NamedTable& t : kTables)
        if (options.table == t.name) table = &t;
    if (!table) {
        std::fprintf(stderr, "imagelib-demo: unknown colour table '%s' (see --help)\n", options.table.c_str());
        return 2;
    }

    CILImage image;
    if (!CILImage::canInitFromFile(options.input.c_str()) || !image.LoadFromTIFFFile(options.input.c_str(), 0)) {
        std::fprintf(stderr, "imagelib-demo: cannot read '%s' as a TIFF image\n", options.input.c_str());
        return 1;
    }
    image.RefreshImageStats();
    std::printf("input:     %s (page 1 of %d)\n", options.input.c_str(), image.getImageCount());
    std::printf("image:     %u x %u, %s%s\n", image.get_width(), image.get_height(), typeName(image.get_datatype()),
                image.isRGBImageFormat() ? " (packed RGB)" : "");
    std::printf("values:    min %.2f  max %.2f  mean %.3f  (non-zero min %.2f)\n", image.Min(), image.Max(),
                image.Mean(), image.nonZeroMin());
    printHistogram(image, options.bins);

    const double low = options.autoRange ? image.Min() : options.low;
    const double high = options.autoRange ? image.Max() : options.high;
    image.setColorTable(table->type, low, high);
    image.setGamma(options.gamma);
    tagQORDisplayRange ticks;
    getNiceRangeForDisplay(low, high, 5, &ticks);
    std::printf("display:   table %s over %.2f .. %.2f, gamma %.2f; axis ticks every %g from %g\n", table->name, low,
                high, options.gamma, ticks.majorStep, ticks.firstTick);

    makeParentDirectory(options.bmp);
    makeParentDirectory(options.tiff);
    const int32_t bmp = image.saveAsBMP(options.bmp.c_str());
    if (bmp != 1) {
        std::fprintf(stderr, "imagelib-demo: could not write '%s' (code %d)\n", options.bmp.c_str(), bmp);
        return 1;
    }
    const int32_t tiff = image.saveAsTIFF(options.tiff.c_str());
    if (tiff != 1) {
        std::fprintf(stderr, "imagelib-demo: could not write '%s'\n", options.tiff.c_str());
        return 1;
    }
    std::printf("wrote:     %s (display rendering, 24-bit BMP)\n", options.bmp.c_str());
    std::printf("wrote:     %s (samples, LZW TIFF)\n", options.tiff.c_str());
    analyseObjects(image, options.fraction);
    return 0;
}
