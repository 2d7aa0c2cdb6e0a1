// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/core/qtviloplotitem.h"

#include <QFile>
#include <QString>
#include <QVector>
#include <QWriteLocker>
#include <QtTest>

#include <cmath>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

// The reader's two ways in: the file mapped in place, or read as a stream.
inline void modeRows()
{
    QTest::addColumn<bool>("mapped");
    QTest::newRow("mapped") << true;
    QTest::newRow("stream") << false;
}

// A forked child that waits in pause(); killed and reaped at the end of the scope.
struct Child
{
    const pid_t pid = fork();
    Child()
    {
        while (pid == 0)
            pause();
    }
    ~Child()
    {
        if (pid > 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
    }
};

inline bool writeFile(const QString &path, const QByteArray &data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

// A ramp of int16 samples, sample i holding base + i; returns the path, empty on failure.
inline QString writeInt16File(const QString &path, int count, int base = 0)
{
    QVector<qint16> samples(count);
    for (int i = 0; i < count; ++i)
        samples[i] = qint16(base + i);
    const QByteArray bytes(reinterpret_cast<const char *>(samples.constData()), count * 2);
    return writeFile(path, bytes) ? path : QString();
}

// The values as raw samples of T after one lead byte, so that nothing may assume alignment;
// `stored` gets the values as T holds them.
template <typename T> QByteArray bytesOf(const QVector<double> &values, QVector<double> &stored)
{
    QByteArray bytes(1, '\0');
    stored.clear();
    for (double v : values) {
        const T value = T(v);
        bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
        stored.append(double(value));
    }
    return bytes;
}

// By type index, listed here rather than taken from the formats so a wrong dispatch shows.
inline QByteArray bytesAs(int type, const QVector<double> &values, QVector<double> &stored)
{
    using Maker = QByteArray (*)(const QVector<double> &, QVector<double> &);
    static const Maker makers[] = {&bytesOf<qint8>,   &bytesOf<qint16>, &bytesOf<qint32>,
                                   &bytesOf<qint64>,  &bytesOf<float>,  &bytesOf<double>,
                                   &bytesOf<double>,  &bytesOf<quint8>, &bytesOf<quint16>,
                                   &bytesOf<quint32>, &bytesOf<quint64>};
    return makers[type](values, stored);
}

// Gives the item the values in its format, as the reader leaves them, with their range
// (NaNs left out); returns the values as the format holds them.
inline QVector<double> setSamples(QtViloPlotItem &item, const QVector<double> &values)
{
    QVector<double> stored;
    QWriteLocker locker(&item.dataLock());
    item.buffer() = bytesAs(item.typeIndex(), values, stored).mid(1);
    item.setData(item.buffer().constData());
    item.setSampleCount(values.size());
    double lo = 0;
    double hi = 0;
    bool any = false;
    for (double s : stored) {
        if (std::isnan(s))
            continue;
        lo = any ? qMin(lo, s) : s;
        hi = any ? qMax(hi, s) : s;
        any = true;
    }
    item.setValueRange(lo, hi);
    return stored;
}
