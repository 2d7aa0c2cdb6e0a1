// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QList>
#include <QMetaType>
#include <QTextEdit>

// Highlight lists travel from worker threads to the editor through queued signals.
Q_DECLARE_METATYPE(QTextEdit::ExtraSelection)
