// SPDX-License-Identifier: LGPL-3.0-or-later
#include "util/ui/filesystemmodel.h"

#include <QDirIterator>

FileSystemModel::FileSystemModel(QObject *parent) : QFileSystemModel(parent)
{
    setReadOnly(true);
    setFilter(QDir::AllEntries | QDir::AllDirs | QDir::NoDot);
    setNameFilterDisables(false);
}

void FileSystemModel::UpdateCurrentFolderFileSet()
{
    QStringList names;
    QDirIterator it(rootPath(), nameFilters(), filter());
    while (it.hasNext()) {
        it.next();
        names << it.fileName();
    }
    names.sort();
    m_currentFolderFiles = QSet<QString>(names.cbegin(), names.cend());
    emit RowCountUpdated(names, names.size());
}
