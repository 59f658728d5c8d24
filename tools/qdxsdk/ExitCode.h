// The exit codes of qdxsdk, the same for every subcommand; scripts rely on
// them, so a code keeps its meaning once given.
#ifndef QDX_TOOL_EXIT_CODE_H
#define QDX_TOOL_EXIT_CODE_H

namespace Norvane {
namespace QdxTool {

enum ExitCode : int {
    kExitOk = 0,
    kExitUsage = 1,       ///< bad options or arguments, or a confirmation left out
    kExitNotFound = 2,    ///< no database (the core has stored nothing there yet); log show: no log file
    kExitUnreadable = 3,  ///< the database is corrupt, unreadable, or of another schema version
    kExitFailure = 4,     ///< anything else: a failed query, a file that cannot be written
    kExitNotPassed = 5,   ///< the command ran, and the answer is no: a non-zero code, a check failed
};

/// The exit codes as the end of --help lists them.
constexpr char kExitCodeHelp[] = "Exit codes:\n"
                                 "  0  success\n"
                                 "  1  usage error (bad options or arguments, confirmation missing)\n"
                                 "  2  no usage database in the SDK folder (log show: no log file)\n"
                                 "  3  the database is corrupt, unreadable or of a newer schema\n"
                                 "  4  any other failure\n"
                                 "  5  send: the answer's code was not 0; check-companion: a check failed\n";

}  // namespace QdxTool
}  // namespace Norvane

#endif
