// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "viewer/core/fileindex.h"

#include <QVector>

// One kind of marks of a growing file counted by line into bins whose width doubles whenever
// the file outgrows them. Adding a mark costs the same at line 100 M as at line 1, and turning
// the counts into the slider's bins costs a fixed number of steps, so a live file's marks are
// kept up to date per batch without walking every occurrence again.
class LineMarkBins
{
public:
    void clear();
    // Lines come in non-decreasing order, as the occurrence lists hold them; a line already
    // counted is not counted again (the slider shows lines, not occurrences).
    void add(qint32 line);
    // The slider's SpanAnnotations::Bins bins for a file of lineCount line ends; empty when
    // there is no mark. Exact while the file has fewer lines than raw bins; beyond, a mark
    // may land one bin early.
    QVector<int> binsFor(qint32 lineCount) const;
    qint64 count() const { return m_count; }

    static constexpr int RawBins = 2 * SpanAnnotations::Bins;

private:
    void coarsen();

    QVector<int> m_raw;
    qint32 m_width = 1; // lines per raw bin, a power of two
    qint32 m_last = -1;
    qint64 m_count = 0;
};
