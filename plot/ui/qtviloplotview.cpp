// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloplotview.h"

#include "plot/core/qtviloplotunits.h"
#include "plot/ui/qtviloplot.h"
#include "plot/ui/qtviloplotcurve.h"
#include "plot/ui/qtviloplotitemsmodel.h"
#include "plot/ui/qtviloplotmarkers.h"
#include "plot/ui/qtviloplotsettingsdialog.h"
#include "plot/ui/qtvilotoolcombobox.h"
#include "plot/ui/qtvilozoomer.h"
#include "util/ui/notify.h"

#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLayout>
#include <QMenu>
#include <QImage>
#include <QMouseEvent>
#include <QSettings>
#include <QSvgGenerator>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <qwt_legend.h>
#include <qwt_legend_label.h>
#include <qwt_plot_layout.h>
#include <qwt_plot_legenditem.h>
#include <qwt_plot_magnifier.h>
#include <qwt_plot_panner.h>
#include <qwt_plot_renderer.h>
#include <qwt_symbol.h>

using namespace QtViloPlotUnits;

// The in-canvas legend, placed by its own alignment so that only API common to the Qwt
// versions we build with is needed.
class QtViloPlotLegendItem : public QwtPlotLegendItem
{
public:
    Qt::Alignment placement = Qt::AlignTop | Qt::AlignRight;

    QRect geometry(const QRectF &canvasRect) const override
    {
        constexpr int kDistance = 10;
        QRect rect(QPoint(0, 0), QwtPlotLegendItem::geometry(canvasRect).size());
        const QRect area =
            canvasRect.toAlignedRect().adjusted(kDistance, kDistance, -kDistance, -kDistance);
        if (placement & Qt::AlignLeft)
            rect.moveLeft(area.left());
        else if (placement & Qt::AlignHCenter)
            rect.moveLeft(area.center().x() - rect.width() / 2);
        else
            rect.moveRight(area.right());
        if (placement & Qt::AlignBottom)
            rect.moveBottom(area.bottom());
        else if (placement & Qt::AlignVCenter)
            rect.moveTop(area.center().y() - rect.height() / 2);
        else
            rect.moveTop(area.top());
        return rect;
    }
};

namespace {
const char *const AxisKeys[QtViloPlotAxes::OptionCount] = {"IndexCodeAxis", "TimeAxis", "UnitAxis",
                                                           "CodeUnitSwap", "IndexTimeSwap"};
const char *const AxisTexts[QtViloPlotAxes::OptionCount] = {
    QT_TRANSLATE_NOOP("QtViloPlotView", "Show Index-Code Axis"),
    QT_TRANSLATE_NOOP("QtViloPlotView", "Show Time Axis"),
    QT_TRANSLATE_NOOP("QtViloPlotView", "Show Unit Axis"),
    QT_TRANSLATE_NOOP("QtViloPlotView", "Swap Code-Unit Axis"),
    QT_TRANSLATE_NOOP("QtViloPlotView", "Swap Index-Time Axis")};

void selectText(QComboBox *box, const QString &text, const QString &fallback)
{
    const int index = box->findText(text);
    box->setCurrentIndex(index >= 0 ? index : qMax(0, box->findText(fallback)));
}
} // namespace

QtViloPlotView::QtViloPlotView(QtViloPlot *plot, QtViloPlotItemsModel *model, QWidget *parent)
    : QWidget(parent), m_plot(plot), m_model(model), m_dsp(plot->source() == QtViloPlot::DspSource),
      m_axes(new QtViloPlotAxes(plot)), m_markers(new QtViloPlotMarkers(plot))
{
    setObjectName(m_dsp ? QStringLiteral("DspPlotView") : QStringLiteral("SignalPlotView"));
    setWindowTitle(m_dsp ? tr("DSP Plot") : tr("Signal Plot"));
    setMinimumWidth(240);

    m_legendItem = new QtViloPlotLegendItem;
    m_legendItem->setVisible(false);
    m_legendItem->setBorderRadius(3);
    m_legendItem->setBorderPen(QPen(QColor(0x90, 0x90, 0x90)));
    m_legendItem->setBackgroundMode(QwtPlotLegendItem::LegendBackground);
    m_legendItem->setZ(80.0);
    m_legendItem->attach(m_plot); // owned by the plot from here on, only ever hidden

    buildToolBar();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolBar);
    layout->addWidget(m_plot, 1);
    m_plot->show();

    // The auxiliary axes follow the index and code axes, so only those are zoomed directly.
    for (QObject *tool : m_plot->canvas()->children()) {
        if (auto *magnifier = qobject_cast<QwtPlotMagnifier *>(tool)) {
            magnifier->setAxisEnabled(QwtPlot::xTop, false);
            magnifier->setAxisEnabled(QwtPlot::yRight, false);
        } else if (auto *panner = qobject_cast<QwtPlotPanner *>(tool)) {
            panner->setAxisEnabled(QwtPlot::xTop, false);
            panner->setAxisEnabled(QwtPlot::yRight, false);
        }
    }
    // After the plot's zoomer: legend clicks on the canvas must not start a rubber band.
    m_plot->canvas()->installEventFilter(this);

    m_settings = loadPlotViewSettings(settingsName());
    loadAxisSettings();
    applyLegend();
    applyPovSettings();

    connect(m_plot, &QtViloPlot::CurvesChanged, this, &QtViloPlotView::onCurvesChanged);
    connect(m_plot, &QtViloPlot::SelectedCurveChanged, this,
            &QtViloPlotView::onSelectedCurveChanged);
    connect(m_model, &QAbstractItemModel::dataChanged, this, &QtViloPlotView::onModelDataChanged);
    if (QwtPlotZoomer *plotZoomer = m_plot->zoomer())
        connect(plotZoomer, &QwtPlotZoomer::zoomed, this, &QtViloPlotView::updateZoomButtons);
    updateScaleFactors();
    updateZoomButtons();
}

QtViloPlotView::~QtViloPlotView() = default;

QtViloZoomer *QtViloPlotView::zoomer() const
{
    return qobject_cast<QtViloZoomer *>(m_plot->zoomer());
}

QComboBox *QtViloPlotView::addUnitBox(const QString &icon, const QString &toolTip,
                                      const QStringList &entries, const QString &name,
                                      const std::function<QString(const QString &)> &unitOf)
{
    auto *box = new QtViloToolComboBox(m_toolBar);
    box->setObjectName(name);
    QStringList units;
    for (const QString &entry : entries) {
        box->addItem(QIcon(icon), entry);
        units << unitOf(entry);
    }
    // The closed box shows just the unit, so the row fits a narrow dock.
    box->setShortTexts(units);
    box->setToolTip(toolTip);
    m_toolBar->addWidget(box);
    return box;
}

QAction *QtViloPlotView::addTool(Tool tool, const QString &icon, const QString &toolTip,
                                 bool checkable)
{
    QAction *action = m_toolBar->addAction(QIcon(icon), toolTip.section(QLatin1Char('\n'), 0, 0));
    action->setToolTip(toolTip);
    action->setCheckable(checkable);
    m_tools[tool] = action;
    return action;
}

void QtViloPlotView::buildToolBar()
{
    m_toolBar = new QToolBar(this);
    m_toolBar->setObjectName(QStringLiteral("PlotViewToolBar"));
    m_toolBar->setIconSize(QSize(16, 16));
    m_toolBar->setMovable(false);
    m_toolBar->setFloatable(false);
    m_toolBar->layout()->setSpacing(1);

    if (!m_dsp) {
        m_enableButton = new QToolButton(m_toolBar);
        m_enableButton->setObjectName(QStringLiteral("EnableButton"));
        m_enableButton->setIcon(QIcon(QStringLiteral("://Images/gear.png")));
        m_enableButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        m_enableButton->setAutoRaise(true);
        m_enableButton->setCheckable(true);
        m_enableButton->setChecked(m_plot->plottingEnabled());
        m_enableButton->setText(m_plot->plottingEnabled() ? tr("Enabled") : tr("Disabled"));
        m_enableButton->setToolTip(tr("Enable/Disable plotting of signal data.\nDisabling signal "
                                      "plot can increase performance for DSP plot."));
        connect(m_enableButton, &QToolButton::toggled, this, [this](bool on) {
            m_enableButton->setText(on ? tr("Enabled") : tr("Disabled"));
            m_plot->setPlottingEnabled(on);
            emit m_model->SignalPlotEnableChanged(on);
        });
        m_toolBar->addWidget(m_enableButton);
    } else {
        m_dspBox = new QtViloToolComboBox(m_toolBar);
        m_dspBox->setObjectName(QStringLiteral("DspChoiceBox"));
        m_dspBox->addItems({QStringLiteral("None"), QStringLiteral("FFT dBFS")});
        m_dspBox->setPlaceholderText(tr("Select DSP"));
        m_dspBox->setCurrentIndex(-1);
        m_dspBox->setToolTip(tr("Select DSP to perform on plotted data"));
        m_toolBar->addWidget(m_dspBox);
        m_windowBox = new QtViloToolComboBox(m_toolBar);
        m_windowBox->setObjectName(QStringLiteral("WindowBox"));
        m_windowBox->addItems(
            {QStringLiteral("Blackman"), QStringLiteral("Hann"), QStringLiteral("Flat-Top")});
        m_windowBox->setPlaceholderText(tr("Select Window"));
        m_windowBox->setCurrentIndex(-1);
        m_windowBox->setToolTip(tr("Select windowing function if FFT is used."));
        m_toolBar->addWidget(m_windowBox);
        m_frequencyBox =
            addUnitBox(QStringLiteral("://Images/freq.png"), QString(), frequencyUnitEntries(),
                       QStringLiteral("FrequencyUnitBox"),
                       [](const QString &entry) { return frequencyScale(1.0, 1, entry).unit; });
    }
    m_timeBox = addUnitBox(QStringLiteral("://Images/clock.png"), tr("Set Unit for the Time-Axis"),
                           timeUnitEntries(), QStringLiteral("TimeUnitBox"),
                           [](const QString &entry) { return timeScale(1.0, entry).unit; });
    m_amplitudeBox =
        addUnitBox(QStringLiteral("://Images/gauge.png"), tr("Set Unit for the Amplitude-Axis"),
                   amplitudeUnitEntries(), QStringLiteral("AmplitudeUnitBox"),
                   [](const QString &entry) { return amplitudeScale(1, 1.0, 1.0, entry).unit; });

    m_axisButton = new QToolButton(m_toolBar);
    m_axisButton->setObjectName(QStringLiteral("AxisButton"));
    m_axisButton->setAutoRaise(true);
    m_axisButton->setPopupMode(QToolButton::InstantPopup);
    m_axisButton->setToolTip(m_dsp ? tr("Set Scale Axis Options.")
                                   : tr("Show/Hide Auxiliary axis for selected curve"));
    auto *axisMenu = new QMenu(m_axisButton);
    for (int option = 0; option < QtViloPlotAxes::OptionCount; ++option) {
        QAction *action = axisMenu->addAction(tr(AxisTexts[option]));
        action->setCheckable(true);
        m_axisActions[option] = action;
        if (option == QtViloPlotAxes::UnitAxis)
            axisMenu->addSeparator();
    }
    m_axisButton->setMenu(axisMenu);
    m_toolBar->addWidget(m_axisButton);

    QAction *markers = addTool(MarkersTool, QStringLiteral("://Images/markers.png"),
                               tr("Show two markers with a readout of the selected curve.\nDrag "
                                  "a marker with the left mouse button."),
                               true);
    connect(markers, &QAction::toggled, m_markers, &QtViloPlotMarkers::setShown);
    m_toolBar->addSeparator();
    QAction *back =
        addTool(ZoomBackTool, QStringLiteral("://Images/previous.png"), tr("Previous zoom"), false);
    QAction *home = addTool(ZoomHomeTool, QStringLiteral("://Images/home.png"),
                            tr("Full view of all curves"), false);
    QAction *forward =
        addTool(ZoomForwardTool, QStringLiteral("://Images/next.png"), tr("Next zoom"), false);
    connect(back, &QAction::triggered, this, [this] {
        if (m_plot->zoomer())
            m_plot->zoomer()->zoom(-1);
    });
    connect(forward, &QAction::triggered, this, [this] {
        if (m_plot->zoomer())
            m_plot->zoomer()->zoom(+1);
    });
    connect(home, &QAction::triggered, this, [this] {
        m_plot->resetZoom();
        updateZoomButtons();
    });
    QAction *lockX = addTool(LockXTool, QStringLiteral("://Images/lockx.png"),
                             tr("Lock X zoom: zooming keeps the horizontal range"), true);
    QAction *lockY = addTool(LockYTool, QStringLiteral("://Images/locky.png"),
                             tr("Lock Y zoom: zooming keeps the vertical range"), true);
    connect(lockX, &QAction::toggled, this, &QtViloPlotView::onLockToggled);
    connect(lockY, &QAction::toggled, this, &QtViloPlotView::onLockToggled);
    m_toolBar->addSeparator();
    QAction *persistence = addTool(PersistenceTool, QStringLiteral("://Images/persistence.png"),
                                   tr("Persistence: keep earlier traces on screen"), true);
    QAction *maxMin = addTool(MaxMinTool, QStringLiteral("://Images/maxmin.png"),
                              tr("Show the max/min profile of the traces"), true);
    connect(persistence, &QAction::toggled, this, &QtViloPlotView::applyPovSettings);
    connect(maxMin, &QAction::toggled, this, [this](bool on) {
        QtViloPlotViewSettings values = m_settings;
        values.showMaxMin = on;
        setSettings(values);
    });
    QAction *pdf = addTool(ExportTool, QStringLiteral("://Images/pdf.png"),
                           tr("Export the plot to a PDF, PNG or SVG file"), false);
    connect(pdf, &QAction::triggered, this, &QtViloPlotView::exportPdfWithDialog);
    QAction *settings = addTool(SettingsTool, QStringLiteral("://Images/settings.png"),
                                tr("Change plot settings.\nThese settings will be cached."), false);
    connect(settings, &QAction::triggered, this, &QtViloPlotView::openSettingsDialog);
}

void QtViloPlotView::loadAxisSettings()
{
    QSettings settings;
    settings.beginGroup(QStringLiteral("QtVilo%1PlotAuxAxisSettings").arg(settingsName()));
    for (int option = 0; option < QtViloPlotAxes::OptionCount; ++option) {
        const bool on =
            settings.value(QLatin1String(AxisKeys[option]), option == QtViloPlotAxes::IndexCodeAxis)
                .toBool();
        m_axisActions[option]->setChecked(on);
        m_axes->setOption(QtViloPlotAxes::Option(option), on);
    }
    selectText(m_timeBox, settings.value(QStringLiteral("TimeAxisResolution")).toString(),
               QStringLiteral("Time in Nano Seconds"));
    selectText(m_amplitudeBox, settings.value(QStringLiteral("AmplitudeAxisResolution")).toString(),
               QStringLiteral("Ampl in Milli Volts"));
    if (m_frequencyBox)
        selectText(m_frequencyBox,
                   settings.value(QStringLiteral("FrequencyAxisResolution")).toString(),
                   QStringLiteral("Frequency in MHz"));
    settings.endGroup();

    // Connected only now, so loading writes nothing back.
    for (QAction *action : m_axisActions)
        connect(action, &QAction::toggled, this, &QtViloPlotView::onAxisOptionToggled);
    for (QComboBox *box : {m_timeBox, m_amplitudeBox, m_frequencyBox}) {
        if (!box)
            continue;
        connect(box, &QComboBox::currentTextChanged, this, [this] {
            saveAxisSettings();
            updateScaleFactors();
        });
    }
    if (m_dsp) {
        connect(m_dspBox, &QComboBox::currentTextChanged, this,
                &QtViloPlotView::onDspChoiceChanged);
        connect(m_windowBox, &QComboBox::currentTextChanged, this,
                &QtViloPlotView::onDspChoiceChanged);
    }
}

void QtViloPlotView::saveAxisSettings() const
{
    QSettings settings;
    settings.beginGroup(QStringLiteral("QtVilo%1PlotAuxAxisSettings").arg(settingsName()));
    for (int option = 0; option < QtViloPlotAxes::OptionCount; ++option)
        settings.setValue(QLatin1String(AxisKeys[option]), m_axisActions[option]->isChecked());
    settings.setValue(QStringLiteral("TimeAxisResolution"), m_timeBox->currentText());
    settings.setValue(QStringLiteral("AmplitudeAxisResolution"), m_amplitudeBox->currentText());
    if (m_frequencyBox)
        settings.setValue(QStringLiteral("FrequencyAxisResolution"), m_frequencyBox->currentText());
}

void QtViloPlotView::onAxisOptionToggled()
{
    for (int option = 0; option < QtViloPlotAxes::OptionCount; ++option)
        m_axes->setOption(QtViloPlotAxes::Option(option), m_axisActions[option]->isChecked());
    saveAxisSettings();
    updateAxes(true);
}

QString QtViloPlotView::dspRequest() const
{
    if (!m_dspBox || m_dspBox->currentIndex() < 0)
        return QString();
    const QString choice = m_dspBox->currentText();
    if (choice == QLatin1String("None"))
        return choice;
    // Without a chosen window the worker transforms unwindowed.
    return choice + QLatin1Char(';') + m_windowBox->currentText();
}

void QtViloPlotView::onDspChoiceChanged()
{
    const QString request = dspRequest();
    if (!request.isEmpty())
        m_model->setDspPlotRequest(request);
    updateScaleFactors();
}

bool QtViloPlotView::isFft() const
{
    return m_dspBox && m_dspBox->currentText().contains(QLatin1String("FFT"));
}

void QtViloPlotView::updateScaleFactors()
{
    computeFactors();
    updateAxes(true);
}

void QtViloPlotView::computeFactors()
{
    const bool fft = isFft();
    const QString timeText = m_timeBox->currentText();
    const QString amplitudeText = m_amplitudeBox->currentText();
    const QString frequencyText = m_frequencyBox ? m_frequencyBox->currentText() : QString();
    const QList<QtViloPlotItem *> &items = m_model->items();
    for (QtViloPlotCurve *curve : m_plot->curves()) {
        const int row = items.indexOf(curve->item());
        if (row < 0)
            continue;
        auto value = [this, row](int column) {
            return m_model->data(m_model->index(row, column), Qt::EditRole);
        };
        const double rate = value(QtViloPlotItemsModel::SampleRateColumn).toDouble();
        const Scale x = fft ? frequencyScale(rate, curve->transformSize(), frequencyText)
                            : timeScale(rate, timeText);
        const Scale y =
            amplitudeScale(value(QtViloPlotItemsModel::ResolutionColumn).toInt(),
                           value(QtViloPlotItemsModel::InputRangeColumn).toDouble(),
                           value(QtViloPlotItemsModel::GainColumn).toDouble(), amplitudeText);
        curve->setScaleFactors(x.factor, y.factor);
    }
}

void QtViloPlotView::updateAxes(bool replot)
{
    const bool fft = isFft();
    const QtViloPlotCurve *selected = m_plot->selectedCurve();
    // Units come from the texts alone; the factors from the selected curve.
    const QString xUnit = fft ? frequencyScale(1.0, 1, m_frequencyBox->currentText()).unit
                              : timeScale(1.0, m_timeBox->currentText()).unit;
    QString yUnit = amplitudeScale(1, 1.0, 1.0, m_amplitudeBox->currentText()).unit;
    double timeFactor = selected ? selected->timeFactor() : 1.0;
    double amplitudeFactor = selected ? selected->amplitudeFactor() : 1.0;
    QString codeTitle = tr("Amplitude [Codes]");
    if (fft && m_dspBox->currentText().contains(QLatin1String("dBFS"))) {
        // dBFS values are already relative to full scale, and volts per code mean nothing on
        // a log scale: both amplitude axes read dBFS.
        yUnit = QStringLiteral("dBFS");
        amplitudeFactor = 1.0;
        codeTitle = amplitudeAxisTitle(yUnit);
    }
    QString amplitudeTitle = amplitudeAxisTitle(yUnit);
    if (QtViloPlotAxes::drawableFactor(amplitudeFactor) != amplitudeFactor) {
        // A gain or input range of 0 leaves no volts per code: the unit axis shows codes and
        // says why, instead of labelling codes as volts.
        amplitudeTitle = tr("Amplitude [Codes] (no %1 scale: check Gain and Input Range)")
                             .arg(yUnit);
        amplitudeFactor = 1.0;
        yUnit = tr("Codes");
    }
    m_axes->setBaseTitles(tr("Sample Index"), codeTitle);
    m_axes->setTimeScale(timeFactor, fft ? frequencyAxisTitle(xUnit) : timeAxisTitle(xUnit));
    m_axes->setAmplitudeScale(amplitudeFactor, amplitudeTitle);
    m_markers->setScale(timeFactor, xUnit, amplitudeFactor, yUnit);
    m_axes->apply(replot);

    QString icon = QStringLiteral("xy");
    const bool time = m_axes->option(QtViloPlotAxes::TimeAxis);
    const bool unit = m_axes->option(QtViloPlotAxes::UnitAxis);
    if (time && unit)
        icon = QStringLiteral("xyxy");
    else if (time)
        icon = QStringLiteral("xyx");
    else if (unit)
        icon = QStringLiteral("yxy");
    m_axisButton->setIcon(QIcon(QStringLiteral("://Images/%1.png").arg(icon)));
    m_axisButton->setProperty("axisIcon", icon);
}

void QtViloPlotView::onCurvesChanged()
{
    QSet<const void *> current;
    for (QtViloPlotCurve *curve : m_plot->curves())
        current.insert(curve->item());
    QSet<const void *> listed;
    for (QtViloPlotItem *item : m_model->items())
        listed.insert(item);
    m_seenItems.intersect(listed);
    bool brandNew = false;
    bool returned = false;
    for (const void *item : qAsConst(current)) {
        if (m_curveItems.contains(item))
            continue;
        if (m_seenItems.contains(item))
            returned = true;
        else
            brandNew = true;
    }
    bool dropped = false;
    for (const void *item : qAsConst(m_curveItems))
        dropped = dropped || (!current.contains(item) && listed.contains(item));
    m_curveItems = current;
    m_seenItems.unite(current);

    // The plot replots right after announcing, so no replot of our own here.
    applyCurveStyle();
    computeFactors();
    updateAxes(false);
    syncLegendChecks();
    updateZoomButtons();
    // Switching plotting off drops every curve; that is no change of what the user looks at.
    if (!m_plot->plottingEnabled())
        return;
    if ((brandNew && m_settings.newCurveZoomReset) ||
        ((returned || dropped) && m_settings.visRescale) || m_settings.rePlotZoomReset)
        m_plot->resetZoom();
}

void QtViloPlotView::onSelectedCurveChanged()
{
    updateAxes(true);
    syncLegendChecks();
}

void QtViloPlotView::onModelDataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight)
{
    // Sample rate, resolution, input range and gain feed the factors.
    if (bottomRight.column() >= QtViloPlotItemsModel::SampleRateColumn &&
        topLeft.column() <= QtViloPlotItemsModel::GainColumn)
        updateScaleFactors();
}

void QtViloPlotView::onLockToggled()
{
    const bool lockX = m_tools[LockXTool]->isChecked();
    const bool lockY = m_tools[LockYTool]->isChecked();
    if (QtViloZoomer *locked = zoomer()) {
        locked->setLockX(lockX);
        locked->setLockY(lockY);
    }
    for (QObject *tool : m_plot->canvas()->children()) {
        if (auto *magnifier = qobject_cast<QwtPlotMagnifier *>(tool)) {
            magnifier->setAxisEnabled(QwtPlot::xBottom, !lockX);
            magnifier->setAxisEnabled(QwtPlot::yLeft, !lockY);
        }
    }
}

void QtViloPlotView::updateZoomButtons()
{
    const QwtPlotZoomer *plotZoomer = m_plot->zoomer();
    const int index = plotZoomer ? int(plotZoomer->zoomRectIndex()) : 0;
    const int depth = plotZoomer ? plotZoomer->zoomStack().size() : 0;
    m_tools[ZoomBackTool]->setEnabled(index > 0);
    m_tools[ZoomForwardTool]->setEnabled(index + 1 < depth);
}

void QtViloPlotView::setSettings(const QtViloPlotViewSettings &values)
{
    const QtViloPlotViewSettings old = m_settings;
    m_settings = values;
    savePlotViewSettings(settingsName(), m_settings);
    applyLegend();
    applyCurveStyle();
    if (old.showMaxMin != m_settings.showMaxMin)
        applyPovSettings();
    m_plot->replot();
}

void QtViloPlotView::applyPovSettings()
{
    {
        const QSignalBlocker block(m_tools[MaxMinTool]);
        m_tools[MaxMinTool]->setChecked(m_settings.showMaxMin);
    }
    m_plot->setPovSettings(m_tools[PersistenceTool]->isChecked(), m_settings.showMaxMin,
                           m_settings.showMaxMin);
}

void QtViloPlotView::applyLegend()
{
    const auto position = QwtPlot::LegendPosition(m_settings.legendPosition);
    if (!m_settings.legendEnable) {
        if (m_legend)
            m_plot->insertLegend(nullptr);
        m_legend = nullptr;
    } else if (!m_legend || m_plot->plotLayout()->legendPosition() != position) {
        m_legend = new QwtLegend;
        // Checkable entries: the checked one is the selected curve.
        m_legend->setDefaultItemMode(QwtLegendData::Checkable);
        m_plot->insertLegend(m_legend, position);
        connect(m_legend, &QwtLegend::checked, this, [this](const QVariant &info, bool, int) {
            if (auto *curve = dynamic_cast<QtViloPlotCurve *>(m_plot->infoToItem(info)))
                m_plot->setSelectedCurve(curve);
            syncLegendChecks();
        });
        syncLegendChecks();
    }

    m_legendItem->placement = Qt::Alignment(m_settings.legendItemAlignment);
    m_legendItem->setMaxColumns(uint(m_settings.legendItemColumns));
    m_legendItem->setBackgroundBrush(m_settings.legendItemBackground);
    QFont font = m_legendItem->font();
    font.setPointSize(m_settings.legendItemSize);
    m_legendItem->setFont(font);
    m_legendItem->setVisible(m_settings.legendItemEnable);
}

void QtViloPlotView::syncLegendChecks()
{
    if (!m_legend)
        return;
    for (QtViloPlotCurve *curve : m_plot->curves()) {
        if (auto *label =
                qobject_cast<QwtLegendLabel *>(m_legend->legendWidget(m_plot->itemToInfo(curve))))
            label->setChecked(curve == m_plot->selectedCurve());
    }
}

void QtViloPlotView::applyCurveStyle()
{
    // A width of 1 stays a cosmetic hairline: the fastest pen the raster engine has.
    const double width = m_settings.lineWidth <= 1 ? 0.0 : m_settings.lineWidth;
    const int size = m_settings.symbolSize;
    for (QtViloPlotCurve *curve : m_plot->curves()) {
        QPen pen = curve->pen();
        if (pen.widthF() != width) {
            pen.setWidthF(width);
            curve->setPen(pen);
        }
        const QwtSymbol *symbol = curve->symbol();
        if (size <= 0) {
            if (symbol)
                curve->setSymbol(nullptr);
        } else if (!symbol || symbol->size() != QSize(size, size) ||
                   symbol->brush().color() != pen.color()) {
            curve->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, QBrush(pen.color()),
                                           QPen(pen.color()), QSize(size, size)));
        }
    }
}

void QtViloPlotView::openSettingsDialog()
{
    QtViloPlotSettingsDialog dialog(m_settings, this);
    if (dialog.exec() == QDialog::Accepted)
        setSettings(dialog.values());
}

QString QtViloPlotView::defaultPdfFileName(const QDateTime &when)
{
    return QStringLiteral("QtVilo-%1.pdf").arg(when.toString(QStringLiteral("yyyyMMdd-hhmmss")));
}

bool QtViloPlotView::exportPdf(const QString &path)
{
    QFile::remove(path);
    QwtPlotRenderer renderer;
    // A4 landscape; the canvas keeps its white background.
    renderer.renderDocument(m_plot, path, QStringLiteral("pdf"), QSizeF(297.0, 210.0), 150);
    return QFileInfo(path).size() > 0;
}

bool QtViloPlotView::exportTo(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix != QLatin1String("png") && suffix != QLatin1String("svg"))
        return exportPdf(path);
    QFile::remove(path);
    QwtPlotRenderer renderer;
    const QSize size = m_plot->size();
    if (suffix == QLatin1String("svg")) {
        QSvgGenerator generator;
        generator.setFileName(path);
        generator.setSize(size);
        generator.setViewBox(QRect(QPoint(0, 0), size));
        generator.setTitle(m_plot->windowTitle());
        renderer.renderTo(m_plot, generator);
        return QFileInfo(path).size() > 0;
    }
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::white);
    renderer.renderTo(m_plot, image);
    return image.save(path, "PNG");
}

void QtViloPlotView::exportPdfWithDialog()
{
    const QString pdfName = defaultPdfFileName(QDateTime::currentDateTime());
    QString filter;
    QString path = QFileDialog::getSaveFileName(
        this, tr("Export Plot"), QDir::home().filePath(pdfName),
        tr("PDF Files (*.pdf);;PNG Images (*.png);;SVG Images (*.svg)"), &filter);
    if (path.isEmpty())
        return;
    // A name typed without a suffix takes the one of the chosen filter.
    if (QFileInfo(path).suffix().isEmpty()) {
        if (filter.contains(QLatin1String("*.png")))
            path += QStringLiteral(".png");
        else if (filter.contains(QLatin1String("*.svg")))
            path += QStringLiteral(".svg");
        else
            path += QStringLiteral(".pdf");
    }
    if (!exportTo(path))
        Notify::warning(this, tr("Export Error!"), tr("Unable to write the plot to %1").arg(path));
}

bool QtViloPlotView::eventFilter(QObject *watched, QEvent *event)
{
    // A click on an entry of the in-canvas legend selects that curve.
    if (watched == m_plot->canvas() && event->type() == QEvent::MouseButtonPress &&
        m_legendItem->isVisible()) {
        auto *mouse = static_cast<QMouseEvent *>(event);
        if (mouse->button() == Qt::LeftButton) {
            for (QtViloPlotCurve *curve : m_plot->curves()) {
                for (const QRect &rect : m_legendItem->legendGeometries(curve)) {
                    if (rect.contains(mouse->pos())) {
                        m_plot->setSelectedCurve(curve);
                        return true;
                    }
                }
            }
        }
    }
    return QWidget::eventFilter(watched, event);
}
