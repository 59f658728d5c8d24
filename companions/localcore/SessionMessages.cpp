// "Initialize" opens a session of this process, "UnInitialize" closes it.
#include "Answer.h"
#include "CoreCodes.h"
#include "LocalCore.h"
#include "Messages.h"
#include "RandomId.h"

#include <unistd.h>

namespace Norvane {
namespace LocalCore {

char const* HandleInitialize(LocalCore& core, Message const& message)
{
    if (core.Settings().Disabled())
        return CodeAnswer(CoreCode_Disabled);
    JsonDocument product;
    if (!ParseArguments(message, product))
        return CodeAnswer(CoreCode_BadArguments);
    std::string const id = RandomUuid();
    core.Sessions().Open(id);
    WorkItem item;
    item.kind = WorkItem::Kind::OpenSession;
    item.timeMs = NowMs();
    item.sessionId = id;
    item.text = CompactText(product);
    item.name = std::to_string(getpid());
    core.Enqueue(std::move(item), false);
    JsonDocument answer(QdxLocalCoreJson::kObjectType);
    answer.AddMember("session_id", JsonNode(id.c_str(), answer.GetAllocator()), answer.GetAllocator());
    return ObjectAnswer(CoreCode_Success, answer);
}

char const* HandleUnInitialize(LocalCore& core, Message const& message)
{
    JsonDocument arguments;
    if (!ParseArguments(message, arguments))
        return CodeAnswer(CoreCode_BadArguments);
    std::string const id = StringMember(arguments, "session_id");
    if (!core.Sessions().Close(id))
        return CodeAnswer(CoreCode_UnknownSession);
    WorkItem item;
    item.kind = WorkItem::Kind::CloseSession;
    item.timeMs = NowMs();
    item.sessionId = id;
    core.Enqueue(std::move(item), false);
    return CodeAnswer(CoreCode_Success);
}

}  // namespace LocalCore
}  // namespace Norvane
