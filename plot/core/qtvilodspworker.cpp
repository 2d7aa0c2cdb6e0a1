#include "plot/core/qtvilodspworker.h"

#include "plot/core/qtviloplotitem.h"

QtViloDspWorker::QtViloDspWorker(QObject *parent) : QObject(parent)
{
    setObjectName(QStringLiteral("DspWorker"));
}

void QtViloDspWorker::start() {}

void QtViloDspWorker::quit() {}

void QtViloDspWorker::doDSP(const quint64 &serial, QtViloPlotItem *item, const QString &request,
                            const qint32 &row)
{
    Q_UNUSED(request)
    if (!item->dspRequested().tryAcquire())
        return;
    item->dspDone().release();
    emit DSPDone(serial, item, row);
}
