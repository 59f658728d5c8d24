#include "CompanionCheckBodies.h"

#include "ChildProcess.h"

#include "support/StdProcessLibrary.h"

#include <algorithm>
#include <thread>

namespace Norvane {
namespace QdxTool {

namespace {

constexpr std::size_t kProblemsShown = 3;

int Pass(int channel, std::string const& detail)
{
    ReportLine(channel, "pass " + detail);
    return 0;
}

int Fail(int channel, std::string const& detail)
{
    ReportLine(channel, "fail " + detail);
    return 0;
}

std::string Joined(std::vector<std::string> const& parts, char const* separator)
{
    std::string text;
    for (std::string const& part : parts)
        text += (text.empty() ? "" : separator) + part;
    return text;
}

// "K of N answers ...: the first few distinct problems".
std::string ProblemSummary(std::vector<std::string> const& problems, long long total, char const* what)
{
    std::vector<std::string> distinct;
    for (std::string const& problem : problems) {
        if (std::find(distinct.begin(), distinct.end(), problem) == distinct.end())
            distinct.push_back(problem);
    }
    std::vector<std::string> const shown(
        distinct.begin(), distinct.begin() + static_cast<long>(std::min(distinct.size(), kProblemsShown)));
    std::string summary =
        std::to_string(problems.size()) + " of " + std::to_string(total) + " " + what + ": " + Joined(shown, "; ");
    if (distinct.size() > shown.size())
        summary += "; ...";
    return summary;
}

// Loads for a check that needs a loaded companion; reports the failure.
bool LoadOrFail(CompanionProbe& probe, int channel)
{
    ReportLine(channel, "at loading and initialising");
    std::string why;
    if (probe.Load(why))
        return true;
    Fail(channel, why);
    return false;
}

}  // namespace

int CheckEntryPoints(CheckTarget const& target, int reportChannel)
{
    ReportLine(reportChannel, "at loading");
    char const* loaderError = nullptr;
    void* const handle =
        QDXDesktopSDK::StdProcessUtil::LibraryLoad(QDXDesktopSDK::Path(target.file.c_str()), &loaderError);
    if (handle == nullptr)
        return Fail(reportChannel,
                    std::string("the file does not load: ") + (loaderError != nullptr ? loaderError : "unknown error"));
    QDXDesktopSDK::EntryPointNames const names(target.suffix);
    std::vector<std::string> found;
    std::vector<std::string> missing;
    for (std::string const* name :
         {&names.processMessage, &names.freeMessage, &names.initializeEx, &names.initialize, &names.finalize}) {
        bool const present = QDXDesktopSDK::StdProcessUtil::LibraryGetAddress(handle, name->c_str()) != nullptr;
        (present ? found : missing).push_back(*name);
    }
    if (QDXDesktopSDK::StdProcessUtil::LibraryGetAddress(handle, names.processMessage.c_str()) == nullptr)
        return Fail(reportChannel, "no " + names.processMessage + ": the library cannot send it anything (found: " +
                                       (found.empty() ? std::string("none") : Joined(found, ", ")) + ")");
    if (missing.empty())
        return Pass(reportChannel, "all five found");
    return Pass(reportChannel, "found " + Joined(found, ", ") + "; missing " + Joined(missing, ", "));
}

int CheckInitialisation(CheckTarget const& target, int reportChannel)
{
    CompanionProbe probe(target, reportChannel);
    if (!LoadOrFail(probe, reportChannel))
        return 0;
    QDXDesktopSDK::EntryPointNames const& names = probe.Names();
    int const status = probe.Sender().GetStatus();
    std::string called;
    if (probe.EntryPoint(names.initializeEx) != nullptr)
        called = names.initializeEx + "(\"\")";
    else if (probe.EntryPoint(names.initialize) != nullptr)
        called = names.initialize + "()";
    else
        return Pass(reportChannel,
                    "neither " + names.initializeEx + " nor " + names.initialize + ": the status stays 0 (ready)");
    std::string const returned = called + " returned " + std::to_string(status);
    if (QDXDesktopSDK::LibraryMessageSender::IsDisabled(status))
        return Fail(reportChannel, returned + ": the library disables the companion (once unloaded, it is never "
                                              "loaded again in the process)");
    return Pass(reportChannel, returned + ": ready");
}

int CheckMessages(CheckTarget const& target, int reportChannel)
{
    CompanionProbe probe(target, reportChannel);
    if (!LoadOrFail(probe, reportChannel))
        return 0;
    probe.Tap(false, true);
    std::vector<CatalogueMessage> const messages = MessagesFor(*target.kind);
    std::vector<std::string> problems;
    for (CatalogueMessage const& message : messages) {
        long long const before = probe.Findings().answers;
        long long const result = message.send();
        TapFindings const after = probe.Findings();
        if (after.answers == before)
            problems.push_back(std::string(message.message) + ": the library sent nothing (" + message.call +
                               " returned " + std::to_string(result) + ")");
        else if (after.lastMessage != message.message)
            problems.push_back(std::string("qdxsdk's list of messages disagrees with the library: ") + message.call +
                               " sent " + after.lastMessage + ", not " + message.message);
    }
    TapFindings const findings = probe.Findings();
    problems.insert(problems.begin(), findings.problems.begin(), findings.problems.end());
    if (!problems.empty())
        return Fail(reportChannel, ProblemSummary(problems, static_cast<long long>(messages.size()),
                                                  "messages not answered as required"));
    return Pass(reportChannel, std::to_string(messages.size()) +
                                   " messages, each answered with a JSON object holding an integer \"_returnCode\"");
}

int CheckFreeMessage(CheckTarget const& target, int reportChannel)
{
    CompanionProbe probe(target, reportChannel);
    if (!LoadOrFail(probe, reportChannel))
        return 0;
    std::string const& name = probe.Names().freeMessage;
    auto const freeMessage = reinterpret_cast<void (*)(char const*)>(probe.EntryPoint(name));
    if (freeMessage == nullptr)
        return Fail(reportChannel, "no " + name + ": the library cannot hand any answer back");
    probe.Tap(true, true);
    for (CatalogueMessage const& message : MessagesFor(*target.kind))
        message.send();
    // The library hands back a null answer too.
    ReportLine(reportChannel, "at FreeMessage of a null answer");
    freeMessage(nullptr);
    TapFindings const findings = probe.Findings();
    if (findings.givenBack != findings.answers)
        return Fail(reportChannel, "the library handed back " + std::to_string(findings.givenBack) + " of " +
                                       std::to_string(findings.answers) + " answers");
    return Pass(reportChannel, std::to_string(findings.answers) + " answers handed back, and a null one");
}

int CheckConcurrency(CheckTarget const& target, int reportChannel)
{
    CompanionProbe probe(target, reportChannel);
    if (!LoadOrFail(probe, reportChannel))
        return 0;
    probe.Tap(true, false);
    std::vector<CatalogueMessage> const messages = MessagesFor(*target.kind);
    ReportLine(reportChannel, "at " + std::to_string(target.threads) + " threads sending");
    std::vector<std::thread> threads;
    for (int thread = 0; thread < target.threads; ++thread) {
        // Each thread starts elsewhere in the list, so that different messages overlap.
        threads.emplace_back([thread, &messages, &target] {
            for (int sent = 0; sent < target.messagesPerThread; ++sent)
                messages[static_cast<std::size_t>(thread + sent) % messages.size()].send();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    TapFindings const findings = probe.Findings();
    std::string const load =
        std::to_string(target.threads) + " threads x " + std::to_string(target.messagesPerThread) + " messages";
    if (!findings.problems.empty())
        return Fail(reportChannel,
                    load + ": " + ProblemSummary(findings.problems, findings.answers, "answers invalid"));
    return Pass(reportChannel, load + ": " + std::to_string(findings.answers) + " answers, all valid");
}

int CheckFinalize(CheckTarget const& target, int reportChannel)
{
    CompanionProbe probe(target, reportChannel);
    if (!LoadOrFail(probe, reportChannel))
        return 0;
    std::string const& finalize = probe.Names().finalize;
    bool const hasFinalize = probe.EntryPoint(finalize) != nullptr;
    ReportLine(reportChannel, "at " + finalize);
    probe.Unload();
    // As after OnShutdown: the next message loads and initialises it again.
    std::string why;
    ReportLine(reportChannel, "at loading and initialising again");
    if (!probe.Load(why))
        return Fail(reportChannel, "after " + finalize + " it does not load again: " + why);
    std::string answered;
    if (target.kind != nullptr) {
        probe.Tap(true, true);
        CatalogueMessage const message = MessagesFor(*target.kind).front();
        message.send();
        TapFindings const findings = probe.Findings();
        if (findings.answers == 0 || !findings.problems.empty())
            return Fail(reportChannel, "loaded again after " + finalize + ", " + message.message +
                                           " is not answered: " +
                                           (findings.problems.empty() ? "nothing sent" : findings.problems.front()));
        answered = ", answered " + std::string(message.message);
    }
    ReportLine(reportChannel, "at " + finalize + " again");
    probe.Unload();
    return Pass(reportChannel, (hasFinalize ? finalize + " returned" : "no " + finalize + " (optional)") +
                                   "; loaded and initialised again" + answered + ", and unloaded again");
}

}  // namespace QdxTool
}  // namespace Norvane
