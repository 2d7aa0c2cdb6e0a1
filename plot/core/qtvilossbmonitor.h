// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QObject>

// Watches shared stream buffers on "SharedMemMonThread". No stream buffer exists on these
// machines yet, so it only lives with its thread.
class QtViloSsbMonitor : public QObject
{
    Q_OBJECT
public:
    explicit QtViloSsbMonitor(QObject *parent = nullptr) : QObject(parent)
    {
        setObjectName(QStringLiteral("SharedMemMonWorker"));
    }

public slots:
    void start() {}
    void quit() {}
};
