// The test device: fixed character cells, nothing drawn, every call recorded, and
// named test printers that the spooler calls open like real destinations.
#include <map>
#include <mutex>

#include "GdiInternal.h"

namespace zev {

std::vector<TestDrawCall> TestDeviceLog::Texts() const {
  std::vector<TestDrawCall> out;
  for (const TestDrawCall& c : calls)
    if (c.kind == TestDrawCall::kTextOut || c.kind == TestDrawCall::kExtTextOut) out.push_back(c);
  return out;
}

namespace gdi {

class TestSurface : public Surface {
 public:
  explicit TestSurface(const TestDeviceOptions& o) : m_opt(o) {
    if (!m_opt.log) m_opt.log = std::make_shared<TestDeviceLog>();
    geom.horzRes = geom.physWidth = o.horzRes;
    geom.vertRes = geom.physHeight = o.vertRes;
    geom.horzSize = o.horzSize;
    geom.vertSize = o.vertSize;
    geom.logPixels = o.logPixels;
    geom.rasterCaps = o.rasterCaps;
    auto f = std::make_shared<FontMetrics>();
    f->height = o.charHeight;
    f->ascent = o.charHeight * 4 / 5;
    f->descent = f->height - f->ascent;
    f->aveWidth = f->maxWidth = o.charWidth;
    for (int& a : f->advance) a = o.charWidth;
    f->emSize = o.charHeight;
    f->family = "fixed test cell";
    m_font = f;
  }
  TestDeviceLog* Log() override { return m_opt.log.get(); }
  std::shared_ptr<TestDeviceLog> SharedLog() const { return m_opt.log; }
  std::shared_ptr<const FontMetrics> Font(const LOGFONTA& lf) override {
    if (lf.lfWeight == m_font->weight && bool(lf.lfItalic) == m_font->italic &&
        bool(lf.lfUnderline) == m_font->underline)
      return m_font;
    auto f = std::make_shared<FontMetrics>(*m_font);
    f->weight = lf.lfWeight;
    f->italic = lf.lfItalic != 0;
    f->underline = lf.lfUnderline != 0;
    return f;
  }
  static int Fail(int& counter, int failAt) { return ++counter == failAt ? SP_ERROR : 1; }
  int StartDoc(const char*, const char* output) override {
    TestDeviceLog& log = *m_opt.log;
    log.output = output ? output : "";
    return Fail(log.startDoc, m_opt.failStartDoc) > 0 ? log.startDoc : SP_ERROR;
  }
  int EndDoc() override { return Fail(m_opt.log->endDoc, m_opt.failEndDoc); }
  int AbortDoc() override {
    ++m_opt.log->abortDoc;
    return 1;
  }
  int StartPage() override { return Fail(m_opt.log->startPage, m_opt.failStartPage); }
  int EndPage() override { return Fail(m_opt.log->endPage, m_opt.failEndPage); }
  void Text(const FontMetrics&, double, double, const BYTE*, int, const int*, COLORREF, const RECT*) override {}
  void Line(double, double, double, double, const PenSpec&) override {}
  void Shape(ShapeKind, const RECT&, int, int, const PenSpec*, const BrushSpec*) override {}
  // Keeps what the blit drew, as colours, with the call the context just recorded.
  void Image(const BitmapData& bmp, const RECT& src, const RECT&) override {
    std::vector<TestDrawCall>& calls = m_opt.log->calls;
    if (calls.empty() || calls.back().kind != TestDrawCall::kBlt) return;
    TestDrawCall& call = calls.back();
    call.srcWidth = src.right - src.left;
    call.srcHeight = src.bottom - src.top;
    call.pixels.resize(std::size_t(call.srcWidth) * std::size_t(call.srcHeight));
    std::vector<std::uint32_t> row(std::size_t(call.srcWidth));
    for (int y = 0; y < call.srcHeight; ++y) {
      ExpandRow(bmp, src.top + y, src.left, src.right, row.data());
      for (int x = 0; x < call.srcWidth; ++x) {
        const std::uint32_t v = row[std::size_t(x)];
        call.pixels[std::size_t(y) * std::size_t(call.srcWidth) + std::size_t(x)] = RGB(BYTE(v >> 16), BYTE(v >> 8), BYTE(v));
      }
    }
  }

 private:
  TestDeviceOptions m_opt;
  std::shared_ptr<FontMetrics> m_font;
};

namespace {

std::mutex& PrinterLock() {
  static auto* m = new std::mutex;
  return *m;
}
std::map<std::string, TestDeviceOptions>& Printers() {
  static auto* p = new std::map<std::string, TestDeviceOptions>;
  return *p;
}

}  // namespace

std::unique_ptr<Surface> NewTestSurface(const TestDeviceOptions& options) {
  return std::make_unique<TestSurface>(options);
}

bool FindTestPrinter(const std::string& name, TestDeviceOptions& options) {
  std::lock_guard<std::mutex> lock(PrinterLock());
  auto it = Printers().find(name);
  if (it == Printers().end()) return false;
  options = it->second;
  return true;
}

}  // namespace gdi

HDC CreateTestDC(const TestDeviceOptions& options) { return gdi::NewContext(gdi::NewTestSurface(options)); }

std::shared_ptr<TestDeviceLog> GetTestDeviceLog(HDC dc) {
  gdi::DeviceContext* c = gdi::ContextOf(dc);
  auto* t = c ? dynamic_cast<gdi::TestSurface*>(c->surface.get()) : nullptr;
  return t ? t->SharedLog() : nullptr;
}

void RegisterTestPrinter(const char* name, const TestDeviceOptions& options) {
  std::lock_guard<std::mutex> lock(gdi::PrinterLock());
  gdi::Printers()[name ? name : ""] = options;
}

void UnregisterTestPrinter(const char* name) {
  std::lock_guard<std::mutex> lock(gdi::PrinterLock());
  gdi::Printers().erase(name ? name : "");
}

}  // namespace zev
