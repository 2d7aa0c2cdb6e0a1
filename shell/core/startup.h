// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QStringList>
#include <QVariant>

// Start-up steps that run before the main window exists.
void setApplicationIdentity();
// The "Last Used" start-up layout is chosen only by a stored integer greater than 0.
bool isLastUsedStartupLayout(const QVariant &storedOption);
bool readLastUsedStartupLayoutOption();
void storeStartupLayoutOption(int option);
// The files named on the command line (the desktop entry passes them) as absolute paths, taken
// before anything changes the working directory; "file:" URLs become local paths; the
// program's own name and options are left out.
QStringList filesFromArguments(const QStringList &arguments);
