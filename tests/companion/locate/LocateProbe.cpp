// The companion search as a separate shared library, so that "this library's
// own folder" and "the host executable's folder" can differ, as they do for a
// real application. Driven by qdx_locate_host:
//   qdx_locate_host WORKING_FOLDER locate [CONFIGURED_FOLDER]
//   qdx_locate_host WORKING_FOLDER send [CONFIGURED_FOLDER]
// prints the located folder, or the code of a "Ping" message and the folder
// the companion was loaded from.
#include "companion/LibraryMessageSender.h"
#include "companion/LibraryPathManager.h"

#include <cstdio>
#include <string>

using namespace Norvane::QDXDesktopSDK;

extern "C" __attribute__((visibility("default"))) int QdxLocateProbeMain(int argc, char** argv)
{
    if (argc < 3)
        return 2;
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    Path const working(argv[1]);
    sender.SetWorkingPath(working);
    if (argc > 3) {
        LibraryPathManager::SSetWorkingPath(working);
        LibraryMessageSender::SetLibraryPath(Path(argv[3]), false);
    }
    std::string const command = argv[2];
    if (command == "locate") {
        std::printf("%s\n", sender.LocateLibrary(false, true, nullptr).c_str());
        return 0;
    }
    if (command == "send") {
        JsonValue result;
        int const code = sender.ProcessMessage("Ping", JsonValue(), result);
        std::printf("%d %s\n", code, sender.GetLibraryFolder().c_str());
        return 0;
    }
    return 2;
}
