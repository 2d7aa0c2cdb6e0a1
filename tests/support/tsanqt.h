// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

// The ordering that Qt's uninstrumented internals give, told to ThreadSanitizer (tsanqt.cpp).
namespace TsanQt {
void postingEvent();
void deliveringEvent();
void threadStarting(void *thread);
void threadWaited(void *thread);
void *wrapSlot(void *slotObject);
} // namespace TsanQt
