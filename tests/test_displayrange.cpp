// Nice display ranges: the 1-2-5 step search, the widened range, the first
// tick, tick counts and the label exponent.
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

tagQORDisplayRange niceRange(double min, double max, int ticks)
{
    tagQORDisplayRange range;
    const int numMajor = getNiceRangeForDisplay(min, max, ticks, &range);
    EXPECT_EQ(numMajor, range.numMajor);
    return range;
}

// Compares every field; `want` lists them in the record's order: numMajor,
// numMinor, minorStep, firstTick, majorStep, firstTickFraction, rangeMin,
// rangeMax, exponent.
void expectRange(const tagQORDisplayRange& r, const tagQORDisplayRange& want)
{
    EXPECT_EQ(r.numMajor, want.numMajor);
    EXPECT_EQ(r.numMinor, want.numMinor);
    EXPECT_EQ(r.minorStep, want.minorStep);
    EXPECT_EQ(r.firstTick, want.firstTick);
    EXPECT_EQ(r.majorStep, want.majorStep);
    EXPECT_EQ(r.firstTickFraction, want.firstTickFraction);
    EXPECT_EQ(r.rangeMin, want.rangeMin);
    EXPECT_EQ(r.rangeMax, want.rangeMax);
    EXPECT_EQ(r.exponent, want.exponent);
}

} // namespace

TEST(DisplayRange, AHundredInFiveTicksGetsAStepOfAHundred)
{
    // Step 100 (nearer than 50), two ticks (0 + 100 <= 100), first tick 100
    // at fraction 1, five minor steps of 20, no label scaling (e = 2).
    expectRange(niceRange(0, 100, 5), {2, 5, 20.0, 100.0, 100.0, 1.0, 0.0, 100.0, 1.0});
    EXPECT_EQ(getNiceRangeForDisplay(0, 100, 5, nullptr), 2);
}

TEST(DisplayRange, OneInTenTicksGetsAStepOfOneHalf)
{
    // 0.5 <= 0.5 <= 1 and 0.5 is the nearer; ticks at 0, 0.5 and 1.
    expectRange(niceRange(0, 1, 10), {3, 10, 0.1, 0.5, 0.5, 0.5, 0.0, 1.0, 1.0});
}

TEST(DisplayRange, ATargetHalfwayBetweenStepsTakesTheSmaller)
{
    // target 150 / 10 * 5 = 75, halfway between 50 and 100.
    EXPECT_EQ(niceRange(0, 150, 10).majorStep, 50.0);
    // target 60 is nearer 50; target 80 nearer 100.
    EXPECT_EQ(niceRange(0, 120, 10).majorStep, 50.0);
    EXPECT_EQ(niceRange(0, 160, 10).majorStep, 100.0);
}

TEST(DisplayRange, BelowOneHalfTheStepFartherFromTheTargetIsTaken)
{
    // target 0.3 lies between 0.2 and 0.5 and is nearer 0.2, yet 0.5 wins;
    // target 0.45 is nearer 0.5, yet 0.2 wins. Both carry the 1e-15 nudge.
    EXPECT_EQ(niceRange(0, 0.3, 5).majorStep, 5.0 / 10.0 + 1e-15);
    EXPECT_EQ(niceRange(0, 0.45, 5).majorStep, 2.0 / 10.0 + 1e-15);
}

TEST(DisplayRange, TheFirstTickIsTheStepItselfOrTheMinimum)
{
    // Step 200 above min -130: the first tick is 200, beyond the data.
    expectRange(niceRange(-130, 100, 5), {2, 10, 40.0, 200.0, 200.0, 330.0 / 230.0, -200.0, 200.0, 1.0});

    // Step 100 not above min 1000: the first tick is the minimum.
    expectRange(niceRange(1000, 1100, 5), {2, 5, 20.0, 1000.0, 100.0, 0.0, 1000.0, 1100.0, 1.0});
}

TEST(DisplayRange, EqualEndsGiveTheShortForm)
{
    expectRange(niceRange(7, 7, 5), {1, 1, 7.0, 7.0, 0.0, 0.0, 7.0, 7.0, 0.0});
}

TEST(DisplayRange, ExtremeMagnitudesAreSearchedInShiftedDecades)
{
    // Huge: shift 6, the step search sees a target of 1e19 and picks it.
    tagQORDisplayRange r = niceRange(0, 1e25, 5);
    EXPECT_DOUBLE_EQ(r.majorStep, 1e25);
    EXPECT_EQ(r.exponent, 25.0);
    EXPECT_EQ(r.numMajor, 2);

    // Tiny: shift -11 still leaves a target of 1e-19, below every candidate,
    // so the step stays 1.0 before the shift: 1e-11.
    r = niceRange(1e-30, 2e-30, 5);
    EXPECT_DOUBLE_EQ(r.majorStep, 1e-11);
    EXPECT_EQ(r.rangeMin, 0.0);
    EXPECT_DOUBLE_EQ(r.rangeMax, 1e-11);
    EXPECT_EQ(r.exponent, -11.0);
    EXPECT_EQ(r.numMajor, 1);
    EXPECT_EQ(r.numMinor, 5);
}

TEST(DisplayRange, ASmallStepOverAPlainSpanTakesTheSpanDecadeAsExponent)
{
    // target 5e-4: the search settles on 2e-4 (+1e-15); the span stays about
    // 1, so e = 0 and the small step sets the exponent to 0, not 1.
    const tagQORDisplayRange r = niceRange(0, 1, 10000);
    EXPECT_EQ(r.majorStep, 2.0 / 10000.0 + 1e-15);
    EXPECT_EQ(r.exponent, 0.0);
}
