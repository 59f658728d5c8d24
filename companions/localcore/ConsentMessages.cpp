// Consent and the consent dialog. Nothing is kept before the user opts in;
// opting out deletes what is kept and forgets the device ids, so that a user
// who comes back is not linked to the earlier data.
#include "Answer.h"
#include "CoreCodes.h"
#include "LocalCore.h"
#include "Messages.h"
#include "RandomId.h"

#include <cstring>

namespace Norvane {
namespace LocalCore {

namespace {

void OptIn(LocalCore& core)
{
    std::lock_guard<std::mutex> const lock(core.DeviceIdMutex());
    core.ChangeSetting(Setting::kConsent, "in");
    for (char const* id : {Setting::kDeviceId, Setting::kTovDeviceId})
        if (core.Settings().Get(id).empty())
            core.ChangeSetting(id, RandomUuid());
}

void OptOut(LocalCore& core)
{
    std::lock_guard<std::mutex> const lock(core.DeviceIdMutex());
    core.ChangeSetting(Setting::kConsent, "out");
    WorkItem purge;
    purge.kind = WorkItem::Kind::PurgeRecords;
    core.Enqueue(std::move(purge), false);
    core.RemoveSetting(Setting::kDeviceId);
    core.RemoveSetting(Setting::kTovDeviceId);
}

// The members of `arguments` other than "OptIN" and the channel's own.
void MergePreferences(LocalCore& core, JsonNode const& arguments)
{
    JsonDocument preferences;
    if (preferences.Parse(core.Settings().Get(Setting::kPreferences, "{}").c_str()).HasParseError() ||
        !preferences.IsObject())
        preferences.SetObject();
    bool changed = false;
    for (auto const& member : arguments.GetObject()) {
        std::string const name = member.name.GetString();
        if (name == "OptIN" || name[0] == '_')
            continue;
        preferences.RemoveMember(name.c_str());
        preferences.AddMember(JsonNode(name.c_str(), preferences.GetAllocator()),
                              JsonNode(member.value, preferences.GetAllocator()), preferences.GetAllocator());
        changed = true;
    }
    if (changed)
        core.ChangeSetting(Setting::kPreferences, CompactText(preferences));
}

std::string Locale(Message const& message)
{
    JsonDocument arguments;
    return ParseArguments(message, arguments) ? StringMember(arguments, "locale") : std::string();
}

}  // namespace

// "SetOptedIn" and "SyncUserConsent": {"OptIN": bool} and/or preferences.
char const* HandleSetOptedIn(LocalCore& core, Message const& message)
{
    JsonDocument arguments;
    if (!ParseArguments(message, arguments) || !arguments.IsObject())
        return CodeAnswer(CoreCode_BadArguments);
    auto const optIn = arguments.FindMember("OptIN");
    if (optIn != arguments.MemberEnd() && !optIn->value.IsBool())
        return CodeAnswer(CoreCode_BadArguments);
    MergePreferences(core, arguments);
    if (optIn != arguments.MemberEnd()) {
        bool const wasIn = core.Settings().Consented();
        if (optIn->value.GetBool() && !wasIn)
            OptIn(core);
        else if (!optIn->value.GetBool() && core.Settings().Get(Setting::kConsent) != "out")
            OptOut(core);
    }
    return CodeAnswer(CoreCode_Success);
}

char const* HandleIsOptedIn(LocalCore& core, Message const&)
{
    bool const consented = core.Settings().Consented();
    JsonDocument answer(QdxLocalCoreJson::kObjectType);
    JsonDocument preferences;
    if (preferences.Parse(core.Settings().Get(Setting::kPreferences, "{}").c_str()).HasParseError() ||
        !preferences.IsObject())
        preferences.SetObject();
    JsonNode copy(preferences, answer.GetAllocator());
    copy.RemoveMember("OptIN");
    copy.AddMember("OptIN", consented, answer.GetAllocator());
    answer.AddMember("preferences", copy, answer.GetAllocator());
    return ObjectAnswer(consented ? CoreCode_Success : CoreCode_NotConsented, answer);
}

char const* HandleSetPXDialogShown(LocalCore& core, Message const& message)
{
    JsonDocument arguments;
    if (!ParseArguments(message, arguments) || !arguments.IsObject())
        return CodeAnswer(CoreCode_BadArguments);
    auto const shown = arguments.FindMember("DialogShown");
    if (shown == arguments.MemberEnd() || !shown->value.IsBool())
        return CodeAnswer(CoreCode_BadArguments);
    core.ChangeSetting(Setting::kDialogShown, shown->value.GetBool() ? "1" : "0");
    auto const preferences = arguments.FindMember("preferences");
    if (preferences != arguments.MemberEnd())
        core.ChangeSetting(Setting::kDialogPreferences, CompactText(preferences->value));
    return CodeAnswer(CoreCode_Success);
}

char const* HandleIsPXDialogShown(LocalCore& core, Message const&)
{
    return CodeAnswer(core.Settings().Get(Setting::kDialogShown) == "1" ? CoreCode_Success : CoreCode_DialogNotShown);
}

char const* HandleIsDialogStringsAvailable(LocalCore& core, Message const& message)
{
    return CodeAnswer(core.Strings().Match(Locale(message)).empty() ? CoreCode_NoDialogStrings : CoreCode_Success);
}

// The texts of the locale asked for, of its language, or of the fallback
// locale; "locale" in the answer says which.
char const* HandleGetPXDialogStrings(LocalCore& core, Message const& message)
{
    std::string locale = core.Strings().Match(Locale(message));
    if (locale.empty())
        locale = core.Strings().Match(DialogStrings::kFallbackLocale);
    JsonDocument answer(QdxLocalCoreJson::kObjectType);
    JsonNode texts;
    if (locale.empty() || !core.Strings().Copy(locale, texts, answer.GetAllocator()))
        return CodeAnswer(CoreCode_NoDialogStrings);
    answer.AddMember("locale", JsonNode(locale.c_str(), answer.GetAllocator()), answer.GetAllocator());
    answer.AddMember("strings", texts, answer.GetAllocator());
    return ObjectAnswer(CoreCode_Success, answer);
}

char const* HandleIsCollectionEnabled(LocalCore& core, Message const&)
{
    if (core.Settings().Disabled())
        return CodeAnswer(CoreCode_Disabled);
    if (!core.Settings().Consented() && !core.Settings().ConsentIgnored())
        return CodeAnswer(CoreCode_NotConsented);
    return CodeAnswer(core.StorageUnavailable() ? CoreCode_NoStorage : CoreCode_Success);
}

}  // namespace LocalCore
}  // namespace Norvane
