// SPDX-License-Identifier: LGPL-3.0-or-later
#include "monitor/core/vrxmonhost.h"

#include "monitor/core/outputbacklog.h"
#include "monitor/core/serverterminator.h"
#include "monitor/core/vrxmon.h"

#include <QThread>

VrxMonHost::VrxMonHost(QObject *parent)
    : QObject(parent), m_thread(new QThread(this)), m_server(new VrxMon)
{
    m_thread->setObjectName(QStringLiteral("VrxMonServerThread"));
    m_server->setObjectName(QStringLiteral("VrxMonServerWorker"));
    m_server->moveToThread(m_thread);
    connect(this, &VrxMonHost::StartVrxMon, m_server, &VrxMon::StartServer);
    connect(m_server, &VrxMon::MessageAvailable, this, &VrxMonHost::MessageAvailable);
    connect(m_server, &VrxMon::TakeOverServer, this, &VrxMonHost::onTakeOverServer);
    connect(m_server, &VrxMon::finished, m_thread, &QThread::quit);
}

VrxMonHost::~VrxMonHost()
{
    m_server->requestShutdown();
    if (m_terminatorThread) {
        m_terminatorThread->quit();
        m_terminatorThread->wait();
        delete m_terminator;
    }
    m_thread->quit();
    m_thread->wait();
    delete m_server;
    // What the threads sent last is still handed on.
    deliverCollected();
}

void VrxMonHost::setCoalescing(bool coalesce)
{
    if (coalesce == m_coalesce)
        return;
    m_coalesce = coalesce;
    disconnect(m_server, &VrxMon::MessageAvailable, this, nullptr);
    if (coalesce)
        connect(m_server, &VrxMon::MessageAvailable, this,
                [this](const QString &text) { collect(text); }, Qt::DirectConnection);
    else
        connect(m_server, &VrxMon::MessageAvailable, this, &VrxMonHost::MessageAvailable);
}

void VrxMonHost::setOutputBacklog(const std::shared_ptr<OutputBacklog> &backlog)
{
    m_backlog = backlog;
    m_server->setOutputBacklog(backlog.get());
}

void VrxMonHost::collect(const QString &text)
{
    if (m_backlog)
        m_backlog->add(text.size());
    {
        QMutexLocker lock(&m_collectMutex);
        m_collected += text;
        if (m_deliveryQueued)
            return;
        m_deliveryQueued = true;
    }
    QMetaObject::invokeMethod(this, &VrxMonHost::deliverCollected, Qt::QueuedConnection);
}

void VrxMonHost::deliverCollected()
{
    QString batch;
    {
        QMutexLocker lock(&m_collectMutex);
        batch.swap(m_collected);
        m_deliveryQueued = false;
    }
    if (!batch.isEmpty())
        emit MessageAvailable(batch);
}

void VrxMonHost::post(const QString &text)
{
    if (m_coalesce)
        collect(text); // behind what the threads sent before
    else
        emit MessageAvailable(text);
}

void VrxMonHost::start(quint32 type, const QString &pipeName, quint32 port, quint32 traceLevel,
                       quint32 useTimestamp, quint32 devMask)
{
    m_type = type;
    m_pipeName = pipeName;
    m_port = port;
    if (!m_thread->isRunning())
        m_thread->start();
    emit StartVrxMon(type, pipeName, port, traceLevel, useTimestamp, devMask);
}

bool VrxMonHost::stop()
{
    if (!m_thread->isRunning())
        return false;
    // Held in a real-time plot request the server accepts nobody: a terminator would only
    // wait for its acknowledgement and fail. Ending the wait directly stops it at once.
    if (m_server->isWaitingForPlot()) {
        m_server->requestStop();
        return true;
    }
    runTerminator(false);
    return true;
}

void VrxMonHost::onTakeOverServer()
{
    runTerminator(true);
}

void VrxMonHost::runTerminator(bool restartAfter)
{
    if (m_terminatorThread) {
        // One terminator at a time; a stop asked meanwhile runs once this one is done.
        m_stopPending = m_stopPending || !restartAfter;
        return;
    }
    m_restartAfterTerminator = restartAfter;
    m_terminatorThread = new QThread(this);
    m_terminatorThread->setObjectName(QStringLiteral("ServerTerminatorThread"));
    m_terminator = new ServerTerminator(quint16(m_port));
    m_terminator->moveToThread(m_terminatorThread);
    connect(m_terminatorThread, &QThread::started, m_terminator, &ServerTerminator::run);
    if (m_coalesce)
        connect(m_terminator, &ServerTerminator::MessageAvailable, this,
                [this](const QString &text) { collect(text); }, Qt::DirectConnection);
    else
        connect(m_terminator, &ServerTerminator::MessageAvailable, this,
                &VrxMonHost::MessageAvailable);
    connect(m_terminator, &ServerTerminator::done, this, &VrxMonHost::onTerminatorDone);
    m_terminatorThread->start();
}

void VrxMonHost::onTerminatorDone(bool ok)
{
    m_terminatorThread->quit();
    m_terminatorThread->wait();
    delete m_terminator;
    m_terminator = nullptr;
    delete m_terminatorThread;
    m_terminatorThread = nullptr;
    if (m_stopPending) {
        m_stopPending = false;
        if (m_thread->isRunning()) {
            runTerminator(false);
            return;
        }
    }
    if (!m_restartAfterTerminator) {
        // No listener to talk to yet (a stop right after the start) or one that did not
        // take the command: end the loop directly.
        if (!ok && m_thread->isRunning())
            m_server->requestStop();
        emit stopFinished(ok);
        return;
    }
    if (ok) {
        post(QStringLiteral("closed!\n"));
        // The server is idle between starts, so its settings can be read from here.
        emit StartVrxMon(m_type, m_pipeName, m_port, m_server->traceLevel(),
                         m_server->timestampSetting(), m_server->deviceMask());
    } else {
        post(QStringLiteral("\nERROR: Unable to stop or takeover existing listener! Possible "
                            "cause: Command not recognized!\n\n"));
        // The server has left its start without a listener: it is stopped, and the next
        // start must be able to try again.
        m_thread->quit();
    }
    emit takeOverFinished(ok);
}
