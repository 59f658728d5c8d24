// Reading a data object's bytes from an ELF file: the known objects of the
// test library, and copies of it damaged one field at a time, written to the
// launcher's private /tmp. A damaged file must give nothing, and must never
// make the reader crash, read out of bounds or allocate what the file's size
// does not justify (the sanitizer build sees the last two).
#include "ElfImage.h"
#include "ElfOracleFiles.h"
#include "OraclePattern.h"
#include "TestIsolation.h"
#include "support/Path.h"
#include "support/QdxUtilResource.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

using Norvane::QDXDesktopSDK::Path;
using Norvane::QDXDesktopSDK::QdxUtil::LoadResourceFromBinary;
using QdxTest::ElfImage;
using Bytes = std::vector<unsigned char>;

// Found in this test program's own symbol table when no file is named.
__attribute__((used)) static const char testMarker[] = "in the test program";

namespace {

char const kStamp[] = "$Id: x,v 1.2.3.4 Jan  1 2025 00:00:00 y $";
// The second data object of the same name, defined in a later file.
char const kShadowStamp[] = "$Id: x,v 9.9.9.9 Jan  1 2025 00:00:00 y $";

Bytes BytesOf(void const* data, std::size_t size)
{
    auto const* const bytes = static_cast<unsigned char const*>(data);
    return Bytes(bytes, bytes + size);
}

// The bytes read, or nothing when the reader gives up; a reader that gives up
// must also leave the vector empty, whatever it held before.
std::optional<Bytes> Read(std::string const& file, std::string const& name = "_ZL7version")
{
    Bytes out{1, 2, 3};
    if (LoadResourceFromBinary(out, file, name, false))
        return out;
    EXPECT_TRUE(out.empty()) << name << " in " << file;
    return std::nullopt;
}

class QdxUtilResourceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        ASSERT_TRUE(m_folder.CreateDir());
        ASSERT_TRUE(m_image.Load(Path(QDX_ELF_ORACLE_LIBRARY)));
        m_symbols = m_image.SymbolTable();
        m_names = m_image.FindSection(SHT_STRTAB, ".strtab");
        m_version = m_image.FindDataObject("_ZL7version");
        ASSERT_NE(ElfImage::npos, m_symbols);
        ASSERT_NE(ElfImage::npos, m_names);
        ASSERT_NE(ElfImage::npos, m_version);
        m_versionSection = m_image.Symbol(m_version).st_shndx;
        m_size = m_image.Bytes().size();
    }

    // The stamp as read from `image` written to a file of the test folder.
    std::optional<Bytes> ReadImage(ElfImage const& image, std::string const& name = "_ZL7version") const
    {
        EXPECT_TRUE(image.Write(m_file));
        return Read(m_file.GetString(), name);
    }
    std::optional<Bytes> ReadDamaged(std::function<void(ElfImage&)> const& damage) const
    {
        ElfImage image = m_image;
        damage(image);
        return ReadImage(image);
    }
    // Appends `bytes` to the file (after everything else, where they disturb nothing) and returns their offset.
    static Elf64_Off Append(ElfImage& image, Bytes const& bytes)
    {
        Elf64_Off const offset = image.Bytes().size();
        image.Bytes().insert(image.Bytes().end(), bytes.begin(), bytes.end());
        return offset;
    }

    Path const m_folder{"/tmp/elf"};
    Path const m_file{"/tmp/elf/probe.so"};
    ElfImage m_image;
    std::size_t m_symbols = 0;
    std::size_t m_names = 0;
    std::size_t m_version = 0;
    std::size_t m_versionSection = 0;
    std::size_t m_size = 0;
};

struct Damage {
    char const* what;
    std::function<void(ElfImage&)> apply;
};

}  // namespace

// ---- What a sound file gives ----

TEST_F(QdxUtilResourceTest, ReadsTheStampWithItsTerminator)
{
    EXPECT_EQ(BytesOf(kStamp, sizeof kStamp), Read(QDX_ELF_ORACLE_LIBRARY));
}

TEST_F(QdxUtilResourceTest, ReadsObjectsLargerThanOneReadingChunkWhole)
{
    auto const constant = ElfOracle::Pattern<100000>(7);
    auto const data = ElfOracle::Pattern<70000>(3);
    EXPECT_EQ(BytesOf(constant.data(), constant.size()), Read(QDX_ELF_ORACLE_LIBRARY, "_ZL13largeConstant"));
    EXPECT_EQ(BytesOf(data.data(), data.size()), Read(QDX_ELF_ORACLE_LIBRARY, "_ZL9largeData"));
}

TEST_F(QdxUtilResourceTest, TheFirstDataObjectOfANameIsTheOneRead)
{
    int const first[] = {100, 200};
    int const nine = 9;
    EXPECT_EQ(BytesOf(first, sizeof first), Read(QDX_ELF_ORACLE_LIBRARY, "_ZL16shadowedConstant"));
    // The first is in .bss: its later, initialised namesake does not stand in for it.
    EXPECT_EQ(std::nullopt, Read(QDX_ELF_ORACLE_LIBRARY, "_ZL14shadowedByData"));
    // The first is thread-local, which is not a data object.
    EXPECT_EQ(BytesOf(&nine, sizeof nine), Read(QDX_ELF_ORACLE_LIBRARY, "_ZL18shadowedByConstant"));
}

TEST_F(QdxUtilResourceTest, OnlyDataObjectsWithBytesInTheFileAreFound)
{
    for (char const* name : {"_ZL11zeroCounter", "_ZL9largeZero", "_ZL13threadCounter", "_ZL10threadZero",
                             "frame_dummy", "_ZL7versio", "_ZL7version2", "_zl7VERSION"})
        EXPECT_EQ(std::nullopt, Read(QDX_ELF_ORACLE_LIBRARY, name)) << name;
}

TEST_F(QdxUtilResourceTest, OnlyTheTypeBitsOfTheSymbolInfoCount)
{
    std::size_t const version = m_version;
    auto const readWithInfo = [&](unsigned char info) {
        return ReadDamaged(
            [=](ElfImage& image) { image.EditSymbol(version, [=](Elf64_Sym& s) { s.st_info = info; }); });
    };
    // Data objects of any binding: local, global, weak, and one the format does not define.
    for (unsigned char const info : {0x01, 0x11, 0x21, 0xF1})
        EXPECT_EQ(BytesOf(kStamp, sizeof kStamp), readWithInfo(info)) << int{info};
    // No type, function, section, file, common, thread-local, an undefined
    // type: not a data object, so the next one of the name is read.
    for (unsigned char const info : {0x00, 0x02, 0x03, 0x04, 0x15, 0x16, 0x1F, 0x10})
        EXPECT_EQ(BytesOf(kShadowStamp, sizeof kShadowStamp), readWithInfo(info)) << int{info};
}

TEST_F(QdxUtilResourceTest, AnEmptyFileNameMeansTheFileOfThisCode)
{
    EXPECT_EQ(BytesOf(testMarker, sizeof testMarker), Read("", "_ZL10testMarker"));
}

TEST_F(QdxUtilResourceTest, ARelativeFileNameIsTakenFromTheFolderOfThisCode)
{
    Path const ownFolder = Path::GetSpecialFolderPath(Path::SpecialFolder_Module, false).Parent();
    Path const relative = Path(QDX_ELF_ORACLE_LIBRARY).GetRelativePath(ownFolder);
    ASSERT_TRUE(relative.IsRelativePath()) << relative.GetString();
    ASSERT_TRUE(Path::SetCurrentDir(m_folder));
    EXPECT_EQ(BytesOf(kStamp, sizeof kStamp), Read(relative.GetString()));
}

TEST_F(QdxUtilResourceTest, TheSymbolNamesTableIsFoundRegardlessOfCase)
{
    std::size_t const names = m_names;
    EXPECT_NE(std::nullopt, ReadDamaged([names](ElfImage& image) {
                  Elf64_Shdr const sectionNames = image.Section(image.Header().e_shstrndx);
                  std::memcpy(image.Bytes().data() + sectionNames.sh_offset + image.Section(names).sh_name, ".STRTAB",
                              7);
              }));
}

TEST_F(QdxUtilResourceTest, EntriesAndSectionHeadersAreSteppedByTheirStatedSize)
{
    // The tables are laid out again after the file's end with wider entries,
    // the extra room filled with bytes that read as nonsense if used.
    auto const widen = [](ElfImage& image, std::size_t offset, std::size_t count, std::size_t size, std::size_t wide) {
        Bytes table;
        for (std::size_t i = 0; i < count; ++i) {
            auto const entry = image.Bytes().begin() + static_cast<std::ptrdiff_t>(offset + i * size);
            table.insert(table.end(), entry, entry + static_cast<std::ptrdiff_t>(size));
            table.resize(table.size() + wide - size, 0xEE);
        }
        return Append(image, table);
    };
    std::size_t const symbols = m_symbols;
    for (std::size_t const wide : {48u, 70000u}) {
        EXPECT_EQ(BytesOf(kStamp, sizeof kStamp), ReadDamaged([&](ElfImage& image) {
                      Elf64_Shdr const table = image.Section(symbols);
                      std::size_t const count = table.sh_size / table.sh_entsize;
                      Elf64_Off const moved = widen(image, table.sh_offset, count, table.sh_entsize, wide);
                      image.EditSection(symbols, [&](Elf64_Shdr& s) {
                          s.sh_offset = moved;
                          s.sh_size = count * wide;
                          s.sh_entsize = wide;
                      });
                  }))
            << wide;
    }
    EXPECT_EQ(BytesOf(kStamp, sizeof kStamp), ReadDamaged([&](ElfImage& image) {
                  Elf64_Ehdr const header = image.Header();
                  Elf64_Off const moved = widen(image, header.e_shoff, header.e_shnum, header.e_shentsize, 80);
                  image.EditHeader([&](Elf64_Ehdr& h) {
                      h.e_shoff = moved;
                      h.e_shentsize = 80;
                  });
              }));
}

TEST_F(QdxUtilResourceTest, ObjectsAtTheEdgesOfTheirSectionAreRead)
{
    std::size_t const version = m_version;
    std::size_t const section = m_versionSection;
    auto const place = [&](std::size_t fromEnd, std::size_t size) {
        return ReadDamaged([=](ElfImage& image) {
            Elf64_Shdr const s = image.Section(section);
            image.EditSymbol(version, [&](Elf64_Sym& symbol) {
                symbol.st_value = s.sh_addr + s.sh_size - fromEnd;
                symbol.st_size = size;
            });
        });
    };
    EXPECT_EQ(Bytes(), place(0, 0));
    ASSERT_NE(std::nullopt, place(1, 1));
    EXPECT_EQ(1u, place(1, 1)->size());
    EXPECT_EQ(std::nullopt, place(1, 2));
    EXPECT_EQ(std::nullopt, place(0, 1));
}

TEST_F(QdxUtilResourceTest, NameTextsEndAtTheTableEvenWithoutTerminator)
{
    std::size_t const version = m_version;
    std::size_t const names = m_names;
    auto const cutNamesAfter = [&](std::size_t length) {
        return ReadDamaged([=](ElfImage& image) {
            Elf64_Word const name = image.Symbol(version).st_name;
            image.EditSection(names, [&](Elf64_Shdr& s) { s.sh_size = name + length; });
        });
    };
    EXPECT_NE(std::nullopt, cutNamesAfter(12));
    EXPECT_NE(std::nullopt, cutNamesAfter(11));
    EXPECT_EQ(std::nullopt, cutNamesAfter(10));
    EXPECT_EQ(std::nullopt, cutNamesAfter(0));
}

TEST_F(QdxUtilResourceTest, ANameOffsetOutOfRangeReadsAsTheEmptyName)
{
    std::size_t const version = m_version;
    ElfImage image = m_image;
    image.EditSymbol(version, [](Elf64_Sym& s) { s.st_name = 0xFFFFFFF0u; });
    EXPECT_EQ(BytesOf(kShadowStamp, sizeof kShadowStamp), ReadImage(image));
    EXPECT_EQ(BytesOf(kStamp, sizeof kStamp), ReadImage(image, ""));
}

// ---- What a file that is not what it should be gives ----

TEST_F(QdxUtilResourceTest, FilesThatAreNotSixtyFourBitElfOfThisMachineGiveNothing)
{
    std::vector<Damage> const damages = {
        {"32-bit class", [](ElfImage& i) { i.Bytes()[EI_CLASS] = ELFCLASS32; }},
        {"no class", [](ElfImage& i) { i.Bytes()[EI_CLASS] = ELFCLASSNONE; }},
        {"big-endian", [](ElfImage& i) { i.Bytes()[EI_DATA] = ELFDATA2MSB; }},
        {"no byte order", [](ElfImage& i) { i.Bytes()[EI_DATA] = ELFDATANONE; }},
        {"magic", [](ElfImage& i) { i.Bytes()[1] = 'e'; }},
        {"header cut", [](ElfImage& i) { i.Bytes().resize(63); }},
        {"empty", [](ElfImage& i) { i.Bytes().clear(); }},
    };
    for (Damage const& damage : damages)
        EXPECT_EQ(std::nullopt, ReadDamaged(damage.apply)) << damage.what;

    ASSERT_TRUE(Path("/tmp/elf/text").WriteFile("not a library\n", 14, 0, nullptr, nullptr));
    // A named pipe without writer would block whoever opens it: it is never opened.
    ASSERT_EQ(0, mkfifo("/tmp/elf/pipe", 0600));
    for (char const* file : {"/tmp/elf/text", "/tmp/elf/missing.so", "/tmp/elf", "/dev/null", "/tmp/elf/pipe"})
        EXPECT_EQ(std::nullopt, Read(file)) << file;
}

TEST_F(QdxUtilResourceTest, WithoutAFullSymbolTableNothingIsFound)
{
    std::size_t const symbols = m_symbols;
    // Stripping leaves the dynamic symbol table, which is not searched.
    for (Elf64_Word const type : {SHT_PROGBITS, SHT_DYNSYM, SHT_NOBITS})
        EXPECT_EQ(std::nullopt, ReadDamaged([=](ElfImage& image) {
                      image.EditSection(symbols, [=](Elf64_Shdr& s) { s.sh_type = type; });
                  }))
            << type;
}

TEST_F(QdxUtilResourceTest, DamagedHeaderAndTablesGiveNothing)
{
    std::size_t const size = m_size;
    std::size_t const names = m_names;
    std::size_t const symbols = m_symbols;
    Elf64_Half const sectionCount = m_image.Header().e_shnum;
    std::size_t const sectionNames = m_image.Header().e_shstrndx;
    auto header = [](std::function<void(Elf64_Ehdr&)> edit) {
        return [edit](ElfImage& image) { image.EditHeader(edit); };
    };
    auto section = [](std::size_t index, std::function<void(Elf64_Shdr&)> edit) {
        return [index, edit](ElfImage& image) { image.EditSection(index, edit); };
    };
    std::vector<Damage> const damages = {
        {"section headers at the end", header([=](Elf64_Ehdr& h) { h.e_shoff = size; })},
        {"section headers across the end", header([=](Elf64_Ehdr& h) { h.e_shoff = size - 100; })},
        {"section headers far away", header([](Elf64_Ehdr& h) { h.e_shoff = ~0ull - 100; })},
        {"no sections", header([](Elf64_Ehdr& h) { h.e_shnum = 0; })},
        {"too many sections", header([](Elf64_Ehdr& h) { h.e_shnum = 0xFFFF; })},
        {"section header size 0", header([](Elf64_Ehdr& h) { h.e_shentsize = 0; })},
        {"section header too small", header([](Elf64_Ehdr& h) { h.e_shentsize = sizeof(Elf64_Shdr) - 1; })},
        {"section header too large", header([](Elf64_Ehdr& h) { h.e_shentsize = 0xFFFF; })},
        {"section names index past the table", header([=](Elf64_Ehdr& h) { h.e_shstrndx = sectionCount; })},
        {"section names index escaped", header([](Elf64_Ehdr& h) { h.e_shstrndx = SHN_XINDEX; })},
        {"section names past the end", section(sectionNames, [=](Elf64_Shdr& s) { s.sh_offset = size + 1; })},
        {"section names across the end", section(sectionNames, [=](Elf64_Shdr& s) { s.sh_size = size; })},
        {"section names huge", section(sectionNames, [](Elf64_Shdr& s) { s.sh_size = ~0ull; })},
        {"section names far away", section(sectionNames, [](Elf64_Shdr& s) { s.sh_offset = ~0ull - 4; })},
        {"symbols past the end", section(symbols, [=](Elf64_Shdr& s) { s.sh_offset = size; })},
        {"symbols across the end", section(symbols, [=](Elf64_Shdr& s) { s.sh_size = size - s.sh_offset + 24; })},
        {"symbols huge", section(symbols, [](Elf64_Shdr& s) { s.sh_size = ~0ull; })},
        {"symbols far away", section(symbols, [](Elf64_Shdr& s) { s.sh_offset = ~0ull - 8; })},
        {"symbol entry size 0", section(symbols, [](Elf64_Shdr& s) { s.sh_entsize = 0; })},
        {"symbol entry too small", section(symbols, [](Elf64_Shdr& s) { s.sh_entsize = sizeof(Elf64_Sym) - 1; })},
        {"symbol entry huge", section(symbols, [](Elf64_Shdr& s) { s.sh_entsize = 1ull << 40; })},
        {"symbol entry size of the table", section(symbols, [](Elf64_Shdr& s) { s.sh_entsize = s.sh_size; })},
        {"symbol names past the end", section(names, [=](Elf64_Shdr& s) { s.sh_offset = size + 1; })},
        {"symbol names across the end", section(names, [=](Elf64_Shdr& s) { s.sh_size = size; })},
        {"symbol names huge", section(names, [](Elf64_Shdr& s) { s.sh_size = ~0ull; })},
        {"symbol names far away", section(names, [](Elf64_Shdr& s) { s.sh_offset = ~0ull - 2; })},
        {"symbol names unnamed", section(names, [](Elf64_Shdr& s) { s.sh_name = 0; })},
        {"symbol names not a string table", section(names, [](Elf64_Shdr& s) { s.sh_type = SHT_PROGBITS; })},
    };
    for (Damage const& damage : damages)
        EXPECT_EQ(std::nullopt, ReadDamaged(damage.apply)) << damage.what;
}

TEST_F(QdxUtilResourceTest, SymbolsWithoutBytesInTheFileGiveNothing)
{
    std::size_t const version = m_version;
    std::size_t const size = m_size;
    std::size_t const contents = m_versionSection;
    std::size_t const bss = m_image.FindSection(SHT_NOBITS, ".bss");
    ASSERT_NE(ElfImage::npos, bss);
    Elf64_Half const sectionCount = m_image.Header().e_shnum;
    Elf64_Shdr const home = m_image.Section(contents);
    auto symbol = [version](std::function<void(Elf64_Sym&)> edit) {
        return [version, edit](ElfImage& image) { image.EditSymbol(version, edit); };
    };
    auto section = [contents](std::function<void(Elf64_Shdr&)> edit) {
        return [contents, edit](ElfImage& image) { image.EditSection(contents, edit); };
    };
    std::vector<Damage> const damages = {
        {"undefined", symbol([](Elf64_Sym& s) { s.st_shndx = SHN_UNDEF; })},
        {"absolute", symbol([](Elf64_Sym& s) { s.st_shndx = SHN_ABS; })},
        {"common", symbol([](Elf64_Sym& s) { s.st_shndx = SHN_COMMON; })},
        {"escaped section index", symbol([](Elf64_Sym& s) { s.st_shndx = SHN_XINDEX; })},
        {"section index past the table", symbol([=](Elf64_Sym& s) { s.st_shndx = sectionCount; })},
        {"in .bss", symbol([=](Elf64_Sym& s) { s.st_shndx = static_cast<Elf64_Section>(bss); })},
        {"before its section", symbol([=](Elf64_Sym& s) { s.st_value = home.sh_addr - 1; })},
        {"after its section", symbol([=](Elf64_Sym& s) { s.st_value = home.sh_addr + home.sh_size + 1; })},
        {"address far away", symbol([](Elf64_Sym& s) { s.st_value = ~0ull - 2; })},
        {"past its section's end", symbol([=](Elf64_Sym& s) { s.st_size = home.sh_size; })},
        {"size huge", symbol([](Elf64_Sym& s) { s.st_size = ~0ull; })},
        {"size a terabyte", symbol([](Elf64_Sym& s) { s.st_size = 1ull << 40; })},
        {"section past the end", section([=](Elf64_Shdr& s) { s.sh_offset = size; })},
        {"section across the end", section([=](Elf64_Shdr& s) { s.sh_size = size - s.sh_offset + 1; })},
        {"section far away", section([](Elf64_Shdr& s) { s.sh_offset = ~0ull - 1; })},
        {"section without contents", section([](Elf64_Shdr& s) { s.sh_type = SHT_NOBITS; })},
    };
    for (Damage const& damage : damages)
        EXPECT_EQ(std::nullopt, ReadDamaged(damage.apply)) << damage.what;
}

TEST_F(QdxUtilResourceTest, EveryTruncationGivesNothing)
{
    Elf64_Ehdr const header = m_image.Header();
    std::size_t const tablesEnd = header.e_shoff + std::size_t{header.e_shnum} * header.e_shentsize;
    ASSERT_EQ(m_size, tablesEnd) << "the linker puts the section headers last";
    std::vector<std::size_t> lengths = {header.e_shoff - 1, header.e_shoff, header.e_shoff + 1, m_size - 1};
    for (std::size_t length = 0; length < 300; ++length)
        lengths.push_back(length);
    for (std::size_t length = 300; length < m_size; length += 997)
        lengths.push_back(length);
    for (std::size_t const length : lengths)
        EXPECT_EQ(std::nullopt, ReadDamaged([length](ElfImage& image) { image.Bytes().resize(length); })) << length;
    EXPECT_NE(std::nullopt, ReadImage(m_image));
}

TEST_F(QdxUtilResourceTest, TablesBeyondAnyRealLibrarysAreNotBelieved)
{
    // A sparse file makes the giant tables lie inside it while costing no space.
    constexpr unsigned long long kGiant = 80ull << 20;
    std::size_t const symbols = m_symbols;
    std::size_t const names = m_names;
    for (std::size_t const table : {symbols, names}) {
        ElfImage image = m_image;
        image.EditSection(table, [](Elf64_Shdr& s) { s.sh_size = kGiant; });
        ASSERT_TRUE(image.Write(m_file));
        ASSERT_EQ(0, truncate(m_file.c_str(), static_cast<off_t>(2 * kGiant)));
        EXPECT_EQ(std::nullopt, Read(m_file.GetString())) << table;
    }
}
