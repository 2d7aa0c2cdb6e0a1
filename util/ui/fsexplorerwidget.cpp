// SPDX-License-Identifier: LGPL-3.0-or-later
#include "util/ui/fsexplorerwidget.h"

#include "util/ui/filesystemmodel.h"
#include "util/ui/treecombobox.h"

#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMainWindow>
#include <QContextMenuEvent>
#include <QMenu>
#include <QRegularExpression>
#include <QSettings>
#include <QToolButton>
#include <QTreeView>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>

namespace {
const QString SettingsGroup = QStringLiteral("FSExplorerSettings");
const QString RecentPathKey = QStringLiteral("MostRecentPath");
const QString ParentEntry = QStringLiteral("..");

bool offersPlotMethods(const QWidget *window)
{
    return qobject_cast<const QMainWindow *>(window) &&
           window->metaObject()->indexOfMethod("plotFormatNames()") >= 0;
}
} // namespace

FsExplorerWidget::FsExplorerWidget(QWidget *parent)
    : QWidget(parent), m_dirModel(new QFileSystemModel(this)),
      m_fileModel(new FileSystemModel(this)), m_pathBox(new TreeComboBox(this)),
      m_filterBox(new QComboBox(this)), m_fileView(new QTreeView(this)),
      m_homeBtn(new QToolButton(this)), m_parentBtn(new QToolButton(this))
{
    m_dirModel->setReadOnly(true);
    m_dirModel->setFilter(QDir::AllDirs | QDir::NoDotAndDotDot);
    m_pathBox->setFileSystemModel(m_dirModel);
    m_pathBox->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    m_homeBtn->setIcon(QIcon(QStringLiteral("://Images/home.png")));
    m_homeBtn->setToolTip(tr("Return to this application directory"));
    m_parentBtn->setIcon(QIcon(QStringLiteral("://Images/UpToParent.png")));
    m_parentBtn->setToolTip(tr("Go to parent folder"));
    m_filterBox->setEditable(true);

    m_fileView->setModel(m_fileModel);
    m_fileView->setItemsExpandable(false);
    m_fileView->setRootIsDecorated(false);
    m_fileView->setUniformRowHeights(true);
    m_fileView->setAlternatingRowColors(true);
    m_fileView->setSortingEnabled(true);
    m_fileView->sortByColumn(0, Qt::AscendingOrder);
    m_fileView->setDragEnabled(true);
    m_fileView->setDragDropMode(QAbstractItemView::DragOnly);
    m_fileView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_fileView->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_fileView->setContextMenuPolicy(Qt::CustomContextMenu);
    m_fileView->viewport()->installEventFilter(this); // right-clicks, see eventFilter
    m_fileView->setMinimumWidth(450);
    // A drop-down that shows only a handful of rows makes every folder a scrolling job.
    m_fileView->setMinimumHeight(320);

    auto *pathGroup = new QGroupBox(tr("Folder Path"), this);
    auto *pathLayout = new QHBoxLayout(pathGroup);
    pathLayout->setContentsMargins(2, 2, 2, 2);
    pathLayout->addWidget(m_homeBtn);
    pathLayout->addWidget(m_parentBtn);
    pathLayout->addWidget(m_pathBox);
    auto *filterGroup = new QGroupBox(tr("Filter"), this);
    auto *filterLayout = new QHBoxLayout(filterGroup);
    filterLayout->setContentsMargins(2, 2, 2, 2);
    filterLayout->addWidget(m_filterBox);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->addWidget(pathGroup);
    layout->addWidget(filterGroup);
    layout->addWidget(m_fileView);

    connect(m_fileModel, &QFileSystemModel::directoryLoaded, this,
            &FsExplorerWidget::onFileModelDirectoryLoaded);
    connect(m_fileModel, &QFileSystemModel::rootPathChanged, this,
            &FsExplorerWidget::onFsFileModelRootPathChanged);
    connect(m_dirModel, &QFileSystemModel::directoryLoaded, this,
            &FsExplorerWidget::onDirModelDirectoryLoaded);
    connect(m_fileView, &QTreeView::doubleClicked, this,
            &FsExplorerWidget::onFileTreeViewDoubleClicked);
    connect(m_fileView, &QTreeView::customContextMenuRequested, this,
            &FsExplorerWidget::onFileTreeViewContextMenuRequest);
    connect(m_homeBtn, &QToolButton::clicked, this, &FsExplorerWidget::onHomeBtnClicked);
    connect(m_parentBtn, &QToolButton::clicked, this, &FsExplorerWidget::onParentBtnClicked);
    connect(m_pathBox, QOverload<int>::of(&QComboBox::activated), this,
            &FsExplorerWidget::onCurrentPathCbxIndexActivated);
    connect(m_pathBox, &QComboBox::editTextChanged, this,
            &FsExplorerWidget::onCurrentPathCbxTextChanged);
    connect(m_pathBox, &TreeComboBox::pathEntered, this,
            &FsExplorerWidget::onChangeCurrentPathActTriggered);
    connect(m_pathBox->goAction(), &QAction::triggered, this,
            &FsExplorerWidget::onChangeCurrentPathActTriggered);
    connect(m_filterBox, &QComboBox::editTextChanged, this, &FsExplorerWidget::onFilterTextChanged);

    const QString appDir = QCoreApplication::applicationDirPath();
    QSettings settings;
    settings.beginGroup(SettingsGroup);
    const QString recent = settings.value(RecentPathKey, appDir).toString();
    settings.endGroup();
    if (!setCurrentFolder(recent))
        setCurrentFolder(appDir);
}

QString FsExplorerWidget::currentFolder() const
{
    return m_fileModel->rootPath();
}

bool FsExplorerWidget::setCurrentFolder(const QString &path)
{
    QString folder = QDir::fromNativeSeparators(path.trimmed());
    if (folder.isEmpty())
        return false;
    if (QDir::isRelativePath(folder))
        folder = QDir(currentFolder()).absoluteFilePath(folder);
    if (folder.size() > 1 && folder.endsWith(QLatin1Char('/')))
        folder.chop(1);
    folder = QDir::cleanPath(folder);
    if (!QFileInfo(folder).isDir())
        return false;

    // Relative paths typed elsewhere in the program (file dialogs, tools) start here too.
    QDir::setCurrent(folder);
    m_dirModel->setRootPath(folder);
    m_fileModel->setRootPath(folder);
    const QModelIndex root = m_fileModel->index(folder);
    m_fileView->setRootIndex(root);
    m_fileView->selectionModel()->setCurrentIndex(root, QItemSelectionModel::Clear);
    // rootPathChanged does not come when the folder stays the same, yet the box may hold
    // other text by now.
    showFolderInPathBox(folder);

    QSettings settings;
    settings.beginGroup(SettingsGroup);
    settings.setValue(RecentPathKey, folder);
    return true;
}

QStringList FsExplorerWidget::selectedPaths() const
{
    const QModelIndex root = m_fileView->rootIndex();
    QModelIndexList rows = m_fileView->selectionModel()->selectedRows(0);
    std::sort(rows.begin(), rows.end(),
              [](const QModelIndex &a, const QModelIndex &b) { return a.row() < b.row(); });
    QStringList paths;
    for (const QModelIndex &index : qAsConst(rows)) {
        if (index.parent() == root && m_fileModel->fileName(index) != ParentEntry)
            paths << m_fileModel->filePath(index);
    }
    return paths;
}

QWidget *FsExplorerWidget::mainWindow() const
{
    // The window this explorer lives in first; when it is in none (a detached drop-down), any.
    for (QWidget *widget = parentWidget(); widget; widget = widget->parentWidget()) {
        if (offersPlotMethods(widget))
            return widget;
    }
    const QWidgetList windows = QApplication::topLevelWidgets();
    const auto found = std::find_if(windows.cbegin(), windows.cend(), offersPlotMethods);
    return found == windows.cend() ? nullptr : *found;
}

QMenu *FsExplorerWidget::buildContextMenu(const QPoint &pos)
{
    const QModelIndex under = m_fileView->indexAt(pos);
    QItemSelectionModel *selection = m_fileView->selectionModel();
    if (under.isValid() && !selection->isRowSelected(under.row(), under.parent())) {
        selection->setCurrentIndex(under.sibling(under.row(), 0),
                                   QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
    m_menuPaths = selectedPaths();

    QStringList formats;
    QString current;
    if (QWidget *window = mainWindow()) {
        QMetaObject::invokeMethod(window, "plotFormatNames", Qt::DirectConnection,
                                  Q_RETURN_ARG(QStringList, formats));
        QMetaObject::invokeMethod(window, "currentPlotFormat", Qt::DirectConnection,
                                  Q_RETURN_ARG(QString, current));
    }

    auto *menu = new QMenu(this);
    const QString plotText = current.isEmpty()
                                 ? tr("Plot")
                                 : tr("Plot") + QStringLiteral(" [") + current + QLatin1Char(']');
    menu->addAction(QIcon(QStringLiteral("://Images/replot.png")), plotText)->setData(PlotCommand);
    QMenu *plotAs = menu->addMenu(QIcon(QStringLiteral("://Images/graph.png")), tr("Plot as..."));
    auto *formatGroup = new QActionGroup(plotAs);
    formatGroup->setExclusive(true);
    for (const QString &format : qAsConst(formats)) {
        QAction *action = plotAs->addAction(format);
        action->setCheckable(true);
        action->setChecked(format == current);
        // The text may gain a shortcut marker from the platform; the data stays the name.
        action->setData(format);
        formatGroup->addAction(action);
    }
    menu->addAction(QIcon(QStringLiteral("://Images/add_red.png")), tr("Add to Files Task"))
        ->setData(TaskCommand);
    menu->addAction(QIcon(QStringLiteral("://Images/linenumbers.png")), tr("Open as Text"))
        ->setData(TextCommand);
    menu->addSeparator();
    menu->addAction(QIcon(QStringLiteral("://Images/copy.png")), tr("Copy Path(s)"))
        ->setData(CopyCommand);
    QAction *run = menu->addAction(QIcon(QStringLiteral("://Images/play.png")), tr("Run"));
    run->setData(RunCommand);
    const QFileInfo single(m_menuPaths.size() == 1 ? m_menuPaths.constFirst() : QString());
    run->setEnabled(m_menuPaths.size() == 1 && single.isFile() && single.isExecutable());

    connect(menu, &QMenu::triggered, this, &FsExplorerWidget::onPlotItemsViewContextMenuTriggered);
    connect(plotAs, &QMenu::triggered, this, &FsExplorerWidget::onPlotAsMenuTriggered);
    return menu;
}

bool FsExplorerWidget::eventFilter(QObject *watched, QEvent *event)
{
    // Inside the tool bar's pop-up menu the toolkit hands a right-click over in the pop-up's
    // coordinates, not the view's; its global position is right, so the row and the menu
    // are taken from that.
    if (watched == m_fileView->viewport() && event->type() == QEvent::ContextMenu) {
        const auto *menuEvent = static_cast<QContextMenuEvent *>(event);
        onFileTreeViewContextMenuRequest(
            menuEvent->reason() == QContextMenuEvent::Mouse
                ? m_fileView->viewport()->mapFromGlobal(menuEvent->globalPos())
                : menuEvent->pos());
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void FsExplorerWidget::onFileTreeViewContextMenuRequest(const QPoint &pos)
{
    const std::unique_ptr<QMenu> menu(buildContextMenu(pos));
    if (!m_menuPaths.isEmpty())
        menu->exec(m_fileView->viewport()->mapToGlobal(pos));
}

void FsExplorerWidget::onPlotItemsViewContextMenuTriggered(QAction *action)
{
    // A format of "Plot as..." comes here too, as the sub-menu's parent: its data is no command.
    if (!action || action->data().userType() != QMetaType::Int || m_menuPaths.isEmpty())
        return;
    switch (action->data().toInt()) {
    case PlotCommand:
        emit PlotRequest(m_menuPaths, false);
        break;
    case TaskCommand:
        emit TaskQueueRequest(m_menuPaths);
        break;
    case TextCommand: {
        QStringList paths = m_menuPaths;
        emit OpenTextRequest(paths);
        break;
    }
    case CopyCommand: {
        QStringList lines;
        for (const QString &path : qAsConst(m_menuPaths))
            lines << QDir::toNativeSeparators(path);
        QApplication::clipboard()->setText(lines.join(QLatin1Char('\n')).trimmed());
        break;
    }
    case RunCommand:
        emit RunExtApp(m_menuPaths.constFirst());
        break;
    default:
        break;
    }
}

void FsExplorerWidget::onPlotAsMenuTriggered(QAction *action)
{
    QWidget *window = mainWindow();
    if (!action || !window || m_menuPaths.isEmpty())
        return;
    QMetaObject::invokeMethod(window, "plotFilesAs", Qt::DirectConnection,
                              Q_ARG(QStringList, m_menuPaths),
                              Q_ARG(QString, action->data().toString()));
}

void FsExplorerWidget::showFolderInPathBox(const QString &folder)
{
    m_pathBox->setCurrentModelIndex(m_dirModel->index(folder));
    // The box shows the whole path, not the folder's name its row gives it.
    m_pathBox->setEditText(QDir::toNativeSeparators(folder));
}

void FsExplorerWidget::onFileModelDirectoryLoaded(const QString &path)
{
    if (QDir::cleanPath(path) != QDir::cleanPath(currentFolder()))
        return;
    m_fileView->resizeColumnToContents(0);
}

void FsExplorerWidget::onDirModelDirectoryLoaded(const QString &)
{
    m_pathBox->treeView()->resizeColumnToContents(0);
}

void FsExplorerWidget::onFileTreeViewDoubleClicked(const QModelIndex &index)
{
    if (!index.isValid())
        return;
    const QModelIndex name = index.sibling(index.row(), 0);
    if (m_fileModel->fileName(name) == ParentEntry) {
        onParentBtnClicked();
        return;
    }
    const QFileInfo info = m_fileModel->fileInfo(name);
    if (info.isDir())
        setCurrentFolder(info.absoluteFilePath());
    else if (info.isFile() && info.isExecutable())
        emit RunExtApp(info.absoluteFilePath());
    else
        QDesktopServices::openUrl(QUrl::fromLocalFile(info.absoluteFilePath()));
}

void FsExplorerWidget::onHomeBtnClicked()
{
    setCurrentFolder(QCoreApplication::applicationDirPath());
}

void FsExplorerWidget::onParentBtnClicked()
{
    QDir dir(currentFolder());
    if (dir.cdUp())
        setCurrentFolder(dir.absolutePath());
}

void FsExplorerWidget::onFsFileModelRootPathChanged(const QString &)
{
    m_fileModel->UpdateCurrentFolderFileSet();
}

void FsExplorerWidget::onCurrentPathCbxIndexActivated(int)
{
    // The row number is relative to its parent in the tree; the view knows which folder it was.
    const QModelIndex picked = m_pathBox->treeView()->currentIndex();
    if (picked.isValid())
        setCurrentFolder(m_dirModel->filePath(picked));
}

void FsExplorerWidget::onCurrentPathCbxTextChanged(const QString &text)
{
    m_pathBox->setToolTip(text);
}

void FsExplorerWidget::onFilterTextChanged(const QString &text)
{
    static const QRegularExpression separators(QStringLiteral("(\\ |,|\\t)"));
    m_fileModel->setNameFilters(text.split(separators, Qt::SkipEmptyParts));
    m_fileModel->UpdateCurrentFolderFileSet();
}

void FsExplorerWidget::onChangeCurrentPathActTriggered()
{
    setCurrentFolder(m_pathBox->currentText());
}
