// SPDX-License-Identifier: LGPL-3.0-or-later
// libFuzzer target for the ASCII number reader in both modes: mapped (bytes in place) checked
// against a plain tokenizer and strtod, stream (text stream and pattern split) checked for its
// counts, and the two compared on texts where their separators are the same.
//
// Input: six bytes of parameters, then the file's text.
//   0  bit 0 reverse offset, bit 1 a known total for the stream mode, bit 2 cancel after
//      (bits 3-4) questions
//   1  data offset, signed
//   2  max plot size, low byte; 3 its high byte (0xff: near the largest qint64)
//   4  byte offset into the text, modulo its length + 1
//   5  the known total's distance from the real one, signed
#include "plot/core/qtviloasciiparser.h"
#include "tests/support/fuzzcheck.h"

#include <QBuffer>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

using namespace QtViloAsciiParser;

namespace {

struct Token
{
    qint64 begin;
    qint64 end;
    qint64 line; // 1-based
};

// The separators as the header lists them, written out again rather than taken from the
// parser's own table.
bool isSeparator(char c)
{
    return c != '\0' && std::strchr(";|:!\\+=,/#?\r\ns", c) != nullptr;
}

std::vector<Token> tokensOf(const char *data, qint64 size)
{
    std::vector<Token> tokens;
    qint64 line = 1;
    qint64 i = 0;
    while (i < size) {
        if (isSeparator(data[i])) {
            line += data[i] == '\n';
            ++i;
            continue;
        }
        const qint64 begin = i;
        while (i < size && !isSeparator(data[i]))
            ++i;
        tokens.push_back({begin, i, line});
    }
    return tokens;
}

enum class Conversion { Fails, Converts, Unsure };

// strtod on the token without its blanks; hexadecimal and out-of-range texts are left open.
Conversion referenceValue(const char *first, const char *last, double *value)
{
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; };
    while (first < last && blank(*first))
        ++first;
    while (last > first && blank(last[-1]))
        --last;
    if (first == last)
        return Conversion::Fails;
    const std::string text(first, last);
    if (text.find_first_of("xXpP") != std::string::npos || text.find('\0') != std::string::npos)
        return text.find('\0') != std::string::npos ? Conversion::Fails : Conversion::Unsure;
    errno = 0;
    char *end = nullptr;
    *value = std::strtod(text.c_str(), &end);
    if (errno == ERANGE)
        return Conversion::Unsure;
    return end == text.c_str() + text.size() ? Conversion::Converts : Conversion::Fails;
}

bool sameValue(double a, double b)
{
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

struct Range
{
    qint64 start = 0;
    qint64 count = 0;
};

// The read range as the header of the read-range rule tells it, in 128 bits.
Range rangeOf(qint64 total, qint64 dataOffset, qint64 maxPlotSize, bool reverse)
{
    const __int128 t = total;
    const __int128 d = dataOffset < 0 ? 0 : dataOffset;
    const __int128 m = maxPlotSize < 0 ? 0 : maxPlotSize;
    const __int128 end = std::min(t, d + m);
    const __int128 count = end - d > 0 ? end - d : 0;
    const __int128 start = reverse ? std::max<__int128>(t - (d + count), 0) : d;
    return {qint64(start), qint64(count)};
}

// Expected values after a read from start: what exists of the range.
qint64 readable(qint64 total, const Range &r)
{
    return std::max<qint64>(0, std::min<qint64>(total, r.start + r.count) - r.start);
}

// Blanks, 's', '|', '\' and other bytes outside ASCII are where the two modes part.
bool modesAgreeOn(const char *data, qint64 size)
{
    for (qint64 i = 0; i < size; ++i) {
        const uchar c = uchar(data[i]);
        if (c >= 0x80 || std::strchr(" \t\v\f|\\s", char(c)) != nullptr)
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 6)
        return 0;
    const bool reverse = data[0] & 1;
    const bool useKnownTotal = data[0] & 2;
    const bool cancels = data[0] & 4;
    const int cancelAfter = (data[0] >> 3) & 3;
    Params params;
    params.dataOffset = qint8(data[1]);
    params.maxPlotSize = data[3] == 0xff ? std::numeric_limits<qint64>::max() - data[2]
                                         : qint64(data[2] | (data[3] << 8)) - 16;
    params.reverseOffset = reverse;
    params.sourceName = QStringLiteral("numbers.asc");
    const qint64 textSize = qint64(size) - 6;
    const qint64 byteOffset = data[4] % (textSize + 1);
    const int totalShift = qint8(data[5]);
    int asked = 0;
    if (cancels)
        params.cancelled = [&asked, cancelAfter] { return ++asked > cancelAfter; };

    // The mapping: exactly the bytes after the offset, so a read past them is caught.
    const qint64 mappedSize = textSize - byteOffset;
    const std::unique_ptr<char[]> mapped(new char[std::size_t(std::max<qint64>(mappedSize, 1))]);
    std::memcpy(mapped.get(), data + 6 + byteOffset, std::size_t(mappedSize));
    const Result m = parseMapped(mapped.get(), mappedSize, params);

    const std::vector<Token> tokens = tokensOf(mapped.get(), mappedSize);
    check(countMappedTokens(mapped.get(), mappedSize) == qint64(tokens.size()));
    const qint64 total = qint64(tokens.size());
    const Range range = rangeOf(total, params.dataOffset, params.maxPlotSize, reverse);
    check(qint64(m.values.size()) <= range.count);
    check(!m.wasCancelled || (!m.ok && m.heading.isEmpty()));
    if (m.wasCancelled) {
        check(cancels);
    } else {
        // An empty mapping returns before any range is taken.
        check(m.total == total && (mappedSize == 0 || m.start == range.start));
        check(m.ok == m.heading.isEmpty() && m.ok == m.badToken.isEmpty());
        if (m.ok)
            check(m.values.size() == range.count);
        // Every value is its token's number; the token after them is the one that failed.
        for (int i = 0; i < m.values.size(); ++i) {
            const Token &t = tokens[std::size_t(range.start + i)];
            double expected = 0;
            const Conversion c =
                referenceValue(mapped.get() + t.begin, mapped.get() + t.end, &expected);
            check(c != Conversion::Fails);
            check(c == Conversion::Unsure || sameValue(m.values[i], expected));
        }
        if (!m.ok) {
            const Token &t = tokens[std::size_t(range.start + m.values.size())];
            const QByteArray token(mapped.get() + t.begin,
                                   int(std::min<qint64>(t.end - t.begin, 4096)));
            double ignored = 0;
            check(referenceValue(mapped.get() + t.begin, mapped.get() + t.end, &ignored) !=
                  Conversion::Converts);
            check(m.badToken == token && m.badLine == t.line);
            check(m.detail == conversionErrorDetail(params.sourceName, token, t.line));
        }
    }

    // Stream mode on the whole text from the byte offset.
    QByteArray bytes(reinterpret_cast<const char *>(data) + 6, int(textSize));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    asked = 0;
    const Result s = parseStream(buffer, byteOffset, params);
    if (!s.wasCancelled) {
        const Range sRange = rangeOf(s.total, params.dataOffset, params.maxPlotSize, reverse);
        check(s.start == sRange.start);
        check(s.ok == s.heading.isEmpty() && s.ok == s.badToken.isEmpty());
        check(s.ok ? s.values.size() == sRange.count : s.values.size() < sRange.count);
        check(s.ok || s.badLine >= 1);
        if (!m.wasCancelled && modesAgreeOn(mapped.get(), mappedSize)) {
            check(s.total == m.total && s.ok == m.ok && s.values.size() == m.values.size());
            for (int i = 0; i < s.values.size(); ++i)
                check(sameValue(s.values[i], m.values[i]));
            check(s.badToken == m.badToken && s.badLine == m.badLine);
        }
        // A total from an earlier count: the range is taken from it, and what the text
        // still holds is read.
        if (useKnownTotal) {
            Params known = params;
            known.knownTotal = std::max<qint64>(0, s.total + totalShift);
            buffer.seek(0);
            asked = 0;
            const Result k = parseStream(buffer, byteOffset, known);
            const Range kRange =
                rangeOf(known.knownTotal, params.dataOffset, params.maxPlotSize, reverse);
            check(k.total == known.knownTotal && k.start == kRange.start);
            check(k.values.size() <= kRange.count);
            if (k.ok && !k.wasCancelled)
                check(k.values.size() == readable(s.total, kRange));
            if (totalShift == 0 && !k.wasCancelled) {
                check(k.ok == s.ok && k.values.size() == s.values.size());
                for (int i = 0; i < k.values.size(); ++i)
                    check(sameValue(k.values[i], s.values[i]));
            }
        }
    } else {
        check(cancels && !s.ok && s.heading.isEmpty());
    }
    return 0;
}
