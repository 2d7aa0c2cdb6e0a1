// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QAbstractTableModel>
#include <QDateTime>
#include <QMimeData>
#include <QPointer>
#include <QStringList>
#include <QVector>

class QMovie;

// One firmware file task: what the seven "RecentFiles" lists hold for it.
struct UpdaterTask
{
    QString filePath;
    QString macro;      // a macro's command line (or a typed one); empty when none is chosen
    QString device;     // a device selector entry ("0: VRX14 ..."), or empty
    QString fileSize;   // as shown; refreshed from the file when it exists
    QString fileDate;   // "dd MMM yyyy hh:mm:ss"
    QString uploadDate; // time of the last successful run, same format

    bool operator==(const UpdaterTask &other) const;
};

// The firmware file tasks of the updater, one top-level row per task, in run order. The list
// is read from the settings when the model is built and written back on every change.
class TreeModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { TaskNumber, FilePath, Macro, Device, FileSize, DateModified, DateUploaded };
    static constexpr int ColumnCount = 7;
    static constexpr char MimeType[] = "application/vnd.text.list";
    static constexpr char DateFormat[] = "dd MMM yyyy hh:mm:ss";
    static constexpr int MaxRecentFirmware = 16;

    // With persist set the model loads the stored tasks now and saves after every change.
    explicit TreeModel(QObject *parent = nullptr, bool persist = true);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    // Whether the data is that of a drag of this list's own rows (which then move), as
    // opposed to paths another list sends under the same type.
    bool isOwnDrag(const QMimeData *data) const { return data && data == m_ownDrag.data(); }
    bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;
    Qt::DropActions supportedDropActions() const override;
    Qt::DropActions supportedDragActions() const override;

    const QVector<UpdaterTask> &tasks() const { return m_tasks; }
    UpdaterTask task(int row) const { return m_tasks.value(row); }
    QStringList filePaths() const;
    // Recently chosen firmware files, newest first ("RecentMCSPaths").
    QStringList recentFirmwarePaths() const { return m_recentFirmware; }
    void addRecentFirmwarePath(const QString &path);

    // Whether a file dropped on the list becomes a task there (".mcs", ".mmcs", ".lic",
    // ".bit"); anything else goes back to the main window, which sends ".zip" here again.
    static bool isTaskFile(const QString &path);

    void insertTask(int row, const UpdaterTask &task);
    // Swaps the task with its neighbour (delta -1 or +1); false at either end.
    bool moveTask(int row, int delta);
    // Moves the rows (in any order) so that they stand, in their order, before destination.
    void moveTasks(QList<int> rows, int destination);
    void removeTasks(QList<int> rows);
    void clearTasks();
    // Keeps the last task only.
    void keepLastTask();
    // Sets "Date Uploaded" of the task to the time given.
    void markUploaded(int row, const QDateTime &when);
    // The row whose tool run is going on shows the running animation; -1 for none.
    void setRunningRow(int row);
    int runningRow() const { return m_runningRow; }

    // Reads and writes the seven lists of the settings group "RecentFiles".
    void load();
    void save() const;

public slots:
    // New tasks for the files, each taking macro and device from the most recent task.
    void AppendRows(const QStringList &paths);

signals:
    void TasksChanged();

private:
    mutable QPointer<QMimeData> m_ownDrag; // gone with the drag that carried it
    void refreshFileInfo(UpdaterTask &task) const;
    void changed();
    // New tasks for the files at the row, taking macro and device from the last task.
    void insertFiles(int row, const QStringList &paths);
    // Moves one task so that it ends up at row "to".
    void moveOne(int from, int to);
    // Puts the path first in the recent firmware list; false when nothing changed.
    bool rememberFirmware(const QString &path);
    void stopRunning();

    QVector<UpdaterTask> m_tasks;
    QStringList m_recentFirmware;
    bool m_persist;
    int m_runningRow = -1;
    QMovie *m_runningMovie = nullptr;
};
