// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "monitor/core/remotememprocessed.h"
#include "monitortesthelpers.h"
#include "monitor/ui/hexspinbox.h"
#include "monitor/ui/monitorpanel.h"
#include "resources/initresources.h"
#include "viewer/ui/editor.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QSpinBox>
#include <QThread>
#include <QToolButton>
#include <QtTest>

#include <memory>

namespace {

QByteArray readBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Stops the panel's server and waits for its thread, so the next case starts clean.
void stop(MonitorPanel &panel)
{
    if (panel.serverThread()->isRunning()) {
        panel.stopMonitoring();
        QTRY_VERIFY2_WITH_TIMEOUT(!panel.serverThread()->isRunning(),
                                  qPrintable(panel.editor()->toPlainText().right(600)), 20000);
    }
}

// Starts the built-in monitor on the port with the Start button; whether it came up.
bool clickStart(MonitorPanel &panel, quint16 port)
{
    panel.setPort(port);
    QTest::mouseClick(panel.startButton(), Qt::LeftButton);
    return QTest::qWaitFor(
        [&] { return panel.editor()->toPlainText().contains("NOTE : VRX Monitor started!"); },
        20000);
}

} // namespace

class TstMonitorPanel : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        initResources();
        portCursor = 50610;
    }

    void init()
    {
        QSettings().clear();
        QDir(MonitorPanel::outputDirectory()).removeRecursively();
    }

    void settingsTypedInAreSentAndStoredAndTheIndicatorRuns()
    {
        MonitorPanel panel(QStringLiteral("vrxupdater"));
        panel.resize(1600, 400); // the whole tool bar in view
        QCOMPARE(panel.logCacheBox()->value(), 20);
        QCOMPARE(panel.traceLevelBox()->text(), QStringLiteral("0x7FFFFFFF"));
        QCOMPARE(panel.startupBox()->currentText(), QStringLiteral("Last Used"));
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        QVERIFY(!panel.busyIndicator()->isVisible());

        // Every bit of trace level and device mask, typed as a user would.
        for (QAbstractSpinBox *box : {static_cast<QAbstractSpinBox *>(panel.traceLevelBox()),
                                      static_cast<QAbstractSpinBox *>(panel.deviceMaskBox())}) {
            box->setFocus();
            QTest::keyClick(box, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(box, QStringLiteral("ffffffff"));
            QTest::keyClick(box, Qt::Key_Return);
            QCOMPARE(box->text(), QStringLiteral("0xFFFFFFFF"));
        }
        const quint16 port = nextPort();
        QVERIFY(clickStart(panel, port));
        QVERIFY(panel.startButton()->isChecked());
        QVERIFY(panel.busyIndicator()->isVisible());
        KitClient client(port);
        vrxclient_settings sent{};
        QVERIFY(client.handshake(1, &sent));
        QCOMPARE(sent.trace_level, 0xFFFFFFFFu);
        QCOMPARE(sent.device_mask, 0xFFFFFFFFu);
        QSettings settings;
        settings.beginGroup(QStringLiteral("VRXMonitorLastUsedState"));
        QCOMPARE(settings.value(QStringLiteral("LastUsedState")).toBool(), true);
        stop(panel);
        QTRY_VERIFY(!panel.startButton()->isChecked());
        QTRY_VERIFY(!panel.busyIndicator()->isVisible()); // hidden when the server thread ends
        QCOMPARE(settings.value(QStringLiteral("LastUsedState")).toBool(), false);

        // Last Used restarts what ran when the program was left, with the stored values.
        settings.setValue(QStringLiteral("LastUsedState"), true);
        MonitorPanel again(QStringLiteral("vrxupdater"));
        QCOMPARE(again.deviceMaskBox()->text(), QStringLiteral("0xFFFFFFFF"));
        again.setPort(nextPort());
        again.applyStartupOption();
        QTRY_VERIFY(again.serverThread()->isRunning());
        stop(again);
    }

    void failedTakeoverShowsStoppedAndTheNextStartWorks()
    {
        // Something that is no monitor holds the port: it takes connections and never answers.
        const quint16 port = nextPort();
        const int squatter = listenOn(port);
        QVERIFY(squatter >= 0);
        MonitorPanel panel(QStringLiteral("vrxupdater"));
        panel.show();
        panel.setPort(port);
        QTest::mouseClick(panel.startButton(), Qt::LeftButton);
        const QString failed("ERROR: Unable to stop or takeover existing listener! "
                             "Possible cause: Command not recognized!");
        QTRY_VERIFY_WITH_TIMEOUT(panel.editor()->toPlainText().contains(failed), 30000);
        QVERIFY(panel.editor()->toPlainText().contains("Unable to quit existing VRX Monitor!"));
        QTRY_VERIFY(!panel.serverThread()->isRunning());
        QTRY_VERIFY(!panel.startButton()->isChecked());
        QVERIFY(!panel.busyIndicator()->isVisible());
        QVERIFY(!panel.editor()->toPlainText().contains(QStringLiteral("VRX Monitor started")));

        ::close(squatter);
        QVERIFY(clickStart(panel, port));
        QVERIFY(panel.startButton()->isChecked());
        KitClient client(port);
        QVERIFY(client.handshake(1));
        stop(panel);
    }

    void stopWhileAPlotRequestWaitsIsQuiet()
    {
        MonitorPanel panel(QStringLiteral("vrxupdater"));
        panel.show();
        const quint16 port = nextPort();
        QueuedSignalSpy plot(panel.editor()->vrxMonHost()->server(),
                             &VrxMon::VirtualPlotItemConnected);
        QVERIFY(clickStart(panel, port));
        KitClient client(port);
        QVERIFY(client.handshake(1));
        QVERIFY(client.send("RunCmd( 1, Rec, 0x10, 64, int16, 1);\n"));
        QTRY_VERIFY_WITH_TIMEOUT(plot.count() == 1, 20000);

        // Nobody serves the request; the user stops the monitor.
        const int before = panel.editor()->toPlainText().size();
        QTest::mouseClick(panel.startButton(), Qt::LeftButton);
        QTRY_VERIFY(panel.editor()->toPlainText().contains(
            QStringLiteral("NOTE : VRX Monitor stopped!")));
        QTRY_VERIFY(!panel.startButton()->isChecked());
        QVERIFY(!panel.serverThread()->isRunning());
        const QString after = panel.editor()->toPlainText().mid(before);
        QVERIFY2(!after.contains(QStringLiteral("ERROR")), qPrintable(after));
        QCOMPARE(RemoteMemProcessed.available(), 0);
    }

    void missingExternalToolFallsBackToTheBuiltInMonitor()
    {
        if (QFile::exists(QStringLiteral("/usr/bin/vrxupdater")) ||
            QFile::exists(QStringLiteral("./vrxupdater")))
            QSKIP("a vrxupdater is installed here; the fallback cannot be shown");
        MonitorPanel panel(QStringLiteral("vrxupdater"));
        panel.setPort(nextPort());
        panel.kindBox()->setCurrentIndex(MonitorPanel::External);
        panel.startMonitoring();
        const QString expected = QStringLiteral(
            "ERROR: No local or installed external application \"vrxupdater\" found!\n"
            "WARN : Using built-in monitor...\n"
            "NOTE : Using built-in monitor...\n");
        QTRY_VERIFY(panel.editor()->toPlainText().startsWith(expected));
        QVERIFY(panel.serverThread()->isRunning());
        QCOMPARE(panel.childProcess()->state(), QProcess::NotRunning);
        stop(panel);
        // The whole output is also in the run's file.
        QTRY_VERIFY(readBytes(panel.filePath()).startsWith(expected.toLatin1()));
    }

    void eachBatchIsInTheOutputFileByteForByte()
    {
        // The file as a crash would leave it holds the client's bytes whatever they are; the
        // view reads valid UTF-8 as UTF-8 and anything else as Latin-1.
        MonitorPanel panel(QStringLiteral("vrxupdater"));
        panel.show();
        const quint16 port = nextPort();
        QVERIFY(clickStart(panel, port));
        KitClient client(port);
        QVERIFY(client.handshake(1));
        const QList<QPair<QByteArray, QString>> batches = {
            {"ERROR: caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80\n",
             QStringLiteral("ERROR: caf\u00e9 \u20ac ") + QString::fromUcs4(U"\U0001F600") + "\n"},
            {"WARN : na\xEFve \xB5s\n", QStringLiteral("WARN : na\u00efve \u00b5s\n")},
            {"cut \xE2\x82 \xC0\xAF \xED\xAF\xBF\n",
             QStringLiteral("cut \u00e2\u0082 \u00c0\u00af \u00ed\u00af\u00bf\n")},
        };
        const QByteArray prompt = kitPrompt(1).toLatin1();
        for (const auto &batch : batches) {
            QVERIFY(client.send(batch.first));
            QVERIFY(client.acked());
            QTRY_VERIFY_WITH_TIMEOUT(readBytes(panel.filePath()).contains(prompt + batch.first),
                                     20000);
            QTRY_VERIFY(
                panel.editor()->toPlainText().contains(kitPrompt(1) + batch.second.trimmed()));
            QVERIFY(panel.serverThread()->isRunning());
        }
        stop(panel);
    }

    void demoAndLoadClientsEndUpWholeInTheOutputFilesRolledOverAtTheLimit()
    {
        // 25 old output files with a cache of 20: starting keeps the 20 newest.
        const QString directory = MonitorPanel::outputDirectory();
        QVERIFY(QDir().mkpath(directory));
        const QDateTime base = QDateTime::currentDateTime().addDays(-1);
        for (int i = 0; i < 25; ++i) {
            QFile old(directory + QStringLiteral("old%1.okv").arg(i, 2, 10, QLatin1Char('0')));
            QVERIFY(old.open(QIODevice::WriteOnly));
            old.write("x\n");
            old.flush(); // a later write would touch the time again
            QVERIFY(old.setFileTime(base.addSecs(i * 60), QFileDevice::FileModificationTime));
        }

        MonitorPanel panel(QStringLiteral("vrxupdater"));
        panel.resize(900, 600);
        panel.show();
        // Small files, so the run has to go on in new ones several times.
        constexpr qint64 limit = 300000;
        panel.setLogFileLimit(limit);
        // The test is the plot side: every real-time request is served at once.
        VrxMon *server = panel.editor()->vrxMonHost()->server();
        connect(server, &VrxMon::VirtualPlotItemConnected, this,
                [] { RemoteMemProcessed.release(); });
        const quint16 port = nextPort();
        QVERIFY(clickStart(panel, port));

        const QStringList kept = QDir(directory).entryList({"old*.okv"}, QDir::Files, QDir::Name);
        QCOMPARE(kept.size(), 20);
        QCOMPARE(kept.first(), QStringLiteral("old05.okv"));

        QProcess demo;
        demo.start(VRXDEMO_PATH, {"--port", QString::number(port), "--iterations", "30",
                                  "--interval-ms", "0", "--samples", "64"});
        VrxLoadGen::Options o;
        o.port = port;
        o.clients = 4;
        o.lines = 3000;
        // The load generator blocks until every acknowledgement is in; the server's texts reach
        // the panel through this thread's event loop, so that keeps running meanwhile.
        VrxLoadGen::Result r;
        const std::unique_ptr<QThread> load(QThread::create([&] { r = VrxLoadGen::run(o); }));
        load->start();
        QVERIFY(QTest::qWaitFor([&] { return load->wait(10); }, 120000));
        QVERIFY(r.ok);
        // Its plot requests are served on this thread: wait in the event loop.
        QTRY_VERIFY_WITH_TIMEOUT(demo.state() == QProcess::NotRunning, 60000);
        QCOMPARE(demo.exitCode(), 0);

        // Four load clients and the demo have gone. The run's files, in the order of their
        // names (their start times), hold the whole output; each stayed within the limit, the
        // cache counted them with the old ones, and the panel shows the newest.
        QFileInfoList files;
        QString log;
        const auto allGone = [&] {
            files = QDir(directory).entryInfoList({"vrxmon_*.okv"}, QDir::Files, QDir::Name);
            log.clear();
            for (const QFileInfo &file : files)
                log += QString::fromLocal8Bit(readBytes(file.filePath()));
            return log.count(QStringLiteral("DISCONNECTED!")) == 5;
        };
        QVERIFY(QTest::qWaitFor(allGone, 30000));
        QVERIFY2(files.size() >= 3, qPrintable(QString::number(files.size())));
        for (const QFileInfo &file : files)
            QVERIFY2(file.size() <= limit, qPrintable(file.fileName()));
        QCOMPARE(panel.filePath(), files.last().absoluteFilePath());
        QCOMPARE(QDir(directory).entryList({QStringLiteral("*.okv")}).size(), 21);
        QCOMPARE(log.count(QRegularExpression("/PCIe> NOTE : record \\d+: filling 64 samples\n")),
                 30);
        QCOMPARE(log.count(QStringLiteral("/PCIe> ERROR: simulated overrun")), 1);

        // Each load client's bytes, prompts taken off, are exactly what it sent. A piece
        // without a prompt continues the client shown last; line ends are compared apart.
        QVector<QString> streams(o.clients);
        int current = -1;
        for (const QString &line : log.split(QLatin1Char('\n'))) {
            QString text = line;
            const int at = line.indexOf(QLatin1String("/LoadGen@0x"));
            if (at >= 0) {
                const int gt = line.indexOf(QLatin1Char('>'), at);
                const int slash = line.lastIndexOf(QLatin1String("/LOAD"), gt);
                current = line.midRef(slash + 5, gt - slash - 5).toInt();
                text = line.mid(gt + (gt + 1 < line.size() && line.at(gt + 1) == ' ' ? 2 : 1));
            } else if (current < 0 || line.contains(QLatin1String("/PCIe>")) ||
                       line.startsWith(QLatin1Char('['))) {
                current = -1; // another client or a message of the monitor
                continue;
            }
            if (current >= 0)
                streams[current] += text;
        }
        for (int i = 0; i < o.clients; ++i) {
            QString expected;
            for (int n = 0; n < o.lines; ++n)
                expected += QString::fromStdString(
                    VrxLoadGen::makeLine(o.seed, i, n, o.minLength, o.maxLength));
            expected.remove(QLatin1Char('\n'));
            QVERIFY2(streams[i] == expected, qPrintable(QStringLiteral("client %1").arg(i)));
        }

        // The editor shows the newest lines of the newest file, at most its block limit.
        QTRY_VERIFY(panel.editor()->toPlainText().endsWith(
            QString::fromLocal8Bit(readBytes(panel.filePath())).right(2000)));
        QVERIFY(panel.editor()->blockCount() <= 10000);
        stop(panel);
    }
};

QTEST_MAIN(TstMonitorPanel)
#include "tst_monitorpanel.moc"
