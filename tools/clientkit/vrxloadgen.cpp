// SPDX-License-Identifier: LGPL-3.0-or-later
// N clients, M lines each, every acknowledgement checked; prints the rates seen.
#include "loadgen.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char **argv)
{
    VrxLoadGen::Options o;
    o.port = 55555;
    for (int i = 1; i < argc; ++i) {
        const char *a = argv[i];
        const char *v = i + 1 < argc ? argv[i + 1] : nullptr;
        auto num = [&](long &out) { out = std::strtol(v, nullptr, 10); ++i; };
        long x = 0;
        if (!std::strcmp(a, "--port") && v) { num(x); o.port = uint16_t(x); }
        else if (!std::strcmp(a, "--clients") && v) { num(x); o.clients = int(x); }
        else if (!std::strcmp(a, "--lines") && v) { num(x); o.lines = int(x); }
        else if (!std::strcmp(a, "--min") && v) { num(x); o.minLength = int(x); }
        else if (!std::strcmp(a, "--max") && v) { num(x); o.maxLength = int(x); }
        else {
            std::fprintf(stderr, "usage: vrxloadgen [--port N] [--clients N] [--lines M] "
                                 "[--min BYTES] [--max BYTES]\n");
            return 2;
        }
    }
    if (o.clients < 1 || o.lines < 1 || o.minLength < 40 || o.maxLength < o.minLength) {
        std::fprintf(stderr, "vrxloadgen: need clients >= 1, lines >= 1, 40 <= min <= max\n");
        return 2;
    }
    const VrxLoadGen::Result r = VrxLoadGen::run(o);
    for (std::size_t i = 0; i < r.clients.size(); ++i)
        if (!r.clients[i].ok)
            std::fprintf(stderr, "client %zu: %s\n", i, r.clients[i].error.c_str());
    std::printf("vrxloadgen: %d clients x %d lines, %llu bytes in %.3f s: %.0f lines/s, "
                "%.2f MB/s, acknowledgements %s\n",
                o.clients, o.lines, static_cast<unsigned long long>(r.bytes), r.seconds,
                r.linesPerSecond(), r.megabytesPerSecond(), r.ok ? "all correct" : "FAILED");
    return r.ok ? 0 : 1;
}
