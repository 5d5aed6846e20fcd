// Expands any bytes as an LZSS stream and checks the result against the classic decoder
// and against the bound a stream can reach; then compresses the bytes themselves and
// checks that they come back, with the stream the classic coder makes.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "bench/classic_lzss.h"
#include "zevutil/VqDataCompressor.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > (1u << 16)) return 0;  // larger inputs only repeat what smaller ones reach
  static zev::CLZSS_Compressor lz;  // reused, as callers do: nothing may leak between calls
  static classic_lzss::Coder classic;

  void* out = nullptr;
  zev::ULONG outSize = 0;
  lz.DecompressBlock(out, outSize, data, zev::ULONG(size));
  // At most eight pairs of 18 bytes for every 17 bytes of stream.
  if (outSize > size / 17 * 144 + 144) std::abort();
  const auto expected = classic.Decode(data, size);
  if (expected.size() != outSize || (outSize && std::memcmp(expected.data(), out, outSize) != 0)) std::abort();
  std::free(out);

  void* packed = nullptr;
  zev::ULONG packedSize = 0;
  lz.CompressBlock(packed, packedSize, data, zev::ULONG(size));
  const auto classicPacked = classic.Encode(data, size);
  if (classicPacked.size() != packedSize || (packedSize && std::memcmp(classicPacked.data(), packed, packedSize) != 0))
    std::abort();
  void* back = nullptr;
  zev::ULONG backSize = 0;
  lz.DecompressBlock(back, backSize, packed, packedSize);
  if (backSize != size || (size && std::memcmp(back, data, size) != 0)) std::abort();
  std::free(packed);
  std::free(back);
  return 0;
}
