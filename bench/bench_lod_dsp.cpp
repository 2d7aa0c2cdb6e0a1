// SPDX-License-Identifier: LGPL-3.0-or-later
// Level of detail on 250 million and DSP on 2^24 int16 samples, each against a bare baseline
// measured in the same run. Level of detail: a full-view and a zoomed reduction against one
// min/max pass over the same samples, the return to a stored zoom level, and the size of the
// kept lists with a full zoom history. DSP: the worker's windowed dBFS spectrum (allocation, plan, windowed input, execute,
// one dBFS value per bin into the item's buffer) against FFTW's plan and execute alone.
#include "benchutil.h"
#include "plot/core/qtvilodsp.h"
#include "plot/core/qtvilolod.h"
#include "plot/core/qtvilodspworker.h"
#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotitem.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QWriteLocker>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr quint64 kSamples = quint64(1) << 24;
constexpr int kRounds = 3;
const char *const kRequest = "FFT dBFS;Blackman";

double seconds(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e9;
}


// A tone near full scale with a little noise, as a digitizer records it.
std::vector<qint16> tone()
{
    std::vector<qint16> samples(kSamples);
    unsigned seed = 1;
    for (quint64 i = 0; i < kSamples; ++i) {
        seed = seed * 1103515245u + 12345u;
        samples[i] = qint16(std::lround(30000.0 * std::sin(double(i) * 0.0123) +
                                        double(int((seed >> 16) & 0xff) - 128)));
    }
    return samples;
}

constexpr qint64 kLodSamples = 250000000;

struct LodFigures
{
    double baseline = 1e9; // min/max of every sample
    double full = 1e9;     // full view, nothing kept before
    double zoomed = 1e9;   // a sixteenth of the record
    double back = 1e9;     // back to the full view, from the history
    double zoomedShare = 0; // sampled fraction of the zoomed view
    double listBytes = 0;  // distinct kept lists with a full history
    double sampleBytes = 0;
    double fullRatio() const { return full / baseline; }
    double zoomedRatio() const { return zoomed / baseline; }
    double memoryRatio() const { return (sampleBytes + listBytes) / sampleBytes; }
};

struct DspFigures
{
    double baseline = 0;                     // FFTW plan + execute
    double worker = 0;                       // the worker's whole request
    double fill = 0, execute = 0, write = 0; // the request's stages, one by one
    double peakDbfs = 0;
    double ratio() const { return worker / baseline; }
};

// A noisy tone, cheap to make: a triangle wave with pseudo-random noise.
std::vector<qint16> longRecord()
{
    std::vector<qint16> samples(static_cast<size_t>(kLodSamples));
    unsigned seed = 7;
    for (qint64 i = 0; i < kLodSamples; ++i) {
        seed = seed * 1103515245u + 12345u;
        const int phase = int(i % 20000);
        const int wave = phase < 10000 ? phase * 3 - 15000 : 45000 - phase * 3;
        samples[size_t(i)] = qint16(wave + int((seed >> 16) & 0x3ff) - 512);
    }
    return samples;
}

LodFigures runLodSection()
{
    LodFigures figures;
    const std::vector<qint16> samples = longRecord();
    figures.sampleBytes = double(samples.size() * sizeof(qint16));
    volatile int sink = 0;
    for (int round = 0; round < kRounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        qint16 lo = samples[0], hi = samples[0];
        for (const qint16 v : samples) {
            lo = v < lo ? v : lo;
            hi = v > hi ? v : hi;
        }
        figures.baseline = std::min(figures.baseline, seconds(timer));
        sink = sink + lo + hi;
    }

    QtViloPlotItem item(QStringLiteral("bench"), false, QtViloPlotItemDefaults());
    item.setFormat(QStringLiteral("Int16"));
    item.setData(samples.data());
    item.setSampleCount(kLodSamples);
    item.setValueRange(-16000, 16000);
    const QRectF full(0, -16000, double(kLodSamples - 1), 32000);
    const QRectF zoom(kLodSamples / 2.0, -8000, kLodSamples / 16.0, 16000);
    for (int round = 0; round < kRounds; ++round) {
        QtViloLodCurve curve(&item, QtViloFormats::Int16Type);
        quint64 serial = 0;
        auto handle = [&](const QRectF &rect) {
            curve.setSerial(++serial);
            QWriteLocker locker(&curve.dataLock());
            QElapsedTimer timer;
            timer.start();
            if (!curve.reduce(rect, serial))
                std::fprintf(stderr, "reduction refused\n");
            return seconds(timer);
        };
        figures.full = std::min(figures.full, handle(full));
        figures.zoomed = std::min(figures.zoomed, handle(zoom));
        figures.zoomedShare = double(curve.currentList(nullptr).count()) / kLodSamples;
        figures.back = std::min(figures.back, handle(full));
    }

    // The worst case for memory: six zoom levels that narrow only the value range, so every
    // level scans the whole record and a narrow band cuts the noisy tone into many runs.
    QtViloLodCurve curve(&item, QtViloFormats::Int16Type);
    QRectF rect = full;
    for (quint64 serial = 1; serial <= 7; ++serial) {
        curve.setSerial(serial);
        QWriteLocker locker(&curve.dataLock());
        curve.reduce(rect, serial);
        rect = QRectF(rect.x(), rect.y() + rect.height() * 0.3, rect.width(), rect.height() * 0.4);
    }
    std::vector<QtViloKeptList> distinct;
    auto count = [&distinct](const QtViloKeptList &list) {
        for (const QtViloKeptList &seen : distinct) {
            if (seen.sharesWith(list))
                return;
        }
        distinct.push_back(list);
    };
    for (const QtViloLodCurve::HistoryEntry &entry : curve.history())
        count(entry.list);
    count(curve.currentList(nullptr));
    for (const QtViloKeptList &list : distinct)
        figures.listBytes += double(list.byteSize());
    Q_UNUSED(sink)
    return figures;
}

double bareFft(const std::vector<qint16> &samples)
{
    auto *input = static_cast<double *>(fftw_malloc(sizeof(double) * kSamples));
    auto *output =
        static_cast<fftw_complex *>(fftw_malloc(sizeof(fftw_complex) * (kSamples / 2 + 1)));
    for (quint64 i = 0; i < kSamples; ++i)
        input[i] = samples[i];
    QElapsedTimer timer;
    timer.start();
    fftw_plan plan = fftw_plan_dft_r2c_1d(int(kSamples), input, output, FFTW_ESTIMATE);
    fftw_execute(plan);
    const double t = seconds(timer);
    fftw_destroy_plan(plan);
    fftw_free(input);
    fftw_free(output);
    return t;
}

DspFigures runDspSection()
{
    const std::vector<qint16> samples = tone();
    DspFigures figures;
    figures.baseline = figures.worker = figures.fill = figures.execute = figures.write = 1e9;

    QtViloPlotItem item(QStringLiteral("bench"), true, QtViloPlotItemDefaults());
    item.setFormat(QStringLiteral("Int16"));
    item.setData(samples.data());
    item.setSampleCount(qint64(kSamples));
    item.serial = 1;
    item.dspRequested().release();
    QtViloDspWorker worker;
    int done = 0;
    QObject::connect(&worker, &QtViloDspWorker::DSPDone, [&done] { ++done; });

    for (int round = 0; round < kRounds; ++round) {
        figures.baseline = std::min(figures.baseline, bareFft(samples));
        QElapsedTimer timer;
        timer.start();
        worker.doDSP(1, &item, QString::fromLatin1(kRequest), 0);
        figures.worker = std::min(figures.worker, seconds(timer));
    }
    const QByteArray &result = item.dspResults().value(0);
    if (done != kRounds || quint64(result.size()) != (kSamples / 2 + 1) * 8) {
        std::fprintf(stderr, "the worker gave %d results, the last of %d bytes\n", done,
                     int(result.size()));
        return figures;
    }
    figures.peakDbfs = -1e300;
    for (int k = 0; k < result.size() / 8; ++k) {
        double v;
        std::memcpy(&v, result.constData() + k * 8, 8);
        figures.peakDbfs = std::max(figures.peakDbfs, v);
    }

    item.dspResults().clear();

    // The same request in stages, to see where the time beyond the transform goes.
    const QtViloDsp::Samples input{samples.data(), kSamples, QtViloFormats::Int16Type};
    QByteArray out;
    for (int round = 0; round < kRounds; ++round) {
        QtViloDsp::Fft fft(kSamples);
        QElapsedTimer timer;
        timer.start();
        QtViloDsp::fillInput(input, QtViloDsp::Blackman, fft.input(), fft.size());
        figures.fill = std::min(figures.fill, seconds(timer));
        timer.restart();
        fft.execute();
        figures.execute = std::min(figures.execute, seconds(timer));
        out.resize(int(fft.bins() * 8));
        timer.restart();
        QtViloDsp::writeSpectrum(QtViloDsp::Kind::DBFS, fft, 16, out.data(), nullptr);
        figures.write = std::min(figures.write, seconds(timer));
    }
    return figures;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);

    const LodFigures lod = runLodSection();
    std::printf("Level of detail, %lld int16 samples, best of %d:\n", kLodSamples, kRounds);
    std::printf("  min/max pass              %8.3f s (baseline)\n", lod.baseline);
    std::printf("  full-view reduction       %8.3f s  ratio %.2f (target <= 2)\n", lod.full,
                lod.fullRatio());
    std::printf("  zoomed view (1/16)        %8.3f s  ratio %.3f (%.1f %% of samples kept)\n",
                lod.zoomed, lod.zoomedRatio(), 100.0 * lod.zoomedShare);
    std::printf("  back to a stored level    %8.3f ms (target < 1 ms)\n", lod.back * 1e3);
    std::printf("  full history: samples %.0f MiB + kept lists %.1f MiB = %.2fx the samples "
                "(target <= 1.5)\n",
                lod.sampleBytes / 1048576.0, lod.listBytes / 1048576.0, lod.memoryRatio());

    const DspFigures dsp = runDspSection();
    std::printf("DSP, %llu int16 samples, \"%s\", best of %d:\n", kSamples, kRequest, kRounds);
    std::printf("  bare FFTW plan + execute  %8.3f s (baseline)\n", dsp.baseline);
    std::printf("  worker request            %8.3f s  ratio %.2f (target <= 1.3)\n", dsp.worker,
                dsp.ratio());
    std::printf("  stages: window fill %.3f s, execute %.3f s, dBFS write %.3f s\n", dsp.fill,
                dsp.execute, dsp.write);
    std::printf("  strongest bin %.2f dBFS\n", dsp.peakDbfs);
    std::printf("peak memory %.1f MiB\n", double(peakResident()) / (1024.0 * 1024.0));
    std::printf("bench_lod_dsp summary: lod-full/minmax %.2f; lod-zoom/minmax %.3f; "
                "lod-back %.3f ms; lod-memory %.2fx; dsp/fft %.2f; peak %.0f MiB\n",
                lod.fullRatio(), lod.zoomedRatio(), lod.back * 1e3, lod.memoryRatio(),
                dsp.ratio(), double(peakResident()) / (1024.0 * 1024.0));
    return 0;
}
