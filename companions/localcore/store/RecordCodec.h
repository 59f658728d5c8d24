// How a record's argument text is kept: compressed against a dictionary that
// the database holds, so that the many small, alike records of usage data
// shrink to a fraction of their text. A record names its dictionary, so that
// records written before a dictionary existed (kept as plain text) or against
// another process's dictionary still read back.
#ifndef QDX_LOCAL_CORE_RECORD_CODEC_H
#define QDX_LOCAL_CORE_RECORD_CODEC_H

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace Norvane {
namespace LocalCore {

class RecordCodec {
public:
    /// Longest text the codec accepts, and the most that reading a record may
    /// allocate, whatever its bytes claim.
    static constexpr size_t kMaxTextBytes = 16u << 20;

    RecordCodec();
    ~RecordCodec();
    RecordCodec(RecordCodec const&) = delete;
    RecordCodec& operator=(RecordCodec const&) = delete;

    /// Prepares a dictionary for reading records that name id; false when
    /// zstd refuses its content.
    bool AddDictionary(long long id, std::string_view content);
    bool HasDictionary(long long id) const;
    /// Compresses later records against dictionary id, which must have been added.
    bool CompressWith(long long id);
    /// The dictionary Compress uses, 0 when none.
    long long CompressionDictionary() const { return m_compressionId; }
    /// Forgets every dictionary (their ids may no longer mean the same content).
    void Forget();

    /// text compressed against the compression dictionary; body points into
    /// the codec, valid until its next call.
    bool Compress(std::string_view text, std::string_view& body, std::string& error);
    /// The text of a body compressed against dictionary id.
    bool Decompress(long long id, std::string_view body, std::string& text, std::string& error);

private:
    struct Contexts;
    struct Dictionary;
    std::unique_ptr<Contexts> m_contexts;
    std::map<long long, std::unique_ptr<Dictionary>> m_dictionaries;
    long long m_compressionId = 0;
    std::string m_compressed;  // reused, grown only: a record costs no allocation
    std::string m_frame;       // reused buffer for a body with its frame magic restored
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
