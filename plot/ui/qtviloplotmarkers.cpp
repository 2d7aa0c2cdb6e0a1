// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloplotmarkers.h"

#include "plot/ui/qtviloplot.h"
#include "plot/ui/qtviloplotcurve.h"

#include <QMouseEvent>
#include <qwt_plot_marker.h>
#include <qwt_plot_textlabel.h>
#include <qwt_scale_div.h>
#include <qwt_text.h>

#include <cmath>

namespace {
QString number(double value)
{
    return QString::number(value, 'g', 6);
}
} // namespace

QtViloPlotMarkers::QtViloPlotMarkers(QtViloPlot *plot) : QObject(plot), m_plot(plot)
{
    const QColor colours[2] = {QColor(0xc2, 0x18, 0x5b), QColor(0x00, 0x83, 0x8f)};
    for (int k = 0; k < 2; ++k) {
        auto *marker = new QwtPlotMarker(QStringLiteral("M%1").arg(k + 1));
        marker->setLineStyle(QwtPlotMarker::VLine);
        marker->setLinePen(colours[k], 0, Qt::DashLine);
        QwtText label(QStringLiteral("M%1").arg(k + 1));
        label.setColor(colours[k]);
        marker->setLabel(label);
        marker->setLabelAlignment(Qt::AlignBottom | Qt::AlignRight); // clear of the readout
        marker->setItemAttribute(QwtPlotItem::AutoScale, false);
        marker->setItemAttribute(QwtPlotItem::Legend, false);
        marker->setZ(60.0);
        // Attached for good and only hidden: the plot owns and deletes its items.
        marker->setVisible(false);
        marker->attach(plot);
        m_markers[k] = marker;
    }
    m_label = new QwtPlotTextLabel;
    m_label->setItemAttribute(QwtPlotItem::Legend, false);
    m_label->setMargin(6);
    m_label->setZ(70.0);
    m_label->setVisible(false);
    m_label->attach(plot);
    // Installed after the plot's zoomer and panner, so this filter sees the events first.
    m_plot->canvas()->installEventFilter(this);
}

QtViloPlotMarkers::~QtViloPlotMarkers() = default;

void QtViloPlotMarkers::setShown(bool shown)
{
    if (shown == m_shown)
        return;
    m_shown = shown;
    m_dragged = -1;
    if (shown) {
        const QwtScaleDiv &x = m_plot->axisScaleDiv(QwtPlot::xBottom);
        const double low = qMin(x.lowerBound(), x.upperBound());
        setPosition(0, low + x.range() / 3.0);
        setPosition(1, low + 2.0 * x.range() / 3.0);
        m_plot->canvas()->setMouseTracking(true); // for the grab cursor
    } else {
        if (m_cursorSet) {
            m_plot->canvas()->unsetCursor();
            m_cursorSet = false;
        }
    }
    for (QwtPlotMarker *marker : m_markers)
        marker->setVisible(shown);
    m_label->setVisible(shown);
    refresh();
}

qint64 QtViloPlotMarkers::position(int marker) const
{
    return qint64(m_markers[marker]->xValue());
}

void QtViloPlotMarkers::setPosition(int marker, double index)
{
    const double whole = std::isfinite(index) ? std::round(index) : 0.0;
    if (whole == m_markers[marker]->xValue())
        return;
    m_markers[marker]->setXValue(whole);
    if (m_shown) {
        refresh();
        emit moved();
    }
}

void QtViloPlotMarkers::setScale(double timeFactor, const QString &timeUnit, double amplitudeFactor,
                                 const QString &amplitudeUnit)
{
    m_timeFactor = timeFactor;
    m_timeUnit = timeUnit;
    m_amplitudeFactor = amplitudeFactor;
    m_amplitudeUnit = amplitudeUnit;
    if (m_shown)
        updateLabel();
}

QtViloPlotMarkers::Reading QtViloPlotMarkers::reading(int marker) const
{
    Reading r;
    r.index = position(marker);
    r.time = double(r.index) * m_timeFactor;
    const QtViloPlotCurve *curve = m_plot->selectedCurve();
    if (curve && r.index >= 0 && quint64(r.index) < curve->pointCount()) {
        r.valid = true;
        r.code = curve->data()->sample(size_t(r.index)).y();
        r.value = r.code * m_amplitudeFactor;
    }
    return r;
}

QtViloPlotMarkers::Reading QtViloPlotMarkers::difference() const
{
    const Reading a = reading(0);
    const Reading b = reading(1);
    Reading d;
    d.valid = a.valid && b.valid;
    d.index = b.index - a.index;
    d.time = b.time - a.time;
    d.code = b.code - a.code;
    d.value = b.value - a.value;
    return d;
}

QString QtViloPlotMarkers::readoutText() const
{
    auto line = [this](const QString &name, const Reading &r) {
        QString text = QStringLiteral("%1  i=%2  t=%3 %4  y=")
                           .arg(name, QString::number(r.index), number(r.time), m_timeUnit);
        if (r.valid)
            text +=
                QStringLiteral("%1 (%2 %3)").arg(number(r.code), number(r.value), m_amplitudeUnit);
        else
            text += QStringLiteral("-");
        return text;
    };
    return QStringList{line(QStringLiteral("M1"), reading(0)),
                       line(QStringLiteral("M2"), reading(1)),
                       line(QStringLiteral("Δ "), difference())}
        .join(QLatin1Char('\n'));
}

void QtViloPlotMarkers::refresh()
{
    if (m_shown)
        updateLabel();
    m_plot->replot();
}

void QtViloPlotMarkers::updateLabel()
{
    QwtText text(readoutText(), QwtText::PlainText);
    text.setRenderFlags(Qt::AlignTop | Qt::AlignLeft);
    QFont font(QStringLiteral("Monospace"));
    font.setStyleHint(QFont::TypeWriter);
    font.setPointSize(8);
    text.setFont(font);
    text.setBackgroundBrush(QColor(255, 255, 255, 220));
    text.setBorderPen(QPen(QColor(0x90, 0x90, 0x90)));
    text.setBorderRadius(3);
    m_label->setText(text);
}

int QtViloPlotMarkers::markerAt(int pixelX) const
{
    int best = -1;
    double bestDistance = GrabDistance + 0.5;
    for (int k = 0; k < 2; ++k) {
        const double at = m_plot->transform(QwtPlot::xBottom, m_markers[k]->xValue());
        const double distance = qAbs(at - pixelX);
        if (distance < bestDistance) {
            best = k;
            bestDistance = distance;
        }
    }
    return best;
}

bool QtViloPlotMarkers::eventFilter(QObject *watched, QEvent *event)
{
    if (!m_shown || watched != m_plot->canvas())
        return false;
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: {
        auto *mouse = static_cast<QMouseEvent *>(event);
        if (mouse->button() != Qt::LeftButton)
            break;
        const int marker = markerAt(mouse->pos().x());
        if (marker < 0)
            break;
        m_dragged = marker;
        return true; // never a rubber band
    }
    case QEvent::MouseMove: {
        auto *mouse = static_cast<QMouseEvent *>(event);
        if (m_dragged >= 0) {
            const QwtScaleDiv &x = m_plot->axisScaleDiv(QwtPlot::xBottom);
            const double at = m_plot->invTransform(QwtPlot::xBottom, mouse->pos().x());
            const double low = qMin(x.lowerBound(), x.upperBound());
            const double high = qMax(x.lowerBound(), x.upperBound());
            setPosition(m_dragged, qBound(std::ceil(low), at, std::floor(high)));
            return true;
        }
        const bool near = mouse->buttons() == Qt::NoButton && markerAt(mouse->pos().x()) >= 0;
        if (near != m_cursorSet) {
            if (near)
                m_plot->canvas()->setCursor(Qt::SizeHorCursor);
            else
                m_plot->canvas()->unsetCursor();
            m_cursorSet = near;
        }
        break;
    }
    case QEvent::MouseButtonRelease:
        if (m_dragged >= 0 && static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton) {
            m_dragged = -1;
            return true;
        }
        break;
    case QEvent::Leave:
        if (m_cursorSet && m_dragged < 0) {
            m_plot->canvas()->unsetCursor();
            m_cursorSet = false;
        }
        break;
    default:
        break;
    }
    return false;
}
