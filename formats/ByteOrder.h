// Fixed-order loads and stores of 16- and 32-bit values in a byte buffer, for the
// writers and for readers that have already checked the bounds with a ByteCursor.
#pragma once
#include <cstdint>

namespace zev {

// Big-endian.
inline void StoreU16(std::uint8_t* p, std::uint16_t v) {
  p[0] = std::uint8_t(v >> 8);
  p[1] = std::uint8_t(v);
}
inline void StoreU32(std::uint8_t* p, std::uint32_t v) {
  StoreU16(p, std::uint16_t(v >> 16));
  StoreU16(p + 2, std::uint16_t(v));
}
inline std::uint16_t LoadU16(const std::uint8_t* p) { return std::uint16_t((p[0] << 8) | p[1]); }
inline std::uint32_t LoadU32(const std::uint8_t* p) {
  return (std::uint32_t(p[0]) << 24) | (std::uint32_t(p[1]) << 16) | (std::uint32_t(p[2]) << 8) | p[3];
}

// Little-endian.
inline void StoreU32LE(std::uint8_t* p, std::uint32_t v) {
  p[0] = std::uint8_t(v);
  p[1] = std::uint8_t(v >> 8);
  p[2] = std::uint8_t(v >> 16);
  p[3] = std::uint8_t(v >> 24);
}
inline std::uint32_t LoadU32LE(const std::uint8_t* p) {
  return std::uint32_t(p[0]) | (std::uint32_t(p[1]) << 8) | (std::uint32_t(p[2]) << 16) | (std::uint32_t(p[3]) << 24);
}

}  // namespace zev
