// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QString>

#include "monitor/core/outputbacklog.h"

#include <memory>

class QMenu;
class QTimer;
class LogHighlighter;
class VrxMonHost;
class QThread;
struct TripleMatchBuffers;

// The text view of every text panel: a plain-text editor holding a bounded window of lines,
// with a line-number area and log colouring. The monitor's output editor also owns the
// monitor server and takes its texts; every text shown there also goes to the log file.
class Editor : public QPlainTextEdit
{
    Q_OBJECT
public:
    static constexpr int ViewerBlockCount = 4000;
    static constexpr int MonitorBlockCount = 10000;

    // What the line-number area counts: lines of the whole file (the loaded range starts at
    // its first line's number) or lines of the editor's own text.
    enum LineNumberMode { FileLineNumbers, EditorLineNumbers };

    explicit Editor(int maxBlockCount = ViewerBlockCount, QWidget *parent = nullptr);
    ~Editor() override;

    // Decimal digits of the largest number shown in the current mode (at least one) times
    // the width of "9", plus 13.
    int lineNumberAreaWidth() const;
    void lineNumberAreaPaintEvent(QPaintEvent *event);
    bool lineNumbersVisible() const { return m_lineNumbersVisible; }
    LineNumberMode lineNumberMode() const { return m_lineNumberMode; }
    // The file line of the first block, 0-based; used in FileLineNumbers mode.
    void setFirstLineNumber(qint64 line);
    qint64 firstLineNumber() const { return m_firstLineNumber; }
    // Options of the line-number area ("File line numbers", "Editor line numbers"); the
    // panel puts it on its line-number button and routes the choice back here.
    QMenu *lineNumberOptionsMenu() const { return m_lineNumberMenu; }
    // The number the line-number area shows for the block in the current mode.
    qint64 shownNumber(const QTextBlock &block) const;
    qint64 largestNumber() const;

    // The filter results of both kinds, written by the occurrence filter and made current
    // by the panel. Owned by the panel's engine.
    void setMatchBuffers(TripleMatchBuffers *match, TripleMatchBuffers *critical);
    TripleMatchBuffers *matchBuffers() const { return m_matchBuffers; }
    TripleMatchBuffers *criticalBuffers() const { return m_criticalBuffers; }

    // --- Live output (the monitor's console) ---
    // Path of the log file every appended text goes to; empty keeps texts in the view only.
    void setLogFilePath(const QString &path);
    QString logFilePath() const { return m_logFilePath; }
    // The log file is kept within this many bytes: text that would take it past the limit
    // raises logFileFull(), whose receiver sets the next file right then, and goes there.
    // The default keeps every position of the file within the index's 32 bits.
    static constexpr qint64 DefaultLogFileLimit = (qint64(1) << 31) - 1;
    void setLogFileLimit(qint64 bytes) { m_logFileLimit = bytes; }
    // Creates the monitor server and its thread on first use. The host is the owner side of
    // the server: StartVrxMon, the takeover and finished() ending the thread; its texts come
    // here through appendNoNewline.
    VrxMonHost *vrxMonHost();
    QThread *serverThread() const;
    void startVrxMon(quint32 type, const QString &pipeName, quint32 port, quint32 traceLevel,
                     quint32 useTimestamp, quint32 devMask);
    // Stops a running built-in server; returns false when none ran.
    bool stopVrxMon();
    // Text taken in but not yet in the log file; the panel's writer counts it off.
    const std::shared_ptr<OutputBacklog> &outputBacklog() const { return m_outputBacklog; }
    // For the owner's shutdown: ends the server thread at once and takes in what it sent.
    void shutdownServer();
    // Takes the text that waits for the next flush, leaving nothing to flush.
    QString takePending();
    // Empties the view and drops what was still waiting to be shown.
    void clearShown();
    // Whether appended text still waits to be shown.
    bool hasBacklog() const { return !m_backlog.isEmpty(); }
    // While paused the view keeps its range and appended texts only reach the file.
    void setFollowing(bool follow);
    bool isFollowing() const { return m_following; }
    // Shows and logs what is still waiting for the next turn of the event loop.
    void flushPending();
    // Hides every block that the pattern (case-insensitive) does not match, in the text
    // shown now and in text appended later; an empty pattern shows all blocks.
    void setLineFilter(const QString &pattern);
    QString lineFilter() const { return m_lineFilter.pattern(); }

public slots:
    void setLineNumbersVisible(bool visible);
    void setLineNumberMode(Editor::LineNumberMode mode);
    // Appends the text as it stands (no line break added). Texts arriving in one turn of the
    // event loop are shown and written together, in order.
    void appendNoNewline(const QString &text);

signals:
    void newTextAvailable(const QString &FilePath, const QString &text);
    void logFileFull();
    void lineNumberModeChanged(Editor::LineNumberMode mode);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void updateLineNumberAreaWidth();
    void updateLineNumberArea(const QRect &rect, int dy);
    void showAtEnd(const QString &text);
    void showSlices();
    void applyLineFilter(int fromBlock);
    void takeText(const QString &text);
    // Hands the text to the log file's writer, in pieces of whole lines where it would take
    // the file past its limit, with a logFileFull() between the pieces.
    void writeToLogFile(const QString &text);
    bool startNextLogFile();

    QWidget *m_lineNumberArea;
    QMenu *m_lineNumberMenu;
    LogHighlighter *m_highlighter;
    bool m_lineNumbersVisible = true;
    LineNumberMode m_lineNumberMode = FileLineNumbers;
    qint64 m_firstLineNumber = 0;
    int m_lastDigits = 0;
    TripleMatchBuffers *m_matchBuffers = nullptr;
    TripleMatchBuffers *m_criticalBuffers = nullptr;

    QString m_logFilePath;
    qint64 m_logFileBytes = 0; // at most what the file holds, counted before writing
    qint64 m_logFileLimit = DefaultLogFileLimit;
    VrxMonHost *m_host = nullptr;
    std::shared_ptr<OutputBacklog> m_outputBacklog = std::make_shared<OutputBacklog>();
    QString m_pending;
    bool m_flushQueued = false;
    bool m_following = true;
    // While not following: the newest lines as they would be shown, restored on resume.
    QString m_tail;
    // Text waiting to be shown, at most the block limit's worth of lines; shown a slice at a
    // time so that a flood never holds the event loop for long.
    QString m_backlog;
    QTimer *m_showTimer = nullptr;
    // Whether the view sticks to the newest line: it does until the user scrolls away, and
    // again once the user scrolls back to the end.
    bool m_stickToBottom = true;
    bool m_tailScrolling = false;
    bool m_scrollingToBottom = false;
    QRegularExpression m_lineFilter;
};
