#pragma once

// The header rows of the data sheets, built once per export from what the host reports:
// prop columns trimmed by the T-pose segment count, finger-tracking columns appended when the
// recording has finger tracking.

#include "sheetcatalogue.h"

#include <QString>
#include <QStringList>

class AbstractTaviStudioPluginInterface;

struct HeaderLists
{
    QStringList segment;
    QStringList quaternion;
    QStringList bodySegment;
    QStringList joint;
    QStringList ergonomic;
    QStringList centerOfMass;
    QStringList globalPosition;
    QStringList externalData;
    bool hasFingerTracking = false;

    // The list a sheet's row 1 holds; empty for General Information and Markers.
    const QStringList& forSheet(HeaderList list) const;
};

// The 23 body segment names followed by "Prop Tracker 1".."Prop Tracker 4".
const QStringList& segmentNames();

// Builds every list for the host's recording (T-pose, finger tracking, external channels).
HeaderLists buildHeaderLists(const AbstractTaviStudioPluginInterface& host);

// Label of a finger joint record's name: the first character is dropped and a blank goes
// before each capital that does not follow a capital ("xAbcDEF" gives "Abc DEF"). A name
// shorter than two characters gives an empty label.
QString fingerJointLabel(const QString& name);
