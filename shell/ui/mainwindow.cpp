// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/ui/mainwindow.h"

#include "monitor/core/vrxmon.h"
#include "monitor/core/vrxmonhost.h"
#include "monitor/ui/monitorpanel.h"
#include "plot/ui/qtvilo.h"
#include "plot/ui/qtviloplotitemsmodel.h"
#include <qwt_plot.h>
#include "shell/core/windowtexts.h"
#include "shell/ui/dockwidget.h"
#include "updater/ui/tasktreeview.h"
#include "updater/ui/treemodel.h"
#include "updater/ui/updaterpanel.h"
#include "util/core/qtimespan.h"
#include "util/ui/fsexplorerwidget.h"
#include "util/ui/notify.h"
#include "viewer/ui/editor.h"
#include "viewer/ui/editorpanel.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QMovie>
#include <QPlainTextEdit>
#include <QScreen>
#include <QShortcut>
#include <QStatusBar>
#include <QTextBrowser>
#include <QThread>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTranslator>
#include <QVBoxLayout>
#include <QWidgetAction>

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent), m_appTranslator(new QTranslator(this)),
      m_qtTranslator(new QTranslator(this))
{
    QCoreApplication::installTranslator(m_appTranslator);
    setWindowIcon(QIcon(QStringLiteral(":/Images/OKAV.ico")));
    setAttribute(Qt::WA_AlwaysShowToolTips);
    setMouseTracking(true);
    m_okvMimeType = m_mimeDatabase.mimeTypeForFile(QStringLiteral("log.okv"),
                                                   QMimeDatabase::MatchExtension)
                        .name();
    setAcceptDrops(true);
    setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);

    createPanels();
    createActions();
    createMenus();
    createToolBar();
    createStatusLine();
    createFixedDocks();
    createViewMenuEntries();
    connectSignals();
    createShortcuts();
    qApp->installEventFilter(this);
    setWindowTitle(mainWindowTitle(QCoreApplication::applicationName(),
                                   QCoreApplication::applicationVersion()));
    retranslateUi();
    updateRecentFileActions();
    // Autostart or Last Used, once the window is up.
    QTimer::singleShot(0, m_monitorPanel, &MonitorPanel::applyStartupOption);
}

MainWindow::~MainWindow()
{
    qApp->removeEventFilter(this);
    // Tear the docks down while this window's members still exist, and keep their last
    // signals (visibility, process state) from reaching it.
    disconnect(qApp, nullptr, this, nullptr);
    for (QObject *child : findChildren<QObject *>())
        child->disconnect(this);
    const QList<DockWidget *> docks = allDocks();
    m_fixedDocks.clear();
    m_editorDocks.clear();
    qDeleteAll(docks);
}

void MainWindow::createPanels()
{
    const QSize screenSize = screen() ? screen()->size() : QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    m_monitorPanel = new MonitorPanel(QStringLiteral("vrxupdater"), this);
    m_updaterPanel = new UpdaterPanel(this);
    m_updaterConsole = m_updaterPanel->consoleView();
    m_plotList = new QtVilo(this);
    m_plotViewA = m_plotList->plotView(0);
    m_plotViewB = m_plotList->plotView(1);
    for (QWidget *panel : {static_cast<QWidget *>(m_monitorPanel),
                           static_cast<QWidget *>(m_updaterPanel),
                           static_cast<QWidget *>(m_updaterConsole),
                           static_cast<QWidget *>(m_plotList), m_plotViewA, m_plotViewB})
        panel->setMaximumSize(screenSize);
    m_keyPanels = {m_monitorPanel, m_updaterConsole};
    m_fsExplorer = new FsExplorerWidget(this);
}

void MainWindow::createActions()
{
    m_openAct = new QAction(QIcon(QStringLiteral("://Images/folder.png")), QString(), this);
    m_closeAllEditorsAct = new QAction(this);
    m_exitAct = new QAction(this);
    connect(m_exitAct, &QAction::triggered, this, &QWidget::close);
    for (int i = 0; i < 8; ++i) {
        auto *action = new QAction(this);
        action->setVisible(false);
        m_recentFileActs << action;
    }

    m_showTitleBarsAct = new QAction(this);
    m_showTitleBarsAct->setCheckable(true);
    m_showTitleBarsAct->setChecked(true);
    m_showAllAct = new QAction(this);
    m_showAllAct->setCheckable(true);

    m_restoreLayoutGroup = new QActionGroup(this);
    for (const QString &name : restoreLayoutNames()) {
        QAction *action = m_restoreLayoutGroup->addAction(name);
        action->setData(name);
    }
    m_startupLayoutGroup = new QActionGroup(this);
    m_startupLayoutGroup->setExclusive(true);
    m_startupDefaultAct = m_startupLayoutGroup->addAction(QString());
    m_startupLastUsedAct = m_startupLayoutGroup->addAction(QString());
    for (QAction *action : m_startupLayoutGroup->actions())
        action->setCheckable(true);
    m_startupDefaultAct->setChecked(true);
    m_saveLayoutAct = new QAction(this);
    m_loadLayoutAct = new QAction(this);

    const DockOption options[] = {AnimatedDocks, AllowNestedDocks, AllowTabbedDocks,
                                  ForceTabbedDocks, GroupedDragging};
    for (DockOption option : options) {
        auto *action = new QAction(this);
        action->setCheckable(true);
        action->setChecked(dockOptions() & option);
        connect(action, &QAction::toggled, this, [this, option](bool on) {
            setDockOptions(on ? dockOptions() | option : dockOptions() & ~option);
            setAnimated(dockOptions() & AnimatedDocks);
        });
        m_dockOptionActs << action;
    }
    m_switchDirectionAct = new QAction(this);
    m_switchDirectionAct->setCheckable(true);
    connect(m_switchDirectionAct, &QAction::triggered, this, &MainWindow::switchLayoutDirection);

    m_faqAct = new QAction(this);
    m_aboutAct = new QAction(QIcon(QStringLiteral("://Images/OKAV.ico")), QString(), this);
}

void MainWindow::createMenus()
{
    m_fileMenu = menuBar()->addMenu(QString());
    m_fileMenu->addAction(m_openAct);
    m_recentMenu = m_fileMenu->addMenu(QString());
    m_recentMenu->addActions(m_recentFileActs);
    m_fileMenu->addAction(m_closeAllEditorsAct);
    m_fileMenu->addSeparator();
    m_fileMenu->addAction(m_exitAct);

    m_viewMenu = menuBar()->addMenu(QString());
    m_viewMenu->addAction(m_showTitleBarsAct);
    m_viewMenu->addAction(m_showAllAct);
    m_viewMenu->addSeparator();

    m_layoutMenu = menuBar()->addMenu(QString());
    m_restoreLayoutMenu = m_layoutMenu->addMenu(QString());
    m_restoreLayoutMenu->addActions(m_restoreLayoutGroup->actions());
    m_startupLayoutMenu = m_layoutMenu->addMenu(QString());
    m_startupLayoutMenu->addActions(m_startupLayoutGroup->actions());
    m_layoutMenu->addSeparator();
    m_layoutMenu->addAction(m_saveLayoutAct);
    m_layoutMenu->addAction(m_loadLayoutAct);
    m_layoutMenu->addSeparator();
    m_layoutMenu->addActions(m_dockOptionActs);
    m_layoutMenu->addAction(m_switchDirectionAct);
    m_tabPositionMenu = m_layoutMenu->addMenu(QString());
    const Qt::DockWidgetArea areas[] = {Qt::LeftDockWidgetArea, Qt::RightDockWidgetArea,
                                        Qt::TopDockWidgetArea, Qt::BottomDockWidgetArea};
    const QTabWidget::TabPosition positions[] = {QTabWidget::North, QTabWidget::South,
                                                 QTabWidget::West, QTabWidget::East};
    for (Qt::DockWidgetArea area : areas) {
        QMenu *areaMenu = m_tabPositionMenu->addMenu(QString());
        auto *group = new QActionGroup(areaMenu);
        for (QTabWidget::TabPosition position : positions) {
            QAction *action = group->addAction(QString());
            action->setCheckable(true);
            action->setChecked(tabPosition(area) == position);
            action->setData(QPoint(int(area), int(position)));
            connect(action, &QAction::triggered, this, &MainWindow::setTabPosition);
        }
        areaMenu->addActions(group->actions());
        m_tabAreaMenus << areaMenu;
    }

    m_helpMenu = menuBar()->addMenu(QString());
    m_helpMenu->addAction(m_faqAct);
    m_helpMenu->addAction(m_aboutAct);
}

void MainWindow::createToolBar()
{
    QToolBar *toolBar = addToolBar(QString());
    toolBar->setObjectName(QStringLiteral("Main Toolbar"));
    toolBar->setIconSize(QSize(16, 16));

    m_openFileBtn = new QToolButton(toolBar);
    m_openFileBtn->setIcon(QIcon(QStringLiteral("://Images/folder.png")));
    m_openFileBtn->setPopupMode(QToolButton::MenuButtonPopup);
    auto *explorerMenu = new QMenu(m_openFileBtn);
    auto *explorerAction = new QWidgetAction(explorerMenu);
    explorerAction->setDefaultWidget(m_fsExplorer);
    explorerMenu->addAction(explorerAction);
    m_openFileBtn->setMenu(explorerMenu);
    toolBar->addWidget(m_openFileBtn);

    m_plotListPopupBtn = new QToolButton(toolBar);
    m_plotListPopupBtn->setIcon(QIcon(QStringLiteral("://Images/drop-down-list.png")));
    m_plotListPopupBtn->setPopupMode(QToolButton::InstantPopup);
    m_plotListPopupMenu = new QMenu(m_plotListPopupBtn);
    m_plotListPopupHost = new QWidget;
    m_plotListPopupHost->setLayout(new QVBoxLayout);
    m_plotListPopupHost->layout()->setContentsMargins(0, 0, 0, 0);
    m_plotListPopupHost->setMinimumSize(640, 240);
    auto *popupAction = new QWidgetAction(m_plotListPopupMenu);
    popupAction->setDefaultWidget(m_plotListPopupHost);
    m_plotListPopupMenu->addAction(popupAction);
    m_plotListPopupBtn->setMenu(m_plotListPopupMenu);
    toolBar->addWidget(m_plotListPopupBtn);

    m_busyIndicator = new QLabel(toolBar);
    auto *movie = new QMovie(QStringLiteral("://Images/loading.gif"), QByteArray(), m_busyIndicator);
    m_busyIndicator->setMovie(movie);
    movie->start();
    m_busyIndicator->setContentsMargins(4, 0, 4, 0);
    QAction *busyAction = toolBar->addWidget(m_busyIndicator);
    busyAction->setVisible(false);
    m_busyIndicator->setProperty("toolBarAction", QVariant::fromValue<QObject *>(busyAction));
}

void MainWindow::createStatusLine()
{
    m_statusText = QStringLiteral("Status: Idle ") + QStringLiteral("0:0:0:0");
    statusBar()->showMessage(m_statusText);
    m_alwaysOnTopChkBox = new QCheckBox(this);
    m_alwaysOnTopChkBox->setLayoutDirection(Qt::RightToLeft);
    statusBar()->addPermanentWidget(m_alwaysOnTopChkBox);
    m_statusTimer = new QTimer(this);
    m_statusTimer->setInterval(1000);
    connect(m_statusTimer, &QTimer::timeout, this, &MainWindow::updateStatusText);
    m_statusTimer->start();

    m_toolTipLabel = new QLabel(this, Qt::ToolTip | Qt::FramelessWindowHint);
    m_toolTipLabel->setFrameShape(QFrame::Box);
    m_toolTipLabel->setLineWidth(1);
    m_toolTipLabel->setMargin(6);
    m_toolTipLabel->hide();
    m_toolTipTimer = new QTimer(this);
    m_toolTipTimer->setSingleShot(true);
    connect(m_toolTipTimer, &QTimer::timeout, m_toolTipLabel, &QWidget::hide);
}

DockWidget *MainWindow::addFixedDock(QWidget *panel, const QString &objectName,
                                     bool verticalTitleBar)
{
    auto *dock = new DockWidget(panel, this, verticalTitleBar);
    dock->setObjectName(objectName);
    if (verticalTitleBar)
        dock->setMinimumWidth(panel->minimumWidth());
    addDockWidget(Qt::BottomDockWidgetArea, dock);
    m_fixedDocks << dock;
    registerDock(dock);
    return dock;
}

void MainWindow::registerDock(DockWidget *dock)
{
    dock->setOtherDocksProvider([this] { return allDocks(); });
    connect(dock, &QDockWidget::topLevelChanged, this, &MainWindow::saveLastUsedLayout);
    connect(dock, &DockWidget::visibilityUpdated, this, &MainWindow::updateShowAllAct);
    connect(dock, &DockWidget::titleBarShownChanged, this, &MainWindow::updateShowTitleBarsAct);
    connect(dock, &QDockWidget::dockLocationChanged, this, &MainWindow::connectTabBars,
            Qt::QueuedConnection);
}

void MainWindow::createFixedDocks()
{
    m_updaterDock = addFixedDock(m_updaterPanel, QStringLiteral("UpdaterDock"), false);
    m_monitorDock = addFixedDock(m_monitorPanel, QStringLiteral("MonitorDock"), false);
    m_monitorDock->setMinimumWidth(m_monitorPanel->minimumWidth());
    m_consoleDock = addFixedDock(m_updaterConsole, QStringLiteral("ConsoleDock"), false);
    m_plotListDock = addFixedDock(m_plotList, QStringLiteral("PlotListDock"), false);
    m_plotADock = addFixedDock(m_plotViewA, QStringLiteral("PlotViewADock"), true);
    m_plotBDock = addFixedDock(m_plotViewB, QStringLiteral("PlotViewBDock"), true);
    m_consoleDock->show();
}

void MainWindow::createViewMenuEntries()
{
    for (DockWidget *dock : m_fixedDocks)
        m_viewMenu->addMenu(dock->contextMenu());
    m_viewMenu->addSeparator();
    for (DockWidget *dock : m_fixedDocks)
        m_viewMenu->addAction(dock->toggleViewAction());
}

void MainWindow::connectSignals()
{
    connect(m_aboutAct, &QAction::triggered, this, &MainWindow::ShowAboutDialog);
    connect(m_faqAct, &QAction::triggered, this, [this] {
        QDialog dialog(this);
        dialog.setWindowTitle(QCoreApplication::applicationName() + tr(" FAQ"));
        auto *browser = new QTextBrowser(&dialog);
        browser->setOpenExternalLinks(true);
        browser->setHtml(faqText(QCoreApplication::applicationName()));
        auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, &dialog);
        connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
        auto *layout = new QVBoxLayout(&dialog);
        layout->addWidget(browser);
        layout->addWidget(buttons);
        dialog.resize(620, 520);
        dialog.exec();
    });
    connect(m_updaterPanel->taskList(), &TaskTreeView::UnsupportedFilesDropped, this,
            &MainWindow::openFiles);
    connect(m_openAct, &QAction::triggered, this, &MainWindow::onOpenFileBtnClicked);
    connect(m_openFileBtn, &QToolButton::clicked, this, &MainWindow::onOpenFileBtnClicked);
    connect(m_closeAllEditorsAct, &QAction::triggered, this,
            &MainWindow::onCloseAllEditorsTriggered);
    connect(m_updaterConsole->process(), &QProcess::stateChanged, this,
            &MainWindow::CPStateChanged);
    connect(m_monitorPanel->childProcess(), &QProcess::stateChanged, this,
            &MainWindow::CPStateChanged);
    connect(m_monitorPanel->serverThread(), &QThread::started, this,
            &MainWindow::VrxMonThreadChanged);
    connect(m_monitorPanel->serverThread(), &QThread::finished, this,
            &MainWindow::VrxMonThreadChanged);
    connect(m_monitorPanel, &MonitorPanel::FileLoaded, this, &MainWindow::onMonitorFileLoaded);
    VrxMon *server = m_monitorPanel->editor()->vrxMonHost()->server();
    connect(server, &VrxMon::firstClientConnected, m_plotList, &QtVilo::clearOnFirstVirtualPlot);
    connect(server, &VrxMon::VirtualPlotItemConnected, m_plotList,
            &QtVilo::onVirtualPlotItemConnected);
    // A floating panel is its own window, out of reach of the window-wide shortcuts.
    connect(m_monitorDock, &QDockWidget::topLevelChanged, m_monitorPanel,
            &TextPanel::enableShortcuts);
    connect(m_consoleDock, &QDockWidget::topLevelChanged, m_updaterConsole,
            &TextPanel::enableShortcuts);
    connect(m_monitorPanel->textView(), &QPlainTextEdit::textChanged, m_monitorDock,
            &DockWidget::setTabModified);
    connect(m_updaterConsole->textView(), &QPlainTextEdit::textChanged, m_consoleDock,
            &DockWidget::setTabModified);
    // Each run names its task in the console's dock title.
    connect(m_updaterConsole, &QWidget::windowTitleChanged, m_consoleDock,
            &DockWidget::setBaseTitle);
    connect(m_alwaysOnTopChkBox, &QCheckBox::toggled, this, &MainWindow::onAOTchkBoxToggled);
    connect(m_fileMenu, &QMenu::triggered, this, &MainWindow::onFileMenuTriggered);
    connect(qApp, &QApplication::focusChanged, this, &MainWindow::onfocusChanged);
    connect(m_fsExplorer, &FsExplorerWidget::PlotRequest, m_plotList->model(),
            &QtViloPlotItemsModel::AppendRows);
    connect(m_plotList->model(), &QtViloPlotItemsModel::PlotFilesOpened, this,
            &MainWindow::bringPlotsForward);
    connect(m_fsExplorer, &FsExplorerWidget::TaskQueueRequest, m_updaterPanel->taskModel(),
            &TreeModel::AppendRows);
    connect(m_fsExplorer, &FsExplorerWidget::OpenTextRequest, this, &MainWindow::openTextFiles);
    connect(m_fsExplorer, &FsExplorerWidget::RunExtApp, m_updaterPanel,
            &UpdaterPanel::onRunExtAppRequest);
    connect(m_plotListPopupMenu, &QMenu::aboutToShow, this,
            &MainWindow::onPlotItemsListPopupBtnMenuShow);
    connect(m_plotListDock, &QDockWidget::visibilityChanged, this,
            &MainWindow::onPlotItemsListPopupBtnMenuShow);
    connect(m_plotListPopupMenu, &QMenu::aboutToHide, this,
            &MainWindow::onPlotItemsListPopupBtnMenuHide);
    connect(m_restoreLayoutGroup, &QActionGroup::triggered, this,
            &MainWindow::onRestoreLayoutMenuTriggered);
    connect(m_startupLayoutGroup, &QActionGroup::triggered, this,
            &MainWindow::onStartupLayoutMenuTriggered);
    connect(m_saveLayoutAct, &QAction::triggered, this, &MainWindow::saveLayout);
    connect(m_loadLayoutAct, &QAction::triggered, this, &MainWindow::loadLayout);
    connect(m_showTitleBarsAct, &QAction::triggered, this, [this](bool shown) {
        for (DockWidget *dock : allDocks())
            dock->setTitleBarShown(shown);
    });
    connect(m_showAllAct, &QAction::triggered, this, [this] {
        for (DockWidget *dock : m_fixedDocks)
            dock->show();
        updateShowAllAct();
    });
}

void MainWindow::createShortcuts()
{
    // A floating dock is a tool window: the window's shortcuts reach it too. The keys a
    // floating text panel handles itself (its enableShortcuts) are limited to the docked
    // panels here, or both would match and neither would fire.
    const Qt::ShortcutContext Docked = Qt::WidgetWithChildrenShortcut;
    const Qt::ShortcutContext Everywhere = Qt::WindowShortcut;
    struct Entry
    {
        QKeySequence key;
        void (MainWindow::*slot)();
        Qt::ShortcutContext context;
    };
    const Entry entries[] = {
        {QKeySequence(Qt::CTRL + Qt::Key_P), &MainWindow::onCTRL_P_Pressed, Everywhere},
        {QKeySequence(Qt::CTRL + Qt::Key_F), &MainWindow::onCTRL_F_Pressed, Docked},
        {QKeySequence(Qt::CTRL + Qt::Key_S), &MainWindow::onCTRL_S_Pressed, Docked},
        {QKeySequence(Qt::CTRL + Qt::Key_E), &MainWindow::onCTRL_E_Pressed, Docked},
        {QKeySequence(Qt::CTRL + Qt::Key_W), &MainWindow::onCTRL_W_Pressed, Docked},
        {QKeySequence(Qt::CTRL + Qt::Key_U), &MainWindow::onCTRL_U_Pressed, Docked},
        {QKeySequence(Qt::CTRL + Qt::Key_D), &MainWindow::onCTRL_D_Pressed, Docked},
        {QKeySequence(Qt::Key_Slash), &MainWindow::on_Slash_Pressed, Docked},
        {QKeySequence(Qt::Key_Question), &MainWindow::on_Question_Pressed, Docked},
        {QKeySequence(Qt::Key_K), &MainWindow::on_K_Pressed, Docked},
        {QKeySequence(Qt::Key_J), &MainWindow::on_J_Pressed, Docked},
        {QKeySequence(Qt::Key_F3), &MainWindow::on_F3_Pressed, Everywhere},
        {QKeySequence(Qt::Key_F4), &MainWindow::on_F4_Pressed, Everywhere},
        {QKeySequence(Qt::Key_F5), &MainWindow::on_F5_Pressed, Everywhere},
        {QKeySequence(Qt::Key_F8), &MainWindow::on_F8_Pressed, Everywhere},
        {QKeySequence(Qt::Key_F9), &MainWindow::on_F9_Pressed, Everywhere},
        {QKeySequence(Qt::Key_F10), &MainWindow::on_F10_Pressed, Everywhere},
    };
    for (const Entry &entry : entries) {
        auto *shortcut = new QShortcut(entry.key, this);
        shortcut->setContext(entry.context);
        connect(shortcut, &QShortcut::activated, this, entry.slot);
        m_shortcuts << shortcut;
    }
}

void MainWindow::retranslateUi()
{
    const QString appName = QCoreApplication::applicationName();
    m_fileMenu->setTitle(tr("File"));
    m_openAct->setText(tr("Open..."));
    m_recentMenu->setTitle(tr("Recent Files"));
    m_closeAllEditorsAct->setText(tr("Close All Editors"));
    m_exitAct->setText(tr("E&xit"));
    m_viewMenu->setTitle(tr("View"));
    m_showTitleBarsAct->setText(tr("Show Title Bars"));
    m_showAllAct->setText(tr("Show All"));
    m_layoutMenu->setTitle(tr("Layout"));
    m_restoreLayoutMenu->setTitle(tr("Restore Layout"));
    const QStringList layoutNames = restoreLayoutNames();
    for (int i = 0; i < layoutNames.size(); ++i)
        m_restoreLayoutGroup->actions().at(i)->setText(tr(qPrintable(layoutNames.at(i))));
    m_startupLayoutMenu->setTitle(tr("Startup Layout"));
    m_startupDefaultAct->setText(tr("Default"));
    m_startupLastUsedAct->setText(tr("Last Used"));
    m_saveLayoutAct->setText(tr("Save layout..."));
    m_loadLayoutAct->setText(tr("Load layout..."));
    const char *optionTexts[] = {QT_TR_NOOP("Animated docks"), QT_TR_NOOP("Allow nested docks"),
                                 QT_TR_NOOP("Allow tabbed docks"), QT_TR_NOOP("Force tabbed docks"),
                                 QT_TR_NOOP("Grouped dragging")};
    for (int i = 0; i < m_dockOptionActs.size(); ++i)
        m_dockOptionActs[i]->setText(tr(optionTexts[i]));
    m_switchDirectionAct->setText(tr("Switch layout direction"));
    m_tabPositionMenu->setTitle(tr("Tab Position"));
    const char *areaTexts[] = {QT_TR_NOOP("Left dock area"), QT_TR_NOOP("Right dock area"),
                               QT_TR_NOOP("Top dock area"), QT_TR_NOOP("Bottom dock area")};
    const char *positionTexts[] = {QT_TR_NOOP("North"), QT_TR_NOOP("South"), QT_TR_NOOP("West"),
                                   QT_TR_NOOP("East")};
    for (int i = 0; i < m_tabAreaMenus.size(); ++i) {
        m_tabAreaMenus[i]->setTitle(tr(areaTexts[i]));
        const QList<QAction *> actions = m_tabAreaMenus[i]->actions();
        for (int j = 0; j < actions.size(); ++j)
            actions[j]->setText(tr(positionTexts[j]));
    }
    m_helpMenu->setTitle(tr("Help"));
    if (m_languageMenu)
        m_languageMenu->setTitle(tr("Language"));
    m_faqAct->setText(appName + tr(" FAQ"));
    m_aboutAct->setText(tr("About ") + appName);

    m_openFileBtn->setToolTip(tr("Open Text or Firmware file"));
    m_plotListPopupBtn->setToolTip(tr("Show Plot Item List as popup\n(If not already visible)"));
    m_alwaysOnTopChkBox->setText(tr("Always on top"));

    m_updaterDock->setBaseTitle(tr("VRXUpdater"));
    m_monitorDock->setBaseTitle(tr("VRXMonitor"));
    m_consoleDock->setBaseTitle(tr("VRXUpdater Console"));
    m_plotListDock->setBaseTitle(tr("Plot Items List"));
    m_plotADock->setBaseTitle(tr("Signal Plot"));
    m_plotBDock->setBaseTitle(tr("DSP Plot"));
    for (DockWidget *dock : m_fixedDocks) {
        dock->contextMenu()->setTitle(dock->baseTitle());
        dock->toggleViewAction()->setText(dock->baseTitle());
    }
    updateRecentFileActions();
    // The start-up text stays until a panel has had the focus.
    if (m_lastFocusedPanel)
        updateStatusText();
}

void MainWindow::ShowAboutDialog()
{
    const QString appName = QCoreApplication::applicationName();
    QDialog dialog(this);
    dialog.setWindowTitle(tr("About %1").arg(appName));
    auto *icon = new QLabel(&dialog);
    icon->setPixmap(QIcon(QStringLiteral("://Images/OKAV.ico")).pixmap(64, 64));
    icon->setAlignment(Qt::AlignTop);
    auto *text = new QLabel(
        aboutText(appName, QSysInfo::WordSize, QCoreApplication::applicationVersion()), &dialog);
    text->setTextFormat(Qt::RichText);
    text->setOpenExternalLinks(true);
    text->setWordWrap(false);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, &dialog);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    auto *row = new QHBoxLayout;
    row->addWidget(icon);
    row->addSpacing(12);
    row->addWidget(text, 1);
    auto *layout = new QVBoxLayout(&dialog);
    layout->addLayout(row);
    layout->addWidget(buttons);
    dialog.exec();
}

void MainWindow::onAOTchkBoxToggled(bool checked)
{
    setWindowFlags(checked ? Qt::WindowFlags(Qt::WindowStaysOnTopHint)
                           : Qt::WindowFlags(Qt::Window));
    show();
}

void MainWindow::CPStateChanged(QProcess::ProcessState)
{
    const bool running = m_updaterConsole->process()->state() != QProcess::NotRunning ||
                         m_monitorPanel->childProcess()->state() != QProcess::NotRunning;
    if (auto *action = qobject_cast<QAction *>(
            m_busyIndicator->property("toolBarAction").value<QObject *>()))
        action->setVisible(running);
    updateStatusText();
}

void MainWindow::VrxMonThreadChanged()
{
    updateStatusText();
}

QString MainWindow::statusText() const
{
    return m_statusText;
}

void MainWindow::updateStatusText()
{
    TextPanel *panel = m_lastFocusedPanel;
    QString text;
    QString toolTip;
    if (panel && (panel->childProcess() || panel->workerThread()) &&
        panel->startTime().isValid()) {
        const bool running =
            (panel->childProcess() && panel->childProcess()->state() != QProcess::NotRunning) ||
            (panel->workerThread() && panel->workerThread()->isRunning());
        const qint64 seconds = panel->startTime().secsTo(QDateTime::currentDateTime());
        text = (running ? tr(" Status: Running... ") : tr(" Status: Idle ")) +
               elapsedText(seconds);
        // The line keeps its terse counter; the tip spells the time out in words.
        const QTimeSpan span = QTimeSpan::fromSeconds(qMax<qint64>(0, seconds));
        toolTip = tr("Time since start: %1").arg(span.toString(3));
    }
    m_statusText = text;
    statusBar()->showMessage(text);
    statusBar()->setToolTip(toolTip);
}

void MainWindow::onfocusChanged(QWidget *, QWidget *)
{
    if (TextPanel *panel = focusedTextPanel()) {
        m_lastFocusedPanel = panel;
        updateStatusText();
    }
}

void MainWindow::showToolTipText(const QString &text)
{
    m_toolTipLabel->setText(text);
    m_toolTipLabel->adjustSize();
    const QPoint centre = mapToGlobal(rect().center());
    m_toolTipLabel->move(centre - QPoint(m_toolTipLabel->width() / 2, m_toolTipLabel->height() / 2));
    m_toolTipLabel->show();
    m_toolTipTimer->start(1500);
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    // Any click dismisses the transient pop-up text.
    if (event->type() == QEvent::MouseButtonPress && m_toolTipLabel->isVisible())
        m_toolTipLabel->hide();
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    QProcess *process = m_updaterConsole->process();
    if (process->state() != QProcess::NotRunning) {
        const QMessageBox::StandardButton answer = Notify::question(
            this, tr("Child process still running!"),
            tr("Child process:\n\n") + process->program() +
                tr("\n\nis currently still running!\n\nTerminate this process and quit?"),
            QMessageBox::Yes | QMessageBox::No);
        if (answer != QMessageBox::Yes) {
            event->ignore();
            return;
        }
        process->kill();
        process->waitForFinished(3000);
    }
    for (DockWidget *dock : m_editorDocks)
        dock->close();
    saveLastUsedLayout();
    QMainWindow::closeEvent(event);
}
