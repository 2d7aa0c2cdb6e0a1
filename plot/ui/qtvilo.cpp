#include "plot/ui/qtvilo.h"

#include "monitor/core/remotememprocessed.h"

#include "plot/ui/qtviloplotitemsmodel.h"

#include <QHeaderView>
#include <QTableView>
#include <QVBoxLayout>

#include <qwt_plot.h>
#include <qwt_plot_grid.h>

namespace {
// Children of the list until a dock takes them, hidden so they do not paint inside it.
QwtPlot *makePlotView(QWidget *owner, const QString &title, const QString &xTitle,
                      const QString &yTitle)
{
    auto *plot = new QwtPlot(owner);
    plot->hide();
    plot->setObjectName(title);
    plot->setCanvasBackground(Qt::white);
    plot->setAxisTitle(QwtPlot::xBottom, xTitle);
    plot->setAxisTitle(QwtPlot::yLeft, yTitle);
    auto *grid = new QwtPlotGrid;
    grid->setMajorPen(QColor(0xd0, 0xd5, 0xdb), 0, Qt::DotLine);
    grid->attach(plot);
    plot->setMinimumWidth(240);
    return plot;
}
} // namespace

QtVilo::QtVilo(QWidget *parent)
    : QWidget(parent), m_model(new QtViloPlotItemsModel(this)), m_itemsView(new QTableView(this))
{
    setWindowTitle(tr("Plot Items List"));
    m_itemsView->setModel(m_model);
    m_itemsView->horizontalHeader()->setStretchLastSection(true);
    m_itemsView->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_itemsView->verticalHeader()->hide();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_itemsView);

    m_plots[0] = makePlotView(this, tr("Signal Plot"), tr("Samples"), tr("Amplitude"));
    m_plots[1] = makePlotView(this, tr("DSP Plot"), tr("Frequency"), tr("Magnitude"));
}

QwtPlot *QtVilo::plotView(int index) const
{
    return m_plots[index == 0 ? 0 : 1];
}

void QtVilo::keyOperation(int which)
{
    switch (which) {
    case 0:
        for (QwtPlot *plot : m_plots)
            plot->replot();
        break;
    case 1:
        m_itemsView->selectAll();
        break;
    case 2:
        m_model->removeAllRows();
        break;
    default:
        break;
    }
}

void QtVilo::openFiles(const QStringList &paths)
{
    m_model->AppendRows(paths, false);
}

void QtVilo::clearOnFirstVirtualPlot()
{
    m_clearOnFirstVirtualPlot = true;
}

void QtVilo::onVirtualPlotItemConnected(const QString &ItemParameters)
{
    if (m_clearOnFirstVirtualPlot) {
        m_model->removeAllRows();
        m_clearOnFirstVirtualPlot = false;
    }
    m_model->AppendRows(QStringList{ItemParameters}, true);
    // Nothing reads the client's memory yet: the request is done as soon as it is listed,
    // and the waiting client may go on.
    RemoteMemProcessed.release();
}
