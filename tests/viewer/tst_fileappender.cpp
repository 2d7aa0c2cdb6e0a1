// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"
#include "viewertestutil.h"

#include "util/core/eightbittext.h"
#include "viewer/core/filereaderwriter.h"
#include "viewer/core/viewerengine.h"

#include <QTemporaryDir>
#include <QtTest>

#include <numeric>

using namespace ViewerTest;

class TestFileAppender : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

private slots:
    void appendedPiecesMatchChunkedIndex_data()
    {
        QTest::addColumn<int>("piece");
        QTest::addColumn<QString>("search");
        for (const int piece : {1, 5, 64, 1000}) {
            QTest::newRow(qPrintable(QStringLiteral("%1 plain").arg(piece))) << piece << QString();
            QTest::newRow(qPrintable(QStringLiteral("%1 needle").arg(piece)))
                << piece << QStringLiteral("needle");
        }
    }

    void appendedPiecesMatchChunkedIndex()
    {
        QFETCH(int, piece);
        QFETCH(QString, search);
        QRandomGenerator rng(static_cast<quint32>(piece));
        QByteArray data = randomLog(rng, 400);
        data.replace('\0', ' ');
        // Characters of two and four bytes, as a client's UTF-8 brings them.
        for (int i = 0; i < 40; ++i)
            data.insert(int(rng.bounded(data.size())), i % 2 ? "\xc2\xb5s " : "\xf0\x9f\x93\x88 ");
        const QString path = m_dir.filePath(QStringLiteral("live-%1.log").arg(piece));
        QFile::remove(path);
        ViewerEngine engine;
        engine.index().searchString = search; // as a search before the first append leaves it
        QueuedSignalSpy appended(engine.readerWriter(), &FileReaderWriter::FileAppended);
        QueuedSignalSpy updated(engine.readerWriter(),
                                &FileReaderWriter::SpanSliderAnnotationsUpdated);
        int pieces = 0;
        for (int at = 0; at < data.size(); at += piece, ++pieces)
            appendText(engine, path, decodeEightBit(data.mid(at, piece))); // as the monitor does
        QVERIFY(waitForCount(updated, pieces));
        QCOMPARE(appended.count(), pieces);

        // An append behaves like indexing with chunk borders where the pieces meet.
        const Reference ref = referenceIndex(data, search, piece, INT_MAX - 1);
        compareIndex(engine.index(), ref);
        if (QTest::currentTestFailed())
            return;
        const int lines = ref.lineEnds.size();
        QCOMPARE(appended.last().at(0).value<qint32>(), qint32(lines));
        QCOMPARE(engine.annotations().errorBins,
                 SpanAnnotations::binsOf(marksOf(ref.errorLines, lines)));
        QCOMPARE(engine.annotations().searchBins,
                 SpanAnnotations::binsOf(marksOf(ref.matchLines, lines)));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), data);
    }

    void aBatchCostsTheSameAtTheEndOfABigLiveFile()
    {
        // The monitor's load: a quarter of the lines are errors, a quarter warnings.
        QString batch;
        for (int i = 0; i < 1000; ++i)
            batch += QStringLiteral("%1 line %2 of the batch\n")
                         .arg(i % 4 == 0 ? "ERROR:" : i % 4 == 1 ? "WARN :" : "INFO :")
                         .arg(i);
        ViewerEngine engine;
        FileReaderWriter *writer = engine.readerWriter();
        QueuedSignalSpy updated(writer, &FileReaderWriter::SpanSliderAnnotationsUpdated);
        const QString path = m_dir.filePath("big-live.log");
        const auto workOfOneBatch = [&] {
            const quint64 before = writer->appendWork();
            const int done = updated.count();
            appendText(engine, path, batch);
            return waitForCount(updated, done + 1) ? writer->appendWork() - before : 0;
        };
        const quint64 first = workOfOneBatch();
        for (int i = 0; i < 300; ++i)
            appendText(engine, path, batch);
        QVERIFY(waitForCount(updated, 301));
        QCOMPARE(workOfOneBatch(), first);
        // The marks still count every error line, however coarse their bins have become.
        const QVector<int> &bins = engine.annotations().errorBins;
        QCOMPARE(std::accumulate(bins.begin(), bins.end(), 0), 302 * 250);
        QCOMPARE(engine.index().lineEnds.size(), 302 * 1000 + 1);
    }

    void capturePhraseAcrossPieces()
    {
        ViewerEngine engine;
        engine.index().setCapture(QStringLiteral("WARNING!:"), QStringLiteral("(y/n)"));
        QueuedSignalSpy captured(engine.readerWriter(), &FileReaderWriter::PhraseCaptured);
        QueuedSignalSpy updated(engine.readerWriter(),
                                &FileReaderWriter::SpanSliderAnnotationsUpdated);
        const QString path = m_dir.filePath("console.log");
        const QStringList pieces = {"start WWARN", "ING!: Erase the flash", " now? (y",
                                    "/n)\nWARNING : not this one (y/n)\n",
                                    "WARNING!: again? (y/n) tail"};
        for (const QString &text : pieces)
            appendText(engine, path, text);
        QVERIFY(waitForCount(updated, pieces.size()));
        QCOMPARE(captured.count(), 2);
        QCOMPARE(captured.at(0).at(0).toString(), QStringLiteral(" Erase the flash now? (y/n)"));
        QCOMPARE(captured.at(1).at(0).toString(), QStringLiteral(" again? (y/n)"));
    }

    // Appending continues an indexed file. When the live file rolls over to a new path its
    // index starts afresh; a path that cannot be written is skipped and nothing is announced.
    void newPathStartsAfresh()
    {
        const QString first = writeFile(m_dir, "first.log", "one\r\ntwo ERROR: x\n");
        ViewerEngine engine;
        QueuedSignalSpy indexed(engine.readerWriter(), &FileReaderWriter::FileIndexed);
        QueuedSignalSpy updated(engine.readerWriter(),
                                &FileReaderWriter::SpanSliderAnnotationsUpdated);
        QueuedSignalSpy appended(engine.readerWriter(), &FileReaderWriter::FileAppended);
        startIndexing(engine, first, QString(), 512000, 4000);
        appendText(engine, first, "three ERROR: y\r\n");
        QVERIFY(waitForCount(updated, 1));
        QCOMPARE(indexed.count(), 1);
        const QByteArray whole = "one\r\ntwo ERROR: x\nthree ERROR: y\r\n";
        compareIndex(engine.index(), referenceIndex(whole, QString(), 512000, 4000));

        appendText(engine, m_dir.filePath("second.log"), "WARN : b\n");
        QVERIFY(waitForCount(updated, 2));
        QCOMPARE(engine.index().filePath, m_dir.filePath("second.log"));
        compareIndex(engine.index(), referenceIndex("WARN : b\n", QString(), INT_MAX, INT_MAX));
        QCOMPARE(appended.at(1).at(0).value<qint32>(), 2);
        const QString dir = m_dir.filePath("not-a-file");
        QVERIFY(QDir().mkpath(dir));
        appendText(engine, dir, "text\n");
        QVERIFY(waitForCount(updated, 3));
        QCOMPARE(appended.count(), 2);
    }
};

QTEST_GUILESS_MAIN(TestFileAppender)
#include "tst_fileappender.moc"
