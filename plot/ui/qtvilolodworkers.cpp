// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtvilolodworkers.h"

#include "plot/core/qtvilolod.h"
#include "plot/ui/qtviloplot.h"

#include <QMutexLocker>
#include <QReadWriteLock>

QtViloLodWorker::QtViloLodWorker(int number, QObject *parent) : QObject(parent)
{
    setObjectName(QStringLiteral("LodWorker %1").arg(number));
}

void QtViloLodWorker::onRectOfInterestChanged(QtViloPlot *plot, const QRectF &rect,
                                              const quint64 &serial, const quint32 &tag)
{
    if (serial != plot->serial())
        return; // the view moved on while this request waited
    const QList<QSharedPointer<QtViloLodCurve>> curves = plot->lodSnapshot();
    QList<QReadWriteLock *> locked;
    quint32 counted = 0;
    for (const QSharedPointer<QtViloLodCurve> &curve : curves) {
        if (!curve->dataLock().tryLockForWrite())
            continue; // the other worker has it
        locked.append(&curve->dataLock());
        if (curve->serial() != serial)
            continue; // done already for this request, or waiting for a newer one
        if (curve->reduce(rect, serial)) {
            const QtViloKeptList kept = curve->currentList(nullptr);
            emit CurveLodDataUpdated(serial, static_cast<QtViloPlotCurve *>(curve->owner()),
                                     curve.data(), quint64(kept.count()));
            ++counted;
        }
    }
    if (counted > 0)
        emit LodDataUpdated(counted, serial, tag);
    for (QReadWriteLock *lock : qAsConst(locked))
        lock->unlock();
}

void QtViloLodWorker::onPovSettingsChanged(QtViloPlot *plot, const bool &persistence,
                                           const bool &maxProfile, const bool &minProfile)
{
    // The reduction keeps what the band needs whatever is drawn over it.
    Q_UNUSED(plot)
    Q_UNUSED(persistence)
    Q_UNUSED(maxProfile)
    Q_UNUSED(minProfile)
}

void QtViloLodWorker::updateLodWeedData(QtViloPlotCurve *curve, const void *list,
                                        const quint64 &length)
{
    Q_UNUSED(curve)
    Q_UNUSED(list)
    Q_UNUSED(length)
    // The lists are already in the curves; the canvas only needs to show the selection again.
    emit LodWeedDataUpdated();
}

QtViloLodWeeder::QtViloLodWeeder(QObject *parent) : QObject(parent)
{
    setObjectName(QStringLiteral("m_LodWeeder"));
}

quint64 QtViloLodWeeder::keptCount(QtViloPlotCurve *curve) const
{
    return m_kept.value(curve, Kept{0, nullptr, 0}).length;
}

void QtViloLodWeeder::updateLodWeedData(const quint64 &serial, QtViloPlotCurve *curve,
                                        const void *list, const quint64 &length)
{
    auto it = m_kept.find(curve);
    if (it != m_kept.end() && it->serial > serial)
        return; // a reply to an older request that came in late
    m_kept.insert(curve, Kept{serial, list, length});
    emit LodWeedDataUpdated();
}

void QtViloLodWeeder::onLodWeedDataRequest(QtViloPlot *plot)
{
    // Curves may have gone since they were reduced: hand out only those the plot still has.
    const QList<QSharedPointer<QtViloLodCurve>> curves = plot->lodSnapshot();
    QHash<QtViloPlotCurve *, Kept> current;
    for (const QSharedPointer<QtViloLodCurve> &curve : curves) {
        auto *owner = static_cast<QtViloPlotCurve *>(curve->owner());
        const auto it = m_kept.constFind(owner);
        if (it == m_kept.constEnd())
            continue;
        current.insert(owner, *it);
        emit LodWeedDataRequest(owner, it->list, it->length);
    }
    m_kept = current;
}

QtViloBoundingProfiler::QtViloBoundingProfiler(int number, QObject *parent) : QObject(parent)
{
    setObjectName(QStringLiteral("Profiler %1").arg(number));
}

void QtViloBoundingProfiler::onPovSettingsChanged(QtViloPlot *plot, const bool &persistence,
                                                  const bool &maxProfile, const bool &minProfile)
{
    Q_UNUSED(plot)
    m_persistence = persistence;
    // Persistence shows what earlier traces covered, which is the accumulated envelope.
    m_enabled = persistence || maxProfile || minProfile;
}

void QtViloBoundingProfiler::onRectOfInterestChanged(QtViloPlot *plot, const QRectF &rect,
                                                     const quint64 &serial, const quint32 &tag)
{
    Q_UNUSED(tag)
    if (!m_enabled || serial != plot->serial())
        return;
    const int columns = plot->profileColumns();
    bool updated = false;
    for (const QSharedPointer<QtViloLodCurve> &curve : plot->lodSnapshot()) {
        if (!curve->profileLock().tryLock())
            continue; // the other profiler has it
        // A profile made for this serial already is the other profiler's work.
        if (curve->profileSerial == serial) {
            curve->profileLock().unlock();
            continue;
        }
        curve->profileSerial = serial;
        updated = curve->updateProfile(rect, columns, m_persistence) || updated;
        curve->profileLock().unlock();
    }
    if (updated)
        emit MaxMinProfileUpdated();
}
