#pragma once

#include <QSyntaxHighlighter>

// Colours log lines by their prefixes and the monitor's event words.
class LogHighlighter : public QSyntaxHighlighter
{
    Q_OBJECT
public:
    explicit LogHighlighter(QTextDocument *document);

protected:
    void highlightBlock(const QString &text) override;
};
