// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/core/startup.h"
#include "shell/ui/mainwindow.h"
#include "shell/ui/metatypes.h"
#include "resources/initresources.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    initResources();
    // Relative names mean the directory the program was started in.
    QStringList files = filesFromArguments(QCoreApplication::arguments());
    QApplication::setEffectEnabled(Qt::UI_AnimateCombo, false);
    registerMetaTypes();
    setApplicationIdentity();
    MainWindow window;
    window.applyStartupLayout();
    if (!files.isEmpty())
        window.openFiles(files);
    return app.exec();
}
