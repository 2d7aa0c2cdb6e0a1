// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/ui/qtvilotoolcombobox.h"

#include <QAbstractItemView>
#include <QStyleOptionComboBox>
#include <QStylePainter>

QtViloToolComboBox::QtViloToolComboBox(QWidget *parent) : QComboBox(parent)
{
    setIconSize(QSize(16, 16));
}

void QtViloToolComboBox::setShortTexts(const QStringList &texts)
{
    m_shortTexts = texts;
    updateGeometry();
    update();
}

QString QtViloToolComboBox::shownText() const
{
    const int index = currentIndex();
    if (index < 0)
        return placeholderText();
    return index < m_shortTexts.size() ? m_shortTexts.at(index) : currentText();
}

QSize QtViloToolComboBox::sizeHint() const
{
    QStringList texts = m_shortTexts.isEmpty() ? QStringList() : m_shortTexts;
    for (int i = 0; m_shortTexts.isEmpty() && i < count(); ++i)
        texts << itemText(i);
    texts << placeholderText();
    int textWidth = 0;
    for (const QString &text : qAsConst(texts))
        textWidth = qMax(textWidth, fontMetrics().horizontalAdvance(text));
    const bool icons = count() > 0 && !itemIcon(0).isNull();
    const int iconWidth = icons ? iconSize().width() + 4 : 0;
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const QSize contents(textWidth + iconWidth + 4,
                         qMax(fontMetrics().height(), icons ? iconSize().height() : 0));
    return style()->sizeFromContents(QStyle::CT_ComboBox, &option, contents, this);
}

QSize QtViloToolComboBox::minimumSizeHint() const
{
    return sizeHint();
}

void QtViloToolComboBox::showPopup()
{
    // The list shows the entries in full even when the closed box is narrower.
    view()->setMinimumWidth(view()->sizeHintForColumn(0) + 8);
    QComboBox::showPopup();
}

void QtViloToolComboBox::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    QStyleOptionComboBox option;
    initStyleOption(&option);
    option.currentText = shownText();
    if (currentIndex() < 0) {
        // The palette's own placeholder brush is not drawable with every style: a faded pen.
        QColor faded = option.palette.color(QPalette::ButtonText);
        faded.setAlpha(128);
        option.palette.setColor(QPalette::ButtonText, faded);
    }
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}
