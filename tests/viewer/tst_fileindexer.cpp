#include "testenv.h"
#include "viewertestutil.h"

#include "viewer/core/filereaderwriter.h"
#include "viewer/core/viewerengine.h"

#include <QReadLocker>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <cstdio>

using namespace ViewerTest;

// Stands in for the panel: its signal reaches the worker through a queued connection.
class Driver : public QObject
{
    Q_OBJECT
signals:
    void NewFileOpened(const QString &SearchString, const QString &FilePath,
                       const qint64 &ChunkSize, const qint64 &MaxBlockCount);
};

class TestFileIndexer : public QObject
{
    Q_OBJECT

private:
    struct Run
    {
        QList<qint32> counts;
        QStringList errors;
    };

    // Indexes path and waits for `signals` FileIndexed signals (the last one is final).
    Run indexFile(ViewerEngine &engine, const QString &path, const QString &search, qint64 chunk,
                  qint64 maxBlockCount, int signalCount)
    {
        Driver driver;
        connect(&driver, &Driver::NewFileOpened, engine.readerWriter(),
                &FileReaderWriter::IndexFile);
        Relay relay(engine.readerWriter());
        QSignalSpy indexed(&relay, &Relay::FileIndexed);
        QSignalSpy failed(&relay, &Relay::FileIndexError);
        emit driver.NewFileOpened(search, path, chunk, maxBlockCount);
        Run run;
        if (!waitForCount(indexed, signalCount))
            return run;
        for (const QList<QVariant> &args : qAsConst(indexed)) {
            if (args.at(0).toString() == path)
                run.counts.append(args.at(1).value<qint32>());
        }
        for (const QList<QVariant> &args : qAsConst(failed))
            run.errors.append(args.at(1).toString());
        return run;
    }

    QString write(const QString &name, const QByteArray &data)
    {
        const QString path = m_dir.filePath(name);
        if (!writeFile(path, data))
            qFatal("cannot write %s", qPrintable(path));
        return path;
    }

    void compareWithReference(ViewerEngine &engine, const Reference &ref)
    {
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

    QTemporaryDir m_dir;

private slots:
    void workersRunOnNamedThreads()
    {
        ViewerEngine engine;
        QCOMPARE(engine.readerWriter()->thread(), engine.readerWriterThread());
        QCOMPARE(engine.readerWriterThread()->objectName(),
                 QStringLiteral("FileReaderWriterThread"));
        QCOMPARE(engine.searcherThread()->objectName(), QStringLiteral("FileSearcherThread"));
        QCOMPARE(engine.filterThread()->objectName(), QStringLiteral("OccurrenceFilterThread"));
        QVERIFY(engine.readerWriterThread()->isRunning());
    }

    void emptyAndMissingFiles()
    {
        ViewerEngine engine;
        const QString empty = write("empty.log", QByteArray());
        Run run = indexFile(engine, empty, "x", 512000, 4000, 1);
        QCOMPARE(run.counts, QList<qint32>{1});
        QVERIFY(run.errors.isEmpty());
        QCOMPARE(engine.index().lineEnds, QVector<qint32>{0});
        QCOMPARE(engine.index().crlfCounts, QVector<qint32>{0});

        // A file that does not exist is simply empty, and nothing is reported.
        run = indexFile(engine, m_dir.filePath("missing.log"), "", 512000, 4000, 1);
        QCOMPARE(run.counts, QList<qint32>{1});
        QVERIFY(run.errors.isEmpty());
        QCOMPARE(engine.index().lineEnds, QVector<qint32>{0});
    }

    void terminatorRules_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<qint64>("chunk");
        QTest::addColumn<QVector<qint32>>("lineEnds");
        QTest::addColumn<QVector<qint32>>("crlfCounts");
        QTest::newRow("CR LF pairs") << QByteArray("a\r\nb\r\n") << qint64(512000)
                                     << QVector<qint32>{0, 2, 5} << QVector<qint32>{0, 1, 2};
        QTest::newRow("LF then CR is two")
            << QByteArray("a\n\rb\n") << qint64(512000) << QVector<qint32>{0, 1, 2, 4}
            << QVector<qint32>{0, 0, 0, 0};
        // The CR ends the first chunk of three bytes, the LF starts the next.
        QTest::newRow("CR LF split by chunk")
            << QByteArray("ab\r\ncd\n") << qint64(3) << QVector<qint32>{0, 2, 3, 6}
            << QVector<qint32>{0, 0, 0, 0};
        QTest::newRow("no final terminator") << QByteArray("one\ntwo") << qint64(512000)
                                             << QVector<qint32>{0, 3} << QVector<qint32>{0, 0};
        QTest::newRow("lone CR") << QByteArray("a\rb\r") << qint64(512000)
                                 << QVector<qint32>{0, 1, 3} << QVector<qint32>{0, 0, 0};
    }

    void terminatorRules()
    {
        QFETCH(QByteArray, data);
        QFETCH(qint64, chunk);
        QFETCH(QVector<qint32>, lineEnds);
        QFETCH(QVector<qint32>, crlfCounts);
        ViewerEngine engine;
        const QString path = write("terminators.log", data);
        const Run run = indexFile(engine, path, "", chunk, 4000, 1);
        QCOMPARE(run.counts, QList<qint32>{qint32(lineEnds.size())});
        QCOMPARE(engine.index().lineEnds, lineEnds);
        QCOMPARE(engine.index().crlfCounts, crlfCounts);
    }

    void markersAndSearchCase()
    {
        ViewerEngine engine;
        // Back-to-back markers count twice; markers are case-sensitive, the search is not.
        const QString path = write("markers.log", "ERROR:ERROR:\nWARN :WARN :\nerror: a\n"
                                                  "warn : b\nlast ERROR: x");
        indexFile(engine, path, "error:", 512000, 4000, 1);
        const FileIndex &index = engine.index();
        QCOMPARE(index.errorOffsets, (QVector<qint32>{0, 6, 49}));
        QCOMPARE(index.errorLines, (QVector<qint32>{1, 1, 5}));
        QCOMPARE(index.warningOffsets, (QVector<qint32>{13, 19}));
        QCOMPARE(index.warningLines, (QVector<qint32>{2, 2}));
        QCOMPARE(index.matchOffsets, (QVector<qint32>{0, 6, 26, 49}));
        QCOMPARE(index.matchLines, (QVector<qint32>{1, 1, 3, 5}));
        // The unterminated last line has no entry of its own.
        QCOMPARE(index.lineEnds, (QVector<qint32>{0, 12, 25, 34, 43}));
    }

    void progressEveryMaxBlockCountPlusOne()
    {
        QByteArray data;
        for (int i = 0; i < 10000; ++i)
            data += "line " + QByteArray::number(i) + (i % 97 ? "\n" : " ERROR: x\n");
        const QString path = write("tenthousand.log", data);
        ViewerEngine engine;
        const Run run = indexFile(engine, path, "", 512000, 4000, 3);
        QCOMPARE(run.counts, (QList<qint32>{4000, 8001, 10001}));
        compareWithReference(engine, referenceIndex(data, "", 512000, 4000));
    }

    void generatedFilesMatchReference_data()
    {
        QTest::addColumn<quint32>("seed");
        QTest::addColumn<qint64>("chunk");
        QTest::addColumn<QString>("search");
        const QStringList searches = {"",
                                      "needle",
                                      "k",
                                      "ERROR:",
                                      QStringLiteral("\u00e9"),
                                      "e\r",
                                      "\na",
                                      QStringLiteral("\u00b5"),
                                      "x",
                                      QStringLiteral("\u03bc"),
                                      QStringLiteral("\u212a")};
        const qint64 chunks[] = {1, 3, 7, 64, 4096, 512000};
        quint32 seed = 1;
        for (const qint64 chunk : chunks) {
            for (const QString &search : searches) {
                const QByteArray name =
                    QByteArray::number(chunk) + " / " + search.toUtf8().toPercentEncoding();
                QTest::newRow(name.constData()) << seed++ << chunk << search;
            }
        }
    }

    void generatedFilesMatchReference()
    {
        QFETCH(quint32, seed);
        QFETCH(qint64, chunk);
        QFETCH(QString, search);
        QRandomGenerator rng(seed);
        const QByteArray data = randomLog(rng, chunk < 8 ? 300 : 3000);
        const qint64 maxBlockCount = 50;
        const Reference ref = referenceIndex(data, search, chunk, maxBlockCount);
        const QString path = write("generated.log", data);
        ViewerEngine engine;
        const Run run =
            indexFile(engine, path, search, chunk, maxBlockCount, ref.progress.size() + 1);
        QList<qint32> expected = ref.progress.toList();
        expected.append(ref.lineEnds.size());
        QCOMPARE(run.counts, expected);
        compareWithReference(engine, ref);
    }

    void unreadableFileIsReported()
    {
        ViewerEngine engine;
        // A directory exists but is no file that can be mapped.
        const QString dir = m_dir.filePath("adir");
        QVERIFY(QDir().mkpath(dir));
        const Run run = indexFile(engine, dir, "", 512000, 4000, 1);
        QCOMPARE(run.counts, QList<qint32>{1});
        QCOMPARE(run.errors.size(), 1);
        QVERIFY(run.errors.first().contains(dir));
        QCOMPARE(engine.index().lineEnds, QVector<qint32>{0});
    }

    void fileOfTwoGibIsRefused()
    {
        const QString path = m_dir.filePath("huge.log");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        // Sparse: no disk space is used.
        if (!file.resize(qint64(1) << 31))
            QSKIP("the file system cannot hold a sparse 2 GiB file");
        file.close();
        ViewerEngine engine;
        const Run run = indexFile(engine, path, "", 512000, 4000, 1);
        QCOMPARE(run.counts, QList<qint32>{1});
        QCOMPARE(run.errors.size(), 1);
        QVERIFY(run.errors.first().contains(QStringLiteral("2 GiB")));
        QCOMPARE(engine.index().lineEnds, QVector<qint32>{0});
        QFile::remove(path);
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
        const QString path = write("changing.log", data);
        const QString other = write("other.log", "short\n");
        ViewerEngine engine;
        // Runs on the worker thread between two chunks, so the change lands mid-file.
        bool done = false;
        connect(
            engine.readerWriter(), &FileReaderWriter::FileIndexed, engine.readerWriter(),
            [&](const QString &, const qint32 &) {
                if (done)
                    return;
                done = true;
                if (replace)
                    std::rename(QFile::encodeName(other).constData(),
                                QFile::encodeName(path).constData());
                else
                    QFile::resize(path, 1000);
            },
            Qt::DirectConnection);
        Relay relay(engine.readerWriter());
        QSignalSpy indexed(&relay, &Relay::FileIndexed);
        QSignalSpy failed(&relay, &Relay::FileIndexError);
        Driver driver;
        connect(&driver, &Driver::NewFileOpened, engine.readerWriter(),
                &FileReaderWriter::IndexFile);
        emit driver.NewFileOpened("line", path, 4096, 100);
        // Progress signals carry size - 1; the final one the size of lineEnds.
        // Sizes only grow, so a count equal to the current size is the final signal.
        const auto finished = [&] {
            if (indexed.isEmpty())
                return false;
            QReadLocker lines(&engine.index().lineLock);
            return indexed.last().at(1).value<qint32>() == engine.index().lineEnds.size();
        };
        QTRY_VERIFY_WITH_TIMEOUT(finished(), 30000);
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
        const QString path = write("shutdown.log", data);
        auto *engine = new ViewerEngine;
        Driver driver;
        connect(&driver, &Driver::NewFileOpened, engine->readerWriter(),
                &FileReaderWriter::IndexFile);
        emit driver.NewFileOpened("down", path, 64, 10);
        emit driver.NewFileOpened("down", path, 64, 10);
        delete engine; // must neither hang nor crash
    }
};

QTEST_GUILESS_MAIN(TestFileIndexer)
#include "moc_viewertestutil.cpp"
#include "tst_fileindexer.moc"
