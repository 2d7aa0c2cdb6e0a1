// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QtGlobal>

namespace QtViloMemory {

// Asks the kernel for huge pages under a large array that was just allocated and not yet
// touched: a file read into memory or a transform of millions of points touches hundreds of
// MiB, and 4 KiB page faults would cost more than the copy. A hint only; ignored where
// unsupported and for arrays of a few MiB.
void adviseHugePages(void *data, quint64 bytes);

} // namespace QtViloMemory
