// SPDX-License-Identifier: LGPL-3.0-or-later
#include "util/ui/spinboxmenuaction.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSpinBox>

SpinBoxMenuAction::SpinBoxMenuAction(const QString &label, int minimum, int maximum,
                                     QObject *parent)
    : QWidgetAction(parent)
{
    auto *holder = new QWidget;
    auto *layout = new QHBoxLayout(holder);
    layout->setContentsMargins(6, 2, 6, 2);
    if (!label.isEmpty())
        layout->addWidget(new QLabel(label, holder));
    m_spinBox = new QSpinBox(holder);
    m_spinBox->setRange(minimum, maximum);
    layout->addWidget(m_spinBox);
    // The action owns the widget from here on.
    setDefaultWidget(holder);
}
