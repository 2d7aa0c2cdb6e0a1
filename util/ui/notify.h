// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QMessageBox>
#include <QString>

#include <functional>
#include <optional>

class QWidget;

// Every message box of the shell goes through here, so tests can answer them instead of a
// person (a modal box would otherwise block a headless run).
namespace Notify {

enum class Kind { Information, Warning, Critical, Question };

using Hook =
    std::function<QMessageBox::StandardButton(Kind, const QString &title, const QString &text)>;

void setHook(Hook hook);

// Answers a one-line text question instead of a person: the text, or no value for Cancel.
using TextHook = std::function<std::optional<QString>(const QString &title, const QString &label)>;
void setTextHook(TextHook hook);

void information(QWidget *parent, const QString &title, const QString &text);
void warning(QWidget *parent, const QString &title, const QString &text);
void critical(QWidget *parent, const QString &title, const QString &text);
QMessageBox::StandardButton question(QWidget *parent, const QString &title, const QString &text,
                                     QMessageBox::StandardButtons buttons,
                                     QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);
// Asks for one line of text (at most maxLength characters); no value when cancelled.
std::optional<QString> getText(QWidget *parent, const QString &title, const QString &label,
                               int maxLength = 32767);

} // namespace Notify
