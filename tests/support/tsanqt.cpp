// SPDX-License-Identifier: LGPL-3.0-or-later
// ThreadSanitizer only sees the synchronisation of code it instruments, and Debian's Qt is not
// built with it: a QMutex, QReadWriteLock or QSemaphore locked by our code, a signal queued to
// another thread or a QThread::wait() give TSan no ordering at all, so every value handed over
// through them would be reported. The functions below stand in front of the Qt calls our code
// makes (the test executables link them, so our calls bind here before libQt5Core), pass each
// call on, and tell TSan what it orders. A race reported in the TSan tests is then one that
// Qt's locks would not prevent either. Only the TSan test build links this file.
//
// Nothing here includes a Qt header: these definitions carry the mangled names of the Qt
// members they replace, which the declarations in Qt's headers would clash with.
#include "tsanqt.h"

#include <sanitizer/tsan_interface.h>

#include <dlfcn.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <vector>

// TSan's own annotations for memory accesses it should not check.
extern "C" void AnnotateIgnoreWritesBegin(const char *file, int line);
extern "C" void AnnotateIgnoreWritesEnd(const char *file, int line);

namespace {

template <typename Fn>
Fn real(const char *symbol)
{
    void *address = dlsym(RTLD_NEXT, symbol);
    if (!address) {
        std::fprintf(stderr, "tsanqt: %s not found in the Qt libraries\n", symbol);
        std::abort();
    }
    return reinterpret_cast<Fn>(address);
}

// Where queued calls meet: every post releases it and every event delivered acquires it.
// Qt's own per-thread event queue lock would order only poster and receiver; one shared
// point orders a little more than Qt does, never less.
char s_eventQueue;

// Read locks release into a second address that only writers acquire, so readers stay
// unordered among themselves as they are under QReadWriteLock.
struct HeldLock
{
    const void *lock;
    bool read;
};
thread_local std::vector<HeldLock> t_heldLocks;

char *readSide(void *lock) { return static_cast<char *>(lock) + 1; }

void lockedForRead(void *lock)
{
    __tsan_acquire(lock);
    t_heldLocks.push_back({lock, true});
}

void lockedForWrite(void *lock)
{
    __tsan_acquire(lock);
    __tsan_acquire(readSide(lock));
    t_heldLocks.push_back({lock, false});
}

void releaseRwLock(void *lock)
{
    for (auto it = t_heldLocks.rbegin(); it != t_heldLocks.rend(); ++it) {
        if (it->lock != lock)
            continue;
        const bool read = it->read;
        t_heldLocks.erase(std::next(it).base());
        __tsan_release(read ? readSide(lock) : lock);
        return;
    }
    __tsan_release(lock);
}

} // namespace

namespace TsanQt {
void postingEvent() { __tsan_release(&s_eventQueue); }
void deliveringEvent() { __tsan_acquire(&s_eventQueue); }
} // namespace TsanQt

extern "C" {

// QMutex::lock(), unlock(), tryLock(int)
void _ZN6QMutex4lockEv(void *self)
{
    static const auto fn = real<void (*)(void *)>("_ZN6QMutex4lockEv");
    fn(self);
    __tsan_acquire(self);
}

void _ZN6QMutex6unlockEv(void *self)
{
    static const auto fn = real<void (*)(void *)>("_ZN6QMutex6unlockEv");
    __tsan_release(self);
    fn(self);
}

bool _ZN6QMutex7tryLockEi(void *self, int timeout)
{
    static const auto fn = real<bool (*)(void *, int)>("_ZN6QMutex7tryLockEi");
    const bool locked = fn(self, timeout);
    if (locked)
        __tsan_acquire(self);
    return locked;
}

// QReadWriteLock::lockForRead(), lockForWrite(), tryLockFor...(), unlock()
void _ZN14QReadWriteLock11lockForReadEv(void *self)
{
    static const auto fn = real<void (*)(void *)>("_ZN14QReadWriteLock11lockForReadEv");
    fn(self);
    lockedForRead(self);
}

void _ZN14QReadWriteLock12lockForWriteEv(void *self)
{
    static const auto fn = real<void (*)(void *)>("_ZN14QReadWriteLock12lockForWriteEv");
    fn(self);
    lockedForWrite(self);
}

bool _ZN14QReadWriteLock14tryLockForReadEv(void *self)
{
    static const auto fn = real<bool (*)(void *)>("_ZN14QReadWriteLock14tryLockForReadEv");
    const bool locked = fn(self);
    if (locked)
        lockedForRead(self);
    return locked;
}

bool _ZN14QReadWriteLock14tryLockForReadEi(void *self, int timeout)
{
    static const auto fn = real<bool (*)(void *, int)>("_ZN14QReadWriteLock14tryLockForReadEi");
    const bool locked = fn(self, timeout);
    if (locked)
        lockedForRead(self);
    return locked;
}

bool _ZN14QReadWriteLock15tryLockForWriteEv(void *self)
{
    static const auto fn = real<bool (*)(void *)>("_ZN14QReadWriteLock15tryLockForWriteEv");
    const bool locked = fn(self);
    if (locked)
        lockedForWrite(self);
    return locked;
}

bool _ZN14QReadWriteLock15tryLockForWriteEi(void *self, int timeout)
{
    static const auto fn = real<bool (*)(void *, int)>("_ZN14QReadWriteLock15tryLockForWriteEi");
    const bool locked = fn(self, timeout);
    if (locked)
        lockedForWrite(self);
    return locked;
}

void _ZN14QReadWriteLock6unlockEv(void *self)
{
    static const auto fn = real<void (*)(void *)>("_ZN14QReadWriteLock6unlockEv");
    releaseRwLock(self);
    fn(self);
}

// QSemaphore::acquire(int), release(int), tryAcquire(int), tryAcquire(int, int)
void _ZN10QSemaphore7acquireEi(void *self, int n)
{
    static const auto fn = real<void (*)(void *, int)>("_ZN10QSemaphore7acquireEi");
    fn(self, n);
    __tsan_acquire(self);
}

void _ZN10QSemaphore7releaseEi(void *self, int n)
{
    static const auto fn = real<void (*)(void *, int)>("_ZN10QSemaphore7releaseEi");
    __tsan_release(self);
    fn(self, n);
}

bool _ZN10QSemaphore10tryAcquireEi(void *self, int n)
{
    static const auto fn = real<bool (*)(void *, int)>("_ZN10QSemaphore10tryAcquireEi");
    const bool acquired = fn(self, n);
    if (acquired)
        __tsan_acquire(self);
    return acquired;
}

bool _ZN10QSemaphore10tryAcquireEii(void *self, int n, int timeout)
{
    static const auto fn = real<bool (*)(void *, int, int)>("_ZN10QSemaphore10tryAcquireEii");
    const bool acquired = fn(self, n, timeout);
    if (acquired)
        __tsan_acquire(self);
    return acquired;
}

// Signals and queued calls our code sends: QMetaObject::activate (what moc's signal bodies
// call), QMetaObject::invokeMethod, QTimer::singleShot and QCoreApplication::postEvent.
void _ZN11QMetaObject8activateEP7QObjectPKS_iPPv(void *sender, const void *meta, int index,
                                                   void **args)
{
    static const auto fn = real<void (*)(void *, const void *, int, void **)>(
        "_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    TsanQt::postingEvent();
    fn(sender, meta, index, args);
}

void _ZN11QMetaObject8activateEP7QObjectiPPv(void *sender, int index, void **args)
{
    static const auto fn =
        real<void (*)(void *, int, void **)>("_ZN11QMetaObject8activateEP7QObjectiPPv");
    TsanQt::postingEvent();
    fn(sender, index, args);
}

void _ZN11QMetaObject8activateEP7QObjectiiPPv(void *sender, int offset, int index, void **args)
{
    static const auto fn =
        real<void (*)(void *, int, int, void **)>("_ZN11QMetaObject8activateEP7QObjectiiPPv");
    TsanQt::postingEvent();
    fn(sender, offset, index, args);
}

// QGenericArgument and QGenericReturnArgument are two pointers and trivially copyable, so the
// ABI passes them as it passes this mirror; they are only handed on.
struct GenericArgument
{
    const void *data;
    const char *name;
};

bool _ZN11QMetaObject12invokeMethodEP7QObjectPKcN2Qt14ConnectionTypeE22QGenericReturnArgument16QGenericArgumentS7_S7_S7_S7_S7_S7_S7_S7_S7_(
    void *object, const char *member, int type, GenericArgument ret, GenericArgument a0,
    GenericArgument a1, GenericArgument a2, GenericArgument a3, GenericArgument a4,
    GenericArgument a5, GenericArgument a6, GenericArgument a7, GenericArgument a8,
    GenericArgument a9)
{
    using Fn = bool (*)(void *, const char *, int, GenericArgument, GenericArgument,
                        GenericArgument, GenericArgument, GenericArgument, GenericArgument,
                        GenericArgument, GenericArgument, GenericArgument, GenericArgument,
                        GenericArgument);
    static const auto fn = real<Fn>(
        "_ZN11QMetaObject12invokeMethodEP7QObjectPKcN2Qt14ConnectionTypeE22QGenericReturnArgument"
        "16QGenericArgumentS7_S7_S7_S7_S7_S7_S7_S7_S7_");
    TsanQt::postingEvent();
    return fn(object, member, type, ret, a0, a1, a2, a3, a4, a5, a6, a7, a8, a9);
}

bool _ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv(
    void *object, void *slot, int type, void *ret)
{
    static const auto fn = real<bool (*)(void *, void *, int, void *)>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14Connecti"
        "onTypeEPv");
    void *ordered = TsanQt::wrapSlot(slot);
    TsanQt::postingEvent();
    return fn(object, ordered, type, ret);
}

void _ZN6QTimer14singleShotImplEiN2Qt9TimerTypeEPK7QObjectPN9QtPrivate15QSlotObjectBaseE(
    int msec, int timerType, const void *receiver, void *slot)
{
    static const auto fn = real<void (*)(int, int, const void *, void *)>(
        "_ZN6QTimer14singleShotImplEiN2Qt9TimerTypeEPK7QObjectPN9QtPrivate15QSlotObjectBaseE");
    void *ordered = TsanQt::wrapSlot(slot);
    TsanQt::postingEvent();
    fn(msec, timerType, receiver, ordered);
}

void _ZN16QCoreApplication9postEventEP7QObjectP6QEventi(void *receiver, void *event, int priority)
{
    static const auto fn =
        real<void (*)(void *, void *, int)>("_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
    TsanQt::postingEvent();
    fn(receiver, event, priority);
}

// The buffers behind QString, QByteArray, QVector (QArrayData::deallocate) and QList
// (QListData::dispose). Their reference counts also change in Qt's uninstrumented code, a
// queued call's copy of an argument for one, so TSan cannot see that the thread freeing a
// buffer was the last to let go of it, and would call every such free a race with the
// other thread's earlier use. The free itself is not checked; every other access to the
// buffer still is.
void _ZN10QArrayData10deallocateEPS_mm(void *data, std::size_t objectSize, std::size_t alignment)
{
    static const auto fn = real<void (*)(void *, std::size_t, std::size_t)>(
        "_ZN10QArrayData10deallocateEPS_mm");
    AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
    fn(data, objectSize, alignment);
    AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
}

void _ZN9QListData7disposeEPNS_4DataE(void *data)
{
    static const auto fn = real<void (*)(void *)>("_ZN9QListData7disposeEPNS_4DataE");
    AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
    fn(data);
    AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
}

// QThread::start(Priority), wait(QDeadlineTimer), wait(unsigned long): see tsanqthooks.cpp.
void _ZN7QThread5startENS_8PriorityE(void *self, int priority)
{
    static const auto fn = real<void (*)(void *, int)>("_ZN7QThread5startENS_8PriorityE");
    TsanQt::threadStarting(self);
    fn(self, priority);
}

// QDeadlineTimer: 16 trivially copyable bytes, handed on unchanged.
struct DeadlineTimer
{
    long long t1;
    unsigned t2;
    int type;
};

bool _ZN7QThread4waitE14QDeadlineTimer(void *self, DeadlineTimer deadline)
{
    static const auto fn = real<bool (*)(void *, DeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool done = fn(self, deadline);
    if (done)
        TsanQt::threadWaited(self);
    return done;
}

bool _ZN7QThread4waitEm(void *self, unsigned long msecs)
{
    static const auto fn = real<bool (*)(void *, unsigned long)>("_ZN7QThread4waitEm");
    const bool done = fn(self, msecs);
    if (done)
        TsanQt::threadWaited(self);
    return done;
}

} // extern "C"
