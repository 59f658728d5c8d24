#ifndef QDX_UTIL_RESOURCE_H
#define QDX_UTIL_RESOURCE_H

#include <string>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {
namespace QdxUtil {

/// Reads the bytes of the first data object symbol named `name` (such as the
/// version stamp "_ZL7version") in the full symbol table of the 64-bit ELF
/// file `file`, through positioned reads only: the file is never mapped or
/// loaded, so no code of it runs. An empty `file` means this library's own
/// file; a relative one is taken from this library's folder. False, with
/// `out` empty, for anything else: no such file, not a 64-bit ELF file of
/// this machine's byte order, no full symbol table (a stripped file), no such
/// symbol, or a first such symbol whose bytes are not stored in the file
/// inside its section (one in .bss, an undefined one). Safe on hostile files:
/// every offset and size is checked against the file before use, and no
/// table or object over 64 MiB is believed, which bounds both memory and
/// reading. `unused` has no effect on ELF files. Any thread.
bool LoadResourceFromBinary(std::vector<unsigned char>& out, std::string const& file, std::string const& name,
                            bool unused);

}  // namespace QdxUtil
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
