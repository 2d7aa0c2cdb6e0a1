#pragma once

// Shared pieces of the monitor tests: a server owner that records every text, and a client
// of the kit that cleans up after itself.

#include "monitor/core/vrxmon.h"
#include "monitor/core/vrxmonhost.h"
#include "loadgen.h"
#include "queuedsignalspy.h"
#include "vrxclient.h"

#include <QSignalSpy>
#include <QStringList>
#include <QTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

// The next loopback port from `next` on that binds now (outgoing connections may borrow a port
// of the monitor's range); each test program starts from a range of its own.
inline quint16 nextBindablePort(quint16 &next)
{
    const quint16 port = VrxLoadGen::firstBindablePort(next);
    next = port + 1;
    return port;
}

class RecordingHost
{
public:
    RecordingHost()
    {
        QObject::connect(&host, &VrxMonHost::MessageAvailable,
                         [this](const QString &m) { messages.append(m); });
    }
    QString all() const { return messages.join(QString()); }
    int countOf(const QString &needle) const { return all().count(needle); }
    bool waitFor(const QString &needle, int times = 1, int timeoutMs = 20000)
    {
        return QTest::qWaitFor([&] { return countOf(needle) >= times; }, timeoutMs);
    }
    bool startAndListen(quint32 port, quint32 trace = 0, quint32 ts = 0, quint32 mask = 0)
    {
        host.start(1, QStringLiteral("127.0.0.1"), port, trace, ts, mask);
        return waitFor(QStringLiteral("NOTE : VRX Monitor started!\n\n"));
    }

    VrxMonHost host;
    QStringList messages;
};

class KitClient
{
public:
    explicit KitClient(quint16 port) : c(vrxclient_connect(port)) {}
    ~KitClient() { close(); }
    KitClient(const KitClient &) = delete;
    KitClient &operator=(const KitClient &) = delete;

    bool connected() const { return c != nullptr; }
    bool handshake(quint64 devNumber, const char *iface = "PCIe", const char *type = "VRX14",
                   vrxclient_settings *settings = nullptr)
    {
        vrxclient_id id{0, 0xC0FFEEULL, 0x1A2BULL, devNumber, iface, type};
        vrxclient_settings s{};
        return c && vrxclient_handshake(c, &id, settings ? settings : &s) == 0;
    }
    bool send(const QByteArray &bytes) { return vrxclient_send(c, bytes.constData(), std::size_t(bytes.size())) == 0; }
    // Everything sent so far acknowledged (generous bound, only to avoid hanging).
    bool acked(int timeoutMs = 20000) { return vrxclient_wait_all_acked(c, timeoutMs) == 0; }
    void close()
    {
        vrxclient_close(c);
        c = nullptr;
    }
    // The client's own port, which the monitor reports as the peer port.
    quint16 localPort() const
    {
        sockaddr_in a{};
        socklen_t len = sizeof a;
        getsockname(vrxclient_fd(c), reinterpret_cast<sockaddr *>(&a), &len);
        return ntohs(a.sin_port);
    }

    vrxclient *c;
};

// The prompt the monitor gives a client of KitClient::handshake.
inline QString kitPrompt(quint64 devNumber, const char *iface = "PCIe", const char *type = "VRX14")
{
    return QStringLiteral("0x1A2B/%1@0xC0FFEE/%2/%3> ")
        .arg(QLatin1String(type))
        .arg(devNumber)
        .arg(QLatin1String(iface));
}
