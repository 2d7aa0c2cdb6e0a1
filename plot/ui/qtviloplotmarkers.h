// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>

class QtViloPlot;
class QwtPlotMarker;
class QwtPlotTextLabel;

// Two vertical markers on a plot's canvas, dragged with the left button, and a readout of the
// selected curve at both of them in a corner of the canvas.
//
// The markers filter the canvas' mouse events ahead of the zoomer (they are installed after
// it), so grabbing a marker never starts a rubber band.
class QtViloPlotMarkers : public QObject
{
    Q_OBJECT

public:
    // What the readout shows for one marker, or for their difference (second − first).
    struct Reading
    {
        bool valid = false; // the selected curve has a point at the marker
        qint64 index = 0;
        double time = 0.0;  // index × time factor
        double code = 0.0;  // the curve's value
        double value = 0.0; // code × amplitude factor
    };

    explicit QtViloPlotMarkers(QtViloPlot *plot);
    ~QtViloPlotMarkers() override;

    bool isShown() const { return m_shown; }
    // Showing places the markers at one and two thirds of the visible range.
    void setShown(bool shown);

    // Marker 0 or 1, at a whole sample index.
    qint64 position(int marker) const;
    void setPosition(int marker, double index);

    // The units of the readout; the view sets them with the axes. Updates the readout but
    // leaves the replot to the caller.
    void setScale(double timeFactor, const QString &timeUnit, double amplitudeFactor,
                  const QString &amplitudeUnit);

    Reading reading(int marker) const;
    Reading difference() const;
    QString readoutText() const;

    // Pixels from a marker within which a press grabs it.
    static constexpr int GrabDistance = 4;

public slots:
    // Re-reads the selected curve (new data, other curve) and replots.
    void refresh();

signals:
    void moved();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int markerAt(int pixelX) const;
    void updateLabel();

    QtViloPlot *m_plot;
    QwtPlotMarker *m_markers[2];
    QwtPlotTextLabel *m_label;
    bool m_shown = false;
    int m_dragged = -1;
    bool m_cursorSet = false;
    double m_timeFactor = 1.0;
    double m_amplitudeFactor = 1.0;
    QString m_timeUnit;
    QString m_amplitudeUnit;
};
