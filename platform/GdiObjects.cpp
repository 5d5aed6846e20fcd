// Drawing objects (fonts, pens, brushes, bitmaps) behind their handles, the stock
// objects, and the framework wrappers CGdiObject, CFont, CPen, CBrush, CBitmap.
#include <algorithm>
#include <cstring>
#include <mutex>
#include <unordered_set>

#include "GdiInternal.h"

namespace zev {

namespace gdi {

namespace {
std::mutex& RegistryLock() {
  static std::mutex* m = new std::mutex;
  return *m;
}
std::unordered_set<const void*>& Live() {
  static auto* s = new std::unordered_set<const void*>;
  return *s;
}
}  // namespace

void RegisterHandle(const void* h) {
  std::lock_guard<std::mutex> lock(RegistryLock());
  Live().insert(h);
}
void UnregisterHandle(const void* h) {
  std::lock_guard<std::mutex> lock(RegistryLock());
  Live().erase(h);
}
bool IsLiveHandle(const void* h) {
  if (!h) return false;
  std::lock_guard<std::mutex> lock(RegistryLock());
  return Live().count(h) != 0;
}

GdiObject* ObjectOf(HGDIOBJ h) {
  if (!IsLiveHandle(h) || MagicOf(h) != GdiObject::kMagic) return nullptr;
  auto* o = static_cast<GdiObject*>(h);
  return !o->deleted ? o : nullptr;
}

GdiObject* NewObject(DWORD type) {
  auto* o = new GdiObject;
  o->type = type;
  RegisterHandle(o);
  return o;
}

void ReleaseObject(GdiObject* o) {
  if (o->stock || !o->deleted || o->selected > 0) return;
  UnregisterHandle(o);
  if (o->temp) o->temp->m_hObject = nullptr;  // a temporary wrapper never deletes
  if (o->permanent) o->permanent->m_hObject = nullptr;
  o->magic = 0;
  delete o;
}

void Deselect(GdiObject* o) {
  if (!o) return;
  if (o->selected > 0) --o->selected;
  ReleaseObject(o);
}

namespace {
GdiObject* MakeStock(int index) {
  auto* o = new GdiObject;
  o->stock = true;
  switch (index) {
    case WHITE_BRUSH: case LTGRAY_BRUSH: case GRAY_BRUSH: case DKGRAY_BRUSH: case BLACK_BRUSH: case NULL_BRUSH: {
      static const COLORREF colors[] = {0xFFFFFF, 0xC0C0C0, 0x808080, 0x404040, 0x000000, 0};
      o->type = OBJ_BRUSH;
      o->brush.lbStyle = index == NULL_BRUSH ? BS_NULL : BS_SOLID;
      o->brush.lbColor = colors[index];
      break;
    }
    case WHITE_PEN: case BLACK_PEN: case NULL_PEN:
      o->type = OBJ_PEN;
      o->pen.lopnStyle = index == NULL_PEN ? PS_NULL : PS_SOLID;
      o->pen.lopnColor = index == WHITE_PEN ? 0xFFFFFF : 0;
      break;
    case OEM_FIXED_FONT: case ANSI_FIXED_FONT: case ANSI_VAR_FONT: case SYSTEM_FONT: case DEVICE_DEFAULT_FONT:
    case SYSTEM_FIXED_FONT: case DEFAULT_GUI_FONT: {
      o->type = OBJ_FONT;
      bool fixed = index == OEM_FIXED_FONT || index == ANSI_FIXED_FONT || index == SYSTEM_FIXED_FONT;
      o->font.lfHeight = -83;  // 10 points at 600 dpi
      o->font.lfWeight = FW_NORMAL;
      std::strcpy(o->font.lfFaceName, fixed ? "Courier New" : "Arial");
      break;
    }
    default:
      delete o;
      return nullptr;
  }
  RegisterHandle(o);
  return o;
}
}  // namespace

GdiObject* StockObject(int index) {
  static GdiObject** table = [] {
    auto** t = new GdiObject*[DEFAULT_GUI_FONT + 1];
    for (int i = 0; i <= DEFAULT_GUI_FONT; ++i) t[i] = MakeStock(i);
    return t;
  }();
  return index >= 0 && index <= DEFAULT_GUI_FONT ? table[index] : nullptr;
}

}  // namespace gdi

using gdi::GdiObject;

HGDIOBJ GetStockObject(int index) { return gdi::StockObject(index); }

DWORD GetObjectType(HGDIOBJ obj) {
  if (gdi::IsLiveHandle(obj)) {
    // A context and an object are told apart by their first word.
    if (gdi::MagicOf(obj) == gdi::DeviceContext::kMagic)
      return static_cast<gdi::DeviceContext*>(obj)->surface ? OBJ_DC : OBJ_MEMDC;
  }
  GdiObject* o = gdi::ObjectOf(obj);
  return o ? o->type : 0;
}

int GetObjectA(HGDIOBJ obj, int size, void* out) {
  GdiObject* o = gdi::ObjectOf(obj);
  if (!o || size < 0) return 0;
  const void* src = nullptr;
  int n = 0;
  BITMAP bm{};
  switch (o->type) {
    case OBJ_FONT: src = &o->font, n = sizeof(LOGFONTA); break;
    case OBJ_PEN: src = &o->pen, n = sizeof(LOGPEN); break;
    case OBJ_BRUSH: src = &o->brush, n = sizeof(LOGBRUSH); break;
    case OBJ_BITMAP:
      bm.bmWidth = o->bitmap ? o->bitmap->width : 0;
      bm.bmHeight = o->bitmap ? o->bitmap->height : 0;
      bm.bmBitsPixel = o->bitmap && o->bitmap->Indexed() ? 8 : 24;
      bm.bmWidthBytes = (bm.bmWidth * (bm.bmBitsPixel / 8) + 3) & ~3;
      bm.bmPlanes = 1;
      src = &bm, n = sizeof(BITMAP);
      break;
    default: return 0;
  }
  if (!out) return n;
  n = std::min(n, size);
  std::memcpy(out, src, std::size_t(n));
  return n;
}

HFONT CreateFontIndirectA(const LOGFONTA* lf) {
  if (!lf) return nullptr;
  GdiObject* o = gdi::NewObject(OBJ_FONT);
  o->font = *lf;
  o->font.lfFaceName[LF_FACESIZE - 1] = '\0';
  return reinterpret_cast<HFONT>(o);
}

HFONT CreateFontA(int height, int width, int escapement, int orientation, int weight, DWORD italic,
                  DWORD underline, DWORD strikeOut, DWORD charSet, DWORD outPrecision, DWORD clipPrecision,
                  DWORD quality, DWORD pitchAndFamily, const char* faceName) {
  LOGFONTA lf{};
  lf.lfHeight = height;
  lf.lfWidth = width;
  lf.lfEscapement = escapement;
  lf.lfOrientation = orientation;
  lf.lfWeight = weight;
  lf.lfItalic = BYTE(italic);
  lf.lfUnderline = BYTE(underline);
  lf.lfStrikeOut = BYTE(strikeOut);
  lf.lfCharSet = BYTE(charSet);
  lf.lfOutPrecision = BYTE(outPrecision);
  lf.lfClipPrecision = BYTE(clipPrecision);
  lf.lfQuality = BYTE(quality);
  lf.lfPitchAndFamily = BYTE(pitchAndFamily);
  if (faceName) std::strncpy(lf.lfFaceName, faceName, LF_FACESIZE - 1);
  return CreateFontIndirectA(&lf);
}

HPEN CreatePen(int style, int width, COLORREF color) {
  GdiObject* o = gdi::NewObject(OBJ_PEN);
  o->pen.lopnStyle = UINT(style);
  o->pen.lopnWidth = POINT{std::max(width, 0), 0};
  o->pen.lopnColor = color & 0xFFFFFF;
  return reinterpret_cast<HPEN>(o);
}

HBRUSH CreateSolidBrush(COLORREF color) {
  GdiObject* o = gdi::NewObject(OBJ_BRUSH);
  o->brush.lbStyle = BS_SOLID;
  o->brush.lbColor = color & 0xFFFFFF;
  return reinterpret_cast<HBRUSH>(o);
}

HBITMAP CreateBitmapFromRGB(int width, int height, const BYTE* rgb) {
  if (width <= 0 || height <= 0 || !rgb || std::size_t(width) * std::size_t(height) > (std::size_t(1) << 28))
    return nullptr;
  auto data = std::make_shared<gdi::BitmapData>();
  data->width = width;
  data->height = height;
  data->rgb.assign(rgb, rgb + std::size_t(width) * std::size_t(height) * 3);
  GdiObject* o = gdi::NewObject(OBJ_BITMAP);
  o->bitmap = std::move(data);
  return reinterpret_cast<HBITMAP>(o);
}

BOOL DeleteObject(HGDIOBJ obj) {
  GdiObject* o = gdi::ObjectOf(obj);
  if (!o) return FALSE;
  if (o->stock) return TRUE;  // stock objects stay
  // An object still selected into a context lives on until it is deselected, but is
  // no longer known as an object.
  o->deleted = true;
  gdi::ReleaseObject(o);
  return TRUE;
}

// ---- wrappers ----
CGdiObject::~CGdiObject() { DeleteObject(); }

BOOL CGdiObject::Attach(HGDIOBJ obj) {
  GdiObject* o = gdi::ObjectOf(obj);
  if (!o) return FALSE;
  m_hObject = obj;
  if (!o->stock) o->permanent = this;
  return TRUE;
}

HGDIOBJ CGdiObject::Detach() {
  HGDIOBJ h = m_hObject;
  if (GdiObject* o = gdi::ObjectOf(h); o && o->permanent == this) o->permanent = nullptr;
  m_hObject = nullptr;
  return h;
}

BOOL CGdiObject::DeleteObject() {
  if (!m_hObject) return FALSE;
  HGDIOBJ h = Detach();
  return ::zev::DeleteObject(h);
}

BOOL CGdiObject::CreateStockObject(int index) {
  HGDIOBJ h = GetStockObject(index);
  if (!h) return FALSE;
  m_hObject = h;
  return TRUE;
}

CGdiObject* CGdiObject::FromHandle(HGDIOBJ obj) {
  GdiObject* o = gdi::ObjectOf(obj);
  if (!o) return nullptr;
  if (o->permanent) return o->permanent;
  if (!o->temp) {
    switch (o->type) {
      case OBJ_FONT: o->temp = std::make_unique<CFont>(); break;
      case OBJ_PEN: o->temp = std::make_unique<CPen>(); break;
      case OBJ_BRUSH: o->temp = std::make_unique<CBrush>(); break;
      case OBJ_BITMAP: o->temp = std::make_unique<CBitmap>(); break;
      default: o->temp = std::make_unique<CGdiObject>(); break;
    }
    o->temp->m_hObject = obj;
  }
  return o->temp.get();
}

BOOL CFont::CreateFont(int height, int width, int escapement, int orientation, int weight, BYTE italic,
                       BYTE underline, BYTE strikeOut, BYTE charSet, BYTE outPrecision, BYTE clipPrecision,
                       BYTE quality, BYTE pitchAndFamily, const char* faceName) {
  return Attach(CreateFontA(height, width, escapement, orientation, weight, italic, underline, strikeOut, charSet,
                            outPrecision, clipPrecision, quality, pitchAndFamily, faceName));
}

BOOL CFont::CreateFontIndirect(const LOGFONTA* lf) { return Attach(CreateFontIndirectA(lf)); }

BOOL CFont::CreatePointFont(int pointSize10, const char* faceName, CDC* dc) {
  int dpi = dc && dc->m_hDC ? dc->GetDeviceCaps(LOGPIXELSY) : gdi::kDeviceDpi;
  LOGFONTA lf{};
  lf.lfHeight = -int(double(pointSize10) * dpi / 720.0 + 0.5);
  lf.lfWeight = FW_NORMAL;
  if (faceName) std::strncpy(lf.lfFaceName, faceName, LF_FACESIZE - 1);
  return CreateFontIndirect(&lf);
}

BOOL CPen::CreatePen(int style, int width, COLORREF color) { return Attach(::zev::CreatePen(style, width, color)); }
BOOL CBrush::CreateSolidBrush(COLORREF color) { return Attach(::zev::CreateSolidBrush(color)); }
BOOL CBitmap::LoadBitmap(UINT id) { return Attach(LoadBitmapA(nullptr, MAKEINTRESOURCE(int(id)))); }
BOOL CBitmap::LoadBitmap(const char* name) { return Attach(LoadBitmapA(nullptr, name)); }

void CRect::NormalizeRect() {
  if (left > right) std::swap(left, right);
  if (top > bottom) std::swap(top, bottom);
}

BOOL CRect::IntersectRect(LPCRECT a, LPCRECT b) {
  CRect r(std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right),
          std::min(a->bottom, b->bottom));
  if (r.IsRectEmpty()) {
    SetRectEmpty();
    return FALSE;
  }
  *this = r;
  return TRUE;
}

BOOL CRect::UnionRect(LPCRECT a, LPCRECT b) {
  CRect ra(*a), rb(*b);
  if (ra.IsRectEmpty()) {
    *this = rb;
  } else if (rb.IsRectEmpty()) {
    *this = ra;
  } else {
    SetRect(std::min(a->left, b->left), std::min(a->top, b->top), std::max(a->right, b->right),
            std::max(a->bottom, b->bottom));
  }
  return !IsRectEmpty();
}

}  // namespace zev
