// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtviloprocessmemory.h"

#include <QVarLengthArray>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace QtViloProcessMemory {

namespace {

QString systemError(int code)
{
    return QString::fromLocal8Bit(strerror(code));
}

Result failure(Stage stage, int code, const QString &heading, const QString &detail)
{
    Result result;
    result.failedAt = stage;
    result.code = code;
    result.heading = heading;
    result.detail = detail;
    return result;
}

QString processText(qint64 processId)
{
    return QStringLiteral("Process: %1").arg(processId);
}

// Waits for the stop that PTRACE_ATTACH's SIGSTOP causes. Other signals that stop the
// tracee first are kept in pending (to be delivered again after the detach) and the tracee
// is let on until the SIGSTOP shows. Returns 0, or the errno of a failed call; exited is set
// when the process ended meanwhile (then there is nothing to detach from).
int waitForAttachStop(pid_t pid, QVarLengthArray<int, 4> &pending, bool &exited)
{
    exited = false;
    for (;;) {
        int status = 0;
        const pid_t waited = waitpid(pid, &status, __WALL);
        if (waited < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (WIFEXITED(status) || WIFSIGNALED(status)) {
            exited = true;
            return 0;
        }
        if (!WIFSTOPPED(status))
            continue;
        const int sig = WSTOPSIG(status);
        if (sig == SIGSTOP)
            return 0;
        pending.append(sig);
        if (ptrace(PTRACE_CONT, pid, nullptr, nullptr) != 0)
            return errno;
    }
}

// Detaches, handing back the first kept signal through the detach and the rest by kill.
int detach(pid_t pid, const QVarLengthArray<int, 4> &pending)
{
    const long first = pending.isEmpty() ? 0 : pending.first();
    if (ptrace(PTRACE_DETACH, pid, nullptr, reinterpret_cast<void *>(first)) != 0)
        return errno;
    for (int i = 1; i < pending.size(); ++i)
        kill(pid, pending.at(i));
    return 0;
}

} // namespace

QString memPath(qint64 processId)
{
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%ld/mem", long(processId));
    return QString::fromLatin1(path);
}

Result read(qint64 processId, quint64 address, char *destination, qint64 length)
{
    const QString path = memPath(processId);
    const int fd = processId > 0 ? open(path.toLocal8Bit().constData(), O_RDONLY | O_CLOEXEC)
                                 : (errno = ENOENT, -1);
    if (fd < 0) {
        const int code = errno;
        return failure(Stage::Open, code, QStringLiteral("Could not open file! Are you sudo?"),
                       systemError(code) + QStringLiteral(" - File: ") + path);
    }
    if (length <= 0) {
        close(fd);
        Result result;
        result.ok = true;
        return result;
    }

    const pid_t pid = pid_t(processId);
    if (ptrace(PTRACE_ATTACH, pid, nullptr, nullptr) != 0) {
        const int code = errno;
        close(fd);
        return failure(Stage::Attach, code,
                       QStringLiteral("Could not attach to the process! Are you sudo?"),
                       systemError(code) + QStringLiteral(" - ") + processText(processId) +
                           QStringLiteral(" - Tracing a process needs the right to trace it "
                                          "(root, CAP_SYS_PTRACE or kernel.yama.ptrace_scope)."));
    }

    QVarLengthArray<int, 4> pending;
    bool exited = false;
    const int waitCode = waitForAttachStop(pid, pending, exited);
    if (exited || waitCode != 0) {
        if (!exited)
            detach(pid, pending);
        close(fd);
        return failure(Stage::Wait, waitCode,
                       QStringLiteral("The process ended before its memory could be read!"),
                       (waitCode ? systemError(waitCode) + QStringLiteral(" - ") : QString()) +
                           processText(processId));
    }

    // Stopped: one read of the whole range. /proc/<pid>/mem takes the address as the offset.
    qint64 done = -1;
    int readCode = 0;
    do {
        done = pread(fd, destination, size_t(length), off_t(address));
    } while (done < 0 && errno == EINTR);
    if (done < 0)
        readCode = errno;

    const int detachCode = detach(pid, pending);
    close(fd);

    const QString where =
        QStringLiteral(" - Address: 0x%1, %2 bytes - File: ").arg(address, 0, 16).arg(length) +
        path;
    if (done != length) {
        const QString reason = done < 0
                                   ? systemError(readCode)
                                   : QStringLiteral("Read %1 of %2 bytes").arg(done).arg(length);
        Result result =
            failure(Stage::Read, readCode, QStringLiteral("Could not read the process memory!"),
                    reason + where);
        result.bytesRead = std::max<qint64>(done, 0);
        return result;
    }
    if (detachCode != 0) {
        return failure(Stage::Detach, detachCode,
                       QStringLiteral("Could not detach from the process!"),
                       systemError(detachCode) + QStringLiteral(" - ") + processText(processId));
    }
    Result result;
    result.ok = true;
    result.bytesRead = done;
    return result;
}

} // namespace QtViloProcessMemory
