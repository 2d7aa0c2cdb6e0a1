// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/core/qtvilodsp.h"

#include <QObject>

class QtViloPlotItem;

// Works out the DSP views of an item (spectra and first differences) on "DspWorkerThread",
// so that long transforms never block the interface.
//
// Per request: a request whose serial is not the item's current one is dropped without a
// reply. Otherwise the item's abort and complete flags are cleared, one unit of its DSP
// semaphore is taken for the whole request and given back at its end; on success the result
// buffer of the index is complete (dspComplete set), dspDone() gets a unit and DSPDone
// follows. An abort leaves the buffer as it stood and sends nothing.
//
// Locks: the samples are read under the item's dataLock() and the result written under its
// dspLock(); the transform itself runs under neither. Where both are held (the difference,
// written while its samples are read) dataLock() is taken first.
class QtViloDspWorker : public QObject
{
    Q_OBJECT
public:
    explicit QtViloDspWorker(QObject *parent = nullptr);

    // The window of the last request and its length (the item's sample count).
    quint8 windowType() const { return m_windowType; }
    quint64 windowLength() const { return m_windowLength; }

public slots:
    void start();
    void quit();
    void doDSP(const quint64 &serial, QtViloPlotItem *item, const QString &request,
               const qint32 &row);

signals:
    void DSPDone(const quint64 &serial, QtViloPlotItem *item, const qint32 &row);

private:
    // Each returns false when aborted or when the result could not be made.
    bool runFft(QtViloPlotItem *item, qint32 row, QtViloDsp::Kind kind);
    bool runDifference(QtViloPlotItem *item, qint32 row, QtViloDsp::Kind kind);
    static void clearResult(QtViloPlotItem *item, qint32 row);
    static bool publishResult(QtViloPlotItem *item, qint32 row, QByteArray &result,
                              QtViloDsp::Kind kind);

    quint8 m_windowType = QtViloDsp::NoWindow;
    quint64 m_windowLength = 0;
};
