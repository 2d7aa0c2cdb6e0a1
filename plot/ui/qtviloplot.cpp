#include "plot/ui/qtviloplot.h"

#include "plot/core/qtviloplotitem.h"
#include "plot/ui/qtviloplotcurve.h"

#include <QEvent>
#include <QMouseEvent>
#include <QReadLocker>
#include <QTimer>
#include <qwt_legend.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_magnifier.h>
#include <qwt_plot_panner.h>
#include <qwt_plot_zoomer.h>
#include <qwt_scale_div.h>
#include <qwt_scale_widget.h>

namespace {

bool hasData(QtViloPlotItem *item)
{
    QReadLocker locker(&item->dataLock());
    return item->data() && item->sampleCount() > 0;
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

QtViloPlot::QtViloPlot(QWidget *parent, Source source) : QwtPlot(parent), m_source(source)
{
    setObjectName(QStringLiteral("QtViloSignalPlot"));
    setWindowTitle(tr("Signal Plot"));
    setCanvasBackground(Qt::white);
    setAxisTitle(xBottom, tr("Samples"));
    setAxisTitle(yLeft, tr("Amplitude"));

    m_grid = new QwtPlotGrid;
    m_grid->setMajorPen(QColor(0xc8, 0xc8, 0xc8), 0, Qt::DotLine);
    m_grid->attach(this);

    m_zoomer = new QwtPlotZoomer(canvas());
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
}

QtViloPlot::~QtViloPlot() = default;

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
    emit SelectedCurveChanged(curve);
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
        if (m_plottingEnabled && m_items.contains(item) && item->visible && hasData(item)) {
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
            if (!m_plottingEnabled || !item->visible || !hasData(item))
                continue;
            curve = new QtViloPlotCurve(item);
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
    if (selected != m_selected) {
        m_selected = selected;
        emit SelectedCurveChanged(selected);
    }
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
