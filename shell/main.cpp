#include "shell/core/startup.h"
#include "shell/ui/mainwindow.h"
#include "shell/ui/metatypes.h"
#include "resources/initresources.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    initResources();
    QApplication::setEffectEnabled(Qt::UI_AnimateCombo, false);
    registerMetaTypes();
    setApplicationIdentity();
    MainWindow window;
    window.applyStartupLayout();
    return app.exec();
}
