// SPDX-License-Identifier: LGPL-3.0-or-later
#include "viewer/core/viewerengine.h"

#include "viewer/core/filereaderwriter.h"
#include "viewer/core/filesearcher.h"
#include "viewer/core/occurrencefilter.h"

#include <QThread>

namespace {

QThread *startWorker(QObject *worker, const QString &name, QObject *owner)
{
    auto *thread = new QThread(owner);
    thread->setObjectName(name);
    worker->moveToThread(thread);
    thread->start(QThread::InheritPriority);
    return thread;
}

} // namespace

ViewerEngine::ViewerEngine(qint32 maxBlockCount, QObject *parent)
    : QObject(parent), m_maxBlockCount(maxBlockCount),
      m_readerWriter(new FileReaderWriter(&m_index, &m_annotations)),
      m_searcher(new FileSearcher(&m_index, &m_annotations)),
      m_filter(new OccurrenceFilter(&m_index, &m_annotations, &m_matchBuffers, &m_criticalBuffers,
                                    maxBlockCount))
{
    m_readerWriterThread =
        startWorker(m_readerWriter, QStringLiteral("FileReaderWriterThread"), this);
    m_searcherThread = startWorker(m_searcher, QStringLiteral("FileSearcherThread"), this);
    m_filterThread = startWorker(m_filter, QStringLiteral("OccurrenceFilterThread"), this);
}

ViewerEngine::~ViewerEngine()
{
    m_readerWriter->stop();
    m_searcher->stop();
    m_filter->stop();
    for (QThread *thread : {m_readerWriterThread, m_searcherThread, m_filterThread}) {
        thread->quit();
        thread->wait();
    }
    // The threads have ended, so the workers can go from here.
    delete m_readerWriter;
    delete m_searcher;
    delete m_filter;
}
