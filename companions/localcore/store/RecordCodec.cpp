#include "RecordCodec.h"

#include <zstd.h>

namespace Norvane {
namespace LocalCore {

namespace {

// Every zstd frame starts with the same four bytes; the store leaves them
// out of each record and puts them back before reading.
constexpr unsigned char kFrameMagic[4] = {0x28, 0xB5, 0x2F, 0xFD};
constexpr int kCompressionLevel = 3;

std::string ZstdError(char const* what, size_t code)
{
    return std::string(what) + ": " + ZSTD_getErrorName(code);
}

}  // namespace

struct RecordCodec::Contexts {
    ZSTD_CCtx* compress = ZSTD_createCCtx();
    ZSTD_DCtx* decompress = ZSTD_createDCtx();
    ~Contexts()
    {
        ZSTD_freeCCtx(compress);
        ZSTD_freeDCtx(decompress);
    }
};

struct RecordCodec::Dictionary {
    std::string content;
    ZSTD_DDict* forReading = nullptr;
    ZSTD_CDict* forWriting = nullptr;  // made when the dictionary is first used to compress
    ~Dictionary()
    {
        ZSTD_freeDDict(forReading);
        ZSTD_freeCDict(forWriting);
    }
};

RecordCodec::RecordCodec() : m_contexts(new Contexts) {}

RecordCodec::~RecordCodec() = default;

bool RecordCodec::AddDictionary(long long id, std::string_view content)
{
    if (HasDictionary(id))
        return true;
    auto dictionary = std::make_unique<Dictionary>();
    dictionary->content.assign(content);
    dictionary->forReading = ZSTD_createDDict(dictionary->content.data(), dictionary->content.size());
    if (dictionary->forReading == nullptr)
        return false;
    m_dictionaries.emplace(id, std::move(dictionary));
    return true;
}

bool RecordCodec::HasDictionary(long long id) const
{
    return m_dictionaries.count(id) != 0;
}

bool RecordCodec::CompressWith(long long id)
{
    auto const found = m_dictionaries.find(id);
    ZSTD_CCtx* const context = m_contexts->compress;
    if (found == m_dictionaries.end() || context == nullptr)
        return false;
    Dictionary& dictionary = *found->second;
    if (dictionary.forWriting == nullptr)
        dictionary.forWriting =
            ZSTD_createCDict(dictionary.content.data(), dictionary.content.size(), kCompressionLevel);
    // The record names its dictionary, so the frame need not; the content
    // size stays, to size the buffer on reading. The settings stick to the
    // context for every later frame.
    ZSTD_CCtx_reset(context, ZSTD_reset_session_and_parameters);
    if (dictionary.forWriting == nullptr || ZSTD_isError(ZSTD_CCtx_setParameter(context, ZSTD_c_dictIDFlag, 0)) ||
        ZSTD_isError(ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, 0)) ||
        ZSTD_isError(ZSTD_CCtx_setParameter(context, ZSTD_c_contentSizeFlag, 1)) ||
        ZSTD_isError(ZSTD_CCtx_refCDict(context, dictionary.forWriting))) {
        m_compressionId = 0;
        return false;
    }
    m_compressionId = id;
    return true;
}

void RecordCodec::Forget()
{
    // The context refers to a dictionary about to go.
    ZSTD_CCtx_reset(m_contexts->compress, ZSTD_reset_session_and_parameters);
    m_dictionaries.clear();
    m_compressionId = 0;
}

bool RecordCodec::Compress(std::string_view text, std::string_view& body, std::string& error)
{
    if (m_compressionId == 0) {
        error = "no compression dictionary";
        return false;
    }
    size_t const bound = ZSTD_compressBound(text.size());
    if (m_compressed.size() < bound)
        m_compressed.resize(bound);
    size_t const size =
        ZSTD_compress2(m_contexts->compress, m_compressed.data(), m_compressed.size(), text.data(), text.size());
    if (ZSTD_isError(size) || size < sizeof kFrameMagic) {
        error = ZstdError("cannot compress", size);
        return false;
    }
    body = std::string_view(m_compressed).substr(sizeof kFrameMagic, size - sizeof kFrameMagic);
    return true;
}

bool RecordCodec::Decompress(long long id, std::string_view body, std::string& text, std::string& error)
{
    auto const found = m_dictionaries.find(id);
    if (found == m_dictionaries.end() || m_contexts->decompress == nullptr) {
        error = "unknown dictionary " + std::to_string(id);
        return false;
    }
    m_frame.assign(reinterpret_cast<char const*>(kFrameMagic), sizeof kFrameMagic);
    m_frame.append(body);
    unsigned long long const size = ZSTD_getFrameContentSize(m_frame.data(), m_frame.size());
    if (size == ZSTD_CONTENTSIZE_ERROR || size == ZSTD_CONTENTSIZE_UNKNOWN || size > kMaxTextBytes) {
        error = "record body is not a compressed text";
        return false;
    }
    text.resize(static_cast<size_t>(size));
    size_t const code = ZSTD_decompress_usingDDict(m_contexts->decompress, text.data(), text.size(), m_frame.data(),
                                                   m_frame.size(), found->second->forReading);
    if (ZSTD_isError(code) || code != size) {
        error = ZSTD_isError(code) ? ZstdError("cannot decompress", code) : "record body is shorter than it says";
        return false;
    }
    return true;
}

}  // namespace LocalCore
}  // namespace Norvane
