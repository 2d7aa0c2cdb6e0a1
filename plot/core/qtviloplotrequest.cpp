// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtviloplotrequest.h"

#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotitem.h"

#include <QStringList>

#include <algorithm>

namespace {

bool isHexDigit(QChar c)
{
    const ushort u = c.unicode();
    return (u >= '0' && u <= '9') || (u >= 'a' && u <= 'f') || (u >= 'A' && u <= 'F');
}

class Fields
{
public:
    explicit Fields(const QString &text) : m_fields(text.split(QLatin1Char(',')))
    {
        for (QString &field : m_fields)
            field = field.trimmed();
    }

    QString at(int i) const { return i < m_fields.size() ? m_fields.at(i) : QString(); }

    template <typename T, typename Convert> T number(int i, T fallback, Convert convert) const
    {
        bool ok = false;
        const T value = convert(at(i), &ok);
        return ok ? value : fallback;
    }

private:
    QStringList m_fields;
};

} // namespace

QtViloPlotRequest parsePlotRequest(const QString &text, const QtViloPlotItemDefaults &defaults)
{
    const Fields fields(text);
    QtViloPlotRequest request;
    QtViloPlotItemDefaults &values = request.values;
    values = defaults;
    QString word = fields.at(4);
    if (!word.isEmpty()) {
        word[0] = word.at(0).toUpper();
        if (QtViloFormats::indexOfDisplay(word) >= 0)
            values.Format = word;
    }
    values.Step = fields.number<qint32>(5, defaults.Step,
                                         [](const QString &s, bool *ok) { return s.toInt(ok); });
    const auto toInt64 = [](const QString &s, bool *ok) { return s.toLongLong(ok); };
    values.FileOffset = fields.number<qint64>(6, defaults.FileOffset, toInt64);
    values.DataOffset = fields.number<qint64>(7, defaults.DataOffset, toInt64);
    values.MaxPlotSize = fields.number<qint64>(8, defaults.MaxPlotSize, toInt64);
    values.SampleRate =
        fields.number<double>(9, defaults.SampleRate,
                              [](const QString &s, bool *ok) { return double(s.toULongLong(ok)); });
    values.SampleResolution = fields.number<qint32>(
        10, defaults.SampleResolution, [](const QString &s, bool *ok) { return s.toInt(ok); });
    const auto toDouble = [](const QString &s, bool *ok) { return s.toDouble(ok); };
    values.InputRange = fields.number<double>(11, defaults.InputRange, toDouble);
    values.Gain = fields.number<double>(12, defaults.Gain, toDouble);
    request.byteSize = fields.number<quint64>(
        13, 0, [](const QString &s, bool *ok) { return s.toULongLong(ok, 10); });

    request.variableName = fields.at(2);
    const QString address = fields.at(3);
    request.name = request.variableName + QLatin1Char('@') + address;
    if (request.variableName.isEmpty() || address.isEmpty()) {
        request.message =
            QStringLiteral("The plot request names no variable or no address: ") + text;
        return request;
    }
    QString hex = address;
    if (hex.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        hex.remove(0, 2);
    // toULongLong also skips blanks and takes a sign or a second "0x"; an address has none.
    const bool digitsOnly = !hex.isEmpty() && std::all_of(hex.cbegin(), hex.cend(), isHexDigit);
    bool ok = false;
    request.baseAddress = digitsOnly ? hex.toULongLong(&ok, 16) : 0;
    if (!ok) {
        request.baseAddress = 0;
        request.message = QStringLiteral("The plot request's address is not a number: ") + address;
        return request;
    }
    request.processId = fields.at(0).toLongLong(&ok, 10);
    if (!ok || request.processId <= 0) {
        request.processId = 0;
        request.message =
            QStringLiteral("The plot request's process id is not a number: ") + fields.at(0);
        return request;
    }
    request.ok = true;
    return request;
}

void applyPlotRequest(const QtViloPlotRequest &request, QtViloPlotItem &item)
{
    item.setName(request.name);
    item.setFormat(request.values.Format);
    item.step = request.values.Step;
    item.fileOffset = request.values.FileOffset;
    item.dataOffset = request.values.DataOffset;
    item.maxPlotSize = request.values.MaxPlotSize;
    item.sampleRate = request.values.SampleRate;
    item.sampleResolution = request.values.SampleResolution;
    item.inputRange = request.values.InputRange;
    item.gain = request.values.Gain;
    item.processId = request.processId;
    item.baseAddress = request.baseAddress;
    item.memorySize = request.byteSize;
}
