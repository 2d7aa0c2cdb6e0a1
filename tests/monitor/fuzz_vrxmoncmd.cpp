// SPDX-License-Identifier: LGPL-3.0-or-later
// libFuzzer target for the command matcher as the server drives it: the stream arrives in
// receive batches, the matcher state moves between them inside the client record (the table
// is compacted with memcpy), and every completed command goes through parseCommand.
//
// Input: one byte n (n % 5 batch-size bytes follow), the batch sizes (1 + byte, taken in
// turn), then the client's stream.
#include "monitor/core/vrxmonprotocol.h"
#include "tests/support/fuzzcheck.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace VrxProto;

namespace {

// Commands found by walking the bytes with the plain rule: a byte that matches the next
// character of the awaited token advances, any other byte starts that token over. The text
// is cut as the matcher's fixed buffer cuts it.
std::vector<std::string> referenceCommands(const std::string &s)
{
    std::vector<std::string> out;
    const std::string open = "RunCmd(", close = ");";
    bool inside = false;
    std::size_t matched = 0, start = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        const std::string &token = inside ? close : open;
        matched = s[i] == token[matched] ? matched + 1 : 0;
        if (matched < token.size())
            continue;
        matched = 0;
        if (!inside) {
            inside = true;
            start = i + 1;
            continue;
        }
        inside = false;
        std::string text = s.substr(start, i + 1 - start);
        if (text.size() > std::size_t(CmdMatcher::kCmdCapacity))
            text.resize(std::size_t(CmdMatcher::kCmdCapacity));
        else
            text.resize(text.size() - 2);
        const std::size_t nul = text.find('\0');
        if (nul != std::string::npos)
            text.resize(nul);
        out.push_back(text);
    }
    return out;
}

bool sameState(const CmdMatcher &a, const CmdMatcher &b)
{
    return a.position == b.position && a.open == b.open && a.cmdLength == b.cmdLength &&
           a.overflow == b.overflow;
}

void checkState(const CmdMatcher &m)
{
    check(m.position < (m.open ? 2u : 7u));
    check(m.cmdLength <= quint32(CmdMatcher::kCmdCapacity));
    check(!m.overflow || m.cmdLength == quint32(CmdMatcher::kCmdCapacity));
    check(m.open || !m.overflow);
}

void checkDecision(const QByteArray &text, const QByteArray &prefix)
{
    const CommandDecision d = parseCommand(text, prefix);
    check(d.fields.size() == text.count(',') + 1);
    for (const QByteArray &f : d.fields)
        check(f == f.trimmed());
    const int comma = text.indexOf(',');
    check(comma < 0 ? d.afterFirstComma.isEmpty()
                    : text.left(comma + 1) + d.afterFirstComma == text);

    const long code = std::strtol(d.fields.value(0).constData(), nullptr, 10);
    check(d.code == int(std::max<long>(INT_MIN, std::min<long>(INT_MAX, code))));
    switch (d.code) {
    case 0:
        check(d.kind == CmdKind::Stop && d.message == stopReceivedText());
        break;
    case 1:
        check(d.kind == (d.fields.size() < 6 ? CmdKind::InsufficientParams : CmdKind::Plot));
        break;
    default:
        check(d.kind == CmdKind::Unknown);
        break;
    }
    if (d.kind == CmdKind::Plot) {
        check(d.message.isEmpty());
        check(d.plotRequest == QString::fromLocal8Bit(prefix + d.afterFirstComma));
    } else {
        check(!d.message.isEmpty() && d.plotRequest.isEmpty());
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const std::size_t sizeBytes = std::min<std::size_t>(data[0] % 5, size - 1);
    std::vector<std::size_t> batchSizes;
    for (std::size_t i = 0; i < sizeBytes; ++i)
        batchSizes.push_back(1 + std::size_t(data[1 + i]));
    if (batchSizes.empty())
        batchSizes.push_back(std::size_t(kRecvBufferSize));
    const char *stream = reinterpret_cast<const char *>(data) + 1 + sizeBytes;
    const std::size_t length = size - 1 - sizeBytes;

    const QByteArray prefix = plotPrefix(4242, "/opt/acq/bin/record");
    // A zero-filled record as in the server's client table, started with resetMatcher.
    auto record = std::make_unique<CmdMatcher>();
    std::memset(record.get(), 0, sizeof(CmdMatcher));
    resetMatcher(*record);

    std::vector<std::string> found;
    std::size_t at = 0;
    for (std::size_t b = 0; at < length; ++b) {
        const std::size_t n = std::min(batchSizes[b % batchSizes.size()], length - at);
        // Each batch sits in a buffer of exactly its size, so a read past it is caught.
        const std::unique_ptr<char[]> batch(new char[n]);
        std::memcpy(batch.get(), stream + at, n);
        CmdMatcher &m = *record;
        for (std::size_t i = 0; i < n; ++i) {
            const char ch = batch[i];
            // The server skips bytes that neither continue a token nor start one: for those
            // the matcher must say no and stay as it is.
            const bool idle = !m.open && m.position == 0 && ch != 'R';
            const CmdMatcher before = m;
            const bool complete = feedMatcher(m, ch);
            check(!idle || (!complete && sameState(before, m)));
            checkState(m);
            if (complete) {
                const QByteArray text = commandText(m);
                check(!text.contains('\0') && text.size() <= CmdMatcher::kCmdCapacity);
                found.emplace_back(text.constData(), std::size_t(text.size()));
                checkDecision(text, prefix);
                resetMatcher(m);
            }
        }
        at += n;
        // The table is compacted between batches: the record moves by memcpy.
        auto moved = std::make_unique<CmdMatcher>();
        std::memcpy(moved.get(), record.get(), sizeof(CmdMatcher));
        std::memset(record.get(), 0xa5, sizeof(CmdMatcher));
        record = std::move(moved);
    }
    check(found == referenceCommands(std::string(stream, length)));
    return 0;
}
