// Arbitrary bytes as the library path configuration "slp.json", in a working
// folder of this process's own under /tmp. Whatever the file holds, the
// lookups must agree with its members, and recording a path must leave a file
// that keeps every other member and gives the recorded path back.
#include "JsonValue.h"
#include "companion/LibraryPathManager.h"
#include "support/Path.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

char const* const kHosts = "ProductLibraryPath";
char const* const kRecordedKey = "/opt/a/bin";
char const* const kRecordedPath = "lib/../x";

void Require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

Path const& WorkingFolder()
{
    static Path const folder("/tmp/qdx-slp-fuzz-" + std::to_string(getpid()));
    return folder;
}

void RemoveWorkingFolder()
{
    WorkingFolder().DeleteDirectoryRecursive();
}

JsonValue ReadBack()
{
    JsonValue config;
    config.FromJsonString(WorkingFolder().Append("slp.json").ReadFileAsString(-1).c_str());
    return config;
}

std::string TextOf(JsonValue const& value)
{
    QdxString const text = value;
    return text.c_str() != nullptr ? text.c_str() : "";
}

// An exact member must be taken as it is; anything else may only change the
// path and key to those of an ancestor's member.
void CheckLoad(LibraryPathManager& manager, JsonValue const& config, Path const& key)
{
    Path const pathBefore = manager.GetLibraryPath();
    Path const keyBefore = manager.GetLibraryPathKey();
    bool const valid = config.HasKey(kHosts);
    Require(manager.LoadLibraryPathConfig(key) == valid);
    JsonValue const& hosts = config[kHosts];
    Path const pathAfter = manager.GetLibraryPath();
    Path const keyAfter = manager.GetLibraryPathKey();
    if (valid && hosts.HasKey(key.c_str())) {
        Require(pathAfter.GetString() == TextOf(hosts[key.c_str()]["QDX"]));
        Require(keyAfter.GetString() == key.GetString());
    } else if (pathAfter.GetString() != pathBefore.GetString() || keyAfter.GetString() != keyBefore.GetString()) {
        Require(valid && hosts.HasKey(keyAfter.c_str()) && keyAfter.IsPreFixOf(key));
        Require(pathAfter.GetString() == TextOf(hosts[keyAfter.c_str()]["QDX"]));
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Require(WorkingFolder().CreateDir());
    std::atexit(&RemoveWorkingFolder);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    Require(WorkingFolder().Append("slp.json").WriteFile(data, static_cast<long long>(size), 0, nullptr, nullptr));
    // Leaving and re-entering the folder drops what the last input loaded.
    LibraryPathManager::SSetWorkingPath(Path());
    LibraryPathManager::SSetWorkingPath(WorkingFolder());
    LibraryPathManager& manager = LibraryPathManager::Instance();

    manager.GetLibraryPath();  // this program's own folder as the host key
    bool const valid = manager.IsValidLibraryPathConfig();
    Require(!valid || manager.IsLibraryPathConfigLoaded());
    JsonValue const config = ReadBack();
    Require(valid == config.HasKey(kHosts));

    // The first member's name as an exact key and as an ancestor of a host.
    JsonValue const hostNames = config[kHosts].GetKeyList();
    Path const firstKey(TextOf(hostNames[0]));
    for (Path const& key : {firstKey, firstKey.Append("bin"), Path(kRecordedKey), Path()})
        CheckLoad(manager, config, key);

    Require(manager.UpdateLibraryPathConfig(kRecordedKey, kRecordedPath));
    JsonValue const written = ReadBack();
    JsonValue entry;
    entry["QDX"] = kRecordedPath;
    Require(written[kHosts][kRecordedKey].Compare(entry) == 0);
    if (valid) {
        for (int i = 0; i < hostNames.GetCount(); ++i) {
            QdxString const name = hostNames[i];
            if (TextOf(hostNames[i]) != kRecordedKey)
                Require(written[kHosts][name].Compare(config[kHosts][name]) == 0);
        }
    }
    JsonValue const topNames = config.GetKeyList();
    for (int i = 0; i < topNames.GetCount(); ++i) {
        QdxString const name = topNames[i];
        if (TextOf(topNames[i]) != kHosts)
            Require(written[name].Compare(config[name]) == 0);
    }
    Require(manager.LoadLibraryPathConfig(kRecordedKey));
    Require(manager.GetLibraryPath().GetString() == kRecordedPath);
    Require(manager.GetLibraryPathKey().GetString() == kRecordedKey);
    return 0;
}
