// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QAbstractSpinBox>

// A spin box over the whole unsigned 32-bit range, edited in base 16: trace level and device
// mask are bit masks, and 0xFFFFFFFF (every bit) is the value users reach for first.
class HexSpinBox : public QAbstractSpinBox
{
    Q_OBJECT
public:
    explicit HexSpinBox(QWidget *parent = nullptr);

    quint32 value() const { return m_value; }
    void setValue(quint32 value);
    QString prefix() const { return QStringLiteral("0x"); }

    void stepBy(int steps) override;
    QValidator::State validate(QString &input, int &pos) const override;
    void fixup(QString &input) const override;

signals:
    void valueChanged(quint32 value);

protected:
    StepEnabled stepEnabled() const override;

private:
    bool parse(const QString &text, quint32 *value) const;
    void onEdited();

    quint32 m_value = 0;
};
