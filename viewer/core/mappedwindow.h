// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "viewer/core/mappedfile.h"

#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

// Keeps one large mapping of a file and hands out pointers to ranges inside it, so a pass
// that walks the file in small chunks maps it only every few tens of MiB: mapping and
// unmapping each small chunk costs several times the scan itself.
class MappedWindow
{
public:
    static constexpr qint64 DefaultSpan = qint64(64) << 20;

    explicit MappedWindow(MappedFile &file, qint64 span = DefaultSpan) : m_file(file), m_span(span)
    {
    }

    // The bytes [offset, offset + length), or nullptr (the file's errorString() tells why).
    // A new mapping reaches past offset + length only up to limit, the size the caller last
    // took (and checked offset + length against), so a file that shrank is not mapped past
    // its end.
    const unsigned char *map(qint64 offset, qint64 length, qint64 limit)
    {
        if (!m_base || offset < m_start || offset + length > m_end) {
            const qint64 end = qMax(offset + length, qMin(limit, offset + m_span));
            m_base = m_file.map(offset, end - offset);
            m_start = offset;
            m_end = m_base ? end : offset;
            if (!m_base)
                return nullptr;
        }
        const unsigned char *p = m_base + (offset - m_start);
        populate(p, length);
        return p;
    }

    void release()
    {
        m_file.unmap();
        m_base = nullptr;
        m_start = m_end = 0;
    }

private:
    // Sets up the page tables of the range in one call instead of one fault per few pages,
    // which measured about an eighth faster on files held in small page-cache folios. Past
    // the end of a file that shrank the call merely fails; reading there is what faults.
    static void populate(const unsigned char *p, qint64 length)
    {
#ifdef MADV_POPULATE_READ
        static const uintptr_t page = uintptr_t(::sysconf(_SC_PAGESIZE));
        const uintptr_t from = uintptr_t(p) & ~(page - 1);
        ::madvise(reinterpret_cast<void *>(from), size_t(uintptr_t(p) + size_t(length) - from),
                  MADV_POPULATE_READ);
#else
        Q_UNUSED(p)
        Q_UNUSED(length)
#endif
    }

    MappedFile &m_file;
    qint64 m_span;
    const unsigned char *m_base = nullptr;
    qint64 m_start = 0;
    qint64 m_end = 0;
};
