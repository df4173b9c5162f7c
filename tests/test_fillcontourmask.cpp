// The contour mask flood fill: connectivity, the crossed seed reduction, the
// visited-buffer states and the refusals.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

// A byte grid with the row-pointer view the fill takes (not copyable: the
// row pointers point into it).
struct Grid {
    Grid(unsigned int width, unsigned int height, std::vector<char> initial) : cells(std::move(initial))
    {
        cells.resize(static_cast<size_t>(width) * height);
        for (unsigned int r = 0; r < height; ++r) rows.push_back(&cells[static_cast<size_t>(r) * width]);
    }
    Grid(const Grid&) = delete;
    std::vector<char> cells;
    std::vector<char*> rows;
};

EILSTATUS fill(Grid& mask, Grid& visited, unsigned int width, unsigned int height, unsigned int x, unsigned int y,
               char value, eFillContourLogicType logic)
{
    return CILImageBase::fillContourMask(x, y, mask.rows.data(), width, height, value, logic, visited.rows.data(), nullptr);
}

// A 5 x 5 mask of zeros with a diamond of ones around the centre.
std::vector<char> diamond()
{
    return {0, 0, 0, 0, 0,
            0, 0, 1, 0, 0,
            0, 1, 0, 1, 0,
            0, 0, 1, 0, 0,
            0, 0, 0, 0, 0};
}

} // namespace

TEST(FillContourMask, FourNeighboursStayInsideARingThatEightNeighboursLeakThrough)
{
    Grid mask(5, 5, diamond());
    Grid visited(5, 5, std::vector<char>(25, 9));
    EXPECT_EQ(fill(mask, visited, 5, 5, 2, 2, 1, eFillContour4Connected), eILSuccess);
    std::vector<char> expected = diamond();
    expected[12] = 1;
    EXPECT_EQ(mask.cells, expected);
    std::vector<char> states(25, 0);
    states[12] = 3;
    EXPECT_EQ(visited.cells, states);

    Grid leaky(5, 5, diamond());
    EXPECT_EQ(fill(leaky, visited, 5, 5, 2, 2, 1, eFillContour8Connected), eILSuccess);
    EXPECT_EQ(leaky.cells, std::vector<char>(25, 1));
    // Every zero cell was filled; the ring itself was never reached.
    for (size_t i = 0; i < 25; ++i) EXPECT_EQ(visited.cells[i], diamond()[i] == 0 ? 3 : 0) << i;
}

TEST(FillContourMask, ASeedUnlikeItsNeighboursChangesAlone)
{
    Grid mask(3, 3, {5, 5, 5, 5, 7, 5, 5, 5, 5});
    Grid visited(3, 3, {});
    EXPECT_EQ(fill(mask, visited, 3, 3, 1, 1, 9, eFillContour8Connected), eILSuccess);
    EXPECT_EQ(mask.cells, (std::vector<char>{5, 5, 5, 5, 9, 5, 5, 5, 5}));
    EXPECT_EQ(visited.cells, (std::vector<char>{0, 0, 0, 0, 3, 0, 0, 0, 0}));
}

TEST(FillContourMask, TheSeedRowWrapsByTheWidthAndItsColumnByTheHeight)
{
    // 4 wide, 2 high. Seed x 3, y 1: column 3 % 2 = 1, row 1 % 4 = 1, so the
    // left region is filled, not the right column the plain reduction names.
    const std::vector<char> cells{0, 0, 1, 0,
                                  0, 0, 1, 0};
    Grid mask(4, 2, cells);
    Grid visited(4, 2, {});
    EXPECT_EQ(fill(mask, visited, 4, 2, 3, 1, 5, eFillContour4Connected), eILSuccess);
    EXPECT_EQ(mask.cells, (std::vector<char>{5, 5, 1, 0, 5, 5, 1, 0}));

    // 2 wide, 4 high: x 3 gives column 3, outside the mask; refused untouched.
    Grid tall(2, 4, std::vector<char>(8, 0));
    Grid tallVisited(2, 4, std::vector<char>(8, 7));
    EXPECT_EQ(fill(tall, tallVisited, 2, 4, 3, 0, 5, eFillContour4Connected), eILInvalidArgument);
    EXPECT_EQ(tall.cells, std::vector<char>(8, 0));
    EXPECT_EQ(tallVisited.cells, std::vector<char>(8, 7));
}

TEST(FillContourMask, AFillValueEqualToTheTargetVisitsEachCellOnce)
{
    const std::vector<char> cells{0, 0, 1,
                                  0, 1, 0,
                                  0, 0, 0};
    Grid mask(3, 3, cells);
    Grid visited(3, 3, {});
    EXPECT_EQ(fill(mask, visited, 3, 3, 0, 0, 0, eFillContour4Connected), eILSuccess);
    EXPECT_EQ(mask.cells, cells);
    EXPECT_EQ(visited.cells, (std::vector<char>{3, 3, 0, 3, 0, 3, 3, 3, 3}));
}

TEST(FillContourMask, ALargeRegionGrowsTheStackAndFillsEverything)
{
    const unsigned int width = 40, height = 30;
    const std::vector<char> zeros(width * height, 0);
    for (eFillContourLogicType logic : {eFillContour4Connected, eFillContour8Connected}) {
        Grid mask(width, height, zeros);
        Grid visited(width, height, {});
        EXPECT_EQ(fill(mask, visited, width, height, 7, 9, 2, logic), eILSuccess);
        EXPECT_EQ(mask.cells, std::vector<char>(width * height, 2));
        EXPECT_EQ(visited.cells, std::vector<char>(width * height, 3));
    }
}

TEST(FillContourMask, MissingBuffersAndEmptySidesAreRefused)
{
    Grid mask(2, 2, {1, 1, 1, 1});
    Grid visited(2, 2, {});
    {
        AssertRecorder recorder;
        EXPECT_EQ(CILImageBase::fillContourMask(0, 0, mask.rows.data(), 2, 2, 4, eFillContour4Connected, nullptr, nullptr),
                  eILNullArgument);
        EXPECT_EQ(recorder.count(), 1u);
        EXPECT_TRUE(recorder.saw(L"pAlreadyVisitedBuffer != NULL", L"ImageLib/Source/ILImageBase_Procs1"));
    }
    EXPECT_EQ(fill(mask, visited, 0, 2, 0, 0, 4, eFillContour4Connected), eILInvalidArgument);
    EXPECT_EQ(fill(mask, visited, 2, 0, 0, 0, 4, eFillContour4Connected), eILInvalidArgument);
    EXPECT_EQ(mask.cells, (std::vector<char>{1, 1, 1, 1}));
}
