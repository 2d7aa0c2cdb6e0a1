#include "testenv.h"
#include "viewertestutil.h"

#include "viewer/core/filereaderwriter.h"
#include "viewer/core/occurrencefilter.h"
#include "viewer/core/viewerengine.h"

#include <QReadLocker>
#include <QTemporaryDir>
#include <QtTest>

using namespace ViewerTest;

class TestOccurrenceFilter : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QByteArray m_data;
    QString m_path;

    // Document position of a file offset in the range loaded from `first`: the editor holds
    // one character where the file holds CR LF.
    int documentPosition(qint32 first, qint32 offset) const
    {
        QByteArray prefix = m_data.mid(first, offset - first);
        return prefix.replace("\r\n", "\n").size();
    }

    QVector<qint32> expected(const QVector<qint32> &offsets, qint32 first, qint32 end) const
    {
        QVector<qint32> out;
        for (const qint32 offset : offsets) {
            if (offset >= first && offset <= end)
                out.append(documentPosition(first, offset));
        }
        std::sort(out.begin(), out.end());
        return out;
    }

    // Asks for the filters as the panel does, once the file is indexed.
    void requestFilters(ViewerEngine &engine, const QStringList &kinds)
    {
        QVERIFY(indexWhole(engine, m_path, QStringLiteral("needle")));
        OccurrenceFilter *filter = engine.filter();
        const QString path = m_path;
        QMetaObject::invokeMethod(filter, [=] { filter->onSelectionsFilterRequest(path, kinds); });
    }

private slots:
    void initTestCase()
    {
        for (int i = 0; i < 300; ++i) {
            m_data += "line " + QByteArray::number(i);
            if (i % 11 == 0)
                m_data += " ERROR: broken";
            if (i % 17 == 0)
                m_data += " WARN : odd needle";
            if (i % 5 == 0)
                m_data += " Needle";
            m_data += i % 2 ? "\r\n" : i % 7 ? "\n" : "\n\r";
        }
        m_path = m_dir.filePath("filter.log");
        QVERIFY(writeFile(m_path, m_data));
    }

    void filtersTheDisplayedRange_data()
    {
        QTest::addColumn<int>("lower");
        QTest::addColumn<int>("upper");
        QTest::addColumn<int>("maxBlockCount");
        QTest::newRow("whole file") << 0 << 1000 << 4000;
        QTest::newRow("middle") << 40 << 90 << 4000;
        QTest::newRow("capped by block count") << 40 << 290 << 25;
        QTest::newRow("to the end") << 250 << 400 << 4000;
        QTest::newRow("nothing in range") << 1 << 2 << 4000;
    }

    void filtersTheDisplayedRange()
    {
        QFETCH(int, lower);
        QFETCH(int, upper);
        QFETCH(int, maxBlockCount);
        ViewerEngine engine(maxBlockCount);
        engine.annotations().lower = lower;
        engine.annotations().upper = upper;
        QueuedSignalSpy match(engine.filter(), &OccurrenceFilter::MatchFilterFinished);
        QueuedSignalSpy critical(engine.filter(), &OccurrenceFilter::CriticalFilterFinished);
        requestFilters(engine, {"search", "critical"});
        QVERIFY(waitForCount(critical, 1));
        QCOMPARE(match.count(), 1);

        const Reference ref = referenceIndex(m_data, QStringLiteral("needle"), 512000, INT_MAX - 1);
        const int size = ref.lineEnds.size();
        const int last = lower + qMin(maxBlockCount, upper - lower);
        const qint32 first = lower == 0 ? 0 : ref.lineEnds[lower] + 1;
        const qint32 end = last < size ? ref.lineEnds[last] : m_data.size();
        QCOMPARE(engine.matchBuffers().acceptPending(), expected(ref.matchOffsets, first, end));
        QCOMPARE(engine.criticalBuffers().acceptPending(),
                 expected(ref.errorOffsets + ref.warningOffsets, first, end));
        QCOMPARE(engine.matchBuffers().inUse, 1);
    }

    void shutdownWhileWaitingForTheEditor()
    {
        auto *engine = new ViewerEngine;
        QueuedSignalSpy match(engine->filter(), &OccurrenceFilter::MatchFilterFinished);
        // The second run waits for the first result to be accepted, which never happens.
        requestFilters(*engine, {"search", "search"});
        QVERIFY(waitForCount(match, 1));
        delete engine; // must not hang
    }
};

QTEST_GUILESS_MAIN(TestOccurrenceFilter)
#include "tst_occurrencefilter.moc"
