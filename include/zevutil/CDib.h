// 8-bit device-independent bitmaps and the palettes that merge their colours:
// CDib, CDibPal, CPaletteMerge, CPaletteManager, and the palette matching helpers.
#pragma once
#include <cstddef>
#include <vector>

#include "zevutil/platform/Gdi.h"
#include "zevutil/platform/Palette.h"
#include "zevutil/platform/Types.h"

namespace zev {

class CDib;
class CPalette;

// A colour-table entry made from red, green and blue (reserved byte 0).
RGBQUAD QRGB(BYTE red, BYTE green, BYTE blue);

// The first of count entries equal to colour in red, green and blue (flags are not
// compared). Returns 1 and stores its index, or 0 with index 0. The RGBQUAD form
// reads its colour blue first, as that record is laid out.
int MatchPaletteEntry(PALETTEENTRY* entries, int count, PALETTEENTRY colour, int& index);
int MatchPaletteEntry(PALETTEENTRY* entries, int count, RGBQUAD colour, int& index);
// The same over the entries of a palette (0 with index 0 for a null or empty one).
int MatchPaletteEntry(CPalette* palette, RGBQUAD colour, int& index);

// An 8-bit bitmap: a colour table (RGBQUAD colours, or WORD indices into the system
// palette) and rows of one-byte pixels, stored bottom up and padded to four bytes.
class CDib {
 public:
  CDib() = default;
  virtual ~CDib() = default;

  // Makes a width x height image of pixel value 0 with numColors table entries
  // (0 to 256): black colours, or indices 0, 1, 2... for DIB_PAL_COLORS.
  // Returns 0 for a size that is not positive or too large.
  BOOL Create(int width, int height, int numColors, UINT usage = DIB_RGB_COLORS);
  void Destroy();
  BOOL IsEmpty() const { return m_bits.empty(); }

  int GetWidth() const { return m_width; }
  int GetHeight() const { return m_height; }
  int GetNumColors() const { return m_numColors; }
  UINT GetColorUsage() const { return m_usage; }
  // The colour table (RGBQUAD entries) and the index table (DIB_PAL_COLORS).
  RGBQUAD* GetColorTable() { return m_colors.data(); }
  const RGBQUAD* GetColorTable() const { return m_colors.data(); }
  WORD* GetIndexTable() { return m_indices.data(); }
  BYTE* GetBits() { return m_bits.data(); }
  const BYTE* GetBits() const { return m_bits.data(); }
  std::size_t GetBitsSize() const { return m_bits.size(); }
  // Resolution kept from a file, written back unchanged.
  LONG m_nXPelsPerMeter = 0;
  LONG m_nYPelsPerMeter = 0;

  // Bytes per row: the width rounded up to four.
  DWORD GetStorageWidth() const;
  // Null unless x is below the width and y below the height; y counts from the top,
  // so (0, 0) is the start of the last stored row.
  BYTE* GetPixelAddress(int x, int y) const;
  // The byte there, or 0 where there is no address.
  BYTE GetPixelValue(int x, int y) const;
  // The table's colour for that pixel, red in the low byte (0 where there is none).
  COLORREF GetPixelColor(int x, int y) const;
  // The colour of table entry i (through the system palette for an index table).
  COLORREF GetTableColor(int i) const;

  // The first table entry with the colour's red, green and blue; -1 if none or empty.
  int GetColorIndex(DWORD colour) const;
  // The entry nearest in squared distance, first of equals; -1 for an empty image,
  // 0 for an image without table entries.
  int GetNearestColorIndex(DWORD colour) const;
  // Marks in used[0..255] the table entries (of the first 256) that some pixel uses;
  // returns how many are used. used may be null.
  int GetColorsUsed(int* used) const;

  // Changes every pixel of oldColour to newColour. count receives the pixels changed,
  // rect the area with rows and columns exchanged: left the lowest stored row, top
  // height less the lowest column less 1, right the highest row, bottom height less
  // the highest column less 1. Returns 0 when a colour cannot be had.
  BOOL ReplaceColor(DWORD oldColour, DWORD newColour, DWORD& count, CRect& rect, int exactOld, int mergeNew);

  // Files. Reading takes an 8-bit BMP (40-byte or 12-byte header, uncompressed or
  // RLE8, bottom up or top down) or a palette PNG (indices kept); any failure
  // returns 0 and leaves the image empty. Writing makes an uncompressed bottom-up
  // BMP or an 8-bit palette PNG; a failure returns 0.
  BOOL Load(const char* path);
  BOOL LoadFromMemory(const BYTE* data, std::size_t size);
  BOOL ReadBmp(const BYTE* data, std::size_t size);
  BOOL ReadPng(const BYTE* data, std::size_t size);
  BOOL WriteBmp(std::vector<BYTE>& out) const;
  BOOL WritePng(std::vector<BYTE>& out) const;
  BOOL SaveBmp(const char* path) const;
  BOOL SavePng(const char* path) const;

  // Drawing. Both map each pixel through the colour table (an index table through the
  // system palette). Draw stretches the whole image into the logical rectangle and
  // returns 0 for an empty image or a context that cannot draw it; CreateBitmap gives a
  // bitmap object (for memory contexts and SS_BITMAP statics) the caller deletes, or null.
  BOOL Draw(HDC dc, const RECT& dst) const;
  HBITMAP CreateBitmap() const;
  // A BITMAPINFO with room for a full table: the header and the table as RGB colours,
  // as StretchDIBits and CreateDIBitmap take them.
  struct DibInfo {
    BITMAPINFOHEADER header;
    RGBQUAD colors[256];
  };
  void DrawingInfo(DibInfo& info) const;

  // Bitmaps built into the program, by resource number, read like BMP files.
  static void RegisterBitmapResource(UINT id, const BYTE* data, std::size_t size);
  BOOL LoadResource(UINT id);

 private:
  BOOL Allocate(int width, int height, int numColors, UINT usage);
  BOOL ReplaceInBits(int oldIndex, int newIndex, DWORD& count, CRect& rect);

  int m_width = 0;
  int m_height = 0;
  int m_numColors = 0;
  UINT m_usage = DIB_RGB_COLORS;
  std::vector<RGBQUAD> m_colors;
  std::vector<WORD> m_indices;
  std::vector<BYTE> m_bits;
};

// One merge of colours into a CDibPal.
struct PalMergeResult {
  int total = 0;  // entries now in use: the static count plus the next free position
  int asked = 0;  // colours in the merge
  int added = 0;  // colours that took a new entry or claimed an existing one
  int moved = 0;  // colours whose final index differs from their index in the source
  int lost = 0;   // colours that found no place
};

// A palette that knows which entries hold colours that must stay, so that the
// colours of several images merge into it without touching the reserved entries.
class CDibPal : public CPalette {
 public:
  CDibPal() = default;

  // Ten stock colours at each end (marked used) and a colour cube between, which
  // merges may overwrite. Returns 0 when there are too few stock colours.
  BOOL CreateEmptyIdentityPalette();
  // Merges count colours (red in the low byte) in order; returns 1 when a merge ran.
  // A null array or a count below 1 merges nothing but fills result.
  BOOL MergeColors(const DWORD* colours, int count, PalMergeResult* result);
  // Merges the colours that the image's pixels use; inexact colours with no free
  // entry are lost, and later exact ones are still shared. 0 for an image without
  // colour entries.
  BOOL MergeDibPalette(CDib* dib, PalMergeResult* result);

  int m_bIdentity = 0;
  int m_nStaticCount = 10;
  int m_nSize = 256;
  int m_nNextFree = 0;
  int m_bChanged = 0;
  int m_used[256] = {};

 private:
  // The palette's entries, grown to m_nSize; written back by StoreEntries.
  std::vector<PALETTEENTRY> LoadEntries();
  void StoreEntries(const std::vector<PALETTEENTRY>& entries);
  void FillResult(PalMergeResult* result, int asked, int added, int moved, int lost) const;
  int AdvancePastUsed(int next, int last) const;
  // The entries a merge may fill: *next the first, *last the final one.
  void MergeRange(int size, int* next, int* last) const;
  // Gives 'colour' an entry: an exact match not yet used is claimed (moved down to 'next'
  // when it lies above it), otherwise 'next' takes the colour. Returns the entry, or -1
  // when none is free.
  int ClaimEntry(std::vector<PALETTEENTRY>& entries, COLORREF colour, int next, int last, int* added);
};

// Merges the palettes of up to 50 bitmaps into one identity palette.
class CPaletteMerge {
 public:
  static constexpr int kMaxBitmaps = 50;

  CPaletteMerge() = default;
  ~CPaletteMerge();
  CPaletteMerge(const CPaletteMerge&) = delete;
  CPaletteMerge& operator=(const CPaletteMerge&) = delete;

  // Drops what it held, makes a new identity palette and empty arrays. 1, or 0.
  BOOL InitIdentityPalette();
  // Loads and merges bitmaps in order until count, the limit of 50 or an entry that
  // cannot be read. 0 for a null array, a count of 0, or when an entry stopped it.
  BOOL AddBitmaps(const char** paths, int count);
  BOOL AddBitmaps(unsigned int* resources, int count);

  int GetBitmapCount() const { return m_nBitmaps; }
  CDib* GetBitmap(int i) const { return (m_ppDibs && i >= 0 && i < m_nBitmaps) ? m_ppDibs[i] : nullptr; }
  const PalMergeResult* GetResult(int i) const {
    return (m_pResults && i >= 0 && i < m_nBitmaps) ? &m_pResults[i] : nullptr;
  }
  CDibPal* GetPalette() const { return m_pPalette; }

 private:
  void Clear();
  BOOL AddLoaded(CDib* dib);

  CDibPal* m_pPalette = nullptr;
  PalMergeResult* m_pResults = nullptr;
  CDib** m_ppDibs = nullptr;
  int m_nBitmaps = 0;
};

// Holds the one palette shared by every image of the process.
class CPaletteManager {
 public:
  // The shared identity palette, made on first use; never null.
  static CDibPal* GetSystemPalette();
};

}  // namespace zev
