// A second monitor on the standard port makes the first one quit and takes its place.
#include "loadgen.h"
#include "testenv.h"

#include "monitortesthelpers.h"

#include <QtTest>

namespace {
constexpr quint16 kPort = 55555;
const char *const kPortHeld = "port 55555 is held by another program on this machine";
} // namespace

class TstVrxMonTakeover : public QObject
{
    Q_OBJECT

private slots:
    void secondInstanceTakesOver()
    {
        if (!VrxLoadGen::loopbackPortBindable(kPort))
            QSKIP(kPortHeld);
        RecordingHost first;
        QueuedSignalSpy firstFinished(first.host.server(), &VrxMon::finished);
        QVERIFY(first.startAndListen(kPort, 0x3, 0, 0x1));
        const QString firstPrompt = first.host.server()->prompt();

        RecordingHost second;
        QSignalSpy taken(&second.host, &VrxMonHost::takeOverFinished);
        second.host.start(1, QStringLiteral("127.0.0.1"), kPort, 0x5, 1, 0xF0);
        QTRY_VERIFY_WITH_TIMEOUT(taken.count() >= 1, 30000);
        QCOMPARE(taken.at(0).at(0).toBool(), true);
        QVERIFY(second.waitFor(QStringLiteral("NOTE : VRX Monitor started!\n\n")));

        const QString s = second.all();
        QVERIFY(s.contains(QStringLiteral("WARN : bind failed! Possible cause: ")));
        QVERIFY(s.contains(QStringLiteral("INFO : Trying to close existing listener...ServerTerminator "
                                          "Status: Running... closed!\n")));
        // The restart carries the settings read back from the server.
        QCOMPARE(second.countOf(QStringLiteral("INFO : [Trace Level] = 0x5\n")), 2);
        QCOMPARE(second.countOf(QStringLiteral("INFO : [Timestamp]   = 0x1\n")), 2);
        QCOMPARE(second.countOf(QStringLiteral("INFO : [Device Mask] = 0xF0\n")), 2);

        QTRY_VERIFY_WITH_TIMEOUT(firstFinished.count() >= 1, 20000);
        QVERIFY(first.waitFor(QStringLiteral("[Interface: SOCKET]\n[DevAddr: 0x0]\n[Dev#: 65535]\n"
                                             "[DevType: ServerTerminator]\n")));
        QVERIFY(first.waitFor(firstPrompt + QStringLiteral("NOTE : Stop command received!\n")));
        QVERIFY(first.all().indexOf(QStringLiteral("ServerTerminator")) <
                first.all().indexOf(QStringLiteral("Stop command received")));

        // Clients now reach the second instance and get its settings.
        KitClient c(kPort);
        vrxclient_settings settings{};
        QVERIFY(c.handshake(1, &settings));
        QCOMPARE(settings.trace_level, 0x5u);
        QCOMPARE(settings.device_mask, 0xF0u);
        QVERIFY(second.waitFor(QStringLiteral("CONNECTED!")));
    }

    void foreignListenerIsNotTakenOver()
    {
        if (!VrxLoadGen::loopbackPortBindable(kPort))
            QSKIP(kPortHeld);
        // Something that accepts connections but does not speak the protocol.
        const int fd = listenOn(kPort);
        QVERIFY(fd >= 0);

        RecordingHost h;
        QSignalSpy taken(&h.host, &VrxMonHost::takeOverFinished);
        h.host.start(1, QStringLiteral("127.0.0.1"), kPort);
        QTRY_VERIFY_WITH_TIMEOUT(taken.count() >= 1, 30000);
        close(fd);
        QCOMPARE(taken.at(0).at(0).toBool(), false);
        QVERIFY(h.waitFor(QStringLiteral("ERROR: Unable to quit existing VRX Monitor!\n")));
        QVERIFY(h.waitFor(QStringLiteral("\nERROR: Unable to stop or takeover existing listener! "
                                         "Possible cause: Command not recognized!\n\n")));
        QCOMPARE(h.countOf(QStringLiteral("VRX Monitor started")), 0);
    }
};

QTEST_GUILESS_MAIN(TstVrxMonTakeover)
#include "tst_vrxmontakeover.moc"
