#include "updater/ui/updaterpanel.h"

#include "updater/ui/tasktreeview.h"
#include "updater/ui/treemodel.h"

#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QDateTime>
#include <QProcess>
#include <QToolBar>
#include <QVBoxLayout>

UpdaterConsole::UpdaterConsole(QWidget *parent) : TextPanel(parent), m_process(new QProcess(this))
{
    setObjectName(QStringLiteral("UpdaterConsole"));
    // Elapsed time on the status line counts from when the panel came up.
    setStartTime(QDateTime::currentDateTime());
}

UpdaterPanel::UpdaterPanel(QWidget *parent)
    : QWidget(parent), m_taskModel(new TreeModel(this)),
      m_taskList(new TaskTreeView(m_taskModel, this)), m_console(new UpdaterConsole(this))
{
    setObjectName(QStringLiteral("UpdaterPanel"));
    auto *toolBar = new QToolBar(this);
    toolBar->setIconSize(QSize(16, 16));
    toolBar->addAction(QIcon(QStringLiteral("://Images/running_black.png")),
                       tr("Run all firmware tasks"));
    toolBar->addAction(QIcon(QStringLiteral("://Images/add_red.png")),
                       tr("New Firmware task\nUse the most recent task as template"));
    toolBar->addAction(QIcon(QStringLiteral("://Images/broom.png")),
                       tr("Clear Firmware Tasks List"));
    for (QAction *action : toolBar->actions())
        action->setEnabled(false);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(toolBar);
    layout->addWidget(new QLabel(tr("Recent File Tasks"), this));
    layout->addWidget(m_taskList);
    m_taskList->header()->setStretchLastSection(true);
    // The console lives in a dock of its own; keep it out of this layout until then.
    m_console->hide();
}

void UpdaterPanel::onRunExtAppRequest(const QString &FilePath)
{
    m_console->textView()->appendPlainText(
        tr("NOTE : External application requested: %1\n").arg(FilePath));
}

void UpdaterPanel::onRunExtAppBtnClicked()
{
    m_console->textView()->appendPlainText(tr("NOTE : No external application configured.\n"));
}
