// Print destinations: the two built-ins ("Print to PDF", "Print to PNG"), which exist
// with or without CUPS, and every CUPS destination by name. An empty name is the CUPS
// default (which honours LPDEST, PRINTER, lpoptions and the server's default); with
// none, or an unknown name, the lookup fails with error 87. A CUPS queue gives its
// default media and printable area. The system paper comes from /etc/papersize.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>

#include "GdiDevice.h"

#include "CupsLibrary.h"

namespace zev::gdi {

namespace {

bool SameNoCase(const std::string& a, const char* b) {
  std::size_t n = std::char_traits<char>::length(b);
  if (a.size() != n) return false;
  for (std::size_t i = 0; i < n; ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

#if ZEVUTIL_HAVE_CUPS
int Dev(int mm100) { return int(std::lround(mm100 * double(kDeviceDpi) / 2540.0)); }

PageGeometry GeometryOf(const cups_size_t& s) {
  PageGeometry g;
  g.physWidth = Dev(s.width);
  g.physHeight = Dev(s.length);
  g.offsetX = Dev(s.left);
  g.offsetY = Dev(s.top);
  int w = std::max(1, s.width - s.left - s.right), h = std::max(1, s.length - s.top - s.bottom);
  g.horzRes = Dev(w);
  g.vertRes = Dev(h);
  g.horzSize = int(std::lround(w / 100.0));
  g.vertSize = int(std::lround(h / 100.0));
  return g;
}

// The queue's default media and its size, through the destination's information.
bool DefaultMedia(const CupsLibrary& cups, cups_dest_t* dest, std::string& media, PageGeometry& page) {
  cups_dinfo_t* info = cups.cupsCopyDestInfo(CUPS_HTTP_DEFAULT, dest);
  if (!info) return false;
  bool ok = false;
  ipp_attribute_t* def = cups.cupsFindDestDefault(CUPS_HTTP_DEFAULT, dest, info, CUPS_MEDIA);
  const char* name = def ? cups.ippGetString(def, 0, nullptr) : nullptr;
  cups_size_t size{};
  if (name && cups.cupsGetDestMediaByName(CUPS_HTTP_DEFAULT, dest, info, name, CUPS_MEDIA_FLAGS_DEFAULT, &size)) {
    media = size.media;
    page = GeometryOf(size);
    ok = true;
  }
  cups.cupsFreeDestInfo(info);
  return ok;
}

const char* StateText(const char* state) {
  if (!state) return "unknown";
  switch (std::atoi(state)) {
    case 3: return "idle";
    case 4: return "processing";
    case 5: return "stopped";
    default: return "unknown";
  }
}
#endif

}  // namespace

bool HostHaveCups() {
#if ZEVUTIL_HAVE_CUPS
  return Cups() != nullptr;
#else
  return false;
#endif
}

bool HostFindDestination(const std::string& name, DestinationInfo& out, DWORD& error) {
  out = DestinationInfo();
  if (SameNoCase(name, kPrintToPdfName) || SameNoCase(name, kPrintToPngName)) {
    out.kind = SameNoCase(name, kPrintToPdfName) ? DestinationInfo::kPdf : DestinationInfo::kPng;
    out.name = out.kind == DestinationInfo::kPdf ? kPrintToPdfName : kPrintToPngName;
    return true;
  }
#if ZEVUTIL_HAVE_CUPS
  const CupsLibrary* cups = Cups();
  cups_dest_t* dest =
      cups ? cups->cupsGetNamedDest(CUPS_HTTP_DEFAULT, name.empty() ? nullptr : name.c_str(), nullptr) : nullptr;
  if (!dest) {
    error = ERROR_INVALID_PARAMETER;
    return false;
  }
  out.kind = DestinationInfo::kCups;
  out.name = dest->name;
  if (dest->instance) out.name += std::string("/") + dest->instance;
  out.isDefault = dest->is_default != 0 || name.empty();
  out.havePage = DefaultMedia(*cups, dest, out.media, out.page);
  cups->cupsFreeDests(1, dest);
  return true;
#else
  error = ERROR_INVALID_PARAMETER;
  return false;
#endif
}

bool HostCupsMediaForPaper(const std::string& queue, int widthMm100, int heightMm100, std::string& media,
                           PageGeometry& page) {
#if ZEVUTIL_HAVE_CUPS
  const CupsLibrary* cups = Cups();
  cups_dest_t* dest = cups ? cups->cupsGetNamedDest(CUPS_HTTP_DEFAULT, queue.c_str(), nullptr) : nullptr;
  if (!dest) return false;
  bool ok = false;
  if (cups_dinfo_t* info = cups->cupsCopyDestInfo(CUPS_HTTP_DEFAULT, dest)) {
    cups_size_t size{};
    if (cups->cupsGetDestMediaBySize(CUPS_HTTP_DEFAULT, dest, info, widthMm100, heightMm100,
                                     CUPS_MEDIA_FLAGS_DEFAULT, &size)) {
      media = size.media;
      page = GeometryOf(size);
      ok = true;
    }
    cups->cupsFreeDestInfo(info);
  }
  cups->cupsFreeDests(1, dest);
  return ok;
#else
  (void)queue, (void)widthMm100, (void)heightMm100, (void)media, (void)page;
  return false;
#endif
}

std::vector<PrintDestination> HostEnumCupsDestinations() {
  std::vector<PrintDestination> out;
#if ZEVUTIL_HAVE_CUPS
  const CupsLibrary* cups = Cups();
  if (!cups) return out;
  cups_dest_t* dests = nullptr;
  int n = cups->cupsGetDests2(CUPS_HTTP_DEFAULT, &dests);
  for (int i = 0; i < n; ++i) {
    cups_dest_t* d = &dests[i];
    PrintDestination p;
    std::string name = d->name;
    if (d->instance) name += std::string("/") + d->instance;
    p.name = name.c_str();
    p.isDefault = d->is_default != 0;
    p.state = StateText(cups->cupsGetOption("printer-state", d->num_options, d->options));
    const char* info = cups->cupsGetOption("printer-info", d->num_options, d->options);
    p.info = info ? info : "";
    std::string media;
    PageGeometry page;
    if (DefaultMedia(*cups, d, media, page)) p.media = media.c_str();
    out.push_back(p);
  }
  cups->cupsFreeDests(n, dests);
#endif
  return out;
}

std::string HostSystemPaperName() {
  // PAPERSIZE and PAPERCONF are libpaper's own overrides of the system file.
  std::string word;
  if (const char* env = std::getenv("PAPERSIZE"); env && *env) {
    word = env;
  } else {
    const char* conf = std::getenv("PAPERCONF");
    std::ifstream in(conf && *conf ? conf : "/etc/papersize");
    std::string line;
    while (word.empty() && std::getline(in, line)) {
      std::size_t a = line.find_first_not_of(" \t\r");
      if (a == std::string::npos || line[a] == '#') continue;
      std::size_t b = line.find_first_of(" \t\r#", a);
      word = line.substr(a, b == std::string::npos ? std::string::npos : b - a);
    }
  }
  for (char& c : word) c = char(std::tolower(static_cast<unsigned char>(c)));
  return word;
}

}  // namespace zev::gdi
