// The reader of data objects against the binary tools, and against copies of the test library damaged one field at
// a time, which must give nothing (or the bytes named) without crashing or allocating beyond the file's size.
#include "ElfOracleFiles.h"
#include "TestIsolation.h"
#include "support/Path.h"
#include "support/QdxUtilResource.h"
#include "support/QdxUtilVersion.h"

#include <elf.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <sstream>
#include <tuple>

using Norvane::QDXDesktopSDK::Path;
using namespace Norvane::QDXDesktopSDK::QdxUtil;
using Bytes = std::vector<unsigned char>;

__attribute__((used)) static const char testMarker[] = "in the test program";

namespace {

std::string const kStamp("$Id: x,v 1.2.3.4 Jan  1 2025 00:00:00 y $", 42);
std::string const kShadow("$Id: x,v 9.9.9.9 Jan  1 2025 00:00:00 y $", 42);

std::string Shell(std::string const& command)
{
    std::string output;
    char buffer[1 << 16];
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen((command + " 2>/dev/null").c_str(), "r"), pclose);
    for (std::size_t got; pipe && (got = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0;)
        output.append(buffer, got);
    return output;
}

std::optional<std::string> Read(std::string const& file, std::string const& name = "_ZL7version")
{
    Bytes out{1, 2, 3};
    if (LoadResourceFromBinary(out, file, name, false))
        return std::string(out.begin(), out.end());
    EXPECT_TRUE(out.empty()) << name << " in " << file;
    return std::nullopt;
}

// readelf's view of a file: sections; the first data object of each name in .symtab; all object names.
struct ToolView {
    explicit ToolView(std::string const& path) : file(path)
    {
        static std::regex const line(R"(^\s*\[\s*(\d+)\].*?\s(\S+)\s+([0-9a-f]{16})\s+[0-9a-f]+\s+([0-9a-f]+)\s)");
        std::istringstream sectionLines(Shell("readelf -SW '" + file + "'")),
            symbolLines(Shell("readelf -sW '" + file + "'"));
        std::smatch match;
        for (std::string text; std::getline(sectionLines, text);)
            if (std::regex_search(text, match, line))
                sections[std::stoul(match[1])] = {match[2], std::stoull(match[3], nullptr, 16),
                                                  std::stoull(match[4], nullptr, 16)};
        for (std::string text, number, value, size, type, bind, visibility, index, name;
             std::getline(symbolLines, text);) {
            full = text.rfind("Symbol table '", 0) == 0 ? text.find("'.symtab'") != std::string::npos : full;
            std::istringstream words(text);
            if (words >> number >> value >> size >> type >> bind >> visibility >> index >> name &&
                (type == "OBJECT" || type == "TLS"))
                names.push_back(full ? name : name.substr(0, name.find('@')));
            if (full && type == "OBJECT")
                objects.try_emplace(name, index[0] <= '9' ? std::stoul(index) : 0, std::stoull(value, nullptr, 16),
                                    std::stoull(size, nullptr, 0));
        }
    }
    // The bytes of the first data object of `name` when they lie in the file inside its section.
    std::optional<std::string> Expected(std::string const& name)
    {
        auto const object = objects.find(name);
        if (object == objects.end() || sections.count(std::get<0>(object->second)) == 0)
            return std::nullopt;
        auto const [index, value, size] = object->second;
        auto const [type, address, length] = sections[index];
        if (index == 0 || type == "NOBITS" || value < address || value - address + size > length)
            return std::nullopt;
        if (dumps.count(index) == 0) {  // "  0x00002000 01000200 00000000 ...  text": up to sixteen bytes a line
            std::istringstream lines(Shell("readelf -x " + std::to_string(index) + " '" + file + "'"));
            std::string& bytes = dumps[index];
            for (std::string text, word; std::getline(lines, text);) {
                std::istringstream words(text);
                for (int want = words >> word && word.rfind("0x", 0) == 0 ? 16 : 0; want > 0 && words >> word;)
                    for (std::size_t i = 0; i + 1 < word.size() && want > 0 && bytes.size() < length; i += 2, --want)
                        bytes += static_cast<char>(std::stoul(word.substr(i, 2), nullptr, 16));
            }
            EXPECT_EQ(length, dumps[index].size()) << "dump of section " << index << " of " << file;
        }
        return dumps[index].substr(value - address, size);
    }

    std::string file;
    bool full = false;
    std::map<std::size_t, std::tuple<std::string, unsigned long long, unsigned long long>> sections;
    std::map<std::string, std::tuple<std::size_t, unsigned long long, unsigned long long>> objects;
    std::vector<std::string> names;
    std::map<std::size_t, std::string> dumps;
};

template <typename T> T Get(Bytes const& bytes, std::size_t at)
{
    T value;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

class QdxUtilResourceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        ASSERT_TRUE(Path("/tmp/elf").CreateDir());
        std::string const text = Path(QDX_ELF_ORACLE_LIBRARY).ReadFileAsString(-1);
        b.assign(text.begin(), text.end());
        shoff = Get<Elf64_Ehdr>(b, 0).e_shoff;
        for (std::size_t i = 0; i < Get<Elf64_Ehdr>(b, 0).e_shnum; ++i)
            if (Sec(i).sh_type == SHT_SYMTAB)
                sym = i, str = Sec(i).sh_link;
        for (ver = Sec(sym).sh_offset; ver < Sec(sym).sh_offset + Sec(sym).sh_size; ver += sizeof(Elf64_Sym))
            if (Get<Elf64_Sym>(b, ver).st_info == STT_OBJECT &&
                text.c_str() + Sec(str).sh_offset + Get<Elf64_Sym>(b, ver).st_name == std::string("_ZL7version"))
                break;
        ASSERT_EQ(kStamp, ReadImage(b));
    }
    Elf64_Shdr Sec(std::size_t i) const { return Get<Elf64_Shdr>(b, shoff + i * sizeof(Elf64_Shdr)); }
    std::optional<std::string> ReadImage(Bytes const& bytes, std::string const& name = "_ZL7version") const
    {
        EXPECT_TRUE(m_file.WriteFile(bytes.data(), static_cast<long long>(bytes.size()), 0, nullptr, nullptr));
        return Read(m_file.GetString(), name);
    }

    Path const m_file{"/tmp/elf/probe.so"};
    Bytes b;
    std::size_t shoff = 0, sym = 0, str = 0, ver = 0;
};

// Where a field lies in the image, and its width.
#define H(f) offsetof(Elf64_Ehdr, f), sizeof(Elf64_Ehdr::f)
#define S(i, f) shoff + (i) * sizeof(Elf64_Shdr) + offsetof(Elf64_Shdr, f), sizeof(Elf64_Shdr::f)
#define Y(f) ver + offsetof(Elf64_Sym, f), sizeof(Elf64_Sym::f)

using Field = std::tuple<std::size_t, std::size_t, unsigned long long>;  // where, width, value

}  // namespace

TEST(ElfOracleTest, DataObjectsReadAsTheToolsShowThem)
{
    std::istringstream found(Shell(  // per folder the first small 64-bit ELF file with a full symbol table and without
        "for d in /usr/lib/gcc/x86_64-linux-gnu/*/ /usr/lib/x86_64-linux-gnu/ /usr/bin/; do f1=; f0=; for f in $(ls -d "
        "\"$d\"* | head -100); do [ -f \"$f\" ] && [ $(stat -Lc%s \"$f\") -lt 4194304 ] && h=$(readelf -hSW \"$f\") || "
        "continue; case $h in *ELF64*) ;; *) continue;; esac; case $h in *' SYMTAB '*) [ -z $f1 ] && f1=$f && echo "
        "$f;; "
        "*) [ -z $f0 ] && f0=$f && echo $f;; esac; [ -n \"$f1\" -a -n \"$f0\" ] && break; done; done"));
    std::vector<std::string> files = {QDX_ELF_ORACLE_LIBRARY, QDX_WRAPPER_LIBRARY,
                                      std::filesystem::read_symlink("/proc/self/exe")};
    for (std::string file; std::getline(found, file);)
        files.push_back(file);
    for (std::string const& file : files) {
        ToolView view(file);
        std::vector<std::string> names = {"no such object", "_ZL7versio", "_ZL7version2", "_zl7VERSION"};
        for (std::size_t i = 0, step = view.names.size() / 200 + 1; i < view.names.size(); i += step)
            names.push_back(view.names[i]);
        std::size_t read = 0;
        for (std::string const& name : names) {
            std::optional<std::string> const expected = view.Expected(name);
            EXPECT_EQ(expected, Read(file, name)) << name << " in " << file;
            read += expected.has_value();
        }
        EXPECT_TRUE(!view.objects.empty() || Path(file).GetVersion() == 0) << "stripped " << file;
        EXPECT_TRUE(file != QDX_ELF_ORACLE_LIBRARY || (read >= 20 && names.size() - read >= 5)) << read;
    }
    EXPECT_EQ(0x0001000200030004ull, Path(QDX_ELF_ORACLE_LIBRARY).GetVersion());
    EXPECT_EQ("5.5.34.5", GetVersionStringFromVersion(Path(QDX_WRAPPER_LIBRARY).GetVersion()));
}

TEST_F(QdxUtilResourceTest, DamagedFieldsGiveNothingOrTheBytesNamed)
{
    Elf64_Ehdr const h = Get<Elf64_Ehdr>(b, 0);
    Elf64_Sym const v = Get<Elf64_Sym>(b, ver);
    Elf64_Shdr const home = Sec(v.st_shndx), symbols = Sec(sym);
    std::size_t bss = 0, names = h.e_shstrndx, n = symbols.sh_size / sizeof(Elf64_Sym);
    while (Sec(bss).sh_type != SHT_NOBITS)
        ++bss;
    Bytes w = b;  // with tables laid out again after the end, entries wider and padded with 0xEE
    auto const widen = [&](std::size_t at, std::size_t count, std::size_t entry, std::size_t wide) {
        std::size_t const moved = w.size();
        for (std::size_t i = 0; i < count; ++i, w.resize(w.size() + wide - entry, 0xEE))
            w.insert(w.end(), b.begin() + long(at + i * entry), b.begin() + long(at + (i + 1) * entry));
        return moved;
    };
    std::size_t const gap = 70000, far = widen(symbols.sh_offset, n, sizeof(Elf64_Sym), gap),
                      h80 = widen(shoff, h.e_shnum, sizeof(Elf64_Shdr), 80);
    unsigned long long const size = w.size(), end = home.sh_addr + home.sh_size;
    std::string const last(1, char(b[home.sh_offset + home.sh_size - 1]));
    struct Row {
        char const* what;
        std::vector<Field> fields;
        std::optional<std::string> want;
    } const rows[] = {
        {"32-bit class", {{EI_CLASS, 1, ELFCLASS32}}, {}},
        {"big-endian", {{EI_DATA, 1, ELFDATA2MSB}}, {}},
        {"magic", {{1, 1, 'e'}}, {}},
        {"section headers at the end", {{H(e_shoff), size}}, {}},
        {"no sections", {{H(e_shnum), 0}}, {}},
        {"too many sections", {{H(e_shnum), 0xFFFF}}, {}},
        {"section header too small", {{H(e_shentsize), sizeof(Elf64_Shdr) - 1}}, {}},
        {"section names index past the table", {{H(e_shstrndx), h.e_shnum}}, {}},
        {"section names huge", {{S(names, sh_size), ~0ull}}, {}},
        {"symbols across the end", {{S(sym, sh_size), size - symbols.sh_offset + 24}}, {}},
        {"symbols huge", {{S(sym, sh_size), ~0ull}}, {}},
        {"symbol entry size 0", {{S(sym, sh_entsize), 0}}, {}},
        {"symbol entry huge", {{S(sym, sh_entsize), 1ull << 40}}, {}},
        {"symbol entry size of the table", {{S(sym, sh_entsize), symbols.sh_size}}, {}},
        {"only dynamic symbols", {{S(sym, sh_type), SHT_DYNSYM}}, {}},
        {"symbol names huge", {{S(str, sh_size), ~0ull}}, {}},
        {"symbol names not a string table", {{S(str, sh_type), SHT_PROGBITS}}, {}},
        {"symbol names cut in the name", {{S(str, sh_size), v.st_name + 10}}, {}},
        {"undefined", {{Y(st_shndx), SHN_UNDEF}}, {}},
        {"section index past the table", {{Y(st_shndx), h.e_shnum}}, {}},
        {"in .bss", {{Y(st_shndx), bss}}, {}},
        {"before its section", {{Y(st_value), home.sh_addr - 1}}, {}},
        {"size huge", {{Y(st_size), ~0ull}}, {}},
        {"one byte past its section", {{Y(st_value), end - 1}, {Y(st_size), 2}}, {}},
        {"at its section's end", {{Y(st_value), end}, {Y(st_size), 1}}, {}},
        {"section across the end", {{S(v.st_shndx, sh_size), size - home.sh_offset + 1}}, {}},
        {"section without contents", {{S(v.st_shndx, sh_type), SHT_NOBITS}}, {}},
        {"empty at its section's end", {{Y(st_value), end}, {Y(st_size), 0}}, ""},
        {"last byte of its section", {{Y(st_value), end - 1}, {Y(st_size), 1}}, last},
        {"symbol names end without terminator", {{S(str, sh_size), v.st_name + 11}}, kStamp},
        {"name offset out of range", {{Y(st_name), 0xFFFFFFF0u}}, kShadow},
        {"far symbols", {{S(sym, sh_offset), far}, {S(sym, sh_size), n * gap}, {S(sym, sh_entsize), gap}}, kStamp},
        {"section headers 80 apart", {{H(e_shoff), h80}, {H(e_shentsize), 80}}, kStamp},
    };
    for (Row const& row : rows) {
        Bytes image = w;
        for (auto const& [at, width, value] : row.fields)
            std::memcpy(&image[at], &value, width);
        EXPECT_EQ(row.want, ReadImage(image)) << row.what;
    }
    std::memcpy(&w[Sec(names).sh_offset + Sec(str).sh_name], ".STRTAB", 7);
    EXPECT_EQ(kStamp, ReadImage(w)) << "symbol names table in capitals";
    std::memcpy(&w[ver + offsetof(Elf64_Sym, st_name)], "\xF0\xFF\xFF\xFF", 4);
    EXPECT_EQ(kStamp, ReadImage(w, "")) << "a name out of range is the empty name";
}

TEST_F(QdxUtilResourceTest, TruncatedGiantAndOtherFilesGiveNothing)
{
    std::vector<std::size_t> lengths = {shoff - 1, shoff, shoff + 1, b.size() - 1};
    for (std::size_t length = 0; length < b.size(); length += length < 300 ? 1 : 997)
        lengths.push_back(length);
    for (std::size_t const length : lengths)
        EXPECT_EQ(std::nullopt, ReadImage(Bytes(b.begin(), b.begin() + long(length)))) << length;
    ASSERT_TRUE(Path("/tmp/elf/text").WriteFile("not a library\n", 14, 0, nullptr, nullptr));
    ASSERT_EQ(0, mkfifo("/tmp/elf/pipe", 0600));  // never opened: it would block
    for (char const* file : {"/tmp/elf/text", "/tmp/elf/missing.so", "/tmp/elf", "/dev/null", "/tmp/elf/pipe"}) {
        EXPECT_EQ(std::nullopt, Read(file)) << file;
        EXPECT_EQ(0u, Path(file).GetVersion()) << file;
    }
    constexpr unsigned long long kGiant = 80ull << 20;  // inside a sparse file, which costs no space
    for (std::size_t const table : {sym, str}) {
        Bytes image = b;
        std::memcpy(&image[shoff + table * sizeof(Elf64_Shdr) + offsetof(Elf64_Shdr, sh_size)], &kGiant, 8);
        ASSERT_TRUE(m_file.WriteFile(image.data(), static_cast<long long>(image.size()), 0, nullptr, nullptr));
        ASSERT_EQ(0, truncate(m_file.c_str(), static_cast<off_t>(2 * kGiant)));
        EXPECT_EQ(std::nullopt, Read(m_file.GetString())) << table;
    }
    EXPECT_EQ(std::string(testMarker, sizeof testMarker), Read("", "_ZL10testMarker")) << "empty name";
}

using PathVersionTest = QdxUtilResourceTest;

TEST_F(PathVersionTest, TheVersionIsReadAfterTheFirstCommaOfTheWholeStamp)
{
    Elf64_Sym const v = Get<Elf64_Sym>(b, ver);
    auto const withStamp = [&](std::string text) {
        Bytes image = b;
        text.resize(v.st_size, '\0');
        std::memcpy(&image[Sec(v.st_shndx).sh_offset + v.st_value - Sec(v.st_shndx).sh_addr], text.data(), text.size());
        EXPECT_TRUE(m_file.WriteFile(image.data(), static_cast<long long>(image.size()), 0, nullptr, nullptr));
        return m_file.GetVersion();
    };
    EXPECT_EQ(GetVersionFromParts(3, 4, 5, 6), withStamp("$Id: lib7zip2,v 3.4.5.6 Jan  1 2025 y $"));
    EXPECT_EQ(GetVersionFromParts(7, 8, 0, 0), withStamp("release 7.8"));
    EXPECT_EQ(GetVersionFromParts(2, 3, 0, 0), withStamp(std::string("$Id: x,v \0 2.3", 14)));
    EXPECT_EQ(0u, withStamp("$Id: x1,v unknown $"));
    ASSERT_EQ(0, std::system("strip --strip-all -o /tmp/elf/stripped.so " QDX_ELF_ORACLE_LIBRARY));
    EXPECT_EQ(0u, Path("/tmp/elf/stripped.so").GetVersion());
}
