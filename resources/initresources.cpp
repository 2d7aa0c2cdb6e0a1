// SPDX-License-Identifier: LGPL-3.0-or-later
#include "resources/initresources.h"

#include <QtGlobal>

void initResources()
{
    Q_INIT_RESOURCE(vrxassist);
}
