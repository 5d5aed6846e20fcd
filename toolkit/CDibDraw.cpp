// CDib on devices: the image handed to the device layer as a DIB of RGB colours, which
// maps each index through the table as it draws.
#include "zevutil/CDib.h"

namespace zev {

void CDib::DrawingInfo(DibInfo& info) const {
  BITMAPINFOHEADER& h = info.header;
  h = BITMAPINFOHEADER{};
  h.biSize = sizeof(BITMAPINFOHEADER);
  h.biWidth = m_width;
  h.biHeight = m_height;
  h.biPlanes = 1;
  h.biBitCount = 8;
  h.biCompression = BI_RGB;
  h.biSizeImage = DWORD(m_bits.size());
  // A count of 0 would mean 256: an image without a table gets one black entry.
  h.biClrUsed = DWORD(m_numColors > 0 ? m_numColors : 1);
  info.colors[0] = RGBQUAD{0, 0, 0, 0};
  for (int i = 0; i < m_numColors; ++i) {
    const COLORREF c = GetTableColor(i);
    info.colors[i] = QRGB(GetRValue(c), GetGValue(c), GetBValue(c));
  }
}

BOOL CDib::Draw(HDC dc, const RECT& dst) const {
  if (IsEmpty()) return FALSE;
  DibInfo info;
  DrawingInfo(info);
  return StretchDIBits(dc, dst.left, dst.top, dst.right - dst.left, dst.bottom - dst.top, 0, 0, m_width, m_height,
                       m_bits.data(), reinterpret_cast<const BITMAPINFO*>(&info), DIB_RGB_COLORS, SRCCOPY) > 0;
}

HBITMAP CDib::CreateBitmap() const {
  if (IsEmpty()) return nullptr;
  DibInfo info;
  DrawingInfo(info);
  return CreateDIBitmap(nullptr, &info.header, CBM_INIT, m_bits.data(), reinterpret_cast<const BITMAPINFO*>(&info),
                        DIB_RGB_COLORS);
}

}  // namespace zev
