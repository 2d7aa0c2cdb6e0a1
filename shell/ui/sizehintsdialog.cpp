// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/ui/sizehintsdialog.h"

#include "shell/ui/dockwidget.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>

namespace {
constexpr int NoLimit = QWIDGETSIZE_MAX;

int extent(const QSize &size, Qt::Orientation orientation)
{
    return orientation == Qt::Horizontal ? size.width() : size.height();
}

QString sizeText(const QSize &size)
{
    return QStringLiteral("%1 x %2").arg(size.width()).arg(size.height());
}

QSpinBox *makeBox(int value)
{
    auto *box = new QSpinBox;
    box->setRange(-1, 1000);
    box->setSpecialValueText(QObject::tr("No limit"));
    box->setValue(value >= NoLimit || value > 1000 ? -1 : value);
    return box;
}

QSize withExtent(QSize size, Qt::Orientation orientation, int value)
{
    (orientation == Qt::Horizontal ? size.rwidth() : size.rheight()) = value;
    return size;
}
} // namespace

SizeHintsDialog::SizeHintsDialog(DockWidget *dock, QWidget *parent)
    : QDialog(parent ? parent : dock), m_dock(dock)
{
    setWindowTitle(tr("Change Size Hints..."));
    setModal(true);
    const Qt::Orientation orientation = dock->sizingOrientation();
    QWidget *panel = dock->panel();

    // The hints in force, the toolkit's own where none was set here.
    m_sizeHint = makeBox(dock->sizeHintExtent() >= 0 ? dock->sizeHintExtent()
                                                      : extent(dock->sizeHint(), orientation));
    m_minSizeHint = makeBox(dock->minSizeHintExtent() >= 0
                                ? dock->minSizeHintExtent()
                                : extent(dock->minimumSizeHint(), orientation));
    m_shownSizeHint = m_sizeHint->value();
    m_shownMinSizeHint = m_minSizeHint->value();
    m_maxSize = makeBox(panel ? extent(panel->maximumSize(), orientation) : NoLimit);
    m_dockMaxSize = makeBox(extent(dock->maximumSize(), orientation));

    auto *form = new QFormLayout(this);
    form->addRow(tr("Direction:"), new QLabel(orientation == Qt::Horizontal ? tr("Horizontal")
                                                                            : tr("Vertical")));
    form->addRow(tr("Current Size:"), new QLabel(sizeText(dock->size())));
    form->addRow(tr("Size Hint:"), m_sizeHint);
    form->addRow(tr("Min Size Hint:"), m_minSizeHint);
    form->addRow(tr("Max Size:"), m_maxSize);
    form->addRow(tr("Dock Widget Max Size:"), m_dockMaxSize);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void SizeHintsDialog::apply()
{
    const Qt::Orientation orientation = m_dock->sizingOrientation();
    auto limit = [](int value) { return value < 0 ? NoLimit : value; };
    if (QWidget *panel = m_dock->panel())
        panel->setMaximumSize(withExtent(panel->maximumSize(), orientation,
                                         limit(m_maxSize->value())));
    m_dock->setMaximumSize(
        withExtent(m_dock->maximumSize(), orientation, limit(m_dockMaxSize->value())));
    const int hint = m_sizeHint->value();
    const int minHint = m_minSizeHint->value();
    m_dock->setSizeHints(hint == m_shownSizeHint ? m_dock->sizeHintExtent() : hint,
                         minHint == m_shownMinSizeHint ? m_dock->minSizeHintExtent() : minHint);
    m_dock->updateGeometry();
}
