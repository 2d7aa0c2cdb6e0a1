// SPDX-License-Identifier: LGPL-3.0-or-later
#include "util/core/homedir.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

QString userHomeDir()
{
    if (const char *home = std::getenv("HOME"); home && *home)
        return QString::fromLocal8Bit(home);
    if (const passwd *pw = getpwuid(getuid()); pw && pw->pw_dir)
        return QString::fromLocal8Bit(pw->pw_dir);
    return QString();
}
