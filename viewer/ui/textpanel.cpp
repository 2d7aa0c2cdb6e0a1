#include "viewer/ui/textpanel.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
QToolButton *makeFilterButton(QToolBar *bar, const QString &icon, const QString &tip)
{
    auto *button = new QToolButton(bar);
    button->setIcon(QIcon(icon));
    button->setToolTip(tip);
    button->setCheckable(true);
    bar->addWidget(button);
    return button;
}
} // namespace

TextPanel::TextPanel(QWidget *parent)
    : QWidget(parent), m_toolBar(new QToolBar(this)), m_searchField(new QLineEdit(this)),
      m_counterLabel(new QLabel(QStringLiteral(" 0/0/0 "), this)),
      m_textView(new QPlainTextEdit(this))
{
    m_toolBar->setIconSize(QSize(16, 16));
    m_filterButtons[MatchFilter] =
        makeFilterButton(m_toolBar, QStringLiteral("://Images/filter.png"),
                         tr("Filter/Unfilter lines with matched search\nCTRL+S"));
    m_filterButtons[ErrorFilter] =
        makeFilterButton(m_toolBar, QStringLiteral("://Images/filter_error.png"),
                         tr("Filter/Unfilter lines containing errors\nCTRL+E"));
    m_filterButtons[WarningFilter] =
        makeFilterButton(m_toolBar, QStringLiteral("://Images/filter_warn.png"),
                         tr("Filter/Unfilter lines containing warnings\nCTRL+W"));
    m_toolBar->addSeparator();
    m_toolBar->addWidget(new QLabel(tr("Find:"), this));
    m_searchField->setToolTip(tr("Search text i editor\nCTRL+F"));
    QAction *clear = m_searchField->addAction(QIcon(QStringLiteral("://Images/clearedit.png")),
                                              QLineEdit::TrailingPosition);
    connect(clear, &QAction::triggered, m_searchField, &QLineEdit::clear);
    m_searchField->setMaximumWidth(220);
    m_toolBar->addWidget(m_searchField);
    m_toolBar->addWidget(m_counterLabel);
    m_toolBar->addAction(QIcon(QStringLiteral("://Images/previous.png")), tr("Previous"), this,
                         [this] { findMatch(true); });
    m_toolBar->addAction(QIcon(QStringLiteral("://Images/next.png")), tr("Next"), this,
                         [this] { findMatch(false); });

    m_textView->setReadOnly(true);
    m_textView->setLineWrapMode(QPlainTextEdit::NoWrap);
    QFont mono(QStringLiteral("Monospace"));
    mono.setStyleHint(QFont::TypeWriter);
    mono.setPointSize(9);
    m_textView->setFont(mono);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolBar);
    layout->addWidget(m_textView);

    connect(m_searchField, &QLineEdit::returnPressed, this, [this] { findMatch(false); });
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
    findMatch(false);
}

void TextPanel::on_Question_Pressed()
{
    findMatch(true);
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
