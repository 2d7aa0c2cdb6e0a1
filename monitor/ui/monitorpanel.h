#pragma once

#include "viewer/ui/textpanel.h"

class QProcess;
class QThread;

// The dockable front of the log monitor: its output view and the server's thread.
class MonitorPanel : public TextPanel
{
    Q_OBJECT
public:
    explicit MonitorPanel(const QString &externalProcessName, QWidget *parent = nullptr);
    ~MonitorPanel() override;

    QProcess *childProcess() const override { return m_process; }
    QThread *workerThread() const override { return m_serverThread; }
    QThread *serverThread() const { return m_serverThread; }
    QString externalProcessName() const { return m_externalProcessName; }

public slots:
    void printCommandUsage();

signals:
    void FileLoaded(const QString &previousPath, const QString &currentPath);

private:
    QString m_externalProcessName;
    QThread *m_serverThread;
    QProcess *m_process;
};
