#pragma once

// Values quoted in the program's messages: a file name or a setting as the user gave it may be
// long or hold control characters, and a message must stay one readable line.

#include <QString>

// The value in double quotes, control characters written as escapes (\n, \t, \x1b) and cut
// after about 100 characters with "..." so a huge value does not flood the terminal.
QString quoted(const QString& value);

// A whole message made safe for a terminal: control characters other than line breaks and
// tabs written as escapes, so that no text from a file or the command line can move the
// cursor or start a terminal sequence.
QString printable(const QString& message);
