// Device contexts: their state (mapping mode, text alignment, colours, selected
// objects, saved states, clip), measuring, and the drawing calls handed to the
// context's surface in device units. Drawing outside an open page is dropped, so a
// page that is laid out but never started costs only the measuring.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "GdiInternal.h"
#include "zevutil/platform/Host.h"

namespace zev {

namespace gdi {

DeviceContext* ContextOf(HDC dc) {
  if (!IsLiveHandle(dc) || MagicOf(dc) != DeviceContext::kMagic) return nullptr;
  return reinterpret_cast<DeviceContext*>(dc);
}

namespace {
void Hold(GdiObject* o) {
  if (o) ++o->selected;
}
void HoldAll(const DcState& s) {
  Hold(s.font), Hold(s.pen), Hold(s.brush), Hold(s.bitmap);
}
void DropAll(const DcState& s) {
  Deselect(s.font), Deselect(s.pen), Deselect(s.brush), Deselect(s.bitmap);
}
}  // namespace

HDC NewContext(std::unique_ptr<Surface> surface) {
  auto* c = new DeviceContext;
  c->surface = std::move(surface);
  c->st.font = StockObject(SYSTEM_FONT);
  c->st.pen = StockObject(BLACK_PEN);
  c->st.brush = StockObject(WHITE_BRUSH);
  HoldAll(c->st);
  RegisterHandle(c);
  return reinterpret_cast<HDC>(c);
}

namespace {

int Dpi(const DeviceContext* c) { return c->surface ? c->surface->geom.logPixels : kDeviceDpi; }

// Device units per logical unit (numerator/denominator) of the fixed mapping modes;
// y grows upwards in all but MM_TEXT.
struct Scale {
  double f = 1.0;
  bool flipY = false;
};
Scale ScaleOf(const DeviceContext* c) {
  double dpi = Dpi(c);
  switch (c->st.mapMode) {
    case MM_LOMETRIC: return {dpi / 254.0, true};
    case MM_HIMETRIC: return {dpi / 2540.0, true};
    case MM_LOENGLISH: return {dpi / 100.0, true};
    case MM_HIENGLISH: return {dpi / 1000.0, true};
    case MM_TWIPS: return {dpi / 1440.0, true};
    default: return {1.0, false};  // MM_TEXT; the scalable modes have no extents here
  }
}

double ToDevX(const DeviceContext* c, double x) { return x * ScaleOf(c).f; }
double ToDevY(const DeviceContext* c, double y) {
  Scale s = ScaleOf(c);
  return s.flipY ? -y * s.f : y * s.f;
}
double ToDevLen(const DeviceContext* c, double v) { return std::fabs(v * ScaleOf(c).f); }

long RoundL(double v) {
  // Keep huge values finite and well within LONG (a billion units is 42 km), so that
  // conversions and the differences of two coordinates are always defined.
  if (!(v == v)) return 0;
  v = std::clamp(v, -1.0e9, 1.0e9);
  return std::lround(v);
}

RECT DevRect(const DeviceContext* c, int l, int t, int r, int b) {
  RECT rc{LONG(RoundL(ToDevX(c, l))), LONG(RoundL(ToDevY(c, t))), LONG(RoundL(ToDevX(c, r))),
          LONG(RoundL(ToDevY(c, b)))};
  if (rc.left > rc.right) std::swap(rc.left, rc.right);
  if (rc.top > rc.bottom) std::swap(rc.top, rc.bottom);
  return rc;
}

bool Drawing(const DeviceContext* c) { return c->surface && c->pageOpen; }

void Record(DeviceContext* c, TestDrawCall call) {
  if (!c->surface) return;
  TestDeviceLog* log = c->surface->Log();
  if (!log) return;
  call.page = c->pagesStarted;
  if (call.kind == TestDrawCall::kTextOut || call.kind == TestDrawCall::kExtTextOut) {
    call.align = c->st.align;
    if (c->st.font) call.face = c->st.font->font.lfFaceName;
  }
  log->calls.push_back(std::move(call));
}

// The current font's metrics on this context, resolved once per selection.
const FontMetrics& Metrics(DeviceContext* c) {
  if (!c->fontMetrics) {
    GdiObject* font = c->st.font;
    bool hostFont = !c->surface || !c->surface->Log();
    if (font && hostFont && c->st.mapMode == MM_TEXT && font->hostMetrics) {
      // Fonts are selected again and again around each line: keep the host's answer.
      c->fontMetrics = font->hostMetrics;
    } else {
      LOGFONTA lf = font ? font->font : LOGFONTA{};
      // The height is logical; fonts are resolved in device units.
      lf.lfHeight = LONG(RoundL(lf.lfHeight * ScaleOf(c).f));
      c->fontMetrics = c->surface ? c->surface->Font(lf) : ResolveFont(lf);
      if (font && hostFont && c->st.mapMode == MM_TEXT) font->hostMetrics = c->fontMetrics;
    }
  }
  return *c->fontMetrics;
}

PenSpec PenOf(const DeviceContext* c) {
  PenSpec p;
  if (c->st.pen) {
    p.style = int(c->st.pen->pen.lopnStyle);
    p.width = int(RoundL(ToDevLen(c, c->st.pen->pen.lopnWidth.x)));
    p.color = c->st.pen->pen.lopnColor;
  }
  return p;
}

BrushSpec BrushOf(const DeviceContext* c) {
  BrushSpec b;
  if (!c->st.brush || c->st.brush->brush.lbStyle == BS_NULL) {
    b.null = true;
  } else {
    b.color = c->st.brush->brush.lbColor;
  }
  return b;
}

// Shared by TextOutA and ExtTextOutA: places, measures and draws one string.
BOOL DrawString(DeviceContext* c, int x, int y, UINT options, const RECT* rect, const char* text, int count,
                const int* dx, TestDrawCall::Kind kind) {
  if (count < 0 || (!text && count > 0)) return FALSE;
  const BYTE* s = reinterpret_cast<const BYTE*>(text);
  TestDrawCall call{kind};
  call.x = x, call.y = y;
  call.text.assign(text ? text : "", std::size_t(count));
  call.options = options;
  if (rect && (options & ETO_CLIPPED)) {
    call.clipped = true;
    call.clip = *rect;
  }
  Record(c, std::move(call));

  const FontMetrics& f = Metrics(c);
  std::vector<int> adv(static_cast<std::size_t>(count));
  long width = 0;
  double scale = ScaleOf(c).f;
  for (int i = 0; i < count; ++i) {
    int a = dx ? int(RoundL(ToDevLen(c, dx[i]))) : f.advance[s[i]] + int(RoundL(c->st.charExtra * scale));
    adv[std::size_t(i)] = a;
    width += a;
  }
  double px = ToDevX(c, (c->st.align & TA_UPDATECP) ? c->st.pos.x : x);
  double py = ToDevY(c, (c->st.align & TA_UPDATECP) ? c->st.pos.y : y);
  UINT h = c->st.align & TA_CENTER;
  if (h == TA_RIGHT) px -= double(width);
  else if (h == TA_CENTER) px -= double(width) / 2.0;
  UINT v = c->st.align & TA_BASELINE;
  double baseline = v == TA_BASELINE ? py : v == TA_BOTTOM ? py - f.descent : py + f.ascent;
  if (c->st.align & TA_UPDATECP) {
    double moved = h == TA_LEFT ? double(width) / scale : h == TA_RIGHT ? -double(width) / scale : 0.0;
    c->st.pos.x = LONG(RoundL(double(c->st.pos.x) + moved));
  }
  if (!Drawing(c)) return TRUE;

  RECT clip{};
  const RECT* clipPtr = nullptr;
  if (rect && (options & (ETO_CLIPPED | ETO_OPAQUE))) clip = DevRect(c, rect->left, rect->top, rect->right, rect->bottom);
  if (rect && (options & ETO_OPAQUE)) {
    PenSpec none{PS_NULL, 0, 0};
    BrushSpec fill{false, c->st.bkColor};
    c->surface->Shape(Surface::ShapeKind::Rect, clip, 0, 0, &none, &fill);
  }
  if (rect && (options & ETO_CLIPPED)) clipPtr = &clip;
  if (c->st.hasClip) {
    if (clipPtr) {
      clip = RECT{std::max(clip.left, c->st.clip.left), std::max(clip.top, c->st.clip.top),
                  std::min(clip.right, c->st.clip.right), std::min(clip.bottom, c->st.clip.bottom)};
    } else {
      clip = c->st.clip;
    }
    clipPtr = &clip;
  }
  if (clipPtr && (clipPtr->right <= clipPtr->left || clipPtr->bottom <= clipPtr->top)) return TRUE;
  if (c->st.bkMode == OPAQUE && !(options & ETO_OPAQUE) && count > 0 && c->st.bkColor != 0xFFFFFF) {
    // The text cell is filled with the background colour first (white paper needs no fill).
    RECT cell{LONG(RoundL(px)), LONG(RoundL(baseline - f.ascent)), LONG(RoundL(px + double(width))),
              LONG(RoundL(baseline + f.descent))};
    PenSpec none{PS_NULL, 0, 0};
    BrushSpec fill{false, c->st.bkColor};
    c->surface->Shape(Surface::ShapeKind::Rect, cell, 0, 0, &none, &fill);
  }
  if (count > 0) c->surface->Text(f, px, baseline, s, count, adv.data(), c->st.textColor, clipPtr);
  return TRUE;
}

}  // namespace
}  // namespace gdi

using gdi::ContextOf;
using gdi::DeviceContext;

HDC CreateCompatibleDC(HDC) { return gdi::NewContext(nullptr); }

BOOL DeleteDC(HDC dc) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return FALSE;
  if (c->docOpen && c->surface) c->surface->AbortDoc();
  gdi::UnregisterHandle(c);
  gdi::DropAll(c->st);
  for (const gdi::DcState& s : c->saved) gdi::DropAll(s);
  if (c->temp) c->temp->m_hDC = nullptr;
  if (c->permanent) c->permanent->m_hDC = nullptr;
  c->magic = 0;
  delete c;
  return TRUE;
}

int GetDeviceCaps(HDC dc, int index) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return 0;
  gdi::PageGeometry g = c->surface ? c->surface->geom : gdi::PageGeometry{};
  switch (index) {
    case DRIVERVERSION: return 0x400;
    case TECHNOLOGY: return DT_RASPRINTER;
    case HORZSIZE: return g.horzSize;
    case VERTSIZE: return g.vertSize;
    case HORZRES: return g.horzRes;
    case VERTRES: return g.vertRes;
    case BITSPIXEL: return 24;
    case PLANES: return 1;
    case NUMCOLORS: return -1;
    case RASTERCAPS: return g.rasterCaps;
    case LOGPIXELSX: case LOGPIXELSY: return g.logPixels;
    case PHYSICALWIDTH: return g.physWidth;
    case PHYSICALHEIGHT: return g.physHeight;
    case PHYSICALOFFSETX: return g.offsetX;
    case PHYSICALOFFSETY: return g.offsetY;
    default: return 0;
  }
}

int SetMapMode(HDC dc, int mode) {
  DeviceContext* c = ContextOf(dc);
  if (!c || mode < MM_TEXT || mode > MM_ANISOTROPIC) return 0;
  int old = c->st.mapMode;
  if (old != mode) c->fontMetrics.reset();
  c->st.mapMode = mode;
  return old;
}

int GetMapMode(HDC dc) {
  DeviceContext* c = ContextOf(dc);
  return c ? c->st.mapMode : 0;
}

BOOL DPtoLP(HDC dc, POINT* pts, int count) {
  DeviceContext* c = ContextOf(dc);
  if (!c || !pts || count < 0) return FALSE;
  if (c->st.mapMode == MM_TEXT) return TRUE;  // the identity, for every value
  gdi::Scale s = gdi::ScaleOf(c);
  for (int i = 0; i < count; ++i) {
    pts[i].x = LONG(gdi::RoundL(pts[i].x / s.f));
    pts[i].y = LONG(gdi::RoundL((s.flipY ? -double(pts[i].y) : double(pts[i].y)) / s.f));
  }
  return TRUE;
}

BOOL LPtoDP(HDC dc, POINT* pts, int count) {
  DeviceContext* c = ContextOf(dc);
  if (!c || !pts || count < 0) return FALSE;
  if (c->st.mapMode == MM_TEXT) return TRUE;
  for (int i = 0; i < count; ++i) {
    pts[i].x = LONG(gdi::RoundL(gdi::ToDevX(c, pts[i].x)));
    pts[i].y = LONG(gdi::RoundL(gdi::ToDevY(c, pts[i].y)));
  }
  return TRUE;
}

int SaveDC(HDC dc) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return 0;
  c->saved.push_back(c->st);
  gdi::HoldAll(c->st);
  return int(c->saved.size());
}

BOOL RestoreDC(HDC dc, int saved) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return FALSE;
  int level = saved < 0 ? int(c->saved.size()) + 1 + saved : saved;
  if (level < 1 || level > int(c->saved.size())) return FALSE;
  gdi::DropAll(c->st);
  c->st = c->saved[std::size_t(level - 1)];
  for (std::size_t i = std::size_t(level); i < c->saved.size(); ++i) gdi::DropAll(c->saved[i]);
  c->saved.resize(std::size_t(level - 1));  // the restored state's hold passes to the context
  c->fontMetrics.reset();
  return TRUE;
}

HGDIOBJ SelectObject(HDC dc, HGDIOBJ obj) {
  DeviceContext* c = ContextOf(dc);
  gdi::GdiObject* o = gdi::ObjectOf(obj);
  if (!c || !o) return nullptr;
  gdi::GdiObject** slot = nullptr;
  switch (o->type) {
    case OBJ_FONT: slot = &c->st.font; break;
    case OBJ_PEN: slot = &c->st.pen; break;
    case OBJ_BRUSH: slot = &c->st.brush; break;
    case OBJ_BITMAP:
      if (c->surface) return nullptr;  // bitmaps go into memory contexts only
      slot = &c->st.bitmap;
      break;
    default: return nullptr;
  }
  gdi::GdiObject* old = *slot;
  if (old == o) return obj;
  gdi::Hold(o);
  *slot = o;
  if (o->type == OBJ_FONT) c->fontMetrics.reset();
  // The previous object is handed back; it may be freed if it was deleted meanwhile,
  // so its handle is returned without touching it afterwards.
  HGDIOBJ prev = old;
  gdi::Deselect(old);
  return prev;
}

HGDIOBJ GetCurrentObject(HDC dc, UINT type) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return nullptr;
  switch (type) {
    case OBJ_FONT: return c->st.font;
    case OBJ_PEN: return c->st.pen;
    case OBJ_BRUSH: return c->st.brush;
    case OBJ_BITMAP: return c->st.bitmap;
    default: return nullptr;
  }
}

#define ZEV_DC_FIELD(type, Set, Get, field, bad)  \
  type Set(HDC dc, type v) {                      \
    DeviceContext* c = ContextOf(dc);             \
    if (!c) return bad;                           \
    type old = c->st.field;                       \
    c->st.field = v;                              \
    return old;                                   \
  }                                               \
  type Get(HDC dc) {                              \
    DeviceContext* c = ContextOf(dc);             \
    return c ? c->st.field : bad;                 \
  }
ZEV_DC_FIELD(UINT, SetTextAlign, GetTextAlign, align, GDI_ERROR)
ZEV_DC_FIELD(COLORREF, SetBkColor, GetBkColor, bkColor, CLR_INVALID)
ZEV_DC_FIELD(COLORREF, SetTextColor, GetTextColor, textColor, CLR_INVALID)
ZEV_DC_FIELD(int, SetTextCharacterExtra, GetTextCharacterExtra, charExtra, int(0x80000000u))
#undef ZEV_DC_FIELD

int SetBkMode(HDC dc, int mode) {
  DeviceContext* c = ContextOf(dc);
  if (!c || (mode != TRANSPARENT && mode != OPAQUE)) return 0;
  int old = c->st.bkMode;
  c->st.bkMode = mode;
  return old;
}
int GetBkMode(HDC dc) {
  DeviceContext* c = ContextOf(dc);
  return c ? c->st.bkMode : 0;
}

BOOL GetTextExtentPoint32A(HDC dc, const char* text, int count, SIZE* size) {
  DeviceContext* c = ContextOf(dc);
  if (!c || !size || count < 0 || (!text && count > 0)) return FALSE;
  const gdi::FontMetrics& f = gdi::Metrics(c);
  const BYTE* s = reinterpret_cast<const BYTE*>(text);
  long w = 0;
  for (int i = 0; i < count; ++i) w += f.advance[s[i]];
  double scale = gdi::ScaleOf(c).f;
  w += long(count) * gdi::RoundL(c->st.charExtra * scale);
  size->cx = LONG(gdi::RoundL(double(w) / scale));
  size->cy = LONG(gdi::RoundL(double(f.height) / scale));
  return TRUE;
}

BOOL GetTextMetricsA(HDC dc, TEXTMETRICA* tm) {
  DeviceContext* c = ContextOf(dc);
  if (!c || !tm) return FALSE;
  const gdi::FontMetrics& f = gdi::Metrics(c);
  double scale = gdi::ScaleOf(c).f;
  auto L = [&](int v) { return LONG(gdi::RoundL(v / scale)); };
  *tm = TEXTMETRICA{};
  tm->tmHeight = L(f.height);
  tm->tmAscent = L(f.ascent);
  tm->tmDescent = L(f.descent);
  tm->tmInternalLeading = L(f.internalLeading);
  tm->tmExternalLeading = L(f.externalLeading);
  tm->tmAveCharWidth = L(f.aveWidth);
  tm->tmMaxCharWidth = L(f.maxWidth);
  tm->tmWeight = f.weight;
  tm->tmDigitizedAspectX = tm->tmDigitizedAspectY = gdi::Dpi(c);
  tm->tmFirstChar = 0x20;
  tm->tmLastChar = 0xFF;
  tm->tmDefaultChar = 0x1F;
  tm->tmBreakChar = 0x20;
  tm->tmItalic = f.italic;
  tm->tmUnderlined = f.underline;
  tm->tmStruckOut = f.strikeOut;
  tm->tmPitchAndFamily = 0x06;  // variable pitch, TrueType
  tm->tmCharSet = ANSI_CHARSET;
  return TRUE;
}

BOOL TextOutA(HDC dc, int x, int y, const char* text, int count) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return FALSE;
  return gdi::DrawString(c, x, y, 0, nullptr, text, count, nullptr, TestDrawCall::kTextOut);
}

BOOL ExtTextOutA(HDC dc, int x, int y, UINT options, const RECT* rect, const char* text, UINT count,
                 const int* dx) {
  DeviceContext* c = ContextOf(dc);
  if (!c || count > 0x7FFFFFFFu) return FALSE;
  if (!text) count = 0;
  return gdi::DrawString(c, x, y, options, rect, text, int(count), dx, TestDrawCall::kExtTextOut);
}

BOOL MoveToEx(HDC dc, int x, int y, POINT* previous) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return FALSE;
  if (previous) *previous = c->st.pos;
  c->st.pos = POINT{x, y};
  TestDrawCall call{TestDrawCall::kMoveTo};
  call.x = x, call.y = y;
  gdi::Record(c, std::move(call));
  return TRUE;
}

BOOL LineTo(HDC dc, int x, int y) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return FALSE;
  TestDrawCall call{TestDrawCall::kLineTo};
  call.x = c->st.pos.x, call.y = c->st.pos.y, call.x2 = x, call.y2 = y;
  gdi::Record(c, std::move(call));
  if (gdi::Drawing(c)) {
    gdi::PenSpec pen = gdi::PenOf(c);
    if (pen.style != PS_NULL)
      c->surface->Line(gdi::ToDevX(c, c->st.pos.x), gdi::ToDevY(c, c->st.pos.y), gdi::ToDevX(c, x),
                       gdi::ToDevY(c, y), pen);
  }
  c->st.pos = POINT{x, y};
  return TRUE;
}

namespace {
BOOL DrawShape(HDC dc, gdi::Surface::ShapeKind shape, TestDrawCall::Kind kind, int l, int t, int r, int b, int w,
               int h) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return FALSE;
  TestDrawCall call{kind};
  call.x = l, call.y = t, call.x2 = r, call.y2 = b;
  gdi::Record(c, std::move(call));
  if (!gdi::Drawing(c)) return TRUE;
  RECT rc = gdi::DevRect(c, l, t, r, b);
  gdi::PenSpec pen = gdi::PenOf(c);
  gdi::BrushSpec brush = gdi::BrushOf(c);
  c->surface->Shape(shape, rc, int(gdi::RoundL(gdi::ToDevLen(c, w))), int(gdi::RoundL(gdi::ToDevLen(c, h))),
                    &pen, &brush);
  return TRUE;
}
}  // namespace

BOOL Rectangle(HDC dc, int l, int t, int r, int b) {
  return DrawShape(dc, gdi::Surface::ShapeKind::Rect, TestDrawCall::kRectangle, l, t, r, b, 0, 0);
}
BOOL RoundRect(HDC dc, int l, int t, int r, int b, int w, int h) {
  return DrawShape(dc, gdi::Surface::ShapeKind::RoundRect, TestDrawCall::kRoundRect, l, t, r, b, w, h);
}
BOOL Ellipse(HDC dc, int l, int t, int r, int b) {
  return DrawShape(dc, gdi::Surface::ShapeKind::Ellipse, TestDrawCall::kEllipse, l, t, r, b, 0, 0);
}

int FillRect(HDC dc, const RECT* rect, HBRUSH brush) {
  DeviceContext* c = ContextOf(dc);
  gdi::GdiObject* o = gdi::ObjectOf(brush);
  if (!c || !rect || !o || o->type != OBJ_BRUSH) return 0;
  TestDrawCall call{TestDrawCall::kFillRect};
  call.x = rect->left, call.y = rect->top, call.x2 = rect->right, call.y2 = rect->bottom;
  gdi::Record(c, std::move(call));
  if (gdi::Drawing(c) && o->brush.lbStyle != BS_NULL) {
    gdi::PenSpec none{PS_NULL, 0, 0};
    gdi::BrushSpec fill{false, o->brush.lbColor};
    c->surface->Shape(gdi::Surface::ShapeKind::Rect, gdi::DevRect(c, rect->left, rect->top, rect->right, rect->bottom),
                      0, 0, &none, &fill);
  }
  return 1;
}

BOOL DrawEdge(HDC dc, RECT* rect, UINT edge, UINT flags) {
  DeviceContext* c = ContextOf(dc);
  if (!c || !rect) return FALSE;
  TestDrawCall call{TestDrawCall::kDrawEdge};
  call.x = rect->left, call.y = rect->top, call.x2 = rect->right, call.y2 = rect->bottom;
  call.options = edge | (flags << 16);
  gdi::Record(c, std::move(call));
  if (!gdi::Drawing(c)) return TRUE;
  // Two borders, outer then inner, each one screen pixel (1/96 inch) wide, in the
  // three-dimensional colours: light on the raised sides, shadow on the others.
  RECT r = gdi::DevRect(c, rect->left, rect->top, rect->right, rect->bottom);
  int px = std::max(1, gdi::Dpi(c) / 96);
  const COLORREF light = 0xE0E0E0, shadow = 0x808080, darkShadow = 0x404040, face = 0xC0C0C0;
  for (int layer = 0; layer < 2; ++layer) {
    UINT raised = layer == 0 ? BDR_RAISEDOUTER : BDR_RAISEDINNER;
    UINT sunken = layer == 0 ? BDR_SUNKENOUTER : BDR_SUNKENINNER;
    if (!(edge & (raised | sunken))) continue;
    bool up = (edge & raised) != 0;
    COLORREF tl = up ? (layer == 0 ? face : light) : (layer == 0 ? shadow : darkShadow);
    COLORREF br = up ? (layer == 0 ? darkShadow : shadow) : (layer == 0 ? light : face);
    gdi::PenSpec none{PS_NULL, 0, 0};
    auto fill = [&](LONG l, LONG t, LONG rr, LONG b, COLORREF col) {
      gdi::BrushSpec br2{false, col};
      if (rr > l && b > t) c->surface->Shape(gdi::Surface::ShapeKind::Rect, RECT{l, t, rr, b}, 0, 0, &none, &br2);
    };
    if (flags & BF_TOP) fill(r.left, r.top, r.right, r.top + px, tl);
    if (flags & BF_LEFT) fill(r.left, r.top, r.left + px, r.bottom, tl);
    if (flags & BF_BOTTOM) fill(r.left, r.bottom - px, r.right, r.bottom, br);
    if (flags & BF_RIGHT) fill(r.right - px, r.top, r.right, r.bottom, br);
    if (flags & BF_LEFT) r.left += px;
    if (flags & BF_TOP) r.top += px;
    if (flags & BF_RIGHT) r.right -= px;
    if (flags & BF_BOTTOM) r.bottom -= px;
  }
  if (flags & BF_ADJUST) *rect = r;
  return TRUE;
}

BOOL gdi::BlitBitmap(DeviceContext* c, int x, int y, int w, int h, const gdi::BitmapData* bmp, int xs, int ys,
                    int ws, int hs) {
  TestDrawCall call{TestDrawCall::kBlt};
  // Sums of caller values are taken in 64 bits and clamped: no overflow on any input.
  auto add = [](int a, int b) { return int(std::clamp<long long>(0LL + a + b, INT32_MIN, INT32_MAX)); };
  call.x = x, call.y = y, call.x2 = add(x, w), call.y2 = add(y, h);
  gdi::Record(c, std::move(call));
  if (!bmp || !gdi::Drawing(c)) return TRUE;
  RECT src{xs, ys, add(xs, ws), add(ys, hs)};
  src.left = std::clamp<LONG>(src.left, 0, bmp->width);
  src.right = std::clamp<LONG>(src.right, 0, bmp->width);
  src.top = std::clamp<LONG>(src.top, 0, bmp->height);
  src.bottom = std::clamp<LONG>(src.bottom, 0, bmp->height);
  if (src.right <= src.left || src.bottom <= src.top) return TRUE;
  RECT dst = gdi::DevRect(c, x, y, add(x, w), add(y, h));
  if (dst.right <= dst.left || dst.bottom <= dst.top) return TRUE;
  c->surface->Image(*bmp, src, dst);
  return TRUE;
}

namespace {
const gdi::BitmapData* SourceBitmap(HDC src) {
  DeviceContext* s = ContextOf(src);
  if (!s || !s->st.bitmap) return nullptr;
  return s->st.bitmap->bitmap.get();
}
}  // namespace

BOOL BitBlt(HDC dst, int x, int y, int w, int h, HDC src, int xs, int ys, DWORD) {
  DeviceContext* c = ContextOf(dst);
  if (!c) return FALSE;
  return gdi::BlitBitmap(c, x, y, w, h, SourceBitmap(src), xs, ys, w, h);
}

BOOL StretchBlt(HDC dst, int x, int y, int w, int h, HDC src, int xs, int ys, int ws, int hs, DWORD) {
  DeviceContext* c = ContextOf(dst);
  if (!c) return FALSE;
  return gdi::BlitBitmap(c, x, y, w, h, SourceBitmap(src), xs, ys, ws, hs);
}

BOOL DrawBitmap(HDC dc, int x, int y, int w, int h, HBITMAP bitmap) {
  DeviceContext* c = ContextOf(dc);
  gdi::GdiObject* o = gdi::ObjectOf(bitmap);
  if (!c || !o || o->type != OBJ_BITMAP || !o->bitmap) return FALSE;
  return gdi::BlitBitmap(c, x, y, w, h, o->bitmap.get(), 0, 0, o->bitmap->width, o->bitmap->height);
}

int IntersectClipRect(HDC dc, int l, int t, int r, int b) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return 0;
  RECT n = gdi::DevRect(c, l, t, r, b);
  if (c->st.hasClip)
    n = RECT{std::max(n.left, c->st.clip.left), std::max(n.top, c->st.clip.top), std::min(n.right, c->st.clip.right),
             std::min(n.bottom, c->st.clip.bottom)};
  c->st.hasClip = true;
  c->st.clip = n;
  return n.right > n.left && n.bottom > n.top ? 2 /* SIMPLEREGION */ : 1 /* NULLREGION */;
}

int SelectClipRgn(HDC dc, void* region) {
  DeviceContext* c = ContextOf(dc);
  if (!c || region) return 0;
  c->st.hasClip = false;
  return 2;
}

// ---- the document protocol ----
int StartDocA(HDC dc, const DOCINFOA* doc) {
  DeviceContext* c = ContextOf(dc);
  if (!c || !c->surface || c->docOpen) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return SP_ERROR;
  }
  const char* name = doc && doc->lpszDocName ? doc->lpszDocName : "";
  const char* output = doc && doc->lpszOutput && *doc->lpszOutput ? doc->lpszOutput : nullptr;
  if (!output && !c->surface->defaultOutput.empty()) output = c->surface->defaultOutput.c_str();
  TestDrawCall call{TestDrawCall::kStartDoc};
  call.text = name;
  gdi::Record(c, std::move(call));
  int r = c->surface->StartDoc(name, output);
  if (r <= 0) return SP_ERROR;
  c->docOpen = true;
  c->pageOpen = false;
  return r;
}

int StartPage(HDC dc) {
  DeviceContext* c = ContextOf(dc);
  if (!c || !c->docOpen) return SP_ERROR;
  if (c->pageOpen) return 1;
  int r = c->surface->StartPage();
  ++c->pagesStarted;
  gdi::Record(c, TestDrawCall{TestDrawCall::kStartPage});
  if (r <= 0) return SP_ERROR;
  c->pageOpen = true;
  return r;
}

int EndPage(HDC dc) {
  DeviceContext* c = ContextOf(dc);
  if (!c || !c->docOpen || !c->pageOpen) return SP_ERROR;
  gdi::Record(c, TestDrawCall{TestDrawCall::kEndPage});
  c->pageOpen = false;
  int r = c->surface->EndPage();
  if (r <= 0) return SP_ERROR;
  if (c->abortProc && !c->abortProc(dc, 0)) {
    c->surface->AbortDoc();
    c->docOpen = false;
    return SP_APPABORT;
  }
  return r;
}

int EndDoc(HDC dc) {
  DeviceContext* c = ContextOf(dc);
  if (!c || !c->docOpen) return SP_ERROR;
  if (c->pageOpen) EndPage(dc);
  if (!c->docOpen) return SP_ERROR;  // aborted at that page end
  gdi::Record(c, TestDrawCall{TestDrawCall::kEndDoc});
  c->docOpen = false;
  int r = c->surface->EndDoc();
  return r > 0 ? r : SP_ERROR;
}

int AbortDoc(HDC dc) {
  DeviceContext* c = ContextOf(dc);
  if (!c || !c->surface) return SP_ERROR;
  gdi::Record(c, TestDrawCall{TestDrawCall::kAbortDoc});
  bool wasOpen = c->docOpen;
  c->docOpen = false;
  c->pageOpen = false;
  if (wasOpen) c->surface->AbortDoc();
  return 1;
}

int SetAbortProc(HDC dc, ABORTPROC proc) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return SP_ERROR;
  c->abortProc = proc;
  return 1;
}

// ---- CDC ----
CDC::~CDC() {
  if (m_hDC && m_bOwns) ::zev::DeleteDC(m_hDC);
}

BOOL CDC::Attach(HDC dc) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return FALSE;
  m_hDC = m_hAttribDC = dc;
  m_bOwns = true;
  if (!c->permanent) c->permanent = this;
  return TRUE;
}

HDC CDC::Detach() {
  HDC h = m_hDC;
  if (DeviceContext* c = ContextOf(h); c && c->permanent == this) c->permanent = nullptr;
  m_hDC = m_hAttribDC = nullptr;
  m_bOwns = false;
  return h;
}

BOOL CDC::DeleteDC() {
  if (!m_hDC) return FALSE;
  return ::zev::DeleteDC(Detach());
}

BOOL CDC::CreateDC(const char* driver, const char* device, const char* output, const void* devmode) {
  return Attach(CreateDCA(driver, device, output, static_cast<const DEVMODEA*>(devmode)));
}

BOOL CDC::CreateCompatibleDC(CDC* dc) { return Attach(::zev::CreateCompatibleDC(dc ? dc->m_hDC : nullptr)); }

CDC* CDC::FromHandle(HDC dc) {
  DeviceContext* c = ContextOf(dc);
  if (!c) return nullptr;
  if (c->permanent) return c->permanent;
  if (!c->temp) {
    c->temp = std::make_unique<CDC>();
    c->temp->m_hDC = c->temp->m_hAttribDC = dc;
  }
  return c->temp.get();
}

int CDC::StartDoc(DOCINFOA* docInfo) { return StartDocA(m_hDC, docInfo); }
int CDC::StartDoc(const char* docName) {
  DOCINFOA d{sizeof(DOCINFOA), docName, nullptr, nullptr, 0};
  return StartDocA(m_hDC, &d);
}
int CDC::EndDoc() { return ::zev::EndDoc(m_hDC); }
int CDC::AbortDoc() { return ::zev::AbortDoc(m_hDC); }
int CDC::StartPage() { return ::zev::StartPage(m_hDC); }
int CDC::EndPage() { return ::zev::EndPage(m_hDC); }
int CDC::SetAbortProc(ABORTPROC proc) { return ::zev::SetAbortProc(m_hDC, proc); }
int CDC::GetDeviceCaps(int index) const { return ::zev::GetDeviceCaps(m_hDC, index); }
int CDC::SetMapMode(int mode) { return ::zev::SetMapMode(m_hDC, mode); }
int CDC::GetMapMode() const { return ::zev::GetMapMode(m_hDC); }
void CDC::DPtoLP(LPPOINT pts, int count) const { ::zev::DPtoLP(m_hDC, pts, count); }
void CDC::DPtoLP(LPRECT rect) const { ::zev::DPtoLP(m_hDC, reinterpret_cast<POINT*>(rect), 2); }
void CDC::DPtoLP(LPSIZE size) const {
  POINT p[2] = {{0, 0}, {size->cx, size->cy}};
  ::zev::DPtoLP(m_hDC, p, 2);
  size->cx = p[1].x - p[0].x;
  size->cy = p[1].y - p[0].y;
}
void CDC::LPtoDP(LPPOINT pts, int count) const { ::zev::LPtoDP(m_hDC, pts, count); }
void CDC::LPtoDP(LPRECT rect) const { ::zev::LPtoDP(m_hDC, reinterpret_cast<POINT*>(rect), 2); }
void CDC::LPtoDP(LPSIZE size) const {
  POINT p[2] = {{0, 0}, {size->cx, size->cy}};
  ::zev::LPtoDP(m_hDC, p, 2);
  size->cx = p[1].x - p[0].x;
  size->cy = p[1].y - p[0].y;
}
int CDC::SaveDC() { return ::zev::SaveDC(m_hDC); }
BOOL CDC::RestoreDC(int saved) { return ::zev::RestoreDC(m_hDC, saved); }

CFont* CDC::SelectObject(CFont* font) {
  return CFont::FromHandle(static_cast<HFONT>(::zev::SelectObject(m_hDC, font ? font->m_hObject : nullptr)));
}
CPen* CDC::SelectObject(CPen* pen) {
  return CPen::FromHandle(static_cast<HPEN>(::zev::SelectObject(m_hDC, pen ? pen->m_hObject : nullptr)));
}
CBrush* CDC::SelectObject(CBrush* brush) {
  return CBrush::FromHandle(static_cast<HBRUSH>(::zev::SelectObject(m_hDC, brush ? brush->m_hObject : nullptr)));
}
CBitmap* CDC::SelectObject(CBitmap* bitmap) {
  return CBitmap::FromHandle(
      static_cast<HBITMAP>(::zev::SelectObject(m_hDC, bitmap ? bitmap->m_hObject : nullptr)));
}
CGdiObject* CDC::SelectObject(CGdiObject* obj) {
  return CGdiObject::FromHandle(::zev::SelectObject(m_hDC, obj ? obj->m_hObject : nullptr));
}
CGdiObject* CDC::SelectStockObject(int index) {
  return CGdiObject::FromHandle(::zev::SelectObject(m_hDC, GetStockObject(index)));
}
CFont* CDC::GetCurrentFont() const {
  return CFont::FromHandle(static_cast<HFONT>(GetCurrentObject(m_hDC, OBJ_FONT)));
}
CPen* CDC::GetCurrentPen() const { return CPen::FromHandle(static_cast<HPEN>(GetCurrentObject(m_hDC, OBJ_PEN))); }
CBrush* CDC::GetCurrentBrush() const {
  return CBrush::FromHandle(static_cast<HBRUSH>(GetCurrentObject(m_hDC, OBJ_BRUSH)));
}

UINT CDC::SetTextAlign(UINT align) { return ::zev::SetTextAlign(m_hDC, align); }
UINT CDC::GetTextAlign() const { return ::zev::GetTextAlign(m_hDC); }
int CDC::SetBkMode(int mode) { return ::zev::SetBkMode(m_hDC, mode); }
int CDC::GetBkMode() const { return ::zev::GetBkMode(m_hDC); }
COLORREF CDC::SetBkColor(COLORREF color) { return ::zev::SetBkColor(m_hDC, color); }
COLORREF CDC::GetBkColor() const { return ::zev::GetBkColor(m_hDC); }
COLORREF CDC::SetTextColor(COLORREF color) { return ::zev::SetTextColor(m_hDC, color); }
COLORREF CDC::GetTextColor() const { return ::zev::GetTextColor(m_hDC); }
int CDC::SetTextCharacterExtra(int extra) { return ::zev::SetTextCharacterExtra(m_hDC, extra); }
int CDC::GetTextCharacterExtra() const { return ::zev::GetTextCharacterExtra(m_hDC); }

CSize CDC::GetTextExtent(const char* text, int count) const {
  SIZE s{0, 0};
  GetTextExtentPoint32A(m_hDC, text, count, &s);
  return s;
}
CSize CDC::GetTextExtent(const CString& text) const { return GetTextExtent(text, text.GetLength()); }
BOOL CDC::GetTextMetrics(LPTEXTMETRIC tm) const { return GetTextMetricsA(m_hDC, tm); }
BOOL CDC::TextOut(int x, int y, const char* text, int count) { return TextOutA(m_hDC, x, y, text, count); }
BOOL CDC::TextOut(int x, int y, const CString& text) { return TextOutA(m_hDC, x, y, text, text.GetLength()); }
BOOL CDC::ExtTextOut(int x, int y, UINT options, LPCRECT rect, const char* text, UINT count, const int* dx) {
  return ExtTextOutA(m_hDC, x, y, options, rect, text, count, dx);
}
BOOL CDC::ExtTextOut(int x, int y, UINT options, LPCRECT rect, const CString& text, const int* dx) {
  return ExtTextOutA(m_hDC, x, y, options, rect, text, UINT(text.GetLength()), dx);
}
CPoint CDC::MoveTo(int x, int y) {
  POINT p{0, 0};
  MoveToEx(m_hDC, x, y, &p);
  return p;
}
BOOL CDC::LineTo(int x, int y) { return ::zev::LineTo(m_hDC, x, y); }
BOOL CDC::Rectangle(int l, int t, int r, int b) { return ::zev::Rectangle(m_hDC, l, t, r, b); }
BOOL CDC::RoundRect(int l, int t, int r, int b, int w, int h) { return ::zev::RoundRect(m_hDC, l, t, r, b, w, h); }
BOOL CDC::Ellipse(int l, int t, int r, int b) { return ::zev::Ellipse(m_hDC, l, t, r, b); }
void CDC::FillRect(LPCRECT rect, CBrush* brush) {
  ::zev::FillRect(m_hDC, rect, brush ? static_cast<HBRUSH>(brush->m_hObject) : nullptr);
}
void CDC::FillSolidRect(LPCRECT rect, COLORREF color) {
  HBRUSH b = ::zev::CreateSolidBrush(color);
  ::zev::FillRect(m_hDC, rect, b);
  ::zev::DeleteObject(b);
}
BOOL CDC::DrawEdge(LPRECT rect, UINT edge, UINT flags) { return ::zev::DrawEdge(m_hDC, rect, edge, flags); }
BOOL CDC::BitBlt(int x, int y, int w, int h, CDC* src, int xs, int ys, DWORD rop) {
  return ::zev::BitBlt(m_hDC, x, y, w, h, src ? src->m_hDC : nullptr, xs, ys, rop);
}
BOOL CDC::StretchBlt(int x, int y, int w, int h, CDC* src, int xs, int ys, int ws, int hs, DWORD rop) {
  return ::zev::StretchBlt(m_hDC, x, y, w, h, src ? src->m_hDC : nullptr, xs, ys, ws, hs, rop);
}
int CDC::IntersectClipRect(int l, int t, int r, int b) { return ::zev::IntersectClipRect(m_hDC, l, t, r, b); }
int CDC::SelectClipRgn(void* region) { return ::zev::SelectClipRgn(m_hDC, region); }

}  // namespace zev
