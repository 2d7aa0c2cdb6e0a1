// SPDX-License-Identifier: LGPL-3.0-or-later
// The live side of the editor: the monitor server it owns and the coalesced appending of
// texts to the view and to the log file.
#include "viewer/ui/editor.h"

#include "monitor/core/outputbacklog.h"
#include "monitor/core/vrxmonhost.h"
#include "util/core/eightbittext.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QScrollBar>
#include <QTimer>
#include <QTextBlock>
#include <QThread>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

Editor::~Editor()
{
    // The server thread must be gone before the view it writes to.
    delete m_host;
}

namespace {

// The live path hands texts of a megabyte and more from thread to thread. glibc raises its
// mmap threshold to the largest such block freed, after which they come from per-thread heaps
// that give memory back only from their top: under a flood the window kept some 200 MB it
// no longer used. A fixed threshold keeps big blocks mapped, so freeing one returns it.
void keepLargeBlocksMapped()
{
#if defined(__GLIBC__)
    static const bool done = mallopt(M_MMAP_THRESHOLD, 1 << 20) != 0;
    Q_UNUSED(done)
#endif
}

} // namespace

VrxMonHost *Editor::vrxMonHost()
{
    if (!m_host) {
        keepLargeBlocksMapped();
        m_host = new VrxMonHost(this);
        m_host->setOutputBacklog(m_outputBacklog);
        m_host->setCoalescing(true);
        // The host has counted its texts already.
        connect(m_host, &VrxMonHost::MessageAvailable, this, &Editor::takeText);
    }
    return m_host;
}

QThread *Editor::serverThread() const
{
    return m_host ? m_host->serverThread() : nullptr;
}

void Editor::startVrxMon(quint32 type, const QString &pipeName, quint32 port, quint32 traceLevel,
                         quint32 useTimestamp, quint32 devMask)
{
    vrxMonHost()->start(type, pipeName, port, traceLevel, useTimestamp, devMask);
}

bool Editor::stopVrxMon()
{
    return m_host && m_host->stop();
}

namespace {

// The bytes a character takes in the file, or a little more: the exact count would need the
// encoding pass that the writer does anyway (three bytes at most, four for a pair).
inline qint64 fileBytesBound(QChar ch)
{
    return ch.unicode() < 0x80 ? 1 : 3;
}

// Index just past the keep-th line break counted from the end, or -1 when the text holds
// fewer: what is left from there forms the newest keep blocks.
int tailStart(const QString &text, int keep)
{
    if (keep <= 0 || text.size() < keep)
        return -1;
    int breaks = 0;
    for (int i = text.size() - 1; i >= 0; --i) {
        if (text.at(i) == QLatin1Char('\n') && ++breaks == keep)
            return i + 1;
    }
    return -1;
}

} // namespace

void Editor::setLogFilePath(const QString &path)
{
    m_logFilePath = path;
    m_logFileBytes = path.isEmpty() ? 0 : QFileInfo(path).size();
    if (m_tailScrolling)
        return;
    m_tailScrolling = true;
    // The range grows with every slice and whenever the view is resized or shown again;
    // a view that sticks to the end follows all of these.
    QScrollBar *bar = verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this, [this, bar](int value) {
        if (!m_scrollingToBottom)
            m_stickToBottom = value >= bar->maximum();
    });
    connect(bar, &QScrollBar::rangeChanged, this, [this, bar](int, int maximum) {
        if (!m_stickToBottom || bar->value() == maximum)
            return;
        const bool outer = m_scrollingToBottom;
        m_scrollingToBottom = true;
        bar->setValue(maximum);
        m_scrollingToBottom = outer;
    });
}

void Editor::shutdownServer()
{
    delete m_host;
    m_host = nullptr;
    // Texts the server posted before it ended are still in the queue.
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
}

QString Editor::takePending()
{
    QString text;
    text.swap(m_pending);
    return text;
}

void Editor::setFollowing(bool follow)
{
    if (follow == m_following)
        return;
    m_following = follow;
    if (!follow) {
        // Everything arriving from now on is kept here, so resuming shows exactly the
        // newest lines, whatever range the view showed meanwhile.
        m_tail = toPlainText() + m_backlog;
        m_backlog.clear();
        return;
    }
    flushPending();
    const int cut = tailStart(m_tail, maximumBlockCount());
    setPlainText(cut >= 0 ? m_tail.mid(cut) : m_tail);
    clearShown();
    m_backlog = cut >= 0 ? m_tail.mid(cut) : m_tail;
    m_tail.clear();
    m_tail.squeeze();
    showSlices();
}

void Editor::clearShown()
{
    clear();
    m_backlog.clear();
}

void Editor::setLineFilter(const QString &pattern)
{
    m_lineFilter = QRegularExpression(pattern, QRegularExpression::CaseInsensitiveOption);
    // A search text that is no valid expression still filters by its plain text.
    if (!pattern.isEmpty() && !m_lineFilter.isValid())
        m_lineFilter = QRegularExpression(QRegularExpression::escape(pattern),
                                          QRegularExpression::CaseInsensitiveOption);
    applyLineFilter(0);
}

void Editor::applyLineFilter(int fromBlock)
{
    const bool all = m_lineFilter.pattern().isEmpty();
    if (all && fromBlock > 0)
        return; // appended blocks are visible already
    QTextDocument *doc = document();
    for (QTextBlock block = doc->findBlockByNumber(fromBlock); block.isValid();
         block = block.next())
        block.setVisible(all || m_lineFilter.match(block.text()).hasMatch());
    const int from = doc->findBlockByNumber(fromBlock).position();
    doc->markContentsDirty(from, doc->characterCount() - from);
    viewport()->update();
}

void Editor::appendNoNewline(const QString &text)
{
    m_outputBacklog->add(text.size());
    takeText(text);
}

void Editor::takeText(const QString &text)
{
    // A busy server posts thousands of texts per turn of the event loop; showing each alone
    // would keep the view relaying out and starve the event loop. One flush per turn keeps
    // the order and the bytes and costs one layout.
    m_pending += text;
    if (!m_flushQueued) {
        m_flushQueued = true;
        QMetaObject::invokeMethod(this, &Editor::flushPending, Qt::QueuedConnection);
    }
}

void Editor::flushPending()
{
    m_flushQueued = false;
    if (m_pending.isEmpty())
        return;
    QString text;
    text.swap(m_pending);
    if (!m_logFilePath.isEmpty())
        writeToLogFile(text);
    else
        m_outputBacklog->written(text.size());
    // Bytes that are no UTF-8 reach the file as they came and are shown as Latin-1.
    text = eightBitForDisplay(text);
    if (m_following) {
        showAtEnd(text);
        return;
    }
    m_tail += text;
    // Keep the paused tail bounded: trim once it holds twice the lines the view can show.
    const int cut = tailStart(m_tail, 2 * maximumBlockCount());
    if (cut >= 0)
        m_tail.remove(0, tailStart(m_tail, maximumBlockCount()));
}

void Editor::writeToLogFile(const QString &text)
{
    int from = 0;
    while (from < text.size()) {
        // The whole lines from `from` on that still fit in the file.
        const qint64 room = m_logFileLimit - m_logFileBytes;
        qint64 bytes = 0, bytesAtBreak = 0;
        int end = from, afterBreak = -1;
        for (; end < text.size(); ++end) {
            const qint64 b = fileBytesBound(text.at(end));
            if (bytes + b > room)
                break;
            bytes += b;
            if (text.at(end) == QLatin1Char('\n')) {
                afterBreak = end + 1;
                bytesAtBreak = bytes;
            }
        }
        if (end < text.size()) {
            if (afterBreak > 0) {
                end = afterBreak;
                bytes = bytesAtBreak;
            } else if (m_logFileBytes > 0) {
                if (!startNextLogFile())
                    break;
                continue; // not one whole line fits: it starts the next file
            } else if (end == from) {
                // A single character larger than an empty file's limit: written all the same.
                bytes = fileBytesBound(text.at(end++));
            }
        }
        emit newTextAvailable(m_logFilePath,
                              from == 0 && end == text.size() ? text : text.mid(from, end - from));
        m_logFileBytes += bytes;
        from = end;
        if (from < text.size() && !startNextLogFile())
            break;
    }
    if (from < text.size()) {
        // Nobody started a next file: the rest goes where the rest went.
        m_logFileBytes += text.size() - from;
        emit newTextAvailable(m_logFilePath, text.mid(from));
    }
}

bool Editor::startNextLogFile()
{
    const QString full = m_logFilePath;
    emit logFileFull();
    return m_logFilePath != full && !m_logFilePath.isEmpty();
}

void Editor::showAtEnd(const QString &text)
{
    m_backlog += text;
    const int keep = maximumBlockCount();
    const int cut = tailStart(m_backlog, keep);
    if (cut >= 0) {
        // The waiting text alone fills the view: what is shown now would be pushed out
        // anyway, and showing only the newest lines keeps the view without a gap.
        m_backlog.remove(0, cut);
        clear();
    }
    if (!m_showTimer) {
        m_showTimer = new QTimer(this);
        m_showTimer->setSingleShot(true);
        m_showTimer->setInterval(0);
        connect(m_showTimer, &QTimer::timeout, this, &Editor::showSlices);
    }
    if (!m_showTimer->isActive())
        m_showTimer->start();
}

void Editor::showSlices()
{
    // Laying out and colouring costs some microseconds per line: slices of a few hundred
    // lines, and back to the event loop after a few milliseconds.
    constexpr int kSliceLines = 250;
    constexpr qint64 kBudgetNs = 10 * 1000 * 1000;
    QElapsedTimer spent;
    spent.start();
    QScrollBar *bar = verticalScrollBar();
    const bool atBottom = m_stickToBottom || bar->value() >= bar->maximum();
    // Trimming old blocks moves the scroll value too; only the user's moves count.
    m_scrollingToBottom = true;
    while (!m_backlog.isEmpty() && spent.nsecsElapsed() < kBudgetNs) {
        int end = m_backlog.size();
        int lines = 0;
        for (int i = 0; i < m_backlog.size(); ++i) {
            if (m_backlog.at(i) == QLatin1Char('\n') && ++lines == kSliceLines) {
                end = i + 1;
                break;
            }
        }
        const int blocksBefore = blockCount();
        QTextCursor cursor(document());
        cursor.movePosition(QTextCursor::End);
        cursor.insertText(end == m_backlog.size() ? m_backlog : m_backlog.left(end));
        m_backlog.remove(0, end);
        // The old last block may have been continued; older blocks may have been dropped.
        if (!m_lineFilter.pattern().isEmpty())
            applyLineFilter(qMax(0, qMin(blocksBefore - 1, blockCount() - 1 - lines)));
    }
    if (atBottom)
        bar->setValue(bar->maximum());
    m_scrollingToBottom = false;
    if (!m_backlog.isEmpty())
        m_showTimer->start();
}
