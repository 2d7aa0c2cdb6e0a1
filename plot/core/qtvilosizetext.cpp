// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtvilosizetext.h"

namespace QtViloSizeText {

QString sizeText(quint64 bytes)
{
    struct Unit
    {
        quint64 size;
        const char *text;
    };
    static const Unit units[] = {{quint64(1) << 40, "%1 TB"},
                                 {quint64(1) << 30, "%1 GB"},
                                 {quint64(1) << 20, "%1 MB"},
                                 {quint64(1) << 10, "%1 KB"}};
    for (const Unit &unit : units) {
        if (bytes > unit.size - 1)
            return QString::fromLatin1(unit.text).arg(
                QString::number(double(bytes) / double(unit.size), 'f', 3));
    }
    return QStringLiteral("%1 bytes").arg(bytes);
}

QString largeFileWarningTitle()
{
    return QStringLiteral("Large File Warning!");
}

QString largeFileWarningText(const QStringList &files)
{
    return QStringLiteral("Files exceeded limit size %1:\n\n").arg(sizeText(LargeFileLimit)) +
           files.join(QLatin1Char('\n'));
}

QString largeFileWarningInformativeText()
{
    return QStringLiteral(
               "One or more files have been ignored because the file size is too large.\n"
               "Plotting such large files may cause application to hang or crash due to\n"
               "the large number of data points that need to be calculated and painted.\n\n"
               "The maximum allowed file size is %1.")
        .arg(sizeText(LargeFileLimit));
}

} // namespace QtViloSizeText
