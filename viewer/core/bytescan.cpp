// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/core/bytescan.h"

#include <QChar>

#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define VRX_X86 1
#endif

namespace ByteScan {
namespace {

struct FoldTable
{
    uint16_t fold[256];
    FoldTable()
    {
        for (int b = 0; b < 256; ++b)
            fold[b] = QChar(ushort(b)).toCaseFolded().unicode();
    }
};

const FoldTable &foldTable()
{
    static const FoldTable table;
    return table;
}

inline bool isHitScalar(const unsigned char *p, size_t i, size_t n, const HitPattern &pat)
{
    const unsigned char c = p[i];
    if (c == '\n' || c == '\r' || (pat.nul && c == 0))
        return true;
    const int d = i + 1 < n ? p[i + 1] : -1;
    if ((c == 'E' && d == 'R') || (c == 'W' && d == 'A'))
        return true;
    if (pat.candidates && (c == pat.first[0] || c == pat.first[1])) {
        if (!pat.pair)
            return true;
        const size_t j = i + pat.secondOffset;
        return j < n && (p[j] == pat.second[0] || p[j] == pat.second[1]);
    }
    return false;
}

size_t hitsScalar(const unsigned char *p, size_t i, size_t n, const HitPattern &pat, uint32_t *out,
                  size_t k)
{
    for (; i < n; ++i) {
        if (isHitScalar(p, i, n, pat))
            out[k++] = uint32_t(i);
    }
    return k;
}

#ifdef VRX_X86
inline void emitBits(uint32_t bits, size_t base, uint32_t *out, size_t &k)
{
    while (bits) {
        out[k++] = uint32_t(base + __builtin_ctz(bits));
        bits &= bits - 1;
    }
}

__attribute__((target("avx2"))) inline __m256i hitMask32(const unsigned char *q,
                                                         const HitPattern &pat, const __m256i *k)
{
    const __m256i v0 = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(q));
    const __m256i v1 = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(q + 1));
    __m256i m = _mm256_or_si256(_mm256_cmpeq_epi8(v0, k[0]), _mm256_cmpeq_epi8(v0, k[1]));
    m = _mm256_or_si256(m,
                        _mm256_and_si256(_mm256_cmpeq_epi8(v0, k[2]), _mm256_cmpeq_epi8(v1, k[3])));
    m = _mm256_or_si256(m,
                        _mm256_and_si256(_mm256_cmpeq_epi8(v0, k[4]), _mm256_cmpeq_epi8(v1, k[5])));
    if (pat.nul)
        m = _mm256_or_si256(m, _mm256_cmpeq_epi8(v0, _mm256_setzero_si256()));
    if (pat.candidates) {
        __m256i c = _mm256_or_si256(_mm256_cmpeq_epi8(v0, k[6]), _mm256_cmpeq_epi8(v0, k[7]));
        if (pat.pair) {
            const __m256i vd =
                _mm256_loadu_si256(reinterpret_cast<const __m256i *>(q + pat.secondOffset));
            c = _mm256_and_si256(
                c, _mm256_or_si256(_mm256_cmpeq_epi8(vd, k[8]), _mm256_cmpeq_epi8(vd, k[9])));
        }
        m = _mm256_or_si256(m, c);
    }
    return m;
}

__attribute__((target("avx2"))) size_t hitsAvx2(const unsigned char *p, size_t n,
                                                const HitPattern &pat, uint32_t *out)
{
    const __m256i k[10] = {_mm256_set1_epi8('\n'),
                           _mm256_set1_epi8('\r'),
                           _mm256_set1_epi8('E'),
                           _mm256_set1_epi8('R'),
                           _mm256_set1_epi8('W'),
                           _mm256_set1_epi8('A'),
                           _mm256_set1_epi8(char(pat.first[0])),
                           _mm256_set1_epi8(char(pat.first[1])),
                           _mm256_set1_epi8(char(pat.second[0])),
                           _mm256_set1_epi8(char(pat.second[1]))};
    size_t i = 0, k64 = 0;
    const size_t reach = 64 + (pat.candidates && pat.pair ? qMax<size_t>(1, pat.secondOffset) : 1);
    // 64 bytes per step with one branch: most steps hold no hit, and the fewer branches
    // keep enough loads in flight to run at memory speed.
    for (; i + reach <= n; i += 64) {
        _mm_prefetch(reinterpret_cast<const char *>(p + i + 1024), _MM_HINT_T0);
        const uint32_t lo = uint32_t(_mm256_movemask_epi8(hitMask32(p + i, pat, k)));
        const uint32_t hi = uint32_t(_mm256_movemask_epi8(hitMask32(p + i + 32, pat, k)));
        uint64_t bits = (uint64_t(hi) << 32) | lo;
        while (bits) {
            out[k64++] = uint32_t(i + size_t(__builtin_ctzll(bits)));
            bits &= bits - 1;
        }
    }
    return hitsScalar(p, i, n, pat, out, k64);
}

size_t hitsSse2(const unsigned char *p, size_t n, const HitPattern &pat, uint32_t *out)
{
    const bool withNul = pat.nul, cand = pat.candidates, pair = pat.pair;
    const __m128i f0 = _mm_set1_epi8(char(pat.first[0])), f1 = _mm_set1_epi8(char(pat.first[1]));
    const __m128i s0 = _mm_set1_epi8(char(pat.second[0])), s1 = _mm_set1_epi8(char(pat.second[1]));
    const __m128i lf = _mm_set1_epi8('\n'), cr = _mm_set1_epi8('\r');
    const __m128i e = _mm_set1_epi8('E'), r = _mm_set1_epi8('R');
    const __m128i w = _mm_set1_epi8('W'), a = _mm_set1_epi8('A');
    const __m128i z = _mm_setzero_si128();
    size_t i = 0, k = 0;
    const size_t reach = 16 + (cand && pair ? qMax<size_t>(1, pat.secondOffset) : 1);
    for (; i + reach <= n; i += 16) {
        const __m128i v0 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + i));
        const __m128i v1 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + i + 1));
        __m128i m = _mm_or_si128(_mm_cmpeq_epi8(v0, lf), _mm_cmpeq_epi8(v0, cr));
        m = _mm_or_si128(m, _mm_and_si128(_mm_cmpeq_epi8(v0, e), _mm_cmpeq_epi8(v1, r)));
        m = _mm_or_si128(m, _mm_and_si128(_mm_cmpeq_epi8(v0, w), _mm_cmpeq_epi8(v1, a)));
        if (withNul)
            m = _mm_or_si128(m, _mm_cmpeq_epi8(v0, z));
        if (cand) {
            __m128i c = _mm_or_si128(_mm_cmpeq_epi8(v0, f0), _mm_cmpeq_epi8(v0, f1));
            if (pair) {
                const __m128i vd =
                    _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + i + pat.secondOffset));
                c = _mm_and_si128(c, _mm_or_si128(_mm_cmpeq_epi8(vd, s0), _mm_cmpeq_epi8(vd, s1)));
            }
            m = _mm_or_si128(m, c);
        }
        emitBits(uint32_t(_mm_movemask_epi8(m)), i, out, k);
    }
    return hitsScalar(p, i, n, pat, out, k);
}

// Candidates whose first byte is f0 or f1 and, for two or more characters, whose second
// byte is s0 or s1.
__attribute__((target("avx2"))) size_t candAvx2(const unsigned char *p, size_t n,
                                                const unsigned char *f, const unsigned char *s,
                                                size_t d, uint32_t *out, size_t &done)
{
    const __m256i f0 = _mm256_set1_epi8(char(f[0])), f1 = _mm256_set1_epi8(char(f[1]));
    const __m256i s0 = _mm256_set1_epi8(char(s[0])), s1 = _mm256_set1_epi8(char(s[1]));
    const bool pair = d > 0;
    size_t i = 0, k = 0;
    for (; i + 32 + d <= n; i += 32) {
        const __m256i v0 = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p + i));
        __m256i m = _mm256_or_si256(_mm256_cmpeq_epi8(v0, f0), _mm256_cmpeq_epi8(v0, f1));
        if (pair) {
            const __m256i v1 = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p + i + d));
            m = _mm256_and_si256(
                m, _mm256_or_si256(_mm256_cmpeq_epi8(v1, s0), _mm256_cmpeq_epi8(v1, s1)));
        }
        emitBits(uint32_t(_mm256_movemask_epi8(m)), i, out, k);
    }
    done = i;
    return k;
}

size_t candSse2(const unsigned char *p, size_t n, const unsigned char *f, const unsigned char *s,
                size_t d, uint32_t *out, size_t &done)
{
    const __m128i f0 = _mm_set1_epi8(char(f[0])), f1 = _mm_set1_epi8(char(f[1]));
    const __m128i s0 = _mm_set1_epi8(char(s[0])), s1 = _mm_set1_epi8(char(s[1]));
    const bool pair = d > 0;
    size_t i = 0, k = 0;
    for (; i + 16 + d <= n; i += 16) {
        const __m128i v0 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + i));
        __m128i m = _mm_or_si128(_mm_cmpeq_epi8(v0, f0), _mm_cmpeq_epi8(v0, f1));
        if (pair) {
            const __m128i v1 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + i + d));
            m = _mm_and_si128(m, _mm_or_si128(_mm_cmpeq_epi8(v1, s0), _mm_cmpeq_epi8(v1, s1)));
        }
        emitBits(uint32_t(_mm_movemask_epi8(m)), i, out, k);
    }
    done = i;
    return k;
}

bool haveAvx2()
{
    static const bool have = __builtin_cpu_supports("avx2");
    return have;
}
#endif

} // namespace

size_t collectHits(const unsigned char *p, size_t n, const HitPattern &pattern, uint32_t *out)
{
#ifdef VRX_X86
    return haveAvx2() ? hitsAvx2(p, n, pattern, out) : hitsSse2(p, n, pattern, out);
#else
    return hitsScalar(p, 0, n, pattern, out, 0);
#endif
}

HitPattern Needle::hitPattern() const
{
    const Form &f = m_forms[0];
    const int n = f.length();
    HitPattern pattern;
    pattern.nul = true; // a line is decoded up to its first NUL
    pattern.candidates = n > 0;
    pattern.pair = n >= 2;
    pattern.secondOffset = size_t(qMax(1, n - 1));
    if (n > 0) {
        pattern.first[0] = uchar(f.lo[0]);
        pattern.first[1] = uchar(f.hi[0]);
        pattern.second[0] = uchar(f.lo[n - 1]);
        pattern.second[1] = uchar(f.hi[n - 1]);
    }
    return pattern;
}

namespace {

QByteArray utf8Of(uint cp)
{
    return QString::fromUcs4(&cp, 1).toUtf8();
}

// The Latin-1 form: per character the bytes that fold like it (never more than two); not
// possible when some character has none.
Needle::Form latin1Form(const QString &text)
{
    const FoldTable &table = foldTable();
    Needle::Form form;
    form.possible = true;
    for (const QChar c : text) {
        const uint16_t folded = c.toCaseFolded().unicode();
        char set[2];
        int count = 0;
        for (int b = 0; b < 256 && count < 2; ++b) {
            if (table.fold[b] == folded)
                set[count++] = char(b);
        }
        if (count == 0)
            return Needle::Form();
        form.lo.append(set[0]);
        form.hi.append(set[count - 1]);
    }
    return form;
}

// The UTF-8 form: the text's UTF-8 bytes, where a character whose other case is encoded
// with one byte changed (ASCII and Latin-1 letters, most of Greek and Cyrillic) also takes
// that byte. Pairs that differ in more bytes match in the text's own case only.
Needle::Form utf8Form(const QString &text)
{
    Needle::Form form;
    form.possible = true;
    for (const uint cp : text.toUcs4()) {
        const QByteArray own = utf8Of(cp);
        QByteArray other = own;
        for (const uint v : {QChar::toLower(cp), QChar::toUpper(cp), QChar::toTitleCase(cp),
                             QChar::toCaseFolded(cp)}) {
            const QByteArray bytes = utf8Of(v);
            if (v == cp || bytes.size() != own.size())
                continue;
            int differ = 0, at = 0;
            for (int i = 0; i < own.size(); ++i) {
                if (bytes[i] != own[i]) {
                    ++differ;
                    at = i;
                }
            }
            if (differ == 1 && other == own)
                other[at] = bytes[at];
        }
        form.lo += own;
        form.hi += other;
    }
    return form;
}

} // namespace

Needle::Needle(const QString &text) : m_text(text), m_length(text.size())
{
    bool ascii = true;
    for (const QChar c : text) {
        if (c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            m_hasTerminator = true;
        if (c.unicode() == 0)
            m_impossible = true;
        if (c.unicode() >= 0x80)
            ascii = false;
    }
    if (m_length == 0 || m_impossible)
        return;
    const Form latin1 = latin1Form(text);
    if (latin1.possible)
        m_forms[m_formCount++] = latin1;
    // Beyond ASCII a text's UTF-8 bytes differ from its Latin-1 ones.
    if (!ascii)
        m_forms[m_formCount++] = utf8Form(text);
    m_impossible = m_formCount == 0;
}

size_t Needle::Form::collectCandidates(const unsigned char *p, size_t n, uint32_t *out) const
{
    const int length = this->length();
    if (length == 0 || n < size_t(length))
        return 0;
    const unsigned char first[2] = {uchar(lo[0]), uchar(hi[0])};
    const unsigned char second[2] = {uchar(lo[length - 1]), uchar(hi[length - 1])};
    const size_t last = n - size_t(length); // last possible start
    const bool pair = length >= 2;
    const size_t d = size_t(length) - 1;
    size_t k = 0, i = 0;
#ifdef VRX_X86
    k = haveAvx2() ? candAvx2(p, n, first, second, d, out, i)
                   : candSse2(p, n, first, second, d, out, i);
    while (k > 0 && out[k - 1] > last)
        --k;
#endif
    for (; i <= last; ++i) {
        const unsigned char c = p[i];
        if ((c == first[0] || c == first[1]) &&
            (!pair || p[i + d] == second[0] || p[i + d] == second[1]))
            out[k++] = uint32_t(i);
    }
    return k;
}

QString decodeSlice(const unsigned char *p, size_t n)
{
    const void *nul = std::memchr(p, 0, n);
    const size_t len = nul ? size_t(static_cast<const unsigned char *>(nul) - p) : n;
    return QString::fromLatin1(reinterpret_cast<const char *>(p), int(len));
}

} // namespace ByteScan
