// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QComboBox>

class QAction;
class QFileSystemModel;
class QTreeView;

// An editable folder box whose pop-up is a tree, so a folder can be picked anywhere below the
// file-system root rather than only among the top-level rows a plain combo box shows.
class TreeComboBox : public QComboBox
{
    Q_OBJECT
public:
    explicit TreeComboBox(QWidget *parent = nullptr);

    QTreeView *treeView() const { return m_treeView; }
    QAction *goAction() const { return m_goAction; }

    // The folders to list and complete from; size and type say nothing about a folder.
    void setFileSystemModel(QFileSystemModel *model);

    // Makes a row at any depth the current one; a plain combo box only reaches the root rows.
    void setCurrentModelIndex(const QModelIndex &index);

    void showPopup() override;
    void hidePopup() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    // Enter in the edit field: the typed text is the request.
    void pathEntered();

protected:
    void focusInEvent(QFocusEvent *event) override;

private:
    QTreeView *m_treeView;
    QAction *m_goAction;
    // A click on a branch sign opens or closes the branch; the pop-up stays up for it.
    bool m_keepPopup = false;
};
