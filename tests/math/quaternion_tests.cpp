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

// The rotation by yaw about z, then pitch about y, then roll about x (in degrees), written out
// here so that the expected rotations do not come from the code under test.
Quaternion fromZyx(double roll, double pitch, double yaw)
{
    const double r = roll * Pi / 360.0, p = pitch * Pi / 360.0, y = yaw * Pi / 360.0;
    const double cr = std::cos(r), sr = std::sin(r), cp = std::cos(p), sp = std::sin(p), cy = std::cos(y), sy = std::sin(y);
    return Quaternion(cr * cp * cy + sr * sp * sy, sr * cp * cy - cr * sp * sy, cr * sp * cy + sr * cp * sy,
        cr * cp * sy - sr * sp * cy);
}

TEST(QuaternionEuler, RecoversTheAnglesOfZyxRotationsAndNinetyDegreesAtThePoles)
{
    for (double roll = -175.0; roll <= 175.0; roll += 25.0) {
        for (double pitch = -85.0; pitch <= 85.0; pitch += 17.0) {
            for (double yaw = -175.0; yaw <= 175.0; yaw += 25.0) {
                const Quaternion q = fromZyx(roll, pitch, yaw);
                const ZtVector angles = q.toEuler();
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

    // At the poles the pitch is +-90 degrees, never NaN, even with the asin argument rounded past +-1.
    const double rounded = 0.7071067811865476;
    const std::pair<Quaternion, double> poles[] = {{fromZyx(0.0, 90.0, 0.0), 90.0}, {fromZyx(0.0, -90.0, 0.0), -90.0},
        {Quaternion(rounded, 0.0, rounded, 0.0), 90.0},
        {Quaternion(rounded, 0.0, -rounded, 0.0), -90.0}};
    for (const auto& [q, pitch] : poles) {
        const ZtVector angles = q.toEuler();
        EXPECT_EQ(angles[1], pitch);
        EXPECT_FALSE(std::isnan(angles[0]) || std::isnan(angles[2])) << pitch;
    }
}

// A quaternion is built from the host's as it is, without normalising.
TEST(QuaternionValidity, ToleranceChoosesBetweenNonZeroAndUnitLength)
{
    const Quaternion copied(ZtQuaternion{2.0, -3.0, 0.5, 1e-300});
    EXPECT_EQ(std::tuple(copied.q0, copied.q1, copied.q2, copied.q3), std::tuple(2.0, -3.0, 0.5, 1e-300));

    const std::tuple<Quaternion, double, bool> cases[] = {
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
        {fromZyx(0.0, -12.0, 33.0), 1e-12, true},
    };
    for (const auto& [q, tolerance, valid] : cases)
        EXPECT_EQ(q.isValid(tolerance), valid) << q.q0 << ' ' << q.q1 << ' ' << q.q2 << ' ' << q.q3 << " tolerance " << tolerance;

    for (const double bad : {Nan, Inf, -Inf})
        for (const double tolerance : {0.0, -1.0, 1e-6, 1e300})
            for (const Quaternion& q : {Quaternion(bad, 0.0, 0.0, 0.0), Quaternion(1.0, 0.0, 0.0, bad)})
                EXPECT_FALSE(q.isValid(tolerance)) << bad << ' ' << tolerance;
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
}

} // namespace
