// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtvilokeptlist.h"

QtViloKeptList QtViloKeptList::range(qint64 begin, qint64 end)
{
    QtViloKeptList list;
    if (end > begin) {
        auto d = std::make_shared<Data>();
        d->count = end - begin;
        d->scanBegin = begin;
        d->scanEnd = end;
        d->runs.push_back({begin, end});
        list.m_d = std::move(d);
    }
    return list;
}

bool QtViloKeptList::holdsAll(qint64 n) const
{
    if (n <= 0)
        return isEmpty();
    if (count() != n)
        return false;
    // n sorted distinct indices that include 0 … n - 1 only if they start at 0 and end at n.
    bool all = false;
    forEachRun(0, n, [&](qint64 b, qint64 e) { all = all || (b == 0 && e == n); });
    return all;
}

qint64 QtViloKeptList::byteSize() const
{
    if (!m_d)
        return 0;
    return qint64(sizeof(Data) + m_d->words.capacity() * sizeof(quint64) +
                  m_d->runs.capacity() * sizeof(Run));
}

std::vector<QtViloKeptList::Run> QtViloKeptList::runs(qint64 from, qint64 to) const
{
    std::vector<Run> out;
    forEachRun(from, to, [&](qint64 b, qint64 e) { out.push_back({b, e}); });
    return out;
}

bool operator==(const QtViloKeptList &a, const QtViloKeptList &b)
{
    if (a.m_d == b.m_d)
        return true;
    if (a.count() != b.count())
        return false;
    // Both forms give maximal runs, so equal sets give equal run sequences.
    std::vector<QtViloKeptList::Run> ra = a.runs();
    std::vector<QtViloKeptList::Run> rb = b.runs();
    if (ra.size() != rb.size())
        return false;
    for (size_t i = 0; i < ra.size(); ++i) {
        if (ra[i].begin != rb[i].begin || ra[i].end != rb[i].end)
            return false;
    }
    return true;
}

QtViloKeptListBuilder::QtViloKeptListBuilder(qint64 begin, qint64 end)
    : m_begin(begin), m_end(qMax(begin, end)), m_d(std::make_shared<QtViloKeptList::Data>())
{
    m_d->scanBegin = m_begin;
    m_d->scanEnd = m_end;
    // A run costs 16 bytes, a bitmap one bit per index of the range: beyond this many runs
    // the bitmap is smaller.
    m_maxRuns = size_t((m_end - m_begin) / 128 + 4);
}

void QtViloKeptListBuilder::addRun(qint64 begin, qint64 end)
{
    QtViloKeptList::Data &d = *m_d;
    d.count += end - begin;
    if (!d.runs.empty() && d.runs.back().end == begin) {
        d.runs.back().end = end;
        return;
    }
    d.runs.push_back({begin, end});
    if (d.runs.size() > m_maxRuns)
        toBitmap();
}

void QtViloKeptListBuilder::toBitmap()
{
    QtViloKeptList::Data &d = *m_d;
    d.bitmap = true;
    d.base = m_begin;
    d.end = m_end;
    d.words.assign(size_t((m_end - m_begin + 63) / 64), 0);
    for (const QtViloKeptList::Run &r : d.runs) {
        for (qint64 i = r.begin - m_begin; i < r.end - m_begin; ++i)
            d.words[size_t(i >> 6)] |= quint64(1) << (i & 63);
    }
    std::vector<QtViloKeptList::Run>().swap(d.runs);
}

void QtViloKeptListBuilder::addBlock(qint64 blockStart, quint64 mask)
{
    if (!mask)
        return;
    QtViloKeptList::Data &d = *m_d;
    if (d.bitmap) {
        setBits(blockStart, mask);
        return;
    }
    if (mask == ~quint64(0)) {
        addRun(blockStart, blockStart + 64);
        return;
    }
    // Runs of set bits, lowest first.
    int k = 0;
    while (mask && !d.bitmap) {
        const int start = __builtin_ctzll(mask);
        const quint64 shifted = mask >> start;
        const int length = shifted == ~quint64(0) >> start ? 64 - start
                                                             : __builtin_ctzll(~shifted);
        addRun(blockStart + k + start, blockStart + k + start + length);
        k += start + length;
        mask = (start + length >= 64) ? 0 : shifted >> length;
    }
    if (mask) // turned into a bitmap half-way through the block
        setBits(blockStart + k, mask);
}

void QtViloKeptListBuilder::setBits(qint64 start, quint64 mask)
{
    QtViloKeptList::Data &d = *m_d;
    const qint64 k = start - m_begin;
    const size_t w = size_t(k >> 6);
    const int shift = int(k & 63);
    d.words[w] |= mask << shift;
    if (shift && (mask >> (64 - shift)))
        d.words[w + 1] |= mask >> (64 - shift);
    d.count += __builtin_popcountll(mask);
}

void QtViloKeptListBuilder::add(qint64 index)
{
    QtViloKeptList::Data &d = *m_d;
    if (d.bitmap) {
        const qint64 k = index - m_begin;
        d.words[size_t(k >> 6)] |= quint64(1) << (k & 63);
        ++d.count;
        return;
    }
    addRun(index, index + 1);
}

void QtViloKeptListBuilder::addRange(qint64 begin, qint64 end)
{
    if (begin >= end)
        return;
    if (!m_d->bitmap) {
        addRun(begin, end);
        return;
    }
    for (qint64 b = begin; b < end; b += 64) {
        const qint64 n = qMin<qint64>(64, end - b);
        setBits(b, n == 64 ? ~quint64(0) : (quint64(1) << n) - 1);
    }
}

QtViloKeptList QtViloKeptListBuilder::take()
{
    QtViloKeptList list;
    m_d->runs.shrink_to_fit();
    list.m_d = std::move(m_d);
    m_d = std::make_shared<QtViloKeptList::Data>();
    m_d->scanBegin = m_begin;
    m_d->scanEnd = m_end;
    return list;
}
