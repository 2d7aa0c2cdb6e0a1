// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtvilodsp.h"

#include "plot/core/qtviloformats.h"
#include "plot/core/qtvilohugepages.h"

#include <QMutex>
#include <QStringList>
#include <QtEndian>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace QtViloDsp {
namespace {

constexpr double TwoPi = 6.283185307179586476925286766559;
// 10 / ln 10: 10·log10(p) through the much faster natural logarithm.
constexpr double TenOverLn10 = 4.3429448190325182765112891891661;
// Window weights are computed this many at a time from one exact anchor angle.
constexpr quint64 Block = 512;

QMutex &plannerMutex()
{
    static QMutex mutex;
    return mutex;
}

template <typename T> T load(const uchar *p)
{
    T value;
    std::memcpy(&value, p, sizeof(T));
    return value;
}

inline void store(char *out, quint64 index, double value)
{
    quint64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    bits = qToLittleEndian(bits);
    std::memcpy(out + index * sizeof bits, &bits, sizeof bits);
}

inline bool aborted(const QAtomicInteger<quint8> *abort)
{
    return abort && abort->loadRelaxed() != 0;
}


// w = a0 - a1·cos(x) + a2·cos(2x) - a3·cos(3x) + a4·cos(4x); false when every weight is 1.
bool coefficientsOf(quint8 type, double (&a)[5])
{
    static const double Table[][5] = {
        {0.42659, 0.49656, 0.076849, 0, 0},
        {0.35875, 0.48829, 0.14128, 0.01168, 0},
        {0.5, 0.5, 0, 0, 0},
        {0.54347, 0.45653, 0, 0, 0},
        {0.21557895, 0.41663158, 0.277263158, 0.083578947, 0.006947368},
    };
    if (type < Blackman || type > FlatTop)
        return false;
    std::copy(std::begin(Table[type - 1]), std::end(Table[type - 1]), a);
    return true;
}

// A cosine per sample would cost more than the transform of it. cos(2πn/L) is built instead
// from an exact anchor per block and a table of the steps inside a block by the angle sum,
// independently per sample (no error piles up), and the harmonics by the Chebyshev
// recurrence; the result stays within a few 1e-15 of the direct formula.
class WindowTable
{
public:
    // False when the type weighs every sample with 1.
    bool set(quint8 type, quint64 length)
    {
        if (!coefficientsOf(type, m_a) || length == 0)
            return false;
        m_length = length;
        m_terms = 4;
        while (m_terms > 1 && m_a[m_terms] == 0)
            --m_terms;
        const quint64 steps = std::min(Block, length);
        for (quint64 j = 0; j < steps; ++j) {
            const double x = TwoPi * double(j) / double(length);
            m_cos[j] = std::cos(x);
            m_sin[j] = std::sin(x);
        }
        return true;
    }

    // Weights of samples from … from + count - 1 (count <= Block).
    void weights(quint64 from, quint64 count, double *w) const
    {
        const double x = TwoPi * double(from) / double(m_length);
        const double ca = std::cos(x);
        const double sa = std::sin(x);
        switch (m_terms) {
        case 1:
            return weights<1>(ca, sa, count, w);
        case 2:
            return weights<2>(ca, sa, count, w);
        case 3:
            return weights<3>(ca, sa, count, w);
        default:
            return weights<4>(ca, sa, count, w);
        }
    }

private:
    // Only the harmonics the window has, so the short windows cost less.
    template <int Terms> void weights(double ca, double sa, quint64 count, double *w) const
    {
        const double a0 = m_a[0], a1 = m_a[1], a2 = m_a[2], a3 = m_a[3], a4 = m_a[4];
        for (quint64 i = 0; i < count; ++i) {
            const double c1 = ca * m_cos[i] - sa * m_sin[i];
            double v = a0 - a1 * c1;
            if constexpr (Terms >= 2) {
                const double c2 = 2.0 * c1 * c1 - 1.0;
                v += a2 * c2;
                if constexpr (Terms >= 3) {
                    const double c3 = 2.0 * c1 * c2 - c1;
                    v -= a3 * c3;
                    if constexpr (Terms >= 4)
                        v += a4 * (2.0 * c1 * c3 - c2);
                }
            }
            w[i] = v;
        }
    }

    quint64 m_length = 0;
    int m_terms = 1;
    double m_a[5] = {};
    double m_cos[Block];
    double m_sin[Block];
};

template <typename T>
void fillTyped(const uchar *data, quint64 count, const WindowTable *window, double *input)
{
    if (!window) {
        for (quint64 n = 0; n < count; ++n)
            input[n] = double(load<T>(data + n * sizeof(T)));
        return;
    }
    double w[Block];
    for (quint64 from = 0; from < count; from += Block) {
        const quint64 todo = std::min(Block, count - from);
        window->weights(from, todo, w);
        const uchar *p = data + from * sizeof(T);
        double *in = input + from;
        for (quint64 i = 0; i < todo; ++i)
            in[i] = double(load<T>(p + i * sizeof(T))) * w[i];
    }
}

// |X| without hypot's cost where squaring can neither overflow nor lose the small values.
inline double magnitude(double re, double im)
{
    const double p = re * re + im * im;
    if (p >= 0x1p-960 && p <= 0x1p960)
        return std::sqrt(p);
    return std::hypot(re, im);
}

template <typename F>
bool writeBins(const Fft &fft, char *out, const QAtomicInteger<quint8> *abort, F value)
{
    const fftw_complex *x = fft.output();
    const quint64 bins = fft.bins();
    for (quint64 k = 0; k < bins; ++k) {
        if (aborted(abort))
            return false;
        store(out, k, value(x[k][0], x[k][1]));
    }
    return true;
}

// b - a after the usual promotions; signed results wrap in their own width, computed in the
// unsigned type of that width since signed overflow is undefined.
template <typename T> auto difference(T a, T b)
{
    using P = decltype(b - a);
    if constexpr (std::is_integral<P>::value && std::is_signed<P>::value) {
        using U = std::make_unsigned_t<P>;
        return P(U(P(b)) - U(P(a)));
    } else {
        return P(b - a);
    }
}

template <typename T>
bool writeDifferenceTyped(bool absolute, const uchar *data, quint64 count, char *out,
                          const QAtomicInteger<quint8> *abort)
{
    if (count < 2)
        return true;
    T previous = load<T>(data);
    for (quint64 i = 0; i + 1 < count; ++i) {
        if (aborted(abort))
            return false;
        const T next = load<T>(data + (i + 1) * sizeof(T));
        const double d = double(difference(previous, next));
        store(out, i, absolute ? std::fabs(d) : d);
        previous = next;
    }
    return true;
}

} // namespace

Request parseRequest(const QString &text)
{
    static const struct
    {
        const char *text;
        Kind kind;
    } Operations[] = {
        {"FFT Magn", Kind::Magn}, {"FFT Phase", Kind::Phase},    {"FFT dBFS", Kind::DBFS},
        {"FFT PSD", Kind::PSD},   {"Diff Signed", Kind::Signed}, {"Diff Abs", Kind::Abs},
    };
    Request request;
    for (const auto &operation : Operations) {
        if (text.contains(QLatin1String(operation.text))) {
            request.kind = operation.kind;
            break;
        }
    }
    const QStringList parts = text.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    if (parts.size() > 1)
        request.window = windowTypeOf(parts.at(1));
    return request;
}

QString kindText(Kind kind)
{
    switch (kind) {
    case Kind::Magn:
        return QStringLiteral("Magn");
    case Kind::Phase:
        return QStringLiteral("Phase");
    case Kind::DBFS:
        return QStringLiteral("dBFS");
    case Kind::PSD:
        return QStringLiteral("PSD");
    case Kind::Signed:
        return QStringLiteral("Signed");
    case Kind::Abs:
        return QStringLiteral("Abs");
    case Kind::None:
        break;
    }
    return QString();
}

quint8 windowTypeOf(const QString &name)
{
    static const char *const Names[] = {"Blackman", "BlackmanHarris", "Hann", "Hamming",
                                        "Flat-Top"};
    for (quint8 i = 0; i < 5; ++i) {
        if (name == QLatin1String(Names[i]))
            return quint8(Blackman + i);
    }
    return NoWindow;
}

double windowWeight(quint8 type, quint64 n, quint64 length)
{
    const double x = TwoPi * double(n) / double(length);
    switch (type) {
    case Blackman:
        return 0.42659 - 0.49656 * std::cos(x) + 0.076849 * std::cos(2 * x);
    case BlackmanHarris:
        return 0.35875 - 0.48829 * std::cos(x) + 0.14128 * std::cos(2 * x) -
               0.01168 * std::cos(3 * x);
    case Hann:
        return 0.5 * (1 - std::cos(x));
    case Hamming:
        return 0.54347 - 0.45653 * std::cos(x);
    case FlatTop:
        return 0.21557895 - 0.41663158 * std::cos(x) + 0.277263158 * std::cos(2 * x) -
               0.083578947 * std::cos(3 * x) + 0.006947368 * std::cos(4 * x);
    default:
        return 1.0;
    }
}

quint64 fftSize(quint64 length)
{
    quint64 v = length - 1;
    v |= v >> 1;
    v |= v >> 2;
    v |= v >> 4;
    v |= v >> 8;
    v |= v >> 16;
    v |= v >> 32;
    return v + 1;
}

Fft::Fft(quint64 size) : m_size(size)
{
    // Beyond this the byte counts below would overflow; no machine holds such arrays anyway.
    if (size == 0 || size > (quint64(1) << 56))
        return;
    m_input = static_cast<double *>(fftw_malloc(sizeof(double) * size));
    m_output = static_cast<fftw_complex *>(fftw_malloc(sizeof(fftw_complex) * binCount(size)));
    if (!m_input || !m_output)
        return;
    QtViloMemory::adviseHugePages(m_input, sizeof(double) * size);
    QtViloMemory::adviseHugePages(m_output, sizeof(fftw_complex) * binCount(size));
    QMutexLocker locker(&plannerMutex());
    if (size <= quint64(std::numeric_limits<int>::max())) {
        m_plan = fftw_plan_dft_r2c_1d(int(size), m_input, m_output, FFTW_ESTIMATE);
    } else {
        fftw_iodim64 dim;
        dim.n = ptrdiff_t(size);
        dim.is = 1;
        dim.os = 1;
        m_plan = fftw_plan_guru64_dft_r2c(1, &dim, 0, nullptr, m_input, m_output, FFTW_ESTIMATE);
    }
}

Fft::~Fft()
{
    if (m_plan) {
        QMutexLocker locker(&plannerMutex());
        fftw_destroy_plan(m_plan);
    }
    fftw_free(m_input);
    fftw_free(m_output);
}

void Fft::execute()
{
    if (m_plan)
        fftw_execute(m_plan);
}

void fillInput(const Samples &samples, quint8 window, double *input, quint64 size)
{
    const quint64 count = std::min(samples.count, size);
    WindowTable table;
    const bool weighted = count > 0 && table.set(window, samples.count);
    const auto *data = static_cast<const uchar *>(samples.data);
    const bool known = QtViloFormats::visitType(samples.typeIndex, [&](auto tag) {
        fillTyped<decltype(tag)>(data, count, weighted ? &table : nullptr, input);
    });
    std::fill(input + (known ? count : 0), input + size, 0.0);
}

bool writeSpectrum(Kind kind, const Fft &fft, int resolution, char *out,
                   const QAtomicInteger<quint8> *abort)
{
    const double n = double(fft.size());
    switch (kind) {
    case Kind::Magn:
        return writeBins(fft, out, abort,
                         [n](double re, double im) { return magnitude(re, im) / n; });
    case Kind::Phase:
        return writeBins(fft, out, abort, [](double re, double im) { return std::atan2(im, re); });
    case Kind::PSD:
        return writeBins(fft, out, abort,
                         [n](double re, double im) { return (re * re + im * im) / n; });
    case Kind::DBFS: {
        const double fullScale = std::ldexp(1.0, resolution - 1);
        // 20·log10(|X| / N / fullScale) as 10·log10(|X|²) - 20·log10(N·fullScale).
        const double offset = 20.0 * std::log10(n * fullScale);
        return writeBins(fft, out, abort, [n, fullScale, offset](double re, double im) {
            const double p = re * re + im * im;
            if (p >= 0x1p-960 && p <= 0x1p960)
                return std::log(p) * TenOverLn10 - offset;
            // Zero, tiny, huge or NaN: the formula as it stands, with zero lifted to the
            // smallest normal double so the logarithm stays finite. NaN passes through.
            double m = std::hypot(re, im) / n;
            if (m == 0)
                m = DBL_MIN;
            return 20.0 * std::log10(m / fullScale);
        });
    }
    default:
        return true;
    }
}

double dbfsFloor(int resolution)
{
    return 20.0 * std::log10(DBL_MIN / std::ldexp(1.0, resolution - 1));
}

bool writeDifference(Kind kind, const Samples &samples, char *out,
                     const QAtomicInteger<quint8> *abort)
{
    const bool absolute = kind == Kind::Abs;
    const auto *data = static_cast<const uchar *>(samples.data);
    bool done = true;
    const bool known = QtViloFormats::visitType(samples.typeIndex, [&](auto tag) {
        done = writeDifferenceTyped<decltype(tag)>(absolute, data, samples.count, out, abort);
    });
    if (!known) {
        for (quint64 i = 0; i < differenceCount(samples.count); ++i)
            store(out, i, 0.0);
    }
    return done;
}

quint64 maxResultBytes()
{
    // A byte array's size is an int, and its header and terminator take a little of that.
    return quint64(std::numeric_limits<int>::max()) - 64;
}

bool compute(const Request &request, const Samples &samples, int resolution, QByteArray *result,
             const QAtomicInteger<quint8> *abort)
{
    if (samples.count == 0 || !(isFft(request.kind) || isDifference(request.kind))) {
        result->clear();
        return true;
    }
    QByteArray out;
    if (isDifference(request.kind)) {
        const quint64 count = differenceCount(samples.count);
        if (count * 8 > maxResultBytes())
            return false;
        out.resize(int(count * 8));
        QtViloMemory::adviseHugePages(out.data(), count * 8);
        if (!writeDifference(request.kind, samples, out.data(), abort))
            return false;
        result->swap(out);
        return true;
    }
    Fft fft(fftSize(samples.count));
    if (!fft.isValid() || fft.bins() * 8 > maxResultBytes())
        return false;
    fillInput(samples, request.window, fft.input(), fft.size());
    if (aborted(abort))
        return false;
    fft.execute();
    out.resize(int(fft.bins() * 8));
    QtViloMemory::adviseHugePages(out.data(), fft.bins() * 8);
    if (!writeSpectrum(request.kind, fft, resolution, out.data(), abort))
        return false;
    result->swap(out);
    return true;
}

} // namespace QtViloDsp
