// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "resources/initresources.h"
#include "updater/core/toollocator.h"
#include "updater/core/toolrunner.h"
#include "updater/ui/tasktreeview.h"
#include "updater/ui/treemodel.h"
#include "updater/ui/updaterpanel.h"
#include "util/ui/notify.h"
#include "viewer/ui/editor.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <QtTest>

#include <memory>
#include <optional>

namespace {

// Only ends a hung run; the waits below poll for states, not for times.
constexpr int Wait = 30000;

QString writeFile(const QString &path, const QByteArray &data = "firmware")
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return QString();
    file.write(data);
    return path;
}

// Every run of the stand-in appends its argument count and then one argument per line.
QList<QStringList> recordedRuns(const QString &logPath)
{
    QFile file(logPath);
    QList<QStringList> runs;
    if (!file.open(QIODevice::ReadOnly))
        return runs;
    const QStringList lines = QString::fromLocal8Bit(file.readAll()).split(QLatin1Char('\n'));
    for (int i = 0; i + 1 <= lines.size() && !lines.at(i).isEmpty();) {
        const int count = lines.at(i).toInt();
        runs << lines.mid(i + 1, count);
        i += count + 1;
    }
    return runs;
}

QString cell(const TreeModel &model, int row, int column, int role = Qt::DisplayRole)
{
    return model.data(model.index(row, column), role).toString();
}

QStringList column(const TreeModel &model, int column)
{
    QStringList values;
    for (int row = 0; row < model.rowCount(); ++row)
        values << cell(model, row, column);
    return values;
}

// Drops go straight to the handler: a real drag needs a window system to carry it.
class DropTarget : public TaskTreeView
{
public:
    using TaskTreeView::dropEvent;
    using TaskTreeView::TaskTreeView;
};

} // namespace

class Tst : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_tool;
    QString m_log;
    QStringList m_boxes; // "title|text" of every message box shown
    QMessageBox::StandardButton m_answer = QMessageBox::Yes;
    QStringList m_typed; // what the input dialogs are answered with, in order

    std::unique_ptr<UpdaterPanel> makePanel()
    {
        auto panel = std::make_unique<UpdaterPanel>();
        panel->updaterPathEdit()->setText(m_tool);
        panel->saveStartupOption();
        return panel;
    }

    static QString consoleText(UpdaterPanel &panel)
    {
        panel.consoleView()->editor()->flushPending();
        return panel.consoleView()->editor()->toPlainText();
    }

    // Also true when the run ended before the wait began; callers check what the tool got.
    static bool waitForRun(UpdaterPanel &panel)
    {
        return QTest::qWaitFor([&panel] { return !panel.runner()->isRunning(); }, Wait);
    }

    // Chooses the panel's action of that text, as a click on its button or menu entry would.
    static void trigger(UpdaterPanel &panel, const QString &text)
    {
        for (QAction *action : panel.findChildren<QAction *>()) {
            if (action->text() == text || action->toolTip() == text)
                return action->trigger();
        }
        QFAIL(qPrintable("no action " + text));
    }

    UpdaterTask task(const QString &name, const QString &macro, const QString &device = {})
    {
        UpdaterTask t;
        t.filePath = writeFile(m_dir->filePath(name));
        t.macro = macro;
        t.device = device;
        return t;
    }

private slots:
    void initTestCase()
    {
        initResources();
        // Lets QSignalSpy copy the list the task list's signal passes by reference.
        qRegisterMetaType<QStringList>("QStringList&");
        QCoreApplication::setOrganizationName(QStringLiteral("OKAV"));
        QCoreApplication::setApplicationName(QStringLiteral("vrxassist"));
        QDir().mkpath(ToolLocator::dataDirectory());
        Notify::setHook([this](Notify::Kind, const QString &title, const QString &text) {
            m_boxes << title + QLatin1Char('|') + text;
            return m_answer;
        });
        Notify::setTextHook([this](const QString &title, const QString &) {
            m_boxes << title;
            return m_typed.isEmpty() ? std::nullopt : std::optional<QString>(m_typed.takeFirst());
        });
    }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_tool = m_dir->filePath(QStringLiteral("vrxupdater"));
        QVERIFY(QFile::copy(QStringLiteral(VRX_STANDIN_PATH), m_tool));
        QFile::setPermissions(m_tool, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_log = m_dir->filePath(QStringLiteral("runs.txt"));
        qputenv("VRX_STANDIN_LOG", m_log.toLocal8Bit());
        for (const char *name : {"VRX_STANDIN_EXIT", "VRX_STANDIN_CRASH", "VRX_STANDIN_HOLD"})
            qunsetenv(name);
        m_boxes.clear();
        m_typed.clear();
        m_answer = QMessageBox::Yes;
        QSettings().remove(QString());
        QFile::remove(ToolLocator::deviceListPath());
    }

    void deviceCommandsReachTheTool_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<bool>("i2c");
        QTest::addColumn<QStringList>("arguments"); // with the second device and image 2 chosen
        const auto row = [](const char *action, bool i2c, QStringList arguments) {
            if (i2c && arguments.first().startsWith(QLatin1String("-d")))
                arguments << QStringLiteral("--if=i2c");
            QTest::addRow("%s%s", action, i2c ? ", i2c" : "")
                << QString(action) << i2c << arguments;
        };
        row("Refresh Device List", true, {"--list"});
        row("List+", true, {"--list-detailed"});
        row("ID", false, {"-d1", "--identify"});
        row("Show memory layout", false, {"-d1", "--show-memory-layout"});
        row("List images", true, {"-d1", "--list-images"});
        row("Reboot into selected image", true, {"-d1", "-i2", "-b"});
        row("Set default image", false, {"-d1", "--set-default-image=2"});
        row("Set candidate image", false, {"-d1", "--set-candidate-image=2"});
        row("Confirm candidate image", true, {"-d1", "--confirm-candidate-image"});
        row("Erase image", false, {"-d1", "-i2", "-e"});
        row("Test primary", false, {"-d1", "--test-primary"});
        row("Test secondary", true, {"-d1", "--test-secondary"});
        row("Get DNA", false, {"-d1", "--get-dna"});
    }

    void deviceCommandsReachTheTool()
    {
        QFETCH(QString, action);
        QFETCH(bool, i2c);
        QFETCH(QStringList, arguments);
        const bool refresh = arguments.first() == QLatin1String("--list");
        if (!refresh)
            writeFile(ToolLocator::deviceListPath(), "Device 0: VRX14 A\nDevice 1: VRX7 B\n");
        auto panel = makePanel();
        QCOMPARE(panel->deviceSelector()->itemText(0),
                 refresh ? "Please Refresh" : "Choose Device");
        panel->deviceSelector()->setCurrentIndex(2); // the second device
        panel->imageSelector()->setValue(2);
        panel->i2cOption()->setChecked(i2c);
        trigger(*panel, action);
        QVERIFY(panel->runner()->isRunning());
        QVERIFY(!static_cast<QAction *>(panel->runControls().constFirst())->isEnabled());
        QVERIFY(waitForRun(*panel));
        QCOMPARE(recordedRuns(m_log), QList<QStringList>{arguments});
        QTRY_VERIFY(consoleText(*panel).contains("Update Task Finished!"));
        QVERIFY(consoleText(*panel).contains("NOTE : Using installed VRXUpdater: " + m_tool));
        QVERIFY(consoleText(*panel).contains(QRegularExpression("NOTE : Time taken: \\d+ \\w+")));
        QVERIFY(static_cast<QAction *>(panel->runControls().constFirst())->isEnabled());
        // Only these two ask before they go ahead.
        const bool risky = action == "Erase image" || action == "Confirm candidate image";
        QCOMPARE(m_boxes.value(0).startsWith("Risky Firmware Operation|"), risky);
        if (!refresh)
            return;
        // What the tool listed fills the selector and is kept for the next start.
        QCOMPARE(panel->devices(),
                 QStringList({"0: VRX14 SN 01234 (PCIe)", "1: VRX7 SN 05678 (USB)"}));
        QCOMPARE(panel->deviceSelector()->itemText(0), QStringLiteral("Choose Device"));
        QCOMPARE(makePanel()->devices(), panel->devices());
    }

    void enterOnARiskyBoxNeverGoesAhead_data()
    {
        QTest::addColumn<bool>("toolAsks"); // the tool's own question, or the erase button's
        QTest::addColumn<QString>("answer");
        QTest::newRow("erase button, stray Enter") << false << "Enter";
        QTest::newRow("tool's question, stray Enter") << true << "Enter";
        QTest::newRow("tool's question, yes") << true << "y";
        QTest::newRow("tool's question, no") << true << "n";
    }

    void enterOnARiskyBoxNeverGoesAhead()
    {
        QFETCH(bool, toolAsks);
        QFETCH(QString, answer);
        auto panel = makePanel();
        QTimer enter;
        if (answer == QLatin1String("Enter")) {
            // The real box this time, answered with a stray Enter.
            Notify::setHook({});
            connect(&enter, &QTimer::timeout, this, [&] {
                if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                    m_boxes << box->windowTitle() + QLatin1Char('|') + box->text();
                    QTest::keyClick(box, Qt::Key_Return);
                }
            });
            enter.start(10);
        }
        m_answer = answer == QLatin1String("y") ? QMessageBox::Yes : QMessageBox::No;
        if (toolAsks) {
            const QString macro = QStringLiteral("VRXUpdater eu %dv:1 \"%fp\"");
            panel->taskModel()->insertTask(0, task("v5.mcs", macro, "3: V5"));
            panel->i2cOption()->setChecked(true); // not for a macro of the list
            QVERIFY(panel->runToolForTask(0));
            QVERIFY(waitForRun(*panel));
            QTRY_VERIFY(consoleText(*panel).contains(answer == "y" ? "Answer: y" : "Answer: n"));
            QCOMPARE(recordedRuns(m_log).first(),
                     QStringList({"eu", "3:1", m_dir->filePath("v5.mcs")}));
            QCOMPARE(panel->taskModel()->task(0).uploadDate.isEmpty(), answer != "y");
        } else {
            trigger(*panel, QStringLiteral("Erase image"));
            QVERIFY(!panel->runner()->isRunning());
            QVERIFY(recordedRuns(m_log).isEmpty());
        }
        enter.stop();
        initTestCase(); // the answering hook again
        QCOMPARE(m_boxes.size(), 1);
        QVERIFY(m_boxes.first().startsWith(
            toolAsks ? "Risky Firmware Operation| The flash of the device will be erased. "
                       "Continue? (y/n)"
                     : "Risky Firmware Operation|This action will completely erase"));
    }

    void troubleIsToldInTheConsole_data()
    {
        QTest::addColumn<QString>("setting"); // a stand-in variable or how the panel is set up
        QTest::addColumn<QStringList>("actions");
        QTest::addColumn<int>("runs");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char *name, const char *setting, const QStringList &actions,
                            int runs, const char *shown) {
            QTest::newRow(name) << QString(setting) << actions << runs << QString(shown);
        };
        row("crash", "VRX_STANDIN_CRASH", {"Identify device"}, 1,
            "ERROR: VRXUpdater has crashed! Possible cause: libusb not installed or user abort?");
        row("busy", "VRX_STANDIN_HOLD", {"Identify device", "List images"}, 1,
            "WARN : Currently busy running command: vrxupdater -d0 --identify");
        row("a failed task stops the rest", "VRX_STANDIN_EXIT", {"Run all firmware tasks"}, 1,
            "WARN : Run all stopped after task #1 failed.");
        row("no tool", "no tool", {"Refresh Device List"}, 0,
            "ERROR: No local or installed external application \"VRXUpdater\" found! Please "
            "verify external tools path settings!");
        row("no tasks", "no tasks", {"Run all firmware tasks"}, 0,
            "WARN : No firmware tasks to run!");
        row("no external application", "", {"Ext App"}, 0,
            "ERROR: Nothing to run. Please verify external application commandline!");
        row("no terminal", "no terminal", {"Ext App"}, 0, "ERROR: Unable to start");
    }

    void troubleIsToldInTheConsole()
    {
        QFETCH(QString, setting);
        QFETCH(QStringList, actions);
        QFETCH(int, runs);
        QFETCH(QString, shown);
        if (setting.startsWith(QLatin1String("VRX_")))
            qputenv(qPrintable(setting), "1");
        auto panel = makePanel();
        if (setting == QLatin1String("no tool")) {
            panel->updaterPathEdit()->setText(m_dir->filePath("nowhere/vrxupdater"));
            panel->saveStartupOption();
        } else if (setting == QLatin1String("no terminal")) {
            panel->setTerminalProgram(m_dir->filePath("no-terminal"));
            panel->externalAppEdit()->setText("top");
        } else if (setting == QLatin1String("VRX_STANDIN_EXIT")) {
            panel->taskModel()->insertTask(0, task("a.mcs", "VRXUpdater v %dv:1 \"%fp\""));
            panel->taskModel()->insertTask(1, task("b.mcs", "VRXUpdater v %dv:1 \"%fp\""));
        }
        for (const QString &action : actions)
            trigger(*panel, action);
        QTRY_VERIFY(consoleText(*panel).contains(shown));
        QTRY_VERIFY(!panel->runner()->isRunning());
        QCOMPARE(recordedRuns(m_log).size(), runs);
        QVERIFY(panel->pendingRuns().isEmpty());
        QCOMPARE(panel->runningIndicator()->toolTip(), QStringLiteral("Idle"));
        // Only an empty command line is worth a box as well.
        QCOMPARE(m_boxes.isEmpty(), !setting.isEmpty());
    }

    void runAllInOrder()
    {
        auto panel = makePanel();
        TreeModel *model = panel->taskModel();
        model->insertTask(0, task("a_FW_2CH_r1.mcs", "VRXUpdater v %dv:1 \"%fp\""));
        model->insertTask(1, task("gone.mcs", "VRXUpdater v %dv:1 \"%fp\""));
        QFile::remove(m_dir->filePath("gone.mcs"));
        model->insertTask(2, task("c.mcs", "VRXUpdater v %dv:2 \"%fp\"", "1: VRX14"));
        model->insertTask(3, task("d.mcs", "VRXUpdater eup %dv:1 \"%fp\""));
        panel->onRunAllBtnClicked();
        QTRY_VERIFY_WITH_TIMEOUT(recordedRuns(m_log).size() == 3 && !panel->runner()->isRunning() &&
                                     panel->pendingRuns().isEmpty(),
                                 Wait);
        const QList<QStringList> runs = recordedRuns(m_log);
        QCOMPARE(runs.at(0).last(), m_dir->filePath("a_FW_2CH_r1.mcs"));
        QCOMPARE(runs.at(1), QStringList({"v", "1:2", m_dir->filePath("c.mcs")}));
        QCOMPARE(runs.at(2).first(), QStringLiteral("eup"));
        QTRY_VERIFY(consoleText(*panel).contains("ERROR: File does not exist! (" +
                                                 m_dir->filePath("gone.mcs") + ")"));
        QVERIFY(model->task(1).uploadDate.isEmpty());
        QVERIFY(!model->task(3).uploadDate.isEmpty());
    }

    void imageInfoFromNameOrAsked_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("typed");
        QTest::addColumn<QStringList>("expected"); // the last two arguments, or empty: aborted
        QTest::newRow("from name") << "VRX14_FW_2CH_10GS_r45123.mcs" << QStringList()
                                   << QStringList{"FW_2CH_10GS", "45123"};
        QTest::newRow("version asked")
            << "VRX14_FW_2CH.mcs" << QStringList{"77"} << QStringList{"FW_2CH", "77"};
        QTest::newRow("both asked")
            << "firmware.mcs" << QStringList{"MYIMG", "12"} << QStringList{"MYIMG", "12"};
        QTest::newRow("bad version")
            << "firmware.mcs" << QStringList{"MYIMG", "x1"} << QStringList();
        QTest::newRow("cancelled") << "firmware.mcs" << QStringList() << QStringList();
    }

    void imageInfoFromNameOrAsked()
    {
        QFETCH(QString, file);
        QFETCH(QStringList, typed);
        QFETCH(QStringList, expected);
        m_typed = typed;
        auto panel = makePanel();
        panel->taskModel()->insertTask(
            0, task(file, "VRXUpdater -d%dv -i1 -eu --file=\"%fp\" --imagedescr %descr "
                          "--imagerev %ver"));
        const bool started = panel->runToolForTask(0);
        QCOMPARE(started, !expected.isEmpty());
        if (!started) {
            QTRY_VERIFY(consoleText(*panel).contains(
                "ERROR: Invalid image description or version. Aborting!"));
            return;
        }
        QVERIFY(waitForRun(*panel));
        const QStringList arguments = recordedRuns(m_log).first();
        QCOMPARE(arguments.size(), 8);
        QCOMPARE(QStringList({arguments.at(5), arguments.at(7)}), expected);
    }

    void taskWithoutMacroUsesTheFamily()
    {
        auto panel = makePanel();
        panel->i2cOption()->setChecked(true);
        panel->taskModel()->insertTask(0, task("conman.mmcs", QString(), "2: VRX8 SN 1"));
        QVERIFY(panel->runToolForTask(0));
        QVERIFY(waitForRun(*panel));
        QTRY_VERIFY(consoleText(*panel).contains("WARN : Macro not set or custom macro used!"));
        QCOMPARE(recordedRuns(m_log).first(),
                 QStringList({"-d2", "--fpga=2", "-eu", "--file=" + m_dir->filePath("conman.mmcs"),
                              "--if=i2c"}));
    }

    void plusButtonAddsTheBrowsedFileWithTheRecentMacroAndDeviceUpTo31Tasks()
    {
        auto panel = makePanel();
        panel->taskModel()->insertTask(0, task("old.mcs", "VRXUpdater v %dv:1 \"%fp\"", "2: VRX8"));
        panel->show();
        QToolButton *plus = nullptr;
        for (QToolButton *button : panel->findChildren<QToolButton *>()) {
            if (button->defaultAction() &&
                button->defaultAction()->text().startsWith(QLatin1String("New Firmware task")))
                plus = button;
        }
        QVERIFY(plus);
        const QString picked = writeFile(m_dir->filePath(QStringLiteral("picked.mmcs")));
        // The user cancels the browse first, then picks a file by name.
        for (const QString &typed : {QString(), picked}) {
            QString title;
            QTimer::singleShot(0, this, [&] {
                auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
                QVERIFY(dialog);
                title = dialog->windowTitle();
                if (typed.isEmpty()) {
                    QTest::keyClick(dialog, Qt::Key_Escape);
                    return;
                }
                auto *name = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
                QVERIFY(name);
                name->clear();
                QTest::keyClicks(name, typed);
                QTest::keyClick(name, Qt::Key_Return);
            });
            QTest::mouseClick(plus, Qt::LeftButton);
            QCOMPARE(title, QStringLiteral("Open Firmware File"));
            QCOMPARE(panel->taskModel()->rowCount(), typed.isEmpty() ? 1 : 2);
        }
        const UpdaterTask added = panel->taskModel()->task(1);
        QCOMPARE(added.filePath, picked);
        QCOMPARE(added.macro, QStringLiteral("VRXUpdater v %dv:1 \"%fp\""));
        QCOMPARE(added.device, QStringLiteral("2: VRX8"));
        QCOMPARE(panel->taskModel()->recentFirmwarePaths().value(0), picked);

        // Re-use may fill the list to 31 tasks; adding then is refused before anything is
        // browsed, and leaves only the last task.
        TreeModel *model = panel->taskModel();
        for (int i = 2; i < 30; ++i)
            model->insertTask(i, task(QStringLiteral("t%1.mcs").arg(i), added.macro));
        panel->taskList()->setCurrentIndex(model->index(29, TreeModel::FilePath));
        trigger(*panel, QStringLiteral("Re-use Task"));
        QCOMPARE(model->rowCount(), 31);
        QVERIFY(m_boxes.isEmpty());
        const UpdaterTask last = model->task(30);
        panel->addNewTask();
        QCOMPARE(m_boxes, QStringList{"Abusive usage!|Alright! You had your fun!\n\nNow formating "
                                      "your disk...\n\nByebye!"});
        QCOMPARE(model->rowCount(), 1);
        QCOMPARE(model->task(0), last);
    }

    void tasksMoveRenumberEditAndShowTheirFile()
    {
        TreeModel model(nullptr, false);
        model.AppendRows({"a.mcs", "b.mcs", "c.mcs", "d.mcs"});
        QVERIFY(model.moveTask(0, 1));
        QVERIFY(model.moveTask(3, -1));
        QVERIFY(!model.moveTask(0, -1));
        QVERIFY(!model.moveTask(3, 1));
        QVERIFY(!model.moveTask(7, -1));
        QCOMPARE(model.filePaths(), QStringList({"b.mcs", "a.mcs", "d.mcs", "c.mcs"}));
        QCOMPARE(column(model, TreeModel::TaskNumber), QStringList({"1", "2", "3", "4"}));
        model.removeTasks({3, 0, 3, 9});
        QCOMPARE(model.filePaths(), QStringList({"a.mcs", "d.mcs"}));
        QCOMPARE(column(model, TreeModel::TaskNumber), QStringList({"1", "2"}));
        for (int c = 0; c < TreeModel::ColumnCount; ++c) {
            const bool editable =
                c == TreeModel::FilePath || c == TreeModel::Macro || c == TreeModel::Device;
            QCOMPARE(model.setData(model.index(0, c), "x.mcs"), editable);
        }

        // A missing file is greyed out and said so; an existing one shows its size and date.
        QCOMPARE(cell(model, 0, TreeModel::FilePath, Qt::ToolTipRole), QString("x.mcs"));
        QCOMPARE(cell(model, 0, TreeModel::FileSize), QString("File Not Found!"));
        for (int c = 0; c < TreeModel::ColumnCount; ++c)
            QCOMPARE(model.data(model.index(0, c), Qt::ForegroundRole).value<QColor>(),
                     QColor("gainsboro"));
        const QString present = writeFile(m_dir->filePath("present.mcs"), QByteArray(1234, 'x'));
        QVERIFY(model.setData(model.index(0, TreeModel::FilePath), present));
        QCOMPARE(cell(model, 0, TreeModel::FileSize), QString("1234"));
        QCOMPARE(cell(model, 0, TreeModel::DateModified),
                 QFileInfo(present).lastModified().toString(TreeModel::DateFormat));
        QVERIFY(!model.data(model.index(0, TreeModel::Device), Qt::ForegroundRole).isValid());
    }

    void tasksSurviveARestart()
    {
        const QString real = writeFile(m_dir->filePath("real.mcs"), "abc");
        const QDateTime uploaded(QDate(2023, 3, 14), QTime(15, 9, 26));
        QVector<UpdaterTask> expected;
        {
            TreeModel model;
            for (int i = 0; i < TreeModel::MaxRecentFirmware; ++i)
                model.addRecentFirmwarePath(QString("fw%1.mcs").arg(i));
            QSignalSpy changed(&model, &TreeModel::TasksChanged);
            model.AppendRows({real, "gone.mcs", "third.bit"});
            model.setData(model.index(0, TreeModel::Macro), "-m 1");
            model.setData(model.index(1, TreeModel::Device), "3: VRX8");
            QVERIFY(model.moveTask(2, -1));
            model.markUploaded(0, uploaded);
            model.addRecentFirmwarePath(real);
            QCOMPARE(changed.count(), 6);
            QCOMPARE(cell(model, 0, TreeModel::DateUploaded),
                     uploaded.toString(TreeModel::DateFormat));
            expected = model.tasks();
        }
        // Stored as the earlier program stored them, one list per column.
        QSettings settings;
        settings.beginGroup("RecentFiles");
        for (const char *key : {"RecentFilePaths", "RecentMacros", "RecentDevices",
                                "RecentFileSize", "RecentFileDate", "RecentFileUploadDate"})
            QCOMPARE(settings.value(key).toStringList().size(), 3);
        QCOMPARE(settings.value("RecentMacros").toStringList(), QStringList({"-m 1", "", ""}));
        QCOMPARE(settings.value("RecentDevices").toStringList(), QStringList({"", "", "3: VRX8"}));

        TreeModel restored;
        QVERIFY(restored.tasks() == expected);
        // Added files are offered again by the file cell: newest first, once, only the latest.
        const QStringList recent = restored.recentFirmwarePaths();
        QCOMPARE(recent.size(), int(TreeModel::MaxRecentFirmware));
        QCOMPARE(recent.mid(0, 4), QStringList({real, "third.bit", "gone.mcs", "fw15.mcs"}));
    }

    void dropsOnTheTaskListLandBetweenRows()
    {
        TreeModel model(nullptr, false);
        model.AppendRows({"a", "b", "c", "d"});
        model.setData(model.index(2, TreeModel::Device), "0: VRX14");
        DropTarget view(&model);
        view.resize(600, 300);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QSignalSpy unsupported(&view, &TaskTreeView::UnsupportedFilesDropped);
        const QRect rowRect = view.visualRect(model.index(0, TreeModel::FilePath));
        const QPoint upperHalf(rowRect.center().x(), rowRect.top() + rowRect.height() / 3);
        const QPoint lowerHalf(rowRect.center().x(), rowRect.bottom() - rowRect.height() / 3);

        // Rows dragged within the list: moved by the model, and not reported as a move, which
        // would make the drag's source remove the selected rows afterwards.
        for (int row : {3, 1})
            view.selectionModel()->select(model.index(row, 0),
                                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
        std::unique_ptr<QMimeData> rows(model.mimeData(view.selectionModel()->selectedIndexes()));
        QDropEvent internal(upperHalf, Qt::MoveAction, rows.get(), Qt::LeftButton, Qt::NoModifier);
        view.dropEvent(&internal);
        QVERIFY(internal.isAccepted());
        QCOMPARE(internal.dropAction(), Qt::IgnoreAction);
        QCOMPARE(model.filePaths().join(QString()), QString("bdac"));

        // Firmware files come in with the last task's device; the rest is handed back.
        QList<QUrl> urls;
        for (const char *name : {"a.mcs", "b.zip", "c.MMCS", "d.log", "e.lic", "f.bin", "g.bit"})
            urls << QUrl::fromLocalFile(QString("/drop/") + name);
        QMimeData files;
        files.setUrls(urls);
        QDropEvent external(lowerHalf, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
        view.dropEvent(&external);
        QVERIFY(external.isAccepted());
        QCOMPARE(model.filePaths(), QStringList({"b", "/drop/a.mcs", "/drop/c.MMCS", "/drop/e.lic",
                                                 "/drop/g.bit", "d", "a", "c"}));
        QCOMPARE(model.task(4).device, QString("0: VRX14"));
        QCOMPARE(unsupported.count(), 1);
        QCOMPARE(unsupported.first().first().toStringList(),
                 QStringList({"/drop/b.zip", "/drop/d.log", "/drop/f.bin"}));
    }
};

QTEST_MAIN(Tst)
#include "tst_updaterpanel.moc"
