// SPDX-License-Identifier: LGPL-3.0-or-later
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

// Each test program sets the first port of a range of its own, so parallel programs never meet.
inline quint16 portCursor = 50000;

// The next loopback port that binds now (outgoing connections may borrow one of the range).
inline quint16 nextPort()
{
    portCursor = VrxLoadGen::firstBindablePort(portCursor) + 1;
    return portCursor - 1;
}

inline quint16 localPortOf(int fd)
{
    sockaddr_in a{};
    socklen_t len = sizeof a;
    getsockname(fd, reinterpret_cast<sockaddr *>(&a), &len);
    return ntohs(a.sin_port);
}

// A listener on the loopback port that is no monitor; -1 when the port cannot be had.
inline sockaddr_in loopback(quint16 port)
{
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    a.sin_port = htons(port);
    return a;
}

inline int listenOn(quint16 port)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // Connections of an earlier run may still wait out their close on this port.
    const int reuse = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    const sockaddr_in a = loopback(port);
    if (bind(fd, reinterpret_cast<const sockaddr *>(&a), sizeof a) != 0 || listen(fd, 4) != 0) {
        close(fd);
        return -1;
    }
    return fd;
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
    // Starts the monitor, on its own port unless given another; whether it came up.
    bool start(quint16 on = 0, quint32 trace = 0, quint32 ts = 0, quint32 mask = 0)
    {
        host.start(1, QStringLiteral("127.0.0.1"), on ? on : port, trace, ts, mask);
        return waitFor(QStringLiteral("NOTE : VRX Monitor started!\n\n"));
    }

    const quint16 port = nextPort();
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
    bool handshake(quint64 devNumber, vrxclient_settings *settings = nullptr)
    {
        vrxclient_id id{0, 0xC0FFEEULL, 0x1A2BULL, devNumber, "PCIe", "VRX14"};
        vrxclient_settings s{};
        return c && vrxclient_handshake(c, &id, settings ? settings : &s) == 0;
    }
    bool send(const QByteArray &bytes)
    {
        return vrxclient_send(c, bytes.constData(), std::size_t(bytes.size())) == 0;
    }
    // Everything sent so far acknowledged (generous bound, only to avoid hanging).
    bool acked(int timeoutMs = 20000) { return vrxclient_wait_all_acked(c, timeoutMs) == 0; }
    // Sent and taken in by the monitor.
    bool deliver(const QByteArray &bytes) { return send(bytes) && acked(); }
    void close()
    {
        vrxclient_close(c);
        c = nullptr;
    }

    vrxclient *c;
};

// The prompt the monitor gives a client of KitClient::handshake.
inline QString kitPrompt(quint64 devNumber)
{
    return QStringLiteral("0x1A2B/VRX14@0xC0FFEE/%1/PCIe> ").arg(devNumber);
}
