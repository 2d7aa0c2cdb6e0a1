// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/core/filereaderwriter.h"

#include "util/core/eightbittext.h"
#include "viewer/core/mappedfile.h"
#include "viewer/core/mappedwindow.h"

#include <QFile>
#include <QFileInfo>
#include <QReadLocker>
#include <QStringRef>
#include <QWriteLocker>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <sys/mman.h>

namespace {

// The scratch lists hold one entry per byte in the worst case, so the chunk is capped.
constexpr qint64 MaxChunkSize = qint64(16) << 20;
constexpr qint64 DefaultChunkSize = 512000;
constexpr qint64 MaxLineEnds = (qint64(1) << 29) - 1024;

// Every fresh page of a big vector costs a fault, and under virtualisation a fault costs
// more than filling the page: the line vectors grow in few steps (to an estimate of the
// final count) on memory that the system may back with huge pages.
void adviseHugePages(const void *p, size_t bytes)
{
#ifdef MADV_HUGEPAGE
    constexpr uintptr_t huge = uintptr_t(2) << 20;
    const uintptr_t from = (uintptr_t(p) + huge - 1) & ~(huge - 1);
    const uintptr_t to = (uintptr_t(p) + bytes) & ~(huge - 1);
    if (to > from)
        ::madvise(reinterpret_cast<void *>(from), to - from, MADV_HUGEPAGE);
#else
    Q_UNUSED(p)
    Q_UNUSED(bytes)
#endif
}

void reserveAdvised(QVector<qint32> &v, int capacity)
{
    v.reserve(capacity);
    adviseHugePages(v.constData(), size_t(v.capacity()) * sizeof(qint32));
}

void appendBulk(QVector<qint32> &v, const qint32 *data, size_t n, qint64 expected)
{
    if (n == 0)
        return;
    const int old = v.size();
    if (qint64(old) + qint64(n) > v.capacity()) {
        const qint64 needed = qint64(old) + qint64(n);
        // The estimate comes from the first chunks, so it may be far off: trust it up to a
        // bounded factor.
        const qint64 grown = qMax(needed * 3 / 2, qMin(expected, needed * 8 + (16 << 20)));
        reserveAdvised(v, int(qMin<qint64>(grown, MaxLineEnds + 1)));
    }
    v.resize(old + int(n));
    std::memcpy(v.data() + old, data, n * sizeof(qint32));
}

// An exact copy replaces the grown vector, so that squeezing later has nothing to do and the
// copy lands on advised memory too. Only the indexing thread writes the vector, so it is
// read without the lock; the swap takes it.
void tighten(QVector<qint32> &v, QReadWriteLock &lock)
{
    if (v.capacity() == v.size())
        return;
    QVector<qint32> exact;
    reserveAdvised(exact, v.size());
    exact.resize(v.size());
    std::memcpy(exact.data(), v.constData(), size_t(v.size()) * sizeof(qint32));
    QWriteLocker locker(&lock);
    v.swap(exact);
}

// A character's position in the file: byteAt maps characters to bytes, and is empty when
// every character is one byte.
qint32 bytePos(const QVector<qint32> &byteAt, int at)
{
    return byteAt.isEmpty() ? at : byteAt[at];
}

// The counts of the lines after the last CR LF pair all equal it: they are left implicit.
void trimCrlfCounts(QVector<qint32> &v, QReadWriteLock &lock)
{
    const int keep = int(std::lower_bound(v.cbegin(), v.cend(), v.last()) - v.cbegin()) + 1;
    if (keep == v.size())
        return;
    QWriteLocker locker(&lock);
    v.resize(keep);
}

// The caller holds the occurrence and match locks for writing. Squeezing reallocates, and the
// panel reads the line vectors meanwhile, so those are squeezed under their own lock.
void squeezeAll(FileIndex *index)
{
    {
        QWriteLocker lines(&index->lineLock);
        index->lineEnds.squeeze();
        index->crlfCounts.squeeze();
    }
    for (QVector<qint32> *v : {&index->errorOffsets, &index->warningOffsets, &index->errorLines,
                               &index->warningLines, &index->matchOffsets, &index->matchLines})
        v->squeeze();
}

QSet<double> markSet(const QVector<qint32> &lines, qint32 maxLine, double denominator)
{
    QSet<double> marks;
    marks.reserve(lines.size());
    for (const qint32 line : lines) {
        if (line <= maxLine)
            marks.insert(line / denominator);
    }
    return marks;
}

// The bins of markSet(...) without building the set: the lines ascend, so a line listed
// twice is listed in a row.
QVector<int> markBins(const QVector<qint32> &lines, qint32 maxLine, double denominator)
{
    QVector<int> bins;
    qint32 last = -1;
    for (const qint32 line : lines) {
        if (line > maxLine || line == last)
            continue;
        if (bins.isEmpty())
            bins.fill(0, SpanAnnotations::Bins);
        const double fraction = line / denominator;
        ++bins[qBound(0, int(fraction * SpanAnnotations::Bins), SpanAnnotations::Bins - 1)];
        last = line;
    }
    return bins;
}

template <class F>
void forEachMarker(const QStringRef &slice, const QString &marker, int restart, F &&onMatch)
{
    int from = 0;
    while (true) {
        const int at = slice.indexOf(marker, from, Qt::CaseSensitive);
        if (at < 0)
            break;
        onMatch(at);
        from = at + restart;
    }
}

} // namespace

struct FileReaderWriter::ChunkState
{
    QString path;
    ByteScan::Needle needle;
    bool useNeedle = false;
    std::vector<uint32_t> candidates; // for a text looked for in two byte forms
    qint64 progressEvery = 0; // MaxBlockCount + 1; 0 when no progress is wanted
    qint32 crlf = 0;
    qint32 lastLineEnd = 0; // last element of lineEnds
    qint64 committed = 1;   // size of lineEnds
    qint64 size = 0;        // of the file, for the progress figure
    int percent = -1;       // last one sent
    qint64 fileSize = 0;
    qint64 scannedEnd = 0; // end of the chunk being indexed
};

FileReaderWriter::FileReaderWriter(FileIndex *index, SpanAnnotations *annotations, QObject *parent)
    : QObject(parent), m_index(index), m_annotations(annotations)
{
}

void FileReaderWriter::IndexFile(const QString &SearchString, const QString &FilePath,
                                 const qint64 &ChunkSize, const qint64 &MaxBlockCount)
{
    m_abort.clear();
    // Held until the index is complete, so filters and searches wait for a whole index. The
    // annotation locks are not: the slider paints under them in the GUI thread, so they are
    // only taken for the moment a refilled set is swapped in.
    QWriteLocker occurrences(&m_index->occurrenceLock);
    QWriteLocker matches(&m_index->matchLock);
    QWriteLocker whole(&m_index->wholeFileLock);
    {
        QWriteLocker lines(&m_index->lineLock);
        m_index->clearVectors();
    }
    m_index->searchString = SearchString;
    m_index->filePath = FilePath;
    m_appendPath = FilePath;
    m_appendBase = 0;
    m_appendCrlf = 0;
    m_liveMarksStale = true;

    ChunkState st;
    st.path = FilePath;
    st.needle = ByteScan::Needle(SearchString);
    st.useNeedle = !st.needle.isEmpty() && !st.needle.isImpossible();
    st.progressEvery = MaxBlockCount >= 0 ? MaxBlockCount + 1 : 0;
    m_markTimer.start();
    m_nextMarkRefill = 0;

    MappedFile file;
    if (!file.open(FilePath)) {
        // A missing file is simply empty; one that exists but cannot be read is reported.
        if (QFileInfo::exists(FilePath))
            emit FileIndexError(FilePath,
                                tr("Cannot read \"%1\": %2").arg(FilePath, file.errorString()));
        finishIndex(FilePath);
        return;
    }
    qint64 size = file.size();
    st.size = size;
    if (size >= MappedFile::SizeLimit) {
        emit FileIndexError(FilePath,
                            tr("\"%1\" is too large to index (%2 bytes): files of 2 GiB or "
                               "more are not supported.")
                                .arg(FilePath)
                                .arg(size));
        finishIndex(FilePath);
        return;
    }

    const qint64 chunk = ChunkSize > 0 ? qMin(ChunkSize, MaxChunkSize) : DefaultChunkSize;
    const size_t scratch = size_t(qMin(chunk, size));
    m_hits.resize(scratch);
    m_terms.reserve(scratch);
    m_termCrlf.reserve(scratch);

    MappedWindow window(file);
    qint64 offset = 0;
    while (offset < size) {
        if (m_abort.isStopped())
            return; // shutting down: nobody waits for the result
        if (m_abort.isSet())
            break;
        qint64 length = qMin(chunk, size - offset);
        // The file may have shrunk since the last chunk; never map past its current end.
        const qint64 now = file.currentSize();
        if (now < offset + length) {
            emit FileIndexError(FilePath, tr("\"%1\" changed while it was being indexed; the "
                                             "index ends at byte %2.")
                                              .arg(FilePath)
                                              .arg(qMax(now, offset)));
            length = now - offset;
            size = offset + qMax<qint64>(length, 0);
            if (length <= 0)
                break;
        }
        const unsigned char *p = window.map(offset, length, now);
        if (!p) {
            emit FileIndexError(FilePath,
                                tr("Cannot map \"%1\": %2").arg(FilePath, file.errorString()));
            break;
        }
        st.fileSize = size;
        st.scannedEnd = offset + length;
        const ChunkResult result = indexChunk(st, p, offset, length);
        if (result == ChunkTruncated) {
            emit FileIndexError(FilePath, tr("\"%1\" changed while it was being indexed; the "
                                             "index ends at byte %2.")
                                              .arg(FilePath)
                                              .arg(offset));
            break;
        }
        if (result == ChunkTooManyLines) {
            emit FileIndexError(FilePath, tr("\"%1\" has too many lines to index; the index "
                                             "ends at byte %2.")
                                              .arg(FilePath)
                                              .arg(offset));
            break;
        }
        offset += length;
    }
    window.release();
    file.close();
    tighten(m_index->lineEnds, m_index->lineLock);
    trimCrlfCounts(m_index->crlfCounts, m_index->lineLock);
    tighten(m_index->crlfCounts, m_index->lineLock);
    m_appendBase = offset;
    m_appendCrlf = st.crlf;
    finishIndex(FilePath);
}

FileReaderWriter::ChunkResult FileReaderWriter::indexChunk(ChunkState &st, const unsigned char *p,
                                                           qint64 offset, qint64 length)
{
    const int errorsBefore = m_index->errorOffsets.size();
    const int warningsBefore = m_index->warningOffsets.size();
    const int matchesBefore = m_index->matchOffsets.size();
    m_terms.clear();
    m_termCrlf.clear();
    const qint32 crlfBefore = st.crlf;
    const bool read = MappedGuard::run([&] { scanChunk(st, p, offset, length); });
    // A vector of qint32 holds fewer elements than a 2 GiB file can have line ends.
    const bool fits = st.committed + qint64(m_terms.size()) <= MaxLineEnds;
    if (!read || !fits) {
        // Cut short under the mapping, or too many lines: drop this chunk's partial results.
        m_index->errorOffsets.resize(errorsBefore);
        m_index->errorLines.resize(errorsBefore);
        m_index->warningOffsets.resize(warningsBefore);
        m_index->warningLines.resize(warningsBefore);
        m_index->matchOffsets.resize(matchesBefore);
        m_index->matchLines.resize(matchesBefore);
        st.crlf = crlfBefore;
        return read ? ChunkTooManyLines : ChunkTruncated;
    }
    commitLines(st, 0);
    return ChunkIndexed;
}

void FileReaderWriter::scanChunk(ChunkState &st, const unsigned char *p, qint64 offset,
                                 qint64 length)
{
    const size_t n = size_t(length);
    // One pass finds terminators, marker starts and, for a plain search text, its candidates
    // and the NUL bytes that end a decoded line.
    const bool bytewise = st.useNeedle && !st.needle.hasTerminator();
    const bool inline_ = bytewise && st.needle.formCount() == 1;
    const size_t hits = inline_ ? ByteScan::collectHits(p, n, st.needle.hitPattern(), m_hits.data())
                                : ByteScan::collectHits(p, n, false, m_hits.data());
    const qint32 base = qint32(offset);
    const qint32 lineBase = qint32(st.committed);
    const ByteScan::Needle::Form &form = st.needle.form(0);
    const size_t len = size_t(form.length());
    const int matchesBefore = m_index->matchOffsets.size();
    size_t skip = SIZE_MAX;
    size_t nextAllowed = 0;
    qint64 sliceStart = -1; // last terminator in this chunk; -1: the slice starts the chunk
    qint64 lastNul = -1;
    for (size_t h = 0; h < hits; ++h) {
        const size_t i = m_hits[h];
        const unsigned char c = p[i];
        if (c == '\n' || c == '\r') {
            if (i == skip)
                continue;
            size_t at = i;
            // A CR LF pair is one terminator, but only when both bytes lie in this chunk.
            if (c == '\r' && i + 1 < n && p[i + 1] == '\n') {
                ++st.crlf;
                at = i + 1;
                skip = at;
            }
            m_terms.push_back(base + qint32(at));
            m_termCrlf.push_back(st.crlf);
            sliceStart = qint64(at);
            continue;
        }
        if (c == 0) {
            lastNul = qint64(i);
            continue;
        }
        if (c == 'E') {
            if (i + 6 <= n && std::memcmp(p + i, "ERROR:", 6) == 0) {
                m_index->errorOffsets.append(base + qint32(i));
                m_index->errorLines.append(lineBase + qint32(m_terms.size()));
            }
        } else if (c == 'W') {
            if (i + 6 <= n && std::memcmp(p + i, "WARN :", 6) == 0) {
                m_index->warningOffsets.append(base + qint32(i));
                m_index->warningLines.append(lineBase + qint32(m_terms.size()));
            }
        }
        // Text after a NUL byte is not part of the decoded line; matches do not overlap.
        if (inline_ && i >= nextAllowed && i + len <= n && lastNul <= sliceStart &&
            form.isCandidate(p, i, n) && form.matchesAt(p + i)) {
            m_index->matchOffsets.append(base + qint32(i));
            m_index->matchLines.append(lineBase + qint32(m_terms.size()));
            nextAllowed = i + len;
        }
    }
    // The unterminated rest of the chunk is scanned unless the last line end is the chunk's
    // last byte (this only differs from "there is a rest" for a one-byte first chunk).
    const qint32 lastEnd = m_terms.empty() ? st.lastLineEnd : m_terms.back();
    const bool tailScanned = lastEnd < offset + length - 1;
    if (inline_ && !tailScanned) {
        const qint32 tailLine = lineBase + qint32(m_terms.size());
        while (m_index->matchLines.size() > matchesBefore &&
               m_index->matchLines.last() == tailLine) {
            m_index->matchLines.removeLast();
            m_index->matchOffsets.removeLast();
        }
    }
    if (bytewise && !inline_)
        scanTwoForms(st, p, offset, length, tailScanned);
    else if (st.useNeedle && !inline_)
        scanMatches(st, p, offset, length, tailScanned);
}

void FileReaderWriter::scanTwoForms(ChunkState &st, const unsigned char *p, qint64 offset,
                                    qint64 length, bool tailScanned)
{
    // Its own pass over the chunk, still in the cache: the one above finds the candidates of
    // a single form only.
    const qint32 lineBase = qint32(st.committed);
    const qint32 tailLine = lineBase + qint32(m_terms.size());
    st.needle.forEachMatch(p, size_t(length), st.candidates, [&](size_t i, size_t len) {
        const qint32 at = qint32(offset) + qint32(i);
        const auto before = std::lower_bound(m_terms.cbegin(), m_terms.cend(), at);
        const qint32 line = lineBase + qint32(before - m_terms.cbegin());
        if (line == tailLine && !tailScanned)
            return false;
        // Text after a NUL byte is not part of the decoded line.
        const qint64 start = before == m_terms.cbegin() ? 0 : *(before - 1) + 1 - offset;
        if (std::memchr(p + start, 0, size_t(qint64(i + len) - start)))
            return false;
        m_index->matchOffsets.append(at);
        m_index->matchLines.append(line);
        return true;
    });
}

void FileReaderWriter::scanMatches(ChunkState &st, const unsigned char *p, qint64 offset,
                                   qint64 length, bool tailScanned)
{
    // Rare: a text with CR or LF can reach into the previous terminator, so each slice is
    // decoded exactly as a line would be.
    const qint32 lineBase = qint32(st.committed);
    const size_t terms = m_terms.size();
    qint64 sliceStart = st.lastLineEnd < offset ? offset : st.lastLineEnd;
    for (size_t t = 0; t <= terms; ++t) {
        qint64 sliceEnd;
        if (t < terms) {
            // Inside one chunk an LF right after a CR is always the second byte of a pair.
            const qint64 q = m_terms[t] - offset;
            const bool pair = p[q] == '\n' && q > 0 && p[q - 1] == '\r';
            sliceEnd = m_terms[t] - (pair ? 1 : 0);
        } else {
            if (!tailScanned)
                break;
            sliceEnd = offset + length;
        }
        const qint64 from = qMax(sliceStart, offset);
        const QString slice = ByteScan::decodeSlice(p + (from - offset), size_t(sliceEnd - from));
        const qint32 line = lineBase + qint32(t);
        ByteScan::forEachQStringMatch(slice, st.needle.text(), [&](int at) {
            m_index->matchOffsets.append(qint32(from + at));
            m_index->matchLines.append(line);
        });
        if (t < terms)
            sliceStart = m_terms[t];
    }
}

void FileReaderWriter::commitLines(ChunkState &st, size_t termBegin)
{
    const size_t n = m_terms.size();
    size_t done = termBegin;
    // Lines so far, scaled to the whole file, with a little room.
    const qint64 expected = st.scannedEnd > 0
                                ? qint64((st.committed + qint64(n)) *
                                         (double(st.fileSize) / double(st.scannedEnd)) * 1.05)
                                : 0;
    while (done < n) {
        size_t take = n - done;
        if (st.progressEvery > 0) {
            const qint64 toBoundary = st.progressEvery - st.committed % st.progressEvery;
            take = size_t(qMin<qint64>(qint64(take), toBoundary));
        }
        {
            // Whole runs of lines per lock: the panel sees them appear in batches.
            QWriteLocker lines(&m_index->lineLock);
            appendCrlfCounts(m_termCrlf.data() + done, take, expected);
            appendBulk(m_index->lineEnds, m_terms.data() + done, take, expected);
        }
        done += take;
        st.committed += qint64(take);
        if (st.progressEvery > 0 && st.committed % st.progressEvery == 0)
            publishProgress(st, false);
    }
    if (n > 0)
        st.lastLineEnd = m_terms.back();
}

void FileReaderWriter::appendCrlfCounts(const qint32 *counts, size_t n, qint64 expected)
{
    // Only from the first line that adds a pair: the index keeps the counts up to the last
    // line ending in CR LF (for a file of LF lines, none at all).
    QVector<qint32> &v = m_index->crlfCounts;
    const qint32 carried = v.last();
    const size_t first = size_t(std::find_if(counts, counts + n,
                                             [carried](qint32 c) { return c != carried; }) -
                                counts);
    if (first == n)
        return;
    m_index->carryCrlfTo(m_index->lineEnds.size() + int(first));
    appendBulk(v, counts + first, n - first, expected);
}

void FileReaderWriter::publishProgress(ChunkState &st, bool force)
{
    // Refilling is linear in the occurrences so far; doing it at every progress step would
    // make indexing quadratic, so it is spread out to keep its share of the time small.
    if (force || m_markTimer.elapsed() >= m_nextMarkRefill) {
        QElapsedTimer cost;
        cost.start();
        // The slider paints the bins; the sets are built once, when the index is complete.
        refillOccurrenceMarks(qint32(st.committed - 1), false);
        refillSearchMarks(qint32(st.committed - 1), false);
        m_nextMarkRefill = m_markTimer.elapsed() + qMax<qint64>(200, 10 * cost.elapsed());
        emit SpanSliderRepaintRequested();
    }
    if (st.size > 0) {
        const qint64 done = qint64(m_index->lineEnds.last()) + 1;
        const int percent = int(qMin<qint64>(99, 100 * done / st.size));
        if (percent != st.percent) {
            st.percent = percent;
            emit IndexProgress(st.path, percent);
        }
    }
    emit FileIndexed(st.path, qint32(st.committed - 1));
}

void FileReaderWriter::refillOccurrenceMarks(qint32 lineLimit, bool sets)
{
    // Built outside the annotation lock and swapped in, so a paint never waits for a build.
    const double denominator = qMax(1, m_index->lineEnds.size());
    QSet<double> errors, warnings;
    QVector<int> errorBins, warningBins;
    if (sets) {
        errors = markSet(m_index->errorLines, lineLimit, denominator);
        warnings = markSet(m_index->warningLines, lineLimit, denominator);
        errorBins = SpanAnnotations::binsOf(errors);
        warningBins = SpanAnnotations::binsOf(warnings);
    } else {
        errorBins = markBins(m_index->errorLines, lineLimit, denominator);
        warningBins = markBins(m_index->warningLines, lineLimit, denominator);
    }
    QWriteLocker marks(&m_index->occurrenceAnnotationLock);
    m_annotations->errorMarks.swap(errors);
    m_annotations->warningMarks.swap(warnings);
    m_annotations->errorBins.swap(errorBins);
    m_annotations->warningBins.swap(warningBins);
}

void FileReaderWriter::refillSearchMarks(qint32 lineLimit, bool sets)
{
    const double denominator = qMax(1, m_index->lineEnds.size());
    QSet<double> found;
    QVector<int> bins;
    if (sets) {
        found = markSet(m_index->matchLines, lineLimit, denominator);
        bins = SpanAnnotations::binsOf(found);
    } else {
        bins = markBins(m_index->matchLines, lineLimit, denominator);
    }
    QWriteLocker marks(&m_index->matchAnnotationLock);
    m_annotations->searchMarks.swap(found);
    m_annotations->searchBins.swap(bins);
}

void FileReaderWriter::finishIndex(const QString &path)
{
    squeezeAll(m_index);
    refillOccurrenceMarks(INT_MAX);
    refillSearchMarks(INT_MAX);
    emit SpanSliderRepaintRequested();
    emit IndexProgress(path, 100);
    emit FileIndexed(path, m_index->lineEnds.size());
}

void FileReaderWriter::AppendFile(const QString &FilePath, const QString &text)
{
    if (m_busy) {
        emit TextWritten(text.size());
        return;
    }
    m_busy = true;
    QString phrase, marker;
    {
        QReadLocker whole(&m_index->wholeFileLock);
        phrase = m_index->capturePhrase;
        marker = m_index->endMarker;
    }
    if (FilePath != m_appendPath || FilePath != m_index->filePath) {
        QWriteLocker occurrences(&m_index->occurrenceLock);
        QWriteLocker matches(&m_index->matchLock);
        QWriteLocker whole(&m_index->wholeFileLock);
        QWriteLocker lines(&m_index->lineLock);
        m_index->filePath = FilePath;
        m_index->clearVectors();
        m_appendPath = FilePath;
        m_appendBase = 0;
        m_appendCrlf = 0;
        m_liveMarksStale = true;
        m_phrase.clear(); // taken afresh below
    }
    if (phrase != m_phrase) {
        m_phrase = phrase;
        m_phraseMatched = 0;
        m_capturing = false;
        m_captured.clear();
    }
    if (!m_phrase.isEmpty())
        capturePhrase(text, marker);

    const int length = text.size();
    const QByteArray bytes = encodeEightBit(text);
    // The index holds positions in the file, which holds the bytes the text stands for: where
    // a character stands for more than one (a "µ" is two), positions are mapped.
    const QVector<qint32> byteAt =
        bytes.size() == length ? QVector<qint32>() : eightBitOffsets(text);
    {
        QReadLocker whole(&m_index->wholeFileLock);
        const bool matches = !m_index->searchString.isEmpty();
        QWriteLocker occurrences(&m_index->occurrenceLock);
        QWriteLocker matchList(&m_index->matchLock);
        {
            QWriteLocker lines(&m_index->lineLock);
            m_index->reserveForGrowth(); // once per file
        }
        const qint32 base = qint32(m_appendBase);
        int lineStart = 0;
        for (int i = 0; i < length; ++i) {
            const QChar ch = text.at(i);
            if (ch != QLatin1Char('\n') && ch != QLatin1Char('\r'))
                continue;
            scanAppendedSlice(text, lineStart, i, base, byteAt, matches);
            int at = i;
            if (ch == QLatin1Char('\r') && i + 1 < length && text.at(i + 1) == QLatin1Char('\n')) {
                ++m_appendCrlf;
                at = i + 1;
            }
            {
                QWriteLocker lines(&m_index->lineLock);
                m_index->setCrlfAt(m_index->lineEnds.size(), m_appendCrlf);
                m_index->lineEnds.append(base + bytePos(byteAt, at));
            }
            i = at;
            lineStart = at + 1;
        }
        if (m_index->lineEnds.last() < base + bytes.size() - 1)
            scanAppendedSlice(text, lineStart, length, base, byteAt, matches);
        matchList.unlock();
        occurrences.unlock();

        m_appendBase += bytes.size();
        QFile file(FilePath);
        if (file.open(QIODevice::ReadWrite | QIODevice::Append)) {
            file.write(bytes); // the bytes the monitor received, unchanged
            file.close();
            emit FileAppended(m_index->lineEnds.size());
        }
    }
    emit TextWritten(length);
    m_appendWork.fetch_add(quint64(length), std::memory_order_relaxed);
    updateLiveMarks();
    emit SpanSliderAnnotationsUpdated();
    m_busy = false;
}

void FileReaderWriter::countNew(LiveMarks &marks, const QVector<qint32> &lines)
{
    const bool replaced = m_liveMarksStale || lines.size() < marks.counted ||
                          (marks.counted > 0 && lines.at(marks.counted - 1) != marks.lastLine);
    if (replaced) {
        marks.bins.clear();
        marks.counted = 0;
    }
    for (int i = marks.counted; i < lines.size(); ++i)
        marks.bins.add(lines.at(i));
    m_appendWork.fetch_add(quint64(lines.size() - marks.counted), std::memory_order_relaxed);
    marks.counted = lines.size();
    marks.lastLine = lines.isEmpty() ? -1 : lines.last();
}

void FileReaderWriter::updateLiveMarks()
{
    // Only this thread writes lineEnds, so its size is read without the lock.
    const qint32 lineCount = m_index->lineEnds.size();
    {
        QReadLocker occurrences(&m_index->occurrenceLock);
        countNew(m_liveErrors, m_index->errorLines);
        countNew(m_liveWarnings, m_index->warningLines);
    }
    QVector<int> errorBins = m_liveErrors.bins.binsFor(lineCount);
    QVector<int> warningBins = m_liveWarnings.bins.binsFor(lineCount);
    QSet<double> none, noneToo;
    {
        // The sets of an earlier index pass are dropped: the bins are what the slider paints.
        QWriteLocker marks(&m_index->occurrenceAnnotationLock);
        m_annotations->errorMarks.swap(none);
        m_annotations->warningMarks.swap(noneToo);
        m_annotations->errorBins.swap(errorBins);
        m_annotations->warningBins.swap(warningBins);
    }
    QString search;
    {
        QReadLocker whole(&m_index->wholeFileLock);
        search = m_index->searchString;
    }
    {
        QReadLocker matches(&m_index->matchLock);
        if (search != m_liveSearch) {
            m_liveSearch = search;
            m_liveMatches.counted = -1; // counted afresh
        }
        if (m_liveMatches.counted < 0) {
            m_liveMatches.bins.clear();
            m_liveMatches.counted = 0;
        }
        countNew(m_liveMatches, m_index->matchLines);
    }
    m_liveMarksStale = false;
    QVector<int> searchBins = m_liveMatches.bins.binsFor(lineCount);
    QSet<double> noMatches;
    QWriteLocker marks(&m_index->matchAnnotationLock);
    m_annotations->searchMarks.swap(noMatches);
    m_annotations->searchBins.swap(searchBins);
}

void FileReaderWriter::scanAppendedSlice(const QString &text, int from, int to, qint32 base,
                                         const QVector<qint32> &byteAt, bool matches)
{
    const auto filePos = [&](int at) { return base + bytePos(byteAt, at); };
    if (to <= from)
        return;
    const QStringRef slice(&text, from, to - from);
    const qint32 line = m_index->lineEnds.size();
    static const QString error = QStringLiteral("ERROR:");
    static const QString warning = QStringLiteral("WARN :");
    forEachMarker(slice, error, 5, [&](int at) {
        m_index->errorOffsets.append(filePos(from + at));
        m_index->errorLines.append(line);
    });
    forEachMarker(slice, warning, 4, [&](int at) {
        m_index->warningOffsets.append(filePos(from + at));
        m_index->warningLines.append(line);
    });
    if (!matches)
        return;
    const QString &needle = m_index->searchString;
    int at = 0;
    while ((at = slice.indexOf(needle, at, Qt::CaseInsensitive)) >= 0) {
        m_index->matchOffsets.append(filePos(from + at));
        m_index->matchLines.append(line);
        at += needle.size();
    }
}

void FileReaderWriter::capturePhrase(const QString &text, const QString &marker)
{
    for (const QChar ch : text) {
        if (m_capturing) {
            m_captured += ch;
            if (!marker.isEmpty() && m_captured.endsWith(marker)) {
                emit PhraseCaptured(m_captured);
                m_capturing = false;
                m_captured.clear();
            }
            continue;
        }
        if (ch == m_phrase.at(m_phraseMatched))
            ++m_phraseMatched;
        else
            m_phraseMatched = ch == m_phrase.at(0) ? 1 : 0;
        if (m_phraseMatched == m_phrase.size()) {
            m_capturing = true;
            m_captured.clear();
            m_phraseMatched = 0;
        }
    }
    // Without an end marker a capture ends with the piece that holds it.
    if (m_capturing && marker.isEmpty() && !m_captured.isEmpty()) {
        emit PhraseCaptured(m_captured);
        m_capturing = false;
        m_captured.clear();
    }
}
