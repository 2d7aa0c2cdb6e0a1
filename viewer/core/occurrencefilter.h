// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "viewer/core/fileindex.h"

#include <QObject>
#include <QStringList>

// Turns the recorded occurrences into document positions for the editor's filters on
// "OccurrenceFilterThread", and serves the span slider's repaint and clear requests.
class OccurrenceFilter : public QObject
{
    Q_OBJECT
public:
    OccurrenceFilter(FileIndex *index, SpanAnnotations *annotations,
                     TripleMatchBuffers *matchBuffers, TripleMatchBuffers *criticalBuffers,
                     qint32 maxBlockCount = 4000, QObject *parent = nullptr);

    void abort() { m_abort.abort(); }
    void stop() { m_abort.stop(); }

public slots:
    void onSelectionsFilterRequest(const QString &FilePath, const QStringList &TypesList);
    void onSpanSliderAnnotationsUpdateRequest();
    void onClearAnnotationsRequest();

signals:
    void MatchFilterFinished();
    void CriticalFilterFinished();
    void SpanSliderAnnotationsUpdated();
    void SpanSliderRepaintRequested();

private:
    // False when the run ended without a hand-over (shutting down).
    bool runFilter(const QString &filePath, bool critical);

    FileIndex *m_index;
    SpanAnnotations *m_annotations;
    TripleMatchBuffers *m_matchBuffers;
    TripleMatchBuffers *m_criticalBuffers;
    qint32 m_maxBlockCount;
    AbortFlag m_abort;
};
