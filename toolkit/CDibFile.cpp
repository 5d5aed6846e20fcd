// CDib files: 8-bit BMP read (through the device layer's decoder) and written by hand,
// palette PNG through the host codec, and bitmaps built into the program.
#include <algorithm>
#include <cstring>

#include "formats/ByteCursor.h"
#include "platform/GdiDib.h"
#include "platform/host/PngCodec.h"
#include "zevutil/CDib.h"
#include "zevutil/platform/CException.h"
#include "zevutil/platform/CFile.h"

namespace zev {

namespace {

constexpr DWORD kFileHeaderSize = 14;
constexpr DWORD kInfoHeaderSize = 40;

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
  // The device layer's decoder, which also reads the bitmaps built into the library.
  gdi::PackedDib dib;
  if (!gdi::DecodeBmp(data, size, dib)) return FALSE;
  if (!Allocate(dib.width, dib.height, int(dib.colors.size()), DIB_RGB_COLORS)) return FALSE;
  m_nXPelsPerMeter = dib.xPelsPerMeter;
  m_nYPelsPerMeter = dib.yPelsPerMeter;
  m_colors = std::move(dib.colors);
  m_bits = std::move(dib.bits);
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
  ::zev::RegisterBitmapResource(id, data, size);
}

BOOL CDib::LoadResource(UINT id) {
  std::vector<BYTE> bytes;
  if (!GetBitmapResource(id, bytes)) {
    Destroy();
    return FALSE;
  }
  return ReadBmp(bytes.data(), bytes.size());
}

}  // namespace zev
