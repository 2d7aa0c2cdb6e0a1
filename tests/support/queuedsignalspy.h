// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

#include <QList>
#include <QMetaMethod>
#include <QObject>
#include <QVariant>
#include <QVector>

// Records a signal's emissions like QSignalSpy, for a sender that lives on a worker thread.
// QSignalSpy appends in the emitting thread while the test reads its list in its own, which
// is a data race; this spy takes each emission through a queued call to the thread it was
// made in, so the list is only touched there. Emissions show up once that thread's event
// loop runs (QTRY_* and QTest::qWaitFor run it).
class QueuedSignalSpy : public QObject, public QList<QList<QVariant>>
{
public:
    template <typename Func>
    QueuedSignalSpy(const typename QtPrivate::FunctionPointer<Func>::Object *sender, Func signal)
    {
        const QMetaMethod method = QMetaMethod::fromSignal(signal);
        for (int i = 0; i < method.parameterCount(); ++i)
            m_types << method.parameterType(i);
        // Like QSignalSpy: the one slot sits just past QObject's own methods.
        m_valid = QMetaObject::connect(sender, method.methodIndex(), this,
                                       QObject::staticMetaObject.methodCount(),
                                       Qt::QueuedConnection, nullptr);
    }

    bool isValid() const { return m_valid; }

    int qt_metacall(QMetaObject::Call call, int id, void **args) override
    {
        id = QObject::qt_metacall(call, id, args);
        if (id < 0 || call != QMetaObject::InvokeMetaMethod)
            return id;
        if (id == 0) {
            QList<QVariant> values;
            for (int i = 0; i < m_types.size(); ++i)
                values << QVariant(m_types.at(i), args[i + 1]);
            append(values);
        }
        return id - 1;
    }

private:
    QVector<int> m_types;
    bool m_valid = false;
};
