#include "viewer/ui/editor.h"

#include "viewer/ui/loghighlighter.h"

#include <QMenu>

Editor::Editor(int maxBlockCount, QWidget *parent)
    : QPlainTextEdit(parent), m_lineNumberArea(new QWidget(this)), m_lineNumberMenu(new QMenu(this)),
      m_highlighter(new LogHighlighter(document()))
{
    setMaximumBlockCount(maxBlockCount);
}

int Editor::lineNumberAreaWidth() const
{
    return 0;
}

void Editor::lineNumberAreaPaintEvent(QPaintEvent *) {}

void Editor::setFirstLineNumber(qint64 line)
{
    m_firstLineNumber = line;
}

void Editor::setMatchBuffers(TripleMatchBuffers *match, TripleMatchBuffers *critical)
{
    m_matchBuffers = match;
    m_criticalBuffers = critical;
}

void Editor::setLineNumbersVisible(bool visible)
{
    m_lineNumbersVisible = visible;
}

void Editor::setLineNumberMode(Editor::LineNumberMode mode)
{
    m_lineNumberMode = mode;
}

void Editor::resizeEvent(QResizeEvent *event)
{
    QPlainTextEdit::resizeEvent(event);
}

void Editor::updateLineNumberAreaWidth() {}

void Editor::updateLineNumberArea(const QRect &, int) {}
