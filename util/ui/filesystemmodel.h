// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QFileSystemModel>
#include <QSet>
#include <QStringList>

// The explorer's file list: files and folders of one folder, ".." included so the list can
// go up, and files that do not match the name filter hidden rather than greyed out.
class FileSystemModel : public QFileSystemModel
{
    Q_OBJECT
public:
    explicit FileSystemModel(QObject *parent = nullptr);

    QSet<QString> currentFolderFileSet() const { return m_currentFolderFiles; }

public slots:
    // Reads the root folder again with this model's filters; the model itself only knows
    // what it has fetched so far.
    void UpdateCurrentFolderFileSet();

signals:
    void RowCountUpdated(const QStringList names, const int count);

private:
    QSet<QString> m_currentFolderFiles;
};
