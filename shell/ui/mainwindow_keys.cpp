// SPDX-License-Identifier: LGPL-3.0-or-later
// Keyboard shortcuts of the main window: each is routed to the panel that holds the focus.
#include "shell/ui/mainwindow.h"

#include "monitor/ui/monitorpanel.h"
#include "plot/ui/qtvilo.h"
#include "shell/ui/dockwidget.h"
#include "updater/ui/updaterpanel.h"
#include "viewer/ui/editorpanel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QToolButton>

DockWidget *MainWindow::findFocusedDockWidget()
{
    for (QWidget *widget = QApplication::focusWidget(); widget; widget = widget->parentWidget()) {
        if (auto *dock = qobject_cast<DockWidget *>(widget))
            return dock;
    }
    return nullptr;
}

TextPanel *MainWindow::focusedTextPanel()
{
    DockWidget *dock = findFocusedDockWidget();
    if (!dock)
        return nullptr;
    auto *panel = qobject_cast<TextPanel *>(dock->panel());
    if (!panel)
        return nullptr;
    if (m_keyPanels.contains(panel))
        return panel;
    for (DockWidget *editorDock : m_editorDocks) {
        if (editorDock->panel() == panel)
            return panel;
    }
    return nullptr;
}

void MainWindow::onCTRL_P_Pressed()
{
    m_monitorPanel->printCommandUsage();
}

void MainWindow::onCTRL_F_Pressed()
{
    TextPanel *panel = focusedTextPanel();
    if (!panel)
        return;
    QLineEdit *field = panel->searchField();
    field->setFocus();
    const QTextCursor cursor = panel->textView()->textCursor();
    if (cursor.hasSelection())
        field->setText(cursor.selectedText());
    field->selectAll();
}

void MainWindow::onCTRL_S_Pressed()
{
    if (TextPanel *panel = focusedTextPanel())
        panel->toggleButton(TextPanel::MatchFilter)->toggle();
}

void MainWindow::onCTRL_E_Pressed()
{
    if (TextPanel *panel = focusedTextPanel())
        panel->toggleButton(TextPanel::ErrorFilter)->toggle();
}

void MainWindow::onCTRL_W_Pressed()
{
    if (TextPanel *panel = focusedTextPanel())
        panel->toggleButton(TextPanel::WarningFilter)->toggle();
}

void MainWindow::onCTRL_U_Pressed()
{
    if (TextPanel *panel = focusedTextPanel()) {
        panel->setFocus();
        panel->textView()->verticalScrollBar()->triggerAction(
            QAbstractSlider::SliderPageStepSub);
    }
}

void MainWindow::onCTRL_D_Pressed()
{
    if (TextPanel *panel = focusedTextPanel()) {
        panel->setFocus();
        panel->textView()->verticalScrollBar()->triggerAction(
            QAbstractSlider::SliderPageStepAdd);
    }
}

void MainWindow::on_Slash_Pressed()
{
    TextPanel *panel = focusedTextPanel();
    if (panel && !panel->searchField()->hasFocus())
        panel->on_Slash_Pressed();
}

void MainWindow::on_Question_Pressed()
{
    TextPanel *panel = focusedTextPanel();
    if (panel && !panel->searchField()->hasFocus())
        panel->on_Question_Pressed();
}

void MainWindow::on_K_Pressed()
{
    if (TextPanel *panel = focusedTextPanel())
        panel->on_K_Pressed(0);
}

void MainWindow::on_J_Pressed()
{
    if (TextPanel *panel = focusedTextPanel())
        panel->on_J_Pressed(0);
}

void MainWindow::on_F3_Pressed()
{
    const int count = restoreLayoutNames().size();
    applyRestoreLayoutIndex(m_restoreLayoutIndex == 0 ? count - 1 : m_restoreLayoutIndex - 1);
}

void MainWindow::on_F4_Pressed()
{
    applyRestoreLayoutIndex((m_restoreLayoutIndex + 1) % restoreLayoutNames().size());
}

void MainWindow::on_F5_Pressed()
{
    m_updaterPanel->onRunExtAppBtnClicked();
}

void MainWindow::on_F8_Pressed()
{
    m_plotList->keyOperation(0);
}

void MainWindow::on_F9_Pressed()
{
    m_plotList->keyOperation(1);
}

void MainWindow::on_F10_Pressed()
{
    m_plotList->keyOperation(2);
}
