// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QStyledItemDelegate>
#include <QWidget>

#include <functional>

class InstantPopupCmBx;
class QToolButton;
class TreeModel;

// File cell editor: the recently chosen firmware files, or browse for another.
class RecentFilesDelegateWidget : public QWidget
{
    Q_OBJECT
public:
    explicit RecentFilesDelegateWidget(QWidget *parent = nullptr);

    void setRecentPaths(const QStringList &paths);
    void setPath(const QString &path);
    QString path() const;
    InstantPopupCmBx *comboBox() const { return m_combo; }

public slots:
    void onBrowseBtnClicked();

signals:
    void editingDone(QWidget *editor);

private:
    InstantPopupCmBx *m_combo;
    QToolButton *m_browse;
};

class RecentFilesDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    explicit RecentFilesDelegate(TreeModel *model, QObject *parent = nullptr);

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model,
                      const QModelIndex &index) const override;

private:
    TreeModel *m_model;
};

// Macro cell editor: the predefined macros by label, or a command typed in.
class ArgMacroDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model,
                      const QModelIndex &index) const override;
    // The command a label or typed text in the editor stands for.
    static QString commandFor(const QString &text);
};

// Device cell editor: the devices of the last list command, with a refresh button.
class DeviceListDelegateWidget : public QWidget
{
    Q_OBJECT
public:
    explicit DeviceListDelegateWidget(QWidget *parent = nullptr);

    void setDevices(const QStringList &devices);
    void setDevice(const QString &device);
    QString device() const;
    InstantPopupCmBx *comboBox() const { return m_combo; }

signals:
    void RefreshRequested();
    void editingDone(QWidget *editor);

private:
    InstantPopupCmBx *m_combo;
};

class DeviceListDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    // devices gives the selector's entries when an editor opens.
    DeviceListDelegate(std::function<QStringList()> devices, QObject *parent = nullptr);

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model,
                      const QModelIndex &index) const override;

signals:
    void RefreshRequested();

private:
    std::function<QStringList()> m_devices;
};
