// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/core/qtviloplotitemdefaults.h"

#include <QDialog>

class QComboBox;
class QDoubleSpinBox;
class QSpinBox;

// Edits the read parameters that new plot items start with.
class QtViloPlotItemDefaultsDialog : public QDialog
{
    Q_OBJECT
public:
    explicit QtViloPlotItemDefaultsDialog(const QtViloPlotItemDefaults &values,
                                          QWidget *parent = nullptr);
    QtViloPlotItemDefaults values() const;

private:
    QComboBox *m_format;
    QSpinBox *m_step;
    // 64-bit counts in a double box: whole numbers stay exact far beyond any file size.
    QDoubleSpinBox *m_fileOffset;
    QDoubleSpinBox *m_dataOffset;
    QDoubleSpinBox *m_maxPlotSize;
    QDoubleSpinBox *m_sampleRate;
    QSpinBox *m_sampleResolution;
    QDoubleSpinBox *m_inputRange;
    QDoubleSpinBox *m_gain;
};
