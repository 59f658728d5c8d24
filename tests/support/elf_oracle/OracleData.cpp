// Data objects in every kind of section; linked before OracleShadows.cpp, so its symbols come first.
#include <array>
#include <utility>
template <std::size_t N>
constexpr std::array<unsigned char, N> Pattern(unsigned seed)  // computed at compile time, so stored in the file
{
    std::array<unsigned char, N> bytes{};
    for (std::size_t i = 0; i < N; ++i)
        bytes[i] = static_cast<unsigned char>((i * 131u + seed) ^ (i >> 8));
    return bytes;
}
#define KEEP __attribute__((used)) static
KEEP const char version[] = "$Id: x,v 1.2.3.4 Jan  1 2025 00:00:00 y $";
KEEP constexpr auto largeConstant = Pattern<100000>(7);
KEEP const int smallConstant[] = {1, -2, 3};
KEEP const char tinyConstant = 'q';
KEEP const std::pair<char, double> mixedConstant = {'m', 2.5};  // with padding
alignas(64) KEEP const unsigned char alignedConstant[3] = {0xDE, 0xAD, 0x01};
KEEP char writableText[] = "writable text";
KEEP auto largeData = Pattern<70000>(3);
KEEP char const* const pointerConstant = writableText;
KEEP unsigned char largeZero[200000];
KEEP thread_local int threadCounter = 7;
__attribute__((used, section(".oracle_custom"))) static const unsigned char customSection[] = {9, 8, 7, 6, 5};
KEEP const int shadowedConstant[] = {100, 200};
KEEP int shadowedByData;
KEEP thread_local int shadowedByConstant = 1;
