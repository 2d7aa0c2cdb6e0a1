// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QMutex>
#include <QObject>
#include <QString>

#include <memory>

class OutputBacklog;
class QThread;
class ServerTerminator;
class VrxMon;

// Owns the monitor server and its thread, the way the monitor console does: it starts the
// server, hands its texts on, runs the takeover of a foreign listener and stops everything
// cleanly when it is destroyed.
class VrxMonHost : public QObject
{
    Q_OBJECT
public:
    explicit VrxMonHost(QObject *parent = nullptr);
    ~VrxMonHost() override;

    void start(quint32 type = 1, const QString &pipeName = QStringLiteral("127.0.0.1"),
               quint32 port = 55555, quint32 traceLevel = 0, quint32 useTimestamp = 0,
               quint32 devMask = 0);

    // Stops a running server the way a second instance would: a client that sends the stop
    // command. False when no server runs.
    bool stop();

    // A busy server emits far more texts than one event each can carry to the interface
    // thread: coalesced, the texts of all threads are gathered in order and handed on as one
    // MessageAvailable per turn of this object's event loop. Set before the first start.
    void setCoalescing(bool coalesce);
    // Coalesced texts are counted into the backlog until their writer counts them off; the
    // server stops reading its clients while it is full. Set before the first start.
    void setOutputBacklog(const std::shared_ptr<OutputBacklog> &backlog);

    VrxMon *server() const { return m_server; }
    QThread *serverThread() const { return m_thread; }

signals:
    void StartVrxMon(const quint32 &type, const QString &pipe_name, const quint32 &port,
                     const quint32 &trace_level, const quint32 &use_timestamp,
                     const quint32 &dev_mask);
    // Every text for the monitor output, server and takeover alike, appended as it stands.
    void MessageAvailable(const QString &message);
    void takeOverFinished(bool restarted);
    void stopFinished(bool stopCommandSent);

public slots:
    void onTakeOverServer();

private:
    // Thread-safe: queues a text for the next coalesced delivery.
    void collect(const QString &text);
    void deliverCollected();
    void post(const QString &text);
    void runTerminator(bool restartAfter);
    void onTerminatorDone(bool ok);

    QThread *m_thread;
    VrxMon *m_server;
    QThread *m_terminatorThread = nullptr;
    ServerTerminator *m_terminator = nullptr;
    quint32 m_type = 1;
    QString m_pipeName;
    quint32 m_port = 55555;
    bool m_restartAfterTerminator = false;
    bool m_stopPending = false;
    bool m_coalesce = false;
    QMutex m_collectMutex;
    QString m_collected;
    bool m_deliveryQueued = false;
    std::shared_ptr<OutputBacklog> m_backlog;
};
