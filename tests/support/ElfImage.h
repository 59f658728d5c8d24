#ifndef QDX_TEST_ELF_IMAGE_H
#define QDX_TEST_ELF_IMAGE_H

#include "support/Path.h"

#include <elf.h>

#include <cstring>
#include <string>
#include <vector>

namespace QdxTest {

/// A valid 64-bit ELF file held in memory, whose header, section headers and
/// symbols the tests change one field at a time to make damaged files from a
/// real one. Fields are copied in and out, never aliased, so that a damaged
/// offset can never make the test itself read out of bounds. The look-ups
/// trust the image, so a test finds everything it will change first and
/// damages it afterwards.
class ElfImage {
public:
    static constexpr std::size_t npos = ~std::size_t{0};

    /// The file's bytes; false when it cannot be read or is not 64-bit ELF.
    bool Load(Norvane::QDXDesktopSDK::Path const& file)
    {
        std::string const text = file.ReadFileAsString(-1);
        m_bytes.assign(text.begin(), text.end());
        return m_bytes.size() >= sizeof(Elf64_Ehdr) && std::memcmp(m_bytes.data(), ELFMAG, SELFMAG) == 0 &&
               m_bytes[EI_CLASS] == ELFCLASS64;
    }
    bool Write(Norvane::QDXDesktopSDK::Path const& file) const
    {
        return file.WriteFile(m_bytes.data(), static_cast<long long>(m_bytes.size()), 0, nullptr, nullptr);
    }
    std::vector<unsigned char>& Bytes() { return m_bytes; }

    Elf64_Ehdr Header() const { return Get<Elf64_Ehdr>(0); }
    template <typename Edit>
    void EditHeader(Edit edit)
    {
        Elf64_Ehdr header = Header();
        edit(header);
        Put(0, header);
    }

    std::size_t SectionCount() const { return Header().e_shnum; }
    Elf64_Shdr Section(std::size_t index) const { return Get<Elf64_Shdr>(SectionHeaderOffset(index)); }
    template <typename Edit>
    void EditSection(std::size_t index, Edit edit)
    {
        Elf64_Shdr section = Section(index);
        edit(section);
        Put(SectionHeaderOffset(index), section);
    }
    std::string SectionName(std::size_t index) const
    {
        return Text(Section(Header().e_shstrndx).sh_offset + Section(index).sh_name);
    }
    /// The first section of `type` (and `name`, when given); npos when none.
    std::size_t FindSection(Elf64_Word type, std::string const& name = std::string()) const
    {
        for (std::size_t i = 0; i < SectionCount(); ++i)
            if (Section(i).sh_type == type && (name.empty() || SectionName(i) == name))
                return i;
        return npos;
    }

    std::size_t SymbolTable() const { return FindSection(SHT_SYMTAB); }
    Elf64_Sym Symbol(std::size_t index) const { return Get<Elf64_Sym>(SymbolOffset(index)); }
    template <typename Edit>
    void EditSymbol(std::size_t index, Edit edit)
    {
        Elf64_Sym symbol = Symbol(index);
        edit(symbol);
        Put(SymbolOffset(index), symbol);
    }
    /// The index of the first data object named `name`; npos when none.
    std::size_t FindDataObject(std::string const& name) const
    {
        Elf64_Shdr const table = Section(SymbolTable());
        Elf64_Shdr const names = Section(table.sh_link);
        for (std::size_t i = 0; i < table.sh_size / table.sh_entsize; ++i) {
            Elf64_Sym const symbol = Symbol(i);
            if (ELF64_ST_TYPE(symbol.st_info) == STT_OBJECT && Text(names.sh_offset + symbol.st_name) == name)
                return i;
        }
        return npos;
    }
    /// Where the bytes of symbol `index` lie in the file.
    std::size_t SymbolContentOffset(std::size_t index) const
    {
        Elf64_Sym const symbol = Symbol(index);
        Elf64_Shdr const section = Section(symbol.st_shndx);
        return section.sh_offset + (symbol.st_value - section.sh_addr);
    }
    /// Replaces the bytes of symbol `index` by `text` and zeros after it.
    void SetSymbolContent(std::size_t index, std::string const& text)
    {
        std::size_t const size = Symbol(index).st_size;
        std::string bytes = text;
        bytes.resize(size, '\0');
        std::memcpy(m_bytes.data() + SymbolContentOffset(index), bytes.data(), size);
    }

private:
    template <typename T>
    T Get(std::size_t offset) const
    {
        T value;
        std::memcpy(&value, m_bytes.data() + offset, sizeof value);
        return value;
    }
    template <typename T>
    void Put(std::size_t offset, T const& value)
    {
        std::memcpy(m_bytes.data() + offset, &value, sizeof value);
    }
    std::size_t SectionHeaderOffset(std::size_t index) const
    {
        return Header().e_shoff + index * Header().e_shentsize;
    }
    std::size_t SymbolOffset(std::size_t index) const
    {
        Elf64_Shdr const table = Section(SymbolTable());
        return table.sh_offset + index * table.sh_entsize;
    }
    std::string Text(std::size_t offset) const
    {
        return std::string(reinterpret_cast<char const*>(m_bytes.data()) + offset);
    }

    std::vector<unsigned char> m_bytes;
};

}  // namespace QdxTest

#endif
