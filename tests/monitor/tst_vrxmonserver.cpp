// SPDX-License-Identifier: LGPL-3.0-or-later
// The monitor server over real loopback sockets, driven by the client kit, and a second
// monitor on the same port that makes the first one quit and takes its place.
#include "testenv.h"

#include "monitortesthelpers.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QtTest>

#include <sys/syscall.h>

#include <csignal>
#include <memory>
#include <thread>
#include <vector>

namespace {
// What the monitor reads from /proc/<pid>/cmdline: the program as it was started.
QString ownPath() { return QCoreApplication::arguments().constFirst(); }

// The monitor's own prompt: process number and name as the system shows them.
QString ownPrompt()
{
    return QStringLiteral("%1/%2> ").arg(getpid()).arg(QFileInfo(ownPath()).fileName().left(15));
}
} // namespace

class TstVrxMonServer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { portCursor = 50110; }

    void serverTimestamps_data()
    {
        QTest::addColumn<qint64>("microseconds");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("cut down") << qint64(999999) << QByteArray("[2023-01-02T03:04:05.999Z] ");
        // A millisecond value past 999 carries into the seconds.
        QTest::newRow("carry") << qint64(1000000) << QByteArray("[2023-01-02T03:04:06.000Z] ");
    }
    void serverTimestamps()
    {
        QFETCH(qint64, microseconds);
        QFETCH(QByteArray, text);
        QCOMPARE(VrxProto::formatServerTimestamp(1672628645, microseconds), text);
    }

    void connectTextsAndTheFirstClient()
    {
        RecordingHost h;
        QueuedSignalSpy first(h.host.server(), &VrxMon::firstClientConnected);
        QVERIFY(h.start());
        // The kernel's table of listening sockets (state 0A): ours is bound to 127.0.0.1
        // alone, never to an outside or a wildcard address.
        const QByteArray ours =
            ':' + QByteArray::number(h.port, 16).toUpper().rightJustified(4, '0');
        QList<QByteArray> listeners;
        QFile table(QStringLiteral("/proc/net/tcp"));
        QVERIFY(table.open(QIODevice::ReadOnly));
        for (const QByteArray &line : table.readAll().split('\n')) {
            const QList<QByteArray> f = line.simplified().split(' ');
            if (f.size() > 3 && f[1].endsWith(ours) && f[3] == "0A")
                listeners << f[1];
        }
        QCOMPARE(listeners, QList<QByteArray>{"0100007F" + ours});

        KitClient a(h.port);
        QVERIFY(a.handshake(3));

        const QString fields =
            QStringLiteral("[Process ID: %1]\n[VRXCU: 0xC0FFEE]\n[Interface: PCIe]\n"
                           "[DevAddr: 0x1A2B]\n[Dev#: 3]\n[DevType: VRX14]\n"
                           "[Path: %2]\n[IP: 127.0.0.1]\n[Port: %3]\n\n")
                .arg(getpid())
                .arg(ownPath())
                .arg(localPortOf(vrxclient_fd(a.c)));
        QVERIFY(h.waitFor(QStringLiteral("CONNECTED! Client ID: \n") + fields));
        QVERIFY(h.waitFor(QStringLiteral("INFO : Incoming CONNECTION...\n")));
        QTRY_COMPARE_WITH_TIMEOUT(first.count(), 1, 20000);

        KitClient b(h.port);
        QVERIFY(b.handshake(4));
        QVERIFY(h.waitFor(QStringLiteral("[Dev#: 4]")));
        QCOMPARE(first.count(), 1);

        a.close();
        QVERIFY(h.waitFor(QStringLiteral("DISCONNECTED! Removing client: \n") + fields));
        // Alone again after a departure, the next newcomer is a first client once more.
        b.close();
        QVERIFY(h.waitFor(QStringLiteral("DISCONNECTED!"), 2));
        KitClient c(h.port);
        QVERIFY(c.handshake(5));
        QTRY_COMPARE_WITH_TIMEOUT(first.count(), 2, 20000);
    }

    void lineEndsAndPrefixes()
    {
        RecordingHost h;
        QVERIFY(h.start(0, 0, 1, 0)); // with the clients' timestamps
        KitClient a(h.port), b(h.port);
        vrxclient_settings s{};
        QVERIFY(a.handshake(1, &s));
        QCOMPARE(s.timestamp, 1u);
        QVERIFY(b.handshake(2));
        QVERIFY(h.waitFor(QStringLiteral("[Dev#: 2]")));
        const QString pa = kitPrompt(1), pb = kitPrompt(2);

        // Before any client timestamp the prefix is the prompt alone.
        h.messages.clear();
        QVERIFY(a.deliver(QByteArray("one\r\ntwo\0three", 14)));
        QTRY_COMPARE_WITH_TIMEOUT(h.messages.size(), 3, 20000);
        QCOMPARE(h.messages[0], pa + "one\r\n"); // "\r\n" is one end
        QCOMPARE(h.messages[1], pa + "two\n");   // NUL ends a line
        QCOMPARE(h.messages[2], pa + "three");   // shown at once, no end yet

        QVERIFY(a.deliver(" and more\n"));
        QTRY_COMPARE_WITH_TIMEOUT(h.messages.size(), 4, 20000);
        QCOMPARE(h.messages[3], QStringLiteral(" and more\n")); // continues without a prefix

        QVERIFY(a.deliver("unfinished"));
        QVERIFY(b.deliver("from b\n"));
        QTRY_COMPARE_WITH_TIMEOUT(h.messages.size(), 7, 20000);
        QCOMPARE(h.messages[5], QStringLiteral("\n")); // another client breaks the line first
        QCOMPARE(h.messages[6], pb + "from b\n");

        QVERIFY(a.deliver("\n"));
        QTRY_COMPARE_WITH_TIMEOUT(h.messages.size(), 8, 20000);
        QCOMPARE(h.messages[7], pa.trimmed() + "\n"); // an empty line has no blank after ">"

        // A client's timestamp goes before its prompt and stays until the next one.
        h.messages.clear();
        const QByteArray ts("[2024-05-06T07:08:09.123Z] ");
        QVERIFY(b.send(ts + "stamped\n"));
        QVERIFY(b.send("plain\n"));
        QVERIFY(b.deliver("[2024-05-06 07:08:09.123Z] blank for T\n"));
        QTRY_VERIFY_WITH_TIMEOUT(h.all().contains("blank for T"), 20000);
        QCOMPARE(h.messages.value(0), ts + pb + "stamped\n");
        QCOMPARE(h.messages.value(1), ts + pb + "plain\n");
        QCOMPARE(h.messages.value(2), ts + pb + "[2024-05-06 07:08:09.123Z] blank for T\n");

        // The kit's own stamps are recognised too.
        QCOMPARE(vrxclient_log(b.c, "INFO : kit line", 1), 0);
        QVERIFY(b.acked());
        QTRY_VERIFY_WITH_TIMEOUT(h.all().contains(pb + "INFO : kit line\n"), 20000);
        QVERIFY(!h.all().contains("] INFO : kit line"));
    }

    void commandsInTheStream()
    {
        RecordingHost h;
        QueuedSignalSpy finished(h.host.server(), &VrxMon::finished);
        QVERIFY(h.start());
        const QString mp = ownPrompt();
        const QString unknown = QStringLiteral("ERROR: Unknown command 'RunCmd('.\n");
        KitClient a(h.port);
        QVERIFY(a.handshake(1));

        QVERIFY(a.deliver("RunCmd( 7, whatever);\n"));
        QVERIFY(h.waitFor(mp + unknown));
        QVERIFY(h.waitFor(kitPrompt(1) + "RunCmd( 7, whatever);\n")); // the line is shown too

        QVERIFY(a.deliver("RunCmd( 1, Rec, 0x7f00, 2048, int16);\n"));
        QVERIFY(h.waitFor(mp + QStringLiteral("ERROR: Insuffivient command parameters' Rec, "
                                              "0x7f00, 2048, int16'.\n")));

        // Opened in one batch, closed in the next.
        QVERIFY(a.deliver("log RunCmd( 7"));
        QVERIFY(a.deliver(", split);\n"));
        QVERIFY(h.waitFor(unknown, 2));

        // A client leaves inside a command; the next one takes its record with a fresh matcher.
        {
            KitClient b(h.port);
            QVERIFY(b.handshake(2));
            QVERIFY(b.deliver("RunCmd( 7, half"));
        }
        QVERIFY(h.waitFor(QStringLiteral("DISCONNECTED!")));
        KitClient c(h.port);
        QVERIFY(c.handshake(3));
        QVERIFY(c.deliver("tail);\n"));
        QVERIFY(h.waitFor(kitPrompt(3) + "tail);\n"));
        QCOMPARE(h.countOf(unknown), 2);
        QCOMPARE(h.countOf(QStringLiteral("Stop command received")), 0);
        QCOMPARE(finished.count(), 0);

        QVERIFY(a.send("RunCmd(abc);"));
        QTRY_VERIFY_WITH_TIMEOUT(finished.count() >= 1, 20000);
        QVERIFY(h.waitFor(mp + QStringLiteral("NOTE : VRX Monitor stopped!\n\n")));
        // The unended line is broken before the monitor's own line.
        const QRegularExpression stop("^\n\\[.{24}\\] " + QRegularExpression::escape(mp) +
                                      "NOTE : Stop command received!\n$");
        QCOMPARE(h.messages.filter(stop).size(), 1);
        // The stopped monitor closed the connection without an acknowledgement.
        int64_t ack = 0;
        QCOMPARE(vrxclient_read_ack(a.c, &ack, 20000), -1);
        QVERIFY(!KitClient(h.port).connected());
    }

    void fortyAtOnceCompactionAndTheFortyFirst()
    {
        RecordingHost h;
        QVERIFY(h.start());
        // All at once: more than the listener's backlog, so some wait for a retry.
        std::vector<std::unique_ptr<KitClient>> clients(40);
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < 40; ++i)
            threads.emplace_back([&, i] {
                clients[i].reset(new KitClient(h.port));
                clients[i]->handshake(i);
            });
        for (std::thread &t : threads)
            t.join();
        QVERIFY(h.waitFor(QStringLiteral("CONNECTED!"), 40));
        QVector<quint64> expected = h.host.server()->clientDeviceNumbers();

        KitClient extra(h.port);
        QVERIFY(!extra.handshake(99)); // turned away
        QVERIFY(h.waitFor(
            QStringLiteral("ERROR: Something is wrong. Socket position 40 not empty (")));
        QCOMPARE(h.countOf(QStringLiteral("CONNECTED!")), 40);

        clients[5]->close();
        QVERIFY(h.waitFor(QStringLiteral("DISCONNECTED! Removing client: \n")));
        QVERIFY(h.all().contains("[Dev#: 5]\n[DevType: VRX14]\n[Path: "));
        // The others keep their places, in the order they came.
        expected.removeOne(5);
        QTRY_COMPARE_WITH_TIMEOUT(h.host.server()->clientDeviceNumbers(), expected, 20000);

        KitClient late(h.port);
        QVERIFY(late.handshake(100));
        expected.append(100);
        QTRY_COMPARE_WITH_TIMEOUT(h.host.server()->clientDeviceNumbers(), expected, 20000);
        // Each shown with its own prompt: the records still match their connections.
        for (quint64 i = 0; i < 40; ++i)
            QVERIFY(i == 5 || clients[i]->deliver("line of " + QByteArray::number(i) + "\n"));
        for (quint64 i = 0; i < 40; ++i)
            QVERIFY(i == 5 || h.waitFor(kitPrompt(i) + QStringLiteral("line of %1\n").arg(i)));
        QVERIFY(late.deliver("newcomer\n"));
        QVERIFY(h.waitFor(kitPrompt(100) + "newcomer\n"));
    }

    void interruptedWaitIsReportedAndMonitoringGoesOn()
    {
        RecordingHost h;
        QVERIFY(h.start());
        // The server thread carries its object name as its system name (cut to 15 bytes).
        pid_t tid = 0;
        QDir task(QStringLiteral("/proc/self/task"));
        for (const QString &t : task.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QFile comm(task.filePath(t) + QStringLiteral("/comm"));
            if (comm.open(QIODevice::ReadOnly) && comm.readAll().startsWith("VrxMonServerThr"))
                tid = pid_t(t.toInt());
        }
        if (tid == 0)
            QSKIP("the system does not show thread names under /proc/self/task");
        struct sigaction sa{}; // an empty mask and no flags: the wait comes back with EINTR
        sa.sa_handler = [](int) {};
        struct sigaction old{};
        QCOMPARE(sigaction(SIGUSR1, &sa, &old), 0);
        QCOMPARE(int(syscall(SYS_tgkill, getpid(), tid, SIGUSR1)), 0);
        QVERIFY(h.waitFor(QStringLiteral("WARN : epoll_wait failed! Possible cause: ")));
        QVERIFY(h.waitFor(
            QStringLiteral("INFO : Recovering from interuption. Continue monitoring...\n")));
        sigaction(SIGUSR1, &old, nullptr);
        KitClient a(h.port);
        QVERIFY(a.handshake(1));
        QVERIFY(a.deliver("after the signal\n"));
        QVERIFY(h.waitFor(kitPrompt(1) + "after the signal\n"));
    }

    void secondInstanceTakesOver()
    {
        RecordingHost first;
        QueuedSignalSpy firstFinished(first.host.server(), &VrxMon::finished);
        QVERIFY(first.start(0, 0x3, 0, 0x1));

        RecordingHost second;
        QVERIFY(second.start(first.port, 0x5, 1, 0xF0));
        QVERIFY(second.all().contains(QStringLiteral("WARN : bind failed! Possible cause: ")));
        QVERIFY(second.all().contains(QStringLiteral("INFO : Trying to close existing listener..."
                                                     "ServerTerminator Status: Running... "
                                                     "closed!\n")));
        // The restart carries the settings read back from the server.
        QCOMPARE(second.countOf(QStringLiteral("INFO : [Trace Level] = 0x5\n")), 2);
        QCOMPARE(second.countOf(QStringLiteral("INFO : [Timestamp]   = 0x1\n")), 2);
        QCOMPARE(second.countOf(QStringLiteral("INFO : [Device Mask] = 0xF0\n")), 2);

        QTRY_VERIFY_WITH_TIMEOUT(firstFinished.count() >= 1, 20000);
        QVERIFY(first.waitFor(ownPrompt() + QStringLiteral("NOTE : Stop command received!\n")));

        // Clients now reach the second instance and get its settings.
        KitClient c(first.port);
        vrxclient_settings settings{};
        QVERIFY(c.handshake(1, &settings));
        QCOMPARE(settings.trace_level, 0x5u);
        QCOMPARE(settings.device_mask, 0xF0u);
        QVERIFY(second.waitFor(QStringLiteral("CONNECTED!")));
    }
};

QTEST_GUILESS_MAIN(TstVrxMonServer)
#include "tst_vrxmonserver.moc"
