// The companion under check, inside the child process that checks it: loaded
// by the library's own sender, with a tap between the library and the
// companion's entry points that looks at every answer on its way.
#ifndef QDX_TOOL_COMPANION_PROBE_H
#define QDX_TOOL_COMPANION_PROBE_H

#include "MessageCatalogue.h"

#include "companion/EntryPointNames.h"
#include "companion/LibraryMessageSender.h"

#include <memory>
#include <string>
#include <vector>

namespace Norvane {
namespace QdxTool {

/// What the tool checks, as the command line and the parent worked it out.
struct CheckTarget {
    std::string file;                     ///< the companion file, absolute
    std::string suffix;                   ///< its entry-point suffix
    CompanionKind const* kind = nullptr;  ///< null: a suffix the library sends nothing to
    std::string loadFolder;               ///< a folder holding the file as loadName
    std::string loadName;                 ///< the file name the sender loads
    int threads = 8;
    int messagesPerThread = 100;
};

/// What the tap saw since it was put in place.
struct TapFindings {
    long long answers = 0;              ///< answers the companion gave
    long long givenBack = 0;            ///< answers handed back through FreeMessage
    std::vector<std::string> problems;  ///< "Message: what is wrong with its answer"
    std::string lastMessage;            ///< the name the companion received last
};

/// Why `answer` breaks the message format ("" when it does not): it must be
/// a JSON object, as the library parses it, with an integer "_returnCode".
std::string AnswerProblem(char const* answer);

class CompanionProbe {
public:
    CompanionProbe(CheckTarget const& target, int reportChannel);
    ~CompanionProbe();
    CompanionProbe(CompanionProbe const&) = delete;
    CompanionProbe& operator=(CompanionProbe const&) = delete;

    /// Opens, resolves and initialises the companion exactly as the library
    /// does, with the sender that carries the messages of its kind. False
    /// (with why) when the library would not have it loaded.
    bool Load(std::string& why);
    /// Unloads as the library does at shut-down: "Finalize", then closing.
    void Unload();
    QDXDesktopSDK::LibraryMessageSender& Sender() { return *m_sender; }
    QDXDesktopSDK::EntryPointNames const& Names() const { return m_names; }
    /// The companion's own entry point, null when it lacks it.
    void* EntryPoint(std::string const& name) const;

    /// Routes the library's calls through the tap. With giveBack the answers
    /// go back to the companion's FreeMessage, as the library hands them;
    /// without, they are kept, so that a faulty FreeMessage cannot blur what
    /// the answers were. With progress, "at <step>" is reported before each
    /// entry-point call, so that a crash or hang can be placed.
    void Tap(bool giveBack, bool progress);
    TapFindings Findings() const;

private:
    CheckTarget const& m_target;
    int m_reportChannel;
    QDXDesktopSDK::EntryPointNames m_names;
    std::unique_ptr<QDXDesktopSDK::LibraryMessageSender> m_ownSender;  // for a suffix of no known kind
    QDXDesktopSDK::LibraryMessageSender* m_sender = nullptr;
    void* m_handle = nullptr;
};

}  // namespace QdxTool
}  // namespace Norvane

#endif
