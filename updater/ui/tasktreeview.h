// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QTreeView>

class QMimeData;
class TreeModel;

// The task list: rows are dragged to reorder the tasks, firmware files dropped on it become
// tasks, and whatever else is dropped is handed back.
class TaskTreeView : public QTreeView
{
    Q_OBJECT
public:
    explicit TaskTreeView(TreeModel *model, QWidget *parent = nullptr);

    // Firmware files become tasks before the row (appended when -1); the rest goes out through
    // UnsupportedFilesDropped.
    void takeDroppedUrls(const QMimeData *mimeData, int row = -1);

signals:
    void UnsupportedFilesDropped(QStringList &paths);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    bool isInternalDrag(const QDropEvent *event) const;
    // The row a drop at the point lands before: the nearer edge of the row under it.
    int dropRow(const QPoint &pos) const;

    TreeModel *m_model;
};
