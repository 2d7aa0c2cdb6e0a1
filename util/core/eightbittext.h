// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

// Text that arrives as 8-bit bytes of unknown encoding (the monitor's clients, the external
// monitor's output) travels through QString without losing a byte: valid UTF-8 is decoded,
// every other byte b becomes the lone surrogate U+DC00 + b, which no decoded text can hold.

#include <QByteArray>
#include <QString>
#include <QVector>

QString decodeEightBit(const char *data, int size);
inline QString decodeEightBit(const QByteArray &bytes)
{
    return decodeEightBit(bytes.constData(), bytes.size());
}
// The bytes again: UTF-8 for decoded text, the original byte for each escaped one.
QByteArray encodeEightBit(const QString &text);
// Where each character's bytes start in encodeEightBit(text), and its size at the end.
QVector<qint32> eightBitOffsets(const QString &text);
// For showing: escaped bytes read as Latin-1.
QString eightBitForDisplay(const QString &text);
