// SPDX-License-Identifier: LGPL-3.0-or-later
#include "updater/ui/tasktreeview.h"

#include "updater/ui/treemodel.h"

#include <QDragEnterEvent>
#include <QHeaderView>
#include <QMimeData>
#include <QUrl>

TaskTreeView::TaskTreeView(TreeModel *model, QWidget *parent) : QTreeView(parent), m_model(model)
{
    setModel(model);
    setRootIsDecorated(false);
    setAlternatingRowColors(true);
    setUniformRowHeights(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setDropIndicatorShown(true);
    header()->setStretchLastSection(true);
}

void TaskTreeView::takeDroppedUrls(const QMimeData *mimeData, int row)
{
    if (!mimeData)
        return;
    QStringList unsupported;
    for (const QUrl &url : mimeData->urls()) {
        if (!url.isLocalFile())
            unsupported << url.toString();
        else if (!TreeModel::isTaskFile(url.toLocalFile()))
            unsupported << url.toLocalFile();
    }
    // The model takes the local firmware files itself and leaves the rest.
    m_model->dropMimeData(mimeData, Qt::CopyAction, row, 0, QModelIndex());
    if (!unsupported.isEmpty())
        emit UnsupportedFilesDropped(unsupported);
}

bool TaskTreeView::isInternalDrag(const QDropEvent *event) const
{
    // Another list sends the same type with its own paths; only our own drag moves rows.
    return event->source() == this || m_model->isOwnDrag(event->mimeData());
}

int TaskTreeView::dropRow(const QPoint &pos) const
{
    const QModelIndex index = indexAt(pos);
    if (!index.isValid())
        return -1;
    return pos.y() < visualRect(index).center().y() ? index.row() : index.row() + 1;
}

void TaskTreeView::dragEnterEvent(QDragEnterEvent *event)
{
    QTreeView::dragEnterEvent(event);
    // Files the list cannot use are accepted too, so that they can be handed back.
    if (isInternalDrag(event) || event->mimeData()->hasUrls()) {
        setState(DraggingState);
        event->acceptProposedAction();
    }
}

void TaskTreeView::dragMoveEvent(QDragMoveEvent *event)
{
    QTreeView::dragMoveEvent(event);
    if (isInternalDrag(event) || event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void TaskTreeView::dropEvent(QDropEvent *event)
{
    if (isInternalDrag(event)) {
        QList<int> rows;
        for (const QModelIndex &index : selectionModel()->selectedRows())
            rows << index.row();
        const int row = dropRow(event->pos());
        m_model->moveTasks(rows, row < 0 ? m_model->rowCount() : row);
        // Moved already: a Move result would make the drag's source remove the selected rows
        // afterwards. The drag only offers Move, so the one other result is "nothing to do".
        event->setDropAction(Qt::IgnoreAction);
        event->accept();
        stopAutoScroll();
        setState(NoState);
        viewport()->update();
        return;
    }
    if (!event->mimeData()->hasUrls()) {
        QTreeView::dropEvent(event);
        // Paths from another list are copied, never taken away from it.
        if (event->isAccepted() && (event->possibleActions() & Qt::CopyAction))
            event->setDropAction(Qt::CopyAction);
        return;
    }
    takeDroppedUrls(event->mimeData(), dropRow(event->pos()));
    event->acceptProposedAction();
    stopAutoScroll();
    setState(NoState);
    viewport()->update();
}
