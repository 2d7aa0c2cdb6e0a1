#pragma once

#include <QWidget>

class QFileSystemModel;
class QTreeView;

// Compact file browser shown as the drop-down of the main toolbar's open button.
// It never acts on other tools itself: it emits requests that the main window wires.
class FsExplorerWidget : public QWidget
{
    Q_OBJECT
public:
    explicit FsExplorerWidget(QWidget *parent = nullptr);

    QStringList selectedPaths() const;

signals:
    void PlotRequest(const QStringList &paths, const bool &asMemory);
    void TaskQueueRequest(const QStringList &paths);
    void OpenTextRequest(QStringList &paths);
    void RunExtApp(const QString &path);

private slots:
    void onFileTreeViewDoubleClicked(const QModelIndex &index);
    void onFileTreeViewContextMenuRequest(const QPoint &pos);

private:
    QFileSystemModel *m_fileModel;
    QTreeView *m_fileView;
};
