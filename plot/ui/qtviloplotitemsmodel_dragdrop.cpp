// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloplotitemsmodel.h"

#include <QDataStream>
#include <QMimeData>
#include <QUrl>

// Drag and drop of the plot list: paths between lists as "application/vnd.text.list", files
// from the desktop as URLs.
namespace {
const QString ListMimeType = QStringLiteral("application/vnd.text.list");
} // namespace

Qt::DropActions QtViloPlotItemsModel::supportedDropActions() const
{
    return Qt::CopyAction | Qt::MoveAction;
}

QStringList QtViloPlotItemsModel::mimeTypes() const
{
    return {ListMimeType, QStringLiteral("text/uri-list")};
}

QMimeData *QtViloPlotItemsModel::mimeData(const QModelIndexList &indexes) const
{
    QStringList paths;
    for (const QModelIndex &index : indexes) {
        if (index.isValid() && index.column() == FilePathColumn && !isMemoryItem(index.row()))
            paths << filePath(index.row());
    }
    QByteArray encoded;
    QDataStream stream(&encoded, QIODevice::WriteOnly);
    for (const QString &path : paths)
        stream << path;
    auto *mime = new QMimeData;
    mime->setData(ListMimeType, encoded);
    return mime;
}

bool QtViloPlotItemsModel::canDropMimeData(const QMimeData *data, Qt::DropAction action, int row,
                                           int column, const QModelIndex &parent) const
{
    Q_UNUSED(action)
    Q_UNUSED(row)
    Q_UNUSED(column)
    Q_UNUSED(parent)
    return data && (data->hasFormat(ListMimeType) || data->hasUrls());
}

bool QtViloPlotItemsModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row,
                                        int column, const QModelIndex &parent)
{
    if (!canDropMimeData(data, action, row, column, parent) || action == Qt::IgnoreAction)
        return false;
    QStringList paths;
    if (data->hasFormat(ListMimeType)) {
        QDataStream stream(data->data(ListMimeType));
        while (!stream.atEnd()) {
            QString path;
            stream >> path;
            if (stream.status() != QDataStream::Ok)
                break;
            paths << path;
        }
    } else {
        for (const QUrl &url : data->urls()) {
            if (url.isLocalFile())
                paths << url.toLocalFile();
        }
    }
    // Rows dragged inside the list are already in it; they are read again, not doubled.
    AppendRows(paths, false);
    return !paths.isEmpty();
}
