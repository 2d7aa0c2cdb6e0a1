// SPDX-License-Identifier: LGPL-3.0-or-later
// Opening files: the dispatch by suffix, editor docks, recent files and drops.
#include "shell/ui/mainwindow.h"

#include "plot/core/qtviloformats.h"
#include "plot/ui/qtvilo.h"
#include "plot/ui/qtviloplotitemsmodel.h"
#include "shell/ui/dockwidget.h"
#include "updater/ui/tasktreeview.h"
#include "updater/ui/treemodel.h"
#include "updater/ui/updaterpanel.h"
#include "util/core/recentfiles.h"
#include "util/ui/notify.h"
#include "viewer/ui/editorpanel.h"

#include <QAction>
#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QMenu>
#include <QMimeData>
#include <QUrl>

namespace {
const QStringList &knownExtensions()
{
    static const QStringList extensions{".txt", ".log", ".c",   ".cpp", ".h",    ".bat",
                                        ".sh",  ".asc", ".okv", ".mcs", ".mmcs", ".zip"};
    return extensions;
}

bool isFirmwareExtension(const QString &extension)
{
    return extension == QLatin1String(".mcs") || extension == QLatin1String(".mmcs") ||
           extension == QLatin1String(".zip");
}

// The text from the last "." to the end, lower-cased; empty when there is no ".".
QString extensionOf(const QString &path)
{
    const int dot = path.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : path.mid(dot).toLower();
}
} // namespace

void MainWindow::openFiles(QStringList &FileList)
{
    if (FileList.isEmpty())
        return;
    QStringList firmware;
    QStringList plotFiles;
    for (const QString &path : qAsConst(FileList)) {
        if (!QFileInfo::exists(path)) {
            Notify::information(this, tr("File Error"),
                                tr("The selected file:\n\n %1\n\n could not be found!").arg(path));
            continue;
        }
        const QString extension = extensionOf(path);
        if (!knownExtensions().contains(extension))
            plotFiles << path;
        else if (isFirmwareExtension(extension))
            firmware << path;
        else
            openTextFile(path);
    }
    if (!firmware.isEmpty())
        m_updaterPanel->taskModel()->AppendRows(firmware);
    if (!plotFiles.isEmpty())
        m_plotList->openFiles(plotFiles);
}

QStringList MainWindow::plotFormatNames() const
{
    return QtViloFormats::displayTexts();
}

QString MainWindow::currentPlotFormat() const
{
    return m_plotList->model()->defaults().Format;
}

void MainWindow::plotFilesAs(const QStringList &paths, const QString &format)
{
    QtViloPlotItemsModel *model = m_plotList->model();
    QtViloPlotItemDefaults defaults = model->defaults();
    defaults.Format = format;
    // Stored as the defaults dialog stores them, so the choice is still there next time.
    savePlotItemDefaults(defaults);
    emit model->PlotItemDefaultValueChanged(defaults);
    model->AppendRows(paths, false);
}

void MainWindow::openTextFiles(QStringList &FilePathList)
{
    for (const QString &path : qAsConst(FilePathList))
        openTextFile(path);
}

void MainWindow::openTextFile(const QString &path)
{
    if (DockWidget *dock = editorDockFor(path)) {
        if (auto *panel = qobject_cast<EditorPanel *>(dock->panel()))
            panel->reloadFile();
        dock->clearTabModified();
        dock->show();
        dock->raise();
        return;
    }
    createDockWidget(path);
}

DockWidget *MainWindow::editorDockFor(const QString &path) const
{
    const QString wanted = QFileInfo(path).absoluteFilePath();
    for (DockWidget *dock : m_editorDocks) {
        if (QFileInfo(dock->filePath()).absoluteFilePath() == wanted)
            return dock;
    }
    return nullptr;
}

DockWidget *MainWindow::createDockWidget(const QString &FileName, EditorPanel *ExtraEditor)
{
    EditorPanel *panel = ExtraEditor ? ExtraEditor : new EditorPanel;
    panel->setMaximumSize(maximumSize());
    auto *dock = new DockWidget(panel, this);
    const QString title = tr("Editor %1: ").arg(++m_editorCounter) + QFileInfo(FileName).fileName();
    dock->setObjectName(title);
    dock->setBaseTitle(title);
    dock->setToolTip(FileName);
    dock->makeEditorDock(FileName);
    registerDock(dock);
    m_editorDocks << dock;
    connect(dock, &DockWidget::removed, this, [this](DockWidget *gone) {
        m_editorDocks.removeAll(gone);
        if (m_lastFocusedPanel == gone->panel())
            m_lastFocusedPanel = nullptr;
    });

    if (DockWidget *largest = findLargestDockWidget())
        tabifyDockWidget(largest, dock);
    else
        addDockWidget(Qt::TopDockWidgetArea, dock);
    panel->openFile(FileName);

    auto *watcher = new QFileSystemWatcher(QStringList{FileName}, dock);
    connect(watcher, &QFileSystemWatcher::fileChanged, dock, &DockWidget::setTabModified);
    connect(watcher, &QFileSystemWatcher::fileChanged, panel, &EditorPanel::onWatchedFileChanged);
    // The panel's own reload reads the file afresh, as re-opening it does.
    connect(panel, &EditorPanel::FileLoaded, dock, &DockWidget::clearTabModified);

    m_viewMenu->addAction(dock->toggleViewAction());
    connect(dock, &QDockWidget::topLevelChanged, panel, &TextPanel::enableShortcuts);
    dock->show();
    dock->raise();
    return dock;
}

void MainWindow::destroyDockWidget()
{
    if (auto *dock = qobject_cast<DockWidget *>(sender()))
        dock->destroyDockWidget();
}

void MainWindow::onCloseAllEditorsTriggered()
{
    const QList<DockWidget *> docks = m_editorDocks;
    for (DockWidget *dock : docks)
        dock->destroyDockWidget();
}

void MainWindow::onOpenFileBtnClicked()
{
    QStringList paths = QFileDialog::getOpenFileNames(
        this, tr("Open File"), QDir::currentPath(),
        tr("Text Files (*.log *.txt *.c *.cpp *.h *.bat *.sh *.asc *.okv *.mcs *.mmcs *.zip);;"
           "All files (*.*)"));
    openFiles(paths);
}

DockWidget *MainWindow::findLargestDockWidget()
{
    DockWidget *largest = nullptr;
    qint64 largestArea = -1;
    for (DockWidget *dock : allDocks()) {
        if (!dock->isVisible() || dock->isFloating())
            continue;
        const qint64 area = qint64(dock->width()) * dock->height();
        if (area > largestArea) {
            largestArea = area;
            largest = dock;
        }
    }
    return largest;
}

void MainWindow::updateRecentFileActions()
{
    const QStringList paths = RecentFiles::paths();
    const int shown = qMin(paths.size(), int(RecentFiles::MaxCount));
    for (int i = 0; i < m_recentFileActs.size(); ++i) {
        QAction *action = m_recentFileActs.at(i);
        if (i < shown) {
            action->setText(tr("%1. %2").arg(i + 1).arg(paths.at(i)));
            action->setData(paths.at(i));
            action->setVisible(true);
        } else {
            action->setVisible(false);
        }
    }
    if (m_recentMenu)
        m_recentMenu->setEnabled(shown > 0);
}

void MainWindow::onFileMenuTriggered(QAction *action)
{
    if (!m_recentFileActs.contains(action))
        return;
    QStringList paths{action->data().toString()};
    openFiles(paths);
}

void MainWindow::openRecentFile()
{
    if (auto *action = qobject_cast<QAction *>(sender()))
        onFileMenuTriggered(action);
}

void MainWindow::onMonitorFileLoaded(const QString &, const QString &CurrentFilePath)
{
    m_monitorDock->setToolTip(CurrentFilePath);
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void MainWindow::dragMoveEvent(QDragMoveEvent *event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent *event)
{
    if (!event->mimeData()->hasUrls())
        return;
    redirectDrop(event->mimeData(), event->pos());
    event->acceptProposedAction();
}

void MainWindow::redirectDrop(const QMimeData *mimeData, const QPoint &dropsite)
{
    TaskTreeView *taskList = m_updaterPanel->taskList();
    QWidget *target = childAt(dropsite);
    if (target && (target == taskList || taskList->isAncestorOf(target))) {
        QMimeData copy;
        copy.setUrls(mimeData->urls());
        taskList->takeDroppedUrls(&copy);
        return;
    }
    QStringList paths;
    for (const QUrl &url : mimeData->urls())
        paths << url.toLocalFile();
    openFiles(paths);
}
