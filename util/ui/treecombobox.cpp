// SPDX-License-Identifier: LGPL-3.0-or-later
#include "util/ui/treecombobox.h"

#include <QAction>
#include <QCompleter>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScreen>
#include <QScrollBar>
#include <QTimer>
#include <QTreeView>

TreeComboBox::TreeComboBox(QWidget *parent)
    : QComboBox(parent), m_treeView(new QTreeView(this)), m_goAction(nullptr)
{
    setEditable(true);
    // The folders come from the file system; typed text must never become a row.
    setInsertPolicy(QComboBox::NoInsert);
    m_treeView->setUniformRowHeights(true);
    m_treeView->setAlternatingRowColors(true);
    m_treeView->header()->hide();
    // Columns keep the widths of their contents so the pop-up can be sized to them.
    m_treeView->header()->setStretchLastSection(false);
    setView(m_treeView);
    m_treeView->viewport()->installEventFilter(this);

    m_goAction = lineEdit()->addAction(QIcon(QStringLiteral("://Images/go.png")),
                                       QLineEdit::TrailingPosition);
    connect(lineEdit(), &QLineEdit::returnPressed, this, &TreeComboBox::pathEntered);
}

void TreeComboBox::setFileSystemModel(QFileSystemModel *model)
{
    setModel(model);
    m_treeView->hideColumn(1);
    m_treeView->hideColumn(2);
    auto *completer = new QCompleter(model, this);
    completer->setCompletionMode(QCompleter::PopupCompletion);
    // On the line edit, not through QComboBox::setCompleter: the combo box would take a chosen
    // completion as a row number under its root, which means nothing in a tree.
    lineEdit()->setCompleter(completer);
}

void TreeComboBox::setCurrentModelIndex(const QModelIndex &index)
{
    if (!index.isValid())
        return;
    // QComboBox selects by row under its root index: point the root at the parent for a moment.
    const QModelIndex root = rootModelIndex();
    setRootModelIndex(index.parent());
    setCurrentIndex(index.row());
    setRootModelIndex(root);
    m_treeView->setCurrentIndex(index);
}

void TreeComboBox::showPopup()
{
    m_keepPopup = false;
    // The base class first: it opens the branches down to the current folder.
    QComboBox::showPopup();
    int wanted = m_treeView->verticalScrollBar()->sizeHint().width() + 2 * m_treeView->frameWidth();
    for (int column = 0; column < m_treeView->model()->columnCount(); ++column) {
        if (m_treeView->isColumnHidden(column))
            continue;
        m_treeView->resizeColumnToContents(column);
        wanted += m_treeView->columnWidth(column);
    }
    // The view sits in a container of the combo box's own; that is what has to grow.
    QWidget *popup = m_treeView->window();
    if (popup == window())
        return;
    wanted += popup->width() - m_treeView->width();
    // The base class counts the rows under the root (one: "/"), not the opened branches.
    int rows = 0;
    for (QModelIndex row = m_treeView->model()->index(0, 0, m_treeView->rootIndex());
         row.isValid() && rows < maxVisibleItems(); row = m_treeView->indexBelow(row))
        ++rows;
    const int rowHeight = qMax(1, m_treeView->sizeHintForRow(0));
    const int wantedHeight =
        rows * rowHeight + 2 * m_treeView->frameWidth() + popup->height() - m_treeView->height();
    QRect geometry = popup->geometry();
    geometry.setWidth(qMax(geometry.width(), wanted));
    geometry.setHeight(qMax(geometry.height(), wantedHeight));
    // Still on the screen: a pop-up that grew past its bottom opens above the combo box.
    if (const QScreen *screen = this->screen()) {
        const QRect available = screen->availableGeometry();
        if (geometry.bottom() > available.bottom()) {
            const int above = mapToGlobal(QPoint(0, 0)).y() - geometry.height();
            geometry.moveTop(qMax(available.top(), above));
        }
        geometry.setHeight(qMin(geometry.height(), available.height()));
    }
    popup->setGeometry(geometry);
}

void TreeComboBox::hidePopup()
{
    if (m_keepPopup) {
        m_keepPopup = false;
        return;
    }
    QComboBox::hidePopup();
}

bool TreeComboBox::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_treeView->viewport() && event->type() == QEvent::MouseButtonPress) {
        const QPoint pos = static_cast<QMouseEvent *>(event)->pos();
        const QModelIndex index = m_treeView->indexAt(pos);
        m_keepPopup = index.isValid() && !m_treeView->visualRect(index).contains(pos);
    }
    return QComboBox::eventFilter(watched, event);
}

void TreeComboBox::focusInEvent(QFocusEvent *event)
{
    QComboBox::focusInEvent(event);
    // After the event: a mouse press that gave the focus would place the cursor again.
    QTimer::singleShot(0, lineEdit(), &QLineEdit::selectAll);
}
