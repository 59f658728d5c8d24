// Switches and hooks: disabling, installer mode, the close time-out, testing
// flags and callback, the companion-feature state, and the store's status.
#include "Answer.h"
#include "CoreCodes.h"
#include "LocalCore.h"
#include "Messages.h"

#include <cstdint>
#include <map>

namespace Norvane {
namespace LocalCore {

namespace {

JsonNode Text(std::string const& text, JsonDocument& document)
{
    return JsonNode(text.c_str(), static_cast<QdxLocalCoreJson::SizeType>(text.size()), document.GetAllocator());
}

// Where records go and how the sending fares; the counts are among the counters.
JsonNode UploadStatus(LocalCore& core, UploadState const& state, JsonDocument& document)
{
    auto& allocator = document.GetAllocator();
    JsonNode upload(QdxLocalCoreJson::kObjectType);
    std::string const endpoint = core.UploadSettings().endpoint;
    upload.AddMember("endpoint", Text(endpoint, document), allocator);
    upload.AddMember("active", !endpoint.empty() && core.Settings().Consented() && !core.Settings().Disabled(),
                     allocator);
    upload.AddMember("failed_attempts", static_cast<std::int64_t>(state.failedAttempts), allocator);
    upload.AddMember("next_attempt_ms", static_cast<std::int64_t>(state.nextAttemptMs), allocator);
    upload.AddMember("batches_in_flight", static_cast<std::int64_t>(state.activeLeases), allocator);
    return upload;
}

}  // namespace

// Kept in the database: every later process of every application starts the
// core with status 8, which the library reads as disabled, until "EnableQDX".
char const* HandleDisableQDX(LocalCore& core, Message const&)
{
    core.ChangeSetting(Setting::kDisabled, "1");
    return CodeAnswer(CoreCode_Success);
}

// The core's own way back: reaches the core through InternalProcessMessage
// also in a process whose core started disabled (the library keeps a core
// that answered 8 loaded).
char const* HandleEnableQDX(LocalCore& core, Message const&)
{
    core.RemoveSetting(Setting::kDisabled);
    return CodeAnswer(CoreCode_Success);
}

char const* HandleIsQDXDisabled(LocalCore& core, Message const&)
{
    return CodeAnswer(core.Settings().Disabled() ? CoreCode_Disabled : CoreCode_Success);
}

char const* HandleSetInstallerMode(LocalCore& core, Message const&)
{
    core.ChangeSetting(Setting::kInstallerMode, "1");
    return CodeAnswer(CoreCode_Success);
}

// {"CloseTimeoutOnProductClose": ms}: how long "Finalize" and flushes may
// take at most.
char const* HandleSetCloseTimeout(LocalCore& core, Message const& message)
{
    JsonDocument arguments;
    if (!ParseArguments(message, arguments) || !arguments.IsObject())
        return CodeAnswer(CoreCode_BadArguments);
    auto const timeout = arguments.FindMember("CloseTimeoutOnProductClose");
    if (timeout == arguments.MemberEnd() || !timeout->value.IsInt64() || timeout->value.GetInt64() < 0)
        return CodeAnswer(CoreCode_BadArguments);
    core.ChangeSetting(Setting::kCloseTimeoutMs, std::to_string(timeout->value.GetInt64()));
    return CodeAnswer(CoreCode_Success);
}

// The flags of one product, kept under its id; "ignore_consent": true lets
// that product's tests keep records without an opt-in.
char const* HandleSetTestingFlags(LocalCore& core, Message const& message)
{
    JsonDocument arguments;
    if (!ParseArguments(message, arguments) || !arguments.IsObject())
        return CodeAnswer(CoreCode_BadArguments);
    std::string const product = StringMember(arguments, "product_id");
    JsonDocument all;
    if (all.Parse(core.Settings().Get(Setting::kTestingFlags, "{}").c_str()).HasParseError() || !all.IsObject())
        all.SetObject();
    JsonNode flags(QdxLocalCoreJson::kObjectType);
    for (auto const& member : arguments.GetObject()) {
        std::string const name = member.name.GetString();
        if (name != "product_id" && name[0] != '_')
            flags.AddMember(Text(name, all), JsonNode(member.value, all.GetAllocator()), all.GetAllocator());
    }
    all.RemoveMember(product.c_str());
    all.AddMember(Text(product, all), flags, all.GetAllocator());
    core.ChangeSetting(Setting::kTestingFlags, CompactText(all));
    return CodeAnswer(CoreCode_Success);
}

// {"callback": "0x...", "pUserData": "0x..."}: called on the core's writer
// thread with every record once it is stored; "0" removes it.
char const* HandleSetTestingCallback(LocalCore& core, Message const& message)
{
    JsonDocument arguments;
    void* callback = nullptr;
    void* userData = nullptr;
    if (!ParseArguments(message, arguments) || !ParsePointerText(StringMember(arguments, "callback"), callback) ||
        !ParsePointerText(StringMember(arguments, "pUserData", "0"), userData))
        return CodeAnswer(CoreCode_BadArguments);
    core.SetTestingCallback(callback, userData);
    return CodeAnswer(CoreCode_Success);
}

char const* HandleEnableGlint(LocalCore& core, Message const& message)
{
    JsonDocument arguments;
    if (!ParseArguments(message, arguments) || !arguments.IsObject())
        return CodeAnswer(CoreCode_BadArguments);
    core.ChangeSetting(Setting::kGlint, CompactText(arguments));
    return CodeAnswer(CoreCode_Success);
}

// The store's own state: what it holds, what it dropped and why, how full the
// queue got, and the last storage error.
char const* HandleGetStoreStatus(LocalCore& core, Message const&)
{
    WorkItem read;
    read.kind = WorkItem::Kind::ReadFigures;
    core.Enqueue(std::move(read), false);
    bool const current = core.Flush();
    WriterStatus const status = core.StoreStatus();
    JsonDocument answer(QdxLocalCoreJson::kObjectType);
    auto& allocator = answer.GetAllocator();
    answer.AddMember("database", Text(status.database, answer), allocator);
    answer.AddMember("storage", status.storageReady, allocator);
    answer.AddMember("current", current, allocator);
    answer.AddMember("records_stored", static_cast<std::int64_t>(status.figures.records), allocator);
    answer.AddMember("records_waiting", static_cast<std::uint64_t>(core.Queue().Count()), allocator);
    answer.AddMember("sessions", static_cast<std::int64_t>(status.figures.sessions), allocator);
    answer.AddMember("newest_record_ms", static_cast<std::int64_t>(status.figures.newestMs), allocator);
    answer.AddMember("database_bytes", static_cast<std::int64_t>(status.figures.databaseBytes), allocator);
    answer.AddMember("queue_bytes", static_cast<std::uint64_t>(core.Queue().Bytes()), allocator);
    answer.AddMember("queue_high_water_bytes", static_cast<std::uint64_t>(core.Queue().HighWaterBytes()), allocator);
    // The shared counters, and this process's drops not yet written to them.
    std::map<std::string, long long> all = status.counters;
    for (char const* const name : UploadCounter::kAll)
        all.emplace(name, 0);
    for (auto const& [name, value] : core.Drops().Pending())
        all[name] += value;
    JsonNode counters(QdxLocalCoreJson::kObjectType);
    for (auto const& [name, value] : all)
        counters.AddMember(Text(name, answer), JsonNode(static_cast<std::int64_t>(value)), allocator);
    answer.AddMember("counters", counters, allocator);
    answer.AddMember("upload", UploadStatus(core, status.upload, answer), allocator);
    answer.AddMember("last_error", Text(status.lastError, answer), allocator);
    answer.AddMember("consent", Text(core.Settings().Get(Setting::kConsent, "unknown"), answer), allocator);
    answer.AddMember("disabled", core.Settings().Disabled(), allocator);
    return ObjectAnswer(CoreCode_Success, answer);
}

}  // namespace LocalCore
}  // namespace Norvane
