// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QAtomicInteger>
#include <QByteArray>
#include <QString>

#include <fftw3.h>

// The transforms behind the DSP plot: request texts, window functions, the FFT outputs and
// the first difference, over plain sample pointers so they run without an item or a thread.
//
// Results are little-endian doubles, one per output point, written straight into a caller's
// buffer. An abort flag, when given, is tested before every output value.
namespace QtViloDsp {

enum class Kind : quint8 { None, Magn, Phase, DBFS, PSD, Signed, Abs };

// Codes kept by the worker; any code above FlatTop weighs every sample with 1.
enum WindowType : quint8 { NoWindow = 0, Blackman, BlackmanHarris, Hann, Hamming, FlatTop };

struct Request
{
    Kind kind = Kind::None;
    quint8 window = NoWindow;
};

// The operation is the first of "FFT Magn", "FFT Phase", "FFT dBFS", "FFT PSD",
// "Diff Signed", "Diff Abs" found anywhere in the text; the window is the second non-empty
// ";"-separated part, matched exactly.
Request parseRequest(const QString &text);
// "Magn", "Phase", "dBFS", "PSD", "Signed", "Abs", or empty for None.
QString kindText(Kind kind);
// "Blackman", "BlackmanHarris", "Hann", "Hamming", "Flat-Top"; anything else NoWindow.
quint8 windowTypeOf(const QString &name);
inline bool isFft(Kind kind)
{
    return kind == Kind::Magn || kind == Kind::Phase || kind == Kind::DBFS || kind == Kind::PSD;
}
inline bool isDifference(Kind kind)
{
    return kind == Kind::Signed || kind == Kind::Abs;
}

// Weight of sample n of a periodic window of the given length (denominator length, not
// length - 1), evaluated straight from its cosine sum.
double windowWeight(quint8 type, quint64 n, quint64 length);

// Smallest power of two not below length (1 for 1, 0 for 0).
quint64 fftSize(quint64 length);
inline quint64 binCount(quint64 size)
{
    return size / 2 + 1;
}

// Samples of one item as they lie in memory (possibly unaligned), with their format's type
// index; Ascii values are doubles.
struct Samples
{
    const void *data = nullptr;
    quint64 count = 0;
    int typeIndex = 1;
};

// The arrays and plan of one real-to-complex transform. Planning and destroying plans is
// serialised process-wide, as FFTW's planner is not thread-safe; execute() needs no lock.
class Fft
{
public:
    explicit Fft(quint64 size);
    ~Fft();
    Fft(const Fft &) = delete;
    Fft &operator=(const Fft &) = delete;

    // False when the arrays or the plan could not be made.
    bool isValid() const { return m_plan != nullptr; }
    quint64 size() const { return m_size; }
    quint64 bins() const { return binCount(m_size); }
    double *input() { return m_input; }
    const fftw_complex *output() const { return m_output; }
    void execute();

private:
    quint64 m_size;
    double *m_input = nullptr;
    fftw_complex *m_output = nullptr;
    fftw_plan m_plan = nullptr;
};

// input[n] = sample n times the window weight for n < samples.count (the window length),
// zero up to size. No offset or gain is applied to the codes.
void fillInput(const Samples &samples, quint8 window, double *input, quint64 size);

// Writes fft.bins() doubles to out: |X|/N, atan2(Im, Re), dBFS for the given resolution in
// bits, or |X|²/N. False when aborted.
bool writeSpectrum(Kind kind, const Fft &fft, int resolution, char *out,
                   const QAtomicInteger<quint8> *abort);

// The dBFS of an all-zero bin (magnitude lifted to the smallest normal double) at the given
// resolution in bits: about -6243 at 16 bits.
double dbfsFloor(int resolution);

// Values of the first difference of count samples (count - 1, none for fewer than two).
inline quint64 differenceCount(quint64 count)
{
    return count > 1 ? count - 1 : 0;
}
// x[i+1] - x[i] in the samples' own promoted type, wrapping like the hardware, as is (Signed)
// or its absolute value (Abs). False when aborted.
bool writeDifference(Kind kind, const Samples &samples, char *out,
                     const QAtomicInteger<quint8> *abort);

// Largest result a buffer can hold; larger results are refused.
quint64 maxResultBytes();

// A whole request into result: empty without samples or without an operation. False when
// aborted, when memory ran out or when the result is too large; result then stays as it was.
bool compute(const Request &request, const Samples &samples, int resolution, QByteArray *result,
             const QAtomicInteger<quint8> *abort = nullptr);

} // namespace QtViloDsp
