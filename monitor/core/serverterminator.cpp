// SPDX-License-Identifier: LGPL-3.0-or-later
#include "monitor/core/serverterminator.h"

#include "monitor/core/vrxmonprotocol.h"

#include <QFile>
#include <QThread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

using namespace VrxProto;

namespace {
QString errorText(int err) { return QString::fromLocal8Bit(std::strerror(err)); }

// An unresponsive listener must not keep the takeover waiting for ever.
void setTimeouts(int fd, int seconds)
{
    struct timeval tv{seconds, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof tv);
}
} // namespace

void ServerTerminator::run()
{
    signal(SIGPIPE, SIG_IGN);
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        emit MessageAvailable(
            QStringLiteral("ERROR: Could not create socket! Possible cause: %1").arg(errorText(errno)));
        emit done(false);
        return;
    }
    emit MessageAvailable(QStringLiteral("ServerTerminator Status: Running... "));
    setTimeouts(fd, 5);
    struct sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = inet_addr("127.0.0.1");
    addr.sin_port = htons(m_port);
    bool ok = false;
    if (::connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0) {
        emit MessageAvailable(
            QStringLiteral("ERROR: Connect failed! Possible cause: %1.\n").arg(errorText(errno)));
    } else {
        const qint64 tid = qint64(syscall(SYS_gettid));
        ClientIdRecord rec{};
        rec.processId = quint64(tid);
        rec.devNumber = 65535;
        std::memcpy(rec.validationId, kValidationId, 4);
        std::strcpy(rec.interfaceName, "SOCKET");
        std::strcpy(rec.devType, "ServerTerminator");
        const QByteArray id = encodeClientId(rec);
        QString name = QStringLiteral("Unknown");
        QFile comm(QStringLiteral("/proc/%1/comm").arg(tid));
        if (comm.open(QIODevice::ReadOnly))
            name = QString::fromLocal8Bit(comm.readLine(256)).trimmed();
        const QString who = QStringLiteral("[%1(%2)] ").arg(name).arg(tid);

        // Only a listener that answers like a monitor is sent the stop command; anything else
        // would have us restart into the same bind failure again and again.
        char ack[kAckSize];
        char settings[32];
        const QByteArray reply = encodeAck(0);
        const bool answered = send(fd, id.constData(), id.size(), MSG_NOSIGNAL) == id.size() &&
                              recv(fd, ack, sizeof ack, MSG_WAITALL) == kAckSize &&
                              recv(fd, settings, sizeof settings, 0) > 0 &&
                              send(fd, reply.constData(), reply.size(), MSG_NOSIGNAL) == reply.size();
        const ssize_t written = answered ? write(fd, "RunCmd(0);", 10) : -1;
        if (written == 10) {
            // The monitor drops every connection when it stops, its listener first; seeing
            // ours dropped means the restart can bind.
            char sink[64];
            ssize_t n;
            while ((n = recv(fd, sink, sizeof sink, 0)) > 0) {
            }
            ok = n == 0 || errno == ECONNRESET;
        } else {
            emit MessageAvailable(who + QStringLiteral("ERROR: write returned %1! Possible cause: %2\n")
                                            .arg(qint64(written))
                                            .arg(errorText(errno)));
        }
        if (!ok)
            emit MessageAvailable(who + QStringLiteral("ERROR: Unable to quit existing VRX Monitor!\n"));
    }
    close(fd);
    usleep(1000);
    emit done(ok);
    thread()->quit();
}
