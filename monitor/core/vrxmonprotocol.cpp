// SPDX-License-Identifier: LGPL-3.0-or-later
#include "monitor/core/vrxmonprotocol.h"

#include <cctype>
#include <climits>

#include <QFile>

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace VrxProto {

const char kPathUnknown[] = "Process path cannot be determined";

namespace {
const char kOpenToken[] = "RunCmd(";
const int kOpenTokenLen = 7;
const char kCloseToken[] = ");";
const int kCloseTokenLen = 2;
} // namespace

QByteArray encodeClientId(const ClientIdRecord &rec)
{
    QByteArray out(kClientIdSize, '\0');
    std::memcpy(out.data(), &rec, kClientIdSize);
    return out;
}

ClientIdDecode decodeClientId(const char *data, int length)
{
    ClientIdDecode d;
    d.length = length;
    if (data && length > 0)
        std::memcpy(&d.record, data, std::min(length, kClientIdSize));
    if (data && length > 32)
        d.validationId = QByteArray(data + 32, std::min(4, length - 32));
    d.valid = length == kClientIdSize && d.validationId == QByteArray(kValidationId, 4);
    if (!d.valid) {
        d.errorText = QStringLiteral("ERROR: Could not establish client ID. ID length (%1) or "
                                     "ValidationID (%2) not match!\n")
                          .arg(length)
                          .arg(QString::fromLatin1(d.validationId));
    }
    return d;
}

ClientIdRecord temporaryClientId(int socketFd, int recordIndex)
{
    ClientIdRecord r{};
    r.processId = quint64(socketFd);
    r.devNumber = quint64(recordIndex);
    std::memcpy(r.validationId, kValidationId, 4);
    std::snprintf(r.interfaceName, sizeof r.interfaceName, "NA%d", recordIndex);
    std::snprintf(r.devType, sizeof r.devType, "NA");
    return r;
}

QByteArray encodeSettings(quint32 traceLevel, quint32 timestamp, quint32 devMask)
{
    SettingsRecord s{traceLevel, timestamp, devMask, 0};
    return QByteArray(reinterpret_cast<const char *>(&s), kSettingsSize);
}

bool decodeSettings(const char *data, int length, SettingsRecord *out)
{
    if (length < kSettingsSize)
        return false;
    std::memcpy(out, data, kSettingsSize);
    return true;
}

QByteArray encodeAck(qint64 count)
{
    return QByteArray(reinterpret_cast<const char *>(&count), kAckSize);
}

bool decodeAck(const char *data, int length, qint64 *count)
{
    if (length != kAckSize)
        return false;
    std::memcpy(count, data, kAckSize);
    return true;
}

QByteArray formatServerTimestamp(qint64 seconds, qint64 microseconds)
{
    // Single-precision division and truncation, as the message format has always done it.
    int ms = int(float(microseconds) / 1000.0f);
    if (ms > 999) {
        ms -= 1000;
        ++seconds;
    }
    const time_t t = time_t(seconds);
    struct tm tmv;
    gmtime_r(&t, &tmv);
    char head[32];
    std::strftime(head, sizeof head, "[%Y-%m-%dT%H:%M:%S", &tmv);
    char full[64];
    std::snprintf(full, sizeof full, "%s.%03dZ] ", head, ms);
    return QByteArray(full);
}

QByteArray serverTimestamp()
{
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    return formatServerTimestamp(tv.tv_sec, tv.tv_usec);
}

bool isClientTimestamp(const char *d, std::size_t n)
{
    return n >= std::size_t(kTimestampLen) && d[0] == '[' && d[5] == '-' && d[8] == '-' &&
           d[11] == 'T' && d[14] == ':' && d[17] == ':' && d[20] == '.' && d[24] == 'Z' &&
           d[25] == ']' && d[26] == ' ';
}

QString fieldText(const char *field, int size)
{
    return QString::fromLatin1(field, int(strnlen(field, std::size_t(size))));
}

ClientTexts clientTexts(const ClientIdRecord &rec)
{
    const QString addr = QString::number(rec.devAddr, 16).toUpper();
    const QString type = fieldText(rec.devType, sizeof rec.devType);
    const QString cu = QString::number(rec.cuHandle, 16).toUpper();
    const QString num = QString::number(rec.devNumber);
    const QString iface = fieldText(rec.interfaceName, sizeof rec.interfaceName);
    ClientTexts t;
    t.promptEmptyLine = QStringLiteral("0x%1/%2@0x%3/%4/%5>").arg(addr, type, cu, num, iface);
    t.prompt = t.promptEmptyLine + QLatin1Char(' ');
    t.promptNoHexMark = QStringLiteral("0x%1/%2@%3/%4/%5> ").arg(addr, type, cu, num, iface);
    return t;
}

QString monitorPrompt(qint64 pid, const QString &commFilePath)
{
    QString name = QStringLiteral("Unknown");
    QFile f(commFilePath);
    if (f.open(QIODevice::ReadOnly)) {
        QByteArray line = f.readLine(256);
        if (line.endsWith('\n'))
            line.chop(1);
        name = QString::fromLocal8Bit(line.left(255));
    }
    return QStringLiteral("%1/%2> ").arg(pid).arg(name);
}

QString ownMonitorPrompt()
{
    const qint64 pid = qint64(getpid());
    return monitorPrompt(pid, QStringLiteral("/proc/%1/comm").arg(pid));
}

QByteArray processPath(quint64 pid)
{
    char name[64];
    std::snprintf(name, sizeof name, "/proc/%llu/cmdline", static_cast<unsigned long long>(pid));
    FILE *f = std::fopen(name, "rb");
    if (!f)
        return QByteArray(kPathUnknown);
    char buf[kPathSize];
    const std::size_t n = std::fread(buf, 1, sizeof buf - 1, f);
    std::fclose(f);
    if (n == 0)
        return QByteArray(kPathUnknown);
    buf[n] = '\0';
    return QByteArray(buf);
}

QByteArray plotPrefix(qint64 pid, const QByteArray &path)
{
    return QByteArray::number(pid) + ", " + path.left(kPathSize) + ",";
}

QString connectText(const ClientIdRecord &rec, const QByteArray &path, const QByteArray &ip,
                    quint32 port, bool connected)
{
    const QString head = connected ? QStringLiteral("CONNECTED! Client ID: \n")
                                   : QStringLiteral("DISCONNECTED! Removing client: \n");
    return head +
           QStringLiteral("[Process ID: %1]\n[VRXCU: 0x%2]\n[Interface: %3]\n[DevAddr: 0x%4]\n"
                          "[Dev#: %5]\n[DevType: %6]\n[Path: %7]\n[IP: %8]\n[Port: %9]\n\n")
               .arg(QString::number(rec.processId), QString::number(rec.cuHandle, 16).toUpper(),
                    fieldText(rec.interfaceName, sizeof rec.interfaceName),
                    QString::number(rec.devAddr, 16).toUpper(), QString::number(rec.devNumber),
                    fieldText(rec.devType, sizeof rec.devType), QString::fromLocal8Bit(path),
                    QString::fromLatin1(ip), QString::number(port));
}

QList<LinePiece> splitLines(const char *data, std::size_t length)
{
    QList<LinePiece> out;
    std::size_t start = 0;
    for (std::size_t i = 0; i < length; ++i) {
        if (isLineEnd(data[i])) {
            out.append({start, i + 1 - start, true});
            start = i + 1;
        }
    }
    if (start < length)
        out.append({start, length - start, false});
    return out;
}

void resetMatcher(CmdMatcher &m)
{
    m.position = 0;
    m.open = false;
    m.cmdLength = 0;
    m.overflow = false;
}

bool feedMatcher(CmdMatcher &m, char c)
{
    const char *token = m.open ? kCloseToken : kOpenToken;
    const quint32 tokenLen = m.open ? kCloseTokenLen : kOpenTokenLen;
    if (m.open) {
        if (m.cmdLength < quint32(CmdMatcher::kCmdCapacity))
            m.cmd[m.cmdLength++] = c;
        else
            m.overflow = true;
    }
    // A mismatch starts the token over without looking at the byte again: "RRunCmd(" opens
    // nothing, as the device library's users have come to rely on.
    m.position = c == token[m.position] ? m.position + 1 : 0;
    if (m.position < tokenLen)
        return false;
    m.position = 0;
    if (!m.open) {
        m.open = true;
        m.cmdLength = 0;
        m.overflow = false;
        return false;
    }
    return true;
}

QByteArray commandText(const CmdMatcher &m)
{
    // The collected bytes end with ");" when the command was complete.
    int len = int(m.cmdLength);
    if (!m.overflow && len >= kCloseTokenLen)
        len -= kCloseTokenLen;
    QByteArray text(m.cmd, len);
    const int nul = text.indexOf('\0');
    if (nul >= 0)
        text.truncate(nul);
    return text;
}

int readCommandCode(const QByteArray &field)
{
    // Leading digits after an optional sign, as C's atoi reads them; the rest is ignored and
    // text without digits is 0, which stops the monitor.
    const char *p = field.constData();
    const char *end = p + field.size();
    while (p < end && std::isspace(static_cast<unsigned char>(*p)))
        ++p;
    bool negative = false;
    if (p < end && (*p == '+' || *p == '-'))
        negative = *p++ == '-';
    qint64 value = 0;
    for (; p < end && *p >= '0' && *p <= '9'; ++p)
        value = qMin<qint64>(value * 10 + (*p - '0'), qint64(INT_MAX) + 1);
    if (negative)
        value = -value;
    return int(qBound<qint64>(INT_MIN, value, INT_MAX));
}

CommandDecision parseCommand(const QByteArray &text, const QByteArray &prefix)
{
    CommandDecision d;
    const QList<QByteArray> raw = text.split(',');
    for (const QByteArray &f : raw)
        d.fields.append(f.trimmed());
    const int comma = text.indexOf(',');
    d.afterFirstComma = comma >= 0 ? text.mid(comma + 1) : QByteArray();
    d.code = readCommandCode(d.fields.value(0));
    switch (d.code) {
    case 0:
        d.kind = CmdKind::Stop;
        d.message = stopReceivedText();
        break;
    case 1:
        if (d.fields.size() < 6) {
            d.kind = CmdKind::InsufficientParams;
            d.message = QStringLiteral("ERROR: Insuffivient command parameters'%1'.\n")
                            .arg(QString::fromLatin1(d.afterFirstComma));
        } else {
            d.kind = CmdKind::Plot;
            d.plotRequest = QString::fromLocal8Bit(prefix + d.afterFirstComma);
        }
        break;
    default:
        d.kind = CmdKind::Unknown;
        d.message = QStringLiteral("ERROR: Unknown command '%1'.\n").arg(QStringLiteral("RunCmd("));
        break;
    }
    return d;
}

QString stopReceivedText() { return QStringLiteral("NOTE : Stop command received!\n"); }
QString stoppedText() { return QStringLiteral("NOTE : VRX Monitor stopped!\n\n"); }

QString outOfSyncText(int permits)
{
    return QStringLiteral("WARN : Real Time Plot out of sync! (RemoteMemProcessed.available() = "
                          "%1). Re-syncing...\n")
        .arg(permits);
}

QString handshakeFailedText(const QString &peer, const QString &cause)
{
    return QStringLiteral("ERROR: Handshake with %1 failed (%2)! Connection closed.\n")
        .arg(peer, cause);
}

QString noIdCause()
{
    return QStringLiteral("no client ID within %1 ms").arg(kHandshakeTimeoutMs);
}

QString noAnswerCause()
{
    return QStringLiteral("no answer to the settings record within %1 ms").arg(kHandshakeTimeoutMs);
}

QString closedCause() { return QStringLiteral("the client closed the connection"); }

QString acksUnreadText(const QString &peer)
{
    return QStringLiteral("ERROR: Client %1 does not read its acknowledgements! Removing "
                          "client...\n")
        .arg(peer);
}

} // namespace VrxProto
