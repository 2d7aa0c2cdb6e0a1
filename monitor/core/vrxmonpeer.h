// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

// Who is on the other end of a monitor connection, and whether a real-time plot request may be
// handed to the plot tool: a client may only have the memory of its own process read, and
// never more of it than the plot tool would load from a file. Plain functions over /proc, so
// they are tested without threads.

#include <QByteArray>
#include <QString>

namespace VrxPeer {

// The plot tool's large-file limit: a memory read may not be larger than a file it would load.
constexpr quint64 kMaxPlotReadBytes = 500000000;

// An IPv4 endpoint; the address as in sockaddr_in (network order), the port in host order.
struct TcpEndpoint
{
    quint32 address = 0;
    quint16 port = 0;
};

// Inode of the socket whose local end is `local` and remote end is `remote`, from the text of
// a "/proc/net/tcp" table; 0 when no such row is there (or its socket is already gone).
quint64 socketInodeIn(const QByteArray &table, TcpEndpoint local, TcpEndpoint remote);

// Inode of the client's socket of the connection that the monitor accepted from `peer` on
// `server`: the row of "/proc/net/tcp" seen from the client's side. 0 when not found.
quint64 socketInodeOf(TcpEndpoint peer, TcpEndpoint server);

// Whether "socket:[inode]" is among the open descriptors of the process ("/proc/<pid>/fd/*").
// False for inode 0, for a process that does not exist or whose descriptors cannot be seen.
bool processOwnsSocket(qint64 pid, quint64 inode);

// The byte size the plot tool reads for a plot request text: its field 13, 0 when absent or not
// a decimal number (the plot tool then reads nothing).
quint64 requestedReadBytes(const QString &plotRequest);

struct PlotGate
{
    bool allowed = false;
    QString message; // the "ERROR: " line for the monitor output when refused
};

// Decides a plot request of the client claiming process `pid` on the connection from `peer`
// to `server`.
PlotGate checkPlotRequest(quint64 pid, TcpEndpoint peer, TcpEndpoint server,
                          const QString &plotRequest);

// Refusal texts (after timestamp and prompt).
QString notOwnerText(quint64 pid);
QString readTooLargeText(quint64 bytes);

} // namespace VrxPeer
