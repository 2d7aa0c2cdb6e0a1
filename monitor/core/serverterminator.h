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
    explicit ServerTerminator(QObject *parent = nullptr) : QObject(parent) {}

public slots:
    void run();

signals:
    void MessageAvailable(const QString &message);
    void done(bool stopCommandSent);
};
