// SPDX-License-Identifier: LGPL-3.0-or-later
#include "updater/ui/treemodel.h"

#include "updater/core/updatermacros.h"
#include "util/core/identity.h"

#include <QColor>
#include <QDataStream>
#include <QFileInfo>
#include <QMimeData>
#include <QMovie>
#include <QPixmap>
#include <QSettings>
#include <QUrl>

#include <algorithm>

namespace {
const char *const Headers[] = {
    QT_TRANSLATE_NOOP("TreeModel", "Task #"),       QT_TRANSLATE_NOOP("TreeModel", "File Path"),
    QT_TRANSLATE_NOOP("TreeModel", "Task Macro"),   QT_TRANSLATE_NOOP("TreeModel", "Device"),
    QT_TRANSLATE_NOOP("TreeModel", "File Size"),    QT_TRANSLATE_NOOP("TreeModel", "Date Modified"),
    QT_TRANSLATE_NOOP("TreeModel", "Date Uploaded")};
static_assert(sizeof(Headers) / sizeof(Headers[0]) == TreeModel::ColumnCount);

constexpr char Group[] = "RecentFiles";
constexpr char PathsKey[] = "RecentFilePaths";
constexpr char FirmwareKey[] = "RecentMCSPaths";
constexpr char MacrosKey[] = "RecentMacros";
constexpr char DevicesKey[] = "RecentDevices";
constexpr char SizesKey[] = "RecentFileSize";
constexpr char DatesKey[] = "RecentFileDate";
constexpr char UploadsKey[] = "RecentFileUploadDate";

constexpr char RunningAnimation[] = "://Images/loading.gif";

QString dateText(const QDateTime &when)
{
    return when.toString(QString::fromLatin1(TreeModel::DateFormat));
}

// A task whose file has gone away: the row is greyed and its size replaced by a notice.
bool fileMissing(const UpdaterTask &task)
{
    return !task.filePath.isEmpty() && !QFileInfo::exists(task.filePath);
}

// Sorted, distinct and inside 0..count-1.
QList<int> validRows(QList<int> rows, int count)
{
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    rows.erase(std::remove_if(rows.begin(), rows.end(),
                              [count](int row) { return row < 0 || row >= count; }),
               rows.end());
    return rows;
}

// The lists of the program exchange file paths, one streamed string each.
QStringList decodePaths(const QMimeData *data)
{
    QByteArray encoded = data->data(QString::fromLatin1(TreeModel::MimeType));
    QDataStream stream(&encoded, QIODevice::ReadOnly);
    QStringList paths;
    while (!stream.atEnd()) {
        QString path;
        stream >> path;
        if (stream.status() != QDataStream::Ok)
            break;
        paths << path;
    }
    return paths;
}

QStringList droppedTaskFiles(const QMimeData *data)
{
    QStringList paths;
    if (data->hasFormat(QString::fromLatin1(TreeModel::MimeType))) {
        paths = decodePaths(data);
    } else {
        for (const QUrl &url : data->urls())
            paths << url.toLocalFile();
    }
    paths.erase(std::remove_if(paths.begin(), paths.end(),
                               [](const QString &path) { return !TreeModel::isTaskFile(path); }),
                paths.end());
    return paths;
}
} // namespace

bool UpdaterTask::operator==(const UpdaterTask &other) const
{
    return filePath == other.filePath && macro == other.macro && device == other.device &&
           fileSize == other.fileSize && fileDate == other.fileDate &&
           uploadDate == other.uploadDate;
}

TreeModel::TreeModel(QObject *parent, bool persist)
    : QAbstractTableModel(parent), m_persist(persist)
{
    if (m_persist)
        load();
}

int TreeModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_tasks.size();
}

int TreeModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant TreeModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const int row = index.row();
    const UpdaterTask &task = m_tasks.at(row);

    if (role == Qt::ForegroundRole)
        return fileMissing(task) ? QVariant(QColor(QStringLiteral("gainsboro"))) : QVariant();
    if (role == Qt::DecorationRole) {
        if (index.column() == TaskNumber && row == m_runningRow && m_runningMovie) {
            const QPixmap frame = m_runningMovie->currentPixmap();
            if (!frame.isNull())
                return frame;
        }
        return {};
    }
    if (role == Qt::ToolTipRole && index.column() == FilePath)
        return task.filePath;
    if (role == Qt::ToolTipRole && index.column() == Macro && !task.macro.isEmpty())
        return task.macro;
    if (role != Qt::DisplayRole && role != Qt::EditRole)
        return {};

    switch (Column(index.column())) {
    case TaskNumber:
        return row + 1;
    case FilePath:
        return task.filePath;
    case Macro:
        // A predefined macro reads better by its label; the command is in the tool tip.
        return role == Qt::EditRole || task.macro.isEmpty() ? task.macro
                                                            : UpdaterMacros::labelFor(task.macro);
    case Device:
        return task.device;
    case FileSize: {
        if (fileMissing(task))
            return tr("File Not Found!");
        const QFileInfo info(task.filePath);
        return info.isFile() ? QString::number(info.size()) : task.fileSize;
    }
    case DateModified: {
        const QFileInfo info(task.filePath);
        return info.isFile() ? dateText(info.lastModified()) : task.fileDate;
    }
    case DateUploaded:
        return task.uploadDate;
    }
    return {};
}

bool TreeModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole ||
        !checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return false;
    UpdaterTask &task = m_tasks[index.row()];
    const QString text = value.toString();
    switch (Column(index.column())) {
    case FilePath: {
        const bool remembered = rememberFirmware(text);
        if (text == task.filePath) {
            if (remembered)
                changed();
            return true;
        }
        task.filePath = text;
        refreshFileInfo(task);
        // Greying and the file columns follow the path, so the whole row changes.
        emit dataChanged(this->index(index.row(), 0), this->index(index.row(), ColumnCount - 1));
        break;
    }
    case Macro:
        if (text == task.macro)
            return true;
        task.macro = text;
        emit dataChanged(index, index);
        break;
    case Device:
        if (text == task.device)
            return true;
        task.device = text;
        emit dataChanged(index, index);
        break;
    default:
        return false;
    }
    changed();
    return true;
}

Qt::ItemFlags TreeModel::flags(const QModelIndex &index) const
{
    // Only the space between rows takes drops; a task is never dropped into another one.
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    Qt::ItemFlags result =
        Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
    const int column = index.column();
    if (column == FilePath || column == Macro || column == Device)
        result |= Qt::ItemIsEditable;
    return result;
}

QVariant TreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 &&
        section < ColumnCount)
        return tr(Headers[section]);
    return QAbstractTableModel::headerData(section, orientation, role);
}

QStringList TreeModel::mimeTypes() const
{
    return {QString::fromLatin1(MimeType)};
}

QMimeData *TreeModel::mimeData(const QModelIndexList &indexes) const
{
    QList<int> rows;
    for (const QModelIndex &index : indexes)
        rows << index.row();
    rows = validRows(rows, m_tasks.size());
    if (rows.isEmpty())
        return nullptr;

    QByteArray encoded;
    QDataStream stream(&encoded, QIODevice::WriteOnly);
    QStringList paths;
    for (int row : qAsConst(rows)) {
        stream << m_tasks.at(row).filePath;
        paths << m_tasks.at(row).filePath;
    }
    auto *data = new QMimeData;
    data->setData(QString::fromLatin1(MimeType), encoded);
    data->setText(paths.join(QLatin1Char('\n')));
    m_ownDrag = data;
    return data;
}

bool TreeModel::canDropMimeData(const QMimeData *data, Qt::DropAction action, int, int,
                                const QModelIndex &) const
{
    if (!data || !(action & supportedDropActions()))
        return false;
    return !droppedTaskFiles(data).isEmpty();
}

bool TreeModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                             const QModelIndex &parent)
{
    if (action == Qt::IgnoreAction)
        return true;
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    int destination = row >= 0 ? row : parent.isValid() ? parent.row() : m_tasks.size();
    destination = qBound(0, destination, m_tasks.size());
    // Rows moved inside the list are the view's business (it knows its drag); a drop from
    // elsewhere adds tasks.
    insertFiles(destination, droppedTaskFiles(data));
    return true;
}

Qt::DropActions TreeModel::supportedDropActions() const
{
    return Qt::MoveAction | Qt::CopyAction;
}

Qt::DropActions TreeModel::supportedDragActions() const
{
    return Qt::MoveAction;
}

QStringList TreeModel::filePaths() const
{
    QStringList paths;
    paths.reserve(m_tasks.size());
    for (const UpdaterTask &task : m_tasks)
        paths << task.filePath;
    return paths;
}

void TreeModel::addRecentFirmwarePath(const QString &path)
{
    if (rememberFirmware(path))
        changed();
}

bool TreeModel::isTaskFile(const QString &path)
{
    static const QStringList suffixes{QStringLiteral("mcs"), QStringLiteral("mmcs"),
                                      QStringLiteral("lic"), QStringLiteral("bit")};
    return suffixes.contains(QFileInfo(path).suffix(), Qt::CaseInsensitive);
}

void TreeModel::insertTask(int row, const UpdaterTask &task)
{
    row = qBound(0, row, m_tasks.size());
    beginInsertRows(QModelIndex(), row, row);
    m_tasks.insert(row, task);
    refreshFileInfo(m_tasks[row]);
    if (m_runningRow >= row)
        ++m_runningRow;
    endInsertRows();
    changed();
}

bool TreeModel::moveTask(int row, int delta)
{
    const int target = row + delta;
    if ((delta != -1 && delta != 1) || row < 0 || row >= m_tasks.size() || target < 0 ||
        target >= m_tasks.size())
        return false;
    // Swapping neighbours is the same as moving the lower one above the upper one.
    moveOne(qMax(row, target), qMin(row, target));
    changed();
    return true;
}

void TreeModel::moveTasks(QList<int> rows, int destination)
{
    rows = validRows(rows, m_tasks.size());
    destination = qBound(0, destination, m_tasks.size());
    bool moved = false;
    // Rows above the destination, last first, each to just above the ones already moved...
    int insertAt = destination;
    for (auto it = rows.crbegin(); it != rows.crend(); ++it) {
        if (*it >= destination)
            continue;
        if (*it != insertAt - 1) {
            moveOne(*it, insertAt - 1);
            moved = true;
        }
        --insertAt;
    }
    // ...then the rows below it, first first, each just after the previous one.
    insertAt = destination;
    for (int row : qAsConst(rows)) {
        if (row < destination)
            continue;
        if (row != insertAt) {
            moveOne(row, insertAt);
            moved = true;
        }
        ++insertAt;
    }
    if (moved)
        changed();
}

void TreeModel::removeTasks(QList<int> rows)
{
    rows = validRows(rows, m_tasks.size());
    if (rows.isEmpty())
        return;
    // From the bottom up, one notification per run of adjacent rows.
    int last = rows.size() - 1;
    while (last >= 0) {
        int first = last;
        while (first > 0 && rows.at(first - 1) == rows.at(first) - 1)
            --first;
        const int top = rows.at(first);
        const int bottom = rows.at(last);
        beginRemoveRows(QModelIndex(), top, bottom);
        m_tasks.remove(top, bottom - top + 1);
        if (m_runningRow > bottom)
            m_runningRow -= bottom - top + 1;
        else if (m_runningRow >= top)
            stopRunning();
        endRemoveRows();
        last = first - 1;
    }
    changed();
}

void TreeModel::clearTasks()
{
    if (m_tasks.isEmpty())
        return;
    beginResetModel();
    m_tasks.clear();
    stopRunning();
    endResetModel();
    changed();
}

void TreeModel::keepLastTask()
{
    if (m_tasks.size() < 2)
        return;
    QList<int> rows;
    for (int row = 0; row < m_tasks.size() - 1; ++row)
        rows << row;
    removeTasks(rows);
}

void TreeModel::markUploaded(int row, const QDateTime &when)
{
    if (row < 0 || row >= m_tasks.size())
        return;
    m_tasks[row].uploadDate = dateText(when);
    const QModelIndex cell = index(row, DateUploaded);
    emit dataChanged(cell, cell);
    changed();
}

void TreeModel::setRunningRow(int row)
{
    if (row < 0 || row >= m_tasks.size())
        row = -1;
    if (row == m_runningRow)
        return;
    const int previous = m_runningRow;
    m_runningRow = row;
    if (previous >= 0) {
        const QModelIndex cell = index(previous, TaskNumber);
        emit dataChanged(cell, cell, {Qt::DecorationRole});
    }
    if (row < 0) {
        if (m_runningMovie)
            m_runningMovie->stop();
        return;
    }
    if (!m_runningMovie) {
        m_runningMovie = new QMovie(QString::fromLatin1(RunningAnimation), QByteArray(), this);
        connect(m_runningMovie, &QMovie::frameChanged, this, [this] {
            if (m_runningRow < 0)
                return;
            const QModelIndex cell = index(m_runningRow, TaskNumber);
            emit dataChanged(cell, cell, {Qt::DecorationRole});
        });
    }
    if (m_runningMovie->state() == QMovie::NotRunning)
        m_runningMovie->start();
    const QModelIndex cell = index(row, TaskNumber);
    emit dataChanged(cell, cell, {Qt::DecorationRole});
}

void TreeModel::load()
{
    QSettings settings(Identity::Organization, Identity::Application);
    settings.beginGroup(QLatin1String(Group));
    const QStringList paths = settings.value(QLatin1String(PathsKey)).toStringList();
    const QStringList macros = settings.value(QLatin1String(MacrosKey)).toStringList();
    const QStringList devices = settings.value(QLatin1String(DevicesKey)).toStringList();
    const QStringList sizes = settings.value(QLatin1String(SizesKey)).toStringList();
    const QStringList dates = settings.value(QLatin1String(DatesKey)).toStringList();
    const QStringList uploads = settings.value(QLatin1String(UploadsKey)).toStringList();
    const QStringList firmware = settings.value(QLatin1String(FirmwareKey)).toStringList();

    beginResetModel();
    stopRunning();
    m_tasks.clear();
    m_tasks.reserve(paths.size());
    for (int i = 0; i < paths.size(); ++i) {
        // Lists written by older versions may be shorter than the paths: pad them.
        UpdaterTask task{paths.at(i),    macros.value(i), devices.value(i),
                         sizes.value(i), dates.value(i),  uploads.value(i)};
        refreshFileInfo(task);
        m_tasks << task;
    }
    m_recentFirmware.clear();
    for (const QString &path : firmware) {
        if (!path.isEmpty() && !m_recentFirmware.contains(path) &&
            m_recentFirmware.size() < MaxRecentFirmware)
            m_recentFirmware << path;
    }
    endResetModel();
    emit TasksChanged();
}

void TreeModel::save() const
{
    QStringList paths, macros, devices, sizes, dates, uploads;
    for (const UpdaterTask &task : m_tasks) {
        paths << task.filePath;
        macros << task.macro;
        devices << task.device;
        sizes << task.fileSize;
        dates << task.fileDate;
        uploads << task.uploadDate;
    }
    QSettings settings(Identity::Organization, Identity::Application);
    settings.beginGroup(QLatin1String(Group));
    settings.setValue(QLatin1String(PathsKey), paths);
    settings.setValue(QLatin1String(FirmwareKey), m_recentFirmware);
    settings.setValue(QLatin1String(MacrosKey), macros);
    settings.setValue(QLatin1String(DevicesKey), devices);
    settings.setValue(QLatin1String(SizesKey), sizes);
    settings.setValue(QLatin1String(DatesKey), dates);
    settings.setValue(QLatin1String(UploadsKey), uploads);
    settings.endGroup();
    // Qt 5.15 writes the settings file through QSaveFile: the new text goes to an unnamed
    // temporary in the same folder, is flushed to disk, then gets a temporary name and is
    // renamed over vrxassist.conf. A crash mid-write leaves the previous task list readable.
    settings.sync();
}

void TreeModel::AppendRows(const QStringList &paths)
{
    insertFiles(m_tasks.size(), paths);
}

void TreeModel::refreshFileInfo(UpdaterTask &task) const
{
    const QFileInfo info(task.filePath);
    if (!info.isFile())
        return; // keep what was last known of a file that is gone
    task.fileSize = QString::number(info.size());
    task.fileDate = dateText(info.lastModified());
}

void TreeModel::changed()
{
    if (m_persist)
        save();
    emit TasksChanged();
}

void TreeModel::insertFiles(int row, const QStringList &paths)
{
    if (paths.isEmpty())
        return;
    row = qBound(0, row, m_tasks.size());
    UpdaterTask recent;
    if (!m_tasks.isEmpty())
        recent = m_tasks.last();
    beginInsertRows(QModelIndex(), row, row + paths.size() - 1);
    for (int i = 0; i < paths.size(); ++i) {
        UpdaterTask task;
        task.filePath = paths.at(i);
        task.macro = recent.macro;
        task.device = recent.device;
        refreshFileInfo(task);
        m_tasks.insert(row + i, task);
        // However a file comes in (dropped, opened, sent from the explorer, browsed), the
        // file cell's editor offers it again.
        rememberFirmware(task.filePath);
    }
    if (m_runningRow >= row)
        m_runningRow += paths.size();
    endInsertRows();
    changed();
}

void TreeModel::moveOne(int from, int to)
{
    // beginMoveRows wants the row the task goes before, counted before the move.
    beginMoveRows(QModelIndex(), from, from, QModelIndex(), to > from ? to + 1 : to);
    m_tasks.move(from, to);
    if (m_runningRow == from)
        m_runningRow = to;
    else if (from < m_runningRow && m_runningRow <= to)
        --m_runningRow;
    else if (to <= m_runningRow && m_runningRow < from)
        ++m_runningRow;
    endMoveRows();
}

bool TreeModel::rememberFirmware(const QString &path)
{
    if (path.isEmpty() || m_recentFirmware.value(0) == path)
        return false;
    m_recentFirmware.removeAll(path);
    m_recentFirmware.prepend(path);
    while (m_recentFirmware.size() > MaxRecentFirmware)
        m_recentFirmware.removeLast();
    return true;
}

void TreeModel::stopRunning()
{
    m_runningRow = -1;
    if (m_runningMovie)
        m_runningMovie->stop();
}
