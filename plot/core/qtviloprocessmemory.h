// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>

// Reads a range of another process's memory through "/proc/%ld/mem": open, attach
// with ptrace, wait for the stop, one pread, detach, close. The target is stopped only around
// that one read and is never left stopped or traced: every path after a successful attach
// detaches, and signals that arrive while waiting for the attach stop are handed back.
namespace QtViloProcessMemory {

enum class Stage { None, Open, Attach, Wait, Read, Detach };

struct Result
{
    bool ok = false;
    Stage failedAt = Stage::None;
    int code = 0;    // errno of the failing call; 0 on success and for a short read
    QString heading; // e.g. "Could not open file! Are you sudo?"
    QString detail;  // "<system error text> - File: /proc/<pid>/mem" and the like
    qint64 bytesRead = 0;
};

// "/proc/%ld/mem"
QString memPath(qint64 processId);

// Reads length bytes at address into destination. length 0 only opens and closes the file,
// so a missing right or process is still reported. Call from one thread from attach to
// detach (ptrace ties the tracee to the attaching thread), which this function does.
Result read(qint64 processId, quint64 address, char *destination, qint64 length);

} // namespace QtViloProcessMemory
