#pragma once

#include <QFile>
#include <QString>
#include <QVector>

// A ramp of int16 samples, sample i holding base + i; returns the path, empty on failure.
inline QString writeInt16File(const QString &path, int count, int base = 0)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return {};
    QVector<qint16> samples(count);
    for (int i = 0; i < count; ++i)
        samples[i] = qint16(base + i);
    file.write(reinterpret_cast<const char *>(samples.constData()), count * 2);
    return path;
}
