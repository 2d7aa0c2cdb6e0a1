#include "testenv.h"

#include "plot/core/qtviloasciiparser.h"
#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/core/qtviloplotitemdefaults.h"
#include "plot/core/qtviloplotrequest.h"
#include "plot/core/qtviloreadrange.h"
#include "plot/core/qtvilosizetext.h"
#include "plot/core/qtvilotemppaths.h"
#include "plot/core/qtvilovaluerange.h"

#include <QBuffer>
#include <QFile>
#include <QMimeDatabase>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <cstring>
#include <limits>
#include <pwd.h>
#include <unistd.h>

using namespace QtViloAsciiParser;

namespace {

Params asciiParams(qint64 dataOffset = 0, qint64 maxPlotSize = 1000, bool reverse = false)
{
    Params params;
    params.dataOffset = dataOffset;
    params.maxPlotSize = maxPlotSize;
    params.reverseOffset = reverse;
    params.sourceName = QStringLiteral("numbers.asc");
    return params;
}

Result mapped(const QByteArray &text, const Params &params = asciiParams())
{
    return parseMapped(text.constData(), text.size(), params);
}

Result streamed(QByteArray text, const Params &params = asciiParams(), qint64 byteOffset = 0)
{
    QBuffer buffer(&text);
    buffer.open(QIODevice::ReadOnly);
    return parseStream(buffer, byteOffset, params);
}

QVector<double> doubles(std::initializer_list<double> list)
{
    return QVector<double>(list);
}

bool writeFile(const QString &path, const QByteArray &data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

} // namespace

class TestPlotParsers : public QObject
{
    Q_OBJECT

private slots:
    // ---- read range ----
    void fileRange_data()
    {
        QTest::addColumn<qint64>("total");
        QTest::addColumn<qint64>("d");
        QTest::addColumn<qint64>("m");
        QTest::addColumn<bool>("reverse");
        QTest::addColumn<qint64>("start");
        QTest::addColumn<qint64>("count");
        QTest::newRow("whole") << qint64(100) << qint64(0) << qint64(1000) << false << qint64(0)
                               << qint64(100);
        QTest::newRow("window") << qint64(100) << qint64(10) << qint64(20) << false << qint64(10)
                                << qint64(20);
        QTest::newRow("reverse window")
            << qint64(100) << qint64(10) << qint64(20) << true << qint64(70) << qint64(20);
        QTest::newRow("reverse past the start starts at 0")
            << qint64(100) << qint64(90) << qint64(20) << true << qint64(0) << qint64(10);
        QTest::newRow("reverse, D + M beyond the total")
            << qint64(10) << qint64(5) << qint64(100) << true << qint64(0) << qint64(5);
        QTest::newRow("offset at the end")
            << qint64(100) << qint64(100) << qint64(20) << false << qint64(100) << qint64(0);
        QTest::newRow("offset beyond the end")
            << qint64(100) << qint64(150) << qint64(20) << false << qint64(150) << qint64(0);
        QTest::newRow("reverse offset beyond the end")
            << qint64(100) << qint64(150) << qint64(20) << true << qint64(0) << qint64(0);
        QTest::newRow("huge max plot size saturates")
            << qint64(100) << qint64(1) << std::numeric_limits<qint64>::max() << false << qint64(1)
            << qint64(99);
        QTest::newRow("empty") << qint64(0) << qint64(0) << qint64(20) << false << qint64(0)
                               << qint64(0);
    }
    void fileRange()
    {
        QFETCH(qint64, total);
        QFETCH(qint64, d);
        QFETCH(qint64, m);
        QFETCH(bool, reverse);
        QtViloReadRange::Params params;
        params.sampleWidth = 2;
        params.dataOffset = d;
        params.maxPlotSize = m;
        params.reverseOffset = reverse;
        const QtViloReadRange::SampleRange range = QtViloReadRange::fileRange(params, total);
        QTEST(range.start, "start");
        QTEST(range.count, "count");
    }

    void availableSamples()
    {
        QCOMPARE(QtViloReadRange::availableSamples(100, 0, 2), qint64(50));
        QCOMPARE(QtViloReadRange::availableSamples(101, 0, 2), qint64(50));
        QCOMPARE(QtViloReadRange::availableSamples(100, 3, 4), qint64(24));
        QCOMPARE(QtViloReadRange::availableSamples(100, 100, 1), qint64(0));
        QCOMPARE(QtViloReadRange::availableSamples(100, 200, 1), qint64(0));
    }

    void memoryRange()
    {
        QtViloReadRange::Params params;
        params.sampleWidth = 2;
        params.dataOffset = 10;
        params.maxPlotSize = 20;
        // first = 20, last = min(100, 60) = 60, length 40.
        QtViloReadRange::ByteRange range = QtViloReadRange::memoryRange(params, 100);
        QCOMPARE(range.start, qint64(20));
        QCOMPARE(range.length, qint64(40));
        params.reverseOffset = true; // 100 - (20 + 40)
        range = QtViloReadRange::memoryRange(params, 100);
        QCOMPARE(range.start, qint64(40));
        QCOMPARE(range.length, qint64(40));
        params.dataOffset = 45; // first 90, last 100: 10 bytes, reverse start 0
        range = QtViloReadRange::memoryRange(params, 100);
        QCOMPARE(range.start, qint64(0));
        QCOMPARE(range.length, qint64(10));
        params.dataOffset = 60; // beyond the end
        range = QtViloReadRange::memoryRange(params, 100);
        QCOMPARE(range.length, qint64(0));
        QCOMPARE(range.start, qint64(0));
        params.reverseOffset = false;
        params.dataOffset = 0;
        params.maxPlotSize = std::numeric_limits<qint64>::max();
        range = QtViloReadRange::memoryRange(params, 100);
        QCOMPARE(range.start, qint64(0));
        QCOMPARE(range.length, qint64(100));
    }

    void visibleFraction()
    {
        QCOMPARE(QtViloReadRange::visibleFraction(0, 0, 10), 0.0);
        QCOMPARE(QtViloReadRange::visibleFraction(100, 10, 20), 0.2);
        QCOMPARE(QtViloReadRange::visibleFraction(100, 90, 20), 0.1);
        QCOMPARE(QtViloReadRange::visibleFraction(100, 0, 100), 1.0);
        QCOMPARE(QtViloReadRange::visibleFraction(100, 100, 20), 0.0);
        QCOMPARE(QtViloReadRange::visibleFraction(100, 150, 20), 0.0);
    }

    // ---- value range ----
    void valueRangePerType()
    {
        // Lengths around the lane counts exercise the tail.
        for (int n : {1, 2, 3, 15, 16, 17, 63, 64, 65, 200}) {
            QVector<qint8> i8(n);
            QVector<quint16> u16(n);
            QVector<qint64> i64(n);
            QVector<quint64> u64(n);
            QVector<float> f(n);
            QVector<double> d(n);
            for (int i = 0; i < n; ++i) {
                i8[i] = qint8(i % 50 - 20);
                u16[i] = quint16(1000 + i);
                i64[i] = -qint64(i) * 1000000000LL;
                u64[i] = quint64(i) * 3;
                f[i] = float(i) - 0.5f;
                d[i] = -double(i) / 4;
            }
            const auto check = [&](QtViloValueRange::Range r, double lo, double hi) {
                QCOMPARE(r.min, lo);
                QCOMPARE(r.max, hi);
            };
            check(QtViloValueRange::of(i8.constData(), n, QtViloFormats::Int8Type), -20,
                  std::min(n - 1, 49) - 20);
            check(QtViloValueRange::of(u16.constData(), n, QtViloFormats::Uint16Type), 1000,
                  1000 + n - 1);
            check(QtViloValueRange::of(i64.constData(), n, QtViloFormats::Int64Type),
                  -double(n - 1) * 1e9, 0);
            check(QtViloValueRange::of(u64.constData(), n, QtViloFormats::Uint64Type), 0,
                  3.0 * (n - 1));
            check(QtViloValueRange::of(f.constData(), n, QtViloFormats::FloatType), -0.5, n - 1.5);
            check(QtViloValueRange::of(d.constData(), n, QtViloFormats::AsciiType),
                  -double(n - 1) / 4, 0);
        }
        const QtViloValueRange::Range none =
            QtViloValueRange::of(static_cast<const double *>(nullptr), 0);
        QCOMPARE(none.min, 0.0);
        QCOMPARE(none.max, 0.0);
        const double withNan[] = {std::nan(""), 3, -2, std::nan("")};
        const QtViloValueRange::Range r = QtViloValueRange::of(withNan, 4);
        QCOMPARE(r.min, -2.0);
        QCOMPARE(r.max, 3.0);
        const qint16 extremes[] = {0, std::numeric_limits<qint16>::min(),
                                   std::numeric_limits<qint16>::max()};
        const QtViloValueRange::Range e = QtViloValueRange::of(extremes, 3);
        QCOMPARE(e.min, -32768.0);
        QCOMPARE(e.max, 32767.0);
    }

    // ---- ASCII ----
    void asciiSeparatorSet()
    {
        const QByteArray separators = QByteArray(";|:!\\+=,/#?\r\ns");
        for (int c = 0; c < 256; ++c)
            QCOMPARE(isMappedSeparator(char(c)), separators.contains(char(c)));
        QVERIFY(!isMappedSeparator(' '));
        QVERIFY(!isMappedSeparator('\t'));
    }

    void asciiBothModes_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("comma and semicolon") << QByteArray("1,2;3");
        QTest::newRow("one per line") << QByteArray("1\n2\n3\n");
        QTest::newRow("CR LF") << QByteArray("1\r\n2\r\n3\r\n");
        QTest::newRow("empty parts") << QByteArray(",1,,2;;\n\n3,");
        QTest::newRow("every separator") << QByteArray("1|2").replace("|", ":") + QByteArray("!3");
    }
    void asciiBothModes()
    {
        QFETCH(QByteArray, text);
        for (const Result &r : {mapped(text), streamed(text)}) {
            QVERIFY2(r.ok, qPrintable(r.detail));
            QCOMPARE(r.total, qint64(3));
            QCOMPARE(r.values, doubles({1, 2, 3}));
        }
    }

    void asciiAllSeparatorsBothModes()
    {
        const QByteArray text("1;2|3:4!5+6=7,8/9#10?11\r12\n13");
        const QVector<double> expected = doubles({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13});
        // The stream pattern has no bar and no backslash as alternatives, only as "or".
        const Result m = mapped(text);
        QVERIFY(m.ok);
        QCOMPARE(m.values, expected);
        const Result s = streamed(QByteArray(text).replace('|', ';'));
        QVERIFY2(s.ok, qPrintable(s.detail));
        QCOMPARE(s.values, expected);
    }

    void asciiBlanks()
    {
        const QByteArray text("1 2 3");
        const Result s = streamed(text);
        QVERIFY(s.ok);
        QCOMPARE(s.values, doubles({1, 2, 3}));
        // Mapped mode: blanks are not separators, the whole line is one token.
        const Result m = mapped(text);
        QVERIFY(!m.ok);
        QCOMPARE(m.total, qint64(1));
        QCOMPARE(m.heading, QStringLiteral("Some string values could not be converted to number!"));
        QCOMPARE(m.badToken, QByteArray("1 2 3"));
        QCOMPARE(m.badLine, qint64(1));
        QCOMPARE(m.detail, QStringLiteral("numbers.asc: None Numeric String: 1 2 3: Line: 1"));
        // Blanks at the ends of a token are allowed.
        const Result padded = mapped("1, 2 ,\t3\t");
        QVERIFY(padded.ok);
        QCOMPARE(padded.values, doubles({1, 2, 3}));
    }

    void asciiLetterS()
    {
        const Result m = mapped("1s2");
        QVERIFY(m.ok);
        QCOMPARE(m.values, doubles({1, 2}));
        const Result s = streamed("1s2");
        QVERIFY(!s.ok);
        QCOMPARE(s.badToken, QByteArray("1s2"));
    }

    void asciiBadTokenNamesItsLine_data()
    {
        QTest::addColumn<bool>("isMapped");
        QTest::newRow("mapped") << true;
        QTest::newRow("stream") << false;
    }
    void asciiBadTokenNamesItsLine()
    {
        QFETCH(bool, isMapped);
        const QByteArray text("1,2\n3\r\n\n4;abc;5\n6\n");
        const Result r = isMapped ? mapped(text) : streamed(text);
        QVERIFY(!r.ok);
        QVERIFY(!r.wasCancelled);
        QCOMPARE(r.heading, QStringLiteral("Some string values could not be converted to number!"));
        QCOMPARE(r.detail, QStringLiteral("numbers.asc: None Numeric String: abc: Line: 4"));
        QVERIFY(r.detail.contains(QStringLiteral(": None Numeric String: ")));
        QVERIFY(r.detail.contains(QStringLiteral(": Line: ")));
        QCOMPARE(r.values, doubles({1, 2, 3, 4}));
        // A bad token before the data offset is skipped, not converted.
        const Result skipped =
            isMapped ? mapped(text, asciiParams(5)) : streamed(text, asciiParams(5));
        QVERIFY2(skipped.ok, qPrintable(skipped.detail));
        QCOMPARE(skipped.values, doubles({5, 6}));
        // Conversion stops at the max plot size, before the bad token.
        const Result capped =
            isMapped ? mapped(text, asciiParams(0, 4)) : streamed(text, asciiParams(0, 4));
        QVERIFY(capped.ok);
        QCOMPARE(capped.values, doubles({1, 2, 3, 4}));
    }

    void asciiRanges_data()
    {
        QTest::addColumn<bool>("isMapped");
        QTest::newRow("mapped") << true;
        QTest::newRow("stream") << false;
    }
    void asciiRanges()
    {
        QFETCH(bool, isMapped);
        const QByteArray text("0,1,2,3,4\n5,6,7,8,9\n");
        auto run = [&](const Params &p) { return isMapped ? mapped(text, p) : streamed(text, p); };
        Result r = run(asciiParams(2, 3));
        QCOMPARE(r.total, qint64(10));
        QCOMPARE(r.start, qint64(2));
        QCOMPARE(r.values, doubles({2, 3, 4}));
        r = run(asciiParams(2, 3, true)); // start 10 - (2 + 3)
        QCOMPARE(r.start, qint64(5));
        QCOMPARE(r.values, doubles({5, 6, 7}));
        r = run(asciiParams(8, 5, true)); // D + M beyond the total: from 0
        QCOMPARE(r.start, qint64(0));
        QCOMPARE(r.values, doubles({0, 1}));
        r = run(asciiParams(12, 5));
        QVERIFY(r.ok);
        QCOMPARE(r.total, qint64(10));
        QVERIFY(r.values.isEmpty());
    }

    void asciiNumberForms()
    {
        const QByteArray text("-1.5,2e3,.25,7.,-0\n1E-2");
        for (const Result &r : {mapped(text), streamed(text)}) {
            QVERIFY2(r.ok, qPrintable(r.detail));
            QCOMPARE(r.values, doubles({-1.5, 2000, 0.25, 7, 0, 0.01}));
        }
        // '+' separates, so an exponent with a plus sign splits into "1e" and "5".
        QVERIFY(!mapped("1e+5").ok);
        QVERIFY(!streamed("1e+5").ok);
        QVERIFY(!mapped("0x10").ok);
        QVERIFY(!mapped("1,2-").ok);
    }

    void asciiStreamByteOffsetAndKnownTotal()
    {
        const QByteArray text("header line\n1,2,3\n4\n");
        Result r = streamed(text, asciiParams(), 12);
        QVERIFY(r.ok);
        QCOMPARE(r.total, qint64(4));
        QCOMPARE(r.values, doubles({1, 2, 3, 4}));
        QCOMPARE(mapped(text.mid(12)).values, r.values);
        // A known total skips the count: the reverse range is taken from it.
        Params p = asciiParams(0, 2, true);
        p.knownTotal = 4;
        r = streamed(text, p, 12);
        QCOMPARE(r.total, qint64(4));
        QCOMPARE(r.values, doubles({3, 4}));
        // A file that shrank below its known total gives what is there.
        p = asciiParams(0, 100);
        p.knownTotal = 50;
        r = streamed(text, p, 12);
        QVERIFY(r.ok);
        QCOMPARE(r.values, doubles({1, 2, 3, 4}));
    }

    void asciiMappedCountAcrossSlices()
    {
        // Tokens of 6 bytes cross the 1 MiB slice borders of the count pass.
        QByteArray text;
        int n = 0;
        while (text.size() < 3 * 1024 * 1024) {
            text += QByteArray::number(10000 + n % 90000) + ',';
            ++n;
        }
        QCOMPARE(countMappedTokens(text.constData(), text.size()), qint64(n));
        const Result r = mapped(text, asciiParams(0, 1 << 30));
        QVERIFY(r.ok);
        QCOMPARE(r.total, qint64(n));
        QCOMPARE(r.values.size(), n);
        QCOMPARE(r.values.last(), double(10000 + (n - 1) % 90000));
    }

    void asciiCancel()
    {
        QByteArray text;
        while (text.size() < 3 * 1024 * 1024)
            text += "1,2,3,4,5\n";
        Params p = asciiParams(0, 1 << 30);
        int asked = 0;
        p.cancelled = [&asked] { return ++asked > 1; };
        Result r = mapped(text, p);
        QVERIFY(!r.ok);
        QVERIFY(r.wasCancelled);
        QVERIFY(r.heading.isEmpty());
        asked = 0;
        r = streamed(text, p);
        QVERIFY(r.wasCancelled);
    }

    void asciiLongBadTokenIsCut()
    {
        const QByteArray token(1000, 'x');
        const Result r = mapped(token);
        QVERIFY(!r.ok);
        QCOMPARE(r.detail, QStringLiteral("numbers.asc: None Numeric String: ") +
                               QString(64, QLatin1Char('x')) + QStringLiteral("...: Line: 1"));
    }

    // ---- plot requests ----
    void requestFull()
    {
        const QtViloPlotItemDefaults defaults;
        const QtViloPlotRequest r = parsePlotRequest(
            QStringLiteral(" 4242 , /usr/bin/acq , Record , 0x7ffd1000 , uint16 , 2 , 8 , 10 , "
                           "1000 , 500000000 , 14 , 2.5 , 1.5 , 4096 "),
            defaults);
        QVERIFY2(r.ok, qPrintable(r.message));
        QCOMPARE(r.processId, qint64(4242));
        QCOMPARE(r.variableName, QStringLiteral("Record"));
        QCOMPARE(r.baseAddress, quint64(0x7ffd1000));
        QCOMPARE(r.name, QStringLiteral("Record@0x7ffd1000"));
        QCOMPARE(r.format, QStringLiteral("Uint16"));
        QCOMPARE(r.step, 2);
        QCOMPARE(r.fileOffset, qint64(8));
        QCOMPARE(r.dataOffset, qint64(10));
        QCOMPARE(r.maxPlotSize, qint64(1000));
        QCOMPARE(r.sampleRate, 500000000.0);
        QCOMPARE(r.sampleResolution, 14);
        QCOMPARE(r.inputRange, 2.5);
        QCOMPARE(r.gain, 1.5);
        QCOMPARE(r.byteSize, quint64(4096));

        QtViloPlotItem item(QStringLiteral("text"), true, defaults);
        applyPlotRequest(r, item);
        QCOMPARE(item.name(), QStringLiteral("Record@0x7ffd1000"));
        QCOMPARE(item.baseName(), QStringLiteral("Record"));
        QCOMPARE(item.format(), QStringLiteral("Uint16"));
        QCOMPARE(item.sampleWidth(), 2);
        QCOMPARE(item.processId, qint64(4242));
        QCOMPARE(item.baseAddress, quint64(0x7ffd1000));
        QCOMPARE(item.memorySize, quint64(4096));
        QCOMPARE(item.maxPlotSize, qint64(1000));
    }

    void requestAbsentAndNonNumericFields()
    {
        QtViloPlotItemDefaults defaults;
        defaults.Format = QStringLiteral("Int32");
        defaults.Step = 3;
        defaults.FileOffset = 5;
        defaults.DataOffset = 6;
        defaults.MaxPlotSize = 7000;
        defaults.SampleRate = 1e6;
        defaults.SampleResolution = 12;
        defaults.InputRange = 0.5;
        defaults.Gain = 2;
        // Address without 0x; fields 4 on absent.
        QtViloPlotRequest r = parsePlotRequest(QStringLiteral("17,prog,buf,7ffd00"), defaults);
        QVERIFY(r.ok);
        QCOMPARE(r.baseAddress, quint64(0x7ffd00));
        QCOMPARE(r.name, QStringLiteral("buf@7ffd00"));
        QCOMPARE(r.format, QStringLiteral("Int32"));
        QCOMPARE(r.step, 3);
        QCOMPARE(r.fileOffset, qint64(5));
        QCOMPARE(r.dataOffset, qint64(6));
        QCOMPARE(r.maxPlotSize, qint64(7000));
        QCOMPARE(r.sampleRate, 1e6);
        QCOMPARE(r.sampleResolution, 12);
        QCOMPARE(r.inputRange, 0.5);
        QCOMPARE(r.gain, 2.0);
        QCOMPARE(r.byteSize, quint64(0));
        // Non-numeric fields and an unknown format word keep the defaults.
        r = parsePlotRequest(QStringLiteral("17,prog,buf,0x10,asc,x,y,z,w,1.5,q,v,u,0x20"),
                             defaults);
        QVERIFY(r.ok);
        QCOMPARE(r.format, QStringLiteral("Int32"));
        QCOMPARE(r.step, 3);
        QCOMPARE(r.fileOffset, qint64(5));
        QCOMPARE(r.dataOffset, qint64(6));
        QCOMPARE(r.maxPlotSize, qint64(7000));
        QCOMPARE(r.sampleRate, 1e6); // an unsigned integer only
        QCOMPARE(r.sampleResolution, 12);
        QCOMPARE(r.inputRange, 0.5);
        QCOMPARE(r.gain, 2.0);
        QCOMPARE(r.byteSize, quint64(0)); // decimal only
        // The format words of the table.
        for (const QtViloFormats::Format &f : QtViloFormats::all()) {
            r = parsePlotRequest(QStringLiteral("1,p,v,10,") + f.suffix, defaults);
            QCOMPARE(r.format, f.display == QStringLiteral("Ascii") ? defaults.Format : f.display);
        }
        // Empty fields in between.
        r = parsePlotRequest(QStringLiteral("1,,v,10,,,,,,,,,,64"), defaults);
        QVERIFY(r.ok);
        QCOMPARE(r.format, QStringLiteral("Int32"));
        QCOMPARE(r.byteSize, quint64(64));
    }

    void requestFailures()
    {
        const QtViloPlotItemDefaults defaults;
        QVERIFY(!parsePlotRequest(QString(), defaults).ok);
        QVERIFY(!parsePlotRequest(QStringLiteral("1,prog"), defaults).ok);
        QVERIFY(!parsePlotRequest(QStringLiteral("1,prog,var"), defaults).ok);
        QVERIFY(!parsePlotRequest(QStringLiteral("1,prog,,0x10"), defaults).ok);
        QtViloPlotRequest r =
            parsePlotRequest(QStringLiteral("1,prog,var,(nil),int16,1"), defaults);
        QVERIFY(!r.ok);
        QVERIFY(r.message.contains(QStringLiteral("(nil)")));
        QVERIFY(!parsePlotRequest(QStringLiteral("1,prog,var,0x,int16"), defaults).ok);
        QVERIFY(!parsePlotRequest(QStringLiteral("1,prog,var,-10,int16"), defaults).ok);
        QVERIFY(!parsePlotRequest(QStringLiteral("1,prog,var,0x0x10,int16"), defaults).ok);
        r = parsePlotRequest(QStringLiteral("abc,prog,var,0x10"), defaults);
        QVERIFY(!r.ok);
        QVERIFY(r.message.contains(QStringLiteral("process id")));
        QVERIFY(!parsePlotRequest(QStringLiteral(",prog,var,0x10"), defaults).ok);
        QVERIFY(parsePlotRequest(QStringLiteral("1,prog,var,0X10"), defaults).ok);
    }

    // ---- sizes and the large-file limit ----
    void sizeTexts()
    {
        using QtViloSizeText::sizeText;
        QCOMPARE(sizeText(0), QStringLiteral("0 bytes"));
        QCOMPARE(sizeText(1023), QStringLiteral("1023 bytes"));
        QCOMPARE(sizeText(1024), QStringLiteral("1.000 KB"));
        QCOMPARE(sizeText(1536), QStringLiteral("1.500 KB"));
        QCOMPARE(sizeText((1 << 20) - 1), QStringLiteral("1023.999 KB"));
        QCOMPARE(sizeText(1 << 20), QStringLiteral("1.000 MB"));
        QCOMPARE(sizeText(500000000), QStringLiteral("476.837 MB"));
        QCOMPARE(sizeText(quint64(1) << 30), QStringLiteral("1.000 GB"));
        QCOMPARE(sizeText(1099511627775ULL), QStringLiteral("1024.000 GB"));
        QCOMPARE(sizeText(1099511627776ULL), QStringLiteral("1.000 TB"));
        QCOMPARE(sizeText(3ULL << 40), QStringLiteral("3.000 TB"));
    }

    void largeFileLimit()
    {
        QCOMPARE(QtViloSizeText::LargeFileLimit, qint64(500000000));
        QVERIFY(!QtViloSizeText::exceedsLargeFileLimit(500000000));
        QVERIFY(QtViloSizeText::exceedsLargeFileLimit(500000001));
        QCOMPARE(QtViloSizeText::largeFileWarningTitle(), QStringLiteral("Large File Warning!"));
        QCOMPARE(QtViloSizeText::largeFileWarningText(
                     {QStringLiteral("/a.bin"), QStringLiteral("/b.bin")}),
                 QStringLiteral("Files exceeded limit size 476.837 MB:\n\n/a.bin\n/b.bin"));
        QCOMPARE(QtViloSizeText::largeFileWarningInformativeText(),
                 QStringLiteral(
                     "One or more files have been ignored because the file size is too large.\n"
                     "Plotting such large files may cause application to hang or crash due to\n"
                     "the large number of data points that need to be calculated and painted.\n\n"
                     "The maximum allowed file size is 476.837 MB."));
    }

    // ---- file types ----
    void fileTypeSuffixIsCaseSensitive()
    {
        QTemporaryDir dir;
        static const char raw[] = "\x01\x00\xff\x7f\x00\x80garbage\x00";
        const QByteArray binary(raw, sizeof raw - 1);
        const QString lower = dir.filePath(QStringLiteral("data.asc"));
        const QString upper = dir.filePath(QStringLiteral("data.Asc"));
        QVERIFY(writeFile(lower, binary));
        QVERIFY(writeFile(upper, binary));
        QCOMPARE(QtViloFormats::fileType(lower), QStringLiteral("asc"));
        // Not typed by its suffix: the MIME check sees binary content.
        QCOMPARE(QtViloFormats::fileType(upper), QStringLiteral("bin"));
        const QString numbers = dir.filePath(QStringLiteral("numbers.Asc"));
        QVERIFY(writeFile(numbers, "1,2,3\n4\n"));
        const QString viaMime = QtViloFormats::fileType(numbers);
        QCOMPARE(viaMime,
                 QMimeDatabase().mimeTypeForFile(numbers).name() == QLatin1String("text/plain")
                     ? QStringLiteral("asc")
                     : QStringLiteral("bin"));
    }

    // ---- defaults in the settings ----
    void defaultsInitialWhenNothingIsStored()
    {
        QSettings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"))
            .remove(QStringLiteral("QtViloPlotItemDefaultValues"));
        QCOMPARE(loadPlotItemDefaults(), QtViloPlotItemDefaults());
    }

    void defaultsRoundTripAndNarrowing()
    {
        QtViloPlotItemDefaults d;
        d.Format = QStringLiteral("Float");
        d.Step = 4;
        d.FileOffset = 3000000000LL; // above 2147483647: does not survive the load
        d.DataOffset = 12;
        d.MaxPlotSize = 2147483647;
        d.SampleRate = 2.5e9;
        d.SampleResolution = 14;
        d.InputRange = 0.8;
        d.Gain = 3;
        savePlotItemDefaults(d);
        {
            QSettings settings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"));
            settings.beginGroup(QStringLiteral("QtViloPlotItemDefaultValues"));
            QCOMPARE(settings.value(QStringLiteral("FileOffset")).toLongLong(), 3000000000LL);
            QCOMPARE(settings.childKeys().size(), 9);
        }
        const QtViloPlotItemDefaults loaded = loadPlotItemDefaults();
        QCOMPARE(loaded.Format, d.Format);
        QCOMPARE(loaded.Step, d.Step);
        QCOMPARE(loaded.FileOffset, qint64(qint32(quint32(3000000000U))));
        QVERIFY(loaded.FileOffset != d.FileOffset);
        QCOMPARE(loaded.DataOffset, d.DataOffset);
        QCOMPARE(loaded.MaxPlotSize, d.MaxPlotSize);
        QCOMPARE(loaded.SampleRate, d.SampleRate);
        QCOMPARE(loaded.SampleResolution, d.SampleResolution);
        QCOMPARE(loaded.InputRange, d.InputRange);
        QCOMPARE(loaded.Gain, d.Gain);

        // The same narrowing from the text a restart reads back from the file.
        QSettings(QStringLiteral("OKAV"), QStringLiteral("vrxassist")).sync();
        QFile conf(QSettings(QStringLiteral("OKAV"), QStringLiteral("vrxassist")).fileName());
        QVERIFY(conf.open(QIODevice::ReadOnly));
        QVERIFY(conf.readAll().contains("FileOffset=3000000000"));

        QSettings settings(QStringLiteral("OKAV"), QStringLiteral("vrxassist"));
        settings.setValue(QStringLiteral("QtViloPlotItemDefaultValues/Format"),
                          QStringLiteral("Bogus"));
        settings.sync();
        QCOMPARE(loadPlotItemDefaults().Format, QStringLiteral("Int16"));
    }

    // ---- temp paths ----
    void tempDirFromHome()
    {
        const QByteArray home = qgetenv("HOME");
        QCOMPARE(QtViloTempPaths::userTempDir(),
                 QString::fromLocal8Bit(home) + QStringLiteral("/.local/share/Temp/"));
        qunsetenv("HOME");
        const passwd *entry = getpwuid(getuid());
        const QString fromPasswd = QtViloTempPaths::userTempDir();
        qputenv("HOME", home);
        QVERIFY(entry);
        QCOMPARE(fromPasswd,
                 QString::fromLocal8Bit(entry->pw_dir) + QStringLiteral("/.local/share/Temp/"));
        // A home too long for the 512-character path gives no directory.
        qputenv("HOME", QByteArray(600, 'h'));
        const QString tooLong = QtViloTempPaths::userTempDir();
        qputenv("HOME", QByteArray(512 - int(strlen("/.local/share/Temp/")) - 1, 'h'));
        const QString longest = QtViloTempPaths::userTempDir();
        qputenv("HOME", home);
        QVERIFY(tooLong.isEmpty());
        QCOMPARE(longest.size(), 511);
    }

    void tempCopyNaming()
    {
        QTemporaryDir dir;
        const QString base = dir.path();
        QCOMPARE(QtViloTempPaths::nextFreeCopyPath(base, QStringLiteral("rec")),
                 base + QStringLiteral("/rec_copy1.bin"));
        QVERIFY(writeFile(base + QStringLiteral("/rec_copy1.bin"), "x"));
        QCOMPARE(
            QtViloTempPaths::nextFreeCopyPath(base + QStringLiteral("/"), QStringLiteral("rec")),
            base + QStringLiteral("/rec_copy2.bin"));
        QVERIFY(writeFile(base + QStringLiteral("/rec_copy3.bin"), "x"));
        QCOMPARE(QtViloTempPaths::nextFreeCopyPath(base, QStringLiteral("rec")),
                 base + QStringLiteral("/rec_copy2.bin"));
        QVERIFY(writeFile(base + QStringLiteral("/rec_copy2.bin"), "x"));
        QCOMPARE(QtViloTempPaths::nextFreeCopyPath(base, QStringLiteral("rec")),
                 base + QStringLiteral("/rec_copy4.bin"));
        QCOMPARE(QtViloTempPaths::replicaPath(base, QStringLiteral("data.asc")),
                 base + QStringLiteral("/data.asc.bin"));
    }
};

QTEST_APPLESS_MAIN(TestPlotParsers)
#include "tst_plotparsers.moc"
