// Extended attributes of files, through libattr. Its calls map plain names
// into the user namespace and bound value sizes, which is the behaviour the
// library wants; libattr marks them deprecated in favour of the raw xattr
// calls, hence the local silencing of that warning.
#include "support/Path.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <attr/attributes.h>

#include <cstring>

namespace Norvane {
namespace QDXDesktopSDK {

bool Path::GetExtendedAttribute(char const* name, std::string& value) const
{
    value.clear();
    if (m_path.empty() || name == nullptr)
        return false;
    std::string buffer(ATTR_MAX_VALUELEN, '\0');
    int length = ATTR_MAX_VALUELEN;
    if (attr_get(m_path.c_str(), name, &buffer[0], &length, 0) != 0)
        return false;
    buffer.resize(static_cast<std::size_t>(length));
    value.swap(buffer);
    return true;
}

bool Path::SetExtendedAttribute(char const* name, std::string const& value) const
{
    if (m_path.empty() || name == nullptr || value.size() > ATTR_MAX_VALUELEN)
        return false;
    return attr_set(m_path.c_str(), name, value.data(), static_cast<int>(value.size()), 0) == 0;
}

bool Path::RemoveExtendedAttribute(char const* name) const
{
    return !m_path.empty() && name != nullptr && attr_remove(m_path.c_str(), name, 0) == 0;
}

bool Path::ListExtendedAttributes(std::vector<std::string>& names) const
{
    names.clear();
    if (m_path.empty())
        return false;
    // attr_list fills a list structure followed by its entries; int storage
    // gives it the alignment it needs. The cursor carries on when one buffer
    // does not hold every name.
    std::vector<int> storage(ATTR_MAX_VALUELEN / sizeof(int));
    char* const buffer = reinterpret_cast<char*>(storage.data());
    int const bufferSize = static_cast<int>(storage.size() * sizeof(int));
    attrlist_cursor_t cursor;
    std::memset(&cursor, 0, sizeof cursor);
    for (;;) {
        if (attr_list(m_path.c_str(), buffer, bufferSize, 0, &cursor) != 0) {
            names.clear();
            return false;
        }
        attrlist_t const* const list = reinterpret_cast<attrlist_t const*>(buffer);
        for (int i = 0; i < list->al_count; ++i)
            names.emplace_back(ATTR_ENTRY(buffer, i)->a_name);
        if (list->al_more == 0)
            return true;
    }
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#pragma GCC diagnostic pop
