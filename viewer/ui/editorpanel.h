// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include "viewer/ui/linewindow.h"
#include "viewer/ui/textpanel.h"

#include <QStringList>
#include <QVector>

class QSpinBox;
class QTextStream;
class QTimer;
class QxtSpanSlider;
class ViewerEngine;

// The dockable viewer of one text or log file: the editor holds a window of the file's lines
// that the span slider selects, while the engine indexes, searches and filters the whole
// file in the background. A live panel (the monitor's output) shows text as it arrives and
// writes it to its log file, which stays searchable and filterable while it grows.
class EditorPanel : public TextPanel
{
    Q_OBJECT
public:
    enum Mode { Viewer, Live };

    explicit EditorPanel(QWidget *parent = nullptr, Mode mode = Viewer);
    ~EditorPanel() override;

    Mode mode() const { return m_mode; }
    QString filePath() const { return m_filePath; }
    QString previousFilePath() const { return m_previousPath; }
    bool isFileLoaded() const { return m_fileLoaded; }
    QxtSpanSlider *spanSlider() const { return m_slider; }
    ViewerEngine *engine() const { return m_engine; }
    QLabel *statusLabel() const { return m_statusLabel; }
    QSpinBox *textSizeBox() const { return m_textSizeBox; }
    QToolButton *clearButton() const { return m_clearButton; }
    // The first file line shown in the editor and how many were loaded.
    qint32 loadedFirstLine() const { return m_loadedLower; }
    // Match positions in the editor's text that next and previous walk through.
    const QVector<qint32> &navigationPositions() const { return m_navPositions; }
    int currentMatch() const { return m_currentMatch; }
    // The text file kinds that the editor accepts besides anything typed "text/".
    static bool isTextFile(const QString &path);
    // Log file names: directory, "/vrxmon_", local time, ".okv".
    static QString newLogFilePath(const QString &directory);

public slots:
    bool openFile(const QString &path);
    void reloadFile();
    void onOpenFileBtnClicked();
    void onReloadBtnClicked();
    void onSaveBtnClicked();
    void onClearBtnClicked();
    void onSearchRequested();
    void onNextBtnClicked() override;
    void onPrevBtnClicked() override;
    void onFilterBtnToogled(bool checked);
    void onLineNumberBtnToogled(bool checked);
    void onLineNumberOptionMenuTriggered(QAction *action);
    void onFileIndexed(const QString &FilePath, const qint32 &LineCount);
    void onFileAppended(const qint32 &lines);
    void SearchResultReady(const QString SearchString, const qint64 &MatchCount,
                           const qint64 &ScannedLines);
    void onFileSpanSliderChanged(int lower, int upper);
    void onVScrollSliderReleased();
    void onSpanSliderDragged();
    void onSpanUpBtnClicked();
    void onSpanDownBtnClicked();
    void onMatchFilterFinished();
    void onCriticalFilterFinished();
    void onSpanSliderAnnotationsUpdated();
    void onWatchedFileChanged(const QString &path);
    QString getFilterPattern() const;

    void enableShortcuts(bool enable) override;
    void onCTRL_F_Pressed();
    void onCTRL_U_Pressed();
    void onCTRL_D_Pressed();
    void on_Slash_Pressed() override;
    void on_Question_Pressed() override;
    void on_J_Pressed(int extra = 0) override;
    void on_K_Pressed(int extra = 0) override;

signals:
    void NewFileOpened(const QString &SearchString, const QString &FilePath,
                       const qint64 &ChunkSize, const qint64 &MaxBlockCount);
    void StartFileSearchTask(const QString &SearchString, const QString &FilePath,
                             const qint64 &ChunkSize, const qint64 &MaxBlockCount);
    void SelectionsFilterRequest(const QString &FilePath, const QStringList &TypesList);
    void SpanSliderAnnotationsUpdateRequest();
    void ClearAnnotationsRequest();
    void FileLoaded(const QString &previousPath, const QString &currentPath);

protected:
    void onSearchReturnPressed() override;
    // Starts a new log file for a live panel; the old one stays as it is.
    void startLogFile(const QString &path);

private:
    void buildToolBar();
    void buildShortcuts();
    void loadRange(int lower, int upper);
    void requestFilters();
    void updateCounter();
    void updateSliderToolTip();
    void setNavigation(const QVector<qint32> &positions, int length);
    void findInLoadedText();
    void moveToMatch(int step);
    void followTail(qint32 lines);
    // The filters' positions (of matches, or of errors and warnings) in the editor's text;
    // lines cut for display are shown when the part left out holds what the filters show.
    QVector<qint32> toDocumentPositions(const QVector<qint32> &positions, bool matches);
    // The loaded lines, those shown cut in whole.
    void writeWindow(QTextStream &out) const;

    Mode m_mode;
    ViewerEngine *m_engine;
    QxtSpanSlider *m_slider;
    QLabel *m_statusLabel;
    QSpinBox *m_textSizeBox = nullptr;
    QToolButton *m_lineNumberButton = nullptr;
    QToolButton *m_clearButton = nullptr;
    QList<QObject *> m_shortcuts;

    QString m_filePath;
    QString m_previousPath;
    bool m_fileLoaded = false;
    QString m_searchText;
    bool m_searching = false;
    qint64 m_fileMatchCount = 0;
    double m_scrollRatio = 0.0;
    bool m_restoringScroll = false;
    qint32 m_loadedLower = 0;
    qint32 m_loadedUpper = -1;
    bool m_loadedToEnd = false;
    bool m_settingSpan = false;
    bool m_indexing = false;
    QString m_indexError; // why the file could not be (wholly) indexed
    QTimer *m_reloadTimer;
    LineWindow::Window m_window;
    // Re-opening the same file goes back to this place once the index reaches it.
    bool m_restore = false;
    qint32 m_restoreLower = 0;
    qint32 m_restoreSpan = 0;
    double m_restoreRatio = 0.0;

    // Longest the GUI thread waits for the index's line lock before it tries again later.
    static constexpr int LockWaitMs = 10;

    QVector<qint32> m_navPositions;
    int m_navLength = 0;
    int m_currentMatch = 0;
    qint64 m_navTotal = 0;
};
