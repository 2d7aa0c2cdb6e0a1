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

inline bool isHitScalar(const unsigned char *p, size_t i, size_t n, bool withNul)
{
    const unsigned char c = p[i];
    if (c == '\n' || c == '\r' || (withNul && c == 0))
        return true;
    if (i + 1 < n)
        return (c == 'E' && p[i + 1] == 'R') || (c == 'W' && p[i + 1] == 'A');
    return false;
}

size_t hitsScalar(const unsigned char *p, size_t i, size_t n, bool withNul, uint32_t *out,
                  size_t k)
{
    for (; i < n; ++i) {
        if (isHitScalar(p, i, n, withNul))
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

__attribute__((target("avx2"))) size_t hitsAvx2(const unsigned char *p, size_t n,
                                                 bool withNul, uint32_t *out)
{
    const __m256i lf = _mm256_set1_epi8('\n'), cr = _mm256_set1_epi8('\r');
    const __m256i e = _mm256_set1_epi8('E'), r = _mm256_set1_epi8('R');
    const __m256i w = _mm256_set1_epi8('W'), a = _mm256_set1_epi8('A');
    const __m256i z = _mm256_setzero_si256();
    size_t i = 0, k = 0;
    for (; i + 33 <= n; i += 32) {
        const __m256i v0 = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p + i));
        const __m256i v1 = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p + i + 1));
        __m256i m = _mm256_or_si256(_mm256_cmpeq_epi8(v0, lf), _mm256_cmpeq_epi8(v0, cr));
        m = _mm256_or_si256(m, _mm256_and_si256(_mm256_cmpeq_epi8(v0, e),
                                                _mm256_cmpeq_epi8(v1, r)));
        m = _mm256_or_si256(m, _mm256_and_si256(_mm256_cmpeq_epi8(v0, w),
                                                _mm256_cmpeq_epi8(v1, a)));
        if (withNul)
            m = _mm256_or_si256(m, _mm256_cmpeq_epi8(v0, z));
        emitBits(uint32_t(_mm256_movemask_epi8(m)), i, out, k);
    }
    return hitsScalar(p, i, n, withNul, out, k);
}

size_t hitsSse2(const unsigned char *p, size_t n, bool withNul, uint32_t *out)
{
    const __m128i lf = _mm_set1_epi8('\n'), cr = _mm_set1_epi8('\r');
    const __m128i e = _mm_set1_epi8('E'), r = _mm_set1_epi8('R');
    const __m128i w = _mm_set1_epi8('W'), a = _mm_set1_epi8('A');
    const __m128i z = _mm_setzero_si128();
    size_t i = 0, k = 0;
    for (; i + 17 <= n; i += 16) {
        const __m128i v0 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + i));
        const __m128i v1 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + i + 1));
        __m128i m = _mm_or_si128(_mm_cmpeq_epi8(v0, lf), _mm_cmpeq_epi8(v0, cr));
        m = _mm_or_si128(m, _mm_and_si128(_mm_cmpeq_epi8(v0, e), _mm_cmpeq_epi8(v1, r)));
        m = _mm_or_si128(m, _mm_and_si128(_mm_cmpeq_epi8(v0, w), _mm_cmpeq_epi8(v1, a)));
        if (withNul)
            m = _mm_or_si128(m, _mm_cmpeq_epi8(v0, z));
        emitBits(uint32_t(_mm_movemask_epi8(m)), i, out, k);
    }
    return hitsScalar(p, i, n, withNul, out, k);
}

// Candidates whose first byte is f0 or f1 and, for two or more characters, whose second
// byte is s0 or s1.
__attribute__((target("avx2"))) size_t candAvx2(const unsigned char *p, size_t n,
                                                 const unsigned char *f,
                                                 const unsigned char *s, bool pair,
                                                 uint32_t *out, size_t &done)
{
    const __m256i f0 = _mm256_set1_epi8(char(f[0])), f1 = _mm256_set1_epi8(char(f[1]));
    const __m256i s0 = _mm256_set1_epi8(char(s[0])), s1 = _mm256_set1_epi8(char(s[1]));
    size_t i = 0, k = 0;
    for (; i + 33 <= n; i += 32) {
        const __m256i v0 = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p + i));
        __m256i m = _mm256_or_si256(_mm256_cmpeq_epi8(v0, f0), _mm256_cmpeq_epi8(v0, f1));
        if (pair) {
            const __m256i v1 =
                _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p + i + 1));
            m = _mm256_and_si256(
                m, _mm256_or_si256(_mm256_cmpeq_epi8(v1, s0), _mm256_cmpeq_epi8(v1, s1)));
        }
        emitBits(uint32_t(_mm256_movemask_epi8(m)), i, out, k);
    }
    done = i;
    return k;
}

size_t candSse2(const unsigned char *p, size_t n, const unsigned char *f,
                const unsigned char *s, bool pair, uint32_t *out, size_t &done)
{
    const __m128i f0 = _mm_set1_epi8(char(f[0])), f1 = _mm_set1_epi8(char(f[1]));
    const __m128i s0 = _mm_set1_epi8(char(s[0])), s1 = _mm_set1_epi8(char(s[1]));
    size_t i = 0, k = 0;
    for (; i + 17 <= n; i += 16) {
        const __m128i v0 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + i));
        __m128i m = _mm_or_si128(_mm_cmpeq_epi8(v0, f0), _mm_cmpeq_epi8(v0, f1));
        if (pair) {
            const __m128i v1 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + i + 1));
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

size_t collectHits(const unsigned char *p, size_t n, bool withNul, uint32_t *out)
{
#ifdef VRX_X86
    return haveAvx2() ? hitsAvx2(p, n, withNul, out) : hitsSse2(p, n, withNul, out);
#else
    return hitsScalar(p, 0, n, withNul, out, 0);
#endif
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
    // The bytes that fold like the first and the second character; an empty class means
    // that no Latin-1 text can match at all.
    for (int pos = 0; pos < qMin(2, m_length); ++pos) {
        unsigned char *set = pos == 0 ? m_first : m_second;
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
    size_t k = 0, i = 0;
#ifdef VRX_X86
    k = haveAvx2() ? candAvx2(p, n, m_first, m_second, pair, out, i)
                   : candSse2(p, n, m_first, m_second, pair, out, i);
    while (k > 0 && out[k - 1] > last)
        --k;
#endif
    for (; i <= last; ++i) {
        const unsigned char c = p[i];
        if ((c == m_first[0] || c == m_first[1])
            && (!pair || p[i + 1] == m_second[0] || p[i + 1] == m_second[1]))
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
