#include "shell/core/layoutfile.h"
#include "testenv.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <sys/resource.h>

class TestLayoutFile : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString path(const QString &name) const { return m_dir.filePath(name); }

private slots:
    void roundTripKeepsBothParts()
    {
        const LayoutFile::Contents written{QByteArray(66, 'g'), QByteArray(300, 's')};
        QVERIFY(LayoutFile::write(path("a.layout"), written).ok());

        QFile file(path("a.layout"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray raw = file.readAll();
        QCOMPARE(raw.size(), 1 + 66 + 300);
        QCOMPARE(quint8(raw.at(0)), quint8(66));

        LayoutFile::Contents read;
        QVERIFY(LayoutFile::read(path("a.layout"), &read).ok());
        QCOMPARE(read.geometry, written.geometry);
        QCOMPARE(read.state, written.state);
    }

    void geometryLongerThanALengthByteDoesNotLoadBack()
    {
        // 300 bytes of geometry are announced as 44: the parts come back wrong.
        const LayoutFile::Contents written{QByteArray(300, 'g'), QByteArray(10, 's')};
        QVERIFY(LayoutFile::write(path("long.layout"), written).ok());
        LayoutFile::Contents read;
        LayoutFile::read(path("long.layout"), &read);
        QCOMPARE(read.geometry.size(), 300 % 256);
        QVERIFY(read.geometry != written.geometry);
    }

    void readFailures_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty file") << QByteArray();
        QTest::newRow("geometry cut short") << QByteArray("\x0a" "abc", 4);
        QTest::newRow("empty state") << QByteArray("\x03" "abc", 4);
        QTest::newRow("length byte only") << QByteArray("\x00", 1);
    }

    void readFailures()
    {
        QFETCH(QByteArray, bytes);
        QFile file(path("bad.layout"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
        file.close();
        LayoutFile::Contents read;
        const LayoutFile::Result result = LayoutFile::read(path("bad.layout"), &read);
        QCOMPARE(result.status, LayoutFile::Status::ReadFailed);
        QCOMPARE(result.message,
                 QStringLiteral("Error reading %1").arg(QDir::toNativeSeparators(path("bad.layout"))));
    }

    void unopenableFilesNameThePathAndTheCause()
    {
        // A directory cannot be opened as a file, even by root.
        LayoutFile::Contents read;
        const LayoutFile::Result readResult = LayoutFile::read(m_dir.path(), &read);
        QCOMPARE(readResult.status, LayoutFile::Status::OpenFailed);
        QVERIFY(readResult.message.startsWith(
            QStringLiteral("Failed to open %1\n").arg(QDir::toNativeSeparators(m_dir.path()))));
        QVERIFY(readResult.message.size() > QStringLiteral("Failed to open \n").size() +
                                                m_dir.path().size());

        const LayoutFile::Result writeResult =
            LayoutFile::write(path("missing/dir/x.layout"), {QByteArray("g"), QByteArray("s")});
        QCOMPARE(writeResult.status, LayoutFile::Status::OpenFailed);
        QVERIFY(writeResult.message.startsWith(QStringLiteral("Failed to open ")));
    }

    void aFailedWriteLeavesThePreviousLayout()
    {
        // A write that stops half-way, here at the process's file size limit (which binds root
        // too), must leave the previous layout readable and no temporary file beside it.
        QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("atomic")));
        const QString file = path(QStringLiteral("atomic/kept.layout"));
        const LayoutFile::Contents before{QByteArray(40, 'g'), QByteArray(200, 's')};
        QVERIFY(LayoutFile::write(file, before).ok());

        const LayoutFile::Contents after{QByteArray(40, 'n'), QByteArray(20000, 'n')};
        rlimit limit{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &limit), 0);
        const rlimit restore = limit;
        limit.rlim_cur = 4096;
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN); // EFBIG instead of a signal
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &limit), 0);
        const LayoutFile::Result failed = LayoutFile::write(file, after);
        setrlimit(RLIMIT_FSIZE, &restore);
        std::signal(SIGXFSZ, oldHandler);

        QCOMPARE(failed.status, LayoutFile::Status::WriteFailed);
        LayoutFile::Contents read;
        QVERIFY(LayoutFile::read(file, &read).ok());
        QCOMPARE(read.geometry, before.geometry);
        QCOMPARE(read.state, before.state);
        QCOMPARE(QDir(path(QStringLiteral("atomic"))).entryList(QDir::Files | QDir::Hidden),
                 QStringList{QStringLiteral("kept.layout")});

        // Without the limit the same write replaces the layout whole.
        QVERIFY(LayoutFile::write(file, after).ok());
        QVERIFY(LayoutFile::read(file, &read).ok());
        QCOMPARE(read.state, after.state);
    }

    void writeToAFullDeviceReportsTheShortWrite()
    {
        if (!QFile::exists(QStringLiteral("/dev/full")))
            QSKIP("/dev/full is not available on this machine");
        const LayoutFile::Result result =
            LayoutFile::write(QStringLiteral("/dev/full"), {QByteArray(60, 'g'), QByteArray(9000, 's')});
        QCOMPARE(result.status, LayoutFile::Status::WriteFailed);
        QVERIFY(result.message.startsWith(QStringLiteral("Error writing to /dev/full\n")));
    }
};

QTEST_GUILESS_MAIN(TestLayoutFile)
#include "tst_layoutfile.moc"
