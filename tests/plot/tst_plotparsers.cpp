// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "plottestutil.h"

#include "plot/core/qtviloasciiparser.h"
#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotitemdefaults.h"
#include "plot/core/qtviloplotrequest.h"
#include "plot/core/qtvilosizetext.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTextStream>
#include <QtTest>

using namespace QtViloAsciiParser;
using Values = QVector<double>;

namespace {

const char *const Heading = "Some string values could not be converted to number!";

Params asciiParams(qint64 dataOffset = 0, qint64 maxPlotSize = 1000)
{
    Params params;
    params.dataOffset = dataOffset;
    params.maxPlotSize = maxPlotSize;
    params.sourceName = QStringLiteral("numbers.asc");
    return params;
}

// Mapped mode scans the bytes after the byte offset in place, stream mode reads from it.
Result parse(bool mapped, QByteArray text, const Params &params = asciiParams(),
             qint64 byteOffset = 0)
{
    if (mapped)
        return parseMapped(text.constData() + byteOffset, text.size() - byteOffset, params);
    QBuffer buffer(&text);
    buffer.open(QIODevice::ReadOnly);
    return parseStream(buffer, byteOffset, params);
}

// Defaults unlike the initial ones, so a field that fell back to them shows.
const QtViloPlotItemDefaults RequestDefaults{
    QStringLiteral("Int32"), 3, 5, 6, 7000, 1e6, 12, 0.5, 2};

// The fields of a request in one line, to compare them in one go.
QString fieldsOf(const QtViloPlotRequest &r)
{
    QString text;
    QTextStream(&text) << r.processId << ' ' << Qt::hex << r.baseAddress << Qt::dec << ' ' << r.name
                       << ' ' << r.values.Format << ' ' << r.values.Step << ' '
                       << r.values.FileOffset << ' ' << r.values.DataOffset << ' '
                       << r.values.MaxPlotSize << ' ' << qint64(r.values.SampleRate) << ' '
                       << r.values.SampleResolution << ' ' << r.values.InputRange << ' '
                       << r.values.Gain << ' ' << r.byteSize;
    return text;
}

} // namespace

class TestPlotParsers : public QObject
{
    Q_OBJECT

private slots:
    // ---- ASCII ----
    // Each mode on the same text: the values converted and the token that failed, if any.
    // Mostly where the modes part; the fuzz target checks both against strtod elsewhere.
    void asciiModes_data()
    {
        QTest::addColumn<bool>("mapped");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<Values>("values");
        QTest::addColumn<QByteArray>("bad");
        const auto row = [](const char *name, const QByteArray &text, const Values &m,
                            const char *mBad, const Values &s, const char *sBad) {
            QTest::addRow("%s, mapped", name) << true << text << m << QByteArray(mBad);
            QTest::addRow("%s, stream", name) << false << text << s << QByteArray(sBad);
        };
        const auto both = [&](const char *name, const QByteArray &text, const Values &v) {
            row(name, text, v, "", v, "");
        };
        both("CR LF and empty parts", ",1,,2;;\r\n\r\n3,", {1, 2, 3});
        both("blanks around tokens", "1, 2 ,\t3\t", {1, 2, 3});
        // Blanks separate in stream mode only: mapped, the whole line is one token.
        row("blanks", "1 2 3", {}, "1 2 3", {1, 2, 3}, "");
        // The pattern's letter s (of \s) separates in mapped mode only.
        row("letter s", "1s2", {1, 2}, "", {}, "1s2");
        // Bar and backslash are pattern syntax, taken as characters in mapped mode only.
        row("bar and backslash", "1|2\\3", {1, 2, 3}, "", {}, "1|2\\3");
        // '+' separates, so an exponent with a plus sign splits into "1e" and "5".
        row("plus in an exponent", "1e+5", {}, "1e", {}, "1e");
        row("hex", "0x10", {}, "0x10", {}, "0x10");
        row("trailing minus", "1,2-", {1}, "2-", {1}, "2-");
    }
    void asciiModes()
    {
        QFETCH(bool, mapped);
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, bad);
        const Result r = parse(mapped, text);
        QTEST(r.values, "values");
        QCOMPARE(r.badToken, bad);
        QCOMPARE(r.ok, bad.isEmpty());
        if (r.ok)
            QCOMPARE(r.total, qint64(r.values.size()));
        else
            QCOMPARE(r.heading, QString::fromLatin1(Heading));
    }

    void asciiBadToken_data() { modeRows(); }
    void asciiBadToken()
    {
        QFETCH(bool, mapped);
        // A bad token names its line; the values before it are kept.
        const QByteArray text("1,2\n3\r\n\n4;abc;5\n6\n");
        const Result r = parse(mapped, text);
        QVERIFY(!r.ok);
        QVERIFY(!r.wasCancelled);
        QCOMPARE(r.heading, QString::fromLatin1(Heading));
        QCOMPARE(r.detail, QStringLiteral("numbers.asc: None Numeric String: abc: Line: 4"));
        QCOMPARE(r.badLine, qint64(4));
        QCOMPARE(r.values, Values({1, 2, 3, 4}));
        // A bad token before the data offset is skipped, not converted.
        const Result skipped = parse(mapped, text, asciiParams(5));
        QVERIFY2(skipped.ok, qPrintable(skipped.detail));
        QCOMPARE(skipped.values, Values({5, 6}));
        // Conversion stops at the max plot size, before the bad token.
        const Result capped = parse(mapped, text, asciiParams(0, 4));
        QVERIFY(capped.ok);
        QCOMPARE(capped.values, Values({1, 2, 3, 4}));
        // A long token is cut in the detail.
        QCOMPARE(parse(mapped, QByteArray(1000, 'x')).detail,
                 QStringLiteral("numbers.asc: None Numeric String: ") +
                     QString(64, QLatin1Char('x')) + QStringLiteral("...: Line: 1"));
    }

    void asciiLongText_data() { modeRows(); }
    void asciiLongText()
    {
        QFETCH(bool, mapped);
        // Tokens of 6 bytes, eight to a line, cross the 1 MiB slice borders of the count pass.
        QByteArray text;
        int n = 0;
        for (; text.size() < 3 * 1024 * 1024; ++n)
            text += QByteArray::number(10000 + n % 90000) + (n % 8 == 7 ? '\n' : ',');
        if (mapped)
            QCOMPARE(countMappedTokens(text.constData(), text.size()), qint64(n));
        Params p = asciiParams(0, 1 << 30);
        Result r = parse(mapped, text, p);
        QVERIFY(r.ok);
        QCOMPARE(r.total, qint64(n));
        QCOMPARE(r.values.size(), n);
        QCOMPARE(r.values.last(), double(10000 + (n - 1) % 90000));
        int asked = 0;
        p.cancelled = [&asked] { return ++asked > 1; };
        r = parse(mapped, text, p);
        QVERIFY(!r.ok);
        QVERIFY(r.wasCancelled);
        QVERIFY(r.heading.isEmpty());
    }

    // ---- plot requests ----
    void requestFields_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("fields");
        QTest::newRow("all fields, blanks around them")
            << QStringLiteral(" 4242 , /usr/bin/acq , Record , 0x7ffd1000 , uint16 , 2 , 8 , 10 "
                              ", 1000 , 500000000 , 14 , 2.5 , 1.5 , 4096 ")
            << QStringLiteral("4242 7ffd1000 Record@0x7ffd1000 Uint16 2 8 10 1000 500000000 14 "
                              "2.5 1.5 4096");
        QTest::newRow("address without 0x, fields 4 on absent")
            << QStringLiteral("17,prog,buf,7ffd00")
            << QStringLiteral("17 7ffd00 buf@7ffd00 Int32 3 5 6 7000 1000000 12 0.5 2 0");
        // The sample rate takes an unsigned integer only, the byte size decimal only.
        QTest::newRow("non-numeric fields and an unknown format word")
            << QStringLiteral("17,prog,buf,0x10,asc,x,y,z,w,1.5,q,v,u,0x20")
            << QStringLiteral("17 10 buf@0x10 Int32 3 5 6 7000 1000000 12 0.5 2 0");
        QTest::newRow("empty fields in between")
            << QStringLiteral("1,,v,0X10,,,,,,,,,,64")
            << QStringLiteral("1 10 v@0X10 Int32 3 5 6 7000 1000000 12 0.5 2 64");
    }
    void requestFields()
    {
        QFETCH(QString, text);
        const QtViloPlotRequest r = parsePlotRequest(text, RequestDefaults);
        QVERIFY2(r.ok, qPrintable(r.message));
        QTEST(fieldsOf(r), "fields");
    }

    void requestFailures()
    {
        // The fuzz target checks every refusal against its rule; a null pointer the client
        // printed is named as such.
        const QtViloPlotRequest r =
            parsePlotRequest(QStringLiteral("1,prog,var,(nil),int16,1"), RequestDefaults);
        QVERIFY(!r.ok && r.message.contains(QLatin1String("(nil)")));
    }

    // ---- sizes and the large-file limit ----
    void sizeTexts()
    {
        QStringList texts;
        for (quint64 bytes : {0ULL, 1023ULL, 1024ULL, 1536ULL, 1048575ULL, 1048576ULL, 500000000ULL,
                              1ULL << 30, 1099511627775ULL, 1ULL << 40, 3ULL << 40})
            texts << QtViloSizeText::sizeText(bytes);
        QCOMPARE(texts.join(QLatin1String(" | ")),
                 QStringLiteral("0 bytes | 1023 bytes | 1.000 KB | 1.500 KB | 1023.999 KB | "
                                "1.000 MB | 476.837 MB | 1.000 GB | 1024.000 GB | 1.000 TB | "
                                "3.000 TB"));
        QVERIFY(!QtViloSizeText::exceedsLargeFileLimit(500000000)); // inclusive
    }

    // ---- file types ----
    void fileTypeSuffixIsCaseSensitive()
    {
        QTemporaryDir dir;
        const auto typeOf = [&dir](const char *name, const QByteArray &content) {
            const QString path = dir.filePath(QLatin1String(name));
            return writeFile(path, content) ? QtViloFormats::fileType(path) : QString();
        };
        const QByteArray binary("\x01\x00\xff\x7f\x00\x80garbage\x00", 14);
        QCOMPARE(typeOf("data.asc", binary), QStringLiteral("asc"));
        // Not typed by its suffix: the MIME check sees binary content.
        QCOMPARE(typeOf("data.Asc", binary), QStringLiteral("bin"));
        QCOMPARE(typeOf("numbers.Asc", "1,2,3\n4\n"), QStringLiteral("asc"));
    }
};

QTEST_APPLESS_MAIN(TestPlotParsers)
#include "tst_plotparsers.moc"
