// SPDX-License-Identifier: LGPL-3.0-or-later
// Misbehaving clients against the monitor server over real loopback sockets. In every case the
// well-behaved clients keep being served and every line they sent is in the output.
#include "testenv.h"

#include "monitor/core/remotememprocessed.h"
#include "monitor/core/vrxmonpeer.h"
#include "monitortesthelpers.h"
#include "plot/core/qtviloplotrequest.h"
#include "plot/core/qtviloprocessmemory.h"

#include <QRandomGenerator>
#include <QtTest>

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <memory>
#include <thread>
#include <vector>

extern char **environ;

namespace {
// Its reads and sends give up after 20 s, so a monitor that stops answering fails the test
// instead of hanging it.
int rawConnect(quint16 port)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const timeval limit{20, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    const sockaddr_in a = loopback(port);
    if (::connect(fd, reinterpret_cast<const sockaddr *>(&a), sizeof a) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

// Sends the first idBytes of an ID record and reads the acknowledgement; then, unless
// answerBytes is negative, reads the settings record and answers with that many zero bytes.
bool rawHandshake(int fd, int idBytes, int answerBytes)
{
    unsigned char id[VRXCLIENT_ID_SIZE];
    vrxclient_id fields{0, 0xC0FFEEULL, 0x1A2BULL, 7, "PCIe", "VRX14"};
    vrxclient_encode_id(&fields, id);
    char ack[8], settings[16];
    if (idBytes > 0 && (send(fd, id, std::size_t(idBytes), MSG_NOSIGNAL) != idBytes ||
                        recv(fd, ack, sizeof ack, MSG_WAITALL) != ssize_t(sizeof ack)))
        return false;
    return answerBytes < 0 ||
           (recv(fd, settings, sizeof settings, MSG_WAITALL) == ssize_t(sizeof settings) &&
            send(fd, "\0\0\0\0\0\0\0\0", std::size_t(answerBytes), MSG_NOSIGNAL) == answerBytes);
}

// A monitor on a port of its own, with a well-behaved client that logs numbered lines while
// the others misbehave.
struct Watched : RecordingHost
{
    bool start()
    {
        if (!RecordingHost::start())
            return false;
        witness.reset(new KitClient(port));
        return witness->handshake(1);
    }
    bool log(int count = 3)
    {
        for (int i = 0; i < count; ++i, ++sent)
            if (!witness->send("witness line " + QByteArray::number(sent) + "\n"))
                return false;
        return witness->acked();
    }
    // A few more lines logged, and every line sent is shown whole with the witness's prompt.
    bool served()
    {
        const auto allShown = [this] {
            for (int i = 0; i < sent; ++i)
                if (!all().contains(kitPrompt(1) + QStringLiteral("witness line %1\n").arg(i)))
                    return false;
            return true;
        };
        return log() && QTest::qWaitFor(allShown, 20000);
    }

    std::unique_ptr<KitClient> witness;
    int sent = 0;
};

struct Spawned
{
    pid_t pid = -1;
    explicit Spawned(QByteArrayList args)
    {
        std::vector<char *> argv;
        for (QByteArray &a : args)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        if (posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0)
            pid = -1;
    }
    ~Spawned()
    {
        if (pid > 0)
            kill(pid, SIGKILL);
        reap();
    }
    // Once it is reaped its number may go to another process: never signalled again.
    void reap()
    {
        if (pid > 0)
            waitpid(pid, nullptr, 0); // the memory reader may have reaped it already
        pid = -1;
    }
};
} // namespace

class TstVrxMonFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { portCursor = 51310; }
    void cleanup() { QCOMPARE(RemoteMemProcessed.available(), 0); }

    void unfinishedHandshakesAreDropped_data()
    {
        QTest::addColumn<int>("idBytes");     // of the ID record sent
        QTest::addColumn<int>("answerBytes"); // to the settings record; -1: not read at all
        QTest::addColumn<bool>("hangUp");     // leaves instead of stalling
        QTest::addColumn<QString>("cause");
        const QString noId = QStringLiteral("no client ID within 2000 ms");
        const QString noAnswer =
            QStringLiteral("no answer to the settings record within 2000 ms");
        const QString gone = QStringLiteral("the client closed the connection");
        QTest::newRow("silent") << 0 << -1 << false << noId;
        QTest::newRow("settings unanswered") << 100 << 0 << false << noAnswer;
        QTest::newRow("settings half answered") << 100 << 4 << false << noAnswer;
        QTest::newRow("gone at once") << 0 << -1 << true << gone;
        QTest::newRow("gone after half a record") << 50 << -1 << true << gone;
        QTest::newRow("gone before the settings") << 100 << -1 << true << gone;
    }
    void unfinishedHandshakesAreDropped()
    {
        QFETCH(int, idBytes);
        QFETCH(int, answerBytes);
        QFETCH(bool, hangUp);
        QFETCH(QString, cause);
        Watched h;
        QVERIFY(h.start());

        const int fd = rawConnect(h.port);
        QVERIFY(fd >= 0);
        const quint16 local = localPortOf(fd);
        QVERIFY(rawHandshake(fd, idBytes, answerBytes));
        if (hangUp)
            close(fd);
        QVERIFY(h.served()); // while the other one stalls or leaves
        if (idBytes > 0 && idBytes < 100) // a short record gets its usual messages first
            QVERIFY(h.waitFor(
                QStringLiteral("ID length (%1) or ValidationID (OKAV) not match!\n").arg(idBytes)));
        QVERIFY(h.waitFor(QStringLiteral("ERROR: Handshake with 127.0.0.1:%1 failed (%2)! "
                                         "Connection closed.\n")
                              .arg(local)
                              .arg(cause)));
        if (!hangUp) { // the monitor has closed it: end of stream or reset
            char sink;
            const ssize_t got = recv(fd, &sink, 1, 0);
            QVERIFY(got == 0 || (got < 0 && errno == ECONNRESET));
            close(fd);
        }
        QCOMPARE(h.countOf(QStringLiteral("CONNECTED!")), 1); // it never joined
        QCOMPARE(h.host.server()->clientDeviceNumbers(), QVector<quint64>{1});

        KitClient late(h.port);
        QVERIFY(late.handshake(2));
        QVERIFY(late.deliver("late and fine\n"));
        QVERIFY(h.waitFor(kitPrompt(2) + "late and fine\n"));
    }

    void randomBytesAsIdentityAndText()
    {
        Watched h;
        QVERIFY(h.start());
        QRandomGenerator rng(20231);

        // Random bytes as the ID record: a temporary identity named after the client's place.
        KitClient noise(h.port);
        QByteArray junk(128, '\0');
        rng.fillRange(reinterpret_cast<quint32 *>(junk.data()), junk.size() / 4);
        int64_t received = 0;
        QCOMPARE(vrxclient_identify_raw(noise.c, junk.constData(), 128, &received), 0);
        QCOMPARE(vrxclient_receive_settings(noise.c, nullptr), 0);
        QVERIFY(h.waitFor(QStringLiteral("ERROR: Could not establish client ID. ID length (128) or "
                                         "ValidationID (")));
        QVERIFY(h.waitFor(QStringLiteral("WARN : Assigning temporary ID...\n\n")));
        QVERIFY(h.waitFor(QStringLiteral("[VRXCU: 0x0]\n[Interface: NA1]\n[DevAddr: 0x0]\n"
                                         "[Dev#: 1]\n[DevType: NA]\n"
                                         "[Path: Process path cannot be determined]\n")));
        QVERIFY(noise.deliver("hello\n"));
        QVERIFY(h.waitFor(QStringLiteral("0x0/NA@0x0/1/NA1> hello\n")));
        // Random bytes as the log text.
        for (int round = 0; round < 16; ++round) {
            QByteArray bytes(int(1 + rng.bounded(8192u)), '\0');
            for (char &b : bytes) {
                b = char(rng.bounded(256u));
                if (b == 'R') // "RunCmd(" must not come up by chance
                    b = 'r';
            }
            QVERIFY(noise.deliver(bytes));
            QVERIFY(h.log(1));
        }
        QVERIFY(h.served());
        QCOMPARE(h.host.server()->clientCount(), 2u);
    }

    void hugeLineAndACommandThatNeverCloses()
    {
        Watched h;
        QVERIFY(h.start());
        QSignalSpy plot(h.host.server(), &VrxMon::VirtualPlotItemConnected);
        KitClient huge(h.port), open(h.port);
        QVERIFY(huge.handshake(2));
        QVERIFY(open.handshake(3));

        // 4 MiB without a line end, in pieces, the witness talking in between.
        const QByteArray piece(256 * 1024, '~');
        for (int i = 0; i < 16; ++i) {
            QVERIFY(huge.deliver(piece));
            QVERIFY(h.log(1));
        }
        // An opened command that never closes: its lines are shown as any others.
        QVERIFY(open.send("RunCmd( 1, Rec, 0x10, 64, int16, 1\n"));
        for (int i = 0; i < 200; ++i)
            QVERIFY(open.send(QByteArray("still open ") + QByteArray::number(i) + " (no end)\n"));
        QVERIFY(open.acked());
        QVERIFY(h.served());
        QVERIFY(h.waitFor(kitPrompt(3) + "still open 199 (no end)\n"));
        QCOMPARE(h.countOf(kitPrompt(3) + "still open "), 200);
        QCOMPARE(h.countOf(QStringLiteral("~")), 16 * piece.size());
        QCOMPARE(plot.count(), 0);
        QCOMPARE(h.countOf(QStringLiteral("ERROR: ")), 0);
        QCOMPARE(h.host.server()->clientCount(), 3u);
    }

    void clientLeavesWhileItsPlotRequestWaits()
    {
        Watched h;
        QVERIFY(h.start());
        QSignalSpy plot(h.host.server(), &VrxMon::VirtualPlotItemConnected);
        {
            KitClient leaver(h.port);
            QVERIFY(leaver.handshake(2));
            QVERIFY(
                leaver.send("leaving soon\nRunCmd( 1, Rec, 0x10, 64, int16, 1);\nlast words\n"));
            QTRY_VERIFY_WITH_TIMEOUT(plot.count() == 1, 20000);
            QVERIFY(h.witness->send("while waiting\n")); // queued behind the request
        } // gone before the plot side has read anything
        RemoteMemProcessed.release();
        QVERIFY(h.witness->acked());
        QVERIFY(h.waitFor(QStringLiteral("DISCONNECTED! Removing client: \n")));
        const QString leaver = kitPrompt(2);
        for (const char *line :
             {"leaving soon\n", "RunCmd( 1, Rec, 0x10, 64, int16, 1);\n", "last words\n"})
            QVERIFY2(h.all().contains(leaver + QLatin1String(line)), line);
        QVERIFY(h.waitFor(kitPrompt(1) + "while waiting\n"));
        QVERIFY(h.served());
        QCOMPARE(h.host.server()->clientDeviceNumbers(), QVector<quint64>{1});
    }

    void clientKilledWhileThePlotSideReadsItsMemory()
    {
        Watched h;
        QVERIFY(h.start());

        // The test is the plot side: it reads each request's memory as the plot tool does,
        // and the demo is killed during the third read.
        QVector<QtViloProcessMemory::Result> reads;
        QVector<QVector<qint16>> samples;
        Spawned *demo = nullptr;
        connect(h.host.server(), &VrxMon::VirtualPlotItemConnected, this, [&](const QString &text) {
            const QtViloPlotRequest r = parsePlotRequest(text, QtViloPlotItemDefaults());
            QVector<qint16> values(int(r.byteSize / 2));
            const bool killNow = reads.size() == 2;
            QtViloProcessMemory::Result result;
            std::thread reader([&] {
                result = QtViloProcessMemory::read(r.processId, r.baseAddress,
                                                   reinterpret_cast<char *>(values.data()),
                                                   qint64(r.byteSize));
            });
            if (killNow)
                kill(demo->pid, SIGKILL);
            reader.join();
            if (killNow)
                demo->reap();
            reads.append(result);
            samples.append(values);
            RemoteMemProcessed.release();
        });
        Spawned spawned({VRXDEMO_PATH, "--port", QByteArray::number(h.port), "--interval-ms", "0",
                         "--samples", "256", "--ramp"});
        QVERIFY(spawned.pid > 0);
        demo = &spawned;
        QVERIFY(QTest::qWaitFor([&] { return !reads.isEmpty(); }, 20000));
        if (reads.first().failedAt == QtViloProcessMemory::Stage::Attach ||
            reads.first().failedAt == QtViloProcessMemory::Stage::Open) {
            // Stopped before a second request can come.
            kill(spawned.pid, SIGKILL);
            spawned.reap();
            QVERIFY(h.waitFor(QStringLiteral("DISCONNECTED!")));
            QSKIP(qPrintable(QStringLiteral("reading another process's memory is not permitted "
                                            "here: ") +
                             reads.first().detail));
        }
        QVERIFY2(reads.first().ok, qPrintable(reads.first().detail));
        QCOMPARE(samples.first().value(1) - samples.first().value(0), 1); // a ramp

        QVERIFY(h.waitFor(QStringLiteral("DISCONNECTED! Removing client: \n")));
        QCOMPARE(reads.size(), 3);                                  // nothing after the kill
        QVERIFY(!reads.last().ok || reads.last().bytesRead == 512); // killed before or after
        QVERIFY(h.served());
        QCOMPARE(h.host.server()->clientDeviceNumbers(), QVector<quint64>{1});
        // Every line of the demo's records that were let go is there.
        for (int n = 0; n < 2; ++n)
            QVERIFY(h.all().contains(
                QStringLiteral("/PCIe> NOTE : record %1: filling 256 samples\n").arg(n)));
    }

    void plotRequestsForOtherProcessesAreRefused()
    {
        RecordingHost h;
        QVERIFY(h.start());
        const QString mp = h.host.server()->prompt();
        const QString refused = mp + "ERROR: Real Time Plot refused! ";
        QSignalSpy plot(h.host.server(), &VrxMon::VirtualPlotItemConnected);
        const auto request = [](const char *bytes) {
            return "RunCmd( 1, Rec, 0x10, int16, 1, 0, 0, 64, 1, 16, 1, 1, " + QByteArray(bytes) +
                   ");\n";
        };

        // Claims the test runner's parent, which holds no socket of ours.
        KitClient liar(h.port);
        vrxclient_id id{quint64(getppid()), 0, 0, 1, "PCIe", "VRX14"};
        vrxclient_settings s{};
        QCOMPARE(vrxclient_handshake(liar.c, &id, &s), 0);
        QVERIFY(liar.deliver(request("128"))); // not held: nothing is read
        QVERIFY(h.waitFor(
            refused +
            QStringLiteral("Process %1 does not own the requesting connection.\n").arg(getppid())));

        // A temporary identity names its socket number as the process.
        KitClient nameless(h.port);
        int64_t received = 0;
        QCOMPARE(vrxclient_identify_raw(nameless.c, "short", 5, &received), 0);
        QCOMPARE(vrxclient_receive_settings(nameless.c, nullptr), 0);
        QVERIFY(nameless.deliver(request("128")));
        QVERIFY(h.waitFor(refused + "Process ", 2));

        // Its own process, but one byte more than the plot tool would ever load.
        KitClient greedy(h.port);
        QVERIFY(greedy.handshake(3));
        QVERIFY(greedy.deliver(request("500000001")));
        QVERIFY(h.waitFor(refused + "500000001 bytes requested, at most 500000000 bytes are "
                                    "read.\n"));
        QCOMPARE(plot.count(), 0);

        // Its own process at the limit: passed on with the program's number and path first,
        // and the line held until the plot side has read the memory.
        RemoteMemProcessed.release(2); // left over from an earlier request
        QVERIFY(greedy.send(request("500000000")));
        QTRY_VERIFY_WITH_TIMEOUT(plot.count() == 1, 20000);
        QCOMPARE(plot.at(0).at(0).toString(),
                 QStringLiteral("%1, %2, Rec, 0x10, int16, 1, 0, 0, 64, 1, 16, 1, 1, 500000000")
                     .arg(getpid())
                     .arg(QCoreApplication::arguments().constFirst()));
        QVERIFY(h.waitFor(mp + "WARN : Real Time Plot out of sync! "
                               "(RemoteMemProcessed.available() = 2). Re-syncing...\n"));
        QCOMPARE(RemoteMemProcessed.available(), 0);
        int64_t ack = 0;
        QCOMPARE(vrxclient_read_ack(greedy.c, &ack, 300), -1);
        QCOMPARE(errno, ETIMEDOUT);
        QVERIFY(!h.all().contains("500000000);\n"));
        RemoteMemProcessed.release();
        QVERIFY(greedy.acked());
        QVERIFY(h.waitFor(kitPrompt(3) + request("500000000")));
        QCOMPARE(h.countOf(refused), 3);
    }

    // The monitor's limit only holds if it reads the size where the plot tool reads it.
    void byteSizeIsReadAsThePlotToolReadsIt_data()
    {
        QTest::addColumn<QString>("request");
        QTest::addColumn<quint64>("bytes");
        const QString head = QStringLiteral("4711, /opt/acq/bin/grabber, Rec, 0x7f00, ");
        QTest::newRow("demo") << head + "int16, 1, 0, 0, 64, 1000, 16, 1.0, 1.0, 128"
                              << quint64(128);
        QTest::newRow("template order") << head + "2048, int16, 1" << quint64(0);
        QTest::newRow("huge") << head + "int16, 1, 0, 0, 64, 1, 16, 1, 1, 18446744073709551615"
                              << quint64(18446744073709551615ULL);
        // A comma in the program path moves every field, for both sides alike.
        QTest::newRow("comma in path")
            << QStringLiteral("4711, /opt/a,b, Rec, 0x7f00, int16, 1, 0, 0, 64, 1, 16, 1, 9999, 7")
            << quint64(9999);
    }
    void byteSizeIsReadAsThePlotToolReadsIt()
    {
        QFETCH(QString, request);
        QFETCH(quint64, bytes);
        QCOMPARE(VrxPeer::requestedReadBytes(request), bytes);
        QCOMPARE(parsePlotRequest(request, QtViloPlotItemDefaults()).byteSize, bytes);
    }
};

QTEST_GUILESS_MAIN(TstVrxMonFaults)
#include "tst_vrxmonfaults.moc"
