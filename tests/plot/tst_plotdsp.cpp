// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "plot/core/qtvilodsp.h"
#include "plot/core/qtvilodspworker.h"
#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/core/qtviloplotunits.h"

#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <memory>

using namespace QtViloDsp;
using Values = QVector<double>;

Q_DECLARE_METATYPE(QtViloDsp::Kind)

namespace {

const long double Pi = 3.141592653589793238462643383279502884L;

// Samples as stored (one byte in, so every read is misaligned) and as exact values.
struct Generated
{
    QByteArray bytes;
    QVector<long double> values;
    Samples samples() const { return {bytes.constData() + 1, quint64(values.size()), type}; }
    int type = QtViloFormats::Int16Type;
};

template <typename T> void append(Generated &g, T value)
{
    g.bytes.append(reinterpret_cast<const char *>(&value), int(sizeof value));
    g.values << static_cast<long double>(value);
}

template <typename T> Generated generatedOf(int type, std::initializer_list<T> values)
{
    Generated g;
    g.type = type;
    g.bytes.append('\0');
    for (T value : values)
        append(g, value);
    return g;
}

// Int16 codes over most of the range, as a digitizer gives them.
Generated int16Pattern(int count)
{
    Generated g;
    g.bytes.append('\0');
    for (int n = 0; n < count; ++n)
        append(g, qint16(((n * 37 + 11) % 200 - 100) * 300));
    return g;
}

// The window table once more: w = a0 - a1·cos x + a2·cos 2x - a3·cos 3x + a4·cos 4x.
const long double Coefficients[6][5] = {
    {1},
    {0.42659L, 0.49656L, 0.076849L},
    {0.35875L, 0.48829L, 0.14128L, 0.01168L},
    {0.5L, 0.5L},
    {0.54347L, 0.45653L},
    {0.21557895L, 0.41663158L, 0.277263158L, 0.083578947L, 0.006947368L},
};
long double weight(int type, int n, int length)
{
    long double w = 0;
    for (int h = 0; h < 5; ++h)
        w += (h % 2 ? -1 : 1) * Coefficients[type <= 5 ? type : 0][h] *
             std::cos(2 * Pi * h * n / length);
    return w;
}

// X[k] of the windowed, zero-padded input by the plain sum.
QVector<std::complex<long double>> dft(const QVector<long double> &x, int window, int size)
{
    QVector<std::complex<long double>> bins(size / 2 + 1);
    for (int k = 0; k < bins.size(); ++k) {
        for (int n = 0; n < x.size(); ++n)
            bins[k] += std::polar(x[n] * weight(window, n, x.size()),
                                  -2 * Pi * ((qint64(k) * n) % size) / size);
    }
    return bins;
}

Values valuesOf(const QByteArray &bytes)
{
    Values values(bytes.size() / 8);
    std::memcpy(values.data(), bytes.constData(), size_t(values.size()) * 8);
    return values;
}

quint64 bitsOf(double value)
{
    quint64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Waits until the worker's thread has handled everything queued before; false if it hangs.
bool drained(QObject *worker)
{
    auto passed = std::make_shared<std::atomic<bool>>(false);
    QMetaObject::invokeMethod(
        worker, [passed] { *passed = true; }, Qt::QueuedConnection);
    const bool ok = QTest::qWaitFor([&] { return passed->load(); }, 5000);
    QCoreApplication::processEvents(); // what the worker sent before the marker
    return ok;
}

// The model's side of the worker's connections; DSPDone arrives queued, as in the model.
class Driver : public QObject
{
    Q_OBJECT
signals:
    void requestDSP(const quint64 &serial, QtViloPlotItem *item, const QString &request,
                    const qint32 &row);
    void dspDone(const quint64 &serial, QtViloPlotItem *item, const qint32 &row);
};

} // namespace

Q_DECLARE_METATYPE(Generated)

class TestPlotDsp : public QObject
{
    Q_OBJECT

private:
    Driver m_driver;
    QThread m_thread;
    QtViloDspWorker *m_worker = nullptr;

    // An Int16 item holding count samples of the pattern, with the unit the model gives.
    std::unique_ptr<QtViloPlotItem> item(int count, quint64 serial)
    {
        auto item =
            std::make_unique<QtViloPlotItem>(QStringLiteral("mem"), true, QtViloPlotItemDefaults());
        item->buffer() = int16Pattern(count).bytes.mid(1);
        item->setData(item->buffer().constData());
        item->setSampleCount(count);
        item->serial = serial;
        return item;
    }

private slots:
    void initTestCase()
    {
        m_thread.setObjectName(QStringLiteral("DspWorkerThread"));
        m_worker = new QtViloDspWorker;
        m_worker->moveToThread(&m_thread);
        connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
        connect(&m_driver, &Driver::requestDSP, m_worker, &QtViloDspWorker::doDSP);
        connect(m_worker, &QtViloDspWorker::DSPDone, &m_driver, &Driver::dspDone);
        m_thread.start();
    }

    void cleanupTestCase()
    {
        m_thread.quit();
        m_thread.wait();
    }

    void parseRequest_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<int>("window");
        QTest::newRow("magn") << "FFT Magn;Blackman" << Kind::Magn << int(Blackman);
        QTest::newRow("phase") << "FFT Phase;BlackmanHarris" << Kind::Phase << int(BlackmanHarris);
        QTest::newRow("dbfs") << "FFT dBFS;Hann" << Kind::DBFS << int(Hann);
        QTest::newRow("psd") << "FFT PSD;Hamming" << Kind::PSD << int(Hamming);
        QTest::newRow("flat-top") << "FFT dBFS;Flat-Top" << Kind::DBFS << int(FlatTop);
        QTest::newRow("search order") << "FFT PSD FFT Magn" << Kind::Magn << int(NoWindow);
        QTest::newRow("lower case") << "FFT dBFS;hann" << Kind::DBFS << int(NoWindow);
        QTest::newRow("space") << "FFT dBFS; Hann" << Kind::DBFS << int(NoWindow);
        QTest::newRow("empty parts") << ";;FFT dBFS;;Hann;" << Kind::DBFS << int(Hann);
        QTest::newRow("third part") << "FFT dBFS;x;Hann" << Kind::DBFS << int(NoWindow);
        QTest::newRow("signed") << "Diff Signed" << Kind::Signed << int(NoWindow);
        QTest::newRow("abs") << "Diff Abs;Hann" << Kind::Abs << int(Hann);
    }
    void parseRequest()
    {
        QFETCH(QString, text);
        QFETCH(Kind, kind);
        QFETCH(int, window);
        const Request request = QtViloDsp::parseRequest(text);
        QCOMPARE(request.kind, kind);
        QCOMPARE(int(request.window), window);
    }

    void fftSizes()
    {
        // The next power of two, past 32 bits too; one sample is its own magnitude.
        QCOMPARE(fftSize((quint64(1) << 32) + 1), quint64(1) << 33);
        QByteArray result;
        const Generated one = generatedOf<qint16>(QtViloFormats::Int16Type, {-7});
        QVERIFY(compute({Kind::Magn, NoWindow}, one.samples(), 16, &result));
        QCOMPARE(valuesOf(result), Values{7.0});
    }

    // The fast weights against the formula, at the ends and inside long windows too.
    void windowWeights()
    {
        for (int type = 0; type <= 6; ++type) {
            for (int length : {1, 7, 512, 1000, 1048579}) {
                QVector<double> ones(length, 1.0);
                QVector<double> input(int(fftSize(quint64(length))) + 1, -1.0);
                const Samples samples{ones.constData(), quint64(length), QtViloFormats::DoubleType};
                fillInput(samples, quint8(type), input.data(), quint64(input.size()));
                long double error = 0;
                for (int n = 0; n < length; n += (length < 2000 ? 1 : 997)) {
                    const long double expected = weight(type, n, length);
                    error = std::max(
                        {error, std::fabs(input[n] - expected),
                         std::fabs(windowWeight(quint8(type), quint64(n), quint64(length)) -
                                   expected)});
                }
                QVERIFY2(error < 1e-12L, qPrintable(QStringLiteral("type %1 length %2 off by %3")
                                                        .arg(type)
                                                        .arg(length)
                                                        .arg(double(error))));
                QVERIFY(std::all_of(input.begin() + length, input.end(),
                                    [](double v) { return v == 0; }));
            }
        }
    }

    // Every output and window against the plain sum.
    void spectrum_data()
    {
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<int>("window");
        QTest::addColumn<int>("length");
        const int lengths[] = {13, 16, 17, 5, 9, 32};
        for (int window = NoWindow; window <= FlatTop; ++window) {
            for (Kind kind : {Kind::Magn, Kind::Phase, Kind::DBFS, Kind::PSD})
                QTest::addRow("%s %d", qPrintable(kindText(kind)), window)
                    << kind << window << lengths[window];
        }
    }
    void spectrum()
    {
        QFETCH(Kind, kind);
        QFETCH(int, window);
        QFETCH(int, length);
        const int resolution = 12;
        const Generated g = int16Pattern(length);
        QByteArray result;
        QVERIFY(compute({kind, quint8(window)}, g.samples(), resolution, &result));
        const Values values = valuesOf(result);
        const int size = int(fftSize(quint64(length)));
        const auto bins = dft(g.values, window, size);
        QCOMPARE(values.size(), bins.size());
        long double peak = 0;
        for (const auto &bin : bins)
            peak = std::max(peak, std::abs(bin));
        // Errors are measured on the bin itself (level and angle turned back into a length),
        // against the rounding the largest bin allows.
        const long double fullScale = std::ldexp(1.0L, resolution - 1);
        long double error = 0;
        for (int k = 0; k < bins.size(); ++k) {
            const long double m = std::abs(bins[k]);
            const long double v = values[k];
            if (kind == Kind::Magn)
                error = std::max(error, std::fabs(v * size - m));
            else if (kind == Kind::PSD)
                error = std::max(error, std::fabs(std::sqrt(v * size) - m));
            else if (kind == Kind::DBFS)
                error = std::max(error, std::fabs(std::pow(10.0L, v / 20) * fullScale * size - m));
            else
                error =
                    std::max(error, m * std::fabs(std::remainder(v - std::arg(bins[k]), 2 * Pi)));
        }
        QVERIFY2(error <= peak * 1e-12L, qPrintable(QString::number(double(error / peak))));
    }

    void dbfsOfZeroAndNaN()
    {
        // Zero bins sit at the smallest normal double against full scale (here 14 bits).
        const Generated zeros = generatedOf<qint16>(QtViloFormats::Int16Type, {0, 0, 0, 0, 0});
        QByteArray result;
        QVERIFY(compute({Kind::DBFS, Hann}, zeros.samples(), 14, &result));
        const double floor = 20 * std::log10(2.2250738585072014e-308 / std::ldexp(1.0, 13));
        QVERIFY(std::isfinite(floor));
        QCOMPARE(valuesOf(result), Values(5, floor));
        const Generated withNaN = generatedOf<double>(
            QtViloFormats::AsciiType, {1.0, std::numeric_limits<double>::quiet_NaN(), 2.0});
        QVERIFY(compute({Kind::DBFS, NoWindow}, withNaN.samples(), 16, &result));
        const Values values = valuesOf(result);
        QCOMPARE(values.size(), 3);
        for (double value : values)
            QVERIFY(std::isnan(value));
    }

    void difference_data()
    {
        QTest::addColumn<Generated>("samples");
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<Values>("expected");
        using F = QtViloFormats::TypeIndex;
        const qint32 i32min = std::numeric_limits<qint32>::min();
        const qint32 i32max = std::numeric_limits<qint32>::max();
        const qint64 i64min = std::numeric_limits<qint64>::min();
        const qint64 i64max = std::numeric_limits<qint64>::max();
        QTest::newRow("none") << generatedOf<qint16>(F::Int16Type, {}) << Kind::Signed << Values{};
        QTest::newRow("one") << generatedOf<qint16>(F::Int16Type, {5}) << Kind::Signed << Values{};
        QTest::newRow("two") << generatedOf<qint16>(F::Int16Type, {5, -3}) << Kind::Signed
                             << Values{-8};
        QTest::newRow("int8 in 32 bits") << generatedOf<qint8>(F::Int8Type, {127, -128, 127})
                                         << Kind::Signed << Values{-255, 255};
        QTest::newRow("int8 abs") << generatedOf<qint8>(F::Int8Type, {127, -128}) << Kind::Abs
                                  << Values{255};
        QTest::newRow("uint8") << generatedOf<quint8>(F::Uint8Type, {0, 255}) << Kind::Signed
                               << Values{255};
        QTest::newRow("uint16 in 32 bits") << generatedOf<quint16>(F::Uint16Type, {0, 65535, 0})
                                           << Kind::Signed << Values{65535, -65535};
        QTest::newRow("int32 wraps") << generatedOf<qint32>(F::Int32Type, {i32max, i32min, i32max})
                                     << Kind::Signed << Values{1, -1};
        QTest::newRow("uint32 wraps")
            << generatedOf<quint32>(F::Uint32Type, {1, 0}) << Kind::Signed << Values{4294967295.0};
        QTest::newRow("int64 wraps")
            << generatedOf<qint64>(F::Int64Type, {i64min, i64max}) << Kind::Signed << Values{-1};
        QTest::newRow("int64 abs of min") << generatedOf<qint64>(F::Int64Type, {0, i64min})
                                          << Kind::Abs << Values{9223372036854775808.0};
        QTest::newRow("uint64") << generatedOf<quint64>(F::Uint64Type, {3, 1}) << Kind::Signed
                                << Values{18446744073709551614.0};
        QTest::newRow("float") << generatedOf<float>(F::FloatType, {1.5f, -2.25f}) << Kind::Abs
                               << Values{3.75};
        QTest::newRow("double") << generatedOf<double>(F::DoubleType, {-1e300, 5e-324}) << Kind::Abs
                                << Values{1e300};
        QTest::newRow("ascii") << generatedOf<double>(F::AsciiType, {0.5, -0.25}) << Kind::Signed
                               << Values{-0.75};
    }
    void difference()
    {
        QFETCH(Generated, samples);
        QFETCH(Kind, kind);
        QFETCH(Values, expected);
        QByteArray result("stale");
        QVERIFY(compute({kind, NoWindow}, samples.samples(), 16, &result));
        QCOMPARE(valuesOf(result), expected);
        QCOMPARE(result.size(), expected.size() * 8);
    }

    void abortedComputeLeavesTheResult()
    {
        QAtomicInteger<quint8> abort(1);
        QByteArray result("before");
        const Generated g = int16Pattern(100);
        QVERIFY(!compute({Kind::DBFS, Hann}, g.samples(), 16, &result, &abort));
        QVERIFY(!compute({Kind::Abs, NoWindow}, g.samples(), 16, &result, &abort));
        QCOMPARE(result, QByteArray("before"));
    }

    // A stale request is dropped before the semaphore; one for an item without samples
    // empties the index's buffer and completes (the view tests check a good one's spectrum).
    void workerRequests()
    {
        auto it = item(1000, 5);
        QSignalSpy done(&m_driver, &Driver::dspDone);
        emit m_driver.requestDSP(4, it.get(), QStringLiteral("FFT dBFS;Hann"), 3);
        QVERIFY(drained(m_worker));
        QCOMPARE(done.count(), 0);
        QCOMPARE(it->dspRequested().available(), 0);

        it->dspRequested().release();
        it->dspResults()[7] = "stale"; // an earlier result
        {
            QWriteLocker locker(&it->dataLock());
            it->clearData();
        }
        emit m_driver.requestDSP(5, it.get(), QStringLiteral("FFT Magn"), 7);
        QTRY_COMPARE(done.count(), 1);
        QCOMPARE(done.at(0).at(2).toInt(), 7);
        QVERIFY(it->dspResults().value(7).isEmpty());
        QCOMPARE(it->dspComplete.loadAcquire(), quint8(1));
        QCOMPARE(it->dspRequested().available(), 1);
    }

    // An abort raised while the worker waits to write gives the unit back and leaves the
    // shown result as it stood.
    void workerAbort()
    {
        auto it = item(4096, 9);
        it->dspResults()[0] = "shown before";
        it->dspRequested().release();
        QSignalSpy done(&m_driver, &Driver::dspDone);
        it->dspLock().lockForWrite();
        emit m_driver.requestDSP(9, it.get(), QStringLiteral("FFT Magn;Blackman"), 0);
        // The unit taken: the worker has cleared the flags and is on its way to the buffer.
        QTRY_COMPARE(it->dspRequested().available(), 0);
        it->dspAbort.storeRelease(1);
        it->dspLock().unlock();
        QTRY_COMPARE(it->dspRequested().available(), 1);
        QVERIFY(drained(m_worker));
        QCOMPARE(done.count(), 0);
        QCOMPARE(it->dspComplete.loadAcquire(), quint8(0));
        QCOMPARE(it->dspDone().available(), 0);
        QCOMPARE(it->dspResults().value(0), QByteArray("shown before"));
    }

    // Time ("t", rate), amplitude ("a", resolution and gain, range 1) and frequency ("f",
    // rate and point count) factors, compared bit for bit; the view test reads ns, mV and MHz
    // off the panel's axes.
    void scales_data()
    {
        QTest::addColumn<char>("what");
        QTest::addColumn<double>("x");
        QTest::addColumn<double>("y");
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("factor");
        QTest::addColumn<QString>("unit");
        const QString micro = QString::fromUtf8("\xce\xbc");
        QTest::newRow("ps") << 't' << 1e9 << 0.0 << "Time in Pico Seconds" << 1000.0000000000001
                            << "ps";
        // One step above 1e-6 and 1e-3: the last bit is off on purpose.
        QTest::newRow("us") << 't' << 1e6 << 0.0 << "Time in Micro Seconds" << 0.9999999999999998
                            << micro + "s";
        QTest::newRow("ms") << 't' << 1e3 << 0.0 << "Time in Milli Seconds" << 0.9999999999999998
                            << "ms";
        QTest::newRow("s") << 't' << 1e9 << 0.0 << "Time in Seconds" << 1e-9 << "s";
        QTest::newRow("t unknown") << 't' << 1e9 << 0.0 << "time in nano seconds" << 1e-9 << "s";
        QTest::newRow("uV") << 'a' << 16.0 << 2.0 << "Ampl in Micro Volts" << 7.62939453125
                            << micro + "V";
        QTest::newRow("V") << 'a' << 14.0 << 1.0 << "Ampl in Volts" << 0.00006103515625 << "V";
        QTest::newRow("a unknown") << 'a' << 14.0 << 1.0 << "" << 0.00006103515625 << "V";
        QTest::newRow("GHz") << 'f' << 1e9 << 1000.0 << "Frequency in GHz" << 1e-3 << "GHz";
        QTest::newRow("kHz") << 'f' << 1e9 << 1000.0 << "Frequency in kHz" << 1000.0 << "kHz";
        QTest::newRow("f unknown") << 'f' << 1e9 << 1000.0 << "Frequency in Hz" << 1e6 << "Hz";
    }
    void scales()
    {
        QFETCH(char, what);
        QFETCH(double, x);
        QFETCH(double, y);
        QFETCH(QString, text);
        QFETCH(double, factor);
        QFETCH(QString, unit);
        using namespace QtViloPlotUnits;
        const Scale scale = what == 't'   ? timeScale(x, text)
                            : what == 'a' ? amplitudeScale(int(x), 1.0, y, text)
                                          : frequencyScale(x, quint64(y), text);
        QCOMPARE(bitsOf(scale.factor), bitsOf(factor));
        QCOMPARE(scale.unit, unit);
    }
};

QTEST_GUILESS_MAIN(TestPlotDsp)
#include "tst_plotdsp.moc"
