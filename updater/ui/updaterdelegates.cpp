// SPDX-License-Identifier: LGPL-3.0-or-later
#include "updater/ui/updaterdelegates.h"

#include "updater/core/updatercommands.h"
#include "updater/core/updatermacros.h"
#include "updater/ui/instantpopupcmbx.h"
#include "updater/ui/treemodel.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QToolButton>

namespace {

QHBoxLayout *editorLayout(QWidget *owner)
{
    auto *layout = new QHBoxLayout(owner);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(1);
    return layout;
}

QToolButton *iconButton(QWidget *parent, const QString &icon, const QString &tip)
{
    auto *button = new QToolButton(parent);
    button->setIcon(QIcon(icon));
    button->setToolTip(tip);
    button->setAutoRaise(true);
    return button;
}

// A choice in the list ends the edit at once; typing ends with Return.
template <typename Widget> void commitOnChoice(Widget *widget, InstantPopupCmBx *combo)
{
    QObject::connect(combo, QOverload<int>::of(&QComboBox::activated), widget,
                     [widget] { emit widget->editingDone(widget); });
    if (QLineEdit *edit = combo->lineEdit())
        QObject::connect(edit, &QLineEdit::returnPressed, widget,
                         [widget] { emit widget->editingDone(widget); });
}

void commitAndClose(QStyledItemDelegate *delegate, QWidget *editor)
{
    emit delegate->commitData(editor);
    emit delegate->closeEditor(editor);
}

} // namespace

RecentFilesDelegateWidget::RecentFilesDelegateWidget(QWidget *parent)
    : QWidget(parent), m_combo(new InstantPopupCmBx(this)),
      m_browse(iconButton(this, QStringLiteral("://Images/folder.png"), tr("Open Firmware File")))
{
    m_combo->setEditable(true);
    m_combo->setInsertPolicy(QComboBox::NoInsert);
    m_combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    auto *layout = editorLayout(this);
    layout->addWidget(m_combo, 1);
    layout->addWidget(m_browse);
    setFocusProxy(m_combo);
    connect(m_browse, &QToolButton::clicked, this, &RecentFilesDelegateWidget::onBrowseBtnClicked);
    commitOnChoice(this, m_combo);
}

void RecentFilesDelegateWidget::setRecentPaths(const QStringList &paths)
{
    m_combo->clear();
    m_combo->addItems(paths);
}

void RecentFilesDelegateWidget::setPath(const QString &path)
{
    m_combo->setEditText(path);
}

QString RecentFilesDelegateWidget::path() const
{
    return m_combo->currentText().trimmed();
}

void RecentFilesDelegateWidget::onBrowseBtnClicked()
{
    const QString path =
        QFileDialog::getOpenFileName(this, tr("Open Firmware File"), QStringLiteral("./"),
                                     tr("VRX Firmware (*.mcs *.mmcs *.zip)"));
    if (path.isEmpty())
        return;
    setPath(path);
    emit editingDone(this);
}

RecentFilesDelegate::RecentFilesDelegate(TreeModel *model, QObject *parent)
    : QStyledItemDelegate(parent), m_model(model)
{
}

QWidget *RecentFilesDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &,
                                           const QModelIndex &) const
{
    auto *editor = new RecentFilesDelegateWidget(parent);
    editor->setRecentPaths(m_model->recentFirmwarePaths());
    connect(editor, &RecentFilesDelegateWidget::editingDone, this, [this](QWidget *widget) {
        commitAndClose(const_cast<RecentFilesDelegate *>(this), widget);
    });
    return editor;
}

void RecentFilesDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    static_cast<RecentFilesDelegateWidget *>(editor)->setPath(index.data(Qt::EditRole).toString());
}

void RecentFilesDelegate::setModelData(QWidget *editor, QAbstractItemModel *model,
                                       const QModelIndex &index) const
{
    const QString path = static_cast<RecentFilesDelegateWidget *>(editor)->path();
    if (!path.isEmpty())
        model->setData(index, path, Qt::EditRole);
}

QWidget *ArgMacroDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &,
                                        const QModelIndex &) const
{
    auto *combo = new InstantPopupCmBx(parent);
    combo->setEditable(true);
    combo->setInsertPolicy(QComboBox::NoInsert);
    combo->lineEdit()->setPlaceholderText(tr("Choose Macro"));
    for (const UpdaterMacro &macro : UpdaterMacros::builtIn()) {
        if (macro.command.isEmpty())
            combo->addItem(tr("Custom Cmd"), QString());
        else
            combo->addItem(macro.label, macro.command);
        combo->setItemData(combo->count() - 1, macro.command, Qt::ToolTipRole);
    }
    connect(combo, QOverload<int>::of(&QComboBox::activated), this, [this, combo](int row) {
        if (combo->itemData(row).toString().isEmpty()) {
            // The custom entry: an empty line to type the command into.
            combo->setEditText(QString());
            combo->lineEdit()->setPlaceholderText(tr("Enter custom cmd..."));
            combo->lineEdit()->setFocus();
            return;
        }
        commitAndClose(const_cast<ArgMacroDelegate *>(this), combo);
    });
    connect(combo->lineEdit(), &QLineEdit::returnPressed, this,
            [this, combo] { commitAndClose(const_cast<ArgMacroDelegate *>(this), combo); });
    return combo;
}

void ArgMacroDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    auto *combo = static_cast<QComboBox *>(editor);
    const QString command = index.data(Qt::EditRole).toString();
    const int row = command.isEmpty() ? -1 : combo->findData(command);
    if (row >= 0)
        combo->setCurrentIndex(row);
    else
        combo->setEditText(command);
}

void ArgMacroDelegate::setModelData(QWidget *editor, QAbstractItemModel *model,
                                    const QModelIndex &index) const
{
    model->setData(index, commandFor(static_cast<QComboBox *>(editor)->currentText()),
                   Qt::EditRole);
}

QString ArgMacroDelegate::commandFor(const QString &text)
{
    const QString trimmed = text.trimmed();
    for (const UpdaterMacro &macro : UpdaterMacros::builtIn()) {
        if (!macro.command.isEmpty() && macro.label == trimmed)
            return macro.command;
    }
    return trimmed;
}

DeviceListDelegateWidget::DeviceListDelegateWidget(QWidget *parent)
    : QWidget(parent), m_combo(new InstantPopupCmBx(this))
{
    auto *refresh =
        iconButton(this, QStringLiteral(":/Images/refresh_blue.png"), tr("Refresh Device List"));
    auto *layout = editorLayout(this);
    layout->addWidget(m_combo, 1);
    layout->addWidget(refresh);
    setFocusProxy(m_combo);
    connect(refresh, &QToolButton::clicked, this, &DeviceListDelegateWidget::RefreshRequested);
    commitOnChoice(this, m_combo);
}

void DeviceListDelegateWidget::setDevices(const QStringList &devices)
{
    m_combo->clear();
    if (devices.isEmpty()) {
        m_combo->addItem(tr("Please Refresh"));
        return;
    }
    m_combo->addItem(QStringLiteral(" - ")); // no device: the panel's selection applies
    m_combo->addItems(devices);
}

void DeviceListDelegateWidget::setDevice(const QString &device)
{
    const int row = m_combo->findText(device);
    m_combo->setCurrentIndex(row >= 0 ? row : 0);
}

QString DeviceListDelegateWidget::device() const
{
    const QString text = m_combo->currentText();
    return UpdaterCommands::deviceNumber(text) >= 0 ? text : QString();
}

DeviceListDelegate::DeviceListDelegate(std::function<QStringList()> devices, QObject *parent)
    : QStyledItemDelegate(parent), m_devices(std::move(devices))
{
}

QWidget *DeviceListDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &,
                                          const QModelIndex &) const
{
    auto *editor = new DeviceListDelegateWidget(parent);
    editor->setDevices(m_devices());
    connect(editor, &DeviceListDelegateWidget::RefreshRequested, this,
            &DeviceListDelegate::RefreshRequested);
    connect(editor, &DeviceListDelegateWidget::editingDone, this, [this](QWidget *widget) {
        commitAndClose(const_cast<DeviceListDelegate *>(this), widget);
    });
    return editor;
}

void DeviceListDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    static_cast<DeviceListDelegateWidget *>(editor)->setDevice(index.data(Qt::EditRole).toString());
}

void DeviceListDelegate::setModelData(QWidget *editor, QAbstractItemModel *model,
                                      const QModelIndex &index) const
{
    model->setData(index, static_cast<DeviceListDelegateWidget *>(editor)->device(), Qt::EditRole);
}
