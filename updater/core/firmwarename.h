// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>

// What a firmware file's name tells about the image inside it.
struct FirmwareName
{
    QString family;      // "VRX14", "VRX7", "VRXSM"...; empty when the name has none
    QString description; // empty when the name does not yield one
    QString version;     // decimal, fits 32 bits unsigned; empty when the name has none
};

// Reads a firmware file name (a path is fine; only the file name counts). The rule, also told
// in the help text: the base name is split at "_", "-", "." and blanks; a part "VRX..." is the
// family; the parts "FW" and those of a number followed by "GS", "CH", "X", "A" or "C" (such
// as "10GS", "2CH", "4X", "8A") make the description, upper-cased and joined by "_" in the
// order they stand (at most 16 characters, else there is none); the last part that is a
// number, optionally led by "r", "rev" or "v", is the version.
FirmwareName parseFirmwareName(const QString &fileName);
