#include "testenv.h"
#include "viewertestutil.h"

#include "viewer/core/filereaderwriter.h"
#include "viewer/core/filesearcher.h"
#include "viewer/core/viewerengine.h"

#include <QReadLocker>
#include <QtTest>

#include <algorithm>

using namespace ViewerTest;

class TestFileSearcher : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void wrapsAroundTheDisplayedRange_data()
    {
        QTest::addColumn<int>("lower");
        QTest::addColumn<qint64>("chunk");
        QTest::addColumn<int>("longLine"); // length of one more line, with needles here and there
        QTest::newRow("from the top") << 0 << qint64(512000) << 0;
        QTest::newRow("from line 600") << 600 << qint64(512000) << 0;
        QTest::newRow("from line 600, small chunks") << 600 << qint64(100) << 0;
        QTest::newRow("beyond the index") << 5000 << qint64(512000) << 0;
        QTest::newRow("a line of 1.3 MB") << 600 << qint64(512000) << 1300000;
    }

    void wrapsAroundTheDisplayedRange()
    {
        QFETCH(int, lower);
        QFETCH(qint64, chunk);
        QFETCH(int, longLine);
        // Three matches on some lines, two back to back; a NUL hides the rest of its line.
        QByteArray data;
        for (int i = 0; i < 1000; ++i)
            data += "line " + QByteArray::number(i) + (i % 7 ? "" : " Needle and NEEDLEneedle") +
                    (i % 3 ? "\n" : "\r\n");
        if (longLine > 0) {
            // Across the borders of the 512 KiB blocks that candidates are collected in.
            QByteArray line(longLine, 'x');
            for (const int at : {0, 524285, 524291, 1048571, longLine - 6})
                line.replace(at, 6, "neEdle");
            data += line + '\n';
        }
        data += "hidden \0 needle\nlast needle";
        data.replace("line 14 ", QByteArray("line 14 \0", 9));
        const QString path = writeFile(m_dir, "search.log", data);
        ViewerEngine engine;
        QVERIFY(indexWhole(engine, path, QString()));
        engine.annotations().lower = lower;
        engine.annotations().upper = lower + 10;
        FileSearcher *searcher = engine.searcher();
        QueuedSignalSpy processed(searcher, &FileSearcher::SearchProcessed);
        QMetaObject::invokeMethod(searcher, [=] {
            searcher->SearchTextInFile(QStringLiteral("needle"), path, chunk, 4000);
        });
        // Every line is searched once, whatever the first line is; a slow search publishes
        // on the way, so the result is the one that has scanned them all.
        const Reference ref = referenceIndex(data, QStringLiteral("needle"), INT_MAX, INT_MAX - 1);
        QTRY_VERIFY_WITH_TIMEOUT(!processed.isEmpty() && processed.last().at(2).value<qint64>() ==
                                                            qint64(ref.lineEnds.size()),
                                 30000);
        const QList<QVariant> last = processed.last();
        QCOMPARE(last.at(0).toString(), QStringLiteral("needle"));
        QCOMPARE(last.at(1).value<qint64>(), qint64(ref.matchOffsets.size()));
        QCOMPARE(last.at(2).value<qint64>(), qint64(ref.lineEnds.size())); // plus the last line
        QReadLocker matches(&engine.index().matchLock);
        QVector<qint32> offsets = engine.index().matchOffsets;
        QVector<qint32> lines = engine.index().matchLines;
        // Scan order: the matches from the displayed range on come first.
        const qint32 start = lower == 0                    ? 0
                             : lower < ref.lineEnds.size() ? ref.lineEnds[lower] + 1
                                                           : qint32(data.size());
        const auto split =
            std::find_if(offsets.begin(), offsets.end(), [&](qint32 o) { return o < start; });
        QVERIFY(std::is_sorted(offsets.begin(), split));
        QVERIFY(std::is_sorted(split, offsets.end()));
        if (lower > 0 && lower < ref.lineEnds.size()) {
            const qint64 firstPass = std::count_if(ref.matchOffsets.begin(), ref.matchOffsets.end(),
                                                   [&](qint32 o) { return o >= start; });
            QCOMPARE(processed.first().at(1).value<qint64>(), firstPass);
        }
        const int firstCount = int(split - offsets.begin());
        std::rotate(offsets.begin(), split, offsets.end());
        std::rotate(lines.begin(), lines.begin() + firstCount, lines.end());
        QCOMPARE(offsets, ref.matchOffsets);
        QCOMPARE(lines, ref.matchLines);
        QReadLocker marks(&engine.index().matchAnnotationLock);
        QCOMPARE(engine.annotations().searchMarks, marksOf(ref.matchLines, ref.lineEnds.size()));
        QCOMPARE(engine.index().searchString, QStringLiteral("needle"));
    }
};

QTEST_GUILESS_MAIN(TestFileSearcher)
#include "tst_filesearcher.moc"
