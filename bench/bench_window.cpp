// SPDX-License-Identifier: LGPL-3.0-or-later
// Opens generated logs in the real main window (offscreen platform) and measures what a user
// waits for: the first screenful painted after the first FileIndexed, the longest event-loop
// stall (gaps between 1 ms timer ticks) while a 1 GiB log is indexed and while a log with
// one 30 MB line is opened, the time to the last FileIndexed and peak memory. The baseline,
// measured in the same run, is the engine alone indexing the same file (median of as many
// runs as the window gets).
//
// bench_window [MiB] [runs] [long MiB]: log size (default 1024, or VRX_BENCH_WINDOW_MB),
// window opens of it (default 3, the median is printed) and the long line's size (default
// 30; 0 leaves that part out).

#include "benchutil.h"
#include "loggen.h"
#include "resources/initresources.h"
#include "shell/core/startup.h"
#include "shell/ui/dockwidget.h"
#include "shell/ui/mainwindow.h"
#include "shell/ui/metatypes.h"
#include "viewer/core/filereaderwriter.h"
#include "viewer/core/viewerengine.h"
#include "viewer/ui/editor.h"
#include "viewer/ui/editorpanel.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <vector>

namespace {

// Notes when the watched editor's viewport has finished a paint with text in it.
class App : public QApplication
{
public:
    using QApplication::QApplication;
    Editor *watched = nullptr;
    qint64 paintedAt = -1; // ns on clock, or -1
    QElapsedTimer *clock = nullptr;

    bool notify(QObject *receiver, QEvent *event) override
    {
        const bool result = QApplication::notify(receiver, event);
        if (watched && paintedAt < 0 && event->type() == QEvent::Paint &&
            receiver == watched->viewport() && !watched->document()->isEmpty())
            paintedAt = clock->nsecsElapsed();
        return result;
    }
};

struct OpenResult
{
    double firstIndexedMs = -1; // emitted by the worker, after the open began
    double screenfulMs = -1;    // first paint with text, after the open began
    double lastIndexedMs = -1;  // final FileIndexed received by the window
    double lastEmittedMs = -1;  // final FileIndexed emitted by the worker
    double stallMs = 0;         // longest gap between timer ticks, minus the interval
};

// Opens path in a new editor dock of the window from inside the event loop, waits for the
// final FileIndexed (LineCount == finalCount) and the first painted screenful, lets the
// window settle a little, then closes the dock.
OpenResult openInWindow(App &app, MainWindow &window, const QString &path, qint32 finalCount)
{
    OpenResult r;
    QElapsedTimer clock;
    app.clock = &clock;
    app.paintedAt = -1;
    auto *panel = new EditorPanel;
    app.watched = panel->editor();
    std::atomic<qint64> firstEmitted{-1}, lastEmitted{-1};
    QObject::connect(
        panel->engine()->readerWriter(), &FileReaderWriter::FileIndexed, panel->engine(),
        [&](const QString &, const qint32 &count) {
            qint64 expected = -1;
            firstEmitted.compare_exchange_strong(expected, clock.nsecsElapsed());
            if (count == finalCount)
                lastEmitted.store(clock.nsecsElapsed());
        },
        Qt::DirectConnection);
    QEventLoop loop;
    qint64 lastReceived = -1;
    QObject::connect(panel->engine()->readerWriter(), &FileReaderWriter::FileIndexed, &loop,
                     [&](const QString &, const qint32 &count) {
                         if (count == finalCount && lastReceived < 0)
                             lastReceived = clock.nsecsElapsed();
                     });
    qint64 lastTick = -1, maxGap = 0, doneAt = -1;
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    ticker.setInterval(1);
    QObject::connect(&ticker, &QTimer::timeout, &loop, [&] {
        const qint64 now = clock.nsecsElapsed();
        if (lastTick >= 0)
            maxGap = std::max(maxGap, now - lastTick);
        lastTick = now;
        if (doneAt < 0 && lastReceived >= 0 && app.paintedAt >= 0)
            doneAt = now;
        // Some time after both, so late work (refills, relayouts) is seen too; give up after
        // a minute.
        if ((doneAt >= 0 && now - doneAt > 300 * 1000000ll) || now > 60000 * 1000000ll)
            loop.quit();
    });
    DockWidget *dock = nullptr;
    QTimer::singleShot(0, &loop, [&] {
        ticker.start();
        clock.start();
        lastTick = 0;
        dock = window.createDockWidget(path, panel);
    });
    loop.exec();
    ticker.stop();
    r.firstIndexedMs = firstEmitted.load() / 1e6;
    r.screenfulMs = app.paintedAt / 1e6;
    r.lastIndexedMs = lastReceived / 1e6;
    r.lastEmittedMs = lastEmitted.load() / 1e6;
    r.stallMs = std::max(0.0, maxGap / 1e6 - 1.0);
    app.watched = nullptr;
    if (dock)
        dock->destroyDockWidget();
    QEventLoop settle;
    QTimer::singleShot(200, &settle, &QEventLoop::quit);
    settle.exec();
    return r;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

// The engine alone: time from the request to the final FileIndexed, median of runs, each
// with a new engine as each window open has.
double engineIndexMs(const QString &path, qint32 finalCount, int runs)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        ViewerEngine engine;
        QEventLoop loop;
        QElapsedTimer clock;
        QObject::connect(engine.readerWriter(), &FileReaderWriter::FileIndexed, &loop,
                         [&](const QString &, const qint32 &count) {
                             if (count == finalCount)
                                 loop.quit();
                         });
        clock.start();
        QMetaObject::invokeMethod(engine.readerWriter(), "IndexFile", Qt::QueuedConnection,
                                  Q_ARG(QString, QString()), Q_ARG(QString, path),
                                  Q_ARG(qint64, ViewerEngine::ChunkSize), Q_ARG(qint64, 4000));
        loop.exec();
        times.push_back(clock.nsecsElapsed() / 1e6);
    }
    return median(times);
}

// A short log with one line of mib MiB of words.
qint32 writeLongLineLog(const QString &path, int mib)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    qint32 lines = 0;
    for (int i = 0; i < 10; ++i, ++lines)
        file.write("INFO : a short line before the long one\n");
    QByteArray words;
    while (words.size() < (1 << 20))
        words += "acquisition record trigger channel buffer sample stream device clock ";
    words.truncate(1 << 20);
    for (int i = 0; i < mib; ++i)
        file.write(words);
    file.write("\n");
    ++lines;
    for (int i = 0; i < 10; ++i, ++lines)
        file.write("INFO : a short line after the long one\n");
    file.flush();
    ::fsync(file.handle());
    return lines + 1;
}

void resetPeakResident()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir dir;
    // The window reads and writes its settings; keep them out of the user's.
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.filePath(QStringLiteral("config"))));
    App app(argc, argv);
    qint64 mib = 1024;
    int runs = 3;
    int longMib = 30;
    if (argc > 1)
        mib = QByteArray(argv[1]).toLongLong();
    else if (qEnvironmentVariableIsSet("VRX_BENCH_WINDOW_MB"))
        mib = qEnvironmentVariableIntValue("VRX_BENCH_WINDOW_MB");
    if (argc > 2)
        runs = std::max(1, QByteArray(argv[2]).toInt());
    if (argc > 3)
        longMib = std::max(0, QByteArray(argv[3]).toInt());
    if (mib <= 0 || mib >= 2048) {
        std::fprintf(stderr, "size must be 1 to 2047 MiB\n");
        return 2;
    }
    initResources();
    registerMetaTypes();
    setApplicationIdentity();

    const QString path = dir.filePath(QStringLiteral("bench.log"));
    const QString longPath = dir.filePath(QStringLiteral("longline.log"));
    const Generated g = generate(path, mib << 20);
    const qint32 finalCount = qint32(g.lines + 1);
    const qint32 longFinal = writeLongLineLog(longPath, longMib);
    std::printf("generated %lld bytes, %lld lines; long-line log of %d lines\n", g.bytes, g.lines,
                longFinal - 1);

    const double engineMs = engineIndexMs(path, finalCount, runs);

    MainWindow window;
    window.applyStartupLayout();
    window.show();
    std::vector<double> screenful, stall, last, first, emitted;
    qint64 peak = 0;
    for (int i = 0; i < runs; ++i) {
        resetPeakResident();
        const OpenResult r = openInWindow(app, window, path, finalCount);
        peak = std::max(peak, peakResident());
        if (qEnvironmentVariableIsSet("VRX_BENCH_VERBOSE"))
            std::printf("  run %d: first FileIndexed %.1f ms, screenful %.1f ms, last %.1f ms, "
                        "stall %.1f ms, last emitted %.1f ms\n",
                        i, r.firstIndexedMs, r.screenfulMs, r.lastIndexedMs, r.stallMs,
                        r.lastEmittedMs);
        first.push_back(r.firstIndexedMs);
        screenful.push_back(r.screenfulMs < 0 ? 1e9 : r.screenfulMs - r.firstIndexedMs);
        stall.push_back(r.stallMs);
        last.push_back(r.lastIndexedMs < 0 ? 1e9 : r.lastIndexedMs);
        emitted.push_back(r.lastEmittedMs < 0 ? 1e9 : r.lastEmittedMs);
    }
    OpenResult lr;
    if (longMib > 0)
        lr = openInWindow(app, window, longPath, longFinal);
    const double longScreenful = longMib == 0         ? 0
                                 : lr.screenfulMs < 0 ? 1e9
                                                      : lr.screenfulMs - lr.firstIndexedMs;

    const double mScreenful = median(screenful), mStall = median(stall), mLast = median(last);
    const double ratio = mLast / engineMs;
    std::printf("engine index (baseline)       %8.1f ms\n", engineMs);
    std::printf("window: first FileIndexed     %8.1f ms after the open\n", median(first));
    std::printf(
        "window: first screenful       %8.1f ms after the first FileIndexed (target <= 50)\n",
        mScreenful);
    std::printf("window: longest stall         %8.1f ms while indexing (target < 50)\n", mStall);
    std::printf("window: last FileIndexed      %8.1f ms, %.2f x the engine (target <= 1.2); "
                "emitted by the worker at %.1f ms\n",
                mLast, ratio, median(emitted));
    std::printf("window: peak memory           %8.1f MiB\n", peak / 1048576.0);
    std::printf("long line: first screenful    %8.1f ms after the first FileIndexed\n",
                longScreenful);
    std::printf("long line: longest stall      %8.1f ms (target < 50), last FileIndexed %.1f ms "
                "(emitted at %.1f ms)\n",
                lr.stallMs, lr.lastIndexedMs, lr.lastEmittedMs);
    const bool ok =
        mScreenful <= 50 && mStall < 50 && ratio <= 1.2 && lr.stallMs < 50 && longScreenful <= 50;
    std::printf("bench_window summary: size %lld MiB; screenful +%.1f ms; stall %.1f ms; "
                "last FileIndexed %.0f ms = %.2f x engine; peak %.0f MiB; long line: screenful "
                "+%.1f ms, stall %.1f ms; %s\n",
                mib, mScreenful, mStall, mLast, ratio, peak / 1048576.0, longScreenful, lr.stallMs,
                ok ? "all targets met" : "TARGETS MISSED");
    return 0;
}
