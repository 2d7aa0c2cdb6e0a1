// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/core/occurrencefilter.h"

#include <QFileInfo>
#include <QReadLocker>
#include <QWriteLocker>

#include <algorithm>

OccurrenceFilter::OccurrenceFilter(FileIndex *index, SpanAnnotations *annotations,
                                   TripleMatchBuffers *matchBuffers,
                                   TripleMatchBuffers *criticalBuffers, qint32 maxBlockCount,
                                   QObject *parent)
    : QObject(parent), m_index(index), m_annotations(annotations), m_matchBuffers(matchBuffers),
      m_criticalBuffers(criticalBuffers), m_maxBlockCount(maxBlockCount)
{
}

void OccurrenceFilter::onSelectionsFilterRequest(const QString &FilePath,
                                                 const QStringList &TypesList)
{
    m_abort.clear();
    for (const QString &type : TypesList) {
        if (m_abort.isSet())
            break;
        if (type == QLatin1String("search")) {
            if (runFilter(FilePath, false))
                emit MatchFilterFinished();
        } else if (type == QLatin1String("critical")) {
            if (runFilter(FilePath, true))
                emit CriticalFilterFinished();
        }
    }
}

bool OccurrenceFilter::runFilter(const QString &filePath, bool critical)
{
    TripleMatchBuffers &slot = critical ? *m_criticalBuffers : *m_matchBuffers;
    // Waits for the editor to take the previous result; polled so shutdown is not blocked.
    while (!slot.free.tryAcquire(1, 50)) {
        if (m_abort.isStopped())
            return false;
    }
    const qint64 fileSize = QFileInfo(filePath).size();
    const int next = (slot.inUse + 1) % 3;
    QVector<qint32> &out = slot.buffers[next];
    out.clear();
    {
        QReadLocker list(critical ? &m_index->occurrenceLock : &m_index->matchLock);
        QReadLocker lines(&m_index->lineLock);
        const QVector<qint32> &ends = m_index->lineEnds;
        const qint64 size = ends.size();
        const qint64 lower = qMax(0, m_annotations->lower.load());
        const qint64 upper = qMax<qint64>(lower, m_annotations->upper.load());
        const qint64 lastLine = lower + qMin<qint64>(m_maxBlockCount, upper - lower);
        const qint64 first = lower == 0 ? ends[0] : lower < size ? ends[lower] + 1 : fileSize;
        const qint64 end = lastLine < size ? ends[lastLine] : fileSize;
        const qint32 crlfAtStart = m_index->crlfAt(qMin(lower, size - 1));
        const auto lineFirst = ends.cbegin() + 1;
        auto collect = [&](const QVector<qint32> &offsets) {
            for (const qint32 offset : offsets) {
                if (m_abort.isSet())
                    return;
                if (offset < first || offset > end)
                    continue;
                // The document holds one character where the file holds CR LF.
                const qint64 line =
                    std::lower_bound(lineFirst, ends.cend(), offset) - ends.cbegin();
                const qint32 pairs = m_index->crlfAt(line - 1) - crlfAtStart;
                out.append(qint32(offset - first - pairs));
            }
        };
        if (critical) {
            collect(m_index->errorOffsets);
            collect(m_index->warningOffsets);
        } else {
            collect(m_index->matchOffsets);
        }
    }
    std::sort(out.begin(), out.end());
    slot.lastFilled = next;
    slot.ready.release();
    return true;
}

void OccurrenceFilter::onSpanSliderAnnotationsUpdateRequest()
{
    {
        QReadLocker occurrences(&m_index->occurrenceLock);
        QReadLocker marks(&m_index->occurrenceAnnotationLock);
        emit SpanSliderRepaintRequested();
    }
    {
        QReadLocker matches(&m_index->matchLock);
        QReadLocker marks(&m_index->matchAnnotationLock);
        emit SpanSliderRepaintRequested();
    }
    emit SpanSliderAnnotationsUpdated();
}

void OccurrenceFilter::onClearAnnotationsRequest()
{
    {
        QWriteLocker marks(&m_index->occurrenceAnnotationLock);
        m_annotations->errorMarks.clear();
        m_annotations->warningMarks.clear();
        m_annotations->errorBins.clear();
        m_annotations->warningBins.clear();
        emit SpanSliderRepaintRequested();
    }
    {
        // Taken under the occurrence annotation lock like the two sets above; the match
        // annotation lock is held as well because the searcher refills this set under it
        // alone, and clearing it without that lock would race with the refill.
        QWriteLocker marks(&m_index->occurrenceAnnotationLock);
        QWriteLocker searchMarks(&m_index->matchAnnotationLock);
        m_annotations->searchMarks.clear();
        m_annotations->searchBins.clear();
        emit SpanSliderRepaintRequested();
    }
    emit SpanSliderAnnotationsUpdated();
}
