// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <fstream>
#include <string>

// Peak resident memory of the whole process (since the last reset, if any), in bytes.
inline qint64 peakResident()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stoll(line.substr(6)) * 1024;
    }
    return 0;
}
