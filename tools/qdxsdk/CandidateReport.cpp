#include "CandidateReport.h"

#include <iomanip>

namespace Norvane {
namespace QdxTool {

namespace Search = QDXDesktopSDK::CompanionSearch;

namespace {

std::string OrNone(Path const& path)
{
    return path.IsEmpty() ? std::string("(none)") : path.GetString();
}

void PrintCompanion(std::ostream& out, CompanionCandidates const& companion)
{
    Search::Table const& table = companion.table;
    out << companion.file << ": ";
    if (table.chosen < 0) {
        out << "no copy found; messages to it would return 1 (companion not loaded)\n";
    } else {
        Search::Candidate const& chosen = table.candidates[static_cast<std::size_t>(table.chosen)];
        out << "would load " << chosen.file.GetString() << " (version " << Search::VersionText(chosen.version)
            << "): " << Search::Reason(table, table.chosen) << '\n';
    }
    if (table.candidates.empty()) {
        out << "  (no folder to search)\n";
        return;
    }
    out << "  " << std::left << std::setw(11) << "FOLDER" << std::right << std::setw(8) << "PRIORITY"
        << "  " << std::left << std::setw(12) << "VERSION" << std::setw(18) << "VERDICT"
        << "FILE\n";
    for (int i = 0; i < static_cast<int>(table.candidates.size()); ++i) {
        Search::Candidate const& candidate = table.candidates[static_cast<std::size_t>(i)];
        out << "  " << std::left << std::setw(11) << Search::FolderKindName(candidate.kind) << std::right
            << std::setw(8) << candidate.priority << "  " << std::left << std::setw(12)
            << Search::VersionText(candidate.version) << std::setw(18) << Search::VerdictName(candidate.verdict)
            << candidate.file.GetString() << '\n';
    }
}

}  // namespace

std::string VerdictToken(Search::Verdict verdict)
{
    std::string token = Search::VerdictName(verdict);
    for (char& c : token)
        c = c == ' ' ? '_' : c;
    return token;
}

void PrintLayoutText(std::ostream& out, HostLayout const& layout)
{
    auto line = [&out](char const* title) -> std::ostream& { return out << std::left << std::setw(19) << title; };
    line("Host:") << (layout.executable.IsEmpty() ? std::string("(none given; use --exe PATH)")
                                                  : layout.executable.GetString())
                  << '\n';
    line("Wrapper library:") << OrNone(layout.library.file);
    if (!layout.library.file.IsEmpty())
        out << ", version " << Search::VersionText(layout.library.version);
    if (!layout.library.foundBy.empty())
        out << " (" << layout.library.foundBy << ")";
    out << '\n';
    Configuration const& configuration = layout.configuration;
    line("Configured folder:");
    if (configuration.libraryPath.IsEmpty())
        out << "(none)";
    else
        out << configuration.libraryPath.GetString() << " (recorded for " << configuration.key.GetString() << ")";
    out << "\n\n";
    for (CompanionCandidates const& companion : layout.companions)
        PrintCompanion(out, companion);
}

void WriteLayoutJson(JsonWriter& writer, HostLayout const& layout)
{
    writer.Key("host");
    WriteTextOrNull(writer, layout.executable.GetString());
    writer.Key("host_folder");
    WriteTextOrNull(writer, layout.hostFolder.GetString());
    writer.Key("library");
    writer.StartObject();
    writer.Key("file");
    WriteTextOrNull(writer, layout.library.file.GetString());
    writer.Key("version");
    WriteTextOrNull(writer, layout.library.version == 0 ? std::string() : Search::VersionText(layout.library.version));
    writer.Key("found_by");
    WriteText(writer, layout.library.foundBy);
    writer.EndObject();
    writer.Key("configured");
    writer.StartObject();
    writer.Key("library_path");
    WriteTextOrNull(writer, layout.configuration.libraryPath.GetString());
    writer.Key("key");
    WriteTextOrNull(writer, layout.configuration.key.GetString());
    writer.EndObject();
    writer.Key("companions");
    writer.StartArray();
    for (CompanionCandidates const& companion : layout.companions) {
        Search::Table const& table = companion.table;
        writer.StartObject();
        writer.Key("file");
        WriteText(writer, companion.file);
        writer.Key("chosen");
        WriteTextOrNull(writer, table.chosen < 0
                                    ? std::string()
                                    : table.candidates[static_cast<std::size_t>(table.chosen)].file.GetString());
        writer.Key("candidates");
        writer.StartArray();
        for (int i = 0; i < static_cast<int>(table.candidates.size()); ++i) {
            Search::Candidate const& candidate = table.candidates[static_cast<std::size_t>(i)];
            writer.StartObject();
            writer.Key("folder");
            WriteText(writer, Search::FolderKindName(candidate.kind));
            writer.Key("file");
            WriteText(writer, candidate.file.GetString());
            writer.Key("found");
            writer.Bool(candidate.found);
            writer.Key("version");
            WriteTextOrNull(writer, candidate.version == 0 ? std::string() : Search::VersionText(candidate.version));
            writer.Key("priority");
            writer.Int(candidate.priority);
            writer.Key("verdict");
            WriteText(writer, VerdictToken(candidate.verdict));
            writer.Key("reason");
            WriteText(writer, Search::Reason(table, i));
            writer.EndObject();
        }
        writer.EndArray();
        writer.EndObject();
    }
    writer.EndArray();
}

}  // namespace QdxTool
}  // namespace Norvane
