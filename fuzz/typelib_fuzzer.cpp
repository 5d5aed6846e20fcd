// The attributes of a binary type library, read from any bytes.
#include <cstddef>
#include <cstdint>

#include "frame/TypeLibImage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zev::TLIBATTR attr{};
  zev::ParseTypeLibImage(data, size, attr);
  return 0;
}
