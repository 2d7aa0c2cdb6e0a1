// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtviloplotitemsmodel.h"

#include "plot/core/qtviloplotitem.h"

#include <QWriteLocker>

// The DSP side of the plot list: which request each item's DSP plot result follows, and the
// results coming back from the DSP worker.

void QtViloPlotItemsModel::DSPDataUpdateResult(const quint64 &serial, QtViloPlotItem *item,
                                               const qint32 &row)
{
    if (!m_items.contains(item) || item->serial != serial)
        return;
    item->dspDone().tryAcquire();
    emit DspDataUpdated(serial, item, row);
}

QString QtViloPlotItemsModel::effectiveDspRequest(const QtViloPlotItem *item) const
{
    const QString &own = item->dsp;
    if (!own.isEmpty() && own != QLatin1String("None") && own != QLatin1String("Select DSP"))
        return own;
    if (m_dspPlotRequest.isEmpty() || m_dspPlotRequest == QLatin1String("None"))
        return QString();
    return m_dspPlotRequest;
}

void QtViloPlotItemsModel::setDspPlotRequest(const QString &request)
{
    if (request == m_dspPlotRequest)
        return;
    m_dspPlotRequest = request;
    for (QtViloPlotItem *item : qAsConst(m_items))
        requestDsp(item);
}

void QtViloPlotItemsModel::requestDsp(QtViloPlotItem *item)
{
    const QString request = effectiveDspRequest(item);
    item->dspAbort.storeRelease(1); // a running transform of an older request is of no use
    if (request.isEmpty()) {
        QWriteLocker locker(&item->dspLock());
        item->dspResults().remove(DspPlotIndex);
        item->dspKinds().remove(DspPlotIndex);
        ++item->dspGeneration;
        item->dspComplete.storeRelease(0);
        emit DspDataUpdated(item->serial, item, DspPlotIndex);
        return;
    }
    emit requestDSP(item->serial, item, request, DspPlotIndex);
}
