// SPDX-License-Identifier: LGPL-3.0-or-later
#include "util/ui/notify.h"

#include <QInputDialog>
#include <QLineEdit>

namespace Notify {

namespace {
Hook &hook()
{
    static Hook instance;
    return instance;
}

TextHook &textHook()
{
    static TextHook instance;
    return instance;
}
} // namespace

void setHook(Hook newHook)
{
    hook() = std::move(newHook);
}

void setTextHook(TextHook newHook)
{
    textHook() = std::move(newHook);
}

void information(QWidget *parent, const QString &title, const QString &text)
{
    if (hook())
        hook()(Kind::Information, title, text);
    else
        QMessageBox::information(parent, title, text);
}

void warning(QWidget *parent, const QString &title, const QString &text)
{
    if (hook())
        hook()(Kind::Warning, title, text);
    else
        QMessageBox::warning(parent, title, text);
}

void critical(QWidget *parent, const QString &title, const QString &text)
{
    if (hook())
        hook()(Kind::Critical, title, text);
    else
        QMessageBox::critical(parent, title, text);
}

QMessageBox::StandardButton question(QWidget *parent, const QString &title, const QString &text,
                                     QMessageBox::StandardButtons buttons,
                                     QMessageBox::StandardButton defaultButton)
{
    if (hook())
        return hook()(Kind::Question, title, text);
    return QMessageBox::warning(parent, title, text, buttons, defaultButton);
}

std::optional<QString> getText(QWidget *parent, const QString &title, const QString &label,
                               int maxLength)
{
    if (textHook())
        return textHook()(title, label);
    QInputDialog dialog(parent);
    dialog.setWindowTitle(title);
    dialog.setLabelText(label);
    dialog.setTextEchoMode(QLineEdit::Normal);
    if (auto *edit = dialog.findChild<QLineEdit *>())
        edit->setMaxLength(maxLength);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.textValue();
}

} // namespace Notify
