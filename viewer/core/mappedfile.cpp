// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/core/mappedfile.h"

#include <QFile>

#include <mutex>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

MappedFile::~MappedFile()
{
    close();
}

bool MappedFile::open(const QString &path)
{
    close();
    const QByteArray native = QFile::encodeName(path);
    m_fd = ::open(native.constData(), O_RDONLY | O_CLOEXEC);
    if (m_fd < 0) {
        m_error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    struct stat st;
    if (::fstat(m_fd, &st) != 0) {
        m_error = QString::fromLocal8Bit(std::strerror(errno));
        close();
        return false;
    }
    if (!S_ISREG(st.st_mode)) {
        m_error = QStringLiteral("Not a regular file");
        close();
        return false;
    }
    m_size = st.st_size;
    return true;
}

void MappedFile::close()
{
    unmap();
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    m_size = 0;
}

qint64 MappedFile::currentSize() const
{
    struct stat st;
    if (m_fd < 0 || ::fstat(m_fd, &st) != 0)
        return -1;
    return st.st_size;
}

const unsigned char *MappedFile::map(qint64 offset, qint64 length)
{
    unmap();
    if (length <= 0)
        return nullptr;
    static const qint64 page = ::sysconf(_SC_PAGESIZE);
    const qint64 aligned = offset - offset % page;
    const size_t delta = size_t(offset - aligned);
    m_mappedLength = size_t(length) + delta;
    // Faults map several pages each (fault-around); populating up front measured slower.
    void *base = ::mmap(nullptr, m_mappedLength, PROT_READ, MAP_PRIVATE, m_fd, aligned);
    if (base == MAP_FAILED) {
        m_error = QString::fromLocal8Bit(std::strerror(errno));
        m_mappedLength = 0;
        return nullptr;
    }
    m_base = base;
    return static_cast<const unsigned char *>(base) + delta;
}

void MappedFile::unmap()
{
    if (m_base)
        ::munmap(m_base, m_mappedLength);
    m_base = nullptr;
    m_mappedLength = 0;
}

namespace MappedGuard {
namespace {

struct sigaction s_previous;

void onBusError(int sig, siginfo_t *info, void *context)
{
    if (sigjmp_buf *jump = currentJump())
        siglongjmp(*jump, 1);
    // Not a guarded read: hand the signal to whoever had it before.
    if (s_previous.sa_flags & SA_SIGINFO) {
        if (s_previous.sa_sigaction) {
            s_previous.sa_sigaction(sig, info, context);
            return;
        }
    } else if (s_previous.sa_handler != SIG_DFL && s_previous.sa_handler != SIG_IGN) {
        s_previous.sa_handler(sig);
        return;
    }
    // Default action: restore it; the faulting access repeats and ends the process.
    signal(SIGBUS, SIG_DFL);
}

} // namespace

sigjmp_buf *&currentJump()
{
    thread_local sigjmp_buf *jump = nullptr;
    return jump;
}

void installHandler()
{
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction action;
        std::memset(&action, 0, sizeof action);
        action.sa_sigaction = onBusError;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_SIGINFO | SA_NODEFER;
        sigaction(SIGBUS, &action, &s_previous);
    });
}

} // namespace MappedGuard
