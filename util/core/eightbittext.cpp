// SPDX-License-Identifier: LGPL-3.0-or-later
#include "util/core/eightbittext.h"

namespace {

constexpr ushort kEscapeBase = 0xDC00;

bool isEscape(ushort u) { return u >= kEscapeBase + 0x80 && u <= kEscapeBase + 0xFF; }

// Length of the well-formed UTF-8 sequence at p (RFC 3629: no overlongs, no surrogates,
// nothing above U+10FFFF), 0 when there is none; the code point goes to *cp.
int utf8Sequence(const unsigned char *p, int left, uint *cp)
{
    const unsigned char b = p[0];
    int len;
    uint min;
    if (b >= 0xC2 && b <= 0xDF) {
        len = 2;
        min = 0x80;
        *cp = b & 0x1F;
    } else if (b >= 0xE0 && b <= 0xEF) {
        len = 3;
        min = 0x800;
        *cp = b & 0x0F;
    } else if (b >= 0xF0 && b <= 0xF4) {
        len = 4;
        min = 0x10000;
        *cp = b & 0x07;
    } else {
        return 0;
    }
    if (left < len)
        return 0;
    for (int i = 1; i < len; ++i) {
        if ((p[i] & 0xC0) != 0x80)
            return 0;
        *cp = (*cp << 6) | (p[i] & 0x3F);
    }
    if (*cp < min || *cp > 0x10FFFF || (*cp >= 0xD800 && *cp <= 0xDFFF))
        return 0;
    return len;
}

} // namespace

QString decodeEightBit(const char *data, int size)
{
    QString out;
    out.reserve(size);
    const auto *p = reinterpret_cast<const unsigned char *>(data);
    for (int i = 0; i < size;) {
        if (p[i] < 0x80) {
            out += QChar(ushort(p[i++]));
            continue;
        }
        uint cp = 0;
        const int len = utf8Sequence(p + i, size - i, &cp);
        if (len == 0) {
            out += QChar(ushort(kEscapeBase + p[i++]));
            continue;
        }
        if (cp >= 0x10000) {
            out += QChar(QChar::highSurrogate(cp));
            out += QChar(QChar::lowSurrogate(cp));
        } else {
            out += QChar(ushort(cp));
        }
        i += len;
    }
    return out;
}

QByteArray encodeEightBit(const QString &text)
{
    QByteArray out;
    out.reserve(text.size());
    const int n = text.size();
    for (int i = 0; i < n; ++i) {
        const ushort u = text.at(i).unicode();
        if (u < 0x80) {
            out += char(u);
            continue;
        }
        if (QChar::isHighSurrogate(u) && i + 1 < n && text.at(i + 1).isLowSurrogate()) {
            out += QString(text.constData() + i, 2).toUtf8();
            ++i;
            continue;
        }
        if (isEscape(u)) {
            out += char(u - kEscapeBase);
            continue;
        }
        out += QString(QChar(u)).toUtf8(); // a lone surrogate comes out as U+FFFD
    }
    return out;
}

QVector<qint32> eightBitOffsets(const QString &text)
{
    // The same rules as encodeEightBit, counted instead of written.
    const int n = text.size();
    QVector<qint32> at(n + 1);
    qint32 pos = 0;
    for (int i = 0; i < n; ++i) {
        at[i] = pos;
        const ushort u = text.at(i).unicode();
        if (u < 0x80 || isEscape(u)) {
            pos += 1;
        } else if (QChar::isHighSurrogate(u) && i + 1 < n && text.at(i + 1).isLowSurrogate()) {
            at[++i] = pos; // the pair's bytes start with its first half
            pos += 4;
        } else {
            pos += u < 0x800 ? 2 : 3; // a lone surrogate comes out as U+FFFD, three bytes
        }
    }
    at[n] = pos;
    return at;
}

QString eightBitForDisplay(const QString &text)
{
    QString out = text;
    QChar *d = nullptr;
    for (int i = 0; i < out.size(); ++i) {
        const ushort u = out.at(i).unicode();
        if (!isEscape(u))
            continue;
        // A decoded pair's low half is never a lone escape: check the one before.
        if (i > 0 && out.at(i - 1).isHighSurrogate())
            continue;
        if (!d)
            d = out.data();
        d[i] = QChar(ushort(u - kEscapeBase));
    }
    return out;
}
