#ifndef QDX_LOCALCORE_GZIP_H
#define QDX_LOCALCORE_GZIP_H

#include <string>

namespace Norvane {
namespace LocalCore {

/// `data` as one gzip member (what "Content-Encoding: gzip" means); false
/// when the compressor fails (out of memory).
bool Gzip(std::string const& data, std::string& compressed);

}  // namespace LocalCore
}  // namespace Norvane

#endif
