#ifndef QDX_SINGLETON_H
#define QDX_SINGLETON_H

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

class SingletonManager;

/// Base of the library's process-wide services. Each is registered by name in
/// the SingletonManager, which creates it on first request through the
/// class's creation function, gives every later caller the same instance and
/// destroys all of them by descending order when the library is unloaded.
class Singleton {
public:
    /// What a request wants.
    enum SingletonFlag : int {
        GetOrCreate = 0,  ///< the instance, created (with the registry) when missing
        GetExisting = 1,  ///< the instance if it exists; never creates
        Destroy = 2,      ///< destroys the instance
    };

    /// A class's creation function. With GetOrCreate and an empty `slot` it
    /// constructs the object with `new`, stores it in `slot` and returns it;
    /// otherwise it returns what `slot` holds and constructs nothing. Given
    /// Destroy, returning null means it destroyed the instance itself.
    using InstanceFunction = Singleton* (*)(Singleton*& slot, SingletonFlag flag);

    Singleton() = default;
    virtual ~Singleton() = default;
    Singleton(Singleton const&) = delete;
    Singleton& operator=(Singleton const&) = delete;

    /// Called by the registry just before it deletes the instance, while
    /// every singleton of a lower order still exists. Must not throw.
    virtual void BeforeDestroy() {}

    /// The name the registry created it under.
    std::string const& GetSingletonName() const { return m_name; }
    /// Its destruction order: higher orders are destroyed first.
    int GetSingletonOrder() const { return m_order; }

    /// The request every user of a singleton makes: `creator`, `flag`, the
    /// class's `name` and destruction `order`. Returns the instance, or null
    /// when there is none (always null for Destroy). Only GetOrCreate
    /// brings the registry into being. Any thread may call it.
    static Singleton* GetInstanceImpl(InstanceFunction creator, SingletonFlag flag, char const* name, int order);

    /// GetInstanceImpl for a class `T` that names its creation function
    /// (InstanceFunctionImpl), kSingletonName and kSingletonOrder.
    template <typename T> static T* InstanceOf(SingletonFlag flag)
    {
        return static_cast<T*>(GetInstanceImpl(&T::InstanceFunctionImpl, flag, T::kSingletonName, T::kSingletonOrder));
    }

private:
    friend class SingletonManager;

    // Set by the registry once, before it hands the instance to anyone.
    std::string m_name;
    int m_order = 0;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
