#include "monitor/ui/monitorpanel.h"

#include <QPlainTextEdit>
#include <QDateTime>
#include <QProcess>
#include <QThread>
#include <QToolBar>

MonitorPanel::MonitorPanel(const QString &externalProcessName, QWidget *parent)
    : TextPanel(parent), m_externalProcessName(externalProcessName),
      m_serverThread(new QThread(this)), m_process(new QProcess(this))
{
    setObjectName(QStringLiteral("MonitorPanel"));
    // Elapsed time on the status line counts from when the panel came up.
    setStartTime(QDateTime::currentDateTime());
    m_serverThread->setObjectName(QStringLiteral("VrxMonServerThread"));
    m_textView->setMaximumBlockCount(10000);
    m_toolBar->setWindowTitle(tr("VRXMonitor") + tr(" Toolbar"));
    QAction *start = m_toolBar->addAction(QIcon(QStringLiteral(":/Images/monitoring.png")),
                                          tr("Start/Stop VRXMonitor"));
    start->setCheckable(true);
    start->setEnabled(false);
    m_toolBar->insertAction(m_toolBar->actions().value(0), start);
    setMinimumWidth(320);
}

MonitorPanel::~MonitorPanel()
{
    m_serverThread->quit();
    m_serverThread->wait();
}

void MonitorPanel::printCommandUsage()
{
    m_textView->appendPlainText(QStringLiteral(
        "//Command format: RunCmd( CommandCode, MemoryName, MemoryPointer, MemorySize, "
        "PlotFormat, Option)\n"
        "VRXControlUnit_UserLogMessage(vrx_cu, 0x0FFFFFFF, \"RunCmd( 1, "
        "Triggered_Streaming_Record, %p, %d, int16, %d);\\n\", (void *)record_pointer, "
        "record_header->RecordLength * 2, 1);"));
}
