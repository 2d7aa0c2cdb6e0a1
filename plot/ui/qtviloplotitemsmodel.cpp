#include "plot/ui/qtviloplotitemsmodel.h"

#include <QFileInfo>

namespace {
const char *const Headers[] = {"Visibility", "File Path", "Format"};
constexpr int ColumnCount = int(sizeof(Headers) / sizeof(Headers[0]));
} // namespace

QtViloPlotItemsModel::QtViloPlotItemsModel(QObject *parent) : QAbstractTableModel(parent) {}

int QtViloPlotItemsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

int QtViloPlotItemsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant QtViloPlotItemsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Row &row = m_rows.at(index.row());
    if (index.column() == 0 && role == Qt::CheckStateRole)
        return Qt::Checked;
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case 1:
        return row.memory || QFileInfo::exists(row.path) ? row.path
                                                          : row.path + tr(" [Not Found!]");
    case 2:
        return QStringLiteral("Int16");
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

QString QtViloPlotItemsModel::filePath(int row) const
{
    return row >= 0 && row < m_rows.size() ? m_rows.at(row).path : QString();
}

bool QtViloPlotItemsModel::isMemoryItem(int row) const
{
    return row >= 0 && row < m_rows.size() && m_rows.at(row).memory;
}

void QtViloPlotItemsModel::AppendRows(const QStringList &paths, const bool &isMemory)
{
    if (paths.isEmpty())
        return;
    beginInsertRows(QModelIndex(), m_rows.size(), m_rows.size() + paths.size() - 1);
    for (const QString &path : paths)
        m_rows.append({path, isMemory});
    endInsertRows();
}

void QtViloPlotItemsModel::removeAllRows()
{
    beginResetModel();
    m_rows.clear();
    endResetModel();
}
