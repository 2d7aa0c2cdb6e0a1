// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QMainWindow>
#include <QMimeDatabase>
#include <QPointer>
#include <QProcess>

class DockWidget;
class EditorPanel;
class FsExplorerWidget;
class MonitorPanel;
class QActionGroup;
class QCheckBox;
class QLabel;
class QMenu;
class QMimeData;
class QTabBar;
class QTimer;
class QToolButton;
class QTranslator;
class QtVilo;
class TextPanel;
class UpdaterConsole;
class UpdaterPanel;
class QShortcut;

// The one top-level window: builds every panel into a dock, owns menus, toolbar and status
// line, dispatches files to the tools and wires the requests the tools make of each other.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    // Start-up: the stored choice decides between the last-used and the default layout;
    // the result is remembered as the "Startup" layout and the window is shown.
    void applyStartupLayout();
    bool arrangeLayout(const QString &name);
    static QStringList restoreLayoutNames();
    int restoreLayoutIndex() const { return m_restoreLayoutIndex; }
    bool restoreLastUsedLayout();
    void saveDefaultLayout();
    bool saveLayoutToFile(const QString &path);
    bool loadLayoutFromFile(const QString &path);

    MonitorPanel *monitorPanel() const { return m_monitorPanel; }
    UpdaterPanel *updaterPanel() const { return m_updaterPanel; }
    QtVilo *plotList() const { return m_plotList; }
    FsExplorerWidget *fsExplorer() const { return m_fsExplorer; }
    // Asked for by name by the file explorer, which sits below the plot tool and cannot
    // include it.
    Q_INVOKABLE QStringList plotFormatNames() const;
    Q_INVOKABLE QString currentPlotFormat() const;
    // Makes the format the plot items' default, then adds the files to the plot items list.
    Q_INVOKABLE void plotFilesAs(const QStringList &paths, const QString &format);
    QList<DockWidget *> fixedDocks() const { return m_fixedDocks; }
    QList<DockWidget *> editorDocks() const { return m_editorDocks; }
    QList<DockWidget *> allDocks() const { return m_fixedDocks + m_editorDocks; }
    DockWidget *editorDockFor(const QString &path) const;
    QList<QAction *> recentFileActions() const { return m_recentFileActs; }
    QString statusText() const;
    QAction *startupLastUsedAction() const { return m_startupLastUsedAct; }
    QAction *startupDefaultAction() const { return m_startupDefaultAct; }
    QList<QShortcut *> shortcuts() const { return m_shortcuts; }
    // A "Language" menu with one entry per translation found among the resources. The
    // window does not show one at start-up; the menu is ready for whoever adds it.
    QMenu *createLanguageMenu();

public slots:
    void saveLayout();
    void loadLayout();
    void switchLayoutDirection();
    void setTabPosition();
    DockWidget *createDockWidget(const QString &FileName, EditorPanel *ExtraEditor = nullptr);
    void destroyDockWidget();
    void onVisibilityChanged(bool visible);
    void onPlotItemsListPopupBtnMenuShow();
    void updatePlotListPopupBtn();
    void onPlotItemsListPopupBtnMenuHide();
    // Shows the Signal Plot and the Plot Items List in front once sample files are opened.
    void bringPlotsForward();
    void openRecentFile();
    void openTextFiles(QStringList &FilePathList);
    void openFiles(QStringList &FileList);
    void redirectDrop(const QMimeData *mimeData, const QPoint &dropsite);
    void reversMonitorTabOrder();
    void onTabContextMenuRequested(const QPoint &pos);
    void onTabBarClicked(int index);
    void onTabCloseRequested(int index);
    void onCloseAllEditorsTriggered();
    void onOpenFileBtnClicked();
    DockWidget *findLargestDockWidget();
    DockWidget *findFocusedDockWidget();
    void onfocusChanged(QWidget *before, QWidget *now);
    void onMonitorFileLoaded(const QString &PreviousFilePath, const QString &CurrentFilePath);
    void onFileMenuTriggered(QAction *action);
    void updateShowTitleBarsAct();
    void updateShowAllAct();
    void CPStateChanged(QProcess::ProcessState newState);
    void VrxMonThreadChanged();
    void updateStatusText();
    void onAOTchkBoxToggled(bool checked);
    void onCTRL_P_Pressed();
    void onCTRL_F_Pressed();
    void onCTRL_S_Pressed();
    void onCTRL_E_Pressed();
    void onCTRL_W_Pressed();
    void onCTRL_U_Pressed();
    void onCTRL_D_Pressed();
    void on_Slash_Pressed();
    void on_Question_Pressed();
    void on_K_Pressed();
    void on_J_Pressed();
    void on_F3_Pressed();
    void on_F4_Pressed();
    void on_F5_Pressed();
    void on_F8_Pressed();
    void on_F9_Pressed();
    void on_F10_Pressed();
    void ShowAboutDialog();
    void onRestoreLayoutMenuTriggered(QAction *action);
    void onStartupLayoutMenuTriggered(QAction *action);
    void saveLastUsedLayout();
    void updateRecentFileActions();
    void retranslateUi();
    void switchLanguage(QAction *action);

protected:
    void closeEvent(QCloseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void createPanels();
    void createActions();
    void createMenus();
    void createToolBar();
    void createStatusLine();
    void createFixedDocks();
    void createViewMenuEntries();
    void connectSignals();
    void createShortcuts();
    DockWidget *addFixedDock(QWidget *panel, const QString &objectName, bool verticalTitleBar);
    void registerDock(DockWidget *dock);
    void connectTabBars();
    DockWidget *dockForTab(QTabBar *tabBar, int index) const;
    TextPanel *focusedTextPanel();
    void applyRestoreLayoutIndex(int index);
    void showToolTipText(const QString &text);
    void openTextFile(const QString &path);

    void arrangeDefault();
    void arrangeAdvanced();
    void arrangeDebug();
    void arrangeDataPlot();
    bool arrangeStartup();
    void resetDocks();

    QTranslator *m_appTranslator;
    QTranslator *m_qtTranslator;
    QMimeDatabase m_mimeDatabase;
    QString m_okvMimeType;

    MonitorPanel *m_monitorPanel = nullptr;
    UpdaterPanel *m_updaterPanel = nullptr;
    UpdaterConsole *m_updaterConsole = nullptr;
    QtVilo *m_plotList = nullptr;
    QWidget *m_plotViewA = nullptr;
    QWidget *m_plotViewB = nullptr;
    FsExplorerWidget *m_fsExplorer = nullptr;
    QList<TextPanel *> m_keyPanels;
    QPointer<TextPanel> m_lastFocusedPanel;

    DockWidget *m_updaterDock = nullptr;
    DockWidget *m_monitorDock = nullptr;
    DockWidget *m_consoleDock = nullptr;
    DockWidget *m_plotListDock = nullptr;
    DockWidget *m_plotADock = nullptr;
    DockWidget *m_plotBDock = nullptr;
    QList<DockWidget *> m_fixedDocks;
    QList<DockWidget *> m_editorDocks;
    int m_editorCounter = 0;

    QMenu *m_fileMenu = nullptr;
    QMenu *m_recentMenu = nullptr;
    QMenu *m_viewMenu = nullptr;
    QMenu *m_layoutMenu = nullptr;
    QMenu *m_restoreLayoutMenu = nullptr;
    QMenu *m_startupLayoutMenu = nullptr;
    QMenu *m_tabPositionMenu = nullptr;
    QList<QMenu *> m_tabAreaMenus;
    QMenu *m_helpMenu = nullptr;
    QPointer<QMenu> m_languageMenu;
    QMenu *m_plotListPopupMenu = nullptr;
    QWidget *m_plotListPopupHost = nullptr;

    QAction *m_openAct = nullptr;
    QAction *m_closeAllEditorsAct = nullptr;
    QAction *m_exitAct = nullptr;
    QList<QAction *> m_recentFileActs;
    QAction *m_showTitleBarsAct = nullptr;
    QAction *m_showAllAct = nullptr;
    QActionGroup *m_restoreLayoutGroup = nullptr;
    QActionGroup *m_startupLayoutGroup = nullptr;
    QAction *m_startupDefaultAct = nullptr;
    QAction *m_startupLastUsedAct = nullptr;
    QAction *m_saveLayoutAct = nullptr;
    QAction *m_loadLayoutAct = nullptr;
    QList<QAction *> m_dockOptionActs;
    QAction *m_switchDirectionAct = nullptr;
    QAction *m_faqAct = nullptr;
    QAction *m_aboutAct = nullptr;

    QToolButton *m_openFileBtn = nullptr;
    QToolButton *m_plotListPopupBtn = nullptr;
    QLabel *m_busyIndicator = nullptr;
    QTimer *m_statusTimer = nullptr;
    QString m_statusText;
    QCheckBox *m_alwaysOnTopChkBox = nullptr;
    QLabel *m_toolTipLabel = nullptr;
    QTimer *m_toolTipTimer = nullptr;
    QList<QShortcut *> m_shortcuts;
    QList<QTabBar *> m_connectedTabBars;

    int m_restoreLayoutIndex = 0;
    QByteArray m_startupState;
    QByteArray m_startupGeometry;
};
