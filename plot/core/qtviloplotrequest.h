// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/core/qtviloplotitemdefaults.h"

#include <QString>

class QtViloPlotItem;

// A client's plot request: the monitor's request text, comma-separated, fields
// trimmed and read by position (0 process id, 1 program path, 2 variable name, 3 base address
// in hex, 4 format word, 5 step, 6 byte offset, 7 data offset, 8 max plot size, 9 sample rate,
// 10 sample resolution, 11 input range, 12 gain, 13 byte size). Absent or non-numeric
// optional fields take the defaults (the byte size 0).
struct QtViloPlotRequest
{
    bool ok = false;
    QString message; // why not, when !ok

    qint64 processId = 0;
    QString variableName;
    quint64 baseAddress = 0;
    QString name; // variable name + "@" + the address field as written

    // The read parameters: the defaults with every field the request gives; the format is the
    // format word with its first letter upper-cased.
    QtViloPlotItemDefaults values;
    quint64 byteSize = 0;
};

// Fails (ok false, with a message) when field 2 or 3 is missing or empty, when the address is
// not hexadecimal (with or without "0x") or the process id not decimal.
QtViloPlotRequest parsePlotRequest(const QString &text, const QtViloPlotItemDefaults &defaults);

// Gives a memory item the request's source, name and read parameters.
void applyPlotRequest(const QtViloPlotRequest &request, QtViloPlotItem &item);
