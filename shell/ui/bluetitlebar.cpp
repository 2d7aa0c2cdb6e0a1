// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/ui/bluetitlebar.h"

#include <QAction>
#include <QApplication>
#include <QBoxLayout>
#include <QDockWidget>
#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QStyle>
#include <QToolBar>

namespace {
const QPixmap &titleImage(int which)
{
    static const QPixmap images[3] = {QPixmap(QStringLiteral(":/res/titlebarLeft.png")),
                                      QPixmap(QStringLiteral(":/res/titlebarCenter.png")),
                                      QPixmap(QStringLiteral(":/res/titlebarRight.png"))};
    return images[which];
}
} // namespace

QString shownWindowTitle(const QWidget *widget)
{
    QString title = widget->windowTitle();
    title.replace(QLatin1String("[*]"),
                  widget->isWindowModified() ? QStringLiteral("*") : QString());
    return title;
}

BlueTitleBar::BlueTitleBar(QDockWidget *dock)
    : QWidget(dock), m_dock(dock), m_titleLabel(new QLabel(this)), m_toolBar(new QToolBar(this))
{
    m_toolBar->setIconSize(QSize(12, 12));
    m_toolBar->setStyleSheet(QStringLiteral("QToolBar { background: transparent; border: 0; }"));
    m_floatAction = m_toolBar->addAction(style()->standardIcon(QStyle::SP_TitleBarNormalButton),
                                         tr("Float"));
    m_closeAction = m_toolBar->addAction(style()->standardIcon(QStyle::SP_TitleBarCloseButton),
                                         tr("Close"));
    connect(m_floatAction, SIGNAL(triggered()), dock, SLOT(FloatingToggle()));
    connect(m_closeAction, &QAction::triggered, dock, &QDockWidget::close);

    QFont bold = m_titleLabel->font();
    bold.setBold(true);
    m_titleLabel->setFont(bold);
    m_titleLabel->setContentsMargins(1, 1, 1, 2);
    m_titleLabel->setText(shownWindowTitle(dock));

    auto *layout = new QBoxLayout(QBoxLayout::LeftToRight, this);
    layout->setContentsMargins(5, 0, 5, 0);
    layout->setSpacing(2);
    layout->addWidget(m_titleLabel, 1);
    layout->addWidget(m_toolBar);

    dock->installEventFilter(this); // title and modified mark
    connect(dock, &QDockWidget::featuresChanged, this, &BlueTitleBar::updateOrientation);
    connect(qApp, &QApplication::focusChanged, this, &BlueTitleBar::onFocusChanged);
    updateOrientation();
}

QColor BlueTitleBar::backgroundColor() const
{
    return QColor(m_active ? QStringLiteral("LightSteelBlue") : QStringLiteral("Lightgrey"));
}

bool BlueTitleBar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_dock &&
        (event->type() == QEvent::WindowTitleChange || event->type() == QEvent::ModifiedChange)) {
        m_titleLabel->setText(shownWindowTitle(m_dock));
        update();
    }
    return QWidget::eventFilter(watched, event);
}

QString BlueTitleBar::titleText() const
{
    return m_titleLabel->text();
}

void BlueTitleBar::setActive(bool active)
{
    if (m_active == active)
        return;
    m_active = active;
    update();
}

bool BlueTitleBar::isVertical() const
{
    return m_dock->features() & QDockWidget::DockWidgetVerticalTitleBar;
}

void BlueTitleBar::updateOrientation()
{
    auto *layout = static_cast<QBoxLayout *>(this->layout());
    const bool vertical = isVertical();
    // Vertical bars paint their title turned; a label cannot turn.
    layout->setDirection(vertical ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    layout->setContentsMargins(vertical ? 0 : 5, vertical ? 5 : 0, vertical ? 0 : 5,
                               vertical ? 5 : 0);
    m_toolBar->setOrientation(vertical ? Qt::Vertical : Qt::Horizontal);
    m_titleLabel->setVisible(!vertical);
    updateGeometry();
    update();
}

QSize BlueTitleBar::sizeHint() const
{
    const QSize bar = m_toolBar->sizeHint();
    const int thickness = qMax(22, qMax(isVertical() ? bar.width() : bar.height(),
                                        m_titleLabel->sizeHint().height()));
    return isVertical() ? QSize(thickness, 80) : QSize(80, thickness);
}

QSize BlueTitleBar::minimumSizeHint() const
{
    return sizeHint();
}

void BlueTitleBar::onFocusChanged(QWidget *, QWidget *now)
{
    setActive(now && m_dock->isAncestorOf(now));
}

void BlueTitleBar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), backgroundColor());
    if (isVertical()) {
        // Paint as if horizontal, turned a quarter counter-clockwise.
        painter.translate(0, height());
        painter.rotate(-90);
    }
    const int length = isVertical() ? height() : width();
    const int thickness = isVertical() ? width() : height();
    const QPixmap &left = titleImage(0);
    const QPixmap &centre = titleImage(1);
    const QPixmap &right = titleImage(2);
    // The images give the bar its sheen; the colour underneath tells active from inactive.
    painter.setOpacity(0.45);
    painter.drawPixmap(QRect(0, 0, left.width(), thickness), left);
    painter.drawPixmap(QRect(left.width(), 0, length - left.width() - right.width(), thickness),
                       centre);
    painter.drawPixmap(QRect(length - right.width(), 0, right.width(), thickness), right);
    painter.setOpacity(1.0);
    if (isVertical()) {
        QFont bold = font();
        bold.setBold(true);
        painter.setFont(bold);
        painter.drawText(QRect(8, 0, length - 8, thickness), Qt::AlignLeft | Qt::AlignVCenter,
                         shownWindowTitle(m_dock));
    }
}
