// SPDX-License-Identifier: LGPL-3.0-or-later
// The monitor server without the window: prints what the monitor panel would show and stands
// in for the plot tool by acknowledging every real-time plot request once it is printed.
#include "monitor/core/remotememprocessed.h"
#include "monitor/core/vrxmon.h"
#include "monitor/core/vrxmonhost.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {
// Only a flag is safe to touch in a signal handler; a timer turns it into a quit.
volatile std::sig_atomic_t g_stop = 0;
void onSignal(int) { g_stop = 1; }
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    quint32 port = 55555, timestamp = 0;
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--port") && i + 1 < args.size())
            port = args[++i].toUInt();
        else if (args[i] == QLatin1String("--timestamp"))
            timestamp = 1;
        else {
            std::fprintf(stderr, "usage: vrxmonconsole [--port N] [--timestamp]\n");
            return 2;
        }
    }
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);

    VrxMonHost host;
    QObject::connect(&host, &VrxMonHost::MessageAvailable, [](const QString &text) {
        std::fputs(text.toLocal8Bit().constData(), stdout);
        std::fflush(stdout);
    });
    QObject::connect(host.server(), &VrxMon::VirtualPlotItemConnected, &app,
                     [](const QString &request) {
                         std::printf("[plot request] %s\n", request.toLocal8Bit().constData());
                         std::fflush(stdout);
                         RemoteMemProcessed.release();
                     });
    QObject::connect(host.server(), &VrxMon::finished, &app, &QCoreApplication::quit,
                     Qt::QueuedConnection);
    QTimer stopPoll;
    QObject::connect(&stopPoll, &QTimer::timeout, &app, [] {
        if (g_stop)
            QCoreApplication::quit();
    });
    stopPoll.start(100);
    host.start(1, QStringLiteral("127.0.0.1"), port, 0, timestamp, 0);
    return app.exec();
}
