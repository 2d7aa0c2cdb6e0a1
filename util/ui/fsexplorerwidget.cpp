#include "util/ui/fsexplorerwidget.h"

#include <QDir>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QMenu>
#include <QTreeView>
#include <QVBoxLayout>

FsExplorerWidget::FsExplorerWidget(QWidget *parent)
    : QWidget(parent), m_fileModel(new QFileSystemModel(this)), m_fileView(new QTreeView(this))
{
    m_fileModel->setReadOnly(true);
    m_fileModel->setFilter(QDir::AllEntries | QDir::NoDot | QDir::AllDirs);
    const QString root = QDir::currentPath();
    m_fileModel->setRootPath(root);

    m_fileView->setModel(m_fileModel);
    m_fileView->setRootIndex(m_fileModel->index(root));
    m_fileView->setItemsExpandable(false);
    m_fileView->setRootIsDecorated(false);
    m_fileView->setUniformRowHeights(true);
    m_fileView->setAlternatingRowColors(true);
    m_fileView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_fileView->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_fileView->setContextMenuPolicy(Qt::CustomContextMenu);
    m_fileView->setMinimumWidth(450);
    m_fileView->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->addWidget(m_fileView);

    connect(m_fileView, &QTreeView::doubleClicked, this,
            &FsExplorerWidget::onFileTreeViewDoubleClicked);
    connect(m_fileView, &QTreeView::customContextMenuRequested, this,
            &FsExplorerWidget::onFileTreeViewContextMenuRequest);
}

QStringList FsExplorerWidget::selectedPaths() const
{
    QStringList paths;
    for (const QModelIndex &index : m_fileView->selectionModel()->selectedRows())
        paths << m_fileModel->filePath(index);
    return paths;
}

void FsExplorerWidget::onFileTreeViewDoubleClicked(const QModelIndex &index)
{
    const QFileInfo info = m_fileModel->fileInfo(index);
    if (info.isDir()) {
        const QString path = info.fileName() == QLatin1String("..")
                                 ? QDir(m_fileModel->rootPath()).absoluteFilePath("..")
                                 : info.absoluteFilePath();
        const QString clean = QDir::cleanPath(path);
        m_fileModel->setRootPath(clean);
        m_fileView->setRootIndex(m_fileModel->index(clean));
        return;
    }
    if (info.isExecutable()) {
        emit RunExtApp(info.absoluteFilePath());
        return;
    }
    QStringList paths{info.absoluteFilePath()};
    emit OpenTextRequest(paths);
}

void FsExplorerWidget::onFileTreeViewContextMenuRequest(const QPoint &pos)
{
    QStringList paths = selectedPaths();
    if (paths.isEmpty())
        return;
    QMenu menu(this);
    QAction *plot = menu.addAction(QIcon("://Images/replot.png"), tr("Plot"));
    QAction *task = menu.addAction(QIcon("://Images/add_red.png"), tr("Add to Files Task"));
    QAction *text = menu.addAction(QIcon("://Images/linenumbers.png"), tr("Open as Text"));
    QAction *chosen = menu.exec(m_fileView->viewport()->mapToGlobal(pos));
    if (chosen == plot)
        emit PlotRequest(paths, false);
    else if (chosen == task)
        emit TaskQueueRequest(paths);
    else if (chosen == text)
        emit OpenTextRequest(paths);
}
