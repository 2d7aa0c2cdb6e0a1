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
#include <QFileDialog>
#include <QToolButton>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTimer>
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

    static bool waitForRun(UpdaterPanel &panel)
    {
        QSignalSpy ended(panel.runner(), &ToolRunner::finished);
        return panel.runner()->isRunning() ? ended.wait(Wait) : ended.count() > 0;
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
        QTest::addColumn<QString>("slot");
        QTest::addColumn<bool>("i2c");
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("refresh") << "onRefreshBtnClicked" << true << QStringList{"--list"};
        QTest::newRow("layout") << "onMemLayoutBtnClicked" << false
                                << QStringList{"-d1", "--show-memory-layout"};
        QTest::newRow("images i2c")
            << "onListImagesBtnClicked" << true << QStringList{"-d1", "--list-images", "--if=i2c"};
        QTest::newRow("reboot") << "onRebootBtnClicked" << false << QStringList{"-d1", "-i2", "-b"};
        QTest::newRow("erase") << "onEraseBtnClicked" << false << QStringList{"-d1", "-i2", "-e"};
    }

    void deviceCommandsReachTheTool()
    {
        QFETCH(QString, slot);
        QFETCH(bool, i2c);
        QFETCH(QStringList, arguments);
        writeFile(ToolLocator::deviceListPath(), "Device 0: VRX14 A\nDevice 1: VRX7 B\n");
        auto panel = makePanel();
        QCOMPARE(panel->devices().size(), 2);
        panel->deviceSelector()->setCurrentIndex(2); // past the "Choose Device" prompt
        panel->imageSelector()->setValue(2);
        panel->i2cOption()->setChecked(i2c);
        QVERIFY(QMetaObject::invokeMethod(panel.get(), slot.toLatin1().constData()));
        QVERIFY(panel->runner()->isRunning());
        QVERIFY(!panel->runControls().isEmpty());
        QVERIFY(!static_cast<QAction *>(panel->runControls().constFirst())->isEnabled());
        QVERIFY(waitForRun(*panel));
        QCOMPARE(recordedRuns(m_log), QList<QStringList>{arguments});
        QTRY_VERIFY(consoleText(*panel).contains("Update Task Finished!"));
        QVERIFY(consoleText(*panel).contains("NOTE : Using installed VRXUpdater: " + m_tool));
        QVERIFY(consoleText(*panel).contains(QRegularExpression("NOTE : Time taken: \\d+ \\w+")));
        QVERIFY(static_cast<QAction *>(panel->runControls().constFirst())->isEnabled());
        // The console keeps its own title; "VRXUpdater" is the panel's.
        QCOMPARE(panel->consoleView()->windowTitle(), QStringLiteral("VRXUpdater Console"));
        if (slot == "onEraseBtnClicked")
            QVERIFY(m_boxes.first().startsWith("Risky Firmware Operation|This action will "
                                               "completely erase"));
    }

    void listCommandFillsTheSelector()
    {
        auto panel = makePanel();
        QCOMPARE(panel->deviceSelector()->itemText(0), QStringLiteral("Please Refresh"));
        panel->onRefreshBtnClicked();
        QVERIFY(waitForRun(*panel));
        QCOMPARE(panel->devices(),
                 QStringList({"0: VRX14 SN 01234 (PCIe)", "1: VRX7 SN 05678 (USB)"}));
        QCOMPARE(panel->deviceSelector()->itemText(0), QStringLiteral("Choose Device"));
        QFile list(ToolLocator::deviceListPath());
        QVERIFY(list.open(QIODevice::ReadOnly));
        QVERIFY(list.readAll().contains("Device 1: VRX7"));
    }

    void enterOnARiskyBoxNeverGoesAhead_data()
    {
        QTest::addColumn<bool>("toolAsks");
        QTest::newRow("erase button") << false;
        QTest::newRow("tool's own question") << true;
    }

    void enterOnARiskyBoxNeverGoesAhead()
    {
        QFETCH(bool, toolAsks);
        auto panel = makePanel();
        // The real box this time, answered with a stray Enter.
        Notify::setHook({});
        QStringList boxes;
        QTimer enter;
        connect(&enter, &QTimer::timeout, this, [&] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                boxes << box->windowTitle();
                QTest::keyClick(box, Qt::Key_Return);
            }
        });
        enter.start(10);
        if (toolAsks) {
            panel->taskModel()->insertTask(0, task("v5.mcs", "VRXUpdater eu %dv:1 \"%fp\""));
            QVERIFY(panel->runToolForTask(0));
            QVERIFY(waitForRun(*panel));
            QTRY_VERIFY(consoleText(*panel).contains("Aborted by user."));
            QVERIFY(consoleText(*panel).contains("Answer: n"));
        } else {
            panel->onEraseBtnClicked();
            QVERIFY(!panel->runner()->isRunning());
            QVERIFY(recordedRuns(m_log).isEmpty());
        }
        enter.stop();
        initTestCase(); // the answering hook again
        QCOMPARE(boxes, QStringList{"Risky Firmware Operation"});
    }

    void questionAnswerReachesTheTool_data()
    {
        QTest::addColumn<bool>("yes");
        QTest::newRow("yes") << true;
        QTest::newRow("no") << false;
    }

    void questionAnswerReachesTheTool()
    {
        QFETCH(bool, yes);
        auto panel = makePanel();
        panel->taskModel()->insertTask(0, task("v5.mcs", "VRXUpdater eu %dv:1 \"%fp\"", "3: V5"));
        m_answer = yes ? QMessageBox::Yes : QMessageBox::No;
        panel->i2cOption()->setChecked(true); // not for a macro of the list
        QVERIFY(panel->runToolForTask(0));
        QVERIFY(waitForRun(*panel));
        QTRY_VERIFY(consoleText(*panel).contains("Update Task Finished!"));
        const QString text = consoleText(*panel);
        QVERIFY(m_boxes.first().startsWith(
            "Risky Firmware Operation| The flash of the device will be erased. Continue? (y/n)"));
        QVERIFY(text.contains(yes ? "Answer: y" : "Answer: n"));
        QCOMPARE(recordedRuns(m_log).first(),
                 QStringList({"eu", "3:1", m_dir->filePath("v5.mcs")}));
        QCOMPARE(panel->taskModel()->task(0).uploadDate.isEmpty(), !yes);
    }

    void crashIsReported()
    {
        qputenv("VRX_STANDIN_CRASH", "1");
        auto panel = makePanel();
        panel->onIdentifyBtnClicked();
        QVERIFY(waitForRun(*panel));
        QTRY_VERIFY(consoleText(*panel).contains(
            "ERROR: VRXUpdater has crashed! Possible cause: libusb not installed or user abort?"));
        QVERIFY(!consoleText(*panel).contains("Update Task Finished!"));
        QCOMPARE(panel->runningIndicator()->toolTip(), QStringLiteral("Idle"));
    }

    void oneProcessAtATime()
    {
        qputenv("VRX_STANDIN_HOLD", "1");
        auto panel = makePanel();
        panel->onIdentifyBtnClicked();
        panel->onListImagesBtnClicked();
        QTRY_VERIFY(consoleText(*panel).contains(
            "WARN : Currently busy running command: vrxupdater -d0 --identify"));
        QVERIFY(waitForRun(*panel));
        QCOMPARE(recordedRuns(m_log).size(), 1);
    }

    void missingToolStartsNothing()
    {
        auto panel = makePanel();
        panel->updaterPathEdit()->setText(m_dir->filePath("nowhere/vrxupdater"));
        panel->saveStartupOption();
        panel->onRefreshBtnClicked();
        QVERIFY(!panel->runner()->isRunning());
        QTRY_VERIFY(consoleText(*panel).contains(
            "ERROR: No local or installed external application \"VRXUpdater\" found! Please "
            "verify external tools path settings!"));
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

    void runAllStopsAfterAFailure()
    {
        qputenv("VRX_STANDIN_EXIT", "1");
        auto panel = makePanel();
        panel->taskModel()->insertTask(0, task("a.mcs", "VRXUpdater v %dv:1 \"%fp\""));
        panel->taskModel()->insertTask(1, task("b.mcs", "VRXUpdater v %dv:1 \"%fp\""));
        panel->onRunAllBtnClicked();
        QVERIFY(waitForRun(*panel));
        QTRY_VERIFY(consoleText(*panel).contains("WARN : Run all stopped after task #1 failed."));
        QCOMPARE(recordedRuns(m_log).size(), 1);
        QVERIFY(panel->pendingRuns().isEmpty());
    }

    void emptyListHasNothingToRun()
    {
        auto panel = makePanel();
        panel->onRunAllBtnClicked();
        QTRY_VERIFY(consoleText(*panel).contains("WARN : No firmware tasks to run!"));
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

    void plusButtonAddsTheBrowsedFileWithTheRecentMacroAndDevice()
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
    }

    void taskListIsGuardedAt31Rows()
    {
        auto panel = makePanel();
        TreeModel *model = panel->taskModel();
        for (int i = 0; i < 30; ++i)
            model->insertTask(i,
                              task(QStringLiteral("t%1.mcs").arg(i), "VRXUpdater v %dv:1 \"%fp\""));
        panel->taskList()->setCurrentIndex(model->index(29, TreeModel::FilePath));
        panel->onReuseItemTriggered();
        QCOMPARE(model->rowCount(), 31);
        QVERIFY(m_boxes.isEmpty());
        const UpdaterTask last = model->task(30);
        panel->addNewTask(); // refused before anything is browsed
        QCOMPARE(m_boxes, QStringList{"Abusive usage!|Alright! You had your fun!\n\nNow formating "
                                      "your disk...\n\nByebye!"});
        QCOMPARE(model->rowCount(), 1);
        QCOMPARE(model->task(0), last);
    }

    void externalApplication()
    {
        auto panel = makePanel();
        panel->onRunExtAppBtnClicked();
        QCOMPARE(m_boxes.size(), 1);
        QVERIFY(m_boxes.first().startsWith("Empty External App|"));
        QTRY_VERIFY(consoleText(*panel).contains(
            "ERROR: Nothing to run. Please verify external application commandline!"));
        panel->setTerminalProgram(m_dir->filePath("no-terminal"));
        panel->externalAppEdit()->setText("top");
        panel->onRunExtAppBtnClicked();
        QTRY_VERIFY(consoleText(*panel).contains("ERROR: Unable to start"));
    }
};

QTEST_MAIN(Tst)
#include "tst_updaterpanel.moc"
