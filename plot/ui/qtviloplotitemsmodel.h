// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "plot/core/qtviloplotitemdefaults.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QSet>
#include <QStringList>

class QFileSystemWatcher;
class QThread;
class QtViloPlotDataReader;
class QtViloDspWorker;
class QtViloSsbMonitor;
class QtViloPlotItem;

// The table behind the "Plot Items List": one row per sample file or client memory range,
// its read parameters as columns, and the worker threads that read the items.
class QtViloPlotItemsModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column {
        VisibilityColumn = 0,
        FilePathColumn,
        FormatColumn,
        StepColumn,
        ByteOffsetColumn,
        SampleOffsetColumn,
        MaxPlotSizeColumn,
        PlotPercentageColumn,
        SampleRateColumn,
        ResolutionColumn,
        InputRangeColumn,
        GainColumn,
        FileSizeColumn,
        DateModifiedColumn,
        DspColumn,
        ColumnCount
    };

    explicit QtViloPlotItemsModel(QObject *parent = nullptr);
    ~QtViloPlotItemsModel() override;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool removeRows(int row, int count, const QModelIndex &parent = QModelIndex()) override;

    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;

    QString filePath(int row) const;
    bool isMemoryItem(int row) const;
    QtViloPlotItem *item(int row) const;
    const QList<QtViloPlotItem *> &items() const { return m_items; }
    QtViloPlotItemDefaults defaults() const { return m_defaults; }

    // Mapped reading (the file is used in place) or stream reading (own buffer).
    bool memoryMapped() const { return m_memoryMapped; }
    void setMemoryMapped(bool on);
    // New rows beyond this many visible ones start hidden; 0 lets every row show.
    int targetPlotCount() const { return m_targetPlotCount; }
    void setTargetPlotCount(int count);

    // Quick links: an edit of a linked column in one row goes to every row, either as the
    // same value or as the same change of value.
    enum class LinkMode { Off, Value, Increment };
    void setLinks(const QSet<int> &columns, LinkMode mode);

    // Reads the given rows again as one batch (all rows when empty).
    void replot(const QList<int> &rows = {});
    void removeAllRows();

    // The DSP plot index of the one DSP plot.
    static constexpr qint32 DspPlotIndex = 0;
    // The DSP plot's request text ("FFT dBFS;Hann", or "None"): every item whose own DSP
    // column says "None" is transformed by it, now and after each new read.
    QString dspPlotRequest() const { return m_dspPlotRequest; }
    void setDspPlotRequest(const QString &request);
    // The request an item's DSP results of the DSP plot come from; empty for none.
    QString effectiveDspRequest(const QtViloPlotItem *item) const;

signals:
    void itemChanged(const quint64 &serial, QtViloPlotItem *item, const QString &key,
                     const bool &mapped, const bool &dropCache, const qint32 &row,
                     const bool &clear);
    void restartFileReader();
    void PlotItemDefaultValueChanged(const QtViloPlotItemDefaults &defaults);
    void SignalPlotEnableChanged(const bool &enabled);
    void ReplicateToBinFile(QtViloPlotItem *item, const bool &copy);
    void requestDSP(const quint64 &serial, QtViloPlotItem *item, const QString &request,
                    const qint32 &row);
    // The list or the visibility of its rows changed: the plots pick up the rows again.
    void PlotItemsChanged();
    // Every read of one batch has come back; the plots replot before a client is let go.
    void PlotDataUpdated(const quint64 &serial);
    // The DSP result of `item` for DSP plot index `index` is complete.
    void DspDataUpdated(const quint64 &serial, QtViloPlotItem *item, const qint32 &index);
    // A replica of an item was written.
    void ItemReplicated(const QString &path);
    // Files were accepted into the list (opened, dropped, sent by the explorer): the window
    // brings the plots forward.
    void PlotFilesOpened();

public slots:
    void AppendRows(const QStringList &paths, const bool &isMemory);
    void onWatchedItemChanged(const QString &path);
    void UpdateFileData(const QModelIndex topLeft, const QModelIndex bottomRight);
    void FileDataUpdateResult(const quint64 &serial, QtViloPlotItem *item, const QString &key,
                              const qint32 &row);
    void onAsciiReadError(QtViloPlotItem *item, const QString heading, const QString detail);
    void onPlotItemDefaultValueChanged(const QtViloPlotItemDefaults &defaults);
    void onSignalPlotEnableChanged(const bool &enabled);
    void onReplicateToBinFileFinished(QtViloPlotItem *item, const QString &path);
    void onReplicationError(QtViloPlotItem *item, const QString &title, const QString &text);
    void DSPDataUpdateResult(const quint64 &serial, QtViloPlotItem *item, const qint32 &row);

private:
    QtViloPlotItem *findItem(const QString &name, bool isMemory) const;
    QtViloPlotItem *makeFileItem(const QString &path) const;
    void requestRead(const QList<QtViloPlotItem *> &items, bool dropCache);
    void finishRead(QtViloPlotItem *item);
    void completeBatch(quint64 serial, bool hadMemory);
    void releaseRealTimeRequest();
    void retire(const QList<QtViloPlotItem *> &items);
    void requestDsp(QtViloPlotItem *item);
    void refreshFileFacts(QtViloPlotItem *item) const;
    void emitRowChanged(QtViloPlotItem *item, int firstColumn, int lastColumn);
    bool applyEdit(QtViloPlotItem *item, int column, const QVariant &value);

    QList<QtViloPlotItem *> m_items;
    // Removed items on their way out behind the workers' pending requests.
    QList<QtViloPlotItem *> m_retiring;
    QtViloPlotItemDefaults m_defaults;
    QFileSystemWatcher *m_watcher;
    QThread *m_readerThread;
    QtViloPlotDataReader *m_reader;
    QThread *m_dspThread;
    QtViloDspWorker *m_dspWorker;
    QThread *m_ssbThread;
    QtViloSsbMonitor *m_ssbMonitor;

    quint64 m_serial = 0;
    // Items whose read of a batch has not come back yet, by batch serial.
    QHash<quint64, QSet<QtViloPlotItem *>> m_pendingReads;
    QSet<quint64> m_memoryBatches;
    // Read failures of memory items already shown: a client that keeps asking for a broken
    // range gets one box, not one per request.
    QSet<QString> m_shownMemoryErrors;
    // A read error box is open: errors that come meanwhile wait in m_pendingErrors (each once)
    // and are listed in one box when it closes, instead of stacking boxes. A box left open
    // all day under clients that come and go lists the first few and counts the rest.
    static constexpr int MaxListedErrors = 20;
    bool m_errorBoxOpen = false;
    QList<QPair<QString, QString>> m_pendingErrors;
    int m_unlistedErrors = 0;
    QString m_dspPlotRequest = QStringLiteral("None");
    bool m_memoryMapped = false;
    bool m_signalPlotEnabled = true;
    int m_targetPlotCount = 0;
    bool m_applyingOwnChange = false;
    QSet<int> m_linkedColumns;
    LinkMode m_linkMode = LinkMode::Off;
};
