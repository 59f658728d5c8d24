// Arbitrary bytes as a library file whose version stamp is probed, in a file
// of this process's own under /tmp. Whatever the file holds, the probe must
// neither crash nor read outside the file; what it finds must come from the
// file, and the version must be the one its stamp's text gives.
#include "support/Path.h"
#include "support/QdxUtilResource.h"
#include "support/QdxUtilVersion.h"

#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

using namespace Norvane::QDXDesktopSDK;

namespace {

void Require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

Path const& ProbeFile()
{
    static Path const file("/tmp/qdx-fuzz-" + std::to_string(getpid()));
    return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    Path const& file = ProbeFile();
    if (!file.WriteFile(data, static_cast<long long>(size), 0, nullptr, nullptr))
        return 0;

    std::vector<unsigned char> stamp{0xEE};
    bool const found = QdxUtil::LoadResourceFromBinary(stamp, file.GetString(), "_ZL7version", false);
    Require(found ? stamp.size() <= size : stamp.empty());

    std::string text(stamp.begin(), stamp.end());
    std::size_t const comma = text.find(',');
    Require(file.GetVersion() == QdxUtil::GetVersionFromString(comma == std::string::npos ? text : text.substr(comma)));
    // Removed after every input: libFuzzer may end the process without running exit handlers.
    file.DeleteFile();
    return 0;
}
