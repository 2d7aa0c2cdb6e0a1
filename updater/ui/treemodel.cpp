#include "updater/ui/treemodel.h"

#include <QDateTime>
#include <QFileInfo>

namespace {
const char *const Headers[] = {"Task #",    "File Path",     "Task Macro",   "Device",
                               "File Size", "Date Modified", "Date Uploaded"};
constexpr int ColumnCount = int(sizeof(Headers) / sizeof(Headers[0]));
} // namespace

TreeModel::TreeModel(QObject *parent) : QAbstractTableModel(parent) {}

int TreeModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_paths.size();
}

int TreeModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant TreeModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_paths.size() || role != Qt::DisplayRole)
        return {};
    const QString &path = m_paths.at(index.row());
    const QFileInfo info(path);
    switch (index.column()) {
    case 0:
        return index.row() + 1;
    case 1:
        return info.exists() ? path : tr("File Not Found!");
    case 4:
        return info.exists() ? QVariant(info.size()) : QVariant();
    case 5:
        return info.exists() ? info.lastModified().toString(QStringLiteral("dd MMM yyyy hh:mm:ss"))
                             : QString();
    default:
        return {};
    }
}

QVariant TreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 &&
        section < ColumnCount)
        return tr(Headers[section]);
    return QAbstractTableModel::headerData(section, orientation, role);
}

void TreeModel::AppendRows(const QStringList &paths)
{
    if (paths.isEmpty())
        return;
    beginInsertRows(QModelIndex(), m_paths.size(), m_paths.size() + paths.size() - 1);
    m_paths += paths;
    endInsertRows();
}
