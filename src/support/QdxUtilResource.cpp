// Resources of a library file: its data objects, read by ElfSymbol. A
// relative file name is taken from the library's own folder.
#include "support/QdxUtilResource.h"

#include "support/ElfSymbol.h"
#include "support/Path.h"

namespace Norvane {
namespace QDXDesktopSDK {
namespace QdxUtil {

namespace {

Path ResolveFile(std::string const& file)
{
    Path const ownFile = Path::GetSpecialFolderPath(Path::SpecialFolder_Module, false);
    if (file.empty())
        return ownFile;
    Path path(file);
    return path.IsRelativePath() ? ownFile.Parent().Append(path) : path;
}

}  // namespace

bool LoadResourceFromBinary(std::vector<unsigned char>& out, std::string const& file, std::string const& name, bool)
{
    return ElfSymbol::ReadElfDataObject(ResolveFile(file).GetString(), name, out);
}

}  // namespace QdxUtil
}  // namespace QDXDesktopSDK
}  // namespace Norvane
