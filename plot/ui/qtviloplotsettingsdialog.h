// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/ui/qtviloplotviewsettings.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QSpinBox;
class QToolButton;

// Edits the legend, zoom-reset and curve-style options of one plot view.
class QtViloPlotSettingsDialog : public QDialog
{
    Q_OBJECT

public:
    QtViloPlotSettingsDialog(const QtViloPlotViewSettings &values, QWidget *parent = nullptr);

    // The values as edited; options the dialog does not show are passed through.
    QtViloPlotViewSettings values() const;

private:
    void showBackground();

    QtViloPlotViewSettings m_values;
    QCheckBox *m_legendEnable;
    QComboBox *m_legendPosition;
    QCheckBox *m_legendItemEnable;
    QSpinBox *m_legendItemColumns;
    QComboBox *m_legendItemAlignment;
    QToolButton *m_legendItemBackground;
    QSpinBox *m_legendItemSize;
    QCheckBox *m_newCurveZoomReset;
    QCheckBox *m_visRescale;
    QCheckBox *m_rePlotZoomReset;
    QSpinBox *m_lineWidth;
    QSpinBox *m_symbolSize;
};
