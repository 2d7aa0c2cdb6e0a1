// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QWidgetAction>

class QSpinBox;

// A spin box that lives inside a menu, with a label before it (e.g. a text size).
class SpinBoxMenuAction : public QWidgetAction
{
    Q_OBJECT
public:
    SpinBoxMenuAction(const QString &label, int minimum, int maximum, QObject *parent);
    QSpinBox *spinBox() const { return m_spinBox; }

private:
    QSpinBox *m_spinBox;
};
