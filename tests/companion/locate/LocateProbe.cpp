// The companion search in a library of its own, so that its own folder and the
// host's differ as in a real application. "qdx_locate_host WORKING [CONFIGURED]"
// prints the located folder, then the code of a "Ping" and the folder loaded.
#include "companion/LibraryMessageSender.h"
#include "companion/LibraryPathManager.h"
#include <cstdio>

using namespace Norvane::QDXDesktopSDK;

extern "C" __attribute__((visibility("default"))) int QdxLocateProbeMain(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    Path const working(argv[1]);
    sender.SetWorkingPath(working);
    if (argc > 2) {
        LibraryPathManager::SSetWorkingPath(working);
        LibraryMessageSender::SetLibraryPath(Path(argv[2]), false);
    }
    std::printf("%s\n", sender.LocateLibrary(false, true, nullptr).c_str());
    JsonValue result;
    int const code = sender.ProcessMessage("Ping", JsonValue(), result);
    std::printf("%d %s\n", code, sender.GetLibraryFolder().c_str());
    return 0;
}
