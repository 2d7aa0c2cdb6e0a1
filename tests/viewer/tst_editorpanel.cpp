// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"
#include "viewertestutil.h"

#include "util/ui/notify.h"
#include "viewer/core/filereaderwriter.h"
#include "viewer/core/filesearcher.h"
#include "viewer/core/occurrencefilter.h"
#include "viewer/core/viewerengine.h"
#include "viewer/ui/editor.h"
#include "viewer/ui/editorpanel.h"
#include "viewer/ui/qxtspanslider.h"

#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QScopeGuard>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QtTest>

#include <functional>
#include <memory>
#include <thread>

using namespace ViewerTest;

namespace {

// Generous, only to end a hung run: every wait below polls for a state, never for a time.
constexpr int Wait = 30000;

// "line 00001" ... one line per number, each ended by the given terminator.
QByteArray numberedLines(int first, int last, const char *end = "\n")
{
    QByteArray out;
    for (int i = first; i <= last; ++i)
        out += QByteArray("line ") + QByteArray::number(i).rightJustified(5, '0') + end;
    return out;
}

QStringList visibleBlocks(const Editor *editor)
{
    QStringList texts;
    for (QTextBlock b = editor->document()->firstBlock(); b.isValid(); b = b.next()) {
        if (b.isVisible())
            texts << b.text();
    }
    return texts;
}

bool openAndWait(EditorPanel &panel, const QString &path)
{
    return panel.openFile(path) && settle(panel.engine()->readerWriter());
}

// Lines first..last as the editor shows them; a range that ends inside the file may hold
// or drop its last line end.
void compareLines(const EditorPanel &panel, int first, int last)
{
    const QString text = panel.editor()->toPlainText();
    QCOMPARE(text.endsWith(QLatin1Char('\n')) ? text : text + QLatin1Char('\n'),
             QString::fromLatin1(numberedLines(first, last)));
}

// Clicks the toolbar button with this tooltip or action text.
void clickTool(EditorPanel &panel, const QString &text)
{
    for (QToolButton *button : panel.toolBar()->findChildren<QToolButton *>()) {
        const QAction *action = button->defaultAction();
        if (button->toolTip() == text || (action && action->text() == text)) {
            QTest::mouseClick(button, Qt::LeftButton);
            return;
        }
    }
    QFAIL(qPrintable(text));
}

int shownLower(const EditorPanel &panel)
{
    return panel.editor()->document()->firstBlock().text().mid(5).toInt() - 1;
}

} // namespace

class Tst : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QStringList m_boxes; // kind, title and text of each message box asked for

private slots:
    void init()
    {
        m_boxes.clear();
        Notify::setHook([this](Notify::Kind kind, const QString &title, const QString &text) {
            m_boxes << QStringList{QString::number(int(kind)), title, text}.join(QLatin1Char('|'));
            return QMessageBox::Ok;
        });
    }
    void cleanup() { Notify::setHook(nullptr); }

    // CR LF ends a line just as LF does; the whole span is loaded, not one line less, and the
    // line-number area fits the largest number shown.
    void largeFileLoadsTheWholeSpan_data()
    {
        QTest::addColumn<QByteArray>("end");
        QTest::newRow("LF") << QByteArray("\n");
        QTest::newRow("CR LF") << QByteArray("\r\n");
    }
    void largeFileLoadsTheWholeSpan()
    {
        QFETCH(QByteArray, end);
        const QString path =
            writeFile(m_dir, QStringLiteral("whole.log"), numberedLines(1, 12000, end.constData()));
        EditorPanel panel;
        const Editor *editor = panel.editor();
        const int nine = editor->fontMetrics().horizontalAdvance(QLatin1Char('9'));
        QCOMPARE(editor->lineNumberAreaWidth(), nine + 13); // no lines: one digit
        QVERIFY(openAndWait(panel, path));
        QxtSpanSlider *slider = panel.spanSlider();
        QCOMPARE(slider->maximum(), 12001);
        compareLines(panel, 1, 4000);
        slider->setSpan(8000, 12000);
        QCOMPARE(slider->toolTip(), QStringLiteral("Offset: 8000\nSpan: 4000\nMax: 12001"));
        compareLines(panel, 8001, 12000);
        QCOMPARE(editor->lineNumberAreaWidth(), 5 * nine + 13);

        // The gutter counts the file's lines, or the editor's once picked in its menu; the
        // live panel starts with the editor's.
        const QTextBlock first = editor->document()->firstBlock();
        QCOMPARE(editor->shownNumber(first), qint64(8001));
        const QList<QAction *> modes = editor->lineNumberOptionsMenu()->actions();
        modes.at(1)->trigger();
        QCOMPARE(editor->shownNumber(first), qint64(1));
        QVERIFY(!modes.at(0)->isChecked());
        const EditorPanel live(nullptr, EditorPanel::Live);
        QVERIFY(live.editor()->lineNumberOptionsMenu()->actions().at(1)->isChecked());
    }

    void searchCountsAndWraps_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("lines"); // that hold it, with others between them
        const QStringList ascii = {"alpha one", "gamma ALPHA two", "three Alpha"};
        const QStringList accented = {"gr\u00fc\u00dfe", "\u00dcBER", "M\u00fcller"};
        const QStringList euro = {"5 \u20ac", "\u20ac\u00fc", "\u00e9\u20ac"};
        const QString other = QStringLiteral("\nbeta\n");
        QTest::newRow("ASCII") << ascii.join(other).toLatin1() << QStringLiteral("alpha") << ascii;
        QTest::newRow("UTF-8") << accented.join(other).toUtf8() << QStringLiteral("\u00fc")
                               << accented;
        QTest::newRow("Latin-1") << accented.join(other).toLatin1() << QStringLiteral("\u00fc")
                                 << accented;
        QTest::newRow("UTF-8, beyond Latin-1")
            << euro.join(other).toUtf8() << QStringLiteral("\u20ac") << euro;
    }
    void searchCountsAndWraps()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, text);
        QFETCH(QStringList, lines);
        EditorPanel panel;
        QVERIFY(openAndWait(panel, writeFile(m_dir, QStringLiteral("search.txt"), data)));

        for (const QChar c : text) // keyClicks knows ASCII keys only
            QTest::sendKeyEvent(QTest::Click, panel.searchField(), Qt::Key_unknown, c, {});
        QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" --/-- "));
        QTRY_COMPARE_WITH_TIMEOUT(panel.counterLabel()->text(), QStringLiteral(" 0/3/3 "), Wait);

        // Next, "/" (the search field has no focus), wrap, previous, wrap back, "?".
        const std::function<void()> moves[] = {
            [&] { panel.onNextBtnClicked(); },  [&] { panel.on_Slash_Pressed(); },
            [&] { panel.onNextBtnClicked(); },  [&] { panel.onNextBtnClicked(); },
            [&] { panel.onPrevBtnClicked(); },  [&] { panel.on_Question_Pressed(); }};
        const int expected[] = {1, 2, 3, 1, 3, 2};
        for (int i = 0; i < 6; ++i) {
            moves[i]();
            const QTextCursor cursor = panel.editor()->textCursor();
            QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" %1/3/3 ").arg(expected[i]));
            QCOMPARE(cursor.selectedText().toLower(), text);
            QCOMPARE(cursor.block().text(), lines[expected[i] - 1]);
        }

        panel.searchField()->clear();
        QTRY_COMPARE_WITH_TIMEOUT(panel.counterLabel()->text(), QStringLiteral(" 0/0/0 "), Wait);
        QReadLocker marks(&panel.engine()->index().matchAnnotationLock);
        QVERIFY(panel.engine()->annotations().searchMarks.isEmpty()); // none left on the slider
    }

    // Filter buttons clicked in turn (Errors, Warnings, Matches of "alpha"). A filter clicked
    // off before its result arrives must not take over next and previous; a NUL shows as space.
    void filtersHideLines_data()
    {
        QTest::addColumn<QString>("clicks");
        QTest::addColumn<QStringList>("shown");
        const QStringList all = {"plain start", "ERROR: disk full", "plain alpha",
                                 "WARN : low memory", "ERROR: again alpha", "just text", ""};
        QTest::newRow("errors") << "E" << QStringList{all[1], all[4]};
        QTest::newRow("errors and warnings") << "EW" << QStringList{all[1], all[3], all[4]};
        QTest::newRow("matches") << "M" << QStringList{all[2], all[4]};
        QTest::newRow("matches and warnings") << "MW" << QStringList{all[2], all[3], all[4]};
        QTest::newRow("all off again") << "EWEW" << all;
        QTest::newRow("off before the result") << "EE" << all;
    }
    void filtersHideLines()
    {
        QFETCH(QString, clicks);
        QFETCH(QStringList, shown);
        QByteArray log("plain start\nERROR: disk full\nplain alpha\n"
                       "WARN : low memory\nERROR: again alpha\njust text\n");
        log[5] = '\0';
        EditorPanel panel;
        QVERIFY(openAndWait(panel, writeFile(m_dir, QStringLiteral("filter.log"), log)));
        panel.searchField()->setText(QStringLiteral("alpha"));
        QTRY_COMPARE_WITH_TIMEOUT(panel.counterLabel()->text(), QStringLiteral(" 0/2/2 "), Wait);
        for (const QChar c : clicks) {
            const int button = c == QLatin1Char('E')   ? TextPanel::ErrorFilter
                               : c == QLatin1Char('W') ? TextPanel::WarningFilter
                                                       : TextPanel::MatchFilter;
            QTest::mouseClick(panel.toggleButton(button), Qt::LeftButton);
        }
        QVERIFY(settle(panel.engine()->filter()));
        QCOMPARE(visibleBlocks(panel.editor()), shown);
        if (shown.size() == 7) { // no filter left: next walks the search again
            QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" 0/2/2 "));
            panel.onNextBtnClicked();
            QCOMPARE(panel.editor()->textCursor().selectedText(), QStringLiteral("alpha"));
        }
    }

    void refusesBinaryFiles()
    {
        QByteArray bytes;
        for (int i = 0; i < 256; ++i)
            bytes.append(char(i));
        const QString binary = writeFile(m_dir, QStringLiteral("data.bin"), bytes);
        const QString text = writeFile(m_dir, QStringLiteral("kept.txt"), "kept\n");
        EditorPanel panel;
        QVERIFY(panel.openFile(text));
        QVERIFY(m_boxes.isEmpty());

        QVERIFY(!panel.openFile(binary));
        QCOMPARE(m_boxes, QStringList(QStringLiteral("%1|File Type Error|"
                                                     "The selected file is not a text file!\n"
                                                     "Only text files can be opened in the editor!")
                                          .arg(int(Notify::Kind::Critical))));
        QCOMPARE(panel.filePath(), text);
        QVERIFY(settle(panel.engine()->readerWriter()));
        QCOMPARE(panel.editor()->toPlainText(), QStringLiteral("kept\n"));
    }

    // A file over the index's size limit, or one that cannot be read, is reported in the
    // panel; nothing of it is read and the panel goes on working.
    void unindexableFileIsReportedAndThePanelLives_data()
    {
        QTest::addColumn<bool>("huge");
        QTest::addColumn<QString>("message");
        QTest::newRow("over 2 GiB") << true << QStringLiteral("too large to index");
        QTest::newRow("not a regular file") << false << QStringLiteral("Cannot read");
    }
    void unindexableFileIsReportedAndThePanelLives()
    {
        QFETCH(bool, huge);
        QFETCH(QString, message);
        QString path =
            m_dir.filePath(huge ? QStringLiteral("huge.log") : QStringLiteral("dir.log"));
        if (huge) {
            QFile file(path);
            // Sparse, and exactly the smallest size refused; no byte of it is read.
            if (!file.open(QIODevice::WriteOnly) || !file.resize(qint64(1) << 31))
                QSKIP("this file system cannot hold a sparse 2 GiB file");
        } else {
            QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("dir.log")));
        }
        EditorPanel panel;
        QVERIFY(openAndWait(panel, path));
        QCoreApplication::processEvents();
        QVERIFY2(panel.statusLabel()->text().contains(message),
                 qPrintable(panel.statusLabel()->text()));
        QCOMPARE(panel.editor()->toPlainText(), QString());

        const QString small = writeFile(m_dir, QStringLiteral("after.log"), "still alive\n");
        QVERIFY(panel.openFile(small));
        QTRY_COMPARE_WITH_TIMEOUT(panel.editor()->toPlainText(), QStringLiteral("still alive\n"),
                                  Wait);
        QTRY_COMPARE_WITH_TIMEOUT(panel.statusLabel()->text(), QString(), Wait);
    }

    // While a worker holds the index for the whole pass, the slider still paints, the
    // panel keeps showing progress and the search counter grows.
    void busyIndexerNeverStallsThePanel()
    {
        const QString path = writeFile(m_dir, QStringLiteral("busy.log"), numberedLines(1, 9000));
        EditorPanel panel;
        panel.resize(600, 400);
        panel.show();
        bool gaveUp = false;
        {
            // Held as a busy indexer holds it, so the indexer stops at its first line batch; the
            // holder gives up after 20 s, so an old build that waits on it fails, not hangs.
            QSemaphore taken, freed;
            std::thread holder([&, lock = &panel.engine()->index().lineLock] {
                QWriteLocker held(lock);
                taken.release();
                gaveUp = !freed.tryAcquire(1, 20000);
            });
            const auto release = qScopeGuard([&] {
                freed.release();
                holder.join();
            });
            taken.acquire();
            QVERIFY(panel.openFile(path));
            QTest::qWait(50); // lets the indexer take the locks it holds for the whole pass
            QVERIFY(!panel.spanSlider()->grab().isNull());
            // A progress step arrives while the rest of the file is still being indexed.
            emit panel.engine()->readerWriter()->FileIndexed(path, 4000);
            QVERIFY(panel.statusLabel()->text().startsWith(QStringLiteral("Indexing...")));
            panel.searchField()->setText(QStringLiteral("line 0"));
            emit panel.engine()->searcher()->SearchProcessed(QStringLiteral("line 0"), 7, 100);
            QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" --/--/7 "));
        }
        QVERIFY2(!gaveUp, "the panel waited for the indexer's locks");
        QTRY_COMPARE_WITH_TIMEOUT(panel.counterLabel()->text(), QStringLiteral(" 0/4000/9000 "),
                                  Wait);
        QTRY_COMPARE_WITH_TIMEOUT(panel.statusLabel()->text(), QString(), Wait);
        compareLines(panel, 1, 4000);
    }

    // One line of many megabytes is shown cut with a marker; the filters see all of it.
    void longLineIsShownCutAndFilteredWhole()
    {
        const QByteArray longLine = QByteArray(300000, 'x') + " ERROR: at the end";
        const QString path =
            writeFile(m_dir, QStringLiteral("long.log"), "first\n" + longLine + "\nlast\n");
        EditorPanel panel;
        QVERIFY(openAndWait(panel, path));
        const QString shown = panel.editor()->document()->findBlockByNumber(1).text();
        QVERIFY2(shown.size() < 20000, qPrintable(QString::number(shown.size())));
        QVERIFY(shown.startsWith(QStringLiteral("xxxx")));
        QVERIFY2(
            shown.contains(QStringLiteral("%L1 more bytes not shown").arg(longLine.size() - 10000)),
            qPrintable(shown.right(60)));

        panel.toggleButton(TextPanel::ErrorFilter)->setChecked(true);
        QVERIFY(settle(panel.engine()->filter()));
        QCOMPARE(visibleBlocks(panel.editor()), QStringList{shown});
        QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" 0/1/1 "));
        panel.onNextBtnClicked();
        QCOMPARE(panel.editor()->textCursor().blockNumber(), 1);

        // Saving writes the line whole.
        const QString saved = m_dir.filePath(QStringLiteral("saved.log"));
        QTimer answer;
        QObject::connect(&answer, &QTimer::timeout, [&] {
            // The whole path typed as the name: the folder the dialog settles on does not matter.
            if (auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget())) {
                dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(saved);
                QMetaObject::invokeMethod(dialog, "accept");
            }
        });
        answer.start(10);
        clickTool(panel, QStringLiteral("Save text in editor to file"));
        QFile file(saved);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), "first\n" + longLine + "\nlast\n");
    }

    // Reload, re-opening and a file that shrank keep the lines, span and scroll position.
    void reloadKeepsThePlace_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<int>("linesAfter");
        QTest::addColumn<int>("lowerAfter");
        QTest::newRow("reload button") << "button" << 10000 << 5000;
        QTest::newRow("opened again") << "open" << 10000 << 5000;
        QTest::newRow("file shrank") << "button" << 6000 << 2001; // 6001 rows: the last is empty
    }
    void reloadKeepsThePlace()
    {
        QFETCH(QString, how);
        QFETCH(int, linesAfter);
        QFETCH(int, lowerAfter);
        const QString path =
            writeFile(m_dir, QStringLiteral("reload.log"), numberedLines(1, 10000));
        EditorPanel panel;
        panel.resize(600, 400);
        panel.show();
        QVERIFY(openAndWait(panel, path));
        panel.spanSlider()->setSpan(5000, 9000);
        QScrollBar *bar = panel.editor()->verticalScrollBar();
        bar->setValue(bar->maximum() / 2);
        const int scrolled = bar->value();
        QCOMPARE(shownLower(panel), 5000);

        writeFile(m_dir, QStringLiteral("reload.log"), numberedLines(1, linesAfter));
        if (how == QLatin1String("button"))
            clickTool(panel, QStringLiteral("Reload current file from disk"));
        else
            QVERIFY(panel.openFile(path));
        QVERIFY(settle(panel.engine()->readerWriter()));
        QCOMPARE(panel.spanSlider()->toolTip().section(QLatin1Char('\n'), 0, 1),
                 QStringLiteral("Offset: %1\nSpan: 4000").arg(lowerAfter));
        QCOMPARE(shownLower(panel), lowerAfter);
        QCOMPARE(panel.editor()->blockCount(), 4000);
        QCOMPARE(bar->value(), scrolled);
    }

    // Paging the slider moves by the lines shown; span down never jumps past unseen lines.
    void pageStepsFollowTheSpan_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<int>("span");
        QTest::addColumn<int>("lower");
        QTest::newRow("groove click") << "click" << 4000 << 4000;
        QTest::newRow("page down") << "page" << 4000 << 4000;
        QTest::newRow("span down, wide span") << "span" << 12000 << 2000;
    }
    void pageStepsFollowTheSpan()
    {
        QFETCH(QString, how);
        QFETCH(int, span);
        QFETCH(int, lower);
        const QString path = writeFile(m_dir, QStringLiteral("pages.log"), numberedLines(1, 30000));
        EditorPanel panel;
        panel.resize(600, 400);
        panel.show();
        QVERIFY(openAndWait(panel, path));
        QxtSpanSlider *slider = panel.spanSlider();
        slider->setSpan(0, span);
        if (how == QLatin1String("click"))
            QTest::mouseClick(slider, Qt::LeftButton, {},
                              QPoint(slider->width() / 2, slider->height() - 12));
        else if (how == QLatin1String("page"))
            QTest::keyClick(slider, Qt::Key_PageDown);
        else
            clickTool(panel, QStringLiteral("Span down"));
        QCOMPARE(slider->lowerValue(), lower);
        QCOMPARE(shownLower(panel), lower);
    }

    // In a span at the end of a file of LF and CR LF lines, the error filter shows that span's
    // error lines only; next selects each marker, after UTF-8 and Latin-1 text too, and wraps.
    void filterSelectionsMatchNonAsciiText()
    {
        const QString before[] = {QStringLiteral("gr\u00fc\u00dfe"), QStringLiteral("caf\u00e9"),
                                  QStringLiteral("\u20ac\u20ac")};
        QByteArray data;
        QStringList shown;
        for (int i = 1; i <= 12000; ++i) {
            QString line = QStringLiteral("line %1").arg(i);
            if (i % 1000 == 500)
                line += QLatin1Char(' ') + before[i / 1000 % 3] + QStringLiteral(" ERROR: x");
            if (i % 1000 == 700)
                line += QStringLiteral(" \u00f6 WARN : y");
            data += i / 1000 % 3 == 1 ? line.toLatin1() : line.toUtf8();
            data += i % 3 ? "\r\n" : "\n";
            if (i > 8000 && i % 1000 == 500)
                shown << line;
        }
        EditorPanel panel;
        QVERIFY(openAndWait(panel, writeFile(m_dir, QStringLiteral("span.log"), data)));
        panel.spanSlider()->setSpan(8000, 12000);
        QTest::mouseClick(panel.toggleButton(TextPanel::ErrorFilter), Qt::LeftButton);
        QVERIFY(settle(panel.engine()->filter()));
        QCOMPARE(visibleBlocks(panel.editor()), shown);
        QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" 0/4/12 "));
        for (int i = 0; i <= shown.size(); ++i) {
            panel.onNextBtnClicked();
            const QTextCursor cursor = panel.editor()->textCursor();
            QCOMPARE(cursor.selectedText(), QStringLiteral("ERROR:"));
            QCOMPARE(cursor.block().text(), shown[i % shown.size()]);
        }
    }
};

QTEST_MAIN(Tst)
#include "tst_editorpanel.moc"
