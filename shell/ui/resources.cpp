#include "shell/ui/resources.h"

#include <QtGlobal>

void initResources()
{
    Q_INIT_RESOURCE(vrxassist);
}
