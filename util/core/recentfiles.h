// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QStringList>

// The recently opened text files, most recent first, as the File menu shows them.
namespace RecentFiles {
inline constexpr int MaxCount = 8;

QStringList paths();
// Moves (or inserts) the path to the front and keeps at most MaxCount entries.
void add(const QString &path);
QStringList withAdded(QStringList list, const QString &path);
} // namespace RecentFiles
