// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtviloplotitem.h"

#include "plot/core/qtviloformats.h"

#include <QFile>

#include <cstring>

QtViloPlotItem::QtViloPlotItem(const QString &source, bool isMemory,
                               const QtViloPlotItemDefaults &defaults)
    : m_source(source), m_name(source), m_isMemory(isMemory)
{
    if (!setFormat(defaults.Format))
        setFormat(QStringLiteral("Int16"));
    step = defaults.Step;
    fileOffset = defaults.FileOffset;
    dataOffset = defaults.DataOffset;
    maxPlotSize = defaults.MaxPlotSize;
    sampleRate = defaults.SampleRate;
    sampleResolution = defaults.SampleResolution;
    inputRange = defaults.InputRange;
    gain = defaults.Gain;
}

QtViloPlotItem::~QtViloPlotItem()
{
    QWriteLocker locker(&m_dataLock);
    clearData();
}

QString QtViloPlotItem::baseName() const
{
    return m_name.section(QLatin1Char('@'), 0, 0);
}

bool QtViloPlotItem::setFormat(const QString &display)
{
    const int typeIndex = QtViloFormats::typeIndexOf(display);
    if (typeIndex < 0)
        return false;
    m_format = display;
    m_width = QtViloFormats::widthOf(display);
    m_typeIndex = typeIndex;
    return true;
}

void QtViloPlotItem::setValueRange(double minValue, double maxValue)
{
    m_minValue = minValue;
    m_maxValue = maxValue;
}

void QtViloPlotItem::setMapping(QFile *file, uchar *mapping)
{
    m_mappedFile = file;
    m_mapping = mapping;
}

void QtViloPlotItem::clearData()
{
    m_data = nullptr;
    ++m_dataGeneration;
    m_sampleCount = 0;
    m_buffer.clear();
    m_values.clear();
    if (m_mappedFile) {
        if (m_mapping)
            m_mappedFile->unmap(m_mapping);
        delete m_mappedFile;
    }
    m_mappedFile = nullptr;
    m_mapping = nullptr;
}

namespace {
template <typename T>
double load(const uchar *p)
{
    T value;
    memcpy(&value, p, sizeof value);
    return double(value);
}
} // namespace

double QtViloPlotItem::valueAt(qint64 i) const
{
    const uchar *p = static_cast<const uchar *>(m_data) + i * m_width;
    switch (m_typeIndex) {
    case QtViloFormats::Int8Type:
        return load<qint8>(p);
    case QtViloFormats::Int16Type:
        return load<qint16>(p);
    case QtViloFormats::Int32Type:
        return load<qint32>(p);
    case QtViloFormats::Int64Type:
        return load<qint64>(p);
    case QtViloFormats::FloatType:
        return load<float>(p);
    case QtViloFormats::DoubleType:
    case QtViloFormats::AsciiType:
        return load<double>(p);
    case QtViloFormats::Uint8Type:
        return load<quint8>(p);
    case QtViloFormats::Uint16Type:
        return load<quint16>(p);
    case QtViloFormats::Uint32Type:
        return load<quint32>(p);
    case QtViloFormats::Uint64Type:
        return load<quint64>(p);
    default:
        return 0;
    }
}
