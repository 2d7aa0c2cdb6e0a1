// SPDX-License-Identifier: LGPL-3.0-or-later
// Named layouts, the start-up layout, layout files and the dock-related View entries.
#include "shell/ui/mainwindow.h"

#include "monitor/ui/monitorpanel.h"
#include "plot/ui/qtvilo.h"
#include "shell/core/layoutfile.h"
#include "shell/core/startup.h"
#include "shell/ui/bluetitlebar.h"
#include "shell/ui/dockwidget.h"
#include "util/core/identity.h"
#include "util/ui/notify.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QFileDialog>
#include <QLayout>
#include <QMenu>
#include <QScreen>
#include <QSettings>
#include <QTabBar>
#include <QToolButton>

namespace {
constexpr char LastUsedGroup[] = "MainWindowLastUsedLayout";
constexpr char DefaultGroup[] = "MainWindowDefaultLayout";
constexpr int StateVersion = 0;

// Qt 5.15 replaces the settings file as a whole (a flushed temporary renamed over it), so a
// crash while layouts are stored leaves the previous ones; layout files go through
// LayoutFile::write, which does the same.
QSettings userSettings()
{
    return QSettings(Identity::Organization, Identity::Application);
}
} // namespace

QStringList MainWindow::restoreLayoutNames()
{
    // Names stay English as keys; marked so the menu entries get translations.
    return {QStringLiteral(QT_TR_NOOP("Default")), QStringLiteral(QT_TR_NOOP("Advanced")),
            QStringLiteral(QT_TR_NOOP("Debug")), QStringLiteral(QT_TR_NOOP("Data Plot")),
            QStringLiteral(QT_TR_NOOP("Startup"))};
}

void MainWindow::applyStartupLayout()
{
    const bool lastUsed = readLastUsedStartupLayoutOption();
    (lastUsed ? m_startupLastUsedAct : m_startupDefaultAct)->setChecked(true);
    if (lastUsed) {
        if (!restoreLastUsedLayout()) {
            arrangeLayout(QStringLiteral("Default"));
            saveLastUsedLayout();
        }
    } else {
        arrangeLayout(QStringLiteral("Default"));
        saveDefaultLayout();
    }
    m_startupState = saveState(StateVersion);
    m_startupGeometry = saveGeometry();
    show();
}

bool MainWindow::arrangeLayout(const QString &name)
{
    if (name == QLatin1String("Startup"))
        return arrangeStartup();
    resetDocks();
    if (name == QLatin1String("Advanced"))
        arrangeAdvanced();
    else if (name == QLatin1String("Debug"))
        arrangeDebug();
    else if (name == QLatin1String("Data Plot"))
        arrangeDataPlot();
    else
        arrangeDefault();
    // Docks a layout leaves out stay in it, hidden, so saved states name every dock.
    for (DockWidget *dock : m_fixedDocks) {
        if (dockWidgetArea(dock) == Qt::NoDockWidgetArea) {
            addDockWidget(Qt::BottomDockWidgetArea, dock);
            dock->close();
        }
    }
    QMetaObject::invokeMethod(this, &MainWindow::connectTabBars, Qt::QueuedConnection);
    // The reset hid and showed docks with their signals blocked.
    updatePlotListPopupBtn();
    return true;
}

void MainWindow::resetDocks()
{
    // Closing and re-docking must not count as the user's floating or docking.
    const QSignalBlocker appBlocker(qApp);
    // Taken out of the layout altogether, so no split or tab group of the previous
    // arrangement carries over into the next one.
    for (DockWidget *dock : m_fixedDocks) {
        const QSignalBlocker blocker(dock);
        dock->close();
        dock->setFloating(false);
        removeDockWidget(dock);
    }
}

void MainWindow::arrangeDefault()
{
    addDockWidget(Qt::BottomDockWidgetArea, m_updaterDock);
    splitDockWidget(m_updaterDock, m_consoleDock, Qt::Vertical);
    m_updaterDock->show();
    m_consoleDock->show();
    m_monitorDock->show();
    tabifyDockWidget(m_updaterDock, m_monitorDock);
    m_plotADock->show();
    tabifyDockWidget(m_updaterDock, m_plotADock);
    m_updaterDock->raise();

    const QRect available = screen() ? screen()->availableGeometry() : QRect(0, 0, 1280, 900);
    const QSize size(qMin(1200, available.width() * 9 / 10),
                     qMin(800, available.height() * 9 / 10));
    resize(size);
    move(available.center() - QPoint(size.width() / 2, size.height() / 2));
    resizeDocks({m_updaterDock}, {size.width()}, Qt::Horizontal);
    resizeDocks({m_updaterDock, m_consoleDock}, {size.height() * 3 / 5, size.height() * 2 / 5},
                Qt::Vertical);
}

void MainWindow::arrangeAdvanced()
{
    addDockWidget(Qt::BottomDockWidgetArea, m_updaterDock);
    splitDockWidget(m_updaterDock, m_plotListDock, Qt::Vertical);
    splitDockWidget(m_updaterDock, m_consoleDock, Qt::Horizontal);
    splitDockWidget(m_plotListDock, m_plotADock, Qt::Vertical);
    splitDockWidget(m_consoleDock, m_monitorDock, Qt::Vertical);
    splitDockWidget(m_plotADock, m_plotBDock, Qt::Horizontal);
    for (DockWidget *dock : {m_plotADock, m_plotBDock, m_monitorDock, m_consoleDock,
                             m_updaterDock})
        dock->show();
    resizeDocks({m_updaterDock, m_plotADock}, {height() / 2, height() / 2}, Qt::Vertical);
    resizeDocks({m_updaterDock, m_consoleDock}, {width() / 2, width() / 2}, Qt::Horizontal);
    tabifyDockWidget(m_updaterDock, m_plotListDock);
    m_plotListDock->show();
    m_plotListDock->raise();
    m_updaterDock->raise();
}

void MainWindow::arrangeDebug()
{
    addDockWidget(Qt::BottomDockWidgetArea, m_consoleDock);
    addDockWidget(Qt::BottomDockWidgetArea, m_updaterDock);
    splitDockWidget(m_consoleDock, m_monitorDock, Qt::Vertical);
    m_monitorDock->show();
    m_consoleDock->close();
    splitDockWidget(m_monitorDock, m_updaterDock, Qt::Vertical);
    splitDockWidget(m_monitorDock, m_plotADock, Qt::Horizontal);
    m_plotADock->show();
    m_plotBDock->show();
    tabifyDockWidget(m_plotADock, m_plotBDock);
    m_plotADock->raise();
    splitDockWidget(m_updaterDock, m_plotListDock, Qt::Horizontal);
    m_plotListDock->show();
    m_updaterDock->close();
    resizeDocks({m_monitorDock, m_plotADock}, {width() / 2, width() / 2}, Qt::Horizontal);
}

void MainWindow::arrangeDataPlot()
{
    addDockWidget(Qt::BottomDockWidgetArea, m_plotListDock);
    addDockWidget(Qt::TopDockWidgetArea, m_plotADock);
    splitDockWidget(m_plotADock, m_plotBDock, Qt::Horizontal);
    tabifyDockWidget(m_plotListDock, m_updaterDock);
    tabifyDockWidget(m_plotBDock, m_monitorDock);
    for (DockWidget *dock : {m_plotADock, m_plotBDock, m_plotListDock, m_updaterDock,
                             m_monitorDock})
        dock->show();
    m_plotListDock->raise();
    m_plotBDock->raise();
    resizeDocks({m_plotADock, m_plotBDock}, {width() / 2, width() / 2}, Qt::Horizontal);
    resizeDocks({m_plotADock, m_plotListDock}, {height() * 2 / 3, height() / 3}, Qt::Vertical);
}

bool MainWindow::arrangeStartup()
{
    if (!restoreState(m_startupState, StateVersion) || !restoreGeometry(m_startupGeometry)) {
        Notify::warning(this, tr("Error"), tr("Error reading layout or geometry state!"));
        return false;
    }
    QMetaObject::invokeMethod(this, &MainWindow::connectTabBars, Qt::QueuedConnection);
    return true;
}

void MainWindow::saveLastUsedLayout()
{
    QSettings settings = userSettings();
    settings.beginGroup(LastUsedGroup);
    settings.setValue(QStringLiteral("geometry"), saveGeometry());
    settings.setValue(QStringLiteral("state"), saveState(StateVersion));
}

void MainWindow::saveDefaultLayout()
{
    QSettings settings = userSettings();
    settings.beginGroup(DefaultGroup);
    settings.setValue(QStringLiteral("geometry"), saveGeometry());
    settings.setValue(QStringLiteral("state"), saveState(StateVersion));
}

bool MainWindow::restoreLastUsedLayout()
{
    QSettings settings = userSettings();
    settings.beginGroup(LastUsedGroup);
    const bool geometryOk = restoreGeometry(settings.value(QStringLiteral("geometry")).toByteArray());
    const bool stateOk =
        restoreState(settings.value(QStringLiteral("state")).toByteArray(), StateVersion);
    return geometryOk && stateOk;
}

void MainWindow::onRestoreLayoutMenuTriggered(QAction *action)
{
    const int index = m_restoreLayoutGroup->actions().indexOf(action);
    if (index < 0)
        return;
    m_restoreLayoutIndex = index;
    arrangeLayout(action->data().toString());
}

void MainWindow::applyRestoreLayoutIndex(int index)
{
    m_restoreLayoutIndex = index;
    const QString name = restoreLayoutNames().at(index);
    arrangeLayout(name);
    showToolTipText(tr("Layout: %1").arg(tr(qPrintable(name))));
}

void MainWindow::onStartupLayoutMenuTriggered(QAction *action)
{
    if (action == m_startupLastUsedAct)
        storeStartupLayoutOption(1);
    else if (action == m_startupDefaultAct)
        storeStartupLayoutOption(0);
    else
        Notify::warning(this, tr("Error"), tr("Error setting startup layout options!"));
}

bool MainWindow::saveLayoutToFile(const QString &path)
{
    const LayoutFile::Result result =
        LayoutFile::write(path, {saveGeometry(), saveState(StateVersion)});
    if (!result.ok())
        Notify::warning(this, tr("Error"), result.message);
    return result.ok();
}

bool MainWindow::loadLayoutFromFile(const QString &path)
{
    LayoutFile::Contents contents;
    LayoutFile::Result result = LayoutFile::read(path, &contents);
    if (result.ok() &&
        !(restoreGeometry(contents.geometry) && restoreState(contents.state, StateVersion)))
        result = {LayoutFile::Status::ReadFailed, LayoutFile::readErrorText(path)};
    if (!result.ok())
        Notify::warning(this, tr("Error"), result.message);
    return result.ok();
}

void MainWindow::saveLayout()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("Save layout"));
    if (!path.isEmpty())
        saveLayoutToFile(path);
}

void MainWindow::loadLayout()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Load layout"));
    if (!path.isEmpty())
        loadLayoutFromFile(path);
}

void MainWindow::switchLayoutDirection()
{
    setLayoutDirection(layoutDirection() == Qt::LeftToRight ? Qt::RightToLeft : Qt::LeftToRight);
}

void MainWindow::setTabPosition()
{
    auto *action = qobject_cast<QAction *>(sender());
    if (!action)
        return;
    const QPoint data = action->data().toPoint();
    QMainWindow::setTabPosition(Qt::DockWidgetAreas(data.x()), QTabWidget::TabPosition(data.y()));
}

void MainWindow::updateShowTitleBarsAct()
{
    bool allShown = true;
    for (DockWidget *dock : allDocks())
        allShown = allShown && dock->isTitleBarShown();
    m_showTitleBarsAct->setChecked(allShown);
}

void MainWindow::updateShowAllAct()
{
    bool allVisible = true;
    for (DockWidget *dock : m_fixedDocks)
        allVisible = allVisible && !dock->isHidden();
    m_showAllAct->setChecked(allVisible);
}

void MainWindow::onVisibilityChanged(bool)
{
    updateShowAllAct();
}

void MainWindow::updatePlotListPopupBtn()
{
    // The pop-up shows the list only while its dock is hidden; the dock keeps it otherwise.
    m_plotListPopupBtn->setEnabled(!m_plotListDock->isVisible());
}

void MainWindow::onPlotItemsListPopupBtnMenuShow()
{
    updatePlotListPopupBtn();
    if (!m_plotListDock->isVisible() && sender() == m_plotListPopupMenu) {
        m_plotListPopupHost->layout()->addWidget(m_plotList);
        m_plotList->show();
    }
}

void MainWindow::bringPlotsForward()
{
    // A layout may have left either dock out altogether: put it back beside the other.
    if (dockWidgetArea(m_plotADock) == Qt::NoDockWidgetArea && !m_plotADock->isFloating())
        addDockWidget(Qt::TopDockWidgetArea, m_plotADock);
    if (dockWidgetArea(m_plotListDock) == Qt::NoDockWidgetArea && !m_plotListDock->isFloating())
        splitDockWidget(m_plotADock, m_plotListDock, Qt::Vertical);
    for (DockWidget *dock : {m_plotADock, m_plotListDock}) {
        dock->show();
        dock->raise();
    }
}

void MainWindow::onPlotItemsListPopupBtnMenuHide()
{
    if (m_plotList->parentWidget() == m_plotListPopupHost)
        m_plotListDock->setWidget(m_plotList);
}

void MainWindow::connectTabBars()
{
    for (QTabBar *tabBar : findChildren<QTabBar *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (m_connectedTabBars.contains(tabBar))
            continue;
        m_connectedTabBars << tabBar;
        tabBar->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(tabBar, &QTabBar::customContextMenuRequested, this,
                &MainWindow::onTabContextMenuRequested);
        connect(tabBar, &QTabBar::tabBarClicked, this, &MainWindow::onTabBarClicked);
        connect(tabBar, &QTabBar::tabCloseRequested, this, &MainWindow::onTabCloseRequested);
        connect(tabBar, &QObject::destroyed, this,
                [this, tabBar] { m_connectedTabBars.removeAll(tabBar); });
    }
}

DockWidget *MainWindow::dockForTab(QTabBar *tabBar, int index) const
{
    if (!tabBar || index < 0 || index >= tabBar->count())
        return nullptr;
    // Tab labels show the title with the modified mark resolved.
    const QString text = tabBar->tabText(index);
    for (DockWidget *dock : allDocks()) {
        if (shownWindowTitle(dock) == text)
            return dock;
    }
    return nullptr;
}

void MainWindow::onTabContextMenuRequested(const QPoint &pos)
{
    auto *tabBar = qobject_cast<QTabBar *>(sender());
    if (!tabBar)
        return;
    if (DockWidget *dock = dockForTab(tabBar, tabBar->tabAt(pos)))
        dock->contextMenu()->exec(tabBar->mapToGlobal(pos));
}

void MainWindow::onTabBarClicked(int index)
{
    if (DockWidget *dock = dockForTab(qobject_cast<QTabBar *>(sender()), index))
        dock->raise();
}

void MainWindow::onTabCloseRequested(int index)
{
    DockWidget *dock = dockForTab(qobject_cast<QTabBar *>(sender()), index);
    if (!dock)
        return;
    if (m_editorDocks.contains(dock))
        dock->destroyDockWidget();
    else
        dock->close();
}

void MainWindow::reversMonitorTabOrder()
{
    // Reverses the tabs of the group that holds the monitor, so it moves to the other end.
    for (QTabBar *tabBar : findChildren<QTabBar *>(QString(), Qt::FindDirectChildrenOnly)) {
        bool holdsMonitor = false;
        for (int i = 0; i < tabBar->count(); ++i)
            holdsMonitor = holdsMonitor || dockForTab(tabBar, i) == m_monitorDock;
        if (!holdsMonitor)
            continue;
        for (int i = 0; i < tabBar->count() - 1; ++i)
            tabBar->moveTab(tabBar->count() - 1, i);
    }
}
