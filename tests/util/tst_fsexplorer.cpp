// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/ui/qtvilo.h"
#include "plot/ui/qtviloplotitemsmodel.h"
#include "resources/initresources.h"
#include "shell/core/startup.h"
#include "shell/ui/mainwindow.h"
#include "shell/ui/metatypes.h"
#include "util/ui/filesystemmodel.h"
#include "util/ui/fsexplorerwidget.h"
#include "util/ui/notify.h"
#include "util/ui/treecombobox.h"

#include <QClipboard>
#include <QLineEdit>
#include <QMenu>
#include <QSettings>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTimer>
#include <QTreeView>
#include <QWidgetAction>
#include <QtTest>

#include <memory>

namespace {
const QString RecentKey = QStringLiteral("FSExplorerSettings/MostRecentPath");

QString canonical(const QString &path)
{
    return QFileInfo(path).canonicalFilePath();
}

QStringList actionTexts(const QMenu &menu)
{
    QStringList texts;
    for (QAction *action : menu.actions()) {
        if (!action->isSeparator())
            texts << (action->menu() ? action->menu()->title() : action->text());
    }
    return texts;
}

QAction *actionNamed(const QMenu &menu, const QString &text)
{
    for (QAction *action : menu.actions()) {
        if (action->text() == text)
            return action;
    }
    qFatal("no action %s", qPrintable(text));
}

QStringList shownNames(const FsExplorerWidget &explorer)
{
    const QModelIndex root = explorer.fileView()->rootIndex();
    QStringList names;
    for (int row = 0; row < explorer.fileModel()->rowCount(root); ++row)
        names << explorer.fileModel()->index(row, 0, root).data().toString();
    names.sort();
    return names;
}
} // namespace

class TestFsExplorer : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    const QStringList m_allNames{"..", "a.bin", "b.txt", "c.dat", "sub", "tool"};

    QString path(const QString &name) const { return m_dir.filePath(name); }

    // Shown so that rows have places for right-clicks; the rows still load in the background.
    std::unique_ptr<FsExplorerWidget> openExplorer()
    {
        QSettings().setValue(RecentKey, m_dir.path());
        auto explorer = std::make_unique<FsExplorerWidget>();
        explorer->resize(600, 400);
        explorer->show();
        return explorer;
    }

    QModelIndex rowOf(const FsExplorerWidget &explorer, const QString &name) const
    {
        return explorer.fileModel()->index(path(name));
    }

    QPoint pointOf(const FsExplorerWidget &explorer, const QString &name) const
    {
        return explorer.fileView()->visualRect(rowOf(explorer, name)).center();
    }

    void select(const FsExplorerWidget &explorer, const QStringList &names) const
    {
        for (const QString &name : names) {
            explorer.fileView()->selectionModel()->select(
                rowOf(explorer, name), QItemSelectionModel::Select | QItemSelectionModel::Rows);
        }
    }

private slots:
    void initTestCase()
    {
        initResources();
        registerMetaTypes();
        setApplicationIdentity();
        Notify::setHook(
            [](Notify::Kind, const QString &, const QString &) { return QMessageBox::Ok; });
        QVERIFY(m_dir.isValid());
        const QStringList names{"a.bin", "b.txt", "c.dat", "tool"};
        const QByteArray contents[] = {QByteArray(64, '\x7f'), "text\n", "data\n", "#!/bin/sh\n"};
        for (int i = 0; i < names.size(); ++i) {
            QFile file(path(names[i]));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(contents[i]) > 0);
        }
        QFile::setPermissions(path("tool"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QVERIFY(QDir(m_dir.path()).mkdir(QStringLiteral("sub")));
    }

    void init() { QSettings().clear(); }

    // With nothing stored, or a stored folder that has gone since.
    void startsInApplicationDirectory()
    {
        QString vanished;
        {
            QTemporaryDir gone;
            vanished = gone.path();
        }
        for (const QString &stored : {QString(), vanished}) {
            if (!stored.isNull())
                QSettings().setValue(RecentKey, stored);
            const FsExplorerWidget explorer;
            const QString appDir = QCoreApplication::applicationDirPath();
            QCOMPARE(explorer.fileView()->rootIndex(), explorer.fileModel()->index(appDir));
            QCOMPARE(explorer.pathBox()->currentText(), QDir::toNativeSeparators(appDir));
            QCOMPARE(canonical(QDir::currentPath()), canonical(appDir));
            QDir::setCurrent(m_dir.path()); // so the next round sees the change again
        }
    }

    void changingFolders()
    {
        auto explorer = openExplorer();
        TreeComboBox *box = explorer->pathBox();
        QCOMPARE(explorer->currentFolder(), m_dir.path());

        // Typed with a trailing separator and confirmed with Enter.
        const QString sub = path("sub");
        box->setEditText(QDir::toNativeSeparators(sub + QLatin1Char('/')));
        QTest::keyClick(box->lineEdit(), Qt::Key_Return);
        QCOMPARE(explorer->fileView()->rootIndex(), explorer->fileModel()->index(sub));
        QCOMPARE(box->currentText(), QDir::toNativeSeparators(sub));
        QCOMPARE(QSettings().value(RecentKey).toString(), sub);
        QCOMPARE(canonical(QDir::currentPath()), canonical(sub));

        // ".." in the list goes up, a folder in the list goes in, the button goes up.
        QModelIndex up;
        QTRY_VERIFY(
            (up = explorer->fileModel()->index(0, 0, explorer->fileView()->rootIndex())).isValid());
        QCOMPARE(up.data().toString(), QStringLiteral(".."));
        explorer->onFileTreeViewDoubleClicked(up);
        QCOMPARE(explorer->currentFolder(), m_dir.path());
        explorer->onFileTreeViewDoubleClicked(rowOf(*explorer, "sub"));
        QCOMPARE(explorer->currentFolder(), sub);
        explorer->parentButton()->click();
        QCOMPARE(explorer->currentFolder(), m_dir.path());

        // A folder picked in the tree pop-up.
        box->treeView()->setCurrentIndex(explorer->dirModel()->index(sub));
        explorer->onCurrentPathCbxIndexActivated(0);
        QCOMPARE(explorer->currentFolder(), sub);

        // The root keeps its separator; a path that names no folder goes nowhere.
        box->setEditText(QStringLiteral("/"));
        box->goAction()->trigger();
        QCOMPARE(explorer->currentFolder(), QStringLiteral("/"));
        box->setEditText(path("missing"));
        box->goAction()->trigger();
        QCOMPARE(explorer->currentFolder(), QStringLiteral("/"));

        explorer->homeButton()->click();
        QCOMPARE(QSettings().value(RecentKey).toString(), QCoreApplication::applicationDirPath());
    }

    void folderPopupShowsTheOpenedBranches()
    {
        auto explorer = openExplorer();
        TreeComboBox *box = explorer->pathBox();
        QVERIFY(QTest::qWaitForWindowExposed(explorer.get()));
        box->showPopup();
        QTreeView *tree = box->treeView();
        QTRY_VERIFY(tree->isVisible());
        // From "/" down to the current folder at least: several rows, not one.
        int rows = 0;
        for (QModelIndex row = tree->model()->index(0, 0, tree->rootIndex()); row.isValid();
             row = tree->indexBelow(row))
            ++rows;
        const int depth = m_dir.path().count(QLatin1Char('/')) + 1;
        QVERIFY2(rows >= depth, qPrintable(QString::number(rows)));
        const int shown = qMin(rows, box->maxVisibleItems());
        QVERIFY2(tree->viewport()->height() >= shown * tree->sizeHintForRow(0),
                 qPrintable(QString::number(tree->viewport()->height())));
        box->hidePopup();
    }

    void rightClickInTheToolbarPopupTakesTheRowUnderThePointer()
    {
        // As in the main window: the explorer lives in a tool button's pop-up menu.
        QSettings().setValue(RecentKey, m_dir.path());
        QMenu popup;
        auto *explorer = new FsExplorerWidget;
        explorer->resize(500, 400);
        auto *action = new QWidgetAction(&popup);
        action->setDefaultWidget(explorer);
        popup.addAction(action);
        popup.popup(QPoint(40, 40));
        QVERIFY(QTest::qWaitForWindowExposed(&popup));
        QTRY_VERIFY(rowOf(*explorer, "c.dat").isValid() &&
                    explorer->fileView()->visualRect(rowOf(*explorer, "c.dat")).isValid());
        QString taken;
        QPoint opened;
        QTimer::singleShot(0, this, [&] {
            taken = explorer->contextMenuPaths().join(QLatin1Char(','));
            if (QWidget *menu = QApplication::activePopupWidget()) {
                opened = menu->pos();
                if (menu != &popup)
                    menu->close();
            }
        });
        // Pressed through the window, the way the window system delivers it.
        const QPoint at =
            explorer->fileView()->viewport()->mapTo(&popup, pointOf(*explorer, "c.dat"));
        QTest::mousePress(popup.windowHandle(), Qt::RightButton, {}, at);
        QTest::mouseRelease(popup.windowHandle(), Qt::RightButton, {}, at);
        QTRY_COMPARE(taken, path("c.dat"));
        QCOMPARE(opened, popup.mapToGlobal(at)); // the menu opens at the pointer
        popup.close();
    }

    // Patterns split at commas and white space; folders and ".." always stay.
    void filterSplitsIntoNamePatterns()
    {
        auto explorer = openExplorer();
        QTRY_COMPARE(shownNames(*explorer), m_allNames);
        explorer->filterBox()->setEditText(QStringLiteral("*.bin, *.txt"));
        QTRY_COMPARE(shownNames(*explorer), (QStringList{"..", "a.bin", "b.txt", "sub"}));
        explorer->filterBox()->setEditText(QStringLiteral("*.dat\t ,tool"));
        QTRY_COMPARE(shownNames(*explorer), (QStringList{"..", "c.dat", "sub", "tool"}));
        explorer->filterBox()->setEditText(QString());
        QTRY_COMPARE(shownNames(*explorer), m_allNames);
    }

    // The row under the pointer picks what the menu acts on; its requests carry those paths.
    void contextMenuActsOnTheChosenRows()
    {
        auto explorer = openExplorer();
        QTRY_COMPARE(shownNames(*explorer), m_allNames);
        select(*explorer, {"a.bin", "b.txt"});
        const QStringList chosen{path("a.bin"), path("b.txt")};

        // On a selected row the menu acts on the whole selection.
        std::unique_ptr<QMenu> menu(explorer->buildContextMenu(pointOf(*explorer, "a.bin")));
        QCOMPARE(actionTexts(*menu), (QStringList{"Plot", "Plot as...", "Add to Files Task",
                                                  "Open as Text", "Copy Path(s)", "Run"}));
        QVERIFY(!actionNamed(*menu, "Run")->isEnabled());
        QSignalSpy plotted(explorer.get(), &FsExplorerWidget::PlotRequest);
        QSignalSpy queued(explorer.get(), &FsExplorerWidget::TaskQueueRequest);
        QStringList opened;
        connect(explorer.get(), &FsExplorerWidget::OpenTextRequest,
                [&opened](QStringList &paths) { opened = paths; });
        for (const char *action : {"Plot", "Add to Files Task", "Open as Text", "Copy Path(s)"})
            actionNamed(*menu, action)->trigger();
        QCOMPARE(plotted.count(), 1);
        QCOMPARE(plotted.at(0).at(0).toStringList(), chosen);
        QCOMPARE(plotted.at(0).at(1).toBool(), false);
        QCOMPARE(queued.count(), 1);
        QCOMPARE(queued.at(0).at(0).toStringList(), chosen);
        QCOMPARE(opened, chosen);
        QCOMPARE(QGuiApplication::clipboard()->text(),
                 QDir::toNativeSeparators(chosen.join(QLatin1Char('\n'))));

        // An unselected row is taken alone and becomes the selection. "Run" and a
        // double-click on an executable both ask to run it.
        QSignalSpy run(explorer.get(), &FsExplorerWidget::RunExtApp);
        menu.reset(explorer->buildContextMenu(pointOf(*explorer, "tool")));
        QCOMPARE(explorer->selectedPaths(), QStringList{path("tool")});
        actionNamed(*menu, "Run")->trigger();
        explorer->onFileTreeViewDoubleClicked(rowOf(*explorer, "tool"));
        QCOMPARE(run.count(), 2);
        QCOMPARE(run.at(0).at(0).toString(), path("tool"));
        QCOMPARE(run.at(1).at(0).toString(), path("tool"));

        // One file that cannot run, or a folder, leaves "Run" off.
        for (const char *name : {"c.dat", "sub"}) {
            menu.reset(explorer->buildContextMenu(pointOf(*explorer, name)));
            QCOMPARE(explorer->contextMenuPaths(), QStringList{path(name)});
            QVERIFY(!actionNamed(*menu, "Run")->isEnabled());
        }
    }

    void plotFormatsComeFromTheMainWindow()
    {
        QSettings().setValue(RecentKey, m_dir.path());
        MainWindow window;
        FsExplorerWidget *explorer = window.fsExplorer();
        QTRY_COMPARE(shownNames(*explorer), m_allNames);
        select(*explorer, {"a.bin"});
        std::unique_ptr<QMenu> menu(explorer->buildContextMenu(QPoint(-1, -1)));
        QCOMPARE(menu->actions().at(0)->text(), QStringLiteral("Plot [Int16]"));
        QMenu *plotAs = menu->actions().at(1)->menu();
        QCOMPARE(actionTexts(*plotAs), QtViloFormats::displayTexts());
        QStringList checked;
        for (QAction *action : plotAs->actions()) {
            QVERIFY(action->actionGroup() && action->actionGroup()->isExclusive());
            if (action->isChecked())
                checked << action->text();
        }
        QCOMPARE(checked, QStringList{"Int16"});

        // The chosen format becomes the default and the file is plotted once, with it.
        QSignalSpy plotted(explorer, &FsExplorerWidget::PlotRequest);
        actionNamed(*plotAs, "Uint8")->trigger();
        QCOMPARE(plotted.count(), 0);
        QtViloPlotItemsModel *items = window.plotList()->model();
        QCOMPARE(items->rowCount(), 1);
        QCOMPARE(items->filePath(0), path("a.bin"));
        QCOMPARE(items->item(0)->format(), QStringLiteral("Uint8"));
        QCOMPARE(window.currentPlotFormat(), QStringLiteral("Uint8"));
        menu.reset(explorer->buildContextMenu(QPoint(-1, -1)));
        QCOMPARE(menu->actions().at(0)->text(), QStringLiteral("Plot [Uint8]"));
    }
};

QTEST_MAIN(TestFsExplorer)
#include "tst_fsexplorer.moc"
