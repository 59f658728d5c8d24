// The version stamp of a library is read straight from its file: the ELF
// header, the section headers, the two string tables and the symbol table,
// each with positioned reads. The file may be anything a user or an attacker
// left in a library folder, so every offset and size it states is checked
// against the file's real size before anything is allocated or read, and
// sums are formed only once their parts are known to lie inside the file,
// where they cannot overflow.
// It depends on nothing but the system, so that every program of the family
// that reads stamps (the local core, the qdxsdk command) compiles this one
// reader and none can disagree with the library.
#include "support/ElfSymbol.h"

#include "support/QdxUtilVersion.h"

#include <elf.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace Norvane {
namespace QDXDesktopSDK {
namespace ElfSymbol {

namespace {

// No table or object of a library of the family comes near this; a larger
// one is not believed, which bounds what a sparse giant file can cost.
constexpr unsigned long long kMaxReadSize = 64ull << 20;
// Symbol entries are read this many bytes at a time.
constexpr unsigned long long kSymbolChunk = 64ull << 10;
// The fields are read as they lie, so only files of the machine's own byte
// order can be understood; the others are refused rather than misread.
constexpr unsigned char kOwnByteOrder = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ELFDATA2LSB : ELFDATA2MSB;

// One descriptor for all the reads of a probe, opened without waiting: a
// named pipe left in a library folder must not block the probe.
class ElfFile {
public:
    explicit ElfFile(std::string const& path) : m_descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
    {
        struct stat status {};
        if (m_descriptor >= 0 && fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode))
            m_size = static_cast<unsigned long long>(status.st_size);
    }
    ~ElfFile()
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }
    ElfFile(ElfFile const&) = delete;
    ElfFile& operator=(ElfFile const&) = delete;

    bool Contains(unsigned long long offset, unsigned long long size) const
    {
        return offset <= m_size && size <= m_size - offset;
    }

    // Exactly `size` bytes at `offset`, which must lie inside the file.
    bool Read(unsigned long long offset, unsigned long long size, void* buffer) const
    {
        if (!Contains(offset, size))
            return false;
        char* const bytes = static_cast<char*>(buffer);
        unsigned long long total = 0;
        while (total < size) {
            ssize_t const got = pread(m_descriptor, bytes + total, size - total, static_cast<off_t>(offset + total));
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                return false;
            total += static_cast<unsigned long long>(got);
        }
        return true;
    }

    // A whole section that lies inside the file and is small enough to believe.
    bool ReadSection(Elf64_Shdr const& section, std::vector<char>& contents) const
    {
        if (section.sh_size > kMaxReadSize || !Contains(section.sh_offset, section.sh_size))
            return false;
        contents.resize(section.sh_size);
        return Read(section.sh_offset, section.sh_size, contents.data());
    }

private:
    int const m_descriptor;
    unsigned long long m_size = 0;
};

// The zero-terminated text at `offset` of a string table, without copying it;
// an offset out of range reads as the empty text, and a text that runs to the
// table's end without a terminator ends there.
std::pair<char const*, std::size_t> TableText(std::vector<char> const& table, unsigned long long offset)
{
    if (offset >= table.size())
        return {"", 0};
    char const* const text = table.data() + offset;
    return {text, strnlen(text, table.size() - offset)};
}

bool TableTextEquals(std::vector<char> const& table, unsigned long long offset, std::string const& name)
{
    auto const text = TableText(table, offset);
    return text.second == name.size() && std::memcmp(text.first, name.data(), text.second) == 0;
}

bool ReadSectionHeaders(ElfFile const& elf, std::vector<Elf64_Shdr>& sections, std::size_t& namesIndex)
{
    Elf64_Ehdr header;
    if (!elf.Read(0, sizeof header, &header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_ident[EI_DATA] != kOwnByteOrder)
        return false;
    if (header.e_shentsize < sizeof(Elf64_Shdr) || header.e_shnum == 0 || header.e_shstrndx >= header.e_shnum)
        return false;
    unsigned long long const tableSize = static_cast<unsigned long long>(header.e_shnum) * header.e_shentsize;
    if (tableSize > kMaxReadSize || !elf.Contains(header.e_shoff, tableSize))
        return false;
    std::vector<char> table(tableSize);
    if (!elf.Read(header.e_shoff, tableSize, table.data()))
        return false;
    sections.resize(header.e_shnum);
    for (std::size_t i = 0; i < sections.size(); ++i)
        std::memcpy(&sections[i], table.data() + i * header.e_shentsize, sizeof(Elf64_Shdr));
    namesIndex = header.e_shstrndx;
    return true;
}

// The first data object named `name`, in table order.
bool FindDataObject(ElfFile const& elf, Elf64_Shdr const& table, std::vector<char> const& names,
                    std::string const& name, Elf64_Sym& found)
{
    unsigned long long const entrySize = table.sh_entsize;
    if (entrySize < sizeof(Elf64_Sym) || table.sh_size > kMaxReadSize || !elf.Contains(table.sh_offset, table.sh_size))
        return false;
    unsigned long long const count = table.sh_size / entrySize;
    unsigned long long const perChunk = std::max(1ull, kSymbolChunk / entrySize);
    std::vector<char> chunk;
    for (unsigned long long first = 0; first < count; first += perChunk) {
        unsigned long long const inChunk = std::min(perChunk, count - first);
        // Only the leading part of the last entry is needed, so that an absurd
        // entry size costs no buffer of its size.
        chunk.resize((inChunk - 1) * entrySize + sizeof(Elf64_Sym));
        if (!elf.Read(table.sh_offset + first * entrySize, chunk.size(), chunk.data()))
            return false;
        for (unsigned long long i = 0; i < inChunk; ++i) {
            Elf64_Sym symbol;
            std::memcpy(&symbol, chunk.data() + i * entrySize, sizeof symbol);
            if (ELF64_ST_TYPE(symbol.st_info) == STT_OBJECT && TableTextEquals(names, symbol.st_name, name)) {
                found = symbol;
                return true;
            }
        }
    }
    return false;
}

// The bytes of `symbol`, which must lie inside a section stored in the file.
bool ReadSymbolBytes(ElfFile const& elf, std::vector<Elf64_Shdr> const& sections, Elf64_Sym const& symbol,
                     std::vector<unsigned char>& out)
{
    // Undefined, absolute and common symbols have no bytes in any section.
    if (symbol.st_shndx == SHN_UNDEF || symbol.st_shndx >= SHN_LORESERVE || symbol.st_shndx >= sections.size())
        return false;
    Elf64_Shdr const& section = sections[symbol.st_shndx];
    // The bytes of a section without file contents (.bss) exist only once loaded.
    if (section.sh_type == SHT_NOBITS || !elf.Contains(section.sh_offset, section.sh_size) ||
        symbol.st_value < section.sh_addr)
        return false;
    unsigned long long const within = symbol.st_value - section.sh_addr;
    if (within > section.sh_size || symbol.st_size > section.sh_size - within || symbol.st_size > kMaxReadSize)
        return false;
    out.resize(symbol.st_size);
    if (elf.Read(section.sh_offset + within, symbol.st_size, out.data()))
        return true;
    out.clear();
    return false;
}

}  // namespace

bool ReadElfDataObject(std::string const& file, std::string const& name, std::vector<unsigned char>& out)
{
    out.clear();
    ElfFile const elf(file);
    std::vector<Elf64_Shdr> sections;
    std::size_t namesIndex;
    std::vector<char> sectionNames;
    if (!ReadSectionHeaders(elf, sections, namesIndex) || !elf.ReadSection(sections[namesIndex], sectionNames))
        return false;

    Elf64_Shdr const* symbolTable = nullptr;
    Elf64_Shdr const* symbolNames = nullptr;
    for (Elf64_Shdr const& section : sections) {
        if (symbolNames == nullptr && section.sh_type == SHT_STRTAB) {
            auto const sectionName = TableText(sectionNames, section.sh_name);
            if (sectionName.second == 7 && strncasecmp(sectionName.first, ".strtab", 7) == 0)
                symbolNames = &section;
        }
        if (symbolTable == nullptr && section.sh_type == SHT_SYMTAB)
            symbolTable = &section;
    }
    // Without a names table every symbol's name reads as the empty text.
    std::vector<char> names;
    Elf64_Sym symbol;
    return symbolTable != nullptr && (symbolNames == nullptr || elf.ReadSection(*symbolNames, names)) &&
           FindDataObject(elf, *symbolTable, names, name, symbol) && ReadSymbolBytes(elf, sections, symbol, out);
}

unsigned long long ReadStampVersion(std::string const& file)
{
    std::vector<unsigned char> bytes;
    ReadElfDataObject(file, "_ZL7version", bytes);
    return VersionOfStamp(std::string(bytes.begin(), bytes.end()));
}

unsigned long long VersionOfStamp(std::string text)
{
    std::size_t const comma = text.find(',');
    if (comma != std::string::npos)
        text.erase(0, comma);
    return QdxUtil::GetVersionFromString(text);
}

}  // namespace ElfSymbol
}  // namespace QDXDesktopSDK
}  // namespace Norvane
