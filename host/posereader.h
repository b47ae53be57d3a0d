#pragma once

// Reads the pose object of one frame of a recording file: segments, joint angles, centre of
// mass, global position and finger tracking.

#include "recordingvalues.h"

#include "taviPose.h"

#include <memory>

// The pose; null (after a mismatch) when the value is not an object.
std::shared_ptr<const ConcreteTaviPose> readPose(RecordingValues& values);
