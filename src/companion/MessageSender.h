#ifndef QDX_MESSAGE_SENDER_H
#define QDX_MESSAGE_SENDER_H

#include "JsonValue.h"
#include "QdxResult.h"

#include <atomic>
#include <cstdarg>
#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// The channel to a companion library: a message is a name and an argument
/// object sent as JSON text to the companion's "ProcessMessage" entry point,
/// whose JSON answer comes back with its "_returnCode" as the result code.
/// Sending takes no lock: any thread may send, and the companion must accept
/// concurrent calls.
class MessageSender {
public:
    /// The companion's "ProcessMessage": (message name, argument JSON text)
    /// to an answer JSON text that the companion owns.
    using ProcessMessageFunction = char const* (*)(char const* name, char const* data);
    /// The companion's "FreeMessage": takes back an answer text.
    using FreeMessageFunction = void (*)(char const* answer);

    MessageSender(ProcessMessageFunction processMessage, FreeMessageFunction freeMessage);
    virtual ~MessageSender();
    MessageSender(MessageSender const&) = delete;
    MessageSender& operator=(MessageSender const&) = delete;

    /// Writes `arguments` as JSON text, sends it and parses the answer into
    /// `result`. Returns the answer's "_returnCode", QdxResult_NoReturnCode
    /// when it has none (the parsed answer is in `result` all the same), or
    /// QdxResult_NoEntryPoint when the sender is not valid (`result`
    /// untouched).
    virtual int SendMessage(std::string const& name, JsonValue const& arguments, JsonValue& result) const;
    /// The raw exchange: `data` to the companion, its answer copied into
    /// `result` (a null answer as ""), the answer handed back through
    /// "FreeMessage". False, with nothing called, when the sender is not valid.
    virtual bool CallProcessMessage(std::string const& name, std::string const& data, std::string& result) const;

    /// Sends an argument object built from text pairs: `key`, then its value,
    /// then the next key, and so on up to a null key. Every value is stored as
    /// a JSON string; a null value stores "" and ends the list.
    int SendMessageWithArguments(std::string const& name, JsonValue& result, char const* key, ...) const;

    /// Replaces both entry points at once; (null, null) detaches the sender.
    void SetMessageFunction(ProcessMessageFunction processMessage, FreeMessageFunction freeMessage);
    /// True while a "ProcessMessage" entry point is attached.
    bool IsValid() const;

protected:
    /// The argument object of the variadic pairs that follow `key`.
    static JsonValue ArgumentsFromPairs(char const* key, va_list values);

private:
    // Atomic because a sender that loads its companion on the first message
    // attaches them while other threads may already test IsValid().
    std::atomic<ProcessMessageFunction> m_processMessage;
    std::atomic<FreeMessageFunction> m_freeMessage;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
