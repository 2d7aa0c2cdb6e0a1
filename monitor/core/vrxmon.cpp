// SPDX-License-Identifier: LGPL-3.0-or-later
#include "monitor/core/vrxmon.h"

#include "util/core/eightbittext.h"

#include "monitor/core/outputbacklog.h"
#include "monitor/core/remotememprocessed.h"
#include "monitor/core/vrxmonpeer.h"

#include <arpa/inet.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

using namespace VrxProto;

namespace {
void setRecvTimeout(int fd, int milliseconds)
{
    struct timeval tv{milliseconds / 1000, (milliseconds % 1000) * 1000};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
}

enum class Sent { All, WouldBlock, Failed };

// Never waits: a client that does not read what it is sent must not block the server thread.
// A record only partly sent counts as blocked: the rest would have had to wait.
Sent sendAll(int fd, const QByteArray &bytes)
{
    ssize_t n;
    do {
        n = send(fd, bytes.constData(), std::size_t(bytes.size()), MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (n < 0 && errno == EINTR);
    if (n == bytes.size())
        return Sent::All;
    return n >= 0 || errno == EAGAIN || errno == EWOULDBLOCK ? Sent::WouldBlock : Sent::Failed;
}

// Waits for exactly length bytes within the receive timeout set on the socket. Returns the
// bytes received, or -1 with errno set when nothing came.
ssize_t recvAll(int fd, char *data, std::size_t length)
{
    std::size_t got = 0;
    while (got < length) {
        const ssize_t n = recv(fd, data + got, length - got, MSG_WAITALL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return got > 0 ? ssize_t(got) : n;
        got += std::size_t(n);
    }
    return ssize_t(got);
}

VrxPeer::TcpEndpoint endpointOf(const sockaddr_in &a)
{
    VrxPeer::TcpEndpoint e;
    e.address = a.sin_addr.s_addr;
    e.port = ntohs(a.sin_port);
    return e;
}

VrxPeer::TcpEndpoint peerEndpoint(int fd)
{
    sockaddr_in a{};
    socklen_t len = sizeof a;
    return getpeername(fd, reinterpret_cast<sockaddr *>(&a), &len) == 0 ? endpointOf(a)
                                                                        : VrxPeer::TcpEndpoint{};
}

VrxPeer::TcpEndpoint localEndpoint(int fd)
{
    sockaddr_in a{};
    socklen_t len = sizeof a;
    return getsockname(fd, reinterpret_cast<sockaddr *>(&a), &len) == 0 ? endpointOf(a)
                                                                        : VrxPeer::TcpEndpoint{};
}

QString peerText(const sockaddr_in &peer)
{
    return QStringLiteral("%1:%2")
        .arg(QLatin1String(inet_ntoa(peer.sin_addr)))
        .arg(ntohs(peer.sin_port));
}

void copyField(char *dst, std::size_t size, const QByteArray &src)
{
    const std::size_t n = std::min(size - 1, std::size_t(src.size()));
    std::memcpy(dst, src.constData(), n);
    dst[n] = '\0';
}
} // namespace

VrxMon::VrxMon(QObject *parent) : QObject(parent)
{
    std::memset(m_clients, 0, sizeof m_clients);
    std::memset(m_scratch, 0, sizeof m_scratch);
    m_monitorPrompt = ownMonitorPrompt();
    m_textScratch.reserve(2 * kRecvBufferSize); // reserved, so clearing it keeps the memory
    m_wakeFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
}

VrxMon::~VrxMon()
{
    if (m_wakeFd >= 0)
        close(m_wakeFd);
}

void VrxMon::requestStop()
{
    m_stopAsked.store(true);
    if (m_wakeFd >= 0) {
        const quint64 one = 1;
        [[maybe_unused]] const ssize_t n = write(m_wakeFd, &one, sizeof one);
    }
}

void VrxMon::requestShutdown()
{
    m_shutdown.store(true);
    if (m_wakeFd >= 0) {
        const quint64 one = 1;
        [[maybe_unused]] const ssize_t n = write(m_wakeFd, &one, sizeof one);
    }
}

QVector<quint64> VrxMon::clientDeviceNumbers() const
{
    QMutexLocker lock(&m_tableMutex);
    QVector<quint64> out;
    for (quint32 i = 0; i < m_clientCount.load() && i < quint32(kMaxClients); ++i)
        if (m_clients[i].fd > 0)
            out.append(m_clients[i].devNumber);
    return out;
}

void VrxMon::emitMessage(const QString &text)
{
    // A message that comes while a client's line is unfinished gets a line of its own, and
    // the rest of that line is shown with its prompt again, as after another client's text.
    if (!m_atLineStart)
        emit MessageAvailable(QStringLiteral("\n"));
    emit MessageAvailable(QString::fromLatin1(serverTimestamp()) + m_monitorPrompt + text);
    m_atLineStart = text.endsWith(QLatin1Char('\n'));
    m_lastShownFd = -1;
}

QString VrxMon::errorText() const { return QString::fromLocal8Bit(std::strerror(errno)); }

void VrxMon::StartServer(const quint32 &type, const QString &pipe_name, const quint32 &port,
                         const quint32 &trace_level, const quint32 &use_timestamp,
                         const quint32 &dev_mask)
{
    m_traceLevel = trace_level;
    m_useTimestamp = use_timestamp;
    m_devMask = dev_mask;
    emitMessage(QStringLiteral("INFO : VRXMonitor Settings:\n"));
    emitMessage(QStringLiteral("INFO : [Trace Level] = 0x%1\n")
                    .arg(QString::number(m_traceLevel, 16).toUpper()));
    emitMessage(QStringLiteral("INFO : [Timestamp]   = 0x%1\n")
                    .arg(QString::number(m_useTimestamp, 16).toUpper()));
    emitMessage(QStringLiteral("INFO : [Device Mask] = 0x%1\n")
                    .arg(QString::number(m_devMask, 16).toUpper()));
    m_stop.store(false);
    m_stopped = false;

    if (type == 0) {
        if (!pipe_name.isEmpty()) {
            emitMessage(QStringLiteral(
                "ERROR: VRX Monitor Pipe server is not available for current running OS!\n"));
            emit finished();
        }
        return;
    }
    // Lower ports belong to other services; such a request is ignored without a word.
    if (type == 1 && port >= kLowestPort)
        runTcpServer(port);
}

void VrxMon::runTcpServer(quint32 port)
{
    signal(SIGPIPE, SIG_IGN);
    {
        QMutexLocker lock(&m_tableMutex);
        std::memset(m_clients, 0, sizeof m_clients);
        m_clientCount.store(0);
    }

    m_listenFd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_listenFd <= 0) {
        emitMessage(QStringLiteral("ERROR: Could not create socket! Possible cause: %1\n")
                        .arg(errorText()));
        m_listenFd = -1;
        emit finished();
        return;
    }
    const int on = 1;
    if (setsockopt(m_listenFd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        setsockopt(m_listenFd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0) {
        emitMessage(
            QStringLiteral("ERROR: setsockopt failed! Possible cause: %1\n").arg(errorText()));
        close(m_listenFd);
        m_listenFd = -1;
        emit finished();
        return;
    }
    struct sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = inet_addr("127.0.0.1");
    addr.sin_port = htons(quint16(port));
    if (bind(m_listenFd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0) {
        emitMessage(QStringLiteral("WARN : bind failed! Possible cause: %1\n").arg(errorText()));
        emitMessage(QStringLiteral("INFO : Trying to close existing listener..."));
        close(m_listenFd);
        m_listenFd = -1;
        errno = 0;
        emit TakeOverServer();
        return;
    }
    if (listen(m_listenFd, 10) != 0) {
        emitMessage(QStringLiteral("ERROR: listen failed! Possible cause: %1\n").arg(errorText()));
        close(m_listenFd);
        m_listenFd = -1;
        emit finished();
        return;
    }
    emitMessage(QStringLiteral("NOTE : VRX Monitor started!\n\n"));

    const int epfd = epoll_create(kMaxClients);
    if (epfd < 0) {
        emitMessage(
            QStringLiteral("ERROR: epoll_create failed! Possible cause: %1\n").arg(errorText()));
        close(m_listenFd);
        m_listenFd = -1;
        emit finished();
        return;
    }
    struct epoll_event ev{};
    ev.events = EPOLLIN | EPOLLPRI | EPOLLERR | EPOLLHUP;
    ev.data.fd = m_listenFd;
    if (epoll_ctl(epfd, EPOLL_CTL_ADD, m_listenFd, &ev) != 0)
        emitMessage(
            QStringLiteral("ERROR: epoll_ctl failed! Possible cause: %1\n").arg(errorText()));
    if (m_wakeFd >= 0) {
        struct epoll_event wake{};
        wake.events = EPOLLIN;
        wake.data.fd = m_wakeFd;
        epoll_ctl(epfd, EPOLL_CTL_ADD, m_wakeFd, &wake);
    }

    m_compact = true;
    m_atLineStart = true;
    m_lastShownFd = -1;
    struct epoll_event events[kMaxClients];
    while (!m_shutdown.load()) {
        if (m_compact) {
            compactClients();
            m_compact = false;
        }
        // The output is behind: nothing more is read (and acknowledged) until it has caught
        // up to half the limit. The clients' own sends then wait, as TCP intends.
        if (m_backlog && m_backlog->isFull()) {
            while (!m_backlog->waitForRoom(20) && !stopRequested()) {
            }
            if (stopRequested())
                break;
        }
        const int n = epoll_wait(epfd, events, kMaxClients, -1);
        if (stopRequested())
            break;
        if (n < 0) {
            const int err = errno;
            emitMessage(
                QStringLiteral("WARN : epoll_wait failed! Possible cause: %1\n").arg(errorText()));
            if (err == EINTR) {
                emitMessage(
                    QStringLiteral("INFO : Recovering from interuption. Continue monitoring...\n"));
                continue;
            }
            emitMessage(QStringLiteral("ERROR: Could not recover from %1. Terminating VRX Monitor!\n")
                            .arg(QString::fromLocal8Bit(std::strerror(err))));
            break;
        }
        for (int e = 0; e < n && !m_stopped; ++e) {
            const int fd = events[e].data.fd;
            if (fd == m_listenFd) {
                acceptClient(epfd);
                continue;
            }
            if (fd == m_wakeFd)
                continue;
            int index = -1;
            for (quint32 i = 0; i < m_clientCount.load(); ++i) {
                if (m_clients[i].fd == fd) {
                    index = int(i);
                    break;
                }
            }
            if (index < 0)
                continue;
            ClientRecord &c = m_clients[index];
            const ssize_t peeked =
                recv(fd, c.recvBuffer, sizeof c.recvBuffer, MSG_PEEK | MSG_DONTWAIT);
            if (peeked == 0 || (peeked < 0 && errno != EAGAIN && errno != EWOULDBLOCK &&
                                errno != EINTR)) {
                disconnectClient(index);
                continue;
            }
            if (peeked > 0 && (events[e].events & EPOLLIN))
                readClient(index);
        }
        if (stopRequested() || m_stopped)
            break;
    }
    close(epfd);
    if (!m_stopped) {
        // Leaving for a shutdown or a failed wait: release every socket still held.
        if (m_shutdown.load() || m_stopAsked.load())
            stopServer();
        else {
            for (quint32 i = 0; i < m_clientCount.load(); ++i)
                if (m_clients[i].fd > 0)
                    close(m_clients[i].fd);
            if (m_listenFd >= 0)
                close(m_listenFd);
            m_listenFd = -1;
            QMutexLocker lock(&m_tableMutex);
            std::memset(m_clients, 0, sizeof m_clients);
            m_clientCount.store(0);
        }
    }
    if (m_stopAsked.exchange(false) && m_wakeFd >= 0) {
        quint64 count = 0; // drained, or the next start would wake at once
        [[maybe_unused]] const ssize_t n = read(m_wakeFd, &count, sizeof count);
    }
    emit finished();
}

void VrxMon::acceptClient(int epfd)
{
    // A departure earlier in this batch leaves a hole; closed up first, the newcomer finds the
    // free record at the end of the table.
    if (m_compact) {
        compactClients();
        m_compact = false;
    }
    emitMessage(QStringLiteral("INFO : Incoming CONNECTION...\n"));
    struct sockaddr_in peer{};
    socklen_t peerLen = sizeof peer;
    const int fd = accept4(m_listenFd, reinterpret_cast<sockaddr *>(&peer), &peerLen,
                           SOCK_CLOEXEC);
    if (fd < 0) {
        emitMessage(QStringLiteral("ERROR: accept failed! Possible cause: %1\n").arg(errorText()));
        return;
    }
    const int on = 1;
    if (setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0)
        emitMessage(QStringLiteral("Error: setsockopt failed! Possible cause: %s\n"));

    // Bounded, so a client that connects and then says nothing costs everyone a short pause
    // only; it is dropped rather than kept without an identity it never sent.
    setRecvTimeout(fd, kHandshakeTimeoutMs);
    const auto dropDuringHandshake = [&](const QString &cause) {
        emitMessage(handshakeFailedText(peerText(peer), cause));
        close(fd);
    };
    char idBuf[kFirstRecvSize];
    ssize_t got;
    do {
        got = recv(fd, idBuf, sizeof idBuf, 0);
    } while (got < 0 && errno == EINTR);
    if (got <= 0) {
        const bool timedOut = got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
        dropDuringHandshake(timedOut ? noIdCause() : got == 0 ? closedCause() : errorText());
        return;
    }
    sendAll(fd, encodeAck(qint64(got)));

    const quint32 index = m_clientCount.load();
    const ClientIdDecode id = decodeClientId(idBuf, int(got));
    ClientIdRecord rec = id.record;
    QByteArray path;
    if (id.valid) {
        path = processPath(rec.processId);
    } else {
        emitMessage(id.errorText);
        emitMessage(QStringLiteral("WARN : Assigning temporary ID...\n\n"));
        rec = temporaryClientId(fd, int(index));
        path = QByteArray(kPathUnknown);
    }

    if (index >= quint32(kMaxClients)) {
        // The table is full: the newcomer is turned away, everyone else keeps being served.
        emitMessage(QStringLiteral("ERROR: Something is wrong. Socket position %1 not empty (%2)!\n")
                        .arg(index)
                        .arg(fd));
        shutdown(fd, SHUT_RDWR);
        close(fd);
        return;
    }

    // The settings go out and their answer is awaited before the client joins the table and
    // the epoll set, so a client dropped here leaves no trace behind.
    sendAll(fd, encodeSettings(m_traceLevel, m_useTimestamp, m_devMask));
    char reply[kAckSize];
    const ssize_t answered = recvAll(fd, reply, sizeof reply);
    if (answered != ssize_t(sizeof reply)) {
        const bool closed = answered == 0 || (answered < 0 && errno != EAGAIN &&
                                              errno != EWOULDBLOCK);
        dropDuringHandshake(closed ? closedCause() : noAnswerCause());
        return;
    }
    setRecvTimeout(fd, 0);

    ClientRecord &c = m_clients[index];
    if (c.fd != 0)
        emitMessage(QStringLiteral("ERROR: Something is wrong. Socket position %1 not empty (%2)!\n")
                        .arg(index)
                        .arg(c.fd));

    struct epoll_event ev{};
    ev.events = EPOLLIN | EPOLLPRI | EPOLLERR | EPOLLHUP;
    ev.data.fd = fd;
    if (epoll_ctl(epfd, EPOLL_CTL_ADD, fd, &ev) != 0)
        emitMessage(QStringLiteral("ERROR: epoll_ctl failed! Possible cause: %1").arg(errorText()));

    QMutexLocker lock(&m_tableMutex);
    std::memset(&c, 0, sizeof c);
    c.fd = fd;
    c.processId = rec.processId;
    c.cuHandle = rec.cuHandle;
    c.devAddr = rec.devAddr;
    c.devNumber = rec.devNumber;
    std::memcpy(c.interfaceName, rec.interfaceName, sizeof c.interfaceName);
    c.interfaceName[sizeof c.interfaceName - 1] = '\0';
    std::memcpy(c.devType, rec.devType, sizeof c.devType);
    c.devType[sizeof c.devType - 1] = '\0';
    copyField(c.path, sizeof c.path, path);
    copyField(c.ip, sizeof c.ip, QByteArray(inet_ntoa(peer.sin_addr)));
    c.port = ntohs(peer.sin_port);
    resetMatcher(c.matcher);
    copyField(c.plotPrefix, sizeof c.plotPrefix, plotPrefix(qint64(c.processId), path));
    const ClientTexts texts = clientTexts(rec);
    copyField(c.prompt, sizeof c.prompt, texts.prompt.toLocal8Bit());
    copyField(c.promptEmptyLine, sizeof c.promptEmptyLine, texts.promptEmptyLine.toLocal8Bit());
    lock.unlock();

    ClientIdRecord shown = rec;
    emitMessage(connectText(shown, QByteArray(c.path), QByteArray(c.ip), c.port, true));
    const quint32 count = m_clientCount.fetch_add(1) + 1;
    if (count == 1)
        emit firstClientConnected();
}

void VrxMon::disconnectClient(int index)
{
    ClientRecord &c = m_clients[index];
    ClientIdRecord rec{};
    rec.processId = c.processId;
    rec.cuHandle = c.cuHandle;
    rec.devAddr = c.devAddr;
    rec.devNumber = c.devNumber;
    std::memcpy(rec.interfaceName, c.interfaceName, sizeof rec.interfaceName);
    std::memcpy(rec.devType, c.devType, sizeof rec.devType);
    emitMessage(connectText(rec, QByteArray(c.path), QByteArray(c.ip), c.port, false));
    QMutexLocker lock(&m_tableMutex);
    close(c.fd);
    c.fd = 0;
    m_compact = true;
    m_atLineStart = true;
}

void VrxMon::compactClients()
{
    QMutexLocker lock(&m_tableMutex);
    std::memset(m_scratch, 0, sizeof m_scratch);
    quint32 n = 0;
    for (int i = 0; i < kMaxClients; ++i) {
        if (m_clients[i].fd > 0)
            std::memcpy(&m_scratch[n++], &m_clients[i], sizeof(ClientRecord));
    }
    std::memcpy(m_clients, m_scratch, sizeof m_clients);
    m_clientCount.store(n);
}

void VrxMon::showPiece(int index, const char *data, std::size_t length, bool ended)
{
    ClientRecord &c = m_clients[index];
    if (c.fd != m_lastShownFd && !m_atLineStart) {
        emit MessageAvailable(QStringLiteral("\n"));
        m_atLineStart = true;
    }
    // Prefix and piece are put together as bytes and decoded once: one allocation per line.
    QByteArray &bytes = m_textScratch;
    bytes.resize(0);
    if (m_atLineStart) {
        if (m_useTimestamp && !c.midLine && isClientTimestamp(data, length)) {
            std::memcpy(c.latestTimestamp, data, kTimestampLen);
            c.latestTimestamp[kTimestampLen] = '\0';
            data += kTimestampLen;
            length -= kTimestampLen;
        }
        if (m_useTimestamp)
            bytes.append(c.latestTimestamp);
        bytes.append(length <= 1 ? c.promptEmptyLine : c.prompt);
    }
    // A NUL ends a line like a line feed and is shown as one, so the text stays printable.
    if (ended && length > 0 && data[length - 1] == '\0') {
        bytes.append(data, int(length - 1));
        bytes.append('\n');
    } else {
        bytes.append(data, int(length));
    }
    // Clients send 8-bit text of no fixed encoding; every byte must reach the output file.
    const QString text = decodeEightBit(bytes);
    emit MessageAvailable(text);
    if (ended)
        m_linesShown.fetch_add(1, std::memory_order_relaxed);
    m_lastShownFd = c.fd;
    m_atLineStart = ended;
    c.midLine = !ended;
}

void VrxMon::readClient(int index)
{
    ClientRecord &c = m_clients[index];
    const ssize_t n =
        recv(c.fd, c.recvBuffer + c.carriedOver, sizeof c.recvBuffer - c.carriedOver, 0);
    if (n <= 0) {
        if (n == 0 || (errno != EAGAIN && errno != EINTR))
            disconnectClient(index);
        return;
    }
    const std::size_t total = std::size_t(n) + c.carriedOver;
    c.carriedOver = 0;
    const char *buf = c.recvBuffer;
    std::size_t lineStart = 0;
    for (std::size_t i = 0; i < total; ++i) {
        const char ch = buf[i];
        // Most bytes neither continue a token nor could start one.
        const bool idle = !c.matcher.open && c.matcher.position == 0 && ch != 'R';
        if (!idle && feedMatcher(c.matcher, ch)) {
            executeCommand(index);
            resetMatcher(c.matcher);
            if (m_stopped)
                return;
        }
        if (isLineEnd(ch)) {
            showPiece(index, buf + lineStart, i + 1 - lineStart, true);
            lineStart = i + 1;
        }
    }
    if (lineStart < total)
        showPiece(index, buf + lineStart, total - lineStart, false);
    // A client that has left is noticed by the next peek as usual; one that stopped reading
    // its acknowledgements would sooner or later block the send, so it goes now.
    int unread = 0;
    const bool backedUp = ioctl(c.fd, SIOCOUTQ, &unread) == 0 && unread >= kMaxUnreadAckBytes;
    if (backedUp || sendAll(c.fd, encodeAck(qint64(n))) == Sent::WouldBlock) {
        emitMessage(acksUnreadText(QStringLiteral("%1:%2").arg(QLatin1String(c.ip)).arg(c.port)));
        disconnectClient(index);
    }
}

void VrxMon::executeCommand(int index)
{
    ClientRecord &c = m_clients[index];
    const CommandDecision d = parseCommand(commandText(c.matcher), QByteArray(c.plotPrefix));
    switch (d.kind) {
    case CmdKind::Stop:
        emit MessageAvailable(QStringLiteral("\n") + QString::fromLatin1(serverTimestamp()) +
                              m_monitorPrompt + d.message);
        stopServer();
        m_stop.store(true);
        return;
    case CmdKind::InsufficientParams:
    case CmdKind::Unknown:
        emitMessage(d.message);
        return;
    case CmdKind::Plot:
        break;
    }
    // Only the memory of the process behind this connection is ever read, and not more of it
    // than a file the plot tool would load. The refused client still gets its acknowledgement.
    const VrxPeer::PlotGate gate =
        VrxPeer::checkPlotRequest(c.processId, peerEndpoint(c.fd), localEndpoint(c.fd),
                                  d.plotRequest);
    if (!gate.allowed) {
        emitMessage(gate.message);
        return;
    }
    const int stray = RemoteMemProcessed.available();
    if (stray > 0) {
        emitMessage(outOfSyncText(stray));
        while (RemoteMemProcessed.tryAcquire(1)) {
        }
    }
    emit VirtualPlotItemConnected(d.plotRequest);
    m_plotWaiting.store(true);
    // A timed try between checks of the stop flag keeps the wait off the processor.
    while (!RemoteMemProcessed.tryAcquire(1, 5)) {
        if (stopRequested()) {
            m_plotWaiting.store(false);
            stopServer();
            m_stop.store(true);
            return;
        }
    }
    m_plotWaiting.store(false);
}

void VrxMon::stopServer()
{
    // The listener goes first so that a new instance waiting for this one can bind as soon as
    // it sees its own connection dropped.
    if (m_listenFd >= 0)
        close(m_listenFd);
    m_listenFd = -1;
    QMutexLocker lock(&m_tableMutex);
    for (quint32 i = 0; i < m_clientCount.load(); ++i) {
        if (m_clients[i].fd > 0) {
            shutdown(m_clients[i].fd, SHUT_RDWR);
            close(m_clients[i].fd);
            m_clients[i].fd = 0;
        }
    }
    m_clientCount.store(0);
    lock.unlock();
    emitMessage(stoppedText());
    m_stopped = true;
}
