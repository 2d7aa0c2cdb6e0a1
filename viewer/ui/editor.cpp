// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/ui/editor.h"

#include "viewer/ui/loghighlighter.h"

#include <QAction>
#include <QActionGroup>
#include <QFontDatabase>
#include <QMenu>
#include <QPainter>
#include <QPaintEvent>
#include <QTextBlock>

namespace {

// Strip left of the viewport; the editor does the painting so it can walk its own blocks.
class LineNumberArea : public QWidget
{
public:
    explicit LineNumberArea(Editor *editor) : QWidget(editor), m_editor(editor) {}

    QSize sizeHint() const override { return QSize(m_editor->lineNumberAreaWidth(), 0); }

protected:
    void paintEvent(QPaintEvent *event) override { m_editor->lineNumberAreaPaintEvent(event); }

private:
    Editor *m_editor;
};

int decimalDigits(qint64 value)
{
    int digits = 1;
    for (; value >= 10; value /= 10)
        ++digits;
    return digits;
}

// Left and right padding of the numbers; together the 13 pixels of the area's width.
constexpr int LeftPadding = 8;
constexpr int RightPadding = 5;

} // namespace

Editor::Editor(int maxBlockCount, QWidget *parent)
    : QPlainTextEdit(parent), m_lineNumberArea(new LineNumberArea(this)),
      m_lineNumberMenu(new QMenu(tr("Line numbers"), this)),
      m_highlighter(new LogHighlighter(document()))
{
    setMaximumBlockCount(maxBlockCount);
    // Log lines keep their columns; wrapping would also break the one-line-per-number rule.
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));

    auto *group = new QActionGroup(m_lineNumberMenu);
    group->setExclusive(true);
    const auto addModeAction = [this, group](const QString &text, LineNumberMode mode) {
        QAction *action = m_lineNumberMenu->addAction(text);
        action->setCheckable(true);
        action->setChecked(mode == m_lineNumberMode);
        action->setData(int(mode));
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, mode] { setLineNumberMode(mode); });
    };
    addModeAction(tr("File line numbers"), FileLineNumbers);
    addModeAction(tr("Editor line numbers"), EditorLineNumbers);

    // During a flood the block count changes on every flush; the margins only move when
    // the number of digits does.
    connect(this, &QPlainTextEdit::blockCountChanged, this, [this](int count) {
        Q_UNUSED(count)
        if (decimalDigits(largestNumber()) != m_lastDigits)
            updateLineNumberAreaWidth();
    });
    connect(this, &QPlainTextEdit::updateRequest, this,
            [this](const QRect &rect, int dy) { updateLineNumberArea(rect, dy); });
    updateLineNumberAreaWidth();
}

int Editor::lineNumberAreaWidth() const
{
    if (!m_lineNumbersVisible)
        return 0;
    return decimalDigits(largestNumber()) * fontMetrics().horizontalAdvance(QLatin1Char('9')) +
           LeftPadding + RightPadding;
}

qint64 Editor::largestNumber() const
{
    return m_lineNumberMode == FileLineNumbers ? m_firstLineNumber + blockCount() : blockCount();
}

qint64 Editor::shownNumber(const QTextBlock &block) const
{
    const qint64 number = block.blockNumber() + 1;
    return m_lineNumberMode == FileLineNumbers ? m_firstLineNumber + number : number;
}

void Editor::lineNumberAreaPaintEvent(QPaintEvent *event)
{
    QPainter painter(m_lineNumberArea);
    painter.fillRect(event->rect(), QColor(240, 240, 240));
    painter.setPen(QColor(128, 128, 128));

    const int textWidth = m_lineNumberArea->width() - RightPadding;
    const int lineHeight = fontMetrics().height();
    QTextBlock block = firstVisibleBlock();
    int top = qRound(blockBoundingGeometry(block).translated(contentOffset()).top());
    while (block.isValid() && top <= event->rect().bottom()) {
        // Blocks hidden by the filters have no height and get no number.
        const int height = qRound(blockBoundingRect(block).height());
        if (block.isVisible() && top + height >= event->rect().top()) {
            painter.drawText(0, top, textWidth, lineHeight, Qt::AlignRight,
                             QString::number(shownNumber(block)));
        }
        top += height;
        block = block.next();
    }
}

void Editor::setFirstLineNumber(qint64 line)
{
    m_firstLineNumber = line;
    if (decimalDigits(largestNumber()) != m_lastDigits)
        updateLineNumberAreaWidth();
    m_lineNumberArea->update();
}

void Editor::setMatchBuffers(TripleMatchBuffers *match, TripleMatchBuffers *critical)
{
    m_matchBuffers = match;
    m_criticalBuffers = critical;
}

void Editor::setLineNumbersVisible(bool visible)
{
    m_lineNumbersVisible = visible;
    m_lineNumberArea->setVisible(visible);
    updateLineNumberAreaWidth();
}

void Editor::setLineNumberMode(Editor::LineNumberMode mode)
{
    // The checks follow the mode also when the panel sets it directly.
    for (QAction *action : m_lineNumberMenu->actions())
        action->setChecked(action->data().toInt() == int(mode));
    if (mode == m_lineNumberMode)
        return;
    m_lineNumberMode = mode;
    updateLineNumberAreaWidth();
    m_lineNumberArea->update();
    emit lineNumberModeChanged(mode);
}

void Editor::resizeEvent(QResizeEvent *event)
{
    QPlainTextEdit::resizeEvent(event);
    const QRect cr = contentsRect();
    m_lineNumberArea->setGeometry(QRect(cr.left(), cr.top(), lineNumberAreaWidth(), cr.height()));
}

void Editor::updateLineNumberAreaWidth()
{
    m_lastDigits = decimalDigits(largestNumber());
    const int width = lineNumberAreaWidth();
    if (viewportMargins().left() != width)
        setViewportMargins(width, 0, 0, 0);
    // Margins alone do not resize the editor, so the strip follows here.
    const QRect cr = contentsRect();
    m_lineNumberArea->setGeometry(QRect(cr.left(), cr.top(), width, cr.height()));
}

void Editor::updateLineNumberArea(const QRect &rect, int dy)
{
    if (dy)
        m_lineNumberArea->scroll(0, dy);
    else
        m_lineNumberArea->update(0, rect.y(), m_lineNumberArea->width(), rect.height());
    // A full-viewport update also follows font changes, which move the digit width.
    if (rect.contains(viewport()->rect()))
        updateLineNumberAreaWidth();
}
