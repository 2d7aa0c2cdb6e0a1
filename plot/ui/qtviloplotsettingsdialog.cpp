// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloplotsettingsdialog.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QPixmap>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
void selectData(QComboBox *box, int value)
{
    box->setCurrentIndex(qMax(0, box->findData(value)));
}
} // namespace

QtViloPlotSettingsDialog::QtViloPlotSettingsDialog(const QtViloPlotViewSettings &values,
                                                   QWidget *parent)
    : QDialog(parent), m_values(values)
{
    setWindowTitle(tr("Plot Settings"));

    auto *legendBox = new QGroupBox(tr("Legend"), this);
    auto *legendForm = new QFormLayout(legendBox);
    m_legendEnable = new QCheckBox(tr("Show legend beside the plot"), legendBox);
    m_legendPosition = new QComboBox(legendBox);
    // Values of QwtPlot::LegendPosition.
    m_legendPosition->addItem(tr("Left"), 0);
    m_legendPosition->addItem(tr("Right"), 1);
    m_legendPosition->addItem(tr("Top"), 3);
    m_legendPosition->addItem(tr("Bottom"), 2);
    legendForm->addRow(m_legendEnable);
    legendForm->addRow(tr("Position:"), m_legendPosition);

    m_legendItemEnable = new QCheckBox(tr("Show legend inside the plot"), legendBox);
    m_legendItemColumns = new QSpinBox(legendBox);
    m_legendItemColumns->setRange(1, 16);
    m_legendItemAlignment = new QComboBox(legendBox);
    m_legendItemAlignment->addItem(tr("Top Left"), int(Qt::AlignTop | Qt::AlignLeft));
    m_legendItemAlignment->addItem(tr("Top"), int(Qt::AlignTop | Qt::AlignHCenter));
    m_legendItemAlignment->addItem(tr("Top Right"), int(Qt::AlignTop | Qt::AlignRight));
    m_legendItemAlignment->addItem(tr("Bottom Left"), int(Qt::AlignBottom | Qt::AlignLeft));
    m_legendItemAlignment->addItem(tr("Bottom"), int(Qt::AlignBottom | Qt::AlignHCenter));
    m_legendItemAlignment->addItem(tr("Bottom Right"), int(Qt::AlignBottom | Qt::AlignRight));
    m_legendItemBackground = new QToolButton(legendBox);
    m_legendItemSize = new QSpinBox(legendBox);
    m_legendItemSize->setRange(4, 48);
    m_legendItemSize->setSuffix(tr(" pt"));
    legendForm->addRow(m_legendItemEnable);
    legendForm->addRow(tr("Columns:"), m_legendItemColumns);
    legendForm->addRow(tr("Alignment:"), m_legendItemAlignment);
    legendForm->addRow(tr("Background:"), m_legendItemBackground);
    legendForm->addRow(tr("Font size:"), m_legendItemSize);

    auto *zoomBox = new QGroupBox(tr("Zoom"), this);
    auto *zoomLayout = new QVBoxLayout(zoomBox);
    m_newCurveZoomReset = new QCheckBox(tr("Reset zoom when new curves appear"), zoomBox);
    m_visRescale = new QCheckBox(tr("Reset zoom when curves are shown or hidden"), zoomBox);
    m_rePlotZoomReset = new QCheckBox(tr("Reset zoom on every replot"), zoomBox);
    zoomLayout->addWidget(m_newCurveZoomReset);
    zoomLayout->addWidget(m_visRescale);
    zoomLayout->addWidget(m_rePlotZoomReset);

    auto *curveBox = new QGroupBox(tr("Curves"), this);
    auto *curveForm = new QFormLayout(curveBox);
    m_lineWidth = new QSpinBox(curveBox);
    m_lineWidth->setRange(1, 20);
    m_lineWidth->setSuffix(tr(" px"));
    m_symbolSize = new QSpinBox(curveBox);
    m_symbolSize->setRange(0, 40);
    m_symbolSize->setSuffix(tr(" px"));
    m_symbolSize->setSpecialValueText(tr("No symbols"));
    curveForm->addRow(tr("Line width:"), m_lineWidth);
    curveForm->addRow(tr("Symbol size:"), m_symbolSize);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(legendBox);
    layout->addWidget(zoomBox);
    layout->addWidget(curveBox);
    layout->addWidget(buttons);

    m_legendEnable->setChecked(values.legendEnable);
    selectData(m_legendPosition, values.legendPosition);
    m_legendItemEnable->setChecked(values.legendItemEnable);
    m_legendItemColumns->setValue(values.legendItemColumns);
    selectData(m_legendItemAlignment, values.legendItemAlignment);
    m_legendItemSize->setValue(values.legendItemSize);
    m_newCurveZoomReset->setChecked(values.newCurveZoomReset);
    m_visRescale->setChecked(values.visRescale);
    m_rePlotZoomReset->setChecked(values.rePlotZoomReset);
    m_lineWidth->setValue(values.lineWidth);
    m_symbolSize->setValue(values.symbolSize);
    showBackground();

    connect(m_legendItemBackground, &QToolButton::clicked, this, [this] {
        const QColor colour =
            QColorDialog::getColor(m_values.legendItemBackground, this, tr("Legend Background"),
                                   QColorDialog::ShowAlphaChannel);
        if (colour.isValid()) {
            m_values.legendItemBackground = colour;
            showBackground();
        }
    });
}

QtViloPlotViewSettings QtViloPlotSettingsDialog::values() const
{
    QtViloPlotViewSettings v = m_values;
    v.legendEnable = m_legendEnable->isChecked();
    v.legendPosition = m_legendPosition->currentData().toInt();
    v.legendItemEnable = m_legendItemEnable->isChecked();
    v.legendItemColumns = m_legendItemColumns->value();
    v.legendItemAlignment = m_legendItemAlignment->currentData().toInt();
    v.legendItemSize = m_legendItemSize->value();
    v.newCurveZoomReset = m_newCurveZoomReset->isChecked();
    v.visRescale = m_visRescale->isChecked();
    v.rePlotZoomReset = m_rePlotZoomReset->isChecked();
    v.lineWidth = m_lineWidth->value();
    v.symbolSize = m_symbolSize->value();
    return v;
}

void QtViloPlotSettingsDialog::showBackground()
{
    QPixmap swatch(32, 14);
    swatch.fill(m_values.legendItemBackground);
    m_legendItemBackground->setIcon(QIcon(swatch));
    m_legendItemBackground->setIconSize(swatch.size());
    m_legendItemBackground->setToolTip(m_values.legendItemBackground.name(QColor::HexArgb));
}
