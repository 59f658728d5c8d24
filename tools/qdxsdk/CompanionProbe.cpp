#include "CompanionProbe.h"

#include "ChildProcess.h"

#include "JsonValue.h"
#include "api/LibraryMessageSenderQDXSDKWrapper.h"
#include "values/JsonValueAccess.h"

#include <dlfcn.h>

#include <climits>
#include <cmath>
#include <mutex>

namespace Norvane {
namespace QdxTool {

using QDXDesktopSDK::JsonValue;
using QDXDesktopSDK::JsonValueAccess;
using QDXDesktopSDK::JsonValueImpl;
using QDXDesktopSDK::MessageSender;

namespace {

// The tap's state. The probe lives once per child process, and the entry
// points it stands in for are plain functions, so it is process-wide.
struct TapState {
    MessageSender::ProcessMessageFunction processMessage = nullptr;
    MessageSender::FreeMessageFunction freeMessage = nullptr;
    int reportChannel = -1;
    bool progress = false;
    std::mutex mutex;
    TapFindings findings;  // guarded by mutex
};

TapState& TheTap()
{
    static TapState* const state = new TapState;  // used until _exit
    return *state;
}

thread_local std::string t_lastMessage;

char const* TapProcessMessage(char const* name, char const* data)
{
    TapState& tap = TheTap();
    if (tap.progress)
        ReportLine(tap.reportChannel, std::string("at ") + name);
    t_lastMessage = name;
    char const* const answer = tap.processMessage(name, data);
    std::string const problem = AnswerProblem(answer);
    std::lock_guard<std::mutex> const lock(tap.mutex);
    ++tap.findings.answers;
    tap.findings.lastMessage = name;
    if (!problem.empty())
        tap.findings.problems.push_back(std::string(name) + ": " + problem);
    return answer;
}

void TapFreeMessage(char const* answer)
{
    TapState& tap = TheTap();
    if (tap.progress)
        ReportLine(tap.reportChannel, "at FreeMessage of the answer to " + t_lastMessage);
    tap.freeMessage(answer);
    std::lock_guard<std::mutex> const lock(tap.mutex);
    ++tap.findings.givenBack;
}

std::string Shortened(char const* text)
{
    std::string shown(text);
    if (shown.size() > 60)
        shown = shown.substr(0, 57) + "...";
    return shown;
}

}  // namespace

std::string AnswerProblem(char const* answer)
{
    if (answer == nullptr)
        return "answered with a null pointer";
    if (*answer == '\0')
        return "answered with an empty text";
    JsonValue parsed;
    if (!parsed.FromJsonString(answer))
        return "the answer is not valid JSON: " + Shortened(answer);
    JsonValueImpl const* const root = JsonValueAccess::Impl(parsed);
    if (root == nullptr || root->m_type != JsonValueImpl::TypeContainer || parsed.IsArray())
        return "the answer is not a JSON object: " + Shortened(answer);
    if (!parsed.HasKey("_returnCode"))
        return "the answer has no \"_returnCode\": " + Shortened(answer);
    JsonValueImpl const* const code = JsonValueAccess::Impl(static_cast<JsonValue const&>(parsed)["_returnCode"]);
    if (code == nullptr || code->m_type != JsonValueImpl::TypeNumber)
        return "\"_returnCode\" is not a number: " + Shortened(answer);
    double const number = code->m_number;
    if (std::trunc(number) != number || number < INT_MIN || number > INT_MAX)
        return "\"_returnCode\" is not a 32-bit integer: " + Shortened(answer);
    return std::string();
}

CompanionProbe::CompanionProbe(CheckTarget const& target, int reportChannel)
    : m_target(target), m_reportChannel(reportChannel), m_names(target.suffix)
{
    if (target.kind != nullptr) {
        m_sender = target.kind->sender();
    } else {
        m_ownSender = std::make_unique<QDXDesktopSDK::LibraryMessageSender>(target.loadName.c_str(),
                                                                            target.suffix.c_str(), nullptr);
        m_sender = m_ownSender.get();
    }
}

CompanionProbe::~CompanionProbe()
{
    if (m_handle != nullptr)
        dlclose(m_handle);
}

bool CompanionProbe::Load(std::string& why)
{
    if (m_target.kind != nullptr && m_sender->GetLoadableModuleName().GetString() != m_target.kind->fileName) {
        why = "qdxsdk's list of companions disagrees with the library: it loads " +
              m_sender->GetLoadableModuleName().GetString() + ", not " + m_target.kind->fileName;
        return false;
    }
    QDXDesktopSDK::Path const folder(m_target.loadFolder.c_str());
    if (!m_sender->LoadLibraryWithPath(folder)) {
        int const status = m_sender->GetStatus();
        why = status == QDXDesktopSDK::QdxResult_Disabled
                  ? "initialisation returned 12: the library finalises and unloads the companion at once"
                  : "the library could not load it (" + m_names.processMessage + " missing, or the file does not load)";
        return false;
    }
    // The library's own handle, counted once more: only to look at the entry points.
    std::string const path = folder.Append(QDXDesktopSDK::Path(m_target.loadName.c_str())).GetString();
    m_handle = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    return true;
}

void CompanionProbe::Unload()
{
    // Let go of the extra handle first, so that closing really unloads.
    if (m_handle != nullptr)
        dlclose(m_handle);
    m_handle = nullptr;
    m_sender->UnLoad();
}

void* CompanionProbe::EntryPoint(std::string const& name) const
{
    return m_handle != nullptr ? dlsym(m_handle, name.c_str()) : nullptr;
}

void CompanionProbe::Tap(bool giveBack, bool progress)
{
    TapState& tap = TheTap();
    tap.processMessage = reinterpret_cast<MessageSender::ProcessMessageFunction>(EntryPoint(m_names.processMessage));
    tap.freeMessage = reinterpret_cast<MessageSender::FreeMessageFunction>(EntryPoint(m_names.freeMessage));
    tap.reportChannel = m_reportChannel;
    tap.progress = progress;
    {
        std::lock_guard<std::mutex> const lock(tap.mutex);
        tap.findings = TapFindings();
    }
    // As the library attaches them: without a FreeMessage it hands nothing back.
    bool const handBack = giveBack && tap.freeMessage != nullptr;
    m_sender->SetMessageFunction(TapProcessMessage, handBack ? TapFreeMessage : nullptr);
}

TapFindings CompanionProbe::Findings() const
{
    TapState& tap = TheTap();
    std::lock_guard<std::mutex> const lock(tap.mutex);
    return tap.findings;
}

}  // namespace QdxTool
}  // namespace Norvane
