#include "testenv.h"

#include "plot/core/qtviloformats.h"
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
#include <csignal>
#include <cstring>
#include <limits>
#include <memory>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

// The items model's side of the connections.
class Driver : public QObject
{
    Q_OBJECT
signals:
    void itemChanged(const quint64 &serial, QtViloPlotItem *item, const QString &key,
                     const bool &mapped, const bool &dropCache, const qint32 &row,
                     const bool &clear);
    void restartFileReader();
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

bool writeFile(const QString &path, const QByteArray &data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

template <typename T> QByteArray bytesOf(const QVector<T> &samples)
{
    return QByteArray(reinterpret_cast<const char *>(samples.constData()),
                      int(samples.size() * sizeof(T)));
}

// Samples that reach both ends of the type and cross zero where the type can.
template <typename T> QVector<T> samplesOf(int n)
{
    QVector<T> v(n);
    for (int i = 0; i < n; ++i)
        v[i] = T((i * 37) % 101) - T(std::is_signed<T>::value ? 50 : 0);
    v[n / 3] = std::numeric_limits<T>::lowest();
    v[n / 2] = std::numeric_limits<T>::max();
    return v;
}

// A child that holds a known buffer (a copy of the parent's at fork) and sleeps.
alignas(8) qint16 g_childPattern[4096];

struct Child
{
    pid_t pid = -1;
    ~Child()
    {
        if (pid > 0) {
            kill(pid, SIGKILL);
            int status;
            waitpid(pid, &status, 0);
        }
    }
};

char processState(pid_t pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return '?';
    const QByteArray line = stat.readAll();
    const int close = line.lastIndexOf(')');
    return close >= 0 && close + 2 < line.size() ? line.at(close + 2) : '?';
}

QByteArray tracerPid(pid_t pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return "?";
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("TracerPid:"))
            return line.mid(10).trimmed();
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
    std::unique_ptr<QSignalSpy> m_processed;
    std::unique_ptr<QSignalSpy> m_errors;
    QtViloPlotItemDefaults m_defaults;

    std::unique_ptr<QtViloPlotItem> fileItem(const QString &name, const QByteArray &content,
                                             const QString &format)
    {
        const QString path = m_dir.filePath(name);
        if (!writeFile(path, content))
            return nullptr;
        auto item = std::make_unique<QtViloPlotItem>(path, false, m_defaults);
        item->setFormat(format);
        return item;
    }

    // Sends one request as the model does (a unit of readRequested() and a new serial) and
    // waits for its answer: true for itemProcessed, false for DataReadError.
    bool read(QtViloPlotItem *item, bool mapped, bool drop = false, bool clear = false,
              qint32 tag = 7)
    {
        const int before = m_processed->count() + m_errors->count();
        ++item->serial;
        item->readRequested().release();
        emit m_driver.itemChanged(item->serial, item, item->name(), mapped, drop, tag, clear);
        if (!QTest::qWaitFor([&] { return m_processed->count() + m_errors->count() > before; },
                             20000))
            return false;
        if (m_errors->count() > before)
            return false;
        const QList<QVariant> args = m_processed->last();
        return args.at(0).toULongLong() == item->serial && itemOf(args.at(1)) == item &&
               args.at(2).toString() == item->name() && args.at(3).toInt() == tag;
    }

    // A request that must be ignored, proven by a later request of another item answering
    // first: the reader takes requests in order.
    bool ignored(const std::function<void()> &send)
    {
        const int processed = m_processed->count();
        const int errors = m_errors->count();
        send();
        auto probe =
            fileItem(QStringLiteral("probe.int8"), QByteArray(4, '\1'), QStringLiteral("Int8"));
        if (!read(probe.get(), true))
            return false;
        return m_processed->count() == processed + 1 && m_errors->count() == errors &&
               itemOf(m_processed->last().at(1)) == probe.get();
    }

    QPair<QString, QString> lastError() const
    {
        const QList<QVariant> args = m_errors->last();
        return {args.at(1).toString(), args.at(2).toString()};
    }

    template <typename T> void roundTrip(const QString &format, bool mapped)
    {
        const QVector<T> samples = samplesOf<T>(1000);
        auto item =
            fileItem(QStringLiteral("round.") +
                         QtViloFormats::all().at(QtViloFormats::indexOfDisplay(format)).suffix,
                     bytesOf(samples), format);
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
        QCOMPARE(item->minValue(), double(std::numeric_limits<T>::lowest()));
        QCOMPARE(item->maxValue(), double(std::numeric_limits<T>::max()));
        QCOMPARE(item->cachedMapped, mapped);
        // Mapped: used in place; stream: the item's own buffer.
        QCOMPARE(item->mapping() != nullptr, mapped);
        if (mapped)
            QCOMPARE(item->data(), static_cast<const void *>(item->mapping()));
        else
            QCOMPARE(item->data(), static_cast<const void *>(item->buffer().constData()));
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_defaults.MaxPlotSize = 1000000;
        m_reader = new QtViloPlotDataReader;
        QCOMPARE(m_reader->objectName(), QStringLiteral("FileReaderWorker"));
        QVERIFY(!m_reader->isEnabled());
        m_thread = QtViloPlotDataReader::startThread(m_reader, this);
        QCOMPARE(m_thread->objectName(), QStringLiteral("FileReaderThread"));
        QCOMPARE(m_reader->thread(), m_thread);
        connect(&m_driver, &Driver::itemChanged, m_reader, &QtViloPlotDataReader::readFile);
        connect(&m_driver, &Driver::restartFileReader, m_reader, &QtViloPlotDataReader::enable);
        connect(&m_driver, &Driver::ReplicateToBinFile, m_reader,
                &QtViloPlotDataReader::onReplicateToBinFile);
        m_processed = std::make_unique<QSignalSpy>(m_reader, &QtViloPlotDataReader::itemProcessed);
        m_errors = std::make_unique<QSignalSpy>(m_reader, &QtViloPlotDataReader::DataReadError);
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
        QVERIFY(!m_reader->isEnabled()); // finished() -> quit()
        delete m_reader;
    }

    void binaryRoundTrip_data()
    {
        QTest::addColumn<bool>("mapped");
        QTest::newRow("mapped") << true;
        QTest::newRow("stream") << false;
    }
    void binaryRoundTrip()
    {
        QFETCH(bool, mapped);
        roundTrip<qint8>(QStringLiteral("Int8"), mapped);
        roundTrip<qint16>(QStringLiteral("Int16"), mapped);
        roundTrip<qint32>(QStringLiteral("Int32"), mapped);
        roundTrip<qint64>(QStringLiteral("Int64"), mapped);
        roundTrip<float>(QStringLiteral("Float"), mapped);
        roundTrip<double>(QStringLiteral("Double"), mapped);
        roundTrip<quint8>(QStringLiteral("Uint8"), mapped);
        roundTrip<quint16>(QStringLiteral("Uint16"), mapped);
        roundTrip<quint32>(QStringLiteral("Uint32"), mapped);
        roundTrip<quint64>(QStringLiteral("Uint64"), mapped);
    }

    void rangesAndReverseOffset_data()
    {
        QTest::addColumn<bool>("mapped");
        QTest::newRow("mapped") << true;
        QTest::newRow("stream") << false;
    }
    void rangesAndReverseOffset()
    {
        QFETCH(bool, mapped);
        QVector<qint16> samples(100);
        for (int i = 0; i < 100; ++i)
            samples[i] = qint16(i);
        auto item =
            fileItem(QStringLiteral("ramp.int16"), bytesOf(samples), QStringLiteral("Int16"));
        item->dataOffset = 10;
        item->maxPlotSize = 20;
        QVERIFY(read(item.get(), mapped));
        QCOMPARE(item->sampleCount(), qint64(20));
        QCOMPARE(item->totalSampleCount(), qint64(100));
        QCOMPARE(item->valueAt(0), 10.0);
        QCOMPARE(item->valueAt(19), 29.0);
        QCOMPARE(item->minValue(), 10.0);
        QCOMPARE(item->maxValue(), 29.0);
        QCOMPARE(item->visibleFraction(), 0.2);

        item->reverseOffset = true; // start 100 - (10 + 20)
        QVERIFY(read(item.get(), mapped));
        QCOMPARE(item->sampleCount(), qint64(20));
        QCOMPARE(item->valueAt(0), 70.0);
        QCOMPARE(item->valueAt(19), 89.0);

        item->dataOffset = 90; // D + M beyond the total: from 0, (100 - 90) / 100 visible
        QVERIFY(read(item.get(), mapped));
        QCOMPARE(item->sampleCount(), qint64(10));
        QCOMPARE(item->valueAt(0), 0.0);
        QCOMPARE(item->valueAt(9), 9.0);
        QCOMPARE(item->visibleFraction(), 0.1);

        // At or beyond the end: no samples, nothing visible, not an error.
        for (qint64 d : {qint64(100), qint64(150)}) {
            for (bool reverse : {false, true}) {
                item->dataOffset = d;
                item->reverseOffset = reverse;
                QVERIFY(read(item.get(), mapped));
                QCOMPARE(item->sampleCount(), qint64(0));
                QCOMPARE(item->totalSampleCount(), qint64(100));
                QCOMPARE(item->visibleFraction(), 0.0);
                QCOMPARE(item->data(), nullptr);
            }
        }
        // A byte offset beyond the end of the file.
        item->dataOffset = 0;
        item->reverseOffset = false;
        item->fileOffset = 1000;
        QVERIFY(read(item.get(), mapped));
        QCOMPARE(item->sampleCount(), qint64(0));
        QCOMPARE(item->totalSampleCount(), qint64(0));
        QCOMPARE(item->visibleFraction(), 0.0);
    }

    void misalignedByteOffset_data()
    {
        QTest::addColumn<bool>("mapped");
        QTest::addColumn<qint64>("byteOffset");
        QTest::newRow("mapped, 3-byte header") << true << qint64(3);
        QTest::newRow("mapped, 8-byte header") << true << qint64(8);
        QTest::newRow("stream, 3-byte header") << false << qint64(3);
    }
    void misalignedByteOffset()
    {
        QFETCH(bool, mapped);
        QFETCH(qint64, byteOffset);
        QVector<double> samples(64);
        for (int i = 0; i < samples.size(); ++i)
            samples[i] = i * 0.5 - 3;
        auto item =
            fileItem(QStringLiteral("header.double"),
                     QByteArray(int(byteOffset), 'H') + bytesOf(samples), QStringLiteral("Double"));
        item->fileOffset = byteOffset;
        item->dataOffset = 1;
        QVERIFY(read(item.get(), mapped));
        QCOMPARE(item->totalSampleCount(), qint64(64));
        QCOMPARE(item->sampleCount(), qint64(63));
        QCOMPARE(reinterpret_cast<quintptr>(item->data()) % alignof(double), quintptr(0));
        const double *values = static_cast<const double *>(item->data());
        for (int i = 0; i < 63; ++i)
            QCOMPARE(values[i], samples.at(i + 1));
        QCOMPARE(item->minValue(), -2.5);
        QCOMPARE(item->maxValue(), 28.5);
        // In place only when aligned.
        const bool inPlace = mapped && byteOffset % 8 == 0;
        QCOMPARE(item->mapping() != nullptr, inPlace);
        if (inPlace)
            QCOMPARE(item->data(), static_cast<const void *>(item->mapping() + byteOffset + 8));
    }

    void asciiBothModes_data()
    {
        QTest::addColumn<bool>("mapped");
        QTest::newRow("mapped") << true;
        QTest::newRow("stream") << false;
    }
    void asciiBothModes()
    {
        QFETCH(bool, mapped);
        auto item =
            fileItem(QStringLiteral("numbers.asc"), "1,2;3\n4\n-5.5\n", QStringLiteral("Ascii"));
        QVERIFY(read(item.get(), mapped));
        QCOMPARE(item->sampleCount(), qint64(5));
        QCOMPARE(item->totalSampleCount(), qint64(5));
        QCOMPARE(item->sampleWidth(), 8);
        QCOMPARE(item->data(), static_cast<const void *>(item->values().constData()));
        QCOMPARE(item->values(), QVector<double>({1, 2, 3, 4, -5.5}));
        QCOMPARE(item->minValue(), -5.5);
        QCOMPARE(item->maxValue(), 4.0);
        QCOMPARE(item->mapping(), nullptr); // the mapping went after the scan

        item->dataOffset = 1;
        item->maxPlotSize = 2;
        item->reverseOffset = true; // 5 - (1 + 2)
        QVERIFY(read(item.get(), mapped));
        QCOMPARE(item->values(), QVector<double>({3, 4}));
        QCOMPARE(item->visibleFraction(), 0.4);

        // The file changes: a new size means a new count in stream mode too.
        QVERIFY(writeFile(item->source(), "1 2 3 4 5 6 7 8 9 10\n"));
        item->dataOffset = 0;
        item->maxPlotSize = 100;
        item->reverseOffset = false;
        if (mapped) {
            QVERIFY(!read(item.get(), mapped));
            QCOMPARE(lastError().first,
                     QStringLiteral("Some string values could not be converted to number!"));
            QCOMPARE(lastError().second, QStringLiteral("numbers.asc: None Numeric String: "
                                                        "1 2 3 4 5 6 7 8 9 10: Line: 1"));
            // The failed read keeps the old samples and gives its unit back.
            QCOMPARE(item->values(), QVector<double>({3, 4}));
            QCOMPARE(item->readRequested().available(), 1);
            item->readRequested().acquire();
        } else {
            QVERIFY(read(item.get(), mapped));
            QCOMPARE(item->totalSampleCount(), qint64(10));
            QCOMPARE(item->sampleCount(), qint64(10));
        }
    }

    void asciiBadTokenNamesItsLine()
    {
        auto item = fileItem(QStringLiteral("bad.asc"), "1\n2\n3;x4\n5\n", QStringLiteral("Ascii"));
        for (bool mapped : {true, false}) {
            QVERIFY(!read(item.get(), mapped));
            QCOMPARE(lastError().first,
                     QStringLiteral("Some string values could not be converted to number!"));
            QCOMPARE(lastError().second,
                     QStringLiteral("bad.asc: None Numeric String: x4: Line: 3"));
            QCOMPARE(itemOf(m_errors->last().at(0)), item.get());
            QCOMPARE(item->readRequested().available(), 1);
            QCOMPARE(item->readDone().available(), 0);
            item->readRequested().acquire();
        }
    }

    void missingFile()
    {
        auto item = std::make_unique<QtViloPlotItem>(m_dir.filePath(QStringLiteral("gone.bin")),
                                                     false, m_defaults);
        QVERIFY(!read(item.get(), true));
        QCOMPARE(lastError().first, QStringLiteral("Path not found!                  "));
        QCOMPARE(lastError().first.size(), 15 + 18);
        QCOMPARE(lastError().second, item->source());
        QCOMPARE(item->readRequested().available(), 1);
        item->readRequested().acquire();
    }

    void openFailure()
    {
        // A directory exists but does not open as a file.
        const QString path = m_dir.filePath(QStringLiteral("adir"));
        QVERIFY(QDir().mkpath(path));
        auto item = std::make_unique<QtViloPlotItem>(path, false, m_defaults);
        QVERIFY(!read(item.get(), false));
        QCOMPARE(lastError().first, QStringLiteral("ERROR: File open failed! Does file exist? "));
        QVERIFY(lastError().second.endsWith(QStringLiteral(" - File: ") + path));
        item->readRequested().acquire();
    }

    void staleSerialDisabledAndUnpacedRequestsAreIgnored()
    {
        auto item =
            fileItem(QStringLiteral("rules.int8"), QByteArray(16, '\2'), QStringLiteral("Int8"));
        // A serial the item has moved past.
        QVERIFY(ignored([&] {
            item->serial = 5;
            item->readRequested().release();
            emit m_driver.itemChanged(4, item.get(), item->name(), true, false, 0, false);
        }));
        QCOMPARE(item->readRequested().available(), 1); // not taken
        QCOMPARE(item->sampleCount(), qint64(0));
        item->readRequested().acquire();

        // No unit of readRequested(): not paced by the model.
        QVERIFY(ignored([&] {
            emit m_driver.itemChanged(item->serial, item.get(), item->name(), true, false, 0,
                                      false);
        }));
        QCOMPARE(item->sampleCount(), qint64(0));
        QCOMPARE(item->readDone().available(), 0);

        // Disabled: ignored until restartFileReader() -> enable().
        m_reader->disable();
        item->readRequested().release();
        emit m_driver.itemChanged(item->serial, item.get(), item->name(), true, false, 0, false);
        emit m_driver.restartFileReader();
        QVERIFY(ignored([] {}));
        QCOMPARE(item->sampleCount(), qint64(0));
        QCOMPARE(item->readRequested().available(), 1);
        item->readRequested().acquire();
        QVERIFY(read(item.get(), true));
        QCOMPARE(item->sampleCount(), qint64(16));
    }

    void modeChangeAndDropAndClear()
    {
        QVector<qint32> samples = samplesOf<qint32>(256);
        auto item =
            fileItem(QStringLiteral("modes.int32"), bytesOf(samples), QStringLiteral("Int32"));
        QVERIFY(read(item.get(), true));
        QVERIFY(item->cachedMapped);
        QVERIFY(item->mapping());
        QVERIFY(read(item.get(), false));
        QVERIFY(!item->cachedMapped);
        QCOMPARE(item->mapping(), nullptr);
        QCOMPARE(item->buffer().size(), 256 * 4);
        QVERIFY(read(item.get(), false, true));
        QCOMPARE(item->sampleCount(), qint64(256));
        QVERIFY(read(item.get(), true, false, true, 3));
        QCOMPARE(item->sampleCount(), qint64(0));
        QCOMPARE(item->data(), nullptr);
        QCOMPARE(item->mapping(), nullptr);
        QCOMPARE(item->buffer().size(), 0);
        QCOMPARE(item->readDone().available(), 4);
    }

    void readersOfOldDataAreNeverLeftDangling()
    {
        QVector<qint16> samples = samplesOf<qint16>(1 << 16);
        auto item =
            fileItem(QStringLiteral("painted.int16"), bytesOf(samples), QStringLiteral("Int16"));
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
        QSignalSpy finished(m_reader, &QtViloPlotDataReader::ReplicateToBinFileFinished);
        QSignalSpy failed(m_reader, &QtViloPlotDataReader::ReplicationError);
        QVector<quint16> samples = samplesOf<quint16>(300);
        auto item =
            fileItem(QStringLiteral("source.uint16"), bytesOf(samples), QStringLiteral("Uint16"));
        item->dataOffset = 100;
        QVERIFY(read(item.get(), true));

        const auto replicate = [&](QtViloPlotItem *it, bool copy) -> QString {
            const int failedBefore = failed.count();
            const int before = finished.count() + failedBefore;
            emit m_driver.ReplicateToBinFile(it, copy);
            if (!QTest::qWaitFor([&] { return finished.count() + failed.count() > before; }, 10000))
                return QStringLiteral("timeout");
            if (failed.count() > failedBefore)
                return QString();
            return finished.last().at(1).toString();
        };
        const auto contentOf = [](const QString &path) {
            QFile file(path);
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
        };
        const QByteArray expected = bytesOf(samples.mid(100));

        QCOMPARE(replicate(item.get(), false), tempDir + QStringLiteral("source.uint16.bin"));
        QCOMPARE(contentOf(tempDir + QStringLiteral("source.uint16.bin")), expected);
        QCOMPARE(replicate(item.get(), false), tempDir + QStringLiteral("source.uint16.bin"));
        QCOMPARE(replicate(item.get(), true), tempDir + QStringLiteral("source.uint16_copy1.bin"));
        QCOMPARE(replicate(item.get(), true), tempDir + QStringLiteral("source.uint16_copy2.bin"));
        QCOMPARE(contentOf(tempDir + QStringLiteral("source.uint16_copy2.bin")), expected);
        QCOMPARE(itemOf(finished.last().at(0)), item.get());

        // A memory item always gets a copy, named before its "@".
        QtViloPlotItem memory(QStringLiteral("1,p,Record,0x1000"), true, m_defaults);
        memory.setName(QStringLiteral("Record@0x1000"));
        QCOMPARE(replicate(&memory, false), tempDir + QStringLiteral("Record_copy1.bin"));
        QCOMPARE(contentOf(tempDir + QStringLiteral("Record_copy1.bin")), QByteArray());

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
    void memoryOpenFailure()
    {
        // No process has this id (above any pid_max).
        const qint64 bogus = 2147483000;
        char byte;
        const QtViloProcessMemory::Result direct =
            QtViloProcessMemory::read(bogus, 0x1000, &byte, 1);
        QVERIFY(!direct.ok);
        QCOMPARE(direct.failedAt, QtViloProcessMemory::Stage::Open);
        QCOMPARE(direct.code, ENOENT);
        QCOMPARE(direct.heading, QStringLiteral("Could not open file! Are you sudo?"));
        QCOMPARE(direct.detail, QString::fromLocal8Bit(strerror(ENOENT)) +
                                    QStringLiteral(" - File: /proc/2147483000/mem"));

        QtViloPlotItem item(QStringLiteral("2147483000,p,v,0x1000"), true, m_defaults);
        item.processId = bogus;
        item.baseAddress = 0x1000;
        item.memorySize = 0; // even with nothing to read the open is tried
        QVERIFY(!read(&item, false));
        QCOMPARE(lastError().first, QStringLiteral("Could not open file! Are you sudo?"));
        QVERIFY(lastError().second.endsWith(QStringLiteral(" - File: /proc/2147483000/mem")));
        QCOMPARE(item.readRequested().available(), 1);
        item.readRequested().acquire();
    }

    void memoryOfAChild()
    {
        for (int i = 0; i < 4096; ++i)
            g_childPattern[i] = qint16(i * 3 - 5000);
        Child child;
        child.pid = fork();
        QVERIFY(child.pid >= 0);
        if (child.pid == 0) {
            for (;;)
                pause();
        }
        // The child keeps the pattern; ours changes, so the values can only come from it.
        memset(g_childPattern, 0, sizeof g_childPattern);

        qint16 probe[4] = {};
        const QtViloProcessMemory::Result direct = QtViloProcessMemory::read(
            child.pid, quintptr(g_childPattern), reinterpret_cast<char *>(probe), sizeof probe);
        if (!direct.ok && direct.failedAt == QtViloProcessMemory::Stage::Attach)
            QSKIP(qPrintable(QStringLiteral("ptrace attach is not permitted here: ") +
                             direct.detail));
        QVERIFY2(direct.ok, qPrintable(direct.heading + QLatin1Char(' ') + direct.detail));
        QCOMPARE(direct.bytesRead, qint64(sizeof probe));
        QCOMPARE(probe[0], qint16(-5000));
        QCOMPARE(probe[3], qint16(-4991));

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
        QCOMPARE(item.valueAt(0), 100.0 * 3 - 5000);
        QCOMPARE(item.valueAt(999), 1099.0 * 3 - 5000);
        QCOMPARE(item.minValue(), 100.0 * 3 - 5000);
        QCOMPARE(item.maxValue(), 1099.0 * 3 - 5000);
        QCOMPARE(item.visibleFraction(), 1000.0 / 4096);
        QCOMPARE(item.buffer().size(), int(sizeof g_childPattern));

        item.reverseOffset = true; // bytes 8192 - (200 + 2000) on
        QVERIFY(read(&item, false));
        QCOMPARE(item.valueAt(0), 2996.0 * 3 - 5000);

        // Beyond the end: nothing read, no error.
        item.reverseOffset = false;
        item.dataOffset = 5000;
        QVERIFY(read(&item, false));
        QCOMPARE(item.sampleCount(), qint64(0));
        QCOMPARE(item.visibleFraction(), 0.0);

        // The clear flag clears and reads nothing.
        item.dataOffset = 0;
        QVERIFY(read(&item, false, false, true));
        QCOMPARE(item.sampleCount(), qint64(0));
        QCOMPARE(item.buffer().size(), 0);

        // A range the child does not have mapped fails the read, with the child let go.
        item.baseAddress = 0x1000;
        QVERIFY(!read(&item, false));
        QCOMPARE(lastError().first, QStringLiteral("Could not read the process memory!"));
        QVERIFY(lastError().second.contains(QStringLiteral("Address: 0x1000")));
        item.readRequested().acquire();

        // Never left stopped or traced.
        QTRY_COMPARE(processState(child.pid), 'S');
        QCOMPARE(tracerPid(child.pid), QByteArray("0"));
    }

    void memoryAttachRefused()
    {
        Child child;
        child.pid = fork();
        QVERIFY(child.pid >= 0);
        if (child.pid == 0) {
            for (;;)
                pause();
        }
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
        QCOMPARE(r.code, EPERM);
        QCOMPARE(r.heading, QStringLiteral("Could not attach to the process! Are you sudo?"));
        QVERIFY(r.detail.startsWith(QString::fromLocal8Bit(strerror(EPERM)) +
                                    QStringLiteral(" - Process: ")));
        QTRY_COMPARE(processState(child.pid), 'S'); // running on, in its pause()
    }

    void memoryOfAProcessThatIsGone()
    {
        Child child;
        child.pid = fork();
        QVERIFY(child.pid >= 0);
        if (child.pid == 0)
            _exit(0);
        int status;
        QCOMPARE(waitpid(child.pid, &status, 0), child.pid);
        const pid_t gone = child.pid;
        child.pid = -1;
        char byte;
        const QtViloProcessMemory::Result r = QtViloProcessMemory::read(gone, 0x1000, &byte, 1);
        QVERIFY(!r.ok);
        QCOMPARE(r.failedAt, QtViloProcessMemory::Stage::Open);
        QCOMPARE(r.heading, QStringLiteral("Could not open file! Are you sudo?"));
    }
};

QTEST_GUILESS_MAIN(TestPlotDataReader)
#include "tst_plotdatareader.moc"
