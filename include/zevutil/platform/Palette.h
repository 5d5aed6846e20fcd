// Palette and bitmap records of the old graphics interface, in their stored shapes,
// and CPalette: a logical palette held as plain data (Linux displays have no
// hardware palette, so nothing here talks to a device).
#pragma once
#include <vector>

#include "zevutil/platform/Types.h"

namespace zev {

// Colour-table entry of a bitmap: blue first, as stored in BMP files.
struct RGBQUAD {
  BYTE rgbBlue;
  BYTE rgbGreen;
  BYTE rgbRed;
  BYTE rgbReserved;
};

// Entry of a logical palette: red first, then flags (PC_...).
struct PALETTEENTRY {
  BYTE peRed;
  BYTE peGreen;
  BYTE peBlue;
  BYTE peFlags;
};

inline constexpr BYTE PC_RESERVED = 0x01;
inline constexpr BYTE PC_EXPLICIT = 0x02;
inline constexpr BYTE PC_NOCOLLAPSE = 0x04;

// A logical palette with palNumEntries entries; allocate it with room for them all.
struct LOGPALETTE {
  WORD palVersion;
  WORD palNumEntries;
  PALETTEENTRY palPalEntry[1];
};

#pragma pack(push, 2)
// The 14-byte header that opens a BMP file.
struct BITMAPFILEHEADER {
  WORD bfType;
  DWORD bfSize;
  WORD bfReserved1;
  WORD bfReserved2;
  DWORD bfOffBits;
};
#pragma pack(pop)

// The 40-byte header of a device-independent bitmap.
struct BITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
};

// The 12-byte header of the older bitmap layout (colour table of 3-byte entries).
struct BITMAPCOREHEADER {
  DWORD bcSize;
  WORD bcWidth;
  WORD bcHeight;
  WORD bcPlanes;
  WORD bcBitCount;
};

struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
};

static_assert(sizeof(RGBQUAD) == 4 && sizeof(PALETTEENTRY) == 4, "4-byte colour entries");
static_assert(sizeof(BITMAPFILEHEADER) == 14 && sizeof(BITMAPINFOHEADER) == 40 && sizeof(BITMAPCOREHEADER) == 12,
              "bitmap headers keep their stored sizes");

inline constexpr DWORD BI_RGB = 0;
inline constexpr DWORD BI_RLE8 = 1;
inline constexpr DWORD BI_RLE4 = 2;
inline constexpr UINT DIB_RGB_COLORS = 0;  // the colour table holds RGBQUAD colours
inline constexpr UINT DIB_PAL_COLORS = 1;  // the colour table holds WORD indices into the palette

// The 20 stock colours of the default palette: ten for the low end, ten for the high end.
inline constexpr int kStockPaletteEntries = 20;
// Copies up to max stock entries into out; returns how many there are (20).
int GetStockPaletteEntries(PALETTEENTRY* out, int max);

// What the display's palette hardware offers: 0 when the display has no palette
// (always so here); otherwise its size and reserved entries are stored.
BOOL GetDisplayPaletteCaps(int& size, int& reserved);

// A logical palette object. Entries are plain data; every operation is on them.
class CPalette {
 public:
  CPalette() = default;
  virtual ~CPalette() = default;

  // Makes the palette from palNumEntries entries (1 to 65535). Returns 0 when it
  // already exists or the record is null or empty.
  BOOL CreatePalette(const LOGPALETTE* logPalette);
  // Forgets the entries; returns 0 when there were none.
  BOOL DeleteObject();
  // Non-null once created.
  const void* GetSafeHandle() const { return m_created ? this : nullptr; }

  int GetEntryCount() const { return int(m_entries.size()); }
  // Copies count entries from start (cut to what exists); returns how many.
  UINT GetPaletteEntries(UINT start, UINT count, PALETTEENTRY* entries) const;
  UINT SetPaletteEntries(UINT start, UINT count, const PALETTEENTRY* entries);
  // Grows (new entries black, flags 0) or shrinks the palette.
  BOOL ResizePalette(UINT count);
  // The entry with the least sum of squared differences of red, green and blue;
  // the first of equals. 0 for an empty palette.
  UINT GetNearestPaletteIndex(COLORREF colour) const;

  const PALETTEENTRY* Entries() const { return m_entries.data(); }

 private:
  std::vector<PALETTEENTRY> m_entries;
  bool m_created = false;
};

}  // namespace zev
