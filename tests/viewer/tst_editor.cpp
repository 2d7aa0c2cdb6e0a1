// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"

#include "viewer/ui/editor.h"

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
};

QTEST_MAIN(Tst)
#include "tst_editor.moc"
