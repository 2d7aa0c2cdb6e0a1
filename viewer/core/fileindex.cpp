// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/core/fileindex.h"

#include <QReadLocker>
#include <QWriteLocker>

void FileIndex::clearVectors()
{
    // Fresh vectors rather than clear(), which keeps the capacity: after a live file rolled
    // over at 2 GiB the old one's index would stay allocated for good.
    for (QVector<qint32> *v : {&lineEnds, &crlfCounts, &errorOffsets, &warningOffsets,
                               &errorLines, &warningLines, &matchOffsets, &matchLines})
        *v = QVector<qint32>();
    lineEnds.append(0);
    crlfCounts.append(0);
}

void FileIndex::reserveForGrowth()
{
    // A block this large is mapped rather than taken from the heap (the live path fixes the
    // threshold at a megabyte), so each doubling hands the old block back to the system
    // instead of leaving a heap hole that a day of appending never fills; pages not yet
    // written cost nothing.
    constexpr int mappedEntries = (1 << 20) / int(sizeof(qint32));
    for (QVector<qint32> *v :
         {&lineEnds, &crlfCounts, &errorOffsets, &warningOffsets, &errorLines, &warningLines})
        if (v->capacity() < mappedEntries)
            v->reserve(mappedEntries);
}

QVector<int> SpanAnnotations::binsOf(const QSet<double> &marks)
{
    QVector<int> bins;
    if (marks.isEmpty())
        return bins;
    bins.fill(0, Bins);
    for (const double fraction : marks)
        ++bins[qBound(0, int(fraction * Bins), Bins - 1)];
    return bins;
}

void FileIndex::setCapture(const QString &phrase, const QString &marker)
{
    QWriteLocker lock(&wholeFileLock);
    capturePhrase = phrase;
    endMarker = marker;
}

qint64 FileIndex::allocatedBytes() const
{
    const qint64 w = sizeof(qint32);
    return w * (lineEnds.capacity() + crlfCounts.capacity() + errorOffsets.capacity() +
                warningOffsets.capacity() + errorLines.capacity() + warningLines.capacity() +
                matchOffsets.capacity() + matchLines.capacity());
}

const QVector<qint32> &TripleMatchBuffers::acceptPending()
{
    ready.acquire();
    inUse = lastFilled;
    free.release();
    return buffers[inUse];
}

void AbortFlag::clear()
{
    QWriteLocker lock(&m_lock);
    m_abort = false;
}

void AbortFlag::abort()
{
    QWriteLocker lock(&m_lock);
    m_abort = true;
}

void AbortFlag::stop()
{
    m_stopped.store(true);
    abort();
}

bool AbortFlag::isSet() const
{
    if (isStopped())
        return true;
    QReadLocker lock(&m_lock);
    return m_abort;
}
