#include "viewer/ui/loghighlighter.h"

LogHighlighter::LogHighlighter(QTextDocument *document) : QSyntaxHighlighter(document) {}

void LogHighlighter::highlightBlock(const QString &) {}
