// CFile on disk, CMemFile in memory, and the archive over each.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/CFile.h"

using namespace zev;

namespace {
std::string TempPath(const char* name) {
  auto dir = std::filesystem::temp_directory_path() / ("zev_cfile_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()));
  std::filesystem::create_directories(dir);
  return (dir / name).string();
}
}  // namespace

TEST(CFile, OpenReportsCauseAndThrowingConstructor) {
  CFile f;
  CFileException e;
  EXPECT_FALSE(f.Open("/nonexistent-dir/x", CFile::modeRead, &e));
  EXPECT_EQ(e.m_cause, CFileException::fileNotFound);
  EXPECT_STREQ(e.m_strFileName, "/nonexistent-dir/x");
  try {
    CFile g("/nonexistent-dir/x", CFile::modeRead);
    FAIL();
  } catch (CFileException* ex) {
    EXPECT_EQ(ex->m_cause, CFileException::fileNotFound);
    EXPECT_FALSE(ex->GetMessageText().IsEmpty());
    ex->Delete();
  }
}

TEST(CFile, ArchiveThroughADiskFileRoundTrips) {
  std::string path = TempPath("arch.bin");
  {
    CFile f(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive ar(&f, CArchive::store, 128);
    for (int i = 0; i < 1000; ++i) ar << i << CString("text");
    ar.Close();
  }
  CFileStatus st;
  ASSERT_TRUE(CFile::GetStatus(path.c_str(), st));
  EXPECT_EQ(st.m_size, 1000 * 9);
  CFile f(path.c_str(), CFile::modeRead);
  CArchive ar(&f, CArchive::load, 128);
  for (int i = 0; i < 1000; ++i) {
    int v;
    CString s;
    ar >> v >> s;
    ASSERT_EQ(v, i);
    ASSERT_STREQ(s, "text");
  }
  BYTE b;
  EXPECT_THROW(
      {
        try {
          ar >> b;
        } catch (CArchiveException* e) {
          EXPECT_EQ(e->m_cause, CArchiveException::endOfFile);
          e->Delete();
          throw 1;
        }
      },
      int);
  CFile::Remove(path.c_str());
}

// The full name of an open file is the one the path lookup gives for its name, links
// resolved, however the file was named; a file removed while open keeps its name as given.
TEST(CFile, StatusOfAnOpenFileHasTheResolvedFullName) {
  namespace fs = std::filesystem;
  const fs::path real = fs::path(TempPath("real")) / "dir";
  fs::create_directories(real);
  const fs::path linkDir = real.parent_path() / "linked";
  fs::remove(linkDir);
  fs::create_directory_symlink(real, linkDir);
  {
    CFile f((real / "t.bin").c_str(), CFile::modeCreate | CFile::modeWrite);
    f.Write("abc", 3);
  }
  fs::remove(real / "alias.bin");
  fs::create_symlink(real / "t.bin", real / "alias.bin");
  const std::string canonical = fs::canonical(real / "t.bin").string();
  // Absolute and relative names, with and without links, dots and doubled slashes.
  const std::string names[] = {(real / "t.bin").string(),
                               (linkDir / "t.bin").string(),
                               (real / "alias.bin").string(),
                               (linkDir / ".." / "dir" / "." / "t.bin").string(),
                               real.string() + "//./../dir/t.bin",
                               "dir/t.bin",
                               "./dir/../dir//t.bin",
                               "linked/t.bin",
                               "linked/../dir/alias.bin"};
  const fs::path before = fs::current_path();
  fs::current_path(real.parent_path());
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    CFile f(name.c_str(), CFile::modeRead);
    CFileStatus open, byName;
    ASSERT_TRUE(f.GetStatus(open));
    ASSERT_TRUE(CFile::GetStatus(name.c_str(), byName));
    EXPECT_EQ(std::string(open.m_szFullName), canonical);
    EXPECT_STREQ(open.m_szFullName, byName.m_szFullName);
    EXPECT_EQ(open.m_size, 3);
  }
  fs::current_path(before);
  CFile f((real / "t.bin").c_str(), CFile::modeRead);
  fs::remove(real / "t.bin");
  CFileStatus removed;
  ASSERT_TRUE(f.GetStatus(removed));
  EXPECT_EQ(std::string(removed.m_szFullName), (real / "t.bin").string());
  f.Close();
  fs::remove_all(real.parent_path());
}

TEST(CMemFile, GrowsSeeksAndReadsShort) {
  CMemFile m(16);
  std::vector<BYTE> data(100);
  for (size_t i = 0; i < data.size(); ++i) data[i] = BYTE(i);
  m.Write(data.data(), UINT(data.size()));
  EXPECT_EQ(m.GetLength(), 100u);
  m.Seek(-10, CFile::end);
  BYTE buf[32];
  EXPECT_EQ(m.Read(buf, sizeof buf), 10u);
  EXPECT_EQ(buf[0], 90);
  m.SetLength(50);
  EXPECT_EQ(m.GetPosition(), 50u);
  EXPECT_EQ(m.Read(buf, 1), 0u);
}

TEST(CMemFile, FixedBufferRefusesToGrow) {
  BYTE fixed[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  CMemFile m(fixed, sizeof fixed);
  EXPECT_EQ(m.GetLength(), 8u);
  BYTE out[8];
  EXPECT_EQ(m.Read(out, 8), 8u);
  EXPECT_EQ(out[7], 8);
  try {
    m.Write(out, 1);
    FAIL();
  } catch (CMemoryException* e) {
    e->Delete();
  }
  m.Detach();  // the caller's buffer stays the caller's
}

TEST(CArchive, DirectBufferingOnAMemoryFileKeepsPositionsExact) {
  CMemFile m;
  {
    CArchive ar(&m, CArchive::store);
    for (int i = 0; i < 5000; ++i) ar << WORD(i);  // crosses several 4096-byte windows
  }
  EXPECT_EQ(m.GetLength(), 10000u);
  m.SeekToBegin();
  CArchive ar(&m, CArchive::load);
  WORD w;
  for (int i = 0; i < 3; ++i) ar >> w;
  ar.Flush();  // gives back unread bytes: the file position is exact
  EXPECT_EQ(m.GetPosition(), 6u);
  char raw[4];
  EXPECT_EQ(ar.Read(raw, 4), 4u);
  ar >> w;
  EXPECT_EQ(w, 5);
}

TEST(CArchive, UseAfterCloseThrowsInsteadOfWriting) {
  CMemFile m;
  CArchive ar(&m, CArchive::store);
  ar << 1;
  ar.Close();
  EXPECT_EQ(m.GetLength(), 4u);
  for (int round = 0; round < 2; ++round) {
    try {
      if (round == 0) ar << 2;
      else ar.Write("abc", 3);
      ADD_FAILURE() << "no exception";
    } catch (CArchiveException* e) {
      e->Delete();
    }
  }
  EXPECT_EQ(m.GetLength(), 4u);
}

namespace {
std::string FileBytes(const std::string& path) {
  CFile f(path.c_str(), CFile::modeRead);
  std::string s(size_t(f.GetLength()), '\0');
  if (!s.empty()) f.Read(s.data(), UINT(s.size()));
  return s;
}
}  // namespace

// The stdio file holds writes and reads ahead; each case mixes the calls that must see
// through that buffer and checks what they report and what lands in the file.
TEST(CStdioFile, BufferedCallsSeeTheFileAsWritten) {
  const std::string big(10000, 'x');
  struct Case {
    const char* name;
    const char* seed;  // file content before the case opens it
    std::function<std::string(CStdioFile&)> act;
    std::string log;
    std::string bytes;
  };
  const std::vector<Case> cases = {
      {"write then seek back and overwrite", "",
       [](CStdioFile& f) {
         f.WriteString("hello world");
         std::string log = std::to_string(f.Seek(6, CFile::begin));
         f.WriteString("there");
         return log + "," + std::to_string(f.GetPosition());
       },
       "6,11", "hello there"},
      {"length and position count held bytes", "0123456789",
       [](CStdioFile& f) {
         f.WriteString("ab");
         std::string log = std::to_string(f.GetPosition()) + "," + std::to_string(f.GetLength());
         f.SeekToEnd();
         f.WriteString("XYZ");
         return log + "," + std::to_string(f.GetPosition()) + "," + std::to_string(f.GetLength());
       },
       "2,10,13,13", "ab23456789XYZ"},
      {"read back what was just written", "",
       [](CStdioFile& f) {
         f.WriteString("one\ntwo\n");
         f.SeekToBegin();
         CString line;
         std::string log;
         for (int i = 0; i < 3; ++i) {
           const BOOL got = f.ReadString(line);
           log += std::to_string(got) + std::string(line);
         }
         return log;
       },
       "1one1two0", "one\ntwo\n"},
      {"write after a read lands at the read position", "line1\nline2\nline3\n",
       [](CStdioFile& f) {
         CString a;
         f.ReadString(a);
         std::string log = std::string(a) + "," + std::to_string(f.GetPosition());
         f.WriteString("LINE2");
         return log + "," + std::to_string(f.GetPosition());
       },
       "line1,6,11", "line1\nLINE2\nline3\n"},
      {"read at the end of what was written finds nothing", "",
       [](CStdioFile& f) {
         f.WriteString("abc");
         char buf[8];
         return std::string(f.ReadString(buf, sizeof buf) ? "line" : "end") + std::to_string(f.GetLength());
       },
       "end3", "abc"},
      {"a write bigger than the buffer keeps its place among small ones", "",
       [&big](CStdioFile& f) {
         f.WriteString("<");
         f.WriteString(big.c_str());
         f.WriteString(">");
         return std::to_string(f.GetLength());
       },
       "10002", "<" + big + ">"},
      {"status after a held write sees its size", "",
       [](CStdioFile& f) {
         f.WriteString("12345");
         CFileStatus st;
         const BOOL ok = f.GetStatus(st);
         return std::to_string(ok) + "," + std::to_string(st.m_size);
       },
       "1,5", "12345"},
      {"set length after a held write", "",
       [](CStdioFile& f) {
         f.WriteString("abcdef");
         f.SetLength(3);
         return std::to_string(f.GetLength());
       },
       "3", "abc"},
  };
  const std::string path = TempPath("stdio.txt");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    {
      CFile seed(path.c_str(), CFile::modeCreate | CFile::modeWrite);
      seed.Write(c.seed, UINT(std::strlen(c.seed)));
    }
    std::string log;
    {
      CStdioFile f;
      ASSERT_TRUE(f.Open(path.c_str(), CFile::modeReadWrite | CFile::modeNoTruncate | CFile::modeCreate | CFile::typeBinary));
      log = c.act(f);
    }  // the destructor hands the held bytes over
    EXPECT_EQ(log, c.log);
    EXPECT_EQ(FileBytes(path), c.bytes);
  }
}

TEST(CStdioFile, TextModeAndBigReadsGoThroughTheBuffer) {
  const std::string path = TempPath("stdio_text.txt");
  {
    CStdioFile f;
    ASSERT_TRUE(f.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::typeText));
    f.WriteString("a\nb\n\nc");
    f.Close();
  }
  EXPECT_EQ(FileBytes(path), "a\r\nb\r\n\r\nc");
  CStdioFile f;
  ASSERT_TRUE(f.Open(path.c_str(), CFile::modeRead | CFile::typeText));
  CString line;
  std::vector<std::string> lines;
  while (f.ReadString(line)) lines.emplace_back(line);
  EXPECT_EQ(lines, (std::vector<std::string>{"a", "b", "", "c"}));
  // A read mixing held bytes with a direct one returns them in order.
  f.SeekToBegin();
  char first[2] = {};
  ASSERT_EQ(f.Read(first, 1), 1u);
  std::string rest(9000, '\0');
  EXPECT_EQ(f.Read(rest.data(), UINT(rest.size())), 8u);
  EXPECT_EQ(std::string(first) + rest.substr(0, 8), "a\r\nb\r\n\r\nc");
}

// A write the system refuses (a full device) surfaces at Flush, at Close, or is
// dropped quietly by Abort and the destructor.
TEST(CStdioFile, HeldWriteErrorsSurfaceAtFlushAndClose) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no full device";
  const std::vector<std::pair<const char*, std::function<void(CStdioFile&)>>> throwing = {
      {"Flush", [](CStdioFile& f) { f.Flush(); }},
      {"Close", [](CStdioFile& f) { f.Close(); }},
      {"Seek", [](CStdioFile& f) { f.SeekToBegin(); }},
  };
  for (const auto& [name, call] : throwing) {
    SCOPED_TRACE(name);
    CStdioFile f;
    ASSERT_TRUE(f.Open("/dev/full", CFile::modeWrite));
    f.WriteString("data");
    try {
      call(f);
      ADD_FAILURE() << "no exception";
    } catch (CFileException* e) {
      EXPECT_EQ(e->m_cause, CFileException::diskFull);
      EXPECT_STREQ(e->m_strFileName, "/dev/full");
      e->Delete();
    }
    f.Abort();
    EXPECT_FALSE(f.IsOpen());
  }
  CStdioFile quiet;
  ASSERT_TRUE(quiet.Open("/dev/full", CFile::modeWrite));
  quiet.WriteString("data");
  quiet.Abort();  // never throws
  EXPECT_FALSE(quiet.IsOpen());
  {
    CStdioFile dropped;
    ASSERT_TRUE(dropped.Open("/dev/full", CFile::modeWrite));
    dropped.WriteString("data");
  }  // nor does the destructor
}
