// SPDX-License-Identifier: LGPL-3.0-or-later
#include "updater/core/toolrunner.h"

#include "updater/core/toollocator.h"
#include "updater/core/updatercommands.h"
#include "util/core/qtimespan.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

ToolRunner::ToolRunner(QObject *parent)
    : QObject(parent), m_process(new QProcess(this)),
      m_updaterPath(QString::fromLatin1(ToolLocator::DefaultUpdaterPath)),
      m_licenseUtilPath(QString::fromLatin1(ToolLocator::DefaultLicenseUtilPath)),
      m_programDirectory(QCoreApplication::applicationDirPath())
{
    m_process->setObjectName(QStringLiteral("VRXUpdaterProcess"));
    // The tools print their questions and errors on either stream; the console shows both.
    m_process->setProcessChannelMode(QProcess::MergedChannels);
    connect(m_process, &QProcess::readyReadStandardOutput, this, &ToolRunner::onReadyRead);
    connect(m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &ToolRunner::onFinished);
    connect(m_process, &QProcess::errorOccurred, this, &ToolRunner::onErrorOccurred);
}

ToolRunner::~ToolRunner()
{
    // A tool left running would outlive the window; end it with us.
    m_process->disconnect(this);
    if (m_process->state() != QProcess::NotRunning) {
        m_process->kill();
        m_process->waitForFinished(3000);
    }
}

void ToolRunner::setInstalledPath(const QString &toolName, const QString &path)
{
    (toolName == QLatin1String(ToolLocator::LicenseUtilName) ? m_licenseUtilPath : m_updaterPath) =
        path;
}

QString ToolRunner::installedPath(const QString &toolName) const
{
    return toolName == QLatin1String(ToolLocator::LicenseUtilName) ? m_licenseUtilPath
                                                                   : m_updaterPath;
}

bool ToolRunner::run(const QString &toolName, const QStringList &arguments, int taskNumber,
                     const QString &deviceListPath)
{
    if (isRunning()) {
        emit output(busyMessage());
        return false;
    }
    const ToolLocation location =
        ToolLocator::locate(toolName, installedPath(toolName), m_programDirectory);
    emit output(location.message);
    if (location.kind == ToolLocation::Missing)
        return false;

    m_toolName = toolName;
    m_taskNumber = taskNumber;
    m_deviceListPath = deviceListPath;
    m_collected.clear();
    m_commandLine = QFileInfo(location.path).fileName();
    for (const QString &argument : arguments)
        m_commandLine += QLatin1Char(' ') + argument;
    emit output(QStringLiteral("\nRunning .../") + m_commandLine + QLatin1Char('\n'));
    m_ended = false;
    m_clock.start();
    emit started(taskNumber);
    m_process->start(location.path, arguments);
    return true;
}

QString ToolRunner::busyMessage() const
{
    return tr("\nWARN : Currently busy running command:") + QLatin1Char(' ') + m_commandLine +
           QLatin1Char('\n');
}

void ToolRunner::answer(bool yes)
{
    if (isRunning())
        m_process->write(yes ? "y\n" : "n\n");
}

void ToolRunner::stop()
{
    if (isRunning())
        m_process->kill();
}

void ToolRunner::onReadyRead()
{
    const QString text = QString::fromLocal8Bit(m_process->readAllStandardOutput());
    if (text.isEmpty())
        return;
    if (!m_deviceListPath.isEmpty())
        m_collected += text;
    emit output(text);
}

void ToolRunner::onFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    onReadyRead(); // whatever was still buffered belongs before the closing line
    if (exitStatus == QProcess::CrashExit) {
        emit output(tr("\nERROR: %1 has crashed! Possible cause: libusb not installed or user "
                       "abort?\n")
                        .arg(m_toolName));
        m_process->kill();
        end(false);
        return;
    }
    if (exitCode != 0)
        emit output(tr("WARN : %1 ended with exit code %2\n").arg(m_toolName).arg(exitCode));
    emit output(tr("INFO : Update Task Finished!\n"));
    // Flashing takes minutes; how long it took helps to spot a device that slowed down.
    emit output(tr("NOTE : Time taken: %1\n").arg(QTimeSpan(m_clock.elapsed()).toString(2)));
    if (exitCode == 0 && !m_deviceListPath.isEmpty()) {
        QDir().mkpath(QFileInfo(m_deviceListPath).absolutePath());
        // Replaced whole on commit(): a crash mid-write leaves the previous list.
        QSaveFile file(m_deviceListPath);
        if (file.open(QIODevice::WriteOnly) && file.write(m_collected.toLocal8Bit()) >= 0 &&
            file.commit()) {
            emit deviceListWritten(UpdaterCommands::parseDeviceList(m_collected));
        } else {
            emit output(tr("ERROR: Unable to write device list %1: %2\n")
                            .arg(m_deviceListPath, file.errorString()));
        }
    }
    end(exitCode == 0);
}

void ToolRunner::onErrorOccurred(QProcess::ProcessError error)
{
    // Crashes come through finished(); only a start that failed ends here.
    if (error != QProcess::FailedToStart)
        return;
    emit output(tr("ERROR: Failed to start %1! Possible cause: %2\n")
                    .arg(m_toolName, m_process->errorString()));
    end(false);
}

void ToolRunner::end(bool success)
{
    if (m_ended)
        return;
    m_ended = true;
    m_collected.clear();
    emit finished(m_taskNumber, success);
}
