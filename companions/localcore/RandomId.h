#ifndef QDX_LOCALCORE_RANDOM_ID_H
#define QDX_LOCALCORE_RANDOM_ID_H

#include <string>

namespace Norvane {
namespace LocalCore {

/// A random (version 4) UUID in lower-case text, from the cryptographic
/// generator, so that ids never repeat across processes, forks and machines.
std::string RandomUuid();

/// Milliseconds since the epoch, UTC.
long long NowMs();

}  // namespace LocalCore
}  // namespace Norvane

#endif
