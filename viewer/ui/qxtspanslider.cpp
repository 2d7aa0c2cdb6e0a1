// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/ui/qxtspanslider.h"

#include "viewer/core/fileindex.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// Along the groove; shrinks on very short sliders so some track is left to move in.
constexpr int HandleLength = 8;
constexpr int NotchAngle = 120; // QWheelEvent's angle for one wheel notch

const QColor SearchMarkColour(30, 144, 255); // dodger blue
const QColor WarningMarkColour(255, 140, 0); // dark orange
const QColor ErrorMarkColour(Qt::red);

} // namespace

QxtSpanSlider::QxtSpanSlider(Qt::Orientation orientation, QWidget *parent)
    : QSlider(orientation, parent)
{
}

void QxtSpanSlider::setAnnotationSource(const FileIndex *index, SpanAnnotations *annotations)
{
    m_index = index;
    m_annotations = annotations;
    // The workers may read the handles before the span next changes.
    if (m_annotations) {
        m_annotations->lower = m_lower;
        m_annotations->upper = m_upper;
    }
    update();
}

void QxtSpanSlider::setLowerValue(int lower)
{
    setSpan(lower, m_upper);
}

void QxtSpanSlider::setUpperValue(int upper)
{
    setSpan(m_lower, upper);
}

void QxtSpanSlider::setSpan(int lower, int upper)
{
    lower = qBound(minimum(), lower, maximum());
    upper = qBound(minimum(), upper, maximum());
    if (lower > upper)
        std::swap(lower, upper);
    if (lower == m_lower && upper == m_upper)
        return;
    const bool lowerChanged = lower != m_lower;
    const bool upperChanged = upper != m_upper;
    m_lower = lower;
    m_upper = upper;
    if (m_annotations) {
        m_annotations->lower = lower;
        m_annotations->upper = upper;
    }
    if (lowerChanged)
        emit lowerValueChanged(lower);
    if (upperChanged)
        emit upperValueChanged(upper);
    emit spanChanged(lower, upper);
    update();
}

QSize QxtSpanSlider::sizeHint() const
{
    // Narrow: the viewer places it beside the text at most 20 px wide.
    return orientation() == Qt::Vertical ? QSize(18, 160) : QSize(160, 18);
}

QSize QxtSpanSlider::minimumSizeHint() const
{
    return orientation() == Qt::Vertical ? QSize(16, 4 * HandleLength)
                                         : QSize(4 * HandleLength, 16);
}

// --- geometry ---------------------------------------------------------------------------

int QxtSpanSlider::length() const
{
    return orientation() == Qt::Vertical ? height() : width();
}

int QxtSpanSlider::thickness() const
{
    return orientation() == Qt::Vertical ? width() : height();
}

int QxtSpanSlider::handleLength() const
{
    return qMin(HandleLength, length() / 3);
}

bool QxtSpanSlider::minimumAtOrigin() const
{
    // QSlider's convention: vertical sliders have the minimum at the bottom, horizontal
    // ones at the left unless right-to-left; inverted appearance flips either.
    if (orientation() == Qt::Vertical)
        return invertedAppearance();
    return invertedAppearance() == isRightToLeft();
}

int QxtSpanSlider::trackPos(const QPoint &point) const
{
    const int screen = orientation() == Qt::Vertical ? point.y() : point.x();
    return minimumAtOrigin() ? screen : length() - 1 - screen;
}

// The span's edges run over [handleLength, length - handleLength] so that both handles,
// sitting outside the span, always fit.
int QxtSpanSlider::posOfValue(qint64 value) const
{
    const int handle = handleLength();
    const int track = length() - 2 * handle;
    const qint64 range = qint64(maximum()) - minimum();
    if (range <= 0 || track <= 0)
        return handle;
    return handle + int(qRound64(double(value - minimum()) * track / double(range)));
}

// Marks use the same track as the values, so a mark lines up with the value it stands for.
int QxtSpanSlider::posOfFraction(double fraction) const
{
    const int handle = handleLength();
    const int track = qMax(0, length() - 2 * handle);
    return handle + qRound(qBound(0.0, fraction, 1.0) * track);
}

qint64 QxtSpanSlider::valueDeltaOfPixels(int pixels) const
{
    const int track = length() - 2 * handleLength();
    const qint64 range = qint64(maximum()) - minimum();
    if (range <= 0 || track <= 0)
        return 0;
    return qRound64(double(pixels) * double(range) / track);
}

QRect QxtSpanSlider::widgetRect(int trackStart, int trackLength, int crossStart,
                                int crossLength) const
{
    const int screenStart = minimumAtOrigin() ? trackStart : length() - trackStart - trackLength;
    if (orientation() == Qt::Vertical)
        return QRect(crossStart, screenStart, crossLength, trackLength);
    return QRect(screenStart, crossStart, trackLength, crossLength);
}

QRect QxtSpanSlider::lowerHandleRect() const
{
    const int handle = handleLength();
    return widgetRect(posOfValue(m_lower) - handle, handle, 0, thickness());
}

QRect QxtSpanSlider::upperHandleRect() const
{
    return widgetRect(posOfValue(m_upper), handleLength(), 0, thickness());
}

// --- changes and input ------------------------------------------------------------------

void QxtSpanSlider::sliderChange(SliderChange change)
{
    QSlider::sliderChange(change);
    if (change == SliderRangeChange)
        setSpan(m_lower, m_upper); // re-clamps and signals only if the span moved
}

void QxtSpanSlider::changeEvent(QEvent *event)
{
    QSlider::changeEvent(event);
    // A disabled widget gets no release, so end a running drag here.
    if (event->type() == QEvent::EnabledChange && !isEnabled())
        finishDrag();
}

void QxtSpanSlider::moveSpanTo(qint64 lower)
{
    const qint64 width = qint64(m_upper) - m_lower;
    lower = qBound<qint64>(minimum(), lower, maximum() - width);
    setSpan(int(lower), int(lower + width));
}

int QxtSpanSlider::visualForward() const
{
    if (orientation() == Qt::Vertical)
        return minimumAtOrigin() ? -1 : 1; // up is toward the top
    return minimumAtOrigin() ? 1 : -1;     // right is away from the left
}

void QxtSpanSlider::mousePressEvent(QMouseEvent *event)
{
    // Like QSlider: nothing to do on an empty range or with another button already down.
    if (event->button() != Qt::LeftButton || maximum() == minimum() ||
        (event->buttons() ^ event->button())) {
        event->ignore();
        return;
    }
    event->accept();
    const int pos = trackPos(event->pos());
    const int handle = handleLength();
    const int lowerEdge = posOfValue(m_lower);
    const int upperEdge = posOfValue(m_upper);
    if (pos >= lowerEdge - handle && pos < lowerEdge) {
        m_grab = Grab::Lower;
    } else if (pos >= upperEdge && pos < upperEdge + handle) {
        m_grab = Grab::Upper;
    } else if (pos >= lowerEdge && pos < upperEdge) {
        m_grab = Grab::Span;
    } else {
        moveSpanBy(pos < lowerEdge ? -pageStep() : pageStep());
        return;
    }
    // Drags move by the pointer's offset from here, so the grab point stays under it.
    m_pressPos = pos;
    m_pressLower = m_lower;
    m_pressUpper = m_upper;
    m_dragMoved = false;
    update();
}

void QxtSpanSlider::mouseMoveEvent(QMouseEvent *event)
{
    if (m_grab == Grab::None) {
        event->ignore();
        return;
    }
    event->accept();
    const int pos = trackPos(event->pos());
    if (pos != m_pressPos)
        m_dragMoved = true;
    const qint64 delta = valueDeltaOfPixels(pos - m_pressPos);
    switch (m_grab) {
    case Grab::Lower:
        setSpan(int(qBound<qint64>(minimum(), m_pressLower + delta, m_upper)), m_upper);
        break;
    case Grab::Upper:
        setSpan(m_lower, int(qBound<qint64>(m_lower, m_pressUpper + delta, maximum())));
        break;
    case Grab::Span:
        moveSpanTo(m_pressLower + delta);
        break;
    case Grab::None:
        break;
    }
}

void QxtSpanSlider::mouseReleaseEvent(QMouseEvent *event)
{
    if (m_grab == Grab::None || event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    event->accept();
    finishDrag();
}

void QxtSpanSlider::finishDrag()
{
    if (m_grab == Grab::None)
        return;
    const bool moved = m_dragMoved;
    m_grab = Grab::None;
    m_dragMoved = false;
    update();
    // After the state is reset, so receivers see isDragging() false.
    if (moved)
        emit spanDragged();
}

void QxtSpanSlider::keyPressEvent(QKeyEvent *event)
{
    const bool vertical = orientation() == Qt::Vertical;
    const int forward = visualForward() * (invertedControls() ? -1 : 1);
    const int plain = invertedControls() ? -1 : 1;
    // Keys along the groove follow what is on screen; the cross keys use the plain order.
    const int along = vertical ? forward : plain;
    const int across = vertical ? plain : forward;
    switch (event->key()) {
    case Qt::Key_Up:
        moveSpanBy(qint64(along) * singleStep());
        break;
    case Qt::Key_Down:
        moveSpanBy(-qint64(along) * singleStep());
        break;
    case Qt::Key_Right:
        moveSpanBy(qint64(across) * singleStep());
        break;
    case Qt::Key_Left:
        moveSpanBy(-qint64(across) * singleStep());
        break;
    case Qt::Key_PageUp:
        moveSpanBy(qint64(along) * pageStep());
        break;
    case Qt::Key_PageDown:
        moveSpanBy(-qint64(along) * pageStep());
        break;
    case Qt::Key_Home:
        moveSpanTo(minimum());
        break;
    case Qt::Key_End:
        moveSpanTo(maximum());
        break;
    default:
        // Not QSlider's handler: it would move the unused single value.
        QWidget::keyPressEvent(event);
        return;
    }
    event->accept();
}

void QxtSpanSlider::wheelEvent(QWheelEvent *event)
{
    const QPoint angle = event->angleDelta();
    int delta = angle.y() != 0 ? angle.y() : angle.x();
    if (event->inverted())
        delta = -delta;
    m_wheelAngle += delta;
    const int notches = m_wheelAngle / NotchAngle;
    m_wheelAngle -= notches * NotchAngle;
    // Turning the wheel up moves the span up on screen, like the Up key.
    const int direction = orientation() == Qt::Vertical ? visualForward() : 1;
    const int sign = invertedControls() ? -direction : direction;
    if (notches != 0)
        moveSpanBy(qint64(notches) * sign * singleStep());
    event->accept();
}

// --- painting ---------------------------------------------------------------------------

void QxtSpanSlider::paintMarks(QPainter &painter, const QVector<int> &bins,
                               const QColor &colour, int crossStart, int crossLength) const
{
    const int len = length();
    if (bins.isEmpty() || len <= 0 || crossLength <= 0)
        return;
    std::vector<int> rows(size_t(len), 0);
    for (int i = 0; i < bins.size(); ++i) {
        if (bins[i] > 0) {
            const double fraction = (i + 0.5) / bins.size();
            rows[size_t(qBound(0, posOfFraction(fraction), len - 1))] += bins[i];
        }
    }
    // Shaded on a log scale of the densest row: a row with one mark still shows, and a kind
    // present on every row does not become one flat bar.
    const double scale = std::log1p(double(*std::max_element(rows.cbegin(), rows.cend())));
    for (int row = 0; row < len; ++row) {
        const int count = rows[size_t(row)];
        if (count == 0)
            continue;
        QColor shade = colour;
        shade.setAlphaF(scale > 0 ? 0.45 + 0.55 * std::log1p(double(count)) / scale : 1.0);
        // A lone mark is two pixels long, so it stays visible on a tall slider.
        const int start = qMax(0, row - 1);
        painter.fillRect(widgetRect(start, row + 1 - start, crossStart, crossLength), shade);
    }
}

void QxtSpanSlider::paintEvent(QPaintEvent *)
{
    const int len = length();
    const int thick = thickness();
    if (len <= 0 || thick <= 0)
        return;

    // Shallow copies under the locks: O(1), and writers detach rather than touch ours. The
    // workers hold these locks only to swap a set in; should one be busy all the same, the
    // last copies are painted and the marks again a frame later.
    if (m_index && m_annotations) {
        bool missed = false;
        // Sets filled without bins (only ever small ones) are counted here.
        const auto binsOf = [](const QVector<int> &bins, const QSet<double> &marks) {
            return bins.isEmpty() ? SpanAnnotations::binsOf(marks) : bins;
        };
        if (m_index->matchAnnotationLock.tryLockForRead()) {
            m_searchBins = binsOf(m_annotations->searchBins, m_annotations->searchMarks);
            m_index->matchAnnotationLock.unlock();
        } else {
            missed = true;
        }
        if (m_index->occurrenceAnnotationLock.tryLockForRead()) {
            m_errorBins = binsOf(m_annotations->errorBins, m_annotations->errorMarks);
            m_warningBins = binsOf(m_annotations->warningBins, m_annotations->warningMarks);
            m_index->occurrenceAnnotationLock.unlock();
        } else {
            missed = true;
        }
        if (missed)
            QTimer::singleShot(16, this, qOverload<>(&QWidget::update));
    }

    QPainter painter(this);
    const QPalette::ColorGroup group = !isEnabled()       ? QPalette::Disabled
                                       : isActiveWindow() ? QPalette::Active
                                                          : QPalette::Inactive;
    const QPalette &pal = palette();

    const int margin = thick >= 12 ? 3 : thick / 4;
    const int grooveThick = thick - 2 * margin;
    const QRect groove = widgetRect(0, len, margin, grooveThick);
    painter.fillRect(groove, pal.color(group, QPalette::Base));
    painter.setPen(pal.color(group, QPalette::Mid));
    painter.drawRect(groove.adjusted(0, 0, -1, -1));

    const int lowerEdge = posOfValue(m_lower);
    const int upperEdge = posOfValue(m_upper);
    if (upperEdge > lowerEdge) {
        // A light tint, so the blue search marks stay visible inside the span.
        QColor spanColour = pal.color(group, QPalette::Highlight);
        spanColour.setAlpha(110);
        painter.fillRect(widgetRect(lowerEdge, upperEdge - lowerEdge, margin + 1, grooveThick - 2),
                         spanColour);
    }

    // One lane per kind across the groove, so no kind hides another: errors, warnings and
    // the search matches, which also cover the whole width when they are the only kind.
    const int inner = grooveThick - 2;
    const int lane = qMax(1, inner / 3);
    const bool alone = m_errorBins.isEmpty() && m_warningBins.isEmpty();
    paintMarks(painter, m_errorBins, ErrorMarkColour, margin + 1, lane);
    paintMarks(painter, m_warningBins, WarningMarkColour, margin + 1 + lane, lane);
    paintMarks(painter, m_searchBins, SearchMarkColour, alone ? margin + 1 : margin + 1 + 2 * lane,
               alone ? inner : inner - 2 * lane);

    const auto paintHandle = [&](const QRect &rect, bool grabbed) {
        if (rect.isEmpty())
            return;
        painter.fillRect(rect, pal.color(group, grabbed ? QPalette::Midlight : QPalette::Button));
        painter.setPen(pal.color(group, hasFocus() ? QPalette::Highlight : QPalette::Dark));
        painter.drawRect(rect.adjusted(0, 0, -1, -1));
        // A grip line across the middle tells the handle from the groove.
        painter.setPen(pal.color(group, QPalette::Dark));
        const QPoint c = rect.center();
        if (orientation() == Qt::Vertical)
            painter.drawLine(rect.left() + 3, c.y(), rect.right() - 3, c.y());
        else
            painter.drawLine(c.x(), rect.top() + 3, c.x(), rect.bottom() - 3);
    };
    paintHandle(lowerHandleRect(), m_grab == Grab::Lower || m_grab == Grab::Span);
    paintHandle(upperHandleRect(), m_grab == Grab::Upper || m_grab == Grab::Span);
}
