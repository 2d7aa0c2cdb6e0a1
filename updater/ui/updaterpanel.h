// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "updater/core/updatercommands.h"
#include "updater/core/updatermacros.h"
#include "viewer/ui/editorpanel.h"

#include <QProcess>

#include <optional>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QMenu;
class QSpinBox;
class TaskTreeView;
class ToolRunner;
class TreeModel;

// The console in which the updater's tool runs show their output: a live editor panel whose
// log files are "vrxupdater_..." and whose index catches the tool's yes/no questions.
class UpdaterConsole : public EditorPanel
{
    Q_OBJECT
public:
    UpdaterConsole(ToolRunner *runner, QWidget *parent = nullptr);

    QProcess *childProcess() const override;
    QProcess *process() const { return childProcess(); }
    QLabel *outputLabel() const { return m_outputLabel; }
    // Makes sure output has a log file to go to; false (with the console line) when the data
    // directory cannot be made.
    bool ensureLogFile();
    // Appends a console line (or the tool's text) as it stands.
    void print(const QString &text);

private:
    ToolRunner *m_runner;
    QLabel *m_outputLabel;
};

// The dockable front of the firmware updater: the device and image commands, the firmware
// file tasks and their runs. Its console is handed out to a dock of its own.
class UpdaterPanel : public QWidget
{
    Q_OBJECT
public:
    static constexpr int MaxTaskRows = 31;
    static constexpr char SettingsGroup[] = "UpdaterConsoleStartupOption";

    explicit UpdaterPanel(QWidget *parent = nullptr);
    ~UpdaterPanel() override;

    UpdaterConsole *consoleView() const { return m_console; }
    TaskTreeView *taskList() const { return m_taskList; }
    TreeModel *taskModel() const { return m_taskModel; }
    ToolRunner *runner() const { return m_runner; }
    QComboBox *deviceSelector() const { return m_deviceCmBx; }
    QComboBox *fpgaSelector() const { return m_fpgaCmBx; }
    QCheckBox *i2cOption() const { return m_i2cChkBx; }
    QSpinBox *imageSelector() const { return m_imageSpin; }
    QLineEdit *updaterPathEdit() const { return m_updaterPathEdit; }
    QLineEdit *licenseUtilPathEdit() const { return m_licensePathEdit; }
    QLineEdit *externalAppEdit() const { return m_extAppEdit; }
    QLabel *runningIndicator() const { return m_runningLabel; }
    QLabel *progressLabel() const { return m_progressLabel; }
    // The actions of the task list's context menu, in menu order.
    QList<QAction *> taskActions() const { return m_taskActions; }
    // Everything that may not be used while a tool runs.
    QList<QObject *> runControls() const { return m_runControls; }
    QStringList devices() const { return m_devices; }
    // The terminal that external applications open in ("gnome-terminal").
    void setTerminalProgram(const QString &program) { m_terminal = program; }
    // The rows that "Run all" has still to run, in order.
    QList<int> pendingRuns() const { return m_runQueue; }

signals:
    void RunAllBtnClicked();
    void RunItemRowTriggered(int row);

public slots:
    void addNewTask();
    void ConfirmRiskyOperation(const QString &message);
    void onRunExtAppRequest(const QString &FilePath);
    void showTaskList();
    void showUpdaterEditor();
    void onItemCellMouseOver(const QModelIndex &index);
    void onRunThisItemTriggered();
    void onReuseItemTriggered();
    void onMoveUpTriggered();
    void onMoveDownTriggered();
    void onCopyPathsTriggered();
    void onExplorePathTriggered();
    void onRemoveItemsTriggered();
    void onClearItemsTriggered();
    void onIndexExpanded(const QModelIndex &index);
    void onTaskListContextMenuRequest(const QPoint &pos);
    void onVRXUpdaterfinished(int exitCode, QProcess::ExitStatus exitStatus);
    void CPStateChanged(QProcess::ProcessState newState);
    void onDeviceCmBxTextChanged(const QString &currentItem);
    void onFPGACmBxTextChanged(const QString &text);
    void onPublicAddBtnClicked();
    void onRefreshBtnClicked();
    void onIdentifyBtnClicked();
    void onListDetailBtnClicked();
    void onMemLayoutBtnClicked();
    void onListImagesBtnClicked();
    void onRebootBtnClicked();
    void onSetDefaultBtnClicked();
    void onSetCandidateBtnClicked();
    void onConfirmCandidateBtnClicked();
    void onEraseBtnClicked();
    void onTestPrimaryBtnClicked();
    void onTestSecondaryBtnClicked();
    void onGetDnaBtnClicked();
    void onRunExtAppBtnClicked();
    void onStopBtnClicked();
    void onRunAllBtnClicked();
    void onRunItemRowTriggered(int row);
    // Runs the task of the row with the tool its macro names; false when nothing started.
    bool runToolForTask(int row);
    bool runFirmwareTask(int row, const QString &command);
    bool runLicenseTask(int row, const QString &command);
    void saveStartupOption();

private:
    void buildDeviceToolBar(QWidget *holder);
    void buildTaskToolBar(QWidget *holder);
    void buildTaskActions();
    QWidget *buildPathSettings();
    void loadStartupOption();
    void fillDeviceSelector(const QStringList &devices, bool listed);
    // Shows the box and trims the list when the task list is at its limit.
    bool taskLimitReached();
    UpdaterCommands::Options commandOptions() const;
    bool runDeviceCommand(UpdaterCommands::Action action);
    // Starts the tool for the row (-1 for a device command) after making sure of a log file.
    bool startTool(const QString &tool, const QStringList &arguments, int row,
                   bool writesDeviceList = false);
    // The task's file and device for its macro; nullopt (with the console line) when the
    // file is gone.
    std::optional<MacroValues> taskValues(int row) const;
    bool startTaskCommand(int row, const QString &command, const MacroValues &values);
    void onToolOutput(const QString &text);
    void onTaskEnded(int taskNumber, bool success);
    void runNextQueued();
    void setRunning(bool running);
    QList<int> selectedRows() const;
    int currentRow() const;
    // The device number for a task: its own device, else the selector's, else 0.
    int deviceNumberFor(int row) const;
    void startInTerminal(const QString &commandLine);

    TreeModel *m_taskModel;
    TaskTreeView *m_taskList;
    ToolRunner *m_runner;
    UpdaterConsole *m_console;
    QComboBox *m_deviceCmBx = nullptr;
    QComboBox *m_fpgaCmBx = nullptr;
    QCheckBox *m_i2cChkBx = nullptr;
    QSpinBox *m_imageSpin = nullptr;
    QLineEdit *m_updaterPathEdit = nullptr;
    QLineEdit *m_licensePathEdit = nullptr;
    QLineEdit *m_extAppEdit = nullptr;
    QLabel *m_runningLabel = nullptr;
    QLabel *m_progressLabel = nullptr;
    QList<QAction *> m_taskActions;
    QList<QObject *> m_runControls;
    QStringList m_devices;
    QList<int> m_runQueue;
    int m_runningRow = -1;
    QString m_terminal = QStringLiteral("gnome-terminal");
    bool m_loading = false;
};
