// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/core/messagehandler.h"

#include <QString>

#include <cstdio>

QByteArray formatConsoleMessage(QtMsgType type, const QMessageLogContext &context,
                                const QString &message)
{
    const char *format = nullptr;
    switch (type) {
    case QtDebugMsg:
        return QByteArray();
    case QtInfoMsg:
        format = "Info: %s (%s:%u, %s)\n";
        break;
    case QtWarningMsg:
        format = "Warning: %s (%s:%u, %s)\n";
        break;
    case QtCriticalMsg:
        format = "Critical: %s (%s:%u, %s)\n";
        break;
    case QtFatalMsg:
        format = "Fatal: %s (%s:%u, %s)\n";
        break;
    }
    const QByteArray local = message.toLocal8Bit();
    const char *file = context.file ? context.file : "";
    const char *function = context.function ? context.function : "";
    const unsigned line = unsigned(context.line);
    const int length = std::snprintf(nullptr, 0, format, local.constData(), file, line, function);
    QByteArray out(length, Qt::Uninitialized);
    std::snprintf(out.data(), size_t(length) + 1, format, local.constData(), file, line, function);
    return out;
}

void consoleMessageHandler(QtMsgType type, const QMessageLogContext &context,
                           const QString &message)
{
    const QByteArray line = formatConsoleMessage(type, context, message);
    if (!line.isEmpty())
        std::fputs(line.constData(), stderr);
    // A fatal message is printed like the others and does not abort by itself.
}
