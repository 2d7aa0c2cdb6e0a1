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
    HitPattern pattern;
    pattern.nul = true; // a line is decoded up to its first NUL
    pattern.candidates = true;
    pattern.pair = m_length >= 2;
    pattern.secondOffset = size_t(qMax(1, m_length - 1));
    pattern.first[0] = m_first[0];
    pattern.first[1] = m_first[1];
    pattern.second[0] = m_second[0];
    pattern.second[1] = m_second[1];
    return pattern;
}

Needle::Needle(const QString &text) : m_text(text), m_length(text.size())
{
    const FoldTable &table = foldTable();
    m_folded.reserve(m_length);
    for (const QChar c : text) {
        m_folded.append(c.toCaseFolded().unicode());
        if (c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            m_hasTerminator = true;
        if (c.unicode() == 0)
            m_impossible = true;
    }
    // The bytes that fold like the first and the last character; an empty class means
    // that no Latin-1 text can match at all.
    for (int which = 0; which < qMin(2, m_length); ++which) {
        const int pos = which == 0 ? 0 : m_length - 1;
        unsigned char *set = which == 0 ? m_first : m_second;
        int count = 0;
        for (int b = 0; b < 256; ++b) {
            if (table.fold[b] == m_folded[pos] && count < 2)
                set[count++] = uchar(b);
        }
        if (count == 0)
            m_impossible = true;
        if (count == 1)
            set[1] = set[0];
    }
    for (const uint16_t f : qAsConst(m_folded)) {
        bool any = false;
        for (int b = 0; b < 256 && !any; ++b)
            any = table.fold[b] == f;
        if (!any)
            m_impossible = true;
    }
}

bool Needle::matchesAt(const unsigned char *p) const
{
    const uint16_t *fold = foldTable().fold;
    for (int i = 0; i < m_length; ++i) {
        if (fold[p[i]] != m_folded[i])
            return false;
    }
    return true;
}

size_t Needle::collectCandidates(const unsigned char *p, size_t n, uint32_t *out) const
{
    if (m_length == 0 || m_impossible || n < size_t(m_length))
        return 0;
    const size_t last = n - size_t(m_length); // last possible start
    const bool pair = m_length >= 2;
    const size_t d = size_t(m_length) - 1;
    size_t k = 0, i = 0;
#ifdef VRX_X86
    k = haveAvx2() ? candAvx2(p, n, m_first, m_second, d, out, i)
                   : candSse2(p, n, m_first, m_second, d, out, i);
    while (k > 0 && out[k - 1] > last)
        --k;
#endif
    for (; i <= last; ++i) {
        const unsigned char c = p[i];
        if ((c == m_first[0] || c == m_first[1]) &&
            (!pair || p[i + d] == m_second[0] || p[i + d] == m_second[1]))
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
