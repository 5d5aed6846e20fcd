// BMP reader: any bytes read without a fault; what reads must write, read back to the
// same pixels and table, and write again to the same bytes. A small image must also load
// as a bitmap resource and draw (on the test device) to the colours its table gives.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zevutil/CDib.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zev::CDib dib;
  if (!dib.ReadBmp(data, size)) return 0;
  if (dib.GetBitsSize() != std::size_t(dib.GetStorageWidth()) * std::size_t(dib.GetHeight())) std::abort();
  int used[256];
  (void)dib.GetColorsUsed(used);
  (void)dib.GetPixelColor(dib.GetWidth() - 1, 0);
  std::vector<zev::BYTE> first, second;
  if (!dib.WriteBmp(first)) std::abort();
  zev::CDib again;
  if (!again.ReadBmp(first.data(), first.size())) std::abort();
  if (again.GetWidth() != dib.GetWidth() || again.GetHeight() != dib.GetHeight() ||
      again.GetNumColors() != dib.GetNumColors() ||
      std::memcmp(again.GetBits(), dib.GetBits(), dib.GetBitsSize()) != 0)
    std::abort();
  if (!again.WriteBmp(second) || second != first) std::abort();

  if (std::size_t(dib.GetWidth()) * std::size_t(dib.GetHeight()) > (1u << 14)) return 0;
  zev::RegisterBitmapResource(0x7FFF, data, size);
  zev::HBITMAP h = zev::LoadBitmapA(nullptr, zev::MAKEINTRESOURCE(0x7FFF));
  zev::BITMAP bm{};
  if (!h || zev::GetObjectA(h, sizeof bm, &bm) != int(sizeof bm) || bm.bmWidth != dib.GetWidth() ||
      bm.bmHeight != dib.GetHeight())
    std::abort();
  zev::DeleteObject(h);
  zev::HDC dc = zev::CreateTestDC(zev::TestDeviceOptions{});
  zev::CDC::FromHandle(dc)->StartDoc("fuzz");
  zev::CDC::FromHandle(dc)->StartPage();
  if (!dib.Draw(dc, zev::CRect(0, 0, 100, 100))) std::abort();
  const zev::TestDrawCall& call = zev::GetTestDeviceLog(dc)->calls.back();
  if (call.kind != zev::TestDrawCall::kBlt || call.pixels.size() != std::size_t(dib.GetWidth()) * dib.GetHeight())
    std::abort();
  for (int y = 0; y < dib.GetHeight(); ++y)
    for (int x = 0; x < dib.GetWidth(); ++x)
      if (call.pixels[std::size_t(y) * std::size_t(dib.GetWidth()) + std::size_t(x)] != dib.GetPixelColor(x, y))
        std::abort();
  zev::DeleteDC(dc);
  return 0;
}
