// SPDX-License-Identifier: LGPL-3.0-or-later
#include "shell/ui/metatypes.h"

#include "plot/core/qtviloplotitemdefaults.h"
#include "plot/core/qtviloplotsettings.h"
#include "viewer/ui/extraselections.h"

#include <QMetaType>
#include <QSet>
#include <QString>
#include <QVector>

void registerMetaTypes()
{
    // qRegisterMetaType on a container also registers its sequential-iterable converter,
    // so variants holding these convert to and iterate as variant lists.
    qRegisterMetaType<QVector<qint32>>("QVector<qint32>");
    qRegisterMetaType<QVector<qint64>>("QVector<qint64>");
    qRegisterMetaType<QSet<QString>>("QSet<QString>");
    qRegisterMetaType<QList<QTextEdit::ExtraSelection>>("QList<QTextEdit::ExtraSelection>");
    qRegisterMetaType<QtViloPlotItemDefaults>("QtViloPlotItemDefaults");
    qRegisterMetaType<QtViloPlotSettings>("QtViloPlotSettings");
}
