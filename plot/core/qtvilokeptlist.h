// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

// A sorted set of sample indices, the samples a level-of-detail pass keeps for drawing.
//
// Stored as runs of consecutive indices or, when the runs would take more room, as a bitmap
// over the scanned index range, so a list never costs more than one bit per scanned sample;
// a full view is a single run. Copies share their storage (the zoom history keeps copies of
// the lists it hands out), and a list is never changed once built.
class QtViloKeptList
{
public:
    struct Run
    {
        qint64 begin; // first index of the run
        qint64 end;   // one past the last
    };

    QtViloKeptList() = default;
    // Every index in [begin, end).
    static QtViloKeptList range(qint64 begin, qint64 end);

    qint64 count() const { return m_d ? m_d->count : 0; }
    // The index range the list was made from: indices outside it were not looked at (and
    // are not "dropped"). Empty for a default list.
    qint64 scanBegin() const { return m_d ? m_d->scanBegin : 0; }
    qint64 scanEnd() const { return m_d ? m_d->scanEnd : 0; }
    bool isEmpty() const { return count() == 0; }
    // Exactly the indices 0 … n - 1.
    bool holdsAll(qint64 n) const;
    // Bytes of storage, shared ones included.
    qint64 byteSize() const;
    // Whether both share one storage (a copy, not an equal list).
    bool sharesWith(const QtViloKeptList &other) const { return m_d == other.m_d; }

    // f(begin, end) for each maximal run, in increasing order, clipped to [from, to).
    template <typename F> void forEachRun(qint64 from, qint64 to, F &&f) const;
    // The runs clipped to [from, to) as a vector (tests, small lists).
    std::vector<Run> runs(qint64 from = 0, qint64 to = std::numeric_limits<qint64>::max()) const;

    friend bool operator==(const QtViloKeptList &a, const QtViloKeptList &b);
    friend bool operator!=(const QtViloKeptList &a, const QtViloKeptList &b) { return !(a == b); }

private:
    friend class QtViloKeptListBuilder;

    struct Data
    {
        qint64 count = 0;
        qint64 scanBegin = 0;
        qint64 scanEnd = 0;
        // Bitmap form: bit k of words[k / 64] stands for index base + k.
        bool bitmap = false;
        qint64 base = 0;
        qint64 end = 0;
        std::vector<quint64> words;
        std::vector<Run> runs;
    };

    std::shared_ptr<const Data> m_d;
};

// Builds a list from indices handed over in increasing order, singly or as 64-bit masks: bit
// k of a mask stands for index blockStart + k. Starts with runs and turns into a bitmap of the
// declared range once the runs would outgrow it, so its memory stays bounded while it builds.
class QtViloKeptListBuilder
{
public:
    // Indices will lie in [begin, end).
    QtViloKeptListBuilder(qint64 begin, qint64 end);

    // Adds index blockStart + k for every set bit k of mask; blocks come in increasing order
    // and hold no index beyond the declared range.
    void addBlock(qint64 blockStart, quint64 mask);
    // Adds one index (above every index added before).
    void add(qint64 index);
    // Adds every index of [begin, end) (above every index added before).
    void addRange(qint64 begin, qint64 end);

    QtViloKeptList take();

private:
    void addRun(qint64 begin, qint64 end);
    void toBitmap();
    void setBits(qint64 start, quint64 mask);

    qint64 m_begin;
    qint64 m_end;
    std::shared_ptr<QtViloKeptList::Data> m_d;
    size_t m_maxRuns;
};

template <typename F> void QtViloKeptList::forEachRun(qint64 from, qint64 to, F &&f) const
{
    if (!m_d || from >= to)
        return;
    const Data &d = *m_d;
    if (!d.bitmap) {
        // First run that ends after `from`.
        auto it = std::partition_point(d.runs.begin(), d.runs.end(),
                                       [from](const Run &r) { return r.end <= from; });
        for (; it != d.runs.end() && it->begin < to; ++it)
            f(qMax(it->begin, from), qMin(it->end, to));
        return;
    }
    const qint64 lo = qMax(from, d.base);
    const qint64 hi = qMin(to, d.end);
    if (lo >= hi)
        return;
    qint64 runStart = -1;
    qint64 k = lo - d.base;
    const qint64 kEnd = hi - d.base;
    while (k < kEnd) {
        const size_t w = size_t(k >> 6);
        const int bit = int(k & 63);
        quint64 word = d.words[w] >> bit;
        const qint64 wordEnd = qMin<qint64>(qint64(w + 1) << 6, kEnd);
        const qint64 left = wordEnd - k;
        if (left < 64)
            word &= (quint64(1) << left) - 1;
        if (runStart < 0) {
            if (!word) {
                k = wordEnd;
                continue;
            }
            k += __builtin_ctzll(word);
            runStart = k;
            continue;
        }
        // Inside a run: find its first clear bit.
        const quint64 clear = ~word & (left < 64 ? (quint64(1) << left) - 1 : ~quint64(0));
        if (!clear) {
            k = wordEnd;
            continue;
        }
        k += __builtin_ctzll(clear);
        f(d.base + runStart, d.base + k);
        runStart = -1;
    }
    if (runStart >= 0)
        f(d.base + runStart, d.base + kEnd);
}
