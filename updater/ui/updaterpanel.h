#pragma once

#include "viewer/ui/textpanel.h"

class QProcess;
class TaskTreeView;
class TreeModel;

// The console in which the updater's tool runs show their output.
class UpdaterConsole : public TextPanel
{
    Q_OBJECT
public:
    explicit UpdaterConsole(QWidget *parent = nullptr);
    QProcess *childProcess() const override { return m_process; }
    QProcess *process() const { return m_process; }

private:
    QProcess *m_process;
};

// The dockable front of the firmware updater: its task list; its console is handed out.
class UpdaterPanel : public QWidget
{
    Q_OBJECT
public:
    explicit UpdaterPanel(QWidget *parent = nullptr);

    UpdaterConsole *consoleView() const { return m_console; }
    TaskTreeView *taskList() const { return m_taskList; }
    TreeModel *taskModel() const { return m_taskModel; }

public slots:
    void onRunExtAppRequest(const QString &FilePath);
    void onRunExtAppBtnClicked();

private:
    TreeModel *m_taskModel;
    TaskTreeView *m_taskList;
    UpdaterConsole *m_console;
};
