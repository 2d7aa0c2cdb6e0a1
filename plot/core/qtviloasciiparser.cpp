// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtviloasciiparser.h"

#include <QIODevice>
#include <QRegularExpression>
#include <QTextStream>
#include <QVarLengthArray>

#include <array>
#include <charconv>
#include <limits>

namespace QtViloAsciiParser {

namespace {

// The pattern string of the stream mode; the mapped mode takes its characters as a set.
constexpr char Pattern[] = ";|:|!|\\+|=|,|/|#|\\?|\r|\n|\\s+";
static_assert(sizeof(Pattern) - 1 == 27, "the separator string has 27 characters");

// Bytes between cancellation checks, and lines in stream mode.
constexpr qint64 CheckEveryBytes = qint64(1) << 20;
constexpr qint64 CheckEveryLines = 4096;

// A QVector<double> holds at most this many values in Qt 5 (2 GiB less its header).
constexpr qint64 MaxValues = (std::numeric_limits<int>::max() - 64) / qint64(sizeof(double));

struct SeparatorTable
{
    std::array<bool, 256> isSeparator{};
    SeparatorTable()
    {
        for (const char c : Pattern) {
            if (c != '\0')
                isSeparator[uchar(c)] = true;
        }
    }
};

const SeparatorTable &separators()
{
    static const SeparatorTable table;
    return table;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}

bool toDouble(const char *first, const char *last, double &value)
{
    while (first < last && isBlank(*first))
        ++first;
    while (last > first && isBlank(last[-1]))
        --last;
    if (first == last)
        return false;
    const std::from_chars_result r = std::from_chars(first, last, value);
    return r.ec == std::errc() && r.ptr == last;
}

bool askCancelled(const Params &params)
{
    return params.cancelled && params.cancelled();
}

QtViloReadRange::SampleRange rangeOf(const Params &params, qint64 total)
{
    QtViloReadRange::Params p;
    p.sampleWidth = sizeof(double);
    p.dataOffset = params.dataOffset;
    p.maxPlotSize = params.maxPlotSize;
    p.reverseOffset = params.reverseOffset;
    QtViloReadRange::SampleRange range = QtViloReadRange::fileRange(p, total);
    range.count = std::min(range.count, MaxValues);
    return range;
}

void fail(Result &result, const Params &params, const QByteArray &token, qint64 line)
{
    result.ok = false;
    result.badToken = token;
    result.badLine = line;
    result.heading = conversionErrorHeading();
    result.detail = conversionErrorDetail(params.sourceName, token, line);
}

void cancel(Result &result)
{
    result.ok = false;
    result.wasCancelled = true;
}

} // namespace

QString conversionErrorHeading()
{
    return QStringLiteral("Some string values could not be converted to number!");
}

QString conversionErrorDetail(const QString &sourceName, const QByteArray &token, qint64 line)
{
    constexpr int Shown = 64;
    const QString shown = token.size() > Shown
                              ? QString::fromUtf8(token.left(Shown)) + QStringLiteral("...")
                              : QString::fromUtf8(token);
    return sourceName + QStringLiteral(": None Numeric String: ") + shown +
           QStringLiteral(": Line: ") + QString::number(line);
}

bool isMappedSeparator(char c)
{
    return separators().isSeparator[uchar(c)];
}

qint64 countMappedTokens(const char *data, qint64 size)
{
    const std::array<bool, 256> &sep = separators().isSeparator;
    const uchar *p = reinterpret_cast<const uchar *>(data);
    // A token starts at every non-separator after a separator (or at the first byte);
    // branch-free so the pass runs at memory speed.
    qint64 count = 0;
    bool previousIsSeparator = true;
    for (qint64 i = 0; i < size; ++i) {
        const bool s = sep[p[i]];
        count += previousIsSeparator & !s;
        previousIsSeparator = s;
    }
    return count;
}

Result parseMapped(const char *data, qint64 size, const Params &params)
{
    Result result;
    if (size <= 0 || !data)
        return result;
    // Counted in slices so that a cancel is noticed during a long count too.
    for (qint64 at = 0; at < size; at += CheckEveryBytes) {
        if (askCancelled(params)) {
            cancel(result);
            return result;
        }
        const qint64 n = std::min(CheckEveryBytes, size - at);
        result.total += countMappedTokens(data + at, n);
        // A token cut by the slice border was counted twice.
        if (at > 0 && !isMappedSeparator(data[at - 1]) && !isMappedSeparator(data[at]))
            --result.total;
    }
    const QtViloReadRange::SampleRange range = rangeOf(params, result.total);
    result.start = range.start;
    if (range.count == 0)
        return result;
    result.values.resize(int(range.count));
    double *out = result.values.data();

    const std::array<bool, 256> &sep = separators().isSeparator;
    const char *p = data;
    const char *const end = data + size;
    qint64 nextCheck = CheckEveryBytes; // as an offset: a pointer may not pass the end
    qint64 index = 0;
    qint64 stored = 0;
    qint64 line = 1;
    while (p < end) {
        if (p - data >= nextCheck) {
            nextCheck = (p - data) + CheckEveryBytes;
            if (askCancelled(params)) {
                cancel(result);
                break;
            }
        }
        while (p < end && sep[uchar(*p)]) {
            line += *p == '\n';
            ++p;
        }
        if (p == end)
            break;
        const char *token = p;
        while (p < end && !sep[uchar(*p)])
            ++p;
        if (index++ < range.start)
            continue;
        if (!toDouble(token, p, out[stored])) {
            fail(result, params, QByteArray(token, int(std::min<qint64>(p - token, 4096))), line);
            break;
        }
        if (++stored == range.count)
            break;
    }
    if (stored < range.count)
        result.values.resize(int(stored));
    return result;
}

Result parseStream(QIODevice &device, qint64 byteOffset, const Params &params)
{
    Result result;
    const QRegularExpression splitter(QString::fromLatin1(Pattern));
    QTextStream stream(&device);
    QString line;
    if (!stream.seek(std::max<qint64>(byteOffset, 0)))
        return result;

    if (params.knownTotal < 0) {
        qint64 lines = 0;
        while (stream.readLineInto(&line)) {
            result.total += line.splitRef(splitter, Qt::SkipEmptyParts).size();
            if (++lines % CheckEveryLines == 0 && askCancelled(params)) {
                cancel(result);
                return result;
            }
        }
        if (!stream.seek(std::max<qint64>(byteOffset, 0)))
            return result;
    } else {
        result.total = params.knownTotal;
    }

    const QtViloReadRange::SampleRange range = rangeOf(params, result.total);
    result.start = range.start;
    if (range.count == 0)
        return result;
    result.values.resize(int(range.count));
    double *out = result.values.data();

    qint64 index = 0;
    qint64 stored = 0;
    qint64 lineNumber = 0;
    bool done = false;
    while (!done && stream.readLineInto(&line)) {
        ++lineNumber;
        if (lineNumber % CheckEveryLines == 0 && askCancelled(params)) {
            cancel(result);
            break;
        }
        const QVector<QStringRef> parts = line.splitRef(splitter, Qt::SkipEmptyParts);
        for (const QStringRef &part : parts) {
            if (index++ < range.start)
                continue;
            // Shares the mapped mode's conversion; a non-Latin-1 character becomes '?' and
            // fails, as it would anyway.
            QVarLengthArray<char, 64> token(part.size());
            for (int i = 0; i < part.size(); ++i) {
                const ushort u = part.at(i).unicode();
                token[i] = u < 0x100 ? char(u) : '?';
            }
            if (!toDouble(token.constBegin(), token.constEnd(), out[stored])) {
                fail(result, params, part.toUtf8(), lineNumber);
                done = true;
                break;
            }
            if (++stored == range.count) {
                done = true;
                break;
            }
        }
    }
    // Fewer values than counted: the file shrank since its total was taken.
    if (stored < range.count)
        result.values.resize(int(stored));
    return result;
}

} // namespace QtViloAsciiParser
