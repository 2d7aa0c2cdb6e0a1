// SPDX-License-Identifier: LGPL-3.0-or-later
#include "monitor/ui/hexspinbox.h"

#include <QLineEdit>

HexSpinBox::HexSpinBox(QWidget *parent) : QAbstractSpinBox(parent)
{
    lineEdit()->setText(prefix() + QStringLiteral("0"));
    connect(lineEdit(), &QLineEdit::textEdited, this, &HexSpinBox::onEdited);
    connect(this, &QAbstractSpinBox::editingFinished, this, [this] {
        lineEdit()->setText(prefix() + QString::number(m_value, 16).toUpper());
    });
}

void HexSpinBox::setValue(quint32 value)
{
    const QString text = prefix() + QString::number(value, 16).toUpper();
    if (lineEdit()->text() != text)
        lineEdit()->setText(text);
    if (value == m_value)
        return;
    m_value = value;
    emit valueChanged(value);
}

bool HexSpinBox::parse(const QString &text, quint32 *value) const
{
    QString digits = text.trimmed();
    if (digits.startsWith(prefix(), Qt::CaseInsensitive))
        digits = digits.mid(prefix().size());
    if (digits.isEmpty() || digits.size() > 8)
        return false;
    bool ok = false;
    const uint v = digits.toUInt(&ok, 16);
    if (ok)
        *value = v;
    return ok;
}

void HexSpinBox::onEdited()
{
    quint32 v = 0;
    if (parse(lineEdit()->text(), &v) && v != m_value) {
        m_value = v;
        emit valueChanged(v);
    }
}

void HexSpinBox::stepBy(int steps)
{
    const qint64 v = qBound<qint64>(0, qint64(m_value) + steps, 0xFFFFFFFFLL);
    setValue(quint32(v));
    selectAll();
}

QAbstractSpinBox::StepEnabled HexSpinBox::stepEnabled() const
{
    StepEnabled e = StepNone;
    if (m_value > 0)
        e |= StepDownEnabled;
    if (m_value < 0xFFFFFFFFu)
        e |= StepUpEnabled;
    return e;
}

QValidator::State HexSpinBox::validate(QString &input, int &) const
{
    // Typed over a selection the prefix may be gone for a moment; it comes back on return.
    QString digits = input.trimmed();
    if (digits.startsWith(prefix(), Qt::CaseInsensitive))
        digits = digits.mid(prefix().size());
    if (digits.isEmpty())
        return QValidator::Intermediate;
    quint32 v = 0;
    return parse(input, &v) ? QValidator::Acceptable : QValidator::Invalid;
}

void HexSpinBox::fixup(QString &input) const
{
    input = prefix() + QString::number(m_value, 16).toUpper();
}
