// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QHash>
#include <QObject>
#include <QRectF>

class QtViloPlot;
class QtViloPlotCurve;

// The level-of-detail workers of one plot, each on a thread of its own. They take the plot's
// curves from a snapshot that keeps each curve's reduction state alive, and only ever
// try-lock a curve: a curve that one worker holds is left to it.

// Reduces the plot's curves for a rectangle of interest; two of them share the curves of one
// request without doing any curve twice (the reduction moves the curve's serial on).
class QtViloLodWorker : public QObject
{
    Q_OBJECT
public:
    explicit QtViloLodWorker(int number, QObject *parent = nullptr);

public slots:
    void onRectOfInterestChanged(QtViloPlot *plot, const QRectF &rect, const quint64 &serial,
                                 const quint32 &tag);
    void onPovSettingsChanged(QtViloPlot *plot, const bool &persistence, const bool &maxProfile,
                              const bool &minProfile);
    void updateLodWeedData(QtViloPlotCurve *curve, const void *list, const quint64 &length);

signals:
    void CurveLodDataUpdated(const quint64 &serial, QtViloPlotCurve *curve, const void *list,
                             const quint64 &length);
    void LodDataUpdated(const quint32 &curveCount, const quint64 &serial, const quint32 &tag);
    void LodWeedDataUpdated();
};

// Collects what the workers kept per curve, and hands it out again when the plot asks.
class QtViloLodWeeder : public QObject
{
    Q_OBJECT
public:
    explicit QtViloLodWeeder(QObject *parent = nullptr);

    // Samples kept for `curve` at the newest serial seen (0 when none).
    quint64 keptCount(QtViloPlotCurve *curve) const;

public slots:
    void updateLodWeedData(const quint64 &serial, QtViloPlotCurve *curve, const void *list,
                           const quint64 &length);
    void onLodWeedDataRequest(QtViloPlot *plot);

signals:
    void LodWeedDataRequest(QtViloPlotCurve *curve, const void *list, const quint64 &length);
    void LodWeedDataUpdated();

private:
    struct Kept
    {
        quint64 serial;
        const void *list;
        quint64 length;
    };
    // Touched on the weeder's thread only.
    QHash<QtViloPlotCurve *, Kept> m_kept;
};

// Per-pixel-column maximum and minimum envelopes of the plot's curves for the view, shown as
// the canvas's stationary overlay. With persistence they accumulate while the view stays,
// so the overlay shows everything earlier traces reached. Idle while all three are off.
class QtViloBoundingProfiler : public QObject
{
    Q_OBJECT
public:
    explicit QtViloBoundingProfiler(int number, QObject *parent = nullptr);

public slots:
    void onRectOfInterestChanged(QtViloPlot *plot, const QRectF &rect, const quint64 &serial,
                                 const quint32 &tag);
    void onPovSettingsChanged(QtViloPlot *plot, const bool &persistence, const bool &maxProfile,
                              const bool &minProfile);

signals:
    void MaxMinProfileUpdated();

private:
    bool m_persistence = false;
    bool m_enabled = false;
};
