// The companion search in a library of its own, so that its own folder and the
// host's differ as in a real application.
//
//     qdx_locate_host WORKING [CONFIGURED [STEP...]]
//
// prints the located folder, then, for the first message and for every STEP
// "ping" (another message), a line: the code, the folder loaded ("-" for
// none) and "searched" or "skipped" (the search was left out, since nothing
// it depends on changed). A STEP "FROM=>TO" copies the file FROM to TO,
// making TO's folder. CONFIGURED "-" configures nothing.
#include "companion/LibraryMessageSender.h"
#include "companion/LibraryPathManager.h"
#include "support/LogTarget.h"
#include "support/Logger.h"
#include <cstdio>
#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

struct SearchCounter : LogTarget {
    SearchCounter() : LogTarget("search counter") {}
    void Log(char const* line) override
    {
        searches += std::string(line).find("Trying to load library") != std::string::npos;
    }
    int searches = 0;
};

void Ping(LibraryMessageSender& sender, SearchCounter& counter)
{
    int const searchesBefore = counter.searches;
    JsonValue result;
    int const code = sender.ProcessMessage("Ping", JsonValue(), result);
    std::printf("%d %s %s\n", code, sender.IsLoaded() ? sender.GetLibraryFolder().c_str() : "-",
                counter.searches > searchesBefore ? "searched" : "skipped");
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int QdxLocateProbeMain(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    Logger::Instance(Singleton::GetOrCreate)->SetLogLevel(Logger::LogLevel_Debug);
    SearchCounter counter;
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    Path const working(argv[1]);
    sender.SetWorkingPath(working);
    if (argc > 2 && std::string(argv[2]) != "-") {
        LibraryPathManager::SSetWorkingPath(working);
        LibraryMessageSender::SetLibraryPath(Path(argv[2]), false);
    }
    std::printf("%s\n", sender.LocateLibrary(false, true, nullptr).c_str());
    Ping(sender, counter);
    for (int i = 3; i < argc; ++i) {
        std::string const step = argv[i];
        std::size_t const arrow = step.find("=>");
        if (arrow == std::string::npos)
            Ping(sender, counter);
        else if (!Path(step.substr(0, arrow)).CopyFile(Path(step.substr(arrow + 2))))
            return 3;
    }
    std::fflush(stdout);
    return 0;
}
