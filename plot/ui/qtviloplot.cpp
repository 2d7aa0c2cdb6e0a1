// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloplot.h"

#include "plot/core/qtvilolod.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/ui/qtvilolodworkers.h"
#include "plot/ui/qtviloplotcurve.h"
#include "plot/ui/qtviloseriesdata.h"
#include "plot/ui/qtvilozoomer.h"

#include <QEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QReadLocker>
#include <QThread>
#include <QTimer>
#include <qwt_widget_overlay.h>
#include <qwt_legend.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_magnifier.h>
#include <qwt_plot_panner.h>
#include <qwt_plot_zoomer.h>
#include <qwt_scale_div.h>
#include <qwt_scale_widget.h>

namespace {

bool hasSamples(QtViloPlotItem *item)
{
    QReadLocker locker(&item->dataLock());
    return item->data() && item->sampleCount() > 0;
}

bool hasDspResult(QtViloPlotItem *item)
{
    QReadLocker locker(&item->dspLock());
    return item->dspComplete.loadAcquire() &&
           !item->dspResults().value(QtViloPlot::DspIndex).isEmpty();
}

// Well separated first colours; later ones step round the hue circle.
QColor colourCandidate(int n)
{
    static const QRgb palette[] = {0x1f77b4, 0xd62728, 0x2ca02c, 0xff7f0e, 0x9467bd,
                                   0x8c564b, 0xe377c2, 0x17becf, 0xbcbd22, 0x7f7f7f};
    constexpr int kPalette = int(sizeof palette / sizeof palette[0]);
    if (n < kPalette)
        return QColor(palette[n]);
    return QColor::fromHsv((n * 137) % 360, 200 + (n % 3) * 20, 150 + (n % 5) * 20);
}

} // namespace

// Draws the max/min envelopes over the curves; they stay where they are until the profilers
// compute them again, hence "stationary".
class QtViloProfileOverlay : public QwtWidgetOverlay
{
public:
    QtViloProfileOverlay(QWidget *canvas, QtViloPlot *plot)
        : QwtWidgetOverlay(canvas), m_plot(plot)
    {
    }

protected:
    void drawOverlay(QPainter *painter) const override
    {
        const bool persistence = m_plot->showsPersistence();
        if (!persistence && !m_plot->showsMaxProfile() && !m_plot->showsMinProfile())
            return;
        const QwtScaleMap xMap = m_plot->canvasMap(QwtPlot::xBottom);
        const QwtScaleMap yMap = m_plot->canvasMap(QwtPlot::yLeft);
        for (QtViloPlotCurve *curve : m_plot->curves()) {
            const QtViloSeriesDataBase *series = curve->seriesData();
            if (!series || !series->lod())
                continue;
            QtViloLodCurve &lod = *series->lod();
            if (!lod.profileLock().tryLock())
                continue; // being computed; the profiler announces it when done
            const QtViloMaxMinProfile &profile = lod.profile();
            const int columns = profile.maxima.size();
            QPolygonF maxima, minima;
            for (int c = 0; c < columns; ++c) {
                const double x = xMap.transform(profile.rect.x() +
                                                (c + 0.5) * profile.rect.width() / columns);
                if (profile.maxima[c] == profile.maxima[c])
                    maxima << QPointF(x, yMap.transform(profile.maxima[c]));
                if (profile.minima[c] == profile.minima[c])
                    minima << QPointF(x, yMap.transform(profile.minima[c]));
            }
            lod.profileLock().unlock();
            if (persistence && maxima.size() == minima.size() && !maxima.isEmpty()) {
                // The area earlier traces covered, as a scope's persistence shows it.
                QPolygonF band = maxima;
                for (int k = minima.size() - 1; k >= 0; --k)
                    band << minima[k];
                QColor fill = curve->pen().color();
                fill.setAlpha(60);
                painter->setPen(Qt::NoPen);
                painter->setBrush(fill);
                painter->drawPolygon(band);
                painter->setBrush(Qt::NoBrush);
            }
            QColor colour = curve->pen().color();
            const bool selected = curve == m_plot->selectedCurve();
            colour.setAlpha(selected ? 200 : 110);
            painter->setPen(QPen(colour, selected ? 1.5 : 1.0, Qt::DashLine));
            if (m_plot->showsMaxProfile())
                painter->drawPolyline(maxima);
            if (m_plot->showsMinProfile())
                painter->drawPolyline(minima);
        }
    }

private:
    QtViloPlot *m_plot;
};

QtViloPlotCanvas::QtViloPlotCanvas(QtViloPlot *plot)
    : QwtPlotCanvas(plot), m_overlay(new QtViloProfileOverlay(this, plot))
{
}

void QtViloPlotCanvas::showSelectedCurve()
{
    m_overlay->updateOverlay();
}

void QtViloPlotCanvas::updateStationaryOverlay()
{
    m_overlay->updateOverlay();
}

QtViloPlot::QtViloPlot(QWidget *parent, Source source) : QwtPlot(parent), m_source(source)
{
    setObjectName(QStringLiteral("QtViloSignalPlot"));
    setWindowTitle(tr("Signal Plot"));
    setCanvas(new QtViloPlotCanvas(this));
    setCanvasBackground(Qt::white);
    setAxisTitle(xBottom, tr("Samples"));
    setAxisTitle(yLeft, tr("Amplitude"));

    m_grid = new QwtPlotGrid;
    m_grid->setMajorPen(QColor(0xc8, 0xc8, 0xc8), 0, Qt::DotLine);
    m_grid->attach(this);

    m_zoomer = new QtViloZoomer(canvas());
    m_zoomer->setRubberBandPen(QPen(Qt::darkGray, 0, Qt::DashLine));
    m_zoomer->setTrackerMode(QwtPicker::AlwaysOff);
    // The middle button pans, so zooming out moves to the right button.
    m_zoomer->setMousePattern(QwtEventPattern::MouseSelect2, Qt::RightButton, Qt::ControlModifier);
    m_zoomer->setMousePattern(QwtEventPattern::MouseSelect3, Qt::RightButton);
    m_zoomer->setMousePattern(QwtEventPattern::MouseSelect6, Qt::RightButton, Qt::ShiftModifier);
    connect(m_zoomer, &QwtPlotZoomer::zoomed, this,
            [this] { m_userView = m_zoomer->zoomRectIndex() != 0; });

    m_panner = new QwtPlotPanner(canvas());
    m_panner->setMouseButton(Qt::MiddleButton);
    connect(m_panner, &QwtPlotPanner::panned, this, [this] { m_userView = true; });

    m_magnifier = new QwtPlotMagnifier(canvas());
    m_magnifier->setMouseButton(Qt::NoButton); // wheel only; the right button zooms out

    canvas()->installEventFilter(this);
    connect(axisWidget(xBottom), &QwtScaleWidget::scaleDivChanged, this,
            &QtViloPlot::onScaleChanged);
    connect(axisWidget(yLeft), &QwtScaleWidget::scaleDivChanged, this, &QtViloPlot::onScaleChanged);
    // Each plot reduces its own curves: a spectrum of millions of bins zooms and pans as
    // smoothly as the samples.
    startLodThreads();
}

QtViloPlot::~QtViloPlot()
{
    for (QThread *thread : qAsConst(m_lodThreads)) {
        thread->quit();
        thread->wait();
    }
    delete m_weeder;
    qDeleteAll(m_lodWorkers);
    qDeleteAll(m_profilers);
}

void QtViloPlot::startLodThreads()
{
    auto *canvas = plotCanvas();
    auto startThread = [this](QObject *worker, const QString &name) {
        auto *thread = new QThread(this);
        thread->setObjectName(name);
        worker->moveToThread(thread);
        connect(thread, &QThread::finished, thread, &QThread::quit);
        m_lodThreads.append(thread);
    };
    m_weeder = new QtViloLodWeeder;
    startThread(m_weeder, QStringLiteral("m_LodWeederThread"));
    connect(this, &QtViloPlot::updateLodWeedData, m_weeder, &QtViloLodWeeder::onLodWeedDataRequest);
    connect(m_weeder, &QtViloLodWeeder::LodWeedDataUpdated, canvas,
            &QtViloPlotCanvas::showSelectedCurve);
    for (int n = 1; n <= 2; ++n) {
        auto *worker = new QtViloLodWorker(n);
        startThread(worker, QStringLiteral("LodWorkerThread %1").arg(n));
        m_lodWorkers.append(worker);
        connect(this, &QtViloPlot::PovSettingsChanged, worker,
                &QtViloLodWorker::onPovSettingsChanged);
        connect(this, &QtViloPlot::RectOfInterestChanged, worker,
                &QtViloLodWorker::onRectOfInterestChanged);
        connect(worker, &QtViloLodWorker::CurveLodDataUpdated, m_weeder,
                &QtViloLodWeeder::updateLodWeedData);
        connect(m_weeder, &QtViloLodWeeder::LodWeedDataRequest, worker,
                &QtViloLodWorker::updateLodWeedData);
        connect(worker, &QtViloLodWorker::LodDataUpdated, this, &QtViloPlot::onLodDataUpdated);
        connect(worker, &QtViloLodWorker::LodWeedDataUpdated, canvas,
                &QtViloPlotCanvas::showSelectedCurve);

        auto *profiler = new QtViloBoundingProfiler(n);
        startThread(profiler, QStringLiteral("ProfilerThread %1").arg(n));
        m_profilers.append(profiler);
        connect(this, &QtViloPlot::RectOfInterestChanged, profiler,
                &QtViloBoundingProfiler::onRectOfInterestChanged);
        connect(this, &QtViloPlot::PovSettingsChanged, profiler,
                &QtViloBoundingProfiler::onPovSettingsChanged);
        connect(profiler, &QtViloBoundingProfiler::MaxMinProfileUpdated, canvas,
                &QtViloPlotCanvas::updateStationaryOverlay);
    }
    for (QThread *thread : qAsConst(m_lodThreads))
        thread->start(QThread::InheritPriority);
}

bool QtViloPlot::showsData(QtViloPlotItem *item) const
{
    return m_source == DspSource ? hasDspResult(item) : hasSamples(item);
}

QtViloPlotCanvas *QtViloPlot::plotCanvas() const
{
    return static_cast<QtViloPlotCanvas *>(const_cast<QtViloPlot *>(this)->canvas());
}

QList<QSharedPointer<QtViloLodCurve>> QtViloPlot::lodSnapshot() const
{
    QMutexLocker locker(&m_snapshotLock);
    return m_lodSnapshot;
}

void QtViloPlot::updateLodSnapshot()
{
    QList<QSharedPointer<QtViloLodCurve>> snapshot;
    auto add = [&snapshot](const QtViloPlotCurve *curve) {
        const QtViloSeriesDataBase *series = curve ? curve->seriesData() : nullptr;
        if (series && series->lod() && !snapshot.contains(series->lod()))
            snapshot.append(series->lod());
    };
    add(m_selected);
    for (const QtViloPlotCurve *curve : qAsConst(m_curves))
        add(curve);
    QMutexLocker locker(&m_snapshotLock);
    m_lodSnapshot = snapshot;
}

void QtViloPlot::setItems(const QList<QtViloPlotItem *> &items)
{
    m_items = items;
    for (auto it = m_colours.begin(); it != m_colours.end();) {
        if (m_items.contains(const_cast<QtViloPlotItem *>(it.key())))
            ++it;
        else
            it = m_colours.erase(it);
    }
    syncCurves();
    rescaleIfFree();
    replot();
    announceRect(DataChanged);
}

void QtViloPlot::dataUpdated(const quint64 &serial)
{
    m_dataSerial = serial;
    for (QtViloPlotCurve *curve : qAsConst(m_curves))
        curve->refresh();
    syncCurves();
    rescaleIfFree();
    replot();
    announceRect(DataChanged);
}

QtViloPlotCurve *QtViloPlot::curveOf(const QtViloPlotItem *item) const
{
    for (QtViloPlotCurve *curve : m_curves) {
        if (curve->item() == item)
            return curve;
    }
    return nullptr;
}

quint64 QtViloPlot::serial() const
{
    QReadLocker locker(&m_serialLock);
    return m_serial;
}

QRectF QtViloPlot::rectOfInterest() const
{
    const QwtScaleDiv &x = axisScaleDiv(xBottom);
    const QwtScaleDiv &y = axisScaleDiv(yLeft);
    return QRectF(x.lowerBound(), y.lowerBound(), x.range(), y.range()).normalized();
}

void QtViloPlot::setSelectedCurve(QtViloPlotCurve *curve)
{
    if (curve && !m_curves.contains(curve))
        curve = nullptr;
    if (curve == m_selected)
        return;
    m_selected = curve;
    updateLodSnapshot();
    emit SelectedCurveChanged(curve);
    emit updateLodWeedData(this);
}

void QtViloPlot::setPlottingEnabled(bool enabled)
{
    if (enabled == m_plottingEnabled)
        return;
    m_plottingEnabled = enabled;
    syncCurves();
    replot();
    announceRect(DataChanged);
}

void QtViloPlot::setPovSettings(bool persistence, bool maxProfile, bool minProfile)
{
    m_persistence = persistence;
    m_maxProfile = maxProfile;
    m_minProfile = minProfile;
    emit PovSettingsChanged(this, m_persistence, m_maxProfile, m_minProfile);
    announceRect(ViewChanged); // the profilers start from the view as it is
    plotCanvas()->updateStationaryOverlay();
}

void QtViloPlot::resetZoom()
{
    m_userView = false;
    rescaleIfFree();
    replot();
    announceRect(ViewChanged);
}

void QtViloPlot::setLegendVisible(bool visible)
{
    if (visible && !legend())
        insertLegend(new QwtLegend, RightLegend);
    else if (!visible && legend())
        insertLegend(nullptr);
}

bool QtViloPlot::onLodDataUpdated(const quint32 &curveCount, const quint64 &serial,
                                  const quint32 &tag)
{
    Q_UNUSED(curveCount)
    Q_UNUSED(tag)
    if (serial != this->serial())
        return false; // the view moved on since the request
    replot();
    return true;
}

bool QtViloPlot::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == canvas()) {
        switch (event->type()) {
        case QEvent::Resize:
            if (!m_viewChangePending) {
                m_viewChangePending = true;
                QTimer::singleShot(0, this, [this] {
                    m_viewChangePending = false;
                    announceRect(Resized);
                });
            }
            break;
        case QEvent::Wheel:
            m_userView = true; // the magnifier is about to rescale
            break;
        case QEvent::MouseButtonRelease:
            if (static_cast<QMouseEvent *>(event)->button() == Qt::BackButton) {
                m_zoomer->zoom(-1);
                return true;
            }
            break;
        default:
            break;
        }
    }
    return QwtPlot::eventFilter(watched, event);
}

void QtViloPlot::syncCurves()
{
    QList<QtViloPlotCurve *> kept;
    for (QtViloPlotCurve *curve : qAsConst(m_curves)) {
        QtViloPlotItem *item = curve->item();
        if (m_plottingEnabled && m_items.contains(item) && item->visible && showsData(item)) {
            kept.append(curve);
        } else {
            curve->detach();
            delete curve;
        }
    }
    m_curves.clear();
    for (int i = 0; i < m_items.size(); ++i) {
        QtViloPlotItem *item = m_items.at(i);
        QtViloPlotCurve *curve = nullptr;
        for (QtViloPlotCurve *c : qAsConst(kept)) {
            if (c->item() == item)
                curve = c;
        }
        if (!curve) {
            if (!m_plottingEnabled || !item->visible || !showsData(item))
                continue;
            curve = new QtViloPlotCurve(item, m_source == DspSource);
            if (!m_colours.contains(item))
                m_colours.insert(item, nextColour());
            curve->setPen(m_colours.value(item), 0.0);
            curve->attach(this);
        }
        curve->setTitle(item->name());
        curve->setZ(20.0 + i);
        m_curves.append(curve);
    }
    QtViloPlotCurve *selected = m_curves.contains(m_selected) ? m_selected : nullptr;
    if (!selected && !m_curves.isEmpty())
        selected = m_curves.first();
    const bool selectionChanged = selected != m_selected;
    m_selected = selected;
    updateLodSnapshot();
    if (selectionChanged)
        emit SelectedCurveChanged(selected);
    emit CurvesChanged();
}

void QtViloPlot::rescaleIfFree()
{
    if (m_userView)
        return;
    m_rescaling = true;
    setAxisAutoScale(xBottom);
    setAxisAutoScale(yLeft);
    updateAxes();
    m_zoomer->setZoomBase(false);
    m_rescaling = false;
}

void QtViloPlot::onScaleChanged()
{
    if (m_rescaling || m_viewChangePending)
        return; // announced by the caller, or already on its way
    // Both axes change in one zoom step: one announcement for both.
    m_viewChangePending = true;
    QTimer::singleShot(0, this, [this] {
        m_viewChangePending = false;
        announceRect(ViewChanged);
    });
}

void QtViloPlot::announceRect(quint32 reason)
{
    quint64 serial;
    {
        QWriteLocker locker(&m_serialLock);
        serial = ++m_serial;
    }
    m_columns.storeRelaxed(canvas()->width());
    // Each curve takes the request's serial; the worker that reduces it moves it on, so the
    // other worker leaves it alone.
    for (const QSharedPointer<QtViloLodCurve> &lod : lodSnapshot())
        lod->setSerial(serial);
    emit RectOfInterestChanged(this, rectOfInterest(), serial, reason);
}

QColor QtViloPlot::nextColour()
{
    for (int n = 0;; ++n) {
        const QColor candidate = colourCandidate(n);
        bool used = false;
        for (const QColor &colour : qAsConst(m_colours))
            used = used || colour == candidate;
        if (!used)
            return candidate;
    }
}
