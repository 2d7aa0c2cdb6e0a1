#include "shell/ui/bluetitlebar.h"
#include "shell/ui/dockwidget.h"
#include "resources/initresources.h"
#include "shell/ui/sizehintsdialog.h"
#include "testenv.h"

#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QTimer>
#include <QtTest>

#include <functional>

namespace {
QStringList menuTexts(const QMenu *menu)
{
    QStringList texts;
    for (QAction *action : menu->actions()) {
        if (!action->isSeparator())
            texts << (action->menu() ? action->menu()->title() : action->text());
    }
    return texts;
}
} // namespace

class TestDockWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { initResources(); }

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
        QCOMPARE(menuTexts(menu), (QStringList{"Closable", "Movable", "Floatable",
                                               "Vertical title bar", "Allow on Left",
                                               "Allow on Right", "Allow on Top", "Allow on Bottom",
                                               "Place on Left", "Place on Right", "Place on Top",
                                               "Place on Bottom", "Show Title Bar", "Floating",
                                               "Tab into", "Split horizontally into",
                                               "Split vertically into", "Raise",
                                               "Change Size Hints..."}));
        const auto entry = [menu](const QString &text) {
            QAction *found = nullptr;
            for (QAction *action : menu->actions()) {
                if (action->text() == text || (action->menu() && action->menu()->title() == text))
                    found = action;
            }
            return found;
        };
        QMenu *tabInto = entry(QStringLiteral("Tab into"))->menu();
        emit tabInto->aboutToShow();
        QCOMPARE(menuTexts(tabInto), QStringList{"Second"});
        tabInto->actions().at(0)->trigger();
        QCOMPARE(window.tabifiedDockWidgets(second), QList<QDockWidget *>{first});

        emit menu->aboutToShow();
        QVERIFY(entry(QStringLiteral("Closable"))->isChecked());
        entry(QStringLiteral("Closable"))->trigger();
        QVERIFY(!(first->features() & QDockWidget::DockWidgetClosable));
        entry(QStringLiteral("Place on Right"))->trigger();
        QCOMPARE(window.dockWidgetArea(first), Qt::RightDockWidgetArea);
        entry(QStringLiteral("Allow on Left"))->trigger();
        QVERIFY(!first->isAreaAllowed(Qt::LeftDockWidgetArea));

        // An editor's dock also offers its file's folder.
        first->makeEditorDock(QStringLiteral("/tmp/x.log"));
        const QList<QAction *> actions = menu->actions();
        QCOMPARE(actions.at(actions.size() - 2)->text(), QStringLiteral("Open Containing Folder"));
        QVERIFY(!actions.last()->icon().isNull());
    }

    void titleBarColourTellsWhetherTheDockHasFocus()
    {
        QMainWindow window;
        auto *edit = new QLineEdit;
        auto *dock = new DockWidget(edit, &window);
        auto *other = new QLineEdit;
        window.setCentralWidget(other);
        window.addDockWidget(Qt::LeftDockWidgetArea, dock);
        window.show();
        QApplication::setActiveWindow(&window);
        QVERIFY(QTest::qWaitForWindowActive(&window));
        other->setFocus();
        QTRY_VERIFY(!dock->blueTitleBar()->isActive());
        QCOMPARE(dock->blueTitleBar()->backgroundColor(), QColor("Lightgrey"));
        edit->setFocus();
        QTRY_VERIFY(dock->blueTitleBar()->isActive());
        QCOMPARE(dock->blueTitleBar()->backgroundColor(), QColor("LightSteelBlue"));
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
        const auto type = [](QSpinBox *box, int value) {
            box->setFocus();
            QTest::keyClick(box, Qt::Key_A, Qt::ControlModifier);
            QTest::keyClicks(box, QString::number(value));
        };
        // The user edits the dialog and presses OK; what the boxes showed comes back.
        const auto edit = [&](const std::function<void(SizeHintsDialog *)> &change) {
            QStringList shown;
            QTimer::singleShot(0, this, [&] {
                auto *dialog = qobject_cast<SizeHintsDialog *>(QApplication::activeModalWidget());
                QVERIFY(dialog);
                for (QSpinBox *box : {dialog->sizeHintBox(), dialog->minSizeHintBox(),
                                      dialog->maxSizeBox(), dialog->dockMaxSizeBox()})
                    shown << box->text();
                change(dialog);
                QTest::keyClick(dialog, Qt::Key_Return);
            });
            for (QAction *action : dock->contextMenu()->actions()) {
                if (action->text() == QLatin1String("Change Size Hints..."))
                    action->trigger();
            }
            return shown;
        };
        const int natural = dock->sizeHint().width();
        const int naturalMin = dock->minimumSizeHint().width();
        QStringList shown = edit([&](SizeHintsDialog *dialog) {
            type(dialog->sizeHintBox(), 300);
            type(dialog->minSizeHintBox(), 220);
            type(dialog->maxSizeBox(), 600);
            type(dialog->dockMaxSizeBox(), 500);
        });
        QCOMPARE(shown.mid(0, 3), (QStringList{QString::number(natural),
                                               QString::number(naturalMin), "No limit"}));
        QTRY_COMPARE(dock->width(), 300);
        QCOMPARE(panel->maximumWidth(), 600);
        QCOMPARE(dock->maximumWidth(), 500);
        // The splitter cannot make it narrower than the minimum.
        window.resizeDocks({dock}, {50}, Qt::Horizontal);
        QTRY_VERIFY(dock->width() >= 220);

        shown = edit([&](SizeHintsDialog *dialog) {
            type(dialog->maxSizeBox(), -1);
            type(dialog->dockMaxSizeBox(), -1);
        });
        QCOMPARE(shown, (QStringList{"300", "220", "600", "500"}));
        QCOMPARE(panel->maximumWidth(), QWIDGETSIZE_MAX);
        QCOMPARE(dock->maximumWidth(), QWIDGETSIZE_MAX);
        QVERIFY(dock->width() >= 220); // hints left as shown change nothing
    }
};

QTEST_MAIN(TestDockWidget)
#include "tst_dockwidget.moc"
