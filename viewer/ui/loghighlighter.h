// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QColor>
#include <QString>
#include <QSyntaxHighlighter>
#include <QVector>

// Colours log lines by their prefixes and the monitor's event words.
class LogHighlighter : public QSyntaxHighlighter
{
    Q_OBJECT
public:
    // One coloured match; spans come in the order they are applied, so where two overlap
    // the later one wins.
    struct Span
    {
        int start;
        int length;
        QColor colour;
        int weight;
    };

    explicit LogHighlighter(QTextDocument *document);

    // The spans highlightBlock applies to a line, without a document.
    static QVector<Span> spans(const QString &line);

protected:
    void highlightBlock(const QString &text) override;
};
