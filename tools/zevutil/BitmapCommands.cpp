// bitmap: 8-bit images (BMP, palette PNG) and their palettes. `merge` fits the colours
// of up to 50 images into one identity palette and writes them side by side on it;
// `replace` changes one colour of an image; `info` shows which table entries the
// pixels use.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Commands.h"
#include "zevutil/CDib.h"

namespace zevcli {

namespace {

using nlohmann::json;

// Blank columns between the images of a merged sheet.
constexpr int kSheetGap = 4;

void PrintJson(const json& j) { std::printf("%s\n", j.dump(2).c_str()); }

std::string Hex(zev::COLORREF c) {
  char buf[8];
  std::snprintf(buf, sizeof buf, "%02X%02X%02X", zev::GetRValue(c), zev::GetGValue(c), zev::GetBValue(c));
  return buf;
}

// "RRGGBB" (an optional '#' first) as a COLORREF.
zev::COLORREF ParseColour(const std::string& text, const char* option) {
  std::string hex = text;
  if (!hex.empty() && hex[0] == '#') hex.erase(0, 1);
  if (hex.size() != 6 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
    throw CommandError(std::string(option) + " '" + text + "' is not six hexadecimal digits RRGGBB");
  const unsigned long rgb = std::strtoul(hex.c_str(), nullptr, 16);
  return zev::RGB(zev::BYTE(rgb >> 16), zev::BYTE(rgb >> 8), zev::BYTE(rgb));
}

enum class Kind { Bmp, Png };

// The output kind from the file name's extension (either case).
Kind OutputKind(const std::string& path) {
  const auto dot = path.find_last_of('.');
  std::string ext = dot == std::string::npos ? "" : path.substr(dot + 1);
  for (char& c : ext) c = char(std::tolower(static_cast<unsigned char>(c)));
  if (ext == "bmp") return Kind::Bmp;
  if (ext == "png") return Kind::Png;
  throw CommandError("output '" + path + "' must end in .bmp or .png");
}

void LoadImage(const std::string& path, zev::CDib& dib) {
  const std::string bytes = ReadWholeFile(path);
  if (!dib.LoadFromMemory(reinterpret_cast<const zev::BYTE*>(bytes.data()), bytes.size()))
    throw CommandError("'" + path + "' is not an 8-bit BMP or a palette PNG");
}

void SaveImage(const zev::CDib& dib, const std::string& path) {
  const Kind kind = OutputKind(path);
  std::vector<zev::BYTE> bytes;
  if (!(kind == Kind::Bmp ? dib.WriteBmp(bytes) : dib.WritePng(bytes)))
    throw CommandError("cannot encode the image for '" + path + "'");
  WriteFileAtomically(path, std::string(bytes.begin(), bytes.end()));
}

json ResultJson(const zev::PalMergeResult& r) {
  return {{"total", r.total}, {"asked", r.asked}, {"added", r.added}, {"moved", r.moved}, {"lost", r.lost}};
}

// The images side by side, top aligned, drawn with the merged palette: each colour
// takes its entry, or the nearest one when it was lost. The gaps are the first entry.
void BuildSheet(const zev::CPaletteMerge& merge, zev::CDib& sheet) {
  const zev::CDibPal* pal = merge.GetPalette();
  int width = 0, height = 0;
  for (int i = 0; i < merge.GetBitmapCount(); ++i) {
    width += merge.GetBitmap(i)->GetWidth() + (i ? kSheetGap : 0);
    height = std::max(height, merge.GetBitmap(i)->GetHeight());
  }
  if (!sheet.Create(width, height, pal->GetEntryCount()))
    throw CommandError("the merged images are too large for one sheet");
  for (int e = 0; e < pal->GetEntryCount(); ++e) {
    const zev::PALETTEENTRY& pe = pal->Entries()[e];
    sheet.GetColorTable()[e] = zev::QRGB(pe.peRed, pe.peGreen, pe.peBlue);
  }
  int left = 0;
  for (int i = 0; i < merge.GetBitmapCount(); ++i) {
    const zev::CDib* dib = merge.GetBitmap(i);
    int map[256];
    for (int v = 0; v < 256; ++v) map[v] = int(pal->GetNearestPaletteIndex(dib->GetTableColor(v)));
    for (int y = 0; y < dib->GetHeight(); ++y) {
      const zev::BYTE* src = dib->GetPixelAddress(0, y);
      zev::BYTE* dst = sheet.GetPixelAddress(left, y);
      for (int x = 0; x < dib->GetWidth(); ++x) dst[x] = zev::BYTE(map[src[x]]);
    }
    left += dib->GetWidth() + kSheetGap;
  }
}

void RunMerge(const std::vector<std::string>& inputs, const std::string& output, bool asJson) {
  if (inputs.size() > std::size_t(zev::CPaletteMerge::kMaxBitmaps))
    throw CommandError("at most " + std::to_string(zev::CPaletteMerge::kMaxBitmaps) + " images can be merged, not " +
                       std::to_string(inputs.size()));
  if (!output.empty()) OutputKind(output);
  // Each file is checked first, so that a bad one is named rather than ending the merge.
  for (const std::string& path : inputs) {
    zev::CDib probe;
    LoadImage(path, probe);
  }
  zev::CPaletteMerge merge;
  if (!merge.InitIdentityPalette()) throw CommandError("cannot make the identity palette");
  std::vector<const char*> paths;
  for (const std::string& p : inputs) paths.push_back(p.c_str());
  if (!merge.AddBitmaps(paths.data(), int(paths.size())) || merge.GetBitmapCount() != int(inputs.size()))
    throw CommandError("the images could not all be merged");

  zev::CDib sheet;
  if (!output.empty()) {
    BuildSheet(merge, sheet);
    SaveImage(sheet, output);
  }
  if (asJson) {
    json images = json::array();
    for (int i = 0; i < merge.GetBitmapCount(); ++i) {
      json one = ResultJson(*merge.GetResult(i));
      one["file"] = inputs[std::size_t(i)];
      images.push_back(one);
    }
    json j = {{"images", images}, {"entries", merge.GetPalette()->GetEntryCount()},
              {"next_free", merge.GetPalette()->m_nNextFree}};
    j["output"] = output.empty() ? json(nullptr) : json(output);
    PrintJson(j);
    return;
  }
  std::printf("%-5s %5s %5s %5s %5s %5s  %s\n", "image", "total", "asked", "added", "moved", "lost", "file");
  for (int i = 0; i < merge.GetBitmapCount(); ++i) {
    const zev::PalMergeResult& r = *merge.GetResult(i);
    std::printf("%5d %5d %5d %5d %5d %5d  %s\n", i + 1, r.total, r.asked, r.added, r.moved, r.lost,
                inputs[std::size_t(i)].c_str());
  }
  if (!output.empty())
    std::printf("wrote %s: %d x %d, the images side by side on the merged palette\n", output.c_str(),
                sheet.GetWidth(), sheet.GetHeight());
}

void RunReplace(const std::string& input, const std::string& from, const std::string& to, const std::string& output,
                bool nearest, bool mergeNew, bool asJson) {
  const zev::COLORREF oldColour = ParseColour(from, "--from");
  const zev::COLORREF newColour = ParseColour(to, "--to");
  OutputKind(output);
  zev::CDib dib;
  LoadImage(input, dib);
  zev::DWORD count = 0;
  zev::CRect rect;
  if (!dib.ReplaceColor(oldColour, newColour, count, rect, nearest ? 0 : 1, mergeNew ? 1 : 0)) {
    if (!nearest && dib.GetColorIndex(oldColour) < 0)
      throw CommandError("colour " + Hex(oldColour) + " is not in the colour table of '" + input +
                         "' (--nearest takes the closest one)");
    throw CommandError("colour " + Hex(newColour) + " cannot be had in '" + input +
                       "' (--merge adds it to the palette)");
  }
  SaveImage(dib, output);
  if (asJson) {
    PrintJson({{"changed", count},
               {"rect", {rect.left, rect.top, rect.right, rect.bottom}},
               {"output", output}});
    return;
  }
  // The rectangle as ReplaceColor gives it: rows and columns exchanged.
  std::printf("changed %u pixels; rect (%d, %d, %d, %d); wrote %s\n", unsigned(count), int(rect.left), int(rect.top),
              int(rect.right), int(rect.bottom), output.c_str());
}

void RunInfo(const std::string& input, bool all, bool asJson) {
  zev::CDib dib;
  LoadImage(input, dib);
  int used[256] = {};
  const int usedCount = dib.GetColorsUsed(used);
  std::vector<long long> pixels(256, 0);
  for (int y = 0; y < dib.GetHeight(); ++y) {
    const zev::BYTE* row = dib.GetPixelAddress(0, y);
    for (int x = 0; x < dib.GetWidth(); ++x) ++pixels[row[x]];
  }
  // Pixels may use values past the table: those are listed too (they draw as black).
  auto listed = [&](int i) { return pixels[std::size_t(i)] > 0 || (all && i < dib.GetNumColors()); };
  if (asJson) {
    json entries = json::array();
    for (int i = 0; i < 256; ++i) {
      if (!listed(i)) continue;
      entries.push_back({{"index", i},
                         {"rgb", Hex(dib.GetTableColor(i))},
                         {"in_table", i < dib.GetNumColors()},
                         {"pixels", pixels[std::size_t(i)]}});
    }
    PrintJson({{"file", input},
               {"width", dib.GetWidth()},
               {"height", dib.GetHeight()},
               {"table_entries", dib.GetNumColors()},
               {"entries_used", usedCount},
               {"entries", entries}});
    return;
  }
  std::printf("%s: %d x %d, %d table entries, %d of them used by the pixels\n", input.c_str(), dib.GetWidth(),
              dib.GetHeight(), dib.GetNumColors(), usedCount);
  std::printf("%5s  %-6s  %10s\n", "index", "rgb", "pixels");
  for (int i = 0; i < 256; ++i) {
    if (!listed(i)) continue;
    std::printf("%5d  %-6s  %10lld%s\n", i, Hex(dib.GetTableColor(i)).c_str(), pixels[std::size_t(i)],
                i < dib.GetNumColors() ? "" : "  (beyond the table)");
  }
}

}  // namespace

void AddBitmapCommands(CLI::App& app) {
  CLI::App* bitmap = app.add_subcommand("bitmap", "8-bit images (BMP, palette PNG): merge palettes, replace a colour, "
                                                  "show palette use");
  bitmap->require_subcommand(1);

  struct MergeArgs {
    std::vector<std::string> inputs;
    std::string output;
    bool json = false;
  };
  auto merge = std::make_shared<MergeArgs>();
  CLI::App* m = bitmap->add_subcommand(
      "merge", "merge the palettes of up to 50 images into one identity palette; report per image the entries in "
               "use (total), its colours (asked) and those added, moved and lost");
  m->add_option("images", merge->inputs, "BMP or palette PNG files")->required();
  m->add_option("-o,--output", merge->output, "write the images side by side on the merged palette (.bmp or .png)");
  m->add_flag("--json", merge->json, "print the report as JSON");
  m->callback([merge] { RunMerge(merge->inputs, merge->output, merge->json); });

  struct ReplaceArgs {
    std::string input, from, to, output;
    bool nearest = false, merge = false, json = false;
  };
  auto replace = std::make_shared<ReplaceArgs>();
  CLI::App* r = bitmap->add_subcommand("replace", "change every pixel of one colour to another");
  r->add_option("image", replace->input, "BMP or palette PNG file")->required();
  r->add_option("--from", replace->from, "the colour to replace, RRGGBB")->required();
  r->add_option("--to", replace->to, "the new colour, RRGGBB")->required();
  r->add_option("-o,--output", replace->output, "the changed image (.bmp or .png)")->required();
  r->add_flag("--nearest", replace->nearest, "take the table's closest colour when --from is not in it");
  r->add_flag("--merge", replace->merge, "add --to to the system palette when it has no such colour");
  r->add_flag("--json", replace->json, "print the result as JSON");
  r->callback([replace] {
    RunReplace(replace->input, replace->from, replace->to, replace->output, replace->nearest, replace->merge,
               replace->json);
  });

  struct InfoArgs {
    std::string input;
    bool all = false, json = false;
  };
  auto info = std::make_shared<InfoArgs>();
  CLI::App* i = bitmap->add_subcommand("info", "an image's size and the table entries its pixels use");
  i->add_option("image", info->input, "BMP or palette PNG file")->required();
  i->add_flag("--all", info->all, "list every table entry, used or not");
  i->add_flag("--json", info->json, "print as JSON");
  i->callback([info] { RunInfo(info->input, info->all, info->json); });
}

}  // namespace zevcli
