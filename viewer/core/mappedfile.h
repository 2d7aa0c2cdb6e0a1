// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>

#include <csetjmp>
#include <cstddef>

// A read-only file descriptor that maps one chunk at a time. Before each mapping the
// current size is taken again, so a file that shrank meanwhile is never touched beyond its
// end (touching mapped pages past the end raises SIGBUS).
class MappedFile
{
public:
    // Positions in the index are 32-bit signed, so this is the first size refused.
    static constexpr qint64 SizeLimit = qint64(1) << 31;

    MappedFile() = default;
    ~MappedFile();
    MappedFile(const MappedFile &) = delete;
    MappedFile &operator=(const MappedFile &) = delete;

    // False with errorString() set when the file cannot be opened or its size is unknown.
    bool open(const QString &path);
    void close();
    bool isOpen() const { return m_fd >= 0; }
    qint64 size() const { return m_size; }
    // The size now, or -1 when it cannot be taken.
    qint64 currentSize() const;
    QString errorString() const { return m_error; }

    // Maps [offset, offset + length) and returns its first byte, or nullptr (errorString()
    // set). The previous chunk is released first.
    const unsigned char *map(qint64 offset, qint64 length);
    void unmap();

private:
    int m_fd = -1;
    qint64 m_size = 0;
    void *m_base = nullptr;
    size_t m_mappedLength = 0;
    QString m_error;
};

// Runs f, which reads mapped bytes; returns false if the file was truncated under it (SIGBUS
// while reading) instead of letting the signal end the process. f must not hold objects
// that need destructors across its reads of mapped memory: a fault jumps straight back.
namespace MappedGuard {
sigjmp_buf *&currentJump();
void installHandler();

template <class F> bool run(F &&f)
{
    installHandler();
    sigjmp_buf jump;
    sigjmp_buf *const previous = currentJump();
    if (sigsetjmp(jump, 1) != 0) {
        currentJump() = previous;
        return false;
    }
    currentJump() = &jump;
    f();
    currentJump() = previous;
    return true;
}
} // namespace MappedGuard
