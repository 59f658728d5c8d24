#ifndef QDX_STD_THREAD_H
#define QDX_STD_THREAD_H

#include <functional>
#include <memory>

namespace Norvane {
namespace QDXDesktopSDK {

/// Runs one function on a detached system thread and reports, through this
/// object, whether it still runs and what it returned.
///
/// The object and its thread share a record (ThreadData) and hand state to
/// each other only under the thread lock (StdAutoThreadLock); whichever of
/// the two lets go of the record last frees it. The object may let go of its
/// thread at any time (Close, or destruction), after which the thread runs on
/// and never touches the object again, while the record still tells Wait when
/// the thread has ended. One thread at a time controls an object (Run, Wait,
/// Close, delete); the queries may come from any thread.
class StdThread {
public:
    /// The function a thread runs: it receives the argument given to Run and
    /// its result becomes the exit code.
    using ThreadFunction = std::function<int(void*)>;

    /// Starts `function(argument)` at once unless `function` is empty.
    explicit StdThread(ThreadFunction function = ThreadFunction(), void* argument = nullptr);
    /// Lets go of a running thread as Close does; never waits for it.
    virtual ~StdThread();
    StdThread(StdThread const&) = delete;
    StdThread& operator=(StdThread const&) = delete;

    /// Lets go of the thread without waiting: it runs on, and its result is
    /// discarded. The thread id and the exit code stay as they were, so a
    /// thread that was running still counts as running until Wait.
    virtual void Close();

    /// Starts `function(argument)` on a new detached thread and waits up to
    /// one second for it to publish its kernel thread id, which it returns
    /// (-1 if the thread has not started by then, 0 if it already finished).
    /// With an empty function, or while the object has a thread (id not 0),
    /// starts nothing and returns the current id. The process ends when no
    /// thread can be created.
    long long Run(ThreadFunction function, void* argument);

    /// True while the thread runs its function (the thread id is above 0).
    /// The argument has no effect on this platform.
    bool IsRunning(bool unused = false) const;

    /// Waits up to `milliseconds` (negative: without limit), testing every 50
    /// milliseconds, for the thread to finish, one let go of by Close
    /// included. Then the thread id becomes 0 and the result is true; false
    /// when the time ran out.
    bool Wait(long long milliseconds);

    /// 0 without a thread, -1 while one is being started, else its kernel id.
    long long GetThreadId() const;
    /// -2 before any run, -1 while the function runs, then its result.
    int GetExitCode() const;

    /// True on the process's main thread (kernel thread id equal to the pid).
    static bool IsCurrentThreadIsMainThread();
    /// Calls `function(argument)` on the calling thread and returns its
    /// result (0 for an empty function). This platform has no main-thread
    /// dispatch, so a worker thread runs it itself.
    static int RunFunctionOnMainThread(ThreadFunction const& function, void* argument);

private:
    /// The record shared with the thread; defined with the thread procedure.
    struct ThreadData;

    static void* ThreadProcedure(void* record);

    // All three are guarded by the thread lock.
    long long m_threadId = 0;
    std::shared_ptr<ThreadData> m_threadData;  // kept after Close until Wait sees the thread ended
    int m_exitCode = -2;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
