// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "viewer/core/fileindex.h"

#include <QObject>

#include <vector>

class MappedFile;
namespace ByteScan {
class Needle;
}

// Finds a search text in the whole file on "FileSearcherThread", starting at the first line
// of the displayed range and wrapping around, and keeps the index's match lists.
class FileSearcher : public QObject
{
    Q_OBJECT
public:
    FileSearcher(FileIndex *index, SpanAnnotations *annotations, QObject *parent = nullptr);

    void abort() { m_abort.abort(); }
    void stop() { m_abort.stop(); }

public slots:
    void SearchTextInFile(const QString &SearchString, const QString &FilePath,
                          const qint64 &ChunkSize, const qint64 &MaxBlockCount);

signals:
    void SearchProcessed(const QString SearchString, const qint64 &MatchCount,
                         const qint64 &ScannedLines);
    void SpanSliderRepaintRequested();
    // The whole file has been searched once (not sent for a search cut short by a newer one).
    void SearchFinished(const QString &SearchString, const qint64 &MatchCount);

private:
    // Scans [from, to) of the file in chunks that end on line ends; false when aborted.
    bool scanRange(MappedFile &file, const ByteScan::Needle &needle, qint64 from, qint64 to,
                   qint64 chunkSize);
    void publish(const QString &text);
    void clearMatches();

    FileIndex *m_index;
    SpanAnnotations *m_annotations;
    AbortFlag m_abort;
    std::vector<uint32_t> m_candidates;
    qint64 m_matchCount = 0;
    qint64 m_scannedLines = 0;
};
