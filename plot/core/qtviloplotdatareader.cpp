// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtviloplotdatareader.h"

#include "plot/core/qtviloasciiparser.h"
#include "plot/core/qtviloformats.h"
#include "plot/core/qtvilohugepages.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/core/qtviloprocessmemory.h"
#include "plot/core/qtviloreadrange.h"
#include "plot/core/qtvilosizetext.h"
#include "plot/core/qtvilotemppaths.h"
#include "plot/core/qtvilovaluerange.h"

#include "monitor/core/vrxmonpeer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QReadLocker>
#include <QSaveFile>
#include <QThread>
#include <QWriteLocker>

#include <cstring>
#include <memory>

namespace {

// An own buffer holds at most this many bytes: below QByteArray's 2 GiB and the most one
// read() or pread() transfers on Linux.
constexpr qint64 MaxBufferBytes = 0x7ffff000;
// The monitor lets no larger read through; the reader refuses one all the same, as the size
// comes from the client.
static_assert(VrxPeer::kMaxPlotReadBytes == quint64(QtViloSizeText::LargeFileLimit),
              "a memory read is bounded like a file");

const QString PathNotFound = QStringLiteral("Path not found!                  ");
const QString OpenFailed = QStringLiteral("ERROR: File open failed! Does file exist? ");

// What a read leaves for the item: the backing stores and the facts about the samples.
// Whatever it still owns when it goes (a new read's unused stores, or the item's old ones
// after the swap) is freed with it, outside the item's lock.
struct Stores
{
    QByteArray buffer;
    QVector<double> values;
    QFile *mappedFile = nullptr;
    uchar *mapping = nullptr;
    const void *data = nullptr;
    qint64 count = 0;
    qint64 total = -1;
    double fraction = 0;
    QtViloValueRange::Range range;

    Stores() = default;
    Stores(const Stores &) = delete;
    Stores &operator=(const Stores &) = delete;
    ~Stores()
    {
        if (mappedFile) {
            if (mapping)
                mappedFile->unmap(mapping);
            delete mappedFile;
        }
    }
};

// Swaps the stores into the item; the write-locked section only exchanges pointers.
void install(QtViloPlotItem *item, Stores &next)
{
    QWriteLocker locker(&item->dataLock());
    item->buffer().swap(next.buffer);
    item->values().swap(next.values);
    QFile *const oldFile = item->mappedFile();
    uchar *const oldMapping = item->mapping();
    item->setMapping(next.mappedFile, next.mapping);
    next.mappedFile = oldFile;
    next.mapping = oldMapping;
    item->setData(next.count > 0 ? next.data : nullptr);
    item->setSampleCount(next.count);
    item->setTotalSampleCount(next.total);
    item->setVisibleFraction(next.fraction);
    item->setValueRange(next.range.min, next.range.max);
}

QtViloReadRange::Params rangeParams(const QtViloPlotItem *item)
{
    QtViloReadRange::Params params;
    params.sampleWidth = item->sampleWidth();
    params.dataOffset = item->dataOffset;
    params.maxPlotSize = item->maxPlotSize;
    params.reverseOffset = item->reverseOffset;
    return params;
}

} // namespace

QtViloPlotDataReader::QtViloPlotDataReader(QObject *parent) : QObject(parent)
{
    setObjectName(QString::fromLatin1(WorkerName));
    // Queued connections carry the item pointer by this name.
    qRegisterMetaType<QtViloPlotItem *>("QtViloPlotItem*");
}

QtViloPlotDataReader::~QtViloPlotDataReader() = default;

QThread *QtViloPlotDataReader::startThread(QtViloPlotDataReader *reader, QObject *threadParent)
{
    auto *thread = new QThread(threadParent);
    thread->setObjectName(QString::fromLatin1(ThreadName));
    reader->moveToThread(thread);
    connect(thread, &QThread::started, reader, &QtViloPlotDataReader::start);
    connect(thread, &QThread::finished, reader, &QtViloPlotDataReader::quit);
    thread->start();
    return thread;
}

void QtViloPlotDataReader::enable()
{
    m_enabled.store(true);
}

void QtViloPlotDataReader::start()
{
    m_enabled.store(true);
}

void QtViloPlotDataReader::quit()
{
    m_enabled.store(false);
}

void QtViloPlotDataReader::readFile(const quint64 &serial, QtViloPlotItem *item, const QString &key,
                                    const bool &mapped, const bool &dropCache, const qint32 &tag,
                                    const bool &clear)
{
    // item->serial is the model's; a request it has moved past is stale.
    if (!item || !m_enabled.load() || serial != item->serial)
        return;
    if (!item->readRequested().tryAcquire())
        return;
    if (!item->isMemory() && (mapped != item->cachedMapped || dropCache)) {
        dropData(item);
        item->cachedMapped = mapped;
    }
    if (read(item, mapped, clear)) {
        item->readDone().release();
        emit itemProcessed(serial, item, key, tag);
    } else {
        item->readRequested().release();
    }
}

void QtViloPlotDataReader::dropData(QtViloPlotItem *item)
{
    m_asciiTotals.remove(item);
    Stores empty;
    install(item, empty);
}

bool QtViloPlotDataReader::read(QtViloPlotItem *item, bool mapped, bool clear)
{
    if (clear) {
        // A cleared item keeps its total (a memory item's requested size stays known).
        Stores empty;
        empty.total = item->totalSampleCount();
        install(item, empty);
        return true;
    }
    return item->isMemory() ? readMemoryItem(item) : readFileItem(item, mapped);
}

bool QtViloPlotDataReader::readFileItem(QtViloPlotItem *item, bool mapped)
{
    const QString path = item->source();
    const QFileInfo info(path);
    if (!info.exists()) {
        emit DataReadError(item, PathNotFound, path);
        return false;
    }
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::ReadOnly)) {
        emit DataReadError(item, OpenFailed,
                           file->errorString() + QStringLiteral(" - File: ") + path);
        return false;
    }
    const qint64 size = file->size();
    const qint64 byteOffset = std::max<qint64>(item->fileOffset, 0);
    const QtViloReadRange::Params params = rangeParams(item);
    const int width = item->sampleWidth();
    const int typeIndex = item->typeIndex();
    Stores next;

    if (typeIndex == QtViloFormats::AsciiType) {
        QtViloAsciiParser::Params ascii;
        ascii.dataOffset = params.dataOffset;
        ascii.maxPlotSize = params.maxPlotSize;
        ascii.reverseOffset = params.reverseOffset;
        ascii.sourceName = info.fileName();
        ascii.cancelled = [this, item] { return item->abort.loadRelaxed() != 0 || !isEnabled(); };
        const QDateTime modified = info.lastModified();
        const auto cached = m_asciiTotals.constFind(item);
        if (cached != m_asciiTotals.constEnd() && cached->path == path &&
            cached->byteOffset == byteOffset && cached->size == size &&
            cached->modified == modified)
            ascii.knownTotal = cached->total;

        QtViloAsciiParser::Result result;
        uchar *map = mapped && size > byteOffset ? file->map(0, size) : nullptr;
        if (map) {
            // Scanned in place; the values are copies, so the mapping goes right after.
            result = QtViloAsciiParser::parseMapped(
                reinterpret_cast<const char *>(map) + byteOffset, size - byteOffset, ascii);
            file->unmap(map);
        } else {
            // Stream mode, and the fallback when a file cannot be mapped.
            result = QtViloAsciiParser::parseStream(*file, byteOffset, ascii);
        }
        if (!result.ok) {
            if (!result.wasCancelled)
                emit DataReadError(item, result.heading, result.detail);
            return false;
        }
        m_asciiTotals.insert(item, AsciiTotal{path, byteOffset, size, modified, result.total});
        next.values = std::move(result.values);
        next.count = next.values.size();
        next.data = next.values.constData();
        next.total = result.total;
        next.fraction =
            QtViloReadRange::visibleFraction(next.total, params.dataOffset, params.maxPlotSize);
        next.range = QtViloValueRange::of(next.values.constData(), next.count);
        install(item, next);
        return true;
    }

    // Binary: the total is recorded before the range is applied.
    const qint64 total = QtViloReadRange::availableSamples(size, byteOffset, width);
    const QtViloReadRange::SampleRange range = QtViloReadRange::fileRange(params, total);
    next.total = total;
    next.fraction = QtViloReadRange::visibleFraction(total, params.dataOffset, params.maxPlotSize);
    const qint64 first = byteOffset + range.start * width; // <= size, as start + count <= total
    qint64 count = range.count;
    const qint64 bufferCount = std::min(count, MaxBufferBytes / width);

    uchar *map = mapped && count > 0 ? file->map(0, size) : nullptr;
    if (map) {
        const uchar *samples = map + first;
        if (reinterpret_cast<quintptr>(samples) % quintptr(width) == 0) {
            next.mappedFile = file.release();
            next.mapping = map;
            next.data = samples;
        } else {
            // A byte offset that is not a multiple of the width leaves the samples misaligned
            // in the page-aligned mapping; reading them through a T* is undefined behaviour
            // (and traps on some targets), so the range is copied into an aligned buffer.
            count = bufferCount;
            next.buffer.resize(int(count * width));
            memcpy(next.buffer.data(), samples, size_t(count * width));
            next.data = next.buffer.constData();
            file->unmap(map);
        }
    } else if (count > 0) {
        count = bufferCount;
        next.buffer.resize(int(count * width));
        QtViloMemory::adviseHugePages(next.buffer.data(), quint64(count * width));
        qint64 got = -1;
        if (file->seek(first))
            got = file->read(next.buffer.data(), count * width);
        if (got < 0) {
            emit DataReadError(item, OpenFailed,
                               file->errorString() + QStringLiteral(" - File: ") + path);
            return false;
        }
        // The file shrank since its size was taken: keep the whole samples that came.
        count = got / width;
        next.buffer.resize(int(count * width));
        next.data = next.buffer.constData();
    }
    next.count = count;
    next.range = QtViloValueRange::of(next.data, count, typeIndex);
    install(item, next);
    return true;
}

bool QtViloPlotDataReader::readMemoryItem(QtViloPlotItem *item)
{
    const QtViloReadRange::Params params = rangeParams(item);
    const int width = item->sampleWidth();
    if (item->memorySize > quint64(QtViloSizeText::LargeFileLimit)) {
        emit DataReadError(item, QStringLiteral("Could not read the process memory!"),
                           QStringLiteral("%1 bytes requested, at most %2 bytes are read - "
                                          "Process: %3")
                               .arg(item->memorySize)
                               .arg(QtViloSizeText::LargeFileLimit)
                               .arg(item->processId));
        return false;
    }
    const qint64 size = qint64(item->memorySize);
    const QtViloReadRange::ByteRange range = QtViloReadRange::memoryRange(params, size);

    Stores next;
    // Sized to the requested byte size; the range is read to its start.
    next.buffer.resize(int(size));
    const QtViloProcessMemory::Result result =
        QtViloProcessMemory::read(item->processId, item->baseAddress + quint64(range.start),
                                  next.buffer.data(), range.length);
    if (!result.ok) {
        emit DataReadError(item, result.heading, result.detail);
        return false;
    }
    next.total = size / width;
    next.count = range.length / width;
    next.data = next.buffer.constData();
    next.fraction =
        QtViloReadRange::visibleFraction(next.total, params.dataOffset, params.maxPlotSize);
    next.range = QtViloValueRange::of(next.data, next.count, item->typeIndex());
    install(item, next);
    return true;
}

void QtViloPlotDataReader::onReplicateToBinFile(QtViloPlotItem *item, const bool &copy)
{
    if (!item)
        return;
    const QString dir = QtViloTempPaths::userTempDir();
    QString base = item->isMemory() ? item->baseName() : QFileInfo(item->baseName()).fileName();
    // The base names a file in dir, never a path.
    base.replace(QLatin1Char('/'), QLatin1Char('_'));
    const auto fail = [&](const QString &where) {
        emit ReplicationError(
            item, QStringLiteral("Item replication Error!"),
            QStringLiteral("Unable to replicate item at location: %1\n. Path or Access permission "
                           "issue?")
                .arg(where));
    };
    if (dir.isEmpty() || !QDir().mkpath(dir)) {
        fail(dir.isEmpty() ? QStringLiteral("~/.local/share/Temp/") : dir);
        return;
    }

    QReadLocker locker(&item->dataLock());
    const char *bytes = static_cast<const char *>(item->data());
    const qint64 length = bytes ? item->sampleCount() * item->sampleWidth() : 0;
    QString path;
    if (copy || item->isMemory()) {
        // A new file: NewOnly never follows a name another writer took meanwhile.
        QFile file;
        bool opened = false;
        for (int attempt = 0; attempt < 100 && !opened; ++attempt) {
            path = QtViloTempPaths::nextFreeCopyPath(dir, base);
            file.setFileName(path);
            opened = file.open(QIODevice::WriteOnly | QIODevice::NewOnly);
        }
        if (!opened || file.write(bytes, length) != length || !file.flush()) {
            if (opened)
                file.remove();
            fail(path);
            return;
        }
        file.close();
    } else {
        // Written aside and renamed over, so a mapping of an older replica keeps its bytes.
        path = QtViloTempPaths::replicaPath(dir, base);
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes, length) != length ||
            !file.commit()) {
            fail(path);
            return;
        }
    }
    locker.unlock();
    emit ReplicateToBinFileFinished(item, path);
}
