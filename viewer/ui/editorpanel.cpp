// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/ui/editorpanel.h"

#include "util/core/recentfiles.h"
#include "util/ui/notify.h"
#include "util/ui/spinboxmenuaction.h"
#include "viewer/core/filereaderwriter.h"
#include "viewer/core/filesearcher.h"
#include "viewer/core/mappedfile.h"
#include "viewer/core/occurrencefilter.h"
#include "viewer/core/viewerengine.h"
#include "viewer/ui/editor.h"
#include "viewer/ui/linewindow.h"
#include "viewer/ui/qxtspanslider.h"

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeDatabase>
#include <QRegularExpression>
#include <QScrollBar>
#include <QShortcut>
#include <QSpinBox>
#include <QTextBlock>
#include <QTextStream>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

#include <algorithm>
#include <cstring>

namespace {

QToolButton *makeButton(QWidget *parent, const QString &icon, const QString &tip)
{
    auto *button = new QToolButton(parent);
    if (!icon.isEmpty())
        button->setIcon(QIcon(icon));
    button->setToolTip(tip);
    button->setAutoRaise(true);
    return button;
}

const QStringList &textSuffixes()
{
    static const QStringList suffixes{
        QStringLiteral(".log"), QStringLiteral(".txt"), QStringLiteral(".c"),
        QStringLiteral(".cpp"), QStringLiteral(".h"),   QStringLiteral(".bat"),
        QStringLiteral(".sh"),  QStringLiteral(".asc"), QStringLiteral(".okv")};
    return suffixes;
}

} // namespace

EditorPanel::EditorPanel(QWidget *parent, Mode mode)
    : TextPanel(parent, mode == Live ? Editor::MonitorBlockCount : Editor::ViewerBlockCount),
      m_mode(mode), m_engine(new ViewerEngine(m_textView->maximumBlockCount(), this)),
      m_slider(new QxtSpanSlider(Qt::Vertical, this)), m_statusLabel(new QLabel(this))
{
    m_slider->setInvertedAppearance(true); // the first line of the file at the top
    m_slider->setMaximumWidth(20);
    m_slider->setRange(0, 0);
    m_slider->setAnnotationSource(&m_engine->index(), &m_engine->annotations());
    m_bodyLayout->addWidget(m_slider);
    m_textView->setMatchBuffers(&m_engine->matchBuffers(), &m_engine->criticalBuffers());
    if (m_mode == Live)
        m_textView->setLineNumberMode(Editor::EditorLineNumbers);
    buildToolBar();

    FileReaderWriter *readerWriter = m_engine->readerWriter();
    FileSearcher *searcher = m_engine->searcher();
    OccurrenceFilter *filter = m_engine->filter();
    connect(this, &EditorPanel::NewFileOpened, readerWriter, &FileReaderWriter::IndexFile);
    connect(m_textView, &Editor::newTextAvailable, readerWriter, &FileReaderWriter::AppendFile);
    // Counted off on the writer's thread, so a waiting server goes on without the GUI.
    connect(readerWriter, &FileReaderWriter::TextWritten, readerWriter,
            [backlog = m_textView->outputBacklog()](const qint64 &chars) {
                backlog->written(chars);
            },
            Qt::DirectConnection);
    connect(this, &EditorPanel::StartFileSearchTask, searcher, &FileSearcher::SearchTextInFile);
    connect(this, &EditorPanel::SelectionsFilterRequest, filter,
            &OccurrenceFilter::onSelectionsFilterRequest);
    connect(this, &EditorPanel::SpanSliderAnnotationsUpdateRequest, filter,
            &OccurrenceFilter::onSpanSliderAnnotationsUpdateRequest);
    connect(this, &EditorPanel::ClearAnnotationsRequest, filter,
            &OccurrenceFilter::onClearAnnotationsRequest);

    connect(readerWriter, &FileReaderWriter::FileIndexed, this, &EditorPanel::onFileIndexed);
    connect(readerWriter, &FileReaderWriter::FileAppended, this, &EditorPanel::onFileAppended);
    connect(readerWriter, &FileReaderWriter::SpanSliderAnnotationsUpdated, this,
            &EditorPanel::onSpanSliderAnnotationsUpdated);
    connect(readerWriter, &FileReaderWriter::FileIndexError, this,
            [this](const QString &path, const QString &message) {
                if (path != m_filePath)
                    return;
                m_indexError = message;
                m_statusLabel->setText(message);
            });
    connect(readerWriter, &FileReaderWriter::IndexProgress, this,
            [this](const QString &path, int percent) {
                if (path != m_filePath)
                    return;
                m_indexing = percent < 100;
                if (m_indexing && m_indexError.isEmpty())
                    m_statusLabel->setText(tr("Indexing... %1%").arg(percent));
            });
    m_reloadTimer = new QTimer(this);
    m_reloadTimer->setSingleShot(true);
    m_reloadTimer->setInterval(LockWaitMs);
    connect(m_reloadTimer, &QTimer::timeout, this,
            [this] { loadRange(m_slider->lowerValue(), m_slider->upperValue()); });
    connect(searcher, &FileSearcher::SearchProcessed, this, &EditorPanel::SearchResultReady);
    connect(searcher, &FileSearcher::SearchFinished, this,
            [this](const QString &text, const qint64 &count) {
                if (text != m_searchText)
                    return; // a newer search is on its way
                m_searching = false;
                m_fileMatchCount = count;
                m_statusLabel->clear();
                findInLoadedText();
                if (m_filterButtons[MatchFilter]->isChecked())
                    requestFilters();
            });
    connect(filter, &OccurrenceFilter::MatchFilterFinished, this,
            &EditorPanel::onMatchFilterFinished);
    connect(filter, &OccurrenceFilter::CriticalFilterFinished, this,
            &EditorPanel::onCriticalFilterFinished);
    connect(filter, &OccurrenceFilter::SpanSliderAnnotationsUpdated, this,
            &EditorPanel::onSpanSliderAnnotationsUpdated);
    for (QObject *worker : {static_cast<QObject *>(readerWriter), static_cast<QObject *>(searcher),
                            static_cast<QObject *>(filter)})
        connect(worker, SIGNAL(SpanSliderRepaintRequested()), m_slider, SLOT(update()));

    connect(m_slider, &QxtSpanSlider::spanChanged, this, &EditorPanel::onFileSpanSliderChanged);
    connect(m_slider, &QxtSpanSlider::spanDragged, this, &EditorPanel::onSpanSliderDragged);
    QScrollBar *bar = m_textView->verticalScrollBar();
    connect(bar, &QScrollBar::sliderReleased, this, &EditorPanel::onVScrollSliderReleased);
    connect(bar, &QScrollBar::valueChanged, this, [this, bar](int value) {
        if (!m_restoringScroll && bar->maximum() > 0)
            m_scrollRatio = double(value) / bar->maximum();
    });
    connect(m_searchField, &QLineEdit::textChanged, this, &EditorPanel::onSearchRequested);
    for (QToolButton *button : m_filterButtons)
        connect(button, &QToolButton::toggled, this, &EditorPanel::onFilterBtnToogled);
    buildShortcuts();
    updateCounter();
}

EditorPanel::~EditorPanel()
{
    if (m_mode != Live)
        return;
    // Whatever the server sent before it stopped still reaches the log file.
    m_textView->shutdownServer();
    const QString rest = m_textView->takePending();
    const QString path = m_textView->logFilePath();
    if (!rest.isEmpty() && !path.isEmpty())
        QMetaObject::invokeMethod(m_engine->readerWriter(), "AppendFile",
                                  Qt::BlockingQueuedConnection, Q_ARG(QString, path),
                                  Q_ARG(QString, rest));
}

void EditorPanel::buildToolBar()
{
    auto *reload = makeButton(this, QStringLiteral("://Images/reloadtext.png"),
                              tr("Reload current file from disk"));
    connect(reload, &QToolButton::clicked, this, &EditorPanel::onReloadBtnClicked);
    m_toolBar->insertWidget(m_firstFilterAction, reload)->setVisible(m_mode == Viewer);

    m_lineNumberButton = makeButton(this, QStringLiteral("://Images/linenumbers.png"),
                                    tr("Show/Hide line number"));
    m_lineNumberButton->setCheckable(true);
    m_lineNumberButton->setChecked(true);
    m_lineNumberButton->setMenu(m_textView->lineNumberOptionsMenu());
    m_lineNumberButton->setPopupMode(QToolButton::MenuButtonPopup);
    connect(m_lineNumberButton, &QToolButton::toggled, this,
            &EditorPanel::onLineNumberBtnToogled);
    connect(m_textView->lineNumberOptionsMenu(), &QMenu::triggered, this,
            &EditorPanel::onLineNumberOptionMenuTriggered);
    m_toolBar->insertWidget(m_firstFilterAction, m_lineNumberButton);

    auto *textSize = makeButton(this, QString(), tr("Set Text Size"));
    textSize->setText(QStringLiteral("Aa"));
    textSize->setPopupMode(QToolButton::InstantPopup);
    auto *sizeMenu = new QMenu(textSize);
    auto *sizeAction = new SpinBoxMenuAction(QString(), 1, 32, sizeMenu);
    m_textSizeBox = sizeAction->spinBox();
    m_textSizeBox->setValue(m_textView->font().pointSize() > 0 ? m_textView->font().pointSize()
                                                               : 9);
    sizeMenu->addAction(sizeAction);
    textSize->setMenu(sizeMenu);
    connect(m_textSizeBox, QOverload<int>::of(&QSpinBox::valueChanged), this, [this](int size) {
        QFont font = m_textView->font();
        font.setPointSize(size);
        m_textView->setFont(font);
    });
    m_toolBar->insertWidget(m_firstFilterAction, textSize);

    auto *save = makeButton(this, QStringLiteral("://Images/save.png"),
                            tr("Save text in editor to file"));
    connect(save, &QToolButton::clicked, this, &EditorPanel::onSaveBtnClicked);
    m_toolBar->insertWidget(m_firstFilterAction, save);

    // Clearing starts a new log file: only a live panel writes one.
    m_clearButton = makeButton(this, QStringLiteral("://Images/broom.png"),
                               tr("Clear all text and create new log file"));
    connect(m_clearButton, &QToolButton::clicked, this, &EditorPanel::onClearBtnClicked);
    m_toolBar->insertWidget(m_findLabelAction, m_clearButton)->setVisible(m_mode == Live);

    m_toolBar->addAction(QIcon(QStringLiteral("://Images/scrollarrow_up.png")), tr("Span up"),
                         this, &EditorPanel::onSpanUpBtnClicked);
    m_toolBar->addAction(QIcon(QStringLiteral("://Images/scrollarrow_down.png")),
                         tr("Span down"), this, &EditorPanel::onSpanDownBtnClicked);
    m_toolBar->addWidget(m_statusLabel);
}

void EditorPanel::buildShortcuts()
{
    // Only a floating panel handles these itself; docked, the main window routes the keys.
    const auto add = [this](const QKeySequence &key, auto slot) {
        auto *shortcut = new QShortcut(key, this);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        shortcut->setEnabled(false);
        connect(shortcut, &QShortcut::activated, this, slot);
        m_shortcuts << shortcut;
    };
    add(QKeySequence(Qt::CTRL + Qt::Key_F), [this] { onCTRL_F_Pressed(); });
    add(QKeySequence(Qt::CTRL + Qt::Key_S), [this] { m_filterButtons[MatchFilter]->toggle(); });
    add(QKeySequence(Qt::CTRL + Qt::Key_E), [this] { m_filterButtons[ErrorFilter]->toggle(); });
    add(QKeySequence(Qt::CTRL + Qt::Key_W), [this] { m_filterButtons[WarningFilter]->toggle(); });
    add(QKeySequence(Qt::CTRL + Qt::Key_U), [this] { onCTRL_U_Pressed(); });
    add(QKeySequence(Qt::CTRL + Qt::Key_D), [this] { onCTRL_D_Pressed(); });
    add(QKeySequence(QStringLiteral("/")), [this] { on_Slash_Pressed(); });
    add(QKeySequence(QStringLiteral("?")), [this] { on_Question_Pressed(); });
    add(QKeySequence(Qt::Key_J), [this] { on_J_Pressed(0); });
    add(QKeySequence(Qt::Key_K), [this] { on_K_Pressed(0); });
}

void EditorPanel::enableShortcuts(bool enable)
{
    TextPanel::enableShortcuts(enable);
    for (QObject *shortcut : qAsConst(m_shortcuts))
        static_cast<QShortcut *>(shortcut)->setEnabled(enable);
}

bool EditorPanel::isTextFile(const QString &path)
{
    if (QMimeDatabase().mimeTypeForFile(path).name().startsWith(QLatin1String("text/")))
        return true;
    const QString name = path.toLower();
    for (const QString &suffix : textSuffixes()) {
        if (name.endsWith(suffix))
            return true;
    }
    return false;
}

QString EditorPanel::newLogFilePath(const QString &directory)
{
    return directory + QStringLiteral("/vrxmon_") +
           QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd-hh.mm.ss.zzz")) +
           QStringLiteral(".okv");
}

bool EditorPanel::openFile(const QString &path)
{
    if (!isTextFile(path)) {
        Notify::critical(this, tr("File Type Error"),
                         tr("The selected file is not a text file!\nOnly text files can be "
                            "opened in the editor!"));
        return false;
    }
    // The same file again keeps the place: the old lines stay shown until the new index
    // reaches them.
    const bool again = path == m_filePath && m_fileLoaded && m_mode == Viewer;
    m_previousPath = m_filePath;
    m_filePath = path;
    m_fileLoaded = false;
    m_indexing = true;
    m_indexError.clear();
    m_restore = again;
    if (again) {
        m_restoreLower = m_slider->lowerValue();
        m_restoreSpan = m_slider->upperValue() - m_slider->lowerValue();
        m_restoreRatio = m_scrollRatio;
    } else {
        m_loadedUpper = -1;
        m_loadedLower = 0;
        m_scrollRatio = 0.0;
        m_settingSpan = true;
        m_slider->setRange(0, 0);
        m_slider->setSpan(0, 0);
        m_settingSpan = false;
        m_textView->clear();
        m_window = LineWindow::Window();
    }
    m_statusLabel->setText(tr("Indexing..."));
    m_searching = !m_searchText.isEmpty();
    emit NewFileOpened(m_searchText, path, ViewerEngine::ChunkSize,
                       m_textView->maximumBlockCount());
    RecentFiles::add(path);
    // The main window rebuilds its "Recent Files" menu; found by name so that this library
    // does not depend on the shell.
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->inherits("MainWindow"))
            QMetaObject::invokeMethod(widget, "updateRecentFileActions");
    }
    emit FileLoaded(m_previousPath, path);
    return true;
}

void EditorPanel::reloadFile()
{
    if (m_filePath.isEmpty())
        return;
    openFile(m_filePath);
}

void EditorPanel::onOpenFileBtnClicked()
{
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Open Text File"), QStringLiteral("./"),
        tr("Text (*.log *.txt *.c *.cpp *.h *.bat *.sh *.asc *.okv)"));
    if (!path.isEmpty())
        openFile(path);
}

void EditorPanel::onReloadBtnClicked()
{
    reloadFile();
}

void EditorPanel::onSaveBtnClicked()
{
    const QString path = QFileDialog::getSaveFileName(
        this, tr("Save Console Output"), QString(),
        tr("ASCII (*.txt);;ASCII (*.log);;All Files (*)"));
    if (path.isEmpty())
        return;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        Notify::warning(this, tr("Error"), tr("Unable to open file"));
        return;
    }
    QTextStream out(&file);
    const bool cut = std::any_of(m_window.lines.cbegin(), m_window.lines.cend(),
                                 [](const LineWindow::Line &line) { return line.cut(); });
    if (!cut || m_mode == Live) {
        out << m_textView->toPlainText();
        return;
    }
    writeWindow(out); // lines shown cut are saved whole
}

void EditorPanel::onClearBtnClicked()
{
    if (m_mode != Live)
        return;
    const QString directory = QFileInfo(m_textView->logFilePath()).absolutePath();
    startLogFile(newLogFilePath(m_textView->logFilePath().isEmpty() ? QDir::homePath()
                                                                    : directory));
}

void EditorPanel::startLogFile(const QString &path)
{
    // What is still queued belongs to the old file.
    m_textView->flushPending();
    m_textView->clearShown();
    m_textView->setLogFilePath(path);
    m_previousPath = m_filePath;
    m_filePath = path;
    m_fileLoaded = true;
    m_settingSpan = true;
    m_slider->setRange(0, 0);
    m_slider->setSpan(0, 0);
    m_settingSpan = false;
    m_textView->setFollowing(true);
    emit ClearAnnotationsRequest();
    emit FileLoaded(m_previousPath, path);
}

void EditorPanel::onSearchReturnPressed()
{
    onSearchRequested();
}

void EditorPanel::onSearchRequested()
{
    m_searchText = m_searchField->text();
    m_currentMatch = 0;
    if (m_filePath.isEmpty()) {
        findInLoadedText();
        return;
    }
    // Only the newest text matters; a search still running for an older one ends early.
    m_engine->searcher()->abort();
    m_searching = true;
    m_statusLabel->setText(tr("Searching..."));
    m_counterLabel->setText(QStringLiteral(" --/-- "));
    emit StartFileSearchTask(m_searchText, m_filePath, ViewerEngine::ChunkSize,
                             m_textView->maximumBlockCount());
}

void EditorPanel::SearchResultReady(const QString SearchString, const qint64 &MatchCount,
                                    const qint64 &ScannedLines)
{
    Q_UNUSED(ScannedLines)
    if (SearchString != m_searchText)
        return;
    m_fileMatchCount = MatchCount;
    if (m_searching) // what has been found so far, while the rest is searched
        m_counterLabel->setText(QStringLiteral(" --/--/%1 ").arg(MatchCount));
}

void EditorPanel::findInLoadedText()
{
    QVector<qint32> positions;
    if (!m_searchText.isEmpty()) {
        const QString text = m_textView->toPlainText();
        for (int at = text.indexOf(m_searchText, 0, Qt::CaseInsensitive); at >= 0;
             at = text.indexOf(m_searchText, at + m_searchText.size(), Qt::CaseInsensitive))
            positions << at;
    }
    if (m_filePath.isEmpty())
        m_fileMatchCount = positions.size();
    m_navTotal = m_fileMatchCount;
    setNavigation(positions, m_searchText.size());
}

void EditorPanel::setNavigation(const QVector<qint32> &positions, int length)
{
    // Only what is shown is walked: a line hidden by the filters holds no stop.
    QVector<qint32> shown;
    const QTextDocument *doc = m_textView->document();
    for (const qint32 at : positions) {
        if (doc->findBlock(at).isVisible())
            shown << at;
    }
    m_navPositions = shown;
    m_navLength = length;
    m_currentMatch = 0;
    m_nextAction->setEnabled(!shown.isEmpty());
    m_prevAction->setEnabled(!shown.isEmpty());
    updateCounter();
}

void EditorPanel::updateCounter()
{
    if (m_searching) {
        m_counterLabel->setText(QStringLiteral(" --/-- "));
        return;
    }
    m_counterLabel->setText(QStringLiteral(" %1/%2/%3 ")
                                .arg(m_currentMatch)
                                .arg(m_navPositions.size())
                                .arg(m_navTotal));
}

void EditorPanel::onNextBtnClicked()
{
    moveToMatch(1);
}

void EditorPanel::onPrevBtnClicked()
{
    moveToMatch(-1);
}

void EditorPanel::moveToMatch(int step)
{
    const int count = m_navPositions.size();
    if (count == 0) {
        m_currentMatch = 0;
        return;
    }
    // 1-based; wraps from the last match to the first and back.
    int next = m_currentMatch + step;
    if (next > count)
        next = 1;
    else if (next < 1)
        next = count;
    m_currentMatch = next;
    QTextCursor cursor(m_textView->document());
    const int end = m_textView->document()->characterCount() - 1;
    const int at = qMin(int(m_navPositions[next - 1]), end);
    cursor.setPosition(at);
    cursor.setPosition(qMin(at + m_navLength, end), QTextCursor::KeepAnchor);
    m_textView->setTextCursor(cursor);
    m_textView->centerCursor();
    updateCounter();
}

QString EditorPanel::getFilterPattern() const
{
    QStringList active;
    if (m_filterButtons[MatchFilter]->isChecked() && !m_searchText.isEmpty())
        active << m_searchText;
    if (m_filterButtons[ErrorFilter]->isChecked())
        active << QStringLiteral("ERROR:");
    if (m_filterButtons[WarningFilter]->isChecked())
        active << QStringLiteral("WARN :");
    return active.join(QLatin1Char('|'));
}

void EditorPanel::onFilterBtnToogled(bool)
{
    const QString pattern = getFilterPattern();
    if (pattern.isEmpty()) {
        m_textView->setLineFilter(QString());
        findInLoadedText();
        return;
    }
    requestFilters();
}

void EditorPanel::requestFilters()
{
    QStringList types;
    if (m_filterButtons[MatchFilter]->isChecked())
        types << QStringLiteral("search");
    if (m_filterButtons[ErrorFilter]->isChecked() || m_filterButtons[WarningFilter]->isChecked())
        types << QStringLiteral("critical");
    if (!types.isEmpty() && !m_filePath.isEmpty())
        emit SelectionsFilterRequest(m_filePath, types);
    else
        m_textView->setLineFilter(getFilterPattern());
}

void EditorPanel::onMatchFilterFinished()
{
    const QVector<qint32> &positions = m_engine->matchBuffers().acceptPending();
    m_textView->setLineFilter(getFilterPattern());
    const QVector<qint32> shown = toDocumentPositions(positions, true);
    if (!m_filterButtons[MatchFilter]->isChecked())
        return;
    m_navTotal = m_fileMatchCount;
    setNavigation(shown, m_searchText.size());
}

void EditorPanel::onCriticalFilterFinished()
{
    const QVector<qint32> &positions = m_engine->criticalBuffers().acceptPending();
    m_textView->setLineFilter(getFilterPattern());
    const QVector<qint32> shown = toDocumentPositions(positions, false);
    // With only the critical filters on, next and previous walk the error and warning marks
    // of the kinds shown; a result that arrives after they were switched off changes nothing.
    const bool errors = m_filterButtons[ErrorFilter]->isChecked();
    const bool warnings = m_filterButtons[WarningFilter]->isChecked();
    if (m_filterButtons[MatchFilter]->isChecked() || (!errors && !warnings))
        return;
    const FileIndex &index = m_engine->index();
    // The filter has just read the lists, so the lock is free unless a new pass started.
    if (index.occurrenceLock.tryLockForRead(LockWaitMs)) {
        m_navTotal =
            (errors ? index.errorOffsets.size() : 0) + (warnings ? index.warningOffsets.size() : 0);
        index.occurrenceLock.unlock();
    }
    setNavigation(shown, 6); // "ERROR:" and "WARN :" are both six characters
}

void EditorPanel::onLineNumberBtnToogled(bool checked)
{
    m_textView->setLineNumbersVisible(checked);
}

void EditorPanel::onLineNumberOptionMenuTriggered(QAction *action)
{
    m_textView->setLineNumberMode(Editor::LineNumberMode(action->data().toInt()));
}

void EditorPanel::onFileIndexed(const QString &FilePath, const qint32 &LineCount)
{
    if (FilePath != m_filePath)
        return; // an older file's index
    if (!m_indexing && m_indexError.isEmpty())
        m_statusLabel->clear();
    if (m_restore) {
        // Re-opened: wait until the place is indexed, or clamp it once the whole file is.
        if (m_indexing && LineCount < m_restoreLower + m_restoreSpan)
            return;
        m_restore = false;
        const qint32 span = qMin(m_restoreSpan, LineCount);
        const qint32 lower = qBound(0, m_restoreLower, LineCount - span);
        m_scrollRatio = m_restoreRatio;
        m_fileLoaded = true;
        m_settingSpan = true;
        m_slider->setRange(0, LineCount);
        m_slider->setSpan(lower, lower + span);
        m_settingSpan = false;
        updateSliderToolTip();
        onFileSpanSliderChanged(lower, lower + span);
        return;
    }
    const bool first = !m_fileLoaded;
    m_fileLoaded = true;
    m_settingSpan = true;
    m_slider->setRange(0, LineCount);
    if (first)
        m_slider->setSpan(0, qMin(LineCount, m_textView->maximumBlockCount()));
    m_settingSpan = false;
    updateSliderToolTip();
    const int lower = m_slider->lowerValue(), upper = m_slider->upperValue();
    // Reload only when the range is new or the last load stopped short of it.
    if (first || lower != m_loadedLower || upper != m_loadedUpper || m_loadedToEnd)
        onFileSpanSliderChanged(lower, upper);
    if (m_searching && !m_searchText.isEmpty() && first)
        emit StartFileSearchTask(m_searchText, m_filePath, ViewerEngine::ChunkSize,
                                 m_textView->maximumBlockCount());
}

void EditorPanel::onFileAppended(const qint32 &lines)
{
    if (m_mode != Live)
        return;
    m_fileLoaded = true;
    if (m_textView->isFollowing())
        followTail(lines);
    else {
        m_settingSpan = true;
        m_slider->setMaximum(lines);
        m_settingSpan = false;
    }
}

void EditorPanel::followTail(qint32 lines)
{
    m_settingSpan = true;
    m_slider->setRange(0, lines);
    m_slider->setSpan(qMax(0, lines - m_textView->maximumBlockCount()), lines);
    m_settingSpan = false;
    m_loadedLower = m_slider->lowerValue();
    m_loadedUpper = m_slider->upperValue();
    updateSliderToolTip();
}

void EditorPanel::updateSliderToolTip()
{
    // A page is the lines shown, so paging never skips one; arrows and the wheel a tenth.
    const int shown =
        qMin(m_slider->upperValue() - m_slider->lowerValue(), m_textView->maximumBlockCount());
    m_slider->setPageStep(qMax(1, shown));
    m_slider->setSingleStep(qMax(1, shown / 10));
    m_slider->setToolTip(QStringLiteral("Offset: %1\nSpan: %2\nMax: %3")
                             .arg(m_slider->lowerValue())
                             .arg(m_slider->upperValue() - m_slider->lowerValue())
                             .arg(m_slider->maximum()));
}

void EditorPanel::onFileSpanSliderChanged(int lower, int upper)
{
    updateSliderToolTip();
    if (m_mode == Live && !m_settingSpan && !m_slider->isDragging()) {
        // Back at the end: follow the newest lines again; anywhere else: hold still.
        const bool atEnd = upper >= m_slider->maximum();
        if (atEnd) {
            m_textView->setFollowing(true);
            followTail(m_slider->maximum());
            return;
        }
        m_textView->setFollowing(false);
    }
    if (m_settingSpan)
        return; // the code that moved the span loads what it needs
    if (m_slider->isDragging())
        return; // loaded when the drag ends
    loadRange(lower, upper);
    if (!getFilterPattern().isEmpty())
        requestFilters();
}

void EditorPanel::onVScrollSliderReleased()
{
    QScrollBar *bar = m_textView->verticalScrollBar();
    m_scrollRatio = bar->maximum() > 0 ? double(bar->value()) / bar->maximum() : 0.0;
}

void EditorPanel::onSpanSliderDragged()
{
    onFileSpanSliderChanged(m_slider->lowerValue(), m_slider->upperValue());
}

void EditorPanel::onSpanUpBtnClicked()
{
    // Half the shown lines at a time, so the lines seen last stay in view and none is
    // skipped when the span is wider than what the editor holds.
    const int span = m_slider->upperValue() - m_slider->lowerValue();
    const int step = qMax(1, qMin(span, m_textView->maximumBlockCount()) / 2);
    const int lower = qMax(m_slider->minimum(), m_slider->lowerValue() - step);
    m_slider->setSpan(lower, lower + span);
}

void EditorPanel::onSpanDownBtnClicked()
{
    const int span = m_slider->upperValue() - m_slider->lowerValue();
    const int step = qMax(1, qMin(span, m_textView->maximumBlockCount()) / 2);
    const int upper = qMin(m_slider->maximum(), m_slider->upperValue() + step);
    m_slider->setSpan(upper - span, upper);
}

void EditorPanel::onSpanSliderAnnotationsUpdated()
{
    m_slider->update();
}

void EditorPanel::onWatchedFileChanged(const QString &path)
{
    if (path == m_filePath && m_mode == Viewer)
        m_statusLabel->setText(
            tr("<font color='darkorange'>File modified on disk! Reload required!</font>"));
}

void EditorPanel::onCTRL_F_Pressed()
{
    m_searchField->setFocus();
    const QTextCursor cursor = m_textView->textCursor();
    if (cursor.hasSelection())
        m_searchField->setText(cursor.selectedText());
    m_searchField->selectAll();
}

void EditorPanel::onCTRL_U_Pressed()
{
    if (!isVisible())
        return;
    setFocus();
    m_textView->verticalScrollBar()->triggerAction(QAbstractSlider::SliderPageStepSub);
}

void EditorPanel::onCTRL_D_Pressed()
{
    if (!isVisible())
        return;
    setFocus();
    m_textView->verticalScrollBar()->triggerAction(QAbstractSlider::SliderPageStepAdd);
}

void EditorPanel::on_Slash_Pressed()
{
    if (m_searchField->hasFocus())
        m_searchField->insert(QStringLiteral("/"));
    else
        onNextBtnClicked();
}

void EditorPanel::on_Question_Pressed()
{
    if (m_searchField->hasFocus())
        m_searchField->insert(QStringLiteral("?"));
    else
        onPrevBtnClicked();
}

void EditorPanel::on_J_Pressed(int extra)
{
    if (m_searchField->hasFocus())
        m_searchField->insert(QStringLiteral("j"));
    else
        TextPanel::on_J_Pressed(extra);
}

void EditorPanel::on_K_Pressed(int extra)
{
    if (m_searchField->hasFocus())
        m_searchField->insert(QStringLiteral("k"));
    else
        TextPanel::on_K_Pressed(extra);
}
