// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtvilotemppaths.h"

#include <QDir>
#include <QFileInfo>

#include <cstdio>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace QtViloTempPaths {

namespace {

QString withSlash(const QString &dir)
{
    return dir.endsWith(QLatin1Char('/')) ? dir : dir + QLatin1Char('/');
}

} // namespace

QString userTempDir()
{
    const char *home = std::getenv("HOME");
    if (!home) {
        // getpwuid is not reentrant; the reader thread is the only caller.
        const passwd *entry = getpwuid(getuid());
        home = entry ? entry->pw_dir : nullptr;
    }
    if (!home)
        return QString();
    char path[512];
    const int n = std::snprintf(path, sizeof path, "%s/.local/share/Temp/", home);
    if (n < 0 || n >= int(sizeof path))
        return QString();
    return QString::fromLocal8Bit(path);
}

QString nextFreeCopyPath(const QString &dir, const QString &baseName)
{
    const QString prefix = withSlash(dir) + baseName;
    for (qint64 n = 1;; ++n) {
        const QString path = prefix + QStringLiteral("_copy%1.bin").arg(n);
        if (!QFileInfo::exists(path))
            return path;
    }
}

QString replicaPath(const QString &dir, const QString &baseName)
{
    return withSlash(dir) + QStringLiteral("%1.bin").arg(baseName);
}

} // namespace QtViloTempPaths
