// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QWidget>

class Editor;
class QAction;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProcess;
class QThread;
class QToolBar;
class QToolButton;

// What every text panel shares (viewer panels, the monitor output, the updater console):
// a "Find:" box, the three filter toggles and a text view. The main window routes its
// keyboard shortcuts to whichever of these panels holds the focus.
class TextPanel : public QWidget
{
    Q_OBJECT
public:
    enum FilterButton { MatchFilter = 0, ErrorFilter = 1, WarningFilter = 2 };

    // The editor keeps at most maxBlockCount lines.
    explicit TextPanel(QWidget *parent = nullptr, int maxBlockCount = 4000);

    QLineEdit *searchField() const { return m_searchField; }
    QPlainTextEdit *textView() const;
    Editor *editor() const { return m_textView; }
    QLabel *counterLabel() const { return m_counterLabel; }
    QToolButton *toggleButton(int index) const;
    QToolBar *toolBar() const { return m_toolBar; }

    // A panel that runs a child process or a worker reports it here for the status line.
    virtual QProcess *childProcess() const { return nullptr; }
    virtual QThread *workerThread() const { return nullptr; }
    virtual QDateTime startTime() const { return m_startTime; }
    bool shortcutsEnabled() const { return m_shortcutsEnabled; }

public slots:
    virtual void enableShortcuts(bool enable);
    virtual void on_Slash_Pressed();
    virtual void on_Question_Pressed();
    // J and K scroll by one line plus the given extra count.
    virtual void on_J_Pressed(int extra);
    virtual void on_K_Pressed(int extra);
    virtual void onNextBtnClicked();
    virtual void onPrevBtnClicked();

protected:
    virtual void onSearchReturnPressed();
    void findMatch(bool backwards);
    void setStartTime(const QDateTime &time) { m_startTime = time; }

    QToolBar *m_toolBar;
    QLineEdit *m_searchField;
    QLabel *m_counterLabel;
    Editor *m_textView;
    QToolButton *m_filterButtons[3];
    // Toolbar anchors that subclasses insert their controls before.
    QAction *m_firstFilterAction;
    QAction *m_findLabelAction;
    QAction *m_nextAction;
    QAction *m_prevAction;
    // Holds the editor; panels add widgets beside it.
    QHBoxLayout *m_bodyLayout;

private:
    QDateTime m_startTime;
    bool m_shortcutsEnabled = false;
};
