// SPDX-License-Identifier: LGPL-3.0-or-later
#include "updater/ui/instantpopupcmbx.h"

#include <QTimer>

InstantPopupCmBx::InstantPopupCmBx(QWidget *parent) : QComboBox(parent) {}

void InstantPopupCmBx::showPopup()
{
    m_popupShown = true;
    QComboBox::showPopup();
}

void InstantPopupCmBx::hidePopup()
{
    QComboBox::hidePopup();
    if (!m_popupShown)
        return;
    m_popupShown = false;
    emit PopupHidden();
}

void InstantPopupCmBx::showEvent(QShowEvent *event)
{
    QComboBox::showEvent(event);
    if (m_openedOnce)
        return;
    m_openedOnce = true;
    // After the show has settled, or the list opens at the wrong place.
    QTimer::singleShot(0, this, [this] {
        if (isVisible() && count() > 0)
            showPopup();
    });
}
