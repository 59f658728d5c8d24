// The conformance checks of a companion library: what the library requires
// of a companion's file, entry points, initialisation, answers, FreeMessage,
// threads and Finalize. Each check that runs the companion's code runs in a
// child process of its own, so that a crash or a hang fails that check only.
#ifndef QDX_TOOL_COMPANION_CHECKS_H
#define QDX_TOOL_COMPANION_CHECKS_H

#include "CompanionProbe.h"

#include <string>
#include <vector>

namespace Norvane {
namespace QdxTool {

enum class CheckResult { Passed, Failed, Skipped };

struct CheckRow {
    char const* id;     ///< stable, for --json: "entry_points"
    char const* title;  ///< for the table: "entry points"
    CheckResult result = CheckResult::Skipped;
    std::string detail;
};

/// Runs every check in order; a check whose companion code crashes, or does
/// not end within timeoutSeconds, fails, and the others still run where they
/// do not depend on it.
std::vector<CheckRow> CheckCompanion(CheckTarget const& target, double timeoutSeconds);

char const* CheckResultText(CheckResult result);

}  // namespace QdxTool
}  // namespace Norvane

#endif
