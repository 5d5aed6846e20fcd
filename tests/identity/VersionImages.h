// Test images with version information, built byte by byte: VS_VERSIONINFO trees,
// PE32 and PE32+ files carrying one as their RT_VERSION resource, and small ELF
// files carrying our version note. Written independently of the library's reader
// and writer so that each checks the other.
#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zevtest {

using ByteVec = std::vector<std::uint8_t>;

inline void Put16(ByteVec& b, unsigned v) {
  b.push_back(std::uint8_t(v));
  b.push_back(std::uint8_t(v >> 8));
}
inline void Put32(ByteVec& b, std::uint32_t v) {
  Put16(b, v & 0xFFFF);
  Put16(b, v >> 16);
}
inline void Put32Big(ByteVec& b, std::uint32_t v) {
  for (int s = 24; s >= 0; s -= 8) b.push_back(std::uint8_t(v >> s));
}
inline void Set32(ByteVec& b, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = std::uint8_t(v >> (8 * i));
}
inline void Set16(ByteVec& b, std::size_t at, unsigned v) {
  b[at] = std::uint8_t(v);
  b[at + 1] = std::uint8_t(v >> 8);
}
inline void Pad(ByteVec& b, std::size_t align) {
  while (b.size() % align) b.push_back(0);
}

// One node of a version tree.
struct VersionNode {
  std::string key;
  unsigned type = 1;  // 1 text, 0 binary
  ByteVec value;
  unsigned valueLength = 0;
  std::vector<VersionNode> children;
};

inline VersionNode TextNode(const std::string& key, const std::string& text) {
  VersionNode n{key, 1, {}, unsigned(text.size() + 1), {}};
  for (unsigned char c : text) Put16(n.value, c);  // ASCII and Latin-1 texts only
  Put16(n.value, 0);
  return n;
}

inline void EncodeNode(const VersionNode& n, ByteVec& out) {
  Pad(out, 4);
  std::size_t start = out.size();
  Put16(out, 0);
  Put16(out, n.valueLength);
  Put16(out, n.type);
  for (unsigned char c : n.key) Put16(out, c);
  Put16(out, 0);
  Pad(out, 4);
  out.insert(out.end(), n.value.begin(), n.value.end());
  for (const VersionNode& child : n.children) EncodeNode(child, out);
  Set16(out, start, unsigned(out.size() - start));
}

struct VersionSpec {
  std::uint32_t fileMS = 0x00050001, fileLS = 0x00030000;
  std::uint32_t productMS = 0x00050001, productLS = 3;
  std::uint32_t dateMS = 0, dateLS = 0;
  std::uint32_t signature = 0xFEEF04BD;
  std::string table = "040904B0";
  std::vector<std::pair<std::string, std::string>> strings;
};

// FILETIME words of a Unix time.
inline std::pair<std::uint32_t, std::uint32_t> FileTimeOf(std::int64_t unixSeconds) {
  std::uint64_t ticks = std::uint64_t(unixSeconds + 11644473600LL) * 10000000ULL;
  return {std::uint32_t(ticks >> 32), std::uint32_t(ticks)};
}

inline ByteVec VersionBlock(const VersionSpec& spec) {
  VersionNode root{"VS_VERSION_INFO", 0, {}, 52, {}};
  for (std::uint32_t v : {spec.signature, 0x00010000u, spec.fileMS, spec.fileLS, spec.productMS, spec.productLS,
                          0x3Fu, 0u, 0x40004u, 1u, 0u, spec.dateMS, spec.dateLS})
    Put32(root.value, v);
  VersionNode table{spec.table, 1, {}, 0, {}};
  for (const auto& [k, v] : spec.strings) table.children.push_back(TextNode(k, v));
  root.children.push_back(VersionNode{"StringFileInfo", 1, {}, 0, {table}});
  VersionNode translation{"Translation", 0, {}, 4, {}};
  Put32(translation.value, 0x04B00409);
  root.children.push_back(VersionNode{"VarFileInfo", 1, {}, 0, {translation}});
  ByteVec out;
  EncodeNode(root, out);
  return out;
}

// A PE file (PE32, or PE32+ when plus) with one ".rsrc" section. With a block it
// holds RT_VERSION / 1 / 0x409 -> block; without, an empty resource directory.
inline ByteVec PeImage(const ByteVec& block, bool plus, bool withResourceDirectory = true) {
  const std::uint32_t sectionRva = 0x1000, rawAt = 0x200;
  ByteVec rsrc;
  if (!block.empty()) {
    // Root, type and name directories of one entry each, a data entry, the data.
    auto directory = [&](std::uint32_t id, std::uint32_t offset) {
      for (int i = 0; i < 3; ++i) Put32(rsrc, 0);
      Put16(rsrc, 0);
      Put16(rsrc, 1);
      Put32(rsrc, id);
      Put32(rsrc, offset);
    };
    directory(16, 0x80000000u | 0x18);
    directory(1, 0x80000000u | 0x30);
    directory(0x409, 0x48);
    Put32(rsrc, sectionRva + 0x58);
    Put32(rsrc, std::uint32_t(block.size()));
    Put32(rsrc, 0);
    Put32(rsrc, 0);
    rsrc.insert(rsrc.end(), block.begin(), block.end());
  } else {
    for (int i = 0; i < 4; ++i) Put32(rsrc, 0);
  }
  const std::uint32_t virtualSize = std::uint32_t(rsrc.size());
  Pad(rsrc, 0x200);

  ByteVec b(0x40, 0);
  b[0] = 'M';
  b[1] = 'Z';
  Set32(b, 0x3C, 0x40);
  Put32(b, 0x00004550);
  Put16(b, plus ? 0x8664 : 0x14C);
  Put16(b, 1);  // sections
  Put32(b, 0);
  Put32(b, 0);
  Put32(b, 0);
  const unsigned optionalSize = plus ? 240 : 224;
  Put16(b, optionalSize);
  Put16(b, 0x2102);
  std::size_t optional = b.size();
  b.resize(optional + optionalSize, 0);
  Set16(b, optional, plus ? 0x20B : 0x10B);
  std::size_t count = optional + (plus ? 108 : 92), dirs = optional + (plus ? 112 : 96);
  Set32(b, optional + 32, 0x1000);  // section alignment
  Set32(b, optional + 36, 0x200);   // file alignment
  Set32(b, optional + 56, sectionRva + ((virtualSize + 0xFFF) & ~0xFFFu));  // size of image
  Set32(b, optional + 60, rawAt);   // size of headers
  Set16(b, optional + 68, 2);       // subsystem
  Set32(b, count, 16);
  if (withResourceDirectory) {
    Set32(b, dirs + 16, sectionRva);
    Set32(b, dirs + 20, virtualSize);
  }
  const char name[8] = {'.', 'r', 's', 'r', 'c', 0, 0, 0};
  b.insert(b.end(), name, name + 8);
  Put32(b, virtualSize);
  Put32(b, sectionRva);
  Put32(b, std::uint32_t(rsrc.size()));
  Put32(b, rawAt);
  for (int i = 0; i < 3; ++i) Put32(b, 0);
  Put32(b, 0x40000040);
  b.resize(rawAt, 0);
  b.insert(b.end(), rsrc.begin(), rsrc.end());
  return b;
}

// The descriptor of our version note: format 1, six words, then key/value texts.
inline ByteVec NoteDescriptor(const VersionSpec& spec, bool big) {
  ByteVec d;
  auto put = [&](std::uint32_t v) { big ? Put32Big(d, v) : Put32(d, v); };
  for (std::uint32_t v : {1u, spec.fileMS, spec.fileLS, spec.productMS, spec.productLS, spec.dateMS, spec.dateLS})
    put(v);
  for (const auto& [k, v] : spec.strings) {
    d.insert(d.end(), k.begin(), k.end());
    d.push_back(0);
    d.insert(d.end(), v.begin(), v.end());
    d.push_back(0);
  }
  Pad(d, 4);
  return d;
}

// An ELF file with the note: a 64-bit little-endian one with a note section (and
// no program headers), or a 32-bit big-endian one with a note segment only.
inline ByteVec ElfImage(const VersionSpec& spec, bool wide, bool big, std::uint32_t noteType = 1,
                        const std::string& owner = "ZevUtil") {
  auto put16 = [&](ByteVec& b, unsigned v) {
    if (big) {
      b.push_back(std::uint8_t(v >> 8));
      b.push_back(std::uint8_t(v));
    } else {
      Put16(b, v);
    }
  };
  auto put32 = [&](ByteVec& b, std::uint32_t v) { big ? Put32Big(b, v) : Put32(b, v); };
  auto put64 = [&](ByteVec& b, std::uint64_t v) {
    if (big) {
      put32(b, std::uint32_t(v >> 32));
      put32(b, std::uint32_t(v));
    } else {
      put32(b, std::uint32_t(v));
      put32(b, std::uint32_t(v >> 32));
    }
  };
  ByteVec note;
  put32(note, std::uint32_t(owner.size() + 1));
  ByteVec desc = NoteDescriptor(spec, big);
  put32(note, std::uint32_t(desc.size()));
  put32(note, noteType);
  note.insert(note.end(), owner.begin(), owner.end());
  note.push_back(0);
  Pad(note, 4);
  note.insert(note.end(), desc.begin(), desc.end());

  ByteVec b = {0x7F, 'E', 'L', 'F', std::uint8_t(wide ? 2 : 1), std::uint8_t(big ? 2 : 1), 1, 0};
  b.resize(16, 0);
  put16(b, 3);  // shared object
  put16(b, wide ? 62 : 20);
  put32(b, 1);
  const std::size_t headerSize = wide ? 64 : 52;
  if (wide) {
    // Note at 64, the section table (null section + note section) behind it.
    const std::uint64_t noteAt = headerSize, shoff = headerSize + note.size();
    put64(b, 0);       // entry
    put64(b, 0);       // phoff
    put64(b, shoff);   // shoff
    put32(b, 0);       // flags
    put16(b, unsigned(headerSize));
    put16(b, 56);
    put16(b, 0);       // phnum
    put16(b, 64);      // shentsize
    put16(b, 2);       // shnum
    put16(b, 0);       // shstrndx
    b.insert(b.end(), note.begin(), note.end());
    b.resize(b.size() + 64, 0);  // null section
    put32(b, 0);
    put32(b, 7);  // SHT_NOTE
    put64(b, 2);
    put64(b, 0);
    put64(b, noteAt);
    put64(b, note.size());
    put32(b, 0);
    put32(b, 0);
    put64(b, 4);
    put64(b, 0);
  } else {
    const std::uint32_t phoff = std::uint32_t(headerSize), noteAt = phoff + 32;
    put32(b, 0);      // entry
    put32(b, phoff);  // phoff
    put32(b, 0);      // shoff
    put32(b, 0);      // flags
    put16(b, unsigned(headerSize));
    put16(b, 32);     // phentsize
    put16(b, 1);      // phnum
    put16(b, 40);     // shentsize
    put16(b, 0);      // shnum
    put16(b, 0);
    put32(b, 4);      // PT_NOTE
    put32(b, noteAt);
    put32(b, 0);
    put32(b, 0);
    put32(b, std::uint32_t(note.size()));
    put32(b, std::uint32_t(note.size()));
    put32(b, 4);
    put32(b, 4);
    b.insert(b.end(), note.begin(), note.end());
  }
  return b;
}

}  // namespace zevtest
