// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/core/qtvilokeptlist.h"

#include <QAtomicInteger>
#include <QMutex>
#include <QRectF>
#include <QReadWriteLock>
#include <QVector>

class QtViloPlotItem;

// Per-pixel-column envelope of a curve for one view: the largest and smallest sample of each
// column (NaN where a column has none).
struct QtViloMaxMinProfile
{
    QRectF rect;
    QVector<double> maxima;
    QVector<double> minima;
    quint64 generation = ~quint64(0);
};

// Level of detail of one curve: for a rectangle of interest (x in sample indices, y in
// values) it keeps only the samples that can change the picture, and remembers the lists of
// the last few zoom levels so that zooming back costs no scan.
//
// Threads: workers try-lock dataLock() for writing and call reduce(); the curve draws from
// currentList(); the plot sets the request serial. Lists are switched and published only
// under the list lock, so a reader always sees a complete list, and the list being built is
// not the one the curve draws.
class QtViloLodCurve
{
public:
    static constexpr int HistoryDepth = 6;
    // The band is the rectangle's value range widened by this share of its height each side.
    static constexpr double BandMargin = 0.04;

    struct HistoryEntry
    {
        QRectF rect;
        QtViloKeptList list;
    };

    // `owner` is handed back in signals (the drawing curve); `item` holds the samples, or with
    // `dspResult` the DSP result (doubles) the DSP plot draws.
    QtViloLodCurve(QtViloPlotItem *item, int typeIndex, void *owner = nullptr,
                   bool dspResult = false);
    QtViloLodCurve(const QtViloLodCurve &) = delete;
    QtViloLodCurve &operator=(const QtViloLodCurve &) = delete;

    // Null once retired.
    QtViloPlotItem *item() const { return m_item; }
    void *owner() const { return m_owner; }
    int typeIndex() const { return m_typeIndex; }

    quint64 serial() const;
    void setSerial(quint64 serial);

    QReadWriteLock &dataLock() { return m_dataLock; }

    // Reduces the curve for `rect` if `requestSerial` is the curve's serial (and moves the
    // serial on). Call with dataLock() held for writing. False when the serial did not match
    // or the reduction was aborted.
    bool reduce(const QRectF &rect, quint64 requestSerial);

    // The list the curve draws and the data generation it belongs to; an unknown generation
    // (no list yet) means "draw every sample".
    QtViloKeptList currentList(quint64 *generation) const;
    // The list number: 0 or 1, or 2 after an abort while at 0 (drawn as 1).
    quint8 currentListNumber() const;
    // What the last reductions left; taken under the list lock, so any thread may ask while a
    // worker reduces (but not from inside reduce()).
    int historySize() const;
    QVector<HistoryEntry> history() const;
    QRectF lastRect() const;
    QRectF referenceRect() const;

    // Flags, readable without locks: abort (set to stop a reduction), done (the last one
    // ended, either way), filling (a new list is being built; the curve draws the other).
    QAtomicInteger<quint8> abort{0};
    QAtomicInteger<quint8> done{1};
    QAtomicInteger<quint8> filling{0};

    // Stops any reduction and detaches from the item, which may be deleted afterwards.
    void retire();

    // The max/min envelope, filled by the profilers and drawn by the canvas overlay; both
    // hold profileLock() while they use it.
    QMutex &profileLock() { return m_profileLock; }
    QtViloMaxMinProfile &profile() { return m_profile; }
    // The rectangle-of-interest serial the profile was last made for (under profileLock()).
    quint64 profileSerial = 0;
    // Computes the envelope for `rect` over `columns` pixel columns (call with profileLock()
    // held). With `accumulate`, a profile of the same view and samples' source grows instead
    // of being replaced: earlier extremes persist. False when retired or without samples.
    bool updateProfile(const QRectF &rect, int columns, bool accumulate);

    // Rectangle tests on closed intervals: unlike QRectF they hold for flat (zero-height)
    // rectangles, which a constant signal has.
    static bool containsRect(const QRectF &outer, const QRectF &inner);
    static bool intersectsRect(const QRectF &a, const QRectF &b);
    // Equal within a relative tolerance of 1e-12 per coordinate.
    static bool sameRect(const QRectF &a, const QRectF &b);

private:
    void resetFor(quint64 generation, const QRectF &bounds);
    // Under the list lock: to the other list, emptied.
    void switchList();
    void publish(const QtViloKeptList &list);
    // publish() for the view `rect`, which becomes the reference and last rectangle; with
    // `remember`, the list also joins the history.
    void publishFor(const QtViloKeptList &list, const QRectF &rect, bool remember);
    void setLastRect(const QRectF &rect);
    void stepBack();

    QtViloPlotItem *m_item;
    int m_typeIndex;
    void *m_owner;
    bool m_dspResult;

    mutable QReadWriteLock m_serialLock;
    quint64 m_serial = 0;
    QReadWriteLock m_dataLock;
    mutable QReadWriteLock m_listLock;
    QtViloKeptList m_lists[2];
    quint8 m_current = 0;
    // Data generation of the lists; ~0 until the first reduction.
    quint64 m_generation = ~quint64(0);

    // Changed with dataLock() held for writing and under the list lock as well; reduce()
    // reads them under dataLock(), the accessors under the list lock.
    QVector<HistoryEntry> m_history;
    QRectF m_lastRect;
    QRectF m_reference;
    QRectF m_bounds;

    QMutex m_profileLock;
    QtViloMaxMinProfile m_profile;
};

namespace QtViloLod {

struct ScanParams
{
    qint64 count = 0; // samples N
    qint64 first = 0; // scanned index range [first, last)
    qint64 last = 0;
    double lo = 0.0; // the band
    double hi = 0.0;
};

// The band and index range of a rectangle for N samples.
ScanParams scanParams(const QRectF &rect, qint64 count);

// Keeps index i of [first, last) when sample i or the segment to one of its neighbours
// reaches the band. `abort` is tested before each block of 64 samples; false when it was
// set (then `out` is incomplete). Unknown type index: empty list.
bool scan(int typeIndex, const void *data, const ScanParams &params,
          const QAtomicInteger<quint8> *abort, QtViloKeptList &out);

// Largest and smallest sample per column of `rect` split into `columns` equal columns; a
// column without a sample takes the sample nearest its centre, NaN beyond the samples.
void profile(int typeIndex, const void *data, qint64 count, const QRectF &rect, int columns,
             QVector<double> &maxima, QVector<double> &minima);

} // namespace QtViloLod
