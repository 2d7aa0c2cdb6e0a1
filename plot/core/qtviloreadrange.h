// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QtGlobal>

// Which part of a source a read takes. Sample counts and offsets are
// in samples, sizes of memory ranges in bytes. Negative offsets and sizes count as 0 and sums
// and products saturate, so no parameter a user types can make a range leave its source.
namespace QtViloReadRange {

struct Params
{
    qint64 sampleWidth = 1; // S, bytes per sample
    qint64 dataOffset = 0;  // D, samples
    qint64 maxPlotSize = 0; // M, samples
    bool reverseOffset = false;
};

struct SampleRange
{
    qint64 start = 0; // first sample read, counted after the byte offset
    qint64 count = 0;
};

struct ByteRange
{
    qint64 start = 0; // first byte read, relative to the base address
    qint64 length = 0;
};

// T: the samples after the byte offset of a file of fileSize bytes (0 when the offset lies
// beyond the end).
qint64 availableSamples(qint64 fileSize, qint64 byteOffset, qint64 sampleWidth);

// End = min(T, D + M), count = max(End - D, 0); start = D, or with the reverse offset
// T - (D + count) clamped at 0.
SampleRange fileRange(const Params &params, qint64 available);

// The same rule in bytes for process memory: first = D*S, last = min(size, S*(M + D)),
// length = max(last - first, 0); start = first, or with the reverse offset
// size - (D*S + length) clamped at 0.
ByteRange memoryRange(const Params &params, qint64 size);

// The "Plot Percentage": total > D + M ? M / total : (total - D) / total, never negative;
// 0 for an empty source.
double visibleFraction(qint64 total, qint64 dataOffset, qint64 maxPlotSize);

} // namespace QtViloReadRange
