// Runs a piece of work in a forked child process with a time limit, so that
// work that crashes or hangs (code of a companion under check) ends the child
// and not the tool. The child reports through a pipe, one line at a time.
#ifndef QDX_TOOL_CHILD_PROCESS_H
#define QDX_TOOL_CHILD_PROCESS_H

#include <functional>
#include <string>

namespace Norvane {
namespace QdxTool {

struct ChildOutcome {
    enum class End {
        Exited,      ///< the child returned from the work (exitStatus)
        Crashed,     ///< a signal ended it (signal)
        TimedOut,    ///< it was killed at the time limit
        NotStarted,  ///< fork or pipe failed (error)
    };
    End end = End::NotStarted;
    int exitStatus = 0;
    int signal = 0;
    std::string report;  ///< everything the child wrote to its report channel
    std::string error;
};

/// Forks; the child runs work(reportChannel) and leaves with _exit(its
/// result), skipping the parent's exit handlers and buffered output. The
/// parent collects the report until the child ends, or kills it (SIGKILL)
/// once timeoutSeconds have passed. Call while the process has one thread.
ChildOutcome RunInChild(std::function<int(int reportChannel)> const& work, double timeoutSeconds);

/// Writes `line` and a line break to the channel in one write, so that lines
/// of several threads do not interleave.
void ReportLine(int reportChannel, std::string const& line);

}  // namespace QdxTool
}  // namespace Norvane

#endif
