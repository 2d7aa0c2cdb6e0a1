// SPDX-License-Identifier: LGPL-3.0-or-later
#include "updater/ui/updaterpanel.h"

#include "updater/core/toollocator.h"
#include "updater/core/toolrunner.h"
#include "updater/ui/tasktreeview.h"
#include "updater/ui/treemodel.h"
#include "updater/ui/updaterdelegates.h"
#include "util/ui/notify.h"
#include "viewer/core/filereaderwriter.h"
#include "viewer/core/viewerengine.h"
#include "viewer/ui/editor.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QSettings>
#include <QSpinBox>
#include <QToolBar>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>
#include <QWidgetAction>

namespace {

QString icon(const char *name)
{
    return QStringLiteral("://Images/%1.png").arg(QLatin1String(name));
}

} // namespace

UpdaterConsole::UpdaterConsole(ToolRunner *runner, QWidget *parent)
    : EditorPanel(parent, Live), m_runner(runner),
      m_outputLabel(new QLabel(tr("VRXUpdater Output: "), this))
{
    setObjectName(QStringLiteral("UpdaterConsole"));
    m_toolBar->insertWidget(m_toolBar->actions().value(0), m_outputLabel);
    // The tool's risky steps end in a yes/no question that the panel answers.
    engine()->index().setCapture(QStringLiteral("WARNING!:"), QStringLiteral("(y/n)"));
    // Elapsed time on the status line counts from when the console came up.
    setStartTime(QDateTime::currentDateTime());
    QSettings settings;
    settings.beginGroup(QLatin1String(UpdaterPanel::SettingsGroup));
    textSizeBox()->setValue(settings.value(QStringLiteral("OutputTextSize"), 9).toInt());
    connect(textSizeBox(), QOverload<int>::of(&QSpinBox::valueChanged), this, [](int size) {
        QSettings().setValue(
            QStringLiteral("%1/OutputTextSize").arg(QLatin1String(UpdaterPanel::SettingsGroup)),
            size);
    });
}

QProcess *UpdaterConsole::childProcess() const
{
    return m_runner->process();
}

bool UpdaterConsole::ensureLogFile()
{
    if (!editor()->logFilePath().isEmpty())
        return true;
    const QString directory = ToolLocator::dataDirectory();
    if (!QDir().mkpath(directory)) {
        editor()->appendNoNewline(tr("ERROR: Unable create directory %1\n\n").arg(directory));
        return false;
    }
    startLogFile(ToolLocator::newLogFilePath(directory));
    return true;
}

void UpdaterConsole::print(const QString &text)
{
    // Every console line belongs in the log; a new log file starts with an empty view.
    ensureLogFile();
    editor()->appendNoNewline(text);
}

UpdaterPanel::UpdaterPanel(QWidget *parent)
    : QWidget(parent), m_taskModel(new TreeModel(this)),
      m_taskList(new TaskTreeView(m_taskModel, this)), m_runner(new ToolRunner(this)),
      m_console(new UpdaterConsole(m_runner, this))
{
    setObjectName(QStringLiteral("UpdaterPanel"));
    m_taskModel->setObjectName(QStringLiteral("Custom Tree Model"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    buildDeviceToolBar(this);
    buildTaskToolBar(this);
    buildTaskActions();
    layout->addWidget(m_taskList);

    m_taskList->setItemDelegateForColumn(TreeModel::FilePath,
                                         new RecentFilesDelegate(m_taskModel, this));
    m_taskList->setItemDelegateForColumn(TreeModel::Macro, new ArgMacroDelegate(this));
    auto *devices = new DeviceListDelegate([this] { return m_devices; }, this);
    connect(devices, &DeviceListDelegate::RefreshRequested, this,
            &UpdaterPanel::onRefreshBtnClicked);
    m_taskList->setItemDelegateForColumn(TreeModel::Device, devices);
    m_taskList->setEditTriggers(QAbstractItemView::DoubleClicked |
                                QAbstractItemView::EditKeyPressed);
    m_taskList->setContextMenuPolicy(Qt::CustomContextMenu);
    m_taskList->setMouseTracking(true);
    // The file name at the end of a path says most; elide in the middle.
    m_taskList->setTextElideMode(Qt::ElideMiddle);
    const int widths[] = {56, 330, 230, 200, 80, 175, 175};
    for (int column = 0; column < int(std::size(widths)); ++column)
        m_taskList->header()->resizeSection(column, widths[column]);
    connect(m_taskList, &QWidget::customContextMenuRequested, this,
            &UpdaterPanel::onTaskListContextMenuRequest);
    connect(m_taskList, &QAbstractItemView::entered, this, &UpdaterPanel::onItemCellMouseOver);
    connect(m_taskList, &QTreeView::expanded, this, &UpdaterPanel::onIndexExpanded);
    connect(this, &UpdaterPanel::RunAllBtnClicked, this, &UpdaterPanel::onRunAllBtnClicked);
    connect(this, &UpdaterPanel::RunItemRowTriggered, this, &UpdaterPanel::onRunItemRowTriggered);

    connect(m_runner, &ToolRunner::output, this, &UpdaterPanel::onToolOutput);
    connect(m_runner, &ToolRunner::finished, this, &UpdaterPanel::onTaskEnded);
    connect(m_runner, &ToolRunner::deviceListWritten, this,
            [this](const QStringList &found) { fillDeviceSelector(found, true); });
    connect(m_runner->process(), &QProcess::stateChanged, this, &UpdaterPanel::CPStateChanged);
    connect(m_runner->process(), QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished),
            this, &UpdaterPanel::onVRXUpdaterfinished);
    connect(m_console->engine()->readerWriter(), &FileReaderWriter::PhraseCaptured, this,
            &UpdaterPanel::ConfirmRiskyOperation);

    loadStartupOption();
    QFile list(ToolLocator::deviceListPath());
    if (list.open(QIODevice::ReadOnly))
        fillDeviceSelector(UpdaterCommands::parseDeviceList(QString::fromLocal8Bit(list.readAll())),
                           false);
    else
        fillDeviceSelector({}, false);
    // The console lives in a dock of its own; keep it out of this layout.
    m_console->hide();
}

UpdaterPanel::~UpdaterPanel()
{
    // The run's ending must not reach a panel that is half gone.
    m_runner->disconnect(this);
    m_runner->process()->disconnect(this);
}

void UpdaterPanel::buildDeviceToolBar(QWidget *holder)
{
    auto *bar = new QToolBar(tr("Device"), holder);
    bar->setIconSize(QSize(16, 16));
    layout()->addWidget(bar);
    const auto add = [this, bar](const char *image, const QString &tip, auto slot) {
        QAction *action = image ? bar->addAction(QIcon(icon(image)), tip) : bar->addAction(tip);
        action->setToolTip(tip);
        connect(action, &QAction::triggered, this, slot);
        m_runControls << action;
        return action;
    };

    m_deviceCmBx = new QComboBox(bar);
    m_deviceCmBx->setToolTip(tr("Select connected device from list"));
    m_deviceCmBx->setMinimumContentsLength(18);
    m_deviceCmBx->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    bar->addWidget(m_deviceCmBx);
    connect(m_deviceCmBx, &QComboBox::currentTextChanged, this,
            &UpdaterPanel::onDeviceCmBxTextChanged);
    add("refresh_blue", tr("Refresh Device List"), &UpdaterPanel::onRefreshBtnClicked);
    add(nullptr, tr("Refresh Device List with more details (SLOW)"),
        &UpdaterPanel::onListDetailBtnClicked)
        ->setText(tr("List+"));

    bar->addWidget(new QLabel(tr(" FPGA "), bar));
    m_fpgaCmBx = new QComboBox(bar);
    m_fpgaCmBx->addItems({QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("2")});
    m_fpgaCmBx->setToolTip(
        tr("Select FPGA index to operate on.\n(For multi FPGA devices such as V5 products only)"));
    bar->addWidget(m_fpgaCmBx);
    connect(m_fpgaCmBx, &QComboBox::currentTextChanged, this, &UpdaterPanel::onFPGACmBxTextChanged);
    m_i2cChkBx = new QCheckBox(tr("I2C"), bar);
    m_i2cChkBx->setToolTip(
        tr("Use I2C interface for file task operations on Kintex UltraScale devices.\nThis is "
           "normally needed if the running firmware does not support SPI or\nif no firmware "
           "is currently available on the device."));
    bar->addWidget(m_i2cChkBx);
    connect(m_i2cChkBx, &QCheckBox::toggled, this, &UpdaterPanel::saveStartupOption);
    m_runControls << m_deviceCmBx << m_fpgaCmBx << m_i2cChkBx;
    bar->addSeparator();

    add(nullptr, tr("Identify device"), &UpdaterPanel::onIdentifyBtnClicked)->setText(tr("ID"));
    add("mem_layout", tr("Show memory layout"), &UpdaterPanel::onMemLayoutBtnClicked);
    add("list_images", tr("List images"), &UpdaterPanel::onListImagesBtnClicked);
    m_imageSpin = new QSpinBox(bar);
    m_imageSpin->setRange(0, 3);
    m_imageSpin->setPrefix(tr("Image "));
    m_imageSpin->setToolTip(tr("Image index the image commands operate on"));
    bar->addWidget(m_imageSpin);
    connect(m_imageSpin, QOverload<int>::of(&QSpinBox::valueChanged), this,
            &UpdaterPanel::saveStartupOption);
    m_runControls << m_imageSpin;
    add("reboot_image", tr("Reboot into selected image"), &UpdaterPanel::onRebootBtnClicked);

    auto *more = new QToolButton(bar);
    more->setText(tr("Image"));
    more->setToolTip(tr("More image commands"));
    more->setPopupMode(QToolButton::InstantPopup);
    auto *menu = new QMenu(more);
    const auto addMore = [this, menu](const QString &text, auto slot) {
        m_runControls << menu->addAction(text, this, slot);
    };
    addMore(tr("Set default image"), &UpdaterPanel::onSetDefaultBtnClicked);
    addMore(tr("Set candidate image"), &UpdaterPanel::onSetCandidateBtnClicked);
    addMore(tr("Confirm candidate image"), &UpdaterPanel::onConfirmCandidateBtnClicked);
    addMore(tr("Erase image"), &UpdaterPanel::onEraseBtnClicked);
    menu->addSeparator();
    addMore(tr("Test primary"), &UpdaterPanel::onTestPrimaryBtnClicked);
    addMore(tr("Test secondary"), &UpdaterPanel::onTestSecondaryBtnClicked);
    addMore(tr("Get DNA"), &UpdaterPanel::onGetDnaBtnClicked);
    more->setMenu(menu);
    bar->addWidget(more);
    m_runControls << more;
    bar->addSeparator();

    QAction *stop = bar->addAction(tr("Stop"), this, &UpdaterPanel::onStopBtnClicked);
    stop->setToolTip(tr("Stop the running tool"));
    QAction *ext = bar->addAction(tr("Ext App"), this, &UpdaterPanel::onRunExtAppBtnClicked);
    ext->setToolTip(tr("Run the external application (F5)"));
    auto *gear = new QToolButton(bar);
    gear->setIcon(QIcon(icon("gear")));
    gear->setToolTip(tr("Path settings for external tools such as\nVRXUpdater and VRXLicenseUtil"));
    gear->setPopupMode(QToolButton::InstantPopup);
    auto *gearMenu = new QMenu(gear);
    auto *form = new QWidgetAction(gearMenu);
    form->setDefaultWidget(buildPathSettings());
    gearMenu->addAction(form);
    gear->setMenu(gearMenu);
    bar->addWidget(gear);

    m_progressLabel = new QLabel(bar);
    m_progressLabel->setMinimumWidth(40);
    bar->addWidget(m_progressLabel);
    m_runningLabel = new QLabel(bar);
    m_runningLabel->setPixmap(QIcon(icon("lightbulb_black")).pixmap(16, 16));
    m_runningLabel->setToolTip(tr("Idle"));
    bar->addWidget(m_runningLabel);
}

QWidget *UpdaterPanel::buildPathSettings()
{
    auto *box = new QWidget;
    auto *form = new QFormLayout(box);
    m_updaterPathEdit = new QLineEdit(QString::fromLatin1(ToolLocator::DefaultUpdaterPath), box);
    m_licensePathEdit =
        new QLineEdit(QString::fromLatin1(ToolLocator::DefaultLicenseUtilPath), box);
    m_extAppEdit = new QLineEdit(box);
    m_extAppEdit->setPlaceholderText(tr("Command line run in a terminal tab (F5)"));
    for (QLineEdit *edit : {m_updaterPathEdit, m_licensePathEdit, m_extAppEdit}) {
        edit->setMinimumWidth(280);
        connect(edit, &QLineEdit::editingFinished, this, &UpdaterPanel::saveStartupOption);
    }
    form->addRow(tr("VRXUpdater Installed Path"), m_updaterPathEdit);
    form->addRow(tr("VRXLicenseUtil Installed Path"), m_licensePathEdit);
    form->addRow(tr("External App"), m_extAppEdit);
    box->setToolTip(tr("Path settings for external tools such as\nVRXUpdater and VRXLicenseUtil"));
    return box;
}

void UpdaterPanel::buildTaskToolBar(QWidget *holder)
{
    auto *bar = new QToolBar(tr("Tasks"), holder);
    bar->setIconSize(QSize(16, 16));
    layout()->addWidget(bar);
    const auto add = [this, bar](const char *image, const QString &tip, auto slot) {
        QAction *action = bar->addAction(QIcon(icon(image)), tip, this, slot);
        m_runControls << action;
    };
    add("running_black", tr("Run all firmware tasks"), &UpdaterPanel::RunAllBtnClicked);
    add("add_red", tr("New Firmware task\nUse the most recent task as template"),
        &UpdaterPanel::onPublicAddBtnClicked);
    add("recycle", tr("Re-use Task"), &UpdaterPanel::onReuseItemTriggered);
    add("up", tr("Move Up"), &UpdaterPanel::onMoveUpTriggered);
    add("down", tr("Move Down"), &UpdaterPanel::onMoveDownTriggered);
    add("delete", tr("Remove Task(s)"), &UpdaterPanel::onRemoveItemsTriggered);
    add("broom", tr("Clear Firmware Tasks List"), &UpdaterPanel::onClearItemsTriggered);
    bar->addSeparator();
    bar->addWidget(new QLabel(tr("Recent File Tasks"), bar));
}

void UpdaterPanel::buildTaskActions()
{
    const auto add = [this](const char *image, const QString &text, auto slot) {
        QAction *action = new QAction(QIcon(icon(image)), text, this);
        connect(action, &QAction::triggered, this, slot);
        m_taskActions << action;
        return action;
    };
    m_runControls << add("running_black", tr("Run Task"), &UpdaterPanel::onRunThisItemTriggered);
    m_runControls << add("running_black", tr("Run all firmware tasks"),
                         &UpdaterPanel::RunAllBtnClicked);
    m_runControls << add("add_red", tr("New Firmware task\nUse the most recent task as template"),
                         &UpdaterPanel::addNewTask);
    m_runControls << add("recycle", tr("Re-use Task"), &UpdaterPanel::onReuseItemTriggered);
    m_runControls << add("up", tr("Move Up"), &UpdaterPanel::onMoveUpTriggered);
    m_runControls << add("down", tr("Move Down"), &UpdaterPanel::onMoveDownTriggered);
    add("copy", tr("Copy Path(s)"), &UpdaterPanel::onCopyPathsTriggered);
    add("flashlight", tr("Explorer Path"), &UpdaterPanel::onExplorePathTriggered);
    m_runControls << add("delete", tr("Remove Task(s)"), &UpdaterPanel::onRemoveItemsTriggered);
    m_runControls << add("broom", tr("Clear Firmware Tasks List"),
                         &UpdaterPanel::onClearItemsTriggered);
}

void UpdaterPanel::loadStartupOption()
{
    m_loading = true;
    QSettings settings;
    settings.beginGroup(QLatin1String(SettingsGroup));
    m_updaterPathEdit->setText(
        settings.value(QStringLiteral("VRXUpdaterInstalledPath"), m_updaterPathEdit->text())
            .toString());
    m_licensePathEdit->setText(
        settings.value(QStringLiteral("VRXLicenseUtilInstalledPath"), m_licensePathEdit->text())
            .toString());
    m_extAppEdit->setText(settings.value(QStringLiteral("ExternalAppCommandLine")).toString());
    m_fpgaCmBx->setCurrentText(settings.value(QStringLiteral("FPGAIndex"), 0).toString());
    m_i2cChkBx->setChecked(settings.value(QStringLiteral("UseI2C"), false).toBool());
    m_imageSpin->setValue(settings.value(QStringLiteral("ImageIndex"), 0).toInt());
    m_loading = false;
    m_runner->setInstalledPath(QLatin1String(ToolLocator::UpdaterName), m_updaterPathEdit->text());
    m_runner->setInstalledPath(QLatin1String(ToolLocator::LicenseUtilName),
                               m_licensePathEdit->text());
}

void UpdaterPanel::saveStartupOption()
{
    if (m_loading)
        return;
    m_runner->setInstalledPath(QLatin1String(ToolLocator::UpdaterName), m_updaterPathEdit->text());
    m_runner->setInstalledPath(QLatin1String(ToolLocator::LicenseUtilName),
                               m_licensePathEdit->text());
    QSettings settings;
    settings.beginGroup(QLatin1String(SettingsGroup));
    settings.setValue(QStringLiteral("OutputTextSize"), m_console->textSizeBox()->value());
    settings.setValue(QStringLiteral("VRXUpdaterInstalledPath"), m_updaterPathEdit->text());
    settings.setValue(QStringLiteral("VRXLicenseUtilInstalledPath"), m_licensePathEdit->text());
    settings.setValue(QStringLiteral("ExternalAppCommandLine"), m_extAppEdit->text());
    settings.setValue(QStringLiteral("SelectedDevice"), m_deviceCmBx->currentText());
    settings.setValue(QStringLiteral("FPGAIndex"), m_fpgaCmBx->currentText());
    settings.setValue(QStringLiteral("UseI2C"), m_i2cChkBx->isChecked());
    settings.setValue(QStringLiteral("ImageIndex"), m_imageSpin->value());
}

void UpdaterPanel::fillDeviceSelector(const QStringList &devices, bool listed)
{
    m_devices = devices;
    const QString wanted =
        QSettings()
            .value(QStringLiteral("%1/SelectedDevice").arg(QLatin1String(SettingsGroup)))
            .toString();
    m_loading = true;
    m_deviceCmBx->clear();
    if (devices.isEmpty()) {
        m_deviceCmBx->addItem(listed ? tr("No Device Found") : tr("Please Refresh"));
    } else {
        m_deviceCmBx->addItem(tr("Choose Device"));
        m_deviceCmBx->addItems(devices);
        const int row = m_deviceCmBx->findText(wanted);
        m_deviceCmBx->setCurrentIndex(row > 0 ? row : (devices.size() == 1 ? 1 : 0));
    }
    m_loading = false;
}

void UpdaterPanel::onDeviceCmBxTextChanged(const QString &currentItem)
{
    if (!m_loading && UpdaterCommands::deviceNumber(currentItem) >= 0)
        saveStartupOption();
}

void UpdaterPanel::onFPGACmBxTextChanged(const QString &)
{
    saveStartupOption();
}

UpdaterCommands::Options UpdaterPanel::commandOptions() const
{
    UpdaterCommands::Options options;
    options.device = UpdaterCommands::deviceNumber(m_deviceCmBx->currentText());
    options.image = m_imageSpin->value();
    options.i2c = m_i2cChkBx->isChecked();
    return options;
}

// --- The task list ---

QList<int> UpdaterPanel::selectedRows() const
{
    QList<int> rows;
    for (const QModelIndex &index : m_taskList->selectionModel()->selectedRows())
        rows << index.row();
    if (rows.isEmpty() && m_taskList->currentIndex().isValid())
        rows << m_taskList->currentIndex().row();
    std::sort(rows.begin(), rows.end());
    return rows;
}

int UpdaterPanel::currentRow() const
{
    const QModelIndex current = m_taskList->currentIndex();
    if (current.isValid())
        return current.row();
    const QList<int> rows = selectedRows();
    return rows.isEmpty() ? -1 : rows.first();
}

bool UpdaterPanel::taskLimitReached()
{
    if (m_taskModel->rowCount() < MaxTaskRows)
        return false;
    Notify::warning(this, tr("Abusive usage!"),
                    tr("Alright! You had your fun!\n\nNow formating your disk...\n\nByebye!"));
    m_taskModel->keepLastTask();
    return true;
}

void UpdaterPanel::addNewTask()
{
    if (taskLimitReached())
        return;
    // The file comes from the user; macro and device from the most recent task (the model's
    // rule for every added file). A cancelled browse adds nothing.
    const QString path =
        QFileDialog::getOpenFileName(this, tr("Open Firmware File"), QStringLiteral("./"),
                                     tr("VRX Firmware (*.mcs *.mmcs *.zip)"));
    if (path.isEmpty())
        return;
    m_taskModel->AppendRows({path});
    m_taskList->setCurrentIndex(
        m_taskModel->index(m_taskModel->rowCount() - 1, TreeModel::FilePath));
}

void UpdaterPanel::onPublicAddBtnClicked()
{
    addNewTask();
}

void UpdaterPanel::onReuseItemTriggered()
{
    if (taskLimitReached())
        return;
    const int row = currentRow();
    if (row < 0)
        return;
    UpdaterTask task = m_taskModel->task(row);
    task.uploadDate.clear();
    const int at = m_taskModel->rowCount();
    m_taskModel->insertTask(at, task);
    m_taskList->setCurrentIndex(m_taskModel->index(at, TreeModel::FilePath));
}

void UpdaterPanel::onMoveUpTriggered()
{
    const int row = currentRow();
    if (m_taskModel->moveTask(row, -1))
        m_taskList->setCurrentIndex(m_taskModel->index(row - 1, TreeModel::FilePath));
}

void UpdaterPanel::onMoveDownTriggered()
{
    const int row = currentRow();
    if (m_taskModel->moveTask(row, +1))
        m_taskList->setCurrentIndex(m_taskModel->index(row + 1, TreeModel::FilePath));
}

void UpdaterPanel::onCopyPathsTriggered()
{
    QStringList paths;
    for (int row : selectedRows())
        paths << m_taskModel->task(row).filePath;
    QApplication::clipboard()->setText(paths.join(QLatin1Char('\n')));
}

void UpdaterPanel::onExplorePathTriggered()
{
    const int row = currentRow();
    if (row < 0)
        return;
    const QString folder = QFileInfo(m_taskModel->task(row).filePath).absolutePath();
    QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}

void UpdaterPanel::onRemoveItemsTriggered()
{
    m_taskModel->removeTasks(selectedRows());
}

void UpdaterPanel::onClearItemsTriggered()
{
    m_taskModel->clearTasks();
}

void UpdaterPanel::onIndexExpanded(const QModelIndex &)
{
    for (int column = 0; column < TreeModel::ColumnCount; ++column)
        m_taskList->resizeColumnToContents(column);
}

void UpdaterPanel::onItemCellMouseOver(const QModelIndex &index)
{
    const QVariant tip = index.data(Qt::ToolTipRole);
    m_taskList->setToolTip(tip.isValid() ? tip.toString() : index.data().toString());
}

void UpdaterPanel::onTaskListContextMenuRequest(const QPoint &pos)
{
    // A right-click on a row that is not selected acts on that row alone.
    const QModelIndex at = m_taskList->indexAt(pos);
    if (at.isValid() && !m_taskList->selectionModel()->isRowSelected(at.row(), QModelIndex()))
        m_taskList->setCurrentIndex(at);
    QMenu menu(this);
    const bool hasRow = currentRow() >= 0;
    for (QAction *action : qAsConst(m_taskActions)) {
        const bool perRow = action != m_taskActions.at(1) && action != m_taskActions.at(2) &&
                            action != m_taskActions.last();
        if (!perRow || hasRow)
            menu.addAction(action);
    }
    menu.exec(m_taskList->viewport()->mapToGlobal(pos));
}

void UpdaterPanel::showTaskList()
{
    m_taskList->setFocus();
}

void UpdaterPanel::showUpdaterEditor()
{
    // The console sits in its own dock: bring that forward.
    for (QWidget *widget = m_console->parentWidget(); widget; widget = widget->parentWidget()) {
        if (auto *dock = qobject_cast<QDockWidget *>(widget)) {
            dock->show();
            dock->raise();
            break;
        }
    }
    m_console->textView()->setFocus();
}
