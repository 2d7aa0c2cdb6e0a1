#pragma once

#include <QAbstractTableModel>
#include <QStringList>

// The table behind the "Plot Items List": one row per file or client memory range.
class QtViloPlotItemsModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    explicit QtViloPlotItemsModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    QString filePath(int row) const;
    bool isMemoryItem(int row) const;

public slots:
    void AppendRows(const QStringList &paths, const bool &isMemory);
    void removeAllRows();

private:
    struct Row
    {
        QString path;
        bool memory = false;
    };
    QList<Row> m_rows;
};
