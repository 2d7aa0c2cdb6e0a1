// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "viewer/ui/editorpanel.h"

class HexSpinBox;
class QAction;
class QComboBox;
class QLabel;
class QMovie;
class QProcess;
class QSpinBox;
class QThread;

// The dockable front of the log monitor: it starts and stops the built-in server (owned by
// its output editor) or the external monitor, sets what is sent to clients, and keeps the
// number of old output files in check. The output itself is a live editor panel.
class MonitorPanel : public EditorPanel
{
    Q_OBJECT
public:
    enum Kind { BuiltIn = 0, External = 1 };

    explicit MonitorPanel(const QString &externalProcessName, QWidget *parent = nullptr);
    ~MonitorPanel() override;

    QProcess *childProcess() const override { return m_process; }
    QThread *workerThread() const override { return serverThread(); }
    QThread *serverThread() const;
    QString externalProcessName() const { return m_externalProcessName; }

    QToolButton *startButton() const { return m_startButton; }
    QComboBox *kindBox() const { return m_kindBox; }
    QComboBox *startupBox() const { return m_startupBox; }
    QSpinBox *logCacheBox() const { return m_logCacheBox; }
    HexSpinBox *traceLevelBox() const { return m_traceBox; }
    QSpinBox *timestampBox() const { return m_timestampBox; }
    HexSpinBox *deviceMaskBox() const { return m_maskBox; }
    QLabel *busyIndicator() const { return m_busyLabel; }
    bool isMonitoring() const;

    // The built-in server listens here; 55555 unless a test or benchmark moves it.
    void setPort(quint16 port) { m_port = port; }
    // Output files are continued in a new one before they pass this size (2 GiB unless a
    // test makes it small).
    void setLogFileLimit(qint64 bytes);
    quint16 port() const { return m_port; }
    // Where the output files go: "<home>/.local/share/OKAV/".
    static QString outputDirectory();
    // Deletes the oldest "*.okv" files of the directory beyond keep; returns how many.
    static int removeOldLogFiles(const QString &directory, int keep);
    // The command template for real-time plotting, as put on the clipboard.
    static QString copyTemplate();

public slots:
    void startMonitoring();
    void stopMonitoring();
    void onStartStopBtnClicked(bool checked);
    void onCopyTemplateBtnClicked();
    void printCommandUsage();
    // What the application does at start: Autostart, or Last Used when it was running.
    void applyStartupOption();

private:
    void buildMonitorToolBar();
    void loadSettings();
    void saveLastUsedState(bool running);
    void updateRunningState();
    void startBuiltIn(quint32 trace, quint32 timestamp, quint32 mask);
    void onLogFileFull();

    QString m_externalProcessName;
    QProcess *m_process;
    QToolButton *m_startButton = nullptr;
    QComboBox *m_kindBox = nullptr;
    QComboBox *m_startupBox = nullptr;
    QSpinBox *m_logCacheBox = nullptr;
    HexSpinBox *m_traceBox = nullptr;
    QSpinBox *m_timestampBox = nullptr;
    HexSpinBox *m_maskBox = nullptr;
    QLabel *m_busyLabel = nullptr;
    QMovie *m_busyMovie = nullptr;
    QAction *m_busyAction = nullptr;
    quint16 m_port = 55555;
};
