// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/ui/qtviloplotaxes.h"
#include "plot/ui/qtviloplotviewsettings.h"

#include <QSet>
#include <QWidget>

#include <functional>

class QAction;
class QComboBox;
class QDateTime;
class QToolBar;
class QToolButton;
class QtViloPlot;
class QtViloPlotItemsModel;
class QtViloPlotLegendItem;
class QtViloPlotMarkers;
class QtViloZoomer;
class QwtLegend;

// One of the plot tool's two plots with its tool bar: unit selectors, the DSP choice (DSP plot
// only), the auxiliary-axis menu, markers, zoom history and locks, overlay toggles, PDF export
// and the plot settings. The row is a tool bar so that what does not fit a narrow dock goes
// into its overflow menu.
//
// Every curve of the plot gets its time (or bin-frequency) factor and amplitude factor from its
// item's row in the items model; the auxiliary axes and the marker readout follow the
// selected curve.
class QtViloPlotView : public QWidget
{
    Q_OBJECT

public:
    QtViloPlotView(QtViloPlot *plot, QtViloPlotItemsModel *model, QWidget *parent = nullptr);
    ~QtViloPlotView() override;

    QtViloPlot *plot() const { return m_plot; }
    bool isDspView() const { return m_dsp; }
    QtViloPlotAxes *axes() const { return m_axes; }
    QtViloPlotMarkers *markers() const { return m_markers; }
    // Null when the plot's zoomer is a plain one (no locks then).
    QtViloZoomer *zoomer() const;

    QToolBar *toolBar() const { return m_toolBar; }
    QComboBox *timeUnitBox() const { return m_timeBox; }
    QComboBox *amplitudeUnitBox() const { return m_amplitudeBox; }
    // The DSP view's selectors; null on the signal view.
    QComboBox *frequencyUnitBox() const { return m_frequencyBox; }
    QComboBox *dspChoiceBox() const { return m_dspBox; }
    QComboBox *windowBox() const { return m_windowBox; }
    // The signal view's enable switch; null on the DSP view.
    QToolButton *enableButton() const { return m_enableButton; }
    QToolButton *axisButton() const { return m_axisButton; }
    QAction *axisAction(QtViloPlotAxes::Option option) const { return m_axisActions[option]; }

    enum Tool {
        MarkersTool,
        PersistenceTool,
        MaxMinTool,
        ZoomBackTool,
        ZoomHomeTool,
        ZoomForwardTool,
        LockXTool,
        LockYTool,
        ExportTool,
        SettingsTool,
        ToolCount
    };
    QAction *toolAction(Tool tool) const { return m_tools[tool]; }

    // "Signal" or "Dsp": the prefix of this view's settings groups and keys.
    QString settingsName() const
    {
        return m_dsp ? QStringLiteral("Dsp") : QStringLiteral("Signal");
    }
    QtViloPlotViewSettings settings() const { return m_settings; }
    // Applies the options to the plot and stores them.
    void setSettings(const QtViloPlotViewSettings &values);

    // The request the DSP selectors stand for ("None", or the choice and window joined by
    // ";"); empty while no DSP is chosen.
    QString dspRequest() const;

    // Writes the plot as it is shown to a PDF; false when nothing could be written.
    bool exportPdf(const QString &path);
    // By the path's suffix: ".png" and ".svg" at the plot's size on screen, anything else
    // as a PDF. False when nothing could be written.
    bool exportTo(const QString &path);
    static QString defaultPdfFileName(const QDateTime &when);

public slots:
    // Recomputes every curve's factors from its item's row and updates axes and markers.
    void updateScaleFactors();
    void openSettingsDialog();
    // Asks for a file and its format (PDF, PNG or SVG) and writes the plot to it.
    void exportPdfWithDialog();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildToolBar();
    QComboBox *addUnitBox(const QString &icon, const QString &toolTip, const QStringList &entries,
                          const QString &name,
                          const std::function<QString(const QString &)> &unitOf);
    QAction *addTool(Tool tool, const QString &icon, const QString &toolTip, bool checkable);
    void loadAxisSettings();
    void saveAxisSettings() const;
    void onAxisOptionToggled();
    void onDspChoiceChanged();
    void onCurvesChanged();
    void onSelectedCurveChanged();
    void onModelDataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight);
    void onLockToggled();
    void computeFactors();
    void updateAxes(bool replot);
    void updateZoomButtons();
    void applyLegend();
    void applyCurveStyle();
    void syncLegendChecks();
    void applyPovSettings();
    bool isFft() const;

    QtViloPlot *m_plot;
    QtViloPlotItemsModel *m_model;
    bool m_dsp;
    QtViloPlotAxes *m_axes;
    QtViloPlotMarkers *m_markers;
    QtViloPlotViewSettings m_settings;
    QtViloPlotLegendItem *m_legendItem = nullptr;
    QwtLegend *m_legend = nullptr;

    QToolBar *m_toolBar = nullptr;
    QComboBox *m_timeBox = nullptr;
    QComboBox *m_amplitudeBox = nullptr;
    QComboBox *m_frequencyBox = nullptr;
    QComboBox *m_dspBox = nullptr;
    QComboBox *m_windowBox = nullptr;
    QToolButton *m_enableButton = nullptr;
    QToolButton *m_axisButton = nullptr;
    QAction *m_axisActions[QtViloPlotAxes::OptionCount] = {};
    QAction *m_tools[ToolCount] = {};

    // Items that had a curve at the last change, and every item seen with one while it is in
    // the list: new ones reset the zoom for "new curve", returning ones for "visibility".
    QSet<const void *> m_curveItems;
    QSet<const void *> m_seenItems;
};
