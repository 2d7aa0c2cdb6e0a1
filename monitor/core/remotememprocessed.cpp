// SPDX-License-Identifier: LGPL-3.0-or-later
#include "monitor/core/remotememprocessed.h"

QSemaphore RemoteMemProcessed(0);
