// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QWidget>

class QDockWidget;
class QLabel;
class QToolBar;
class QAction;

// A window title as the toolkit shows it: the "[*]" placeholder becomes "*" while the
// window is modified and disappears otherwise. Tab labels show titles this way.
QString shownWindowTitle(const QWidget *widget);

// The dock title bar: three images (left cap, stretched centre, right cap) over a colour
// that tells whether the dock holds the focus.
class BlueTitleBar : public QWidget
{
    Q_OBJECT
public:
    explicit BlueTitleBar(QDockWidget *dock);

    void setActive(bool active);
    bool isActive() const { return m_active; }
    QColor backgroundColor() const;
    QString titleText() const;
    QAction *floatAction() const { return m_floatAction; }
    QAction *closeAction() const { return m_closeAction; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    void onFocusChanged(QWidget *old, QWidget *now);
    void updateOrientation();

private:
    bool isVertical() const;

    QDockWidget *m_dock;
    QLabel *m_titleLabel;
    QToolBar *m_toolBar;
    QAction *m_floatAction;
    QAction *m_closeAction;
    bool m_active = false;
};
