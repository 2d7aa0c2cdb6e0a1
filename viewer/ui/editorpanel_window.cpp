// SPDX-License-Identifier: LGPL-3.0-or-later
// The editor's window onto the file: which lines are loaded, how they are shown (long lines
// cut) and how the filters' byte positions map onto the shown text.
#include "viewer/ui/editorpanel.h"

#include "viewer/core/filereaderwriter.h"
#include "viewer/core/mappedfile.h"
#include "viewer/core/viewerengine.h"
#include "viewer/ui/editor.h"
#include "viewer/ui/qxtspanslider.h"

#include <QLabel>
#include <QReadLocker>
#include <QScrollBar>
#include <QTextBlock>
#include <QToolButton>
#include <QTextCodec>
#include <QTextStream>
#include <QTimer>

#include <cstring>
#include <memory>

void EditorPanel::loadRange(int lower, int upper)
{
    if (m_filePath.isEmpty())
        return;
    const FileIndex &index = m_engine->index();
    // The indexer holds the line lock only while it appends a batch; should it be held
    // longer, the range is loaded on a later turn instead of stalling the window.
    if (!index.lineLock.tryLockForRead(LockWaitMs)) {
        m_reloadTimer->start();
        return;
    }
    MappedFile file;
    if (!file.open(m_filePath)) {
        index.lineLock.unlock();
        if (m_indexError.isEmpty()) // else the indexer has said why already
            m_statusLabel->setText(
                tr("Cannot read \"%1\": %2").arg(m_filePath, file.errorString()));
        m_textView->clear();
        m_window = LineWindow::Window();
        return;
    }
    const qint64 size = file.size();
    const int blocks = m_textView->maximumBlockCount();
    QVector<LineWindow::Line> lines;
    {
        const QVector<qint32> &ends = index.lineEnds;
        const qint64 known = ends.size();
        const qint64 last = qint64(lower) + qMin(blocks, qMax(0, upper - lower));
        m_loadedToEnd = last >= known;
        const qint64 lastIndexed = qMin(last, known - 1);
        const qint64 first = lower == 0 ? 0 : lower < known ? ends[lower] + 1 : size;
        const qint32 crlfAtStart = index.crlfAt(qMin<qint64>(lower, known - 1));
        for (qint64 n = qint64(lower) + 1; n <= lastIndexed; ++n) {
            LineWindow::Line line;
            line.start = n == 1 ? 0 : ends[int(n) - 1] + 1;
            const qint32 pairsBefore = index.crlfAt(n - 1);
            const bool pair = index.crlfAt(n) != pairsBefore;
            line.end = qint64(ends[int(n)]) - (pair ? 1 : 0);
            line.bytePos = line.start - first - (pairsBefore - crlfAtStart);
            lines << line;
        }
        // The unterminated last line; while indexing goes on, what lies past the index is
        // left for the next progress step.
        // Past a file that could not be indexed to its end nothing is read: for one over the
        // size limit that would be the whole file.
        if (m_loadedToEnd && !m_indexing && m_indexError.isEmpty() && lower < known) {
            LineWindow::Line line;
            line.start = known == 1 ? 0 : ends.last() + 1;
            line.end = size;
            line.bytePos = line.start - first - (index.crlfCounts.last() - crlfAtStart);
            lines << line;
        }
    }
    index.lineLock.unlock();
    for (LineWindow::Line &line : lines) {
        line.start = qBound<qint64>(0, line.start, size);
        line.end = qBound<qint64>(line.start, line.end, size);
    }
    LineWindow::Window window;
    const qint64 from = lines.isEmpty() ? 0 : lines.first().start;
    const qint64 to = lines.isEmpty() ? 0 : lines.last().end;
    const unsigned char *p = to > from ? file.map(from, to - from) : nullptr;
    if (to > from && !p) {
        m_statusLabel->setText(file.errorString());
        lines.clear();
    }
    if (!MappedGuard::run([&] { window = LineWindow::build(p, from, lines); }))
        window = LineWindow::Window(); // the file shrank under the mapping
    m_window = window;
    m_loadedLower = lower;
    m_loadedUpper = upper;
    m_restoringScroll = true;
    m_textView->setFirstLineNumber(lower);
    m_textView->setPlainText(m_window.text);
    m_textView->setLineFilter(getFilterPattern());
    QScrollBar *bar = m_textView->verticalScrollBar();
    bar->setValue(qRound(m_scrollRatio * bar->maximum()));
    m_restoringScroll = false;
    findInLoadedText();
}

void EditorPanel::writeWindow(QTextStream &out) const
{
    MappedFile file;
    const bool readable = file.open(m_filePath);
    for (int block = 0; block < m_window.lines.size(); ++block) {
        if (block > 0)
            out << '\n';
        const LineWindow::Line &line = m_window.lines[block];
        if (!line.cut() || !readable || file.size() < line.end) {
            out << m_textView->document()->findBlockByNumber(block).text();
            continue;
        }
        // A line shown cut is written whole, a piece at a time: it may be of any length.
        QTextCodec *codec = QTextCodec::codecForName(line.latin1 ? "ISO-8859-1" : "UTF-8");
        std::unique_ptr<QTextDecoder> decoder(codec->makeDecoder());
        constexpr qint64 Piece = qint64(4) << 20;
        for (qint64 at = line.start; at < line.end; at += Piece) {
            const qint64 n = qMin(Piece, line.end - at);
            const unsigned char *p = file.map(at, n);
            QByteArray bytes(int(n), Qt::Uninitialized);
            if (!p || !MappedGuard::run([&] { std::memcpy(bytes.data(), p, size_t(n)); }))
                break;
            bytes.replace('\0', ' ');
            out << decoder->toUnicode(bytes);
        }
    }
}

QVector<qint32> EditorPanel::toDocumentPositions(const QVector<qint32> &positions, bool matches)
{
    if (m_mode == Live || m_window.lines.isEmpty())
        return positions; // a live panel's text is the file's, character for character
    QVector<qint32> out;
    out.reserve(positions.size());
    MappedFile file;
    for (const qint32 at : positions) {
        const int pos = LineWindow::documentPosition(m_window, at);
        if (pos < 0)
            continue;
        out << pos;
        QTextBlock block = m_textView->document()->findBlock(pos);
        const int number = block.blockNumber();
        if (block.isVisible() || number >= m_window.lines.size() || !m_window.lines[number].cut())
            continue;
        // The line filter only saw the shown part of a cut line; what the filter found in the
        // rest decides. Its kind is read from the file: six bytes, whatever the line's length.
        const LineWindow::Line &line = m_window.lines[number];
        bool shown = matches && m_filterButtons[MatchFilter]->isChecked();
        const qint64 offset = line.start + (at - line.bytePos);
        if (!matches && (file.isOpen() || file.open(m_filePath)) && offset + 6 <= file.size()) {
            const unsigned char *p = file.map(offset, 6);
            char marker[6] = {};
            if (p && MappedGuard::run([&] { std::memcpy(marker, p, 6); })) {
                const QByteArray kind(marker, 6);
                shown = (kind == "ERROR:" && m_filterButtons[ErrorFilter]->isChecked()) ||
                        (kind == "WARN :" && m_filterButtons[WarningFilter]->isChecked());
            }
        }
        if (shown) {
            block.setVisible(true);
            m_textView->document()->markContentsDirty(block.position(), block.length());
        }
    }
    return out;
}
