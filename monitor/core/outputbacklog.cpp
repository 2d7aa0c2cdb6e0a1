// SPDX-License-Identifier: LGPL-3.0-or-later
#include "monitor/core/outputbacklog.h"

#include <QMutexLocker>

void OutputBacklog::add(qint64 chars)
{
    const qint64 now = m_pending.fetch_add(chars, std::memory_order_relaxed) + chars;
    qint64 peak = m_peak.load(std::memory_order_relaxed);
    while (now > peak && !m_peak.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
    }
}

void OutputBacklog::written(qint64 chars)
{
    const qint64 now = m_pending.fetch_sub(chars, std::memory_order_relaxed) - chars;
    if (now < m_limit / 2 && now + chars >= m_limit / 2) {
        QMutexLocker lock(&m_mutex);
        m_room.wakeAll();
    }
}

void OutputBacklog::reset()
{
    m_pending.store(0, std::memory_order_relaxed);
    QMutexLocker lock(&m_mutex);
    m_room.wakeAll();
}

bool OutputBacklog::waitForRoom(int timeoutMs)
{
    QMutexLocker lock(&m_mutex);
    if (pending() >= m_limit / 2)
        m_room.wait(&m_mutex, ulong(timeoutMs));
    return pending() < m_limit / 2;
}
