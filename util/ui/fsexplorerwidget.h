// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QStringList>
#include <QWidget>

class FileSystemModel;
class QAction;
class QComboBox;
class QFileSystemModel;
class QMenu;
class QModelIndex;
class QToolButton;
class QTreeView;
class TreeComboBox;

// Compact file browser shown as the drop-down of the main toolbar's open button.
// It never acts on other tools itself: it emits requests that the main window wires, and asks
// the main window by method name for the plot formats (util must not know the plot tool).
class FsExplorerWidget : public QWidget
{
    Q_OBJECT
public:
    // What a context menu entry does, kept in its action's data.
    enum MenuCommand { PlotCommand, TaskCommand, TextCommand, CopyCommand, RunCommand };

    explicit FsExplorerWidget(QWidget *parent = nullptr);

    QString currentFolder() const;
    // Goes to a folder (native or not, absolute or relative to the current one); false when
    // the text names no folder.
    bool setCurrentFolder(const QString &path);
    // Selected files of the list in row order, without "..".
    QStringList selectedPaths() const;

    // The file list's menu for a right-click at pos (viewport coordinates). A click on a row
    // outside the selection selects that row alone first. The caller owns the menu.
    QMenu *buildContextMenu(const QPoint &pos);
    // The files the last built menu acts on.
    QStringList contextMenuPaths() const { return m_menuPaths; }

    QTreeView *fileView() const { return m_fileView; }
    FileSystemModel *fileModel() const { return m_fileModel; }
    QFileSystemModel *dirModel() const { return m_dirModel; }
    TreeComboBox *pathBox() const { return m_pathBox; }
    QComboBox *filterBox() const { return m_filterBox; }
    QToolButton *homeButton() const { return m_homeBtn; }
    QToolButton *parentButton() const { return m_parentBtn; }

signals:
    void PlotRequest(const QStringList &paths, const bool &asMemory);
    void TaskQueueRequest(const QStringList &paths);
    void OpenTextRequest(QStringList &paths);
    void RunExtApp(const QString &path);

public slots:
    void onFileModelDirectoryLoaded(const QString &path);
    void onDirModelDirectoryLoaded(const QString &path);
    void onFileTreeViewDoubleClicked(const QModelIndex &index);
    void onHomeBtnClicked();
    void onParentBtnClicked();
    void onFsFileModelRootPathChanged(const QString &newPath);
    void onCurrentPathCbxIndexActivated(int index);
    void onCurrentPathCbxTextChanged(const QString &text);
    void onFilterTextChanged(const QString &text);
    void onChangeCurrentPathActTriggered();
    void onFileTreeViewContextMenuRequest(const QPoint &pos);
    void onPlotItemsViewContextMenuTriggered(QAction *action);
    void onPlotAsMenuTriggered(QAction *action);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *mainWindow() const;
    void showFolderInPathBox(const QString &folder);

    QFileSystemModel *m_dirModel;
    FileSystemModel *m_fileModel;
    TreeComboBox *m_pathBox;
    QComboBox *m_filterBox;
    QTreeView *m_fileView;
    QToolButton *m_homeBtn;
    QToolButton *m_parentBtn;
    QStringList m_menuPaths;
};
