// Data objects of many sizes in every kind of section, for the tests that
// compare the version probe's reading of a symbol with the bytes the binary
// tools show for it. This file is linked first, so its symbols come first in
// the symbol table wherever a name also occurs in OracleShadows.cpp.
#include "OraclePattern.h"

#include <cstdint>

// The stamp of the family's form, read as 1.2.3.4.
__attribute__((used)) static const char version[] = "$Id: x,v 1.2.3.4 Jan  1 2025 00:00:00 y $";

// Read-only data: larger than the probe's reading chunks, middling, tiny.
__attribute__((used)) static constexpr auto largeConstant = ElfOracle::Pattern<100000>(7);
__attribute__((used)) static constexpr auto pageConstant = ElfOracle::Pattern<4096>(11);
__attribute__((used)) static const int smallConstant[] = {1, -2, 3};
__attribute__((used)) static const char tinyConstant = 'q';
struct Mixed {
    std::uint8_t flag;
    std::uint64_t wide;
    double real;
    char text[5];
};
__attribute__((used)) static const Mixed mixedConstant = {0xA5, 0x0102030405060708ull, 2.5, "abcd"};
alignas(64) __attribute__((used)) static const unsigned char alignedConstant[3] = {0xDE, 0xAD, 0x01};

// Initialised, writable data.
__attribute__((used)) static int counter = 42;
__attribute__((used)) static long longs[3] = {-1, 0x7FFFFFFFFFFFFFFF, 12345};
__attribute__((used)) static char writableText[] = "writable text";
__attribute__((used)) static auto largeData = ElfOracle::Pattern<70000>(3);
// A pointer is fixed up when the library loads; the file holds what the linker left.
__attribute__((used)) static char const* const pointerConstant = writableText;

// Zero-initialised data: no bytes in the file.
__attribute__((used)) static int zeroCounter;
__attribute__((used)) static unsigned char largeZero[200000];

// Thread-local data objects are not data objects of the symbol table.
__attribute__((used)) static thread_local int threadCounter = 7;
__attribute__((used)) static thread_local char threadZero[64];

// A section of our own.
__attribute__((used, section(".oracle_custom"))) static const unsigned char customSection[] = {9, 8, 7, 6, 5};

// Names that OracleShadows.cpp defines again: the probe takes the first data
// object of a name, even when its bytes are not in the file.
__attribute__((used)) static const int shadowedConstant[] = {100, 200};
__attribute__((used)) static int shadowedByData;
__attribute__((used)) static thread_local int shadowedByConstant = 1;
