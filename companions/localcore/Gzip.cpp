#include "Gzip.h"

#include <zlib.h>

namespace Norvane {
namespace LocalCore {

namespace {

constexpr int kGzipWindowBits = 15 + 16;  // the largest window, with the gzip wrapper
constexpr int kMemoryLevel = 8;

}  // namespace

bool Gzip(std::string const& data, std::string& compressed)
{
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindowBits, kMemoryLevel, Z_DEFAULT_STRATEGY) !=
        Z_OK)
        return false;
    compressed.resize(deflateBound(&stream, static_cast<uLong>(data.size())));
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(compressed.data());
    stream.avail_out = static_cast<uInt>(compressed.size());
    // The bound holds the whole output, so one call finishes.
    int const result = deflate(&stream, Z_FINISH);
    compressed.resize(stream.total_out);
    deflateEnd(&stream);
    return result == Z_STREAM_END;
}

}  // namespace LocalCore
}  // namespace Norvane
