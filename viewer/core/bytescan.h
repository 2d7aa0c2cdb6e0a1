#pragma once

#include <QString>
#include <QVector>

#include <cstddef>
#include <cstdint>

// Vectorised byte scans shared by the indexer and the searcher.
namespace ByteScan {

// What one pass over a chunk looks for besides LF, CR and the starts of "ER" and "WA" (the
// first two bytes of the two markers): NUL bytes, and the first one or two bytes of a
// search text (each given as up to two byte values that fold alike).
struct HitPattern
{
    bool nul = false;
    bool candidates = false;
    bool pair = false;       // the search text has two or more characters
    size_t secondOffset = 1; // where the second compared character lies: the last one
    unsigned char first[2] = {0, 0};
    unsigned char second[2] = {0, 0};
};

// Writes to out (room for n entries) the ascending offsets i in [0, n) where any of the
// pattern's bytes start. Returns how many were written.
size_t collectHits(const unsigned char *p, size_t n, const HitPattern &pattern, uint32_t *out);
inline size_t collectHits(const unsigned char *p, size_t n, bool withNul, uint32_t *out)
{
    HitPattern pattern;
    pattern.nul = withNul;
    return collectHits(p, n, pattern, out);
}

// A search text prepared for case-insensitive matching against Latin-1 bytes, with the same
// folding rule as QString::indexOf(..., Qt::CaseInsensitive).
class Needle
{
public:
    Needle() = default;
    explicit Needle(const QString &text);

    bool isEmpty() const { return m_length == 0; }
    int length() const { return m_length; }
    // No byte sequence can match (a character outside the Latin-1 folding classes, or NUL,
    // which ends a decoded line).
    bool isImpossible() const { return m_impossible; }
    // Holds CR or LF, so it can match across the previous terminator of a line slice; such
    // texts are matched line by line through QString instead of the byte scan.
    bool hasTerminator() const { return m_hasTerminator; }
    const QString &text() const { return m_text; }

    bool matchesAt(const unsigned char *p) const;
    // The pattern that makes collectHits report this text's candidates as well.
    HitPattern hitPattern() const;
    bool isCandidate(const unsigned char *p, size_t i, size_t n) const
    {
        const unsigned char c = p[i];
        if (c != m_first[0] && c != m_first[1])
            return false;
        if (m_length < 2)
            return true;
        const size_t j = i + size_t(m_length) - 1;
        return j < n && (p[j] == m_second[0] || p[j] == m_second[1]);
    }
    // Offsets i in [0, n - length] where the first and the last byte may start a match
    // (the two ends of a text are far less correlated than two neighbours, so fewer false
    // candidates).
    size_t collectCandidates(const unsigned char *p, size_t n, uint32_t *out) const;

private:
    QString m_text;
    QVector<uint16_t> m_folded;
    unsigned char m_first[2] = {0, 0};
    unsigned char m_second[2] = {0, 0};
    int m_length = 0;
    bool m_impossible = false;
    bool m_hasTerminator = false;
};

// Non-overlapping case-insensitive matches of needle in a decoded slice, each next search
// starting one needle length after the last match; reference semantics for the odd cases.
template <class F>
void forEachQStringMatch(const QString &slice, const QString &needle, F &&onMatch)
{
    int from = 0;
    while (true) {
        const int at = slice.indexOf(needle, from, Qt::CaseInsensitive);
        if (at < 0)
            break;
        onMatch(at);
        from = at + needle.size();
    }
}

// Latin-1 decoding of a slice up to its first NUL byte.
QString decodeSlice(const unsigned char *p, size_t n);

} // namespace ByteScan
