#pragma once

// Orientation quaternion of the vantor numerical library, as far as the exporter needs it:
// the validity test and the conversion to z-y-x Euler angles in degrees.

#include "zttypes.h"

namespace vantor {

class Quaternion
{
public:
    // Copies the host's components unchanged: no normalisation, no validity test. Implicit,
    // as both types are the same four doubles.
    Quaternion(const ZtQuaternion& q) noexcept
        : q0(q.q0)
        , q1(q.q1)
        , q2(q.q2)
        , q3(q.q3)
    { }
    Quaternion(double scalar, double x, double y, double z) noexcept
        : q0(scalar)
        , q1(x)
        , q2(y)
        , q3(z)
    { }

    // Every component finite, and then: with a positive tolerance, unit length within it;
    // otherwise at least one component above DBL_EPSILON in magnitude.
    bool isValid(double tolerance) const noexcept;

    // Rotation about x, y and z in degrees of the z-y-x (yaw-pitch-roll) sequence, written
    // into elements 0..2 of a vector that already holds at least three; its size is kept.
    // The quaternion is taken as unit length; a non-unit one gives distorted angles.
    void toEuler(ZtVector& out) const noexcept;
    ZtVector toEuler() const;

    double q0; // scalar part
    double q1; // x
    double q2; // y
    double q3; // z
};

// asin that returns +-pi/2 outside (-1, 1); a NaN argument gives +pi/2.
double asinClamped(double x) noexcept;
// acos that returns 0 at or above 1 or for NaN, and pi at or below -1.
double acosClamped(double x) noexcept;

} // namespace vantor
