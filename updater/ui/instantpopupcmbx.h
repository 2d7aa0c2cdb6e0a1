// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QComboBox>

// A combo box that opens its list as soon as it is shown (an editor in a task cell should
// not need a second click) and tells when the list closes.
class InstantPopupCmBx : public QComboBox
{
    Q_OBJECT
public:
    explicit InstantPopupCmBx(QWidget *parent = nullptr);

    void showPopup() override;
    void hidePopup() override;
    bool isPopupShown() const { return m_popupShown; }

signals:
    void PopupHidden();

protected:
    void showEvent(QShowEvent *event) override;

private:
    bool m_popupShown = false;
    bool m_openedOnce = false;
};
