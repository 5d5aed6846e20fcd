// Helpers for the print output tests: running poppler's tools on what the devices
// wrote, reading `pdftotext -bbox` words, and the ink box of a PNG page.
#pragma once
#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace zevtest {

// Standard output of a shell command, and its exit status.
inline std::string Run(const std::string& cmd, int* status = nullptr) {
  std::string out;
  if (FILE* p = ::popen(cmd.c_str(), "r")) {
    char buf[4096];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    int rc = ::pclose(p);
    if (status) *status = rc;
  } else if (status) {
    *status = -1;
  }
  return out;
}

inline bool HaveTool(const char* name) {
  int rc = 0;
  Run(std::string("command -v ") + name + " >/dev/null 2>&1", &rc);
  return rc == 0;
}

#define ZEV_NEED_POPPLER()                                                                   \
  do {                                                                                       \
    if (!zevtest::HaveTool("pdfinfo") || !zevtest::HaveTool("pdftotext") ||                  \
        !zevtest::HaveTool("pdftoppm"))                                                      \
      GTEST_SKIP() << "poppler-utils (pdfinfo, pdftotext, pdftoppm) is not installed";      \
  } while (0)

// One word as `pdftotext -bbox` reports it, in points from the page's top left.
struct PdfWord {
  double xMin, yMin, xMax, yMax;
  std::string text;
  int page;
};

inline std::vector<PdfWord> PdfWords(const std::string& pdf) {
  std::string html = Run("pdftotext -bbox '" + pdf + "' - 2>/dev/null");
  std::vector<PdfWord> words;
  int page = 0;
  std::regex re(R"RE(<page |<word xMin="([-0-9.]+)" yMin="([-0-9.]+)" xMax="([-0-9.]+)" yMax="([-0-9.]+)">([^<]*)</word>)RE");
  for (auto it = std::sregex_iterator(html.begin(), html.end(), re); it != std::sregex_iterator(); ++it) {
    const std::smatch& m = *it;
    if (m[1].length() == 0) {
      ++page;
      continue;
    }
    words.push_back({std::stod(m[1]), std::stod(m[2]), std::stod(m[3]), std::stod(m[4]), m[5], page});
  }
  return words;
}

inline const PdfWord* FindWord(const std::vector<PdfWord>& words, const std::string& text, int page = 0) {
  for (const PdfWord& w : words)
    if (w.text == text && (page == 0 || w.page == page)) return &w;
  return nullptr;
}

// A `pdfinfo` field ("Pages", "Page size", ...), trimmed; empty when missing.
inline std::string PdfInfo(const std::string& pdf, const std::string& field, int* status = nullptr) {
  std::string out = Run("pdfinfo '" + pdf + "' 2>/dev/null", status);
  std::istringstream in(out);
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind(field + ":", 0) == 0) {
      std::string v = line.substr(field.size() + 1);
      v.erase(0, v.find_first_not_of(' '));
      return v;
    }
  }
  return "";
}

// The size of a PNG and the box of its dark pixels (any channel below 128), decoded by
// Python's zlib (8-bit RGB, RGBA or grey; all five row filters).
struct InkBox {
  int width = 0, height = 0;
  int x0 = -1, y0 = -1, x1 = -1, y1 = -1;
  long ink = 0;
};

inline InkBox PngInk(const std::string& png) {
  static const char* script = R"PY(
import sys, zlib, struct
d = open(sys.argv[1], 'rb').read()
pos, idat = 8, b''
while pos < len(d):
    n, t = struct.unpack('>I4s', d[pos:pos+8]); c = d[pos+8:pos+8+n]; pos += 12 + n
    if t == b'IHDR': w, h, bd, ct = struct.unpack('>IIBB', c[:10])
    elif t == b'IDAT': idat += c
ch = {0: 1, 2: 3, 6: 4}[ct]
raw = zlib.decompress(idat); stride = w * ch; prev = bytearray(stride); i = 0
x0 = y0 = x1 = y1 = -1; ink = 0
for y in range(h):
    f = raw[i]; row = bytearray(raw[i+1:i+1+stride]); i += 1 + stride
    if f == 1:
        for k in range(ch, stride): row[k] = (row[k] + row[k-ch]) & 255
    elif f == 2:
        for k in range(stride): row[k] = (row[k] + prev[k]) & 255
    elif f == 3:
        for k in range(stride): row[k] = (row[k] + ((row[k-ch] if k >= ch else 0) + prev[k]) // 2) & 255
    elif f == 4:
        for k in range(stride):
            a = row[k-ch] if k >= ch else 0; b = prev[k]; cc = prev[k-ch] if k >= ch else 0
            p = a + b - cc; pa, pb, pc = abs(p-a), abs(p-b), abs(p-cc)
            row[k] = (row[k] + (a if pa <= pb and pa <= pc else b if pb <= pc else cc)) & 255
    prev = row
    for x in range(w):
        if min(row[x*ch:x*ch+min(ch,3)]) < 128:
            ink += 1
            if x0 < 0 or x < x0: x0 = x
            if x > x1: x1 = x
            if y0 < 0: y0 = y
            y1 = y
print(w, h, x0, y0, x1, y1, ink)
)PY";
  static std::string scriptPath = [] {
    std::string p = ::testing::TempDir() + "/zev_png_ink.py";
    FILE* f = std::fopen(p.c_str(), "w");
    std::fputs(script, f);
    std::fclose(f);
    return p;
  }();
  InkBox box;
  std::istringstream in(Run("python3 '" + scriptPath + "' '" + png + "'"));
  in >> box.width >> box.height >> box.x0 >> box.y0 >> box.x1 >> box.y1 >> box.ink;
  return box;
}

}  // namespace zevtest
