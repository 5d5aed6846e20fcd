// How much a reader may allocate for what a file claims but does not hold.
#pragma once
#include <cstddef>
#include <cstdint>

namespace zev {

// A short read fills what the file lacks with zeros, so a count in a file may ask for
// far more memory than the file's own size. A claim whose buffers would exceed this
// limit, and exceed the file's own size as well, is treated as a failed allocation.
// A file that holds everything it claims is never refused.
inline constexpr std::uint64_t kMaxClaimedAllocation = std::uint64_t(256) << 20;

// True when bytes, claimed by a file of fileSize bytes, may be allocated.
inline bool ClaimAllowed(std::uint64_t bytes, std::size_t fileSize) {
  return bytes <= kMaxClaimedAllocation || bytes <= std::uint64_t(fileSize);
}

}  // namespace zev
