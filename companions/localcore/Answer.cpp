#include "Answer.h"

#include "CoreCodes.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Norvane {
namespace LocalCore {

namespace {

// One block, so that "is this constant?" is a range test.
constexpr int kCannedCodes[] = {CoreCode_Success,         CoreCode_Disabled,       CoreCode_UnknownMessage,
                                CoreCode_BadArguments,    CoreCode_UnknownSession, CoreCode_NotConsented,
                                CoreCode_QueueFull,       CoreCode_NoStorage,      CoreCode_DialogNotShown,
                                CoreCode_NoDialogStrings, CoreCode_TimedOut,       CoreCode_StoreError};
constexpr int kCannedCount = sizeof kCannedCodes / sizeof kCannedCodes[0];
char const kCanned[kCannedCount][24] = {"{\"_returnCode\":0}",   "{\"_returnCode\":8}",   "{\"_returnCode\":100}",
                                        "{\"_returnCode\":101}", "{\"_returnCode\":102}", "{\"_returnCode\":103}",
                                        "{\"_returnCode\":104}", "{\"_returnCode\":105}", "{\"_returnCode\":106}",
                                        "{\"_returnCode\":107}", "{\"_returnCode\":108}", "{\"_returnCode\":109}"};

char* Allocated(std::string const& text)
{
    char* const copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy != nullptr)
        std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

}  // namespace

char const* CodeAnswer(int code)
{
    for (int i = 0; i < kCannedCount; ++i)
        if (kCannedCodes[i] == code)
            return kCanned[i];
    return Allocated("{\"_returnCode\":" + std::to_string(code) + "}");
}

char const* ObjectAnswer(int code, JsonDocument& members)
{
    if (!members.IsObject())
        members.SetObject();
    auto& allocator = members.GetAllocator();
    members.RemoveMember("_returnCode");
    members.AddMember("_returnCode", code, allocator);
    char const* const text = Allocated(CompactText(members));
    return text != nullptr ? text : CodeAnswer(code);
}

void FreeAnswer(char const* answer)
{
    auto const address = reinterpret_cast<std::uintptr_t>(answer);
    auto const first = reinterpret_cast<std::uintptr_t>(kCanned);
    if (answer != nullptr && !(address >= first && address < first + sizeof kCanned))
        std::free(const_cast<char*>(answer));
}

}  // namespace LocalCore
}  // namespace Norvane
