// SPDX-License-Identifier: LGPL-3.0-or-later
// The parts of the TSan stand-ins that need Qt's API: seeing every event delivered, and the
// true end of a QThread (see tsanqt.cpp for why).
#include "tsanqt.h"

#include <QThread>

#include <sanitizer/tsan_interface.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <unistd.h>

namespace {

// Every event a thread handles may be a queued call posted by another thread.
bool onEventDelivered(void **)
{
    TsanQt::deliveringEvent();
    return false;
}
const bool s_eventHook = QInternal::registerCallback(QInternal::EventNotifyCallback,
                                                     onEventDelivered);

// QThread::wait() returns once the thread has woken it near its end; objects deleted on
// finished() and the event dispatcher go after that, yet before the OS thread ends. A
// thread_local's destructor runs later still, so its store is the thread's last word.
struct ThreadEnd
{
    std::atomic<bool> done{false};
};

struct ThreadExit
{
    std::vector<std::shared_ptr<ThreadEnd>> ends;
    ~ThreadExit()
    {
        for (const auto &end : ends)
            end->done.store(true, std::memory_order_release);
    }
};

std::mutex s_mutex;
std::unordered_map<const void *, std::shared_ptr<ThreadEnd>> s_ends;
std::unordered_set<const void *> s_hooked;

std::shared_ptr<ThreadEnd> endOf(const void *thread)
{
    std::lock_guard<std::mutex> lock(s_mutex);
    const auto it = s_ends.find(thread);
    return it == s_ends.end() ? nullptr : it->second;
}

// A functor handed to invokeMethod or singleShot is counted by Qt's uninstrumented code and
// destroyed by whichever thread lets go last, often not the one that ran it. This wrapper
// orders each run before the destruction.
class OrderedSlot : public QtPrivate::QSlotObjectBase
{
public:
    explicit OrderedSlot(QtPrivate::QSlotObjectBase *inner)
        : QSlotObjectBase(&OrderedSlot::impl), m_inner(inner)
    {
    }

private:
    static void impl(int which, QSlotObjectBase *base, QObject *receiver, void **args, bool *ret)
    {
        auto *self = static_cast<OrderedSlot *>(base);
        switch (which) {
        case Destroy:
            __tsan_acquire(self);
            self->m_inner->destroyIfLastRef();
            delete self;
            break;
        case Call:
            self->m_inner->call(receiver, args);
            __tsan_release(self);
            break;
        case Compare:
            *ret = self->m_inner->compare(args);
            break;
        }
    }

    QtPrivate::QSlotObjectBase *m_inner;
};

} // namespace

namespace TsanQt {

void *wrapSlot(void *slotObject)
{
    if (!slotObject)
        return nullptr;
    return new OrderedSlot(static_cast<QtPrivate::QSlotObjectBase *>(slotObject));
}

void threadStarting(void *object)
{
    auto *thread = static_cast<QThread *>(object);
    bool hook = false;
    {
        std::lock_guard<std::mutex> lock(s_mutex);
        s_ends[thread] = std::make_shared<ThreadEnd>();
        hook = s_hooked.insert(thread).second;
    }
    if (!hook)
        return;
    QObject::connect(
        thread, &QThread::started, thread,
        [thread] {
            static thread_local ThreadExit exit;
            if (auto end = endOf(thread))
                exit.ends.push_back(std::move(end));
        },
        Qt::DirectConnection);
    QObject::connect(
        thread, &QObject::destroyed, thread,
        [thread] {
            std::lock_guard<std::mutex> lock(s_mutex);
            s_ends.erase(thread);
            s_hooked.erase(thread);
        },
        Qt::DirectConnection);
}

void threadWaited(void *thread)
{
    const auto end = endOf(thread);
    if (!end)
        return;
    // Bounded: a thread that never reaches its end is a hang the test reports by itself.
    for (int i = 0; i < 50000 && !end->done.load(std::memory_order_acquire); ++i)
        usleep(100);
}

} // namespace TsanQt
