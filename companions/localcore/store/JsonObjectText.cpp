#include "JsonObjectText.h"

#include "LocalCoreJson.h"

namespace Norvane {
namespace LocalCore {

namespace {

// Only the structure matters, so every value is accepted as it streams by;
// the first event tells whether the top level is an object.
struct ObjectCheck : QdxLocalCoreJson::BaseReaderHandler<QdxLocalCoreJson::UTF8<>, ObjectCheck> {
    bool started = false;
    bool isObject = false;

    bool Default()
    {
        started = true;
        return isObject;
    }
    bool StartObject()
    {
        if (!started)
            isObject = true;
        started = true;
        return true;
    }
};

}  // namespace

bool IsJsonObjectText(std::string const& text)
{
    // Iterative parsing: nesting depth cannot exhaust the host's stack.
    constexpr unsigned flags = QdxLocalCoreJson::kParseIterativeFlag | QdxLocalCoreJson::kParseValidateEncodingFlag;
    QdxLocalCoreJson::Reader reader;
    QdxLocalCoreJson::StringStream stream(text.c_str());
    ObjectCheck check;
    bool const parsed = !reader.Parse<flags>(stream, check).IsError();
    // The stream stops at a NUL byte; text past it is not JSON.
    return parsed && check.isObject && stream.Tell() == text.size();
}

}  // namespace LocalCore
}  // namespace Norvane
