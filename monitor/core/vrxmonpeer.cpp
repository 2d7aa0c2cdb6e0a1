// SPDX-License-Identifier: LGPL-3.0-or-later
#include "monitor/core/vrxmonpeer.h"

#include <QList>
#include <QStringList>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

namespace VrxPeer {

namespace {

// "0100007F:D903": the address as the kernel prints its network-order word, the port in hex.
bool parseEndpoint(const QByteArray &text, TcpEndpoint *out)
{
    const int colon = text.indexOf(':');
    if (colon != 8 || text.size() != 13)
        return false;
    bool okAddress = false, okPort = false;
    out->address = text.left(8).toUInt(&okAddress, 16);
    out->port = quint16(text.mid(9).toUInt(&okPort, 16));
    return okAddress && okPort;
}

bool operator==(TcpEndpoint a, TcpEndpoint b)
{
    return a.address == b.address && a.port == b.port;
}

QByteArray readProcFile(const char *path)
{
    QByteArray out;
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return out;
    char chunk[16384];
    for (;;) {
        const ssize_t n = read(fd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        out.append(chunk, int(n));
    }
    close(fd);
    return out;
}

} // namespace

quint64 socketInodeIn(const QByteArray &table, TcpEndpoint local, TcpEndpoint remote)
{
    // Rows: "sl: local remote st tx:rx tr:when retrnsmt uid timeout inode ..."
    for (const QByteArray &row : table.split('\n')) {
        const QList<QByteArray> fields = row.simplified().split(' ');
        if (fields.size() < 10 || !fields.at(0).endsWith(':'))
            continue; // the heading or an empty line
        TcpEndpoint l, r;
        if (!parseEndpoint(fields.at(1), &l) || !parseEndpoint(fields.at(2), &r))
            continue;
        if (l == local && r == remote) {
            bool ok = false;
            const quint64 inode = fields.at(9).toULongLong(&ok, 10);
            return ok ? inode : 0;
        }
    }
    return 0;
}

quint64 socketInodeOf(TcpEndpoint peer, TcpEndpoint server)
{
    return socketInodeIn(readProcFile("/proc/net/tcp"), peer, server);
}

bool processOwnsSocket(qint64 pid, quint64 inode)
{
    if (inode == 0 || pid <= 0 || pid > INT_MAX)
        return false;
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%lld/fd", static_cast<long long>(pid));
    DIR *dir = opendir(path);
    if (!dir)
        return false;
    char wanted[48];
    const int wantedLength = std::snprintf(wanted, sizeof wanted, "socket:[%llu]",
                                           static_cast<unsigned long long>(inode));
    bool owns = false;
    while (!owns) {
        const dirent *entry = readdir(dir);
        if (!entry)
            break;
        if (entry->d_name[0] == '.')
            continue;
        char target[64];
        const ssize_t n = readlinkat(dirfd(dir), entry->d_name, target, sizeof target);
        owns = n == wantedLength && std::memcmp(target, wanted, std::size_t(n)) == 0;
    }
    closedir(dir);
    return owns;
}

quint64 requestedReadBytes(const QString &plotRequest)
{
    // Split and read as the plot tool reads it, so both sides agree on the same field.
    const QStringList fields = plotRequest.split(QLatin1Char(','));
    if (fields.size() <= 13)
        return 0;
    bool ok = false;
    const quint64 bytes = fields.at(13).trimmed().toULongLong(&ok, 10);
    return ok ? bytes : 0;
}

PlotGate checkPlotRequest(quint64 pid, TcpEndpoint peer, TcpEndpoint server,
                          const QString &plotRequest)
{
    PlotGate gate;
    if (pid > quint64(INT_MAX) || !processOwnsSocket(qint64(pid), socketInodeOf(peer, server))) {
        gate.message = notOwnerText(pid);
        return gate;
    }
    const quint64 bytes = requestedReadBytes(plotRequest);
    if (bytes > kMaxPlotReadBytes) {
        gate.message = readTooLargeText(bytes);
        return gate;
    }
    gate.allowed = true;
    return gate;
}

QString notOwnerText(quint64 pid)
{
    return QStringLiteral("ERROR: Real Time Plot refused! Process %1 does not own the requesting "
                          "connection.\n")
        .arg(pid);
}

QString readTooLargeText(quint64 bytes)
{
    return QStringLiteral("ERROR: Real Time Plot refused! %1 bytes requested, at most %2 bytes "
                          "are read.\n")
        .arg(bytes)
        .arg(kMaxPlotReadBytes);
}

} // namespace VrxPeer
