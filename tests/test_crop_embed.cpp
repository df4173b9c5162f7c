// Crop, embed and corner clipping: status codes, clipping and the
// deliberately asymmetric corner triangles.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <vector>

namespace {

// A 4 x 3 byte image whose sample (x, y) is 10 * y + x.
CILImageBase grid()
{
    return makeImage<uint8_t>(eByte, 4, 3, {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23});
}

CILImageBase filled(int width, int height, uint8_t value)
{
    return makeImage<uint8_t>(eByte, width, height, std::vector<uint8_t>(static_cast<size_t>(width * height), value));
}

// Rows of an image as strings of '#' (value `mark`) and '.' (anything else).
std::vector<std::string> rowsMarked(const CILImageBase& image, uint8_t mark)
{
    const std::vector<uint8_t> samples = samplesOf<uint8_t>(image);
    std::vector<std::string> rows;
    for (uint32_t y = 0; y < image.get_height(); ++y) {
        std::string row;
        for (uint32_t x = 0; x < image.get_width(); ++x) row += samples[y * image.get_width() + x] == mark ? '#' : '.';
        rows.push_back(row);
    }
    return rows;
}

} // namespace

TEST(Crop, ClipsToTheImageAndSaysSo)
{
    const CILImageBase image = grid();
    CILImageBase source = image;
    CILImageBase dest;
    EXPECT_EQ(source.crop(-5, -5, 9, 8, dest), eILClipped);
    EXPECT_EQ(dest == image, 1);
    EXPECT_EQ(source.crop(0, 0, 4, 3, dest), eILSuccess);
    EXPECT_EQ(dest == image, 1);

    EXPECT_EQ(source.crop(1, 1, 3, 3, dest), eILSuccess);
    EXPECT_EQ(dest.get_width(), 2u);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{11, 12, 21, 22}));
    EXPECT_EQ(source.crop(2, -1, 10, 2, dest), eILClipped);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{2, 3, 12, 13}));
    EXPECT_EQ(source.crop(INT_MIN, 2, INT_MAX, INT_MAX, dest), eILClipped);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{20, 21, 22, 23}));

    // Zero width with a positive height is a valid, empty result.
    EXPECT_EQ(source.crop(2, 0, 2, 3, dest), eILSuccess);
    EXPECT_EQ(dest.get_width(), 0u);
    EXPECT_EQ(dest.get_height(), 3u);

    // In place, on 8-byte samples.
    CILImageBase doubles = makeImage<double>(eDouble, 3, 2, {0.5, 1.5, 2.5, 3.5, 4.5, 5.5});
    EXPECT_EQ(doubles.crop(1, 0, 3, 5), eILClipped);
    EXPECT_EQ(samplesOf<double>(doubles), (std::vector<double>{1.5, 2.5, 4.5, 5.5}));
    EXPECT_EQ(source == image, 1);
}

TEST(Crop, RefusesNegativeExtentsAndMissingData)
{
    CILImageBase image = grid();
    // One negative extent times a non-zero one cannot be shaped; two
    // negative extents, or a negative and a zero one, are bad regions.
    EXPECT_EQ(image.crop(3, 0, 1, 2), eILAllocFailed);
    EXPECT_EQ(image.crop(10, 0, 20, 2), eILAllocFailed);   // left beyond the right edge
    EXPECT_EQ(image.crop(10, 0, INT_MIN, 1), eILAllocFailed);  // no overflow to a positive width
    EXPECT_EQ(image.crop(3, 2, 1, 1), eILInvalidArgument);
    EXPECT_EQ(image.crop(3, 1, 1, 1), eILInvalidArgument);
    EXPECT_EQ(image == grid(), 1);

    CILImageBase none;
    CILImageBase dest;
    EXPECT_EQ(none.crop(0, 0, 1, 1, dest), eILNoData);
    EXPECT_EQ(none.crop(0, 0, 1, 1), eILNoData);
}

TEST(Crop, DisplayImagesRefreshOrInheritTheirState)
{
    CILImage image(grid());
    image.RefreshImageStats();
    image.setGamma(0.5f);
    CILImage dest;
    EXPECT_EQ(image.crop(0, 0, 2, 2, dest), eILSuccess);
    EXPECT_EQ(dest.getMax(), 11.0f);
    EXPECT_EQ(dest.getGamma(), 0.5f);
    EXPECT_EQ(image.crop(2, 1, 9, 9), eILClipped);
    EXPECT_EQ(image.getMin(), 12.0f);
    EXPECT_EQ(image.crop(5, 0, 9, 9), eILAllocFailed);
    EXPECT_EQ(image.getMin(), 12.0f);
}

TEST(Embed, PastesAtAPositionAndClipsAtTheEdges)
{
    CILImageBase image = filled(4, 3, 0);
    CILImageBase patch = makeImage<uint8_t>(eByte, 3, 2, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(image.embed(&patch, 1, 0, eEmbedByClipping), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{0, 1, 2, 3, 0, 4, 5, 6, 0, 0, 0, 0}));

    // Clipped on both sides; the patch keeps its own row stride. Still 0.
    image = filled(4, 3, 0);
    EXPECT_EQ(image.embed(&patch, 2, 1, eEmbedByClipping), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{0, 0, 0, 0, 0, 0, 1, 2, 0, 0, 4, 5}));
    image = filled(4, 3, 0);
    EXPECT_EQ(image.embed(&patch, 3, 2, eEmbedByClipping), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(image), (std::vector<uint8_t>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));

    // 16-bit samples travel whole.
    CILImageBase shorts = makeImage<uint16_t>(eUShort, 2, 1, {0, 0});
    CILImageBase shortPatch = makeImage<uint16_t>(eUShort, 1, 1, {65535});
    EXPECT_EQ(shorts.embed(&shortPatch, 1, 0, eEmbedByClipping), eILSuccess);
    EXPECT_EQ(samplesOf<uint16_t>(shorts), (std::vector<uint16_t>{0, 65535}));
}

TEST(Embed, ReportsItsCodesInOrder)
{
    CILImageBase image = filled(4, 3, 7);
    CILImageBase patch = filled(2, 2, 1);
    CILImageBase floats = makeImage<float>(eFloat, 1, 1, {1.0f});
    CILImageBase none;
    EXPECT_EQ(image.embed(nullptr, 0, 0, eEmbedByClipping), eILNoData);
    EXPECT_EQ(none.embed(&patch, 0, 0, eEmbedByClipping), eILNoData);
    EXPECT_EQ(image.embed(&floats, 4, 0, eEmbedByClipping), eILInvalidArgument);  // position before type
    EXPECT_EQ(image.embed(&patch, 0, 3, eEmbedByClipping), eILInvalidArgument);
    EXPECT_EQ(image.embed(&floats, 0, 0, eEmbedByClipping), eILTypeMismatch);
    {
        AssertRecorder asserts;
        EXPECT_EQ(image.embed(&patch, 0, 0, static_cast<eEmbedTypes>(2)), eILTypeMismatch);
        EXPECT_TRUE(asserts.saw(L"eMode == eEmbedByClipping", L"ImageLib/Source/ILImageBase_Procs"));
    }
    EXPECT_EQ(image == filled(4, 3, 7), 1);

    // Into a destination: the image is copied, then the patch pasted there.
    CILImageBase dest;
    EXPECT_EQ(image.embed(dest, &patch, 3, 1, eEmbedByClipping), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(dest), (std::vector<uint8_t>{7, 7, 7, 7, 7, 7, 7, 1, 7, 7, 7, 1}));
    EXPECT_EQ(image == filled(4, 3, 7), 1);
    EXPECT_EQ(image.embed(dest, &floats, 0, 0, eEmbedByClipping), eILTypeMismatch);
    EXPECT_EQ(image.embed(dest, nullptr, 0, 0, eEmbedByClipping), eILNoData);
    {
        // The destination form asserts, copies, and the paste asserts again.
        AssertRecorder asserts;
        EXPECT_EQ(image.embed(dest, &patch, 0, 0, static_cast<eEmbedTypes>(0)), eILTypeMismatch);
        EXPECT_EQ(asserts.count(), 2u);
        EXPECT_EQ(dest == image, 1);
    }

    CILImage display(image);
    CILImage displayPatch(patch);
    display.RefreshImageStats();
    EXPECT_EQ(display.embed(&displayPatch, 0, 0, eEmbedByClipping), eILSuccess);
    EXPECT_EQ(display.getMin(), 1.0f);
}

TEST(ClipCorners, BlanksRightAngledTrianglesOnASquareImage)
{
    CILImageBase image = filled(10, 10, 1);
    EXPECT_EQ(image.clipCorners(0.0f, 3), eILSuccess);
    const std::vector<std::string> expected = {
        "###....###", "##......##", "#........#", "..........", "..........",
        "..........", "..........", "#........#", "##......##", "###....###",
    };
    EXPECT_EQ(rowsMarked(image, 0), expected);
    const std::vector<uint8_t> samples = samplesOf<uint8_t>(image);
    EXPECT_EQ(std::count(samples.begin(), samples.end(), 0), 24);

    // The value is truncated and cut to the sample type.
    CILImageBase bytes = filled(4, 4, 1);
    EXPECT_EQ(bytes.clipCorners(300.0f, 2), eILSuccess);
    EXPECT_EQ(samplesOf<uint8_t>(bytes)[0], 44);
    CILImageBase longs = makeImage<int32_t>(eLong, 2, 2, {5, 5, 5, 5});
    EXPECT_EQ(longs.clipCorners(-2.7f, 1), eILSuccess);
    EXPECT_EQ(samplesOf<int32_t>(longs), (std::vector<int32_t>{-2, -2, -2, -2}));
}

TEST(ClipCorners, BottomTrianglesFollowTheWidthOnNonSquareImages)
{
    // Wider than tall: the bottom triangles vanish.
    CILImageBase wide = filled(10, 4, 1);
    EXPECT_EQ(wide.clipCorners(0.0f, 2), eILSuccess);
    EXPECT_EQ(rowsMarked(wide, 0), (std::vector<std::string>{"##......##", "#........#", "..........", ".........."}));

    // Taller than wide: the bottom rows are overwritten completely.
    CILImageBase tall = filled(3, 8, 1);
    EXPECT_EQ(tall.clipCorners(9.0f, 1), eILSuccess);
    EXPECT_EQ(rowsMarked(tall, 9),
              (std::vector<std::string>{"#.#", "...", "...", "...", "...", "...", "###", "###"}));
}

TEST(ClipCorners, RefusalsAndDisplayRefresh)
{
    CILImageBase image = filled(4, 4, 1);
    CILImageBase none;
    EXPECT_EQ(image.clipCorners(0.0f, 0), eILInvalidArgument);
    EXPECT_EQ(none.clipCorners(0.0f, 0), eILInvalidArgument);  // size is checked first
    EXPECT_EQ(none.clipCorners(0.0f, 1), eILNoData);
    EXPECT_EQ(image.clipCorners(0.0f, -3), eILSuccess);
    EXPECT_EQ(image.clipCorners(0.0f, INT_MIN), eILSuccess);
    EXPECT_EQ(image == filled(4, 4, 1), 1);

    CILImage display(image);
    display.RefreshImageStats();
    EXPECT_EQ(display.clipCorners(0.0f, 1), eILSuccess);
    EXPECT_EQ(display.getMin(), 0.0f);
}
