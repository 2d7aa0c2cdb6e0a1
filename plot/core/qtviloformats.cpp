// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtviloformats.h"

#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>

#include <cstring>

namespace QtViloFormats {

const QVector<Format> &all()
{
    static const QVector<Format> formats = {
        {QStringLiteral("Int8"), QStringLiteral("int8"), 1, Int8Type},
        {QStringLiteral("Int16"), QStringLiteral("int16"), 2, Int16Type},
        {QStringLiteral("Int32"), QStringLiteral("int32"), 4, Int32Type},
        {QStringLiteral("Int64"), QStringLiteral("int64"), 8, Int64Type},
        {QStringLiteral("Float"), QStringLiteral("float"), 4, FloatType},
        {QStringLiteral("Double"), QStringLiteral("double"), 8, DoubleType},
        {QStringLiteral("Uint8"), QStringLiteral("uint8"), 1, Uint8Type},
        {QStringLiteral("Uint16"), QStringLiteral("uint16"), 2, Uint16Type},
        {QStringLiteral("Uint32"), QStringLiteral("uint32"), 4, Uint32Type},
        {QStringLiteral("Uint64"), QStringLiteral("uint64"), 8, Uint64Type},
        {QStringLiteral("Ascii"), QStringLiteral("asc"), 8, AsciiType},
    };
    return formats;
}

QStringList displayTexts()
{
    QStringList texts;
    for (const Format &format : all())
        texts << format.display;
    return texts;
}

int indexOfDisplay(const QString &display)
{
    const QVector<Format> &formats = all();
    for (int i = 0; i < formats.size(); ++i) {
        if (formats.at(i).display == display)
            return i;
    }
    return -1;
}

int widthOf(const QString &display)
{
    const int i = indexOfDisplay(display);
    return i < 0 ? 0 : all().at(i).width;
}

int typeIndexOf(const QString &display)
{
    const int i = indexOfDisplay(display);
    return i < 0 ? -1 : all().at(i).typeIndex;
}

QString displayOfSuffix(const QString &suffixWord)
{
    for (const Format &format : all()) {
        if (format.suffix == suffixWord)
            return format.display;
    }
    return {};
}

QString fileType(const QString &path)
{
    static const QStringList order = {
        QStringLiteral("asc"),    QStringLiteral("bin"),    QStringLiteral("int8"),
        QStringLiteral("int16"),  QStringLiteral("int32"),  QStringLiteral("int64"),
        QStringLiteral("float"),  QStringLiteral("double"), QStringLiteral("uint8"),
        QStringLiteral("uint16"), QStringLiteral("uint32"), QStringLiteral("uint64")};
    const QString suffix = QFileInfo(path).suffix();
    for (const QString &word : order) {
        if (suffix == word)
            return word;
    }
    const QMimeType mime = QMimeDatabase().mimeTypeForFile(path);
    // Every text type (csv, tsv and their kin inherit text/plain) gets the content check: a
    // table of numbers is what people export most.
    if (mime.inherits(QStringLiteral("text/plain")) && looksLikeNumberText(path))
        return QStringLiteral("asc");
    return QStringLiteral("bin");
}

bool looksLikeNumberText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    // The first 64 KiB decide; a number file holds digits, signs, exponents and separators.
    const QByteArray head = file.read(64 * 1024);
    bool sawDigit = false;
    for (const char c : head) {
        if (c >= '0' && c <= '9') {
            sawDigit = true;
            continue;
        }
        if (!strchr("+-.eEs;|:!\\=,/#?\r\n\t nNaAiIfF", c) || c == '\0')
            return false;
    }
    return sawDigit;
}

} // namespace QtViloFormats
