// Inside the device layer: resolved font metrics, bitmaps, the drawing surface that a
// device context draws on, and the host services behind them (fonts, destinations,
// cairo surfaces, CUPS), which live in platform/host/.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zevutil/platform/Gdi.h"
#include "zevutil/platform/Print.h"

namespace zev::gdi {

// Every device works in these units.
inline constexpr int kDeviceDpi = 600;

// A font resolved for 600 dpi devices. Advances are whole device units, one per byte
// value: a width is their sum, and drawing places each glyph at exactly that sum.
struct FontMetrics {
  int height = 0;  // ascent + descent
  int ascent = 0;
  int descent = 0;
  int internalLeading = 0;
  int externalLeading = 0;
  int aveWidth = 0;
  int maxWidth = 0;
  int advance[256] = {};
  double emSize = 0;       // the size drawn, in device units
  int weight = 400;        // as asked
  bool italic = false;
  bool underline = false;
  bool strikeOut = false;
  std::string family;      // the face found
  std::shared_ptr<void> host;  // the host's font (a cairo font face), shared by every device
};

// The host's font for a logical font (height already in device units); never null.
// Results are cached by face, size, weight and slant.
std::shared_ptr<const FontMetrics> ResolveFont(const LOGFONTA& lf);

// A bitmap: indices mapped through a colour table (8-bit), or RGB triples (24-bit).
// Rows are top down and unpadded. A bitmap never changes once made.
struct BitmapData {
  int width = 0;
  int height = 0;
  std::vector<RGBQUAD> colors;  // 8-bit: the colour table
  std::vector<BYTE> pixels;     // 8-bit: width * height indices
  std::vector<BYTE> rgb;        // 24-bit: width * height * 3 bytes, red first
  std::uint64_t serial = NextSerial();  // tells bitmaps apart for a host's cache
  bool Indexed() const { return !pixels.empty(); }
  static std::uint64_t NextSerial();
};
// Row y as 0x00RRGGBB words (cairo's RGB24 layout), for the columns [x0, x1). An index
// beyond the colour table is black.
void ExpandRow(const BitmapData& bmp, int y, int x0, int x1, std::uint32_t* out);

struct PenSpec {
  int style = PS_SOLID;
  int width = 0;  // device units; 0 is the thinnest line
  COLORREF color = 0;
};
struct BrushSpec {
  bool null = false;
  COLORREF color = 0xFFFFFF;
};

// The page of a device in device units, with the printable offset.
struct PageGeometry {
  int horzRes = 4961, vertRes = 7016;  // printable area
  int physWidth = 4961, physHeight = 7016;
  int offsetX = 0, offsetY = 0;
  int horzSize = 210, vertSize = 297;  // printable area in mm
  int logPixels = kDeviceDpi;
  int rasterCaps = RC_BITBLT | RC_STRETCHBLT | RC_BITMAP64 | RC_DI_BITMAP | RC_DIBTODEV | RC_STRETCHDIB;
};

// What a device context draws on. Coordinates are device units with the origin at the
// printable area's top left. Draw calls come only between StartPage and EndPage.
class Surface {
 public:
  virtual ~Surface() = default;
  PageGeometry geom;
  std::string defaultOutput;  // from a "FILE:path" port: the output when the document names none

  virtual TestDeviceLog* Log() { return nullptr; }
  // The font a device measures and draws with: the host's, or the test device's fixed one.
  virtual std::shared_ptr<const FontMetrics> Font(const LOGFONTA& lf) { return ResolveFont(lf); }

  virtual int StartDoc(const char* docName, const char* output) = 0;  // > 0 for success
  virtual int EndDoc() = 0;
  virtual int AbortDoc() = 0;
  virtual int StartPage() = 0;
  virtual int EndPage() = 0;

  // Text at 'x' (glyph origin) and 'baseline'; adv[i] is the advance after byte i.
  virtual void Text(const FontMetrics& font, double x, double baseline, const BYTE* text, int n, const int* adv,
                    COLORREF color, const RECT* clip) = 0;
  virtual void Line(double x1, double y1, double x2, double y2, const PenSpec& pen) = 0;
  enum class ShapeKind { Rect, RoundRect, Ellipse };
  virtual void Shape(ShapeKind shape, const RECT& r, int cornerW, int cornerH, const PenSpec* pen,
                     const BrushSpec* brush) = 0;
  virtual void Image(const BitmapData& bmp, const RECT& src, const RECT& dst) = 0;
};

// ---- host services (platform/host/) ----
struct DestinationInfo {
  enum Kind { kPdf, kPng, kCups, kTest };
  Kind kind = kPdf;
  std::string name;
  bool isDefault = false;
  // CUPS: the default media and its printable area; empty media: the system paper.
  std::string media;
  PageGeometry page;
  bool havePage = false;
};

// Finds a destination by name (empty: the default). On failure returns false with the
// error (ERROR_INVALID_PARAMETER for an unknown name or no default).
bool HostFindDestination(const std::string& name, DestinationInfo& out, DWORD& error);
// A surface on a built-in or CUPS destination for one context. 'media' names the
// CUPS media of the page; 'pngDpi' the resolution of PNG pages.
std::unique_ptr<Surface> HostCreateSurface(const DestinationInfo& dest, const PageGeometry& page,
                                           const std::string& media, int copies, int pngDpi);
// The CUPS destinations (built-ins excluded); empty without CUPS or scheduler.
std::vector<PrintDestination> HostEnumCupsDestinations();
// The CUPS page for a paper code on a queue (media name and printable area), when the
// queue knows that paper; false otherwise.
bool HostCupsMediaForPaper(const std::string& queue, int widthMm100, int heightMm100, std::string& media,
                           PageGeometry& page);
// Contents of /etc/papersize (first word, lower case), or empty.
std::string HostSystemPaperName();
bool HostHaveCups();

}  // namespace zev::gdi
