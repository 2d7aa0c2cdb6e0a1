#include "viewer/ui/editorpanel.h"

#include "util/core/recentfiles.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTextStream>
#include <QToolBar>

EditorPanel::EditorPanel(QWidget *parent) : TextPanel(parent), m_statusLabel(new QLabel(this))
{
    m_textView->setMaximumBlockCount(MaxBlockCount);
    auto *reload = new QAction(QIcon(QStringLiteral("://Images/reloadtext.png")),
                               tr("Reload current file from disk"), this);
    m_toolBar->insertAction(m_toolBar->actions().value(0), reload);
    connect(reload, &QAction::triggered, this, &EditorPanel::reloadFile);
    m_toolBar->addWidget(m_statusLabel);
}

bool EditorPanel::openFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QString previous = m_filePath;
    m_filePath = path;
    // Only the first screenful of lines; the whole file is never held in the editor.
    QTextStream in(&file);
    QString text;
    for (int line = 0; line < MaxBlockCount && !in.atEnd(); ++line) {
        text += in.readLine();
        text += QLatin1Char('\n');
    }
    m_textView->setPlainText(text);
    m_fileLoaded = true;
    m_statusLabel->clear();
    RecentFiles::add(path);
    // The main window rebuilds its "Recent Files" menu; found by name so this
    // library does not depend on the shell.
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->inherits("MainWindow"))
            QMetaObject::invokeMethod(widget, "updateRecentFileActions");
    }
    emit FileLoaded(previous, path);
    return true;
}

void EditorPanel::reloadFile()
{
    if (!m_filePath.isEmpty())
        openFile(m_filePath);
}

void EditorPanel::onWatchedFileChanged(const QString &path)
{
    if (path == m_filePath)
        m_statusLabel->setText(
            tr("<font color='darkorange'>File modified on disk! Reload required!</font>"));
}
