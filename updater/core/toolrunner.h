// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QProcess>
#include <QStringList>

// Runs one external console tool at a time as a child process and reports in console lines:
// which copy is used, the command, the tool's output as it arrives, and how the run ended.
// The tool's yes/no questions are answered through answer().
class ToolRunner : public QObject
{
    Q_OBJECT
public:
    explicit ToolRunner(QObject *parent = nullptr);
    ~ToolRunner() override;

    QProcess *process() const { return m_process; }
    bool isRunning() const { return m_process->state() != QProcess::NotRunning; }
    int taskNumber() const { return m_taskNumber; }
    QString toolName() const { return m_toolName; }

    // Where each tool is installed (the path settings) and where a local copy would stand.
    void setInstalledPath(const QString &toolName, const QString &path);
    QString installedPath(const QString &toolName) const;
    void setProgramDirectory(const QString &directory) { m_programDirectory = directory; }
    QString programDirectory() const { return m_programDirectory; }

    // Starts the tool with the arguments unless one already runs or the tool is not found;
    // taskNumber is 0 for device commands. With deviceListPath set the output is also written
    // there when the run ends well. Returns whether the tool was started.
    bool run(const QString &toolName, const QStringList &arguments, int taskNumber = 0,
             const QString &deviceListPath = QString());
    // The console line that tells why nothing else can start now.
    QString busyMessage() const;
    // Writes "y\n" or "n\n" to the running tool's input.
    void answer(bool yes);
    // Ends the running tool at once.
    void stop();

signals:
    // A piece of console text: the runner's own lines and the tool's output, in order.
    void output(const QString &text);
    void started(int taskNumber);
    // success: the tool ended normally with exit code 0.
    void finished(int taskNumber, bool success);
    // The device list was written from a list command's output.
    void deviceListWritten(const QStringList &devices);

private:
    void onReadyRead();
    void onFinished(int exitCode, QProcess::ExitStatus exitStatus);
    void onErrorOccurred(QProcess::ProcessError error);
    void end(bool success);

    QProcess *m_process;
    QString m_updaterPath;
    QString m_licenseUtilPath;
    QString m_programDirectory;
    QString m_toolName;
    QString m_commandLine;
    int m_taskNumber = 0;
    QString m_deviceListPath;
    QString m_collected;
    bool m_ended = true;
    QElapsedTimer m_clock;
};
