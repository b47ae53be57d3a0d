#pragma once

// A small toolkit for computing motion: 3-vectors, rotation quaternions, joint-angle
// sequences, and values and points carried together with their time derivatives so that
// positions, velocities and accelerations stay exact derivatives of one another.
//
// Defined here, and private to the file that includes it, so that the compiler treats the
// toolkit as part of that file's own computation, as it did when the toolkit was written
// there: it then evaluates some sines and cosines of constants while compiling, which the
// demo recording's values depend on to the last bit.

#include "zttypes.h"

#include <cmath>
#include <numbers>

namespace motion {
namespace {

double radians(double degrees) { return degrees * std::numbers::pi / 180.0; }
double degrees(double radians) { return radians * 180.0 / std::numbers::pi; }

struct Vec3
{
    double x = 0.0, y = 0.0, z = 0.0;
};

Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vec3 operator*(double s, Vec3 v) { return {s * v.x, s * v.y, s * v.z}; }

Vec3 normalized(Vec3 v)
{
    const double length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
    return (1.0 / length) * v;
}

struct Quat
{
    double w = 1.0, x = 0.0, y = 0.0, z = 0.0;
};

Quat operator*(Quat a, Quat b)
{
    return {a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z, a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
        a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x, a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
}

Quat conjugate(Quat q) { return {q.w, -q.x, -q.y, -q.z}; }

// The rotation by `angle` radians about `unitAxis`.
Quat axisAngle(Vec3 unitAxis, double angle)
{
    const double s = std::sin(angle / 2.0);
    return {std::cos(angle / 2.0), s * unitAxis.x, s * unitAxis.y, s * unitAxis.z};
}

Vec3 rotate(Quat q, Vec3 v)
{
    const Quat r = q * Quat{0.0, v.x, v.y, v.z} * conjugate(q);
    return {r.x, r.y, r.z};
}

ZtVector toZt(Vec3 v) { return ZtVector{v.x, v.y, v.z}; }
ZtQuaternion toZt(Quat q) { return ZtQuaternion{q.w, q.x, q.y, q.z}; }

// A joint angle given as (x, y, z) of a z-x-y sequence, in degrees, expressed in the x-z-y
// sequence: the same rotation, decomposed the other way round.
Vec3 zxyToXzy(Vec3 angles)
{
    const double sx = std::sin(radians(angles.x)), cx = std::cos(radians(angles.x));
    const double sy = std::sin(radians(angles.y)), cy = std::cos(radians(angles.y));
    const double sz = std::sin(radians(angles.z)), cz = std::cos(radians(angles.z));
    // R = Rz * Rx * Ry
    const double r00 = cz * cy - sz * sx * sy;
    const double r01 = -sz * cx;
    const double r02 = cz * sy + sz * sx * cy;
    const double r11 = cz * cx;
    const double r21 = sx;
    // R = Rx(a) * Rz(b) * Ry(c): r01 = -sin b, r21 / r11 = tan a, r02 / r00 = tan c.
    return {degrees(std::atan2(r21, r11)), degrees(std::atan2(r02, r00)), degrees(std::asin(-r01))};
}

// A scalar moving with time, with its first and second derivatives.
struct Motion
{
    double value = 0.0, rate = 0.0, accel = 0.0;
};

Motion operator+(Motion a, Motion b) { return {a.value + b.value, a.rate + b.rate, a.accel + b.accel}; }
Motion operator-(Motion a, Motion b) { return {a.value - b.value, a.rate - b.rate, a.accel - b.accel}; }
Motion operator*(double s, Motion m) { return {s * m.value, s * m.rate, s * m.accel}; }
Motion constant(double value) { return {value, 0.0, 0.0}; }

// mean + amplitude * sin(angularFrequency * t + phase)
Motion sine(double mean, double amplitude, double angularFrequency, double phase, double t)
{
    const double w = angularFrequency;
    const double s = std::sin(w * t + phase), c = std::cos(w * t + phase);
    return {mean + amplitude * s, amplitude * w * c, -amplitude * w * w * s};
}

// A point moving with time.
struct Track
{
    Vec3 pos, vel, acc;
};

Track operator+(const Track& track, Vec3 offset) { return {track.pos + offset, track.vel, track.acc}; }

Track track(Motion x, Motion y, Motion z)
{
    return {{x.value, y.value, z.value}, {x.rate, y.rate, z.rate}, {x.accel, y.accel, z.accel}};
}

// `base` plus the vector `arm` turned by `angle` about -y, the axis of a swing in the x-z
// plane that turns a hanging (-z) arm towards +x.
Track swing(const Track& base, Motion angle, Vec3 arm)
{
    const double s = std::sin(angle.value), c = std::cos(angle.value);
    const Vec3 turned{c * arm.x - s * arm.z, arm.y, s * arm.x + c * arm.z};
    const Vec3 turnedRate{-s * arm.x - c * arm.z, 0.0, c * arm.x - s * arm.z}; // d(turned)/d(angle)
    return {base.pos + turned, base.vel + angle.rate * turnedRate,
        base.acc + angle.accel * turnedRate - (angle.rate * angle.rate) * turned};
}

} // namespace
} // namespace motion
