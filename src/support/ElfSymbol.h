#ifndef QDX_ELF_SYMBOL_H
#define QDX_ELF_SYMBOL_H

#include <string>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {
namespace ElfSymbol {

/// The bytes of the first data object named `name` in the full symbol table
/// of the 64-bit ELF file `file`, read with positioned reads and never
/// loaded. False (and `out` empty) for anything else.
bool ReadElfDataObject(std::string const& file, std::string const& name, std::vector<unsigned char>& out);

/// The packed version of a library file's stamp ("$Id: name,v 1.2.3.4 date
/// maker $", the local symbol "_ZL7version"); 0 when there is none.
unsigned long long ReadStampVersion(std::string const& file);

/// The packed version in a stamp's text: the digits after its first ",".
unsigned long long VersionOfStamp(std::string text);

}  // namespace ElfSymbol
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
