// SPDX-License-Identifier: LGPL-3.0-or-later
#include "monitor/ui/monitorpanel.h"

#include "monitor/core/vrxmonhost.h"
#include "monitor/ui/hexspinbox.h"
#include "util/core/eightbittext.h"
#include "util/core/homedir.h"
#include "viewer/ui/editor.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMovie>
#include <QProcess>
#include <QSettings>
#include <QSpinBox>
#include <QThread>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

const char kStartupGroup[] = "VRXMonitorStartupOption";
const char kLastUsedGroup[] = "VRXMonitorLastUsedState";
const QString kBuiltIn = QStringLiteral("Built-in");
const QString kExternal = QStringLiteral("External (VRXUpdater)");

QSpinBox *makeSpinBox(QWidget *parent, int maximum)
{
    auto *box = new QSpinBox(parent);
    box->setRange(0, maximum);
    return box;
}

} // namespace

MonitorPanel::MonitorPanel(const QString &externalProcessName, QWidget *parent)
    : EditorPanel(parent, Live), m_externalProcessName(externalProcessName),
      m_process(new QProcess(this))
{
    setObjectName(QStringLiteral("MonitorPanel"));
    // Elapsed time on the status line counts from when the panel came up.
    setStartTime(QDateTime::currentDateTime());
    VrxMonHost *host = m_textView->vrxMonHost();
    buildMonitorToolBar();
    loadSettings();

    connect(host->serverThread(), &QThread::started, this, &MonitorPanel::updateRunningState);
    connect(host->serverThread(), &QThread::finished, this, &MonitorPanel::updateRunningState);
    connect(m_process, &QProcess::stateChanged, this, &MonitorPanel::updateRunningState);
    connect(m_process, &QProcess::readyReadStandardOutput, this, [this] {
        m_textView->appendNoNewline(decodeEightBit(m_process->readAllStandardOutput()));
    });
    connect(m_textView, &Editor::logFileFull, this, &MonitorPanel::onLogFileFull);
    connect(textSizeBox(), QOverload<int>::of(&QSpinBox::valueChanged), this, [](int size) {
        QSettings().setValue(QStringLiteral("%1/OutputTextSize").arg(kStartupGroup), size);
    });
    setMinimumWidth(320);
}

MonitorPanel::~MonitorPanel()
{
    if (m_process->state() != QProcess::NotRunning) {
        m_process->kill();
        m_process->waitForFinished(3000);
    }
}

QThread *MonitorPanel::serverThread() const
{
    return m_textView->serverThread();
}

bool MonitorPanel::isMonitoring() const
{
    return serverThread()->isRunning() || m_process->state() != QProcess::NotRunning;
}

void MonitorPanel::buildMonitorToolBar()
{
    auto *bar = new QToolBar(this);
    bar->setWindowTitle(tr("VRXMonitor") + tr(" Toolbar"));
    bar->setIconSize(QSize(16, 16));
    static_cast<QVBoxLayout *>(layout())->insertWidget(0, bar);

    m_startButton = new QToolButton(bar);
    m_startButton->setIcon(QIcon(QStringLiteral(":/Images/monitoring.png")));
    m_startButton->setToolTip(tr("Start/Stop VRXMonitor"));
    m_startButton->setCheckable(true);
    connect(m_startButton, &QToolButton::clicked, this, &MonitorPanel::onStartStopBtnClicked);
    bar->addWidget(m_startButton);

    m_kindBox = new QComboBox(bar);
    m_kindBox->addItems({tr("Built-in"), tr("External (VRXUpdater)")});
    bar->addWidget(m_kindBox);

    m_startupBox = new QComboBox(bar);
    m_startupBox->addItems({tr("Autostart"), tr("Last Used")});
    connect(m_startupBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [](int index) {
                QSettings().setValue(QStringLiteral("%1/StartupOption").arg(kStartupGroup),
                                     index == 0);
            });
    bar->addWidget(m_startupBox);

    bar->addSeparator();
    auto *cacheLabel = new QLabel(tr("Log Cache Count"), bar);
    m_logCacheBox = makeSpinBox(bar, 100000);
    m_logCacheBox->setMinimum(1);
    const QString cacheTip = tr("Set number of log files to cache.\nOldest file will be deleted\n"
                                "when cache limit is reached.");
    cacheLabel->setToolTip(cacheTip);
    m_logCacheBox->setToolTip(cacheTip);
    bar->addWidget(cacheLabel);
    bar->addWidget(m_logCacheBox);

    m_traceBox = new HexSpinBox(bar);
    bar->addWidget(new QLabel(tr("Trace Level"), bar));
    bar->addWidget(m_traceBox);
    m_timestampBox = makeSpinBox(bar, 255);
    bar->addWidget(new QLabel(tr("TimeStamp  "), bar));
    bar->addWidget(m_timestampBox);
    m_maskBox = new HexSpinBox(bar);
    bar->addWidget(new QLabel(tr("Device Mask"), bar));
    bar->addWidget(m_maskBox);

    bar->addAction(QIcon(QStringLiteral("://Images/copy_text.png")),
                   tr("Copy auto-plot command template to clippboard"), this,
                   &MonitorPanel::onCopyTemplateBtnClicked);

    m_busyLabel = new QLabel(bar);
    m_busyMovie = new QMovie(QStringLiteral("://Images/loading.gif"), QByteArray(), m_busyLabel);
    m_busyLabel->setMovie(m_busyMovie);
    // A widget in a tool bar is shown and hidden through its action.
    m_busyAction = bar->addWidget(m_busyLabel);
    m_busyAction->setVisible(false);
}

void MonitorPanel::loadSettings()
{
    QSettings settings;
    settings.beginGroup(QLatin1String(kStartupGroup));
    const bool autostart = settings.value(QStringLiteral("StartupOption"), false).toBool();
    textSizeBox()->setValue(settings.value(QStringLiteral("OutputTextSize"), 8).toInt());
    settings.endGroup();
    {
        const QSignalBlocker block(m_startupBox);
        m_startupBox->setCurrentIndex(autostart ? 0 : 1);
    }
    settings.beginGroup(QLatin1String(kLastUsedGroup));
    m_logCacheBox->setValue(settings.value(QStringLiteral("MonitorLogCacheCount"), 20).toInt());
    m_traceBox->setValue(settings.value(QStringLiteral("MonitorTraceLevel"), 0x7fffffff).toUInt());
    m_timestampBox->setValue(settings.value(QStringLiteral("MonitorTimeStamp"), 1).toInt());
    m_maskBox->setValue(settings.value(QStringLiteral("MonitorDeviceMask"), 0x7fffffff).toUInt());
    const QString kind = settings.value(QStringLiteral("LastUsedMonitor")).toString();
    m_kindBox->setCurrentIndex(kind == kExternal ? External : BuiltIn);
}

void MonitorPanel::saveLastUsedState(bool running)
{
    QSettings settings;
    settings.beginGroup(QLatin1String(kLastUsedGroup));
    settings.setValue(QStringLiteral("MonitorLogCacheCount"), m_logCacheBox->value());
    settings.setValue(QStringLiteral("MonitorTraceLevel"), m_traceBox->value());
    settings.setValue(QStringLiteral("MonitorTimeStamp"), m_timestampBox->value());
    settings.setValue(QStringLiteral("MonitorDeviceMask"), m_maskBox->value());
    settings.setValue(QStringLiteral("LastUsedMonitor"),
                      m_kindBox->currentIndex() == External ? kExternal : kBuiltIn);
    settings.setValue(QStringLiteral("LastUsedState"), running);
}

void MonitorPanel::applyStartupOption()
{
    QSettings settings;
    const bool autostart =
        settings.value(QStringLiteral("%1/StartupOption").arg(kStartupGroup), false).toBool();
    const bool wasRunning =
        settings.value(QStringLiteral("%1/LastUsedState").arg(kLastUsedGroup), false).toBool();
    if (!isMonitoring() && (autostart || wasRunning))
        startMonitoring();
}

QString MonitorPanel::outputDirectory()
{
    return QString::asprintf("%s/.local/share/OKAV/", qPrintable(userHomeDir()));
}

int MonitorPanel::removeOldLogFiles(const QString &directory, int keep)
{
    // Newest first, so the oldest stand at the end.
    QFileInfoList files = QDir(directory).entryInfoList({QStringLiteral("*.okv")}, QDir::Files,
                                                         QDir::Time);
    int removed = 0;
    while (files.size() > keep) {
        QFile::remove(files.takeLast().absoluteFilePath());
        ++removed;
    }
    return removed;
}

QString MonitorPanel::copyTemplate()
{
    return QStringLiteral(
               "//Command format: RunCmd( CommandCode, MemoryName, MemoryPointer, MemorySize, "
               "PlotFormat, Option)\n"
               "VRXControlUnit_UserLogMessage(vrx_cu, 0x0FFFFFFF, \"RunCmd( 1, "
               "Triggered_Streaming_Record, %p, %d, int16, %d);\\n\", (void *)record_pointer, "
               "record_header->RecordLength * 2, 1);\n")
        .trimmed();
}

void MonitorPanel::onStartStopBtnClicked(bool)
{
    if (isMonitoring())
        stopMonitoring();
    else
        startMonitoring();
    updateRunningState();
}

void MonitorPanel::startMonitoring()
{
    if (isMonitoring())
        return;
    const quint32 trace = m_traceBox->value();
    const quint32 timestamp = quint32(m_timestampBox->value());
    const quint32 mask = m_maskBox->value();

    const QString directory = outputDirectory();
    const bool haveDirectory = QDir().mkpath(directory);
    removeOldLogFiles(directory, m_logCacheBox->value());
    startLogFile(newLogFilePath(QDir::cleanPath(directory)));
    if (!haveDirectory)
        m_textView->appendNoNewline(tr("ERROR: Unable create directory %1\n\n").arg(directory));

    if (m_kindBox->currentIndex() == External) {
        const QString local = QDir::current().absoluteFilePath(m_externalProcessName);
        const QString installed = QStringLiteral("/usr/bin/") + m_externalProcessName;
        QString program;
        if (QFileInfo(local).isFile() && QFileInfo(local).isExecutable()) {
            program = local;
            m_textView->appendNoNewline(tr("NOTE : Using local VRXUpdater: %1\n\n").arg(program));
        } else if (QFileInfo(installed).isFile() && QFileInfo(installed).isExecutable()) {
            program = installed;
            m_textView->appendNoNewline(
                tr("NOTE : Using installed VRXUpdater: %1\n\n").arg(program));
        }
        if (!program.isEmpty()) {
            m_process->start(program, {QStringLiteral("vrxmon"), QString::number(trace),
                                       QString::number(timestamp), QString::number(mask)});
            saveLastUsedState(true);
            return;
        }
        m_textView->appendNoNewline(tr("ERROR: No local or installed external application ") +
                                    QLatin1Char('"') + m_externalProcessName + QLatin1Char('"') +
                                    tr(" found!\n"));
        m_textView->appendNoNewline(tr("WARN : Using built-in monitor...\n"));
    }
    startBuiltIn(trace, timestamp, mask);
    saveLastUsedState(true);
}

void MonitorPanel::setLogFileLimit(qint64 bytes)
{
    m_textView->setLogFileLimit(bytes);
}

void MonitorPanel::onLogFileFull()
{
    // The run goes on in a new file, which the old files' cache counts like any other; the
    // text that did not fit goes there, so nothing is lost between the two.
    const QString directory = QFileInfo(m_textView->logFilePath()).absolutePath();
    removeOldLogFiles(directory, m_logCacheBox->value());
    // Named like every output file; a file filled within the same millisecond (only with a
    // tiny limit) takes the next free one, so the names still sort by time.
    QDateTime time = QDateTime::currentDateTime();
    QString path;
    do {
        path = directory + QStringLiteral("/vrxmon_") +
               time.toString(QStringLiteral("yyyy-MM-dd-hh.mm.ss.zzz")) + QStringLiteral(".okv");
        time = time.addMSecs(1);
    } while (path == m_textView->logFilePath() || QFileInfo::exists(path));
    startLogFile(path);
}

void MonitorPanel::startBuiltIn(quint32 trace, quint32 timestamp, quint32 mask)
{
    m_textView->appendNoNewline(tr("NOTE : Using built-in monitor...\n"));
    m_textView->startVrxMon(1, QStringLiteral("127.0.0.1"), m_port, trace, timestamp, mask);
}

void MonitorPanel::stopMonitoring()
{
    if (m_process->state() != QProcess::NotRunning) {
        // Asked first; a tool that does not end on its own within three seconds is killed.
        m_process->terminate();
        QTimer::singleShot(3000, m_process, [process = m_process] {
            if (process->state() != QProcess::NotRunning)
                process->kill();
        });
    }
    m_textView->stopVrxMon();
    saveLastUsedState(false);
}

void MonitorPanel::updateRunningState()
{
    const bool running = isMonitoring();
    {
        const QSignalBlocker block(m_startButton);
        m_startButton->setChecked(running);
    }
    m_busyAction->setVisible(running);
    if (running)
        m_busyMovie->start();
    else
        m_busyMovie->stop();
}

void MonitorPanel::onCopyTemplateBtnClicked()
{
    QApplication::clipboard()->setText(copyTemplate());
}

void MonitorPanel::printCommandUsage()
{
    m_textView->appendNoNewline(
        tr("INFO : Commands are embedded in the log text from \"RunCmd(\" to \");\".\n"
           "INFO :   RunCmd(0); stops the monitor.\n"
           "INFO :   RunCmd( 1, MemoryName, MemoryPointer, MemorySize, PlotFormat, Option); "
           "plots MemorySize bytes at MemoryPointer of the sending program in real time.\n"
           "INFO : Template:\n") +
        copyTemplate() + QLatin1Char('\n'));
}
