// The interchangeable update kernels behind CCalcCRC32::CalcBlock. Each runs bytes
// through the reflected CRC-32 register (polynomial 0xEDB88320, no inversion on the
// way in or out) and gives exactly what the byte-at-a-time step gives.
#pragma once
#include <cstddef>

#include "zevutil/platform/Types.h"

namespace zev::crc32_kernels {

// One table look-up per byte: the definition the others are measured against.
ULONG Bytewise(ULONG crc, const BYTE* data, std::size_t bytes);
// Sixteen bytes per step through sixteen derived tables; runs on any CPU.
ULONG Slicing16(ULONG crc, const BYTE* data, std::size_t bytes);
// True when the CPU has carry-less multiplication (PCLMULQDQ) and SSE4.1.
bool HaveClmul();
// Folds 64 bytes per step with carry-less multiplication; call only when HaveClmul().
ULONG Clmul(ULONG crc, const BYTE* data, std::size_t bytes);

}  // namespace zev::crc32_kernels
