// Who owns a monitor connection, and which plot requests are passed on; no server, no threads.
#include "testenv.h"

#include "monitor/core/vrxmonpeer.h"
#include "plot/core/qtviloplotrequest.h"

#include <QtTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using VrxPeer::TcpEndpoint;

namespace {

TcpEndpoint endpoint(const char *address, quint16 port)
{
    TcpEndpoint e;
    e.address = inet_addr(address);
    e.port = port;
    return e;
}

quint64 inodeOf(int fd)
{
    struct stat st{};
    return fstat(fd, &st) == 0 ? quint64(st.st_ino) : 0;
}

// A loopback connection made on this thread: the listener's backlog completes the connect.
struct Connection
{
    int listener = -1, client = -1, accepted = -1;
    TcpEndpoint peer, server; // as the monitor sees them on the accepted socket

    Connection()
    {
        listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = inet_addr("127.0.0.1");
        socklen_t len = sizeof a;
        if (bind(listener, reinterpret_cast<sockaddr *>(&a), sizeof a) != 0 ||
            listen(listener, 1) != 0 ||
            getsockname(listener, reinterpret_cast<sockaddr *>(&a), &len) != 0)
            return;
        client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::connect(client, reinterpret_cast<sockaddr *>(&a), sizeof a) != 0)
            return;
        accepted = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        sockaddr_in p{}, s{};
        socklen_t pl = sizeof p, sl = sizeof s;
        getpeername(accepted, reinterpret_cast<sockaddr *>(&p), &pl);
        getsockname(accepted, reinterpret_cast<sockaddr *>(&s), &sl);
        peer = TcpEndpoint{p.sin_addr.s_addr, ntohs(p.sin_port)};
        server = TcpEndpoint{s.sin_addr.s_addr, ntohs(s.sin_port)};
    }
    ~Connection()
    {
        for (int fd : {client, accepted, listener})
            if (fd >= 0)
                close(fd);
    }
    bool ok() const { return accepted >= 0; }
};

// A process of our own user that holds none of our sockets: forked before they exist.
struct Child
{
    const pid_t pid = fork();
    Child()
    {
        while (pid == 0)
            pause();
    }
    ~Child()
    {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
};

} // namespace

class TstVrxMonPeer : public QObject
{
    Q_OBJECT

private slots:
    void inodeFromATableText()
    {
        // Both ends of one connection and the listener, as the kernel prints them.
        const QByteArray table =
            "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  "
            "timeout inode\n"
            "   0: 0100007F:D903 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1000"
            "        0 4001 1 0000000000000000 100 0 0 10 0\n"
            "   1: 0100007F:D903 0100007F:A3F0 01 00000000:00000000 00:00000000 00000000  1000"
            "        0 4002 1 0000000000000000 20 4 30 10 -1\n"
            "   2: 0100007F:A3F0 0100007F:D903 01 00000000:00000000 00:00000000 00000000  1000"
            "        0 4003 1 0000000000000000 20 4 30 10 -1\n"
            "   3: 0100007F:A3F1 0100007F:D903 06 00000000:00000000 03:00001770 00000000     0"
            "        0 0 3 0000000000000000\n";
        const TcpEndpoint monitor = endpoint("127.0.0.1", 0xD903);
        // The client's end: local is the peer the monitor sees, remote is the monitor.
        QCOMPARE(VrxPeer::socketInodeIn(table, endpoint("127.0.0.1", 0xA3F0), monitor),
                 quint64(4003));
        QCOMPARE(VrxPeer::socketInodeIn(table, monitor, endpoint("127.0.0.1", 0xA3F0)),
                 quint64(4002));
        // A connection in TIME_WAIT has no socket any more.
        QCOMPARE(VrxPeer::socketInodeIn(table, endpoint("127.0.0.1", 0xA3F1), monitor), quint64(0));
        QCOMPARE(VrxPeer::socketInodeIn(table, endpoint("127.0.0.2", 0xA3F0), monitor), quint64(0));
        QCOMPARE(VrxPeer::socketInodeIn(QByteArray("garbage\n: x y\n"), monitor, monitor),
                 quint64(0));
    }

    void ownerOfARealConnection()
    {
        Child stranger;
        QVERIFY(stranger.pid > 0);
        Connection c;
        QVERIFY(c.ok());
        const quint64 inode = VrxPeer::socketInodeOf(c.peer, c.server);
        QVERIFY(inode != 0);
        QCOMPARE(inode, inodeOf(c.client)); // the client's socket, not the monitor's
        QVERIFY(inode != inodeOf(c.accepted));
        QVERIFY(VrxPeer::processOwnsSocket(getpid(), inode));
        QVERIFY(!VrxPeer::processOwnsSocket(stranger.pid, inode));
        QVERIFY(!VrxPeer::processOwnsSocket(getpid(), 0));
        for (qint64 pid : {qint64(0), qint64(-1), qint64(1) << 40, qint64(2147483000)})
            QVERIFY(!VrxPeer::processOwnsSocket(pid, inode));

        // Requests of the owner pass; of anyone else, or for too much, they are refused.
        const QString small = QStringLiteral("%1, /bin/x, Rec, 0x1000, int16, 1, 0, 0, 64, 1, "
                                             "16, 1.0, 1.0, 128")
                                  .arg(getpid());
        QVERIFY(VrxPeer::checkPlotRequest(quint64(getpid()), c.peer, c.server, small).allowed);
        const VrxPeer::PlotGate stolen =
            VrxPeer::checkPlotRequest(quint64(stranger.pid), c.peer, c.server, small);
        QVERIFY(!stolen.allowed);
        QCOMPARE(stolen.message, QStringLiteral("ERROR: Real Time Plot refused! Process %1 does "
                                                "not own the requesting connection.\n")
                                     .arg(stranger.pid));
        QString large = small;
        large.replace(QStringLiteral("1.0, 128"), QStringLiteral("1.0, 500000001"));
        const VrxPeer::PlotGate tooMuch =
            VrxPeer::checkPlotRequest(quint64(getpid()), c.peer, c.server, large);
        QVERIFY(!tooMuch.allowed);
        QCOMPARE(tooMuch.message, QStringLiteral("ERROR: Real Time Plot refused! 500000001 bytes "
                                                 "requested, at most 500000000 bytes are read.\n"));
        large.replace(QStringLiteral("500000001"), QStringLiteral("500000000"));
        QVERIFY(VrxPeer::checkPlotRequest(quint64(getpid()), c.peer, c.server, large).allowed);
        QVERIFY(!VrxPeer::checkPlotRequest(quint64(1) << 40, c.peer, c.server, small).allowed);

        // Once the client's end is closed its socket is gone.
        close(c.client);
        c.client = -1;
        QVERIFY(!VrxPeer::processOwnsSocket(getpid(), VrxPeer::socketInodeOf(c.peer, c.server)));
    }

    void byteSizeIsReadAsThePlotToolReadsIt_data()
    {
        QTest::addColumn<QString>("request");
        QTest::addColumn<quint64>("bytes");
        const QString head = QStringLiteral("4711, /opt/acq/bin/grabber, Rec, 0x7f00, ");
        QTest::newRow("demo") << head + "int16, 1, 0, 0, 64, 1000, 16, 1.0, 1.0, 128"
                              << quint64(128);
        QTest::newRow("template order") << head + "2048, int16, 1" << quint64(0);
        QTest::newRow("not a number")
            << head + "int16, 1, 0, 0, 64, 1, 16, 1, 1, lots" << quint64(0);
        QTest::newRow("negative") << head + "int16, 1, 0, 0, 64, 1, 16, 1, 1, -5" << quint64(0);
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

QTEST_APPLESS_MAIN(TstVrxMonPeer)
#include "tst_vrxmonpeer.moc"
