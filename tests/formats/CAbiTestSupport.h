// Shared by the ABIF tests: scratch paths, file bytes, and a small directory reader of
// its own so that written files are checked by something other than CAbi.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "zevutil/CAbi.h"

namespace abitest {

using Bytes = std::vector<std::uint8_t>;

inline std::string TempPath(const std::string& name) {
  const char* base = std::getenv("ZEV_TEST_TMP");
  std::filesystem::path dir = base ? base : std::filesystem::temp_directory_path().string();
  dir /= "abi";
  std::filesystem::create_directories(dir);
  return (dir / name).string();
}

inline Bytes FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

inline void PutFile(const std::string& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

inline std::uint32_t BE32(const Bytes& b, std::size_t at) {
  return (std::uint32_t(b.at(at)) << 24) | (std::uint32_t(b.at(at + 1)) << 16) | (std::uint32_t(b.at(at + 2)) << 8) |
         b.at(at + 3);
}
inline std::uint16_t BE16(const Bytes& b, std::size_t at) { return std::uint16_t((b.at(at) << 8) | b.at(at + 1)); }

// One directory entry as the file holds it.
struct Entry {
  std::uint16_t type = 0, size = 0;
  std::int32_t count = 0, dataSize = 0;
  std::uint32_t data = 0;  // offset or inline bytes, big-endian
  std::size_t position = 0;  // index in the directory
};

// "NAMEn" -> entry, from the header's directory record or from the given offset.
inline std::map<std::string, Entry> Directory(const Bytes& file, std::int64_t at = -1) {
  std::map<std::string, Entry> dir;
  std::uint32_t count = BE32(file, 18), offset = at >= 0 ? std::uint32_t(at) : BE32(file, 26);
  for (std::uint32_t i = 0; i < count; ++i) {
    std::size_t at = offset + 28 * std::size_t(i);
    Entry e;
    e.type = BE16(file, at + 8);
    e.size = BE16(file, at + 10);
    e.count = std::int32_t(BE32(file, at + 12));
    e.dataSize = std::int32_t(BE32(file, at + 16));
    e.data = BE32(file, at + 20);
    e.position = i;
    dir.emplace(std::string(reinterpret_cast<const char*>(&file[at]), 4) + std::to_string(BE32(file, at + 4)), e);
  }
  return dir;
}

// What a test expects of the directory entry "NAMEn"; a data field of nullopt is not
// compared (a value that depends on the clock or the time zone).
struct ExpectedEntry {
  const char* key;
  int type, size, count, dataSize;
  std::optional<std::uint32_t> data;
};

inline void ExpectEntries(const std::map<std::string, Entry>& dir, std::initializer_list<ExpectedEntry> rows) {
  for (const ExpectedEntry& r : rows) {
    SCOPED_TRACE(r.key);
    auto it = dir.find(r.key);
    ASSERT_NE(it, dir.end());
    const Entry& e = it->second;
    EXPECT_EQ(e.type, r.type);
    EXPECT_EQ(e.size, r.size);
    EXPECT_EQ(e.count, r.count);
    EXPECT_EQ(e.dataSize, r.dataSize);
    if (r.data) {
      EXPECT_EQ(e.data, *r.data);
    }
  }
}

// A minimal ABIF file: header and a directory of the given entries, whose data follows
// the header in order, unless it goes inline or the data field is forced.
constexpr std::int64_t kStored = -1;
constexpr std::int64_t kInline = -2;
struct FileEntry {
  std::string tag;
  std::int32_t number;
  std::uint16_t type, size;
  std::int32_t count;
  Bytes data;
  std::int64_t offset = kStored;  // kStored, kInline (at most 4 bytes), or the data field itself
};

inline Bytes BuildAbif(const std::vector<FileEntry>& entries, std::int32_t dirCount = -1) {
  Bytes file(128, 0);
  std::copy_n("ABIF", 4, file.begin());
  auto put32 = [](Bytes& b, std::size_t at, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + std::size_t(i)] = std::uint8_t(v >> (24 - 8 * i));
  };
  std::vector<std::uint32_t> fields;
  for (const FileEntry& e : entries) {
    std::uint32_t field = 0;
    if (e.offset == kInline) {
      for (std::size_t i = 0; i < e.data.size() && i < 4; ++i) field |= std::uint32_t(e.data[i]) << (24 - 8 * i);
    } else if (e.offset == kStored) {
      field = std::uint32_t(file.size());
      file.insert(file.end(), e.data.begin(), e.data.end());
    } else {
      field = std::uint32_t(e.offset);
    }
    fields.push_back(field);
  }
  std::size_t dir = file.size();
  file.resize(dir + 28 * entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const FileEntry& e = entries[i];
    std::size_t at = dir + 28 * i;
    std::copy_n(e.tag.begin(), 4, file.begin() + std::ptrdiff_t(at));
    put32(file, at + 4, std::uint32_t(e.number));
    file[at + 8] = std::uint8_t(e.type >> 8), file[at + 9] = std::uint8_t(e.type);
    file[at + 10] = std::uint8_t(e.size >> 8), file[at + 11] = std::uint8_t(e.size);
    put32(file, at + 12, std::uint32_t(e.count));
    put32(file, at + 16, std::uint32_t(e.data.size()));
    put32(file, at + 20, fields[i]);
  }
  put32(file, 18, std::uint32_t(dirCount >= 0 ? dirCount : std::int32_t(entries.size())));
  put32(file, 26, std::uint32_t(dir));
  return file;
}

// Big-endian 16-bit values as bytes.
inline Bytes Words(std::initializer_list<int> values) {
  Bytes b;
  for (int v : values) b.push_back(std::uint8_t(v >> 8)), b.push_back(std::uint8_t(v));
  return b;
}
inline Bytes Text(const std::string& s) { return Bytes(s.begin(), s.end()); }
inline Bytes Pascal(const std::string& s) {
  Bytes b{std::uint8_t(s.size())};
  b.insert(b.end(), s.begin(), s.end());
  return b;
}

// A small sequence file built through the public interface, as a caller builds one.
inline void BuildSequence(zev::CAbi& abi, int samples, int bases) {
  abi.SetSequenceFile(1);
  abi.InitialSeqFlagRecords();
  abi.InitSampleSizeAndArray(unsigned(samples));
  abi.InitRawDataSizeAndArray(unsigned(samples));
  abi.InitBaseSizeAndArray(unsigned(bases));
  for (int i = 0; i < samples; ++i) {
    abi.SetSample(i, std::uint16_t(i), std::uint16_t(100 + i), std::uint16_t(200 + i), std::uint16_t(300 + i));
    abi.SetRawData(i, std::uint16_t(1000 + i), std::uint16_t(2000 + i), std::uint16_t(3000 + i), std::uint16_t(40000 + i));
  }
  for (int i = 0; i < bases; ++i) abi.SetBase(i, std::uint16_t(5 + 7 * i), "ACGTN"[i % 5]);
}

// Copies what a read object holds into a fresh sequence object, as a converting caller
// does. With keepOrder the channels are passed in the file's trace order, so that the
// written DATA records stand as they stood in the file read.
inline void CopyForWriting(zev::CAbi& in, zev::CAbi& out, bool keepOrder) {
  out.SetSequenceFile(1);
  out.InitialSeqFlagRecords();
  out.InitSampleSizeAndArray(unsigned(in.GetSampleCount()));
  out.InitRawDataSizeAndArray(unsigned(in.GetRawDataCount()));
  out.InitVcptDataSizeAndArray(unsigned(in.GetVcptCount()));
  out.InitBaseSizeAndArray(unsigned(in.GetBaseCount()));
  std::string order = keepOrder ? in.GetTraceOrder().GetString() : "ACGT";
  std::size_t s[4];
  for (std::size_t k = 0; k < 4; ++k) s[k] = std::string("ACGT").find(order.at(k));
  unsigned short v[4], pos;
  char base;
  for (int i = 0; in.GetSample(i, v[0], v[1], v[2], v[3]); ++i) out.SetSample(i, v[s[0]], v[s[1]], v[s[2]], v[s[3]]);
  for (int i = 0; in.GetRawData(i, v[0], v[1], v[2], v[3]); ++i) out.SetRawData(i, v[s[0]], v[s[1]], v[s[2]], v[s[3]]);
  for (int i = 0; in.GetVcptData(i, v[0], v[1], v[2], v[3]); ++i) out.SetVcptData(i, v[0], v[1], v[2], v[3]);
  for (int i = 0; in.GetBase(i, pos, base); ++i) out.SetBase(i, pos, base);
  out.SetSampleName(in.GetSampleName());
  out.SetMachineName(in.GetMachineName());
  out.SetDyeMobilityCorrectFile(in.GetDyeMobilityCorrectFile());
  out.SetTraceOrder(in.GetTraceOrder());
  out.SetLaneNumber(in.GetLaneNumber());
  out.SetScanNumber(in.GetScanNumber());
  out.SetScanRate(in.GetScanRate());
  in.GetScaleFactor(v);
  out.SetScaleFactor(v);
  out.SetAverageBaseSpace(in.GetAveragebaseSpace());
  zev::CTime start, stop;
  in.GetRunDateTime(start, stop);
  out.SetRunDateTime(start, stop);
}

// Sets TZ for the test's lifetime, so that dates written and read are pinned.
class ScopedTZ {
 public:
  explicit ScopedTZ(const char* tz) : m_old(std::getenv("TZ") ? std::getenv("TZ") : "") {
    m_had = std::getenv("TZ") != nullptr;
    setenv("TZ", tz, 1);
    tzset();
  }
  ~ScopedTZ() {
    m_had ? setenv("TZ", m_old.c_str(), 1) : unsetenv("TZ");
    tzset();
  }

 private:
  std::string m_old;
  bool m_had = false;
};

}  // namespace abitest
