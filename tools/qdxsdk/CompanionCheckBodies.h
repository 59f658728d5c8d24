// The checks that run the companion's code, each the whole work of one child
// process (see CompanionChecks.h). Each reports "at <step>" lines while it
// runs and ends with one line "pass <detail>" or "fail <detail>".
#ifndef QDX_TOOL_COMPANION_CHECK_BODIES_H
#define QDX_TOOL_COMPANION_CHECK_BODIES_H

#include "CompanionProbe.h"

namespace Norvane {
namespace QdxTool {

/// The five entry points, resolved in the file opened as the library opens it.
int CheckEntryPoints(CheckTarget const& target, int reportChannel);
/// Loading and initialisation by the library's sender, and the status.
int CheckInitialisation(CheckTarget const& target, int reportChannel);
/// Every message of the companion's kind, sent by the call that sends it:
/// each answer a JSON object with an integer "_returnCode".
int CheckMessages(CheckTarget const& target, int reportChannel);
/// Every answer handed back through FreeMessage, and a null one.
int CheckFreeMessage(CheckTarget const& target, int reportChannel);
/// Threads sending at once, every answer valid.
int CheckConcurrency(CheckTarget const& target, int reportChannel);
/// Finalize, then loading, initialising and answering again.
int CheckFinalize(CheckTarget const& target, int reportChannel);

}  // namespace QdxTool
}  // namespace Norvane

#endif
