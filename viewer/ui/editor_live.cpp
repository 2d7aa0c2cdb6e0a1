// The live side of the editor: the monitor server it owns and the coalesced appending of
// texts to the view and to the log file.
#include "viewer/ui/editor.h"

#include "monitor/core/vrxmonhost.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QThread>

Editor::~Editor()
{
    // The server thread must be gone before the view it writes to.
    delete m_host;
}

VrxMonHost *Editor::vrxMonHost()
{
    if (!m_host) {
        m_host = new VrxMonHost(this);
        connect(m_host, &VrxMonHost::MessageAvailable, this, &Editor::appendNoNewline);
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

void Editor::setFollowing(bool follow)
{
    m_following = follow;
}

void Editor::appendNoNewline(const QString &text)
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
        emit newTextAvailable(m_logFilePath, text);
    if (m_following)
        showAtEnd(text);
}

void Editor::showAtEnd(const QString &text)
{
    QScrollBar *bar = verticalScrollBar();
    const bool atBottom = bar->value() >= bar->maximum();
    const int keep = maximumBlockCount();
    // Only the newest blocks survive the block limit: when the text alone fills the view,
    // the rest would be laid out and thrown away at once.
    int cut = -1;
    if (keep > 0 && text.size() >= keep) {
        int breaks = 0;
        for (int i = text.size() - 1; i >= 0; --i) {
            if (text.at(i) == QLatin1Char('\n') && ++breaks == keep) {
                cut = i + 1;
                break;
            }
        }
    }
    if (cut >= 0) {
        setPlainText(text.mid(cut));
    } else {
        QTextCursor cursor(document());
        cursor.movePosition(QTextCursor::End);
        cursor.insertText(text);
    }
    if (atBottom || cut >= 0)
        bar->setValue(bar->maximum());
}
