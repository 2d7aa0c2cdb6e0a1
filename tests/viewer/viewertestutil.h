// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

// Shared by the viewer tests: a byte-by-byte index builder that follows the rules literally
// (the reference for the engine), a file writer, requests queued as the panel sends them and
// waits for the workers.

#include "queuedsignalspy.h"
#include "viewer/core/filereaderwriter.h"
#include "viewer/core/filesearcher.h"
#include "viewer/core/occurrencefilter.h"
#include "viewer/core/viewerengine.h"

#include <QByteArray>
#include <QFile>
#include <QReadLocker>
#include <QRandomGenerator>
#include <QTest>
#include <QString>
#include <QTemporaryDir>
#include <QVector>

#include <algorithm>
#include <memory>

namespace ViewerTest {

struct Reference
{
    QVector<qint32> lineEnds{0};
    QVector<qint32> crlfCounts{0};
    QVector<qint32> errorOffsets, errorLines, warningOffsets, warningLines;
    QVector<qint32> matchOffsets, matchLines;
    QVector<qint32> progress; // the LineCount of each intermediate FileIndexed
};

inline void scanSlice(Reference &r, const QByteArray &data, qint64 from, qint64 to,
                      const QString &search)
{
    const qint32 line = r.lineEnds.size();
    const auto find = [&](const QString &text, const QString &what, Qt::CaseSensitivity cs,
                          QVector<qint32> &offsets, QVector<qint32> &lines) {
        for (int at = text.indexOf(what, 0, cs); at >= 0;
             at = text.indexOf(what, at + what.size(), cs)) {
            offsets.append(qint32(from + at));
            lines.append(line);
        }
    };
    const QString text = QString::fromLatin1(data.constData() + from, int(to - from));
    find(text, QStringLiteral("ERROR:"), Qt::CaseSensitive, r.errorOffsets, r.errorLines);
    find(text, QStringLiteral("WARN :"), Qt::CaseSensitive, r.warningOffsets, r.warningLines);
    if (!search.isEmpty()) // a NUL ends what is searched of the line
        find(text.left(text.indexOf(QChar(0))), search, Qt::CaseInsensitive, r.matchOffsets,
             r.matchLines);
}

inline Reference referenceIndex(const QByteArray &data, const QString &search, qint64 chunk,
                                qint64 maxBlockCount)
{
    Reference r;
    qint32 crlf = 0;
    const qint64 size = data.size();
    for (qint64 offset = 0; offset < size; offset += chunk) {
        const qint64 length = qMin(chunk, size - offset);
        for (qint64 i = offset; i < offset + length; ++i) {
            const char c = data[int(i)];
            if (c != '\n' && c != '\r')
                continue;
            const qint64 start = r.lineEnds.last() < offset ? offset : r.lineEnds.last();
            scanSlice(r, data, start, i, search);
            if (c == '\r' && i != offset + length - 1 && data[int(i + 1)] == '\n') {
                ++i;
                ++crlf;
            }
            r.crlfCounts.append(crlf);
            r.lineEnds.append(qint32(i));
            if (r.lineEnds.size() % (maxBlockCount + 1) == 0)
                r.progress.append(r.lineEnds.size() - 1);
        }
        if (r.lineEnds.last() < offset + length - 1) {
            const qint64 start = r.lineEnds.last() < offset ? offset : r.lineEnds.last();
            scanSlice(r, data, start, offset + length, search);
        }
    }
    return r;
}

// The engine's index against the reference, field by field, under the index's own locks.
inline void compareIndex(const FileIndex &index, const Reference &ref)
{
    QReadLocker occurrences(&index.occurrenceLock);
    QReadLocker matches(&index.matchLock);
    QReadLocker lines(&index.lineLock);
    QCOMPARE(index.lineEnds, ref.lineEnds);
    QVector<qint32> crlf;
    for (int line = 0; line < ref.crlfCounts.size(); ++line)
        crlf << index.crlfAt(line);
    QCOMPARE(crlf, ref.crlfCounts);
    // Counts are kept up to the last line that ends in CR LF, no further.
    QCOMPARE(index.crlfCounts.size(),
             int(std::lower_bound(ref.crlfCounts.cbegin(), ref.crlfCounts.cend(),
                                  ref.crlfCounts.last()) - ref.crlfCounts.cbegin()) + 1);
    QCOMPARE(index.errorOffsets, ref.errorOffsets);
    QCOMPARE(index.errorLines, ref.errorLines);
    QCOMPARE(index.warningOffsets, ref.warningOffsets);
    QCOMPARE(index.warningLines, ref.warningLines);
    QCOMPARE(index.matchOffsets, ref.matchOffsets);
    QCOMPARE(index.matchLines, ref.matchLines);
}

inline QSet<double> marksOf(const QVector<qint32> &lines, int lineEndCount)
{
    QSet<double> marks;
    for (const qint32 line : lines)
        marks.insert(line / double(lineEndCount));
    return marks;
}

// The path of the written file, or an empty one when it could not be written.
inline QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &data)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    const bool ok =
        file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(data) == data.size();
    return ok ? path : QString();
}

// A log-like text with every awkward byte the indexer cares about.
inline QByteArray randomLog(QRandomGenerator &rng, int lines)
{
    static const char *const pieces[] = {
        "ERROR:", "WARN :", "error:", "warn :", "ERROR", "ERROR:ERROR:", "WARN :WARN :",
        "Needle", "nEeDlE", "needleneedle", "k", "K", "\r", "\n", "\r\n", "\n\r", "\0", "x",
        "INFO : ", "\xe9", "\xc9", "\xb5", "\xff", "\xdf"};
    QByteArray out;
    for (int line = 0; line < lines; ++line) {
        const int parts = int(rng.bounded(8));
        for (int p = 0; p < parts; ++p) {
            const char *piece = pieces[rng.bounded(int(sizeof pieces / sizeof *pieces))];
            if (*piece == 0)
                out.append('\0');
            else
                out.append(piece);
            out.append(QByteArray(int(rng.bounded(5)), 'a' + char(rng.bounded(26))));
        }
        const int end = int(rng.bounded(4));
        out.append(end == 0 ? "\n" : end == 1 ? "\r\n" : end == 2 ? "\r" : "\n");
    }
    if (rng.bounded(2))
        out.append("tail ERROR: needle");
    return out;
}

// Waits until spy holds at least count signals; a signal that already arrived counts.
inline bool waitForCount(const QueuedSignalSpy &spy, int count)
{
    return QTest::qWaitFor([&] { return spy.count() >= count; }, 30000);
}

// A worker posts its results before this marker, so once it is back all earlier results are
// in. The event loop runs meanwhile: the filter waits for the panel to take each result.
inline bool settle(QObject *worker)
{
    auto done = std::make_shared<bool>(false);
    QObject *here = QCoreApplication::instance();
    QMetaObject::invokeMethod(worker, [done, here] {
        QMetaObject::invokeMethod(
            here, [done] { *done = true; }, Qt::QueuedConnection);
    });
    return QTest::qWaitFor([done] { return *done; }, 30000);
}

// Queued to the worker's thread, as the panel's signals reach it.
inline void startIndexing(ViewerEngine &engine, const QString &path, const QString &search,
                          qint64 chunk, qint64 maxBlockCount)
{
    FileReaderWriter *rw = engine.readerWriter();
    QMetaObject::invokeMethod(rw, [=] { rw->IndexFile(search, path, chunk, maxBlockCount); });
}

// Live text for the file, queued in order as the editor's signal delivers it.
inline void appendText(ViewerEngine &engine, const QString &path, const QString &text)
{
    FileReaderWriter *rw = engine.readerWriter();
    QMetaObject::invokeMethod(rw, [=] { rw->AppendFile(path, text); });
}

// Indexes a file in one pass, as the panel does before a search or a filter.
inline bool indexWhole(ViewerEngine &engine, const QString &path, const QString &search)
{
    QueuedSignalSpy indexed(engine.readerWriter(), &FileReaderWriter::FileIndexed);
    startIndexing(engine, path, search, 512000, 1000000);
    return waitForCount(indexed, 1);
}

} // namespace ViewerTest
