#include "api/ArgumentText.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>

namespace Norvane {
namespace QDXDesktopSDK {

std::string PointerText(void const* pointer)
{
    if (pointer == nullptr)
        return "0";
    char text[2 + 16 + 1];
    std::snprintf(text, sizeof text, "0x%" PRIxPTR, reinterpret_cast<std::uintptr_t>(pointer));
    return text;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
