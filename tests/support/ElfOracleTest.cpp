// The version probe's reader against the binary tools: for ELF files with a
// full symbol table (the test library, this test program, the wrapper library
// and files found on the machine), every data object must read as exactly the
// bytes that `readelf -x` shows for it, or as nothing when its first data
// object of that name has no bytes in the file. Stripped files give nothing.
// The files are only read, so these tests need no private /tmp.
#include "ElfOracleFiles.h"
#include "QdxBuildVersion.h"
#include "support/Path.h"
#include "support/QdxUtilResource.h"
#include "support/QdxUtilVersion.h"

#include <gtest/gtest.h>

#include <elf.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using Norvane::QDXDesktopSDK::Path;
namespace QdxUtil = Norvane::QDXDesktopSDK::QdxUtil;
using Bytes = std::vector<unsigned char>;

namespace {

// Files whose symbols are compared one by one; larger tables are sampled.
constexpr std::size_t kNamesPerFile = 250;

std::string Run(std::string const& command)
{
    std::string output;
    FILE* const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return output;
    char buffer[1 << 16];
    std::size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        output.append(buffer, got);
    pclose(pipe);
    return output;
}

std::string Quoted(std::string const& text)
{
    std::string quoted = "'";
    for (char const c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::vector<std::string> Words(std::string const& line)
{
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

int HexDigit(char c)
{
    return c <= '9' ? c - '0' : c - 'a' + 10;
}

bool IsNumber(std::string const& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::optional<Bytes> Read(std::string const& file, std::string const& name)
{
    Bytes out;
    if (QdxUtil::LoadResourceFromBinary(out, file, name, false))
        return out;
    return std::nullopt;
}

// What a stamp's bytes give: the text from its first comma on.
unsigned long long VersionOf(std::optional<Bytes> const& stamp)
{
    std::string text = stamp ? std::string(stamp->begin(), stamp->end()) : std::string();
    std::size_t const comma = text.find(',');
    return QdxUtil::GetVersionFromString(comma == std::string::npos ? text : text.substr(comma));
}

// One file as readelf describes it.
class ToolView {
public:
    struct Section {
        std::string name, type;
        unsigned long long address = 0, size = 0;
    };
    struct Symbol {
        unsigned long long value = 0, size = 0;
        std::string type, index, name;
    };

    explicit ToolView(std::string file) : m_file(std::move(file))
    {
        ReadSections();
        ReadSymbols();
        for (std::size_t i = 0; i < m_symbols.size(); ++i)
            if (m_symbols[i].type == "OBJECT")
                m_firstDataObjects.emplace(m_symbols[i].name, i);
    }

    bool HasFullSymbolTable() const { return m_hasFullTable; }
    std::vector<Symbol> const& Symbols() const { return m_symbols; }
    std::vector<Symbol> const& DynamicSymbols() const { return m_dynamicSymbols; }

    // The symbol that the reader must take for `name`: the first data object of that name.
    Symbol const* FirstDataObject(std::string const& name) const
    {
        auto const first = m_firstDataObjects.find(name);
        return first == m_firstDataObjects.end() ? nullptr : &m_symbols[first->second];
    }

    // The bytes the reader must give for `name`: those of its first data object
    // when they lie in the file inside its section, else nothing.
    std::optional<Bytes> Expected(std::string const& name)
    {
        Symbol const* const symbol = FirstDataObject(name);
        if (symbol == nullptr || !IsNumber(symbol->index))
            return std::nullopt;
        std::size_t const index = std::stoul(symbol->index);
        if (index == 0 || index >= m_sections.size() || m_sections[index].type == "NOBITS")
            return std::nullopt;
        Section const& section = m_sections[index];
        if (symbol->value < section.address || symbol->value - section.address > section.size ||
            symbol->size > section.size - (symbol->value - section.address))
            return std::nullopt;
        Bytes const& contents = Contents(index);
        auto const begin = contents.begin() + static_cast<std::ptrdiff_t>(symbol->value - section.address);
        return Bytes(begin, begin + static_cast<std::ptrdiff_t>(symbol->size));
    }

    bool InSectionWithoutContents(Symbol const& symbol) const
    {
        return IsNumber(symbol.index) && std::stoul(symbol.index) < m_sections.size() &&
               m_sections[std::stoul(symbol.index)].type == "NOBITS";
    }

private:
    void ReadSections()
    {
        static std::regex const line(
            R"(^\s*\[\s*(\d+)\]\s(.*?)\s+(\S+)\s+([0-9a-f]{16})\s+([0-9a-f]+)\s+([0-9a-f]+)\s)");
        std::istringstream output(Run("readelf -SW " + Quoted(m_file) + " 2>/dev/null"));
        for (std::string text; std::getline(output, text);) {
            std::smatch match;
            if (!std::regex_search(text, match, line))
                continue;
            std::size_t const index = std::stoul(match[1].str());
            m_sections.resize(std::max(m_sections.size(), index + 1));
            Section& section = m_sections[index];
            section.name = match[2];
            section.name.erase(section.name.find_last_not_of(' ') + 1);
            section.type = match[3];
            section.address = std::stoull(match[4].str(), nullptr, 16);
            section.size = std::stoull(match[6].str(), nullptr, 16);
            m_hasFullTable = m_hasFullTable || section.type == "SYMTAB";
        }
    }

    void ReadSymbols()
    {
        std::istringstream output(Run("readelf -sW " + Quoted(m_file) + " 2>/dev/null"));
        std::vector<Symbol>* table = nullptr;
        for (std::string text; std::getline(output, text);) {
            if (text.rfind("Symbol table '.symtab'", 0) == 0)
                table = &m_symbols;
            else if (text.rfind("Symbol table '.dynsym'", 0) == 0)
                table = &m_dynamicSymbols;
            std::vector<std::string> words = Words(text);
            if (table == nullptr || words.size() < 7 || words[0].back() != ':' ||
                !IsNumber(words[0].substr(0, words[0].size() - 1)))
                continue;
            // A special section index of an operating system is printed with a space inside.
            if (words.size() > 7 && (words[6] == "OS" || words[6] == "PRC" || words[6] == "RSV")) {
                words[6] += words[7];
                words.erase(words.begin() + 7);
            }
            Symbol symbol;
            symbol.value = std::stoull(words[1], nullptr, 16);
            // Sizes of five digits and more are printed in hexadecimal.
            symbol.size = words[2].rfind("0x", 0) == 0 ? std::stoull(words[2], nullptr, 16) : std::stoull(words[2]);
            symbol.type = words[3];
            symbol.index = words[6];
            symbol.name = words.size() > 7 ? words[7] : std::string();
            if (table == &m_dynamicSymbols)
                symbol.name = symbol.name.substr(0, symbol.name.find('@'));
            table->push_back(symbol);
        }
    }

    Bytes const& Contents(std::size_t index)
    {
        auto const known = m_contents.find(index);
        if (known != m_contents.end())
            return known->second;
        Section const& section = m_sections[index];
        Bytes& bytes = m_contents[index];
        // "  0x00002000 01000200 00000000 ...  ascii": the address, then up to
        // sixteen bytes in groups of four, then the same as text. Dumps run to
        // tens of megabytes, so they are read in place.
        std::string const output = Run("readelf -x " + std::to_string(index) + " " + Quoted(m_file) + " 2>/dev/null");
        bytes.reserve(section.size);
        for (std::size_t line = 0; line < output.size();) {
            std::size_t const end = std::min(output.find('\n', line), output.size());
            std::size_t position = output.find_first_not_of(' ', line);
            if (position + 2 < end && output.compare(position, 2, "0x") == 0) {
                char* after = nullptr;
                unsigned long long const address = std::strtoull(output.c_str() + position, &after, 16);
                if (address < section.address || address - section.address != bytes.size())
                    break;
                position = static_cast<std::size_t>(after - output.c_str());
                std::size_t const wanted =
                    static_cast<std::size_t>(std::min<unsigned long long>(16, section.size - bytes.size()));
                for (std::size_t got = 0; got < wanted; ++got) {
                    while (position < end && output[position] == ' ')
                        ++position;
                    if (position + 1 >= end)
                        break;
                    int const byte = HexDigit(output[position]) << 4 | HexDigit(output[position + 1]);
                    bytes.push_back(static_cast<unsigned char>(byte));
                    position += 2;
                }
            }
            line = end + 1;
        }
        EXPECT_EQ(section.size, bytes.size()) << "hex dump of section " << index << " of " << m_file;
        return bytes;
    }

    std::string const m_file;
    bool m_hasFullTable = false;
    std::vector<Section> m_sections;
    std::vector<Symbol> m_symbols;
    std::vector<Symbol> m_dynamicSymbols;
    std::map<std::string, std::size_t> m_firstDataObjects;  // name to its first data object in m_symbols
    std::map<std::size_t, Bytes> m_contents;
};

struct Coverage {
    std::size_t read = 0;     // data objects whose bytes were compared
    std::size_t absent = 0;   // names that must give nothing
    std::size_t objects = 0;  // data objects in the full symbol table
};

// The names to ask for: every data object's name (sampled evenly when there
// are many), always including those that are repeated, that lie in a section
// without contents or that are also thread-local names, which are the ones
// the first-object rule decides.
std::vector<std::string> NamesToAsk(ToolView const& view)
{
    std::vector<std::string> all, special;
    std::map<std::string, int> seen;
    for (ToolView::Symbol const& symbol : view.Symbols())
        if (symbol.type == "OBJECT" || symbol.type == "TLS")
            if (seen[symbol.name]++ == 0)
                all.push_back(symbol.name);
    for (ToolView::Symbol const& symbol : view.Symbols())
        if ((symbol.type == "OBJECT" || symbol.type == "TLS") &&
            (seen[symbol.name] > 1 || view.InSectionWithoutContents(symbol) || symbol.type == "TLS") &&
            special.size() < kNamesPerFile / 5 &&
            std::find(special.begin(), special.end(), symbol.name) == special.end())
            special.push_back(symbol.name);
    std::vector<std::string> names = special;
    std::size_t const step = std::max<std::size_t>(1, all.size() / (kNamesPerFile - special.size()));
    for (std::size_t i = 0; i < all.size(); i += step)
        if (std::find(special.begin(), special.end(), all[i]) == special.end())
            names.push_back(all[i]);
    names.push_back("no such data object");
    return names;
}

Coverage CheckAgainstTools(std::string const& file)
{
    ToolView view(file);
    Coverage coverage;
    EXPECT_TRUE(view.HasFullSymbolTable()) << file;
    coverage.objects = static_cast<std::size_t>(
        std::count_if(view.Symbols().begin(), view.Symbols().end(), [](auto const& s) { return s.type == "OBJECT"; }));
    int failures = 0;
    for (std::string const& name : NamesToAsk(view)) {
        std::optional<Bytes> const expected = view.Expected(name);
        std::optional<Bytes> const actual = Read(file, name);
        EXPECT_EQ(expected, actual) << name << " in " << file;
        if (expected != actual && ++failures == 10) {
            ADD_FAILURE() << "further names of " << file << " not compared";
            break;
        }
        ++(expected ? coverage.read : coverage.absent);
    }
    EXPECT_EQ(VersionOf(view.Expected("_ZL7version")), Path(file).GetVersion()) << file;
    std::cout << "[ oracle   ] " << file << ": " << coverage.read << " objects read, " << coverage.absent
              << " names without bytes, of " << coverage.objects << " data objects\n";
    return coverage;
}

struct Candidate {
    std::string file;
    Elf64_Half type;  // relocatable, executable, shared
    std::uintmax_t size;
};

// ELF files of this machine's kind in `folder` (and below, when `recursive`),
// from the first `limit` entries in name order, none larger than a few
// megabytes so that the tools' dumps stay quick.
std::vector<Candidate> ElfFilesIn(std::string const& folder, bool recursive, std::size_t limit)
{
    std::vector<std::filesystem::path> entries;
    std::error_code error;
    if (recursive)
        for (auto it = std::filesystem::recursive_directory_iterator(folder, error);
             !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error))
            entries.push_back(it->path());
    else
        for (auto it = std::filesystem::directory_iterator(folder, error);
             !error && it != std::filesystem::directory_iterator(); it.increment(error))
            entries.push_back(it->path());
    std::sort(entries.begin(), entries.end());
    entries.resize(std::min(entries.size(), limit));
    std::vector<Candidate> files;
    for (std::filesystem::path const& entry : entries) {
        std::error_code ignored;
        std::uintmax_t const size = std::filesystem::file_size(entry, ignored);
        if (ignored || size > (4u << 20) || size < sizeof(Elf64_Ehdr) || !std::filesystem::is_regular_file(entry))
            continue;
        Elf64_Ehdr header;
        Path const path(std::filesystem::canonical(entry, ignored).string());
        if (path.ReadFile(0, sizeof header, &header) == sizeof header &&
            std::equal(header.e_ident, header.e_ident + SELFMAG, ELFMAG) && header.e_ident[EI_CLASS] == ELFCLASS64)
            files.push_back({path.GetString(), header.e_type, size});
    }
    return files;
}

// Those of `files` for which readelf lists a full symbol table (when `full`)
// or none; one readelf run looks at many files.
std::vector<Candidate> WithSymbolTable(std::vector<Candidate> const& files, bool full)
{
    std::set<std::string> withTable;
    for (std::size_t first = 0; first < files.size(); first += 200) {
        std::vector<std::string> batch;
        std::string command = "readelf -SW";
        for (std::size_t i = first; i < std::min(files.size(), first + 200); ++i) {
            batch.push_back(files[i].file);
            command += " " + Quoted(files[i].file);
        }
        std::string current;
        std::istringstream output(Run(command + " 2>/dev/null"));
        for (std::string text; std::getline(output, text);) {
            if (text.rfind("File: ", 0) == 0)
                current = text.substr(6);
            else if (text.find(" .symtab ") != std::string::npos && text.find("SYMTAB") != std::string::npos)
                withTable.insert(batch.size() == 1 ? batch[0] : current);
        }
    }
    std::vector<Candidate> chosen;
    for (Candidate const& candidate : files)
        if (withTable.count(candidate.file) == (full ? 1u : 0u))
            chosen.push_back(candidate);
    return chosen;
}

// Debug files (whose sections mostly have no contents), compiler start-up
// objects (relocatable files), libraries and programs.
struct Folder {
    char const* path;
    bool recursive;
};
Folder const kSystemFolders[] = {{"/usr/lib/debug/.build-id", true},
                                 {"/usr/lib/gcc/x86_64-linux-gnu", true},
                                 {"/usr/lib/x86_64-linux-gnu", false},
                                 {"/usr/bin", false}};
constexpr std::size_t kEntriesPerFolder = 5000;

}  // namespace

TEST(ElfOracleTest, TheTestLibrarysDataObjectsReadAsTheToolsShowThem)
{
    Coverage const coverage = CheckAgainstTools(QDX_ELF_ORACLE_LIBRARY);
    EXPECT_GE(coverage.read, 20u);
    EXPECT_GE(coverage.absent, 5u);
}

TEST(ElfOracleTest, TheWrapperLibrarysDataObjectsReadAsTheToolsShowThem)
{
    CheckAgainstTools(QDX_WRAPPER_LIBRARY);
    EXPECT_EQ(QDX_SDK_VERSION, QdxUtil::GetVersionStringFromVersion(Path(QDX_WRAPPER_LIBRARY).GetVersion()));
}

TEST(ElfOracleTest, ThisTestProgramsDataObjectsReadAsTheToolsShowThem)
{
    Coverage const coverage = CheckAgainstTools(std::filesystem::read_symlink("/proc/self/exe").string());
    EXPECT_GE(coverage.read, 20u);
}

TEST(ElfOracleTest, SystemFilesWithFullSymbolTablesReadAsTheToolsShowThem)
{
    // Of each folder, the largest file of each kind, so that relocatable,
    // executable and shared files are all covered with as many symbols as
    // the time allows.
    std::set<std::string> checked;
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    for (Folder const& folder : kSystemFolders) {
        std::vector<Candidate> candidates =
            WithSymbolTable(ElfFilesIn(folder.path, folder.recursive, kEntriesPerFolder), true);
        std::stable_sort(candidates.begin(), candidates.end(),
                         [](Candidate const& a, Candidate const& b) { return a.size > b.size; });
        std::set<Elf64_Half> kinds;
        for (Candidate const& candidate : candidates) {
            if (std::chrono::steady_clock::now() > deadline)
                break;
            // A file reached through a link from several folders counts once.
            if (kinds.count(candidate.type) == 0 && checked.insert(candidate.file).second) {
                kinds.insert(candidate.type);
                CheckAgainstTools(candidate.file);
            }
        }
    }
    if (checked.empty())
        GTEST_SKIP() << "no ELF file with a full symbol table found on this machine";
}

TEST(ElfOracleTest, StrippedSystemFilesGiveNothing)
{
    std::set<std::string> checked;
    for (char const* folder : {"/usr/lib/x86_64-linux-gnu", "/usr/bin"}) {
        std::size_t inFolder = 0;
        for (Candidate const& candidate : WithSymbolTable(ElfFilesIn(folder, false, 200), false)) {
            if (checked.count(candidate.file) != 0)
                continue;
            ToolView const view(candidate.file);
            std::vector<std::string> objects;
            for (ToolView::Symbol const& symbol : view.DynamicSymbols())
                if (symbol.type == "OBJECT" && objects.size() < 50)
                    objects.push_back(symbol.name);
            if (objects.empty())
                continue;
            for (std::string const& name : objects)
                EXPECT_EQ(std::nullopt, Read(candidate.file, name)) << name << " in " << candidate.file;
            EXPECT_EQ(std::nullopt, Read(candidate.file, "_ZL7version")) << candidate.file;
            EXPECT_EQ(0u, Path(candidate.file).GetVersion()) << candidate.file;
            std::cout << "[ oracle   ] " << candidate.file << " (stripped): " << objects.size()
                      << " dynamic data objects not found\n";
            checked.insert(candidate.file);
            if (++inFolder == 3)
                break;
        }
    }
    if (checked.empty())
        GTEST_SKIP() << "no stripped ELF file found on this machine";
}
