#include "shell/core/messagehandler.h"
#include "shell/core/startup.h"
#include "shell/core/windowtexts.h"
#include "testenv.h"

#include <QDir>
#include <QtTest>

class TestShellTexts : public QObject
{
    Q_OBJECT

private slots:
    void messageFormats_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("expected");
        const QByteArray tail = ": disk full (io.cpp:42, void save())\n";
        QTest::newRow("warning") << int(QtWarningMsg) << "Warning" + tail;
        QTest::newRow("critical") << int(QtCriticalMsg) << "Critical" + tail;
        QTest::newRow("fatal") << int(QtFatalMsg) << "Fatal" + tail;
        QTest::newRow("info") << int(QtInfoMsg) << "Info" + tail;
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

    void startupOption_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("lastUsed");
        QTest::newRow("missing") << QVariant() << false;
        QTest::newRow("zero") << QVariant(0) << false;
        QTest::newRow("negative") << QVariant(-3) << false;
        QTest::newRow("non-number") << QVariant(QStringLiteral("yes")) << false;
        QTest::newRow("one") << QVariant(1) << true;
        QTest::newRow("positive as text") << QVariant(QStringLiteral("7")) << true;
    }

    void startupOption()
    {
        QFETCH(QVariant, stored);
        QFETCH(bool, lastUsed);
        QCOMPARE(isLastUsedStartupLayout(stored), lastUsed);
    }

    void windowTitleAndAboutText()
    {
        QCOMPARE(mainWindowTitle(QStringLiteral("ab"), QStringLiteral("1")),
                 QStringLiteral("AB   - (Build 1)"));
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
        QTest::newRow("zero") << qint64(0) << "0:0:0:0";
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
};

QTEST_GUILESS_MAIN(TestShellTexts)
#include "tst_shelltexts.moc"
