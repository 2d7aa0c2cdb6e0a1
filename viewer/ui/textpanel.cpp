// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/ui/textpanel.h"

#include "viewer/ui/editor.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QToolBar>
#include <QToolButton>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace {
QToolButton *makeFilterButton(QToolBar *bar, const QString &icon, const QString &tip,
                              QAction **action)
{
    auto *button = new QToolButton(bar);
    button->setIcon(QIcon(icon));
    button->setToolTip(tip);
    button->setCheckable(true);
    QAction *added = bar->addWidget(button);
    if (action)
        *action = added;
    return button;
}
} // namespace

TextPanel::TextPanel(QWidget *parent, int maxBlockCount)
    : QWidget(parent), m_toolBar(new QToolBar(this)), m_searchField(new QLineEdit(this)),
      m_counterLabel(new QLabel(QStringLiteral(" 0/0/0 "), this)),
      m_textView(new Editor(maxBlockCount, this))
{
    m_toolBar->setIconSize(QSize(16, 16));
    m_filterButtons[MatchFilter] =
        makeFilterButton(m_toolBar, QStringLiteral("://Images/filter.png"),
                         tr("Filter/Unfilter lines with matched search\nCTRL+S"),
                         &m_firstFilterAction);
    m_filterButtons[ErrorFilter] =
        makeFilterButton(m_toolBar, QStringLiteral("://Images/filter_error.png"),
                         tr("Filter/Unfilter lines containing errors\nCTRL+E"), nullptr);
    m_filterButtons[WarningFilter] =
        makeFilterButton(m_toolBar, QStringLiteral("://Images/filter_warn.png"),
                         tr("Filter/Unfilter lines containing warnings\nCTRL+W"), nullptr);
    m_findLabelAction = m_toolBar->addWidget(new QLabel(tr("Find:"), this));
    m_searchField->setToolTip(tr("Search text i editor\nCTRL+F"));
    QAction *clear = m_searchField->addAction(QIcon(QStringLiteral("://Images/clearedit.png")),
                                              QLineEdit::TrailingPosition);
    connect(clear, &QAction::triggered, m_searchField, &QLineEdit::clear);
    m_searchField->setMaximumWidth(220);
    m_toolBar->addWidget(m_searchField);
    m_toolBar->addWidget(m_counterLabel);
    m_nextAction = m_toolBar->addAction(QIcon(QStringLiteral("://Images/next.png")), tr("Next"),
                                        this, [this] { onNextBtnClicked(); });
    m_prevAction = m_toolBar->addAction(QIcon(QStringLiteral("://Images/previous.png")),
                                        tr("Previous"), this, [this] { onPrevBtnClicked(); });

    m_textView->setReadOnly(true);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolBar);
    m_bodyLayout = new QHBoxLayout;
    m_bodyLayout->setContentsMargins(0, 0, 0, 0);
    m_bodyLayout->setSpacing(0);
    m_bodyLayout->addWidget(m_textView);
    layout->addLayout(m_bodyLayout);

    connect(m_searchField, &QLineEdit::returnPressed, this, [this] { onSearchReturnPressed(); });
}

void TextPanel::onSearchReturnPressed()
{
    findMatch(false);
}

QPlainTextEdit *TextPanel::textView() const
{
    return m_textView;
}

void TextPanel::onNextBtnClicked()
{
    findMatch(false);
}

void TextPanel::onPrevBtnClicked()
{
    findMatch(true);
}

QToolButton *TextPanel::toggleButton(int index) const
{
    return index >= 0 && index < 3 ? m_filterButtons[index] : nullptr;
}

void TextPanel::enableShortcuts(bool enable)
{
    m_shortcutsEnabled = enable;
}

void TextPanel::on_Slash_Pressed()
{
    onNextBtnClicked();
}

void TextPanel::on_Question_Pressed()
{
    onPrevBtnClicked();
}

void TextPanel::on_J_Pressed(int extra)
{
    QScrollBar *bar = m_textView->verticalScrollBar();
    bar->setValue(bar->value() + 1 + extra);
}

void TextPanel::on_K_Pressed(int extra)
{
    QScrollBar *bar = m_textView->verticalScrollBar();
    bar->setValue(bar->value() - 1 - extra);
}

void TextPanel::findMatch(bool backwards)
{
    const QString text = m_searchField->text();
    if (text.isEmpty())
        return;
    const QTextDocument::FindFlags flags = backwards ? QTextDocument::FindBackward
                                                     : QTextDocument::FindFlags();
    if (m_textView->find(text, flags))
        return;
    // Wrap around to the other end of the loaded text.
    QTextCursor cursor = m_textView->textCursor();
    cursor.movePosition(backwards ? QTextCursor::End : QTextCursor::Start);
    m_textView->setTextCursor(cursor);
    m_textView->find(text, flags);
}
