// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "viewer/core/bytescan.h"
#include "viewer/core/fileindex.h"
#include "viewer/core/markbins.h"

#include <QElapsedTimer>
#include <QObject>

#include <vector>

// Builds the shared index of a file on "FileReaderWriterThread" and extends it (and the file
// on disk) with text appended by a live source.
class FileReaderWriter : public QObject
{
    Q_OBJECT
public:
    FileReaderWriter(FileIndex *index, SpanAnnotations *annotations, QObject *parent = nullptr);

    // Thread-safe: ends a running pass early; the next request clears it.
    void abort() { m_abort.abort(); }
    // Thread-safe, permanent: for the owner's shutdown.
    void stop() { m_abort.stop(); }
    // Thread-safe: characters scanned and list entries visited by the append path so far. The
    // work of one append must follow the text appended, never the size of the file.
    quint64 appendWork() const { return m_appendWork.load(std::memory_order_relaxed); }

public slots:
    void IndexFile(const QString &SearchString, const QString &FilePath, const qint64 &ChunkSize,
                   const qint64 &MaxBlockCount);
    void AppendFile(const QString &FilePath, const QString &text);

signals:
    void FileIndexed(const QString &FilePath, const qint32 &LineCount);
    void FileAppended(const qint32 &lines);
    void SpanSliderAnnotationsUpdated();
    void PhraseCaptured(const QString &Phrase);
    // An appended text is done with (written, or dropped when the file could not be opened):
    // a live source that holds its producers back until its text is on disk counts it off.
    void TextWritten(const qint64 &Characters);
    // The slider should repaint its annotation marks.
    void SpanSliderRepaintRequested();
    // A file that could not be indexed (or only partly): the index stays seeded or holds
    // what was read, and FileIndexed still follows so the panel leaves "Indexing...".
    void FileIndexError(const QString &FilePath, const QString &Message);
    // Share of the file indexed so far, sent when the figure changes; 100 comes right before
    // the last FileIndexed of a pass, so it also tells the pass has ended.
    void IndexProgress(const QString &FilePath, int Percent);

private:
    struct ChunkState;
    enum ChunkResult { ChunkIndexed, ChunkTruncated, ChunkTooManyLines };
    ChunkResult indexChunk(ChunkState &st, const unsigned char *p, qint64 offset, qint64 length);
    void scanChunk(ChunkState &st, const unsigned char *p, qint64 offset, qint64 length);
    void scanMatches(ChunkState &st, const unsigned char *p, qint64 offset, qint64 length,
                     bool tailScanned);
    void scanTwoForms(ChunkState &st, const unsigned char *p, qint64 offset, qint64 length,
                      bool tailScanned);
    void commitLines(ChunkState &st, size_t termBegin);
    void appendCrlfCounts(const qint32 *counts, size_t n, qint64 expected);
    void publishProgress(ChunkState &st, bool force);
    // Callers hold the list locks; the annotation locks are taken inside. Only entries whose
    // line is below lineLimit are shown (later ones belong to lines not yet closed). Without
    // sets only the bins the slider paints are refilled and the sets are left empty.
    void refillOccurrenceMarks(qint32 lineLimit, bool sets = true);
    void refillSearchMarks(qint32 lineLimit, bool sets = true);
    void finishIndex(const QString &path);
    void capturePhrase(const QString &text, const QString &marker);
    void scanAppendedSlice(const QString &text, int from, int to, qint32 base,
                           const QVector<qint32> &byteAt, bool matches);
    // Counts the occurrences added since the last append into the live marks' bins and hands
    // the slider its bins: per append, work for the new entries and a fixed number of bins.
    void updateLiveMarks();
    struct LiveMarks;
    void countNew(LiveMarks &marks, const QVector<qint32> &lines);

    FileIndex *m_index;
    SpanAnnotations *m_annotations;
    AbortFlag m_abort;

    // Append path state.
    QString m_appendPath;
    qint64 m_appendBase = 0;
    qint32 m_appendCrlf = 0;
    bool m_busy = false;
    QString m_phrase;
    int m_phraseMatched = 0;
    bool m_capturing = false;
    QString m_captured;
    // Marks of the file being appended to; stale after an index pass replaced the lists.
    struct LiveMarks
    {
        LineMarkBins bins;
        int counted = 0;      // entries of the list already in the bins
        qint32 lastLine = -1; // the last of them, to notice a list refilled meanwhile
    };
    LiveMarks m_liveErrors, m_liveWarnings, m_liveMatches;
    QString m_liveSearch; // the search text the match marks were counted for
    bool m_liveMarksStale = true;
    std::atomic<quint64> m_appendWork{0};

    // Per-chunk scratch, kept between chunks to avoid reallocations.
    std::vector<uint32_t> m_hits;
    std::vector<qint32> m_terms;
    std::vector<qint32> m_termCrlf;
    QElapsedTimer m_markTimer;
    qint64 m_nextMarkRefill = 0;
};
