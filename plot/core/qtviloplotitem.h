// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/core/qtviloplotitemdefaults.h"

#include <QAtomicInt>
#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QReadWriteLock>
#include <QSemaphore>
#include <QString>
#include <QVector>

#include <atomic>

class QFile;

// One row of the plot items list: a sample file or a range of a client's memory, its read
// parameters and the samples the reader left for it.
//
// Threads: the items model (interface thread) owns the item and sets its parameters before
// it asks for a read; the reader thread fills the data. Samples are swapped in under
// dataLock() held for writing, and whoever draws or transforms them holds it for reading.
class QtViloPlotItem
{
public:
    enum class FileState { Normal, Changed, Deleted, Locked };

    // A file path, or for a memory item the request text of the monitor, kept unchanged.
    QtViloPlotItem(const QString &source, bool isMemory, const QtViloPlotItemDefaults &defaults);
    ~QtViloPlotItem();
    QtViloPlotItem(const QtViloPlotItem &) = delete;
    QtViloPlotItem &operator=(const QtViloPlotItem &) = delete;

    bool isMemory() const { return m_isMemory; }
    // File path or request text.
    const QString &source() const { return m_source; }
    // File path, or "name@address" for a memory item.
    const QString &name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }
    // The item's name before any "@", as copies of it are named.
    QString baseName() const;

    // Read parameters.
    QString format() const { return m_format; }
    // Also sets the width and the type index; an unknown text keeps the current format.
    bool setFormat(const QString &display);
    int sampleWidth() const { return m_width; }
    int typeIndex() const { return m_typeIndex; }
    qint32 step = 1;
    qint64 fileOffset = 0;
    qint64 dataOffset = 0;
    bool reverseOffset = false;
    qint64 maxPlotSize = 0;
    double sampleRate = 1.0;
    qint32 sampleResolution = 16;
    double inputRange = 1.0;
    double gain = 1.0;
    bool visible = true;
    QString dsp = QStringLiteral("None");

    // Memory source.
    qint64 processId = 0;
    quint64 baseAddress = 0;
    quint64 memorySize = 0;

    // File facts shown in the list.
    qint64 fileSize = 0;
    QDateTime modified;
    FileState fileState = FileState::Normal;

    // Request serial of the last read asked for; a result with another serial is stale.
    // Set by the model on its thread while the reader and DSP workers compare it on theirs.
    std::atomic<quint64> serial{0};
    // The mapped/stream choice of the cached data; a change drops the cache.
    bool cachedMapped = false;

    // Samples, set by the reader under dataLock() for writing.
    QReadWriteLock &dataLock() const { return m_dataLock; }
    const void *data() const { return m_data; }
    qint64 sampleCount() const { return m_sampleCount; }
    // Samples in the whole source, -1 while unknown (ASCII files before their first count).
    qint64 totalSampleCount() const { return m_totalSampleCount; }
    double visibleFraction() const { return m_visibleFraction; }
    // Smallest and largest sample of the data, found when it was read.
    double minValue() const { return m_minValue; }
    double maxValue() const { return m_maxValue; }
    // The sample at index i as a double (i < sampleCount()).
    double valueAt(qint64 i) const;

    // Changes whenever the samples are replaced or dropped; level-of-detail lists built for
    // one generation mean nothing for another.
    quint64 dataGeneration() const { return m_dataGeneration; }
    void setData(const void *data)
    {
        m_data = data;
        ++m_dataGeneration;
    }
    void setSampleCount(qint64 count) { m_sampleCount = count; }
    void setTotalSampleCount(qint64 count) { m_totalSampleCount = count; }
    void setVisibleFraction(double fraction) { m_visibleFraction = fraction; }
    void setValueRange(double minValue, double maxValue);

    // Backing stores the data pointer points into: an own buffer (stream mode and memory),
    // the values of an ASCII file, or a mapping of the file (mapped mode).
    QByteArray &buffer() { return m_buffer; }
    QVector<double> &values() { return m_values; }
    QFile *mappedFile() const { return m_mappedFile; }
    uchar *mapping() const { return m_mapping; }
    void setMapping(QFile *file, uchar *mapping);
    // Drops the data and every backing store; call with dataLock() held for writing.
    void clearData();

    // Pacing: the model releases readRequested() to allow one read, the reader takes it and
    // gives readDone() on success or returns readRequested() on failure. The DSP worker takes
    // dspRequested() before it works on the item and gives dspDone() after.
    QSemaphore &readRequested() { return m_readRequested; }
    QSemaphore &readDone() { return m_readDone; }
    QSemaphore &dspRequested() { return m_dspRequested; }
    QSemaphore &dspDone() { return m_dspDone; }

    // Set by another thread to stop long work on this item (removal, a newer request).
    QAtomicInt abort;

    // DSP results: one buffer of doubles (little endian, no header) per DSP plot index,
    // written by the DSP worker and read by the DSP plot, both under dspLock().
    QReadWriteLock &dspLock() const { return m_dspLock; }
    QHash<qint32, QByteArray> &dspResults() { return m_dspResults; }
    const QHash<qint32, QByteArray> &dspResults() const { return m_dspResults; }
    // What each result holds (a QtViloDsp::Kind), so the plot can tell dBFS from the rest.
    QHash<qint32, quint8> &dspKinds() { return m_dspKinds; }
    const QHash<qint32, quint8> &dspKinds() const { return m_dspKinds; }
    // Changes (under dspLock() held for writing) whenever a result is replaced or dropped:
    // level-of-detail lists of the DSP plot are made for one result.
    quint64 dspGeneration = 0;
    // Set by another thread to stop a running transform; the worker clears it at each start.
    QAtomicInteger<quint8> dspAbort{0};
    // Cleared when a transform starts, set when its result is complete: the DSP plot shows
    // no half-written result.
    QAtomicInteger<quint8> dspComplete{0};

private:
    QString m_source;
    QString m_name;
    bool m_isMemory;
    QString m_format;
    int m_width = 2;
    int m_typeIndex = 1;

    mutable QReadWriteLock m_dataLock;
    const void *m_data = nullptr;
    quint64 m_dataGeneration = 0;
    qint64 m_sampleCount = 0;
    qint64 m_totalSampleCount = -1;
    double m_visibleFraction = 0;
    double m_minValue = 0;
    double m_maxValue = 0;
    QByteArray m_buffer;
    QVector<double> m_values;
    QFile *m_mappedFile = nullptr;
    uchar *m_mapping = nullptr;

    mutable QReadWriteLock m_dspLock;
    QHash<qint32, QByteArray> m_dspResults;
    QHash<qint32, quint8> m_dspKinds;

    QSemaphore m_readRequested{0};
    QSemaphore m_readDone{0};
    QSemaphore m_dspRequested{0};
    QSemaphore m_dspDone{0};
};
