// SPDX-License-Identifier: LGPL-3.0-or-later
#include "util/core/recentfiles.h"

#include "util/core/identity.h"

#include <QSettings>

namespace {
constexpr char Group[] = "RecentFiles";
// The updater's task list keeps its file paths under "RecentFilePaths" in the same group, one
// per task; the text files opened have a key of their own so neither list disturbs the other.
constexpr char Key[] = "RecentTextFilePaths";
} // namespace

namespace RecentFiles {

QStringList paths()
{
    QSettings settings(Identity::Organization, Identity::Application);
    settings.beginGroup(Group);
    return settings.value(Key).toStringList();
}

QStringList withAdded(QStringList list, const QString &path)
{
    list.removeAll(path);
    list.prepend(path);
    while (list.size() > MaxCount)
        list.removeLast();
    return list;
}

void add(const QString &path)
{
    QSettings settings(Identity::Organization, Identity::Application);
    settings.beginGroup(Group);
    settings.setValue(Key, withAdded(settings.value(Key).toStringList(), path));
}

} // namespace RecentFiles
