// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"
#include "util/core/qtimespan.h"

#include <QtTest>

#include <limits>

// The durations the tool runner and the main window print, in English without a translator.
class TestQTimeSpan : public QObject
{
    Q_OBJECT

private slots:
    void printsEnglishPluralsWithoutATranslator_data()
    {
        QTest::addColumn<qint64>("msecs");
        QTest::addColumn<int>("maxUnits");
        QTest::addColumn<QString>("expected");
        const struct
        {
            const char *unit;
            qint64 msecs;
        } units[] = {{"year", QTimeSpan::MSecsPerYear}, {"day", QTimeSpan::MSecsPerDay},
                     {"hour", QTimeSpan::MSecsPerHour}, {"minute", QTimeSpan::MSecsPerMinute},
                     {"second", QTimeSpan::MSecsPerSecond}, {"millisecond", 1}};
        for (const auto &unit : units) {
            const QString name = QString::fromLatin1(unit.unit);
            QTest::newRow(qPrintable("1 " + name)) << unit.msecs << 0 << "1 " + name;
            QTest::newRow(qPrintable("2 " + name)) << 2 * unit.msecs << 0 << "2 " + name + "s";
        }
        const qint64 mixed = (QTimeSpan::fromHours(1) + QTimeSpan::fromMinutes(2) +
                              QTimeSpan::fromSeconds(5)).msecs();
        const qint64 gaps = (QTimeSpan::fromDays(3) + QTimeSpan::fromMinutes(4) +
                             QTimeSpan::fromMSecs(250)).msecs();
        QTest::newRow("zero") << qint64(0) << 0 << QStringLiteral("0 milliseconds");
        QTest::newRow("mixed") << mixed << 0 << QStringLiteral("1 hour, 2 minutes, 5 seconds");
        QTest::newRow("zero units skipped")
            << gaps << 0 << QStringLiteral("3 days, 4 minutes, 250 milliseconds");
        QTest::newRow("negative") << -QTimeSpan::fromSeconds(90).msecs() << 0
                                  << QStringLiteral("-1 minute, 30 seconds");
        // Units are counted from the largest non-zero one, so a zero hour uses one up.
        QTest::newRow("one unit") << -gaps << 1 << QStringLiteral("-3 days");
        QTest::newRow("two units, hours zero") << gaps << 2 << QStringLiteral("3 days");
        QTest::newRow("three units") << gaps << 3 << QStringLiteral("3 days, 4 minutes");
        QTest::newRow("most negative") << std::numeric_limits<qint64>::min() << 1
                                       << QStringLiteral("-292471208 years");
    }

    void printsEnglishPluralsWithoutATranslator()
    {
        QFETCH(qint64, msecs);
        QFETCH(int, maxUnits);
        QFETCH(QString, expected);
        QCOMPARE(QTimeSpan(msecs).toString(maxUnits), expected);
    }
};

QTEST_APPLESS_MAIN(TestQTimeSpan)
#include "tst_qtimespan.moc"
