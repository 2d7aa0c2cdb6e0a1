// SPDX-License-Identifier: LGPL-3.0-or-later
// End to end under a flood: 40 load-generator clients stream into the built-in monitor of the
// real main window (offscreen) and the clock stops when every line is in the monitor's output
// file. The same load against a window-less monitor host whose texts only go to a file is
// the baseline of the same run. Every line is checked afterwards, and a 10 ms timer on the
// GUI thread records how long the event loop was kept from running during the flood.
#include "loadgen.h"
#include "monitor/core/outputbacklog.h"
#include "monitor/core/vrxmonhost.h"
#include "monitor/ui/hexspinbox.h"
#include "monitor/ui/monitorpanel.h"
#include "resources/initresources.h"
#include "shell/core/startup.h"
#include "shell/ui/mainwindow.h"
#include "shell/ui/metatypes.h"
#include "util/ui/notify.h"
#include "viewer/core/viewerengine.h"
#include "viewer/ui/editor.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QEvent>
#include <QEventLoop>
#include <QFile>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTimer>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kClients = 40;
constexpr int kMinLength = 60;
constexpr int kMaxLength = 120;
constexpr unsigned kSeed = 7;
// The panel's own defaults; the baseline host gets the same, so both outputs hold the same
// texts.
constexpr quint32 kTraceLevel = 0x7fffffff;
constexpr quint32 kTimestamp = 1;
constexpr quint32 kDeviceMask = 0x7fffffff;

constexpr double kTargetRate = 100000.0;
constexpr double kTargetStallMs = 100.0;
// --long: 20 M lines, the sustained load the window must keep up with for hours.
constexpr int kLongLines = 500000;

// With --breakdown: where the GUI thread's time goes, by receiver class and event kind. Only
// top-level deliveries are timed, so nested ones count with the event that caused them. The
// clock reads cost a little, which is why the plain run goes without.
class Profile
{
public:
    struct Entry
    {
        uint64_t count = 0;
        int64_t ns = 0;
        int64_t longestNs = 0;
    };
    struct Window // between two ticks of the stall timer
    {
        uint64_t texts = 0;   // texts delivered to the monitor host
        int64_t textNs = 0;
        uint64_t flushes = 0; // queued calls to the editor: its flushes and scroll-bar updates
        int64_t flushNs = 0;
        int64_t otherNs = 0;
    };

    bool enabled = false;
    bool running = false;
    QElapsedTimer clock;
    std::map<std::pair<const QMetaObject *, int>, Entry> entries;
    Window current;
    Window atWorstStall;
    int depth = 0;
    uint64_t flushChars = 0; // set by the flush under way
    int64_t longestFlushNs = 0;
    uint64_t longestFlushChars = 0;

    void reset()
    {
        entries.clear();
        current = Window();
        atWorstStall = Window();
        flushChars = 0;
        longestFlushNs = 0;
        longestFlushChars = 0;
        clock.start();
    }
    void record(QObject *receiver, QEvent::Type type, int64_t ns)
    {
        const QMetaObject *meta = receiver->metaObject();
        Entry &e = entries[{meta, int(type)}];
        ++e.count;
        e.ns += ns;
        e.longestNs = std::max(e.longestNs, ns);
        if (type == QEvent::MetaCall && std::strcmp(meta->className(), "VrxMonHost") == 0) {
            ++current.texts;
            current.textNs += ns;
        } else if (type == QEvent::MetaCall && std::strcmp(meta->className(), "Editor") == 0) {
            ++current.flushes;
            current.flushNs += ns;
            if (ns > longestFlushNs) {
                longestFlushNs = ns;
                longestFlushChars = flushChars;
            }
            flushChars = 0;
        } else if (type != QEvent::Timer) {
            current.otherNs += ns;
        }
    }
    void print(double seconds) const
    {
        std::vector<std::pair<std::pair<const QMetaObject *, int>, Entry>> sorted(
            entries.begin(), entries.end());
        std::sort(sorted.begin(), sorted.end(),
                  [](const auto &a, const auto &b) { return a.second.ns > b.second.ns; });
        int64_t all = 0;
        for (const auto &item : sorted)
            all += item.second.ns;
        std::printf("  GUI thread busy %.0f ms of %.0f ms; top receivers:\n", all / 1e6,
                    seconds * 1e3);
        for (std::size_t i = 0; i < sorted.size() && i < 8; ++i) {
            const auto &item = sorted[i];
            std::printf("    %-22s %-9s %8llu x %8.1f ms total, longest %6.1f ms\n",
                        item.first.first->className(),
                        item.first.second == QEvent::MetaCall ? "queued"
                                                              : qPrintable(QString::asprintf(
                                                                    "event %d", item.first.second)),
                        static_cast<unsigned long long>(item.second.count), item.second.ns / 1e6,
                        item.second.longestNs / 1e6);
        }
        std::printf("  worst stall: %llu texts delivered in %.1f ms, %llu queued editor calls in "
                    "%.1f ms, other events %.1f ms\n",
                    static_cast<unsigned long long>(atWorstStall.texts), atWorstStall.textNs / 1e6,
                    static_cast<unsigned long long>(atWorstStall.flushes),
                    atWorstStall.flushNs / 1e6, atWorstStall.otherNs / 1e6);
        if (longestFlushNs > 0)
            std::printf("  longest queued editor call %.1f ms (a flush of %llu characters)\n",
                        longestFlushNs / 1e6, static_cast<unsigned long long>(longestFlushChars));
    }
};

Profile g_profile;
thread_local bool t_guiThread = false;

class BenchApplication : public QApplication
{
public:
    using QApplication::QApplication;
    bool notify(QObject *receiver, QEvent *event) override
    {
        // Other threads deliver their events through here too; only the GUI thread counts.
        if (!g_profile.running || g_profile.depth > 0 || !t_guiThread)
            return QApplication::notify(receiver, event);
        const QEvent::Type type = event->type();
        ++g_profile.depth;
        const int64_t start = g_profile.clock.nsecsElapsed();
        const bool result = QApplication::notify(receiver, event);
        const int64_t ns = g_profile.clock.nsecsElapsed() - start;
        --g_profile.depth;
        g_profile.record(receiver, type, ns); // the receiver is alive: it just took the event
        return result;
    }
};

// What the load generator will send, with line feeds taken out: a line the server splits
// shows its pieces on lines of their own, so only the bytes in between can be compared.
struct Expected
{
    int lines = 0;
    std::vector<std::string> streams;
    std::vector<std::string> prompts; // the short form, up to and with '>'
    uint64_t totalBytes = 0;
};

Expected makeExpected(int lines)
{
    Expected e;
    e.lines = lines;
    e.streams.resize(kClients);
    for (int c = 0; c < kClients; ++c) {
        std::string &s = e.streams[std::size_t(c)];
        s.reserve(std::size_t(lines) * (kMaxLength + kMinLength) / 2);
        for (int n = 0; n < lines; ++n) {
            const std::string line = VrxLoadGen::makeLine(kSeed, c, n, kMinLength, kMaxLength);
            s.append(line, 0, line.size() - 1);
        }
        e.totalBytes += s.size();
        // The identity VrxLoadGen::run gives client c, as the monitor shows it.
        char prompt[128];
        std::snprintf(prompt, sizeof prompt, "0x%X/LoadGen@0x%X/%d/LOAD%d>", 0xA0u + unsigned(c),
                      0x1000u + unsigned(c), c, c);
        e.prompts.emplace_back(prompt);
    }
    return e;
}

// Takes the output file apart as it grows: every line that starts with a client's prompt
// carries that client's next bytes. Server texts (settings, CONNECTED, ...) are skipped.
class OutputReader
{
public:
    explicit OutputReader(const Expected &e)
        : m_e(e), m_rebuilt(kClients), m_segmentEnds(kClients)
    {
        for (std::string &s : m_rebuilt)
            s.reserve(e.streams.front().size());
    }

    void feed(const char *data, std::size_t n)
    {
        m_carry.append(data, n);
        std::size_t from = 0;
        for (;;) {
            const void *nl = std::memchr(m_carry.data() + from, '\n', m_carry.size() - from);
            if (!nl)
                break;
            const std::size_t end = std::size_t(static_cast<const char *>(nl) - m_carry.data());
            takeLine(m_carry.data() + from, end - from);
            from = end + 1;
        }
        m_carry.erase(0, from);
    }

    uint64_t clientBytes() const { return m_clientBytes; }
    uint64_t clientLines() const { return m_clientLines; }
    uint64_t otherLines() const { return m_otherLines; }
    const std::string &rebuilt(int c) const { return m_rebuilt[std::size_t(c)]; }
    const std::vector<uint32_t> &segmentEnds(int c) const { return m_segmentEnds[std::size_t(c)]; }

private:
    int promptClient(const char *line, std::size_t length) const
    {
        if (length < 2 || line[0] != '0' || line[1] != 'x')
            return -1;
        static const char tag[] = "/LOAD";
        const std::string_view head(line, std::min<std::size_t>(length, 96));
        const std::size_t at = head.find(tag);
        if (at == std::string_view::npos)
            return -1;
        int client = 0;
        std::size_t i = at + sizeof tag - 1;
        const std::size_t digits = i;
        while (i < head.size() && head[i] >= '0' && head[i] <= '9' && client < 1000)
            client = client * 10 + (head[i++] - '0');
        if (i == digits || client >= kClients)
            return -1;
        const std::string &prompt = m_e.prompts[std::size_t(client)];
        if (length < prompt.size() || std::memcmp(line, prompt.data(), prompt.size()) != 0)
            return -1;
        return client;
    }

    void takeLine(const char *line, std::size_t length)
    {
        const int c = promptClient(line, length);
        if (c < 0) {
            ++m_otherLines;
            return;
        }
        ++m_clientLines;
        std::string &out = m_rebuilt[std::size_t(c)];
        const std::string &expected = m_e.streams[std::size_t(c)];
        const char *rest = line + m_e.prompts[std::size_t(c)].size();
        std::size_t restLength = length - m_e.prompts[std::size_t(c)].size();
        // A piece of two bytes or more gets the prompt with its space, a one-byte piece the
        // prompt alone. A leading space is kept as the client's byte only where the text
        // continues the client's stream with it and not without it; text that matches
        // neither way (something got lost before) is taken as coming after the space.
        if (restLength > 0 && rest[0] == ' ') {
            const std::size_t at = out.size();
            auto continues = [&](const char *from, std::size_t n) {
                return at <= expected.size() && n <= expected.size() - at &&
                       std::memcmp(expected.data() + at, from, n) == 0;
            };
            if (!continues(rest, restLength) || continues(rest + 1, restLength - 1)) {
                ++rest;
                --restLength;
            }
        }
        out.append(rest, restLength);
        m_clientBytes += restLength;
        m_segmentEnds[std::size_t(c)].push_back(uint32_t(out.size()));
    }

    const Expected &m_e;
    std::string m_carry;
    std::vector<std::string> m_rebuilt;
    std::vector<std::vector<uint32_t>> m_segmentEnds;
    uint64_t m_clientBytes = 0;
    uint64_t m_clientLines = 0;
    uint64_t m_otherLines = 0;
};

// Follows the output file from a thread of its own, so reading it costs the GUI thread
// nothing; notes the moment the file holds as many client bytes as were sent.
class FileWatch
{
public:
    FileWatch(const Expected &e, const QString &path)
        : m_e(e), m_path(QFile::encodeName(path).toStdString()), m_reader(e)
    {
    }
    ~FileWatch() { stop(); }

    void start()
    {
        m_thread = std::thread([this] { loop(); });
    }
    void stop()
    {
        m_stop = true;
        if (m_thread.joinable())
            m_thread.join();
    }

    bool complete() const { return m_complete.load(); }
    Clock::time_point completedAt() const { return m_completedAt; }
    // Only once stopped.
    Clock::time_point lastChangeAt() const { return m_lastChangeAt; }
    uint64_t fileBytes() const { return m_fileBytes.load(); }
    uint64_t clientBytes() const { return m_clientBytesSeen.load(); }
    int files() const { return m_files.load(); }
    // Only once stopped.
    const OutputReader &reader() const { return m_reader; }

private:
    void loop()
    {
        int fd = -1;
        std::vector<char> buffer(1 << 20);
        while (!m_stop) {
            if (fd < 0)
                fd = open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
            bool grew = false;
            if (fd >= 0) {
                ssize_t n;
                while ((n = read(fd, buffer.data(), buffer.size())) > 0) {
                    m_reader.feed(buffer.data(), std::size_t(n));
                    m_fileBytes += uint64_t(n);
                    // Per read: the memory meter takes what the reader holds off.
                    m_clientBytesSeen = m_reader.clientBytes();
                    grew = true;
                    noteSize(fd);
                }
                noteSize(fd);
            }
            if (grew) {
                m_clientBytesSeen = m_reader.clientBytes();
                if (m_reader.clientBytes() >= m_e.totalBytes) {
                    m_completedAt = Clock::now();
                    m_complete = true;
                    break;
                }
            } else if (fd >= 0) {
                // The monitor goes on in a newer file once this one is full; the old one is
                // complete by the time the next exists.
                const std::string next = nextOutputFile();
                if (!next.empty()) {
                    ssize_t n;
                    while ((n = read(fd, buffer.data(), buffer.size())) > 0) {
                        m_reader.feed(buffer.data(), std::size_t(n));
                        m_fileBytes += uint64_t(n);
                    }
                    close(fd);
                    fd = -1;
                    m_path = next;
                    ++m_files;
                    continue;
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        if (fd >= 0)
            close(fd);
    }

    // When the file last changed size, whatever the reader has parsed by then: the moment
    // the last byte reached the file.
    void noteSize(int fd)
    {
        struct stat st{};
        if (fstat(fd, &st) == 0 && st.st_size != m_lastSize) {
            m_lastSize = st.st_size;
            m_lastChangeAt = Clock::now();
        }
    }

    // The first output file named after this one ("vrxmon_<time>.okv" sort by time), if any.
    std::string nextOutputFile() const
    {
        const std::size_t slash = m_path.rfind('/');
        const std::string dir = m_path.substr(0, slash), name = m_path.substr(slash + 1);
        if (name.compare(0, 7, "vrxmon_") != 0)
            return std::string();
        std::string best;
        if (DIR *d = opendir(dir.c_str())) {
            while (const dirent *entry = readdir(d)) {
                const std::string other = entry->d_name;
                if (other.compare(0, 7, "vrxmon_") == 0 && other > name &&
                    (best.empty() || other < best))
                    best = other;
            }
            closedir(d);
        }
        return best.empty() ? best : dir + '/' + best;
    }

    const Expected &m_e;
    std::string m_path;
    OutputReader m_reader;
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_complete{false};
    Clock::time_point m_completedAt;
    std::atomic<uint64_t> m_fileBytes{0};
    std::atomic<uint64_t> m_clientBytesSeen{0};
    std::atomic<int> m_files{1};
    off_t m_lastSize = -1;
    Clock::time_point m_lastChangeAt;
};

struct Verdict
{
    uint64_t intact = 0;    // lines found whole, in order, ending where a shown line ends
    uint64_t lost = 0;      // lines not found so
    uint64_t extraBytes = 0; // client bytes no generated line accounts for (doubles, garbage)
    uint64_t lineEnds = 0;  // generated line ends that fall on the end of a shown line
};

Verdict verify(const Expected &e, const OutputReader &r)
{
    Verdict v;
    for (int c = 0; c < kClients; ++c) {
        const std::string_view got(r.rebuilt(c));
        const std::vector<uint32_t> &ends = r.segmentEnds(c);
        auto endsAt = [&](std::size_t pos) {
            return std::binary_search(ends.begin(), ends.end(), uint32_t(pos));
        };
        std::size_t p = 0;
        for (int n = 0; n < e.lines; ++n) {
            std::string line = VrxLoadGen::makeLine(kSeed, c, n, kMinLength, kMaxLength);
            line.pop_back();
            if (got.compare(p, line.size(), line) == 0) {
                p += line.size();
                if (endsAt(p)) {
                    ++v.intact;
                    ++v.lineEnds;
                } else {
                    ++v.lost; // glued to what follows: not the line that was sent
                }
                continue;
            }
            // Out of step: look a little ahead, so one damaged line does not count every
            // later one as lost.
            const std::size_t found = got.substr(p, 1 << 16).find(line);
            if (found != std::string_view::npos) {
                v.extraBytes += found;
                p += found + line.size();
                if (endsAt(p)) {
                    ++v.intact;
                    ++v.lineEnds;
                    continue;
                }
            }
            ++v.lost;
        }
        v.extraBytes += got.size() - p;
    }
    return v;
}

// Resident memory of the process, sampled every 20 ms from a thread of its own. What the
// benchmark itself holds (the expected streams before the start, the streams rebuilt from the
// file as they grow) is taken off, so the peak is the monitor's share.
class ResidentMeter
{
public:
    explicit ResidentMeter(std::function<uint64_t()> benchBytes) : m_benchBytes(std::move(benchBytes)) {}
    ~ResidentMeter() { stop(); }
    void start()
    {
        m_base = resident();
        m_thread = std::thread([this] {
            while (!m_stop) {
                const int64_t own = int64_t(resident()) - int64_t(m_base) -
                                    int64_t(m_benchBytes());
                m_peak = std::max<int64_t>(m_peak, own);
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        });
    }
    void stop()
    {
        m_stop = true;
        if (m_thread.joinable())
            m_thread.join();
    }
    double peakMb() const { return double(std::max<int64_t>(0, m_peak)) / 1e6; }
    // Anonymous memory only: pages of files the process maps are the page cache's.
    static uint64_t resident()
    {
        uint64_t kb = 0;
        if (FILE *f = std::fopen("/proc/self/status", "r")) {
            char line[256];
            while (std::fgets(line, sizeof line, f)) {
                unsigned long long value = 0;
                if (std::sscanf(line, "RssAnon: %llu kB", &value) == 1)
                    kb = value;
            }
            std::fclose(f);
        }
        return kb * 1024;
    }

private:
    std::function<uint64_t()> m_benchBytes;
    uint64_t m_base = 0;
    std::atomic<int64_t> m_peak{0};
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

// Lateness of a 10 ms timer on the GUI thread: how long the event loop could not turn. The
// kernel's schedstat of the thread tells, for the longest gap, how much of it the thread ran
// and how much it waited for a CPU: a stall of waiting is the machine's, not the window's.
class StallMeter
{
public:
    StallMeter()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(kIntervalMs);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            const qint64 now = m_clock.nsecsElapsed();
            const qint64 late = now - m_previous - kIntervalMs * 1000000LL;
            const SchedStat sched = SchedStat::now();
            if (m_armed && late > m_worstNs) {
                m_worstNs = late;
                m_worstRanNs = sched.ranNs - m_sched.ranNs;
                m_worstWaitedNs = sched.waitedNs - m_sched.waitedNs;
                g_profile.atWorstStall = g_profile.current;
            }
            g_profile.current = Profile::Window();
            m_previous = now;
            m_sched = sched;
            m_armed = true;
        });
    }
    void start()
    {
        m_worstNs = 0;
        m_armed = false;
        m_clock.start();
        m_timer.start();
    }
    double stop()
    {
        m_timer.stop();
        return double(m_worstNs) / 1e6;
    }
    // Of the longest gap between two ticks; negative where the kernel does not tell.
    double worstRanMs() const { return m_sched.known ? double(m_worstRanNs) / 1e6 : -1; }
    double worstWaitedMs() const { return m_sched.known ? double(m_worstWaitedNs) / 1e6 : -1; }

private:
    struct SchedStat
    {
        int64_t ranNs = 0;    // on a CPU
        int64_t waitedNs = 0; // runnable, waiting for a CPU
        bool known = false;
        static SchedStat now()
        {
            SchedStat s;
            if (FILE *f = std::fopen("/proc/thread-self/schedstat", "r")) {
                long long ran = 0, waited = 0;
                s.known = std::fscanf(f, "%lld %lld", &ran, &waited) == 2;
                s.ranNs = ran;
                s.waitedNs = waited;
                std::fclose(f);
            }
            return s;
        }
    };

    static constexpr int kIntervalMs = 10;
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_previous = 0;
    qint64 m_worstNs = 0;
    int64_t m_worstRanNs = 0;
    int64_t m_worstWaitedNs = 0;
    SchedStat m_sched;
    bool m_armed = false;
};

// Runs the event loop until the condition holds or the time is up; true when it held.
bool waitUntil(const std::function<bool()> &done, int timeoutMs)
{
    if (done())
        return true;
    QEventLoop loop;
    QTimer poll;
    QElapsedTimer clock;
    clock.start();
    bool held = false;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        held = done();
        if (held || clock.elapsed() > timeoutMs)
            loop.quit();
    });
    poll.start(10);
    loop.exec();
    return held;
}

bool fileContains(const QString &path, const QByteArray &needle)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.readAll().contains(needle);
}

struct Flood
{
    bool completed = false;
    double seconds = 0;      // start of sending until the file held every line
    double ackSeconds = 0;   // start of sending until the server had acknowledged everything
    double stallMs = 0;
    double stallRanMs = -1;    // of the longest stall: the GUI thread on a CPU
    double stallWaitedMs = -1; // and runnable but waiting for one
    double fileShareAtAck = 0; // client bytes in the file when the last acknowledgement came
    double ackToFileSeconds = 0; // last acknowledgement until the last byte was in the file
    double peakRssMb = 0;        // the monitor's share of the resident memory, at its largest
    double peakUnwrittenMb = -1; // acknowledged text not yet in the file, at its largest
    int files = 1;               // output files the run took
    bool loadOk = false;
    uint64_t linesSent = 0;
    uint64_t fileBytes = 0;
    uint64_t clientLines = 0;
    uint64_t otherLines = 0;
    Verdict verdict;
    double linesPerSecond() const { return completed && seconds > 0 ? linesSent / seconds : 0; }
};

// The clients run in a process of their own, forked before anything else starts, in a
// session of its own: client programs are separate programs, and with the kernel's
// per-session scheduling groups 40 busy senders inside the benchmark's own process would take
// the CPU from the window's GUI thread as no outside program could.
class LoadProcess
{
public:
    // Forks the helper; call before any thread exists.
    bool start()
    {
        int toChild[2], fromChild[2];
        if (pipe(toChild) != 0 || pipe(fromChild) != 0)
            return false;
        m_pid = fork();
        if (m_pid < 0)
            return false;
        if (m_pid == 0) {
            close(toChild[1]);
            close(fromChild[0]);
            setsid();
            serve(toChild[0], fromChild[1]);
            _exit(0);
        }
        close(toChild[0]);
        close(fromChild[1]);
        m_out = fdopen(toChild[1], "w");
        m_in = fdopen(fromChild[0], "r");
        return m_out && m_in;
    }
    ~LoadProcess()
    {
        if (m_out)
            std::fclose(m_out); // the helper ends on end of input
        if (m_in)
            std::fclose(m_in);
        if (m_pid > 0)
            waitpid(m_pid, nullptr, 0);
    }

    // VrxLoadGen::run in the helper; the first failing client's error only.
    VrxLoadGen::Result run(const VrxLoadGen::Options &o)
    {
        VrxLoadGen::Result r;
        std::fprintf(m_out, "%u %d %d %d %d %u\n", unsigned(o.port), o.clients, o.lines,
                     o.minLength, o.maxLength, o.seed);
        std::fflush(m_out);
        int ok = 0, failed = -1;
        unsigned long long lines = 0, bytes = 0;
        char error[512] = "";
        if (std::fscanf(m_in, "%d %llu %llu %lf %d", &ok, &lines, &bytes, &r.seconds, &failed) !=
                5 ||
            !std::fgets(error, sizeof error, m_in)) {
            r.clients.resize(1);
            r.clients[0].error = "the load process did not answer";
            return r;
        }
        r.ok = ok != 0;
        r.lines = lines;
        r.bytes = bytes;
        r.clients.resize(std::size_t(o.clients));
        for (VrxLoadGen::ClientResult &c : r.clients)
            c.ok = true;
        if (failed >= 0 && failed < o.clients) {
            error[std::strcspn(error, "\n")] = 0;
            r.clients[std::size_t(failed)].ok = false;
            r.clients[std::size_t(failed)].error = error + (error[0] == ' ');
        }
        return r;
    }

private:
    static void serve(int in, int out)
    {
        FILE *requests = fdopen(in, "r");
        FILE *answers = fdopen(out, "w");
        VrxLoadGen::Options o;
        unsigned port = 0;
        while (std::fscanf(requests, "%u %d %d %d %d %u", &port, &o.clients, &o.lines,
                           &o.minLength, &o.maxLength, &o.seed) == 6) {
            o.port = uint16_t(port);
            const VrxLoadGen::Result r = VrxLoadGen::run(o);
            int failed = -1;
            for (std::size_t i = 0; i < r.clients.size() && failed < 0; ++i) {
                if (!r.clients[i].ok)
                    failed = int(i);
            }
            std::string error = failed >= 0 ? r.clients[std::size_t(failed)].error : "";
            for (char &ch : error) {
                if (ch == '\n')
                    ch = ' ';
            }
            std::fprintf(answers, "%d %llu %llu %.9f %d %s\n", r.ok ? 1 : 0,
                         static_cast<unsigned long long>(r.lines),
                         static_cast<unsigned long long>(r.bytes), r.seconds, failed,
                         error.c_str());
            std::fflush(answers);
        }
    }

    pid_t m_pid = -1;
    FILE *m_out = nullptr;
    FILE *m_in = nullptr;
};

LoadProcess g_load;

// One flood against whatever listens on the port and writes to path; the GUI thread keeps
// running its event loop all the while.
Flood flood(const Expected &e, uint16_t port, const QString &path,
            const std::function<double()> &peakUnwrittenMb = {})
{
    Flood f;
    FileWatch watch(e, path);
    // The rebuilt streams, their segment ends and the watcher's read buffer.
    ResidentMeter memory([&watch] { return watch.clientBytes() * 21 / 20 + (1u << 20); });
    memory.start();
    watch.start();
    StallMeter stall;

    VrxLoadGen::Options o;
    o.port = port;
    o.clients = kClients;
    o.lines = e.lines;
    o.minLength = kMinLength;
    o.maxLength = kMaxLength;
    o.seed = kSeed;
    VrxLoadGen::Result load;
    Clock::time_point loadEnd;
    std::atomic<bool> loadDone{false};
    std::atomic<uint64_t> clientBytesAtAck{0};

    if (g_profile.enabled) {
        g_profile.reset();
        g_profile.running = true;
    }
    stall.start();
    std::thread sender([&] {
        load = g_load.run(o);
        loadEnd = Clock::now();
        clientBytesAtAck = watch.clientBytes();
        loadDone = true;
    });
    // Once the sender is done, a file that stops growing for ten seconds will not finish.
    uint64_t lastBytes = 0;
    Clock::time_point lastGrowth = Clock::now();
    waitUntil(
        [&] {
            if (watch.complete())
                return true;
            const uint64_t bytes = watch.fileBytes();
            if (bytes != lastBytes) {
                lastBytes = bytes;
                lastGrowth = Clock::now();
            }
            return loadDone.load() && Clock::now() - lastGrowth > std::chrono::seconds(10);
        },
        15 * 60 * 1000);
    f.stallMs = stall.stop();
    f.stallRanMs = stall.worstRanMs();
    f.stallWaitedMs = stall.worstWaitedMs();
    g_profile.running = false;
    sender.join();
    // The file may still be growing when the sender gave up or the wait ran out.
    if (!watch.complete())
        waitUntil([&] { return watch.complete(); }, 2000);
    watch.stop();
    memory.stop();
    f.peakRssMb = memory.peakMb();
    f.files = watch.files();
    if (peakUnwrittenMb)
        f.peakUnwrittenMb = peakUnwrittenMb();
    if (watch.complete())
        f.ackToFileSeconds =
            std::max(0.0, std::chrono::duration<double>(watch.lastChangeAt() - loadEnd).count());

    const Clock::time_point sendStart =
        loadEnd - std::chrono::duration_cast<Clock::duration>(
                      std::chrono::duration<double>(load.seconds));
    f.loadOk = load.ok;
    f.linesSent = load.lines;
    f.ackSeconds = load.seconds;
    f.completed = watch.complete();
    f.seconds = std::chrono::duration<double>(
                    (f.completed ? watch.completedAt() : Clock::now()) - sendStart)
                    .count();
    f.fileShareAtAck = e.totalBytes ? double(clientBytesAtAck) / double(e.totalBytes) : 0;
    f.fileBytes = watch.fileBytes();
    f.clientLines = watch.reader().clientLines();
    f.otherLines = watch.reader().otherLines();
    f.verdict = verify(e, watch.reader());
    if (g_profile.enabled)
        g_profile.print(f.seconds);
    if (!load.ok) {
        for (std::size_t i = 0; i < load.clients.size(); ++i) {
            if (!load.clients[i].ok) {
                std::printf("  load client %zu: %s\n", i, load.clients[i].error.c_str());
                break;
            }
        }
    }
    return f;
}

void printFlood(const char *name, const Flood &f, const Expected &e)
{
    const uint64_t total = uint64_t(kClients) * uint64_t(e.lines);
    std::printf("%-8s %s %.2f s to the file (%.0f lines/s), server acknowledged all after %.2f s "
                "(%.0f lines/s) with %.0f%% in the file; longest stall %.0f ms%s\n",
                name, f.completed ? "complete" : "INCOMPLETE", f.seconds, f.linesPerSecond(),
                f.ackSeconds, f.ackSeconds > 0 ? f.linesSent / f.ackSeconds : 0.0,
                100.0 * f.fileShareAtAck, f.stallMs,
                f.stallRanMs < 0 ? ""
                                 : qPrintable(QString::asprintf(
                                       " (the GUI thread ran %.0f ms of it, waited for a CPU "
                                       "%.0f ms)",
                                       f.stallRanMs, f.stallWaitedMs)));
    std::printf("%-8s file %.1f MB, %llu client lines (%llu split pieces), %llu other lines; "
                "intact %llu/%llu, line ends %llu, lost %llu, extra bytes %llu%s\n",
                "", double(f.fileBytes) / 1e6, static_cast<unsigned long long>(f.clientLines),
                static_cast<unsigned long long>(f.clientLines > total ? f.clientLines - total : 0),
                static_cast<unsigned long long>(f.otherLines),
                static_cast<unsigned long long>(f.verdict.intact),
                static_cast<unsigned long long>(total),
                static_cast<unsigned long long>(f.verdict.lineEnds),
                static_cast<unsigned long long>(f.verdict.lost),
                static_cast<unsigned long long>(f.verdict.extraBytes),
                f.loadOk ? "" : ", LOAD GENERATOR FAILED");
    std::printf("%-8s peak resident %.1f MB (anonymous, the benchmark's own records taken off), "
                "largest acknowledged but unwritten %s, last acknowledgement to last byte in the "
                "file %.3f s, %d output file(s)\n",
                "", f.peakRssMb,
                f.peakUnwrittenMb < 0
                    ? "n/a"
                    : qPrintable(QString::asprintf("%.1f MB", f.peakUnwrittenMb)),
                f.ackToFileSeconds, f.files);
}

// The window-less side: the host's texts go straight into a file, nothing else.
Flood runBaseline(const Expected &e, const QString &directory)
{
    const QString path = directory + QStringLiteral("/baseline.okv");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        std::fprintf(stderr, "baseline: cannot write %s\n", qPrintable(path));
        return Flood();
    }
    VrxMonHost host;
    QObject::connect(&host, &VrxMonHost::MessageAvailable, &file,
                     [&file](const QString &text) { file.write(text.toUtf8()); });
    // Written in QFile's buffer; pushed out often enough that the watcher sees it at once.
    QTimer flusher;
    QObject::connect(&flusher, &QTimer::timeout, &file, [&file] { file.flush(); });
    flusher.start(5);

    const uint16_t port = VrxLoadGen::firstBindablePort(50000);
    host.start(1, QStringLiteral("127.0.0.1"), port, kTraceLevel, kTimestamp, kDeviceMask);
    if (!waitUntil([&] { return fileContains(path, "VRX Monitor started!"); }, 10000)) {
        std::fprintf(stderr, "baseline: monitor host not listening on %u\n", port);
        return Flood();
    }
    Flood f = flood(e, port, path);
    return f;
}

// The real window: the main window as the application builds it, its monitor moved to a
// free port and started the way the start button does.
Flood runWindow(const Expected &e)
{
    auto window = std::make_unique<MainWindow>();
    window->applyStartupLayout();
    MonitorPanel *panel = window->monitorPanel();
    // Let the window come up (and the start-up option run) before the flood starts.
    waitUntil([] { return false; }, 300);
    if (panel->isMonitoring()) {
        panel->stopMonitoring();
        waitUntil([panel] { return !panel->isMonitoring(); }, 10000);
    }
    panel->kindBox()->setCurrentIndex(MonitorPanel::BuiltIn);
    panel->traceLevelBox()->setValue(kTraceLevel);
    panel->timestampBox()->setValue(int(kTimestamp));
    panel->deviceMaskBox()->setValue(kDeviceMask);

    const uint16_t port = VrxLoadGen::firstBindablePort(50000);
    panel->setPort(port);
    panel->startMonitoring();
    const QString path = panel->filePath();
    if (!waitUntil([&] { return fileContains(path, "VRX Monitor started!"); }, 10000)) {
        std::fprintf(stderr, "window: monitor not listening on %u (output %s)\n", port,
                     qPrintable(path));
        return Flood();
    }

    // How the texts reach the file: one append per flush of the editor.
    uint64_t flushes = 0, flushedChars = 0;
    const QMetaObject::Connection counting = QObject::connect(panel->editor(), &Editor::newTextAvailable, panel,
                     [&](const QString &, const QString &text) {
                         ++flushes;
                         flushedChars += uint64_t(text.size());
                         g_profile.flushChars = uint64_t(text.size());
                     });
    const std::shared_ptr<OutputBacklog> backlog = panel->editor()->outputBacklog();
    Flood f = flood(e, port, path, [backlog] { return double(backlog->peak()) / 1e6; });
    QObject::disconnect(counting);
    std::printf("window   output %s: %llu flushes of %.0f characters on average; the index "
                "holds %.1f MB\n",
                qPrintable(QDir(MonitorPanel::outputDirectory()).relativeFilePath(path)),
                static_cast<unsigned long long>(flushes),
                flushes ? double(flushedChars) / double(flushes) : 0.0,
                double(panel->engine()->index().allocatedBytes()) / 1e6);

    panel->stopMonitoring();
    waitUntil([panel] { return !panel->isMonitoring(); }, 10000);
    return f;
}

} // namespace

int main(int argc, char **argv)
{
    if (!g_load.start()) {
        std::fprintf(stderr, "cannot start the load process\n");
        return 1;
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // A home of its own, so the window's settings and output files touch nothing of the user.
    QTemporaryDir home(QDir::tempPath() + QStringLiteral("/vrxassist-flood-XXXXXX"));
    if (!home.isValid()) {
        std::fprintf(stderr, "cannot create a temporary home\n");
        return 1;
    }
    const QString homePath = home.path();
    for (const char *sub : {".config", ".local/share", ".cache", "runtime"})
        QDir(homePath).mkpath(QString::fromLatin1(sub));
    QFile::setPermissions(homePath + QStringLiteral("/runtime"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("HOME", homePath.toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (homePath + QStringLiteral("/.config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", (homePath + QStringLiteral("/.local/share")).toLocal8Bit());
    qputenv("XDG_CACHE_HOME", (homePath + QStringLiteral("/.cache")).toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", (homePath + QStringLiteral("/runtime")).toLocal8Bit());

    BenchApplication app(argc, argv);
    t_guiThread = true;
    initResources();
    QApplication::setEffectEnabled(Qt::UI_AnimateCombo, false);
    registerMetaTypes();
    setApplicationIdentity();
    // A message box would wait for a person; say what it was and go on.
    Notify::setHook([](Notify::Kind, const QString &title, const QString &text) {
        std::fprintf(stderr, "message box: %s: %s\n", qPrintable(title), qPrintable(text));
        return QMessageBox::No;
    });

    int lines = 25000;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--breakdown") == 0)
            g_profile.enabled = true;
        else if (std::strcmp(argv[i], "--long") == 0)
            lines = kLongLines;
        else
            lines = std::max(1, std::atoi(argv[i]));
    }
    const uint64_t total = uint64_t(kClients) * uint64_t(lines);
    const Expected expected = makeExpected(lines);
    std::printf("bench_monitor_flood: %d clients x %d lines of %d-%d bytes (%.1f MB) into the "
                "main window's monitor (%s), against a monitor host writing to a file\n",
                kClients, lines, kMinLength, kMaxLength,
                double(expected.totalBytes + total) / 1e6, qPrintable(QApplication::platformName()));
    std::fflush(stdout);

    const Flood base = runBaseline(expected, homePath);
    printFlood("baseline", base, expected);
    std::fflush(stdout);
    const Flood win = runWindow(expected);
    printFlood("window", win, expected);

    const double ratio = base.linesPerSecond() > 0 ? win.linesPerSecond() / base.linesPerSecond() : 0;
    const bool rateOk = win.completed && win.linesPerSecond() >= kTargetRate;
    const bool lossOk = win.completed && win.verdict.lost == 0 && win.verdict.extraBytes == 0 &&
                        win.verdict.intact == total;
    const bool stallOk = win.stallMs <= kTargetStallMs;
    if (!base.completed || base.verdict.lost || base.verdict.extraBytes)
        std::printf("note: the baseline itself did not deliver every line intact\n");
    if (!rateOk)
        std::printf("FAILED rate: %.0f lines/s, target at least %.0f\n", win.linesPerSecond(),
                    kTargetRate);
    if (!lossOk)
        std::printf("FAILED loss: %llu lines lost, %llu extra bytes%s\n",
                    static_cast<unsigned long long>(win.verdict.lost),
                    static_cast<unsigned long long>(win.verdict.extraBytes),
                    win.completed ? "" : ", output incomplete");
    if (!stallOk)
        std::printf("FAILED stall: longest %.0f ms, target at most %.0f ms\n", win.stallMs,
                    kTargetStallMs);
    auto verdict = [](bool ok) { return ok ? "PASS" : "FAIL"; };
    std::printf("bench_monitor_flood: %llu lines, window %.2f s (%.0f lines/s), baseline %.2f s, "
                "ratio %.2f, lost %llu, longest stall %.0f ms, peak resident %.0f MB, largest "
                "unwritten %.1f MB, last ack to file %.3f s, targets: rate %s, loss %s, "
                "stall %s\n",
                static_cast<unsigned long long>(total), win.seconds, win.linesPerSecond(),
                base.seconds, ratio, static_cast<unsigned long long>(win.verdict.lost),
                win.stallMs, win.peakRssMb, std::max(0.0, win.peakUnwrittenMb),
                win.ackToFileSeconds, verdict(rateOk), verdict(lossOk), verdict(stallOk));
    return rateOk && lossOk && stallOk ? 0 : 1;
}
