// Numeric helpers: tolerant comparison, zero test, rounding and sample sizes.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(MathFns, DoublecompReturnsPlusOneWhenTheSecondArgumentIsLarger)
{
    EXPECT_EQ(CILMathFns::doublecomp(1.0, 2.0), 1);
    EXPECT_EQ(CILMathFns::doublecomp(2.0, 1.0), -1);
    EXPECT_EQ(CILMathFns::doublecomp(1.0, 1.0 + 5e-9), 0);
    EXPECT_EQ(CILMathFns::doublecomp(0.0, 1e-8), 0);  // the tolerance itself is equal
    EXPECT_EQ(CILMathFns::doublecomp(0.0, 2e-8), 1);
    EXPECT_EQ(CILMathFns::doublecomp(0.0, -2e-8), -1);
    // The tolerance is absolute, not relative to the magnitudes.
    EXPECT_EQ(CILMathFns::doublecomp(1e12, 1e12 + 1e-3), 1);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(CILMathFns::doublecomp(nan, 1.0), -1);
    EXPECT_EQ(CILMathFns::doublecomp(1.0, nan), -1);
}

TEST(MathFns, IsZeroIncludesTheToleranceAndExcludesNaN)
{
    EXPECT_TRUE(CILMathFns::isZero(0.0));
    EXPECT_TRUE(CILMathFns::isZero(1e-8));
    EXPECT_TRUE(CILMathFns::isZero(-1e-8));
    EXPECT_FALSE(CILMathFns::isZero(1.1e-8));
    EXPECT_FALSE(CILMathFns::isZero(-1.1e-8));
    EXPECT_FALSE(CILMathFns::isZero(std::numeric_limits<double>::quiet_NaN()));
}

TEST(MathFns, RoundSendsTiesTowardMinusInfinity)
{
    for (eRoundingStyle style : {eRoundPlain, eRoundNearest, eRoundClamped}) {
        EXPECT_EQ(CILMathFns::round(0.5, style), 0);
        EXPECT_EQ(CILMathFns::round(1.5, style), 1);
        EXPECT_EQ(CILMathFns::round(2.5, style), 2);
        EXPECT_EQ(CILMathFns::round(1.500001, style), 2);
        EXPECT_EQ(CILMathFns::round(-0.5, style), -1);
        EXPECT_EQ(CILMathFns::round(-2.5, style), -3);
        EXPECT_EQ(CILMathFns::round(-2.4, style), -2);
        EXPECT_EQ(CILMathFns::round(7.0, style), 7);
        EXPECT_EQ(CILMathFns::round(-7.0, style), -7);
    }
}

TEST(MathFns, RoundClampsSymmetricallyOnlyInTheClampedStyle)
{
    EXPECT_EQ(CILMathFns::round(3e9, eRoundClamped), 2147483647);
    EXPECT_EQ(CILMathFns::round(-3e9, eRoundClamped), -2147483647);
    EXPECT_EQ(CILMathFns::round(-2147483648.0, eRoundClamped), -2147483647);
    EXPECT_EQ(CILMathFns::round(2147483647.0, eRoundClamped), 2147483647);
    EXPECT_EQ(CILMathFns::round(std::nan(""), eRoundClamped), -2147483647);
    // Without clamping the truncating conversion's overflow value shows.
    EXPECT_EQ(CILMathFns::round(3e9, eRoundPlain), INT32_MIN);
    EXPECT_EQ(CILMathFns::round(-3e9, eRoundPlain), INT32_MIN);
    EXPECT_EQ(CILMathFns::round(-2147483648.0, eRoundPlain), INT32_MIN);
    EXPECT_EQ(CILMathFns::round(std::nan(""), eRoundPlain), INT32_MIN);
    // Just above the range the ceiling overflows, so "rounding up" picks the
    // overflow value unless the clamped style catches it.
    EXPECT_EQ(CILMathFns::round(2147483647.5, eRoundPlain), INT32_MIN);
    EXPECT_EQ(CILMathFns::round(2147483647.5, eRoundClamped), 2147483647);
    EXPECT_EQ(CILMathFns::round(2147483647.75, eRoundClamped), 2147483647);
}

TEST(MathFns, SampleSizesAndTheUnknownTypeAssertion)
{
    EXPECT_EQ(CILImageBase::get_reqsizefortype(eByte), 1u);
    EXPECT_EQ(CILImageBase::get_reqsizefortype(eUShort), 2u);
    EXPECT_EQ(CILImageBase::get_reqsizefortype(eLong), 4u);
    EXPECT_EQ(CILImageBase::get_reqsizefortype(eFloat), 4u);
    EXPECT_EQ(CILImageBase::get_reqsizefortype(eDouble), 8u);

    AssertRecorder asserts;
    EXPECT_EQ(CILImageBase::get_reqsizefortype(static_cast<QORDataTypes>(0)), 0u);
    EXPECT_EQ(CILImageBase::get_reqsizefortype(static_cast<QORDataTypes>(6)), 0u);
    EXPECT_EQ(asserts.count(), 2u);
    EXPECT_TRUE(asserts.saw(L"1==0", L"ImageLib/Source/ILImageBase"));
}

TEST(AssertHandler, ReplacingReturnsThePreviousAndNullRestoresTheDefault)
{
    ILAssertHandler original = ILSetAssertHandler(nullptr);  // the default
    ILAssertHandler defaultHandler = ILSetAssertHandler(original);
    {
        AssertRecorder asserts;
        CILImageBase::get_reqsizefortype(static_cast<QORDataTypes>(-1));
        ASSERT_EQ(asserts.count(), 1u);
        EXPECT_GT(AssertRecorder::reports()[0].line, 0u);
    }
    // The recorder put the original back.
    EXPECT_EQ(ILSetAssertHandler(original), original);
    EXPECT_NE(defaultHandler, nullptr);
}
