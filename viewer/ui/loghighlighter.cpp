// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/ui/loghighlighter.h"

#include <QFont>
#include <QLatin1String>
#include <QRegularExpression>
#include <QTextCharFormat>

namespace {

struct Rule
{
    // A piece of text every match contains. Most lines hold none of them, so a plain
    // substring search spares the regular expression on them without changing the result.
    QLatin1String literal;
    QRegularExpression regex;
    QTextCharFormat format;
};

Rule makeRule(const char *literal, const char *pattern, const char *colour, int weight)
{
    Rule rule{QLatin1String(literal), QRegularExpression(QLatin1String(pattern)), {}};
    rule.regex.optimize();
    rule.format.setForeground(QColor(QLatin1String(colour)));
    rule.format.setFontWeight(weight);
    return rule;
}

// Applied in this order; a later rule overrides an earlier one where they overlap.
// Errors and warnings are bold so they stand out while scrolling; everything else keeps
// the normal weight so the columns of a monospace view stay calm.
const QVector<Rule> &rules()
{
    static const QVector<Rule> all{
        makeRule("ERROR:", "ERROR:", "Red", QFont::Bold),
        makeRule("WARN :", "WARN :", "Darkorange", QFont::Bold),
        makeRule("INFO :", "INFO :", "Darkgreen", QFont::Normal),
        makeRule("TRACE :", "\\bTRACE :\\b", "Darkslateblue", QFont::Normal),
        makeRule("CONNECTED", "\\bCONNECTED\\b", "Blueviolet", QFont::Normal),
        makeRule("DISCONNECTED", "\\bDISCONNECTED\\b", "Purple", QFont::Normal),
        makeRule("NOTE", "\\bNOTE\\b", "Fuchsia", QFont::Normal),
        makeRule("Running ", "\\bRunning .../\\b", "Blue", QFont::Normal),
    };
    return all;
}

template <typename Apply>
void forEachMatch(const QString &text, Apply apply)
{
    for (const Rule &rule : rules()) {
        if (!text.contains(rule.literal))
            continue;
        QRegularExpressionMatchIterator it = rule.regex.globalMatch(text);
        while (it.hasNext()) {
            const QRegularExpressionMatch match = it.next();
            apply(rule, int(match.capturedStart()), int(match.capturedLength()));
        }
    }
}

} // namespace

LogHighlighter::LogHighlighter(QTextDocument *document) : QSyntaxHighlighter(document) {}

QVector<LogHighlighter::Span> LogHighlighter::spans(const QString &line)
{
    QVector<Span> result;
    forEachMatch(line, [&result](const Rule &rule, int start, int length) {
        result.append({start, length, rule.format.foreground().color(), rule.format.fontWeight()});
    });
    return result;
}

void LogHighlighter::highlightBlock(const QString &text)
{
    forEachMatch(text, [this](const Rule &rule, int start, int length) {
        setFormat(start, length, rule.format);
    });
}
