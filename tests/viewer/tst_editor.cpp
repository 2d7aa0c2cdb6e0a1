#include "testenv.h"

#include "viewer/ui/editor.h"

#include <QMenu>
#include <QTextBlock>
#include <QTextLayout>
#include <QtTest>

namespace {

// Foreground the highlighter left on a character of the block; invalid when none.
QColor colourAt(const QTextBlock &block, int pos)
{
    const auto formats = block.layout()->formats();
    for (const QTextLayout::FormatRange &range : formats) {
        if (pos >= range.start && pos < range.start + range.length
            && range.format.hasProperty(QTextFormat::ForegroundBrush))
            return range.format.foreground().color();
    }
    return QColor();
}

} // namespace

class Tst : public QObject
{
    Q_OBJECT
private slots:
    // Every character of the word has the colour (none: ""), the one before it has none.
    void eachRuleHasItsColour_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("word");
        QTest::addColumn<QString>("colour");
        QTest::newRow("error") << "12:00 ERROR: no link" << "ERROR:" << "Red";
        QTest::newRow("warn") << "12:00 WARN : late" << "WARN :" << "Darkorange";
        QTest::newRow("info") << "12:00 INFO : ready" << "INFO :" << "Darkgreen";
        QTest::newRow("trace") << "12:00 TRACE :x=1" << "TRACE :" << "Darkslateblue";
        QTest::newRow("connected") << "board CONNECTED now" << "CONNECTED" << "Blueviolet";
        QTest::newRow("disconnected") << "board DISCONNECTED now" << "DISCONNECTED" << "Purple";
        QTest::newRow("note") << "NOTE the clock" << "NOTE" << "Fuchsia";
        QTest::newRow("running") << "Running abc/def" << "Running abc/" << "Blue";
        QTest::newRow("two rules, first") << "NOTE ERROR: this" << "NOTE" << "Fuchsia";
        QTest::newRow("two rules, second") << "NOTE ERROR: this" << "ERROR:" << "Red";
        QTest::newRow("trace needs a word after") << "TRACE : x" << "TRACE" << "";
        QTest::newRow("markers are upper case") << "error: note" << "error" << "";
    }
    void eachRuleHasItsColour()
    {
        QFETCH(QString, line);
        QFETCH(QString, word);
        QFETCH(QString, colour);
        Editor editor;
        editor.setPlainText(line);
        const QTextBlock block = editor.document()->firstBlock();
        const int pos = line.indexOf(word);
        for (int i = pos; i < pos + word.size(); ++i)
            QCOMPARE(colourAt(block, i), colour.isEmpty() ? QColor() : QColor(colour));
        if (pos > 0)
            QVERIFY(!colourAt(block, pos - 1).isValid());
    }

    void optionsMenuSwitchesTheMode()
    {
        Editor editor;
        const QList<QAction *> actions = editor.lineNumberOptionsMenu()->actions();
        QCOMPARE(actions.size(), 2);
        QCOMPARE(actions.at(0)->text(), QStringLiteral("File line numbers"));
        QCOMPARE(actions.at(1)->text(), QStringLiteral("Editor line numbers"));
        editor.setPlainText(QStringLiteral("one\ntwo\nthree"));
        editor.setFirstLineNumber(999);
        const QTextBlock first = editor.document()->firstBlock();
        QCOMPARE(editor.shownNumber(first), qint64(1000));
        actions.at(1)->trigger();
        QCOMPARE(editor.shownNumber(first.next()), qint64(2));
        QVERIFY(!actions.at(0)->isChecked());
        editor.setLineNumberMode(Editor::FileLineNumbers); // as the panel does
        QVERIFY(actions.at(0)->isChecked());
        QCOMPARE(editor.shownNumber(first), qint64(1000));
    }
};

QTEST_MAIN(Tst)
#include "tst_editor.moc"
