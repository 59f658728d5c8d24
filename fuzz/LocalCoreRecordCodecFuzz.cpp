// Arbitrary bytes as a stored record body and as a record's text. A body
// either is refused or decodes to a text that compresses and reads back
// unchanged; a text always reads back unchanged.
#include "DictionaryBuilder.h"
#include "RecordCodec.h"

#include <cstdint>
#include <string>
#include <vector>

using namespace Norvane::LocalCore;

namespace {

void Require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

// One codec with a trained dictionary (1) and a raw one (2), as a database
// that has seen both would have.
RecordCodec& Codec()
{
    static RecordCodec* codec = [] {
        std::vector<std::string> samples;
        for (int i = 0; i < 200; ++i)
            samples.push_back("{\"event_name\":\"tool_selected\",\"i\":" + std::to_string(i * 7919 % 1000) +
                              ",\"tool\":\"t" + std::to_string(i % 13) + "\",\"on\":" + (i % 3 ? "true" : "false") +
                              "}");
        auto* made = new RecordCodec;
        Require(made->AddDictionary(1, BuildDictionary(samples, 4096)));
        Require(made->AddDictionary(2, BuildDictionary({samples[0], samples[1]}, 4096)));
        return made;
    }();
    return *codec;
}

void RoundTrip(RecordCodec& codec, long long dictionary, std::string const& text)
{
    Require(codec.CompressWith(dictionary));
    std::string_view body;
    std::string error, back;
    Require(codec.Compress(text, body, error));
    std::string const kept(body);
    Require(codec.Decompress(dictionary, kept, back, error));
    Require(back == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size == 0)
        return 0;
    RecordCodec& codec = Codec();
    long long const dictionary = 1 + data[0] % 2;
    std::string const bytes(reinterpret_cast<char const*>(data + 1), size - 1);

    std::string text, error;
    if (codec.Decompress(dictionary, bytes, text, error))
        RoundTrip(codec, dictionary, text);
    else
        Require(!error.empty());
    RoundTrip(codec, dictionary, bytes);
    return 0;
}
