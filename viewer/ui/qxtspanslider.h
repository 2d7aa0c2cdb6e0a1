// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QSet>
#include <QSlider>
#include <QVector>

class QPainter;
struct FileIndex;
struct SpanAnnotations;

// A slider with two handles selecting a span [lower, upper]; both handles and the span
// between them can be dragged. Marks of the viewer's annotation sets are painted along the
// groove.
//
// QSlider's own value() is not used: the span is kept in lowerValue() / upperValue(). The
// range, steps, orientation and inverted appearance are QSlider's.
class QxtSpanSlider : public QSlider
{
    Q_OBJECT
public:
    explicit QxtSpanSlider(Qt::Orientation orientation = Qt::Vertical, QWidget *parent = nullptr);

    int lowerValue() const { return m_lower; }
    int upperValue() const { return m_upper; }
    // The annotation sets painted along the groove (under the index's annotation locks);
    // the handles are published to annotations->lower / upper. Null leaves marks out.
    void setAnnotationSource(const FileIndex *index, SpanAnnotations *annotations);

    // True between a mouse press on a handle or on the span and its release.
    bool isDragging() const { return m_grab != Grab::None; }
    // Where the handles are painted, in widget coordinates; the lower handle ends and the
    // upper handle starts at the span's edge, so the two never overlap.
    QRect lowerHandleRect() const;
    QRect upperHandleRect() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public slots:
    void setLowerValue(int lower);
    void setUpperValue(int upper);
    void setSpan(int lower, int upper);

signals:
    void spanChanged(int lower, int upper);
    void lowerValueChanged(int lower);
    void upperValueChanged(int upper);
    // A drag of a handle or of the span has ended.
    void spanDragged();

protected:
    void sliderChange(SliderChange change) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    enum class Grab { None, Lower, Upper, Span };

    // Geometry along the groove, in "track" coordinates: 0 is the minimum end whatever the
    // orientation or inverted appearance, length() the maximum end.
    int length() const;
    int thickness() const;
    int handleLength() const;
    bool minimumAtOrigin() const;
    int trackPos(const QPoint &point) const;
    int posOfValue(qint64 value) const;
    int posOfFraction(double fraction) const;
    qint64 valueDeltaOfPixels(int pixels) const;
    QRect widgetRect(int trackStart, int trackLength, int crossStart, int crossLength) const;

    // Moves the whole span so it starts at lower, keeping its width inside the range.
    void moveSpanTo(qint64 lower);
    void moveSpanBy(qint64 delta) { moveSpanTo(m_lower + delta); }
    // The value direction (+1 / -1) of a key or wheel turn that points visually "up" for a
    // vertical slider, "right" for a horizontal one.
    int visualForward() const;
    // Ends a handle or span drag; signals spanDragged() if the pointer moved.
    void finishDrag();
    // Paints one kind's bins (see SpanAnnotations) as marks per pixel row.
    void paintMarks(QPainter &painter, const QVector<int> &bins, const QColor &colour,
                    int crossStart, int crossLength) const;

    int m_lower = 0;
    int m_upper = 0;
    const FileIndex *m_index = nullptr;
    SpanAnnotations *m_annotations = nullptr;
    // What was painted last, for a paint that finds a worker swapping a set in.
    QVector<int> m_searchBins, m_errorBins, m_warningBins;

    Grab m_grab = Grab::None;
    int m_pressPos = 0;   // track position of the press
    int m_pressLower = 0; // the span at the press
    int m_pressUpper = 0;
    bool m_dragMoved = false;
    int m_wheelAngle = 0; // high-resolution wheels deliver fractions of a notch
};
