#include "DictionaryBuilder.h"

#include <zdict.h>

#include <algorithm>

namespace Norvane {
namespace LocalCore {

std::string BuildDictionary(std::vector<std::string> const& samples, size_t capacity)
{
    std::string joined;
    std::vector<size_t> sizes;
    for (std::string const& sample : samples) {
        joined += sample;
        sizes.push_back(sample.size());
    }
    if (joined.empty() || capacity == 0)
        return std::string();

    // Asked for a dictionary larger than about a quarter of its samples, the
    // trainer returns a short one that compresses worse than a raw one.
    std::string dictionary(std::min(capacity, std::max<size_t>(joined.size() / 4, 256)), '\0');
    size_t const trained = ZDICT_trainFromBuffer(dictionary.data(), dictionary.size(), joined.data(), sizes.data(),
                                                 static_cast<unsigned>(sizes.size()));
    if (!ZDICT_isError(trained)) {
        dictionary.resize(trained);
        return dictionary;
    }
    // Raw content: matches at short distances cost least, so the newest
    // samples go last, nearest to the text being compressed.
    size_t const kept = std::min(capacity, joined.size());
    return joined.substr(joined.size() - kept);
}

}  // namespace LocalCore
}  // namespace Norvane
