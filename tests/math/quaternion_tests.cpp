#include "vantor_quaternion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace {

using vantor::Quaternion;

constexpr double Nan = std::numeric_limits<double>::quiet_NaN();
constexpr double Inf = std::numeric_limits<double>::infinity();
constexpr double Pi = std::numbers::pi;

Quaternion multiply(const Quaternion& a, const Quaternion& b)
{
    return Quaternion(a.q0 * b.q0 - a.q1 * b.q1 - a.q2 * b.q2 - a.q3 * b.q3,
                      a.q0 * b.q1 + a.q1 * b.q0 + a.q2 * b.q3 - a.q3 * b.q2,
                      a.q0 * b.q2 - a.q1 * b.q3 + a.q2 * b.q0 + a.q3 * b.q1,
                      a.q0 * b.q3 + a.q1 * b.q2 - a.q2 * b.q1 + a.q3 * b.q0);
}

Quaternion aboutX(double degrees)
{
    const double half = degrees * Pi / 360.0;
    return Quaternion(std::cos(half), std::sin(half), 0.0, 0.0);
}

Quaternion aboutY(double degrees)
{
    const double half = degrees * Pi / 360.0;
    return Quaternion(std::cos(half), 0.0, std::sin(half), 0.0);
}

Quaternion aboutZ(double degrees)
{
    const double half = degrees * Pi / 360.0;
    return Quaternion(std::cos(half), 0.0, 0.0, std::sin(half));
}

TEST(QuaternionEuler, RecoversZyxAnglesAwayFromThePoles)
{
    int checked = 0;
    for (double roll = -175.0; roll <= 175.0; roll += 25.0) {
        for (double pitch = -85.0; pitch <= 85.0; pitch += 17.0) {
            for (double yaw = -175.0; yaw <= 175.0; yaw += 25.0) {
                const Quaternion q = multiply(multiply(aboutZ(yaw), aboutY(pitch)), aboutX(roll));
                const ZtVector angles = q.toEuler();
                ASSERT_EQ(angles.size(), 3u);
                EXPECT_NEAR(angles[0], roll, 1e-9) << roll << ' ' << pitch << ' ' << yaw;
                EXPECT_NEAR(angles[1], pitch, 1e-9) << roll << ' ' << pitch << ' ' << yaw;
                EXPECT_NEAR(angles[2], yaw, 1e-9) << roll << ' ' << pitch << ' ' << yaw;
                ++checked;
            }
        }
    }
    EXPECT_EQ(checked, 15 * 11 * 15);
}

TEST(QuaternionEuler, IdentityGivesZeroAngles)
{
    const ZtVector angles = Quaternion(ZtQuaternion{1.0, 0.0, 0.0, 0.0}).toEuler();
    EXPECT_EQ(angles, ZtVector({0.0, 0.0, 0.0}));
}

TEST(QuaternionEuler, PitchAtThePolesIsNinetyDegreesNotNan)
{
    // At +-90 degrees about y the asin argument is -1 or 1 itself.
    for (const double pitch : {90.0, -90.0}) {
        const ZtVector angles = aboutY(pitch).toEuler();
        EXPECT_FALSE(std::isnan(angles[0]));
        EXPECT_FALSE(std::isnan(angles[2]));
        EXPECT_DOUBLE_EQ(angles[1], pitch);
    }
    // Both components rounded up: the asin argument is 2 * 0.7071067811865476^2 past 1.
    const double rounded = 0.7071067811865476;
    ASSERT_LT(-2.0 * rounded * rounded, -1.0);
    const ZtVector down = Quaternion(rounded, 0.0, rounded, 0.0).toEuler();
    EXPECT_EQ(down[1], 90.0);
    const ZtVector up = Quaternion(rounded, 0.0, -rounded, 0.0).toEuler();
    EXPECT_EQ(up[1], -90.0);
    EXPECT_FALSE(std::isnan(down[0]) || std::isnan(down[2]) || std::isnan(up[0]) || std::isnan(up[2]));
}

TEST(QuaternionEuler, OutputVectorKeepsItsSizeAndTrailingElements)
{
    const Quaternion q = multiply(aboutZ(30.0), aboutX(-40.0));
    const ZtVector expected = q.toEuler();

    ZtVector three{7.0, 7.0, 7.0};
    q.toEuler(three);
    EXPECT_EQ(three, expected);

    ZtVector five{7.0, 7.0, 7.0, 8.0, 9.0};
    q.toEuler(five);
    ASSERT_EQ(five.size(), 5u);
    EXPECT_EQ(five[0], expected[0]);
    EXPECT_EQ(five[1], expected[1]);
    EXPECT_EQ(five[2], expected[2]);
    EXPECT_EQ(five[3], 8.0);
    EXPECT_EQ(five[4], 9.0);
}

TEST(QuaternionConstruction, CopiesHostComponentsWithoutNormalising)
{
    const Quaternion q(ZtQuaternion{2.0, -3.0, 0.5, 1e-300});
    EXPECT_EQ(q.q0, 2.0);
    EXPECT_EQ(q.q1, -3.0);
    EXPECT_EQ(q.q2, 0.5);
    EXPECT_EQ(q.q3, 1e-300);
}

TEST(QuaternionValidity, ZeroToleranceAsksOnlyForANonZeroFiniteQuaternion)
{
    EXPECT_FALSE(Quaternion(0.0, 0.0, 0.0, 0.0).isValid(0.0));
    EXPECT_FALSE(Quaternion(0.0, 0.0, 2e-16, 0.0).isValid(0.0));  // below DBL_EPSILON
    EXPECT_TRUE(Quaternion(0.0, 0.0, 0.0, 1e-15).isValid(0.0));
    EXPECT_TRUE(Quaternion(5.0, 0.0, 0.0, 0.0).isValid(0.0));
    EXPECT_TRUE(Quaternion(0.0, 0.0, 0.0, 1e-15).isValid(-1.0));
}

TEST(QuaternionValidity, PositiveToleranceBoundsTheSquaredLength)
{
    EXPECT_FALSE(Quaternion(0.0, 0.0, 0.0, 1e-15).isValid(1e-6));
    EXPECT_TRUE(Quaternion(1.0000004, 0.0, 0.0, 0.0).isValid(1e-6));
    EXPECT_FALSE(Quaternion(1.000001, 0.0, 0.0, 0.0).isValid(1e-6));
    EXPECT_TRUE(multiply(aboutZ(33.0), aboutY(-12.0)).isValid(1e-12));
    EXPECT_FALSE(Quaternion(5.0, 0.0, 0.0, 0.0).isValid(1e-6));
}

TEST(QuaternionValidity, NonFiniteComponentIsInvalidForAnyTolerance)
{
    for (const double bad : {Nan, Inf, -Inf}) {
        for (const double tolerance : {0.0, -1.0, 1e-6, 1e300}) {
            EXPECT_FALSE(Quaternion(bad, 0.0, 0.0, 0.0).isValid(tolerance)) << bad << ' ' << tolerance;
            EXPECT_FALSE(Quaternion(1.0, 0.0, 0.0, bad).isValid(tolerance)) << bad << ' ' << tolerance;
        }
    }
    EXPECT_TRUE(Quaternion(std::numeric_limits<double>::max(), 0.0, 0.0, 0.0).isValid(0.0));
}

TEST(ClampedInverseTrigonometry, AsinClampsAndMapsNanToPlusHalfPi)
{
    EXPECT_EQ(vantor::asinClamped(Nan), Pi / 2);
    EXPECT_EQ(vantor::asinClamped(1.0), Pi / 2);
    EXPECT_EQ(vantor::asinClamped(1.0000000000000002), Pi / 2);
    EXPECT_EQ(vantor::asinClamped(Inf), Pi / 2);
    EXPECT_EQ(vantor::asinClamped(-1.0), -Pi / 2);
    EXPECT_EQ(vantor::asinClamped(-1.0000000000000002), -Pi / 2);
    EXPECT_EQ(vantor::asinClamped(-Inf), -Pi / 2);
    EXPECT_DOUBLE_EQ(vantor::asinClamped(0.5), Pi / 6);
    EXPECT_DOUBLE_EQ(vantor::asinClamped(-0.5), -Pi / 6);
}

TEST(ClampedInverseTrigonometry, AcosClampsAndMapsNanToZero)
{
    EXPECT_EQ(vantor::acosClamped(Nan), 0.0);
    EXPECT_EQ(vantor::acosClamped(1.0), 0.0);
    EXPECT_EQ(vantor::acosClamped(3.0), 0.0);
    EXPECT_EQ(vantor::acosClamped(Inf), 0.0);
    EXPECT_EQ(vantor::acosClamped(-1.0), Pi);
    EXPECT_EQ(vantor::acosClamped(-3.0), Pi);
    EXPECT_EQ(vantor::acosClamped(-Inf), Pi);
    EXPECT_DOUBLE_EQ(vantor::acosClamped(0.5), Pi / 3);
    EXPECT_DOUBLE_EQ(vantor::acosClamped(0.0), Pi / 2);
}

} // namespace
