#include "testenv.h"
#include "viewertestutil.h"

#include "viewer/core/filereaderwriter.h"
#include "viewer/core/viewerengine.h"

#include <QReadLocker>
#include <QTemporaryDir>
#include <QtTest>

#include <numeric>

using namespace ViewerTest;

// Stands in for the editor that produces live text.
class Editor : public QObject
{
    Q_OBJECT
signals:
    void newTextAvailable(const QString &FilePath, const QString &text);
};

class TestFileAppender : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    static QByteArray asciiLog(quint32 seed)
    {
        QRandomGenerator rng(seed);
        QByteArray data = randomLog(rng, 400);
        // Appended text counts characters; plain ASCII keeps them equal to bytes.
        data.replace('\0', ' ');
        for (char &c : data) {
            if (uchar(c) >= 0x80)
                c = 'y';
        }
        return data;
    }

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
        const QByteArray data = asciiLog(quint32(piece));
        const QString path = m_dir.filePath(QStringLiteral("live-%1.log").arg(piece));
        QFile::remove(path);
        ViewerEngine engine;
        engine.index().searchString = search; // as a search before the first append leaves it
        Editor editor;
        connect(&editor, &Editor::newTextAvailable, engine.readerWriter(),
                &FileReaderWriter::AppendFile);
        Relay relay(engine.readerWriter());
        QSignalSpy appended(&relay, &Relay::FileAppended);
        QSignalSpy updated(&relay, &Relay::AnnotationsUpdated);
        int pieces = 0;
        for (int at = 0; at < data.size(); at += piece, ++pieces)
            emit editor.newTextAvailable(path, QString::fromLatin1(data.mid(at, piece)));
        QVERIFY(waitForCount(updated, pieces));
        QCOMPARE(appended.count(), pieces);

        // An append behaves like indexing with chunk borders where the pieces meet.
        const Reference ref = referenceIndex(data, search, piece, INT_MAX - 1);
        compareIndex(engine.index(), ref);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(appended.last().at(0).value<qint32>(), qint32(ref.lineEnds.size()));
        const int lines = ref.lineEnds.size();
        QCOMPARE(engine.annotations().errorBins, SpanAnnotations::binsOf(marksOf(ref.errorLines, lines)));
        QCOMPARE(engine.annotations().searchBins, SpanAnnotations::binsOf(marksOf(ref.matchLines, lines)));
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
        Editor editor;
        FileReaderWriter *writer = engine.readerWriter();
        connect(&editor, &Editor::newTextAvailable, writer, &FileReaderWriter::AppendFile);
        Relay relay(writer);
        QSignalSpy updated(&relay, &Relay::AnnotationsUpdated);
        const QString path = m_dir.filePath("big-live.log");
        const auto workOfOneBatch = [&] {
            const quint64 before = writer->appendWork();
            const int done = updated.count();
            emit editor.newTextAvailable(path, batch);
            return waitForCount(updated, done + 1) ? writer->appendWork() - before : 0;
        };
        const quint64 first = workOfOneBatch();
        for (int i = 0; i < 300; ++i)
            emit editor.newTextAvailable(path, batch);
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
        Editor editor;
        connect(&editor, &Editor::newTextAvailable, engine.readerWriter(),
                &FileReaderWriter::AppendFile);
        Relay relay(engine.readerWriter());
        QSignalSpy captured(&relay, &Relay::PhraseCaptured);
        QSignalSpy updated(&relay, &Relay::AnnotationsUpdated);
        const QString path = m_dir.filePath("console.log");
        const QStringList pieces = {"start WWARN", "ING!: Erase the flash", " now? (y",
                                    "/n)\nWARNING : not this one (y/n)\n",
                                    "WARNING!: again? (y/n) tail"};
        for (const QString &text : pieces)
            emit editor.newTextAvailable(path, text);
        QVERIFY(waitForCount(updated, pieces.size()));
        QCOMPARE(captured.count(), 2);
        QCOMPARE(captured.at(0).at(0).toString(), QStringLiteral(" Erase the flash now? (y/n)"));
        QCOMPARE(captured.at(1).at(0).toString(), QStringLiteral(" again? (y/n)"));
    }

    void newPathStartsAfresh()
    {
        ViewerEngine engine;
        Editor editor;
        connect(&editor, &Editor::newTextAvailable, engine.readerWriter(),
                &FileReaderWriter::AppendFile);
        Relay relay(engine.readerWriter());
        QSignalSpy updated(&relay, &Relay::AnnotationsUpdated);
        QSignalSpy appended(&relay, &Relay::FileAppended);
        emit editor.newTextAvailable(m_dir.filePath("first.log"), "ERROR: one\nline two\n");
        emit editor.newTextAvailable(m_dir.filePath("second.log"), "WARN : b\n");
        QVERIFY(waitForCount(updated, 2));
        const FileIndex &index = engine.index();
        QCOMPARE(index.filePath, m_dir.filePath("second.log"));
        QCOMPARE(index.lineEnds, (QVector<qint32>{0, 8}));
        QVERIFY(index.errorOffsets.isEmpty());
        QCOMPARE(index.warningOffsets, QVector<qint32>{0});
        QCOMPARE(index.warningLines, QVector<qint32>{1});
        QCOMPARE(appended.count(), 2);
        QCOMPARE(appended.at(1).at(0).value<qint32>(), 2);

        // A file that cannot be opened is not written and nothing is announced.
        const QString dir = m_dir.filePath("not-a-file");
        QVERIFY(QDir().mkpath(dir));
        emit editor.newTextAvailable(dir, "text\n");
        QVERIFY(waitForCount(updated, 3));
        QCOMPARE(appended.count(), 2);
    }

    void appendAfterIndexingContinuesTheFile()
    {
        const QString path = m_dir.filePath("grown.log");
        QVERIFY(writeFile(path, "one\r\ntwo ERROR: x\n"));
        ViewerEngine engine;
        Editor editor;
        Relay relay(engine.readerWriter());
        QSignalSpy indexed(&relay, &Relay::FileIndexed);
        QSignalSpy updated(&relay, &Relay::AnnotationsUpdated);
        QMetaObject::invokeMethod(engine.readerWriter(), "IndexFile", Qt::QueuedConnection,
                                  Q_ARG(QString, QString()), Q_ARG(QString, path),
                                  Q_ARG(qint64, 512000), Q_ARG(qint64, 4000));
        connect(&editor, &Editor::newTextAvailable, engine.readerWriter(),
                &FileReaderWriter::AppendFile);
        emit editor.newTextAvailable(path, "three ERROR: y\r\n");
        QVERIFY(waitForCount(updated, 1));
        QCOMPARE(indexed.count(), 1);
        const QByteArray whole = "one\r\ntwo ERROR: x\nthree ERROR: y\r\n";
        const Reference ref = referenceIndex(whole, QString(), 512000, 4000);
        QCOMPARE(engine.index().lineEnds, ref.lineEnds);
        QCOMPARE(engine.index().crlfCounts, ref.crlfCounts);
        QCOMPARE(engine.index().errorOffsets, ref.errorOffsets);
        QCOMPARE(engine.index().errorLines, ref.errorLines);
    }
};

QTEST_GUILESS_MAIN(TestFileAppender)
#include "moc_viewertestutil.cpp"
#include "tst_fileappender.moc"
