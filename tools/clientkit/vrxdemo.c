/* SPDX-License-Identifier: LGPL-3.0-or-later */
/* A stand-in acquisition program: logs lines of every kind and has a live int16 signal
 * plotted by the monitor, refilling its buffer only after the monitor let it go on. */
#define _GNU_SOURCE
#include "vrxclient.h"

#include <errno.h>
#include <math.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <unistd.h>

static volatile sig_atomic_t g_stop = 0;
static void on_signal(int sig) { (void)sig; g_stop = 1; }

static void usage(void)
{
    fprintf(stderr, "usage: vrxdemo [--port N] [--samples N] [--rate HZ] [--iterations N] "
                    "[--interval-ms N] [--ramp]\n"
                    "Connects to the VRX monitor, logs lines and asks for a live sine to be "
                    "plotted until stopped (Ctrl+C).\n"
                    "--ramp fills record n with n * 1000 + i instead of a noisy sine.\n");
}

int main(int argc, char **argv)
{
    unsigned port = 55555, samples = 4096, interval_ms = 200;
    unsigned long long rate = 1000000;
    long iterations = -1;
    int ramp = 0;
    for (int i = 1; i < argc; ++i) {
        const char *a = argv[i];
        const char *v = i + 1 < argc ? argv[i + 1] : NULL;
        if (!strcmp(a, "--port") && v) { port = (unsigned)strtoul(v, NULL, 10); ++i; }
        else if (!strcmp(a, "--samples") && v) { samples = (unsigned)strtoul(v, NULL, 10); ++i; }
        else if (!strcmp(a, "--rate") && v) { rate = strtoull(v, NULL, 10); ++i; }
        else if (!strcmp(a, "--iterations") && v) { iterations = strtol(v, NULL, 10); ++i; }
        else if (!strcmp(a, "--interval-ms") && v) { interval_ms = (unsigned)strtoul(v, NULL, 10); ++i; }
        else if (!strcmp(a, "--ramp")) { ramp = 1; }
        else { usage(); return a[0] == '-' && a[1] == 'h' ? 0 : 2; }
    }
    if (samples == 0)
        samples = 1;
    /* Where only ancestors may trace (Yama), the monitor could not read the buffer. */
    prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY, 0, 0, 0);
    signal(SIGINT, on_signal);
    signal(SIGTERM, on_signal);

    int16_t *buffer = (int16_t *)calloc(samples, sizeof *buffer);
    vrxclient *c = vrxclient_connect((uint16_t)port);
    if (!buffer || !c) {
        fprintf(stderr, "vrxdemo: cannot connect to 127.0.0.1:%u: %s\n", port, strerror(errno));
        free(buffer);
        return 1;
    }
    vrxclient_id id = {0, (uint64_t)(uintptr_t)c, 0x1A2B, 0, "PCIe", "VRX14"};
    vrxclient_settings s;
    if (vrxclient_handshake(c, &id, &s) != 0) {
        fprintf(stderr, "vrxdemo: handshake failed: %s\n", strerror(errno));
        vrxclient_close(c);
        free(buffer);
        return 1;
    }
    const int ts = s.timestamp != 0;
    printf("vrxdemo: connected to port %u (trace level 0x%X, timestamp %u, device mask 0x%X)\n",
           port, s.trace_level, s.timestamp, s.device_mask);

    char line[512];
    double phase = 0;
    unsigned seed = 12345;
    int rc = 0;
    for (long n = 0; !g_stop && (iterations < 0 || n < iterations); ++n) {
        snprintf(line, sizeof line, "NOTE : record %ld: filling %u samples", n, samples);
        vrxclient_log(c, line, ts);
        const double cycles = 3.0 + 2.0 * sin(n * 0.05);
        for (unsigned i = 0; i < samples; ++i) {
            seed = seed * 1103515245u + 12345u;
            const double noise = ((double)((seed >> 16) & 0x7FFF) / 32767.0 - 0.5) * 2000.0;
            const double v = 20000.0 * sin(phase + 2.0 * M_PI * cycles * i / samples) + noise;
            buffer[i] = ramp ? (int16_t)((n * 1000 + (long)i) % 32768) : (int16_t)lrint(v);
        }
        phase += 0.2;
        snprintf(line, sizeof line, "INFO : record %ld ready, first sample %d", n, buffer[0]);
        vrxclient_log(c, line, ts);
        if (n % 10 == 9) {
            vrxclient_log(c, "WARN : demo signal clipped at +-20000 counts", ts);
        }
        if (n % 25 == 24) {
            vrxclient_log(c, "ERROR: simulated overrun on channel B (demo only)", ts);
        }
        /* The plot side reads fields by position: name, address, format word, step, byte
         * offset, data offset, max plot size, sample rate, resolution, input range, gain,
         * byte size. */
        snprintf(line, sizeof line,
                 "RunCmd( 1, Demo_Sine_Record, %p, int16, 1, 0, 0, %u, %llu, 16, 1.0, 1.0, %zu);\n",
                 (void *)buffer, samples, rate, (size_t)samples * sizeof *buffer);
        if (vrxclient_send(c, line, strlen(line)) != 0) {
            fprintf(stderr, "vrxdemo: send failed: %s\n", strerror(errno));
            rc = 1;
            break;
        }
        /* The monitor holds the acknowledgement until the buffer has been read. */
        while (!g_stop && vrxclient_bytes_acked(c) < vrxclient_bytes_sent(c)) {
            if (vrxclient_read_ack(c, NULL, 200) != 0 && errno != ETIMEDOUT) {
                fprintf(stderr, "vrxdemo: monitor closed the connection\n");
                g_stop = 1;
                rc = 1;
            }
        }
        if (interval_ms && !g_stop)
            usleep(interval_ms * 1000u);
    }
    vrxclient_close(c);
    free(buffer);
    return rc;
}
