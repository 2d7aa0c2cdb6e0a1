// SPDX-License-Identifier: LGPL-3.0-or-later
#include "plot/core/qtvilohugepages.h"

#include <sys/mman.h>

namespace QtViloMemory {

void adviseHugePages(void *data, quint64 bytes)
{
#ifdef MADV_HUGEPAGE
    if (!data || bytes < (quint64(4) << 20))
        return;
    const quintptr page = 4096;
    const quintptr begin = (quintptr(data) + page - 1) & ~(page - 1);
    const quintptr end = (quintptr(data) + bytes) & ~(page - 1);
    if (end > begin)
        madvise(reinterpret_cast<void *>(begin), end - begin, MADV_HUGEPAGE);
#else
    Q_UNUSED(data)
    Q_UNUSED(bytes)
#endif
}

} // namespace QtViloMemory
