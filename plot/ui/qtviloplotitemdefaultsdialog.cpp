// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloplotitemdefaultsdialog.h"

#include "plot/core/qtviloformats.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QSpinBox>

namespace {
QDoubleSpinBox *countBox(QWidget *parent, double value, const QString &suffix)
{
    auto *box = new QDoubleSpinBox(parent);
    box->setDecimals(0);
    box->setRange(0, 9007199254740992.0);
    box->setValue(value);
    box->setSuffix(suffix);
    return box;
}
} // namespace

QtViloPlotItemDefaultsDialog::QtViloPlotItemDefaultsDialog(const QtViloPlotItemDefaults &values,
                                                           QWidget *parent)
    : QDialog(parent), m_format(new QComboBox(this)), m_step(new QSpinBox(this)),
      m_fileOffset(countBox(this, double(values.FileOffset), tr(" Bytes"))),
      m_dataOffset(countBox(this, double(values.DataOffset), tr(" Samples"))),
      m_maxPlotSize(countBox(this, double(values.MaxPlotSize), tr(" Samples"))),
      m_sampleRate(new QDoubleSpinBox(this)), m_sampleResolution(new QSpinBox(this)),
      m_inputRange(new QDoubleSpinBox(this)), m_gain(new QDoubleSpinBox(this))
{
    setWindowTitle(tr("Plot Item Default Values"));
    m_format->addItems(QtViloFormats::displayTexts());
    m_format->setCurrentIndex(qMax(0, m_format->findText(values.Format)));
    m_step->setRange(1, 1 << 30);
    m_step->setValue(values.Step);
    m_sampleRate->setDecimals(3);
    m_sampleRate->setRange(0.001, 1e15);
    m_sampleRate->setValue(values.SampleRate);
    m_sampleRate->setSuffix(tr(" Hz"));
    m_sampleResolution->setRange(1, 64);
    m_sampleResolution->setValue(values.SampleResolution);
    m_sampleResolution->setToolTip(tr("Used to calculate analog level from code"));
    m_dataOffset->setToolTip(tr("Revers offset uses end of file as offset reference"));
    for (QDoubleSpinBox *box : {m_inputRange, m_gain}) {
        box->setDecimals(6);
        box->setRange(-1e12, 1e12);
    }
    m_inputRange->setValue(values.InputRange);
    m_gain->setValue(values.Gain);

    auto *form = new QFormLayout(this);
    form->addRow(tr("Sample Format"), m_format);
    form->addRow(tr("Step Increment"), m_step);
    form->addRow(tr("Byte Offset"), m_fileOffset);
    form->addRow(tr("Data Offset"), m_dataOffset);
    form->addRow(tr("Max Plot Size"), m_maxPlotSize);
    form->addRow(tr("Sample Rate"), m_sampleRate);
    form->addRow(tr("Sample Resolution"), m_sampleResolution);
    form->addRow(tr("Input Range"), m_inputRange);
    form->addRow(tr("Gain"), m_gain);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
}

QtViloPlotItemDefaults QtViloPlotItemDefaultsDialog::values() const
{
    QtViloPlotItemDefaults values;
    values.Format = m_format->currentText();
    values.Step = m_step->value();
    values.FileOffset = qint64(m_fileOffset->value());
    values.DataOffset = qint64(m_dataOffset->value());
    values.MaxPlotSize = qint64(m_maxPlotSize->value());
    values.SampleRate = m_sampleRate->value();
    values.SampleResolution = m_sampleResolution->value();
    values.InputRange = m_inputRange->value();
    values.Gain = m_gain->value();
    return values;
}
