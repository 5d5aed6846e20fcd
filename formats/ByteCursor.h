// ByteCursor: the one bounds-checked reader of untrusted bytes used by every format.
// Big- or little-endian on request. A read past the end yields zeros and sets the
// overrun flag, so a reader can go on safely and decide afterwards; counts are
// checked against what remains (with overflow checks) before anything is allocated.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace zev {

class ByteCursor {
 public:
  ByteCursor() = default;
  ByteCursor(const void* data, std::size_t size, bool bigEndian = false)
      : m_data(static_cast<const std::uint8_t*>(data)), m_size(data ? size : 0), m_big(bigEndian) {}

  void SetBigEndian(bool big) { m_big = big; }
  bool IsBigEndian() const { return m_big; }
  std::size_t Size() const { return m_size; }
  std::size_t Tell() const { return m_pos; }
  std::size_t Remaining() const { return m_pos < m_size ? m_size - m_pos : 0; }
  bool AtEnd() const { return m_pos >= m_size; }
  // True once any read or seek went past the end.
  bool Overrun() const { return m_overrun; }
  void ClearOverrun() { m_overrun = false; }
  const std::uint8_t* Data() const { return m_data; }

  // Moves to an absolute offset; an offset past the end sets the overrun flag and
  // leaves the cursor at the end. Returns false in that case.
  bool Seek(std::size_t offset) {
    if (offset > m_size) {
      m_pos = m_size;
      m_overrun = true;
      return false;
    }
    m_pos = offset;
    return true;
  }
  bool Skip(std::size_t n) {
    if (n > Remaining()) {
      m_pos = m_size;
      m_overrun = true;
      return false;
    }
    m_pos += n;
    return true;
  }
  // True when n bytes can be read from here.
  bool CanRead(std::size_t n) const { return n <= Remaining(); }
  // True when count elements of elemSize bytes fit in what remains (no overflow).
  bool CanReadArray(std::uint64_t count, std::size_t elemSize) const {
    if (elemSize == 0) return true;
    if (count > std::numeric_limits<std::size_t>::max() / elemSize) return false;
    return std::size_t(count) * elemSize <= Remaining();
  }
  // True when [offset, offset + n) lies inside the data (no overflow).
  bool RangeInside(std::uint64_t offset, std::uint64_t n) const {
    return offset <= m_size && n <= m_size - offset;
  }

  // Copies n bytes; what lies past the end is filled with zeros. Returns bytes copied.
  std::size_t Read(void* out, std::size_t n) {
    std::size_t have = n <= Remaining() ? n : Remaining();
    if (have) std::memcpy(out, m_data + m_pos, have);
    if (have < n) {
      std::memset(static_cast<std::uint8_t*>(out) + have, 0, n - have);
      m_overrun = true;
    }
    m_pos += have;
    return have;
  }

  std::uint8_t U8() { std::uint8_t v = 0; Read(&v, 1); return v; }
  std::int8_t I8() { return static_cast<std::int8_t>(U8()); }
  std::uint16_t U16() { return static_cast<std::uint16_t>(Load(2)); }
  std::int16_t I16() { return static_cast<std::int16_t>(U16()); }
  std::uint32_t U32() { return static_cast<std::uint32_t>(Load(4)); }
  std::int32_t I32() { return static_cast<std::int32_t>(U32()); }
  std::uint64_t U64() { return Load(8); }
  float F32() { std::uint32_t u = U32(); float f; std::memcpy(&f, &u, 4); return f; }
  double F64() { std::uint64_t u = U64(); double d; std::memcpy(&d, &u, 8); return d; }

  // The n bytes at the position without moving, or null when fewer remain.
  const std::uint8_t* Peek(std::size_t n) const { return n <= Remaining() ? m_data + m_pos : nullptr; }

  // n values of 16 bits into out; what lies past the end reads as zero.
  void ReadU16Array(std::uint16_t* out, std::size_t n) {
    const std::uint8_t* p = n <= Remaining() / 2 ? Peek(n * 2) : nullptr;
    if (p) {
      if (m_big)
        for (std::size_t i = 0; i < n; ++i) out[i] = std::uint16_t((p[2 * i] << 8) | p[2 * i + 1]);
      else
        for (std::size_t i = 0; i < n; ++i) out[i] = std::uint16_t(p[2 * i] | (p[2 * i + 1] << 8));
      m_pos += n * 2;
      return;
    }
    for (std::size_t i = 0; i < n; ++i) out[i] = U16();
  }

  // n bytes as a string (shorter at the end of the data).
  std::string Bytes(std::size_t n) {
    std::size_t have = n <= Remaining() ? n : Remaining();
    std::string s(reinterpret_cast<const char*>(m_data + m_pos), have);
    m_pos += have;
    if (have < n) m_overrun = true;
    return s;
  }

 private:
  std::uint64_t Load(int n) {
    std::uint8_t b[8] = {};
    Read(b, std::size_t(n));
    std::uint64_t v = 0;
    if (m_big)
      for (int i = 0; i < n; ++i) v = (v << 8) | b[i];
    else
      for (int i = n - 1; i >= 0; --i) v = (v << 8) | b[i];
    return v;
  }

  const std::uint8_t* m_data = nullptr;
  std::size_t m_size = 0;
  std::size_t m_pos = 0;
  bool m_big = false;
  bool m_overrun = false;
};

// Reads an open file from its position to its end into bytes. File is anything with
// GetLength, GetPosition and Read as CFile has them; a short read is no error.
template <class File>
void ReadAllBytes(File& file, std::vector<std::uint8_t>& bytes) {
  bytes.clear();
  unsigned long long length = file.GetLength();
  unsigned long long pos = file.GetPosition();
  unsigned long long want = length > pos ? length - pos : 0;
  if (want > std::numeric_limits<std::size_t>::max()) want = std::numeric_limits<std::size_t>::max();
  bytes.resize(std::size_t(want));
  std::size_t have = 0;
  while (have < bytes.size()) {
    std::size_t chunk = bytes.size() - have;
    if (chunk > (1u << 30)) chunk = 1u << 30;
    unsigned got = file.Read(bytes.data() + have, static_cast<unsigned>(chunk));
    if (got == 0) break;
    have += got;
  }
  bytes.resize(have);
}

// Writes bytes to an open file in chunks that its 32-bit Write can take.
template <class File>
void WriteAllBytes(File& file, const std::uint8_t* data, std::size_t size) {
  while (size) {
    std::size_t chunk = size > (1u << 30) ? (1u << 30) : size;
    file.Write(data, static_cast<unsigned>(chunk));
    data += chunk;
    size -= chunk;
  }
}

}  // namespace zev
