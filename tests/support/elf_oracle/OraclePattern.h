#ifndef QDX_ORACLE_PATTERN_H
#define QDX_ORACLE_PATTERN_H

#include <array>
#include <cstddef>

namespace ElfOracle {

/// Bytes that differ from one position to the next and from one seed to the
/// next, so that reading from a wrong offset, or a neighbour's bytes, shows.
/// Computed at compile time, so the objects made from it are stored in the
/// file rather than filled in when the library starts.
template <std::size_t N>
constexpr std::array<unsigned char, N> Pattern(unsigned seed)
{
    std::array<unsigned char, N> bytes{};
    for (std::size_t i = 0; i < N; ++i)
        bytes[i] = static_cast<unsigned char>((i * 131u + seed) ^ (i >> 8));
    return bytes;
}

}  // namespace ElfOracle

#endif
