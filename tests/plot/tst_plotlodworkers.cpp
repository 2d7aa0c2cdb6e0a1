// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "plottestutil.h"

#include "plot/core/qtvilokeptlist.h"
#include "plot/core/qtvilolod.h"
#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/ui/qtvilolodworkers.h"
#include "plot/ui/qtviloplot.h"
#include "plot/ui/qtviloplotcurve.h"
#include "plot/ui/qtviloseriesdata.h"

#include <QMutex>
#include <QRandomGenerator>
#include <QtTest>

#include <cmath>
#include <memory>

namespace {

// The keep rule, one index at a time, in doubles.
std::vector<qint64> referenceKept(const QVector<double> &v, const QRectF &r)
{
    const qint64 n = v.size();
    const double lo = r.y() - 0.04 * r.height(), hi = r.y() + r.height() + 0.04 * r.height();
    auto clampIndex = [n](double x) { return x <= 0 ? 0 : x >= n ? n : qint64(x); };
    const qint64 first = clampIndex(std::floor(r.x()));
    const qint64 last = clampIndex(std::floor(r.x() + r.width()) + 2);
    auto in = [&](double x) { return lo <= x && x <= hi; };
    std::vector<qint64> kept;
    for (qint64 i = first; i < last; ++i) {
        const double x = v[int(i)];
        bool keep = in(x);
        if (n == 1) {
        } else if (i == 0) {
            const double nx = v[1];
            keep = keep || (x >= hi && nx <= hi) || (x <= lo && nx >= lo);
        } else if (i == n - 1) {
            const double p = v[int(i - 1)];
            keep = keep || (x >= hi && p <= hi) || (x <= lo && p >= lo);
        } else {
            const double p = v[int(i - 1)], nx = v[int(i + 1)];
            keep = keep || in(p) || in(nx) || (x >= hi && (p <= lo || nx <= lo)) ||
                   (x <= lo && (p >= hi || nx >= hi));
        }
        if (keep)
            kept.push_back(i);
    }
    return kept;
}

std::vector<qint64> indices(const QtViloKeptList &list)
{
    std::vector<qint64> out;
    list.forEachRun(0, std::numeric_limits<qint64>::max(), [&](qint64 b, qint64 e) {
        for (qint64 i = b; i < e; ++i)
            out.push_back(i);
    });
    return out;
}

QString formatOf(int typeIndex)
{
    for (const QString &text : QtViloFormats::displayTexts()) {
        if (QtViloFormats::typeIndexOf(text) == typeIndex)
            return text;
    }
    return QString();
}

} // namespace

class TestPlotLodWorkers : public QObject
{
    Q_OBJECT

private slots:
    void scanMatchesReference_data();
    void scanMatchesReference();
    void profilesFollowTheView();
    void keptSamplesDrawTheSamePixels_data();
    void keptSamplesDrawTheSamePixels();
};

void TestPlotLodWorkers::scanMatchesReference_data()
{
    QTest::addColumn<int>("typeIndex");
    QTest::addColumn<int>("shape");
    QTest::newRow("int16 random") << int(QtViloFormats::Int16Type) << 0;
    QTest::newRow("int16 spiky") << int(QtViloFormats::Int16Type) << 1;
    QTest::newRow("int16 band-crossing square") << int(QtViloFormats::Int16Type) << 2;
    QTest::newRow("int16 flat") << int(QtViloFormats::Int16Type) << 3;
    QTest::newRow("int8 random") << int(QtViloFormats::Int8Type) << 0;
    QTest::newRow("uint16 spiky") << int(QtViloFormats::Uint16Type) << 1;
    QTest::newRow("int32 square") << int(QtViloFormats::Int32Type) << 2;
    QTest::newRow("int64 random") << int(QtViloFormats::Int64Type) << 0;
    QTest::newRow("float random with NaN") << int(QtViloFormats::FloatType) << 4;
    QTest::newRow("int16 step at a chunk edge") << int(QtViloFormats::Int16Type) << 5;
}

void TestPlotLodWorkers::scanMatchesReference()
{
    QFETCH(int, typeIndex);
    QFETCH(int, shape);
    QRandomGenerator rng(quint32(typeIndex * 10 + shape));
    const int n = 5000;
    QVector<double> v(n);
    for (int i = 0; i < n; ++i) {
        const double r = rng.generateDouble();
        switch (shape) {
        case 0:
        case 4:
            v[i] = -100 + 200 * r;
            break;
        case 1:
            v[i] = rng.bounded(50) == 0 ? -100 + 200 * r : 10 * r;
            break;
        case 2:
            v[i] = (i / 37) % 2 ? 90 : -90;
            break;
        case 5: // whole chunks on one side of the band, the step where one chunk ends
            v[i] = i < 4097 ? -90 : 90;
            break;
        default:
            v[i] = 60;
            break;
        }
    }
    if (shape == 4) {
        for (int i = 0; i < n; i += 1 + int(rng.bounded(30)))
            v[i] = std::nan("");
    }
    QtViloPlotItem item(QStringLiteral("x"), false, QtViloPlotItemDefaults());
    QVERIFY(item.setFormat(formatOf(typeIndex)));
    const QVector<double> stored = setSamples(item, v);
    // Views: the whole record, zooms into both ends and the middle, narrow bands that cut
    // through the signal, integer and fractional edges, and views past either end.
    const QList<QRectF> rects = {
        QRectF(0, -100, n - 1, 200),      QRectF(-10.5, -5, 300.25, 10),
        QRectF(4800, 20, 400, 0.5),       QRectF(1234.5, -91, 77.7, 2),
        QRectF(2000, 89.5, 1000, 1),      QRectF(10, 59, 100, 0.5),
        QRectF(-50, -100, 30, 200),       QRectF(n - 3, -100, 10, 200),
        QRectF(0, 0, 0, 0),               QRectF(n - 1.5, 61, 0.25, 0),
        QRectF(0, 85, n, 10),             QRectF(0, -95, n, 10)};
    for (const QRectF &rect : rects) {
        QtViloKeptList list;
        QVERIFY(QtViloLod::scan(typeIndex, item.data(), QtViloLod::scanParams(rect, n), nullptr,
                                list));
        const std::vector<qint64> expected = referenceKept(stored, rect);
        QVERIFY2(indices(list) == expected,
                 qPrintable(QStringLiteral("rect %1 %2 %3 %4: %5 kept, %6 expected")
                                .arg(rect.x()).arg(rect.y()).arg(rect.width())
                                .arg(rect.height()).arg(list.count()).arg(expected.size())));
    }
}

void TestPlotLodWorkers::profilesFollowTheView()
{
    QtViloPlotItem item(QStringLiteral("wave"), false, QtViloPlotItemDefaults());
    QVector<double> values(100000);
    for (int i = 0; i < values.size(); ++i)
        values[i] = std::round(1000 * std::sin(i / 300.0));
    setSamples(item, values);
    QtViloPlot plot;
    plot.resize(640, 300);
    plot.show();
    QVERIFY(QTest::qWaitForWindowExposed(&plot));
    plot.setItems({&item});
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
    locker.unlock();
    // A curve dropped from the plot is retired, so its workers never touch the item again.
    const QSharedPointer<QtViloLodCurve> held = curve->seriesData()->lod();
    plot.setItems({});
    QVERIFY(!held->item());
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
