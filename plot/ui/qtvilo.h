#pragma once

#include <QWidget>

class QTableView;
class QwtPlot;
class QtViloPlotItemsModel;

// The plot tool's list panel ("Plot Items List"); it hands out the two plot views.
class QtVilo : public QWidget
{
    Q_OBJECT
public:
    explicit QtVilo(QWidget *parent = nullptr);

    QtViloPlotItemsModel *model() const { return m_model; }
    QwtPlot *plotView(int index) const;
    QTableView *itemsView() const { return m_itemsView; }

    // The three keyboard operations the main window routes F8, F9 and F10 to.
    void keyOperation(int which);

public slots:
    // The file-open entry: the plot tool decides by content what it can plot.
    void openFiles(const QStringList &paths);
    void clearOnFirstVirtualPlot();
    void onVirtualPlotItemConnected(const QString &ItemParameters);

private:
    QtViloPlotItemsModel *m_model;
    QTableView *m_itemsView;
    QwtPlot *m_plots[2];
    bool m_clearOnFirstVirtualPlot = false;
};
