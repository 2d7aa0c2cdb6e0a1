// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>

// The user's home directory: $HOME, else the password database entry of the current user.
QString userHomeDir();
