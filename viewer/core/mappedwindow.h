#pragma once

#include "viewer/core/mappedfile.h"

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
        return m_base + (offset - m_start);
    }

    void release()
    {
        m_file.unmap();
        m_base = nullptr;
        m_start = m_end = 0;
    }

private:
    MappedFile &m_file;
    qint64 m_span;
    const unsigned char *m_base = nullptr;
    qint64 m_start = 0;
    qint64 m_end = 0;
};
