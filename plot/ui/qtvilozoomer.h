// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <qwt_plot_zoomer.h>

// The plot's rubber-band zoomer with per-axis locks: a locked axis keeps the range it shows
// while the other one zooms, so a long record can be zoomed in time without losing the full
// amplitude (or the other way round).
class QtViloZoomer : public QwtPlotZoomer
{
    Q_OBJECT

public:
    explicit QtViloZoomer(QWidget *canvas, bool doReplot = true);

    bool lockX() const { return m_lockX; }
    bool lockY() const { return m_lockY; }
    void setLockX(bool locked) { m_lockX = locked; }
    void setLockY(bool locked) { m_lockY = locked; }

    // The rectangle a zoom to `rect` ends up with: the locked axes replaced by their current
    // range.
    QRectF lockedRect(const QRectF &rect) const;

    using QwtPlotZoomer::zoom;

public slots:
    void zoom(const QRectF &rect) override;

private:
    bool m_lockX = false;
    bool m_lockY = false;
};
