// The median, erosion and dilation give the bytes of their plain kernels on
// every sample type: random images, odd and degenerate sides, every window
// size the application uses (and one larger than the image), windows cut at
// every edge, NaN, signed zeros, infinities, extremes, near-equal values and
// images made of a few values repeated.
#include "FilterTestSupport.h"
#include "reference/ReferenceKernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace {

enum class Content { Random, Specials, FewValues };

const char* nameOf(Content c)
{
    return c == Content::Random ? "random" : c == Content::Specials ? "specials" : "few values";
}

template <typename T>
T floatFromBits(uint64_t bits)
{
    T v;
    if (sizeof(T) == 4) {
        const uint32_t b = static_cast<uint32_t>(bits);
        std::memcpy(&v, &b, 4);
    } else {
        std::memcpy(&v, &bits, 8);
    }
    return v;
}

// Values that stress the orderings: NaN (quiet, with payloads, negative),
// both zeros, infinities, the extremes, the smallest subnormal, values that
// the median's tolerance counts as equal although they differ, and values
// close to the boundaries the fast paths test against.
template <typename T>
std::vector<T> specialValues()
{
    typedef std::numeric_limits<T> L;
    if constexpr (!std::is_floating_point<T>::value) {
        return {T(0), T(1), L::max(), L::lowest(), T(L::max() - 1), static_cast<T>(L::lowest() + 1), T(7)};
    } else {
        const bool single = sizeof(T) == 4;
        std::vector<T> v = {L::quiet_NaN(), -L::quiet_NaN(), T(0.0), T(-0.0), L::infinity(), -L::infinity(),
                            L::max(), L::lowest(), L::denorm_min(), -L::denorm_min(), T(0.25), T(-0.25),
                            std::nextafter(T(0.25), T(0)), std::nextafter(T(0.125), T(0)), T(0.05),
                            std::nextafter(T(0.05), T(1)), T(1e-9), T(3e-9), T(-4e-9), T(1.0),
                            static_cast<T>(1.0 + 5e-9), std::nextafter(T(1.0), T(2))};
        // Signalling NaNs with payloads (the median stores its answer through
        // a double, which quiets them; erosion and dilation copy them).
        v.push_back(floatFromBits<T>(single ? 0x7FA00001u : 0x7FF4000000000001ull));
        v.push_back(floatFromBits<T>(single ? 0xFFA00123u : 0xFFF4000000000123ull));
        return v;
    }
}

// Samples of one content kind, reproducible from the seed.
template <typename T>
std::vector<T> samplesFor(Content content, size_t count, uint32_t seed)
{
    std::mt19937 rng(seed);
    std::vector<T> out(count);
    const std::vector<T> specials = specialValues<T>();
    for (T& v : out) {
        if (content == Content::FewValues) {
            // Mostly ties: a handful of values, for floats both zeros and NaN among them.
            const uint32_t pick = rng() % 6;
            if (std::is_floating_point<T>::value) {
                const T few[] = {T(0.0), T(-0.0), T(1.0), T(-1.0), std::numeric_limits<T>::quiet_NaN(), T(2.5)};
                v = few[pick];
            } else {
                const T few[] = {T(0), T(1), T(2), std::numeric_limits<T>::max(), T(1), T(0)};
                v = few[pick];
            }
            continue;
        }
        if (content == Content::Specials && rng() % 8 == 0) {
            v = specials[rng() % specials.size()];
            continue;
        }
        if (std::is_floating_point<T>::value)
            v = static_cast<T>(std::uniform_real_distribution<double>(-500.0, 500.0)(rng));
        else
            v = static_cast<T>(rng());
    }
    return out;
}

// Bit-for-bit comparison that names the first differing pixel.
template <typename T>
::testing::AssertionResult sameBits(const std::vector<T>& got, const std::vector<T>& expect, size_t width)
{
    if (got.size() != expect.size())
        return ::testing::AssertionFailure() << got.size() << " samples instead of " << expect.size();
    for (size_t i = 0; i < got.size(); ++i) {
        // NaN payloads (a signalling NaN passed through a double may or may
        // not be quieted, depending on how the compiler folds the round
        // trip) are not values: any two NaNs match. Everything else,
        // including the sign of zero, must match bit for bit.
        if (got[i] != got[i] && expect[i] != expect[i]) continue;
        if (std::memcmp(&got[i], &expect[i], sizeof(T)) != 0)
            return ::testing::AssertionFailure() << "first difference at (" << i % width << ", " << i / width
                                                 << "): " << +got[i] << " instead of " << +expect[i];
    }
    return ::testing::AssertionSuccess();
}

const Content kContents[] = {Content::Random, Content::Specials, Content::FewValues};

struct Shape {
    int width, height;
};

std::string describe(QORDataTypes type, Shape s, Content c)
{
    return "type " + std::to_string(type) + ", " + std::to_string(s.width) + " x " + std::to_string(s.height) + ", " +
           nameOf(c);
}

template <typename T>
void expectMedianMatches(QORDataTypes type, Shape shape, const std::vector<unsigned int>& sizes)
{
    for (Content content : kContents) {
        const size_t count = static_cast<size_t>(shape.width) * shape.height;
        const std::vector<T> samples = samplesFor<T>(content, count, shape.width * 7919u + shape.height);
        for (unsigned int n : sizes) {
            SCOPED_TRACE(describe(type, shape, content) + ", n = " + std::to_string(n));
            std::vector<T> expect(count);
            reference::median(samples.data(), expect.data(), shape.width, shape.height, n);
            CILImageBase image = makeImage<T>(type, shape.width, shape.height, samples);
            CILImageBase dest;
            ASSERT_TRUE(image.Median(n, dest));
            EXPECT_TRUE(sameBits(samplesOf<T>(dest), expect, shape.width));
            ASSERT_TRUE(image.Median(n));
            EXPECT_TRUE(sameBits(samplesOf<T>(image), expect, shape.width));
        }
    }
}

template <typename T>
void expectMorphologyMatches(QORDataTypes type, Shape shape, const std::vector<std::pair<int, int>>& sizes)
{
    for (Content content : kContents) {
        const size_t count = static_cast<size_t>(shape.width) * shape.height;
        const std::vector<T> samples = samplesFor<T>(content, count, shape.width * 104729u + shape.height);
        CILImageBase image = makeImage<T>(type, shape.width, shape.height, samples);
        for (auto size : sizes) {
            for (bool erode : {true, false}) {
                SCOPED_TRACE(describe(type, shape, content) + (erode ? ", erode " : ", dilate ") +
                             std::to_string(size.first) + " x " + std::to_string(size.second));
                std::vector<T> expect(count), got(count);
                reference::erodeDilate(samples.data(), expect.data(), shape.width, shape.height, size.first,
                                       size.second, erode);
                ASSERT_TRUE(erode ? image.Erode(size.first, size.second, got.data())
                                  : image.Dilate(size.first, size.second, got.data()));
                EXPECT_TRUE(sameBits(got, expect, shape.width));
            }
        }
        EXPECT_TRUE(sameBits(samplesOf<T>(image), samples, shape.width));  // a buffer leaves the image alone
    }
}

} // namespace

TEST(FastMedian, SmallAndDegenerateImagesMatchThePlainKernelForEverySize)
{
    const Shape shapes[] = {{1, 1}, {1, 17}, {17, 1}, {7, 5}, {2, 9}, {23, 17}};
    forEverySampleType([&](auto tag) {
        using T = decltype(tag);
        for (Shape shape : shapes)
            expectMedianMatches<T>(SampleCode<T>::value, shape, {1, 2, 3, 4, 5, 6, 7, 15, 16, 41});
    });
}

TEST(FastMedian, PrimeSidedImagesMatchThePlainKernelForTheUsualSizes)
{
    forEverySampleType([](auto tag) {
        using T = decltype(tag);
        const QORDataTypes type = SampleCode<T>::value;
        expectMedianMatches<T>(type, Shape{131, 67}, {1, 2, 3, 4, 5, 7});
        expectMedianMatches<T>(type, Shape{67, 131}, {3, 5});
        expectMedianMatches<T>(type, Shape{61, 37}, {9, 15});
    });
}

TEST(FastMedian, NearEqualFloatingValuesTakeTheTolerantOrderingsMiddle)
{
    // Every window holds values the tolerant ordering calls equal although
    // they differ; whichever of them the stable sort leaves in the middle is
    // the answer, and the fast paths must find the same one.
    const int w = 37, h = 29;
    std::vector<float> singles(static_cast<size_t>(w) * h);
    std::vector<double> doubles(singles.size());
    std::mt19937 rng(4);
    for (size_t i = 0; i < singles.size(); ++i) {
        const float base = 0.05f + 0.001f * static_cast<float>(rng() % 4);
        singles[i] = rng() % 2 ? base : std::nextafter(base, 1.0f);
        doubles[i] = 1.0 + 3e-9 * static_cast<double>(rng() % 7);
        // Large values in the two outer columns on each side keep the edge
        // medians large, so only the inner pixels meet the near-equal values.
        const size_t x = i % w;
        if (x < 2 || x + 2 >= static_cast<size_t>(w)) singles[i] = 100.0f;
    }
    for (unsigned int n : {3u, 5u, 7u}) {
        std::vector<float> expectSingles(singles.size());
        std::vector<double> expectDoubles(doubles.size());
        reference::median(singles.data(), expectSingles.data(), w, h, n);
        reference::median(doubles.data(), expectDoubles.data(), w, h, n);
        CILImageBase a = makeImage<float>(eFloat, w, h, singles), b = makeImage<double>(eDouble, w, h, doubles);
        ASSERT_TRUE(a.Median(n));
        ASSERT_TRUE(b.Median(n));
        EXPECT_TRUE(sameBits(samplesOf<float>(a), expectSingles, w)) << "n = " << n;
        EXPECT_TRUE(sameBits(samplesOf<double>(b), expectDoubles, w)) << "n = " << n;
    }
}

TEST(FastMorphology, EveryRectangleMatchesThePlainKernelOnEveryType)
{
    const std::vector<std::pair<int, int>> sizes = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7},
                                                    {15, 15}, {3, 7}, {15, 1}, {1, 15}, {2, 5}, {8, 9},
                                                    {0, 3}, {3, -2}, {301, 301}, {300, 2}};
    const Shape shapes[] = {{1, 1}, {1, 17}, {17, 1}, {7, 5}, {131, 67}, {509, 3}, {3, 509}};
    forEverySampleType([&](auto tag) {
        using T = decltype(tag);
        for (Shape shape : shapes) expectMorphologyMatches<T>(SampleCode<T>::value, shape, sizes);
    });
}

TEST(FastMorphology, SignedZerosKeepWhicheverThePlainScanMeetsFirst)
{
    // Zeros of both signs are the extreme of the windows around rows 10 to
    // 12; a pixel that is not a zero itself takes the first zero the plain
    // scan meets, which the fast paths must reproduce. Rows far from them hold
    // one zero sign only and are free to go fast.
    const int w = 41, h = 37;
    for (bool erode : {true, false}) {
        const float background = erode ? 5.0f : -5.0f;
        std::vector<float> samples(static_cast<size_t>(w) * h, background);
        for (int y = 10; y <= 12; ++y)
            for (int x = 0; x < w; ++x)
                if (x % 4 == 1 || x % 4 == 3) samples[static_cast<size_t>(y) * w + x] = (x + y) % 3 ? 0.0f : -0.0f;
        for (int x = 0; x < w; x += 2) samples[static_cast<size_t>(30) * w + x] = -0.0f;
        samples[static_cast<size_t>(20) * w + 4] = std::numeric_limits<float>::quiet_NaN();
        CILImageBase image = makeImage<float>(eFloat, w, h, samples);
        for (int size : {1, 2, 3, 4, 7, 15}) {
            std::vector<float> expect(samples.size()), got(samples.size());
            reference::erodeDilate(samples.data(), expect.data(), w, h, size, size, erode);
            ASSERT_TRUE(erode ? image.Erode(size, size, got.data()) : image.Dilate(size, size, got.data()));
            EXPECT_TRUE(sameBits(got, expect, w)) << (erode ? "erode " : "dilate ") << size;
        }
    }
}

TEST(FastMorphology, InPlaceFormsGiveTheSameBytes)
{
    const int w = 131, h = 67;
    const std::vector<float> samples = samplesFor<float>(Content::Specials, static_cast<size_t>(w) * h, 77);
    std::vector<float> expect(samples.size());
    reference::erodeDilate(samples.data(), expect.data(), w, h, 7, 5, true);
    CILImageBase image = makeImage<float>(eFloat, w, h, samples);
    ASSERT_TRUE(image.Erode(7, 5, nullptr));
    EXPECT_TRUE(sameBits(samplesOf<float>(image), expect, w));
    std::vector<float> dilated(samples.size());
    reference::erodeDilate(expect.data(), dilated.data(), w, h, 15, 15, false);
    ASSERT_TRUE(image.Dilate(15, 15, nullptr));
    EXPECT_TRUE(sameBits(samplesOf<float>(image), dilated, w));
}
