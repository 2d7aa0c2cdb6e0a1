// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>

// Texts of the main window that derive from the application's identity.
QString mainWindowTitle(const QString &applicationName, const QString &version);
QString aboutText(const QString &applicationName, int pointerBits, const QString &version);
QString faqText(const QString &applicationName);
// Days:hours:minutes:seconds, plain decimals, as the status line shows elapsed time.
QString elapsedText(qint64 seconds);
