// Fonts for the print devices: a face name, weight and slant are matched through
// fontconfig (fonts-liberation gives the metric-compatible faces for "Arial",
// "Courier New" and "Times New Roman") and opened as a cairo scaled font at 600 dpi
// without hinting, so widths do not depend on the output resolution. Each resolved
// font keeps a 256-entry table of glyphs and whole-unit advances for the code page 1252
// bytes; measuring is then a sum over the table, and drawing places each glyph at the
// same sum. Fonts are cached for the life of the process.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>
#include <mutex>
#include <string>
#include <unordered_map>

#include "GdiDevice.h"
#include "host/FontFace.h"

#if ZEVUTIL_HAVE_CAIRO
#include <cairo-ft.h>
#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#endif

// Builds with AddressSanitizer: fontconfig keeps the configuration it parses once per
// process (freed only by FcFini, which cannot run while cairo still holds fonts). This
// file is linked whenever fonts are used, so the list comes along, static link or not.
#if defined(__SANITIZE_ADDRESS__)
#define ZEV_WITH_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZEV_WITH_ASAN 1
#endif
#endif
#if ZEV_WITH_ASAN
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
#endif

namespace zev::gdi {

// Unicode of each code page 1252 byte; 0 where the code page has no character and for
// the control bytes, which are drawn as the font's missing-glyph box.
const std::uint16_t kCp1252[256] = {
    0,      0,      0,      0,      0,      0,      0,      0,      0,      0,      0,      0,      0,
    0,      0,      0,      0,      0,      0,      0,      0,      0,      0,      0,      0,      0,
    0,      0,      0,      0,      0,      0,      0x20,   0x21,   0x22,   0x23,   0x24,   0x25,   0x26,
    0x27,   0x28,   0x29,   0x2A,   0x2B,   0x2C,   0x2D,   0x2E,   0x2F,   0x30,   0x31,   0x32,   0x33,
    0x34,   0x35,   0x36,   0x37,   0x38,   0x39,   0x3A,   0x3B,   0x3C,   0x3D,   0x3E,   0x3F,   0x40,
    0x41,   0x42,   0x43,   0x44,   0x45,   0x46,   0x47,   0x48,   0x49,   0x4A,   0x4B,   0x4C,   0x4D,
    0x4E,   0x4F,   0x50,   0x51,   0x52,   0x53,   0x54,   0x55,   0x56,   0x57,   0x58,   0x59,   0x5A,
    0x5B,   0x5C,   0x5D,   0x5E,   0x5F,   0x60,   0x61,   0x62,   0x63,   0x64,   0x65,   0x66,   0x67,
    0x68,   0x69,   0x6A,   0x6B,   0x6C,   0x6D,   0x6E,   0x6F,   0x70,   0x71,   0x72,   0x73,   0x74,
    0x75,   0x76,   0x77,   0x78,   0x79,   0x7A,   0x7B,   0x7C,   0x7D,   0x7E,   0,      0x20AC, 0,
    0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D,
    0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A,
    0x0153, 0,      0x017E, 0x0178, 0xA0,   0xA1,   0xA2,   0xA3,   0xA4,   0xA5,   0xA6,   0xA7,   0xA8,
    0xA9,   0xAA,   0xAB,   0xAC,   0xAD,   0xAE,   0xAF,   0xB0,   0xB1,   0xB2,   0xB3,   0xB4,   0xB5,
    0xB6,   0xB7,   0xB8,   0xB9,   0xBA,   0xBB,   0xBC,   0xBD,   0xBE,   0xBF,   0xC0,   0xC1,   0xC2,
    0xC3,   0xC4,   0xC5,   0xC6,   0xC7,   0xC8,   0xC9,   0xCA,   0xCB,   0xCC,   0xCD,   0xCE,   0xCF,
    0xD0,   0xD1,   0xD2,   0xD3,   0xD4,   0xD5,   0xD6,   0xD7,   0xD8,   0xD9,   0xDA,   0xDB,   0xDC,
    0xDD,   0xDE,   0xDF,   0xE0,   0xE1,   0xE2,   0xE3,   0xE4,   0xE5,   0xE6,   0xE7,   0xE8,   0xE9,
    0xEA,   0xEB,   0xEC,   0xED,   0xEE,   0xEF,   0xF0,   0xF1,   0xF2,   0xF3,   0xF4,   0xF5,   0xF6,
    0xF7,   0xF8,   0xF9,   0xFA,   0xFB,   0xFC,   0xFD,   0xFE,   0xFF};

std::string Cp1252ToUtf8(const BYTE* s, int n) {
  std::string out;
  out.reserve(std::size_t(n) + 8);
  for (int i = 0; i < n; ++i) {
    unsigned u = kCp1252[s[i]];
    if (u == 0) u = 0xFFFD;  // shown as a missing glyph
    if (u < 0x80) {
      out += char(u);
    } else if (u < 0x800) {
      out += char(0xC0 | (u >> 6));
      out += char(0x80 | (u & 0x3F));
    } else {
      out += char(0xE0 | (u >> 12));
      out += char(0x80 | ((u >> 6) & 0x3F));
      out += char(0x80 | (u & 0x3F));
    }
  }
  return out;
}

namespace {

// 10 points at 600 dpi: the size of a font asked for with height 0.
constexpr int kDefaultEm = 83;
// Cached faces and fonts beyond this are dropped (a report uses a handful).
constexpr std::size_t kMaxCached = 256;

std::string Lower(const char* s) {
  std::string r;
  for (; *s; ++s) r += char(std::tolower(static_cast<unsigned char>(*s)));
  return r;
}

std::mutex& CacheLock() {
  static auto* m = new std::mutex;
  return *m;
}

#if ZEVUTIL_HAVE_CAIRO

// A face matched by fontconfig, shared by every size.
struct Face {
  cairo_font_face_t* face = nullptr;
  std::string family;
  double cellPerEm = 1.15;  // (ascent + descent) / em, to size fonts given by cell height
};

std::unordered_map<std::string, Face>& Faces() {
  static auto* m = new std::unordered_map<std::string, Face>;
  return *m;
}
std::unordered_map<std::string, std::shared_ptr<const FontMetrics>>& Fonts() {
  static auto* m = new std::unordered_map<std::string, std::shared_ptr<const FontMetrics>>;
  return *m;
}

int FcWeightOf(int weight) {
  if (weight <= 0) weight = 400;
  return FcWeightFromOpenType(std::clamp(weight, 1, 1000));
}

cairo_font_options_t* UnhintedOptions() {
  static cairo_font_options_t* o = [] {
    cairo_font_options_t* opt = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(opt, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_hint_style(opt, CAIRO_HINT_STYLE_NONE);
    return opt;
  }();
  return o;
}

const Face& FindFace(const std::string& name, int weight, bool italic) {
  std::string key = Lower(name.c_str()) + '\n' + std::to_string(FcWeightOf(weight)) + (italic ? "i" : "r");
  auto it = Faces().find(key);
  if (it != Faces().end()) return it->second;
  if (Faces().size() >= kMaxCached) {
    // Faces asked for by name are unbounded; fonts in use keep their own reference.
    for (auto& entry : Faces()) cairo_font_face_destroy(entry.second.face);
    Faces().clear();
  }
  static bool fcReady = FcInit();
  (void)fcReady;
  FcPattern* pat = FcPatternCreate();
  FcPatternAddString(pat, FC_FAMILY, reinterpret_cast<const FcChar8*>(name.empty() ? "Arial" : name.c_str()));
  FcPatternAddInteger(pat, FC_WEIGHT, FcWeightOf(weight));
  FcPatternAddInteger(pat, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
  FcPatternAddBool(pat, FC_SCALABLE, FcTrue);
  FcConfigSubstitute(nullptr, pat, FcMatchPattern);
  FcDefaultSubstitute(pat);
  FcResult result = FcResultNoMatch;
  FcPattern* match = FcFontMatch(nullptr, pat, &result);
  FcPatternDestroy(pat);
  Face f;
  if (match) {
    FcChar8* fam = nullptr;
    if (FcPatternGetString(match, FC_FAMILY, 0, &fam) == FcResultMatch && fam)
      f.family = reinterpret_cast<const char*>(fam);
    f.face = cairo_ft_font_face_create_for_pattern(match);
    FcPatternDestroy(match);
  }
  if (!f.face || cairo_font_face_status(f.face) != CAIRO_STATUS_SUCCESS) {
    // No font at all on the system: cairo's own fallback face still measures and draws.
    if (f.face) cairo_font_face_destroy(f.face);
    f.face = cairo_toy_font_face_create("sans-serif", italic ? CAIRO_FONT_SLANT_ITALIC : CAIRO_FONT_SLANT_NORMAL,
                                        weight >= 600 ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    f.family = "sans-serif";
  }
  // The cell height of a 1000-unit em gives the ratio used for positive heights.
  cairo_matrix_t m, id;
  cairo_matrix_init_scale(&m, 1000, 1000);
  cairo_matrix_init_identity(&id);
  cairo_scaled_font_t* sf = cairo_scaled_font_create(f.face, &m, &id, UnhintedOptions());
  cairo_font_extents_t fe;
  cairo_scaled_font_extents(sf, &fe);
  if (fe.ascent + fe.descent > 0) f.cellPerEm = (fe.ascent + fe.descent) / 1000.0;
  cairo_scaled_font_destroy(sf);
  return Faces().emplace(key, f).first->second;
}

std::shared_ptr<const FontMetrics> Build(const LOGFONTA& lf, const Face& face, double em) {
  auto fm = std::make_shared<FontMetrics>();
  auto host = std::make_shared<HostFont>();
  cairo_matrix_t m, id;
  cairo_matrix_init_scale(&m, em, em);
  cairo_matrix_init_identity(&id);
  auto* scaled = cairo_scaled_font_create(face.face, &m, &id, UnhintedOptions());
  host->scaled = scaled;
  cairo_font_extents_t fe;
  cairo_scaled_font_extents(scaled, &fe);
  fm->ascent = int(std::lround(fe.ascent));
  fm->descent = int(std::lround(fe.descent));
  fm->height = fm->ascent + fm->descent;
  fm->internalLeading = std::max(0, fm->height - int(std::lround(em)));
  fm->externalLeading = std::max(0, int(std::lround(fe.height)) - fm->height);
  fm->emSize = em;
  fm->weight = lf.lfWeight ? lf.lfWeight : 400;
  fm->italic = lf.lfItalic != 0;
  fm->underline = lf.lfUnderline != 0;
  fm->strikeOut = lf.lfStrikeOut != 0;
  fm->family = face.family;
  FT_Face ft = cairo_ft_scaled_font_lock_face(scaled);
  int maxW = 0;
  for (int b = 0; b < 256; ++b) {
    unsigned long glyph = 0;
    if (ft && kCp1252[b]) glyph = FT_Get_Char_Index(ft, kCp1252[b]);
    host->glyph[b] = glyph;
    cairo_glyph_t g{glyph, 0, 0};
    cairo_text_extents_t te;
    cairo_scaled_font_glyph_extents(scaled, &g, 1, &te);
    fm->advance[b] = int(std::lround(te.x_advance));
    maxW = std::max(maxW, fm->advance[b]);
  }
  if (ft) cairo_ft_scaled_font_unlock_face(scaled);
  fm->maxWidth = maxW;
  fm->aveWidth = fm->advance[static_cast<unsigned char>('x')];
  fm->host = host;
  return fm;
}

#endif

}  // namespace

HostFont::~HostFont() {
#if ZEVUTIL_HAVE_CAIRO
  if (scaled) cairo_scaled_font_destroy(static_cast<cairo_scaled_font_t*>(scaled));
#endif
}

std::shared_ptr<const FontMetrics> ResolveFont(const LOGFONTA& lfIn) {
  LOGFONTA lf = lfIn;
  lf.lfFaceName[LF_FACESIZE - 1] = '\0';
  // Heights beyond a page are clamped: a font a metre tall measures, but no more.
  LONG h = std::clamp<LONG>(lf.lfHeight, -20000, 20000);
  std::string key = Lower(lf.lfFaceName) + '\n' + std::to_string(h) + '/' + std::to_string(lf.lfWeight) + '/' +
                    char('0' + (lf.lfItalic != 0)) + char('0' + (lf.lfUnderline != 0)) +
                    char('0' + (lf.lfStrikeOut != 0));
  std::lock_guard<std::mutex> lock(CacheLock());
#if ZEVUTIL_HAVE_CAIRO
  auto it = Fonts().find(key);
  if (it != Fonts().end()) return it->second;
  const Face& face = FindFace(lf.lfFaceName, lf.lfWeight, lf.lfItalic != 0);
  double em = h < 0 ? -double(h) : h > 0 ? double(h) / face.cellPerEm : kDefaultEm;
  em = std::max(em, 0.5);
  std::shared_ptr<const FontMetrics> fm = Build(lf, face, em);
  if (Fonts().size() >= kMaxCached) {
    // Every size is a font of its own: drop those no context or object holds.
    for (auto f = Fonts().begin(); f != Fonts().end();) f = f->second.use_count() == 1 ? Fonts().erase(f) : std::next(f);
  }
  Fonts().emplace(key, fm);
  return fm;
#else
  // Without cairo there is nothing to draw with; measure with plain proportions.
  static std::unordered_map<std::string, std::shared_ptr<const FontMetrics>> cache;
  auto it = cache.find(key);
  if (it != cache.end()) return it->second;
  auto fm = std::make_shared<FontMetrics>();
  double em = h < 0 ? -double(h) : h > 0 ? h / 1.15 : kDefaultEm;
  fm->ascent = int(std::lround(em * 0.905));
  fm->descent = int(std::lround(em * 0.212));
  fm->height = fm->ascent + fm->descent;
  fm->emSize = em;
  for (int& a : fm->advance) a = int(std::lround(em * 0.55));
  fm->aveWidth = fm->maxWidth = fm->advance[0];
  fm->weight = lf.lfWeight ? lf.lfWeight : 400;
  fm->family = lf.lfFaceName;
  cache.emplace(key, fm);
  return fm;
#endif
}

}  // namespace zev::gdi
