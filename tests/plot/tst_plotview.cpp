// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "plottestutil.h"

#include "plot/core/qtviloplotitem.h"
#include "plot/ui/qtvilo.h"
#include "plot/ui/qtviloplot.h"
#include "plot/ui/qtviloplotcurve.h"
#include "plot/ui/qtviloplotitemsmodel.h"
#include "plot/ui/qtviloplotmarkers.h"
#include "plot/ui/qtviloplotview.h"
#include "plot/ui/qtvilotoolcombobox.h"
#include "plot/ui/qtvilozoomer.h"
#include "resources/initresources.h"

#include <QAction>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QMouseEvent>
#include <QSettings>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>
#include <qwt_legend.h>
#include <qwt_legend_label.h>
#include <qwt_plot_layout.h>
#include <qwt_plot_legenditem.h>
#include <qwt_plot_magnifier.h>
#include <qwt_scale_draw.h>
#include <qwt_symbol.h>

#include <cstring>

namespace {
using Model = QtViloPlotItemsModel;
using Axes = QtViloPlotAxes;
constexpr int kLoadTimeout = 30000;


QStringList entries(const QComboBox *box)
{
    QStringList texts;
    for (int i = 0; i < box->count(); ++i)
        texts << box->itemText(i);
    return texts;
}

QwtInterval interval(const QwtPlot *plot, int axis)
{
    return plot->axisScaleDiv(axis).interval().normalized();
}

// Shows a plot view as a window of its own for the scope, then gives it back to its panel.
class ShownAlone
{
public:
    explicit ShownAlone(QWidget *view) : m_view(view), m_owner(view->parentWidget())
    {
        m_view->setParent(nullptr);
        m_view->resize(900, 500);
        m_view->show();
    }
    ~ShownAlone()
    {
        m_view->hide();
        m_view->setParent(m_owner);
    }

private:
    QWidget *m_view;
    QWidget *m_owner;
};

void sendMouse(QWidget *widget, QEvent::Type type, const QPoint &pos, Qt::MouseButtons buttons)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, pos, widget->mapToGlobal(pos), button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(widget, &event);
}
} // namespace

class TestPlotView : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        initResources();
        QVERIFY(m_dir.isValid());
        m_ramp = writeInt16File(m_dir.filePath(QStringLiteral("ramp.bin")), 1000);
        m_second = writeInt16File(m_dir.filePath(QStringLiteral("second.bin")), 600, 200);
        QVERIFY(!m_ramp.isEmpty() && !m_second.isEmpty());
    }

    void init() { QSettings().clear(); }

    void selectorsOfBothViews()
    {
        QtVilo panel;
        QtViloPlotView *signal = panel.signalView();
        QtViloPlotView *dsp = panel.dspView();
        QVERIFY(!signal->frequencyUnitBox() && !signal->dspChoiceBox() && !signal->windowBox());
        QCOMPARE(entries(dsp->dspChoiceBox()), QStringList({"None", "FFT dBFS"}));
        QCOMPARE(entries(dsp->windowBox()), QStringList({"Blackman", "Hann", "Flat-Top"}));
        // Closed boxes show the prompt, or just the unit, to stay narrow.
        auto shown = [](QComboBox *box) {
            return static_cast<QtViloToolComboBox *>(box)->shownText();
        };
        QCOMPARE(shown(dsp->dspChoiceBox()), QStringLiteral("Select DSP"));
        QCOMPARE(shown(dsp->windowBox()), QStringLiteral("Select Window"));
        dsp->frequencyUnitBox()->setCurrentText(QStringLiteral("Frequency in kHz"));
        QCOMPARE(shown(dsp->frequencyUnitBox()), QStringLiteral("kHz"));
        signal->timeUnitBox()->setCurrentText(QStringLiteral("Time in Micro Seconds"));
        QCOMPARE(shown(signal->timeUnitBox()), QStringLiteral("μs"));

        // The DSP selectors make the DSP plot's request.
        dsp->windowBox()->setCurrentText(QStringLiteral("Flat-Top"));
        dsp->dspChoiceBox()->setCurrentText(QStringLiteral("FFT dBFS"));
        QCOMPARE(panel.model()->dspPlotRequest(), QStringLiteral("FFT dBFS;Flat-Top"));
        dsp->dspChoiceBox()->setCurrentText(QStringLiteral("None"));
        QCOMPARE(panel.model()->dspPlotRequest(), QStringLiteral("None"));

        // The enable switch turns the signal plot off and tells the model.
        QToolButton *enable = signal->enableButton();
        QSignalSpy enabled(panel.model(), &Model::SignalPlotEnableChanged);
        enable->click();
        QCOMPARE(enable->text(), QStringLiteral("Disabled"));
        QVERIFY(!panel.signalPlot()->plottingEnabled());
        QCOMPARE(enabled.count(), 1);
        QCOMPARE(enabled.first().first().toBool(), false);
    }

    void factorsAndAuxiliaryAxes()
    {
        QtVilo panel;
        QtViloPlotView *view = panel.signalView();
        QtViloPlot *plot = panel.signalPlot();
        loadRamp(panel);
        setRow(panel.model(), 1e9, 14, 1.0, 1.0);
        QtViloPlotCurve *curve = plot->curves().first();

        view->timeUnitBox()->setCurrentText(QStringLiteral("Time in Nano Seconds"));
        view->amplitudeUnitBox()->setCurrentText(QStringLiteral("Ampl in Milli Volts"));
        QCOMPARE(curve->timeFactor(), 1.0);
        QCOMPARE(curve->amplitudeFactor(), 0.5 / 8192 * 1000);

        // Only the index and code axes to begin with.
        QCOMPARE(view->axisButton()->property("axisIcon").toString(), QStringLiteral("xy"));
        QVERIFY(plot->axisEnabled(QwtPlot::xBottom) && plot->axisEnabled(QwtPlot::yLeft));
        QVERIFY(!plot->axisEnabled(QwtPlot::xTop) && !plot->axisEnabled(QwtPlot::yRight));

        view->axisAction(Axes::TimeAxis)->trigger();
        QCOMPARE(view->axisButton()->property("axisIcon").toString(), QStringLiteral("xyx"));
        view->axisAction(Axes::UnitAxis)->trigger();
        QCOMPARE(view->axisButton()->property("axisIcon").toString(), QStringLiteral("xyxy"));
        QVERIFY(plot->axisEnabled(QwtPlot::xTop) && plot->axisEnabled(QwtPlot::yRight));
        QCOMPARE(plot->axisTitle(QwtPlot::xTop).text(), QStringLiteral("Time [ns]"));
        QCOMPARE(plot->axisTitle(QwtPlot::yRight).text(), QStringLiteral("Amplitude [mV]"));

        // The auxiliary axes show the selected curve's range times its factors, also after a
        // change of unit and a zoom.
        view->timeUnitBox()->setCurrentText(QStringLiteral("Time in Micro Seconds"));
        const double micro = 1e-9 / 1.0000000000000002e-6;
        QCOMPARE(curve->timeFactor(), micro);
        QCOMPARE(plot->axisTitle(QwtPlot::xTop).text(), QStringLiteral("Time [μs]"));
        plot->zoomer()->zoom(QRectF(100, 10, 400, 200));
        const QwtInterval x = interval(plot, QwtPlot::xBottom);
        const QwtInterval y = interval(plot, QwtPlot::yLeft);
        QCOMPARE(x.minValue(), 100.0);
        QCOMPARE(interval(plot, QwtPlot::xTop).minValue(), x.minValue() * micro);
        QCOMPARE(interval(plot, QwtPlot::xTop).maxValue(), x.maxValue() * micro);
        QCOMPARE(interval(plot, QwtPlot::yRight).maxValue(),
                 y.maxValue() * curve->amplitudeFactor());

        // Swapping exchanges titles and labels; the curves stay on the index and code scales.
        view->axisAction(Axes::IndexTimeSwap)->trigger();
        view->axisAction(Axes::CodeUnitSwap)->trigger();
        QCOMPARE(plot->axisTitle(QwtPlot::xBottom).text(), QStringLiteral("Time [μs]"));
        QCOMPARE(plot->axisTitle(QwtPlot::xTop).text(), QStringLiteral("Sample Index"));
        QCOMPARE(plot->axisTitle(QwtPlot::yLeft).text(), QStringLiteral("Amplitude [mV]"));
        QCOMPARE(plot->axisTitle(QwtPlot::yRight).text(), QStringLiteral("Amplitude [Codes]"));
        QCOMPARE(interval(plot, QwtPlot::xBottom).minValue(), x.minValue());
        QCOMPARE(interval(plot, QwtPlot::xTop).minValue(), x.minValue());
        QCOMPARE(plot->axisScaleDraw(QwtPlot::xBottom)->label(300.0).text(), QStringLiteral("0.3"));
        for (double tick : plot->axisScaleDiv(QwtPlot::xBottom).ticks(QwtScaleDiv::MajorTick)) {
            const double shown = tick * micro * 100.0; // ticks at round hundredths of μs
            QVERIFY2(qAbs(shown - qRound(shown)) < 1e-6, qPrintable(QString::number(tick)));
        }

        // Hiding the index and code axes hides them where they are, here top and right.
        view->axisAction(Axes::IndexCodeAxis)->trigger();
        QVERIFY(!plot->axisEnabled(QwtPlot::xTop) && !plot->axisEnabled(QwtPlot::yRight));
        QVERIFY(plot->axisEnabled(QwtPlot::xBottom) && plot->axisEnabled(QwtPlot::yLeft));

        // New row values reach the factors at once. A gain of 0 leaves no volts per code:
        // the unit axis shows codes and says so rather than calling them millivolts.
        QVERIFY(panel.model()->setData(panel.model()->index(0, Model::GainColumn), 2.0));
        QCOMPARE(curve->amplitudeFactor(), 0.5 / 8192 * 1000 / 2.0);
        QVERIFY(panel.model()->setData(panel.model()->index(0, Model::GainColumn), 0.0));
        QVERIFY(qIsInf(curve->amplitudeFactor()));
        QCOMPARE(plot->axisTitle(QwtPlot::yLeft).text(),
                 QStringLiteral("Amplitude [Codes] (no mV scale: check Gain and Input Range)"));
        QCOMPARE(plot->axisScaleDraw(QwtPlot::yLeft)->label(300.0).text(), QStringLiteral("300"));
    }

    void dspPlotUsesBinFrequencyAfterFft()
    {
        QtVilo panel;
        QtViloPlotView *view = panel.dspView();
        QtViloPlot *plot = panel.dspPlot();
        loadRamp(panel);
        setRow(panel.model(), 1e9, 14, 1.0, 1.0);
        view->frequencyUnitBox()->setCurrentText(QStringLiteral("Frequency in MHz"));
        view->timeUnitBox()->setCurrentText(QStringLiteral("Time in Nano Seconds"));
        view->axisAction(Axes::TimeAxis)->trigger();
        view->axisAction(Axes::UnitAxis)->trigger();
        view->windowBox()->setCurrentText(QStringLiteral("Hann"));
        view->dspChoiceBox()->setCurrentText(QStringLiteral("FFT dBFS"));
        QTRY_VERIFY_WITH_TIMEOUT(!plot->curves().isEmpty() && plot->curves().first()->pointCount(),
                                 kLoadTimeout);
        QtViloPlotCurve *curve = plot->curves().first();
        // 1000 samples: a 1024-point transform, 513 bins of 1e9 / 1024 Hz.
        QTRY_COMPARE(curve->pointCount(), quint64(513));
        QCOMPARE(curve->transformSize(), quint64(1024));
        QTRY_COMPARE(curve->timeFactor(), 1e9 / 1024.0 / 1e6);
        // Millivolts per code as on the signal plot; only the axes read dBFS.
        QCOMPARE(curve->amplitudeFactor(), 0.5 / 8192 * 1000);
        QCOMPARE(plot->axisTitle(QwtPlot::xTop).text(), QStringLiteral("Freq [MHz]"));
        QCOMPARE(plot->axisTitle(QwtPlot::yLeft).text(), QStringLiteral("Amplitude [dBFS]"));
        QCOMPARE(plot->axisTitle(QwtPlot::yRight).text(), QStringLiteral("Amplitude [dBFS]"));
        QCOMPARE(interval(plot, QwtPlot::yRight).maxValue(),
                 interval(plot, QwtPlot::yLeft).maxValue());

        view->dspChoiceBox()->setCurrentText(QStringLiteral("None"));
        QCOMPARE(plot->axisTitle(QwtPlot::xTop).text(), QStringLiteral("Time [ns]"));
        for (QtViloPlotCurve *shown : plot->curves())
            QCOMPARE(shown->timeFactor(), 1.0);
    }

    void dspPlotOfACleanToneShowsAPeakOverTheNoiseAndTheColumnAnyKind()
    {
        // Offset plus a tone at a quarter of the rate: every other bin is exactly zero and
        // lies at the floor, thousands of dB down.
        QFile file(m_dir.filePath(QStringLiteral("tone.int16")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        for (int i = 0; i < 4096; ++i) {
            const qint16 v = qint16(1000 + (i % 2 ? (i % 4 == 1 ? 8000 : -8000) : 0));
            file.write(reinterpret_cast<const char *>(&v), 2);
        }
        file.close();
        QtVilo panel;
        QtViloPlot *plot = panel.dspPlot();
        ShownAlone shown(panel.dspView());
        QVERIFY(QTest::qWaitForWindowExposed(panel.dspView()));
        panel.openFiles({file.fileName()});
        panel.dspView()->dspChoiceBox()->setCurrentText(QStringLiteral("FFT dBFS"));
        QTRY_VERIFY_WITH_TIMEOUT(!plot->curves().isEmpty() &&
                                     plot->curves().first()->pointCount() == 2049,
                                 kLoadTimeout);
        QtViloPlotItem *item = panel.model()->item(0);
        {
            QReadLocker locker(&item->dspLock());
            const QByteArray &result = item->dspResults().value(QtViloPlot::DspIndex);
            double bin = 0.0;
            memcpy(&bin, result.constData() + 8, 8);
            QVERIFY2(bin < -6000.0, qPrintable(QString::number(bin)));
        }
        // The amplitude axis spans the tone and the offset, not down to the floor or a clamp.
        QTRY_VERIFY(interval(plot, QwtPlot::yLeft).minValue() > -100.0);
        QVERIFY(interval(plot, QwtPlot::yLeft).maxValue() >= -18.3); // 4000 of 32768 codes
        // The DSP column's editor offers every kind with every window and takes typed text.
        panel.resize(1000, 400);
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        QTableView *list = panel.itemsView();
        const QModelIndex cell = panel.model()->index(0, Model::DspColumn);
        list->edit(cell);
        auto *editor = list->viewport()->findChild<QComboBox *>();
        QVERIFY(editor);
        const QStringList choices = entries(editor);
        QCOMPARE(choices.size(), 2 + 4 * 6 + 2);
        for (const char *choice : {"None", "Select DSP", "FFT Magn", "FFT Phase;Hann",
                                   "FFT PSD;BlackmanHarris", "FFT dBFS;Hamming",
                                   "FFT Magn;Flat-Top", "Diff Signed", "Diff Abs"})
            QVERIFY2(choices.contains(QLatin1String(choice)), choice);
        QVERIFY(editor->isEditable());
        editor->lineEdit()->selectAll();
        QTest::keyClicks(editor->lineEdit(), QStringLiteral("Diff Signed"));
        QTest::keyClick(editor->lineEdit(), Qt::Key_Return);
        QCOMPARE(cell.data().toString(), QStringLiteral("Diff Signed"));
        // The DSP plot shows the item's own request: 4095 differences of the tone.
        QTRY_VERIFY_WITH_TIMEOUT(!plot->curves().isEmpty() &&
                                     plot->curves().first()->pointCount() == 4095,
                                 kLoadTimeout);
        QCOMPARE(plot->curves().first()->sample(0).y(), 8000.0);
        QCOMPARE(plot->curves().first()->sample(1).y(), -8000.0);
    }

    void settingsAreCachedPerPlot()
    {
        QtViloPlotViewSettings changed;
        changed.legendEnable = true;
        changed.legendPosition = QwtPlot::BottomLegend;
        changed.legendItemEnable = true;
        changed.legendItemColumns = 3;
        changed.legendItemAlignment = int(Qt::AlignBottom | Qt::AlignLeft);
        changed.legendItemBackground = QColor(10, 20, 30, 40);
        changed.legendItemSize = 12;
        changed.newCurveZoomReset = false;
        changed.visRescale = false;
        changed.rePlotZoomReset = true;
        changed.showMaxMin = true;
        changed.lineWidth = 3;
        changed.symbolSize = 6;
        {
            QtVilo panel;
            for (QtViloPlotView *view : {panel.signalView(), panel.dspView()}) {
                view->setSettings(changed);
                view->axisAction(Axes::UnitAxis)->trigger();
                view->axisAction(Axes::IndexTimeSwap)->trigger();
                view->timeUnitBox()->setCurrentText(QStringLiteral("Time in Pico Seconds"));
                view->amplitudeUnitBox()->setCurrentText(QStringLiteral("Ampl in Volts"));
            }
            panel.dspView()->frequencyUnitBox()->setCurrentText(QStringLiteral("Frequency in GHz"));
        }
        QtVilo panel;
        for (QtViloPlotView *view : {panel.signalView(), panel.dspView()}) {
            QVERIFY(view->settings() == changed);
            QCOMPARE(view->axisButton()->property("axisIcon").toString(), QStringLiteral("yxy"));
            QCOMPARE(view->plot()->axisTitle(QwtPlot::xBottom).text().left(6),
                     QStringLiteral("Time ["));
            QCOMPARE(view->timeUnitBox()->currentText(), QStringLiteral("Time in Pico Seconds"));
            QCOMPARE(view->amplitudeUnitBox()->currentText(), QStringLiteral("Ampl in Volts"));
            QVERIFY(view->toolAction(QtViloPlotView::MaxMinTool)->isChecked());
            QVERIFY(view->plot()->legend());
            QCOMPARE(view->plot()->plotLayout()->legendPosition(), QwtPlot::BottomLegend);
        }
        QCOMPARE(panel.dspView()->frequencyUnitBox()->currentText(),
                 QStringLiteral("Frequency in GHz"));
    }

    void markersReadTheSelectedCurve()
    {
        QtVilo panel;
        QtViloPlotView *view = panel.signalView();
        QtViloPlot *plot = panel.signalPlot();
        ShownAlone shown(view);
        QVERIFY(QTest::qWaitForWindowExposed(view));
        loadRamp(panel);
        setRow(panel.model(), 1e9, 14, 1.0, 1.0);
        view->timeUnitBox()->setCurrentText(QStringLiteral("Time in Nano Seconds"));
        view->amplitudeUnitBox()->setCurrentText(QStringLiteral("Ampl in Milli Volts"));

        QtViloPlotMarkers *markers = view->markers();
        view->toolAction(QtViloPlotView::MarkersTool)->trigger();
        QVERIFY(markers->isShown());
        const QwtInterval x = interval(plot, QwtPlot::xBottom);
        QCOMPARE(markers->position(0), qRound64(x.minValue() + x.width() / 3));
        QCOMPARE(markers->position(1), qRound64(x.minValue() + 2 * x.width() / 3));

        // The readout shows both markers on the selected curve and their difference.
        markers->setPosition(0, 100.4);
        markers->setPosition(1, 250);
        QCOMPARE(markers->readoutText(),
                 QStringLiteral("M1  i=100  t=100 ns  y=100 (6.10352 mV)\n"
                                "M2  i=250  t=250 ns  y=250 (15.2588 mV)\n"
                                "Δ   i=150  t=150 ns  y=150 (9.15527 mV)"));
        markers->setPosition(1, 5000); // beyond the curve
        QVERIFY(!markers->reading(1).valid);
        markers->setPosition(1, 250);

        // Dragging a marker moves it and starts no rubber-band zoom.
        QWidget *canvas = plot->canvas();
        const int from = qRound(plot->transform(QwtPlot::xBottom, 100));
        const int to = qRound(plot->transform(QwtPlot::xBottom, 400));
        const int yPixel = canvas->height() / 2;
        sendMouse(canvas, QEvent::MouseButtonPress, QPoint(from + 2, yPixel), Qt::LeftButton);
        sendMouse(canvas, QEvent::MouseMove, QPoint((from + to) / 2, yPixel + 40), Qt::LeftButton);
        sendMouse(canvas, QEvent::MouseMove, QPoint(to, yPixel + 80), Qt::LeftButton);
        sendMouse(canvas, QEvent::MouseButtonRelease, QPoint(to, yPixel + 80), Qt::NoButton);
        QVERIFY(qAbs(markers->position(0) - 400) <= 2);
        QCOMPARE(plot->zoomer()->zoomRectIndex(), 0u);
        QCOMPARE(interval(plot, QwtPlot::xBottom), x);

        view->toolAction(QtViloPlotView::MarkersTool)->trigger();
        QVERIFY(!markers->isShown());
    }

    void zoomLocksHistoryAndExport()
    {
        QtVilo panel;
        QtViloPlotView *view = panel.signalView();
        QtViloPlot *plot = panel.signalPlot();
        loadRamp(panel);
        QVERIFY(view->zoomer());
        QVERIFY(!view->toolAction(QtViloPlotView::ZoomBackTool)->isEnabled());

        view->toolAction(QtViloPlotView::LockXTool)->trigger();
        const QwtInterval x = interval(plot, QwtPlot::xBottom);
        plot->zoomer()->zoom(QRectF(100, 10, 50, 20));
        QCOMPARE(interval(plot, QwtPlot::xBottom), x);
        QCOMPARE(interval(plot, QwtPlot::yLeft), QwtInterval(10, 30));
        QwtPlotMagnifier *magnifier = plot->canvas()->findChild<QwtPlotMagnifier *>();
        QVERIFY(magnifier);
        QVERIFY(!magnifier->isAxisEnabled(QwtPlot::xBottom));
        QVERIFY(magnifier->isAxisEnabled(QwtPlot::yLeft));

        view->toolAction(QtViloPlotView::LockXTool)->trigger();
        view->toolAction(QtViloPlotView::LockYTool)->trigger();
        plot->zoomer()->zoom(QRectF(100, 0, 50, 5));
        QCOMPARE(interval(plot, QwtPlot::xBottom), QwtInterval(100, 150));
        QCOMPARE(interval(plot, QwtPlot::yLeft), QwtInterval(10, 30));

        // Back and forward walk the zoom history; home returns to the full view.
        QVERIFY(view->toolAction(QtViloPlotView::ZoomBackTool)->isEnabled());
        view->toolAction(QtViloPlotView::ZoomBackTool)->trigger();
        QCOMPARE(interval(plot, QwtPlot::xBottom), x);
        QVERIFY(view->toolAction(QtViloPlotView::ZoomForwardTool)->isEnabled());
        view->toolAction(QtViloPlotView::ZoomForwardTool)->trigger();
        QCOMPARE(interval(plot, QwtPlot::xBottom), QwtInterval(100, 150));
        view->toolAction(QtViloPlotView::ZoomHomeTool)->trigger();
        QCOMPARE(interval(plot, QwtPlot::xBottom), x);
        QVERIFY(!plot->userChangedView());

        QCOMPARE(QtViloPlotView::defaultPdfFileName(QDateTime(QDate(2024, 1, 2), QTime(3, 4, 5))),
                 QStringLiteral("QtVilo-20240102-030405.pdf"));
        const QString pdf = m_dir.filePath(QStringLiteral("plot.pdf"));
        QVERIFY(view->exportPdf(pdf));
        QFile file(pdf);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.size() > 1000);
        QCOMPARE(file.read(4), QByteArray("%PDF"));

        // PNG and SVG come at the plot's size, for pasting into reports.
        const QString png = m_dir.filePath(QStringLiteral("plot.png"));
        QVERIFY(view->exportTo(png));
        const QImage image(png);
        QCOMPARE(image.size(), plot->size());
        QCOMPARE(image.pixelColor(image.width() / 2, 2), QColor(Qt::white));
        const QString svg = m_dir.filePath(QStringLiteral("plot.svg"));
        QVERIFY(view->exportTo(svg));
        QFile svgFile(svg);
        QVERIFY(svgFile.open(QIODevice::ReadOnly));
        const QByteArray svgText = svgFile.readAll();
        QVERIFY(svgText.contains("<svg"));
        QVERIFY(svgText.contains(QStringLiteral("viewBox=\"0 0 %1 %2\"")
                                     .arg(plot->width())
                                     .arg(plot->height())
                                     .toLatin1()));
        QVERIFY(svgText.contains("<polyline") || svgText.contains("<path"));
    }

    void curveOptionsLegendAndZoomResets()
    {
        QtVilo panel;
        QtViloPlotView *view = panel.signalView();
        QtViloPlot *plot = panel.signalPlot();
        ShownAlone shown(view);
        QVERIFY(QTest::qWaitForWindowExposed(view));
        loadRamp(panel);

        QtViloPlotViewSettings values = view->settings();
        QVERIFY(values.newCurveZoomReset);
        values.legendEnable = true;
        values.legendPosition = QwtPlot::LeftLegend;
        values.legendItemEnable = true;
        values.legendItemColumns = 2;
        values.lineWidth = 3;
        values.symbolSize = 5;
        view->setSettings(values);
        QCOMPARE(plot->plotLayout()->legendPosition(), QwtPlot::LeftLegend);
        const QwtPlotItemList legendItems = plot->itemList(QwtPlotItem::Rtti_PlotLegend);
        QCOMPARE(legendItems.size(), 1);
        QVERIFY(legendItems.first()->isVisible());
        QCOMPARE(static_cast<QwtPlotLegendItem *>(legendItems.first())->maxColumns(), 2u);

        // A new curve resets a zoom, takes the curve options and can be selected in the legend.
        plot->zoomer()->zoom(QRectF(10, 10, 20, 20));
        QVERIFY(plot->userChangedView());
        panel.openFiles({m_second});
        QTRY_COMPARE_WITH_TIMEOUT(plot->curves().size(), 2, kLoadTimeout);
        QTRY_VERIFY(!plot->userChangedView());
        for (QtViloPlotCurve *curve : plot->curves()) {
            QCOMPARE(curve->pen().widthF(), 3.0);
            QVERIFY(curve->symbol());
            QCOMPARE(curve->symbol()->size(), QSize(5, 5));
        }
        QtViloPlotCurve *second = plot->curves().at(1);
        QVERIFY(plot->selectedCurve() != second);
        auto *legend = qobject_cast<QwtLegend *>(plot->legend());
        QVERIFY(legend);
        auto *label =
            qobject_cast<QwtLegendLabel *>(legend->legendWidget(plot->itemToInfo(second)));
        QVERIFY(label);
        QTest::mouseClick(label, Qt::LeftButton);
        QCOMPARE(plot->selectedCurve(), second);
        QVERIFY(label->isChecked());

        // The max/min overlay goes to the plot's profilers.
        view->toolAction(QtViloPlotView::MaxMinTool)->trigger();
        QVERIFY(plot->showsMaxProfile() && plot->showsMinProfile());

        // Without the reset option a zoom survives a new curve.
        values = view->settings();
        values.newCurveZoomReset = false;
        view->setSettings(values);
        plot->zoomer()->zoom(QRectF(10, 10, 20, 20));
        const QString third = writeInt16File(m_dir.filePath(QStringLiteral("third.bin")), 300);
        panel.openFiles({third});
        QTRY_COMPARE_WITH_TIMEOUT(plot->curves().size(), 3, kLoadTimeout);
        QVERIFY(plot->userChangedView());
    }

private:
    void loadRamp(QtVilo &panel)
    {
        panel.openFiles({m_ramp});
        QTRY_VERIFY_WITH_TIMEOUT(!panel.signalPlot()->curves().isEmpty(), kLoadTimeout);
        QCOMPARE(panel.signalPlot()->curves().first()->pointCount(), quint64(1000));
    }

    static void setRow(Model *model, double rate, int bits, double range, double gain)
    {
        QVERIFY(model->setData(model->index(0, Model::SampleRateColumn), rate));
        QVERIFY(model->setData(model->index(0, Model::ResolutionColumn), bits));
        QVERIFY(model->setData(model->index(0, Model::InputRangeColumn), range));
        QVERIFY(model->setData(model->index(0, Model::GainColumn), gain));
    }

    QTemporaryDir m_dir;
    QString m_ramp;
    QString m_second;
};

QTEST_MAIN(TestPlotView)
#include "tst_plotview.moc"
