// Building the compression dictionary of a database from its first records.
#ifndef QDX_LOCAL_CORE_DICTIONARY_BUILDER_H
#define QDX_LOCAL_CORE_DICTIONARY_BUILDER_H

#include <cstddef>
#include <string>
#include <vector>

namespace Norvane {
namespace LocalCore {

/// A dictionary for texts like the samples, at most capacity bytes: zstd's
/// trainer when it succeeds, otherwise the newest samples themselves as raw
/// content (the trainer refuses too few or too similar samples). "" without
/// samples.
std::string BuildDictionary(std::vector<std::string> const& samples, size_t capacity);

}  // namespace LocalCore
}  // namespace Norvane

#endif
