// The frame the trace formats share: which failures read as FALSE, that a failed Read or
// Write leaves no valid status and no open file, and that nothing is created when the
// bytes to write cannot be made.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <stdexcept>

#include "CScfTestSupport.h"
#include "formats/TraceFile.h"
#include "zevutil/CAbi.h"
#include "zevutil/CCrv.h"
#include "zevutil/CEsd.h"
#include "zevutil/CScf.h"

using namespace zev;
namespace fs = std::filesystem;

namespace {

std::size_t OpenDescriptors() {
  return std::size_t(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

// One format as the frame sees it: a Write of a small valid object, a Read, and the
// status that both leave. The file written is the path given plus the suffix.
struct Format {
  const char* name;
  const char* suffix;
  std::function<BOOL(const char*)> write;
  std::function<BOOL(const char*)> read;
  std::function<BOOL()> status;
};

}  // namespace

TEST(TraceFile, GuardedGivesFalseForTraceFailuresOnly) {
  struct Case {
    const char* name;
    std::function<BOOL()> body;
    BOOL result;
  };
  const Case cases[] = {
      {"success", [] { return TRUE; }, TRUE},
      {"the body's own FALSE", [] { return FALSE; }, FALSE},
      {"file exception", []() -> BOOL { AfxThrowFileException(CFileException::fileNotFound); }, FALSE},
      {"memory exception", []() -> BOOL { AfxThrowMemoryException(); }, FALSE},
      {"the format's exception", []() -> BOOL { throw CScfException("bad"); }, FALSE},
      {"failed allocation", []() -> BOOL { throw std::bad_alloc(); }, FALSE},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(tracefile::Guarded<CScfException>(c.body), c.result);
  }
  // Another format's exception, or any other, goes on to the caller.
  EXPECT_THROW(tracefile::Guarded<CScfException>([]() -> BOOL { throw CEsdException(); }), CEsdException);
  EXPECT_THROW(tracefile::Guarded<CScfException>([]() -> BOOL { throw std::logic_error("x"); }), std::logic_error);
}

TEST(TraceFile, FailureAfterSuccessLeavesNoStatusAndNoOpenFile) {
  const fs::path dir = zevtest::ScratchDir("zev_tracefile");
  CScf scf;
  CEsd esd;
  esd.InitRawDataSizeAndArray(2, 0);
  CCrv crv;
  int dyes[4] = {1, 0, 0, 0};
  crv.SetSamplesize(2, dyes);
  crv.AppendDataArrays();
  CAbi abi;
  abi.SetSequenceFile(1);
  abi.InitialSeqFlagRecords();
  CFileStatus st;
  const Format formats[] = {
      {"scf", "", [&](const char* p) { return scf.Write(p); }, [&](const char* p) { return scf.Read(p); },
       [&] { return scf.GetFileStatus(st); }},
      {"esd", "", [&](const char* p) { return esd.Write(p); }, [&](const char* p) { return esd.Read(p); },
       [&] { return esd.GetFileStatus(st); }},
      {"crv", "_D1.CRV", [&](const char* p) { return crv.Write(p); }, [&](const char* p) { return crv.Read(p); },
       [&] { return crv.GetFileStatus(st); }},
      {"abi", "", [&](const char* p) { return BOOL(abi.Write(p)); }, [&](const char* p) { return BOOL(abi.Read(p)); },
       [&] { return BOOL(abi.GetFileStatus(st)); }},
  };
  const std::size_t before = OpenDescriptors();
  for (const Format& f : formats) {
    SCOPED_TRACE(f.name);
    const std::string base = (dir / (std::string("good_") + f.name)).string(), good = base + f.suffix;
    ASSERT_TRUE(f.write(base.c_str()));
    ASSERT_TRUE(f.status());
    EXPECT_FALSE(f.write((dir / "missing" / "x").c_str()));
    EXPECT_FALSE(f.status());
    ASSERT_TRUE(f.read(good.c_str()));
    ASSERT_TRUE(f.status());
    // A folder opens for reading but cannot be read.
    EXPECT_FALSE(f.read(dir.c_str()));
    EXPECT_FALSE(f.status());
    ASSERT_TRUE(f.read(good.c_str()));
    EXPECT_FALSE(f.read((dir / "missing.none").c_str()));
    EXPECT_FALSE(f.status());
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST(TraceFile, NothingIsCreatedWhenTheBytesCannotBeMade) {
  // Headers that count records no array holds: five samples, five lines.
  std::vector<BYTE> scfHeader(128, 0);
  const BYTE scfStart[] = {'.', 's', 'c', 'f', 0, 0, 0, 5};
  std::copy(std::begin(scfStart), std::end(scfStart), scfHeader.begin());
  std::copy_n("3.00", 4, scfHeader.begin() + 36);
  std::vector<BYTE> esdTrailer(632, 0);
  esdTrailer[616] = 5;

  const fs::path dir = zevtest::ScratchDir("zev_tracefile");
  CScf scf;
  unsigned samples = 0, raw = 0;
  ASSERT_TRUE(scf.GetFileStatsFromMemory(scfHeader.data(), scfHeader.size(), samples, raw));
  ASSERT_EQ(samples, 5u);
  CEsd esd;
  LONG lines = 0;
  ASSERT_TRUE(esd.GetFileStatsFromMemory(esdTrailer.data(), esdTrailer.size(), lines));
  ASSERT_EQ(lines, 5);

  const fs::path scfPath = dir / "unmade.scf", esdPath = dir / "unmade.esd";
  fs::remove(scfPath);
  fs::remove(esdPath);
  std::vector<BYTE> out(3, 1);
  EXPECT_FALSE(scf.WriteToMemory(out));
  EXPECT_TRUE(out.empty());
  EXPECT_FALSE(scf.Write(scfPath.c_str()));
  EXPECT_FALSE(fs::exists(scfPath));
  out.assign(3, 1);
  EXPECT_FALSE(esd.WriteToMemory(out));
  EXPECT_TRUE(out.empty());
  EXPECT_FALSE(esd.Write(esdPath.c_str()));
  EXPECT_FALSE(fs::exists(esdPath));
}

// Whole files one after the other through the buffer the thread keeps, growing and
// shrinking, with a second one alive at the same time: each holds exactly its file.
TEST(TraceFile, FileInMemoryHoldsExactlyEachFile) {
  const fs::path dir = zevtest::ScratchDir("zev_tracefile");
  auto bytesOf = [](std::size_t n, int seed) {
    std::vector<BYTE> b(n);
    for (std::size_t i = 0; i < n; ++i) b[i] = BYTE(i * 131 + std::size_t(seed) * 7 + (i >> 9));
    return b;
  };
  // 17 MiB is more than any buffer the thread keeps, so its first read fills the
  // buffer and the rest follows the size.
  const std::size_t sizes[] = {0, 1, 5000, 300000, 10, std::size_t(17) << 20, 70000};
  for (std::size_t k = 0; k < std::size(sizes); ++k) {
    SCOPED_TRACE(sizes[k]);
    const fs::path path = dir / ("whole_" + std::to_string(k));
    const std::vector<BYTE> want = bytesOf(sizes[k], int(k));
    zevtest::SaveBytes(path, want);
    tracefile::FileInMemory file;
    CFileStatus status;
    ASSERT_TRUE(file.Load(path.c_str(), &status));
    ASSERT_EQ(file.Size(), want.size());
    EXPECT_TRUE(want.empty() || std::equal(want.begin(), want.end(), file.Data()));
    EXPECT_EQ(status.m_size, LONGLONG(want.size()));
    EXPECT_EQ(std::string(status.m_szFullName), fs::canonical(path).string());
    if (k == 3) {
      // A second file while the first is held gets a buffer of its own.
      tracefile::FileInMemory other;
      const fs::path small = dir / "whole_other";
      zevtest::SaveBytes(small, bytesOf(100, 99));
      ASSERT_TRUE(other.Load(small.c_str(), nullptr));
      EXPECT_EQ(other.Size(), 100u);
      EXPECT_NE(other.Data(), file.Data());
      EXPECT_TRUE(std::equal(want.begin(), want.end(), file.Data()));
    }
  }
  // What cannot be taken as a file gives false and leaves nothing open; a file whose
  // size says 0 (as the system's own files do) holds nothing, whatever it reads as.
  const std::size_t open = OpenDescriptors();
  tracefile::FileInMemory missing;
  EXPECT_FALSE(missing.Load((dir / "missing.none").c_str(), nullptr));
  EXPECT_EQ(missing.Size(), 0u);
  tracefile::FileInMemory folder;
  EXPECT_FALSE(folder.Load(dir.c_str(), nullptr));
  tracefile::FileInMemory sized0;
  CFileStatus status;
  EXPECT_TRUE(sized0.Load("/proc/self/status", &status));
  EXPECT_EQ(sized0.Size(), 0u);
  EXPECT_EQ(status.m_size, 0);
  EXPECT_EQ(OpenDescriptors(), open);
}
