// SPDX-License-Identifier: LGPL-3.0-or-later
// libFuzzer target for the monitor's byte handling: ID record, client timestamps and line
// splitting, each checked against a plain reference (the command matcher has its own target).
#include "monitor/core/vrxmonprotocol.h"
#include "tests/support/fuzzcheck.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

using namespace VrxProto;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const char *bytes = reinterpret_cast<const char *>(data);

    const ClientIdDecode id = decodeClientId(bytes, int(size));
    check(id.valid == (size == 100 && std::memcmp(bytes + 32, "OKAV", 4) == 0));
    const ClientTexts texts = clientTexts(id.record);
    check(texts.prompt == texts.promptEmptyLine + QLatin1Char(' '));
    (void)connectText(id.record, QByteArray(bytes, int(std::min<size_t>(size, 64))), "127.0.0.1",
                      1, true);
    if (size > 0)
        (void)plotPrefix(qint64(data[0]), QByteArray(bytes, int(size)));

    check(isClientTimestamp(bytes, size) ==
          (size >= 27 && bytes[0] == '[' && bytes[5] == '-' && bytes[8] == '-' &&
           bytes[11] == 'T' && bytes[14] == ':' && bytes[17] == ':' && bytes[20] == '.' &&
           bytes[24] == 'Z' && bytes[25] == ']' && bytes[26] == ' '));

    // The pieces cover the input exactly, in order, each ending at a line end or the data end.
    std::size_t next = 0;
    const QList<LinePiece> pieces = splitLines(bytes, size);
    for (int i = 0; i < pieces.size(); ++i) {
        const LinePiece &p = pieces[i];
        check(p.start == next && p.length > 0);
        for (std::size_t k = p.start; k + 1 < p.start + p.length; ++k)
            check(!isLineEnd(bytes[k]));
        check(p.ended == isLineEnd(bytes[p.start + p.length - 1]));
        check(p.ended || i == pieces.size() - 1);
        next = p.start + p.length;
    }
    check(next == size);
    return 0;
}
