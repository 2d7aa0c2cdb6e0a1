// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>

// Where copies and replicas of plot items go.
namespace QtViloTempPaths {

// "%s/.local/share/Temp/" with the home directory from HOME, or when HOME is unset from the
// password database entry of the current user. Empty when no home is known or the path would
// not fit in 512 characters (a cut path would name some other directory).
QString userTempDir();

// dir + baseName + "_copy%1.bin" with the first %1 from 1 on that names no existing file.
QString nextFreeCopyPath(const QString &dir, const QString &baseName);

// dir + "%1.bin" filled with baseName.
QString replicaPath(const QString &dir, const QString &baseName);

} // namespace QtViloTempPaths
