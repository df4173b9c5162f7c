// Contour tracing: the Moore tracer (start search, ring order, the walk
// through neighbours equal to 1, the two laps cut to one), the crack follower
// over pixel corners, and the chain clean-ups.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace {

typedef std::vector<std::pair<int, int>> Points;

// A trace record whose arrays hold `capacity` entries, preset to -1.
struct Chain {
    explicit Chain(size_t capacity) : xs(capacity, -1), ys(capacity, -1), codes(capacity, -1)
    {
        info.nNumPoints = -7;
        info.pXPoints = xs.data();
        info.pYPoints = ys.data();
        info.nStartX = 0;
        info.nStartY = 0;
        info.pDirections = codes.data();
    }
    Chain(const Chain&) = delete;

    // Loads (x, y) points into the record.
    void set(const Points& points)
    {
        for (size_t k = 0; k < points.size(); ++k) {
            xs[k] = points[k].first;
            ys[k] = points[k].second;
        }
        info.nNumPoints = static_cast<int32_t>(points.size());
    }
    Points points() const
    {
        Points out;
        for (int32_t k = 0; k < info.nNumPoints; ++k) out.push_back({xs[k], ys[k]});
        return out;
    }
    std::vector<int32_t> firstCodes(int32_t n) const { return std::vector<int32_t>(codes.begin(), codes.begin() + n); }

    std::vector<int32_t> xs, ys, codes;
    tagContourTraceInfo info;
};

// A width x height byte picture of zeros with `value` at the given (x, y).
std::vector<uint8_t> picture(int width, int height, const Points& pixels, uint8_t value = 1)
{
    std::vector<uint8_t> samples(static_cast<size_t>(width) * height, 0);
    for (const auto& p : pixels) samples[p.second * width + p.first] = value;
    return samples;
}

Points square(int first, int last)
{
    Points pixels;
    for (int y = first; y <= last; ++y)
        for (int x = first; x <= last; ++x) pixels.push_back({x, y});
    return pixels;
}

} // namespace

TEST(ContourTrace, AFilledSquareIsTracedTwiceAndCutToOneClosedLap)
{
    // The start is the bottom-left pixel: columns are searched left to
    // right, each from the bottom up.
    const Points lap{{1, 3}, {1, 2}, {1, 1}, {2, 1}, {3, 1}, {3, 2}, {3, 3}, {2, 3}, {1, 3}};
    const std::vector<uint8_t> bytes = picture(5, 5, square(1, 3));
    CILImageBase byteImage = makeImage<uint8_t>(eByte, 5, 5, bytes);
    CILImageBase floatImage = makeImage<float>(eFloat, 5, 5, std::vector<float>(bytes.begin(), bytes.end()));
    for (CILImageBase* image : {&byteImage, &floatImage}) {
        Chain chain(26);
        std::vector<char> out(25, 5);
        ASSERT_TRUE(image->ContourTrace(&chain.info, 1, out.data()));
        EXPECT_EQ(chain.points(), lap);
        // The last code steps to the entry past the chain, which still holds
        // the second lap's second point.
        EXPECT_EQ(chain.firstCodes(9), (std::vector<int32_t>{6, 6, 0, 0, 2, 2, 4, 4, 6}));
        EXPECT_EQ(out, std::vector<char>(25, 5));  // never written
    }
}

TEST(ContourTrace, ALonePixelStepsOffAndBackAndStaysUnreduced)
{
    CILImageBase image = makeImage<uint8_t>(eByte, 5, 5, picture(5, 5, {{2, 2}}));
    Chain chain(26);
    std::vector<char> out(25, 0);
    ASSERT_TRUE(image.ContourTrace(&chain.info, 1, out.data()));
    // No neighbour is 1: the walk moves to ring position 6, comes back, and
    // then stays (its backtrack is position 7). Four points: an even count.
    EXPECT_EQ(chain.points(), (Points{{2, 2}, {1, 3}, {2, 2}, {2, 2}}));
    EXPECT_EQ(chain.firstCodes(3), (std::vector<int32_t>{3, 7, 0}));
}

TEST(ContourTrace, TheStartIsFoundByValueButTheWalkOnlyFollowsOnes)
{
    // The start holds 7, so the walk never comes back to it; a walk longer
    // than the image has pixels is refused and the record left alone.
    std::vector<uint8_t> samples = picture(5, 5, square(1, 3));
    samples[3 * 5 + 1] = 7;
    CILImageBase image = makeImage<uint8_t>(eByte, 5, 5, samples);
    Chain chain(26);
    std::vector<char> out(25, 0);
    EXPECT_FALSE(image.ContourTrace(&chain.info, 7, out.data()));
    EXPECT_EQ(chain.info.nNumPoints, -7);
    EXPECT_EQ(chain.xs, std::vector<int32_t>(26, -1));
}

TEST(ContourTrace, WithoutAnOutputBufferTheImageBecomesAByteImageOfZeros)
{
    const std::vector<uint8_t> bytes = picture(5, 5, square(1, 3));
    CILImageBase image = makeImage<uint16_t>(eUShort, 5, 5, std::vector<uint16_t>(bytes.begin(), bytes.end()));
    Chain chain(26);
    ASSERT_TRUE(image.ContourTrace(&chain.info, 1, nullptr));
    EXPECT_EQ(chain.info.nNumPoints, 9);
    EXPECT_EQ(image.get_datatype(), eByte);
    EXPECT_EQ(samplesOf<uint8_t>(image), std::vector<uint8_t>(25, 0));

    CILImageBase empty;
    EXPECT_FALSE(empty.ContourTrace(&chain.info, 1, nullptr));
}

TEST(ContourTrace, TheImageFormMakesAZeroedByteDestination)
{
    const std::vector<uint8_t> bytes = picture(5, 5, square(1, 3));
    std::vector<int32_t> longs(bytes.begin(), bytes.end());
    CILImage image;
    ASSERT_TRUE(image.initWithData(eLong, 5, 5, longs.data()));
    CILImage dest;
    Chain chain(26);
    ASSERT_TRUE(image.ContourTrace(dest, &chain.info, 1));
    EXPECT_EQ(dest.get_datatype(), eByte);
    EXPECT_EQ(samplesOf<uint8_t>(dest), std::vector<uint8_t>(25, 0));
    EXPECT_EQ(chain.info.nNumPoints, 9);
    // Tracing into itself would re-shape the very samples being traced.
    EXPECT_FALSE(image.ContourTrace(image, &chain.info, 1));
    EXPECT_EQ(image.get_datatype(), eLong);
}

TEST(ContourTraceCore, CornersAreFollowedClockwiseFromACrossedStart)
{
    // Pixels rows 2..3, columns 1..2; the start corner is row 2 (nStartX),
    // column 1 (nStartY). On output the fields hold x 1, y 2.
    CILImageBase image = makeImage<uint8_t>(eByte, 5, 5, std::vector<uint8_t>(25, 0));
    std::vector<uint8_t> labels = picture(5, 5, {{1, 2}, {2, 2}, {1, 3}, {2, 3}});
    Chain chain(26);
    chain.info.nStartX = 2;
    chain.info.nStartY = 1;
    ASSERT_TRUE(image.ContourTrace_Core(labels.data(), &chain.info, 1));
    EXPECT_EQ(chain.points(), (Points{{1, 2}, {2, 2}, {3, 2}, {3, 3}, {3, 4}, {2, 4}, {1, 4}, {1, 3}, {1, 2}}));
    EXPECT_EQ(chain.info.nStartX, 1);
    EXPECT_EQ(chain.info.nStartY, 2);
    EXPECT_EQ(chain.firstCodes(8), (std::vector<int32_t>{0, 0, 2, 2, 4, 4, 6, 6}));
}

TEST(ContourTraceCore, CornersOnTheLastRowAndColumnAreReportedOneLessAndRepeatsRemoved)
{
    // Pixels rows 1..2, columns 1..2 of a 3 x 3 image. The walk's corners
    // (1,3), (2,3), (3,3), (3,2), (3,1) are reported as row 2 / column 2,
    // and the repeats that makes are removed.
    CILImageBase image = makeImage<uint8_t>(eByte, 3, 3, std::vector<uint8_t>(9, 0));
    std::vector<uint8_t> labels = picture(3, 3, {{1, 1}, {2, 1}, {1, 2}, {2, 2}}, 4);
    Chain chain(10);
    chain.info.nStartX = 1;
    chain.info.nStartY = 1;
    ASSERT_TRUE(image.ContourTrace_Core(labels.data(), &chain.info, 4));
    EXPECT_EQ(chain.points(), (Points{{1, 1}, {2, 1}, {2, 2}, {1, 2}, {1, 1}}));
    // The last code steps to what the entry past the chain still holds from
    // before the repeats were removed: (2, 2), one step right and down.
    EXPECT_EQ(chain.firstCodes(5), (std::vector<int32_t>{0, 2, 4, 6, 1}));
}

TEST(ContourTraceCore, WalksThatCannotCloseAreRefused)
{
    CILImageBase image = makeImage<uint8_t>(eByte, 3, 3, std::vector<uint8_t>(9, 0));
    // An object on row 0: along the top the walk only ever steps right.
    std::vector<uint8_t> top = picture(3, 3, {{0, 0}, {1, 0}});
    Chain chain(10);
    EXPECT_FALSE(image.ContourTrace_Core(top.data(), &chain.info, 1));
    EXPECT_EQ(chain.info.nNumPoints, -7);
    // A start off the corner grid (rows and columns 0..3).
    std::vector<uint8_t> inner = picture(3, 3, {{1, 1}});
    chain.info.nStartX = 4;
    chain.info.nStartY = 1;
    EXPECT_FALSE(image.ContourTrace_Core(inner.data(), &chain.info, 1));
    chain.info.nStartX = 1;
    EXPECT_FALSE(image.ContourTrace_Core(nullptr, &chain.info, 1));
    EXPECT_TRUE(image.ContourTrace_Core(inner.data(), &chain.info, 1));
    EXPECT_EQ(chain.points(), (Points{{1, 1}, {2, 1}, {2, 2}, {1, 2}, {1, 1}}));
}

TEST(ContourChain, GapsAreBridgedWithLinePointsJudgedOnTheCrossedIndex)
{
    CILImageBase image = makeImage<uint8_t>(eByte, 8, 8, std::vector<uint8_t>(64, 0));
    Chain chain(65);
    chain.set({{2, 2}, {5, 2}, {5, 3}, {7, 4}});
    image.SmoothContourPts(&chain.info);
    // The line through (6, 3.5) is half-way: it stays on the start's row.
    EXPECT_EQ(chain.points(), (Points{{2, 2}, {3, 2}, {4, 2}, {5, 2}, {5, 3}, {6, 3}, {7, 4}}));

    // 2 wide, 8 high: (0, 4) and (1, 2) share the index x * 2 + y = 4, so
    // they count as neighbours and nothing is inserted.
    CILImageBase tall = makeImage<uint8_t>(eByte, 2, 8, std::vector<uint8_t>(16, 0));
    Chain crossed(17);
    crossed.set({{0, 4}, {1, 2}});
    tall.SmoothContourPts(&crossed.info);
    EXPECT_EQ(crossed.points(), (Points{{0, 4}, {1, 2}}));

    // A bridge that would not fit width x height points leaves the chain.
    CILImageBase small = makeImage<uint8_t>(eByte, 3, 3, std::vector<uint8_t>(9, 0));
    Chain far(10);
    far.set({{0, 0}, {20, 0}});
    small.SmoothContourPts(&far.info);
    EXPECT_EQ(far.points(), (Points{{0, 0}, {20, 0}}));
}

TEST(ContourChain, OnlyAnOddChainWithEqualHalvesIsCutToOneLap)
{
    CILImageBase image = makeImage<uint8_t>(eByte, 4, 4, std::vector<uint8_t>(16, 0));
    Chain twice(17);
    twice.set({{1, 1}, {2, 1}, {2, 2}, {1, 1}, {2, 1}, {2, 2}, {1, 1}});
    image.RemoveMultipleEntriesInContourTrace(&twice.info);
    EXPECT_EQ(twice.points(), (Points{{1, 1}, {2, 1}, {2, 2}, {1, 1}}));

    const Points differing{{1, 1}, {2, 1}, {2, 2}, {1, 1}, {2, 1}, {3, 2}, {1, 1}};
    Chain other(17);
    other.set(differing);
    image.RemoveMultipleEntriesInContourTrace(&other.info);
    EXPECT_EQ(other.points(), differing);

    const Points even{{1, 1}, {2, 1}, {1, 1}, {2, 1}};
    Chain pairs(17);
    pairs.set(even);
    image.RemoveMultipleEntriesInContourTrace(&pairs.info);
    EXPECT_EQ(pairs.points(), even);
}

TEST(ContourChain, ConsecutiveRepeatsAreDroppedAndTheOrderKept)
{
    CILImageBase image = makeImage<uint8_t>(eByte, 4, 4, std::vector<uint8_t>(16, 0));
    Chain chain(17);
    chain.set({{1, 1}, {1, 1}, {2, 1}, {2, 1}, {2, 1}, {1, 1}, {2, 2}, {2, 2}});
    image.RemoveMultipleEntriesInContour(&chain.info);
    EXPECT_EQ(chain.points(), (Points{{1, 1}, {2, 1}, {1, 1}, {2, 2}}));
}
