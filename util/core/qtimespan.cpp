// SPDX-License-Identifier: LGPL-3.0-or-later
#include "util/core/qtimespan.h"

#include <QCoreApplication>
#include <QStringList>

namespace {

// Marked for lupdate; the words are looked up with the count so each language picks its form.
const char *const UnitTexts[] = {
    QT_TRANSLATE_N_NOOP("QTimeSpan", "%n year(s)"),
    QT_TRANSLATE_N_NOOP("QTimeSpan", "%n day(s)"),
    QT_TRANSLATE_N_NOOP("QTimeSpan", "%n hour(s)"),
    QT_TRANSLATE_N_NOOP("QTimeSpan", "%n minute(s)"),
    QT_TRANSLATE_N_NOOP("QTimeSpan", "%n second(s)"),
    QT_TRANSLATE_N_NOOP("QTimeSpan", "%n millisecond(s)"),
};

QString unitText(const char *source, int n)
{
    QString text = QCoreApplication::translate("QTimeSpan", source, nullptr, n);
    QString untranslated = QString::fromLatin1(source);
    untranslated.replace(QLatin1String("%n"), QString::number(n));
    // With no translator (or one without these words) the source text came back: English.
    if (text == untranslated)
        text.replace(QLatin1String("(s)"), n == 1 ? QString() : QStringLiteral("s"));
    return text;
}

} // namespace

QString QTimeSpan::toString(int maxUnits) const
{
    const qint64 counts[] = {years(), days(), hours(), minutes(), seconds(), milliseconds()};
    const int unitCount = int(sizeof(counts) / sizeof(counts[0]));
    int first = 0;
    while (first < unitCount && counts[first] == 0)
        ++first;
    if (first == unitCount)
        return unitText(UnitTexts[unitCount - 1], 0);

    const int last = maxUnits > 0 ? qMin(unitCount, first + maxUnits) : unitCount;
    QStringList parts;
    for (int i = first; i < last; ++i) {
        if (counts[i] != 0)
            parts << unitText(UnitTexts[i], int(counts[i]));
    }
    const QString text = parts.join(QStringLiteral(", "));
    return isNegative() ? QLatin1Char('-') + text : text;
}
