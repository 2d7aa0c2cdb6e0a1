// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QComboBox>
#include <QStringList>

// A combo box for a narrow tool bar: the closed box may show a short text per entry (the unit,
// say) while the list shows the entries in full, and it paints its prompt text while nothing is
// chosen (not every style does).
class QtViloToolComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit QtViloToolComboBox(QWidget *parent = nullptr);

    // One short text per entry, in entry order; empty to show the entries themselves.
    void setShortTexts(const QStringList &texts);
    // What the closed box shows: the short text, the entry, or the prompt.
    QString shownText() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    void showPopup() override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QStringList m_shortTexts;
};
