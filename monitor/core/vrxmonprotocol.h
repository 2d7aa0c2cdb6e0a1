// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

// Bytes on the monitor's wire and the texts derived from them, as plain functions over plain
// structs so that they are exercised without sockets or threads.

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace VrxProto {

constexpr int kClientIdSize = 100;
constexpr int kSettingsSize = 16;
constexpr int kAckSize = 8;
constexpr int kTimestampLen = 27;
constexpr int kMaxClients = 40;
constexpr int kRecvBufferSize = 4096;
constexpr int kFirstRecvSize = 128;
constexpr int kPathSize = 4096;
constexpr quint32 kLowestPort = 50000;
// Each receive of the handshake (ID record, answer to the settings record) waits this long at
// most: a client that stalls it must not keep the server from everyone else.
constexpr int kHandshakeTimeoutMs = 2000;
// Acknowledgements the client's side has not taken yet (its receive buffer is full) beyond
// this many bytes mean it has stopped reading them; it is dropped before they block a send.
constexpr int kMaxUnreadAckBytes = 2048 * kAckSize;
constexpr char kValidationId[4] = {'O', 'K', 'A', 'V'};
extern const char kPathUnknown[]; // "Process path cannot be determined"

#pragma pack(push, 1)
struct ClientIdRecord
{
    quint64 processId;
    quint64 cuHandle;
    quint64 devAddr;
    quint64 devNumber;
    char validationId[4];
    char interfaceName[32];
    char devType[32];
};
struct SettingsRecord
{
    quint32 traceLevel;
    quint32 timestamp;
    quint32 devMask;
    quint32 reserved;
};
#pragma pack(pop)
static_assert(sizeof(ClientIdRecord) == kClientIdSize, "ID record is 100 bytes on the wire");
static_assert(sizeof(SettingsRecord) == kSettingsSize, "settings record is 16 bytes");

// The wire is host order; the supported platform is little-endian, and memcpy keeps it so.
QByteArray encodeClientId(const ClientIdRecord &rec);

struct ClientIdDecode
{
    ClientIdRecord record{};
    int length = 0;           // bytes received
    QByteArray validationId;  // the 4 received characters (fewer when the data is short)
    bool valid = false;       // right length and "OKAV"
    QString errorText;        // the failure message when !valid
};
ClientIdDecode decodeClientId(const char *data, int length);

// Identity given to a client whose record could not be used.
ClientIdRecord temporaryClientId(int socketFd, int recordIndex);

QByteArray encodeSettings(quint32 traceLevel, quint32 timestamp, quint32 devMask);
bool decodeSettings(const char *data, int length, SettingsRecord *out);

QByteArray encodeAck(qint64 count);
bool decodeAck(const char *data, int length, qint64 *count);

// "[%Y-%m-%dT%H:%M:%S.%03dZ] ", 27 characters, for the given wall-clock time.
QByteArray formatServerTimestamp(qint64 seconds, qint64 microseconds);
QByteArray serverTimestamp();

// Only the fixed punctuation positions are examined, never the digits.
bool isClientTimestamp(const char *data, std::size_t length);

struct ClientTexts
{
    QString prompt;          // "0x%1/%2@0x%3/%4/%5> "
    QString promptEmptyLine; // same without the trailing blank
    QString promptNoHexMark; // "0x%1/%2@%3/%4/%5> "
};
ClientTexts clientTexts(const ClientIdRecord &rec);

// Field strings of a record, cut at their terminator (the fixed arrays need not hold one).
QString fieldText(const char *field, int size);

QString monitorPrompt(qint64 pid, const QString &commFilePath);
QString ownMonitorPrompt();

// First NUL-terminated string of /proc/<pid>/cmdline, or the "cannot be determined" text.
QByteArray processPath(quint64 pid);

QByteArray plotPrefix(qint64 pid, const QByteArray &path);

QString connectText(const ClientIdRecord &rec, const QByteArray &path, const QByteArray &ip,
                    quint32 port, bool connected);

// Line ends are LF and NUL; a CR before the LF is part of the same end.
inline bool isLineEnd(char c) { return c == '\n' || c == '\0'; }

struct LinePiece
{
    std::size_t start;
    std::size_t length; // including the line end when there is one
    bool ended;         // false for a piece cut by the end of the data
};
QList<LinePiece> splitLines(const char *data, std::size_t length);

// Streaming matcher for "RunCmd(" ... ");" that lives in the client record, so a command may
// open in one receive batch and close in the next.
struct CmdMatcher
{
    static constexpr int kCmdCapacity = 4096;
    // Plain data so that it can sit in the zero-filled client table; start it with resetMatcher.
    quint32 position;  // characters of the current token matched so far
    bool open;         // "RunCmd(" seen, waiting for ");"
    quint32 cmdLength; // bytes collected since the opening token
    bool overflow;     // command longer than the capacity; the tail is dropped
    char cmd[kCmdCapacity];
};
void resetMatcher(CmdMatcher &m);
// Returns true when this byte completed a command; its text is then in commandText().
bool feedMatcher(CmdMatcher &m, char c);
QByteArray commandText(const CmdMatcher &m); // between "RunCmd(" and ")", cut at a NUL

// The command code: leading decimal digits with an optional sign, 0 when there are none.
int readCommandCode(const QByteArray &field);

enum class CmdKind { Stop, Plot, InsufficientParams, Unknown };

struct CommandDecision
{
    CmdKind kind = CmdKind::Unknown;
    int code = 0;
    QList<QByteArray> fields;   // trimmed
    QByteArray afterFirstComma; // raw, leading blank kept
    QString message;            // text after prompt for error/stop kinds
    QString plotRequest;        // Plot only
};
CommandDecision parseCommand(const QByteArray &commandText, const QByteArray &plotPrefix);

// Message texts composed by the monitor (after timestamp and prompt).
QString stopReceivedText();
QString stoppedText();
QString outOfSyncText(int permits);
// A client dropped during its handshake; peer is "<ip>:<port>".
QString handshakeFailedText(const QString &peer, const QString &cause);
QString noIdCause();       // "no client ID within 2000 ms"
QString noAnswerCause();   // "no answer to the settings record within 2000 ms"
QString closedCause();     // "the client closed the connection"
// A client whose acknowledgements pile up unread is dropped before they block the server.
QString acksUnreadText(const QString &peer);

} // namespace VrxProto
