// SPDX-License-Identifier: LGPL-3.0-or-later
#include "monitor/core/vrxmon.h"
#include "monitor/core/vrxmonhost.h"
#include "monitor/ui/monitorpanel.h"
#include "plot/ui/qtvilo.h"
#include "plot/ui/qtviloplotitemsmodel.h"
#include "resources/initresources.h"
#include "shell/core/startup.h"
#include "shell/ui/bluetitlebar.h"
#include "shell/ui/dockwidget.h"
#include "shell/ui/mainwindow.h"
#include "shell/ui/metatypes.h"
#include "shell/ui/sizehintsdialog.h"
#include "testenv.h"
#include "updater/ui/tasktreeview.h"
#include "updater/ui/treemodel.h"
#include "updater/ui/updaterpanel.h"
#include "util/ui/notify.h"
#include "viewer/ui/editor.h"
#include "viewer/ui/editorpanel.h"

#include <QContextMenuEvent>
#include <QIcon>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QMimeData>
#include <QMovie>
#include <QPlainTextEdit>
#include <QSettings>
#include <QSpinBox>
#include <QStatusBar>
#include <QTabBar>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolBar>
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

QSettings settings()
{
    return QSettings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"));
}

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

QToolButton *buttonWithTip(const QWidget *root, const QString &tip)
{
    for (QToolButton *button : root->findChildren<QToolButton *>()) {
        if (button->toolTip().startsWith(tip))
            return button;
    }
    return nullptr;
}

// The entry of that text or submenu title, or null.
QAction *entry(const QMenu *menu, const QString &text)
{
    for (QAction *action : menu->actions()) {
        if (action->text() == text || (action->menu() && action->menu()->title() == text))
            return action;
    }
    return nullptr;
}

// Chooses an entry of the window's menu of that title, as a click on it would; false when the
// menu does not offer it, so every use also checks that the entry is there.
bool choose(const QWidget &window, const QString &menu, const QString &text)
{
    for (QMenu *candidate : window.findChildren<QMenu *>()) {
        if (QAction *action = candidate->title() == menu ? entry(candidate, text) : nullptr) {
            action->trigger();
            return true;
        }
    }
    return false;
}

bool focus(QWidget *top, QWidget *widget)
{
    QApplication::setActiveWindow(top);
    if (!QTest::qWaitForWindowActive(top))
        return false;
    widget->setFocus();
    return QTest::qWaitFor([widget] { return QApplication::focusWidget() == widget; });
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

    EditorPanel *openText(MainWindow &window, const QString &name, const QByteArray &contents)
    {
        QStringList files{makeFile(name, contents)};
        window.openFiles(files);
        return qobject_cast<EditorPanel *>(window.editorDockFor(files.first())->panel());
    }

private slots:
    void initTestCase()
    {
        initResources();
        registerMetaTypes();
        setApplicationIdentity();
        Notify::setHook([this](Notify::Kind kind, const QString &title, const QString &text) {
            static const char *const names[] = {"information", "warning", "critical", "question"};
            m_shown.append({QString::fromLatin1(names[int(kind)]), title, text});
            return m_answer;
        });
    }

    void init()
    {
        settings().clear();
        m_shown.clear();
        m_answer = QMessageBox::No;
    }

    void everyNamedImageResolves_data()
    {
        QTest::addColumn<QString>("path");
        // Every image the sources name, under both spellings of the resource root they use.
        const QStringList images{
            "OKAV.ico", "UpToParent.png", "add_red.png", "broom.png", "clearedit.png",
            "clock.png", "copy.png", "copy_text.png", "delete.png", "deletedfile.png", "down.png",
            "drop-down-list.png", "filter.png", "filter_error.png", "filter_warn.png",
            "flashlight.png", "folder.png", "freq.png", "gauge.png", "gear.png", "go.png",
            "graph.png", "home.png", "lightbulb_black.png", "linenumbers.png",
            "list_images.png", "loading.gif", "lockedfile.png", "mem_layout.png", "next.png",
            "play.png", "previous.png", "reboot_image.png", "recycle.png", "refreshfile.png",
            "reloadtext.png", "replot.png", "running_black.png", "running_greenblue.png",
            "save.png", "scrollarrow_down.png", "scrollarrow_up.png", "up.png", "xy.png",
            "xyx.png", "xyxy.png", "yxy.png", "monitoring.png", "refresh_blue.png"};
        for (const QString &image : images) {
            for (const char *root : {":/Images/", "://Images/"})
                QTest::newRow(qPrintable(root + image)) << root + image;
        }
        for (const char *bar : {"Center", "Left", "Right"})
            QTest::newRow(bar) << QStringLiteral(":/res/titlebar%1.png").arg(bar);
    }

    void everyNamedImageResolves()
    {
        QFETCH(QString, path);
        QImageReader reader(path);
        QVERIFY2(!reader.read().isNull(), qPrintable(path + ": " + reader.errorString()));
    }

    void busyIndicatorAnimatesAndTheIconHasSeveralSizes()
    {
        QMovie movie(QStringLiteral("://Images/loading.gif"));
        QVERIFY(movie.isValid());
        QVERIFY(movie.frameCount() > 1);
        QVERIFY(QIcon(QStringLiteral(":/Images/OKAV.ico")).availableSizes().size() >= 2);
    }

    void titleMenusAndToolbar()
    {
        MainWindow window;
        QCOMPARE(window.windowTitle(), QStringLiteral("VRXAssist - (Build 20231)"));
        // Entries the other tests choose are checked where they are chosen.
        const QList<QAction *> bar = window.menuBar()->actions();
        QCOMPARE(menuTexts(bar), (QStringList{"File", "View", "Layout", "Help"}));
        QCOMPARE(menuTexts(bar.at(0)->menu()->actions()),
                 (QStringList{"Open...", "Recent Files", "Close All Editors", "E&xit"}));
        QCOMPARE(menuTexts(bar.at(2)->menu()->actions()),
                 (QStringList{"Restore Layout", "Startup Layout", "Save layout...",
                              "Load layout...", "Animated docks", "Allow nested docks",
                              "Allow tabbed docks", "Force tabbed docks", "Grouped dragging",
                              "Switch layout direction", "Tab Position"}));
        QCOMPARE(menuTexts(bar.at(3)->menu()->actions()),
                 (QStringList{"vrxassist FAQ", "About vrxassist"}));
        auto *toolBar = window.findChild<QToolBar *>(QStringLiteral("Main Toolbar"));
        QVERIFY(toolBar);
        QVERIFY(buttonWithTip(toolBar, QStringLiteral("Open Text or Firmware file")));
        QVERIFY(buttonWithTip(toolBar, "Show Plot Item List as popup\n(If not already visible)"));
    }

    void startupLayoutFollowsTheMenuChoice_data()
    {
        QTest::addColumn<QString>("choice");
        QTest::addColumn<bool>("broken"); // the stored last-used layout cannot be restored
        QTest::newRow("default") << "Default" << false;
        QTest::newRow("last used") << "Last Used" << false;
        QTest::newRow("last used, broken") << "Last Used" << true;
    }

    void startupLayoutFollowsTheMenuChoice()
    {
        QFETCH(QString, choice);
        QFETCH(bool, broken);
        QStringList arranged;
        {
            auto window = startWindow();
            // The first start stores the default layout.
            QVERIFY(!settings().value("MainWindowDefaultLayout/state").toByteArray().isEmpty());
            QVERIFY(window->startupDefaultAction()->isChecked());
            QVERIFY(choose(*window, "Startup Layout", choice));
            QVERIFY(choose(*window, "Restore Layout", "Data Plot"));
            window->saveLastUsedLayout();
            arranged = hiddenDocks(*window);
        }
        if (broken)
            settings().setValue("MainWindowLastUsedLayout/state", QByteArray("not a state"));
        const bool lastUsed = choice == QLatin1String("Last Used");
        auto window = startWindow();
        QCOMPARE(window->startupLastUsedAction()->isChecked(), lastUsed);
        QCOMPARE(hiddenDocks(*window) == arranged, lastUsed && !broken);
        // A broken one is quietly replaced by the default arrangement.
        QVERIFY(settings().value("MainWindowLastUsedLayout/state") != QByteArray("not a state"));
        QVERIFY(m_shown.isEmpty());

        // "Startup" returns to what the window started with.
        const QStringList atStart = hiddenDocks(*window);
        QVERIFY(choose(*window, "Restore Layout", "Advanced"));
        QVERIFY(hiddenDocks(*window) != atStart);
        QVERIFY(window->arrangeLayout(QStringLiteral("Startup")));
        QCOMPARE(hiddenDocks(*window), atStart);
    }

    void f3AndF4CycleThroughTheNamedLayouts()
    {
        auto window = startWindow();
        QVERIFY(focus(window.get(), window.get()));
        QCOMPARE(window->restoreLayoutIndex(), 0);
        // Both ways round the five, ending on "Advanced", which shows both plot views.
        const QList<QPair<Qt::Key, int>> presses{
            {Qt::Key_F3, 4}, {Qt::Key_F4, 0}, {Qt::Key_F4, 1}, {Qt::Key_F3, 0}, {Qt::Key_F4, 1}};
        for (const auto &press : presses) {
            QTest::keyClick(window.get(), press.first);
            QCOMPARE(window->restoreLayoutIndex(), press.second);
        }
        QVERIFY(!hiddenDocks(*window).contains(QStringLiteral("PlotViewBDock")));
        QVERIFY(m_shown.isEmpty());
    }

    void openFilesDispatchesBySuffix()
    {
        auto window = startWindow();
        const QString firmware = makeFile("board.mcs");
        const QString log = makeFile("run.log", "ERROR: one\nINFO : two\n");
        const QString sample = makeFile("capture.bin", QByteArray(64, '\1'));
        const QString missing = m_dir.filePath("gone.log");

        QStringList files{firmware, log, missing, sample, makeFile("NOTES.TXT")};
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
        QCOMPARE(dock->windowTitle(), QStringLiteral("Editor 1: run.log"));
        QCOMPARE(dock->toolTip(), log);
        auto *panel = qobject_cast<EditorPanel *>(dock->panel());
        // Lines are shown once the background index has the first screenful.
        QTRY_VERIFY(panel->textView()->toPlainText().startsWith(QStringLiteral("ERROR: one")));

        QVERIFY(choose(*window, "File", "Close All Editors"));
        QCOMPARE(window->editorDocks().size(), 0);
        // The monitor's output and the updater's console are (live) editor panels too and stay.
        QTRY_COMPARE(window->findChildren<EditorPanel *>().size(), 2);
        for (EditorPanel *live : window->findChildren<EditorPanel *>())
            QCOMPARE(live->mode(), EditorPanel::Live);
    }

    void changedFileMarksItsTabAndKeepsItsMenu()
    {
        auto window = startWindow();
        EditorPanel *panel = openText(*window, "watched.log", "line\n");
        DockWidget *dock = window->editorDockFor(m_dir.filePath("watched.log"));
        QFile file(m_dir.filePath("watched.log"));
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
        QTest::mouseClick(buttonWithTip(panel, "Reload current file from disk"), Qt::LeftButton);
        QTRY_COMPARE(bar->tabText(tab), dock->baseTitle());
    }

    void restoringALayoutKeepsThePlotListPopupUsable()
    {
        auto window = startWindow();
        QToolButton *popup = buttonWithTip(window.get(), "Show Plot Item List as popup");
        QVERIFY(popup);
        QVERIFY(popup->isEnabled()); // the list's dock is hidden in the default layout
        QVERIFY(choose(*window, "Restore Layout", "Data Plot"));
        QVERIFY(!popup->isEnabled());
        QVERIFY(choose(*window, "Restore Layout", "Default"));
        QVERIFY(popup->isEnabled());
        QVERIFY(!hiddenDocks(*window).isEmpty());
        QVERIFY(choose(*window, "View", "Show All"));
        QVERIFY(hiddenDocks(*window).isEmpty());
        QVERIFY(!popup->isEnabled());
    }

    void recentFilesShowTheNewestEight()
    {
        auto window = startWindow();
        const QList<QAction *> actions = window->recentFileActions();
        QCOMPARE(actions.size(), 8);
        QStringList newestFirst;
        for (int i = 0; i < 10; ++i) {
            QStringList one{makeFile(QStringLiteral("recent%1.txt").arg(i))};
            window->openFiles(one);
            newestFirst.prepend(one.first());
            if (i < 7) // entries beyond what was opened stay out of the menu
                QVERIFY(!actions.at(i + 1)->isVisible());
        }
        QCOMPARE(settings().value("RecentFiles/RecentTextFilePaths").toStringList(),
                 newestFirst.mid(0, 8));
        for (int i = 0; i < 8; ++i) {
            QVERIFY(actions.at(i)->isVisible());
            QCOMPARE(actions.at(i)->text(),
                     QStringLiteral("%1. %2").arg(i + 1).arg(newestFirst.at(i)));
        }
        // Choosing an entry raises that file's dock rather than opening a second one.
        DockWidget *dock = window->editorDockFor(newestFirst.at(7));
        dock->hide();
        const int docks = window->editorDocks().size();
        actions.at(7)->trigger();
        QCOMPARE(window->editorDocks().size(), docks);
        QVERIFY(!dock->isHidden());
    }

    void dropsOnTheTaskListQueueFirmware()
    {
        auto window = startWindow();
        window->resize(1200, 800);
        QApplication::processEvents();
        TaskTreeView *taskList = window->updaterPanel()->taskList();
        QVERIFY(taskList->isVisible());
        const QString firmware = makeFile("drop.mcs");
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(firmware), QUrl::fromLocalFile(makeFile("drop.bin"))});
        QtVilo *plots = window->plotList();
        QVERIFY(!plots->isVisible()); // the default layout leaves the list out
        window->redirectDrop(&data, taskList->mapTo(window.get(), taskList->rect().center()));
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
        QVERIFY(choose(*window, "Restore Layout", "Advanced")); // both lists
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

    void layoutFilesLoadBackAndReportFailures_data()
    {
        QTest::addColumn<QByteArray>("bytes"); // what the loaded file holds; null: no file
        QTest::addColumn<QString>("shown");    // the first line of the message
        const QString reading = QStringLiteral("Error reading %1");
        QTest::newRow("no file") << QByteArray() << "Failed to open %1";
        QTest::newRow("empty file") << QByteArray("") << reading;
        QTest::newRow("geometry cut short") << QByteArray("\x0a" "abc", 4) << reading;
    }

    void layoutFilesLoadBackAndReportFailures()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, shown);
        auto window = startWindow();
        QVERIFY(window->saveLayoutToFile(m_dir.filePath("mine.layout")));
        QVERIFY(window->loadLayoutFromFile(m_dir.filePath("mine.layout")));
        QVERIFY(m_shown.isEmpty());

        const QString path =
            bytes.isNull() ? m_dir.filePath("absent.layout") : makeFile("bad.layout", bytes);
        QVERIFY(!window->loadLayoutFromFile(path));
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown.at(0).title, QStringLiteral("Error"));
        QCOMPARE(m_shown.at(0).text.section(QLatin1Char('\n'), 0, 0),
                 shown.arg(QDir::toNativeSeparators(path)));
    }

    void shortcutsReachOnlyTheFocusedTextPanel()
    {
        auto window = startWindow();
        EditorPanel *panel = openText(*window, "keys.log", "alpha\nbeta\nalpha\n");
        QPlainTextEdit *text = panel->textView();
        QTRY_VERIFY(text->toPlainText().startsWith(QStringLiteral("alpha")));
        QVERIFY(focus(window.get(), text));
        DockWidget *dock = window->findFocusedDockWidget();
        QCOMPARE(dock->panel(), static_cast<QWidget *>(panel));
        // The title bar tells whether its dock has the focus.
        QTRY_COMPARE(dock->blueTitleBar()->backgroundColor(), QColor("LightSteelBlue"));

        QTest::keyClick(text, Qt::Key_S, Qt::ControlModifier);
        QTest::keyClick(text, Qt::Key_W, Qt::ControlModifier);
        QVERIFY(panel->toggleButton(TextPanel::MatchFilter)->isChecked());
        QVERIFY(!panel->toggleButton(TextPanel::ErrorFilter)->isChecked());
        QVERIFY(panel->toggleButton(TextPanel::WarningFilter)->isChecked());

        QTextCursor cursor = text->textCursor();
        cursor.movePosition(QTextCursor::Start);
        cursor.movePosition(QTextCursor::EndOfWord, QTextCursor::KeepAnchor);
        text->setTextCursor(cursor);
        QTest::keyClick(text, Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(panel->searchField()->text(), QStringLiteral("alpha"));
        QCOMPARE(panel->searchField()->selectedText(), QStringLiteral("alpha"));

        // With the search field focused, "/" is typed, not a jump to the next match.
        text->moveCursor(QTextCursor::Start);
        QVERIFY(focus(window.get(), panel->searchField()));
        QTest::keyClick(panel->searchField(), Qt::Key_Slash);
        QCOMPARE(panel->searchField()->text(), QStringLiteral("/"));
        QCOMPARE(text->textCursor().blockNumber(), 0);
        panel->searchField()->setText(QStringLiteral("alpha"));
        QVERIFY(focus(window.get(), text));
        // The whole-file search behind the counter has to finish first.
        QTRY_VERIFY(panel->counterLabel()->text() != QLatin1String(" --/-- "));
        QTest::keyClick(text, Qt::Key_Slash);
        QVERIFY(text->textCursor().hasSelection());

        // A panel that does not handle keys is left alone.
        QVERIFY(focus(window.get(), window->plotList()->itemsView()));
        QTRY_COMPARE(dock->blueTitleBar()->backgroundColor(), QColor("Lightgrey"));
        QTest::keyClick(window->plotList()->itemsView(), Qt::Key_S, Qt::ControlModifier);
        QVERIFY(panel->toggleButton(TextPanel::MatchFilter)->isChecked());
    }

    void aRunningToolShowsInTheStatusLineAndClosingAsksFirst()
    {
        auto window = startWindow();
        QCOMPARE(window->statusText(), QStringLiteral("Status: Idle 0:0:0:0"));
        UpdaterConsole *console = window->updaterPanel()->consoleView();
        QVERIFY(focus(window.get(), console->textView()));
        QTRY_VERIFY(window->statusText().startsWith(QStringLiteral(" Status: Idle ")));
        QVERIFY(window->statusBar()->toolTip().startsWith(QStringLiteral("Time since start: ")));
        QProcess *process = console->process();
        process->start(QStringLiteral("sleep"), {QStringLiteral("30")});
        QVERIFY(process->waitForStarted());
        QTRY_VERIFY(window->statusText().startsWith(QStringLiteral(" Status: Running... ")));

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
        QTRY_VERIFY(window->statusText().startsWith(QStringLiteral(" Status: Idle ")));
        QVERIFY(!settings().value("MainWindowLastUsedLayout/state").toByteArray().isEmpty());
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
        EditorPanel *panel = openText(*window, "keys.log", "ERROR: one\n");
        DockWidget *dock = window->editorDockFor(m_dir.filePath("keys.log"));
        if (floating)
            dock->FloatingToggle();
        QCOMPARE(dock->isFloating(), floating);
        QWidget *top = floating ? static_cast<QWidget *>(dock) : window.get();
        QVERIFY(focus(top, panel->textView()));
        QAbstractButton *errors = panel->toggleButton(TextPanel::ErrorFilter);
        const bool before = errors->isChecked();
        QTest::keyClick(panel->textView(), Qt::Key_E, Qt::ControlModifier);
        QCOMPARE(errors->isChecked(), !before);
        QTest::keyClick(panel->textView(), Qt::Key_E, Qt::ControlModifier);
        QCOMPARE(errors->isChecked(), before);
        // Every float or dock also stores the layout as the last used one.
        QCOMPARE(settings().value("MainWindowLastUsedLayout/state").toByteArray().isEmpty(),
                 !floating);
    }

    void contextMenuEntriesChangeTheDock()
    {
        QMainWindow window;
        auto *first = new DockWidget(new QPlainTextEdit, &window);
        auto *second = new DockWidget(new QPlainTextEdit, &window);
        first->setBaseTitle(QStringLiteral("First"));
        second->setBaseTitle(QStringLiteral("Second"));
        const QList<DockWidget *> both{first, second};
        first->setOtherDocksProvider([both] { return both; });
        window.addDockWidget(Qt::LeftDockWidgetArea, first);
        window.addDockWidget(Qt::LeftDockWidgetArea, second);
        QMenu *menu = first->contextMenu();
        QCOMPARE(menuTexts(menu->actions()),
                 (QStringList{"Closable", "Movable", "Floatable", "Vertical title bar",
                              "Allow on Left", "Allow on Right", "Allow on Top", "Allow on Bottom",
                              "Place on Left", "Place on Right", "Place on Top", "Place on Bottom",
                              "Show Title Bar", "Floating", "Tab into", "Split horizontally into",
                              "Split vertically into", "Raise", "Change Size Hints..."}));
        QMenu *tabInto = entry(menu, QStringLiteral("Tab into"))->menu();
        emit tabInto->aboutToShow();
        QCOMPARE(menuTexts(tabInto->actions()), QStringList{"Second"});
        tabInto->actions().at(0)->trigger();
        QCOMPARE(window.tabifiedDockWidgets(second), QList<QDockWidget *>{first});

        emit menu->aboutToShow();
        QVERIFY(entry(menu, QStringLiteral("Closable"))->isChecked());
        entry(menu, QStringLiteral("Closable"))->trigger();
        QVERIFY(!(first->features() & QDockWidget::DockWidgetClosable));
        entry(menu, QStringLiteral("Place on Right"))->trigger();
        QCOMPARE(window.dockWidgetArea(first), Qt::RightDockWidgetArea);
        entry(menu, QStringLiteral("Allow on Left"))->trigger();
        QVERIFY(!first->isAreaAllowed(Qt::LeftDockWidgetArea));

        // An editor's dock also offers its file's folder.
        first->makeEditorDock(QStringLiteral("/tmp/x.log"));
        const QList<QAction *> actions = menu->actions();
        QCOMPARE(actions.at(actions.size() - 2)->text(), QStringLiteral("Open Containing Folder"));
        QVERIFY(!actions.last()->icon().isNull());
    }

    void sizeHintsTakeEffectWhileDocked()
    {
        QMainWindow window;
        window.setCentralWidget(new QPlainTextEdit);
        auto *panel = new QPlainTextEdit;
        auto *dock = new DockWidget(panel, &window);
        window.addDockWidget(Qt::LeftDockWidgetArea, dock);
        window.resize(900, 500);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        // The user types into the dialog's four boxes and presses OK; what they showed comes back.
        const auto edit = [&](const QList<int> &typed) {
            QStringList shown;
            QTimer::singleShot(0, this, [&] {
                auto *dialog = qobject_cast<SizeHintsDialog *>(QApplication::activeModalWidget());
                QVERIFY(dialog);
                const QList<QSpinBox *> boxes{dialog->sizeHintBox(), dialog->minSizeHintBox(),
                                              dialog->maxSizeBox(), dialog->dockMaxSizeBox()};
                for (int i = 0; i < boxes.size(); ++i) {
                    shown << boxes.at(i)->text();
                    boxes.at(i)->setFocus();
                    QTest::keyClick(boxes.at(i), Qt::Key_A, Qt::ControlModifier);
                    QTest::keyClicks(boxes.at(i), QString::number(typed.at(i)));
                }
                QTest::keyClick(dialog, Qt::Key_Return);
            });
            entry(dock->contextMenu(), QStringLiteral("Change Size Hints..."))->trigger();
            return shown;
        };
        const int natural = dock->sizeHint().width();
        const int naturalMin = dock->minimumSizeHint().width();
        QStringList shown = edit({300, 220, 600, 500});
        QCOMPARE(shown.mid(0, 3), (QStringList{QString::number(natural),
                                               QString::number(naturalMin), "No limit"}));
        QTRY_COMPARE(dock->width(), 300);
        QCOMPARE(panel->maximumWidth(), 600);
        QCOMPARE(dock->maximumWidth(), 500);
        // The splitter cannot make it narrower than the minimum.
        window.resizeDocks({dock}, {50}, Qt::Horizontal);
        QTRY_VERIFY(dock->width() >= 220);

        shown = edit({300, 220, -1, -1});
        QCOMPARE(shown, (QStringList{"300", "220", "600", "500"}));
        QCOMPARE(panel->maximumWidth(), QWIDGETSIZE_MAX);
        QCOMPARE(dock->maximumWidth(), QWIDGETSIZE_MAX);
        QVERIFY(dock->width() >= 220); // hints typed as shown change nothing
    }

    void realTimeRequestsFromTheMonitorReachThePlotList()
    {
        MainWindow window;
        VrxMon *server = window.monitorPanel()->editor()->vrxMonHost()->server();
        QtVilo *plot = window.plotList();
        emit server->VirtualPlotItemConnected("4711, /opt/grabber, rec, 0x10, 64, int16, 1");
        // The first client of a session clears what earlier ones left.
        emit server->firstClientConnected();
        emit server->VirtualPlotItemConnected("4712, /opt/grabber, rec, 0x20, 64, int16, 1");
        QTRY_COMPARE(plot->model()->rowCount(), 1);
        QVERIFY(plot->model()->isMemoryItem(0));
        QVERIFY(plot->model()->filePath(0).startsWith(QStringLiteral("4712")));
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
