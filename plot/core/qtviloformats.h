// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

// The sample formats a plot item can have: display text, the word used in file suffixes and
// requests, the width in bytes (the divisor of all sample arithmetic) and the type index that
// selects the per-type code.
namespace QtViloFormats {

struct Format
{
    QString display;
    QString suffix;
    int width;
    int typeIndex;
};

enum TypeIndex : int {
    Int8Type = 0,
    Int16Type,
    Int32Type,
    Int64Type,
    FloatType,
    DoubleType,
    AsciiType, // held as doubles, shares DoubleType's code
    Uint8Type,
    Uint16Type,
    Uint32Type,
    Uint64Type,
    TypeCount
};

// In display order: Int8 … Int64, Float, Double, Uint8 … Uint64, Ascii.
const QVector<Format> &all();
QStringList displayTexts();

// -1 / 0 / empty when the text names no format.
int indexOfDisplay(const QString &display);
int widthOf(const QString &display);
int typeIndexOf(const QString &display);
QString displayOfSuffix(const QString &suffixWord);

// "asc", "bin" or one of the suffix words: by suffix (case-sensitive, in table order), then
// by the MIME database with a content check for plain text.
QString fileType(const QString &path);
// True when the start of the file holds only numbers and separators.
bool looksLikeNumberText(const QString &path);

// Calls f with a value of the C++ type that holds the samples of a type index (ASCII values
// are held as doubles); false for an unknown type index.
template <typename F> bool visitType(int typeIndex, F &&f)
{
    switch (typeIndex) {
    case Int8Type:
        f(qint8());
        return true;
    case Int16Type:
        f(qint16());
        return true;
    case Int32Type:
        f(qint32());
        return true;
    case Int64Type:
        f(qint64());
        return true;
    case FloatType:
        f(float());
        return true;
    case DoubleType:
    case AsciiType:
        f(double());
        return true;
    case Uint8Type:
        f(quint8());
        return true;
    case Uint16Type:
        f(quint16());
        return true;
    case Uint32Type:
        f(quint32());
        return true;
    case Uint64Type:
        f(quint64());
        return true;
    default:
        return false;
    }
}

} // namespace QtViloFormats
