#pragma once

#include <QTreeView>

class QMimeData;
class TreeModel;

// The task list: takes firmware files dropped on it and hands back what it cannot use.
class TaskTreeView : public QTreeView
{
    Q_OBJECT
public:
    explicit TaskTreeView(TreeModel *model, QWidget *parent = nullptr);

    // Firmware files become tasks; the rest goes out through UnsupportedFilesDropped.
    void takeDroppedUrls(const QMimeData *mimeData);

signals:
    void UnsupportedFilesDropped(QStringList &paths);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    TreeModel *m_model;
};
