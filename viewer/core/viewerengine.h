// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "viewer/core/fileindex.h"

#include <QObject>

class QThread;
class FileReaderWriter;
class FileSearcher;
class OccurrenceFilter;

// Everything a viewer panel needs behind its widgets: the shared index, the slider's
// annotation sets, the editor's two triple buffers and the three workers, each on its named
// thread. The panel connects its own signals to the workers' slots (queued across threads):
//   NewFileOpened -> readerWriter()->IndexFile, editor newTextAvailable -> AppendFile,
//   StartFileSearchTask -> searcher()->SearchTextInFile,
//   SelectionsFilterRequest / SpanSliderAnnotationsUpdateRequest / ClearAnnotationsRequest
//   -> filter()->on...; and back: FileIndexed, FileAppended, SpanSliderAnnotationsUpdated,
//   SearchProcessed, MatchFilterFinished, CriticalFilterFinished, FileIndexError,
//   IndexProgress, and SpanSliderRepaintRequested (all three workers) for the slider's repaint.
// The slider stores its handles in annotations().lower/upper; after a "...FilterFinished"
// the editor calls matchBuffers() / criticalBuffers().acceptPending().
class ViewerEngine : public QObject
{
    Q_OBJECT
public:
    static constexpr qint64 ChunkSize = 512000;

    explicit ViewerEngine(qint32 maxBlockCount = 4000, QObject *parent = nullptr);
    // Stops the workers (long loops end at their next check), then quits and waits.
    ~ViewerEngine() override;

    FileIndex &index() { return m_index; }
    SpanAnnotations &annotations() { return m_annotations; }
    TripleMatchBuffers &matchBuffers() { return m_matchBuffers; }
    TripleMatchBuffers &criticalBuffers() { return m_criticalBuffers; }
    qint32 maxBlockCount() const { return m_maxBlockCount; }

    FileReaderWriter *readerWriter() const { return m_readerWriter; }
    FileSearcher *searcher() const { return m_searcher; }
    OccurrenceFilter *filter() const { return m_filter; }
    QThread *readerWriterThread() const { return m_readerWriterThread; }
    QThread *searcherThread() const { return m_searcherThread; }
    QThread *filterThread() const { return m_filterThread; }

private:
    FileIndex m_index;
    SpanAnnotations m_annotations;
    TripleMatchBuffers m_matchBuffers;
    TripleMatchBuffers m_criticalBuffers;
    qint32 m_maxBlockCount;
    FileReaderWriter *m_readerWriter;
    FileSearcher *m_searcher;
    OccurrenceFilter *m_filter;
    QThread *m_readerWriterThread;
    QThread *m_searcherThread;
    QThread *m_filterThread;
};
