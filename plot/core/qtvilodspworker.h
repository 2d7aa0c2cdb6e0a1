#pragma once

#include <QObject>

class QtViloPlotItem;

// Works out the DSP views of an item on "DspWorkerThread". Until the transforms exist it
// only keeps the item's DSP pacing, so the list's requests always come back.
class QtViloDspWorker : public QObject
{
    Q_OBJECT
public:
    explicit QtViloDspWorker(QObject *parent = nullptr);

public slots:
    void start();
    void quit();
    void doDSP(const quint64 &serial, QtViloPlotItem *item, const QString &request,
               const qint32 &row);

signals:
    void DSPDone(const quint64 &serial, QtViloPlotItem *item, const qint32 &row);
};
