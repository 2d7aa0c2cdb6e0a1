// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/ui/dockwidget.h"

#include "shell/ui/bluetitlebar.h"
#include "shell/ui/sizehintsdialog.h"

#include <QActionGroup>
#include <QContextMenuEvent>
#include <QDesktopServices>
#include <QFileInfo>
#include <QMainWindow>
#include <QMenu>
#include <QStyle>
#include <QUrl>

namespace {
struct FeatureEntry
{
    const char *text;
    QDockWidget::DockWidgetFeature feature;
};
const FeatureEntry Features[] = {
    {QT_TRANSLATE_NOOP("DockWidget", "Closable"), QDockWidget::DockWidgetClosable},
    {QT_TRANSLATE_NOOP("DockWidget", "Movable"), QDockWidget::DockWidgetMovable},
    {QT_TRANSLATE_NOOP("DockWidget", "Floatable"), QDockWidget::DockWidgetFloatable},
    {QT_TRANSLATE_NOOP("DockWidget", "Vertical title bar"),
     QDockWidget::DockWidgetVerticalTitleBar},
};

struct AreaEntry
{
    const char *allowText;
    const char *placeText;
    Qt::DockWidgetArea area;
};
const AreaEntry Areas[] = {
    {QT_TRANSLATE_NOOP("DockWidget", "Allow on Left"),
     QT_TRANSLATE_NOOP("DockWidget", "Place on Left"), Qt::LeftDockWidgetArea},
    {QT_TRANSLATE_NOOP("DockWidget", "Allow on Right"),
     QT_TRANSLATE_NOOP("DockWidget", "Place on Right"), Qt::RightDockWidgetArea},
    {QT_TRANSLATE_NOOP("DockWidget", "Allow on Top"),
     QT_TRANSLATE_NOOP("DockWidget", "Place on Top"), Qt::TopDockWidgetArea},
    {QT_TRANSLATE_NOOP("DockWidget", "Allow on Bottom"),
     QT_TRANSLATE_NOOP("DockWidget", "Place on Bottom"), Qt::BottomDockWidgetArea},
};
} // namespace

DockWidget::DockWidget(QWidget *panel, QMainWindow *mainWindow, bool verticalTitleBar)
    : QDockWidget(mainWindow), m_mainWindow(mainWindow), m_hiddenTitleBar(new QWidget(this)),
      m_contextMenu(new QMenu(this))
{
    setWidget(panel);
    setFeatures(QDockWidget::DockWidgetClosable | QDockWidget::DockWidgetMovable |
                QDockWidget::DockWidgetFloatable |
                (verticalTitleBar ? QDockWidget::DockWidgetVerticalTitleBar
                                  : QDockWidget::NoDockWidgetFeatures));
    m_titleBar = new BlueTitleBar(this);
    setTitleBarWidget(m_titleBar);
    m_hiddenTitleBar->hide();
    buildContextMenu();
    connect(this, &QDockWidget::visibilityChanged, this, &DockWidget::setTabVisibility);
    connect(this, &QDockWidget::visibilityChanged, this, &DockWidget::onVisibilityChanged);
    connect(m_contextMenu, &QMenu::aboutToShow, this, &DockWidget::syncMenuState);
}

void DockWidget::setOtherDocksProvider(std::function<QList<DockWidget *>()> provider)
{
    m_otherDocks = std::move(provider);
}

void DockWidget::buildContextMenu()
{
    for (const FeatureEntry &entry : Features) {
        QAction *action = m_contextMenu->addAction(tr(entry.text));
        action->setCheckable(true);
        const DockWidgetFeature feature = entry.feature;
        connect(action, &QAction::toggled, this, [this, feature](bool on) {
            setFeatures(on ? features() | feature : features() & ~feature);
        });
        m_featureActions << action;
    }
    m_contextMenu->addSeparator();
    for (const AreaEntry &entry : Areas) {
        QAction *action = m_contextMenu->addAction(tr(entry.allowText));
        action->setCheckable(true);
        const Qt::DockWidgetArea area = entry.area;
        connect(action, &QAction::toggled, this, [this, area](bool on) {
            setAllowedAreas(on ? allowedAreas() | area : allowedAreas() & ~area);
        });
        m_areaActions << action;
    }
    m_contextMenu->addSeparator();
    m_placeGroup = new QActionGroup(this);
    m_placeGroup->setExclusive(true);
    for (const AreaEntry &entry : Areas) {
        QAction *action = m_contextMenu->addAction(tr(entry.placeText));
        action->setCheckable(true);
        action->setData(int(entry.area));
        m_placeGroup->addAction(action);
    }
    connect(m_placeGroup, &QActionGroup::triggered, this, [this](QAction *action) {
        setFloating(false);
        m_mainWindow->addDockWidget(Qt::DockWidgetArea(action->data().toInt()), this);
        show();
    });
    m_contextMenu->addSeparator();
    m_showTitleBarAct = m_contextMenu->addAction(tr("Show Title Bar"));
    m_showTitleBarAct->setCheckable(true);
    m_showTitleBarAct->setChecked(true);
    connect(m_showTitleBarAct, &QAction::triggered, this, &DockWidget::setTitleBarShown);
    m_floatingAct = m_contextMenu->addAction(tr("Floating"));
    m_floatingAct->setCheckable(true);
    connect(m_floatingAct, &QAction::triggered, this, &QDockWidget::setFloating);

    QMenu *tabInto = m_contextMenu->addMenu(tr("Tab into"));
    connect(tabInto, &QMenu::aboutToShow, this, [this, tabInto] {
        fillDockSubMenu(tabInto, [this](DockWidget *other) {
            m_mainWindow->tabifyDockWidget(other, this);
            show();
            raise();
        });
    });
    QMenu *splitH = m_contextMenu->addMenu(tr("Split horizontally into"));
    connect(splitH, &QMenu::aboutToShow, this, [this, splitH] {
        fillDockSubMenu(splitH, [this](DockWidget *other) {
            m_mainWindow->splitDockWidget(other, this, Qt::Horizontal);
            show();
        });
    });
    QMenu *splitV = m_contextMenu->addMenu(tr("Split vertically into"));
    connect(splitV, &QMenu::aboutToShow, this, [this, splitV] {
        fillDockSubMenu(splitV, [this](DockWidget *other) {
            m_mainWindow->splitDockWidget(other, this, Qt::Vertical);
            show();
        });
    });
    m_contextMenu->addAction(tr("Raise"), this, [this] {
        show();
        raise();
    });
    m_contextMenu->addAction(tr("Change Size Hints..."), this, &DockWidget::showSizeHintsDialog);
}

void DockWidget::fillDockSubMenu(QMenu *menu, const std::function<void(DockWidget *)> &apply)
{
    menu->clear();
    const QList<DockWidget *> docks = m_otherDocks ? m_otherDocks() : QList<DockWidget *>();
    for (DockWidget *other : docks) {
        if (other == this)
            continue;
        menu->addAction(other->baseTitle(), this, [apply, other] { apply(other); });
    }
}

void DockWidget::syncMenuState()
{
    for (int i = 0; i < m_featureActions.size(); ++i) {
        const QSignalBlocker blocker(m_featureActions[i]);
        m_featureActions[i]->setChecked(features() & Features[i].feature);
    }
    const Qt::DockWidgetArea current = m_mainWindow->dockWidgetArea(const_cast<DockWidget *>(this));
    for (int i = 0; i < m_areaActions.size(); ++i) {
        const QSignalBlocker blocker(m_areaActions[i]);
        m_areaActions[i]->setChecked(isAreaAllowed(Areas[i].area));
        m_placeGroup->actions().at(i)->setChecked(!isFloating() && current == Areas[i].area);
    }
    m_showTitleBarAct->setChecked(m_titleBarShown);
    m_floatingAct->setChecked(isFloating());
}

void DockWidget::makeEditorDock(const QString &filePath)
{
    m_filePath = filePath;
    m_contextMenu->addSeparator();
    m_contextMenu->addAction(tr("Open Containing Folder"), this, [this] {
        QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(m_filePath).absolutePath()));
    });
    m_contextMenu->addAction(style()->standardIcon(QStyle::SP_TitleBarCloseButton), tr("Close"),
                             this, &DockWidget::destroyDockWidget);
    // Closing an editor dock from its title bar destroys it too.
    disconnect(m_titleBar->closeAction(), nullptr, this, nullptr);
    connect(m_titleBar->closeAction(), &QAction::triggered, this, &DockWidget::destroyDockWidget);
}

void DockWidget::setBaseTitle(const QString &title)
{
    m_baseTitle = title;
    // The placeholder is there only while it is used, so the toolkit never warns about it.
    if (m_modified) {
        setWindowTitle(title + QStringLiteral(" [*]"));
        setWindowModified(true);
    } else {
        setWindowModified(false);
        setWindowTitle(title);
    }
}

void DockWidget::setTabModified()
{
    m_modified = true;
    setBaseTitle(m_baseTitle);
}

void DockWidget::clearTabModified()
{
    m_modified = false;
    setBaseTitle(m_baseTitle);
}

void DockWidget::setTitleBarShown(bool shown)
{
    if (m_titleBarShown == shown)
        return;
    m_titleBarShown = shown;
    // An empty widget is the toolkit's way to hide a dock's title bar.
    setTitleBarWidget(shown ? static_cast<QWidget *>(m_titleBar) : m_hiddenTitleBar);
    m_titleBar->setVisible(shown);
    emit titleBarShownChanged(shown);
}

void DockWidget::FloatingToggle()
{
    setFloating(!isFloating());
}

void DockWidget::destroyDockWidget()
{
    emit removed(this);
    m_mainWindow->removeDockWidget(this);
    deleteLater();
}

void DockWidget::setTabVisibility(bool visible)
{
    m_tabVisible = visible;
}

void DockWidget::onVisibilityChanged(bool)
{
    emit visibilityUpdated();
}

Qt::Orientation DockWidget::sizingOrientation() const
{
    const Qt::DockWidgetArea area = m_mainWindow->dockWidgetArea(const_cast<DockWidget *>(this));
    return area == Qt::TopDockWidgetArea || area == Qt::BottomDockWidgetArea ? Qt::Vertical
                                                                             : Qt::Horizontal;
}

void DockWidget::setSizeHints(int sizeHint, int minSizeHint)
{
    const bool newHint = sizeHint != m_sizeHintExtent;
    m_sizeHintExtent = sizeHint;
    m_minSizeHintExtent = minSizeHint;
    const Qt::Orientation orientation = sizingOrientation();
    // Docked, the main window's layout asks the panel for its minimum, not the dock.
    if (QWidget *content = panel()) {
        if (!m_panelMinimum.isValid())
            m_panelMinimum = content->minimumSize();
        QSize minimum = m_panelMinimum;
        if (minSizeHint >= 0)
            (orientation == Qt::Horizontal ? minimum.rwidth() : minimum.rheight()) = minSizeHint;
        content->setMinimumSize(minimum);
    }
    updateGeometry();
    // A size hint takes effect as the size the dock gets now; the user may drag it later.
    if (newHint && sizeHint >= 0) {
        if (isFloating())
            resize(orientation == Qt::Horizontal ? QSize(sizeHint, height())
                                                 : QSize(width(), sizeHint));
        else if (m_mainWindow->dockWidgetArea(this) != Qt::NoDockWidgetArea)
            m_mainWindow->resizeDocks({this}, {sizeHint}, orientation);
    }
}

QSize DockWidget::sizeHint() const
{
    QSize size = QDockWidget::sizeHint();
    if (m_sizeHintExtent >= 0)
        (sizingOrientation() == Qt::Horizontal ? size.rwidth() : size.rheight()) =
            m_sizeHintExtent;
    return size;
}

QSize DockWidget::minimumSizeHint() const
{
    QSize size = QDockWidget::minimumSizeHint();
    if (m_minSizeHintExtent >= 0)
        (sizingOrientation() == Qt::Horizontal ? size.rwidth() : size.rheight()) =
            m_minSizeHintExtent;
    return size;
}

void DockWidget::showSizeHintsDialog()
{
    SizeHintsDialog dialog(this);
    if (dialog.exec() == QDialog::Accepted)
        dialog.apply();
}

void DockWidget::contextMenuEvent(QContextMenuEvent *event)
{
    m_contextMenu->exec(event->globalPos());
}
