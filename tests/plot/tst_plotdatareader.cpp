// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"
#include "queuedsignalspy.h"

#include "plottestutil.h"

#include "plot/core/qtviloplotdatareader.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/core/qtviloprocessmemory.h"

#include <QDir>
#include <QFile>
#include <QReadLocker>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <numeric>
#include <sys/ptrace.h>
#include <thread>

using MinMax = QPair<double, double>;

namespace {

const QString ConversionHeading =
    QStringLiteral("Some string values could not be converted to number!");

// The items model's side of the connections.
class Driver : public QObject
{
    Q_OBJECT
signals:
    void itemChanged(const quint64 &serial, QtViloPlotItem *item, const QString &key,
                     const bool &mapped, const bool &dropCache, const qint32 &row,
                     const bool &clear);
    void ReplicateToBinFile(QtViloPlotItem *item, const bool &copy);
};

// The reader registers the item pointer by name only (no Q_DECLARE_METATYPE), so spied
// arguments are taken out of the variant by hand.
QtViloPlotItem *itemOf(const QVariant &value)
{
    if (value.userType() != QMetaType::type("QtViloPlotItem*"))
        return nullptr;
    return *static_cast<QtViloPlotItem *const *>(value.constData());
}

template <typename T> QByteArray bytesOf(const QVector<T> &samples)
{
    return QByteArray(reinterpret_cast<const char *>(samples.constData()),
                      int(samples.size() * sizeof(T)));
}

// Samples that reach both ends of the type, the top in the tail of any lane count, and a NaN
// (left out of the range) where the type has one.
template <typename T> QVector<T> samplesOf(int n)
{
    QVector<T> v(n);
    for (int i = 0; i < n; ++i)
        v[i] = T((i * 37) % 101) - T(std::is_signed<T>::value ? 50 : 0);
    v[n / 3] = std::numeric_limits<T>::lowest();
    v[n - 1] = std::numeric_limits<T>::max();
    if (std::numeric_limits<T>::has_quiet_NaN)
        v[n / 2] = std::numeric_limits<T>::quiet_NaN();
    return v;
}

// A buffer the child has a copy of from the fork.
alignas(8) qint16 g_childPattern[4096];

// The value of a "/proc/<pid>/status" line, e.g. "S (sleeping)" for "State".
QByteArray statusOf(pid_t pid, const QByteArray &key)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return "?";
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(key + ':'))
            return line.mid(key.size() + 1).trimmed();
    }
    return "?";
}

} // namespace

class TestPlotDataReader : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    Driver m_driver;
    QtViloPlotDataReader *m_reader = nullptr;
    QThread *m_thread = nullptr;
    std::unique_ptr<QueuedSignalSpy> m_processed;
    std::unique_ptr<QueuedSignalSpy> m_errors;
    QtViloPlotItemDefaults m_defaults;

    std::unique_ptr<QtViloPlotItem> fileItem(const char *name, const QByteArray &content,
                                             const char *format)
    {
        const QString path = m_dir.filePath(QLatin1String(name));
        if (!writeFile(path, content))
            return nullptr;
        auto item = std::make_unique<QtViloPlotItem>(path, false, m_defaults);
        item->setFormat(QLatin1String(format));
        return item;
    }

    // Sends one request as the model does (a unit of readRequested() and a new serial) and
    // waits for its answer: true for itemProcessed, false for DataReadError.
    bool read(QtViloPlotItem *item, bool mapped, bool drop = false)
    {
        const int before = m_processed->count() + m_errors->count();
        const qint32 tag = 7;
        ++item->serial;
        item->readRequested().release();
        emit m_driver.itemChanged(item->serial, item, item->name(), mapped, drop, tag, false);
        if (!QTest::qWaitFor([&] { return m_processed->count() + m_errors->count() > before; },
                             20000))
            return false;
        if (m_errors->count() > before)
            return false;
        const QList<QVariant> args = m_processed->last();
        return args.at(0).toULongLong() == item->serial && itemOf(args.at(1)) == item &&
               args.at(2).toString() == item->name() && args.at(3).toInt() == tag;
    }

    // A request that must fail: the heading and detail of its error, once the error named the
    // item and the reader gave the unit of readRequested() back.
    QPair<QString, QString> failure(QtViloPlotItem *item, bool mapped)
    {
        const int errors = m_errors->count();
        const int done = item->readDone().available();
        if (read(item, mapped) || m_errors->count() != errors + 1)
            return {QStringLiteral("no error"), QString()};
        const QList<QVariant> args = m_errors->last();
        if (itemOf(args.at(0)) != item || item->readRequested().available() != 1 ||
            item->readDone().available() != done)
            return {QStringLiteral("wrong item or pacing"), QString()};
        item->readRequested().acquire();
        return {args.at(1).toString(), args.at(2).toString()};
    }

    template <typename T> void roundTrip(const char *format, bool mapped)
    {
        const QVector<T> samples = samplesOf<T>(1001);
        auto item = fileItem("round.bin", bytesOf(samples), format);
        item->maxPlotSize = 1 << 20;
        QVERIFY(read(item.get(), mapped));
        QCOMPARE(item->readDone().available(), 1);
        QCOMPARE(item->readRequested().available(), 0);
        QReadLocker locker(&item->dataLock());
        QCOMPARE(item->sampleCount(), qint64(samples.size()));
        QCOMPARE(item->totalSampleCount(), qint64(samples.size()));
        QCOMPARE(item->visibleFraction(), 1.0);
        for (int i = 0; i < samples.size(); ++i)
            QCOMPARE(item->valueAt(i), double(samples.at(i)));
        QCOMPARE(MinMax(item->minValue(), item->maxValue()),
                 MinMax(std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max()));
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_defaults.MaxPlotSize = 1000000;
        m_reader = new QtViloPlotDataReader;
        m_thread = QtViloPlotDataReader::startThread(m_reader, this);
        connect(&m_driver, &Driver::itemChanged, m_reader, &QtViloPlotDataReader::readFile);
        connect(&m_driver, &Driver::ReplicateToBinFile, m_reader,
                &QtViloPlotDataReader::onReplicateToBinFile);
        m_processed =
            std::make_unique<QueuedSignalSpy>(m_reader, &QtViloPlotDataReader::itemProcessed);
        m_errors =
            std::make_unique<QueuedSignalSpy>(m_reader, &QtViloPlotDataReader::DataReadError);
        QVERIFY(m_processed->isValid());
        QVERIFY(m_errors->isValid());
        // started() -> start() lets requests in.
        QTRY_VERIFY(m_reader->isEnabled());
    }

    void cleanupTestCase()
    {
        m_reader->disable();
        m_thread->quit();
        m_thread->wait();
        delete m_reader;
    }

    void binaryRoundTrip_data() { modeRows(); }
    void binaryRoundTrip()
    {
        QFETCH(bool, mapped);
        roundTrip<qint8>("Int8", mapped);
        roundTrip<qint16>("Int16", mapped);
        roundTrip<qint32>("Int32", mapped);
        roundTrip<qint64>("Int64", mapped);
        roundTrip<float>("Float", mapped);
        roundTrip<double>("Double", mapped);
        roundTrip<quint8>("Uint8", mapped);
        roundTrip<quint16>("Uint16", mapped);
        roundTrip<quint32>("Uint32", mapped);
        roundTrip<quint64>("Uint64", mapped);
    }

    // Read ranges behind a header: the values, the range and the fraction shown, and the
    // mapping used in place only where the samples are aligned.
    void ranges_data() { modeRows(); }
    void ranges()
    {
        QFETCH(bool, mapped);
        QVector<double> ramp(100);
        std::iota(ramp.begin(), ramp.end(), 0.0); // the values are their indices
        struct Case
        {
            int header;
            qint64 byteOffset, d;
            bool reverse;
            qint64 total, count, first;
            double fraction;
        };
        const Case cases[] = {
            {8, 8, 10, false, 100, 20, 10, 0.2},    {3, 3, 10, true, 100, 20, 70, 0.2},
            {0, 0, 90, true, 100, 10, 0, 0.1}, // reverse, D + M beyond the total: from 0
            {3, 3, 1, false, 100, 20, 1, 0.2},      {0, 0, 100, false, 100, 0, 0, 0.0},
            {0, 0, 150, false, 100, 0, 0, 0.0},     {8, 8, 100, true, 100, 0, 0, 0.0},
            {0, 0, 150, true, 100, 0, 0, 0.0},      {0, 1000, 0, false, 0, 0, 0, 0.0},
            {0, 0, std::numeric_limits<qint64>::max(), true, 100, 0, 0, 0.0}, // saturates
        };
        for (const Case &c : cases) {
            auto item =
                fileItem("ramp.double", QByteArray(c.header, 'H') + bytesOf(ramp), "Double");
            item->fileOffset = c.byteOffset;
            item->dataOffset = c.d;
            item->reverseOffset = c.reverse;
            item->maxPlotSize = 20;
            QVERIFY(read(item.get(), mapped));
            QCOMPARE(item->totalSampleCount(), c.total);
            QCOMPARE(item->sampleCount(), c.count);
            QCOMPARE(item->visibleFraction(), c.fraction);
            QCOMPARE(item->data() == nullptr, c.count == 0);
            for (qint64 i = 0; i < c.count; ++i)
                QCOMPARE(item->valueAt(i), double(c.first + i));
            if (c.count == 0)
                continue;
            QCOMPARE(MinMax(item->minValue(), item->maxValue()),
                     MinMax(c.first, c.first + c.count - 1));
            QCOMPARE(reinterpret_cast<quintptr>(item->data()) % alignof(double), quintptr(0));
            const bool inPlace = mapped && c.header % 8 == 0;
            QCOMPARE(item->data() == item->mapping() + c.header + 8 * c.first, inPlace);
        }
    }

    void ascii_data() { modeRows(); }
    void ascii()
    {
        QFETCH(bool, mapped);
        auto item = fileItem("numbers.asc", "1,2;3\n4\n-5.5\n", "Ascii");
        item->dataOffset = 1;
        item->maxPlotSize = 2;
        item->reverseOffset = true; // 5 - (1 + 2)
        QVERIFY(read(item.get(), mapped));
        QCOMPARE(item->totalSampleCount(), qint64(5));
        QCOMPARE(item->values(), QVector<double>({3, 4}));
        QCOMPARE(MinMax(item->minValue(), item->maxValue()), MinMax(3, 4));
        QCOMPARE(item->visibleFraction(), 0.4);
        QCOMPARE(item->mapping(), nullptr); // the mapping went after the scan

        // The file changes: a new size means a new count in stream mode too.
        QVERIFY(writeFile(item->source(), "1 2 3 4 5 6 7 8 9 10\n"));
        item->dataOffset = 0;
        item->maxPlotSize = 100;
        item->reverseOffset = false;
        if (mapped) {
            QCOMPARE(
                failure(item.get(), mapped),
                qMakePair(ConversionHeading, QStringLiteral("numbers.asc: None Numeric String: "
                                                            "1 2 3 4 5 6 7 8 9 10: Line: 1")));
            QCOMPARE(item->values(), QVector<double>({3, 4})); // the old samples stay
        } else {
            QVERIFY(read(item.get(), mapped));
            QCOMPARE(item->totalSampleCount(), qint64(10));
            QCOMPARE(item->sampleCount(), qint64(10));
        }
    }

    void fileFailures_data() { modeRows(); }
    void fileFailures()
    {
        QFETCH(bool, mapped);
        QtViloPlotItem missing(m_dir.filePath(QStringLiteral("gone.bin")), false, m_defaults);
        QCOMPARE(failure(&missing, mapped),
                 qMakePair(QStringLiteral("Path not found!                  "), missing.source()));
        // A directory exists but does not open as a file.
        const QString path = m_dir.filePath(QStringLiteral("adir"));
        QVERIFY(QDir().mkpath(path));
        QtViloPlotItem directory(path, false, m_defaults);
        const QPair<QString, QString> error = failure(&directory, mapped);
        QCOMPARE(error.first, QStringLiteral("ERROR: File open failed! Does file exist? "));
        QVERIFY2(error.second.endsWith(QStringLiteral(" - File: ") + path),
                 qPrintable(error.second));
    }

    void readersOfOldDataAreNeverLeftDangling()
    {
        auto item = fileItem("painted.int16", bytesOf(samplesOf<qint16>(1 << 16)), "Int16");
        QVERIFY(read(item.get(), true));
        std::atomic<bool> stop{false};
        std::atomic<qint64> passes{0};
        // The painter: reads every sample under the read lock while the data is swapped.
        std::thread painter([&] {
            while (!stop.load()) {
                QReadLocker locker(&item->dataLock());
                double sum = 0;
                for (qint64 i = 0; i < item->sampleCount(); ++i)
                    sum += item->valueAt(i);
                passes += sum != 0.5;
            }
        });
        for (int i = 0; i < 40; ++i) {
            item->dataOffset = i * 7;
            QVERIFY(read(item.get(), i % 3 != 0, i % 5 == 0));
        }
        stop = true;
        painter.join();
        QVERIFY(passes.load() > 0);
    }

    void replication()
    {
        const QString tempDir = QDir::homePath() + QStringLiteral("/.local/share/Temp/");
        QDir(tempDir).removeRecursively();
        QueuedSignalSpy finished(m_reader, &QtViloPlotDataReader::ReplicateToBinFileFinished);
        QueuedSignalSpy failed(m_reader, &QtViloPlotDataReader::ReplicationError);
        const QVector<quint16> samples = samplesOf<quint16>(300);
        auto item = fileItem("source.uint16", bytesOf(samples), "Uint16");
        item->dataOffset = 100;
        QVERIFY(read(item.get(), true));

        // The path written, or empty on ReplicationError.
        const auto replicate = [&](QtViloPlotItem *it, bool copy) -> QString {
            const int failedBefore = failed.count();
            const int before = finished.count() + failedBefore;
            emit m_driver.ReplicateToBinFile(it, copy);
            if (!QTest::qWaitFor([&] { return finished.count() + failed.count() > before; }, 10000))
                return QStringLiteral("timeout");
            if (failed.count() > failedBefore)
                return QString();
            return itemOf(finished.last().at(0)) == it ? finished.last().at(1).toString()
                                                       : QStringLiteral("another item");
        };
        const auto contentOf = [&](const QString &name) {
            QFile file(tempDir + name);
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
        };
        for (const char *name : {"source.uint16.bin", "source.uint16.bin",
                                 "source.uint16_copy1.bin", "source.uint16_copy2.bin"}) {
            const bool copy = QByteArray(name).contains("_copy");
            QCOMPARE(replicate(item.get(), copy), tempDir + QLatin1String(name));
            QCOMPARE(contentOf(QLatin1String(name)), bytesOf(samples.mid(100)));
        }
        // A memory item always gets a copy, named before its "@".
        QtViloPlotItem memory(QStringLiteral("1,p,Record,0x1000"), true, m_defaults);
        memory.setName(QStringLiteral("Record@0x1000"));
        QCOMPARE(replicate(&memory, false), tempDir + QStringLiteral("Record_copy1.bin"));
        QCOMPARE(contentOf(QStringLiteral("Record_copy1.bin")), QByteArray());

        // The directory cannot be made: a file stands in its place.
        QVERIFY(QDir(tempDir).removeRecursively());
        QVERIFY(writeFile(QDir::homePath() + QStringLiteral("/.local/share/Temp"), "x"));
        QCOMPARE(replicate(item.get(), true), QString());
        QCOMPARE(failed.last().at(1).toString(), QStringLiteral("Item replication Error!"));
        QCOMPARE(failed.last().at(2).toString(),
                 QStringLiteral("Unable to replicate item at location: %1\n. Path or Access "
                                "permission issue?")
                     .arg(tempDir));
        QFile::remove(QDir::homePath() + QStringLiteral("/.local/share/Temp"));
    }

    // ---- process memory ----
    void memoryAboveTheLargeFileLimitIsRefused()
    {
        // The size comes from a client: refused before any buffer is made or process touched.
        QtViloPlotItem item(QStringLiteral("request"), true, m_defaults);
        item.processId = getpid();
        item.baseAddress = quintptr(g_childPattern);
        item.memorySize = 500000001;
        QCOMPARE(failure(&item, false),
                 qMakePair(QStringLiteral("Could not read the process memory!"),
                           QStringLiteral("500000001 bytes requested, at most 500000000 bytes "
                                          "are read - Process: %1")
                               .arg(getpid())));
        QCOMPARE(item.buffer().size(), 0);
    }

    void memoryOfAChild()
    {
        for (int i = 0; i < 4096; ++i)
            g_childPattern[i] = qint16(i * 3 - 5000);
        Child child;
        QVERIFY(child.pid > 0);
        // The child keeps the pattern; ours changes, so the values can only come from it.
        memset(g_childPattern, 0, sizeof g_childPattern);

        qint16 first = 0;
        const QtViloProcessMemory::Result direct = QtViloProcessMemory::read(
            child.pid, quintptr(g_childPattern), reinterpret_cast<char *>(&first), 2);
        if (direct.failedAt == QtViloProcessMemory::Stage::Attach)
            QSKIP(qPrintable(QStringLiteral("ptrace attach is not permitted here: ") +
                             direct.detail));
        QVERIFY2(direct.ok, qPrintable(direct.heading + QLatin1Char(' ') + direct.detail));

        QtViloPlotItem item(QStringLiteral("request"), true, m_defaults);
        item.setFormat(QStringLiteral("Int16"));
        item.processId = child.pid;
        item.baseAddress = quintptr(g_childPattern);
        item.memorySize = sizeof g_childPattern;
        item.dataOffset = 100;
        item.maxPlotSize = 1000;
        QVERIFY(read(&item, false));
        QCOMPARE(item.totalSampleCount(), qint64(4096));
        QCOMPARE(item.sampleCount(), qint64(1000));
        QCOMPARE(MinMax(item.valueAt(0), item.valueAt(999)), MinMax(-4700, -1703));
        QCOMPARE(MinMax(item.minValue(), item.maxValue()), MinMax(-4700, -1703));
        QCOMPARE(item.visibleFraction(), 1000.0 / 4096);
        QCOMPARE(item.buffer().size(), int(sizeof g_childPattern));

        item.reverseOffset = true; // samples from 4096 - (100 + 1000) on
        QVERIFY(read(&item, false));
        QCOMPARE(item.valueAt(0), 3988.0);

        // A range the child does not have mapped fails the read, with the child let go.
        item.baseAddress = 0x1000;
        item.dataOffset = 0;
        item.reverseOffset = false;
        const QPair<QString, QString> error = failure(&item, false);
        QCOMPARE(error.first, QStringLiteral("Could not read the process memory!"));
        QVERIFY2(error.second.contains(QStringLiteral("Address: 0x1000")),
                 qPrintable(error.second));

        // Never left stopped or traced.
        QTRY_COMPARE(statusOf(child.pid, "State").left(1), QByteArray("S"));
        QCOMPARE(statusOf(child.pid, "TracerPid"), QByteArray("0"));
    }

    void memoryAttachRefused()
    {
        Child child;
        QVERIFY(child.pid > 0);
        // A process has one tracer: once this thread holds it (seized, so it keeps running),
        // the reader's attach is refused.
        if (ptrace(PTRACE_SEIZE, child.pid, nullptr, nullptr) != 0)
            QSKIP(qPrintable(QStringLiteral("ptrace is not permitted here: ") +
                             QString::fromLocal8Bit(strerror(errno))));
        char byte;
        const QtViloProcessMemory::Result r =
            QtViloProcessMemory::read(child.pid, quintptr(&g_childPattern), &byte, 1);
        QVERIFY(!r.ok);
        QCOMPARE(r.failedAt, QtViloProcessMemory::Stage::Attach);
        QCOMPARE(r.heading, QStringLiteral("Could not attach to the process! Are you sudo?"));
        QVERIFY(r.detail.startsWith(QString::fromLocal8Bit(strerror(EPERM)) +
                                    QStringLiteral(" - Process: ")));
        QTRY_COMPARE(statusOf(child.pid, "State").left(1), QByteArray("S")); // still in pause()
    }
};

QTEST_GUILESS_MAIN(TestPlotDataReader)
#include "tst_plotdatareader.moc"
