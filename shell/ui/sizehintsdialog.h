// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QDialog>

class DockWidget;
class QSpinBox;

// Edits a dock's size limits in the direction the dock is sized in.
class SizeHintsDialog : public QDialog
{
    Q_OBJECT
public:
    explicit SizeHintsDialog(DockWidget *dock, QWidget *parent = nullptr);

    QSpinBox *sizeHintBox() const { return m_sizeHint; }
    QSpinBox *minSizeHintBox() const { return m_minSizeHint; }
    QSpinBox *maxSizeBox() const { return m_maxSize; }
    QSpinBox *dockMaxSizeBox() const { return m_dockMaxSize; }

    // Sets the dock's limits from the spin boxes (-1 meaning no limit).
    void apply();

private:
    DockWidget *m_dock;
    QSpinBox *m_sizeHint;
    QSpinBox *m_minSizeHint;
    QSpinBox *m_maxSize;
    QSpinBox *m_dockMaxSize;
    // What the hint boxes showed: a value left as shown is no new hint.
    int m_shownSizeHint;
    int m_shownMinSizeHint;
};
