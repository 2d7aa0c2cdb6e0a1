// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/core/layoutfile.h"
#include "shell/core/messagehandler.h"
#include "shell/core/startup.h"
#include "shell/core/windowtexts.h"
#include "testenv.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <sys/resource.h>

// The shell's window-less parts: its texts, the command line, and layout files.
class TestShellCore : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

private slots:
    void messageFormats_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("expected");
        const QByteArray tail = ": disk full (io.cpp:42, void save())\n";
        QTest::newRow("warning") << int(QtWarningMsg) << "Warning" + tail;
        QTest::newRow("fatal") << int(QtFatalMsg) << "Fatal" + tail;
        QTest::newRow("debug writes nothing") << int(QtDebugMsg) << QByteArray();
    }

    void messageFormats()
    {
        QFETCH(int, type);
        QFETCH(QByteArray, expected);
        const QMessageLogContext context("io.cpp", 42, "void save()", "default");
        QCOMPARE(formatConsoleMessage(QtMsgType(type), context, QStringLiteral("disk full")),
                 expected);
    }

    void aboutTextNamesTheBuild()
    {
        const QString text = aboutText(QStringLiteral("vrxassist"), 64, QStringLiteral("20231"));
        QVERIFY(text.startsWith(QStringLiteral(
            "<b>vrxassist - Beta 64-bits (Build 20231)</b><br><br>Based on Qt 5.15.3, Qwt 6.2.0 "
            "and FFTW 3.3.5 <br><br>Build on Jan 26 2023 10:01:13.<br><br>This software is "
            "licensed under <a href=")));
        QVERIFY(text.contains(QStringLiteral(">LGPL</a>")));
        QVERIFY(!text.contains(QLatin1Char('%')));
    }

    void commandLineFilesAreOpened()
    {
        const QStringList files = filesFromArguments(
            {"vrxassist", "/data/run 1.log", "-style", "file:///data/fw%20a.mcs", "rel.bin", ""});
        QCOMPARE(files, QStringList({"/data/run 1.log", "/data/fw a.mcs",
                                     QDir::current().absoluteFilePath("rel.bin")}));
    }

    void elapsedTime_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("a minute and a second") << qint64(61) << "0:0:1:1";
        QTest::newRow("a day and an hour") << qint64(90000) << "1:1:0:0";
        QTest::newRow("two days less a second") << qint64(2 * 86400 - 1) << "1:23:59:59";
    }

    void elapsedTime()
    {
        QFETCH(qint64, seconds);
        QFETCH(QString, text);
        QCOMPARE(elapsedText(seconds), text);
    }

    void aFailedWriteLeavesThePreviousLayout()
    {
        // A write that stops half-way, here at the process's file size limit (which binds root
        // too), must leave the previous layout readable and no temporary file beside it.
        const QString file = m_dir.filePath(QStringLiteral("kept.layout"));
        const LayoutFile::Contents before{QByteArray(40, 'g'), QByteArray(200, 's')};
        QVERIFY(LayoutFile::write(file, before).ok());
        QFile raw(file);
        QVERIFY(raw.open(QIODevice::ReadOnly));
        QCOMPARE(raw.readAll(), char(40) + before.geometry + before.state);

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
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{QStringLiteral("kept.layout")});

        // Without the limit the same write replaces the layout whole.
        QVERIFY(LayoutFile::write(file, after).ok());
        QVERIFY(LayoutFile::read(file, &read).ok());
        QCOMPARE(read.state, after.state);
    }

    void failuresNameThePathAndTheCause_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("writing");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        // A directory cannot be opened as a file, even by root.
        QTest::newRow("read a directory") << "" << false << int(LayoutFile::Status::OpenFailed)
                                          << "Failed to open %1\n";
        QTest::newRow("write into no folder") << "missing/x.layout" << true
                                              << int(LayoutFile::Status::OpenFailed)
                                              << "Failed to open %1\n";
        QTest::newRow("write to a full device") << "/dev/full" << true
                                                << int(LayoutFile::Status::WriteFailed)
                                                << "Error writing to %1\n";
    }

    void failuresNameThePathAndTheCause()
    {
        QFETCH(QString, path);
        QFETCH(bool, writing);
        QFETCH(int, status);
        QFETCH(QString, message);
        if (path.startsWith(QLatin1String("/dev/")) && !QFile::exists(path))
            QSKIP("/dev/full is not available on this machine");
        path = QDir(m_dir.path()).filePath(path);
        LayoutFile::Contents contents{QByteArray(60, 'g'), QByteArray(9000, 's')};
        const LayoutFile::Result result =
            writing ? LayoutFile::write(path, contents) : LayoutFile::read(path, &contents);
        QCOMPARE(int(result.status), status);
        const QString start = message.arg(QDir::toNativeSeparators(QDir::cleanPath(path)));
        QVERIFY2(result.message.startsWith(start), qPrintable(result.message));
        QVERIFY(result.message.size() > start.size()); // the system's reason follows
    }
};

QTEST_GUILESS_MAIN(TestShellCore)
#include "tst_shellcore.moc"
