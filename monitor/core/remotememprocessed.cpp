#include "monitor/core/remotememprocessed.h"

QSemaphore RemoteMemProcessed(0);
