// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

// The generated log the viewer benchmarks open: lines of 60 to 200 bytes, about 1% errors
// and 2% warnings, a rare word in one line of 20000; bodies are cut from a block of random
// words, and the file is written in big blocks.

#include <QByteArray>
#include <QFile>
#include <QString>

#include <unistd.h>

namespace {

const char *const RareText = "quokka";

struct Generated
{
    qint64 bytes = 0;
    qint64 lines = 0;
    qint64 errors = 0;
    qint64 warnings = 0;
    qint64 rare = 0;
};

quint64 nextRandom(quint64 &state)
{
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state;
}

Generated generate(const QString &path, qint64 target)
{
    quint64 state = 0x9e3779b97f4a7c15ull;
    QByteArray words;
    static const char *const vocabulary[] = {
        "acquisition", "record", "trigger", "channel", "buffer", "sample", "stream",
        "device",      "clock",  "dma",     "offset",  "gain",   "range",  "0x7f3a",
        "12345",       "ready",  "done",    "armed",   "level"};
    while (words.size() < (1 << 20)) {
        words += vocabulary[nextRandom(state) % (sizeof vocabulary / sizeof *vocabulary)];
        words += ' ';
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    Generated g;
    QByteArray block;
    block.reserve((16 << 20) + 512);
    while (g.bytes < target) {
        block.resize(0);
        while (block.size() < (16 << 20) && g.bytes + block.size() < target) {
            const int length = 60 + int(nextRandom(state) % 141); // with its LF
            const quint64 kind = nextRandom(state) % 10000;
            const char *prefix = "INFO : ";
            if (kind < 100) {
                prefix = "ERROR: ";
                ++g.errors;
            } else if (kind < 300) {
                prefix = "WARN : ";
                ++g.warnings;
            }
            const int start = block.size();
            block += prefix;
            const bool rare = nextRandom(state) % 20000 == 0;
            if (rare) {
                block += RareText;
                ++g.rare;
            }
            const int body = length - 1 - (block.size() - start);
            block.append(words.constData() + nextRandom(state) % ((1 << 20) - 256), body);
            block += '\n';
            ++g.lines;
        }
        file.write(block);
        g.bytes += block.size();
    }
    // Written back before anything is measured: background writeback of a fresh GiB slows
    // the first passes over it by a factor of two or more.
    file.flush();
    ::fsync(file.handle());
    file.close();
    return g;
}

} // namespace
