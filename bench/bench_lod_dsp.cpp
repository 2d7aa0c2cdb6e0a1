// Level of detail and DSP on 2^24 int16 samples, each against a bare baseline measured in the
// same run. DSP: the worker's windowed dBFS spectrum (allocation, plan, windowed input, execute,
// one dBFS value per bin into the item's buffer) against FFTW's plan and execute alone.
#include "plot/core/qtvilodsp.h"
#include "plot/core/qtvilodspworker.h"
#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotitem.h"

#include <QCoreApplication>
#include <QElapsedTimer>

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

// Peak resident memory of the process, in bytes.
qint64 peakResident()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stoll(line.substr(6)) * 1024;
    }
    return 0;
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

struct LodFigures
{
};

struct DspFigures
{
    double baseline = 0;                     // FFTW plan + execute
    double worker = 0;                       // the worker's whole request
    double fill = 0, execute = 0, write = 0; // the request's stages, one by one
    double peakDbfs = 0;
    double ratio() const { return worker / baseline; }
};

// The level-of-detail figures go here.
LodFigures runLodSection()
{
    return {};
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
    Q_UNUSED(lod)

    const DspFigures dsp = runDspSection();
    std::printf("DSP, %llu int16 samples, \"%s\", best of %d:\n", kSamples, kRequest, kRounds);
    std::printf("  bare FFTW plan + execute  %8.3f s (baseline)\n", dsp.baseline);
    std::printf("  worker request            %8.3f s  ratio %.2f (target <= 1.3)\n", dsp.worker,
                dsp.ratio());
    std::printf("  stages: window fill %.3f s, execute %.3f s, dBFS write %.3f s\n", dsp.fill,
                dsp.execute, dsp.write);
    std::printf("  strongest bin %.2f dBFS\n", dsp.peakDbfs);
    std::printf("peak memory %.1f MiB\n", double(peakResident()) / (1024.0 * 1024.0));
    std::printf("bench_lod_dsp summary: dsp/fft %.2f\n", dsp.ratio());
    return 0;
}
