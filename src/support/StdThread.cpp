#include "support/StdThread.h"

#include "support/StdProcessTime.h"
#include "support/StdProcessWait.h"
#include "support/StdThreadManager.h"

#include <cstdint>
#include <cstdlib>
#include <utility>

#include <pthread.h>

namespace Norvane {
namespace QDXDesktopSDK {

// Lives as long as its thread, and as long as an object that let go of the
// thread still waits for it: the owner link is how the thread learns, at its
// last hand-over, whether anyone still wants its result (the object may be
// gone by then), and the finished mark how such an object learns that the
// thread has ended.
struct StdThread::ThreadData {
    ThreadFunction function;  // taken over by the thread when it starts
    void* argument = nullptr;
    StdThread* owner = nullptr;  // guarded by the thread lock; null once the owner let go
    bool finished = false;       // guarded by the thread lock
};

StdThread::StdThread(ThreadFunction function, void* argument)
{
    if (function)
        Run(std::move(function), argument);
}

StdThread::~StdThread()
{
    StdThread::Close();
}

void StdThread::Close()
{
    // The record stays: a thread let go of still runs, and Wait must see
    // when it ends before another may start on this object.
    StdAutoThreadLock lock;
    if (m_threadData != nullptr)
        m_threadData->owner = nullptr;
}

long long StdThread::Run(ThreadFunction function, void* argument)
{
    {
        StdAutoThreadLock lock;
        if (!function || m_threadId != 0)
            return m_threadId;
    }
    Close();
    auto record = std::make_shared<ThreadData>();
    record->function = std::move(function);
    record->argument = argument;
    record->owner = this;
    {
        StdAutoThreadLock lock;
        m_exitCode = -2;
        m_threadId = -1;
        m_threadData = record;
    }

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t handle;
    // The thread's own share of the record, which it frees.
    auto* threadShare = new std::shared_ptr<ThreadData>(std::move(record));
    int const created = pthread_create(&handle, &attributes, &StdThread::ThreadProcedure, threadShare);
    pthread_attr_destroy(&attributes);
    if (created != 0) {
        // The callers build on their thread existing (the timer manager's
        // loop); carrying on without it would fail them silently.
        std::abort();
    }

    StdProcessUtil::WaitForCondition([this](void*) { return GetThreadId() != -1; }, nullptr, 1000, 1);
    return GetThreadId();
}

bool StdThread::IsRunning(bool) const
{
    return GetThreadId() > 0;
}

bool StdThread::Wait(long long milliseconds)
{
    // The record is gone once the thread has handed its result back; a thread
    // that Close let go of only marks it finished.
    bool const finished = StdProcessUtil::WaitForCondition(
        [this](void*) {
            StdAutoThreadLock lock;
            return m_threadData == nullptr || m_threadData->finished;
        },
        nullptr, milliseconds, 50);
    if (finished) {
        StdAutoThreadLock lock;
        m_threadData = nullptr;
        m_threadId = 0;
    }
    return finished;
}

long long StdThread::GetThreadId() const
{
    StdAutoThreadLock lock;
    return m_threadId;
}

int StdThread::GetExitCode() const
{
    StdAutoThreadLock lock;
    return m_exitCode;
}

bool StdThread::IsCurrentThreadIsMainThread()
{
    return StdProcessUtil::GetThreadId() == StdProcessUtil::GetPid();
}

int StdThread::RunFunctionOnMainThread(ThreadFunction const& function, void* argument)
{
    return function ? function(argument) : 0;
}

void* StdThread::ThreadProcedure(void* opaque)
{
    auto* threadShare = static_cast<std::shared_ptr<ThreadData>*>(opaque);
    std::shared_ptr<ThreadData> const record = std::move(*threadShare);
    delete threadShare;
    ThreadFunction function;
    void* argument = nullptr;
    {
        StdAutoThreadLock lock;
        function = std::move(record->function);
        argument = record->argument;
        if (record->owner != nullptr) {
            record->owner->m_threadId = StdProcessUtil::GetThreadId();
            record->owner->m_exitCode = -1;
        }
    }

    int const result = function(argument);
    // Whatever the function holds is released before the owner hears that the
    // thread is done, so that an owner that waited may tear that down safely.
    function = nullptr;

    {
        StdAutoThreadLock lock;
        record->finished = true;
        if (StdThread* owner = record->owner) {
            owner->m_threadId = 0;
            owner->m_threadData = nullptr;
            owner->m_exitCode = result;
        }
    }
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(result));
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
