// SPDX-License-Identifier: LGPL-3.0-or-later
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
        // on the way, and the last result has scanned them all.
        QVERIFY(settle(searcher));
        QVERIFY(!processed.isEmpty());
        const Reference ref = referenceIndex(data, QStringLiteral("needle"), INT_MAX, INT_MAX - 1);
        const QList<QVariant> last = processed.last();
        QCOMPARE(last.at(0).toString(), QStringLiteral("needle"));
        QCOMPARE(last.at(1).value<qint64>(), qint64(ref.matchOffsets.size()));
        QCOMPARE(last.at(2).value<qint64>(), qint64(ref.lineEnds.size())); // plus the last line
        // Scan order: the matches from the displayed range on come first, then the others.
        const qint32 start = lower == 0                    ? 0
                             : lower < ref.lineEnds.size() ? ref.lineEnds[lower] + 1
                                                           : qint32(data.size());
        QVector<qint32> offsets = ref.matchOffsets;
        QVector<qint32> lines = ref.matchLines;
        const int before =
            int(std::count_if(offsets.begin(), offsets.end(), [&](qint32 o) { return o < start; }));
        std::rotate(offsets.begin(), offsets.begin() + before, offsets.end());
        std::rotate(lines.begin(), lines.begin() + before, lines.end());
        if (lower > 0 && lower < ref.lineEnds.size())
            QCOMPARE(processed.first().at(1).value<qint64>(), qint64(offsets.size() - before));
        QReadLocker matches(&engine.index().matchLock);
        QCOMPARE(engine.index().matchOffsets, offsets);
        QCOMPARE(engine.index().matchLines, lines);
        QReadLocker marks(&engine.index().matchAnnotationLock);
        QCOMPARE(engine.annotations().searchMarks, marksOf(ref.matchLines, ref.lineEnds.size()));
        QCOMPARE(engine.index().searchString, QStringLiteral("needle"));
    }
};

QTEST_GUILESS_MAIN(TestFileSearcher)
#include "tst_filesearcher.moc"
