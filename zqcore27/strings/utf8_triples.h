#pragma once

// Internal: runs of UTF-8 sequences of three bytes, eight sequences at once where the processor can move single bytes.

#include <cstddef>
#include <cstdint>

inline namespace zqcore27 {

/// Decodes the sequences of three bytes before anything else at `in`, as long as 28 bytes and room for eight units are
/// left, and returns their number. Units of `out` behind them, within the room, may be written as well.
std::size_t decodeTriples(const unsigned char* in, std::size_t bytes, std::uint16_t* out, std::size_t room);

/// Encodes the units from 0x800 up before any other at `in`, as long as eight units and room for 28 bytes are left, and
/// returns their number. Bytes of `out` behind their sequences, within the room, may be written as well.
std::size_t encodeTriples(const std::uint16_t* in, std::size_t units, unsigned char* out, std::size_t room);

}  // namespace zqcore27
