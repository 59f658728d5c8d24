#include "Messages.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Norvane {
namespace LocalCore {

namespace {

struct Entry {
    char const* name;
    MessageHandler handler;
};

// Sorted by name for the binary search.
constexpr Entry kMessages[] = {
    {"DisableQDX", HandleDisableQDX},
    {"EnableQDX", HandleEnableQDX},
    {"FlushEvent", HandleFlushEvent},
    {"GetDeviceID", HandleGetDeviceID},
    {"GetPXDialogStrings", HandleGetPXDialogStrings},
    {"GetSHA256Hash", HandleGetSHA256Hash},
    {"GetStoreStatus", HandleGetStoreStatus},
    {"GetTOVDeviceID", HandleGetTOVDeviceID},
    {"GetVersion", HandleGetVersion},
    {"HeartBeat", HandleSessionRecord},
    {"Initialize", HandleInitialize},
    {"InternalMessageEnableGlint", HandleEnableGlint},
    {"IsCollectionEnabled", HandleIsCollectionEnabled},
    {"IsDialogStringsAvailable", HandleIsDialogStringsAvailable},
    {"IsOptedIn", HandleIsOptedIn},
    {"IsPXDialogShown", HandleIsPXDialogShown},
    {"IsQDXDisabled", HandleIsQDXDisabled},
    {"OnCrash", HandleOnCrash},
    {"SetCloseTimeoutOnProductClose", HandleSetCloseTimeout},
    {"SetGroupInformation", HandleSessionRecord},
    {"SetHostProduct", HandleSessionRecord},
    {"SetInstallerMode", HandleSetInstallerMode},
    {"SetOptedIn", HandleSetOptedIn},
    {"SetPXDialogShown", HandleSetPXDialogShown},
    {"SetTestingCallback", HandleSetTestingCallback},
    {"SetTestingFlags", HandleSetTestingFlags},
    {"SetUserInformation", HandleRecord},
    {"SyncUserConsent", HandleSetOptedIn},
    {"TrackEvent", HandleSessionRecord},
    {"UnInitialize", HandleUnInitialize},
    {"UpdateLiData", HandleRecord},
    {"UpdateLiFlow", HandleRecord},
};

}  // namespace

MessageHandler FindMessageHandler(char const* name)
{
    if (name == nullptr)
        return nullptr;
    std::size_t low = 0;
    std::size_t high = sizeof kMessages / sizeof kMessages[0];
    while (low < high) {
        std::size_t const middle = (low + high) / 2;
        int const order = std::strcmp(name, kMessages[middle].name);
        if (order == 0)
            return kMessages[middle].handler;
        if (order < 0)
            high = middle;
        else
            low = middle + 1;
    }
    return nullptr;
}

bool ParseArguments(Message const& message, JsonDocument& arguments)
{
    if (message.text == nullptr || message.text[0] == '\0') {
        arguments.SetObject();
        return true;
    }
    return !arguments.Parse(message.text).HasParseError();
}

bool ParsePointerText(std::string const& text, void*& pointer)
{
    if (text == "0") {
        pointer = nullptr;
        return true;
    }
    if (text.size() < 3 || text.compare(0, 2, "0x") != 0 || text.size() > 18)
        return false;
    char* end = nullptr;
    unsigned long long const address = std::strtoull(text.c_str() + 2, &end, 16);
    if (*end != '\0')
        return false;
    pointer = reinterpret_cast<void*>(static_cast<std::uintptr_t>(address));
    return true;
}

}  // namespace LocalCore
}  // namespace Norvane
