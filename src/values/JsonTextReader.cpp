#include "values/JsonTextReader.h"

#include "values/JsonNumberText.h"
#include "values/JsonValueAccess.h"
#include "values/RapidJson.h"

#include <cstring>
#include <memory>
#include <tuple>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

void ResetJsonValue(JsonValueImpl& value)
{
    value.m_type = JsonValueImpl::TypeContainer;
    value.m_number = 0.0;
    value.m_text.clear();
    value.m_elements.clear();
    value.m_members.clear();
}

namespace {

// Strings and keys end at their first zero byte.
std::size_t TextLength(char const* text, QdxRapidJson::SizeType length)
{
    return strnlen(text, length);
}

// Receives the parser's events and builds the tree in place. Every value
// lands in a slot: the root, a new array element or the member named by the
// last key (a repeated key reuses its member, so the later value wins).
class TreeBuilder {
public:
    explicit TreeBuilder(JsonValueImpl& root) : m_root(root) {}

    bool Null()
    {
        if (m_open.empty())
            m_root.m_type = JsonValueImpl::TypeNull;
        else
            NextSlot().Clear();
        return true;
    }

    bool Bool(bool flag)
    {
        JsonValueImpl& value = NextValue();
        value.m_type = JsonValueImpl::TypeBoolean;
        value.m_number = flag ? 1.0 : 0.0;
        return true;
    }

    // Numbers arrive as their text (see kJsonParseFlags).
    bool RawNumber(char const* text, QdxRapidJson::SizeType length, bool)
    {
        double number;
        if (!JsonNumberFromText(text, length, number))
            return false;
        JsonValueImpl& value = NextValue();
        value.m_type = JsonValueImpl::TypeNumber;
        value.m_number = number;
        return true;
    }
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(int64_t) { return false; }
    bool Uint64(uint64_t) { return false; }
    bool Double(double) { return false; }

    bool String(char const* text, QdxRapidJson::SizeType length, bool)
    {
        JsonValueImpl& value = NextValue();
        value.m_type = JsonValueImpl::TypeString;
        value.m_text.assign(text, TextLength(text, length));
        return true;
    }

    bool StartObject() { return Open(true); }
    bool StartArray() { return Open(false); }

    bool Key(char const* text, QdxRapidJson::SizeType length, bool)
    {
        auto& members = m_open.back().value->m_members;
        std::size_t const keyLength = TextLength(text, length);
        // Keys usually arrive in order (the library writes them so): append at the end then.
        if (members.empty() || members.rbegin()->first.compare(0, std::string::npos, text, keyLength) < 0)
            m_open.back().member = &members
                                        .emplace_hint(members.end(), std::piecewise_construct,
                                                      std::forward_as_tuple(text, keyLength), std::forward_as_tuple())
                                        ->second;
        else
            m_open.back().member = &members[std::string(text, keyLength)];
        return true;
    }

    bool EndObject(QdxRapidJson::SizeType)
    {
        m_open.pop_back();
        return true;
    }

    bool EndArray(QdxRapidJson::SizeType)
    {
        m_open.pop_back();
        return true;
    }

private:
    struct OpenContainer {
        JsonValueImpl* value;
        bool isObject;
        JsonValue* member;  // the slot named by the last key of an object
    };

    bool Open(bool isObject)
    {
        if (m_open.size() >= static_cast<std::size_t>(kMaxJsonNesting))
            return false;
        JsonValueImpl& container = NextValue();
        container.m_type = JsonValueImpl::TypeContainer;
        m_open.push_back({&container, isObject, nullptr});
        return true;
    }

    JsonValue& NextSlot()
    {
        OpenContainer& container = m_open.back();
        return container.isObject ? *container.member : container.value->m_elements.emplace_back();
    }

    // The slot's implementation, created or emptied for the value to come.
    JsonValueImpl& NextValue()
    {
        if (m_open.empty()) {
            ResetJsonValue(m_root);
            return m_root;
        }
        JsonValueImpl*& slot = JsonValueAccess::Slot(NextSlot());
        if (slot == nullptr)
            slot = new JsonValueImpl();
        else
            ResetJsonValue(*slot);  // a repeated key
        return *slot;
    }

    JsonValueImpl& m_root;
    std::vector<OpenContainer> m_open;
};

}  // namespace

bool ReadJsonText(char const* text, std::size_t length, JsonValueImpl& root)
{
    // The parser decodes strings in place in a copy of the text, which costs
    // less than gathering them elsewhere; typical messages fit on the stack.
    char inlineCopy[4096];
    std::unique_ptr<char[]> heapCopy;
    char* copy = inlineCopy;
    if (length >= sizeof inlineCopy) {
        heapCopy.reset(new char[length + 1]);
        copy = heapCopy.get();
    }
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return ReadJsonTextInPlace(copy, root);
}

bool ReadJsonTextInPlace(char* text, JsonValueImpl& root)
{
    ResetJsonValue(root);
    TreeBuilder builder(root);
    QdxRapidJson::InsituStringStream stream(text);
    QdxRapidJson::Reader reader;
    if (reader.Parse<kJsonParseFlags>(stream, builder).IsError()) {
        ResetJsonValue(root);
        root.m_type = JsonValueImpl::TypeNull;
        return false;
    }
    return true;
}

bool ReadJsonTextInPlace(std::string& text, JsonValue& value)
{
    value.Clear();
    if (text.empty())
        return false;
    JsonValueImpl*& impl = JsonValueAccess::Slot(value);
    impl = new JsonValueImpl();
    return ReadJsonTextInPlace(&text[0], *impl);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
