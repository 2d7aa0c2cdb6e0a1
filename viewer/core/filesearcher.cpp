// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/core/filesearcher.h"

#include "viewer/core/bytescan.h"
#include "viewer/core/mappedfile.h"
#include "viewer/core/mappedwindow.h"

#include <QElapsedTimer>
#include <QReadLocker>
#include <QWriteLocker>

#include <algorithm>
#include <cstring>

namespace {

constexpr qint64 DefaultChunkSize = 512000;
// A line longer than this is searched in pieces; a match across a piece border is missed.
constexpr qint64 MaxMappedLine = qint64(64) << 20;
// Intermediate results are published at most this often (plus at the two required points).
constexpr qint64 PublishIntervalMs = 100;

} // namespace

FileSearcher::FileSearcher(FileIndex *index, SpanAnnotations *annotations, QObject *parent)
    : QObject(parent), m_index(index), m_annotations(annotations)
{
}

void FileSearcher::clearMatches()
{
    QWriteLocker matches(&m_index->matchLock);
    QWriteLocker marks(&m_index->matchAnnotationLock);
    m_index->matchOffsets.clear();
    m_index->matchLines.clear();
    m_annotations->searchMarks.clear();
    m_annotations->searchBins.clear();
    emit SpanSliderRepaintRequested();
}

void FileSearcher::SearchTextInFile(const QString &SearchString, const QString &FilePath,
                                    const qint64 &ChunkSize, const qint64 &MaxBlockCount)
{
    Q_UNUSED(MaxBlockCount) // the displayed range only gives the first line here
    m_abort.clear();
    m_matchCount = 0;
    m_scannedLines = 0;
    {
        QWriteLocker whole(&m_index->wholeFileLock);
        m_index->searchString = SearchString;
    }
    MappedFile file;
    if (SearchString.isEmpty() || !file.open(FilePath) || file.size() >= MappedFile::SizeLimit) {
        clearMatches();
        emit SearchProcessed(SearchString, 0, 0);
        emit SearchFinished(SearchString, 0);
        return;
    }
    const ByteScan::Needle needle(SearchString);
    const qint64 size = file.size();
    {
        QWriteLocker matches(&m_index->matchLock);
        m_index->matchOffsets.clear();
        m_index->matchLines.clear();
    }
    qint64 start = 0;
    {
        QReadLocker lines(&m_index->lineLock);
        const qint32 lower = m_annotations->lower.load();
        if (lower > 0)
            start = lower < m_index->lineEnds.size() ? m_index->lineEnds[lower] + 1 : size;
        start = qBound<qint64>(0, start, size);
    }
    const qint64 chunk = ChunkSize > 0 ? ChunkSize : DefaultChunkSize;
    // From the displayed range to the end, then from the start of the file back to it.
    if (!scanRange(file, needle, start, size, chunk))
        return;
    publish(SearchString);
    if (start > 0) {
        if (!scanRange(file, needle, 0, start, chunk))
            return;
        publish(SearchString);
    }
    emit SearchFinished(SearchString, m_matchCount);
}

bool FileSearcher::scanRange(MappedFile &file, const ByteScan::Needle &needle, qint64 from,
                             qint64 to, qint64 chunkSize)
{
    QElapsedTimer sincePublish;
    sincePublish.start();
    MappedWindow window(file);
    qint64 a = from;
    while (a < to) {
        if (m_abort.isSet())
            return false;
        qint64 b = to;
        {
            // Chunks end on line ends so that every line is searched in one piece.
            QReadLocker lines(&m_index->lineLock);
            const QVector<qint32> &ends = m_index->lineEnds;
            const auto first = ends.cbegin() + 1, last = ends.cend();
            const qint64 target = qMin(a + chunkSize, to);
            const auto it = std::lower_bound(first, last, qint32(qMin<qint64>(target, INT_MAX)));
            if (it != first && *(it - 1) >= a) {
                b = *(it - 1) + 1;
            } else {
                const auto next = std::lower_bound(first, last, qint32(a));
                b = next != last ? *next + 1 : to;
                b = qMin(b, a + MaxMappedLine);
            }
            b = qMin(b, to);
            const auto lo = std::lower_bound(first, last, qint32(a));
            const auto hi = std::lower_bound(first, last, qint32(b));
            m_scannedLines += hi - lo;
            // The unterminated last line of the file.
            if (b == file.size() && (last == first || *(last - 1) < b - 1))
                ++m_scannedLines;
        }
        const qint64 now = file.currentSize();
        if (now < b)
            return true; // the file shrank: search what is left no further
        const qint64 mapStart = needle.hasTerminator() && a > 0 ? a - 1 : a;
        const unsigned char *p = window.map(mapStart, b - mapStart, now);
        if (!p)
            return true;
        const size_t n = size_t(b - a);
        const unsigned char *chunk = p + (a - mapStart);
        {
            QWriteLocker matches(&m_index->matchLock);
            QReadLocker lines(&m_index->lineLock);
            const QVector<qint32> &ends = m_index->lineEnds;
            const auto first = ends.cbegin() + 1, last = ends.cend();
            auto lineOf = [&](qint64 pos) {
                return qint32(std::lower_bound(first, last, qint32(pos)) - ends.cbegin());
            };
            const int matchesBefore = m_index->matchOffsets.size();
            const qint64 countBefore = m_matchCount;
            const bool read = MappedGuard::run([&] {
                if (needle.hasTerminator()) {
                    // Lines decoded as the indexer does: from the previous terminator up to this
                    // one, so a text holding CR or LF finds the same places.
                    for (qint32 line = lineOf(a);; ++line) {
                        const qint64 sliceStart = line == 1 ? 0 : ends[line - 1];
                        if (sliceStart >= b)
                            break;
                        qint64 sliceEnd = b;
                        if (line < ends.size()) {
                            const bool pair = ends[line] > 0 && m_index->crlfAt(line) !=
                                                                    m_index->crlfAt(line - 1);
                            sliceEnd = qMin<qint64>(b, ends[line] - (pair ? 1 : 0));
                        }
                        const qint64 s = qMax(sliceStart, mapStart);
                        if (sliceEnd > s) {
                            const QString slice =
                                ByteScan::decodeSlice(p + (s - mapStart), size_t(sliceEnd - s));
                            ByteScan::forEachQStringMatch(slice, needle.text(), [&](int at) {
                                m_index->matchOffsets.append(qint32(s + at));
                                m_index->matchLines.append(line);
                                ++m_matchCount;
                            });
                        }
                        if (line >= ends.size() || ends[line] + 1 >= b)
                            break;
                    }
                } else {
                    needle.forEachMatch(chunk, n, m_candidates, [&](size_t i, size_t len) {
                        const qint64 pos = a + qint64(i);
                        const qint32 line = lineOf(pos);
                        const qint64 lineStart = line == 1 ? 0 : ends[line - 1] + 1;
                        const qint64 s = qMax(lineStart, a);
                        // Text after a NUL byte is not part of the decoded line.
                        if (std::memchr(chunk + (s - a), 0, size_t(pos + qint64(len) - s)))
                            return false;
                        m_index->matchOffsets.append(qint32(pos));
                        m_index->matchLines.append(line);
                        ++m_matchCount;
                        return true;
                    });
                }
            });
            if (!read) {
                // The file was cut short under the mapping: keep what came before.
                m_index->matchOffsets.resize(matchesBefore);
                m_index->matchLines.resize(matchesBefore);
                m_matchCount = countBefore;
                return true;
            }
        }
        a = b;
        if (a < to && sincePublish.elapsed() >= PublishIntervalMs) {
            publish(needle.text());
            sincePublish.restart();
        }
    }
    return true;
}

void FileSearcher::publish(const QString &text)
{
    {
        // Built before the annotation lock is taken: the slider paints under it.
        QSet<double> set;
        QVector<int> bins;
        {
            QReadLocker matches(&m_index->matchLock);
            QReadLocker lines(&m_index->lineLock);
            const double denominator = qMax(1, m_index->lineEnds.size());
            set.reserve(m_index->matchLines.size());
            for (const qint32 line : qAsConst(m_index->matchLines))
                set.insert(line / denominator);
        }
        bins = SpanAnnotations::binsOf(set);
        QWriteLocker marks(&m_index->matchAnnotationLock);
        m_annotations->searchMarks.swap(set);
        m_annotations->searchBins.swap(bins);
        emit SpanSliderRepaintRequested();
    }
    emit SearchProcessed(text, m_matchCount, m_scannedLines);
}
