// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

// File sizes in binary units and the large-file refusal of the plot tool.
namespace QtViloSizeText {

// Files above this many bytes are not added to the plot list; a file of exactly this size is
// still accepted (the limit is inclusive, as the warning says "exceeded").
constexpr qint64 LargeFileLimit = 500000000;
inline bool exceedsLargeFileLimit(qint64 bytes)
{
    return bytes > LargeFileLimit;
}

// "%1 TB" above 2^40 - 1 bytes (bytes / 2^40, three decimals), then "%1 GB", "%1 MB" and
// "%1 KB" in the same way, otherwise "%1 bytes".
QString sizeText(quint64 bytes);

// The warning box for refused files: title "Large File Warning!", text
// "Files exceeded limit size %1:\n\n" and the files one per line, and the informative text.
QString largeFileWarningTitle();
QString largeFileWarningText(const QStringList &files);
QString largeFileWarningInformativeText();

} // namespace QtViloSizeText
