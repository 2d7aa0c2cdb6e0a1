// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QSemaphore>

// Second process-wide pacing counter of the real-time loop, beside the monitor's
// RemoteMemProcessed: topped up to at most two permits when a request is finished, and one
// permit taken for every request that comes in. A request that finds none is the sign that
// the monitor and the plot side went out of step.
extern QSemaphore RemoteMemPacing;

// The plot side's hand-back after the reads and the replot of a real-time request.
void releaseRealTimeRequest(bool realTimeItemsListed);
