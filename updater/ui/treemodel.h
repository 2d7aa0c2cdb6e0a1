#pragma once

#include <QAbstractTableModel>
#include <QStringList>

// The firmware file tasks of the updater, one row per task.
class TreeModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    explicit TreeModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    QStringList filePaths() const { return m_paths; }

public slots:
    void AppendRows(const QStringList &paths);

private:
    QStringList m_paths;
};
