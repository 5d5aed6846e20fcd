// The print device on cairo. A document with an output name writes PDF to that file
// ("Print to PNG": one PNG per page, page-N.png, in that folder); otherwise the PDF is
// streamed into a CUPS job (cupsCreateJob, cupsStartDocument, then cairo's stream
// callback into cupsWriteRequestData: no temporary file). Files are written under a
// temporary name and renamed at EndDoc; an aborted or failed document leaves no file
// and cancels its CUPS job. Coordinates are 600 dpi device units from the printable
// area's top left.
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "GdiDevice.h"
#include "host/FontFace.h"
#include "zevutil/platform/Host.h"

#if ZEVUTIL_HAVE_CAIRO
#include <cairo-pdf.h>
#include <cairo.h>
#include <sys/stat.h>
#include <unistd.h>
#endif
#include "CupsLibrary.h"

namespace zev::gdi {

#if ZEVUTIL_HAVE_CAIRO
namespace {

void SetColor(cairo_t* cr, COLORREF c) {
  cairo_set_source_rgb(cr, (c & 0xFF) / 255.0, ((c >> 8) & 0xFF) / 255.0, ((c >> 16) & 0xFF) / 255.0);
}

// A path round a rectangle with elliptic corners of the given full width and height.
void RoundRectPath(cairo_t* cr, double l, double t, double r, double b, double w, double h) {
  double rx = std::min(w / 2, (r - l) / 2), ry = std::min(h / 2, (b - t) / 2);
  if (rx <= 0 || ry <= 0) {
    cairo_rectangle(cr, l, t, r - l, b - t);
    return;
  }
  auto corner = [&](double cx, double cy, double a1, double a2) {
    cairo_save(cr);
    cairo_translate(cr, cx, cy);
    cairo_scale(cr, rx, ry);
    cairo_arc(cr, 0, 0, 1, a1, a2);
    cairo_restore(cr);
  };
  cairo_new_sub_path(cr);
  corner(r - rx, t + ry, -M_PI / 2, 0);
  corner(r - rx, b - ry, 0, M_PI / 2);
  corner(l + rx, b - ry, M_PI / 2, M_PI);
  corner(l + rx, t + ry, M_PI, 3 * M_PI / 2);
  cairo_close_path(cr);
}

void ApplyPen(cairo_t* cr, const PenSpec& pen) {
  SetColor(cr, pen.color);
  cairo_set_line_width(cr, std::max(1, pen.width));
  double u = std::max(1, pen.width) * 6.0;
  static const double dash[] = {3, 1}, dot[] = {1, 1}, dashdot[] = {3, 1, 1, 1}, dashdotdot[] = {3, 1, 1, 1, 1, 1};
  const double* pattern = nullptr;
  int n = 0;
  switch (pen.style) {
    case PS_DASH: pattern = dash, n = 2; break;
    case PS_DOT: pattern = dot, n = 2; break;
    case PS_DASHDOT: pattern = dashdot, n = 4; break;
    case PS_DASHDOTDOT: pattern = dashdotdot, n = 6; break;
    default: break;
  }
  if (n) {
    double d[6];
    for (int i = 0; i < n; ++i) d[i] = pattern[i] * u;
    cairo_set_dash(cr, d, n, 0);
  } else {
    cairo_set_dash(cr, nullptr, 0, 0);
  }
}

class CairoSurface : public Surface {
 public:
  CairoSurface(const DestinationInfo& dest, const PageGeometry& page, std::string media, int copies, int pngDpi)
      : m_dest(dest), m_media(std::move(media)), m_copies(copies), m_dpi(pngDpi) {
    geom = page;
  }
  ~CairoSurface() override {
    if (m_open) AbortDoc();
    if (m_image) cairo_surface_destroy(m_image);
  }

  int StartDoc(const char* docName, const char* output) override {
    m_docName = docName ? docName : "";
    m_failed = false;
    m_pages = 0;
    if (m_dest.kind == DestinationInfo::kPng) {
      if (!output) return Fail(ERROR_INVALID_PARAMETER);
      m_folder = output;
      if (::mkdir(m_folder.c_str(), 0777) != 0 && errno != EEXIST) return Fail(ErrnoToWin32(errno));
      struct stat st{};
      if (::stat(m_folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return Fail(ERROR_PATH_NOT_FOUND);
      m_open = true;
      return 1;
    }
    if (output) {
      m_target = output;
      std::string tmpl = m_target + ".partXXXXXX";
      std::vector<char> buf(tmpl.begin(), tmpl.end());
      buf.push_back('\0');
      int fd = ::mkstemp(buf.data());
      if (fd < 0) return Fail(ErrnoToWin32(errno));
      ::fchmod(fd, 0666 & ~CurrentUmask());
      m_temp = buf.data();
      m_file = ::fdopen(fd, "wb");
      if (!m_file) {
        ::close(fd);
        ::unlink(m_temp.c_str());
        return Fail(ErrnoToWin32(errno));
      }
    } else if (m_dest.kind == DestinationInfo::kCups) {
      if (!StartCupsJob()) return SP_ERROR;
    } else {
      return Fail(ERROR_INVALID_PARAMETER);  // "Print to PDF" needs a file
    }
    m_surface = cairo_pdf_surface_create_for_stream(&CairoSurface::Write, this, PtW(), PtH());
    cairo_pdf_surface_set_metadata(m_surface, CAIRO_PDF_METADATA_TITLE, m_docName.c_str());
    cairo_pdf_surface_set_metadata(m_surface, CAIRO_PDF_METADATA_CREATOR, "ZevUtil");
    m_cr = cairo_create(m_surface);
    SetupContext(72.0 / kDeviceDpi);
    m_open = true;
    return m_job > 0 ? m_job : 1;
  }

  int StartPage() override {
    if (!m_open || m_failed) return SP_ERROR;
    ++m_pages;
    if (m_dest.kind == DestinationInfo::kPng) {
      double s = double(m_dpi) / kDeviceDpi;
      // Rounded up, as poppler sizes its pages: a PNG page matches pdftoppm's rendering.
      int w = std::max(1, int(std::ceil(geom.physWidth * s - 1e-6)));
      int h = std::max(1, int(std::ceil(geom.physHeight * s - 1e-6)));
      m_surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, w, h);
      m_cr = cairo_create(m_surface);
      cairo_set_source_rgb(m_cr, 1, 1, 1);
      cairo_paint(m_cr);
      SetupContext(s);
    }
    cairo_save(m_cr);
    m_font = nullptr;
    return Status() ? 1 : SP_ERROR;
  }

  int EndPage() override {
    if (!m_open || !m_cr) return SP_ERROR;
    cairo_restore(m_cr);
    if (m_dest.kind == DestinationInfo::kPng) {
      std::string final = m_folder + "/page-" + std::to_string(m_pages) + ".png";
      std::string temp = m_folder + "/.page-" + std::to_string(m_pages) + ".png.part";
      cairo_status_t st = cairo_surface_write_to_png(m_surface, temp.c_str());
      DestroyCairo();
      if (st != CAIRO_STATUS_SUCCESS) {
        ::unlink(temp.c_str());
        m_failed = true;
        return SP_ERROR;
      }
      m_pngPages.emplace_back(temp, final);
      return 1;
    }
    cairo_show_page(m_cr);
    return Status() && !m_failed ? 1 : SP_ERROR;
  }

  int EndDoc() override {
    if (!m_open) return SP_ERROR;
    m_open = false;
    if (m_dest.kind == DestinationInfo::kPng) {
      DestroyCairo();
      bool ok = !m_failed;
      for (auto& [temp, final] : m_pngPages)
        if (ok && ::rename(temp.c_str(), final.c_str()) != 0) ok = false;
      if (!ok) RemovePngPages();
      m_pngPages.clear();
      return ok ? 1 : SP_ERROR;
    }
    if (m_pages == 0) {
      // A PDF needs a page: an empty document still gives one blank page.
      cairo_show_page(m_cr);
    }
    cairo_surface_finish(m_surface);
    bool ok = Status() && !m_failed;
    DestroyCairo();
    if (m_file) {
      ok = std::fclose(m_file) == 0 && ok;
      m_file = nullptr;
      if (ok && ::rename(m_temp.c_str(), m_target.c_str()) != 0) ok = false;
      if (!ok) ::unlink(m_temp.c_str());
    }
#if ZEVUTIL_HAVE_CUPS
    if (m_http) {
      // A job was started, so the library is loaded.
      const CupsLibrary& cups = *Cups();
      ok = cups.cupsFinishDocument(static_cast<http_t*>(m_http), m_dest.name.c_str()) == IPP_STATUS_OK && ok;
      if (!ok) CancelCupsJob();
      cups.httpClose(static_cast<http_t*>(m_http));
      m_http = nullptr;
    }
#endif
    return ok ? 1 : SP_ERROR;
  }

  int AbortDoc() override {
    if (!m_open) return 1;
    m_open = false;
    m_discard = true;  // nothing more reaches the file or the job
    if (m_surface && m_dest.kind != DestinationInfo::kPng) cairo_surface_finish(m_surface);
    DestroyCairo();
    if (m_file) {
      std::fclose(m_file);
      m_file = nullptr;
      ::unlink(m_temp.c_str());
    }
    RemovePngPages();
#if ZEVUTIL_HAVE_CUPS
    if (m_http) {
      CancelCupsJob();
      Cups()->httpClose(static_cast<http_t*>(m_http));
      m_http = nullptr;
    }
#endif
    m_discard = false;
    return 1;
  }

  void Text(const FontMetrics& font, double x, double baseline, const BYTE* text, int n, const int* adv,
            COLORREF color, const RECT* clip) override {
    if (!m_cr || n <= 0) return;
    auto* hf = static_cast<const HostFont*>(font.host.get());
    if (!hf || !hf->scaled) return;
    if (clip) {
      cairo_save(m_cr);
      cairo_rectangle(m_cr, clip->left, clip->top, double(clip->right) - clip->left, double(clip->bottom) - clip->top);
      cairo_clip(m_cr);
    }
    if (m_font != font.host) {
      cairo_set_scaled_font(m_cr, static_cast<cairo_scaled_font_t*>(hf->scaled));
      m_font = font.host;  // held, so that its address cannot come back as another font
    }
    SetColor(m_cr, color);
    m_glyphs.resize(std::size_t(n));
    m_clusters.resize(std::size_t(n));
    m_utf8 = Cp1252ToUtf8(text, n);
    double pos = x;
    for (int i = 0; i < n; ++i) {
      m_glyphs[std::size_t(i)] = cairo_glyph_t{hf->glyph[text[i]], pos, baseline};
      unsigned u = kCp1252[text[i]];
      m_clusters[std::size_t(i)] = cairo_text_cluster_t{u != 0 && u < 0x80 ? 1 : u != 0 && u < 0x800 ? 2 : 3, 1};
      pos += adv[i];
    }
    cairo_show_text_glyphs(m_cr, m_utf8.data(), int(m_utf8.size()), m_glyphs.data(), n, m_clusters.data(), n,
                           cairo_text_cluster_flags_t(0));
    if (font.underline || font.strikeOut) {
      double thick = std::max(1.0, font.emSize / 14.0);
      cairo_set_line_width(m_cr, thick);
      cairo_set_dash(m_cr, nullptr, 0, 0);
      if (font.underline) {
        cairo_move_to(m_cr, x, baseline + font.emSize * 0.1);
        cairo_line_to(m_cr, pos, baseline + font.emSize * 0.1);
      }
      if (font.strikeOut) {
        cairo_move_to(m_cr, x, baseline - font.ascent * 0.3);
        cairo_line_to(m_cr, pos, baseline - font.ascent * 0.3);
      }
      cairo_stroke(m_cr);
    }
    if (clip) {
      cairo_restore(m_cr);
      m_font = nullptr;  // the restore brought back the font from before
    }
  }

  void Line(double x1, double y1, double x2, double y2, const PenSpec& pen) override {
    if (!m_cr) return;
    ApplyPen(m_cr, pen);
    cairo_move_to(m_cr, x1, y1);
    cairo_line_to(m_cr, x2, y2);
    cairo_stroke(m_cr);
  }

  void Shape(ShapeKind shape, const RECT& r, int cw, int ch, const PenSpec* pen, const BrushSpec* brush) override {
    if (!m_cr) return;
    double l = r.left, t = r.top, rr = r.right, b = r.bottom;
    auto path = [&] {
      cairo_new_path(m_cr);
      switch (shape) {
        case ShapeKind::Rect: cairo_rectangle(m_cr, l, t, rr - l, b - t); break;
        case ShapeKind::RoundRect: RoundRectPath(m_cr, l, t, rr, b, cw, ch); break;
        case ShapeKind::Ellipse:
          if (rr - l > 0 && b - t > 0) {
            cairo_save(m_cr);
            cairo_translate(m_cr, (l + rr) / 2, (t + b) / 2);
            cairo_scale(m_cr, (rr - l) / 2, (b - t) / 2);
            cairo_arc(m_cr, 0, 0, 1, 0, 2 * M_PI);
            cairo_restore(m_cr);
          }
          break;
      }
    };
    if (brush && !brush->null) {
      path();
      SetColor(m_cr, brush->color);
      cairo_fill(m_cr);
    }
    if (pen && pen->style != PS_NULL) {
      // The outline lies inside the rectangle, as the old devices draw it.
      double half = std::max(1, pen->width) / 2.0;
      l += half, t += half, rr -= half, b -= half;
      path();
      ApplyPen(m_cr, *pen);
      cairo_stroke(m_cr);
    }
  }

  void Image(const BitmapData& bmp, const RECT& src, const RECT& dst) override {
    if (!m_cr) return;
    // The last bitmap drawn stays as a cairo image: a logo is drawn once per page.
    if (!m_image || m_imageSerial != bmp.serial) {
      if (m_image) cairo_surface_destroy(m_image);
      m_image = cairo_image_surface_create(CAIRO_FORMAT_RGB24, bmp.width, bmp.height);
      m_imageSerial = bmp.serial;
      cairo_surface_flush(m_image);
      unsigned char* data = cairo_image_surface_get_data(m_image);
      const int stride = cairo_image_surface_get_stride(m_image);
      if (data)
        for (int y = 0; y < bmp.height; ++y)
          ExpandRow(bmp, y, 0, bmp.width, reinterpret_cast<std::uint32_t*>(data + std::size_t(y) * std::size_t(stride)));
      cairo_surface_mark_dirty(m_image);
    }
    cairo_surface_t* img = m_image;
    cairo_save(m_cr);
    cairo_rectangle(m_cr, dst.left, dst.top, double(dst.right) - dst.left, double(dst.bottom) - dst.top);
    cairo_clip(m_cr);
    cairo_translate(m_cr, dst.left, dst.top);
    cairo_scale(m_cr, (double(dst.right) - dst.left) / (double(src.right) - src.left),
                (double(dst.bottom) - dst.top) / (double(src.bottom) - src.top));
    cairo_set_source_surface(m_cr, img, -src.left, -src.top);
    cairo_pattern_set_filter(cairo_get_source(m_cr), CAIRO_FILTER_GOOD);
    cairo_paint(m_cr);
    cairo_restore(m_cr);
    m_font = nullptr;
  }

 private:
  static mode_t CurrentUmask() {
    mode_t m = ::umask(0);
    ::umask(m);
    return m;
  }
  int Fail(DWORD err) {
    SetLastError(err);
    return SP_ERROR;
  }
  double PtW() const { return geom.physWidth * 72.0 / kDeviceDpi; }
  double PtH() const { return geom.physHeight * 72.0 / kDeviceDpi; }
  bool Status() const { return m_cr && cairo_status(m_cr) == CAIRO_STATUS_SUCCESS; }

  void SetupContext(double scale) {
    cairo_font_options_t* opt = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(opt, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_hint_style(opt, CAIRO_HINT_STYLE_NONE);
    cairo_set_font_options(m_cr, opt);
    cairo_font_options_destroy(opt);
    cairo_scale(m_cr, scale, scale);
    cairo_translate(m_cr, geom.offsetX, geom.offsetY);
  }

  void DestroyCairo() {
    if (m_cr) cairo_destroy(m_cr);
    if (m_surface) cairo_surface_destroy(m_surface);
    m_cr = nullptr;
    m_surface = nullptr;
    m_font = nullptr;
  }

  void RemovePngPages() {
    for (auto& p : m_pngPages) ::unlink(p.first.c_str());
    m_pngPages.clear();
  }

  static cairo_status_t Write(void* closure, const unsigned char* data, unsigned int length) {
    auto* self = static_cast<CairoSurface*>(closure);
    if (self->m_discard) return CAIRO_STATUS_SUCCESS;
    if (self->m_file) {
      if (std::fwrite(data, 1, length, self->m_file) != length) {
        self->m_failed = true;
        return CAIRO_STATUS_WRITE_ERROR;
      }
      return CAIRO_STATUS_SUCCESS;
    }
#if ZEVUTIL_HAVE_CUPS
    if (self->m_http) {
      if (Cups()->cupsWriteRequestData(static_cast<http_t*>(self->m_http), reinterpret_cast<const char*>(data),
                                       length) != HTTP_STATUS_CONTINUE) {
        self->m_failed = true;
        return CAIRO_STATUS_WRITE_ERROR;
      }
      return CAIRO_STATUS_SUCCESS;
    }
#endif
    return CAIRO_STATUS_WRITE_ERROR;
  }

  bool StartCupsJob() {
#if ZEVUTIL_HAVE_CUPS
    const CupsLibrary* cups = Cups();
    http_t* http = cups ? cups->httpConnect2(cups->cupsServer(), cups->ippPort(), nullptr, AF_UNSPEC,
                                             cups->cupsEncryption(), 1, 30000, nullptr)
                        : nullptr;
    if (!http) {
      Fail(ERROR_INVALID_PARAMETER);
      return false;
    }
    std::string queue = m_dest.name.substr(0, m_dest.name.find('/'));
    int nopt = 0;
    cups_option_t* opts = nullptr;
    if (!m_media.empty()) nopt = cups->cupsAddOption(CUPS_MEDIA, m_media.c_str(), nopt, &opts);
    if (m_copies > 1) nopt = cups->cupsAddOption(CUPS_COPIES, std::to_string(m_copies).c_str(), nopt, &opts);
    // No orientation option: the PDF's pages already lie the way they were drawn, and
    // the option would turn them once more.
    std::string title = m_docName.empty() ? "ZevUtil" : m_docName;
    int job = cups->cupsCreateJob(http, queue.c_str(), title.c_str(), nopt, opts);
    cups->cupsFreeOptions(nopt, opts);
    if (job <= 0 || cups->cupsStartDocument(http, queue.c_str(), job, title.c_str(), CUPS_FORMAT_PDF, 1) !=
                        HTTP_STATUS_CONTINUE) {
      if (job > 0) cups->cupsCancelJob2(CUPS_HTTP_DEFAULT, queue.c_str(), job, 0);
      cups->httpClose(http);
      Fail(ERROR_INVALID_PARAMETER);
      return false;
    }
    m_http = http;
    m_job = job;
    return true;
#else
    Fail(50);  // ERROR_NOT_SUPPORTED
    return false;
#endif
  }

#if ZEVUTIL_HAVE_CUPS
  void CancelCupsJob() {
    if (m_job <= 0) return;
    // The job's own connection is busy with the document; cancel on another one.
    std::string queue = m_dest.name.substr(0, m_dest.name.find('/'));
    Cups()->cupsCancelJob2(CUPS_HTTP_DEFAULT, queue.c_str(), m_job, 0);
    m_job = 0;
  }
#endif

  DestinationInfo m_dest;
  std::string m_media;
  int m_copies = 1;
  int m_dpi = 150;
  std::string m_docName;
  bool m_open = false;
  bool m_failed = false;
  bool m_discard = false;
  int m_pages = 0;
  int m_job = 0;
  void* m_http = nullptr;
  std::FILE* m_file = nullptr;
  std::string m_target, m_temp, m_folder;
  std::vector<std::pair<std::string, std::string>> m_pngPages;
  cairo_surface_t* m_surface = nullptr;
  cairo_t* m_cr = nullptr;
  std::shared_ptr<void> m_font;
  cairo_surface_t* m_image = nullptr;
  std::uint64_t m_imageSerial = 0;
  std::vector<cairo_glyph_t> m_glyphs;
  std::vector<cairo_text_cluster_t> m_clusters;
  std::string m_utf8;
};

}  // namespace
#endif

std::unique_ptr<Surface> HostCreateSurface(const DestinationInfo& dest, const PageGeometry& page,
                                           const std::string& media, int copies, int pngDpi) {
#if ZEVUTIL_HAVE_CAIRO
  return std::make_unique<CairoSurface>(dest, page, media, copies, pngDpi);
#else
  (void)dest, (void)page, (void)media, (void)copies, (void)pngDpi;
  return nullptr;  // drawing is not supported without cairo
#endif
}

}  // namespace zev::gdi
