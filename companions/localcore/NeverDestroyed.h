// An object in static storage whose destructor never runs, for what the core
// may still use while the process exits (an entry point called from an exit
// handler, a writer thread left running). Unlike an object made with new and
// never deleted, it leaves nothing behind when the library is unloaded, as a
// host that loads and unloads the core many times would see.
#ifndef QDX_LOCALCORE_NEVER_DESTROYED_H
#define QDX_LOCALCORE_NEVER_DESTROYED_H

#include <new>

namespace Norvane {
namespace LocalCore {

template <typename T> class NeverDestroyed {
public:
    NeverDestroyed() { new (m_storage) T(); }
    NeverDestroyed(NeverDestroyed const&) = delete;
    NeverDestroyed& operator=(NeverDestroyed const&) = delete;

    T& Get() { return *std::launder(reinterpret_cast<T*>(m_storage)); }

private:
    alignas(T) unsigned char m_storage[sizeof(T)];
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
