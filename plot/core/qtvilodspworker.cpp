// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtvilodspworker.h"

#include "plot/core/qtvilohugepages.h"
#include "plot/core/qtviloplotitem.h"

#include <QReadLocker>
#include <QWriteLocker>

#include <memory>

namespace {

QtViloDsp::Samples samplesOf(const QtViloPlotItem *item)
{
    QtViloDsp::Samples samples;
    samples.data = item->data();
    samples.count = item->data() ? quint64(qMax<qint64>(item->sampleCount(), 0)) : 0;
    samples.typeIndex = item->typeIndex();
    return samples;
}

} // namespace

QtViloDspWorker::QtViloDspWorker(QObject *parent) : QObject(parent)
{
    setObjectName(QStringLiteral("DspWorker"));
    qRegisterMetaType<QtViloPlotItem *>("QtViloPlotItem*");
}

void QtViloDspWorker::start() {}

void QtViloDspWorker::quit() {}

void QtViloDspWorker::doDSP(const quint64 &serial, QtViloPlotItem *item, const QString &request,
                            const qint32 &row)
{
    if (!item || serial != item->serial)
        return;
    item->dspAbort.fetchAndStoreOrdered(0);
    item->dspComplete.fetchAndStoreOrdered(0);
    item->dspRequested().acquire();

    const QtViloDsp::Request parsed = QtViloDsp::parseRequest(request);
    m_windowType = parsed.window;
    bool done = true;
    if (QtViloDsp::isFft(parsed.kind)) {
        done = runFft(item, row, parsed.kind);
    } else if (QtViloDsp::isDifference(parsed.kind)) {
        done = runDifference(item, row, parsed.kind);
    } else {
        // No operation named: nothing to show, which is a result too.
        m_windowLength = 0;
        clearResult(item, row);
    }
    if (done)
        item->dspComplete.storeRelease(1);
    item->dspRequested().release();
    if (!done)
        return;
    item->dspDone().release();
    emit DSPDone(serial, item, row);
}

bool QtViloDspWorker::runFft(QtViloPlotItem *item, qint32 row, QtViloDsp::Kind kind)
{
    std::unique_ptr<QtViloDsp::Fft> fft;
    {
        QReadLocker dataLocker(&item->dataLock());
        const QtViloDsp::Samples samples = samplesOf(item);
        m_windowLength = samples.count;
        if (samples.count == 0) {
            clearResult(item, row);
            return true;
        }
        fft = std::make_unique<QtViloDsp::Fft>(QtViloDsp::fftSize(samples.count));
        if (!fft->isValid() || fft->bins() * 8 > QtViloDsp::maxResultBytes()) {
            qWarning("DSP: no memory for a transform of %llu points", fft->size());
            return false;
        }
        QtViloDsp::fillInput(samples, m_windowType, fft->input(), fft->size());
    }
    if (item->dspAbort.loadAcquire())
        return false;
    fft->execute();

    QByteArray result(int(fft->bins() * 8), Qt::Uninitialized);
    QtViloMemory::adviseHugePages(result.data(), fft->bins() * 8);
    if (!QtViloDsp::writeSpectrum(kind, *fft, item->sampleResolution, result.data(),
                                  &item->dspAbort))
        return false;
    return publishResult(item, row, result, kind);
}

bool QtViloDspWorker::runDifference(QtViloPlotItem *item, qint32 row, QtViloDsp::Kind kind)
{
    QReadLocker dataLocker(&item->dataLock());
    const QtViloDsp::Samples samples = samplesOf(item);
    m_windowLength = samples.count;
    const quint64 count = QtViloDsp::differenceCount(samples.count);
    if (count * 8 > QtViloDsp::maxResultBytes()) {
        qWarning("DSP: a difference of %llu values does not fit a result buffer", count);
        return false;
    }
    QByteArray result(int(count * 8), Qt::Uninitialized);
    QtViloMemory::adviseHugePages(result.data(), count * 8);
    if (!QtViloDsp::writeDifference(kind, samples, result.data(), &item->dspAbort))
        return false;
    return publishResult(item, row, result, kind);
}

// Results are built beside the buffer and swapped in whole: an abort leaves the buffer as it
// stood, and a plot drawing from it waits only for the swap. An abort raised while waiting for
// the lock still counts.
bool QtViloDspWorker::publishResult(QtViloPlotItem *item, qint32 row, QByteArray &result,
                                    QtViloDsp::Kind kind)
{
    QWriteLocker locker(&item->dspLock());
    if (item->dspAbort.loadAcquire())
        return false;
    item->dspResults()[row].swap(result);
    item->dspKinds()[row] = quint8(kind);
    ++item->dspGeneration;
    return true;
}

void QtViloDspWorker::clearResult(QtViloPlotItem *item, qint32 row)
{
    QWriteLocker locker(&item->dspLock());
    item->dspResults()[row].clear();
    ++item->dspGeneration;
}
