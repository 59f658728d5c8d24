// Device ids, hashes and versions.
#include "Answer.h"
#include "CoreCodes.h"
#include "CoreFolders.h"
#include "LocalCore.h"
#include "Messages.h"
#include "RandomId.h"
#include "support/ElfSymbol.h"

#include <openssl/evp.h>

#include <cstdint>

namespace Norvane {
namespace LocalCore {

namespace {

// A device id is made once per machine and kept; opting out forgets it, so
// the next one is new.
char const* DeviceIdAnswer(LocalCore& core, char const* setting)
{
    std::string id;
    {
        std::lock_guard<std::mutex> const lock(core.DeviceIdMutex());
        id = core.Settings().Get(setting);
        if (id.empty()) {
            id = RandomUuid();
            core.ChangeSetting(setting, id);
        }
    }
    JsonDocument answer(QdxLocalCoreJson::kObjectType);
    answer.AddMember("deviceID", JsonNode(id.c_str(), answer.GetAllocator()), answer.GetAllocator());
    return ObjectAnswer(CoreCode_Success, answer);
}

// The file a "GetVersion" names: a path as it is; a bare name in the
// desktop SDK's installation folder when asked for, else beside the core.
std::string ModuleFile(std::string const& module, bool fromSdkFolder)
{
    if (!module.empty() && module[0] == '/')
        return module;
    if (fromSdkFolder)
        return "/opt/Norvane/QdxDesktopSDK/bin/" + module;
    std::string const core = OwnFile();
    return core.substr(0, core.find_last_of('/') + 1) + module;
}

}  // namespace

char const* HandleGetDeviceID(LocalCore& core, Message const&)
{
    return DeviceIdAnswer(core, Setting::kDeviceId);
}

char const* HandleGetTOVDeviceID(LocalCore& core, Message const&)
{
    return DeviceIdAnswer(core, Setting::kTovDeviceId);
}

// {"size": n, "data": "0x..."}: the SHA-256 of n bytes at that address of
// this process, in lower-case hex.
char const* HandleGetSHA256Hash(LocalCore&, Message const& message)
{
    JsonDocument arguments;
    if (!ParseArguments(message, arguments) || !arguments.IsObject())
        return CodeAnswer(CoreCode_BadArguments);
    auto const size = arguments.FindMember("size");
    void* data = nullptr;
    if (size == arguments.MemberEnd() || !size->value.IsInt64() || size->value.GetInt64() < 0 ||
        !ParsePointerText(StringMember(arguments, "data"), data) || (data == nullptr && size->value.GetInt64() > 0))
        return CodeAnswer(CoreCode_BadArguments);
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(data != nullptr ? data : "", static_cast<std::size_t>(size->value.GetInt64()), digest, &length,
                   EVP_sha256(), nullptr) != 1)
        return CodeAnswer(CoreCode_BadArguments);
    static char const kHex[] = "0123456789abcdef";
    std::string hex;
    for (unsigned int i = 0; i < length; ++i) {
        hex += kHex[digest[i] >> 4];
        hex += kHex[digest[i] & 0xF];
    }
    JsonDocument answer(QdxLocalCoreJson::kObjectType);
    answer.AddMember("sha256", JsonNode(hex.c_str(), answer.GetAllocator()), answer.GetAllocator());
    return ObjectAnswer(CoreCode_Success, answer);
}

// {"type": t, "module": name, "bFromQDXSDKFolder": b}: the version stamp of
// the module's file, read as the library reads stamps: type 0 the packed
// version, 1 to 4 its major, minor, patch and build parts; 0 without a stamp.
char const* HandleGetVersion(LocalCore&, Message const& message)
{
    JsonDocument arguments;
    if (!ParseArguments(message, arguments) || !arguments.IsObject())
        return CodeAnswer(CoreCode_BadArguments);
    auto const type = arguments.FindMember("type");
    std::string const module = StringMember(arguments, "module");
    auto const fromSdkFolder = arguments.FindMember("bFromQDXSDKFolder");
    if (type == arguments.MemberEnd() || !type->value.IsInt() || type->value.GetInt() < 0 || type->value.GetInt() > 4 ||
        module.empty())
        return CodeAnswer(CoreCode_BadArguments);
    bool const sdkFolder = fromSdkFolder != arguments.MemberEnd() && fromSdkFolder->value.IsTrue();
    unsigned long long const packed = QDXDesktopSDK::ElfSymbol::ReadStampVersion(ModuleFile(module, sdkFolder));
    int const part = type->value.GetInt();
    long long const version =
        part == 0 ? static_cast<long long>(packed) : static_cast<long long>((packed >> (16 * (4 - part))) & 0xFFFF);
    JsonDocument answer(QdxLocalCoreJson::kObjectType);
    answer.AddMember("version", static_cast<std::int64_t>(version), answer.GetAllocator());
    return ObjectAnswer(CoreCode_Success, answer);
}

}  // namespace LocalCore
}  // namespace Norvane
