// Message format: the argument object is written as pretty JSON text; the
// answer is JSON text whose "_returnCode" member is the call's result code.
// Every message and answer is logged at level 6.
#include "companion/MessageSender.h"

#include "support/Logger.h"
#include "values/JsonTextReader.h"
#include "values/JsonValueAccess.h"
#include "values/QdxStringAccess.h"

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

// A thread keeps its answer buffer up to this size between messages.
constexpr std::size_t kKeptAnswerCapacity = 64 << 10;

}  // namespace

MessageSender::MessageSender(ProcessMessageFunction processMessage, FreeMessageFunction freeMessage)
    : m_processMessage(processMessage), m_freeMessage(freeMessage)
{
}

MessageSender::~MessageSender() = default;

void MessageSender::SetMessageFunction(ProcessMessageFunction processMessage, FreeMessageFunction freeMessage)
{
    // The free function first: whoever sees the new process function sees it too.
    m_freeMessage.store(freeMessage, std::memory_order_relaxed);
    m_processMessage.store(processMessage, std::memory_order_release);
}

bool MessageSender::IsValid() const
{
    return m_processMessage.load(std::memory_order_acquire) != nullptr;
}

bool MessageSender::CallProcessMessage(std::string const& name, std::string const& data, std::string& result) const
{
    result.clear();
    ProcessMessageFunction const processMessage = m_processMessage.load(std::memory_order_acquire);
    if (processMessage == nullptr)
        return false;
    FreeMessageFunction const freeMessage = m_freeMessage.load(std::memory_order_relaxed);
    Logger* const logger = Logger::IfEnabled(Logger::LogLevel_Dev);
    if (logger != nullptr)
        logger->Log(Logger::LogLevel_Dev, "CallProcessMessage: %s, data: %s", name.c_str(), data.c_str());
    char const* const answer = processMessage(name.c_str(), data.c_str());
    if (answer != nullptr)
        result = answer;
    if (logger != nullptr)
        logger->Log(Logger::LogLevel_Dev, "CallProcessMessage: %s, result: %s", name.c_str(), result.c_str());
    if (freeMessage != nullptr)
        freeMessage(answer);
    return true;
}

int MessageSender::SendMessage(std::string const& name, JsonValue const& arguments, JsonValue& result) const
{
    // The texts are made once: the argument text is passed as the string
    // holds it, and the answer is copied into a buffer that each thread keeps
    // (a companion calling back into the library is done before the copy),
    // then parsed where it lies.
    thread_local std::string answer;
    QdxString const text = arguments.GetJsonString();
    if (!CallProcessMessage(name, QdxStringAccess::Text(text), answer))
        return QdxResult_NoEntryPoint;
    ReadJsonTextInPlace(answer, result);
    if (answer.capacity() > kKeptAnswerCapacity)
        std::string().swap(answer);
    // One lookup: a missing member is the shared null value itself.
    JsonValue const& code = static_cast<JsonValue const&>(result)["_returnCode"];
    if (&code == &JsonValue::sNullValue)
        return QdxResult_NoReturnCode;
    return static_cast<int>(code);
}

int MessageSender::SendMessageWithArguments(std::string const& name, JsonValue& result, char const* key, ...) const
{
    va_list values;
    va_start(values, key);
    JsonValue const arguments = ArgumentsFromPairs(key, values);
    va_end(values);
    return SendMessage(name, arguments, result);
}

JsonValue MessageSender::ArgumentsFromPairs(char const* key, va_list values)
{
    JsonValue arguments = JsonValueAccess::EmptyObject();
    while (key != nullptr) {
        char const* const value = va_arg(values, char const*);
        arguments[key].SetString(value != nullptr ? value : "");
        if (value == nullptr)
            break;  // a null value ends the list after storing ""
        key = va_arg(values, char const*);
    }
    return arguments;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
