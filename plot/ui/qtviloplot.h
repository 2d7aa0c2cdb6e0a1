// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/ui/qtvilozoomer.h"

#include <QAtomicInt>
#include <QColor>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QReadWriteLock>
#include <QRectF>
#include <QSharedPointer>
#include <qwt_plot.h>
#include <qwt_plot_canvas.h>

class QThread;
class QtViloBoundingProfiler;
class QtViloLodCurve;
class QtViloLodWeeder;
class QtViloLodWorker;
class QtViloPlot;
class QtViloPlotCurve;
class QtViloPlotItem;
class QtViloProfileOverlay;

class QwtPlotGrid;
class QwtPlotMagnifier;
class QwtPlotPanner;

// The plot's canvas: shows the selected curve and the max/min profile overlay again when the
// level-of-detail side says they changed.
class QtViloPlotCanvas : public QwtPlotCanvas
{
    Q_OBJECT
public:
    explicit QtViloPlotCanvas(QtViloPlot *plot);

    QtViloProfileOverlay *overlay() const { return m_overlay; }

public slots:
    void showSelectedCurve();
    void updateStationaryOverlay();

private:
    QtViloProfileOverlay *m_overlay;
};

// The signal plot: one curve per visible plot item with data, drawn by pixel column.
//
// Mouse: left drag zooms into a rectangle, right click or the back button zooms out one
// step, Ctrl + right click returns to the full view, the middle button pans, the wheel
// magnifies. While the user has not changed the view, new data rescales the axes and becomes
// the new zoom base.
//
// Every change of the visible rectangle (zoom, pan, magnifier, resize, new data) increments a
// 64-bit serial and announces the rectangle with it; level-of-detail workers tag their replies
// with that serial, and a reply with an old one is dropped.
class QtViloPlot : public QwtPlot
{
    Q_OBJECT

public:
    // Why the rectangle of interest was announced; passed as its tag.
    enum RectReason : quint32 { ViewChanged = 0, DataChanged = 1, Resized = 2 };

    // What the curves show: the items' samples (the signal plot) or their DSP results of
    // DSP plot index 0 (the DSP plot).
    enum Source { SignalSource, DspSource };

    explicit QtViloPlot(QWidget *parent = nullptr, Source source = SignalSource);
    ~QtViloPlot() override;

    // The list panel calls this after every change of its list. Curves of items no longer in
    // the list (they are deleted later), hidden or without data are dropped at once.
    void setItems(const QList<QtViloPlotItem *> &items);
    // The items' data were replaced (`serial` is the request that read them): refreshes the
    // curves, rescales unless the user changed the view, and replots before returning.
    void dataUpdated(const quint64 &serial);

    QList<QtViloPlotCurve *> curves() const { return m_curves; }
    QtViloPlotCurve *curveOf(const QtViloPlotItem *item) const;
    // The colour an item's curve has as long as the item stays in the list.
    QColor colourOf(const QtViloPlotItem *item) const { return m_colours.value(item); }

    quint64 serial() const;
    quint64 dataSerial() const { return m_dataSerial; }
    // The visible rectangle in plot coordinates: x in samples, y in values.
    QRectF rectOfInterest() const;
    bool userChangedView() const { return m_userView; }

    Source source() const { return m_source; }
    // The DSP plot index whose results a DSP plot shows.
    static constexpr qint32 DspIndex = 0;

    // The curve the auxiliary axes, markers and weeding start from; null when none.
    QtViloPlotCurve *selectedCurve() const { return m_selected; }
    void setSelectedCurve(QtViloPlotCurve *curve);
    // A disabled plot shows no curves and asks for no reduction.
    bool plottingEnabled() const { return m_plottingEnabled; }
    void setPlottingEnabled(bool enabled);

    // Persistence of earlier traces and the max/min profile overlay; announced to the
    // level-of-detail workers and profilers.
    void setPovSettings(bool persistence, bool maxProfile, bool minProfile);
    // Back to the full view of all curves (the zoom base), as if the user never zoomed.
    void resetZoom();

    void setLegendVisible(bool visible);
    QtViloZoomer *zoomer() const { return m_zoomer; }
    QtViloPlotCanvas *plotCanvas() const;

    // For the level-of-detail threads: the curves' reduction states, the selected curve
    // first, then in item order. Thread-safe.
    QList<QSharedPointer<QtViloLodCurve>> lodSnapshot() const;
    // Pixel columns of the canvas, for the profilers. Thread-safe.
    int profileColumns() const { return m_columns.loadRelaxed(); }
    bool showsMaxProfile() const { return m_maxProfile; }
    bool showsMinProfile() const { return m_minProfile; }
    bool showsPersistence() const { return m_persistence; }
    QtViloLodWeeder *weeder() const { return m_weeder; }
    QList<QtViloLodWorker *> lodWorkers() const { return m_lodWorkers; }

signals:
    void RectOfInterestChanged(QtViloPlot *plot, const QRectF &rect, const quint64 &serial,
                               const quint32 &tag);
    void PovSettingsChanged(QtViloPlot *plot, const bool &persistence, const bool &maxProfile,
                            const bool &minProfile);
    void updateLodWeedData(QtViloPlot *plot);
    // The selected curve changed, or was dropped (null).
    void SelectedCurveChanged(QtViloPlotCurve *curve);
    // Curves were added or dropped (after setItems or new data).
    void CurvesChanged();

public slots:
    // A level-of-detail reply: replots unless `serial` is no longer the current one; returns
    // whether it did.
    bool onLodDataUpdated(const quint32 &curveCount, const quint64 &serial, const quint32 &tag);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void syncCurves();
    void rescaleIfFree();
    void onScaleChanged();
    void announceRect(quint32 reason);
    void updateLodSnapshot();
    bool showsData(QtViloPlotItem *item) const;
    void startLodThreads();
    QColor nextColour();

    Source m_source;
    QtViloPlotCurve *m_selected = nullptr;
    bool m_plottingEnabled = true;
    bool m_persistence = false;
    bool m_maxProfile = false;
    bool m_minProfile = false;
    QList<QtViloPlotItem *> m_items;
    QList<QtViloPlotCurve *> m_curves;
    QHash<const QtViloPlotItem *, QColor> m_colours;

    QwtPlotGrid *m_grid = nullptr;
    QtViloZoomer *m_zoomer = nullptr;
    QwtPlotPanner *m_panner = nullptr;
    QwtPlotMagnifier *m_magnifier = nullptr;
    bool m_userView = false;
    bool m_rescaling = false;
    bool m_viewChangePending = false;

    // Level of detail; threads are quit and waited for before the curves go.
    QList<QThread *> m_lodThreads;
    QtViloLodWeeder *m_weeder = nullptr;
    QList<QtViloLodWorker *> m_lodWorkers;
    QList<QtViloBoundingProfiler *> m_profilers;
    mutable QMutex m_snapshotLock;
    QList<QSharedPointer<QtViloLodCurve>> m_lodSnapshot;
    QAtomicInt m_columns{0};

    mutable QReadWriteLock m_serialLock;
    quint64 m_serial = 0;
    quint64 m_dataSerial = 0;
};
