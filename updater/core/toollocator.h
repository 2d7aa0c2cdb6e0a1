// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>

// Where an external console tool is taken from: a copy of the same file name beside the
// program first, then the installed path from the path settings.
struct ToolLocation
{
    enum Kind { Local, Installed, Missing };
    Kind kind = Missing;
    QString path;    // absolute path of the file to start; empty when missing
    QString message; // the console line that says which one is used, or why none is
};

namespace ToolLocator {

constexpr char UpdaterName[] = "VRXUpdater";
constexpr char LicenseUtilName[] = "VRXLicenseUtil";
constexpr char DefaultUpdaterPath[] = "/usr/bin/vrxupdater";
constexpr char DefaultLicenseUtilPath[] = "/usr/bin/vrxlicenseutil";

ToolLocation locate(const QString &toolName, const QString &installedPath,
                    const QString &programDirectory);

// "<home>/.local/share/OKAV/", where the device list and the runner's logs go.
QString dataDirectory();
// dataDirectory() + "VRXDevices.txt".
QString deviceListPath();
// directory + "/vrxupdater_" + local time as "yyyy-MM-dd-hh.mm.ss.zzz" + ".okv".
QString newLogFilePath(const QString &directory);

} // namespace ToolLocator
