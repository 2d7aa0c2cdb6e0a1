// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>

// Makes a monitor that already holds the port quit: it identifies itself as an ordinary client
// ("SOCKET"/"ServerTerminator") and sends the stop command. Runs on its own short-lived thread.
class ServerTerminator : public QObject
{
    Q_OBJECT
public:
    static constexpr quint16 kPort = 55555;
    explicit ServerTerminator(quint16 port = kPort, QObject *parent = nullptr)
        : QObject(parent), m_port(port)
    {
    }

public slots:
    void run();

signals:
    void MessageAvailable(const QString &message);
    void done(bool stopCommandSent);

private:
    quint16 m_port;
};
