#include "support/StdWideConversion.h"

#include <iconv.h>

#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

// Converts `inputBytes` bytes (the terminating zero included) into a
// zero-filled buffer of `outputBytes`; the result ends at its first zero.
template <typename Out, typename In>
bool Convert(char const* to, char const* from, In const* input, std::size_t inputBytes, std::size_t outputBytes,
             std::basic_string<Out>& result)
{
    result.clear();
    iconv_t const converter = iconv_open(to, from);
    if (converter == reinterpret_cast<iconv_t>(-1))
        return false;
    std::vector<Out> buffer(outputBytes / sizeof(Out) + 1, Out());
    char* in = const_cast<char*>(reinterpret_cast<char const*>(input));
    char* out = reinterpret_cast<char*>(buffer.data());
    std::size_t inLeft = inputBytes;
    std::size_t outLeft = outputBytes;
    bool const converted = iconv(converter, &in, &inLeft, &out, &outLeft) != static_cast<std::size_t>(-1);
    iconv_close(converter);
    if (converted)
        result.assign(buffer.data());
    return converted;
}

}  // namespace

bool StdWideConversion::ToWide(std::string const& utf8, std::wstring& wide)
{
    // Every UTF-8 byte yields at most one wide character.
    std::size_t const bytes = utf8.size() + 1;
    return Convert("WCHAR_T", "UTF-8", utf8.c_str(), bytes, bytes * sizeof(wchar_t), wide);
}

bool StdWideConversion::ToUtf8(std::wstring const& wide, std::string& utf8)
{
    // Every wide character yields at most four UTF-8 bytes.
    std::size_t const bytes = (wide.size() + 1) * sizeof(wchar_t);
    return Convert("UTF-8", "WCHAR_T", wide.c_str(), bytes, bytes, utf8);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
