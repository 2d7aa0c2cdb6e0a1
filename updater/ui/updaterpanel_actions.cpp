// SPDX-License-Identifier: LGPL-3.0-or-later
// Running the tools: device commands, firmware file tasks, run all, and the external app.
#include "updater/ui/updaterpanel.h"

#include "updater/core/firmwarename.h"
#include "updater/core/toollocator.h"
#include "updater/core/toolrunner.h"
#include "updater/core/updatermacros.h"
#include "updater/ui/tasktreeview.h"
#include "updater/ui/treemodel.h"
#include "util/ui/notify.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QSpinBox>

using UpdaterCommands::Action;

namespace {
QIcon stateIcon(bool running)
{
    return QIcon(running ? QStringLiteral("://Images/running_greenblue.png")
                         : QStringLiteral("://Images/lightbulb_black.png"));
}
} // namespace

bool UpdaterPanel::startTool(const QString &tool, const QStringList &arguments, int row,
                             bool writesDeviceList)
{
    if (!m_console->ensureLogFile())
        return false;
    if (!m_runner->run(tool, arguments, row + 1,
                       writesDeviceList ? ToolLocator::deviceListPath() : QString()))
        return false;
    m_runningRow = row;
    m_taskModel->setRunningRow(row);
    // A device command is no task: the console keeps its own title, not the panel's.
    m_console->setWindowTitle(row >= 0 ? tr("VRXUpdater Task #%1").arg(row + 1)
                                       : tr("VRXUpdater Console"));
    return true;
}

bool UpdaterPanel::runDeviceCommand(Action action)
{
    if (UpdaterCommands::isRisky(action) &&
        Notify::question(this, tr("Risky Firmware Operation"),
                         tr("This action will completely erase the current FPGA firmware "
                            "image\nfrom the on-board flash and may render the device "
                            "un-operational\nuntill a new firmware has been uploaded!\n\nAre "
                            "you sure you want to continue?"),
                         QMessageBox::Yes | QMessageBox::No, QMessageBox::No) != QMessageBox::Yes)
        return false;
    return startTool(QLatin1String(ToolLocator::UpdaterName),
                     UpdaterCommands::arguments(action, commandOptions()), -1,
                     UpdaterCommands::writesDeviceList(action));
}

void UpdaterPanel::onRefreshBtnClicked()
{
    runDeviceCommand(Action::RefreshList);
}
void UpdaterPanel::onListDetailBtnClicked()
{
    runDeviceCommand(Action::RefreshListDetailed);
}
void UpdaterPanel::onIdentifyBtnClicked()
{
    runDeviceCommand(Action::Identify);
}
void UpdaterPanel::onMemLayoutBtnClicked()
{
    runDeviceCommand(Action::ShowMemoryLayout);
}
void UpdaterPanel::onListImagesBtnClicked()
{
    runDeviceCommand(Action::ListImages);
}
void UpdaterPanel::onRebootBtnClicked()
{
    runDeviceCommand(Action::Reboot);
}
void UpdaterPanel::onSetDefaultBtnClicked()
{
    runDeviceCommand(Action::SetDefaultImage);
}
void UpdaterPanel::onSetCandidateBtnClicked()
{
    runDeviceCommand(Action::SetCandidateImage);
}
void UpdaterPanel::onConfirmCandidateBtnClicked()
{
    runDeviceCommand(Action::ConfirmCandidateImage);
}
void UpdaterPanel::onEraseBtnClicked()
{
    runDeviceCommand(Action::EraseImage);
}
void UpdaterPanel::onTestPrimaryBtnClicked()
{
    runDeviceCommand(Action::TestPrimary);
}
void UpdaterPanel::onTestSecondaryBtnClicked()
{
    runDeviceCommand(Action::TestSecondary);
}
void UpdaterPanel::onGetDnaBtnClicked()
{
    runDeviceCommand(Action::GetDna);
}

int UpdaterPanel::deviceNumberFor(int row) const
{
    const int own = UpdaterCommands::deviceNumber(m_taskModel->task(row).device);
    if (own >= 0)
        return own;
    return qMax(0, UpdaterCommands::deviceNumber(m_deviceCmBx->currentText()));
}

bool UpdaterPanel::runToolForTask(int row)
{
    if (row < 0 || row >= m_taskModel->rowCount())
        return false;
    if (m_runner->isRunning()) {
        m_console->print(m_runner->busyMessage());
        return false;
    }
    const UpdaterTask task = m_taskModel->task(row);
    QString command = task.macro.trimmed();
    const bool listed = !command.isEmpty() && UpdaterMacros::labelFor(command) != command;
    if (!listed)
        m_console->print(tr("WARN : Macro not set or custom macro used!\n"));
    if (command.isEmpty()) {
        const QString family = UpdaterCommands::deviceFamily(task.device).isEmpty()
                                   ? parseFirmwareName(task.filePath).family
                                   : UpdaterCommands::deviceFamily(task.device);
        command = UpdaterMacros::familyCommand(family, task.filePath, m_imageSpin->value(),
                                               m_i2cChkBx->isChecked());
    }
    if (command.startsWith(QLatin1String(ToolLocator::LicenseUtilName)))
        return runLicenseTask(row, command);
    return runFirmwareTask(row, command);
}

std::optional<MacroValues> UpdaterPanel::taskValues(int row) const
{
    const UpdaterTask task = m_taskModel->task(row);
    if (!QFileInfo(task.filePath).isFile()) {
        m_console->print(tr("ERROR: File does not exist! (") + task.filePath +
                         QStringLiteral(")\n"));
        return std::nullopt;
    }
    MacroValues values;
    values.device = QString::number(deviceNumberFor(row));
    values.filePath = task.filePath;
    return values;
}

bool UpdaterPanel::startTaskCommand(int row, const QString &command, const MacroValues &values)
{
    // The I2C option is part of commands built from the device family already; a macro of
    // the list or the user's own is run as it reads.
    ToolCommand tool = UpdaterMacros::toToolCommand(UpdaterMacros::expand(command, values));
    if (!tool.error.isEmpty()) {
        m_console->print(tool.error);
        return false;
    }
    return startTool(tool.tool, tool.arguments, row);
}

bool UpdaterPanel::runFirmwareTask(int row, const QString &command)
{
    std::optional<MacroValues> values = taskValues(row);
    if (!values)
        return false;
    if (UpdaterMacros::needsImageInfo(command)) {
        const FirmwareName name = parseFirmwareName(values->filePath);
        values->description = name.description;
        values->version = name.version;
        if (values->description.isEmpty())
            values->description =
                Notify::getText(this, tr("Firmware description required!"),
                                tr("Could not extract firmware description from file name!\n"
                                   "Please set a Firmware Description to continue!\n\n"
                                   "Firmware Description (capped to max 16 characters)"),
                                16)
                    .value_or(QString())
                    .trimmed();
        if (UpdaterMacros::isValidDescription(values->description) && values->version.isEmpty())
            values->version =
                Notify::getText(this, tr("Firmware version required!"),
                                tr("Could not extract firmware version from file name!\n"
                                   "Please set a Firmware version to continue!\n\n"
                                   "Firmware Version (32-bit unsigned number)"))
                    .value_or(QString())
                    .trimmed();
        if (!UpdaterMacros::isValidDescription(values->description) ||
            !UpdaterMacros::isValidVersion(values->version)) {
            m_console->print(tr("ERROR: Invalid image description or version. Aborting!\n"));
            return false;
        }
    }
    return startTaskCommand(row, command, *values);
}

bool UpdaterPanel::runLicenseTask(int row, const QString &command)
{
    const std::optional<MacroValues> values = taskValues(row);
    return values && startTaskCommand(row, command, *values);
}

void UpdaterPanel::onRunThisItemTriggered()
{
    const int row = currentRow();
    if (row >= 0)
        emit RunItemRowTriggered(row);
}

void UpdaterPanel::onRunItemRowTriggered(int row)
{
    m_runQueue.clear();
    runToolForTask(row);
}

void UpdaterPanel::onRunAllBtnClicked()
{
    if (m_runner->isRunning()) {
        m_console->print(m_runner->busyMessage());
        return;
    }
    m_runQueue.clear();
    for (int row = 0; row < m_taskModel->rowCount(); ++row)
        m_runQueue << row;
    if (m_runQueue.isEmpty()) {
        m_console->print(tr("WARN : No firmware tasks to run!\n"));
        return;
    }
    runNextQueued();
}

void UpdaterPanel::runNextQueued()
{
    // A task that cannot start has touched no device: go on with the next one.
    while (!m_runQueue.isEmpty()) {
        if (runToolForTask(m_runQueue.takeFirst()))
            return;
    }
}

void UpdaterPanel::onTaskEnded(int taskNumber, bool success)
{
    const int row = taskNumber - 1;
    if (success && row >= 0 && row < m_taskModel->rowCount())
        m_taskModel->markUploaded(row, QDateTime::currentDateTime());
    setRunning(false);
    if (m_runQueue.isEmpty())
        return;
    if (!success) {
        // A failed flash may have left the device half written: the rest waits for the user.
        m_console->print(tr("WARN : Run all stopped after task #%1 failed.\n").arg(taskNumber));
        m_runQueue.clear();
        return;
    }
    runNextQueued();
}

void UpdaterPanel::onVRXUpdaterfinished(int, QProcess::ExitStatus)
{
    setRunning(false);
}

void UpdaterPanel::CPStateChanged(QProcess::ProcessState newState)
{
    setRunning(newState != QProcess::NotRunning);
}

void UpdaterPanel::setRunning(bool running)
{
    m_runningLabel->setPixmap(stateIcon(running).pixmap(16, 16));
    m_runningLabel->setToolTip(running ? tr("Running...") : tr("Idle"));
    for (QObject *control : qAsConst(m_runControls)) {
        if (auto *action = qobject_cast<QAction *>(control))
            action->setEnabled(!running);
        else if (auto *widget = qobject_cast<QWidget *>(control))
            widget->setEnabled(!running);
    }
    // Rows keep their places while a task of theirs runs.
    m_taskList->setDragEnabled(!running);
    if (!running) {
        m_runningRow = -1;
        m_taskModel->setRunningRow(-1);
    } else {
        m_progressLabel->clear();
    }
}

void UpdaterPanel::onToolOutput(const QString &text)
{
    m_console->print(text);
    static const QRegularExpression percent(QStringLiteral("(\\d{1,3})\\s*%"));
    QRegularExpressionMatchIterator it = percent.globalMatch(text);
    QString last;
    while (it.hasNext())
        last = it.next().captured(1);
    if (!last.isEmpty())
        m_progressLabel->setText(tr("%1%").arg(last));
}

void UpdaterPanel::ConfirmRiskyOperation(const QString &message)
{
    // A stray Enter must never let an erase go ahead.
    const QMessageBox::StandardButton answer =
        Notify::question(this, tr("Risky Firmware Operation"), message,
                         QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    m_runner->answer(answer == QMessageBox::Yes);
}

void UpdaterPanel::onStopBtnClicked()
{
    m_runQueue.clear();
    m_runner->stop();
}

void UpdaterPanel::startInTerminal(const QString &commandLine)
{
    if (!QProcess::startDetached(m_terminal,
                                 {QStringLiteral("--tab"), QStringLiteral("-e"), commandLine}))
        m_console->print(
            tr("ERROR: Unable to start %1! Please verify that it is installed.\n").arg(m_terminal));
}

void UpdaterPanel::onRunExtAppBtnClicked()
{
    const QString command = m_extAppEdit->text().trimmed();
    if (command.isEmpty()) {
        m_console->print(
            tr("ERROR: Nothing to run. Please verify external application commandline!\n"));
        Notify::warning(this, tr("Empty External App"),
                        tr("ERROR: Nothing to run. Please verify external application "
                           "commandline!\n"));
        return;
    }
    startInTerminal(command);
}

void UpdaterPanel::onRunExtAppRequest(const QString &FilePath)
{
    m_console->print(tr("NOTE : Running %1 in %2\n").arg(FilePath, m_terminal));
    startInTerminal(FilePath);
}
