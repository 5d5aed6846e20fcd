// Device contexts and drawing objects in the old platform's shapes: handles and the
// calls on them (CreateDCA, TextOutA, SelectObject, ...), the framework wrappers (CDC,
// CFont, CPen, CBrush, CBitmap), the geometry records (CPoint, CSize, CRect) and a
// fixed-pitch recording test device. Every device works in 600 dpi device units; the
// drawing itself is done by the host (cairo) in platform/host/.
#pragma once
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "zevutil/platform/CString.h"
#include "zevutil/platform/Palette.h"
#include "zevutil/platform/Types.h"
#include "zevutil/platform/WinTypes.h"

namespace zev {

// ---- handles ----
struct HDC__;
struct HPEN__;
struct HBITMAP__;
using HDC = HDC__*;
using HPEN = HPEN__*;
using HBITMAP = HBITMAP__*;
using HGDIOBJ = void*;
using HGLOBAL = void*;

class CWnd;

// ---- geometry records ----

class CSize : public SIZE {
 public:
  CSize() : SIZE{0, 0} {}
  CSize(int x, int y) : SIZE{x, y} {}
  CSize(SIZE s) : SIZE(s) {}  // NOLINT(google-explicit-constructor)
  bool operator==(const SIZE& o) const { return cx == o.cx && cy == o.cy; }
  bool operator!=(const SIZE& o) const { return !(*this == o); }
};

class CPoint : public POINT {
 public:
  CPoint() : POINT{0, 0} {}
  CPoint(int x0, int y0) : POINT{x0, y0} {}
  CPoint(POINT p) : POINT(p) {}  // NOLINT(google-explicit-constructor)
  void Offset(int dx, int dy) { x += dx, y += dy; }
  bool operator==(const POINT& o) const { return x == o.x && y == o.y; }
  bool operator!=(const POINT& o) const { return !(*this == o); }
  CPoint operator+(SIZE s) const { return CPoint(x + s.cx, y + s.cy); }
  CPoint operator-(SIZE s) const { return CPoint(x - s.cx, y - s.cy); }
};

class CRect : public RECT {
 public:
  CRect() : RECT{0, 0, 0, 0} {}
  CRect(int l, int t, int r, int b) : RECT{l, t, r, b} {}
  CRect(const RECT& r) : RECT(r) {}  // NOLINT(google-explicit-constructor)
  CRect(POINT tl, POINT br) : RECT{tl.x, tl.y, br.x, br.y} {}
  CRect(POINT tl, SIZE s) : RECT{tl.x, tl.y, tl.x + s.cx, tl.y + s.cy} {}
  // Taken in 64 bits: extreme corners wrap instead of overflowing.
  int Width() const { return int(std::int64_t(right) - left); }
  int Height() const { return int(std::int64_t(bottom) - top); }
  CSize Size() const { return CSize(Width(), Height()); }
  CPoint TopLeft() const { return CPoint(left, top); }
  CPoint BottomRight() const { return CPoint(right, bottom); }
  CPoint CenterPoint() const { return CPoint((left + right) / 2, (top + bottom) / 2); }
  bool IsRectEmpty() const { return right <= left || bottom <= top; }
  bool IsRectNull() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }
  bool PtInRect(POINT p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
  void SetRect(int l, int t, int r, int b) { left = l, top = t, right = r, bottom = b; }
  void SetRectEmpty() { SetRect(0, 0, 0, 0); }
  void InflateRect(int dx, int dy) { left -= dx, top -= dy, right += dx, bottom += dy; }
  void InflateRect(int l, int t, int r, int b) { left -= l, top -= t, right += r, bottom += b; }
  void DeflateRect(int dx, int dy) { InflateRect(-dx, -dy); }
  void DeflateRect(int l, int t, int r, int b) { InflateRect(-l, -t, -r, -b); }
  void OffsetRect(int dx, int dy) { left += dx, right += dx, top += dy, bottom += dy; }
  void NormalizeRect();
  // FALSE (and an empty rectangle) when the two do not overlap.
  BOOL IntersectRect(LPCRECT a, LPCRECT b);
  BOOL UnionRect(LPCRECT a, LPCRECT b);
  bool operator==(const RECT& o) const {
    return left == o.left && top == o.top && right == o.right && bottom == o.bottom;
  }
  bool operator!=(const RECT& o) const { return !(*this == o); }
  operator LPRECT() { return this; }         // NOLINT(google-explicit-constructor)
  operator LPCRECT() const { return this; }  // NOLINT(google-explicit-constructor)
};

// ---- fonts ----
inline constexpr int LF_FACESIZE = 32;
struct LOGFONTA {
  LONG lfHeight;  // < 0: character (em) height; > 0: cell height; 0: a default size
  LONG lfWidth;
  LONG lfEscapement;
  LONG lfOrientation;
  LONG lfWeight;  // 0 default, 100..900
  BYTE lfItalic;
  BYTE lfUnderline;
  BYTE lfStrikeOut;
  BYTE lfCharSet;
  BYTE lfOutPrecision;
  BYTE lfClipPrecision;
  BYTE lfQuality;
  BYTE lfPitchAndFamily;
  char lfFaceName[LF_FACESIZE];
};
using LOGFONT = LOGFONTA;
using LPLOGFONT = LOGFONTA*;

struct TEXTMETRICA {
  LONG tmHeight;  // ascent + descent
  LONG tmAscent;
  LONG tmDescent;
  LONG tmInternalLeading;
  LONG tmExternalLeading;
  LONG tmAveCharWidth;
  LONG tmMaxCharWidth;
  LONG tmWeight;
  LONG tmOverhang;
  LONG tmDigitizedAspectX;
  LONG tmDigitizedAspectY;
  BYTE tmFirstChar;
  BYTE tmLastChar;
  BYTE tmDefaultChar;
  BYTE tmBreakChar;
  BYTE tmItalic;
  BYTE tmUnderlined;
  BYTE tmStruckOut;
  BYTE tmPitchAndFamily;
  BYTE tmCharSet;
};
using TEXTMETRIC = TEXTMETRICA;
using LPTEXTMETRIC = TEXTMETRICA*;

inline constexpr LONG FW_DONTCARE = 0, FW_THIN = 100, FW_EXTRALIGHT = 200, FW_LIGHT = 300, FW_NORMAL = 400,
                      FW_MEDIUM = 500, FW_SEMIBOLD = 600, FW_BOLD = 700, FW_EXTRABOLD = 800, FW_HEAVY = 900;
inline constexpr BYTE ANSI_CHARSET = 0, DEFAULT_CHARSET = 1, SYMBOL_CHARSET = 2, OEM_CHARSET = 255;
inline constexpr BYTE OUT_DEFAULT_PRECIS = 0, OUT_TT_PRECIS = 4, OUT_TT_ONLY_PRECIS = 7;
inline constexpr BYTE CLIP_DEFAULT_PRECIS = 0;
inline constexpr BYTE DEFAULT_QUALITY = 0, DRAFT_QUALITY = 1, PROOF_QUALITY = 2;
inline constexpr BYTE DEFAULT_PITCH = 0, FIXED_PITCH = 1, VARIABLE_PITCH = 2;
inline constexpr BYTE FF_DONTCARE = 0x00, FF_ROMAN = 0x10, FF_SWISS = 0x20, FF_MODERN = 0x30,
                      FF_SCRIPT = 0x40, FF_DECORATIVE = 0x50;

// ---- pens and brushes ----
struct LOGPEN {
  UINT lopnStyle;
  POINT lopnWidth;
  COLORREF lopnColor;
};
struct LOGBRUSH {
  UINT lbStyle;
  COLORREF lbColor;
  std::uintptr_t lbHatch;
};
inline constexpr int PS_SOLID = 0, PS_DASH = 1, PS_DOT = 2, PS_DASHDOT = 3, PS_DASHDOTDOT = 4, PS_NULL = 5,
                     PS_INSIDEFRAME = 6;
inline constexpr UINT BS_SOLID = 0, BS_NULL = 1, BS_HOLLOW = 1;

// ---- bitmaps ----
struct BITMAP {
  LONG bmType;
  LONG bmWidth;
  LONG bmHeight;
  LONG bmWidthBytes;
  WORD bmPlanes;
  WORD bmBitsPixel;
  void* bmBits;
};

// ---- stock objects (GetStockObject) ----
inline constexpr int WHITE_BRUSH = 0, LTGRAY_BRUSH = 1, GRAY_BRUSH = 2, DKGRAY_BRUSH = 3, BLACK_BRUSH = 4,
                     NULL_BRUSH = 5, HOLLOW_BRUSH = 5, WHITE_PEN = 6, BLACK_PEN = 7, NULL_PEN = 8,
                     OEM_FIXED_FONT = 10, ANSI_FIXED_FONT = 11, ANSI_VAR_FONT = 12, SYSTEM_FONT = 13,
                     DEVICE_DEFAULT_FONT = 14, SYSTEM_FIXED_FONT = 16, DEFAULT_GUI_FONT = 17;

// ---- object types (GetObjectType) ----
inline constexpr DWORD OBJ_PEN = 1, OBJ_BRUSH = 2, OBJ_DC = 3, OBJ_FONT = 6, OBJ_BITMAP = 7, OBJ_MEMDC = 10;

// ---- device capabilities (GetDeviceCaps) ----
inline constexpr int DRIVERVERSION = 0, TECHNOLOGY = 2, HORZSIZE = 4, VERTSIZE = 6, HORZRES = 8, VERTRES = 10,
                     BITSPIXEL = 12, PLANES = 14, NUMCOLORS = 24, RASTERCAPS = 38, LOGPIXELSX = 88,
                     LOGPIXELSY = 90, PHYSICALWIDTH = 110, PHYSICALHEIGHT = 111, PHYSICALOFFSETX = 112,
                     PHYSICALOFFSETY = 113;
inline constexpr int DT_RASPRINTER = 2, DT_RASDISPLAY = 1;
inline constexpr int RC_BITBLT = 0x1, RC_BANDING = 0x2, RC_BITMAP64 = 0x8, RC_DI_BITMAP = 0x80,
                     RC_DIBTODEV = 0x200, RC_STRETCHBLT = 0x800, RC_STRETCHDIB = 0x2000;

// ---- mapping modes ----
inline constexpr int MM_TEXT = 1, MM_LOMETRIC = 2, MM_HIMETRIC = 3, MM_LOENGLISH = 4, MM_HIENGLISH = 5,
                     MM_TWIPS = 6, MM_ISOTROPIC = 7, MM_ANISOTROPIC = 8;

// ---- text ----
inline constexpr UINT TA_NOUPDATECP = 0, TA_UPDATECP = 1, TA_LEFT = 0, TA_RIGHT = 2, TA_CENTER = 6, TA_TOP = 0,
                      TA_BOTTOM = 8, TA_BASELINE = 24;
inline constexpr UINT GDI_ERROR = 0xFFFFFFFF;
inline constexpr UINT ETO_OPAQUE = 0x2, ETO_CLIPPED = 0x4;
inline constexpr int TRANSPARENT = 1, OPAQUE = 2;
inline constexpr COLORREF CLR_INVALID = 0xFFFFFFFF;

// ---- raster operations ----
inline constexpr DWORD SRCCOPY = 0x00CC0020, SRCPAINT = 0x00EE0086, SRCAND = 0x008800C6, WHITENESS = 0x00FF0062,
                       BLACKNESS = 0x00000042;

// ---- DrawEdge ----
inline constexpr UINT BDR_RAISEDOUTER = 0x1, BDR_SUNKENOUTER = 0x2, BDR_RAISEDINNER = 0x4,
                      BDR_SUNKENINNER = 0x8, EDGE_RAISED = 0x5, EDGE_SUNKEN = 0xA, EDGE_ETCHED = 0x6,
                      EDGE_BUMP = 0x9;
inline constexpr UINT BF_LEFT = 0x1, BF_TOP = 0x2, BF_RIGHT = 0x4, BF_BOTTOM = 0x8, BF_RECT = 0xF,
                      BF_MIDDLE = 0x800, BF_ADJUST = 0x2000, BF_FLAT = 0x4000, BF_MONO = 0x8000;

// ---- resources ----
inline const char* MAKEINTRESOURCE(int id) {
  return reinterpret_cast<const char*>(static_cast<std::uintptr_t>(static_cast<WORD>(id)));
}
// The library's mark, drawn in report headers.
inline constexpr int IDB_ZEV_LOGO = 0x2AFA;

// ---- device contexts ----
// A device context on a printer destination: a CUPS queue, "Print to PDF" or "Print to
// PNG" (see Print.h), or a test printer. 'driver' is ignored. 'output' names a file
// (PDF) or, for "Print to PNG", a folder; null sends the job to the queue. 'devmode'
// gives paper, orientation and copies (null: the destination's defaults). Null for an
// unknown destination, with the last error ERROR_INVALID_PARAMETER.
HDC CreateDCA(const char* driver, const char* device, const char* output, const struct DEVMODEA* devmode);
// A memory context for bitmaps (BitBlt / StretchBlt sources). 'dc' may be null.
HDC CreateCompatibleDC(HDC dc);
// Destroys the context; a document still open is aborted (no file, CUPS job cancelled).
BOOL DeleteDC(HDC dc);

int GetDeviceCaps(HDC dc, int index);
int SetMapMode(HDC dc, int mode);  // previous mode, 0 on failure
int GetMapMode(HDC dc);
BOOL DPtoLP(HDC dc, POINT* pts, int count);
BOOL LPtoDP(HDC dc, POINT* pts, int count);
int SaveDC(HDC dc);                // the level, 0 on failure
BOOL RestoreDC(HDC dc, int saved);  // a negative value counts back from the current level

HGDIOBJ SelectObject(HDC dc, HGDIOBJ obj);  // the previous object of that kind, null on failure
HGDIOBJ GetCurrentObject(HDC dc, UINT type);
HGDIOBJ GetStockObject(int index);
BOOL DeleteObject(HGDIOBJ obj);  // stock objects and selected objects are not deleted
// OBJ_FONT, OBJ_PEN, ...; 0 for a handle that is not (or no longer) a live object.
DWORD GetObjectType(HGDIOBJ obj);
// Copies the object's LOGFONTA, LOGPEN, LOGBRUSH or BITMAP; returns the bytes copied.
int GetObjectA(HGDIOBJ obj, int size, void* out);

HFONT CreateFontA(int height, int width, int escapement, int orientation, int weight, DWORD italic,
                  DWORD underline, DWORD strikeOut, DWORD charSet, DWORD outPrecision, DWORD clipPrecision,
                  DWORD quality, DWORD pitchAndFamily, const char* faceName);
HFONT CreateFontIndirectA(const LOGFONTA* lf);
HPEN CreatePen(int style, int width, COLORREF color);
HBRUSH CreateSolidBrush(COLORREF color);
// A bitmap resource by number (MAKEINTRESOURCE): one built into the library (the logo
// IDB_ZEV_LOGO among them) or one registered by the program. 'instance' is ignored.
// Null when there is none or its bytes are not an 8-bit BMP.
HBITMAP LoadBitmapA(HINSTANCE instance, const char* name);
// Adds (or replaces) a bitmap resource: the bytes of a BMP file. Null data removes it.
void RegisterBitmapResource(UINT id, const BYTE* data, std::size_t size);
// The bytes of a bitmap resource, registered ones before built-in ones; FALSE if none.
BOOL GetBitmapResource(UINT id, std::vector<BYTE>& bytes);
// A 24-bit bitmap from top-down RGB triples (width * height * 3 bytes).
HBITMAP CreateBitmapFromRGB(int width, int height, const BYTE* rgb);
// An 8-bit bitmap object from a DIB (8 bits per pixel, BI_RGB, DIB_RGB_COLORS): the
// indices are kept with the colour table and mapped through it when drawn. With
// CBM_INIT in 'init' the pixels come from 'bits' (rows padded to four bytes, bottom up
// for a positive height), else they are 0. Null for any other layout.
inline constexpr DWORD CBM_INIT = 0x04;
HBITMAP CreateDIBitmap(HDC dc, const BITMAPINFOHEADER* header, DWORD init, const void* bits, const BITMAPINFO* info,
                       UINT usage);

UINT SetTextAlign(HDC dc, UINT align);  // previous, GDI_ERROR on failure
UINT GetTextAlign(HDC dc);
int SetBkMode(HDC dc, int mode);
int GetBkMode(HDC dc);
COLORREF SetBkColor(HDC dc, COLORREF color);
COLORREF GetBkColor(HDC dc);
COLORREF SetTextColor(HDC dc, COLORREF color);
COLORREF GetTextColor(HDC dc);
int SetTextCharacterExtra(HDC dc, int extra);
int GetTextCharacterExtra(HDC dc);

// Text is 8-bit (code page 1252); every byte value is accepted. A width is the sum of
// the characters' advances (no kerning), exactly the advance that drawing uses.
BOOL GetTextExtentPoint32A(HDC dc, const char* text, int count, SIZE* size);
BOOL GetTextMetricsA(HDC dc, TEXTMETRICA* tm);
BOOL TextOutA(HDC dc, int x, int y, const char* text, int count);
// ETO_CLIPPED clips to 'rect'; ETO_OPAQUE fills it with the background colour. 'dx',
// when given, holds each character's advance.
BOOL ExtTextOutA(HDC dc, int x, int y, UINT options, const RECT* rect, const char* text, UINT count,
                 const int* dx);

BOOL MoveToEx(HDC dc, int x, int y, POINT* previous);
BOOL LineTo(HDC dc, int x, int y);
BOOL Rectangle(HDC dc, int left, int top, int right, int bottom);
BOOL RoundRect(HDC dc, int left, int top, int right, int bottom, int width, int height);
BOOL Ellipse(HDC dc, int left, int top, int right, int bottom);
int FillRect(HDC dc, const RECT* rect, HBRUSH brush);
BOOL DrawEdge(HDC dc, RECT* rect, UINT edge, UINT flags);
BOOL BitBlt(HDC dst, int x, int y, int width, int height, HDC src, int xSrc, int ySrc, DWORD rop);
BOOL StretchBlt(HDC dst, int x, int y, int width, int height, HDC src, int xSrc, int ySrc, int wSrc, int hSrc,
                DWORD rop);
// Draws the source rectangle of an 8-bit DIB (as CreateDIBitmap takes it) into the
// destination rectangle, mapping each index through the colour table. The source's
// y counts from the bottom row of a bottom-up DIB, as on the old platform. Returns the
// source rows drawn, 0 on failure (another layout, DIB_PAL_COLORS: contexts here hold
// no palette).
int StretchDIBits(HDC dc, int x, int y, int width, int height, int xSrc, int ySrc, int wSrc, int hSrc,
                  const void* bits, const BITMAPINFO* info, UINT usage, DWORD rop);
// Draws a bitmap into the rectangle without a memory context (our own shortcut).
BOOL DrawBitmap(HDC dc, int x, int y, int width, int height, HBITMAP bitmap);
int IntersectClipRect(HDC dc, int left, int top, int right, int bottom);
// Drops the clip set by IntersectClipRect (the region argument must be null).
int SelectClipRgn(HDC dc, void* region);

// ---- framework wrappers ----
class CGdiObject {
 public:
  CGdiObject() = default;
  virtual ~CGdiObject();
  CGdiObject(const CGdiObject&) = delete;
  CGdiObject& operator=(const CGdiObject&) = delete;
  HGDIOBJ m_hObject = nullptr;
  HGDIOBJ GetSafeHandle() const { return m_hObject; }
  operator HGDIOBJ() const { return m_hObject; }  // NOLINT(google-explicit-constructor)
  BOOL Attach(HGDIOBJ obj);
  HGDIOBJ Detach();
  BOOL DeleteObject();
  int GetObject(int size, void* out) const { return GetObjectA(m_hObject, size, out); }
  BOOL CreateStockObject(int index);
  // The wrapper of a handle: the permanent wrapper that owns it, else a temporary one
  // kept with the object (it lives as long as the object does). Null for null.
  static CGdiObject* FromHandle(HGDIOBJ obj);
};

class CFont : public CGdiObject {
 public:
  BOOL CreateFont(int height, int width, int escapement, int orientation, int weight, BYTE italic,
                  BYTE underline, BYTE strikeOut, BYTE charSet, BYTE outPrecision, BYTE clipPrecision,
                  BYTE quality, BYTE pitchAndFamily, const char* faceName);
  BOOL CreateFontIndirect(const LOGFONTA* lf);
  // Size in tenths of a point, converted with the context's LOGPIXELSY (600 without one).
  BOOL CreatePointFont(int pointSize10, const char* faceName, class CDC* dc = nullptr);
  int GetLogFont(LOGFONTA* lf) const { return GetObjectA(m_hObject, sizeof(LOGFONTA), lf); }
  operator HFONT() const { return static_cast<HFONT>(m_hObject); }  // NOLINT(google-explicit-constructor)
  static CFont* FromHandle(HFONT h) { return static_cast<CFont*>(CGdiObject::FromHandle(h)); }
};

class CPen : public CGdiObject {
 public:
  CPen() = default;
  CPen(int style, int width, COLORREF color) { CreatePen(style, width, color); }
  BOOL CreatePen(int style, int width, COLORREF color);
  operator HPEN() const { return static_cast<HPEN>(m_hObject); }  // NOLINT(google-explicit-constructor)
  static CPen* FromHandle(HPEN h) { return static_cast<CPen*>(CGdiObject::FromHandle(h)); }
};

class CBrush : public CGdiObject {
 public:
  CBrush() = default;
  explicit CBrush(COLORREF color) { CreateSolidBrush(color); }
  BOOL CreateSolidBrush(COLORREF color);
  operator HBRUSH() const { return static_cast<HBRUSH>(m_hObject); }  // NOLINT(google-explicit-constructor)
  static CBrush* FromHandle(HBRUSH h) { return static_cast<CBrush*>(CGdiObject::FromHandle(h)); }
};

class CBitmap : public CGdiObject {
 public:
  BOOL LoadBitmap(UINT id);
  BOOL LoadBitmap(const char* name);
  int GetBitmap(BITMAP* bm) const { return GetObjectA(m_hObject, sizeof(BITMAP), bm); }
  operator HBITMAP() const { return static_cast<HBITMAP>(m_hObject); }  // NOLINT(google-explicit-constructor)
  static CBitmap* FromHandle(HBITMAP h) { return static_cast<CBitmap*>(CGdiObject::FromHandle(h)); }
};

struct DEVMODEA;
struct DOCINFOA;
using ABORTPROC = BOOL (*)(HDC, int);

class CDC {
 public:
  CDC() = default;
  virtual ~CDC();  // destroys the context it holds, unless it is a FromHandle wrapper
  CDC(const CDC&) = delete;
  CDC& operator=(const CDC&) = delete;

  HDC m_hDC = nullptr;
  HDC m_hAttribDC = nullptr;
  BOOL m_bPrinting = FALSE;

  HDC GetSafeHdc() const { return m_hDC; }
  operator HDC() const { return m_hDC; }  // NOLINT(google-explicit-constructor)
  // Attach takes ownership: the destructor and DeleteDC destroy the handle. Detach
  // gives it back without destroying it.
  BOOL Attach(HDC dc);
  HDC Detach();
  BOOL DeleteDC();
  BOOL CreateDC(const char* driver, const char* device, const char* output, const void* devmode);
  BOOL CreateCompatibleDC(CDC* dc);
  // A temporary wrapper of a handle (kept with the context, not owning it).
  static CDC* FromHandle(HDC dc);

  // document protocol: > 0 (StartDoc: the job id) for success, <= 0 for failure
  int StartDoc(DOCINFOA* docInfo);
  int StartDoc(const char* docName);
  int EndDoc();
  int AbortDoc();
  int StartPage();
  int EndPage();
  int SetAbortProc(ABORTPROC proc);

  int GetDeviceCaps(int index) const;
  int SetMapMode(int mode);
  int GetMapMode() const;
  void DPtoLP(LPPOINT pts, int count = 1) const;
  void DPtoLP(LPRECT rect) const;
  void DPtoLP(LPSIZE size) const;
  void LPtoDP(LPPOINT pts, int count = 1) const;
  void LPtoDP(LPRECT rect) const;
  void LPtoDP(LPSIZE size) const;
  int SaveDC();
  BOOL RestoreDC(int saved);

  CFont* SelectObject(CFont* font);
  CPen* SelectObject(CPen* pen);
  CBrush* SelectObject(CBrush* brush);
  CBitmap* SelectObject(CBitmap* bitmap);
  CGdiObject* SelectObject(CGdiObject* obj);
  HGDIOBJ SelectObject(HGDIOBJ obj) { return ::zev::SelectObject(m_hDC, obj); }
  CGdiObject* SelectStockObject(int index);
  CFont* GetCurrentFont() const;
  CPen* GetCurrentPen() const;
  CBrush* GetCurrentBrush() const;

  UINT SetTextAlign(UINT align);
  UINT GetTextAlign() const;
  int SetBkMode(int mode);
  int GetBkMode() const;
  COLORREF SetBkColor(COLORREF color);
  COLORREF GetBkColor() const;
  COLORREF SetTextColor(COLORREF color);
  COLORREF GetTextColor() const;
  int SetTextCharacterExtra(int extra);
  int GetTextCharacterExtra() const;

  CSize GetTextExtent(const char* text, int count) const;
  CSize GetTextExtent(const CString& text) const;
  CSize GetOutputTextExtent(const char* text, int count) const { return GetTextExtent(text, count); }
  CSize GetOutputTextExtent(const CString& text) const { return GetTextExtent(text); }
  BOOL GetTextMetrics(LPTEXTMETRIC tm) const;
  BOOL TextOut(int x, int y, const char* text, int count);
  BOOL TextOut(int x, int y, const CString& text);
  BOOL ExtTextOut(int x, int y, UINT options, LPCRECT rect, const char* text, UINT count, const int* dx);
  BOOL ExtTextOut(int x, int y, UINT options, LPCRECT rect, const CString& text, const int* dx);

  CPoint MoveTo(int x, int y);
  CPoint MoveTo(POINT p) { return MoveTo(p.x, p.y); }
  BOOL LineTo(int x, int y);
  BOOL LineTo(POINT p) { return LineTo(p.x, p.y); }
  BOOL Rectangle(int l, int t, int r, int b);
  BOOL Rectangle(LPCRECT rect) { return Rectangle(rect->left, rect->top, rect->right, rect->bottom); }
  BOOL RoundRect(int l, int t, int r, int b, int w, int h);
  BOOL RoundRect(LPCRECT rect, POINT corner) {
    return RoundRect(rect->left, rect->top, rect->right, rect->bottom, corner.x, corner.y);
  }
  BOOL Ellipse(int l, int t, int r, int b);
  void FillRect(LPCRECT rect, CBrush* brush);
  void FillSolidRect(LPCRECT rect, COLORREF color);
  BOOL DrawEdge(LPRECT rect, UINT edge, UINT flags);
  BOOL BitBlt(int x, int y, int w, int h, CDC* src, int xs, int ys, DWORD rop);
  BOOL StretchBlt(int x, int y, int w, int h, CDC* src, int xs, int ys, int ws, int hs, DWORD rop);
  int IntersectClipRect(int l, int t, int r, int b);
  int IntersectClipRect(LPCRECT rect) { return IntersectClipRect(rect->left, rect->top, rect->right, rect->bottom); }
  int SelectClipRgn(void* region);

 private:
  bool m_bOwns = false;  // a temporary wrapper (FromHandle) owns nothing
  friend struct GdiAccess;
};

// ---- the test device ----
// One call that reached a test device, in logical units as the caller gave them.
struct TestDrawCall {
  enum Kind {
    kTextOut,
    kExtTextOut,
    kMoveTo,
    kLineTo,
    kRectangle,
    kRoundRect,
    kEllipse,
    kFillRect,
    kDrawEdge,
    kBlt,
    kStartDoc,
    kEndDoc,
    kAbortDoc,
    kStartPage,
    kEndPage,
  };
  explicit TestDrawCall(Kind k = kTextOut) : kind(k) {}
  Kind kind;
  int x = 0, y = 0;          // position (text, lines); left/top for shapes
  int x2 = 0, y2 = 0;        // right/bottom for shapes and blits
  std::string text;          // the bytes drawn; the document name for kStartDoc
  UINT align = 0;            // text alignment in force
  UINT options = 0;          // ExtTextOut options; DrawEdge edge | flags << 16
  bool clipped = false;      // ETO_CLIPPED with a rectangle
  RECT clip{0, 0, 0, 0};     // that rectangle
  std::string face;          // face name of the selected font (text calls)
  int page = 0;              // device pages started so far when the call came
  // kBlt that drew: the source rectangle's size and its pixels as colours (rows top
  // down), indices already mapped through the bitmap's colour table.
  int srcWidth = 0, srcHeight = 0;
  std::vector<COLORREF> pixels;
};

// What a test device saw, shared between the test and the device (it outlives the DC).
struct TestDeviceLog {
  std::vector<TestDrawCall> calls;
  int startDoc = 0, endDoc = 0, abortDoc = 0, startPage = 0, endPage = 0;
  std::string output;  // the DOCINFO output name of the last StartDoc
  // Only the text calls, in order.
  std::vector<TestDrawCall> Texts() const;
  void Clear() { *this = TestDeviceLog(); }
};

struct TestDeviceOptions {
  int charWidth = 10;   // every character's advance
  int charHeight = 20;  // every string's height (tmHeight), ascent = height * 4 / 5
  int horzRes = 4961, vertRes = 7016;  // device units (A4 at 600 dpi)
  int horzSize = 210, vertSize = 297;  // mm
  int logPixels = 600;
  int rasterCaps = RC_BITBLT | RC_STRETCHBLT | RC_BITMAP64 | RC_DI_BITMAP;
  // Failure injection: the n-th call (1-based) of these fails; 0 never.
  int failStartDoc = 0, failStartPage = 0, failEndPage = 0, failEndDoc = 0;
  std::shared_ptr<TestDeviceLog> log = std::make_shared<TestDeviceLog>();
};

// A context that draws nothing: it measures every character as options.charWidth by
// options.charHeight whatever font is selected, and records every call in options.log.
HDC CreateTestDC(const TestDeviceOptions& options);
// The log of a test context (null for any other context).
std::shared_ptr<TestDeviceLog> GetTestDeviceLog(HDC dc);
// A printer destination served by test devices: OpenPrinterA and CreateDCA with this
// name succeed and create test contexts with these options. Empty options remove it.
void RegisterTestPrinter(const char* name, const TestDeviceOptions& options);
void UnregisterTestPrinter(const char* name);

}  // namespace zev

#include "zevutil/platform/Print.h"
