// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/core/markbins.h"

#include <algorithm>

void LineMarkBins::clear()
{
    m_raw.clear();
    m_width = 1;
    m_last = -1;
    m_count = 0;
}

void LineMarkBins::add(qint32 line)
{
    if (line == m_last || line < 0)
        return;
    m_last = line;
    if (m_raw.isEmpty())
        m_raw.fill(0, RawBins);
    while (line / m_width >= RawBins)
        coarsen();
    ++m_raw[line / m_width];
    ++m_count;
}

void LineMarkBins::coarsen()
{
    for (int i = 0; i < RawBins / 2; ++i)
        m_raw[i] = m_raw[2 * i] + m_raw[2 * i + 1];
    std::fill(m_raw.begin() + RawBins / 2, m_raw.end(), 0);
    m_width *= 2;
}

QVector<int> LineMarkBins::binsFor(qint32 lineCount) const
{
    QVector<int> bins;
    if (m_count == 0)
        return bins;
    bins.fill(0, SpanAnnotations::Bins);
    // The same arithmetic as counting the fractions line / lineCount, so small files agree.
    const double denominator = qMax(1, lineCount);
    for (int b = 0; b < RawBins; ++b) {
        if (m_raw[b] == 0)
            continue;
        const double fraction = double(qint64(b) * m_width) / denominator;
        bins[qBound(0, int(fraction * SpanAnnotations::Bins), SpanAnnotations::Bins - 1)] +=
            m_raw[b];
    }
    return bins;
}
