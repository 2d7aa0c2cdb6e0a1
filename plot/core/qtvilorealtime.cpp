// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtvilorealtime.h"

#include "monitor/core/remotememprocessed.h"

QSemaphore RemoteMemPacing(2);

void releaseRealTimeRequest(bool realTimeItemsListed)
{
    const int topUp = realTimeItemsListed ? 1 : 2;
    for (int i = 0; i < topUp && RemoteMemPacing.available() < 2; ++i)
        RemoteMemPacing.release();
    // At most one permit is ever outstanding, so a late second release cannot let the
    // monitor skip a request.
    if (RemoteMemProcessed.available() == 0)
        RemoteMemProcessed.release();
}
