#include "testenv.h"

#include "viewer/core/bytescan.h"
#include "viewer/core/mappedfile.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

// The vectorised scans against byte-by-byte loops, and the mapped-read guard.
class TestByteScan : public QObject
{
    Q_OBJECT

private slots:
    void hitsMatchScalarLoop()
    {
        QRandomGenerator rng(7);
        const char alphabet[] = {'E', 'R', 'W', 'A', '\n', '\r', '\0', 'x', 'e', 'r'};
        for (int round = 0; round < 400; ++round) {
            const int n = int(rng.bounded(300));
            QByteArray data(n, 'x');
            for (int i = 0; i < n; ++i)
                data[i] = alphabet[rng.bounded(int(sizeof alphabet))];
            const auto *p = reinterpret_cast<const unsigned char *>(data.constData());
            for (const bool withNul : {false, true}) {
                std::vector<uint32_t> hits(size_t(n) + 1);
                hits.resize(ByteScan::collectHits(p, size_t(n), withNul, hits.data()));
                std::vector<uint32_t> expected;
                for (int i = 0; i < n; ++i) {
                    const char c = data[i];
                    const char d = i + 1 < n ? data[i + 1] : 0;
                    if (c == '\n' || c == '\r' || (withNul && c == 0) || (c == 'E' && d == 'R') ||
                        (c == 'W' && d == 'A'))
                        expected.push_back(uint32_t(i));
                }
                QCOMPARE(hits, expected);
            }
        }
    }

    void needleFoldsLikeQString_data()
    {
        QTest::addColumn<QString>("needle");
        QTest::newRow("ascii") << QStringLiteral("ab");
        QTest::newRow("one char") << QStringLiteral("K");
        QTest::newRow("kelvin sign") << QStringLiteral("\u212a");
        QTest::newRow("e acute") << QStringLiteral("\u00c9a");
        QTest::newRow("micro and mu") << QStringLiteral("\u03bc");
        QTest::newRow("y diaeresis") << QStringLiteral("\u0178");
        QTest::newRow("sharp s") << QStringLiteral("\u00df");
        QTest::newRow("outside latin-1") << QStringLiteral("\u4e2d");
        QTest::newRow("long") << QStringLiteral("aBkAbK");
    }

    void needleFoldsLikeQString()
    {
        QFETCH(QString, needle);
        const ByteScan::Needle prepared(needle);
        QRandomGenerator rng(11);
        const unsigned char alphabet[] = {'a',  'A',  'b',  'B',  'k', 'K', 0xe9,
                                          0xc9, 0xb5, 0xff, 0xdf, 'x', 0};
        for (int round = 0; round < 200; ++round) {
            const int n = int(rng.bounded(200));
            QByteArray data(n, 'x');
            for (int i = 0; i < n; ++i)
                data[i] = char(alphabet[rng.bounded(int(sizeof alphabet))]);
            const auto *p = reinterpret_cast<const unsigned char *>(data.constData());
            std::vector<uint32_t> found(size_t(n) + 1);
            const ByteScan::Needle::Form &form = prepared.form(0);
            found.resize(form.collectCandidates(p, size_t(n), found.data()));
            found.erase(std::remove_if(found.begin(), found.end(),
                                       [&](uint32_t i) { return !form.matchesAt(p + i); }),
                        found.end());
            std::vector<uint32_t> expected;
            for (int i = 0; i + needle.size() <= n; ++i) {
                const QString window = QString::fromLatin1(data.constData() + i, needle.size());
                if (window.compare(needle, Qt::CaseInsensitive) == 0)
                    expected.push_back(uint32_t(i));
            }
            QCOMPARE(found, expected);
        }
    }

    void truncatedMappingIsCaught()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("cut.log");
        QFile out(path);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(QByteArray(1 << 20, 'x'));
        out.close();
        MappedFile file;
        QVERIFY(file.open(path));
        const unsigned char *p = file.map(0, 1 << 20);
        QVERIFY(p);
        QVERIFY(QFile::resize(path, 0));
        volatile unsigned sum = 0;
        // Reading the cut pages raises SIGBUS; the guard turns it into a false result.
        const bool read = MappedGuard::run([&] {
            for (int i = 0; i < (1 << 20); i += 4096)
                sum = sum + p[i];
        });
        QVERIFY(!read);
        // Reads outside the guard still work as usual.
        QVERIFY(MappedGuard::run([] {}));
    }
};

QTEST_APPLESS_MAIN(TestByteScan)
#include "tst_bytescan.moc"
