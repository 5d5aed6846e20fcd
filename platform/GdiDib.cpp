// 8-bit device-independent bitmaps in the device layer: the BMP decoder, bitmap
// resources (built in and registered), CreateDIBitmap, StretchDIBits, and the mapping of
// indices through the colour table that every device draws with.
#include "GdiDib.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>

#include "GdiInternal.h"
#include "formats/ByteCursor.h"

namespace zev {

namespace gdi {

namespace {

constexpr DWORD kFileHeaderSize = 14;
constexpr DWORD kInfoHeaderSize = 40;
constexpr DWORD kCoreHeaderSize = 12;
// RLE8 packs at most 255 pixels in 2 bytes, and end-of-line and delta codes skip
// more; an image that would outgrow its data by more than this is refused.
constexpr std::uint64_t kMaxRleExpansion = 256;
constexpr std::uint64_t kMinRleBudget = 1u << 16;

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
  static auto* m = new std::mutex;
  return *m;
}
std::map<UINT, std::vector<BYTE>>& Registered() {
  static auto* r = new std::map<UINT, std::vector<BYTE>>;
  return *r;
}
// Bitmaps decoded by LoadBitmapA, shared by every handle of one resource (a drawing
// never changes them); forgotten when the resource is registered anew.
std::map<UINT, std::shared_ptr<const BitmapData>>& Decoded() {
  static auto* d = new std::map<UINT, std::shared_ptr<const BitmapData>>;
  return *d;
}

}  // namespace

std::uint64_t BitmapData::NextSerial() {
  static std::atomic<std::uint64_t> next{1};
  return next++;
}

void ExpandRow(const BitmapData& bmp, int y, int x0, int x1, std::uint32_t* out) {
  if (y < 0 || y >= bmp.height) return;
  x0 = std::max(x0, 0);
  x1 = std::min(x1, bmp.width);
  const std::size_t row = std::size_t(y) * std::size_t(bmp.width);
  if (bmp.Indexed()) {
    // The table as words once per row keeps the inner loop to one load per pixel.
    std::uint32_t table[256] = {};
    const std::size_t n = std::min<std::size_t>(bmp.colors.size(), 256);
    for (std::size_t i = 0; i < n; ++i) {
      const RGBQUAD& q = bmp.colors[i];
      table[i] = (std::uint32_t(q.rgbRed) << 16) | (std::uint32_t(q.rgbGreen) << 8) | q.rgbBlue;
    }
    const BYTE* p = bmp.pixels.data() + row;
    for (int x = x0; x < x1; ++x) *out++ = table[p[x]];
  } else if (!bmp.rgb.empty()) {
    const BYTE* p = bmp.rgb.data() + row * 3;
    for (int x = x0; x < x1; ++x)
      *out++ = (std::uint32_t(p[x * 3]) << 16) | (std::uint32_t(p[x * 3 + 1]) << 8) | p[x * 3 + 2];
  } else {
    std::fill(out, out + std::max(0, x1 - x0), 0u);
  }
}

std::shared_ptr<BitmapData> IndexedBitmap(int width, int height, std::vector<RGBQUAD> colors,
                                          std::vector<BYTE> topDownPixels) {
  auto b = std::make_shared<BitmapData>();
  b->width = width;
  b->height = height;
  b->colors = std::move(colors);
  b->pixels = std::move(topDownPixels);
  return b;
}

bool DecodeBmp(const BYTE* data, std::size_t size, PackedDib& out) {
  out = PackedDib();
  ByteCursor in(data, size);
  if (in.U16() != 0x4D42) return false;  // "BM"
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
    return false;
  }
  if (in.Overrun() || planes != 1 || bitCount != 8) return false;
  if (compression != BI_RGB && compression != BI_RLE8) return false;
  const bool topDown = height < 0;
  if (topDown) height = -height;
  // RLE rows are always bottom up.
  if (width < 1 || height < 1 || (topDown && compression == BI_RLE8)) return false;

  // The colour table follows the header: 3-byte entries for the 12-byte header.
  const std::size_t tableAt = kFileHeaderSize + headerSize;
  const std::size_t entrySize = core ? 3 : 4;
  std::size_t numColors = (clrUsed == 0 || clrUsed > 256) ? 256 : clrUsed;
  if (offBits >= tableAt && offBits < tableAt + numColors * entrySize)
    numColors = (offBits - tableAt) / entrySize;  // a shorter table, as the offset says
  if (!in.Seek(tableAt) || !in.CanReadArray(numColors, entrySize)) return false;

  const long long stride = (width + 3) & ~3LL;
  const std::uint64_t bitsBytes = std::uint64_t(stride) * std::uint64_t(height);
  if (bitsBytes > std::uint64_t(kMaxDibBitsBytes)) return false;
  const std::size_t pixelsAt = offBits >= tableAt + numColors * entrySize ? offBits : tableAt + numColors * entrySize;
  if (pixelsAt > size) return false;
  const std::uint64_t remaining = size - pixelsAt;
  if (compression == BI_RGB) {
    // The last row's padding may be missing; anything shorter is a damaged file.
    if (bitsBytes - std::uint64_t(stride - width) > remaining) return false;
  } else if (bitsBytes > std::max(remaining * kMaxRleExpansion, kMinRleBudget)) {
    return false;
  }
  out.width = int(width);
  out.height = int(height);
  out.xPelsPerMeter = xppm;
  out.yPelsPerMeter = yppm;
  out.colors.resize(numColors);
  for (RGBQUAD& q : out.colors) {
    q.rgbBlue = in.U8();
    q.rgbGreen = in.U8();
    q.rgbRed = in.U8();
    q.rgbReserved = core ? 0 : in.U8();
  }
  out.bits.assign(std::size_t(bitsBytes), 0);
  in.Seek(pixelsAt);
  if (compression == BI_RLE8) {
    DecodeRle8(in, out.bits.data(), out.width, out.height, out.Stride());
  } else if (!topDown) {
    in.Read(out.bits.data(), out.bits.size());
  } else {
    // Top-down rows are stored bottom up like every other image.
    for (int y = 0; y < out.height; ++y)
      in.Read(out.bits.data() + std::size_t(out.height - 1 - y) * std::size_t(stride), std::size_t(stride));
  }
  return true;
}

namespace {

// The pixels of an 8-bit BI_RGB DIB in top-down rows, or null for another layout.
std::shared_ptr<BitmapData> FromDib(const BITMAPINFOHEADER* h, const void* bits, const BITMAPINFO* info) {
  if (!h || h->biSize < kInfoHeaderSize || h->biPlanes != 1 || h->biBitCount != 8 || h->biCompression != BI_RGB)
    return nullptr;
  const long long width = h->biWidth;
  const long long height = h->biHeight < 0 ? -(long long)h->biHeight : h->biHeight;
  const long long stride = (width + 3) & ~3LL;
  if (width < 1 || height < 1 || stride * height > kMaxDibBitsBytes) return nullptr;
  std::vector<RGBQUAD> colors;
  if (info) {
    const DWORD n = (h->biClrUsed == 0 || h->biClrUsed > 256) ? 256 : h->biClrUsed;
    colors.assign(info->bmiColors, info->bmiColors + n);
  }
  std::vector<BYTE> pixels(std::size_t(width * height), 0);
  if (bits) {
    const BYTE* src = static_cast<const BYTE*>(bits);
    for (long long y = 0; y < height; ++y) {
      const long long stored = h->biHeight < 0 ? y : height - 1 - y;
      std::memcpy(pixels.data() + y * width, src + stored * stride, std::size_t(width));
    }
  }
  return IndexedBitmap(int(width), int(height), std::move(colors), std::move(pixels));
}

}  // namespace

}  // namespace gdi

void RegisterBitmapResource(UINT id, const BYTE* data, std::size_t size) {
  std::lock_guard<std::mutex> lock(gdi::ResourceLock());
  gdi::Decoded().erase(id);
  if (!data)
    gdi::Registered().erase(id);
  else
    gdi::Registered()[id].assign(data, data + size);
}

BOOL GetBitmapResource(UINT id, std::vector<BYTE>& bytes) {
  {
    std::lock_guard<std::mutex> lock(gdi::ResourceLock());
    auto it = gdi::Registered().find(id);
    if (it != gdi::Registered().end()) {
      bytes = it->second;
      return TRUE;
    }
  }
  for (std::size_t i = 0; i < gdi::kEmbeddedBitmapCount; ++i) {
    const gdi::EmbeddedBitmap& e = gdi::kEmbeddedBitmaps[i];
    if (e.id == id) {
      bytes.assign(e.data, e.data + e.size);
      return TRUE;
    }
  }
  bytes.clear();
  return FALSE;
}

HBITMAP LoadBitmapA(HINSTANCE, const char* name) {
  // Only numbered resources exist: a name is a number below 0x10000.
  const std::uintptr_t id = reinterpret_cast<std::uintptr_t>(name);
  if (id == 0 || id > 0xFFFF) return nullptr;
  std::shared_ptr<const gdi::BitmapData> data;
  {
    std::lock_guard<std::mutex> lock(gdi::ResourceLock());
    auto it = gdi::Decoded().find(UINT(id));
    if (it != gdi::Decoded().end()) data = it->second;
  }
  if (!data) {
    std::vector<BYTE> bytes;
    gdi::PackedDib dib;
    if (!GetBitmapResource(UINT(id), bytes) || !gdi::DecodeBmp(bytes.data(), bytes.size(), dib)) return nullptr;
    std::vector<BYTE> pixels(std::size_t(dib.width) * std::size_t(dib.height));
    const DWORD stride = dib.Stride();
    for (int y = 0; y < dib.height; ++y)
      std::memcpy(pixels.data() + std::size_t(y) * std::size_t(dib.width),
                  dib.bits.data() + std::size_t(dib.height - 1 - y) * stride, std::size_t(dib.width));
    data = gdi::IndexedBitmap(dib.width, dib.height, std::move(dib.colors), std::move(pixels));
    std::lock_guard<std::mutex> lock(gdi::ResourceLock());
    gdi::Decoded().emplace(UINT(id), data);
  }
  gdi::GdiObject* o = gdi::NewObject(OBJ_BITMAP);
  o->bitmap = std::move(data);
  return reinterpret_cast<HBITMAP>(o);
}

HBITMAP CreateDIBitmap(HDC, const BITMAPINFOHEADER* header, DWORD init, const void* bits, const BITMAPINFO* info,
                       UINT usage) {
  if (usage != DIB_RGB_COLORS) return nullptr;
  auto data = gdi::FromDib(header, (init & CBM_INIT) ? bits : nullptr, info);
  if (!data) return nullptr;
  gdi::GdiObject* o = gdi::NewObject(OBJ_BITMAP);
  o->bitmap = std::move(data);
  return reinterpret_cast<HBITMAP>(o);
}

int StretchDIBits(HDC dc, int x, int y, int w, int h, int xs, int ys, int ws, int hs, const void* bits,
                  const BITMAPINFO* info, UINT usage, DWORD) {
  gdi::DeviceContext* c = gdi::ContextOf(dc);
  if (!c || !bits || !info || usage != DIB_RGB_COLORS) return 0;
  auto data = gdi::FromDib(&info->bmiHeader, bits, info);
  if (!data) return 0;
  // A bottom-up DIB counts its source rows from the bottom.
  const long long top = info->bmiHeader.biHeight > 0 ? 0LL + data->height - ys - hs : ys;
  const int ysTop = int(std::clamp<long long>(top, INT32_MIN, INT32_MAX));
  if (!gdi::BlitBitmap(c, x, y, w, h, data.get(), xs, ysTop, ws, hs)) return 0;
  return std::max(0, std::min(hs, data->height));
}

}  // namespace zev
