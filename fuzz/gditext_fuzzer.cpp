// Any bytes drawn as text on a PDF device: the first bytes choose the font (face,
// height, weight, slant, underline), the alignment, the character spacing and a clip
// rectangle; the rest is the text, measured and drawn. Nothing may crash, and the
// measured width must be the sum of the widths of its two halves (no kerning).
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz/FuzzSupport.h"
#include "zevutil/platform/Gdi.h"
#include "zevutil/platform/Print.h"

using namespace zev;

namespace {
struct Device {
  zevfuzz::ScratchFolder dir{"zev-gditext-"};
  HDC dc = nullptr;
  int drawn = 0;
  ~Device() {
    if (dc) Close();
  }
  void Open() {
    dc = CreateDCA(nullptr, kPrintToPdfName, nullptr, nullptr);
    std::string out = (dir.path / "fuzz.pdf").string();
    DOCINFOA di{sizeof(DOCINFOA), "fuzz", out.c_str(), nullptr, 0};
    zevfuzz::Check(dc && StartDocA(dc, &di) > 0);
    drawn = 0;
  }
  void Close() {
    EndDoc(dc);
    DeleteDC(dc);
    dc = nullptr;
  }
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Device dev;
  if (size < 8) return 0;
  if (!dev.dc) dev.Open();
  static const char* faces[] = {"Arial", "Courier New", "Times New Roman", "", "No Such Face"};
  int height = int(std::int8_t(data[0])) * 40;
  HFONT f = CreateFontA(height, 0, 0, 0, data[1] * 4, data[2] & 1, data[2] & 2, data[2] & 4, 1, 0, 0, 0, 0,
                        faces[data[3] % 5]);
  HGDIOBJ old = SelectObject(dev.dc, f);
  SetTextAlign(dev.dc, data[4] & 0x1F);
  SetTextCharacterExtra(dev.dc, int(std::int8_t(data[5])) / 16);
  const char* text = reinterpret_cast<const char*>(data + 8);
  int n = int(size - 8);
  SIZE all{}, a{}, b{};
  GetTextExtentPoint32A(dev.dc, text, n, &all);
  GetTextExtentPoint32A(dev.dc, text, n / 2, &a);
  GetTextExtentPoint32A(dev.dc, text + n / 2, n - n / 2, &b);
  zevfuzz::Check(all.cx == a.cx + b.cx && all.cx >= 0);
  StartPage(dev.dc);
  RECT clip{data[6] * 20, data[7] * 20, data[6] * 20 + data[7] * 10, data[7] * 20 + 400};
  TextOutA(dev.dc, 300, 300, text, n);
  ExtTextOutA(dev.dc, data[6] * 20, data[7] * 20, ETO_CLIPPED | (data[4] & 0x20 ? ETO_OPAQUE : 0), &clip, text,
              UINT(n), nullptr);
  EndPage(dev.dc);
  SelectObject(dev.dc, old);
  DeleteObject(f);
  if (++dev.drawn >= 500) dev.Close();  // a fresh document now and then keeps memory flat
  return 0;
}
