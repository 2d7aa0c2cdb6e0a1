// SPDX-License-Identifier: LGPL-3.0-or-later
#include "updater/core/toollocator.h"

#include "util/core/homedir.h"

#include <QDateTime>
#include <QFileInfo>

namespace ToolLocator {

ToolLocation locate(const QString &toolName, const QString &installedPath,
                    const QString &programDirectory)
{
    ToolLocation location;
    // A copy beside the program wins, so a test build of the tool can be tried without
    // installing it.
    const QFileInfo local(programDirectory + QLatin1Char('/') +
                          QFileInfo(installedPath).fileName());
    const QFileInfo installed(installedPath);
    if (local.isFile()) {
        location.kind = ToolLocation::Local;
        location.path = local.absoluteFilePath();
        location.message = QStringLiteral("NOTE : Using local ") + toolName + QStringLiteral(": ") +
                           location.path + QStringLiteral("\n\n");
    } else if (!installedPath.isEmpty() && installed.isFile()) {
        location.kind = ToolLocation::Installed;
        location.path = installed.absoluteFilePath();
        location.message = QStringLiteral("NOTE : Using installed ") + toolName +
                           QStringLiteral(": ") + location.path + QStringLiteral("\n\n");
    } else {
        location.message =
            QStringLiteral("ERROR: No local or installed external application \"") + toolName +
            QStringLiteral("\" found! Please verify external tools path settings!\n");
    }
    return location;
}

QString dataDirectory()
{
    QString home = userHomeDir();
    if (home.endsWith(QLatin1Char('/')))
        home.chop(1);
    return home + QStringLiteral("/.local/share/OKAV/");
}

QString deviceListPath()
{
    return dataDirectory() + QStringLiteral("VRXDevices.txt");
}

QString newLogFilePath(const QString &directory)
{
    const QString separator = directory.isEmpty() || directory.endsWith(QLatin1Char('/'))
                                  ? QString()
                                  : QStringLiteral("/");
    return directory + separator + QStringLiteral("vrxupdater_") +
           QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd-hh.mm.ss.zzz")) +
           QStringLiteral(".okv");
}

} // namespace ToolLocator
