#include "plot/core/qtvilovaluerange.h"

#include "plot/core/qtviloformats.h"

namespace QtViloValueRange {

Range of(const void *samples, qint64 count, int typeIndex)
{
    switch (typeIndex) {
    case QtViloFormats::Int8Type:
        return of(static_cast<const qint8 *>(samples), count);
    case QtViloFormats::Int16Type:
        return of(static_cast<const qint16 *>(samples), count);
    case QtViloFormats::Int32Type:
        return of(static_cast<const qint32 *>(samples), count);
    case QtViloFormats::Int64Type:
        return of(static_cast<const qint64 *>(samples), count);
    case QtViloFormats::FloatType:
        return of(static_cast<const float *>(samples), count);
    case QtViloFormats::DoubleType:
    case QtViloFormats::AsciiType:
        return of(static_cast<const double *>(samples), count);
    case QtViloFormats::Uint8Type:
        return of(static_cast<const quint8 *>(samples), count);
    case QtViloFormats::Uint16Type:
        return of(static_cast<const quint16 *>(samples), count);
    case QtViloFormats::Uint32Type:
        return of(static_cast<const quint32 *>(samples), count);
    case QtViloFormats::Uint64Type:
        return of(static_cast<const quint64 *>(samples), count);
    default:
        return {};
    }
}

} // namespace QtViloValueRange
