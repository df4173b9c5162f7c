// The fast convolution, resampling, arithmetic and threshold give the bytes of
// the plain kernels (tests/reference), on random images of every sample type,
// degenerate and odd sizes, every kernel size up to one larger than the
// image, enlarging and shrinking factors, and special values: NaN, infinities,
// both zeros, the extremes of each type and results that wrap around.
//
// Samples are compared bit for bit, except that any NaN matches any NaN: the
// payload a NaN carries out of an operation on two different NaNs is not a
// value of the library's results.
#include "FilterTestSupport.h"
#include "reference/ReferenceKernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace {

// Widths reach past the 32-pixel blocks of the vector loops with a remainder.
const std::pair<int, int> kShapes[] = {{1, 1}, {1, 17}, {17, 1}, {2, 3}, {7, 5}, {37, 41}, {67, 13}, {131, 7}};

// Random samples over the type's whole range (floats: a wide range), with
// special values scattered in when `special` is set.
template <typename T>
std::vector<T> randomImageSamples(size_t count, uint32_t seed, bool special)
{
    std::mt19937 rng(seed);
    std::vector<T> out(count);
    for (T& v : out) {
        if constexpr (std::is_floating_point<T>::value)
            v = static_cast<T>(std::uniform_real_distribution<double>(-1000.0, 1000.0)(rng));
        else
            v = static_cast<T>(rng());
    }
    if (!special) return out;
    std::vector<T> specials = {std::numeric_limits<T>::max(), std::numeric_limits<T>::lowest(), T(0), T(1)};
    if constexpr (std::is_floating_point<T>::value) {
        specials.push_back(std::numeric_limits<T>::quiet_NaN());
        specials.push_back(std::numeric_limits<T>::infinity());
        specials.push_back(-std::numeric_limits<T>::infinity());
        specials.push_back(static_cast<T>(-0.0));
        specials.push_back(std::numeric_limits<T>::denorm_min());
    }
    for (size_t i = 0; i < count; i += 1 + rng() % 11) out[i] = specials[rng() % specials.size()];
    return out;
}

template <typename T>
bool sameSample(T a, T b)
{
    if constexpr (std::is_floating_point<T>::value) {
        if (std::isnan(a) && std::isnan(b)) return true;
    }
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Compares the samples of `image` with `expect`, naming the first difference.
template <typename T>
::testing::AssertionResult sameSamples(const CILImageBase& image, const std::vector<T>& expect)
{
    if (image.get_sizeinbytes() != expect.size() * sizeof(T))
        return ::testing::AssertionFailure() << "size " << image.get_sizeinbytes() << " vs " << expect.size() * sizeof(T);
    const std::vector<T> got = samplesOf<T>(image);
    for (size_t i = 0; i < got.size(); ++i)
        if (!sameSample(got[i], expect[i]))
            return ::testing::AssertionFailure()
                   << "sample " << i << ": " << +got[i] << " instead of " << +expect[i] << " (of " << got.size() << ")";
    return ::testing::AssertionSuccess();
}

std::string shapeName(const std::string& what, int w, int h)
{
    return what + " " + std::to_string(w) + "x" + std::to_string(h);
}

// Kernels of size n: random coefficients, a box, and huge coefficients whose
// sums leave the range of every integer type and of float.
std::vector<std::vector<double>> kernelsOfSize(unsigned int n, uint32_t seed)
{
    std::mt19937 rng(seed);
    const size_t count = static_cast<size_t>(n) * n;
    std::vector<double> random(count), box(count, count ? 1.0 / static_cast<double>(count) : 0.0), huge(count);
    for (size_t i = 0; i < count; ++i) {
        random[i] = std::uniform_real_distribution<double>(-2.0, 2.0)(rng);
        huge[i] = (i % 2 ? -1.0 : 1.0) * 1e36 * static_cast<double>(i + 1);
    }
    return {random, box, huge};
}

} // namespace

TEST(ConvolutionFastPath, EverySizeAndTypeGivesTheBytesOfThePlainKernel)
{
    forEverySampleType([](auto tag) {
        using T = decltype(tag);
        for (auto shape : kShapes) {
            const int w = shape.first, h = shape.second;
            for (bool special : {false, true}) {
                const std::vector<T> samples = randomImageSamples<T>(size_t(w) * h, w * 7 + h, special);
                CILImageBase image = makeImage<T>(SampleCode<T>::value, w, h, samples);
                const unsigned int larger = static_cast<unsigned int>(w > h ? w : h) + 1;
                for (unsigned int n : {0u, 1u, 2u, 3u, 4u, 5u, larger}) {
                    for (const std::vector<double>& kernel : kernelsOfSize(n, n * 3 + w)) {
                        SCOPED_TRACE(shapeName("type", w, h) + " " + std::to_string(SampleCode<T>::value) + " n " +
                                     std::to_string(n) + (special ? " special" : ""));
                        const double* coefficients = kernel.empty() ? nullptr : kernel.data();
                        CILImageBase dest;
                        ASSERT_EQ(image.filter(n, coefficients, dest), eILSuccess);
                        EXPECT_TRUE(sameSamples(dest, reference::convolve(samples, w, h, n, coefficients)));
                    }
                }
            }
        }
    });
}

TEST(ConvolutionFastPath, InPlaceAndBoxSmoothingMatchThePlainKernel)
{
    forEverySampleType([](auto tag) {
        using T = decltype(tag);
        const int w = 101, h = 23;
        const std::vector<T> samples = randomImageSamples<T>(size_t(w) * h, 77, true);
        for (unsigned int n : {3u, 5u}) {
            SCOPED_TRACE(std::to_string(SampleCode<T>::value) + " n " + std::to_string(n));
            const std::vector<double> box(size_t(n) * n, 1.0 / static_cast<double>(n * n));
            CILImageBase base = makeImage<T>(SampleCode<T>::value, w, h, samples);
            ASSERT_EQ(base.filter(n, box.data()), eILSuccess);
            const std::vector<T> expect = reference::convolve(samples, w, h, n, box.data());
            EXPECT_TRUE(sameSamples(base, expect));
            CILImage image, smoothed;
            image.initWithData(SampleCode<T>::value, w, h, const_cast<T*>(samples.data()));
            ASSERT_EQ(image.filter(n, smoothed, eSmoothBoxFilter), eILSuccess);
            EXPECT_TRUE(sameSamples(smoothed, expect));
        }
    });
}

TEST(ConvolutionFastPath, IntegerResultsWrapAndFloatResultsOverflowLikeThePlainKernel)
{
    // Interior values chosen to land on the storage rules: floor of negative
    // fractions, wrap-around of large sums, -2147483648 beyond the 32-bit
    // range, and infinity beyond the float range.
    const int w = 40, h = 3;
    const double scales[] = {-1.0, -0.5, 3.0, 1e3, 1e9, 1e30, 1e300};
    for (double scale : scales) {
        SCOPED_TRACE(scale);
        const double kernel[9] = {0, 0, 0, 0, scale, 0, 0, 0, 0};
        forEverySampleType([&](auto tag) {
            using T = decltype(tag);
            std::vector<T> samples(size_t(w) * h);
            for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<T>(i * 37 % 251 + 1);
            CILImageBase image = makeImage<T>(SampleCode<T>::value, w, h, samples), dest;
            ASSERT_EQ(image.filter(3, kernel, dest), eILSuccess);
            EXPECT_TRUE(sameSamples(dest, reference::convolve(samples, w, h, 3, kernel)));
        });
    }
}

TEST(ConvolutionFastPath, SignedZerosStartFromPositiveZeroLikeThePlainKernel)
{
    // Every sum starts at +0, so a window of -0 samples gives +0 whatever the
    // coefficients' signs, in whole and in cut windows alike.
    const int w = 70, h = 6;
    const double plus[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1}, minus[9] = {-1, 2, -3, 4, -5, 6, -7, 8, -9};
    auto check = [&](auto tag) {
        using T = decltype(tag);
        const std::vector<T> zeros(size_t(w) * h, static_cast<T>(-0.0));
        CILImageBase image = makeImage<T>(SampleCode<T>::value, w, h, zeros), dest;
        for (const double* kernel : {plus, minus}) {
            ASSERT_EQ(image.filter(3, kernel, dest), eILSuccess);
            const std::vector<T> expect = reference::convolve(zeros, w, h, 3, kernel);
            EXPECT_FALSE(std::signbit(expect[w + 1]));
            EXPECT_TRUE(sameSamples(dest, expect));
        }
    };
    check(float());
    check(double());
}

TEST(ConvolutionFastPath, FloatResultsRoundAtTheTopOfTheRangeLikeThePlainKernel)
{
    // Doubles just above the largest float round down to it, those from the
    // half-way point up become infinity.
    const double largest = std::numeric_limits<float>::max(), halfway = 3.4028235677973366e38;
    const double values[] = {largest, std::nextafter(largest, 1e300), std::nextafter(halfway, 0.0), halfway,
                             -halfway, -std::nextafter(halfway, 0.0), 1e39, 1e-46, -1e-46};
    const int w = 37, h = 2;
    const std::vector<float> ones(size_t(w) * h, 1.0f);
    CILImageBase image = makeImage<float>(eFloat, w, h, ones), dest;
    for (double v : values) {
        SCOPED_TRACE(v);
        ASSERT_EQ(image.filter(1, &v, dest), eILSuccess);
        EXPECT_TRUE(sameSamples(dest, reference::convolve(ones, w, h, 1, &v)));
    }
}

TEST(ResampleFastPath, NearestAndBilinearGiveTheBytesOfThePlainKernels)
{
    // New sides as fractions of the old ones: halving, doubling, odd and
    // non-integer factors, the same size, and single rows and columns.
    const std::pair<double, double> factors[] = {{0.5, 0.5}, {2.0, 2.0}, {1.0, 1.0}, {0.37, 1.7}, {3.0, 0.34},
                                                 {1.3, 2.6}, {0.01, 1.0}, {1.0, 0.01}, {5.5, 4.25}};
    forEverySampleType([&](auto tag) {
        using T = decltype(tag);
        for (auto shape : kShapes) {
            const uint32_t w = shape.first, h = shape.second;
            const std::vector<T> samples = randomImageSamples<T>(size_t(w) * h, w * 13 + h, true);
            CILImageBase image = makeImage<T>(SampleCode<T>::value, w, h, samples);
            for (auto factor : factors) {
                const uint32_t nw = std::max(1, static_cast<int>(w * factor.first));
                const uint32_t nh = std::max(1, static_cast<int>(h * factor.second));
                SCOPED_TRACE(shapeName("from", w, h) + shapeName(" to", nw, nh) + " type " +
                             std::to_string(SampleCode<T>::value));
                CILImageBase dest;
                ASSERT_EQ(image.upSample(dest, nw, nh, eResampleNearest), eILSuccess);
                EXPECT_TRUE(sameSamples(dest, reference::resampleNearest(samples, w, h, nw, nh)));
                ASSERT_EQ(image.downSample(dest, nw, nh, eResampleBilinear), eILSuccess);
                EXPECT_TRUE(sameSamples(dest, reference::resampleBilinear(samples, w, h, nw, nh)));
            }
        }
    });
}

TEST(ResampleFastPath, LongRowsWhosePositionsDriftStayOnThePlainIndices)
{
    // Thousands of single-precision additions drift; near the end of a long
    // row the accumulated position can pass the last sample, which is then
    // read again. Wide sources also give the vector gathers whole blocks.
    forEverySampleType([](auto tag) {
        using T = decltype(tag);
        const std::pair<uint32_t, uint32_t> cases[][2] = {{{7, 3}, {50021, 5}},  {{3001, 2}, {4999, 3}},
                                                          {{4093, 3}, {2047, 2}}, {{997, 61}, {1993, 121}},
                                                          {{1000, 5}, {333, 17}}, {{257, 9}, {513, 3}}};
        for (const auto& c : cases) {
            const uint32_t w = c[0].first, h = c[0].second, nw = c[1].first, nh = c[1].second;
            SCOPED_TRACE(shapeName("from", w, h) + shapeName(" to", nw, nh));
            const std::vector<T> samples = randomImageSamples<T>(size_t(w) * h, w + nh, true);
            CILImageBase image = makeImage<T>(SampleCode<T>::value, w, h, samples), dest;
            ASSERT_EQ(image.upSample(dest, nw, nh, eResampleNearest), eILSuccess);
            EXPECT_TRUE(sameSamples(dest, reference::resampleNearest(samples, w, h, nw, nh)));
            ASSERT_EQ(image.upSample(dest, nw, nh, eResampleBilinear), eILSuccess);
            EXPECT_TRUE(sameSamples(dest, reference::resampleBilinear(samples, w, h, nw, nh)));
        }
    });
}

TEST(ResampleFastPath, InPlaceFormsMatchTheDestinationForms)
{
    forEverySampleType([](auto tag) {
        using T = decltype(tag);
        const uint32_t w = 53, h = 29;
        const std::vector<T> samples = randomImageSamples<T>(size_t(w) * h, 5, true);
        for (IL_RESAMPLEMODES mode : {eResampleNearest, eResampleBilinear}) {
            CILImageBase image = makeImage<T>(SampleCode<T>::value, w, h, samples);
            ASSERT_EQ(image.upSample(106, 58, mode), eILSuccess);
            EXPECT_TRUE(sameSamples(image, mode == eResampleNearest ? reference::resampleNearest(samples, w, h, 106, 58)
                                                                    : reference::resampleBilinear(samples, w, h, 106, 58)));
        }
    });
}

namespace {

const reference::Arith kImageOps[] = {reference::kAdd, reference::kSubtract, reference::kMultiply, reference::kDivide};

template <typename T>
CILImageBase applyImageOp(CILImageBase& a, const CILImageBase& b, reference::Arith op)
{
    switch (op) {
    case reference::kAdd: return a + b;
    case reference::kSubtract: return a - b;
    case reference::kMultiply: return a * b;
    case reference::kDivide: break;
    }
    return a / b;
}

template <typename T>
void applyCompound(CILImageBase& a, const CILImageBase& b, reference::Arith op)
{
    switch (op) {
    case reference::kAdd: a += b; return;
    case reference::kSubtract: a -= b; return;
    case reference::kMultiply: a *= b; return;
    case reference::kDivide: a /= b; return;
    }
}

// Samples with many zeros (divisors) and ones and minus ones (the wrapping
// quotient of the smallest 32-bit value).
template <typename T>
std::vector<T> operandSamples(size_t count, uint32_t seed)
{
    std::vector<T> samples = randomImageSamples<T>(count, seed, true);
    for (size_t i = 0; i < count; i += 5) samples[i] = T(0);
    if constexpr (std::is_signed<T>::value)
        for (size_t i = 3; i < count; i += 13) samples[i] = T(-1);
    return samples;
}

} // namespace

TEST(ArithmeticFastPath, ImageImageOperatorsGiveTheBytesOfThePlainLoops)
{
    // Equal sides (one run), and every mix of wider, taller and smaller
    // right operands (row by row with padding).
    const std::pair<int, int> rightShapes[] = {{67, 13}, {40, 13}, {67, 5}, {80, 20}, {1, 1}, {131, 2}};
    forEverySampleType([&](auto tag) {
        using T = decltype(tag);
        const int aw = 67, ah = 13;
        const std::vector<T> a = operandSamples<T>(size_t(aw) * ah, 1);
        for (auto shape : rightShapes) {
            const int bw = shape.first, bh = shape.second;
            const std::vector<T> b = operandSamples<T>(size_t(bw) * bh, bw * bh);
            for (reference::Arith op : kImageOps) {
                SCOPED_TRACE(shapeName("right", bw, bh) + " op " + std::to_string(op) + " type " +
                             std::to_string(SampleCode<T>::value));
                CILImageBase left = makeImage<T>(SampleCode<T>::value, aw, ah, a);
                const CILImageBase right = makeImage<T>(SampleCode<T>::value, bw, bh, b);
                EXPECT_TRUE(sameSamples(applyImageOp<T>(left, right, op), reference::canvas(op, a, aw, ah, b, bw, bh)));
                // Compound: the first min(W) x min(H) samples in memory order.
                std::vector<T> expect = a;
                reference::compound(op, expect, b, size_t(std::min(aw, bw)) * std::min(ah, bh));
                applyCompound<T>(left, right, op);
                EXPECT_TRUE(sameSamples(left, expect));
            }
        }
    });
}

TEST(ArithmeticFastPath, CompoundFormsWithMixedTypesAndWithThemselvesMatchThePlainLoops)
{
    const int w = 45, h = 7;
    forEverySampleType([&](auto leftTag) {
        using A = decltype(leftTag);
        forEverySampleType([&](auto rightTag) {
            using B = decltype(rightTag);
            const std::vector<A> a = operandSamples<A>(size_t(w) * h, 3);
            std::vector<B> b = operandSamples<B>(size_t(w) * h, 4);
            // A divisor that only becomes 0 by the cast would be an integer
            // division by zero in the plain loop too; it is defined as 0.
            for (reference::Arith op : kImageOps) {
                SCOPED_TRACE(std::to_string(SampleCode<A>::value) + " op= " + std::to_string(SampleCode<B>::value) +
                             " op " + std::to_string(op));
                CILImageBase left = makeImage<A>(SampleCode<A>::value, w, h, a);
                applyCompound<A>(left, makeImage<B>(SampleCode<B>::value, w, h, b), op);
                std::vector<A> expect = a;
                reference::compound(op, expect, b, b.size());
                EXPECT_TRUE(sameSamples(left, expect));
            }
        });
        // a op= a: both operands are the same buffer.
        for (reference::Arith op : kImageOps) {
            const std::vector<A> a = operandSamples<A>(size_t(w) * h, 5);
            CILImageBase image = makeImage<A>(SampleCode<A>::value, w, h, a);
            applyCompound<A>(image, image, op);
            std::vector<A> expect = a;
            reference::compound(op, expect, a, a.size());
            EXPECT_TRUE(sameSamples(image, expect));
        }
    });
}

TEST(ArithmeticFastPath, ScalarOperatorsGiveTheBytesOfThePlainLoops)
{
    // Scalars that truncate, wrap in the narrow types, divide by zero, and
    // the float forms' rounding.
    const double scalars[] = {0.0, 1.0, -1.0, 2.9, -7.5, 0.1, 300.0, 65537.0, -2147483648.0, 1e10, 1e-40};
    forEverySampleType([&](auto tag) {
        using T = decltype(tag);
        for (auto shape : kShapes) {
            const int w = shape.first, h = shape.second;
            const std::vector<T> samples = operandSamples<T>(size_t(w) * h, w + 3 * h);
            CILImageBase image = makeImage<T>(SampleCode<T>::value, w, h, samples);
            for (double s : scalars) {
                SCOPED_TRACE(shapeName("type " + std::to_string(SampleCode<T>::value) + " scalar " + std::to_string(s), w,
                                       h));
                const T f = reference::scalarForm<T>(s);
                EXPECT_TRUE(sameSamples(image + s, reference::scalarOp(reference::kAdd, samples, f, false)));
                // Subtraction adds the negated form: two's complement for
                // integers, a change of sign for floats (so 0 becomes -0).
                T negated;
                if constexpr (std::is_floating_point<T>::value)
                    negated = -f;
                else
                    negated = reference::arith(reference::kSubtract, T(0), f);
                EXPECT_TRUE(sameSamples(image - s, reference::scalarOp(reference::kAdd, samples, negated, false)));
                EXPECT_TRUE(sameSamples(image * s, reference::scalarOp(reference::kMultiply, samples, f, false)));
                EXPECT_TRUE(sameSamples(image / s, reference::scalarOp(reference::kDivide, samples, f, false)));
                EXPECT_TRUE(sameSamples(image.divideScalarbyImage(s),
                                        reference::scalarOp(reference::kDivide, samples, f, true)));
                const int32_t whole = reference::truncToInt32(s);
                const T wholeForm = reference::scalarForm<T>(whole);
                CILImage display;
                display.initWithData(SampleCode<T>::value, w, h, const_cast<T*>(samples.data()));
                EXPECT_TRUE(sameSamples(whole - display,
                                        reference::scalarOp(reference::kSubtract, samples, wholeForm, true)));
                EXPECT_TRUE(sameSamples(whole / display,
                                        reference::scalarOp(reference::kDivide, samples, wholeForm, true)));
                // The in-place forms of CILImage.
                display *= s;
                EXPECT_TRUE(sameSamples(display, reference::scalarOp(reference::kMultiply, samples, f, false)));
                display.initWithData(SampleCode<T>::value, w, h, const_cast<T*>(samples.data()));
                display -= s;
                EXPECT_TRUE(sameSamples(display, reference::scalarOp(reference::kAdd, samples, negated, false)));
            }
        }
    });
}

TEST(ThresholdFastPath, MasksGiveTheBytesOfThePlainComparison)
{
    // Thresholds on both sides of each type's rounding, the float band around
    // zero, out-of-range values and NaN.
    const float thresholds[] = {0.0f,    0.004f,  -0.02f, 1.0f,     127.5f, 99.9f,       -3.0f,
                                300.0f,  65535.f, 1e10f,  -1e10f,   0.5f,   std::nanf(""), 2147483520.0f};
    forEverySampleType([&](auto tag) {
        using T = decltype(tag);
        for (auto shape : kShapes) {
            const int w = shape.first, h = shape.second;
            std::vector<T> samples = randomImageSamples<T>(size_t(w) * h, w * 5 + h, true);
            // Samples right at the effective thresholds.
            for (size_t i = 2; i < samples.size(); i += 7) samples[i] = reference::thresholdLimit<T>(thresholds[i % 14]);
            CILImageBase image = makeImage<T>(SampleCode<T>::value, w, h, samples);
            for (float t : thresholds) {
                SCOPED_TRACE(shapeName("type " + std::to_string(SampleCode<T>::value) + " t " + std::to_string(t), w, h));
                const std::vector<char> expect = reference::threshold(samples, t);
                std::vector<char> mask(samples.size(), 7);
                ASSERT_TRUE(image.Threshold(t, mask.data()));
                EXPECT_EQ(mask, expect);
                CILImageBase inPlace = makeImage<T>(SampleCode<T>::value, w, h, samples);
                ASSERT_TRUE(inPlace.Threshold(t, nullptr));
                EXPECT_EQ(inPlace.get_datatype(), eByte);
                EXPECT_EQ(samplesOf<char>(inPlace), expect);
            }
        }
    });
}
