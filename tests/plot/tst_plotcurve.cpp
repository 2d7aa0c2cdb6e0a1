// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "plottestutil.h"

#include "plot/core/qtvilocolumnreducer.h"
#include "plot/ui/qtviloplot.h"
#include "plot/ui/qtviloplotcurve.h"

#include <QImage>
#include <QPainter>
#include <QRandomGenerator>
#include <QtTest>
#include <qwt_painter.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_zoomer.h>

#include <cmath>

using namespace QtViloColumnReducer;

namespace {

enum Shape { Random, Flat, Spiky, Walk, WithNan };

QVector<double> makeSignal(Shape shape, int n, double lo, double hi, quint32 seed)
{
    QRandomGenerator rng(seed);
    QVector<double> v(n);
    const double mid = (lo + hi) / 2;
    double walk = mid;
    for (int i = 0; i < n; ++i) {
        const double r = rng.generateDouble();
        switch (shape) {
        case Random:
        case WithNan:
            v[i] = lo + r * (hi - lo);
            break;
        case Flat: // a constant with one-step noise, as a quiet input gives
            v[i] = std::floor(mid) + (rng.bounded(8) == 0 ? 1 : 0);
            break;
        case Spiky:
            v[i] = rng.bounded(200) == 0 ? lo + r * (hi - lo) : mid + r * (hi - lo) / 50;
            break;
        case Walk:
            walk = qBound(lo, walk + (r - 0.5) * (hi - lo) / 40, hi);
            v[i] = walk;
            break;
        }
    }
    if (shape == WithNan) {
        for (int i = 0; i < n; i += 1 + int(rng.bounded(40)))
            v[i] = std::nan("");
        v[0] = std::nan(""); // also at both ends and in a run
        v[n - 1] = std::nan("");
        for (int i = n / 2; i < n / 2 + 300 && i < n; ++i)
            v[i] = std::nan("");
    }
    return v;
}

// What the curve would draw without reduction: every valid sample, rounded as Qwt rounds.
QVector<QPointF> everySample(const QVector<double> &stored, const Params &p)
{
    QVector<QPointF> points;
    for (qint64 i = p.from; i <= p.to; ++i) {
        if (!std::isnan(stored[i]))
            points.append(QPointF(qRound(p.x(double(i))), qRound(p.y(stored[i]))));
    }
    return points;
}

QImage render(const QVector<QPointF> &points, const QSize &size, Qt::PenCapStyle cap)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QPen pen(Qt::black, 0);
    pen.setCapStyle(cap);
    painter.setPen(pen);
    painter.drawPolyline(points.constData(), points.size());
    return image;
}

QString firstDifference(const QImage &a, const QImage &b)
{
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (a.pixel(x, y) != b.pixel(x, y))
                return QStringLiteral("first differing pixel (%1, %2)").arg(x).arg(y);
        }
    }
    return QString();
}

} // namespace

class TestPlotCurve : public QObject
{
    Q_OBJECT

private slots:
    void reducedDrawsEverySamplesPixels_data();
    void reducedDrawsEverySamplesPixels();
    void curveDrawsAsStockCurve_data();
    void curveDrawsAsStockCurve();
};

void TestPlotCurve::reducedDrawsEverySamplesPixels_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("shape");
    QTest::addColumn<int>("count");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QPointF>("values"); // the signal's lowest and highest value
    // Shown sample range as fractions of the count, and the drawn index range inside it.
    QTest::addColumn<QRectF>("view");   // x: first shown, width: shown span; y/height: values
    QTest::addColumn<QPointF>("range"); // from, to as fractions

    const QRectF full(0, 0, 1, 1);
    const QPointF all(0, 1);
    const QPointF int16(-32768, 32767);
    QTest::newRow("int16 random, many per column")
        << 1 << int(Random) << 60000 << QSize(257, 120) << int16 << full << all;
    QTest::newRow("int16 fewer samples than columns")
        << 1 << int(Walk) << 90 << QSize(400, 100) << int16 << full << all;
    QTest::newRow("int16 about one per column")
        << 1 << int(Random) << 310 << QSize(300, 90) << int16 << full << all;
    QTest::newRow("int8 flat")
        << 0 << int(Flat) << 20000 << QSize(200, 60) << QPointF(-128, 127) << full << all;
    QTest::newRow("int32 spiky, non-integer factor")
        << 2 << int(Spiky) << 7919 << QSize(233, 150) << int16 << full << all;
    QTest::newRow("uint16 walk, zoomed and shifted")
        << 8 << int(Walk) << 50000 << QSize(300, 140) << QPointF(0, 65535)
        << QRectF(0.3127, 0, 0.3011, 1) << QPointF(0.3, 0.62);
    QTest::newRow("uint64 near the top of its range")
        << 10 << int(Walk) << 30000 << QSize(180, 200) << QPointF(1.8e19, 1.84e19) << full
        << all;
    QTest::newRow("int64 random, values beyond the device")
        << 3 << int(Random) << 12000 << QSize(150, 100) << QPointF(-9e18, 9e18)
        << QRectF(0, 0.3, 1, 0.4) << all;
    QTest::newRow("float with NaN")
        << 4 << int(WithNan) << 20000 << QSize(211, 130) << int16 << full << all;
    QTest::newRow("double walk, zoomed into values")
        << 5 << int(Walk) << 40000 << QSize(260, 110) << int16 << QRectF(0.2, 0.45, 0.5, 0.1)
        << all;
    QTest::newRow("ascii spiky") << 6 << int(Spiky) << 25000 << QSize(199, 99) << int16 << full
                                 << all;
    QTest::newRow("uint8 random")
        << 7 << int(Random) << 5000 << QSize(120, 80) << QPointF(0, 255) << full << all;
    QTest::newRow("uint32 walk, range inside the data")
        << 9 << int(Walk) << 30000 << QSize(240, 120) << QPointF(0, 4e9) << QRectF(0.1, 0, 0.8, 1)
        << QPointF(0.2, 0.7);
}

void TestPlotCurve::reducedDrawsEverySamplesPixels()
{
    QFETCH(int, type);
    QFETCH(int, shape);
    QFETCH(int, count);
    QFETCH(QSize, size);
    QFETCH(QPointF, values);
    QFETCH(QRectF, view);
    QFETCH(QPointF, range);
    const double lo = values.x();
    const double hi = values.y();
    for (quint32 seed = 1; seed <= 4; ++seed) {
        QVector<double> stored;
        const QByteArray bytes =
            bytesAs(type, makeSignal(Shape(shape), count, lo, hi, seed * 7919 + 3), stored);
        const char *data = bytes.constData() + 1;

        Params p;
        p.from = qint64(range.x() * (count - 1));
        p.to = qint64(range.y() * (count - 1));
        // As Qwt maps a canvas: x from the first to the last shown sample, y turned over.
        const double s1 = view.x() * (count - 1) + 0.37 * seed;
        const double s2 = s1 + view.width() * (count - 1);
        p.x = LinearMap{0.5 * seed, s1, (size.width() - 1.0) / (s2 - s1)};
        const double v1 = lo + view.y() * (hi - lo);
        const double v2 = v1 + view.height() * (hi - lo);
        p.y = LinearMap{size.height() - 1.0, v1, (0.0 - (size.height() - 1.0)) / (v2 - v1)};
        p.clipTop = -1;
        p.clipBottom = size.height() + 1;

        QVector<QPointF> reduced;
        QVERIFY(reduceByType(type, data, p, reduced));
        const QVector<QPointF> reference = everySample(stored, p);
        for (Qt::PenCapStyle cap : {Qt::SquareCap, Qt::FlatCap}) {
            const QImage expected = render(reference, size, cap);
            const QImage actual = render(reduced, size, cap);
            QVERIFY2(expected == actual, qPrintable(QStringLiteral("seed %1 cap %2: %3")
                                                        .arg(seed)
                                                        .arg(int(cap))
                                                        .arg(firstDifference(expected, actual))));
        }

        // A few points per column: five at most, the range's ends a little more.
        QMap<int, int> perColumn;
        for (const QPointF &point : reduced)
            ++perColumn[int(point.x())];
        const int firstColumn = perColumn.firstKey();
        const int lastColumn = perColumn.lastKey();
        for (auto it = perColumn.cbegin(); it != perColumn.cend(); ++it) {
            const int limit = (it.key() == firstColumn || it.key() == lastColumn) ? 9 : 5;
            QVERIFY2(
                it.value() <= limit,
                qPrintable(QStringLiteral("%1 points in column %2").arg(it.value()).arg(it.key())));
        }
        QVERIFY(reduced.size() <= qMin(reference.size(), 5 * perColumn.size() + 8));
    }
}

void TestPlotCurve::curveDrawsAsStockCurve_data()
{
    QTest::addColumn<QRectF>("zoom"); // fractions of the full view; empty: autoscaled
    QTest::newRow("autoscaled") << QRectF();
    QTest::newRow("zoomed into the middle") << QRectF(0.31, 0.2, 0.27, 0.5);
}

void TestPlotCurve::curveDrawsAsStockCurve()
{
    QFETCH(QRectF, zoom);
    // Stock Qwt draws raster polylines in pieces of seven points; the reference is one polyline.
    QwtPainter::setPolylineSplitting(false);

    QtViloPlotItem item(QStringLiteral("signal"), false, QtViloPlotItemDefaults());
    QVERIFY(item.setFormat(QStringLiteral("Int16")));
    const QVector<double> values = makeSignal(Walk, 30000, -20000, 20000, 5);
    setSamples(item, values);

    QtViloPlot plot;
    plot.resize(700, 420);
    plot.show();
    QVERIFY(QTest::qWaitForWindowExposed(&plot));
    plot.setItems({&item});
    QCOMPARE(plot.curves().size(), 1);
    QtViloPlotCurve *curve = plot.curves().first();
    if (!zoom.isEmpty()) {
        const QRectF base = plot.rectOfInterest();
        plot.zoomer()->zoom(QRectF(base.x() + zoom.x() * base.width(),
                                   base.y() + zoom.y() * base.height(), zoom.width() * base.width(),
                                   zoom.height() * base.height()));
    }
    plot.replot();
    const QImage mine = plot.canvas()->grab().toImage();

    // The same samples in a stock curve, drawn unfiltered and unclipped as one polyline.
    QVector<QPointF> samples;
    for (int i = 0; i < values.size(); ++i)
        samples.append(QPointF(i, double(qint16(values[i]))));
    QwtPlotCurve stock;
    stock.setPaintAttribute(QwtPlotCurve::FilterPoints, false);
    stock.setPaintAttribute(QwtPlotCurve::ClipPolygons, false);
    stock.setPen(curve->pen());
    stock.setSamples(samples);
    stock.setZ(curve->z());
    curve->hide();
    stock.attach(&plot);
    plot.replot();
    const QImage theirs = plot.canvas()->grab().toImage();
    stock.detach();
    QwtPainter::setPolylineSplitting(true);

    QVERIFY2(mine == theirs, qPrintable(firstDifference(mine, theirs)));
    // And the curve did draw: the two images are not both blank canvases.
    int curvePixels = 0;
    for (int y = 0; y < mine.height(); ++y) {
        for (int x = 0; x < mine.width(); ++x)
            curvePixels += mine.pixelColor(x, y) == curve->pen().color();
    }
    QVERIFY(curvePixels > 1000);
}

QTEST_MAIN(TestPlotCurve)
#include "tst_plotcurve.moc"
