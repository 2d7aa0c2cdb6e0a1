// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "viewer/core/fileindex.h"
#include "viewer/ui/qxtspanslider.h"

#include <QImage>
#include <QKeySequence>
#include <QSignalSpy>
#include <QtTest>

namespace {

// QTest::mouseMove moves the real cursor, which the offscreen platform does not turn into
// widget events; all mouse events are sent directly instead.
void sendMouse(QWidget *widget, QEvent::Type type, const QPoint &pos)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    const Qt::MouseButtons buttons =
        type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, pos, widget->mapToGlobal(pos), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

void drag(QWidget *widget, const QPoint &from, const QPoint &to)
{
    sendMouse(widget, QEvent::MouseButtonPress, from);
    sendMouse(widget, QEvent::MouseMove, (from + to) / 2);
    sendMouse(widget, QEvent::MouseMove, to);
    sendMouse(widget, QEvent::MouseButtonRelease, to);
}

void sendWheel(QWidget *widget, int angle)
{
    const QPoint pos = widget->rect().center();
    QWheelEvent event(pos, widget->mapToGlobal(pos), QPoint(), QPoint(0, angle), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(widget, &event);
}

// As the viewer uses it: vertical, value 0 at the top. 416 px leave a 400 px track between
// the two 8 px handle ends, so one pixel is 2.5 values of 0..1000.
void setUpViewerSlider(QxtSpanSlider &slider, int maximum = 1000)
{
    slider.setInvertedAppearance(true);
    slider.setRange(0, maximum);
    slider.resize(18, 416);
}

bool hasColourNear(const QImage &image, const QColor &colour, int row, int tolerance)
{
    for (int y = qMax(0, row - tolerance); y <= qMin(image.height() - 1, row + tolerance); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y).rgb() == colour.rgb())
                return true;
    return false;
}

} // namespace

class Tst : public QObject
{
    Q_OBJECT
private slots:
    // From a span of 10..20 in 0..100: keys by name, wheel turns as angles (120 a notch).
    // Value 0 is at the top, so Down and PageDown go toward the maximum.
    void keysAndWheelMoveTheWholeSpan_data()
    {
        QTest::addColumn<QStringList>("inputs");
        QTest::addColumn<int>("lower");
        QTest::newRow("down") << QStringList{"Down"} << 11;
        QTest::newRow("page down") << QStringList{"PgDown"} << 20;
        QTest::newRow("up") << QStringList{"Up"} << 9;
        QTest::newRow("end") << QStringList{"End"} << 90;
        QTest::newRow("stops at the end") << QStringList{"End", "PgDown", "Right"} << 90;
        QTest::newRow("page up") << QStringList{"End", "PgUp"} << 80;
        QTest::newRow("wheel up") << QStringList{"240"} << 8;
        QTest::newRow("half a notch waits") << QStringList{"-60"} << 10;
        QTest::newRow("two halves") << QStringList{"-60", "-60"} << 11;
        QTest::newRow("stops at the top") << QStringList{"Home", "Up", "Left"} << 0;
    }

    void keysAndWheelMoveTheWholeSpan()
    {
        QFETCH(QStringList, inputs);
        QFETCH(int, lower);
        QxtSpanSlider slider;
        setUpViewerSlider(slider, 100);
        slider.setSingleStep(1);
        slider.setPageStep(10);
        slider.setSpan(10, 20);
        for (const QString &input : inputs) {
            bool isAngle = false;
            const int angle = input.toInt(&isAngle);
            if (isAngle)
                sendWheel(&slider, angle);
            else
                QTest::keyClick(&slider, Qt::Key(QKeySequence(input)[0]));
        }
        QCOMPARE(slider.lowerValue(), lower);
        QCOMPARE(slider.upperValue(), lower + 10);
    }

    void mouseDrag_data()
    {
        QTest::addColumn<QString>("grab");
        QTest::addColumn<int>("pixels");
        QTest::addColumn<int>("lower");
        QTest::addColumn<int>("upper");
        QTest::newRow("upper handle down") << "upper" << 40 << 200 << 500;
        QTest::newRow("lower handle up") << "lower" << -40 << 100 << 400;
        QTest::newRow("lower handle stops at upper") << "lower" << 200 << 400 << 400;
        QTest::newRow("span down") << "span" << 40 << 300 << 500;
        QTest::newRow("span stops at top") << "span" << -200 << 0 << 200;
    }

    void mouseDrag()
    {
        QFETCH(QString, grab);
        QFETCH(int, pixels);
        QxtSpanSlider slider;
        setUpViewerSlider(slider);
        slider.setSpan(200, 400);
        const QPoint lowerHandle = slider.lowerHandleRect().center();
        const QPoint upperHandle = slider.upperHandleRect().center();
        const QPoint from = grab == "upper"   ? upperHandle
                            : grab == "lower" ? lowerHandle
                                              : (lowerHandle + upperHandle) / 2;
        QSignalSpy dragged(&slider, &QxtSpanSlider::spanDragged);
        QSignalSpy spans(&slider, &QxtSpanSlider::spanChanged);

        sendMouse(&slider, QEvent::MouseButtonPress, from);
        sendMouse(&slider, QEvent::MouseMove, from + QPoint(0, pixels / 2));
        QVERIFY(spans.count() > 0); // the span follows the pointer; the lines load on release
        QCOMPARE(dragged.count(), 0);
        sendMouse(&slider, QEvent::MouseMove, from + QPoint(0, pixels));
        sendMouse(&slider, QEvent::MouseButtonRelease, from + QPoint(0, pixels));
        QCOMPARE(dragged.count(), 1);
        QTEST(slider.lowerValue(), "lower");
        QTEST(slider.upperValue(), "upper");
    }

    void emptyRangeIgnoresInput()
    {
        QxtSpanSlider slider;
        setUpViewerSlider(slider, 0);
        QSignalSpy spans(&slider, &QxtSpanSlider::spanChanged);
        QSignalSpy dragged(&slider, &QxtSpanSlider::spanDragged);

        QVERIFY(!slider.grab().isNull());
        drag(&slider, slider.lowerHandleRect().center(), QPoint(9, 300));
        drag(&slider, QPoint(9, 200), QPoint(9, 20));
        QTest::keyClick(&slider, Qt::Key_PageDown);
        QTest::keyClick(&slider, Qt::Key_End);
        sendWheel(&slider, -120);
        QCOMPARE(slider.lowerValue(), 0);
        QCOMPARE(slider.upperValue(), 0);
        QCOMPARE(spans.count(), 0);
        QCOMPARE(dragged.count(), 0);
        slider.resize(18, 2); // no room for a track at all
        QVERIFY(!slider.grab().isNull());
    }

    void paintsAnnotationMarks()
    {
        FileIndex index;
        SpanAnnotations annotations;
        annotations.errorMarks = {0.5};
        annotations.warningMarks = {0.25};
        for (int i = 0; i < 5000; ++i) // many marks collapse onto the rows near 0.75
            annotations.searchMarks.insert(0.75 + i * 1e-7);
        QxtSpanSlider slider;
        setUpViewerSlider(slider);
        slider.setAnnotationSource(&index, &annotations);
        slider.setSpan(0, 10); // keep the handles away from the marks

        // Mark rows: the 8 px handle end plus the fraction of the 400 px track.
        QImage image = slider.grab().toImage();
        QVERIFY(hasColourNear(image, Qt::red, 208, 2));
        QVERIFY(hasColourNear(image, QColor(255, 140, 0), 108, 2));
        QVERIFY(hasColourNear(image, QColor(30, 144, 255), 308, 2));
        QVERIFY(!hasColourNear(image, Qt::red, 108, 20));

        // Errors on every row hide neither the warnings nor the search matches.
        for (int i = 0; i <= 1000; ++i) {
            annotations.errorMarks.insert(i / 1000.0);
            annotations.warningMarks.insert(i / 1000.0 + 0.0004);
        }
        image = slider.grab().toImage();
        QVERIFY(hasColourNear(image, QColor(255, 140, 0), 208, 2));
        QVERIFY(hasColourNear(image, QColor(30, 144, 255), 308, 2));
    }
};

QTEST_MAIN(Tst)
#include "tst_qxtspanslider.moc"
