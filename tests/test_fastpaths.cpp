// The fast paths give the same bits as the plain reference kernels, on random
// images of every sample type, odd and degenerate sizes and special values.
#include "TestSupport.h"
#include "reference/ReferenceKernels.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>

namespace {

const std::pair<int, int> kShapes[] = {{1, 1}, {1, 17}, {17, 1}, {7, 5}, {131, 67}, {509, 3}, {331, 199}};

template <typename T>
std::vector<T> randomSamples(size_t n, uint32_t seed, bool special)
{
    std::mt19937 rng(seed);
    std::vector<T> out(n);
    for (T& v : out) {
        if (std::is_floating_point<T>::value)
            v = static_cast<T>(std::uniform_real_distribution<double>(-500.0, 500.0)(rng));
        else
            v = static_cast<T>(rng());
    }
    if (special && n > 4) {
        out[n / 2] = std::numeric_limits<T>::max();
        out[n / 3] = std::numeric_limits<T>::lowest();
        out[n / 4] = T(0);
        out[1] = T(0);
        if (std::is_floating_point<T>::value) out[n / 5] = static_cast<T>(-0.0);
    }
    return out;
}

template <typename T>
bool sameBits(const T& a, const T& b)
{
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <typename Check>
void forEveryType(Check check)
{
    check(uint8_t(), eByte);
    check(uint16_t(), eUShort);
    check(int32_t(), eLong);
    check(float(), eFloat);
    check(double(), eDouble);
}

} // namespace

TEST(FastPaths, QuarterTurnsAndMirrorsMatchTheSampleBySampleMapping)
{
    forEveryType([](auto tag, QORDataTypes type) {
        using T = decltype(tag);
        for (auto shape : kShapes) {
            const int w = shape.first, h = shape.second;
            SCOPED_TRACE(std::to_string(type) + " " + std::to_string(w) + "x" + std::to_string(h));
            const std::vector<T> samples = randomSamples<T>(size_t(w) * h, w * 31 + h, true);
            CILImageBase image = makeImage<T>(type, w, h, samples);
            CILImageBase left, right;
            ASSERT_TRUE(image.RotateLeft(left));
            ASSERT_TRUE(image.RotateRight(right));
            const std::vector<T> expectLeft = reference::quarterTurn(samples, w, h, false);
            const std::vector<T> expectRight = reference::quarterTurn(samples, w, h, true);
            EXPECT_EQ(std::memcmp(left.get_data(), expectLeft.data(), samples.size() * sizeof(T)), 0);
            EXPECT_EQ(std::memcmp(right.get_data(), expectRight.data(), samples.size() * sizeof(T)), 0);
            CILImageBase mirrored;
            ASSERT_TRUE(image.Mirror(mirrored));
            const std::vector<T> expectMirror = reference::mirror(samples, w, h);
            EXPECT_EQ(std::memcmp(mirrored.get_data(), expectMirror.data(), samples.size() * sizeof(T)), 0);
        }
    });
}

TEST(FastPaths, MinMaxSurveyMatchesTheOrderedScan)
{
    forEveryType([](auto tag, QORDataTypes type) {
        using T = decltype(tag);
        for (auto shape : kShapes) {
            for (bool special : {false, true}) {
                const int w = shape.first, h = shape.second;
                SCOPED_TRACE(std::to_string(type) + " " + std::to_string(w) + "x" + std::to_string(h));
                std::vector<T> samples = randomSamples<T>(size_t(w) * h, w + h * 7, special);
                if (!special && samples.size() > 3) samples.assign(samples.size(), T(0)), samples[2] = T(5);
                CILImageBase image = makeImage<T>(type, w, h, samples);
                std::vector<char> mask(samples.size());
                for (size_t i = 0; i < mask.size(); ++i) mask[i] = static_cast<char>(i % 3 == 0);
                for (const char* m : {static_cast<const char*>(nullptr), static_cast<const char*>(mask.data())}) {
                    const reference::Survey expect = reference::minMax(samples, m);
                    reference::Survey got{};
                    ASSERT_TRUE(image.getMinMax(&got.min, &got.max, &got.mean, const_cast<char*>(m), &got.nonZeroMin,
                                                &got.nonZeroMax));
                    EXPECT_TRUE(sameBits(got.min, expect.min));
                    EXPECT_TRUE(sameBits(got.max, expect.max));
                    EXPECT_TRUE(sameBits(got.nonZeroMin, expect.nonZeroMin));
                    EXPECT_TRUE(sameBits(got.nonZeroMax, expect.nonZeroMax));
                    EXPECT_TRUE(sameBits(got.mean, expect.mean)) << got.mean << " vs " << expect.mean;
                }
            }
        }
    });
    // A large 32-bit image whose sum leaves the exact range takes the ordered
    // scan: extreme values in a long image.
    std::vector<int32_t> big(3000 * 1500, INT32_MAX);
    big[7] = -12345;
    CILImageBase image = makeImage<int32_t>(eLong, 3000, 1500, big);
    reference::Survey got{};
    ASSERT_TRUE(image.getMinMax(&got.min, &got.max, &got.mean, nullptr, nullptr, nullptr));
    EXPECT_TRUE(sameBits(got.mean, reference::minMax(big, nullptr).mean));
}

// Integer sums gathered in narrow lanes must not overflow: long images of the
// largest (and, for 32-bit samples, the smallest) values, and a long image of
// zeros with one non-zero sample near the end.
TEST(FastPaths, IntegerMinMaxSurveyOnLongExtremeImages)
{
    auto check = [](auto tag, QORDataTypes type, int w, int h) {
        using T = decltype(tag);
        SCOPED_TRACE(std::to_string(type));
        std::vector<T> samples(size_t(w) * h, std::numeric_limits<T>::max());
        if (std::is_signed<T>::value)
            for (size_t i = 0; i < samples.size(); i += 3) samples[i] = std::numeric_limits<T>::lowest();
        std::vector<T> zeros(samples.size(), T(0));
        zeros[zeros.size() - 5] = T(3);
        for (const std::vector<T>* s : {&samples, &zeros}) {
            CILImageBase image = makeImage<T>(type, w, h, *s);
            const reference::Survey expect = reference::minMax(*s, nullptr);
            reference::Survey got{};
            ASSERT_TRUE(image.getMinMax(&got.min, &got.max, &got.mean, nullptr, &got.nonZeroMin, &got.nonZeroMax));
            EXPECT_TRUE(sameBits(got.min, expect.min));
            EXPECT_TRUE(sameBits(got.max, expect.max));
            EXPECT_TRUE(sameBits(got.nonZeroMin, expect.nonZeroMin));
            EXPECT_TRUE(sameBits(got.nonZeroMax, expect.nonZeroMax));
            EXPECT_TRUE(sameBits(got.mean, expect.mean)) << got.mean << " vs " << expect.mean;
        }
    };
    check(uint8_t(), eByte, 2053, 1031);
    check(uint16_t(), eUShort, 1031, 997);  // more than 16384 vectors of 16 samples
    check(int32_t(), eLong, 2047, 2049);    // just below the largest exact count
}

// The order-sensitive cases of the floating-point survey: a NaN first sample
// (or first non-zero one) stays, the earlier of two equal zeros stays, and
// infinities and all-zero images; each with every set of outputs asked for.
TEST(FastPaths, FloatingMinMaxSurveyKeepsTheScanOrder)
{
    auto check = [](auto tag, QORDataTypes type) {
        using T = decltype(tag);
        const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
        const T z = T(0), nz = T(-0.0);
        const std::vector<std::vector<T>> cases = {
            {nan, 1, -2, 3},  {z, nan, 3, -1},   {z, nz, 5, 7},  {nz, z, 5, 7},    {5, z, nz, 7},
            {5, nz, z, -0.0f}, {z, z, z, z},     {nz, z, nz, z}, {inf, -inf, nan, 2}, {nz, -inf, z, inf},
            {3, nan, -7, nan}, {z, nz, nan, 4}, {1e-45f, -1e-45f, z, 2}};
        for (const std::vector<T>& samples : cases) {
            CILImageBase image = makeImage<T>(type, 2, 2, samples);
            const reference::Survey expect = reference::minMax(samples, nullptr);
            for (int outputs = 1; outputs <= 3; ++outputs) {
                SCOPED_TRACE(std::to_string(type) + " outputs " + std::to_string(outputs) + " first " +
                             std::to_string(samples[0]) + " second " + std::to_string(samples[1]));
                const bool extremes = outputs & 1, nonZero = outputs & 2;
                reference::Survey got = {9, 9, 9, 9, 9};
                ASSERT_TRUE(image.getMinMax(extremes ? &got.min : nullptr, extremes ? &got.max : nullptr,
                                            extremes ? &got.mean : nullptr, nullptr,
                                            nonZero ? &got.nonZeroMin : nullptr, nonZero ? &got.nonZeroMax : nullptr));
                if (extremes) {
                    EXPECT_TRUE(sameBits(got.min, expect.min)) << got.min << " vs " << expect.min;
                    EXPECT_TRUE(sameBits(got.max, expect.max)) << got.max << " vs " << expect.max;
                    EXPECT_TRUE(sameBits(got.mean, expect.mean) || (got.mean != got.mean && expect.mean != expect.mean));
                }
                if (nonZero) {
                    EXPECT_TRUE(sameBits(got.nonZeroMin, expect.nonZeroMin)) << got.nonZeroMin;
                    EXPECT_TRUE(sameBits(got.nonZeroMax, expect.nonZeroMax)) << got.nonZeroMax;
                }
            }
        }
    };
    check(float(), eFloat);
    check(double(), eDouble);
}

TEST(FastPaths, DisplayTablesGiveThePerPixelBytes)
{
    struct Setup {
        QOR_COLORTABLE_TYPES table;
        double lo, hi;
        float gamma;
        unsigned format;
        bool defaultPalette;
        int reversed = 0, logScale = 0;
        bool edgeColours = false;
    };
    // Values sharing a table position share one palette call: linear, log
    // and reversed positions, gamma, and the colours outside the range.
    const Setup setups[] = {{eClutRainbow, 1000, 60000, 1.0f, 6407, false},
                            {eClutRedAlpha, 10, 200, 1.0f, 6408, false},
                            {eClutGrey, 0, 255, 2.2f, 6408, false},
                            {eClutBlueCyanYellowRed, 300, 300, 1.0f, 6407, false},
                            {eClutGrey, 0, 0, 1.0f, 6408, true},
                            {eClutRainbow, 5, 40000, 1.0f, 6408, false, 1, 1},
                            {eClutBlueCyanYellowRed, 20, 180, 0.6f, 6407, false, 1, 0, true},
                            {eClutRedAlpha, 100, 30000, 1.0f, 6408, false, 0, 1, true}};
    auto check = [&](auto tag, QORDataTypes type) {
        using T = decltype(tag);
        for (const Setup& s : setups) {
            for (int flip : {0, 1}) {
                SCOPED_TRACE(std::to_string(type) + " table " + std::to_string(s.table) + " flip " +
                             std::to_string(flip));
                // More pixels than a 16-bit table has entries, and fewer.
                for (const auto& shape : {std::make_pair(331, 199), std::make_pair(101, 67)}) {
                    const int w = shape.first, h = shape.second;
                    SCOPED_TRACE(w);
                    std::vector<T> samples = randomSamples<T>(size_t(w) * h, 99, true);
                    if (std::is_floating_point<T>::value) {
                        samples[7] = std::numeric_limits<T>::quiet_NaN();
                        samples[11] = std::numeric_limits<T>::infinity();
                        samples[13] = -std::numeric_limits<T>::infinity();
                    }
                    CILImage image;
                    image.initWithData(type, w, h, const_cast<T*>(samples.data()));
                    if (!s.defaultPalette) image.setColorTable(s.table, s.lo, s.hi);
                    if (s.reversed || s.logScale)
                        image.getPalette()->SetColorTable(s.table, s.lo, s.hi, s.reversed, s.logScale);
                    if (s.edgeColours) {
                        const _tagIL_PALRGB above = {10, 20, 30, 200}, below = {40, 50, 60, 100};
                        image.getPalette()->setColorForAboveMax(&above);
                        image.getPalette()->setColorForBelowMin(&below);
                        image.getPalette()->SetImageMinMax(s.lo + 7, s.hi - 9);
                    }
                    image.setGamma(s.gamma);
                    image.setGLFormat(s.format);
                    const unsigned char* got = static_cast<const unsigned char*>(image.getPixelsForGL(flip));
                    ASSERT_NE(got, nullptr);
                    const std::vector<unsigned char> expect =
                        reference::displayPixels(samples, w, h, flip, *image.getPalette(), s.gamma, s.format == 6408);
                    EXPECT_EQ(std::memcmp(got, expect.data(), expect.size()), 0);
                }
            }
        }
    };
    check(uint8_t(), eByte);
    check(uint16_t(), eUShort);
    check(int32_t(), eLong);
    check(float(), eFloat);
    check(double(), eDouble);
}

// Outputs of 4 MiB and more are written in 8-byte words assembled from
// several pixels; rows that start on and off a word boundary, both formats.
TEST(FastPaths, LargeDisplayOutputsGiveThePerPixelBytes)
{
    auto check = [&](auto tag, QORDataTypes type) {
        using T = decltype(tag);
        for (const auto& shape : {std::make_pair(1201, 1167), std::make_pair(1024, 1370)}) {
            const int w = shape.first, h = shape.second;
            const std::vector<T> samples = randomSamples<T>(size_t(w) * h, 7, true);
            for (unsigned format : {6407u, 6408u}) {
                for (int flip : {0, 1}) {
                    SCOPED_TRACE(std::to_string(type) + " " + std::to_string(w) + " format " + std::to_string(format) +
                                 " flip " + std::to_string(flip));
                    CILImage image;
                    image.initWithData(type, w, h, const_cast<T*>(samples.data()));
                    image.setColorTable(eClutRainbow, 3, sizeof(T) == 1 ? 250 : 64000);
                    image.setGLFormat(format);
                    const unsigned char* got = static_cast<const unsigned char*>(image.getPixelsForGL(flip));
                    ASSERT_NE(got, nullptr);
                    const std::vector<unsigned char> expect =
                        reference::displayPixels(samples, w, h, flip, *image.getPalette(), 1.0f, format == 6408);
                    ASSERT_GE(expect.size(), size_t(4) << 20);
                    EXPECT_EQ(std::memcmp(got, expect.data(), expect.size()), 0);
                }
            }
        }
    };
    check(uint8_t(), eByte);
    check(uint16_t(), eUShort);
}

TEST(FastPaths, HistogramTablesCountLikeTheSampleBySampleRule)
{
    auto check = [](auto tag, QORDataTypes type) {
        using T = decltype(tag);
        const int w = 331, h = 199;
        const std::vector<T> samples = randomSamples<T>(size_t(w) * h, 5, true);
        CILImageBase image = makeImage<T>(type, w, h, samples);
        std::vector<char> mask(samples.size());
        for (size_t i = 0; i < mask.size(); ++i) mask[i] = static_cast<char>(i % 5 != 0);
        const std::pair<float, float> ranges[] = {{0.0f, 65535.0f}, {100.0f, 200.5f}, {-3.0f, 70000.0f}};
        for (size_t bins : {size_t(1), size_t(7), size_t(4096)}) {
            for (auto range : ranges) {
                for (const char* m : {static_cast<const char*>(nullptr), static_cast<const char*>(mask.data())}) {
                    std::vector<int32_t> got(bins);
                    ASSERT_TRUE(image.getHistogram(got.data(), bins, range.first, range.second, const_cast<char*>(m)));
                    EXPECT_EQ(got, reference::histogram(samples, bins, range.first, range.second, m));
                }
            }
        }
    };
    check(uint8_t(), eByte);
    check(uint16_t(), eUShort);
}
