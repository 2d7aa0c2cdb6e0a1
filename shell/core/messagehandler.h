// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QtGlobal>

// The console message handler kept ready as a replacement for the toolkit's default one.
// It is deliberately not installed at start-up.
QByteArray formatConsoleMessage(QtMsgType type, const QMessageLogContext &context,
                                const QString &message);
void consoleMessageHandler(QtMsgType type, const QMessageLogContext &context,
                           const QString &message);
