#pragma once

#include <QMessageBox>
#include <QString>

#include <functional>

class QWidget;

// Every message box of the shell goes through here, so tests can answer them instead of a
// person (a modal box would otherwise block a headless run).
namespace Notify {

enum class Kind { Information, Warning, Critical, Question };

using Hook = std::function<QMessageBox::StandardButton(Kind, const QString &title,
                                                       const QString &text)>;

void setHook(Hook hook);

void information(QWidget *parent, const QString &title, const QString &text);
void warning(QWidget *parent, const QString &title, const QString &text);
void critical(QWidget *parent, const QString &title, const QString &text);
QMessageBox::StandardButton question(QWidget *parent, const QString &title, const QString &text,
                                     QMessageBox::StandardButtons buttons);

} // namespace Notify
