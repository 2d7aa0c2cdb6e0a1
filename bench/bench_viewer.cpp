// SPDX-License-Identifier: LGPL-3.0-or-later
// Measures the viewer engine on a generated log (1 GiB unless a size in MiB is given as the
// first argument or in VRX_BENCH_VIEWER_MB), warm cache, best of three, against two
// baselines taken in the same run: a plain memchr pass counting line feeds over the mapped
// file, and `LC_ALL=C grep -ci` for the searched string.

#include "loggen.h"
#include "viewer/core/filereaderwriter.h"
#include "viewer/core/filesearcher.h"
#include "viewer/core/viewerengine.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QReadLocker>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

QString searchText()
{
    const QByteArray env = qgetenv("VRX_BENCH_VIEWER_SEARCH");
    return QString::fromLatin1(env.isEmpty() ? QByteArray(RareText) : env);
}

double gbps(qint64 bytes, double seconds)
{
    return bytes / seconds / 1e9;
}

template <class F> double bestOfThree(F &&run)
{
    double best = 1e30;
    for (int i = 0; i < 3; ++i) {
        QElapsedTimer timer;
        timer.start();
        run();
        best = std::min(best, timer.nsecsElapsed() / 1e9);
        if (qEnvironmentVariableIsSet("VRX_BENCH_VERBOSE"))
            std::printf("  run %d: %.3f s\n", i, timer.nsecsElapsed() / 1e9);
    }
    return best;
}

class Driver : public QObject
{
    Q_OBJECT
signals:
    void NewFileOpened(const QString &SearchString, const QString &FilePath,
                       const qint64 &ChunkSize, const qint64 &MaxBlockCount);
    void StartFileSearchTask(const QString &SearchString, const QString &FilePath,
                             const qint64 &ChunkSize, const qint64 &MaxBlockCount);
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    qint64 mib = 1024;
    if (argc > 1)
        mib = QByteArray(argv[1]).toLongLong();
    else if (qEnvironmentVariableIsSet("VRX_BENCH_VIEWER_MB"))
        mib = qEnvironmentVariableIntValue("VRX_BENCH_VIEWER_MB");
    if (mib <= 0 || mib >= 2048) {
        std::fprintf(stderr, "size must be 1 to 2047 MiB\n");
        return 2;
    }
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bench.log"));
    QElapsedTimer timer;
    timer.start();
    const Generated g = generate(path, mib << 20);
    std::printf("generated %lld bytes, %lld lines (%lld errors, %lld warnings, %lld with \"%s\") "
                "in %.2f s\n",
                g.bytes, g.lines, g.errors, g.warnings, g.rare, RareText, timer.elapsed() / 1000.0);

    // Baseline: count line feeds over the mapped file.
    qint64 lfCount = 0;
    const double baseline = bestOfThree([&] {
        const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY);
        const auto *p = static_cast<const char *>(
            ::mmap(nullptr, size_t(g.bytes), PROT_READ, MAP_PRIVATE, fd, 0));
        const char *end = p + g.bytes;
        qint64 count = 0;
        for (const char *at = p;
             (at = static_cast<const char *>(std::memchr(at, '\n', size_t(end - at)))); ++at)
            ++count;
        lfCount = count;
        ::munmap(const_cast<char *>(p), size_t(g.bytes));
        ::close(fd);
    });

    ViewerEngine engine;
    Driver driver;
    QObject::connect(&driver, &Driver::NewFileOpened, engine.readerWriter(),
                     &FileReaderWriter::IndexFile);
    QObject::connect(&driver, &Driver::StartFileSearchTask, engine.searcher(),
                     &FileSearcher::SearchTextInFile);

    double firstIndexed = 1e30;
    auto indexOnce = [&](const QString &search) {
        QEventLoop loop;
        QElapsedTimer since;
        bool first = true;
        const auto connection =
            QObject::connect(engine.readerWriter(), &FileReaderWriter::FileIndexed, &loop,
                             [&](const QString &, const qint32 &count) {
                                 if (first) {
                                     firstIndexed =
                                         std::min(firstIndexed, since.nsecsElapsed() / 1e6);
                                     first = false;
                                 }
                                 // Progress carries size - 1 <= lfCount; only the final one carries
                                 // lfCount + 1.
                                 if (count == lfCount + 1)
                                     loop.quit();
                             });
        since.start();
        emit driver.NewFileOpened(search, path, ViewerEngine::ChunkSize, 4000);
        loop.exec();
        QObject::disconnect(connection);
    };
    const double indexPlain = bestOfThree([&] { indexOnce(QString()); });
    qint64 indexBytes = 0, occurrences = 0;
    {
        FileIndex &index = engine.index();
        QReadLocker a(&index.occurrenceLock), b(&index.matchLock), c(&index.lineLock);
        indexBytes = index.allocatedBytes();
        occurrences =
            index.errorOffsets.size() + index.warningOffsets.size() + index.matchOffsets.size();
    }
    const double indexSearch = bestOfThree([&] { indexOnce(searchText()); });
    qint64 indexMatches = 0;
    {
        QReadLocker lock(&engine.index().matchLock);
        indexMatches = engine.index().matchOffsets.size();
    }

    qint64 searchMatches = 0;
    const double search = bestOfThree([&] {
        QEventLoop loop;
        const auto connection =
            QObject::connect(engine.searcher(), &FileSearcher::SearchProcessed, &loop,
                             [&](const QString, const qint64 &matches, const qint64 &lines) {
                                 if (lines == lfCount) {
                                     searchMatches = matches;
                                     loop.quit();
                                 }
                             });
        emit driver.StartFileSearchTask(QString::fromLatin1(RareText), path,
                                        ViewerEngine::ChunkSize, 4000);
        loop.exec();
        QObject::disconnect(connection);
    });

    qint64 grepCount = -1;
    const double grep = bestOfThree([&] {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
        process.setProcessEnvironment(env);
        process.start(QStringLiteral("grep"),
                      {QStringLiteral("-ci"), QString::fromLatin1(RareText), path});
        process.waitForFinished(-1);
        grepCount = process.readAllStandardOutput().trimmed().toLongLong();
    });

    const double base = gbps(g.bytes, baseline);
    const double rPlain = gbps(g.bytes, indexPlain) / base;
    const double rSearch = gbps(g.bytes, indexSearch) / base;
    const double rGrep = grep / search; // > 1: faster than grep
    const double perLine = double(indexBytes) / double(lfCount);
    const double limit = (8.0 * double(lfCount + 1) + 8.0 * double(occurrences)) / double(lfCount);
    std::printf("memchr baseline        %6.2f GB/s  (%lld line feeds)\n", base, lfCount);
    std::printf("IndexFile              %6.2f GB/s  ratio %.2f (target >= 0.5)\n",
                gbps(g.bytes, indexPlain), rPlain);
    std::printf("IndexFile with search  %6.2f GB/s  ratio %.2f (target >= 0.4), %lld matches\n",
                gbps(g.bytes, indexSearch), rSearch, indexMatches);
    std::printf("SearchTextInFile       %6.2f GB/s  ratio %.2f, %lld matches\n",
                gbps(g.bytes, search), gbps(g.bytes, search) / base, searchMatches);
    std::printf("grep -ci               %6.2f GB/s  ratio %.2f, %lld lines; search vs grep %.2fx "
                "(target >= 2)\n",
                gbps(g.bytes, grep), gbps(g.bytes, grep) / base, grepCount, rGrep);
    std::printf("first FileIndexed      %6.2f ms (target <= 50)\n", firstIndexed);
    std::printf("index size             %6.2f bytes/line (limit %.2f: 8 per line + 8 per "
                "occurrence)\n",
                perLine, limit);
    const bool ok = rPlain >= 0.5 && rSearch >= 0.4 && rGrep >= 2.0 && firstIndexed <= 50 &&
                    perLine <= limit && searchMatches == grepCount && indexMatches == searchMatches;
    std::printf("bench_viewer summary: size %lld MiB; index/memchr %.2f; index+search/memchr %.2f; "
                "search/grep %.2f; first FileIndexed %.1f ms; %.2f bytes/line (limit %.2f); %s\n",
                mib, rPlain, rSearch, rGrep, firstIndexed, perLine, limit,
                ok ? "all targets met" : "TARGETS MISSED");
    return 0;
}

#include "bench_viewer.moc"
