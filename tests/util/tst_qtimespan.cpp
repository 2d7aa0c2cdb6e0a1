#include "testenv.h"
#include "util/core/qtimespan.h"

#include <QtTest>

#include <limits>

class TestQTimeSpan : public QObject
{
    Q_OBJECT

private slots:
    void printsEnglishPluralsWithoutATranslator_data()
    {
        QTest::addColumn<qint64>("msecs");
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
            QTest::newRow(qPrintable("1 " + name)) << unit.msecs << "1 " + name;
            QTest::newRow(qPrintable("2 " + name)) << 2 * unit.msecs << "2 " + name + "s";
        }
        QTest::newRow("zero") << qint64(0) << QStringLiteral("0 milliseconds");
        QTest::newRow("mixed") << (QTimeSpan::fromHours(1) + QTimeSpan::fromMinutes(2) +
                                   QTimeSpan::fromSeconds(5)).msecs()
                               << QStringLiteral("1 hour, 2 minutes, 5 seconds");
        QTest::newRow("zero units skipped")
            << (QTimeSpan::fromYears(2) + QTimeSpan::fromDays(1) + QTimeSpan::fromMSecs(7)).msecs()
            << QStringLiteral("2 years, 1 day, 7 milliseconds");
        QTest::newRow("negative") << -(QTimeSpan::fromMinutes(1) + QTimeSpan::fromSeconds(30)).msecs()
                                  << QStringLiteral("-1 minute, 30 seconds");
    }

    void printsEnglishPluralsWithoutATranslator()
    {
        QFETCH(qint64, msecs);
        QFETCH(QString, expected);
        QCOMPARE(QTimeSpan(msecs).toString(), expected);
    }

    void maxUnitsCountsFromTheLargestUnit()
    {
        const QTimeSpan span = QTimeSpan::fromDays(3) + QTimeSpan::fromMinutes(4) +
                               QTimeSpan::fromMSecs(250);
        QCOMPARE(span.toString(1), QStringLiteral("3 days"));
        // Hours are zero, so two units give no more than one.
        QCOMPARE(span.toString(2), QStringLiteral("3 days"));
        QCOMPARE(span.toString(3), QStringLiteral("3 days, 4 minutes"));
        QCOMPARE(span.toString(0), QStringLiteral("3 days, 4 minutes, 250 milliseconds"));
        QCOMPARE((-span).toString(1), QStringLiteral("-3 days"));
    }

    void partsAndTotals()
    {
        const QTimeSpan span = QTimeSpan::fromYears(1) + QTimeSpan::fromDays(364) +
                               QTimeSpan::fromHours(23) + QTimeSpan::fromMinutes(59) +
                               QTimeSpan::fromSeconds(58) + QTimeSpan::fromMSecs(999);
        QCOMPARE(span.years(), qint64(1));
        QCOMPARE(span.days(), 364);
        QCOMPARE(span.hours(), 23);
        QCOMPARE(span.minutes(), 59);
        QCOMPARE(span.seconds(), 58);
        QCOMPARE(span.milliseconds(), 999);
        QCOMPARE(QTimeSpan::fromYears(1).totalDays(), qint64(365));

        const QTimeSpan back = -QTimeSpan::fromSeconds(90);
        QVERIFY(back.isNegative());
        QCOMPARE(back.minutes(), 1);
        QCOMPARE(back.seconds(), 30);
        QCOMPARE(back.totalSeconds(), qint64(-90));

        // The most negative span still has a length to print.
        const QTimeSpan lowest(std::numeric_limits<qint64>::min());
        QVERIFY(lowest.toString().startsWith(QLatin1String("-292471208 years, ")));
    }

    void arithmeticAndComparison()
    {
        QTimeSpan span = QTimeSpan::fromMinutes(2);
        span += QTimeSpan::fromSeconds(30);
        QCOMPARE(span.msecs(), qint64(150000));
        span -= QTimeSpan::fromMinutes(3);
        QCOMPARE(span, QTimeSpan::fromSeconds(-30));
        QCOMPARE(QTimeSpan::fromSeconds(10) * 6, QTimeSpan::fromMinutes(1));
        QCOMPARE(QTimeSpan::fromHours(1) - QTimeSpan::fromMinutes(90), -QTimeSpan::fromMinutes(30));
        QVERIFY(QTimeSpan::fromSeconds(59) < QTimeSpan::fromMinutes(1));
        QVERIFY(QTimeSpan::fromSeconds(60) <= QTimeSpan::fromMinutes(1));
        QVERIFY(QTimeSpan::fromDays(1) > QTimeSpan::fromHours(23));
        QVERIFY(QTimeSpan::fromDays(1) >= QTimeSpan::fromHours(24));
        QVERIFY(QTimeSpan::fromDays(1) != QTimeSpan::fromHours(23));
        QVERIFY(QTimeSpan().isZero());
    }

    void betweenTwoDateTimes()
    {
        const QDateTime from(QDate(2023, 3, 1), QTime(10, 0), Qt::UTC);
        const QDateTime to(QDate(2023, 3, 2), QTime(11, 2, 5, 40), Qt::UTC);
        const QTimeSpan span(from, to);
        QCOMPARE(span.toString(), QStringLiteral("1 day, 1 hour, 2 minutes, 5 seconds, "
                                                 "40 milliseconds"));
        QCOMPARE(QTimeSpan(to, from), -span);
        QCOMPARE(from + span, to);
    }
};

QTEST_APPLESS_MAIN(TestQTimeSpan)
#include "tst_qtimespan.moc"
