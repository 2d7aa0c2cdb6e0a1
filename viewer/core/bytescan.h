// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>
#include <QVector>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

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

// A search text prepared for case-insensitive matching against the bytes of a file whose
// encoding is not known: it is looked for as Latin-1 bytes (folded as
// QString::indexOf(..., Qt::CaseInsensitive) folds) and, when it holds characters beyond
// ASCII, as UTF-8 bytes too, so a file of either kind finds what its lines show.
class Needle
{
public:
    // One byte form of the text: per byte the two values that match there (equal when only
    // one does).
    struct Form
    {
        QByteArray lo, hi;
        bool possible = false;

        int length() const { return lo.size(); }
        bool matchesAt(const unsigned char *p) const
        {
            const int n = lo.size();
            for (int i = 0; i < n; ++i) {
                const char c = char(p[i]);
                if (c != lo[i] && c != hi[i])
                    return false;
            }
            return true;
        }
        bool isCandidate(const unsigned char *p, size_t i, size_t n) const
        {
            const char c = char(p[i]);
            if (c != lo[0] && c != hi[0])
                return false;
            const size_t j = i + size_t(length()) - 1;
            return j < n && (char(p[j]) == lo[length() - 1] || char(p[j]) == hi[length() - 1]);
        }
        // Offsets i in [0, n - length] where the first and the last byte may start a match
        // (the two ends of a text are far less correlated than two neighbours, so fewer
        // false candidates).
        size_t collectCandidates(const unsigned char *p, size_t n, uint32_t *out) const;
    };

    Needle() = default;
    explicit Needle(const QString &text);

    bool isEmpty() const { return m_length == 0; }
    int length() const { return m_length; }
    // No byte sequence can match (NUL, which ends a decoded line, or no form is possible).
    bool isImpossible() const { return m_impossible; }
    // Holds CR or LF, so it can match across the previous terminator of a line slice; such
    // texts are matched line by line through QString (as Latin-1) instead of the byte scan.
    bool hasTerminator() const { return m_hasTerminator; }
    const QString &text() const { return m_text; }

    // The possible forms, the Latin-1 one first.
    int formCount() const { return m_formCount; }
    const Form &form(int f) const { return m_forms[f]; }
    // The pattern that makes collectHits report the candidates of a text with one form.
    HitPattern hitPattern() const;

    // Calls accept(i, length) for the starts i of matches of any form in p[0, n), ascending
    // and without overlap: the next search starts one match length after an accepted match.
    // Where two forms match at one place the longer is tried first, so it counts once.
    template <class F>
    void forEachMatch(const unsigned char *p, size_t n, std::vector<uint32_t> &scratch,
                      F &&accept) const;

private:
    QString m_text;
    Form m_forms[2];
    int m_formCount = 0;
    int m_length = 0;
    bool m_impossible = false;
    bool m_hasTerminator = false;
};

template <class F>
void Needle::forEachMatch(const unsigned char *p, size_t n, std::vector<uint32_t> &scratch,
                          F &&accept) const
{
    // Candidates are collected for this many start positions at a time, which bounds the
    // scratch list whatever the range.
    constexpr size_t Block = 256 * 1024;
    if (m_impossible || m_formCount == 0)
        return;
    scratch.resize(Block * size_t(m_formCount));
    const int longer = m_formCount == 2 && m_forms[1].length() > m_forms[0].length() ? 1 : 0;
    size_t nextAllowed = 0;
    for (size_t block = 0; block < n; block += Block) {
        size_t count[2] = {0, 0}, at[2] = {0, 0};
        for (int f = 0; f < m_formCount; ++f) {
            const size_t len = size_t(m_forms[f].length());
            const size_t reach = std::min(n - block, Block + len - 1);
            if (reach >= len)
                count[f] = m_forms[f].collectCandidates(p + block, reach,
                                                        scratch.data() + size_t(f) * Block);
        }
        while (at[0] < count[0] || at[1] < count[1]) {
            auto next = [&](int f) {
                return at[f] < count[f] ? scratch[size_t(f) * Block + at[f]] : UINT32_MAX;
            };
            const uint32_t rel = std::min(next(0), next(1));
            const size_t i = block + rel;
            bool taken = i < nextAllowed;
            for (int k = 0; k < m_formCount; ++k) {
                const int f = k == 0 ? longer : 1 - longer;
                if (next(f) != rel)
                    continue;
                ++at[f];
                const size_t len = size_t(m_forms[f].length());
                if (!taken && m_forms[f].matchesAt(p + i) && accept(i, len)) {
                    nextAllowed = i + len;
                    taken = true;
                }
            }
        }
    }
}

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
