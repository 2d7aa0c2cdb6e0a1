// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

// Many monitor clients streaming log lines at once, shared by the vrxloadgen program, the
// tests and the benchmark.

#include <cstdint>
#include <string>
#include <vector>

namespace VrxLoadGen {

struct Options
{
    uint16_t port = 50000;
    int clients = 40;
    int lines = 10000;   // per client
    int minLength = 60;  // bytes per line, line feed included
    int maxLength = 120;
    unsigned seed = 1;
    int ackTimeoutMs = 120000;
};

struct ClientResult
{
    bool ok = false;
    std::string error;
    uint64_t lines = 0;
    uint64_t bytes = 0;
    uint64_t acks = 0;
    uint64_t bytesAcked = 0;
};

struct Result
{
    bool ok = false; // every client connected, sent everything and saw it all acknowledged
    std::vector<ClientResult> clients;
    uint64_t lines = 0;
    uint64_t bytes = 0;
    double seconds = 0; // from the first line sent to the last acknowledgement
    double linesPerSecond() const { return seconds > 0 ? lines / seconds : 0; }
    double megabytesPerSecond() const { return seconds > 0 ? bytes / seconds / 1e6 : 0; }
};

// The line a client sends as its n-th; deterministic for a given seed.
std::string makeLine(unsigned seed, int client, int n, int minLength, int maxLength);

// Whether a listener could bind this loopback port now. Ports of the monitor's range are also
// handed out to outgoing connections, so tests and benchmarks probe before they listen.
bool loopbackPortBindable(uint16_t port);
// The first port from `from` on (below 60000) that binds; `from` itself when none does.
uint16_t firstBindablePort(uint16_t from);

// Connects every client first (one after the other, the listener's backlog is small), then
// lets them all stream at once.
Result run(const Options &options);

} // namespace VrxLoadGen
