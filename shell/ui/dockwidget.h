// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QDockWidget>

#include <functional>

class BlueTitleBar;
class QActionGroup;
class QMainWindow;
class QMenu;

// A dock with its own context menu and the custom title bar. Every panel lives in one.
class DockWidget : public QDockWidget
{
    Q_OBJECT
public:
    DockWidget(QWidget *panel, QMainWindow *mainWindow, bool verticalTitleBar = false);

    QWidget *panel() const { return widget(); }
    QMenu *contextMenu() const { return m_contextMenu; }
    BlueTitleBar *blueTitleBar() const { return m_titleBar; }

    // The docks offered by "Tab into" and the split sub-menus.
    void setOtherDocksProvider(std::function<QList<DockWidget *>()> provider);

    void setBaseTitle(const QString &title);
    QString baseTitle() const { return m_baseTitle; }
    bool isTabModified() const { return m_modified; }
    void clearTabModified();

    bool isTitleBarShown() const { return m_titleBarShown; }
    void setTitleBarShown(bool shown);
    bool isTabVisible() const { return m_tabVisible; }

    // Editor docks get "Open Containing Folder" and a close entry that destroys the dock.
    void makeEditorDock(const QString &filePath);
    QString filePath() const { return m_filePath; }

    // Size limits edited by "Change Size Hints..."; -1 means no limit (the toolkit's own).
    void setSizeHints(int sizeHint, int minSizeHint);
    int sizeHintExtent() const { return m_sizeHintExtent; }
    int minSizeHintExtent() const { return m_minSizeHintExtent; }
    Qt::Orientation sizingOrientation() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public slots:
    void FloatingToggle();
    void setTabModified();
    void destroyDockWidget();
    void setTabVisibility(bool visible);
    void onVisibilityChanged(bool visible);
    void showSizeHintsDialog();

signals:
    void visibilityUpdated();
    void titleBarShownChanged(bool shown);
    void removed(DockWidget *dock);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void buildContextMenu();
    void fillDockSubMenu(QMenu *menu, const std::function<void(DockWidget *)> &apply);
    void syncMenuState();

    QMainWindow *m_mainWindow;
    BlueTitleBar *m_titleBar;
    QWidget *m_hiddenTitleBar;
    QMenu *m_contextMenu;
    QActionGroup *m_placeGroup = nullptr;
    QList<QAction *> m_featureActions;
    QList<QAction *> m_areaActions;
    QAction *m_showTitleBarAct = nullptr;
    QAction *m_floatingAct = nullptr;
    std::function<QList<DockWidget *>()> m_otherDocks;
    QString m_baseTitle;
    QString m_filePath;
    bool m_modified = false;
    bool m_titleBarShown = true;
    bool m_tabVisible = false;
    int m_sizeHintExtent = -1;
    int m_minSizeHintExtent = -1;
    QSize m_panelMinimum; // the panel's own minimum, kept while a hint overrides it
};
