// Usage records: kept only with the user's consent, answered at once, and
// written by the writer thread; "OnCrash" and "FlushEvent" wait for the disk.
#include "Answer.h"
#include "CoreCodes.h"
#include "LocalCore.h"
#include "Messages.h"
#include "RandomId.h"
#include "TopLevelMember.h"

namespace Norvane {
namespace LocalCore {

namespace {

// Why a record cannot be kept now, or success.
int Refusal(LocalCore& core)
{
    if (core.Settings().Disabled()) {
        core.Drops().Count(DropReason::Disabled);
        return CoreCode_Disabled;
    }
    if (!core.Settings().Consented() && !core.Settings().ConsentIgnored()) {
        core.Drops().Count(DropReason::NotConsented);
        return CoreCode_NotConsented;
    }
    if (core.StorageUnavailable()) {
        core.Drops().Count(DropReason::NoStorage);
        return CoreCode_NoStorage;
    }
    return CoreCode_Success;
}

int Keep(LocalCore& core, Message const& message, std::string&& sessionId)
{
    WorkItem item;
    item.kind = WorkItem::Kind::Record;
    item.timeMs = NowMs();
    item.name = message.name;
    item.text = message.text != nullptr && message.text[0] != '\0' ? message.text : "{}";
    item.sessionId = std::move(sessionId);
    if (core.Enqueue(std::move(item), true) == 0) {
        core.Drops().Count(DropReason::QueueFull);
        return CoreCode_QueueFull;
    }
    return CoreCode_Success;
}

}  // namespace

char const* HandleSessionRecord(LocalCore& core, Message const& message)
{
    if (int const refusal = Refusal(core))
        return CodeAnswer(refusal);
    std::string sessionId;
    bool named = false;
    if (!TopLevelString(message.text != nullptr ? message.text : "", "session_id", sessionId, named)) {
        core.Drops().Count(DropReason::Malformed);
        return CodeAnswer(CoreCode_BadArguments);
    }
    if (!named || !core.Sessions().IsOpen(sessionId))
        return CodeAnswer(CoreCode_UnknownSession);
    return CodeAnswer(Keep(core, message, std::move(sessionId)));
}

char const* HandleRecord(LocalCore& core, Message const& message)
{
    if (int const refusal = Refusal(core))
        return CodeAnswer(refusal);
    std::string sessionId;
    bool named = false;
    if (message.text != nullptr && message.text[0] != '\0' &&
        !TopLevelString(message.text, "session_id", sessionId, named)) {
        core.Drops().Count(DropReason::Malformed);
        return CodeAnswer(CoreCode_BadArguments);
    }
    return CodeAnswer(Keep(core, message, std::move(sessionId)));
}

// A crash report may name a session of the process that crashed, so the
// session is kept as given; the report is durable before the answer.
char const* HandleOnCrash(LocalCore& core, Message const& message)
{
    char const* const answer = HandleRecord(core, message);
    if (answer != CodeAnswer(CoreCode_Success))
        return answer;
    return CodeAnswer(core.Flush() ? CoreCode_Success : CoreCode_TimedOut);
}

char const* HandleFlushEvent(LocalCore& core, Message const&)
{
    if (!core.Flush())
        return CodeAnswer(CoreCode_TimedOut);
    WriterStatus const status = core.StoreStatus();
    return CodeAnswer(!status.storageReady        ? CoreCode_NoStorage
                      : !status.lastError.empty() ? CoreCode_StoreError
                                                  : CoreCode_Success);
}

}  // namespace LocalCore
}  // namespace Norvane
