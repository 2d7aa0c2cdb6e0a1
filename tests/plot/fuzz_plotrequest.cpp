// SPDX-License-Identifier: LGPL-3.0-or-later
// libFuzzer target for the plot request text (the monitor's "pid, path," prefix and what the
// client put after "RunCmd( 1,"): the fields, the item parameters taken from them, and a
// memory item given the request.
#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/core/qtviloplotrequest.h"
#include "tests/support/fuzzcheck.h"

#include <QStringList>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {

// Defaults unlike the initial ones, so a field that fell back to them shows.
const QtViloPlotItemDefaults Defaults{QStringLiteral("Int32"), 3, 5, 6, 7000, 1e6, 12, 0.5, 2};

int hexDigit(QChar c)
{
    const ushort u = c.unicode();
    if (u >= '0' && u <= '9')
        return u - '0';
    if (u >= 'a' && u <= 'f')
        return u - 'a' + 10;
    if (u >= 'A' && u <= 'F')
        return u - 'A' + 10;
    return -1;
}

// Hex digits only, after one optional "0x", within 64 bits.
bool referenceAddress(QString text, quint64 *value)
{
    if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        text.remove(0, 2);
    if (text.isEmpty())
        return false;
    quint64 v = 0;
    for (const QChar c : text) {
        const int d = hexDigit(c);
        if (d < 0 || v > (std::numeric_limits<quint64>::max() >> 4))
            return false;
        v = (v << 4) | quint64(d);
    }
    *value = v;
    return true;
}

bool sameNumber(double a, double b)
{
    return a == b || (a != a && b != b);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), int(size));
    const QtViloPlotRequest r = parsePlotRequest(text, Defaults);

    QStringList fields = text.split(QLatin1Char(','));
    for (QString &f : fields)
        f = f.trimmed();
    const QString variable = fields.value(2);
    const QString address = fields.value(3);

    check(r.ok == r.message.isEmpty());
    check(r.variableName == variable);
    check(r.name == variable + QLatin1Char('@') + address);
    if (r.ok) {
        check(!variable.isEmpty() && r.processId > 0);
        quint64 expected = 0;
        check(referenceAddress(address, &expected) && r.baseAddress == expected);
    } else {
        // A refused request is dropped whole; only the process id is cleared on every path.
        check(r.processId == 0);
        quint64 expected = 0;
        if (variable.isEmpty() || address.isEmpty())
            check(r.baseAddress == 0 && r.message.contains(QLatin1String("no variable")));
        else if (!referenceAddress(address, &expected))
            check(r.baseAddress == 0 && r.message.contains(QLatin1String("address")));
        else
            check(r.baseAddress == expected && r.message.contains(QLatin1String("process id")));
    }

    // The format is a known one: the request's word with its first letter upper-cased, or
    // the default.
    const QtViloPlotItemDefaults &v = r.values;
    check(QtViloFormats::indexOfDisplay(v.Format) >= 0);
    QString word = fields.value(4);
    if (!word.isEmpty())
        word[0] = word.at(0).toUpper();
    check(v.Format == (QtViloFormats::indexOfDisplay(word) >= 0 ? word : Defaults.Format));
    // An absent field keeps its default.
    if (fields.size() <= 5)
        check(v.Step == Defaults.Step);
    if (fields.size() <= 9)
        check(sameNumber(v.SampleRate, Defaults.SampleRate));
    if (fields.size() <= 13)
        check(r.byteSize == 0);
    check(v.SampleRate >= 0 || v.SampleRate == Defaults.SampleRate);

    QtViloPlotItem item(text, true, Defaults);
    applyPlotRequest(r, item);
    check(item.isMemory() && item.source() == text);
    check(item.name() == r.name && item.baseName() == r.name.section(QLatin1Char('@'), 0, 0));
    check(item.format() == v.Format && item.sampleWidth() == QtViloFormats::widthOf(v.Format));
    check(item.sampleWidth() > 0 && item.typeIndex() == QtViloFormats::typeIndexOf(v.Format));
    check(item.step == v.Step && item.fileOffset == v.FileOffset &&
          item.dataOffset == v.DataOffset && item.maxPlotSize == v.MaxPlotSize);
    check(sameNumber(item.sampleRate, v.SampleRate) && sameNumber(item.gain, v.Gain) &&
          sameNumber(item.inputRange, v.InputRange));
    check(item.sampleResolution == v.SampleResolution);
    check(item.processId == r.processId && item.baseAddress == r.baseAddress &&
          item.memorySize == r.byteSize);
    return 0;
}
