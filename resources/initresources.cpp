#include "resources/initresources.h"

#include <QtGlobal>

void initResources()
{
    Q_INIT_RESOURCE(vrxassist);
}
