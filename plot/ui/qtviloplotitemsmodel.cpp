// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloplotitemsmodel.h"

#include "plot/core/qtvilodspworker.h"
#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotdatareader.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/core/qtviloplotrequest.h"
#include "plot/core/qtvilorealtime.h"
#include "plot/core/qtvilosizetext.h"
#include "plot/core/qtvilossbmonitor.h"
#include "util/ui/notify.h"

#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QIcon>
#include <QPointer>
#include <QThread>

#include <utility>

namespace {
const char *const Headers[] = {
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Visibility"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "File Path"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Format"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Step"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Byte Offset"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Sample Offset"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Max Plot Size"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Plot Percentage"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Sample Rate (Hz)"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Resolution (Bits/S)"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Input Range (Vpp)"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Gain"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "File Size"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "Date Modified"),
    QT_TRANSLATE_NOOP("QtViloPlotItemsModel", "DSP")};
static_assert(sizeof(Headers) / sizeof(Headers[0]) == QtViloPlotItemsModel::ColumnCount,
              "one header per column");

// Columns whose change needs the samples read again; the others only change the drawing.
bool changesSamples(int column)
{
    return column >= QtViloPlotItemsModel::FormatColumn &&
           column <= QtViloPlotItemsModel::MaxPlotSizeColumn;
}

void reportInvalidIndex(int line, const char *accessor)
{
    qWarning("%s", qPrintable(QStringLiteral("%1 %2 %3: Invalid index!")
                                  .arg(QStringLiteral("qtviloplotitemsmodel"))
                                  .arg(line)
                                  .arg(QLatin1String(accessor))));
}
} // namespace

QtViloPlotItemsModel::QtViloPlotItemsModel(QObject *parent)
    : QAbstractTableModel(parent), m_defaults(loadPlotItemDefaults()),
      m_watcher(new QFileSystemWatcher(this)), m_readerThread(new QThread(this)),
      m_reader(new QtViloPlotDataReader), m_dspThread(new QThread(this)),
      m_dspWorker(new QtViloDspWorker), m_ssbThread(new QThread(this)),
      m_ssbMonitor(new QtViloSsbMonitor)
{
    m_readerThread->setObjectName(QStringLiteral("FileReaderThread"));
    m_dspThread->setObjectName(QStringLiteral("DspWorkerThread"));
    m_ssbThread->setObjectName(QStringLiteral("SharedMemMonThread"));
    m_reader->moveToThread(m_readerThread);
    m_dspWorker->moveToThread(m_dspThread);
    m_ssbMonitor->moveToThread(m_ssbThread);

    connect(m_watcher, &QFileSystemWatcher::fileChanged, this,
            &QtViloPlotItemsModel::onWatchedItemChanged);
    connect(this, &QtViloPlotItemsModel::restartFileReader, m_reader,
            &QtViloPlotDataReader::enable);
    connect(m_readerThread, &QThread::started, m_reader, &QtViloPlotDataReader::start);
    connect(m_dspThread, &QThread::started, m_dspWorker, &QtViloDspWorker::start);
    connect(m_ssbThread, &QThread::started, m_ssbMonitor, &QtViloSsbMonitor::start);
    connect(this, &QtViloPlotItemsModel::dataChanged, this,
            &QtViloPlotItemsModel::UpdateFileData);
    connect(this, &QtViloPlotItemsModel::itemChanged, m_reader, &QtViloPlotDataReader::readFile);
    connect(this, &QtViloPlotItemsModel::PlotItemDefaultValueChanged, this,
            &QtViloPlotItemsModel::onPlotItemDefaultValueChanged);
    connect(this, &QtViloPlotItemsModel::SignalPlotEnableChanged, this,
            &QtViloPlotItemsModel::onSignalPlotEnableChanged);
    connect(this, &QtViloPlotItemsModel::ReplicateToBinFile, m_reader,
            &QtViloPlotDataReader::onReplicateToBinFile);
    connect(m_reader, &QtViloPlotDataReader::ReplicateToBinFileFinished, this,
            &QtViloPlotItemsModel::onReplicateToBinFileFinished);
    connect(m_reader, &QtViloPlotDataReader::ReplicationError, this,
            &QtViloPlotItemsModel::onReplicationError);
    connect(m_reader, &QtViloPlotDataReader::itemProcessed, this,
            &QtViloPlotItemsModel::FileDataUpdateResult);
    connect(m_reader, &QtViloPlotDataReader::DataReadError, this,
            &QtViloPlotItemsModel::onAsciiReadError);
    connect(this, &QtViloPlotItemsModel::requestDSP, m_dspWorker, &QtViloDspWorker::doDSP);
    connect(m_dspWorker, &QtViloDspWorker::DSPDone, this,
            &QtViloPlotItemsModel::DSPDataUpdateResult);
    connect(m_readerThread, &QThread::finished, m_reader, &QtViloPlotDataReader::quit);
    connect(m_dspThread, &QThread::finished, m_dspWorker, &QtViloDspWorker::quit);
    connect(m_ssbThread, &QThread::finished, m_ssbMonitor, &QtViloSsbMonitor::quit);

    m_readerThread->start();
    m_dspThread->start();
    m_ssbThread->start();
    emit restartFileReader();
}

QtViloPlotItemsModel::~QtViloPlotItemsModel()
{
    // Workers finish what they hold before the items they point at go.
    for (QThread *thread : {m_readerThread, m_dspThread, m_ssbThread}) {
        thread->quit();
        thread->wait();
    }
    delete m_reader;
    delete m_dspWorker;
    delete m_ssbMonitor;
    qDeleteAll(m_items);
    qDeleteAll(m_retiring);
}

int QtViloPlotItemsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_items.size();
}

int QtViloPlotItemsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant QtViloPlotItemsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_items.size()) {
        reportInvalidIndex(__LINE__, "data");
        return {};
    }
    const QtViloPlotItem *item = m_items.at(index.row());
    const int column = index.column();
    if (role == Qt::CheckStateRole) {
        if (column == VisibilityColumn)
            return item->visible ? Qt::Checked : Qt::Unchecked;
        if (column == SampleOffsetColumn)
            return item->reverseOffset ? Qt::Checked : Qt::Unchecked;
        return {};
    }
    if (role == Qt::ToolTipRole) {
        switch (column) {
        case VisibilityColumn:
            return tr("Set Plot Visibility");
        case FilePathColumn:
            return item->source();
        case SampleOffsetColumn:
            return tr("Revers offset uses end of file as offset reference");
        default:
            return {};
        }
    }
    if (role == Qt::DecorationRole && column == FilePathColumn && !item->isMemory()) {
        switch (item->fileState) {
        case QtViloPlotItem::FileState::Changed:
            return QIcon(QStringLiteral("://Images/refreshfile.png"));
        case QtViloPlotItem::FileState::Deleted:
            return QIcon(QStringLiteral("://Images/deletedfile.png"));
        case QtViloPlotItem::FileState::Locked:
            return QIcon(QStringLiteral("://Images/lockedfile.png"));
        case QtViloPlotItem::FileState::Normal:
            return {};
        }
    }
    if (role == Qt::EditRole && column == FormatColumn)
        return item->sampleWidth();
    if (role != Qt::DisplayRole && role != Qt::EditRole)
        return {};
    switch (column) {
    case FilePathColumn:
        if (!item->isMemory() && item->fileState == QtViloPlotItem::FileState::Deleted)
            return item->name() + tr(" [Not Found!]");
        return item->name();
    case FormatColumn:
        return item->format();
    case StepColumn:
        return item->step;
    case ByteOffsetColumn:
        return item->fileOffset;
    case SampleOffsetColumn:
        return item->dataOffset;
    case MaxPlotSizeColumn:
        return item->maxPlotSize;
    case PlotPercentageColumn:
        return role == Qt::EditRole ? QVariant(item->visibleFraction())
                                    : QVariant(QString::number(item->visibleFraction() * 100.0,
                                                               'f', 2) +
                                               QLatin1Char('%'));
    case SampleRateColumn:
        return item->sampleRate;
    case ResolutionColumn:
        return item->sampleResolution;
    case InputRangeColumn:
        return item->inputRange;
    case GainColumn:
        return item->gain;
    case FileSizeColumn: {
        const qint64 size = item->isMemory() ? qint64(item->memorySize) : item->fileSize;
        return role == Qt::EditRole ? QVariant(size) : QVariant(QtViloSizeText::sizeText(quint64(size)));
    }
    case DateModifiedColumn:
        return item->modified.isValid()
                   ? item->modified.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"))
                   : QString();
    case DspColumn:
        return item->dsp;
    default:
        return {};
    }
}

QVariant QtViloPlotItemsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 &&
        section < ColumnCount)
        return tr(Headers[section]);
    return QAbstractTableModel::headerData(section, orientation, role);
}

Qt::ItemFlags QtViloPlotItemsModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index) | Qt::ItemIsDropEnabled;
    if (!index.isValid())
        return flags;
    flags |= Qt::ItemIsDragEnabled;
    switch (index.column()) {
    case VisibilityColumn:
        return flags | Qt::ItemIsUserCheckable;
    case SampleOffsetColumn:
        return flags | Qt::ItemIsUserCheckable | Qt::ItemIsEditable;
    case FormatColumn:
    case StepColumn:
    case ByteOffsetColumn:
    case MaxPlotSizeColumn:
    case SampleRateColumn:
    case ResolutionColumn:
    case InputRangeColumn:
    case GainColumn:
    case DspColumn:
        return flags | Qt::ItemIsEditable;
    default:
        return flags;
    }
}

bool QtViloPlotItemsModel::applyEdit(QtViloPlotItem *item, int column, const QVariant &value)
{
    bool ok = true;
    switch (column) {
    case FormatColumn:
        // The edit role reads back the width; the editor writes the display text.
        ok = item->setFormat(value.toString());
        break;
    case StepColumn: {
        const int step = value.toInt(&ok);
        if (ok && step >= 1)
            item->step = step;
        break;
    }
    case ByteOffsetColumn: {
        const qint64 offset = value.toLongLong(&ok);
        if (ok && offset >= 0)
            item->fileOffset = offset;
        break;
    }
    case SampleOffsetColumn: {
        const qint64 offset = value.toLongLong(&ok);
        if (ok && offset >= 0)
            item->dataOffset = offset;
        break;
    }
    case MaxPlotSizeColumn: {
        const qint64 size = value.toLongLong(&ok);
        if (ok && size >= 0)
            item->maxPlotSize = size;
        break;
    }
    case SampleRateColumn: {
        const double rate = value.toDouble(&ok);
        if (ok && rate > 0)
            item->sampleRate = rate;
        break;
    }
    case ResolutionColumn: {
        const int bits = value.toInt(&ok);
        if (ok && bits > 0 && bits <= 64)
            item->sampleResolution = bits;
        break;
    }
    case InputRangeColumn:
        item->inputRange = value.toDouble(&ok);
        break;
    case GainColumn:
        item->gain = value.toDouble(&ok);
        break;
    case DspColumn:
        item->dsp = value.toString();
        break;
    default:
        return false;
    }
    return ok;
}

bool QtViloPlotItemsModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!index.isValid() || index.row() >= m_items.size()) {
        reportInvalidIndex(__LINE__, "setData");
        return false;
    }
    QtViloPlotItem *item = m_items.at(index.row());
    if (role == Qt::CheckStateRole) {
        const bool checked = value.toInt() == Qt::Checked;
        if (index.column() == VisibilityColumn) {
            const bool linked = m_linkMode != LinkMode::Off &&
                                m_linkedColumns.contains(VisibilityColumn);
            for (QtViloPlotItem *other : qAsConst(m_items)) {
                if (other == item || linked)
                    other->visible = checked;
            }
            emit dataChanged(linked ? this->index(0, 0) : index,
                             linked ? this->index(m_items.size() - 1, 0) : index, {role});
            emit PlotItemsChanged();
            return true;
        }
        if (index.column() == SampleOffsetColumn) {
            item->reverseOffset = checked;
            emit dataChanged(index, index, {role});
            return true;
        }
        return false;
    }
    if (role != Qt::EditRole)
        return false;
    const int column = index.column();
    const QVariant before = data(index, column == FormatColumn ? Qt::DisplayRole : role);
    if (!applyEdit(item, column, value))
        return false;
    if (m_linkMode == LinkMode::Off || !m_linkedColumns.contains(column) || m_items.size() < 2) {
        emit dataChanged(index, index, {role});
        return true;
    }
    const QVariant after = data(index, column == FormatColumn ? Qt::DisplayRole : role);
    const bool numeric = after.canConvert<double>() && column != FormatColumn &&
                         column != DspColumn;
    for (QtViloPlotItem *other : qAsConst(m_items)) {
        if (other == item)
            continue;
        if (m_linkMode == LinkMode::Increment && numeric) {
            const QModelIndex otherIndex = this->index(m_items.indexOf(other), column);
            const double changed = data(otherIndex, role).toDouble() + after.toDouble() -
                                   before.toDouble();
            applyEdit(other, column, after.type() == QVariant::Double
                                         ? QVariant(changed)
                                         : QVariant(qint64(qRound64(changed))));
        } else {
            applyEdit(other, column, after);
        }
    }
    emit dataChanged(this->index(0, column), this->index(m_items.size() - 1, column), {role});
    return true;
}

void QtViloPlotItemsModel::setLinks(const QSet<int> &columns, LinkMode mode)
{
    m_linkedColumns = columns;
    m_linkMode = mode;
}

void QtViloPlotItemsModel::UpdateFileData(const QModelIndex topLeft,
                                          const QModelIndex bottomRight)
{
    if (m_applyingOwnChange || !topLeft.isValid() || !bottomRight.isValid())
        return;
    bool reread = false;
    for (int column = topLeft.column(); column <= bottomRight.column(); ++column)
        reread = reread || changesSamples(column);
    QList<QtViloPlotItem *> items;
    for (int row = topLeft.row(); row <= bottomRight.row() && row < m_items.size(); ++row)
        items << m_items.at(row);
    if (reread) {
        requestRead(items, false); // the DSP follows each read
        return;
    }
    if (topLeft.column() <= DspColumn && bottomRight.column() >= DspColumn) {
        for (QtViloPlotItem *item : qAsConst(items))
            requestDsp(item);
    }
    if (topLeft.column() <= DspColumn && bottomRight.column() >= SampleRateColumn)
        emit PlotItemsChanged();
}

bool QtViloPlotItemsModel::removeRows(int row, int count, const QModelIndex &parent)
{
    if (parent.isValid() || row < 0 || count <= 0 || row + count > m_items.size())
        return false;
    beginRemoveRows(parent, row, row + count - 1);
    const QList<QtViloPlotItem *> gone = m_items.mid(row, count);
    for (int i = 0; i < count; ++i)
        m_items.removeAt(row);
    endRemoveRows();
    retire(gone);
    return true;
}

void QtViloPlotItemsModel::removeAllRows()
{
    if (m_items.isEmpty())
        return;
    beginResetModel();
    const QList<QtViloPlotItem *> gone = m_items;
    m_items.clear();
    endResetModel();
    retire(gone);
}

void QtViloPlotItemsModel::retire(const QList<QtViloPlotItem *> &items)
{
    for (QtViloPlotItem *item : items) {
        if (!item->isMemory())
            m_watcher->removePath(item->source());
        else
            m_shownMemoryErrors.remove(item->name()); // a later item of that name is new
        item->abort.storeRelease(1);
        auto pending = m_pendingReads.find(item->serial);
        if (pending != m_pendingReads.end()) {
            pending->remove(item);
            if (pending->isEmpty())
                completeBatch(item->serial, m_memoryBatches.contains(item->serial));
        }
    }
    // The plots drop their curves now; the workers may still hold requests for these items,
    // so they are deleted behind those requests, first on the reader's thread, then on the
    // DSP worker's.
    emit PlotItemsChanged();
    // Until then they wait here, so the destructor can free them if the threads stop first.
    m_retiring << items;
    QtViloDspWorker *dsp = m_dspWorker;
    QtViloPlotItemsModel *model = this;
    QMetaObject::invokeMethod(
        m_reader,
        [items, dsp, model] {
            QMetaObject::invokeMethod(
                dsp,
                [items, model] {
                    QMetaObject::invokeMethod(
                        model,
                        [items, model] {
                            for (QtViloPlotItem *item : items)
                                model->m_retiring.removeOne(item);
                            qDeleteAll(items);
                        },
                        Qt::QueuedConnection);
                },
                Qt::QueuedConnection);
        },
        Qt::QueuedConnection);
}

QString QtViloPlotItemsModel::filePath(int row) const
{
    if (row < 0 || row >= m_items.size()) {
        reportInvalidIndex(__LINE__, "filePath");
        return {};
    }
    return m_items.at(row)->source();
}

bool QtViloPlotItemsModel::isMemoryItem(int row) const
{
    return row >= 0 && row < m_items.size() && m_items.at(row)->isMemory();
}

QtViloPlotItem *QtViloPlotItemsModel::item(int row) const
{
    return row >= 0 && row < m_items.size() ? m_items.at(row) : nullptr;
}

void QtViloPlotItemsModel::setMemoryMapped(bool on)
{
    if (m_memoryMapped == on)
        return;
    m_memoryMapped = on;
    replot();
}

void QtViloPlotItemsModel::setTargetPlotCount(int count)
{
    m_targetPlotCount = qMax(0, count);
}

QtViloPlotItem *QtViloPlotItemsModel::findItem(const QString &name, bool isMemory) const
{
    for (QtViloPlotItem *item : m_items) {
        if (item->isMemory() == isMemory && item->name() == name)
            return item;
    }
    return nullptr;
}

void QtViloPlotItemsModel::refreshFileFacts(QtViloPlotItem *item) const
{
    const QFileInfo info(item->source());
    if (!info.exists()) {
        item->fileState = QtViloPlotItem::FileState::Deleted;
        return;
    }
    item->fileSize = info.size();
    item->modified = info.lastModified();
}

QtViloPlotItem *QtViloPlotItemsModel::makeFileItem(const QString &path) const
{
    auto *item = new QtViloPlotItem(path, false, m_defaults);
    const QString type = QtViloFormats::fileType(path);
    if (type != QLatin1String("bin"))
        item->setFormat(QtViloFormats::displayOfSuffix(type));
    refreshFileFacts(item);
    return item;
}

void QtViloPlotItemsModel::AppendRows(const QStringList &paths, const bool &isMemory)
{
    QList<QtViloPlotItem *> toRead;
    QList<QtViloPlotItem *> added;
    QStringList tooLarge;
    QStringList refused;
    int visibleCount = 0;
    for (const QtViloPlotItem *item : m_items)
        visibleCount += item->visible ? 1 : 0;

    for (const QString &text : paths) {
        QtViloPlotItem *item = nullptr;
        if (isMemory) {
            const QtViloPlotRequest request = parsePlotRequest(text, m_defaults);
            if (!request.ok) {
                refused << request.message;
                continue;
            }
            item = findItem(request.name, true);
            if (!item) {
                item = new QtViloPlotItem(text, true, m_defaults);
                added << item;
            }
            applyPlotRequest(request, *item);
        } else {
            const QFileInfo info(text);
            if (info.isDir())
                continue;
            if (QtViloSizeText::exceedsLargeFileLimit(info.size())) {
                tooLarge << text;
                continue;
            }
            item = findItem(text, false);
            if (!item) {
                item = makeFileItem(text);
                m_watcher->addPath(text);
                added << item;
            } else {
                refreshFileFacts(item);
            }
        }
        if (!toRead.contains(item))
            toRead << item;
    }

    if (!added.isEmpty()) {
        for (QtViloPlotItem *item : added) {
            if (m_targetPlotCount > 0 && visibleCount >= m_targetPlotCount)
                item->visible = false;
            visibleCount += item->visible ? 1 : 0;
        }
        for (QtViloPlotItem *item : added)
            item->dspRequested().release(); // the one unit the DSP worker takes and gives back
        beginInsertRows(QModelIndex(), m_items.size(), m_items.size() + added.size() - 1);
        m_items << added;
        endInsertRows();
        emit PlotItemsChanged();
    }
    if (!tooLarge.isEmpty()) {
        Notify::warning(nullptr, QtViloSizeText::largeFileWarningTitle(),
                        QtViloSizeText::largeFileWarningText(tooLarge) + QStringLiteral("\n\n") +
                            QtViloSizeText::largeFileWarningInformativeText());
    }
    if (!toRead.isEmpty())
        requestRead(toRead, isMemory);
    if (!isMemory && !toRead.isEmpty())
        emit PlotFilesOpened();
    // A request that names no memory is never read; its client must still go on.
    if (isMemory && toRead.isEmpty() && !refused.isEmpty())
        releaseRealTimeRequest();
    for (const QString &message : qAsConst(refused)) {
        if (m_shownMemoryErrors.contains(message))
            continue;
        m_shownMemoryErrors.insert(message);
        Notify::warning(nullptr, tr("Plot request ignored!"), message);
    }
}

void QtViloPlotItemsModel::replot(const QList<int> &rows)
{
    QList<QtViloPlotItem *> items;
    if (rows.isEmpty()) {
        items = m_items;
    } else {
        for (int row : rows) {
            if (QtViloPlotItem *it = item(row))
                items << it;
        }
    }
    for (QtViloPlotItem *it : items) {
        if (!it->isMemory())
            refreshFileFacts(it);
    }
    requestRead(items, true);
}

void QtViloPlotItemsModel::requestRead(const QList<QtViloPlotItem *> &items, bool dropCache)
{
    if (items.isEmpty())
        return;
    const quint64 serial = ++m_serial;
    QSet<QtViloPlotItem *> &pending = m_pendingReads[serial];
    bool hasMemory = false;
    for (QtViloPlotItem *item : items) {
        // A newer request supersedes the item's part of its earlier batch: the reader
        // ignores the old one, so that batch must not wait for it.
        auto older = m_pendingReads.find(item->serial);
        if (item->serial != serial && older != m_pendingReads.end()) {
            const quint64 olderSerial = item->serial;
            older->remove(item);
            if (older->isEmpty())
                completeBatch(olderSerial, m_memoryBatches.contains(olderSerial));
        }
        item->serial = serial;
        pending.insert(item);
        hasMemory = hasMemory || item->isMemory();
    }
    if (hasMemory)
        m_memoryBatches.insert(serial);
    for (QtViloPlotItem *item : items) {
        item->readRequested().release();
        emit itemChanged(serial, item, item->name(), m_memoryMapped, dropCache,
                         qint32(m_items.indexOf(item)), false);
    }
}

void QtViloPlotItemsModel::FileDataUpdateResult(const quint64 &serial, QtViloPlotItem *item,
                                                const QString &key, const qint32 &row)
{
    Q_UNUSED(key)
    Q_UNUSED(row)
    // The item may have been removed, or asked for again, since this read was requested.
    if (!m_items.contains(item) || item->serial != serial)
        return;
    item->readDone().tryAcquire();
    if (item->isMemory()) {
        m_shownMemoryErrors.remove(item->name());
    } else if (item->fileState != QtViloPlotItem::FileState::Deleted) {
        item->fileState = item->mapping() ? QtViloPlotItem::FileState::Locked
                                          : QtViloPlotItem::FileState::Normal;
    }
    emitRowChanged(item, FilePathColumn, DateModifiedColumn);
    requestDsp(item);
    finishRead(item);
}

void QtViloPlotItemsModel::onAsciiReadError(QtViloPlotItem *item, const QString heading,
                                            const QString detail)
{
    if (!m_items.contains(item))
        return;
    const bool showBox = !item->isMemory() || !m_shownMemoryErrors.contains(item->name());
    if (item->isMemory())
        m_shownMemoryErrors.insert(item->name());
    // A failed read still ends its part of the batch, so a waiting client is let go before
    // anyone has to answer the box.
    finishRead(item);
    if (!showBox)
        return;
    const auto error = qMakePair(tr("%1 - File read Error!").arg(item->name()),
                                 heading + QLatin1Char('\n') + detail);
    if (!m_pendingErrors.contains(error)) {
        if (m_pendingErrors.size() < MaxListedErrors)
            m_pendingErrors << error;
        else
            ++m_unlistedErrors;
    }
    // Each box runs an event loop of its own inside the one before: unanswered, they would
    // nest without end. Errors that come in meanwhile wait for the open box and then show
    // together in one.
    if (m_errorBoxOpen)
        return;
    m_errorBoxOpen = true;
    const QPointer<QtViloPlotItemsModel> self(this);
    while (self && !m_pendingErrors.isEmpty()) {
        const QList<QPair<QString, QString>> errors = std::exchange(m_pendingErrors, {});
        const int unlisted = std::exchange(m_unlistedErrors, 0);
        QString text = errors.first().second;
        if (errors.size() > 1) {
            QStringList entries;
            for (const auto &error : errors)
                entries << error.first + QLatin1Char('\n') + error.second;
            if (unlisted > 0)
                entries << tr("... and %n more read error(s).", nullptr, unlisted);
            text = entries.join(QStringLiteral("\n\n"));
        }
        Notify::warning(nullptr, errors.first().first, text);
    }
    if (self)
        m_errorBoxOpen = false;
}

void QtViloPlotItemsModel::finishRead(QtViloPlotItem *item)
{
    auto pending = m_pendingReads.find(item->serial);
    if (pending == m_pendingReads.end() || !pending->remove(item))
        return;
    if (pending->isEmpty())
        completeBatch(item->serial, m_memoryBatches.contains(item->serial));
}

void QtViloPlotItemsModel::completeBatch(quint64 serial, bool hadMemory)
{
    m_pendingReads.remove(serial);
    m_memoryBatches.remove(serial);
    emit PlotDataUpdated(serial);
    if (hadMemory)
        releaseRealTimeRequest();
}

void QtViloPlotItemsModel::releaseRealTimeRequest()
{
    bool listed = false;
    for (const QtViloPlotItem *item : m_items)
        listed = listed || item->isMemory();
    ::releaseRealTimeRequest(listed);
}

void QtViloPlotItemsModel::emitRowChanged(QtViloPlotItem *item, int firstColumn, int lastColumn)
{
    const int row = m_items.indexOf(item);
    if (row < 0)
        return;
    m_applyingOwnChange = true;
    emit dataChanged(index(row, firstColumn), index(row, lastColumn));
    m_applyingOwnChange = false;
}

void QtViloPlotItemsModel::onWatchedItemChanged(const QString &path)
{
    QtViloPlotItem *item = findItem(path, false);
    if (!item)
        return;
    if (QFileInfo::exists(path)) {
        item->fileState = QtViloPlotItem::FileState::Changed;
        refreshFileFacts(item);
        // Editors that replace the file drop it from the watch list.
        if (!m_watcher->files().contains(path))
            m_watcher->addPath(path);
    } else {
        item->fileState = QtViloPlotItem::FileState::Deleted;
    }
    emitRowChanged(item, FilePathColumn, DateModifiedColumn);
}

void QtViloPlotItemsModel::onPlotItemDefaultValueChanged(const QtViloPlotItemDefaults &defaults)
{
    m_defaults = defaults;
}

void QtViloPlotItemsModel::onSignalPlotEnableChanged(const bool &enabled)
{
    m_signalPlotEnabled = enabled;
}

void QtViloPlotItemsModel::onReplicateToBinFileFinished(QtViloPlotItem *item,
                                                        const QString &path)
{
    // The replica joins the list as a file of its own, read with the samples' format (ASCII
    // values were written as doubles); a live item so becomes a frozen copy beside it.
    QString format = QStringLiteral("Double");
    if (m_items.contains(item) && item->typeIndex() != QtViloFormats::AsciiType)
        format = item->format();
    QtViloPlotItem *replica = findItem(path, false);
    if (!replica) {
        replica = makeFileItem(path);
        replica->dspRequested().release();
        m_watcher->addPath(path);
        beginInsertRows(QModelIndex(), m_items.size(), m_items.size());
        m_items << replica;
        endInsertRows();
        emit PlotItemsChanged();
    }
    replica->setFormat(format);
    refreshFileFacts(replica);
    requestRead({replica}, true);
    emit ItemReplicated(path);
}

void QtViloPlotItemsModel::onReplicationError(QtViloPlotItem *item, const QString &title,
                                              const QString &text)
{
    Q_UNUSED(item)
    Notify::warning(nullptr, title, text);
}
