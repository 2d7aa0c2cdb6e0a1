// SPDX-License-Identifier: LGPL-3.0-or-later
#include "loadgen.h"

#include "vrxclient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>

namespace VrxLoadGen {

namespace {
const char *const kPrefixes[4] = {"ERROR: ", "WARN : ", "INFO : ", "NOTE : "};

uint32_t mix(uint32_t x)
{
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    x ^= x >> 16;
    return x;
}
} // namespace

std::string makeLine(unsigned seed, int client, int n, int minLength, int maxLength)
{
    const uint32_t h = mix(seed * 2654435761U ^ uint32_t(client) * 40503U ^ uint32_t(n));
    const int span = maxLength - minLength + 1;
    const int length = minLength + int(h % uint32_t(span > 0 ? span : 1));
    char head[64];
    std::snprintf(head, sizeof head, "%sclient %02d line %08d ", kPrefixes[h >> 30], client, n);
    std::string line(head);
    static const char filler[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    while (int(line.size()) < length - 1)
        line.push_back(filler[(h + line.size()) % (sizeof filler - 1)]);
    line.resize(std::size_t(length - 1));
    line.push_back('\n');
    return line;
}

Result run(const Options &o)
{
    Result result;
    result.clients.resize(std::size_t(o.clients));
    std::vector<vrxclient *> conns(std::size_t(o.clients), nullptr);
    bool connected = true;
    for (int i = 0; i < o.clients; ++i) {
        vrxclient *c = vrxclient_connect(o.port);
        char iface[32];
        std::snprintf(iface, sizeof iface, "LOAD%d", i);
        vrxclient_id id{0, 0x1000u + unsigned(i), 0xA0u + unsigned(i), uint64_t(i), iface,
                        "LoadGen"};
        vrxclient_settings s{};
        if (!c || vrxclient_handshake(c, &id, &s) != 0) {
            result.clients[std::size_t(i)].error = std::string("connect/handshake failed: ") +
                                                   std::strerror(errno);
            connected = false;
        }
        conns[std::size_t(i)] = c;
    }
    if (!connected) {
        for (vrxclient *c : conns)
            vrxclient_close(c);
        return result;
    }

    const auto t0 = std::chrono::steady_clock::now();
    std::vector<std::thread> threads;
    for (int i = 0; i < o.clients; ++i) {
        threads.emplace_back([&, i] {
            vrxclient *c = conns[std::size_t(i)];
            ClientResult &r = result.clients[std::size_t(i)];
            std::string chunk;
            for (int n = 0; n < o.lines; ++n) {
                chunk += makeLine(o.seed, i, n, o.minLength, o.maxLength);
                ++r.lines;
                if (chunk.size() >= 8192 || n + 1 == o.lines) {
                    if (vrxclient_send(c, chunk.data(), chunk.size()) != 0 ||
                        vrxclient_poll_acks(c) != 0) {
                        r.error = std::string("send failed: ") + std::strerror(errno);
                        return;
                    }
                    r.bytes += chunk.size();
                    chunk.clear();
                }
            }
            if (vrxclient_wait_all_acked(c, o.ackTimeoutMs) != 0) {
                r.error = std::string("acknowledgements incomplete: ") + std::strerror(errno);
                return;
            }
            r.acks = vrxclient_acks_received(c);
            r.bytesAcked = vrxclient_bytes_acked(c);
            if (vrxclient_ack_error(c) || r.bytesAcked != r.bytes) {
                r.error = "acknowledgement counts do not add up";
                return;
            }
            r.ok = true;
        });
    }
    for (std::thread &t : threads)
        t.join();
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    result.ok = true;
    for (std::size_t i = 0; i < conns.size(); ++i) {
        vrxclient_close(conns[i]);
        result.lines += result.clients[i].lines;
        result.bytes += result.clients[i].bytes;
        result.ok = result.ok && result.clients[i].ok;
    }
    return result;
}

bool loopbackPortBindable(uint16_t port)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0)
        return false;
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    const bool ok = bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    close(fd);
    return ok;
}

uint16_t firstBindablePort(uint16_t from)
{
    for (uint16_t port = from; port < 60000; ++port) {
        if (loopbackPortBindable(port))
            return port;
    }
    return from;
}

} // namespace VrxLoadGen
