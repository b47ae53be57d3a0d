#pragma once

// The built-in demo recording: ten seconds of a subject marching in place, recorded at 60
// frames per second by a suit of 23 body segments and one hand-held prop, with finger
// tracking on both hands, two EMG channels at 2000 Hz and a few markers. Every worksheet of
// an export has data.
//
// The motion is made of smooth sinusoidal joint rotations about fixed axes, so positions,
// velocities and accelerations (and orientations, angular velocities and angular
// accelerations) are exact derivatives of one another.

#include "recording.h"

namespace demo {

inline constexpr double FrameRate = 60.0;
inline constexpr int FrameCount = 600;
inline constexpr int SegmentCount = 24;        // 23 body segments and one prop
inline constexpr int SegmentWithoutSensor = 5; // the neck carries no sensor
inline constexpr int EmgSampleRate = 2000;

// The suit's finger-tracking names: 20 segments and 19 joints per hand ("LeftCarpus",
// "LeftFirstMC", ...; joint records "jLeftFirstCMC", ...).
FingerTrackingNames fingerTrackingNames();

} // namespace demo

Recording makeDemoRecording();
