// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QString>

#include <atomic>

class QThread;
class QtViloPlotItem;

// The plot tool's data reader: turns a plot item into samples, from a raw binary
// or ASCII file (mapped in place or streamed into the item's buffer) or from a range of a
// client's memory. Lives on its own thread ("FileReaderThread", made by the items model, see
// startThread()); object name "FileReaderWorker". Driven only by queued signals.
//
// Samples are read into new backing stores and swapped into the item under its dataLock()
// held for writing, so a reader of the old samples on another thread is never left dangling;
// the old stores are freed after the lock is given back.
class QtViloPlotDataReader : public QObject
{
    Q_OBJECT
public:
    static constexpr const char *WorkerName = "FileReaderWorker";
    static constexpr const char *ThreadName = "FileReaderThread";

    // Starts disabled: start() (the thread's started()) or enable() lets requests in.
    explicit QtViloPlotDataReader(QObject *parent = nullptr);
    ~QtViloPlotDataReader() override;

    // Makes the thread "FileReaderThread", moves the reader (which must have no parent) onto
    // it, connects started() to start() and finished() to quit(), and starts it. The caller
    // owns both; to end: disable(), thread->quit(), thread->wait(), then delete the reader.
    static QThread *startThread(QtViloPlotDataReader *reader, QObject *threadParent = nullptr);

    // Thread-safe. While disabled every request is ignored and a running ASCII parse stops.
    bool isEnabled() const { return m_enabled.load(); }
    void disable() { m_enabled.store(false); }

public slots:
    // Reads one item. Ignored unless enabled and serial == item->serial, and unless one unit
    // of item->readRequested() can be taken; a successful read gives one unit of
    // item->readDone() and emits itemProcessed(serial, item, key, tag), a failed one gives
    // the readRequested() unit back (errors go out through DataReadError; a read stopped by
    // item->abort or disable() gives the unit back silently). For file items, when mapped
    // differs from item->cachedMapped or dropCache is set, the item's data is dropped first
    // (memory items have no mode). clear drops the item's samples instead of reading, and
    // counts as a success.
    void readFile(const quint64 &serial, QtViloPlotItem *item, const QString &key,
                  const bool &mapped, const bool &dropCache, const qint32 &tag, const bool &clear);
    void enable();
    void start();
    void quit();
    // Writes the item's current samples as raw native binary (width of the item's format;
    // ASCII items as doubles) to the user's temp dir (QtViloTempPaths::userTempDir()):
    // memory items, and any item when copy is set, as "<base>_copyN.bin" (a new file, never
    // an existing one); other file items as "<file name>.bin", replaced atomically. <base> is
    // the name before "@" for memory items and the file name (with suffix) for file items.
    // Success: ReplicateToBinFileFinished(item, path); failure: ReplicationError.
    void onReplicateToBinFile(QtViloPlotItem *item, const bool &copy);

signals:
    void itemProcessed(const quint64 &serial, QtViloPlotItem *item, const QString &key,
                       const qint32 &tag);
    void DataReadError(QtViloPlotItem *item, const QString heading, const QString detail);
    void ReplicateToBinFileFinished(QtViloPlotItem *item, const QString &path);
    // title "Item replication Error!", text "Unable to replicate item at location: %1\n. Path
    // or Access permission issue?"
    void ReplicationError(QtViloPlotItem *item, const QString &title, const QString &text);

private:
    struct AsciiTotal
    {
        QString path;
        qint64 byteOffset = 0;
        qint64 size = 0;
        QDateTime modified;
        qint64 total = -1;
    };

    bool read(QtViloPlotItem *item, bool mapped, bool clear);
    bool readFileItem(QtViloPlotItem *item, bool mapped);
    bool readMemoryItem(QtViloPlotItem *item);
    void dropData(QtViloPlotItem *item);

    std::atomic<bool> m_enabled{false};
    // Totals of ASCII files from their last count, so stream mode counts only when the file,
    // its size, time or the byte offset changed. Keyed by item; an entry of a deleted item
    // only ever matches a file identical in all of these, whose total is the same.
    QHash<const QtViloPlotItem *, AsciiTotal> m_asciiTotals;
};
