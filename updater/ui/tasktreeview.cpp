#include "updater/ui/tasktreeview.h"

#include "updater/ui/treemodel.h"

#include <QDragEnterEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

namespace {
bool isTaskFile(const QString &path)
{
    static const QStringList suffixes{"mcs", "mmcs", "lic", "bit"};
    return suffixes.contains(QFileInfo(path).suffix().toLower());
}
} // namespace

TaskTreeView::TaskTreeView(TreeModel *model, QWidget *parent) : QTreeView(parent), m_model(model)
{
    setModel(model);
    setRootIsDecorated(false);
    setAlternatingRowColors(true);
    setUniformRowHeights(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setAcceptDrops(true);
}

void TaskTreeView::takeDroppedUrls(const QMimeData *mimeData)
{
    QStringList tasks;
    QStringList unsupported;
    for (const QUrl &url : mimeData->urls()) {
        const QString path = url.toLocalFile();
        (isTaskFile(path) ? tasks : unsupported) << path;
    }
    m_model->AppendRows(tasks);
    if (!unsupported.isEmpty())
        emit UnsupportedFilesDropped(unsupported);
}

void TaskTreeView::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void TaskTreeView::dragMoveEvent(QDragMoveEvent *event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void TaskTreeView::dropEvent(QDropEvent *event)
{
    if (!event->mimeData()->hasUrls())
        return;
    takeDroppedUrls(event->mimeData());
    event->acceptProposedAction();
}
