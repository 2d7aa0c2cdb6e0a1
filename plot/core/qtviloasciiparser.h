// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/core/qtviloreadrange.h"

#include <QString>
#include <QVector>

#include <functional>

class QIODevice;

// The two readers of ASCII number files. Both count the values first when they
// must, so the value array is allocated once at its final size, then convert the tokens of
// the read range with a locale-independent decimal conversion (std::from_chars: no hex, no
// thousands separators; blanks at either end of a token are allowed, blanks inside are not).
namespace QtViloAsciiParser {

// "Some string values could not be converted to number!"
QString conversionErrorHeading();
// "<source>: None Numeric String: <token>: Line: <line>"; a long token is cut to 64 bytes
// followed by "...".
QString conversionErrorDetail(const QString &sourceName, const QByteArray &token, qint64 line);

struct Params
{
    qint64 dataOffset = 0;  // D, in values
    qint64 maxPlotSize = 0; // M, in values
    bool reverseOffset = false;
    // Stream mode: the total from an earlier count of the same source, -1 when unknown
    // (a count pass runs first). Mapped mode always counts.
    qint64 knownTotal = -1;
    // Names the source in the error detail (the file name).
    QString sourceName;
    // Asked now and then during long passes; returning true stops the parse (cancelled).
    std::function<bool()> cancelled;
};

struct Result
{
    QVector<double> values; // the read range, allocated once
    qint64 total = 0;       // values in the whole source (from its start position)
    qint64 start = 0;       // index of values[0] among them
    bool ok = true;
    bool wasCancelled = false;
    // Set when a token did not convert; the read stops there and values holds the ones
    // converted before it.
    QString heading;
    QString detail;
    QByteArray badToken;
    qint64 badLine = 0; // 1-based, counted from the start position
};

// The mapped mode's separator set: the 27 characters of the stream mode's pattern string
// ";|:|!|\\+|=|,|/|#|\\?|\r|\n|\\s+" taken one by one (; | : ! \ + = , / # ? CR LF s). Space
// and tab are not separators here.
bool isMappedSeparator(char c);
// One per maximal run of non-separators.
qint64 countMappedTokens(const char *data, qint64 size);

// Mapped mode: scans size bytes in place (the file's mapping after the byte offset).
Result parseMapped(const char *data, qint64 size, const Params &params);

// Stream mode: a text stream on device from byteOffset, each line split with
// QRegularExpression(";|:|!|\\+|=|,|/|#|\\?|\r|\n|\\s+"), empty parts dropped. The device
// must be open and seekable.
Result parseStream(QIODevice &device, qint64 byteOffset, const Params &params);

} // namespace QtViloAsciiParser
