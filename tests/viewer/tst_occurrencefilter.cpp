// SPDX-License-Identifier: LGPL-3.0-or-later
#include "testenv.h"
#include "viewertestutil.h"

#include "viewer/core/occurrencefilter.h"
#include "viewer/core/viewerengine.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace ViewerTest;

// What the filters show is checked through the panel; here, the worker's own shutdown.
class TestOccurrenceFilter : public QObject
{
    Q_OBJECT

private slots:
    void shutdownWhileWaitingForTheEditor()
    {
        QTemporaryDir dir;
        const QString path = writeFile(dir, "filter.log", "one needle\ntwo\nthree needle\n");
        auto *engine = new ViewerEngine;
        QVERIFY(indexWhole(*engine, path, QStringLiteral("needle")));
        OccurrenceFilter *filter = engine->filter();
        QueuedSignalSpy match(filter, &OccurrenceFilter::MatchFilterFinished);
        // The second run waits for the first result to be accepted, which never happens.
        QMetaObject::invokeMethod(filter, [=] {
            filter->onSelectionsFilterRequest(path, {"search", "search"});
        });
        QVERIFY(waitForCount(match, 1));
        delete engine; // must not hang
    }
};

QTEST_GUILESS_MAIN(TestOccurrenceFilter)
#include "tst_occurrencefilter.moc"
