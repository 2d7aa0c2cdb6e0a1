// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QMutex>
#include <QWaitCondition>
#include <QtGlobal>

#include <atomic>

// Monitor text that has been read from the clients (and so acknowledged to them) but is not
// in the output file yet. The server adds what it reads; whoever writes the file takes it off
// again. Once the amount reaches the limit the server stops reading its clients' sockets until
// the writer has brought it down to half, so a writer that falls behind holds the clients
// back through TCP instead of piling their text up in memory. Thread-safe.
class OutputBacklog
{
public:
    // Characters: written as one byte each, held as two in memory on their way.
    static constexpr qint64 DefaultLimit = qint64(2) << 20;

    explicit OutputBacklog(qint64 limit = DefaultLimit) : m_limit(limit) {}

    void add(qint64 chars);
    void written(qint64 chars);

    qint64 pending() const { return m_pending.load(std::memory_order_relaxed); }
    qint64 peak() const { return m_peak.load(std::memory_order_relaxed); }
    qint64 limit() const { return m_limit; }
    bool isFull() const { return pending() >= m_limit; }
    // Waits at most timeoutMs for the amount to fall to half the limit; true when it has.
    bool waitForRoom(int timeoutMs);
    // Forgets everything still counted: the writer is gone (the output was closed).
    void reset();

private:
    const qint64 m_limit;
    std::atomic<qint64> m_pending{0};
    std::atomic<qint64> m_peak{0};
    QMutex m_mutex;
    QWaitCondition m_room;
};
