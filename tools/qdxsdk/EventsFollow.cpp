#include "EventsFollow.h"

#include "ExitCode.h"
#include "RecordSelection.h"

#include "DatabaseFiles.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <iostream>
#include <memory>

namespace Norvane {
namespace QdxTool {

namespace {

// One small read per poll; a record shows within this time of its commit.
constexpr long kPollIntervalMs = 250;

volatile sig_atomic_t s_stopRequested = 0;

void RequestStop(int)
{
    s_stopRequested = 1;
}

// SIGINT and SIGTERM end the following cleanly; without SA_RESTART they
// also cut the wait between polls short.
class StopSignals {
public:
    StopSignals()
    {
        struct sigaction action {};
        action.sa_handler = RequestStop;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &m_previousInt);
        sigaction(SIGTERM, &action, &m_previousTerm);
    }
    ~StopSignals()
    {
        sigaction(SIGINT, &m_previousInt, nullptr);
        sigaction(SIGTERM, &m_previousTerm, nullptr);
    }
    StopSignals(StopSignals const&) = delete;
    StopSignals& operator=(StopSignals const&) = delete;

private:
    struct sigaction m_previousInt {};
    struct sigaction m_previousTerm {};
};

bool StopRequested()
{
    return s_stopRequested != 0;
}

void WaitForNextPoll()
{
    timespec pause{0, kPollIntervalMs * 1000000L};
    nanosleep(&pause, nullptr);  // a signal ends it early, as wanted
}

bool DatabasePresent(std::string const& path)
{
    return LocalCore::DatabaseFiles::SizeOf(path) > 0;
}

// The database being followed: the open store, the file it was opened from,
// and how far its records were read.
class FollowedDatabase {
public:
    FollowedDatabase(ToolContext const& context, LocalCore::RecordFilter const& filter, long long limit)
        : m_folder(context.StoreFolder()), m_path(context.DatabasePath()), m_filter(filter), m_remaining(limit)
    {
    }

    /// One poll: opens the database when needed, then prints what is new.
    /// False, with exitCode set, when following must end.
    bool Poll(std::function<void(LocalCore::StoredRecord const&)> const& print, int& exitCode)
    {
        if (m_store && LocalCore::DatabaseFiles::IdentityOf(m_path) != m_identity)
            m_store.reset();  // moved aside or replaced: follow the new one
        if (!m_store && !Open(exitCode))
            return exitCode == kExitOk;
        long long const newest = m_store->NewestSeq();
        if (newest < 0) {
            m_store.reset();  // read again from a fresh connection next time
            return true;
        }
        if (newest <= m_readUpTo)
            return true;
        long long printedUpTo = m_readUpTo;
        auto const counted = [&](LocalCore::StoredRecord const& record) {
            print(record);
            printedUpTo = record.seq;
            if (m_remaining > 0)
                --m_remaining;
        };
        LocalCore::RecordFilter filter = m_filter;
        filter.afterSeq = m_readUpTo;
        std::string error;
        if (!RecordSelection::Walk(*m_store, filter, m_remaining, counted, error)) {
            m_store.reset();
            return true;
        }
        // Every record up to the newest seq read before the walk was seen,
        // matching or not; later ones may have come with the walk.
        m_readUpTo = std::max(newest, printedUpTo);
        return m_remaining != 0;
    }

private:
    bool Open(int& exitCode)
    {
        if (!DatabasePresent(m_path)) {
            Note("no usage database at " + m_path + " yet; waiting for the local core to store something");
            return false;
        }
        LocalCore::FileIdentity const identity = LocalCore::DatabaseFiles::IdentityOf(m_path);
        LocalCore::OpenOptions options;
        options.mode = LocalCore::OpenMode::ReadOnly;
        options.interrupt = StopRequested;
        LocalCore::OpenReport report;
        m_store = LocalCore::Store::Open(m_folder, report, options);
        if (!m_store) {
            if (report.newerSchema) {
                ReportError(m_path + " comes from a newer local core than this qdxsdk: " + report.error);
                exitCode = kExitUnreadable;
            } else {
                Note("cannot read " + m_path + " (" + report.error + "); trying again");
            }
            return false;
        }
        if (identity != m_identity)
            m_readUpTo = 0;  // another file than the one read so far: from its first record
        m_identity = identity;
        return true;
    }

    // Said once for each new situation, on standard error.
    void Note(std::string const& text)
    {
        if (text != m_lastNote)
            ReportError(text);
        m_lastNote = text;
    }

    std::string const m_folder;
    std::string const m_path;
    LocalCore::RecordFilter const m_filter;
    long long m_remaining;
    std::unique_ptr<LocalCore::Store> m_store;
    LocalCore::FileIdentity m_identity;
    long long m_readUpTo = 0;
    std::string m_lastNote;
};

}  // namespace

int FollowEvents(ToolContext const& context, LocalCore::RecordFilter const& filter, long long limit,
                 std::function<void(LocalCore::StoredRecord const&)> const& print)
{
    StopSignals const signals;
    FollowedDatabase database(context, filter, limit);
    int exitCode = kExitOk;
    while (!StopRequested()) {
        bool const goOn = database.Poll(print, exitCode);
        if (FinishOutput() != kExitOk)
            return kExitFailure;
        if (!goOn)
            break;
        WaitForNextPoll();
    }
    return exitCode;
}

}  // namespace QdxTool
}  // namespace Norvane
