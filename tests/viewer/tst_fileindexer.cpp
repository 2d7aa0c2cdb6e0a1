// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"
#include "viewertestutil.h"

#include "viewer/core/filereaderwriter.h"
#include "viewer/core/viewerengine.h"

#include <QReadLocker>
#include <QtTest>

#include <cstdio>
#include <utility>

using namespace ViewerTest;

class TestFileIndexer : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    // Small files that spell out the terminator rules, then generated ones with every awkward
    // byte, in chunks down to one byte.
    void indexMatchesTheReference_data()
    {
        QTest::addColumn<QByteArray>("data"); // null: the file does not exist
        QTest::addColumn<quint32>("seed");     // not 0: a generated file instead
        QTest::addColumn<qint64>("chunk");
        QTest::addColumn<QString>("search");
        const auto rule = [](const char *name, const QByteArray &data, qint64 chunk) {
            QTest::newRow(name) << data << quint32(0) << chunk << QString();
        };
        rule("empty", "", 512000);
        rule("missing is empty", QByteArray(), 512000);
        rule("CR LF pairs", "a\r\nb\r\n", 512000);
        rule("LF then CR is two", "a\n\rb\n", 512000);
        rule("CR LF split by chunk", "ab\r\ncd\n", 3); // CR ends a chunk, LF starts the next
        rule("no final terminator", "one\ntwo", 512000);
        rule("lone CR", "a\rb\r", 512000);
        // Case partners outside ASCII, one beyond Latin-1 and one not in Latin-1 at all.
        const QStringList searches = {"", "needle", "k", "ERROR:", "e\r", "\na", "x",
                                      QStringLiteral("\u00e9"), QStringLiteral("\u00b5"),
                                      QStringLiteral("\u03bc"), QStringLiteral("\u212a"),
                                      QStringLiteral("\u00df"), QStringLiteral("\u0178"),
                                      QStringLiteral("\u4e2d")};
        quint32 seed = 1;
        for (const qint64 chunk : {1, 3, 7, 64, 4096, 512000}) {
            for (const QString &search : searches) {
                const QByteArray name =
                    QByteArray::number(chunk) + " / " + search.toUtf8().toPercentEncoding();
                QTest::newRow(name.constData()) << QByteArray("") << seed++ << chunk << search;
            }
        }
    }

    void indexMatchesTheReference()
    {
        QFETCH(QByteArray, data);
        QFETCH(quint32, seed);
        QFETCH(qint64, chunk);
        QFETCH(QString, search);
        if (seed != 0) {
            QRandomGenerator rng(seed);
            data = randomLog(rng, chunk < 8 ? 300 : 3000);
        }
        const qint64 maxBlockCount = 50;
        const Reference ref = referenceIndex(data, search, chunk, maxBlockCount);
        const QString path =
            data.isNull() ? m_dir.filePath("missing.log") : writeFile(m_dir, "indexed.log", data);
        ViewerEngine engine;
        QueuedSignalSpy indexed(engine.readerWriter(), &FileReaderWriter::FileIndexed);
        QueuedSignalSpy failed(engine.readerWriter(), &FileReaderWriter::FileIndexError);
        startIndexing(engine, path, search, chunk, maxBlockCount);
        QList<qint32> expected = ref.progress.toList(); // the last signal is the final one
        expected.append(ref.lineEnds.size());
        QVERIFY(waitForCount(indexed, expected.size()));
        QList<qint32> counts;
        for (const QList<QVariant> &args : qAsConst(indexed))
            counts.append(args.at(1).value<qint32>());
        QCOMPARE(counts, expected);
        QCOMPARE(failed.size(), 0);
        FileIndex &index = engine.index();
        compareIndex(index, ref);
        if (QTest::currentTestFailed())
            return;
        QReadLocker occurrenceMarks(&index.occurrenceAnnotationLock);
        QReadLocker matchMarks(&index.matchAnnotationLock);
        const int size = ref.lineEnds.size();
        QCOMPARE(engine.annotations().errorMarks, marksOf(ref.errorLines, size));
        QCOMPARE(engine.annotations().warningMarks, marksOf(ref.warningLines, size));
        QCOMPARE(engine.annotations().searchMarks, marksOf(ref.matchLines, size));
    }

    void fileShrinksOrIsReplacedWhileIndexing_data()
    {
        QTest::addColumn<bool>("replace");
        QTest::newRow("shrinks") << false;
        QTest::newRow("replaced") << true;
    }

    void fileShrinksOrIsReplacedWhileIndexing()
    {
        QFETCH(bool, replace);
        QByteArray data;
        for (int i = 0; i < 20000; ++i)
            data += "a line of text that is long enough " + QByteArray::number(i) + "\n";
        const QString path = writeFile(m_dir, "changing.log", data);
        const QString other = writeFile(m_dir, "other.log", "short\n");
        ViewerEngine engine;
        // Runs on the worker thread between two chunks, so the change lands mid-file.
        bool done = false;
        connect(
            engine.readerWriter(), &FileReaderWriter::FileIndexed, engine.readerWriter(),
            [&] {
                if (std::exchange(done, true))
                    return;
                if (replace)
                    std::rename(QFile::encodeName(other).constData(),
                                QFile::encodeName(path).constData());
                else
                    QFile::resize(path, 1000);
            },
            Qt::DirectConnection);
        QueuedSignalSpy failed(engine.readerWriter(), &FileReaderWriter::FileIndexError);
        startIndexing(engine, path, "line", 4096, 100);
        QVERIFY(settle(engine.readerWriter()));
        QReadLocker lines(&engine.index().lineLock);
        if (replace) {
            // The open descriptor still reads the original file to its end.
            QVERIFY(failed.isEmpty());
            QCOMPARE(engine.index().lineEnds.size(), 20001);
        } else {
            QCOMPARE(failed.size(), 1);
            QVERIFY(engine.index().lineEnds.size() < 20001);
            QVERIFY(engine.index().lineEnds.last() < data.size());
        }
    }

    void shutdownDuringIndexing()
    {
        QByteArray data;
        for (int i = 0; i < 50000; ++i)
            data += "ERROR: shutting down while this is indexed " + QByteArray::number(i) + "\n";
        const QString path = writeFile(m_dir, "shutdown.log", data);
        auto *engine = new ViewerEngine;
        startIndexing(*engine, path, "down", 64, 10);
        startIndexing(*engine, path, "down", 64, 10);
        delete engine; // must neither hang nor crash
    }
};

QTEST_GUILESS_MAIN(TestFileIndexer)
#include "tst_fileindexer.moc"
