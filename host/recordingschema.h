#pragma once

// The walk over a recording file's JSON (format "tavi-recording", version 1) that builds the
// Recording: which fields the format has, what each must hold, and the order in which its
// faults are reported.

#include "jsonstream.h"
#include "recording.h"
#include "recordinglimits.h"

#include <string>

// Reads the whole text of `json` into `recording`. Answers the message of the first fault
// without the file name ("frames[3].frame: expected ..."), or an empty text. Type faults are
// collected on the way; "format" and "version" are checked at the end, so a file of another
// format or version is reported as such whatever its fields hold. `topLevelIsObject` is set
// as soon as the text is seen to start with an object, as a recording does, so that a caller
// catching a syntax error can tell a broken recording from a file that is no recording.
std::string readRecordingJson(JsonStream& json, RecordingBudget& budget, Recording& recording, bool& topLevelIsObject);
