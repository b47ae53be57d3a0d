#include "vantor_quaternion.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <numbers>
#include <tuple>
#include <utility>

namespace {

using vantor::Quaternion;

constexpr double Nan = std::numeric_limits<double>::quiet_NaN();
constexpr double Inf = std::numeric_limits<double>::infinity();
constexpr double Pi = std::numbers::pi;

// Hamilton product, written out here so that the expected rotations do not come from the code under test.
Quaternion multiply(const Quaternion& a, const Quaternion& b)
{
    return Quaternion(a.q0 * b.q0 - a.q1 * b.q1 - a.q2 * b.q2 - a.q3 * b.q3,
        a.q0 * b.q1 + a.q1 * b.q0 + a.q2 * b.q3 - a.q3 * b.q2,
        a.q0 * b.q2 - a.q1 * b.q3 + a.q2 * b.q0 + a.q3 * b.q1,
        a.q0 * b.q3 + a.q1 * b.q2 - a.q2 * b.q1 + a.q3 * b.q0);
}

// Rotation of `degrees` about axis 0 (x), 1 (y) or 2 (z).
Quaternion about(int axis, double degrees)
{
    const double half = degrees * Pi / 360.0;
    double vector[3] = {0.0, 0.0, 0.0};
    vector[axis] = std::sin(half);
    return Quaternion(std::cos(half), vector[0], vector[1], vector[2]);
}

TEST(QuaternionEuler, RecoversTheAnglesOfZyxRotationsAwayFromThePoles)
{
    for (double roll = -175.0; roll <= 175.0; roll += 25.0) {
        for (double pitch = -85.0; pitch <= 85.0; pitch += 17.0) {
            for (double yaw = -175.0; yaw <= 175.0; yaw += 25.0) {
                const Quaternion q = multiply(multiply(about(2, yaw), about(1, pitch)), about(0, roll));
                const ZtVector angles = q.toEuler();
                ASSERT_EQ(angles.size(), 3u);
                const double expected[] = {roll, pitch, yaw};
                for (int i = 0; i < 3; ++i)
                    EXPECT_NEAR(angles[i], expected[i], 1e-9) << roll << ' ' << pitch << ' ' << yaw;
                // Into a given vector: the first three elements only, its size kept.
                ZtVector longer{7.0, 7.0, 7.0, 8.0, 9.0};
                q.toEuler(longer);
                EXPECT_EQ(longer, ZtVector({angles[0], angles[1], angles[2], 8.0, 9.0}));
            }
        }
    }
}

TEST(QuaternionEuler, PitchAtThePolesIsNinetyDegreesNeverNan)
{
    // Both components rounded up: the asin argument lies just past -1 or 1.
    const double rounded = 0.7071067811865476;
    ASSERT_LT(-2.0 * rounded * rounded, -1.0);
    const std::pair<Quaternion, double> poles[] = {{about(1, 90.0), 90.0}, {about(1, -90.0), -90.0},
        {Quaternion(rounded, 0.0, rounded, 0.0), 90.0},
        {Quaternion(rounded, 0.0, -rounded, 0.0), -90.0}};
    for (const auto& [q, pitch] : poles) {
        const ZtVector angles = q.toEuler();
        EXPECT_EQ(angles[1], pitch);
        EXPECT_FALSE(std::isnan(angles[0]) || std::isnan(angles[2])) << pitch;
    }
}

TEST(QuaternionValidity, ToleranceChoosesBetweenNonZeroAndUnitLength)
{
    // Built from a host quaternion: copied as it is, without normalising.
    const Quaternion copied(ZtQuaternion{2.0, -3.0, 0.5, 1e-300});
    EXPECT_EQ(std::tuple(copied.q0, copied.q1, copied.q2, copied.q3), std::tuple(2.0, -3.0, 0.5, 1e-300));

    struct Case
    {
        Quaternion q;
        double tolerance;
        bool valid;
    };
    const Case cases[] = {
        // Zero or negative tolerance: some component above DBL_EPSILON, whatever the length.
        {{0.0, 0.0, 0.0, 0.0}, 0.0, false},
        {{0.0, 0.0, 2e-16, 0.0}, 0.0, false},
        {{0.0, 0.0, 0.0, 1e-15}, 0.0, true},
        {{0.0, 0.0, 0.0, 1e-15}, -1.0, true},
        {{5.0, 0.0, 0.0, 0.0}, 0.0, true},
        {{DBL_MAX, 0.0, 0.0, 0.0}, 0.0, true},
        // Positive tolerance: squared length within it of 1.
        {{0.0, 0.0, 0.0, 1e-15}, 1e-6, false},
        {{1.0000004, 0.0, 0.0, 0.0}, 1e-6, true},
        {{1.000001, 0.0, 0.0, 0.0}, 1e-6, false},
        {{5.0, 0.0, 0.0, 0.0}, 1e-6, false},
        {multiply(about(2, 33.0), about(1, -12.0)), 1e-12, true},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.q.isValid(c.tolerance), c.valid)
            << c.q.q0 << ' ' << c.q.q1 << ' ' << c.q.q2 << ' ' << c.q.q3 << " tolerance " << c.tolerance;

    for (const double bad : {Nan, Inf, -Inf}) {
        for (const double tolerance : {0.0, -1.0, 1e-6, 1e300}) {
            EXPECT_FALSE(Quaternion(bad, 0.0, 0.0, 0.0).isValid(tolerance)) << bad << ' ' << tolerance;
            EXPECT_FALSE(Quaternion(1.0, 0.0, 0.0, bad).isValid(tolerance)) << bad << ' ' << tolerance;
        }
    }
}

TEST(ClampedInverseTrigonometry, ClampOutsideTheDomainAndMapNan)
{
    for (double x : {Nan, Inf, 3.0, 1.0000000000000002, 1.0}) {
        EXPECT_EQ(vantor::asinClamped(x), Pi / 2) << x;
        EXPECT_EQ(vantor::acosClamped(x), 0.0) << x;
        EXPECT_EQ(vantor::asinClamped(-x), std::isnan(x) ? Pi / 2 : -Pi / 2) << x;
        EXPECT_EQ(vantor::acosClamped(-x), std::isnan(x) ? 0.0 : Pi) << x;
    }
    EXPECT_DOUBLE_EQ(vantor::asinClamped(-0.5), -Pi / 6);
    EXPECT_DOUBLE_EQ(vantor::acosClamped(-0.5), 2 * Pi / 3);
    EXPECT_EQ(vantor::asinClamped(0.0), 0.0);
    EXPECT_DOUBLE_EQ(vantor::acosClamped(0.0), Pi / 2);
}

} // namespace
