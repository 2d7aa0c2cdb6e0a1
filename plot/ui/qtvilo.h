// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QWidget>

class QAction;
class QMenu;
class QSpinBox;
class QTableView;
class QToolButton;
class QtViloPlot;
class QtViloPlotItemsModel;
class QtViloPlotView;

// The plot tool's list panel ("Plot Items List"): the items model in a table, the list's
// settings and operations, and the two plot views it hands out to the main window.
class QtVilo : public QWidget
{
    Q_OBJECT
public:
    explicit QtVilo(QWidget *parent = nullptr);

    QtViloPlotItemsModel *model() const { return m_model; }
    // The signal plot's view (0) and the DSP plot's view (1), each a tool bar over its plot.
    QWidget *plotView(int index) const;
    QtViloPlotView *signalView() const { return m_signalView; }
    QtViloPlotView *dspView() const { return m_dspView; }
    QtViloPlot *signalPlot() const { return m_signalPlot; }
    QtViloPlot *dspPlot() const { return m_dspPlot; }
    QTableView *itemsView() const { return m_itemsView; }

    // F8 reads every item again and replots, F9 toggles the visibility of the selected
    // rows, F10 clears the list.
    void keyOperation(int which);

public slots:
    // The file-open entry: the plot tool decides by content what it can plot.
    void openFiles(const QStringList &paths);
    void clearOnFirstVirtualPlot();
    void onVirtualPlotItemConnected(const QString &ItemParameters);

private slots:
    void onPlotItemsChanged();
    void onPlotDataUpdated(const quint64 &serial);
    void onDspDataUpdated(const quint64 &serial);
    void onContextMenuRequested(const QPoint &pos);
    void onDefaultsBtnClicked();
    void onQuickLinkToggled();
    void toggleSelectedVisibility();
    void removeSelectedRows();
    void replicateItems(bool selectedOnly);
    void copyPaths(bool foldersOnly);

private:
    QList<int> selectedRows() const;
    void buildToolBar(QWidget *bar);
    void loadSettings();
    void saveSettings() const;

    QtViloPlotItemsModel *m_model;
    QTableView *m_itemsView;
    QtViloPlot *m_signalPlot;
    QtViloPlot *m_dspPlot;
    QtViloPlotView *m_signalView;
    QtViloPlotView *m_dspView;
    // DSP results arrive one item at a time; one replot takes all that came in meanwhile.
    bool m_dspReplotPending = false;
    quint64 m_dspSerial = 0;
    QToolButton *m_memMapBtn = nullptr;
    QSpinBox *m_targetPlotCnt = nullptr;
    QMenu *m_quickLinkMenu = nullptr;
    QAction *m_linkIncrement = nullptr;
    QAction *m_linkValue = nullptr;
    // Parameter links by settings key, with the column each one links.
    QList<QPair<QAction *, int>> m_columnLinks;
    bool m_clearOnFirstVirtualPlot = false;
};
