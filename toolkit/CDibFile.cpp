// CDib files: 8-bit BMP read and written by hand, palette PNG through the host codec,
// and bitmaps built into the program.
#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>

#include "formats/ByteCursor.h"
#include "platform/host/PngCodec.h"
#include "zevutil/CDib.h"
#include "zevutil/platform/CException.h"
#include "zevutil/platform/CFile.h"

namespace zev {

namespace {

constexpr DWORD kFileHeaderSize = 14;
constexpr DWORD kInfoHeaderSize = 40;
constexpr DWORD kCoreHeaderSize = 12;
// RLE8 packs at most 255 pixels in 2 bytes, and end-of-line and delta codes skip
// more; an image that would outgrow its data by more than this is refused.
constexpr std::uint64_t kMaxRleExpansion = 256;
constexpr std::uint64_t kMinRleBudget = 1u << 16;

// Little-endian writer that appends to a vector: every write lands inside it.
class ByteSink {
 public:
  explicit ByteSink(std::vector<BYTE>& out) : m_out(out) {}
  void U8(BYTE v) { m_out.push_back(v); }
  void U16(WORD v) {
    U8(BYTE(v));
    U8(BYTE(v >> 8));
  }
  void U32(DWORD v) {
    U16(WORD(v));
    U16(WORD(v >> 16));
  }
  void Bytes(const BYTE* p, std::size_t n) { m_out.insert(m_out.end(), p, p + n); }

 private:
  std::vector<BYTE>& m_out;
};

// Decodes RLE8 codes into bottom-up rows; runs past the right edge are cut, and a
// stream that ends early leaves the rest 0.
void DecodeRle8(ByteCursor& in, BYTE* bits, int width, int height, DWORD stride) {
  int x = 0, y = 0;
  while (!in.AtEnd() && y < height) {
    BYTE n = in.U8();
    BYTE v = in.U8();
    // x stops at the width: what lies beyond is cut, and x cannot grow without end.
    if (n) {
      for (int i = 0; i < n && x < width; ++i, ++x) bits[std::size_t(y) * stride + std::size_t(x)] = v;
      continue;
    }
    if (v == 0) {  // end of line
      x = 0;
      ++y;
    } else if (v == 1) {  // end of bitmap
      break;
    } else if (v == 2) {  // delta
      x = std::min(x + in.U8(), width);
      y += in.U8();
    } else {  // absolute run of v bytes, padded to a word
      for (int i = 0; i < v; ++i) {
        BYTE p = in.U8();
        if (x < width) bits[std::size_t(y) * stride + std::size_t(x++)] = p;
      }
      if (v & 1) in.U8();
    }
    if (in.Overrun()) break;
  }
}

std::mutex& ResourceLock() {
  static std::mutex m;
  return m;
}
std::map<UINT, std::vector<BYTE>>& Resources() {
  static std::map<UINT, std::vector<BYTE>> r;
  return r;
}

bool ReadWholeFile(const char* path, std::vector<BYTE>& bytes) {
  if (!path) return false;
  try {
    CFile file;
    if (!file.Open(path, CFile::modeRead | CFile::typeBinary)) return false;
    ReadAllBytes(file, bytes);
    file.Close();
    return true;
  } catch (CException* e) {
    e->Delete();
    return false;
  }
}

bool WriteWholeFile(const char* path, const std::vector<BYTE>& bytes) {
  if (!path) return false;
  try {
    CFile file;
    if (!file.Open(path, CFile::modeCreate | CFile::modeWrite | CFile::typeBinary)) return false;
    WriteAllBytes(file, bytes.data(), bytes.size());
    file.Close();
    return true;
  } catch (CException* e) {
    e->Delete();
    return false;
  }
}

}  // namespace

BOOL CDib::ReadBmp(const BYTE* data, std::size_t size) {
  Destroy();
  ByteCursor in(data, size);
  if (in.U16() != 0x4D42) return FALSE;  // "BM"
  in.Skip(8);
  const DWORD offBits = in.U32();
  const DWORD headerSize = in.U32();
  long long width = 0, height = 0;
  int planes = 0, bitCount = 0;
  DWORD compression = BI_RGB, clrUsed = 0;
  LONG xppm = 0, yppm = 0;
  bool core = false;
  if (headerSize == kCoreHeaderSize) {
    core = true;
    width = in.U16();
    height = in.U16();
    planes = in.U16();
    bitCount = in.U16();
  } else if (headerSize >= kInfoHeaderSize && headerSize <= 1024) {
    width = in.I32();
    height = in.I32();
    planes = in.U16();
    bitCount = in.U16();
    compression = in.U32();
    in.U32();  // image size: recomputed
    xppm = in.I32();
    yppm = in.I32();
    clrUsed = in.U32();
    in.U32();  // important colours
  } else {
    return FALSE;
  }
  if (in.Overrun() || planes != 1 || bitCount != 8) return FALSE;
  if (compression != BI_RGB && compression != BI_RLE8) return FALSE;
  const bool topDown = height < 0;
  if (topDown) height = -height;
  // RLE rows are always bottom up.
  if (width < 1 || height < 1 || (topDown && compression == BI_RLE8)) return FALSE;

  // The colour table follows the header: 3-byte entries for the 12-byte header.
  const std::size_t tableAt = kFileHeaderSize + headerSize;
  const std::size_t entrySize = core ? 3 : 4;
  std::size_t numColors = (clrUsed == 0 || clrUsed > 256) ? 256 : clrUsed;
  if (offBits >= tableAt && offBits < tableAt + numColors * entrySize)
    numColors = (offBits - tableAt) / entrySize;  // a shorter table, as the offset says
  if (!in.Seek(tableAt) || !in.CanReadArray(numColors, entrySize)) return FALSE;

  const long long stride = (width + 3) & ~3LL;
  const std::uint64_t bitsBytes = std::uint64_t(stride) * std::uint64_t(height);
  const std::size_t pixelsAt = offBits >= tableAt + numColors * entrySize ? offBits : tableAt + numColors * entrySize;
  if (pixelsAt > size) return FALSE;
  const std::uint64_t remaining = size - pixelsAt;
  if (compression == BI_RGB) {
    // The last row's padding may be missing; anything shorter is a damaged file.
    if (bitsBytes - std::uint64_t(stride - width) > remaining) return FALSE;
  } else if (bitsBytes > std::max(remaining * kMaxRleExpansion, kMinRleBudget)) {
    return FALSE;
  }
  if (!Allocate(int(width), int(height), int(numColors), DIB_RGB_COLORS)) return FALSE;
  m_nXPelsPerMeter = xppm;
  m_nYPelsPerMeter = yppm;
  for (std::size_t i = 0; i < numColors; ++i) {
    RGBQUAD& q = m_colors[i];
    q.rgbBlue = in.U8();
    q.rgbGreen = in.U8();
    q.rgbRed = in.U8();
    q.rgbReserved = core ? 0 : in.U8();
  }
  in.Seek(pixelsAt);
  if (compression == BI_RLE8) {
    DecodeRle8(in, m_bits.data(), m_width, m_height, GetStorageWidth());
  } else if (!topDown) {
    in.Read(m_bits.data(), m_bits.size());
  } else {
    // Top-down rows are stored bottom up like every other image.
    for (int y = 0; y < m_height; ++y) in.Read(m_bits.data() + std::size_t(m_height - 1 - y) * stride, std::size_t(stride));
  }
  return TRUE;
}

BOOL CDib::WriteBmp(std::vector<BYTE>& out) const {
  out.clear();
  if (m_bits.empty()) return FALSE;
  const DWORD tableBytes = DWORD(m_numColors) * 4;
  const DWORD offBits = kFileHeaderSize + kInfoHeaderSize + tableBytes;
  const std::uint64_t fileSize = std::uint64_t(offBits) + m_bits.size();
  if (fileSize > 0xFFFFFFFFu) return FALSE;
  out.reserve(std::size_t(fileSize));
  ByteSink s(out);
  s.U16(0x4D42);
  s.U32(DWORD(fileSize));
  s.U16(0);
  s.U16(0);
  s.U32(offBits);
  s.U32(kInfoHeaderSize);
  s.U32(DWORD(m_width));
  s.U32(DWORD(m_height));
  s.U16(1);
  s.U16(8);
  s.U32(BI_RGB);
  s.U32(DWORD(m_bits.size()));
  s.U32(DWORD(m_nXPelsPerMeter));
  s.U32(DWORD(m_nYPelsPerMeter));
  s.U32(DWORD(m_numColors));
  s.U32(0);
  // An index table is written as the colours it stands for.
  for (int i = 0; i < m_numColors; ++i) {
    COLORREF c = GetTableColor(i);
    s.U8(GetBValue(c));
    s.U8(GetGValue(c));
    s.U8(GetRValue(c));
    s.U8(m_usage == DIB_RGB_COLORS ? m_colors[std::size_t(i)].rgbReserved : 0);
  }
  s.Bytes(m_bits.data(), m_bits.size());
  return TRUE;
}

BOOL CDib::ReadPng(const BYTE* data, std::size_t size) {
  Destroy();
  host::PalettePngImage image;
  if (!host::DecodePalettePng(data, size, image)) return FALSE;
  const int n = int(image.palette.size() / 3);
  if (!Allocate(image.width, image.height, n, DIB_RGB_COLORS)) return FALSE;
  for (int i = 0; i < n; ++i)
    m_colors[std::size_t(i)] = QRGB(image.palette[std::size_t(i) * 3], image.palette[std::size_t(i) * 3 + 1],
                                    image.palette[std::size_t(i) * 3 + 2]);
  const DWORD stride = GetStorageWidth();
  for (int y = 0; y < m_height; ++y)
    std::memcpy(m_bits.data() + std::size_t(m_height - 1 - y) * stride, image.pixels.data() + std::size_t(y) * m_width,
                std::size_t(m_width));
  return TRUE;
}

BOOL CDib::WritePng(std::vector<BYTE>& out) const {
  out.clear();
  if (m_bits.empty() || m_numColors < 1) return FALSE;
  // A PNG palette must cover every index, so pixels beyond the table get black
  // entries; the indices themselves are kept.
  int top = -1;
  const DWORD stride = GetStorageWidth();
  for (int y = 0; y < m_height; ++y) {
    const BYTE* row = m_bits.data() + std::size_t(y) * stride;
    for (int x = 0; x < m_width; ++x) top = std::max(top, int(row[x]));
  }
  const int entries = std::max(m_numColors, top + 1);
  host::PalettePngImage image;
  image.width = m_width;
  image.height = m_height;
  image.palette.assign(std::size_t(entries) * 3, 0);
  for (int i = 0; i < m_numColors; ++i) {
    COLORREF c = GetTableColor(i);
    image.palette[std::size_t(i) * 3] = GetRValue(c);
    image.palette[std::size_t(i) * 3 + 1] = GetGValue(c);
    image.palette[std::size_t(i) * 3 + 2] = GetBValue(c);
  }
  image.pixels.resize(std::size_t(m_width) * std::size_t(m_height));
  for (int y = 0; y < m_height; ++y)
    std::memcpy(image.pixels.data() + std::size_t(y) * m_width, m_bits.data() + std::size_t(m_height - 1 - y) * stride,
                std::size_t(m_width));
  return host::EncodePalettePng(image, out);
}

BOOL CDib::LoadFromMemory(const BYTE* data, std::size_t size) {
  if (data && size >= 2 && data[0] == 'B' && data[1] == 'M') return ReadBmp(data, size);
  if (data && size >= 8 && data[0] == 0x89 && data[1] == 'P') return ReadPng(data, size);
  Destroy();
  return FALSE;
}

BOOL CDib::Load(const char* path) {
  std::vector<BYTE> bytes;
  if (!ReadWholeFile(path, bytes)) {
    Destroy();
    return FALSE;
  }
  return LoadFromMemory(bytes.data(), bytes.size());
}

BOOL CDib::SaveBmp(const char* path) const {
  std::vector<BYTE> bytes;
  return WriteBmp(bytes) && WriteWholeFile(path, bytes);
}

BOOL CDib::SavePng(const char* path) const {
  std::vector<BYTE> bytes;
  return WritePng(bytes) && WriteWholeFile(path, bytes);
}

void CDib::RegisterBitmapResource(UINT id, const BYTE* data, std::size_t size) {
  std::lock_guard<std::mutex> lock(ResourceLock());
  Resources()[id].assign(data, data + (data ? size : 0));
}

BOOL CDib::LoadResource(UINT id) {
  std::vector<BYTE> bytes;
  {
    std::lock_guard<std::mutex> lock(ResourceLock());
    auto it = Resources().find(id);
    if (it == Resources().end()) {
      Destroy();
      return FALSE;
    }
    bytes = it->second;
  }
  return ReadBmp(bytes.data(), bytes.size());
}

}  // namespace zev
