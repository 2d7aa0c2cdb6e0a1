// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QReadWriteLock>
#include <QSemaphore>
#include <QSet>
#include <QString>
#include <QVector>

#include <array>
#include <atomic>

// The shared index of one viewer panel's file. Positions are 32-bit on purpose: files are
// indexed up to 2 GiB and the workers refuse anything larger.
struct FileIndex
{
    QVector<qint32> lineEnds{0}; // guarded by lineLock
    // CR LF pairs up to each line end, kept only up to the last line that ends in one: later
    // lines have as many as it, so a file of LF lines costs 4 bytes a line, not 8. Read it
    // through crlfAt(). Guarded by lineLock.
    QVector<qint32> crlfCounts{0};
    QVector<qint32> errorOffsets;  // guarded by occurrenceLock (with the three below)
    QVector<qint32> warningOffsets;
    QVector<qint32> errorLines;
    QVector<qint32> warningLines;
    QVector<qint32> matchOffsets; // guarded by matchLock (with matchLines)
    QVector<qint32> matchLines;

    // Guarded by wholeFileLock.
    QString searchString;
    QString filePath;
    QString capturePhrase;
    QString endMarker;

    mutable QReadWriteLock lineLock;
    mutable QReadWriteLock matchLock;
    mutable QReadWriteLock matchAnnotationLock;
    mutable QReadWriteLock occurrenceLock;
    mutable QReadWriteLock occurrenceAnnotationLock;
    mutable QReadWriteLock wholeFileLock;

    qint32 crlfAt(qint64 line) const
    {
        return line < crlfCounts.size() ? crlfCounts.at(int(line)) : crlfCounts.last();
    }
    // Records that `line`, the next one to be appended to lineEnds, ends with `count` pairs
    // counted so far; writers hold lineLock.
    void setCrlfAt(qint32 line, qint32 count)
    {
        if (count == crlfCounts.last())
            return;
        carryCrlfTo(line);
        crlfCounts.append(count);
    }
    // Stores the implicit counts of the lines before `line`, so that line's count goes next.
    void carryCrlfTo(qint32 line)
    {
        const qint32 carried = crlfCounts.last();
        if (line > crlfCounts.size())
            crlfCounts.insert(crlfCounts.end(), line - crlfCounts.size(), carried);
    }
    // Empties the vectors, their memory included, and seeds the two line vectors; callers
    // hold the locks.
    void clearVectors();
    // Gives the line and mark vectors room for a file that grows for as long as it is open
    // (the monitor's live file); callers hold the locks. Does nothing once they have it.
    void reserveForGrowth();
    // What the updater console uses to catch the external tool's questions.
    void setCapture(const QString &phrase, const QString &marker);
    // Heap bytes held by the vectors (capacity), for the benchmark's size check.
    qint64 allocatedBytes() const;
};

// The span slider's three annotation sets (line / number of line ends, in [0, 1]) and its
// handles. The slider widget holds one of these and paints from it under the index's
// annotation locks; the handles are published here so workers never touch the widget.
struct SpanAnnotations
{
    QSet<double> searchMarks;  // guarded by FileIndex::matchAnnotationLock
    QSet<double> errorMarks;   // guarded by FileIndex::occurrenceAnnotationLock
    QSet<double> warningMarks; // guarded by FileIndex::occurrenceAnnotationLock
    // The same marks counted into fixed bins along the file, filled with the sets (while a file
    // is indexed, alone: the sets follow when it is complete). The slider paints from these, so
    // its cost follows the bins, not the number of marks.
    static constexpr int Bins = 4096;
    QVector<int> searchBins;                // with searchMarks
    QVector<int> errorBins, warningBins;    // with errorMarks, warningMarks
    static QVector<int> binsOf(const QSet<double> &marks);

    std::atomic<qint32> lower{0};
    std::atomic<qint32> upper{0};
};

// One filter kind's result hand-over between OccurrenceFilter and the editor: three buffers
// of document positions written round-robin, so the editor keeps showing the previous
// result while the next one is built, and the two semaphores that pair each run with its
// acceptance ("free" starts with one permit, "ready" with none).
struct TripleMatchBuffers
{
    std::array<QVector<qint32>, 3> buffers;
    int inUse = 0;
    int lastFilled = 0;
    QSemaphore free{1};
    QSemaphore ready{0};

    // Called by the editor side after a "...FilterFinished" signal: makes the filled buffer
    // current and lets the next run start. Returns the buffer now in use.
    const QVector<qint32> &acceptPending();
    const QVector<qint32> &current() const { return buffers[inUse]; }
};

// Request-level abort flag guarded by its own lock, plus a permanent stop that only the
// owner sets on shutdown (a new request clears the former, never the latter).
class AbortFlag
{
public:
    void clear();
    void abort();
    void stop();
    bool isSet() const;
    bool isStopped() const { return m_stopped.load(std::memory_order_relaxed); }

private:
    mutable QReadWriteLock m_lock;
    bool m_abort = false;
    std::atomic<bool> m_stopped{false};
};
