// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtvilo.h"

#include "plot/core/qtviloformats.h"
#include "plot/core/qtviloplotitem.h"
#include "plot/core/qtvilorealtime.h"
#include "plot/ui/qtviloplot.h"
#include "plot/ui/qtviloplotitemdefaultsdialog.h"
#include "plot/ui/qtviloplotitemsmodel.h"
#include "plot/ui/qtviloplotview.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QSettings>
#include <QSpinBox>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
const QString GeneralGroup = QStringLiteral("QtViloGeneralSettings");
const QString QuickLinkGroup = QStringLiteral("QtViloQuickLinkSettings");

// Offers a list of texts for a column (the formats, the DSP requests); an editable one also
// takes typed text.
class ChoiceDelegate : public QStyledItemDelegate
{
public:
    ChoiceDelegate(const QStringList &choices, bool editable, QObject *parent)
        : QStyledItemDelegate(parent), m_choices(choices), m_editable(editable)
    {
    }
    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &,
                          const QModelIndex &) const override
    {
        auto *box = new QComboBox(parent);
        box->addItems(m_choices);
        box->setEditable(m_editable);
        if (m_editable) {
            box->setInsertPolicy(QComboBox::NoInsert);
            // Return in the text field ends the edit with the typed request, as in a cell.
            auto *self = const_cast<ChoiceDelegate *>(this);
            connect(box->lineEdit(), &QLineEdit::returnPressed, self, [self, box] {
                emit self->commitData(box);
                emit self->closeEditor(box);
            });
        }
        return box;
    }
    void setEditorData(QWidget *editor, const QModelIndex &index) const override
    {
        auto *box = static_cast<QComboBox *>(editor);
        const QString text = index.data(Qt::DisplayRole).toString();
        const int found = box->findText(text);
        box->setCurrentIndex(qMax(0, found));
        if (found < 0 && m_editable)
            box->setEditText(text);
    }
    void setModelData(QWidget *editor, QAbstractItemModel *model,
                      const QModelIndex &index) const override
    {
        model->setData(index, static_cast<QComboBox *>(editor)->currentText(), Qt::EditRole);
    }

private:
    QStringList m_choices;
    bool m_editable;
};

// Every operation the DSP worker knows, the transforms with no window and with each window.
QStringList dspChoices()
{
    QStringList choices{QStringLiteral("None"), QStringLiteral("Select DSP")};
    const QStringList windows{QStringLiteral("Blackman"), QStringLiteral("BlackmanHarris"),
                              QStringLiteral("Hann"), QStringLiteral("Hamming"),
                              QStringLiteral("Flat-Top")};
    for (const char *fft : {"FFT Magn", "FFT Phase", "FFT dBFS", "FFT PSD"}) {
        choices << QLatin1String(fft);
        for (const QString &window : windows)
            choices << QLatin1String(fft) + QLatin1Char(';') + window;
    }
    choices << QStringLiteral("Diff Signed") << QStringLiteral("Diff Abs");
    return choices;
}
} // namespace

QtVilo::QtVilo(QWidget *parent)
    : QWidget(parent), m_model(new QtViloPlotItemsModel(this)), m_itemsView(new QTableView(this)),
      m_signalPlot(new QtViloPlot(nullptr, QtViloPlot::SignalSource)),
      m_dspPlot(new QtViloPlot(nullptr, QtViloPlot::DspSource)),
      m_signalView(new QtViloPlotView(m_signalPlot, m_model, this)),
      m_dspView(new QtViloPlotView(m_dspPlot, m_model, this))
{
    setWindowTitle(tr("Plot Items List"));
    m_dspPlot->setObjectName(QStringLiteral("QtViloDspPlot"));
    m_dspPlot->setWindowTitle(tr("DSP Plot"));
    // Children of the list until a dock takes them, hidden so they do not paint inside it.
    m_signalView->hide();
    m_dspView->hide();

    m_itemsView->setModel(m_model);
    m_itemsView->horizontalHeader()->setStretchLastSection(true);
    m_itemsView->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_itemsView->verticalHeader()->hide();
    m_itemsView->setContextMenuPolicy(Qt::CustomContextMenu);
    m_itemsView->setDragDropMode(QAbstractItemView::DragDrop);
    m_itemsView->setDefaultDropAction(Qt::CopyAction);
    m_itemsView->setDragEnabled(true);
    m_itemsView->setAcceptDrops(true);
    m_itemsView->setDropIndicatorShown(true);
    m_itemsView->setItemDelegateForColumn(
        QtViloPlotItemsModel::FormatColumn,
        new ChoiceDelegate(QtViloFormats::displayTexts(), false, m_itemsView));
    m_itemsView->setItemDelegateForColumn(
        QtViloPlotItemsModel::DspColumn,
        new ChoiceDelegate(dspChoices(), true, m_itemsView));

    auto *bar = new QWidget(this);
    buildToolBar(bar);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(bar);
    layout->addWidget(m_itemsView);

    loadSettings();

    connect(m_itemsView, &QWidget::customContextMenuRequested, this,
            &QtVilo::onContextMenuRequested);
    connect(m_model, &QtViloPlotItemsModel::PlotItemsChanged, this, &QtVilo::onPlotItemsChanged);
    connect(m_model, &QtViloPlotItemsModel::PlotDataUpdated, this, &QtVilo::onPlotDataUpdated);
    connect(m_model, &QtViloPlotItemsModel::DspDataUpdated, this,
            [this](const quint64 &serial) { onDspDataUpdated(serial); });
    // Names come and go with the rows; the path column follows them up to a sensible width.
    connect(m_model, &QAbstractItemModel::rowsInserted, this, [this] {
        m_itemsView->resizeColumnToContents(QtViloPlotItemsModel::FilePathColumn);
        if (m_itemsView->columnWidth(QtViloPlotItemsModel::FilePathColumn) > 420)
            m_itemsView->setColumnWidth(QtViloPlotItemsModel::FilePathColumn, 420);
    });
}

void QtVilo::buildToolBar(QWidget *bar)
{
    auto *row = new QHBoxLayout(bar);
    row->setContentsMargins(2, 2, 2, 2);
    row->setSpacing(2);
    auto addButton = [&](const QString &icon, const QString &tip) {
        auto *button = new QToolButton(bar);
        button->setIcon(QIcon(icon));
        button->setToolTip(tip);
        button->setAutoRaise(true);
        row->addWidget(button);
        return button;
    };
    QToolButton *replot = addButton(QStringLiteral("://Images/replot.png"),
                                    tr("Replot all items.\nTo see changes in data"));
    connect(replot, &QToolButton::clicked, this, [this] { keyOperation(0); });
    QToolButton *clear = addButton(QStringLiteral("://Images/clearlist.png"),
                                   tr("Remove all plot items from list"));
    connect(clear, &QToolButton::clicked, this, [this] { keyOperation(2); });

    m_memMapBtn = addButton(QStringLiteral("://Images/memmap.png"),
                            tr("Use memory mapped files for increased read speed.\nThis will "
                               "lock the file and is only suitable to use if file is static"));
    m_memMapBtn->setCheckable(true);
    connect(m_memMapBtn, &QToolButton::toggled, this, [this](bool on) {
        m_model->setMemoryMapped(on);
        saveSettings();
    });

    QToolButton *defaults = addButton(QStringLiteral("://Images/settings.png"),
                                      tr("Default values of new plot items"));
    connect(defaults, &QToolButton::clicked, this, &QtVilo::onDefaultsBtnClicked);

    QToolButton *links = addButton(QStringLiteral("://Images/link.png"),
                                   tr("Quick links: an edit in one row goes to every row"));
    links->setPopupMode(QToolButton::InstantPopup);
    m_quickLinkMenu = new QMenu(links);
    m_linkIncrement = m_quickLinkMenu->addAction(tr("Link Increment"));
    m_linkValue = m_quickLinkMenu->addAction(tr("Link Value"));
    m_quickLinkMenu->addSeparator();
    const QList<QPair<QString, int>> parameters = {
        {tr("Visibility"), QtViloPlotItemsModel::VisibilityColumn},
        {tr("Sample Format"), QtViloPlotItemsModel::FormatColumn},
        {tr("Step Increment"), QtViloPlotItemsModel::StepColumn},
        {tr("Byte Offset"), QtViloPlotItemsModel::ByteOffsetColumn},
        {tr("Data Offset"), QtViloPlotItemsModel::SampleOffsetColumn},
        {tr("Max Plot Size"), QtViloPlotItemsModel::MaxPlotSizeColumn},
        {tr("Sample Rate"), QtViloPlotItemsModel::SampleRateColumn},
        {tr("Sample Resolution"), QtViloPlotItemsModel::ResolutionColumn},
        {tr("Input Range"), QtViloPlotItemsModel::InputRangeColumn},
        {tr("Gain"), QtViloPlotItemsModel::GainColumn}};
    for (const auto &parameter : parameters)
        m_columnLinks << qMakePair(m_quickLinkMenu->addAction(parameter.first), parameter.second);
    for (QAction *action : m_quickLinkMenu->actions()) {
        action->setCheckable(true);
        connect(action, &QAction::toggled, this, &QtVilo::onQuickLinkToggled);
    }
    links->setMenu(m_quickLinkMenu);

    m_targetPlotCnt = new QSpinBox(bar);
    m_targetPlotCnt->setRange(0, 999);
    m_targetPlotCnt->setSpecialValueText(tr("All"));
    m_targetPlotCnt->setPrefix(tr("Plots: "));
    m_targetPlotCnt->setToolTip(
        tr("Set target plot count.\nTo prevent plotting two many\nitems by accidence"));
    connect(m_targetPlotCnt, QOverload<int>::of(&QSpinBox::valueChanged), this, [this](int n) {
        m_model->setTargetPlotCount(n);
        saveSettings();
    });
    row->addWidget(m_targetPlotCnt);
    row->addStretch(1);
}

namespace {
// Settings keys of the quick-link toggles, in the order of the panel's link menu.
const char *const QuickLinkKeys[] = {"QuickLinkIncre",       "QuickLinkValue",
                                     "QuickLinkVis",         "QuickLinkRes",
                                     "QuickLinkStepIncr",    "QuickLinkByteOffset",
                                     "QuickLinkSampleOffset", "QuickLinkReadSize",
                                     "QuickLinkSampleRate",  "QuickLinkSampleResolution",
                                     "QuickLinkInputRange",  "QuickLinkGain"};
} // namespace

void QtVilo::loadSettings()
{
    QSettings settings;
    settings.beginGroup(GeneralGroup);
    const bool mapped = settings.value(QStringLiteral("MemMapBtnState"), false).toBool();
    const int target = settings.value(QStringLiteral("TargetPlotCnt"), 0).toInt();
    settings.endGroup();
    {
        const QSignalBlocker blockMap(m_memMapBtn);
        const QSignalBlocker blockCount(m_targetPlotCnt);
        m_memMapBtn->setChecked(mapped);
        m_targetPlotCnt->setValue(target);
    }
    m_model->setMemoryMapped(mapped);
    m_model->setTargetPlotCount(target);

    settings.beginGroup(QuickLinkGroup);
    const QList<QAction *> actions = m_quickLinkMenu->actions();
    int key = 0;
    for (QAction *action : actions) {
        if (action->isSeparator())
            continue;
        const QSignalBlocker block(action);
        action->setChecked(settings.value(QLatin1String(QuickLinkKeys[key++]), false).toBool());
    }
    settings.endGroup();
    onQuickLinkToggled();
}

void QtVilo::saveSettings() const
{
    QSettings settings;
    settings.beginGroup(GeneralGroup);
    settings.setValue(QStringLiteral("MemMapBtnState"), m_memMapBtn->isChecked());
    settings.setValue(QStringLiteral("TargetPlotCnt"), m_targetPlotCnt->value());
    settings.endGroup();
    settings.beginGroup(QuickLinkGroup);
    int key = 0;
    for (QAction *action : m_quickLinkMenu->actions()) {
        if (!action->isSeparator())
            settings.setValue(QLatin1String(QuickLinkKeys[key++]), action->isChecked());
    }
    settings.endGroup();
}

void QtVilo::onQuickLinkToggled()
{
    // Value and increment are two ways of one link, so only one of them is on.
    auto *source = qobject_cast<QAction *>(sender());
    if (source == m_linkIncrement && m_linkIncrement->isChecked())
        m_linkValue->setChecked(false);
    else if (source == m_linkValue && m_linkValue->isChecked())
        m_linkIncrement->setChecked(false);
    QSet<int> columns;
    for (const auto &link : qAsConst(m_columnLinks)) {
        if (link.first->isChecked())
            columns.insert(link.second);
    }
    const auto mode = m_linkValue->isChecked()       ? QtViloPlotItemsModel::LinkMode::Value
                      : m_linkIncrement->isChecked() ? QtViloPlotItemsModel::LinkMode::Increment
                                                     : QtViloPlotItemsModel::LinkMode::Off;
    m_model->setLinks(columns, mode);
    if (source)
        saveSettings();
}

QWidget *QtVilo::plotView(int index) const
{
    return index == 0 ? m_signalView : m_dspView;
}

void QtVilo::keyOperation(int which)
{
    switch (which) {
    case 0:
        m_model->replot();
        break;
    case 1:
        toggleSelectedVisibility();
        break;
    case 2:
        m_model->removeAllRows();
        break;
    default:
        break;
    }
}

QList<int> QtVilo::selectedRows() const
{
    QList<int> rows;
    for (const QModelIndex &index : m_itemsView->selectionModel()->selectedRows())
        rows << index.row();
    std::sort(rows.begin(), rows.end());
    return rows;
}

void QtVilo::toggleSelectedVisibility()
{
    for (int row : selectedRows()) {
        const QModelIndex index = m_model->index(row, QtViloPlotItemsModel::VisibilityColumn);
        const bool visible = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
        m_model->setData(index, visible ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
    }
}

void QtVilo::removeSelectedRows()
{
    const QList<int> rows = selectedRows();
    for (auto it = rows.crbegin(); it != rows.crend(); ++it)
        m_model->removeRows(*it, 1);
}

void QtVilo::replicateItems(bool selectedOnly)
{
    QList<QtViloPlotItem *> items;
    if (selectedOnly) {
        for (int row : selectedRows())
            items << m_model->item(row);
    } else {
        for (QtViloPlotItem *item : m_model->items()) {
            if (item->visible)
                items << item;
        }
    }
    for (QtViloPlotItem *item : items)
        emit m_model->ReplicateToBinFile(item, !selectedOnly);
}

void QtVilo::copyPaths(bool foldersOnly)
{
    QStringList paths;
    for (int row : selectedRows()) {
        if (m_model->isMemoryItem(row))
            continue;
        const QFileInfo info(m_model->filePath(row));
        const QString path = foldersOnly ? info.absolutePath() : info.absoluteFilePath();
        if (!paths.contains(path))
            paths << path;
    }
    QApplication::clipboard()->setText(paths.join(QLatin1Char('\n')));
}

void QtVilo::onContextMenuRequested(const QPoint &pos)
{
    // A right click on a row that is not selected acts on that row alone.
    const QModelIndex clicked = m_itemsView->indexAt(pos);
    if (clicked.isValid() && !m_itemsView->selectionModel()->isRowSelected(clicked.row(), {}))
        m_itemsView->selectRow(clicked.row());
    const bool hasSelection = !selectedRows().isEmpty();
    QMenu menu(this);
    menu.addAction(tr("Replicate Plot to binary file"), this, [this] { replicateItems(false); })
        ->setEnabled(m_model->rowCount() > 0);
    menu.addAction(tr("Replicate Item to binary file"), this, [this] { replicateItems(true); })
        ->setEnabled(hasSelection);
    menu.addSeparator();
    menu.addAction(tr("Clear List"), this, [this] { m_model->removeAllRows(); });
    menu.addAction(tr("Remove Selected From List"), this, &QtVilo::removeSelectedRows)
        ->setEnabled(hasSelection);
    menu.addSeparator();
    menu.addAction(tr("Copy Folder Path(s)"), this, [this] { copyPaths(true); })
        ->setEnabled(hasSelection);
    menu.addAction(tr("Copy Full Path(s)"), this, [this] { copyPaths(false); })
        ->setEnabled(hasSelection);
    menu.exec(m_itemsView->viewport()->mapToGlobal(pos));
}

void QtVilo::onDefaultsBtnClicked()
{
    QtViloPlotItemDefaultsDialog dialog(m_model->defaults(), this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QtViloPlotItemDefaults defaults = dialog.values();
    savePlotItemDefaults(defaults);
    emit m_model->PlotItemDefaultValueChanged(defaults);
}

void QtVilo::onPlotItemsChanged()
{
    m_signalPlot->setItems(m_model->items());
    m_dspPlot->setItems(m_model->items());
}

void QtVilo::onPlotDataUpdated(const quint64 &serial)
{
    m_signalPlot->setItems(m_model->items());
    m_signalPlot->dataUpdated(serial);
}

void QtVilo::onDspDataUpdated(const quint64 &serial)
{
    m_dspSerial = serial;
    if (m_dspReplotPending)
        return;
    m_dspReplotPending = true;
    QTimer::singleShot(0, this, [this] {
        m_dspReplotPending = false;
        m_dspPlot->dataUpdated(m_dspSerial);
    });
}

void QtVilo::openFiles(const QStringList &paths)
{
    m_model->AppendRows(paths, false);
}

void QtVilo::clearOnFirstVirtualPlot()
{
    m_clearOnFirstVirtualPlot = true;
}

void QtVilo::onVirtualPlotItemConnected(const QString &ItemParameters)
{
    // The monitor hands over one request at a time; finding no pacing permit means the two
    // sides went out of step (the hand-back tops it up again).
    if (!RemoteMemPacing.tryAcquire())
        qWarning("WARN : Real-time plot request while the previous one is still open.");
    if (m_clearOnFirstVirtualPlot) {
        m_model->removeAllRows();
        m_clearOnFirstVirtualPlot = false;
    }
    m_model->AppendRows(QStringList{ItemParameters}, true);
}
