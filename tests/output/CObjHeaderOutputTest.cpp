// The header rows of a stored object, exported as text (byte for byte) and printed on
// the recording test device (each text with its place): created and modified rows on
// their tab stops, the note behind its label, the edited object without its note.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "zevutil/CObjHeaderOutput.h"
#include "zevutil/platform/Gdi.h"

using namespace zev;

namespace {

class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* tz) {
    if (const char* old = std::getenv("TZ")) m_old = old;
    setenv("TZ", tz, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    m_old.empty() ? unsetenv("TZ") : setenv("TZ", m_old.c_str(), 1);
    tzset();
  }

 private:
  std::string m_old;
};

std::string Scratch(const std::string& name) {
  const char* dir = std::getenv("ZEV_TEST_TMP");
  return std::string(dir ? dir : "/tmp") + "/hdrout_" + name;
}

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct HeaderFields {
  const char* name;
  bool edited;
  const char* note;
};

// Created on 5 March 2024 at 09:07:02 in "Alpha" on "ZEV-01" (revision 3); an edited
// header was changed on 31 December 2025 at 23:59:59 in "Beta" on "ZEV-02" (revision 12).
CObjHeader MakeHeader(const HeaderFields& fields) {
  CObjHeader h;
  const CTime created(2024, 3, 5, 9, 7, 2);
  h.SetCreateValues("Alpha", "ZEV-01", &created);
  h.ObjInfo->Created.Revision = 3;
  h.ObjInfo->Modified.Revision = 3;
  if (fields.edited) {
    const CTime edited(2025, 12, 31, 23, 59, 59);
    h.SetEditValues("Beta", "ZEV-02", &edited);
    h.ObjInfo->Modified.Revision = 12;
  }
  h.ObjInfo->Note = fields.note;
  return h;
}

const std::string kCreated = "\r\nCreated:\t03/05/24 09:07:02\tProject:\tAlpha\r\n\t\tSystem:\tZEV-01 [Rev 3]";
const std::string kModifiedSame = "\r\nModified:\t03/05/24 09:07:02\tProject:\tAlpha\r\n\t\tSystem:\tZEV-01 [Rev 3]";
const std::string kModifiedEdited =
    "\r\nModified:\t12/31/25 23:59:59\tProject:\tBeta\r\n\t\tSystem:\tZEV-02 [Rev 12]";

TEST(CObjHeaderOutput, TextExportRows) {
  ScopedTimeZone tz("UTC");
  struct Case {
    HeaderFields fields;
    std::string bytes;
  };
  const std::vector<Case> cases = {
      {{"never edited: three rows, the note last", false, "first run"},
       kCreated + "\r\n" + kModifiedSame + "\r\n" + "\r\nNote:\tfirst run\r\n"},
      {{"the empty note is one blank", false, " "}, kCreated + "\r\n" + kModifiedSame + "\r\n" + "\r\nNote:\t \r\n"},
      {{"edited: the note is left out", true, "rerun"}, kCreated + "\r\n" + kModifiedEdited + "\r\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.fields.name);
    CObjHeader header = MakeHeader(c.fields);
    CObjHeaderOutput out(&header);
    const std::string path = Scratch("rows.txt");
    ASSERT_EQ(out.ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()), 1);
    EXPECT_EQ(ReadAll(path), c.bytes);
  }
}

TEST(CObjHeaderOutput, RowsOneByOneAndWithoutAHeader) {
  ScopedTimeZone tz("UTC");
  CObjHeader header = MakeHeader({"", false, "n"});
  struct Case {
    const char* name;
    CObjHeader* header;
    bool dropInfo;
    LONG row;
    int result;
    std::string text;
    LONG stop;  // the info's stop flag afterwards
  };
  const std::vector<Case> cases = {
      {"created", &header, false, 0, 1, kCreated, 0},
      {"modified", &header, false, 1, 1, kModifiedSame, 0},
      {"the note ends the output", &header, false, 2, 0, "\r\nNote:\tn", 1},
      {"past the rows", &header, false, 3, 0, "", 0},
      {"far past the rows", &header, false, 70000, 0, "", 0},
      {"no header", nullptr, false, 0, 0, "", 0},
      {"no info block", &header, true, 0, 0, "", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CObjHeader copy = header;
    CObjHeader* h = c.header ? &copy : nullptr;
    if (c.dropInfo) {
      delete copy.ObjInfo;
      copy.ObjInfo = nullptr;
    }
    CObjHeaderOutput out(h);
    EXPECT_EQ(out.GetNumberOfTextStrings(), h && h->ObjInfo ? 3 : 0);
    COutputInfo info(EXPORT_TEXT);
    info.m_nStringIndex = c.row;
    CString text;
    EXPECT_EQ(out.GetTextOutput(&info, text), c.result);
    EXPECT_EQ(std::string(text.GetString()), c.text);
    EXPECT_EQ(info.m_bStopOutput, c.stop);
    EXPECT_EQ(out.GetTextOutput(nullptr, text), 0);
  }
}

// A printed header on the test device (10 units a character, 600 units an inch, the
// body starting at 75): the tab stops are 1.0, 3.0 and 4.0 inches from the paper's
// edge. Each row starts with a line break, so its label line continues the string:
// the note's label and a long note's further lines stand under the indent made of
// "Note:\t".
TEST(CObjHeaderOutput, PrintedRowsOnTheirStops) {
  ScopedTimeZone tz("UTC");
  constexpr char kPrinter[] = "zevtest-header";
  struct Case {
    HeaderFields fields;
    std::vector<std::string> drawn;  // text @ x
  };
  const std::vector<std::string> rows = {
      "Created: @75",  "03/05/24 09:07:02 @600", "Project: @1800", "Alpha @2400",
      "System: @75",   "ZEV-01 [Rev 3] @600",   "Modified: @75",  "03/05/24 09:07:02 @600",
      "Project: @1800", "Alpha @2400",           "System: @75",    "ZEV-01 [Rev 3] @600"};
  auto with = [&rows](std::vector<std::string> more) {
    std::vector<std::string> all = rows;
    all.insert(all.end(), more.begin(), more.end());
    return all;
  };
  std::string longNote;
  for (int i = 0; i < 70; ++i) longNote += "word" + std::to_string(i % 10) + " ";
  std::vector<Case> cases = {
      {{"never edited", false, "first run"}, with({"Note: @675", "first run @1800"})},
      {{"edited", true, "rerun"},
       {"Created: @75", "03/05/24 09:07:02 @600", "Project: @1800", "Alpha @2400", "System: @75",
        "ZEV-01 [Rev 3] @600", "Modified: @75", "12/31/25 23:59:59 @600", "Project: @1800", "Beta @2400",
        "System: @75", "ZEV-02 [Rev 12] @600"}},
      {{"a long note wraps under the indent", false, longNote.c_str()}, {}},
  };
  for (Case& c : cases) {
    SCOPED_TRACE(c.fields.name);
    TestDeviceOptions opts;
    RegisterTestPrinter(kPrinter, opts);
    CPageFormatDef fmt;
    fmt.m_device.m_strPrinterName = kPrinter;
    fmt.m_strHeader1.Empty();
    fmt.m_strFooter1.Empty();
    CObjHeader header = MakeHeader(c.fields);
    CObjHeaderOutput out(&header);
    ASSERT_EQ(out.PrintObject(fmt, CObjectOutputDef()), 1);
    std::vector<std::string> got;
    for (const TestDrawCall& t : opts.log->Texts()) got.push_back(t.text + " @" + std::to_string(t.x));
    if (c.drawn.empty()) {
      // The long note: the label, then its words from the 3-inch stop to the right
      // edge, then each further line of words from the indent.
      ASSERT_GE(got.size(), rows.size() + 3);
      EXPECT_EQ(std::vector<std::string>(got.begin(), got.begin() + long(rows.size())), rows);
      EXPECT_EQ(got[rows.size()], "Note: @675");
      EXPECT_EQ(got[rows.size() + 1].rfind("word0 word1 ", 0), 0u) << got[rows.size() + 1];
      EXPECT_NE(got[rows.size() + 1].find(" @1800"), std::string::npos) << got[rows.size() + 1];
      for (size_t i = rows.size() + 2; i < got.size(); ++i) {
        EXPECT_EQ(got[i].rfind("word", 0), 0u) << got[i];
        EXPECT_NE(got[i].find(" @675"), std::string::npos) << got[i];
      }
    } else {
      EXPECT_EQ(got, c.drawn);
    }
    UnregisterTestPrinter(kPrinter);
  }
}

}  // namespace
