#include "HostLayout.h"

#include "companion/LibraryPathManager.h"

#include <CLI/CLI.hpp>

#include <fcntl.h>
#include <link.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

extern char** environ;

namespace Norvane {
namespace QdxTool {

using namespace QDXDesktopSDK;

char const* const kCompanionFiles[3] = {"QdxSDKCore.so", "QdxSDKUI.so", "GlintCore.so"};

namespace {

constexpr char kWrapperFile[] = "libQdxSDKWrapper.so";

// The program interpreter (the dynamic loader) of this very program.
std::string OwnInterpreter()
{
    std::string interpreter;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* data) {
            for (int i = 0; i < info->dlpi_phnum; ++i) {
                if (info->dlpi_phdr[i].p_type == PT_INTERP)
                    *static_cast<std::string*>(data) =
                        reinterpret_cast<char const*>(info->dlpi_addr + info->dlpi_phdr[i].p_vaddr);
            }
            return 1;  // the first object is the program itself
        },
        &interpreter);
    return interpreter;
}

// The loader's own answer to where the host's libraries come from: it lists
// them ("--list") without running any code of the host or of the libraries.
std::string LoaderListing(Path const& executable)
{
    std::string const loader = OwnInterpreter();
    int pipeEnds[2];
    if (loader.empty() || pipe(pipeEnds) != 0)
        return std::string();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::string const list = "--list";
    char* const arguments[] = {const_cast<char*>(loader.c_str()), const_cast<char*>(list.c_str()),
                               const_cast<char*>(executable.c_str()), nullptr};
    pid_t child = -1;
    int const spawned = posix_spawn(&child, loader.c_str(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);
    std::string output;
    char buffer[4096];
    for (ssize_t got; spawned == 0 && (got = read(pipeEnds[0], buffer, sizeof buffer)) > 0;)
        output.append(buffer, static_cast<std::size_t>(got));
    close(pipeEnds[0]);
    int status = 0;
    if (spawned == 0)
        waitpid(child, &status, 0);
    return output;
}

Path BesideThisProgram()
{
    return Path::GetSpecialFolderPath(Path::SpecialFolder_ExecutableFile, false)
        .Parent()
        .Parent()
        .Append("lib")
        .Append(kWrapperFile);
}

}  // namespace

void AddExecutableOption(CLI::App& command, std::string& executable)
{
    command
        .add_option("--exe", executable,
                    "The host application's executable: its folder is searched, and its slp.json entry applies")
        ->type_name("PATH")
        ->check(CLI::ExistingFile);
}

Path HostExecutable(std::string const& option)
{
    if (option.empty())
        return Path();
    std::error_code error;
    std::filesystem::path const real = std::filesystem::canonical(option, error);
    return Path(error ? option.c_str() : real.c_str());
}

WrapperLibrary FindWrapperLibrary(Path const& executable)
{
    WrapperLibrary library;
    if (!executable.IsEmpty()) {
        // A line "\tlibQdxSDKWrapper.so => /path/libQdxSDKWrapper.so (0x...)".
        std::string const listing = LoaderListing(executable);
        std::string const prefix = std::string(kWrapperFile) + " => ";
        std::size_t const at = listing.find(prefix);
        if (at != std::string::npos) {
            std::size_t const start = at + prefix.size();
            std::string const rest = listing.substr(start, listing.find('\n', start) - start);
            std::size_t const end = rest.rfind(" (");
            std::string const file = rest.substr(0, end);
            if (file != "not found" && !file.empty()) {
                library.file = Path(file.c_str());
                library.foundBy = "the dynamic loader, for the host";
            } else {
                library.foundBy = "the host links it, but the dynamic loader does not find it";
            }
        } else {
            library.foundBy = "the host does not link it; it may load it at run time";
        }
    }
    if (library.file.IsEmpty()) {
        Path const beside = BesideThisProgram();
        if (beside.Exists()) {
            library.file = beside;
            library.foundBy += std::string(library.foundBy.empty() ? "" : "; ") + "installed beside qdxsdk";
        }
    }
    if (!library.file.IsEmpty())
        library.version = library.file.GetVersion();
    return library;
}

Configuration ReadConfiguration(Path const& sdkFolder, Path const& hostFolder)
{
    Configuration configuration;
    configuration.file = LibraryPathManager::ConfigFileIn(sdkFolder);
    configuration.exists = configuration.file.Exists();
    LibraryPathManager::SSetWorkingPath(sdkFolder);
    LibraryPathManager& manager = LibraryPathManager::Instance();
    // The library's own reading, for the host's folder instead of qdxsdk's.
    configuration.usable =
        !hostFolder.IsEmpty() ? manager.LoadLibraryPathConfig(hostFolder) : manager.IsValidLibraryPathConfig();
    LibraryPathManager::State const state = manager.GetState();
    configuration.libraryPath = state.libraryPath;
    configuration.key = state.libraryPathKey;
    return configuration;
}

HostLayout ExamineHost(Path const& sdkFolder, Path const& executable)
{
    HostLayout layout;
    layout.executable = executable;
    layout.hostFolder = executable.IsEmpty() ? Path() : executable.Parent();
    layout.library = FindWrapperLibrary(executable);
    layout.configuration = ReadConfiguration(sdkFolder, layout.hostFolder);
    for (char const* file : kCompanionFiles) {
        CompanionSearch::Inputs const inputs{Path(file),
                                             layout.configuration.libraryPath,
                                             layout.configuration.key,
                                             Path(),
                                             layout.library.file.IsEmpty() ? Path() : layout.library.file.Parent(),
                                             layout.hostFolder};
        layout.companions.push_back({file, CompanionSearch::Search(inputs)});
    }
    return layout;
}

}  // namespace QdxTool
}  // namespace Norvane
