#include "testenv.h"

#include "plottestutil.h"

#include "plot/core/qtvilolod.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/ui/qtvilolodworkers.h"
#include "plot/ui/qtviloplot.h"
#include "plot/ui/qtviloplotcurve.h"
#include "plot/ui/qtviloseriesdata.h"

#include <QMutex>
#include <QThread>
#include <QtTest>

#include <cmath>
#include <memory>

namespace {

std::unique_ptr<QtViloPlotItem> makeItem(int n, double phase)
{
    auto item = std::make_unique<QtViloPlotItem>(QStringLiteral("wave%1").arg(phase), false,
                                                 QtViloPlotItemDefaults());
    QVector<double> values(n);
    for (int i = 0; i < n; ++i)
        values[i] = std::round(1000 * std::sin(i / 300.0 + phase));
    setSamples(*item, values);
    return item;
}

} // namespace

class TestPlotLodWorkers : public QObject
{
    Q_OBJECT

private slots:
    void eachCurveOncePerSerial();
    void profilesFollowTheView();
    void keptSamplesDrawTheSamePixels_data();
    void keptSamplesDrawTheSamePixels();
};

void TestPlotLodWorkers::eachCurveOncePerSerial()
{
    std::vector<std::unique_ptr<QtViloPlotItem>> owned;
    QList<QtViloPlotItem *> items;
    for (int k = 0; k < 8; ++k) {
        owned.push_back(makeItem(400000, k));
        items << owned.back().get();
    }
    // Declared before the plot: the workers may still report while it stops them.
    QMutex mutex;
    QHash<QPair<quint64, QtViloPlotCurve *>, int> reductions;
    QtViloPlot plot;
    plot.resize(800, 400);
    for (QtViloLodWorker *worker : plot.lodWorkers()) {
        connect(
            worker, &QtViloLodWorker::CurveLodDataUpdated, worker,
            [&](const quint64 &serial, QtViloPlotCurve *curve, const void *, const quint64 &) {
                QMutexLocker locker(&mutex);
                ++reductions[qMakePair(serial, curve)];
            },
            Qt::DirectConnection);
    }
    plot.setItems(items);
    QCOMPARE(plot.curves().size(), 8);

    // Several views in a row; only the newest serial must be served, each curve by one worker.
    for (int step = 0; step < 6; ++step) {
        plot.setAxisScale(QwtPlot::xBottom, 1000.0 * step, 1000.0 * step + 50000.0);
        plot.setAxisScale(QwtPlot::yLeft, -500, 500);
        plot.replot();
        QCoreApplication::processEvents();
    }
    plot.resetZoom();
    const quint64 serial = plot.serial();
    auto countFor = [&](quint64 s) {
        QMutexLocker locker(&mutex);
        int curves = 0;
        for (auto it = reductions.cbegin(); it != reductions.cend(); ++it) {
            if (it.key().first == s) {
                ++curves;
                if (it.value() != 1)
                    return -1;
            }
        }
        return curves;
    };
    QTRY_COMPARE_WITH_TIMEOUT(countFor(serial), 8, 20000);
    QTest::qWait(100);
    QCOMPARE(countFor(serial), 8);
    {
        QMutexLocker locker(&mutex);
        for (auto it = reductions.cbegin(); it != reductions.cend(); ++it)
            QCOMPARE(it.value(), 1); // no curve twice for any serial
    }
    // Every curve now draws from a list made for its samples.
    for (QtViloPlotCurve *curve : plot.curves()) {
        quint64 generation = 0;
        curve->seriesData()->lod()->currentList(&generation);
        QCOMPARE(generation, curve->item()->dataGeneration());
    }
    // A curve dropped while the workers run is retired and never touched again.
    QtViloPlotCurve *first = plot.curves().first();
    const QSharedPointer<QtViloLodCurve> lod = first->seriesData()->lod();
    plot.setItems(items.mid(1));
    QVERIFY(!lod->item());
}

void TestPlotLodWorkers::profilesFollowTheView()
{
    auto item = makeItem(100000, 0.0);
    QtViloPlot plot;
    plot.resize(640, 300);
    plot.show();
    QVERIFY(QTest::qWaitForWindowExposed(&plot));
    plot.setItems({item.get()});
    plot.setPovSettings(false, true, true);
    QtViloPlotCurve *curve = plot.curves().first();
    QtViloLodCurve &lod = *curve->seriesData()->lod();
    auto profiled = [&] {
        QMutexLocker locker(&lod.profileLock());
        return lod.profileSerial == plot.serial() && !lod.profile().maxima.isEmpty();
    };
    QTRY_VERIFY_WITH_TIMEOUT(profiled(), 10000);
    QMutexLocker locker(&lod.profileLock());
    const QtViloMaxMinProfile &profile = lod.profile();
    QCOMPARE(profile.maxima.size(), plot.canvas()->width());
    double top = -1e9, bottom = 1e9;
    for (int c = 0; c < profile.maxima.size(); ++c) {
        if (profile.maxima[c] == profile.maxima[c]) {
            QVERIFY(profile.maxima[c] >= profile.minima[c]);
            top = qMax(top, profile.maxima[c]);
            bottom = qMin(bottom, profile.minima[c]);
        }
    }
    QCOMPARE(top, 1000.0);
    QCOMPARE(bottom, -1000.0);
}

void TestPlotLodWorkers::keptSamplesDrawTheSamePixels_data()
{
    QTest::addColumn<bool>("dsp");
    QTest::newRow("signal plot") << false;
    // A 2^24-bin spectrum must zoom and pan as smoothly as the samples.
    QTest::newRow("DSP plot") << true;
}

void TestPlotLodWorkers::keptSamplesDrawTheSamePixels()
{
    QFETCH(bool, dsp);
    // A wandering signal under a narrow band: most samples lie outside it and are dropped.
    QVector<double> walk(300000);
    quint32 seed = 11;
    for (int i = 1; i < walk.size(); ++i) {
        seed = seed * 1664525u + 1013904223u;
        walk[i] = qBound(-20000, int(walk[i - 1]) + int(seed >> 22) - 512, 20000);
    }
    auto item = std::make_unique<QtViloPlotItem>(QStringLiteral("walk"), false,
                                                 QtViloPlotItemDefaults());
    setSamples(*item, walk);
    {
        // The same values as the DSP plot's result.
        QWriteLocker results(&item->dspLock());
        item->dspResults()[QtViloPlot::DspIndex] = QByteArray(
            reinterpret_cast<const char *>(walk.constData()), walk.size() * int(sizeof(double)));
        item->dspComplete.storeRelease(1);
        ++item->dspGeneration;
    }
    QtViloPlot plot(nullptr, dsp ? QtViloPlot::DspSource : QtViloPlot::SignalSource);
    plot.resize(700, 400);
    plot.show();
    QVERIFY(QTest::qWaitForWindowExposed(&plot));
    plot.setItems({item.get()});
    plot.setAxisScale(QwtPlot::xBottom, 20000, 220000);
    plot.setAxisScale(QwtPlot::yLeft, -3000, 1000);
    plot.replot();
    QVERIFY(plot.curves().first()->seriesData()->lod());
    QtViloLodCurve &lod = *plot.curves().first()->seriesData()->lod();
    QTRY_VERIFY_WITH_TIMEOUT(QtViloLodCurve::sameRect(lod.lastRect(), plot.rectOfInterest()) &&
                                 lod.done.loadAcquire(),
                             10000);
    const QtViloKeptList kept = lod.currentList(nullptr);
    QVERIFY(kept.count() > 0);
    QVERIFY(kept.count() < 150000); // the band really drops samples
    QVERIFY(kept.runs().size() > 2);
    plot.replot();
    const QImage withList = plot.canvas()->grab().toImage();
    // Without a list the curve draws every sample of the view.
    lod.retire();
    plot.replot();
    const QImage everySample = plot.canvas()->grab().toImage();
    int differing = 0, firstX = -1, lastX = -1;
    for (int y = 0; y < withList.height(); ++y) {
        for (int x = 0; x < withList.width(); ++x) {
            if (withList.pixel(x, y) != everySample.pixel(x, y)) {
                ++differing;
                firstX = firstX < 0 ? x : qMin(firstX, x);
                lastX = qMax(lastX, x);
            }
        }
    }
    QVERIFY2(differing == 0, qPrintable(QStringLiteral("%1 pixels differ, x %2 to %3 of %4")
                                            .arg(differing).arg(firstX).arg(lastX)
                                            .arg(withList.width())));
}

QTEST_MAIN(TestPlotLodWorkers)
#include "tst_plotlodworkers.moc"
