// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "monitor/core/vrxmonprotocol.h"

#include <QByteArray>
#include <QMutex>
#include <QObject>
#include <QVector>
#include <QString>

#include <atomic>

// The log server: a blocking epoll loop on 127.0.0.1 that runs inside StartServer on its own
// thread. All client state lives in this one object; nothing is allocated per client.
class OutputBacklog;

class VrxMon : public QObject
{
    Q_OBJECT
public:
    struct ClientRecord
    {
        int fd;
        quint64 processId;
        quint64 cuHandle;
        quint64 devAddr;
        quint64 devNumber;
        char interfaceName[32];
        char devType[32];
        char path[VrxProto::kPathSize];
        char ip[64];
        quint32 port;
        char recvBuffer[VrxProto::kRecvBufferSize];
        quint32 carriedOver;
        VrxProto::CmdMatcher matcher; // position, open command and its text so far
        char plotPrefix[VrxProto::kPathSize];
        char latestTimestamp[VrxProto::kTimestampLen + 1];
        char prompt[192];
        char promptEmptyLine[192];
        bool midLine; // the client's own stream is inside a line (no timestamp expected)
    };

    explicit VrxMon(QObject *parent = nullptr);
    ~VrxMon() override;

    quint32 traceLevel() const { return m_traceLevel; }
    quint32 timestampSetting() const { return m_useTimestamp; }
    quint32 deviceMask() const { return m_devMask; }
    QString prompt() const { return m_monitorPrompt; }
    quint32 clientCount() const { return m_clientCount.load(); }
    // Thread-safe: a real-time plot request holds the loop until the plot side is done.
    bool isWaitingForPlot() const { return m_plotWaiting.load(); }

    // Thread-safe: ends the loop (and any wait for the plot side) for good; used by owners
    // that shut down. Unlike the stop flag it is never cleared by a new start.
    void requestShutdown();
    // Thread-safe: ends the running loop (or the next start) as the stop command would.
    void requestStop();

    // Device numbers of the registered clients in table order; safe from any thread, so
    // owners and tests can see the table without stopping the loop.
    QVector<quint64> clientDeviceNumbers() const;
    // Client lines shown with their end since construction; a lone "\n" text between two
    // clients cannot be told from the end of a split line, this can.
    quint64 linesShown() const { return m_linesShown.load(std::memory_order_relaxed); }
    // Set before the first start: while it is full the clients' sockets are not read.
    void setOutputBacklog(OutputBacklog *backlog) { m_backlog = backlog; }

signals:
    void MessageAvailable(const QString &message);
    void finished();
    void TakeOverServer();
    void firstClientConnected();
    void VirtualPlotItemConnected(const QString &ItemParameters);

public slots:
    void StartServer(const quint32 &type, const QString &pipe_name, const quint32 &port,
                     const quint32 &trace_level, const quint32 &use_timestamp,
                     const quint32 &dev_mask);

private:
    void emitMessage(const QString &text);
    QString errorText() const;
    void runTcpServer(quint32 port);
    void acceptClient(int epfd);
    void readClient(int index);
    void disconnectClient(int index);
    void compactClients();
    void executeCommand(int index);
    void stopServer();
    void showPiece(int index, const char *data, std::size_t length, bool ended);
    bool stopRequested() const
    {
        return m_stop.load() || m_shutdown.load() || m_stopAsked.load();
    }

    // Server fields.
    std::atomic<bool> m_stop{false};
    int m_listenFd = -1;
    ClientRecord m_clients[VrxProto::kMaxClients];
    ClientRecord m_scratch[VrxProto::kMaxClients];
    bool m_compact = false;
    std::atomic<quint32> m_clientCount{0};
    QString m_monitorPrompt;
    quint32 m_traceLevel = 0;
    quint32 m_useTimestamp = 0;
    quint32 m_devMask = 0;
    bool m_atLineStart = true;
    bool m_stopped = false;
    int m_lastShownFd = -1;
    QByteArray m_textScratch; // reused for every shown piece

    // Wakes a blocked epoll_wait when the owner shuts down.
    int m_wakeFd = -1;
    mutable QMutex m_tableMutex; // taken only when the table changes shape, never per line
    std::atomic<bool> m_shutdown{false};
    // A stop asked from another thread; unlike a shutdown the server can start again.
    std::atomic<bool> m_stopAsked{false};
    std::atomic<quint64> m_linesShown{0};
    std::atomic<bool> m_plotWaiting{false};
    OutputBacklog *m_backlog = nullptr;
};
