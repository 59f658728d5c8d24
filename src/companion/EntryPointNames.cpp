#include "companion/EntryPointNames.h"

#include "support/Path.h"

namespace Norvane {
namespace QDXDesktopSDK {

std::string EntryPointNames::SuffixFor(char const* loadableModuleName, char const* entryPointSuffix)
{
    if (entryPointSuffix != nullptr)
        return entryPointSuffix;
    if (loadableModuleName == nullptr)
        return std::string();
    std::string stem = Path(loadableModuleName).FileNameWithoutExt().GetString();
    if (stem.compare(0, 3, "lib") == 0)
        stem.erase(0, 3);
    return "_" + stem;
}

EntryPointNames::EntryPointNames(std::string const& suffix)
    : initialize("Initialize" + suffix),
      initializeEx("InitializeEx" + suffix),
      finalize("Finalize" + suffix),
      processMessage("ProcessMessage" + suffix),
      freeMessage("FreeMessage" + suffix)
{
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
