#include "vantor_quaternion.h"

#include <cmath>
#include <cstddef>
#include <limits>

namespace vantor {

namespace {
constexpr double DegreesPerRadian = 57.29577951308232;
constexpr double HalfPi = 1.5707963267948966;
constexpr double Pi = 3.141592653589793;
constexpr double DblMax = std::numeric_limits<double>::max();
constexpr double DblEpsilon = std::numeric_limits<double>::epsilon();
} // namespace

// The host hands its quaternions over as the same four doubles.
static_assert(sizeof(Quaternion) == sizeof(ZtQuaternion));
static_assert(offsetof(Quaternion, q0) == offsetof(ZtQuaternion, q0));
static_assert(offsetof(Quaternion, q3) == offsetof(ZtQuaternion, q3));

bool Quaternion::isValid(double tolerance) const noexcept
{
    // Written as "not <= max" so that NaN fails too.
    for (double c : {q0, q1, q2, q3}) {
        if (!(std::fabs(c) <= DblMax))
            return false;
    }
    if (tolerance > 0.0)
        return std::fabs(q0 * q0 + q1 * q1 + q2 * q2 + q3 * q3 - 1.0) <= tolerance;
    return std::fabs(q0) > DblEpsilon || std::fabs(q1) > DblEpsilon || std::fabs(q2) > DblEpsilon
        || std::fabs(q3) > DblEpsilon;
}

void Quaternion::toEuler(ZtVector& out) const noexcept
{
    out[0] = DegreesPerRadian * std::atan2(2.0 * (q2 * q3 + q0 * q1), 2.0 * (q0 * q0 + q3 * q3) - 1.0);
    // Clamped so that rounding at pitch +-90 degrees gives +-90 rather than NaN.
    out[1] = -DegreesPerRadian * asinClamped(2.0 * (q1 * q3 - q0 * q2));
    out[2] = DegreesPerRadian * std::atan2(2.0 * (q1 * q2 + q0 * q3), 2.0 * (q0 * q0 + q1 * q1) - 1.0);
}

ZtVector Quaternion::toEuler() const
{
    ZtVector angles(3);
    toEuler(angles);
    return angles;
}

double asinClamped(double x) noexcept
{
    if (!(x < 1.0))
        return HalfPi;
    if (x > -1.0)
        return std::asin(x);
    return -HalfPi;
}

double acosClamped(double x) noexcept
{
    if (x >= 1.0 || std::isnan(x))
        return 0.0;
    if (x > -1.0)
        return std::acos(x);
    return Pi;
}

} // namespace vantor
