// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/ui/linewindow.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstring>

namespace LineWindow {

namespace {

int sequenceLength(unsigned char c)
{
    if (c < 0x80)
        return 1;
    if ((c >> 5) == 6)
        return 2;
    if ((c >> 4) == 14)
        return 3;
    if ((c >> 3) == 30)
        return 4;
    return 0;
}

bool validUtf8(const unsigned char *p, qint64 n)
{
    for (qint64 i = 0; i < n;) {
        const int len = sequenceLength(p[i]);
        if (len == 0 || i + len > n)
            return false;
        for (int k = 1; k < len; ++k) {
            if ((p[i + k] & 0xC0) != 0x80)
                return false;
        }
        i += len;
    }
    return true;
}

QString decodeAs(const unsigned char *p, qint64 n, bool latin1)
{
    QByteArray bytes(reinterpret_cast<const char *>(p), int(n));
    std::replace(bytes.begin(), bytes.end(), '\0', ' ');
    return latin1 ? QString::fromLatin1(bytes) : QString::fromUtf8(bytes);
}

} // namespace

QString decode(const unsigned char *p, qint64 n, bool *latin1)
{
    const bool isLatin1 = !validUtf8(p, n);
    if (latin1)
        *latin1 = isLatin1;
    return decodeAs(p, n, isLatin1);
}

QString omittedMarker(qint64 bytes)
{
    return QCoreApplication::translate("LineWindow", " \u2026 [%L1 more bytes not shown]")
        .arg(bytes);
}

Window build(const unsigned char *p, qint64 base, QVector<Line> lines)
{
    Window window;
    for (int i = 0; i < lines.size(); ++i) {
        Line &line = lines[i];
        const unsigned char *bytes = p + (line.start - base);
        qint64 shown = qMin<qint64>(line.end - line.start, DisplayWidth);
        bool latin1 = !validUtf8(bytes, shown);
        if (latin1 && shown < line.end - line.start) {
            // The cut may split a UTF-8 sequence: step back to its first byte.
            qint64 back = shown;
            while (back > 0 && (bytes[back] & 0xC0) == 0x80)
                --back;
            if (validUtf8(bytes, back)) {
                shown = back;
                latin1 = false;
            }
        }
        if (i > 0)
            window.text += QLatin1Char('\n');
        line.docPos = window.text.size();
        line.shownBytes = int(shown);
        line.latin1 = latin1;
        const QString text = decodeAs(bytes, shown, latin1);
        line.shownChars = text.size();
        window.text += text;
        if (line.cut())
            window.text += omittedMarker(line.end - line.start - shown);
    }
    window.lines = std::move(lines);
    return window;
}

int documentPosition(const Window &window, qint64 bytePos)
{
    const QVector<Line> &lines = window.lines;
    auto it = std::upper_bound(lines.cbegin(), lines.cend(), bytePos,
                               [](qint64 pos, const Line &line) { return pos < line.bytePos; });
    if (it == lines.cbegin())
        return -1;
    const Line &line = *(it - 1);
    const qint64 column = bytePos - line.bytePos;
    if (column > line.end - line.start)
        return -1;
    if (column >= line.shownBytes)
        return line.docPos + line.shownChars + (line.cut() ? 1 : 0);
    if (line.latin1)
        return line.docPos + int(column);
    // Count the characters that the first column bytes decode to.
    const QStringRef text = window.text.midRef(line.docPos, line.shownChars);
    qint64 bytes = 0;
    int chars = 0;
    while (chars < text.size() && bytes < column) {
        const ushort c = text.at(chars).unicode();
        if (QChar::isHighSurrogate(c)) {
            bytes += 4;
            chars += 2;
            continue;
        }
        bytes += c < 0x80 ? 1 : c < 0x800 ? 2 : 3;
        ++chars;
    }
    return line.docPos + chars;
}

} // namespace LineWindow
