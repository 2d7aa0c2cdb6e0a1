// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QSemaphore>

// Process-wide handshake between the monitor and the plot tool: the plot side releases one
// permit per finished real-time request, the monitor thread takes it before it lets the
// client go on. Starts with 0 permits.
extern QSemaphore RemoteMemProcessed;
