// Test images with version information, built byte by byte: VS_VERSIONINFO trees,
// PE32 and PE32+ files carrying one as their RT_VERSION resource, and ELF files
// carrying our version note. Written apart from the library's reader and writer,
// so that each checks the other.
#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zevtest {

using ByteVec = std::vector<std::uint8_t>;

// Appends a number as n bytes, little- or big-endian (zeros beyond its 8 bytes).
inline void Put(ByteVec& b, std::uint64_t v, int n, bool big = false) {
  for (int i = 0; i < n; ++i) {
    int shift = 8 * (big ? n - 1 - i : i);
    b.push_back(shift < 64 ? std::uint8_t(v >> shift) : 0);
  }
}
inline void Set(ByteVec& b, std::size_t at, std::uint32_t v, int n) {
  for (int i = 0; i < n; ++i) b[at + i] = std::uint8_t(v >> (8 * i));
}
inline void Pad(ByteVec& b, std::size_t align) { b.resize((b.size() + align - 1) / align * align, 0); }

struct VersionFields {
  std::uint32_t productMS = 0x00050001, productLS = 3, dateMS = 0, dateLS = 0, signature = 0xFEEF04BD;
  std::string table = "040904B0";
  std::vector<std::pair<std::string, std::string>> strings;
};

// FILETIME words of a Unix time.
inline std::pair<std::uint32_t, std::uint32_t> FileTimeOf(std::int64_t unixSeconds) {
  std::uint64_t ticks = std::uint64_t(unixSeconds + 11644473600LL) * 10000000ULL;
  return {std::uint32_t(ticks >> 32), std::uint32_t(ticks)};
}

// A node: WORD length, WORD value length, WORD type, UTF-16 key, value and children
// on 4-byte boundaries. fill writes the value and the children.
template <class Fill>
void Node(ByteVec& out, const std::string& key, unsigned valueLength, unsigned type, Fill fill) {
  Pad(out, 4);
  std::size_t start = out.size();
  Put(out, 0, 2);
  Put(out, valueLength, 2);
  Put(out, type, 2);
  for (unsigned char c : key) Put(out, c, 2);
  Put(out, 0, 2);
  Pad(out, 4);
  fill();
  Set(out, start, std::uint32_t(out.size() - start), 2);
}

inline ByteVec VersionBlock(const VersionFields& fields) {
  ByteVec out;
  Node(out, "VS_VERSION_INFO", 52, 0, [&] {
    for (std::uint32_t v : {fields.signature, 0x00010000u, fields.productMS, fields.productLS, fields.productMS,
                            fields.productLS, 0x3Fu, 0u, 0x40004u, 1u, 0u, fields.dateMS, fields.dateLS})
      Put(out, v, 4);
    Node(out, "StringFileInfo", 0, 1, [&] {
      Node(out, fields.table, 0, 1, [&] {
        for (const auto& [key, text] : fields.strings)
          Node(out, key, unsigned(text.size() + 1), 1, [&] {
            for (unsigned char c : text + '\0') Put(out, c, 2);  // ASCII and Latin-1 texts
          });
      });
    });
    Node(out, "VarFileInfo", 0, 1, [&] { Node(out, "Translation", 4, 0, [&] { Put(out, 0x04B00409, 4); }); });
  });
  return out;
}

// A PE file with one ".rsrc" section: RT_VERSION / 1 / 0x409 -> block, or, with no
// block, an empty resource directory (or none at all).
inline ByteVec PeImage(const ByteVec& block, bool plus, bool withResourceDirectory = true) {
  const std::uint32_t rva = 0x1000, rawAt = 0x200;
  ByteVec rsrc;
  if (!block.empty()) {
    // Root, type and name directories of one entry each, a data entry, the data.
    const std::uint32_t entries[3][2] = {{16, 0x80000018u}, {1, 0x80000030u}, {0x409, 0x48}};
    for (const auto& e : entries) {
      Put(rsrc, 0, 12);
      Put(rsrc, 0x00010000, 4);  // no named entries, one numbered
      Put(rsrc, e[0], 4);
      Put(rsrc, e[1], 4);
    }
    Put(rsrc, rva + 0x58, 4);
    Put(rsrc, block.size(), 4);
    Put(rsrc, 0, 8);
    rsrc.insert(rsrc.end(), block.begin(), block.end());
  } else {
    Put(rsrc, 0, 16);
  }
  const std::uint32_t virtualSize = std::uint32_t(rsrc.size());
  Pad(rsrc, 0x200);
  ByteVec b(0x40, 0);
  b[0] = 'M';
  b[1] = 'Z';
  Set(b, 0x3C, 0x40, 4);
  const unsigned optionalSize = plus ? 240 : 224;
  for (auto [v, n] : {std::pair<std::uint64_t, int>{0x4550, 4}, {plus ? 0x8664 : 0x14C, 2}, {1, 2}, {0, 12},
                      {optionalSize, 2}, {0x2102, 2}})
    Put(b, v, n);
  const std::size_t optional = b.size();
  b.resize(optional + optionalSize, 0);
  Set(b, optional, plus ? 0x20B : 0x10B, 2);
  Set(b, optional + 32, 0x1000, 4);  // section alignment
  Set(b, optional + 36, 0x200, 4);   // file alignment
  Set(b, optional + 56, rva + 0x1000, 4);
  Set(b, optional + 60, rawAt, 4);
  Set(b, optional + 68, 2, 2);
  const std::size_t dirs = optional + (plus ? 112 : 96);
  Set(b, dirs - 4, 16, 4);  // number of directories
  if (withResourceDirectory) {
    Set(b, dirs + 16, rva, 4);
    Set(b, dirs + 20, virtualSize, 4);
  }
  for (char c : std::string(".rsrc\0\0\0", 8)) b.push_back(std::uint8_t(c));
  for (std::uint32_t v : {virtualSize, rva, std::uint32_t(rsrc.size()), rawAt, 0u, 0u, 0u, 0x40000040u}) Put(b, v, 4);
  b.resize(rawAt, 0);
  b.insert(b.end(), rsrc.begin(), rsrc.end());
  return b;
}

// An ELF file with the note: 64-bit ones (little-endian here) have a note section
// and no program headers, 32-bit ones (big-endian here) a note segment only.
inline ByteVec ElfImage(const VersionFields& fields, bool wide, bool big, std::uint32_t type = 1,
                        const std::string& owner = "ZevUtil") {
  ByteVec desc;
  for (std::uint32_t v : {1u, fields.productMS, fields.productLS, fields.productMS, fields.productLS, fields.dateMS,
                          fields.dateLS})
    Put(desc, v, 4, big);
  for (const auto& [k, v] : fields.strings) {
    std::string pair = k + '\0' + v + '\0';
    desc.insert(desc.end(), pair.begin(), pair.end());
  }
  Pad(desc, 4);
  ByteVec note;
  for (std::uint32_t v : {std::uint32_t(owner.size() + 1), std::uint32_t(desc.size()), type}) Put(note, v, 4, big);
  note.insert(note.end(), owner.begin(), owner.end());
  note.push_back(0);
  Pad(note, 4);
  note.insert(note.end(), desc.begin(), desc.end());

  ByteVec b = {0x7F, 'E', 'L', 'F', std::uint8_t(wide ? 2 : 1), std::uint8_t(big ? 2 : 1), 1};
  b.resize(16, 0);
  Put(b, 3, 2, big);
  Put(b, wide ? 62 : 20, 2, big);
  Put(b, 1, 4, big);
  const int word = wide ? 8 : 4;
  const std::uint64_t header = wide ? 64 : 52, sectionTable = header + note.size();
  Put(b, 0, word, big);                               // entry
  Put(b, wide ? 0 : header, word, big);               // program headers
  Put(b, wide ? sectionTable : 0, word, big);         // section headers
  Put(b, 0, 4, big);                                  // flags
  for (unsigned v : {unsigned(header), wide ? 56u : 32u, wide ? 0u : 1u, wide ? 64u : 40u, wide ? 2u : 0u, 0u})
    Put(b, v, 2, big);
  if (wide) {
    b.insert(b.end(), note.begin(), note.end());
    b.resize(b.size() + 64, 0);  // the null section, then the note section
    Put(b, 0, 4, big);
    Put(b, 7, 4, big);  // SHT_NOTE
    for (std::uint64_t v : {std::uint64_t(2), std::uint64_t(0), header, std::uint64_t(note.size())}) Put(b, v, 8, big);
    Put(b, 0, 8, big);
    Put(b, 4, 8, big);
    Put(b, 0, 8, big);
  } else {
    const std::uint32_t at = std::uint32_t(header) + 32;
    for (std::uint32_t v : {4u, at, 0u, 0u, std::uint32_t(note.size()), std::uint32_t(note.size()), 4u, 4u})
      Put(b, v, 4, big);  // PT_NOTE
    b.insert(b.end(), note.begin(), note.end());
  }
  return b;
}

}  // namespace zevtest
