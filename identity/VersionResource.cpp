// Version resources: finding the VS_VERSIONINFO block in a PE image or building it
// from our ELF note, reading values out of it, and writing one.
#include "VersionResource.h"

#include <cstdlib>
#include <cstring>

#include "formats/ByteCursor.h"
#include "zevutil/platform/CFile.h"

namespace zev::identity {

namespace {

// ---- code page 1252 and UTF-16 ----

// Unicode of the bytes 0x80 to 0x9F; the bytes with no character map to themselves.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t Cp1252ToUnicode(unsigned char c) { return (c >= 0x80 && c <= 0x9F) ? kCp1252High[c - 0x80] : char16_t(c); }

char UnicodeToCp1252(char16_t u) {
  if (u < 0x80 || (u >= 0xA0 && u <= 0xFF)) return char(u);
  for (int i = 0; i < 32; ++i)
    if (kCp1252High[i] == u) return char(0x80 + i);
  return '?';
}

bool KeyEquals(const std::u16string& key, const std::string& want) {
  if (key.size() != want.size()) return false;
  for (std::size_t i = 0; i < key.size(); ++i) {
    char16_t a = key[i];
    char b = want[i];
    if (a >= 'A' && a <= 'Z') a = char16_t(a - 'A' + 'a');
    if (b >= 'A' && b <= 'Z') b = char(b - 'A' + 'a');
    if (a != char16_t(static_cast<unsigned char>(b))) return false;
  }
  return true;
}

std::size_t Align4(std::size_t v) { return (v + 3) & ~std::size_t(3); }

// ---- reading a version block ----

// One node of a block: WORD length, WORD value length, WORD type (1 text, 0
// binary), a NUL-ended UTF-16 key, the value on a 4-byte boundary, then children
// on 4-byte boundaries. All positions are offsets into the block and lie within it.
struct Node {
  std::size_t start = 0, end = 0;
  std::size_t valueStart = 0, valueEnd = 0;
  std::size_t childStart = 0;
  WORD type = 0;
  std::u16string key;
};

bool ReadNode(const std::vector<BYTE>& block, std::size_t start, std::size_t limit, Node& node) {
  if (limit > block.size()) limit = block.size();
  if (start > limit || limit - start < 6) return false;
  ByteCursor c(block.data() + start, limit - start);
  WORD length = c.U16();
  WORD valueLength = c.U16();
  node.type = c.U16();
  if (length < 6) return false;
  node.start = start;
  node.end = start + (length < limit - start ? length : limit - start);
  node.key.clear();
  std::size_t p = start + 6;
  bool terminated = false;
  while (p + 2 <= node.end) {
    char16_t u = char16_t(block[p] | (block[p + 1] << 8));
    p += 2;
    if (u == 0) {
      terminated = true;
      break;
    }
    node.key += u;
  }
  if (!terminated) return false;
  node.valueStart = Align4(p) < node.end ? Align4(p) : node.end;
  std::size_t valueBytes = node.type == 1 ? std::size_t(valueLength) * 2 : valueLength;
  node.valueEnd = valueBytes < node.end - node.valueStart ? node.valueStart + valueBytes : node.end;
  node.childStart = Align4(node.valueEnd) < node.end ? Align4(node.valueEnd) : node.end;
  return true;
}

bool FindChild(const std::vector<BYTE>& block, const Node& parent, const std::string& key, Node& child) {
  std::size_t pos = parent.childStart;
  while (pos < parent.end) {
    if (!ReadNode(block, pos, parent.end, child)) return false;
    if (KeyEquals(child.key, key)) return true;
    pos = Align4(child.end);  // a node is at least 6 bytes, so this moves on
  }
  return false;
}

// The node at a path of "\"-separated keys below the root; the root for "\".
bool FindPath(const std::vector<BYTE>& block, const char* path, Node& node) {
  if (!path || !ReadNode(block, 0, block.size(), node)) return false;
  const char* p = path;
  while (*p) {
    while (*p == '\\') ++p;
    if (!*p) break;
    const char* q = p;
    while (*q && *q != '\\') ++q;
    Node child;
    if (!FindChild(block, node, std::string(p, q), child)) return false;
    node = child;
    p = q;
  }
  return true;
}

// ---- PE images ----

struct PeSection {
  DWORD virtualAddress, virtualSize, rawSize, rawPointer;
};

// The file offset of n bytes at a relative virtual address, if they lie in a
// section's raw data inside the image.
bool RvaToOffset(const std::vector<PeSection>& sections, const ByteCursor& image, DWORD rva, DWORD n,
                 std::uint64_t& offset) {
  for (const PeSection& s : sections) {
    std::uint64_t span = s.virtualSize > s.rawSize ? s.virtualSize : s.rawSize;
    if (rva < s.virtualAddress || rva - s.virtualAddress >= span) continue;
    std::uint64_t delta = rva - s.virtualAddress;
    if (delta + n > s.rawSize) return false;
    offset = std::uint64_t(s.rawPointer) + delta;
    return image.RangeInside(offset, n);
  }
  return false;
}

struct ResourceEntry {
  DWORD name, offset;
};

bool ReadResourceDirectory(ByteCursor& c, std::uint64_t at, std::vector<ResourceEntry>& entries) {
  if (!c.RangeInside(at, 16)) return false;
  c.Seek(std::size_t(at + 12));
  std::uint32_t count = std::uint32_t(c.U16()) + c.U16();
  if (!c.CanReadArray(count, 8)) return false;
  entries.resize(count);
  for (ResourceEntry& e : entries) {
    e.name = c.U32();
    e.offset = c.U32();
  }
  return true;
}

constexpr DWORD kSubdirectory = 0x80000000u;
constexpr DWORD kNamedEntry = 0x80000000u;
constexpr DWORD kRtVersion = 16;
constexpr DWORD kVsVersionInfo = 1;

// The subdirectory of the entry with the numeric id, or (id 0) of the first entry.
bool FindResourceSubdir(ByteCursor& c, std::uint64_t base, std::uint64_t dir, DWORD id, std::uint64_t& sub) {
  std::vector<ResourceEntry> entries;
  if (!ReadResourceDirectory(c, base + dir, entries)) return false;
  for (const ResourceEntry& e : entries) {
    if ((e.name & kNamedEntry) || e.name != id || !(e.offset & kSubdirectory)) continue;
    sub = e.offset & ~kSubdirectory;
    return true;
  }
  return false;
}

bool ExtractPe(const BYTE* image, std::size_t size, std::vector<BYTE>& block) {
  ByteCursor c(image, size);
  if (size < 0x40 || image[0] != 'M' || image[1] != 'Z') return false;
  c.Seek(0x3C);
  std::uint64_t pe = c.U32();
  if (!c.RangeInside(pe, 24)) return false;
  c.Seek(std::size_t(pe));
  if (c.U32() != 0x00004550u) return false;  // "PE\0\0"
  c.Skip(2);                                   // machine
  WORD sectionCount = c.U16();
  c.Skip(12);
  WORD optionalSize = c.U16();
  c.Skip(2);
  std::uint64_t optional = c.Tell();
  if (!c.RangeInside(optional, optionalSize)) return false;
  WORD magic = c.U16();
  std::size_t countAt, directoriesAt;
  if (magic == 0x10B) {
    countAt = 92;
    directoriesAt = 96;
  } else if (magic == 0x20B) {
    countAt = 108;
    directoriesAt = 112;
  } else {
    return false;
  }
  if (optionalSize < directoriesAt + 3 * 8) return false;
  c.Seek(std::size_t(optional + countAt));
  if (c.U32() < 3) return false;
  c.Seek(std::size_t(optional + directoriesAt + 2 * 8));  // the resource directory
  DWORD resourceRva = c.U32();
  if (resourceRva == 0) return false;

  c.Seek(std::size_t(optional + optionalSize));
  if (!c.CanReadArray(sectionCount, 40)) return false;
  std::vector<PeSection> sections(sectionCount);
  for (PeSection& s : sections) {
    c.Skip(8);  // name
    s.virtualSize = c.U32();
    s.virtualAddress = c.U32();
    s.rawSize = c.U32();
    s.rawPointer = c.U32();
    c.Skip(16);
  }

  std::uint64_t base = 0;
  if (!RvaToOffset(sections, c, resourceRva, 16, base)) return false;
  // Type RT_VERSION, name VS_VERSION_INFO, then the first language.
  std::uint64_t typeDir = 0, nameDir = 0;
  if (!FindResourceSubdir(c, base, 0, kRtVersion, typeDir)) return false;
  if (!FindResourceSubdir(c, base, typeDir, kVsVersionInfo, nameDir)) return false;
  std::vector<ResourceEntry> languages;
  if (!ReadResourceDirectory(c, base + nameDir, languages) || languages.empty()) return false;
  if (languages[0].offset & kSubdirectory) return false;
  std::uint64_t dataEntry = base + languages[0].offset;
  if (!c.RangeInside(dataEntry, 16)) return false;
  c.Seek(std::size_t(dataEntry));
  DWORD dataRva = c.U32();
  DWORD dataSize = c.U32();
  std::uint64_t data = 0;
  if (dataSize == 0 || !RvaToOffset(sections, c, dataRva, dataSize, data)) return false;
  block.assign(image + data, image + data + dataSize);
  return true;
}

// ---- ELF images ----

constexpr std::size_t kMaxNoteStrings = 16, kMaxNoteKey = 64, kMaxNoteValue = 1024;

// Decodes the descriptor of our version note: format, six 32-bit numbers (file
// version, product version, file date, each high word first), then NUL-ended key
// and value texts until an empty key or the end.
bool DecodeVersionNote(const BYTE* desc, std::size_t size, bool bigEndian, std::vector<BYTE>& block) {
  ByteCursor c(desc, size, bigEndian);
  if (!c.CanRead(28) || c.U32() != kVersionNoteFormat) return false;
  FixedFileInfo fixed;
  fixed.dwFileVersionMS = c.U32();
  fixed.dwFileVersionLS = c.U32();
  fixed.dwProductVersionMS = c.U32();
  fixed.dwProductVersionLS = c.U32();
  fixed.dwFileDateMS = c.U32();
  fixed.dwFileDateLS = c.U32();
  fixed.dwFileOS = 0x00000004;  // VOS__WINDOWS32: the closest the record knows
  fixed.dwFileType = 0x00000002;  // VFT_DLL
  VersionStrings strings;
  const char* p = reinterpret_cast<const char*>(desc) + c.Tell();
  const char* end = reinterpret_cast<const char*>(desc) + size;
  // Texts are cut so that the block's 16-bit node lengths always hold them.
  auto text = [&](std::size_t maxLength) {
    const char* s = p;
    while (p < end && *p) ++p;
    std::string t(s, std::size_t(p - s) < maxLength ? std::size_t(p - s) : maxLength);
    if (p < end) ++p;
    return t;
  };
  while (p < end && strings.size() < kMaxNoteStrings) {
    std::string key = text(kMaxNoteKey);
    if (key.empty()) break;
    std::string value = text(kMaxNoteValue);
    strings.emplace_back(std::move(key), std::move(value));
  }
  block = BuildVersionBlock(fixed, strings);
  return true;
}

bool ScanNotes(const BYTE* image, const ByteCursor& c, std::uint64_t offset, std::uint64_t size, bool bigEndian,
               std::vector<BYTE>& block) {
  if (!c.RangeInside(offset, size)) return false;
  std::uint64_t pos = offset, end = offset + size;
  while (end - pos >= 12) {
    ByteCursor h(image + pos, 12, bigEndian);
    std::uint64_t nameSize = h.U32(), descSize = h.U32();
    DWORD type = h.U32();
    std::uint64_t nameAt = pos + 12;
    std::uint64_t descAt = nameAt + ((nameSize + 3) & ~std::uint64_t(3));
    std::uint64_t next = descAt + ((descSize + 3) & ~std::uint64_t(3));
    if (descAt > end || next > end || descSize > end - descAt) return false;
    if (type == kVersionNoteType && nameSize == sizeof kVersionNoteOwner &&
        std::memcmp(image + nameAt, kVersionNoteOwner, sizeof kVersionNoteOwner) == 0)
      return DecodeVersionNote(image + descAt, std::size_t(descSize), bigEndian, block);
    pos = next;
  }
  return false;
}

bool ExtractElf(const BYTE* image, std::size_t size, std::vector<BYTE>& block) {
  if (size < 0x34 || std::memcmp(image, "\x7F" "ELF", 4) != 0) return false;
  const BYTE elfClass = image[4], data = image[5];
  if ((elfClass != 1 && elfClass != 2) || (data != 1 && data != 2)) return false;
  const bool wide = elfClass == 2, big = data == 2;
  ByteCursor c(image, size, big);
  std::uint64_t phoff, shoff;
  WORD phentsize, phnum, shentsize, shnum;
  if (wide) {
    if (size < 0x40) return false;
    c.Seek(0x20);
    phoff = c.U64();
    shoff = c.U64();
    c.Seek(0x36);
  } else {
    c.Seek(0x1C);
    phoff = c.U32();
    shoff = c.U32();
    c.Seek(0x2A);
  }
  phentsize = c.U16();
  phnum = c.U16();
  shentsize = c.U16();
  shnum = c.U16();

  // Note sections first, then note segments (for a file without section headers).
  const std::size_t shMin = wide ? 0x28 : 0x18;
  if (shentsize >= shMin) {
    for (WORD i = 0; i < shnum; ++i) {
      std::uint64_t at = shoff + std::uint64_t(i) * shentsize;
      if (!c.RangeInside(at, shMin)) break;
      c.Seek(std::size_t(at + 4));
      if (c.U32() != 7) continue;  // SHT_NOTE
      std::uint64_t offset, length;
      if (wide) {
        c.Seek(std::size_t(at + 0x18));
        offset = c.U64();
        length = c.U64();
      } else {
        c.Seek(std::size_t(at + 0x10));
        offset = c.U32();
        length = c.U32();
      }
      if (ScanNotes(image, c, offset, length, big, block)) return true;
    }
  }
  const std::size_t phMin = wide ? 0x28 : 0x14;
  if (phentsize >= phMin) {
    for (WORD i = 0; i < phnum; ++i) {
      std::uint64_t at = phoff + std::uint64_t(i) * phentsize;
      if (!c.RangeInside(at, phMin)) break;
      c.Seek(std::size_t(at));
      if (c.U32() != 4) continue;  // PT_NOTE
      std::uint64_t offset, length;
      if (wide) {
        c.Seek(std::size_t(at + 8));
        offset = c.U64();
        c.Seek(std::size_t(at + 0x20));
        length = c.U64();
      } else {
        offset = c.U32();
        c.Seek(std::size_t(at + 0x10));
        length = c.U32();
      }
      if (ScanNotes(image, c, offset, length, big, block)) return true;
    }
  }
  return false;
}

// ---- writing ----

class BlockWriter {
 public:
  std::size_t Begin(const char* key, WORD valueLength, WORD type) {
    Pad();
    std::size_t start = m_bytes.size();
    Word(0);
    Word(valueLength);
    Word(type);
    for (const char* k = key; *k; ++k) Word(Cp1252ToUnicode(static_cast<unsigned char>(*k)));
    Word(0);
    Pad();
    return start;
  }
  void End(std::size_t start) {
    WORD length = WORD(m_bytes.size() - start);
    m_bytes[start] = BYTE(length & 0xFF);
    m_bytes[start + 1] = BYTE(length >> 8);
  }
  void Word(WORD v) {
    m_bytes.push_back(BYTE(v & 0xFF));
    m_bytes.push_back(BYTE(v >> 8));
  }
  void Dword(DWORD v) {
    Word(WORD(v & 0xFFFF));
    Word(WORD(v >> 16));
  }
  void Pad() {
    while (m_bytes.size() % 4) m_bytes.push_back(0);
  }
  std::vector<BYTE>& Bytes() { return m_bytes; }

 private:
  std::vector<BYTE> m_bytes;
};

}  // namespace

bool ExtractVersionBlock(const BYTE* image, std::size_t size, std::vector<BYTE>& block) {
  block.clear();
  if (!image || size == 0) return false;
  return ExtractPe(image, size, block) || ExtractElf(image, size, block);
}

bool ReadVersionBlock(const char* path, std::vector<BYTE>& block) {
  block.clear();
  if (!path || !*path) return false;
  CFile file;
  if (!file.Open(path, CFile::modeRead | CFile::shareDenyNone | CFile::typeBinary)) return false;
  std::vector<BYTE> image;
  try {
    ULONGLONG length = file.GetLength();
    if (length == 0 || length > kMaxImageBytes) return false;
    image.resize(std::size_t(length));
    std::size_t got = 0;
    while (got < image.size()) {
      UINT n = file.Read(image.data() + got, UINT(image.size() - got));
      if (n == 0) break;
      got += n;
    }
    image.resize(got);
    file.Close();
  } catch (CException* e) {
    e->Delete();
    return false;
  }
  return ExtractVersionBlock(image.data(), image.size(), block);
}

bool QueryFixedFileInfo(const std::vector<BYTE>& block, FixedFileInfo& out) {
  Node root;
  if (!FindPath(block, "\\", root) || root.valueEnd - root.valueStart < kFixedFileInfoSize) return false;
  ByteCursor c(block.data() + root.valueStart, kFixedFileInfoSize);
  FixedFileInfo info;
  DWORD* fields[] = {&info.dwSignature,        &info.dwStrucVersion,    &info.dwFileVersionMS,
                     &info.dwFileVersionLS,    &info.dwProductVersionMS, &info.dwProductVersionLS,
                     &info.dwFileFlagsMask,    &info.dwFileFlags,       &info.dwFileOS,
                     &info.dwFileType,         &info.dwFileSubtype,     &info.dwFileDateMS,
                     &info.dwFileDateLS};
  for (DWORD* f : fields) *f = c.U32();
  if (info.dwSignature != kFixedFileInfoSignature) return false;
  out = info;
  return true;
}

bool QueryVersionString(const std::vector<BYTE>& block, const char* path, std::string& out) {
  Node node;
  if (!FindPath(block, path, node)) return false;
  out.clear();
  for (std::size_t p = node.valueStart; p + 2 <= node.valueEnd; p += 2) {
    char16_t u = char16_t(block[p] | (block[p + 1] << 8));
    if (u == 0) break;
    out += UnicodeToCp1252(u);
  }
  return true;
}

std::vector<BYTE> BuildVersionBlock(const FixedFileInfo& fixed, const VersionStrings& strings, const char* table) {
  BlockWriter w;
  std::size_t root = w.Begin("VS_VERSION_INFO", WORD(kFixedFileInfoSize), 0);
  for (DWORD v : {fixed.dwSignature, fixed.dwStrucVersion, fixed.dwFileVersionMS, fixed.dwFileVersionLS,
                  fixed.dwProductVersionMS, fixed.dwProductVersionLS, fixed.dwFileFlagsMask, fixed.dwFileFlags,
                  fixed.dwFileOS, fixed.dwFileType, fixed.dwFileSubtype, fixed.dwFileDateMS, fixed.dwFileDateLS})
    w.Dword(v);

  std::size_t stringInfo = w.Begin("StringFileInfo", 0, 1);
  std::size_t stringTable = w.Begin(table, 0, 1);
  for (const auto& [key, value] : strings) {
    std::size_t units = value.size() + 1;
    if (units > 0x7FFF) units = 0x7FFF;  // a node's length is 16-bit
    std::size_t s = w.Begin(key.c_str(), WORD(units), 1);
    for (std::size_t i = 0; i + 1 < units; ++i) w.Word(Cp1252ToUnicode(static_cast<unsigned char>(value[i])));
    w.Word(0);
    w.End(s);
  }
  w.End(stringTable);
  w.End(stringInfo);

  DWORD translation = std::strtoul(table, nullptr, 16);
  std::size_t varInfo = w.Begin("VarFileInfo", 0, 1);
  std::size_t var = w.Begin("Translation", 4, 0);
  w.Word(WORD(translation >> 16));  // language
  w.Word(WORD(translation & 0xFFFF));  // code page
  w.End(var);
  w.End(varInfo);
  w.End(root);
  return std::move(w.Bytes());
}

}  // namespace zev::identity
