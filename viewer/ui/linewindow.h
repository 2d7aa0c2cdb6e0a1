// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>
#include <QVector>

// The text of the editor's window onto a file, built line by line from the mapped bytes.
// Lines longer than the display width are cut with a marker of what was left out: one line
// of many megabytes would otherwise cost seconds at every layout. Each line is decoded as
// UTF-8 when it is valid UTF-8 and as Latin-1 otherwise, and keeps what is needed to turn
// the filters' byte positions into positions of the shown text.
namespace LineWindow {

constexpr int DisplayWidth = 10000; // bytes of a line that are shown

struct Line
{
    qint64 start = 0;   // first byte in the file
    qint64 end = 0;     // one past the last byte before the terminator
    qint64 bytePos = 0; // first byte in the filters' coordinates (CR LF counted once)
    int docPos = 0;     // first character in the editor's text
    int shownBytes = 0; // bytes of the line that are shown
    int shownChars = 0; // characters they decode to
    bool latin1 = false;
    bool cut() const { return shownBytes < end - start; }
};

struct Window
{
    QVector<Line> lines;
    QString text;
};

// Decodes a whole line as it would be shown without a cut (NUL bytes as spaces).
QString decode(const unsigned char *p, qint64 n, bool *latin1 = nullptr);
// The marker put after a cut line.
QString omittedMarker(qint64 bytes);
// Builds the window from the lines' file ranges; base is the file offset of p[0]. The lines'
// start, end and bytePos must be set; the rest is filled in.
Window build(const unsigned char *p, qint64 base, QVector<Line> lines);
// The editor position of a position in the filters' coordinates; a position in the part of
// a line that is left out lands on its marker. -1 when it lies outside the window.
int documentPosition(const Window &window, qint64 bytePos);

} // namespace LineWindow
