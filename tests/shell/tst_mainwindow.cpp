#include "monitor/ui/monitorpanel.h"
#include "plot/ui/qtvilo.h"
#include "plot/ui/qtviloplotitemsmodel.h"
#include "shell/core/layoutfile.h"
#include "shell/core/startup.h"
#include "shell/ui/dockwidget.h"
#include "shell/ui/mainwindow.h"
#include "shell/ui/metatypes.h"
#include "resources/initresources.h"
#include "testenv.h"
#include "updater/ui/tasktreeview.h"
#include "updater/ui/treemodel.h"
#include "updater/ui/updaterpanel.h"
#include "util/ui/notify.h"
#include "viewer/ui/editorpanel.h"

#include <QContextMenuEvent>
#include <QLabel>
#include "shell/ui/bluetitlebar.h"
#include <QLineEdit>
#include <QMenuBar>
#include <QTabBar>
#include <QTableView>
#include <QTimer>
#include <QToolBar>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QSettings>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QToolButton>
#include <QUrl>
#include <QtTest>

#include <memory>

namespace {
struct Shown
{
    QString kind;
    QString title;
    QString text;
};

QStringList menuTexts(const QList<QAction *> &actions)
{
    QStringList texts;
    for (QAction *action : actions) {
        if (!action->isSeparator())
            texts << (action->menu() ? action->menu()->title() : action->text());
    }
    return texts;
}

QStringList hiddenDocks(const MainWindow &window)
{
    QStringList names;
    for (DockWidget *dock : window.fixedDocks()) {
        if (dock->isHidden())
            names << dock->objectName();
    }
    return names;
}
} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QList<Shown> m_shown;
    QMessageBox::StandardButton m_answer = QMessageBox::No;

    QString makeFile(const QString &name, const QByteArray &contents = "line\n")
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            qFatal("cannot write %s", qPrintable(path));
        file.write(contents);
        return path;
    }

    std::unique_ptr<MainWindow> startWindow()
    {
        auto window = std::make_unique<MainWindow>();
        window->applyStartupLayout();
        return window;
    }

private slots:
    void initTestCase()
    {
        initResources();
        registerMetaTypes();
        setApplicationIdentity();
        Notify::setHook([this](Notify::Kind kind, const QString &title, const QString &text) {
            static const char *const names[] = {"information", "warning", "critical",
                                                "question"};
            m_shown.append({QString::fromLatin1(names[int(kind)]), title, text});
            return m_answer;
        });
    }

    void init()
    {
        QSettings(QStringLiteral("OKAV"), QStringLiteral("vrxassist")).clear();
        m_shown.clear();
        m_answer = QMessageBox::No;
    }

    void titleMenusAndToolbar()
    {
        MainWindow window;
        QCOMPARE(window.windowTitle(), QStringLiteral("VRXAssist - (Build 20231)"));
        QVERIFY(!window.windowIcon().isNull());
        const QList<QAction *> bar = window.menuBar()->actions();
        QCOMPARE(menuTexts(bar), (QStringList{"File", "View", "Layout", "Help"}));
        QCOMPARE(menuTexts(bar.at(0)->menu()->actions()),
                 (QStringList{"Open...", "Recent Files", "Close All Editors", "E&xit"}));
        const QStringList view = menuTexts(bar.at(1)->menu()->actions());
        QCOMPARE(view.mid(0, 2), (QStringList{"Show Title Bars", "Show All"}));
        QVERIFY(view.contains(QStringLiteral("VRXMonitor")));
        const QStringList layout = menuTexts(bar.at(2)->menu()->actions());
        QCOMPARE(layout, (QStringList{"Restore Layout", "Startup Layout", "Save layout...",
                                      "Load layout...", "Animated docks", "Allow nested docks",
                                      "Allow tabbed docks", "Force tabbed docks",
                                      "Grouped dragging", "Switch layout direction",
                                      "Tab Position"}));
        QCOMPARE(menuTexts(bar.at(2)->menu()->actions().at(0)->menu()->actions()),
                 MainWindow::restoreLayoutNames());
        QCOMPARE(menuTexts(bar.at(3)->menu()->actions()),
                 (QStringList{"vrxassist FAQ", "About vrxassist"}));

        auto *toolBar = window.findChild<QToolBar *>(QStringLiteral("Main Toolbar"));
        QVERIFY(toolBar);
        QCOMPARE(toolBar->iconSize(), QSize(16, 16));
        const QList<QToolButton *> buttons = toolBar->findChildren<QToolButton *>();
        QStringList tips;
        for (QToolButton *button : buttons)
            tips << button->toolTip();
        QVERIFY(tips.contains(QStringLiteral("Open Text or Firmware file")));
        QVERIFY(tips.contains(QStringLiteral("Show Plot Item List as popup\n(If not already visible)")));
        QCOMPARE(window.shortcuts().size(), 17);
    }

    void firstStartArrangesAndStoresTheDefaultLayout()
    {
        auto window = startWindow();
        QSettings settings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"));
        QVERIFY(!settings.value("MainWindowDefaultLayout/geometry").toByteArray().isEmpty());
        QVERIFY(!settings.value("MainWindowDefaultLayout/state").toByteArray().isEmpty());
        QVERIFY(window->startupDefaultAction()->isChecked());
        QVERIFY(!window->startupLastUsedAction()->isChecked());
        QVERIFY(window->isVisible());
    }

    void lastUsedLayoutIsRestoredAtStartup()
    {
        QStringList hiddenBefore;
        {
            auto window = startWindow();
            window->arrangeLayout(QStringLiteral("Data Plot"));
            window->saveLastUsedLayout();
            hiddenBefore = hiddenDocks(*window);
            QVERIFY(hiddenBefore != hiddenDocks(*startWindow()));
        }
        storeStartupLayoutOption(1);
        auto window = startWindow();
        QVERIFY(window->startupLastUsedAction()->isChecked());
        QCOMPARE(hiddenDocks(*window), hiddenBefore);
    }

    void brokenLastUsedLayoutFallsBackToDefault()
    {
        QSettings settings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"));
        settings.setValue("MainWindowLastUsedLayout/state", QByteArray("not a state"));
        storeStartupLayoutOption(5);
        auto window = startWindow();
        QVERIFY(window->startupLastUsedAction()->isChecked());
        // The default arrangement replaced the broken one and was stored as last used.
        QVERIFY(settings.value("MainWindowLastUsedLayout/state").toByteArray() !=
                QByteArray("not a state"));
        QVERIFY(m_shown.isEmpty());
    }

    void startupLayoutMenuStoresTheChoice()
    {
        MainWindow window;
        window.onStartupLayoutMenuTriggered(window.startupLastUsedAction());
        QVERIFY(readLastUsedStartupLayoutOption());
        window.onStartupLayoutMenuTriggered(window.startupDefaultAction());
        QVERIFY(!readLastUsedStartupLayoutOption());
        QAction stray(QStringLiteral("Other"));
        window.onStartupLayoutMenuTriggered(&stray);
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown.at(0).title, QStringLiteral("Error"));
        QCOMPARE(m_shown.at(0).text, QStringLiteral("Error setting startup layout options!"));
    }

    void restoreStartupReturnsToTheStartArrangement()
    {
        auto window = startWindow();
        const QStringList atStart = hiddenDocks(*window);
        window->arrangeLayout(QStringLiteral("Advanced"));
        QVERIFY(hiddenDocks(*window) != atStart);
        QVERIFY(window->arrangeLayout(QStringLiteral("Startup")));
        QCOMPARE(hiddenDocks(*window), atStart);
    }

    void f3AndF4CycleThroughTheNamedLayouts()
    {
        auto window = startWindow();
        QCOMPARE(window->restoreLayoutIndex(), 0);
        window->on_F3_Pressed();
        QCOMPARE(window->restoreLayoutIndex(), 4);
        window->on_F4_Pressed();
        QCOMPARE(window->restoreLayoutIndex(), 0);
        window->on_F4_Pressed();
        QCOMPARE(window->restoreLayoutIndex(), 1);
        // "Advanced" shows both plot views.
        QVERIFY(!hiddenDocks(*window).contains(QStringLiteral("PlotViewBDock")));
        window->on_F3_Pressed();
        window->on_F3_Pressed();
        QCOMPARE(window->restoreLayoutIndex(), 4);
        QVERIFY(m_shown.isEmpty());
    }

    void openFilesDispatchesBySuffix()
    {
        auto window = startWindow();
        const QString firmware = makeFile("board.mcs");
        const QString log = makeFile("run.log", "ERROR: one\nINFO : two\n");
        const QString sample = makeFile("capture.bin", QByteArray(64, '\1'));
        const QString upper = makeFile("NOTES.TXT");
        const QString missing = m_dir.filePath("gone.log");

        QStringList files{firmware, log, missing, sample, upper};
        window->openFiles(files);

        QCOMPARE(window->updaterPanel()->taskModel()->filePaths(), QStringList{firmware});
        QCOMPARE(window->plotList()->model()->rowCount(), 1);
        QCOMPARE(window->plotList()->model()->filePath(0), sample);
        QCOMPARE(window->editorDocks().size(), 2);
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown.at(0).kind, QStringLiteral("information"));
        QCOMPARE(m_shown.at(0).title, QStringLiteral("File Error"));
        QCOMPARE(m_shown.at(0).text,
                 QStringLiteral("The selected file:\n\n %1\n\n could not be found!").arg(missing));

        DockWidget *dock = window->editorDockFor(log);
        QVERIFY(dock);
        QCOMPARE(dock->windowTitle(), QStringLiteral("Editor 1: run.log"));
        QCOMPARE(dock->toolTip(), log);
        auto *panel = qobject_cast<EditorPanel *>(dock->panel());
        // Lines are shown once the background index has the first screenful.
        QTRY_VERIFY(panel->textView()->toPlainText().startsWith(QStringLiteral("ERROR: one")));

        // The same path again raises the existing dock instead of making a second one.
        dock->hide();
        QStringList again{log};
        window->openFiles(again);
        QCOMPARE(window->editorDocks().size(), 2);
        QVERIFY(!dock->isHidden());

        QStringList none;
        window->openFiles(none);
        QCOMPARE(window->editorDocks().size(), 2);
    }

    void changedFileMarksItsTabAndKeepsItsMenu()
    {
        auto window = startWindow();
        const QString log = makeFile("watched.log");
        QStringList files{log};
        window->openFiles(files);
        DockWidget *dock = window->editorDockFor(log);
        QFile file(log);
        QVERIFY(file.open(QIODevice::Append));
        file.write("more\n");
        file.close();
        QTabBar *bar = nullptr;
        int tab = -1;
        const auto findTab = [&] {
            for (QTabBar *candidate : window->findChildren<QTabBar *>()) {
                for (int i = 0; i < candidate->count(); ++i) {
                    if (candidate->tabText(i).startsWith(dock->baseTitle())) {
                        bar = candidate;
                        tab = i;
                    }
                }
            }
            return bar && bar->tabText(tab) == dock->baseTitle() + QStringLiteral(" *");
        };
        QTRY_VERIFY_WITH_TIMEOUT(findTab(), 10000);
        QCOMPARE(dock->blueTitleBar()->titleText(), bar->tabText(tab));

        // A right click on the marked tab opens the dock's menu.
        QWidget *shown = nullptr;
        QTimer::singleShot(0, this, [&] {
            shown = QApplication::activePopupWidget();
            if (shown)
                shown->close();
        });
        const QPoint at = bar->tabRect(tab).center();
        QContextMenuEvent click(QContextMenuEvent::Mouse, at, bar->mapToGlobal(at));
        QApplication::sendEvent(bar, &click);
        QCOMPARE(shown, static_cast<QWidget *>(dock->contextMenu()));

        // The panel's own reload button reads the file afresh and clears the mark.
        for (QToolButton *button : dock->panel()->findChildren<QToolButton *>()) {
            if (button->toolTip() == QLatin1String("Reload current file from disk"))
                QTest::mouseClick(button, Qt::LeftButton);
        }
        QTRY_COMPARE(bar->tabText(tab), dock->baseTitle());
    }

    void restoringALayoutKeepsThePlotListPopupUsable()
    {
        auto window = startWindow();
        QToolButton *popup = nullptr;
        for (QToolButton *button : window->findChildren<QToolButton *>()) {
            if (button->toolTip().startsWith(QStringLiteral("Show Plot Item List as popup")))
                popup = button;
        }
        QVERIFY(popup);
        QMenu *restore = nullptr;
        for (QMenu *menu : window->findChildren<QMenu *>()) {
            if (menu->title() == QLatin1String("Restore Layout"))
                restore = menu;
        }
        QVERIFY(restore);
        const auto choose = [restore](const QString &name) {
            for (QAction *action : restore->actions()) {
                if (action->text() == name)
                    action->trigger();
            }
        };
        QVERIFY(popup->isEnabled()); // the list's dock is hidden in the default layout
        choose(QStringLiteral("Data Plot"));
        QVERIFY(!popup->isEnabled());
        choose(QStringLiteral("Default"));
        QVERIFY(popup->isEnabled());
    }

    void closeAllEditorsRemovesTheirDocks()
    {
        auto window = startWindow();
        QStringList files{makeFile("a.txt"), makeFile("b.c")};
        window->openFiles(files);
        QCOMPARE(window->editorDocks().size(), 2);
        window->onCloseAllEditorsTriggered();
        QCOMPARE(window->editorDocks().size(), 0);
        // The monitor's output and the updater's console are (live) editor panels too and stay.
        QTRY_COMPARE(window->findChildren<EditorPanel *>().size(), 2);
        for (EditorPanel *panel : window->findChildren<EditorPanel *>())
            QCOMPARE(panel->mode(), EditorPanel::Live);
    }

    void recentFilesShowTheNewestEight()
    {
        auto window = startWindow();
        QStringList opened;
        for (int i = 0; i < 10; ++i)
            opened << makeFile(QStringLiteral("recent%1.txt").arg(i));
        for (const QString &path : opened) {
            QStringList one{path};
            window->openFiles(one);
        }
        const QStringList stored = QSettings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"))
                                       .value("RecentFiles/RecentTextFilePaths")
                                       .toStringList();
        QCOMPARE(stored.size(), 8);
        QCOMPARE(stored.first(), opened.last());
        const QList<QAction *> actions = window->recentFileActions();
        QCOMPARE(actions.size(), 8);
        for (int i = 0; i < 8; ++i) {
            QVERIFY(actions.at(i)->isVisible());
            QCOMPARE(actions.at(i)->text(), QStringLiteral("%1. %2").arg(i + 1).arg(opened.at(9 - i)));
        }
        // Choosing an entry opens that path (an existing dock is raised, not duplicated).
        const int docks = window->editorDocks().size();
        window->onFileMenuTriggered(actions.at(7));
        QCOMPARE(window->editorDocks().size(), docks);
    }

    void recentMenuHidesUnusedEntries()
    {
        QSettings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"))
            .setValue("RecentFiles/RecentTextFilePaths", QStringList{"/x/one.log", "/x/two.log"});
        MainWindow window;
        const QList<QAction *> actions = window.recentFileActions();
        QVERIFY(actions.at(1)->isVisible());
        QCOMPARE(actions.at(1)->text(), QStringLiteral("2. /x/two.log"));
        QVERIFY(!actions.at(2)->isVisible());
    }

    void dropsOnTheTaskListQueueFirmware()
    {
        auto window = startWindow();
        window->arrangeLayout(QStringLiteral("Default"));
        window->resize(1200, 800);
        QApplication::processEvents();
        TaskTreeView *taskList = window->updaterPanel()->taskList();
        QVERIFY(taskList->isVisible());
        const QString firmware = makeFile("drop.mcs");
        const QString sample = makeFile("drop.bin");
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(firmware), QUrl::fromLocalFile(sample)});
        const QPoint onList = taskList->mapTo(window.get(), taskList->rect().center());
        QtVilo *plots = window->plotList();
        QVERIFY(!plots->isVisible()); // the default layout leaves the list out
        window->redirectDrop(&data, onList);
        QCOMPARE(window->updaterPanel()->taskModel()->filePaths(), QStringList{firmware});
        QCOMPARE(window->updaterPanel()->taskModel()->recentFirmwarePaths(), QStringList{firmware});
        // What the list cannot use comes back through the main window's dispatch, and the
        // sample file brings the Signal Plot and the Plot Items List to the front.
        QCOMPARE(plots->model()->rowCount(), 1);
        QVERIFY(plots->isVisible());
        QVERIFY(plots->plotView(0)->isVisible());

        const QString log = makeFile("drop.log");
        QMimeData elsewhere;
        elsewhere.setUrls({QUrl::fromLocalFile(log)});
        window->redirectDrop(&elsewhere, QPoint(2, 2));
        QVERIFY(window->editorDockFor(log));
    }

    void dragsBetweenTaskAndPlotListsCarryPaths()
    {
        auto window = startWindow();
        window->arrangeLayout(QStringLiteral("Advanced")); // both lists in view
        QApplication::processEvents();
        TreeModel *tasks = window->updaterPanel()->taskModel();
        QtViloPlotItemsModel *plots = window->plotList()->model();
        const QString first = makeFile("first.mcs"), second = makeFile("second.mcs");
        tasks->AppendRows({first, second});
        plots->AppendRows({makeFile("samples.bin", QByteArray(64, 1))}, false);
        const auto dropOn = [](QAbstractItemView *view, QMimeData *data) {
            const QPoint at = view->viewport()->rect().center();
            QDropEvent drop(at, Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton,
                            Qt::NoModifier);
            // As the window system hands it over: entered, moved over, dropped.
            QDragEnterEvent enter(at, drop.possibleActions(), data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(view->viewport(), &enter);
            QDragMoveEvent move(at, drop.possibleActions(), data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(view->viewport(), &move);
            drop.setDropAction(move.dropAction());
            drop.setAccepted(false);
            QApplication::sendEvent(view->viewport(), &drop);
            return drop.isAccepted() ? drop.dropAction() : Qt::IgnoreAction;
        };

        // A task dragged into the plot list arrives as its file.
        TaskTreeView *taskList = window->updaterPanel()->taskList();
        taskList->setCurrentIndex(tasks->index(1, TreeModel::FilePath));
        std::unique_ptr<QMimeData> task(
            tasks->mimeData(taskList->selectionModel()->selectedIndexes()));
        dropOn(window->plotList()->itemsView(), task.get());
        QCOMPARE(plots->rowCount(), 2);
        QCOMPARE(plots->filePath(1), second);

        // Plot rows dragged into the task list: the firmware file becomes a task, the sample
        // file is left out, no task moves and the plot list keeps its rows.
        std::unique_ptr<QMimeData> rows(
            plots->mimeData({plots->index(0, QtViloPlotItemsModel::FilePathColumn),
                             plots->index(1, QtViloPlotItemsModel::FilePathColumn)}));
        QVERIFY(dropOn(taskList, rows.get()) != Qt::MoveAction);
        QCOMPARE(tasks->filePaths().size(), 3);
        QCOMPARE(tasks->filePaths().count(second), 2);
        QCOMPARE(tasks->filePaths().indexOf(first), 0);
        QCOMPARE(plots->rowCount(), 2);
    }

    void layoutFilesRoundTripAndReportFailures()
    {
        auto window = startWindow();
        const QString path = m_dir.filePath("mine.layout");
        QVERIFY(window->saveLayoutToFile(path));
        QVERIFY(window->loadLayoutFromFile(path));
        QVERIFY(m_shown.isEmpty());

        // A geometry that does not fit the length byte cannot be read back.
        const QString longOne = m_dir.filePath("long.layout");
        QVERIFY(LayoutFile::write(longOne, {QByteArray(300, 'g'), window->saveState(0)}).ok());
        QVERIFY(!window->loadLayoutFromFile(longOne));
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown.at(0).title, QStringLiteral("Error"));
        QCOMPARE(m_shown.at(0).text,
                 QStringLiteral("Error reading %1").arg(QDir::toNativeSeparators(longOne)));

        const QString noState = makeFile("nostate.layout", QByteArray("\x02" "ab", 3));
        QVERIFY(!window->loadLayoutFromFile(noState));
        QCOMPARE(m_shown.last().text,
                 QStringLiteral("Error reading %1").arg(QDir::toNativeSeparators(noState)));

        QVERIFY(!window->loadLayoutFromFile(m_dir.filePath("absent.layout")));
        QVERIFY(m_shown.last().text.startsWith(QStringLiteral("Failed to open ")));
    }

    void shortcutsReachOnlyTheFocusedTextPanel()
    {
        auto window = startWindow();
        const QString log = makeFile("keys.log", "alpha\nbeta\nalpha\n");
        QStringList files{log};
        window->openFiles(files);
        auto *panel = qobject_cast<EditorPanel *>(window->editorDockFor(log)->panel());
        QTRY_VERIFY(panel->textView()->toPlainText().startsWith(QStringLiteral("alpha")));
        QApplication::setActiveWindow(window.get());
        panel->textView()->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), static_cast<QWidget *>(panel->textView()));
        QCOMPARE(window->findFocusedDockWidget(), window->editorDockFor(log));

        window->onCTRL_S_Pressed();
        window->onCTRL_W_Pressed();
        QVERIFY(panel->toggleButton(TextPanel::MatchFilter)->isChecked());
        QVERIFY(!panel->toggleButton(TextPanel::ErrorFilter)->isChecked());
        QVERIFY(panel->toggleButton(TextPanel::WarningFilter)->isChecked());

        QTextCursor cursor = panel->textView()->textCursor();
        cursor.movePosition(QTextCursor::Start);
        cursor.movePosition(QTextCursor::EndOfWord, QTextCursor::KeepAnchor);
        panel->textView()->setTextCursor(cursor);
        window->onCTRL_F_Pressed();
        QCOMPARE(panel->searchField()->text(), QStringLiteral("alpha"));
        QCOMPARE(panel->searchField()->selectedText(), QStringLiteral("alpha"));

        // With the search field focused, "/" is typed, not a jump to the next match.
        panel->textView()->moveCursor(QTextCursor::Start);
        window->on_Slash_Pressed();
        QCOMPARE(panel->textView()->textCursor().blockNumber(), 0);
        panel->textView()->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), static_cast<QWidget *>(panel->textView()));
        // The whole-file search behind the counter has to finish first.
        QTRY_VERIFY(panel->counterLabel()->text() != QLatin1String(" --/-- "));
        window->on_Slash_Pressed();
        QVERIFY(panel->textView()->textCursor().hasSelection());

        // A panel that does not handle keys is left alone.
        window->plotList()->itemsView()->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(),
                     static_cast<QWidget *>(window->plotList()->itemsView()));
        window->onCTRL_S_Pressed();
        QVERIFY(panel->toggleButton(TextPanel::MatchFilter)->isChecked());
    }

    void statusLineFollowsTheFocusedPanel()
    {
        auto window = startWindow();
        QCOMPARE(window->statusText(), QStringLiteral("Status: Idle 0:0:0:0"));
        UpdaterConsole *console = window->updaterPanel()->consoleView();
        QApplication::setActiveWindow(window.get());
        console->textView()->setFocus();
        QTRY_VERIFY(window->statusText().startsWith(QStringLiteral(" Status: Idle ")));
        QVERIFY(window->statusBar()->toolTip().startsWith(QStringLiteral("Time since start: ")));
        console->process()->start(QStringLiteral("sleep"), {QStringLiteral("30")});
        QVERIFY(console->process()->waitForStarted());
        QTRY_VERIFY(window->statusText().startsWith(QStringLiteral(" Status: Running... ")));
        console->process()->kill();
        console->process()->waitForFinished();
        QTRY_VERIFY(window->statusText().startsWith(QStringLiteral(" Status: Idle ")));
    }

    void closingWhileTheUpdaterRunsAsksFirst()
    {
        auto window = startWindow();
        QProcess *process = window->updaterPanel()->consoleView()->process();
        process->start(QStringLiteral("sleep"), {QStringLiteral("30")});
        QVERIFY(process->waitForStarted());

        m_answer = QMessageBox::No;
        QVERIFY(!window->close());
        QVERIFY(window->isVisible());
        QCOMPARE(process->state(), QProcess::Running);
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown.at(0).title, QStringLiteral("Child process still running!"));
        QCOMPARE(m_shown.at(0).text,
                 QStringLiteral("Child process:\n\nsleep\n\nis currently still running!\n\n"
                                "Terminate this process and quit?"));

        m_answer = QMessageBox::Yes;
        QVERIFY(window->close());
        QCOMPARE(process->state(), QProcess::NotRunning);
        QSettings settings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"));
        QVERIFY(!settings.value("MainWindowLastUsedLayout/state").toByteArray().isEmpty());
    }

    void ctrlETogglesTheErrorFilterDockedAndFloating_data()
    {
        QTest::addColumn<bool>("floating");
        QTest::newRow("docked") << false;
        QTest::newRow("floating") << true;
    }

    void ctrlETogglesTheErrorFilterDockedAndFloating()
    {
        QFETCH(bool, floating);
        auto window = startWindow();
        const QString log = makeFile("keys.log", "ERROR: one\n");
        QStringList files{log};
        window->openFiles(files);
        DockWidget *dock = window->editorDockFor(log);
        auto *panel = qobject_cast<EditorPanel *>(dock->panel());
        if (floating)
            dock->FloatingToggle();
        QCOMPARE(dock->isFloating(), floating);
        QWidget *top = floating ? static_cast<QWidget *>(dock) : window.get();
        QApplication::setActiveWindow(top);
        QVERIFY(QTest::qWaitForWindowActive(top));
        panel->textView()->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), static_cast<QWidget *>(panel->textView()));
        QAbstractButton *errors = panel->toggleButton(TextPanel::ErrorFilter);
        const bool before = errors->isChecked();
        QTest::keyClick(panel->textView(), Qt::Key_E, Qt::ControlModifier);
        QCOMPARE(errors->isChecked(), !before);
        QTest::keyClick(panel->textView(), Qt::Key_E, Qt::ControlModifier);
        QCOMPARE(errors->isChecked(), before);
        // Every float or dock also stores the layout as the last used one.
        QSettings settings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"));
        QCOMPARE(settings.value("MainWindowLastUsedLayout/state").toByteArray().isEmpty(),
                 !floating);
    }

    void showAllShowsEveryFixedDock()
    {
        auto window = startWindow();
        QVERIFY(!hiddenDocks(*window).isEmpty());
        QAction *showAll = window->menuBar()->actions().at(1)->menu()->actions().at(1);
        QCOMPARE(showAll->text(), QStringLiteral("Show All"));
        QVERIFY(!showAll->isChecked());
        showAll->trigger();
        QVERIFY(hiddenDocks(*window).isEmpty());
        QVERIFY(showAll->isChecked());
    }

    void realTimeRequestsReachThePlotList()
    {
        MainWindow window;
        QtVilo *plot = window.plotList();
        plot->onVirtualPlotItemConnected(QStringLiteral("4711, /opt/grabber, rec, 0x10, 64, int16, 1"));
        plot->clearOnFirstVirtualPlot();
        plot->onVirtualPlotItemConnected(QStringLiteral("4712, /opt/grabber, rec, 0x20, 64, int16, 1"));
        QCOMPARE(plot->model()->rowCount(), 1);
        QVERIFY(plot->model()->isMemoryItem(0));
        QVERIFY(plot->model()->filePath(0).startsWith(QStringLiteral("4712")));
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
