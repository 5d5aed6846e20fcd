// The attributes of a type library in its binary form ("MSFT" header, segment
// directory, GUID table), read from bytes that may come from any file.
#pragma once
#include <cstddef>

#include "zevutil/CComDLL.h"

namespace zev {

// Fills attr from the image; false when the bytes are no complete type library.
bool ParseTypeLibImage(const BYTE* data, size_t size, TLIBATTR& attr);

}  // namespace zev
