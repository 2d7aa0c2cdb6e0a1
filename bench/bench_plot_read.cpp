// SPDX-License-Identifier: LGPL-3.0-or-later
// The plot tool on a 500 MB int16 file (250 million samples): the mapped and the stream read,
// and one full-view redraw of its curve, each against a plain pass that finds the smallest and
// largest sample (the baseline, measured in the same run). Beside them a stock QwtPlotCurve
// and our curve each draw the first 16 million samples, the peak memory while the file is
// shown, and a live loop: the kit's demo program with a 64 KiB buffer plotted through the
// monitor as fast as it goes.
#include "loadgen.h"
#include "monitor/core/vrxmon.h"
#include "monitor/core/vrxmonhost.h"
#include "benchutil.h"
#include "plot/core/qtvilocolumnreducer.h"
#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotdatareader.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/core/qtvilovaluerange.h"
#include "plot/ui/qtvilo.h"
#include "plot/ui/qtviloplot.h"
#include "plot/ui/qtviloplotcurve.h"
#include "plot/ui/qtviloplotitemsmodel.h"
#include "resources/initresources.h"
#include "util/ui/notify.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <qwt_plot_curve.h>
#include <qwt_scale_map.h>
#include <qwt_series_data.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr qint64 kSamples = 250000000;
constexpr int kStockSamples = 16000000;
constexpr int kWidth = 1600;
constexpr int kHeight = 600;

double seconds(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e9;
}

bool writeFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    std::vector<qint16> chunk(1 << 20);
    unsigned seed = 1;
    for (qint64 done = 0; done < kSamples; done += qint64(chunk.size())) {
        const qint64 n = std::min<qint64>(qint64(chunk.size()), kSamples - done);
        for (qint64 i = 0; i < n; ++i) {
            seed = seed * 1103515245u + 12345u;
            const double t = double(done + i);
            chunk[size_t(i)] = qint16(20000.0 * std::sin(t * 2e-7) * std::sin(t * 3e-3) +
                                      double(int((seed >> 16) & 0x3ff) - 512));
        }
        if (file.write(reinterpret_cast<const char *>(chunk.data()), n * 2) != n * 2)
            return false;
    }
    return true;
}

// The baseline: one pass over the mapped file for the smallest and largest sample.
double baselinePass(const QString &path, qint16 *lo, qint16 *hi)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    QElapsedTimer timer;
    timer.start();
    const uchar *map = file.map(0, file.size());
    const auto *samples = reinterpret_cast<const qint16 *>(map);
    qint16 mn = samples[0], mx = samples[0];
    for (qint64 i = 0; i < kSamples; ++i) {
        mn = std::min(mn, samples[i]);
        mx = std::max(mx, samples[i]);
    }
    const double t = seconds(timer);
    file.unmap(const_cast<uchar *>(map));
    *lo = mn;
    *hi = mx;
    return t;
}

// The same pass with packed lanes (the reader's own min/max): what the memory allows.
double lanedPass(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    QElapsedTimer timer;
    timer.start();
    const uchar *map = file.map(0, file.size());
    const QtViloValueRange::Range range = QtViloValueRange::of(map, kSamples, 1);
    const double t = seconds(timer);
    file.unmap(const_cast<uchar *>(map));
    return range.max >= range.min ? t : -1;
}


void resetPeakResident()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

struct Reader
{
    Reader() : reader(new QtViloPlotDataReader), thread(QtViloPlotDataReader::startThread(reader))
    {
    }
    ~Reader()
    {
        reader->disable();
        thread->quit();
        thread->wait();
        delete reader;
        delete thread;
    }
    // Reads the item and returns the seconds from the request to the result.
    double read(QtViloPlotItem *item, bool mapped, quint64 serial)
    {
        item->serial = serial;
        item->readRequested().release();
        QEventLoop loop;
        bool ok = false;
        auto done = QObject::connect(reader, &QtViloPlotDataReader::itemProcessed, &loop,
                                     [&] { ok = true; loop.quit(); });
        auto failed = QObject::connect(reader, &QtViloPlotDataReader::DataReadError, &loop,
                                       [&](QtViloPlotItem *, const QString &h, const QString &d) {
                                           std::fprintf(stderr, "read error: %s %s\n",
                                                        qPrintable(h), qPrintable(d));
                                           loop.quit();
                                       });
        QElapsedTimer timer;
        timer.start();
        QMetaObject::invokeMethod(reader, [=] {
            reader->readFile(serial, item, item->name(), mapped, true, 0, false);
        });
        loop.exec();
        const double t = seconds(timer);
        QObject::disconnect(done);
        QObject::disconnect(failed);
        item->readDone().tryAcquire();
        return ok ? t : -1;
    }
    QtViloPlotDataReader *reader;
    QThread *thread;
};

QwtScaleMap scaleMap(double s1, double s2, double p1, double p2)
{
    QwtScaleMap map;
    map.setScaleInterval(s1, s2);
    map.setPaintInterval(p1, p2);
    return map;
}

// Draws the curve over its whole x range and returns the seconds it took.
double drawFullView(const QwtPlotCurve &curve, qint64 count, double lo, double hi,
                    int width = kWidth, int height = kHeight)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    const QwtScaleMap xMap = scaleMap(0, double(count - 1), 0, width - 1);
    const QwtScaleMap yMap = scaleMap(lo, hi, height - 1, 0);
    QElapsedTimer timer;
    timer.start();
    curve.draw(&painter, xMap, yMap, QRectF(0, 0, kWidth, kHeight));
    painter.end();
    return seconds(timer);
}

// What a stock curve gets: the samples as points, read straight from the file's mapping.
class Int16Series : public QwtSeriesData<QPointF>
{
public:
    Int16Series(const qint16 *samples, size_t count, double lo, double hi)
        : m_samples(samples), m_count(count)
    {
        d_boundingRect = QRectF(0, lo, double(count - 1), hi - lo);
    }
    size_t size() const override { return m_count; }
    QPointF sample(size_t i) const override { return QPointF(double(i), m_samples[i]); }
    QRectF boundingRect() const override { return d_boundingRect; }

private:
    const qint16 *m_samples;
    size_t m_count;
};

// The demo program plots a 64 KiB buffer through the monitor as fast as it can; returns the
// plotted updates per second.
double liveLoop(const QString &demoPath)
{
    QtVilo panel;
    panel.resize(900, 300);
    QWidget *plot = panel.plotView(0);
    plot->setParent(nullptr);
    plot->resize(kWidth / 2, kHeight / 2);
    plot->show();
    VrxMonHost host;
    QObject::connect(host.server(), &VrxMon::VirtualPlotItemConnected, &panel,
                     &QtVilo::onVirtualPlotItemConnected);
    QString output;
    QObject::connect(&host, &VrxMonHost::MessageAvailable, [&](const QString &t) { output += t; });
    const quint16 port = VrxLoadGen::firstBindablePort(51900);
    host.start(1, QStringLiteral("127.0.0.1"), port, 0, 0, 0);
    QElapsedTimer wait;
    wait.start();
    while (!output.contains(QStringLiteral("VRX Monitor started")) && wait.elapsed() < 10000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);

    int updates = 0;
    QElapsedTimer timer;
    QObject::connect(panel.model(), &QtViloPlotItemsModel::PlotDataUpdated, [&] {
        if (updates++ == 0)
            timer.start();
    });
    QProcess demo;
    demo.start(demoPath, {QStringLiteral("--port"), QString::number(port),
                          QStringLiteral("--samples"), QStringLiteral("32768"),
                          QStringLiteral("--interval-ms"), QStringLiteral("0")});
    wait.restart();
    while (wait.elapsed() < 6000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    const double rate = updates > 1 ? double(updates - 1) / seconds(timer) : 0.0;
    demo.terminate();
    while (demo.state() != QProcess::NotRunning)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    host.stop();
    delete plot;
    return rate;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    initResources();
    Notify::setHook([](Notify::Kind, const QString &title, const QString &text) {
        std::fprintf(stderr, "box: %s: %s\n", qPrintable(title), qPrintable(text));
        return QMessageBox::Ok;
    });
    const QString demoPath = argc > 1 ? QString::fromLocal8Bit(argv[1])
                                      : QStringLiteral(VRXDEMO_PATH);

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("samples.int16"));
    std::printf("writing %lld int16 samples...\n", kSamples);
    std::fflush(stdout);
    if (!writeFile(path)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        return 1;
    }

    qint16 lo = 0, hi = 0;
    baselinePass(path, &lo, &hi); // warms the page cache for every run after it
    double baseline = 1e9, laned = 1e9, mapped = 1e9, stream = 1e9, redraw = 1e9;
    double peakMapped = 0, peakStream = 0;
    Reader reader;
    QtViloPlotItemDefaults defaults;
    defaults.MaxPlotSize = kSamples;
    quint64 serial = 0;
    for (int round = 0; round < 3; ++round) {
        baseline = std::min(baseline, baselinePass(path, &lo, &hi));
        laned = std::min(laned, lanedPass(path));

        resetPeakResident();
        auto *item = new QtViloPlotItem(path, false, defaults);
        mapped = std::min(mapped, reader.read(item, true, ++serial));
        if (item->sampleCount() != kSamples || item->minValue() != lo || item->maxValue() != hi) {
            std::fprintf(stderr, "mapped read gave %lld samples in [%g, %g], expected [%d, %d]\n",
                         item->sampleCount(), item->minValue(), item->maxValue(), lo, hi);
            return 1;
        }
        QtViloPlotCurve curve(item);
        curve.refresh();
        redraw = std::min(redraw, drawFullView(curve, kSamples, lo, hi));
        peakMapped = std::max(peakMapped, double(peakResident()));
        delete item;

        resetPeakResident();
        item = new QtViloPlotItem(path, false, defaults);
        stream = std::min(stream, reader.read(item, false, ++serial));
        QtViloPlotCurve streamCurve(item);
        streamCurve.refresh();
        drawFullView(streamCurve, kSamples, lo, hi);
        peakStream = std::max(peakStream, double(peakResident()));
        delete item;
    }

    // Points handed to the painter in the full view.
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    const uchar *map = file.map(0, file.size());
    QtViloColumnReducer::Params params;
    params.from = 0;
    params.to = kSamples - 1;
    params.x = {0.0, 0.0, double(kWidth - 1) / double(kSamples - 1)};
    params.y = {double(kHeight - 1), double(lo), -double(kHeight - 1) / double(hi - lo)};
    QVector<QPointF> points;
    QtViloColumnReducer::reduceByType(QtViloFormats::Int16Type, map, params, points);
    const double perColumn = double(points.size()) / kWidth;
    // The reduction alone over the 16 million samples the curves draw below.
    double reduceTime = 1e9;
    params.to = kStockSamples - 1;
    params.x.factor = double(kWidth - 1) / double(kStockSamples - 1);
    for (int round = 0; round < 5; ++round) {
        QElapsedTimer timer;
        timer.start();
        QtViloColumnReducer::reduceByType(QtViloFormats::Int16Type, map, params, points);
        reduceTime = std::min(reduceTime, seconds(timer));
    }

    // 16 million samples: a stock curve against ours.
    auto *head = new QtViloPlotItem(path, false, defaults);
    {
        QWriteLocker lock(&head->dataLock());
        head->setData(map);
        head->setSampleCount(kStockSamples);
        head->setValueRange(lo, hi);
    }
    QtViloPlotCurve ours(head);
    ours.refresh();
    double oursTime = 1e9;
    for (int round = 0; round < 5; ++round)
        oursTime = std::min(oursTime, drawFullView(ours, kStockSamples, lo, hi));
    // A docked plot in the window is about half that size each way.
    double oursSmall = 1e9;
    for (int round = 0; round < 5; ++round)
        oursSmall = std::min(oursSmall, drawFullView(ours, kStockSamples, lo, hi, 800, 300));
    QwtPlotCurve stock;
    stock.setData(new Int16Series(reinterpret_cast<const qint16 *>(map), kStockSamples, lo, hi));
    const double stockTime = drawFullView(stock, kStockSamples, lo, hi);
    const double stockSmall = drawFullView(stock, kStockSamples, lo, hi, 800, 300);
    {
        QWriteLocker lock(&head->dataLock());
        head->setData(nullptr);
        head->setSampleCount(0);
    }
    file.unmap(const_cast<uchar *>(map));

    const double rate = liveLoop(demoPath);

    const double fileSize = double(kSamples) * 2;
    // GCC -O3 leaves the plain int16 min/max loop scalar; the laned pass shows what the
    // memory itself allows, so the ratios against it are printed too.
    std::printf("baseline min/max pass   %8.3f s (plain loop); packed lanes %.3f s\n", baseline,
                laned);
    std::printf("mapped open and read    %8.3f s  ratio %.2f (target <= 2)\n", mapped,
                mapped / baseline);
    std::printf("stream read             %8.3f s  ratio %.2f (target <= 3)\n", stream,
                stream / baseline);
    std::printf("against packed lanes: mapped %.2f, stream %.2f, redraw %.2f\n", mapped / laned,
                stream / laned, redraw / laned);
    std::printf("full-view redraw        %8.3f s  ratio %.2f (target <= 2)\n", redraw,
                redraw / baseline);
    std::printf("16M samples at 1600x600: stock %.3f s, ours %.4f s, speed-up %.0fx "
                "(target >= 500)\n",
                stockTime, oursTime, stockTime / oursTime);
    std::printf("16M samples: reduction  %8.4f s of ours (the rest is painting)\n", reduceTime);
    std::printf("16M samples at 800x300: stock %.3f s, ours %.4f s, speed-up %.0fx\n",
                stockSmall, oursSmall, stockSmall / oursSmall);
    std::printf("points per pixel column %8.2f (target <= 4)\n", perColumn);
    std::printf("peak memory, mapped     %8.2f x file; stream %.2f x file (target < 1.5)\n",
                peakMapped / fileSize, peakStream / fileSize);
    std::printf("live loop, 64 KiB       %8.1f updates/s (target >= 30)\n", rate);
    std::printf("bench_plot_read: mapped %.2f stream %.2f redraw %.2f stock/ours %.0f (800x300: %.0f) "
                "points/column %.2f peak %.2f updates/s %.1f\n",
                mapped / baseline, stream / baseline, redraw / baseline, stockTime / oursTime,
                stockSmall / oursSmall,
                perColumn, std::max(peakMapped, peakStream) / fileSize, rate);
    return 0;
}
