#ifndef QDX_TFUNCTION_H
#define QDX_TFUNCTION_H

#include <functional>
#include <utility>

namespace Norvane {
namespace QDXDesktopSDK {
namespace STLUtils {

/// A callable for tables keyed by name, such as the facet factories of
/// Facet::Core. It holds one of three kinds, and its tag tells which: a plain
/// function that receives the owner as an untyped context pointer, a member
/// function of `Owner` called on the owner, or any function object. Every call
/// passes an `Argument` and the owner; calling an empty holder throws
/// std::bad_function_call.
template <typename Result, typename Argument, typename Owner> class TFunction {
public:
    using PlainFunction = Result (*)(Argument const&, void*);
    using MemberFunction = Result (Owner::*)(Argument const&);
    using FunctionObject = std::function<Result(Argument const&, Owner&)>;

    enum class Kind { Empty, Plain, Member, Object };

    TFunction() = default;
    TFunction(PlainFunction function) : m_kind(function != nullptr ? Kind::Plain : Kind::Empty), m_plain(function) {}
    TFunction(MemberFunction function) : m_kind(function != nullptr ? Kind::Member : Kind::Empty), m_member(function) {}
    TFunction(FunctionObject function) : m_kind(function ? Kind::Object : Kind::Empty), m_object(std::move(function)) {}

    Kind GetKind() const { return m_kind; }

    Result operator()(Argument const& argument, Owner& owner) const
    {
        switch (m_kind) {
        case Kind::Plain:
            return m_plain(argument, &owner);
        case Kind::Member:
            return (owner.*m_member)(argument);
        case Kind::Object:
            return m_object(argument, owner);
        case Kind::Empty:
            break;
        }
        throw std::bad_function_call();
    }

private:
    Kind m_kind = Kind::Empty;
    PlainFunction m_plain = nullptr;
    MemberFunction m_member = nullptr;
    FunctionObject m_object;
};

}  // namespace STLUtils
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
