#include "testenv.h"

#include "util/ui/notify.h"
#include "viewer/core/filereaderwriter.h"
#include "viewer/core/occurrencefilter.h"
#include "viewer/core/viewerengine.h"
#include "viewer/ui/editor.h"
#include "viewer/ui/editorpanel.h"
#include "viewer/ui/qxtspanslider.h"

#include <QLabel>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QToolButton>
#include <QtTest>

#include <memory>

namespace {

// Generous, only to end a hung run: every wait below polls for a state, never for a time.
constexpr int Wait = 30000;

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &data)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(data) != data.size())
        return QString();
    return path;
}

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

// Each worker handles its queue in order and posts its results here before the marker it
// posts back, so once the marker has arrived every earlier request's result has been
// delivered. The event loop keeps running meanwhile: the filter waits for the panel to take
// each result before it starts the next.
bool settle(QObject *worker)
{
    auto done = std::make_shared<bool>(false);
    QObject *here = QCoreApplication::instance();
    QMetaObject::invokeMethod(worker, [done, here] {
        QMetaObject::invokeMethod(
            here, [done] { *done = true; }, Qt::QueuedConnection);
    });
    return QTest::qWaitFor([done] { return *done; }, Wait);
}

// Lines first..last as the editor shows them; a range that ends inside the file may hold
// or drop its last line end.
void compareLines(const EditorPanel &panel, int first, int last)
{
    const QTextDocument *doc = panel.editor()->document();
    QCOMPARE(doc->firstBlock().text(),
             QStringLiteral("line %1").arg(first, 5, 10, QLatin1Char('0')));
    QCOMPARE(doc->findBlockByNumber(last - first).text(),
             QStringLiteral("line %1").arg(last, 5, 10, QLatin1Char('0')));
    const QString text = panel.editor()->toPlainText();
    QCOMPARE(text.endsWith(QLatin1Char('\n')) ? text : text + QLatin1Char('\n'),
             QString::fromLatin1(numberedLines(first, last)));
}

// Six lines: errors, a warning and plain text, two of them with "alpha".
QString writeFilterLog(const QTemporaryDir &dir)
{
    return writeFile(dir, QStringLiteral("filter.log"),
                     "plain start\nERROR: disk full\nplain alpha\n"
                     "WARN : low memory\nERROR: again alpha\njust text\n");
}

struct Box
{
    Notify::Kind kind;
    QString title, text;
};

} // namespace

class Tst : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QVector<Box> m_boxes;

private slots:
    void init()
    {
        m_boxes.clear();
        Notify::setHook([this](Notify::Kind kind, const QString &title, const QString &text) {
            m_boxes.append({kind, title, text});
            return QMessageBox::Ok;
        });
    }
    void cleanup() { Notify::setHook(nullptr); }

    void smallFileIsLoadedWhole()
    {
        QByteArray data = numberedLines(1, 4);
        data += QByteArray("nul\0in\0\0line\n", 14);
        data += numberedLines(6, 10);
        const QString path = writeFile(m_dir, QStringLiteral("small.log"), data);
        EditorPanel panel;
        QVERIFY(panel.openFile(path));
        QCOMPARE(panel.filePath(), path);
        QCOMPARE(panel.statusLabel()->text(), QStringLiteral("Indexing..."));
        QTRY_VERIFY_WITH_TIMEOUT(panel.statusLabel()->text().isEmpty(), Wait);
        QVERIFY(settle(panel.engine()->readerWriter()));

        QByteArray shown = data;
        shown.replace('\0', ' ');
        QCOMPARE(panel.editor()->toPlainText(), QString::fromLatin1(shown));
        QCOMPARE(panel.editor()->document()->findBlockByNumber(4).text(),
                 QStringLiteral("nul in  line"));

        const QxtSpanSlider *slider = panel.spanSlider();
        QCOMPARE(slider->lowerValue(), 0);
        QVERIFY2(slider->maximum() >= 10, qPrintable(QString::number(slider->maximum())));
        QCOMPARE(slider->upperValue(), slider->maximum());
        QCOMPARE(slider->toolTip(),
                 QStringLiteral("Offset: 0\nSpan: %1\nMax: %1").arg(slider->maximum()));
    }

    void largeFileSpanAndLineEnds()
    {
        const QString lfPath =
            writeFile(m_dir, QStringLiteral("large.log"), numberedLines(1, 10000));
        const QString crlfPath =
            writeFile(m_dir, QStringLiteral("large_crlf.log"), numberedLines(1, 10000, "\r\n"));
        EditorPanel panel;
        QVERIFY(panel.openFile(lfPath));
        QVERIFY(settle(panel.engine()->readerWriter()));
        QxtSpanSlider *slider = panel.spanSlider();
        QVERIFY2(slider->maximum() >= 10000, qPrintable(QString::number(slider->maximum())));
        QCOMPARE(slider->lowerValue(), 0);
        QCOMPARE(slider->upperValue(), Editor::ViewerBlockCount);
        QCOMPARE(panel.editor()->blockCount(), Editor::ViewerBlockCount);
        const QString head = panel.editor()->toPlainText();

        slider->setSpan(5000, 9000);
        QCOMPARE(slider->toolTip(),
                 QStringLiteral("Offset: 5000\nSpan: 4000\nMax: %1").arg(slider->maximum()));
        const QString middle = panel.editor()->toPlainText();
        QVERIFY(middle != head);

        // CR LF ends a line just as LF does.
        QVERIFY(panel.openFile(crlfPath));
        QVERIFY(settle(panel.engine()->readerWriter()));
        QCOMPARE(panel.editor()->toPlainText(), head);
        slider->setSpan(5000, 9000);
        QCOMPARE(panel.editor()->toPlainText(), middle);
    }

    void largeFileLoadsTheWholeSpan()
    {
        const QString path = writeFile(m_dir, QStringLiteral("whole.log"), numberedLines(1, 10000));
        EditorPanel panel;
        QVERIFY(panel.openFile(path));
        QVERIFY(settle(panel.engine()->readerWriter()));
        compareLines(panel, 1, 4000);
        panel.spanSlider()->setSpan(5000, 9000);
        compareLines(panel, 5001, 9000);
    }

    void searchCountsAndWraps()
    {
        const QString path =
            writeFile(m_dir, QStringLiteral("search.txt"),
                      "alpha one\nbeta\ngamma ALPHA two\ndelta\nepsilon\nthree Alpha\nzeta\n");
        EditorPanel panel;
        QVERIFY(panel.openFile(path));
        QVERIFY(settle(panel.engine()->readerWriter()));

        QTest::keyClicks(panel.searchField(), QStringLiteral("alpha"));
        QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" --/-- "));
        QTRY_COMPARE_WITH_TIMEOUT(panel.counterLabel()->text(), QStringLiteral(" 0/3/3 "), Wait);

        const auto selected = [&panel] {
            const QTextCursor cursor = panel.editor()->textCursor();
            return qMakePair(cursor.selectedText().toLower(), cursor.block().text());
        };
        const QString lines[] = {QStringLiteral("alpha one"), QStringLiteral("gamma ALPHA two"),
                                 QStringLiteral("three Alpha")};
        for (int i = 1; i <= 3; ++i) {
            if (i == 2)
                panel.on_Slash_Pressed(); // the search field has no focus: next match
            else
                panel.onNextBtnClicked();
            QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" %1/3/3 ").arg(i));
            QCOMPARE(selected(), qMakePair(QStringLiteral("alpha"), lines[i - 1]));
        }
        panel.onNextBtnClicked();
        QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" 1/3/3 "));
        QCOMPARE(selected(), qMakePair(QStringLiteral("alpha"), lines[0]));
        panel.onPrevBtnClicked();
        QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" 3/3/3 "));
        QCOMPARE(selected(), qMakePair(QStringLiteral("alpha"), lines[2]));
        panel.on_Question_Pressed();
        QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" 2/3/3 "));
        QCOMPARE(selected(), qMakePair(QStringLiteral("alpha"), lines[1]));

        panel.searchField()->clear();
        QTRY_COMPARE_WITH_TIMEOUT(panel.counterLabel()->text(), QStringLiteral(" 0/0/0 "), Wait);
    }

    void filtersHideLines()
    {
        EditorPanel panel;
        QVERIFY(panel.openFile(writeFilterLog(m_dir)));
        QVERIFY(settle(panel.engine()->readerWriter()));
        const QStringList all = visibleBlocks(panel.editor());
        QCOMPARE(all.size(), 7); // six lines and the empty one after the last line end
        QToolButton *match = panel.toggleButton(TextPanel::MatchFilter);
        QToolButton *error = panel.toggleButton(TextPanel::ErrorFilter);
        QToolButton *warning = panel.toggleButton(TextPanel::WarningFilter);
        OccurrenceFilter *filter = panel.engine()->filter();
        QCOMPARE(panel.getFilterPattern(), QString());

        error->setChecked(true);
        QCOMPARE(panel.getFilterPattern(), QStringLiteral("ERROR:"));
        QVERIFY(settle(filter));
        QCOMPARE(visibleBlocks(panel.editor()),
                 QStringList({"ERROR: disk full", "ERROR: again alpha"}));

        warning->setChecked(true);
        QCOMPARE(panel.getFilterPattern(), QStringLiteral("ERROR:|WARN :"));
        QVERIFY(settle(filter));
        QCOMPARE(visibleBlocks(panel.editor()),
                 QStringList({"ERROR: disk full", "WARN : low memory", "ERROR: again alpha"}));

        error->setChecked(false); // still filters the warnings, in the background
        warning->setChecked(false);
        QCOMPARE(panel.getFilterPattern(), QString());
        QVERIFY(settle(filter));
        QCOMPARE(visibleBlocks(panel.editor()), all);

        panel.searchField()->setText(QStringLiteral("alpha"));
        QTRY_COMPARE_WITH_TIMEOUT(panel.counterLabel()->text(), QStringLiteral(" 0/2/2 "), Wait);
        match->setChecked(true);
        QCOMPARE(panel.getFilterPattern(), QStringLiteral("alpha"));
        QVERIFY(settle(filter));
        QCOMPARE(visibleBlocks(panel.editor()), QStringList({"plain alpha", "ERROR: again alpha"}));

        warning->setChecked(true);
        QCOMPARE(panel.getFilterPattern(), QStringLiteral("alpha|WARN :"));
        QVERIFY(settle(filter));
        QCOMPARE(visibleBlocks(panel.editor()),
                 QStringList({"plain alpha", "WARN : low memory", "ERROR: again alpha"}));

        match->setChecked(false);
        warning->setChecked(false);
        QVERIFY(settle(filter));
        QCOMPARE(visibleBlocks(panel.editor()), all);
    }

    // A filter switched off before its result arrives must not take over next and previous.
    void lateFilterResultKeepsSearchNavigation()
    {
        EditorPanel panel;
        QVERIFY(panel.openFile(writeFilterLog(m_dir)));
        QVERIFY(settle(panel.engine()->readerWriter()));
        panel.searchField()->setText(QStringLiteral("alpha"));
        QTRY_COMPARE_WITH_TIMEOUT(panel.counterLabel()->text(), QStringLiteral(" 0/2/2 "), Wait);

        panel.toggleButton(TextPanel::ErrorFilter)->setChecked(true);
        panel.toggleButton(TextPanel::ErrorFilter)->setChecked(false);
        QVERIFY(settle(panel.engine()->filter()));
        QCOMPARE(visibleBlocks(panel.editor()).size(), 7);
        QCOMPARE(panel.counterLabel()->text(), QStringLiteral(" 0/2/2 "));
        panel.onNextBtnClicked();
        QCOMPARE(panel.editor()->textCursor().selectedText(), QStringLiteral("alpha"));
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
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].kind, Notify::Kind::Critical);
        QCOMPARE(m_boxes[0].title, QStringLiteral("File Type Error"));
        QCOMPARE(m_boxes[0].text, QStringLiteral("The selected file is not a text file!\n"
                                                 "Only text files can be opened in the editor!"));
        QCOMPARE(panel.filePath(), text);
        QVERIFY(settle(panel.engine()->readerWriter()));
        QCOMPARE(panel.editor()->toPlainText(), QStringLiteral("kept\n"));
    }

    void emptyLineNumberAreaIsOneDigitWide()
    {
        EditorPanel panel;
        const Editor *editor = panel.editor();
        QCOMPARE(editor->lineNumberAreaWidth(),
                 editor->fontMetrics().horizontalAdvance(QLatin1Char('9')) + 13);
    }
};

QTEST_MAIN(Tst)
#include "tst_editorpanel.moc"
