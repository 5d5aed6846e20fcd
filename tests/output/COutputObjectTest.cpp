// Export jobs of an output object, checked byte for byte in the files they write:
// lines and CR LF, empty strings, headings per type, how the loop ends (stop, string
// count, cancel), text left over from an interrupted job, binary types, embedded
// exports, refusals and the failure text that outlives a job.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "zevutil/COutputObject.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Wnd.h"

using namespace zev;

namespace {

enum class Act { None, Stop, Cancel, Fail, Heading, Embed };

struct Step {
  const char* text;
  int ret = 1;
  Act act = Act::None;
};

// Hands out its steps in order and stops after the last one.
class ScriptObject : public COutputObject {
 public:
  std::vector<Step> steps;
  LONG count = 0x7FFFFFFF;
  int asked = 0;
  COutputObject* inner = nullptr;
  using COutputObject::OutputTextString;

  int GetTextOutput(COutputInfo* info, CString& text) override {
    const int i = asked++;
    if (i >= int(steps.size())) {
      SignalStopOutput();
      return 0;
    }
    const Step& s = steps[size_t(i)];
    text = s.text;
    switch (s.act) {
      case Act::Stop: SignalStopOutput(); break;
      case Act::Cancel: *info->m_pCancelFlag = 1; break;
      case Act::Fail: info->SetErrorMsg("disk quota exceeded", 1); break;
      case Act::Heading: m_pExportHandler->OutputHeading(2, "Sample", "A01"); break;
      case Act::Embed: inner->ExportEmbeddedObject(CObjectOutputDef(), info); break;
      case Act::None: break;
    }
    return s.ret;
  }
  LONG GetNumberOfTextStrings() override { return count; }
};

std::string Scratch(const std::string& name) {
  const char* dir = std::getenv("ZEV_TEST_TMP");
  return std::string(dir ? dir : "/tmp") + "/outobj_" + name;
}

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST(COutputObjectExport, TextFilesHoldExactlyTheLines) {
  struct Case {
    const char* name;
    std::vector<Step> steps;
    LONG count;
    const char* bytes;
    int asked;
  };
  const std::vector<Case> cases = {
      {"lines as they stand, tabs kept", {{"a"}, {"b\tc"}, {" d "}}, 0x7FFFFFFF, "a\r\nb\tc\r\n d \r\n", 4},
      {"empty strings write no line", {{""}, {"a"}, {""}, {""}, {"b"}}, 0x7FFFFFFF, "a\r\nb\r\n", 6},
      {"nothing at all: an empty file", {}, 0x7FFFFFFF, "", 1},
      {"a stop keeps its own string", {{"a"}, {"b", 1, Act::Stop}, {"c"}}, 0x7FFFFFFF, "a\r\nb\r\n", 2},
      {"a 0 return does not end the job", {{"a", 0}, {"", 0}, {"b", 0}, {"c", 0}}, 3, "a\r\nb\r\n", 3},
      {"the string count ends it early", {{"a"}, {"b"}, {"c"}, {"d"}}, 2, "a\r\nb\r\n", 2},
      {"a cancel ends it after the string", {{"a"}, {"b", 1, Act::Cancel}, {"c"}}, 0x7FFFFFFF, "a\r\nb\r\n", 2},
      {"a heading goes before the string", {{"x", 1, Act::Heading}, {"y"}}, 0x7FFFFFFF, "Sample\tA01\r\nx\r\ny\r\n", 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string path = Scratch("lines.txt");
    std::filesystem::remove(path);
    ScriptObject obj;
    obj.steps = c.steps;
    obj.count = c.count;
    EXPECT_EQ(obj.ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()), 1);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(ReadAll(path), c.bytes);
    EXPECT_EQ(obj.asked, c.asked);
    EXPECT_EQ(obj.GetExportHandler()->GetOutputInfo(), nullptr);  // a text job releases its info
    EXPECT_EQ(obj.GetExportHandler()->GetLastFailed(), 0);
    EXPECT_EQ(obj.GetTransferFile(), path.c_str());
  }
}

TEST(COutputObjectExport, HeadingsJoinWithTabOnlyForText) {
  const struct {
    EEXPORT_TYPE type;
    const char* file;
    const char* bytes;
  } cases[] = {
      {EXPORT_TEXT, "h.txt", "Sample\tA01\r\nx\r\n"},
      {EXPORT_SEQ, "h.seq", "Sample: A01\r\nx\r\n"},
      {EXPORT_FASTA, "h.fasta", "Sample: A01\r\nx\r\n"},
      {EXPORT_ORI, "h.ori", "Sample: A01\r\nx\r\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    const std::string path = Scratch(c.file);
    ScriptObject obj;
    obj.steps = {{"x", 1, Act::Heading}};
    ASSERT_EQ(obj.ExportObject(c.type, path.c_str(), CObjectOutputDef()), 1);
    EXPECT_EQ(ReadAll(path), c.bytes);
  }
}

TEST(COutputObjectExport, BinaryTypesOpenNoFileAndLeaveTextPending) {
  const EEXPORT_TYPE binary[] = {EXPORT_SCF2, EXPORT_SCF3, EXPORT_ZEV, EXPORT_PHRED,
                                 EXPORT_ESD,  EXPORT_ABI,  EXPORT_CRV};
  for (EEXPORT_TYPE t : binary) {
    SCOPED_TRACE(int(t));
    const std::string path = Scratch("binary.out");
    std::filesystem::remove(path);
    ScriptObject quiet;  // writes nothing: the job succeeds without a file
    EXPECT_EQ(quiet.ExportObject(t, path.c_str(), CObjectOutputDef()), 1);
    EXPECT_FALSE(std::filesystem::exists(path));
    // The info stays until the next job.
    ASSERT_NE(quiet.GetExportHandler()->GetOutputInfo(), nullptr);
    EXPECT_EQ(quiet.GetExportHandler()->GetOutputInfo()->m_eOutputType, t);
    EXPECT_EQ(quiet.GetOutputInfoPtr(), quiet.GetExportHandler()->GetOutputInfo());

    // Text for a binary type has no archive to go to: the job fails and the string
    // waits; the next text export continues it under three blanks.
    ScriptObject talky;
    talky.steps = {{"left over"}, {"next"}};
    EXPECT_EQ(talky.ExportObject(t, path.c_str(), CObjectOutputDef()), 0);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(talky.m_strText, "left over");
    const std::string txt = Scratch("continued.txt");
    EXPECT_EQ(talky.ExportObject(EXPORT_TEXT, txt.c_str(), CObjectOutputDef()), 1);
    EXPECT_EQ(ReadAll(txt), "   left over\r\nnext\r\n");
  }
}

TEST(COutputObjectExport, RefusedRequestsTouchNothing) {
  const std::string path = Scratch("refused.txt");
  std::filesystem::remove(path);
  const struct {
    const char* name;
    EEXPORT_TYPE type;
    const char* path;
  } cases[] = {{"printer", EXPORT_PRINTER, path.c_str()}, {"none", EXPORT_NONE, path.c_str()},
               {"null path", EXPORT_TEXT, nullptr}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptObject obj;
    obj.steps = {{"a"}};
    EXPECT_EQ(obj.ExportObject(c.type, c.path, CObjectOutputDef()), 0);
    EXPECT_EQ(obj.asked, 0);
    EXPECT_EQ(obj.m_eOutputType, EXPORT_NONE);
    EXPECT_FALSE(std::filesystem::exists(path));
  }

  ScriptObject obj;
  EXPECT_EQ(obj.ImportObject(IMPORT_NONE, "in.txt"), 0);
  EXPECT_EQ(obj.ImportObject(EIMPORT_TYPE(3), nullptr), 0);
  EXPECT_TRUE(obj.m_strTransferFile.IsEmpty());
  EXPECT_EQ(obj.ImportObject(EIMPORT_TYPE(3), "in.txt"), 1);
  EXPECT_EQ(obj.m_eImportType, 3);
  EXPECT_EQ(obj.m_strTransferFile, "in.txt");
}

TEST(COutputObjectExport, FailureTextOutlivesTheJob) {
  std::vector<std::string> traced;
  TraceHandler old = SetTraceHandler([&](const char* t) { traced.emplace_back(t); });

  // A file that can't be created: the job fails before asking for text.
  ScriptObject obj;
  obj.steps = {{"a"}};
  const std::string bad = Scratch("no such dir/x.txt");
  EXPECT_EQ(obj.ExportObject(EXPORT_TEXT, bad.c_str(), CObjectOutputDef()), 0);
  EXPECT_EQ(obj.asked, 0);
  const CExportHandler* h = obj.GetExportHandler();
  EXPECT_EQ(h->GetOutputInfo(), nullptr);
  EXPECT_EQ(h->GetLastFailed(), 1);
  EXPECT_FALSE(h->GetLastErrorMsg().IsEmpty());
  ASSERT_EQ(traced.size(), 1u);
  EXPECT_EQ(traced[0], std::string(h->GetLastErrorMsg()) + "\n");

  // An object hosted by a window shows the text in a box with the stop icon instead.
  std::vector<std::pair<std::string, UINT>> boxes;
  MessageBoxHandler oldBox = SetMessageBoxHandler([&](HWND, const char* text, const char*, UINT style) {
    boxes.emplace_back(text, style);
    return IDOK;
  });
  CWnd host;
  obj.SetPrintFromView(0, &host, "Report");
  EXPECT_EQ(obj.ExportObject(EXPORT_TEXT, bad.c_str(), CObjectOutputDef()), 0);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].first, std::string(h->GetLastErrorMsg()));
  EXPECT_EQ(boxes[0].second, MB_OK | MB_ICONSTOP);
  EXPECT_EQ(traced.size(), 1u);
  SetMessageBoxHandler(oldBox);
  obj.SetPrintFromView(0, nullptr, nullptr);

  // A failure flagged during the job: the job's result stays 1, the text stays after it.
  const std::string path = Scratch("failed.txt");
  obj.steps = {{"a", 1, Act::Fail}};
  obj.asked = 0;
  EXPECT_EQ(obj.ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()), 1);
  EXPECT_EQ(h->GetOutputInfo(), nullptr);
  EXPECT_EQ(h->GetLastFailed(), 1);
  EXPECT_EQ(h->GetLastErrorMsg(), "disk quota exceeded");

  // The next good job replaces it; SetDefaultValues empties it.
  obj.steps = {{"a"}};
  obj.asked = 0;
  EXPECT_EQ(obj.ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()), 1);
  EXPECT_EQ(h->GetLastFailed(), 0);
  EXPECT_TRUE(h->GetLastErrorMsg().IsEmpty());
  EXPECT_EQ(ReadAll(path), "a\r\n");
  SetTraceHandler(old);
}

TEST(COutputObjectExport, EmbeddedExportWritesIntoTheOuterFile) {
  ScriptObject inner;
  inner.steps = {{"i1"}, {""}, {"i2"}};
  ScriptObject outer;
  outer.inner = &inner;
  outer.steps = {{"o1"}, {"o2", 1, Act::Embed}, {"o3"}};
  const std::string path = Scratch("embedded.txt");
  ASSERT_EQ(outer.ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()), 1);
  // The inner stop is cleared at its end, so the outer object goes on.
  EXPECT_EQ(ReadAll(path), "o1\r\ni1\r\ni2\r\no2\r\no3\r\n");
  EXPECT_EQ(inner.m_bEmbedded, 1);
  EXPECT_EQ(inner.m_eOutputType, EXPORT_TEXT);

  // Nothing to join: no info, or a paper job.
  COutputInfo paper(EXPORT_PRINTER);
  EXPECT_EQ(inner.GetExportHandler()->GetOutputInfo(), nullptr);  // the outer job's info is not kept
  EXPECT_EQ(inner.ExportEmbeddedObject(CObjectOutputDef(), nullptr), 0);
  EXPECT_EQ(inner.ExportEmbeddedObject(CObjectOutputDef(), &paper), 0);
}

TEST(CExportHandler, AdoptingAnotherInfoReleasesTheOwnedOne) {
  CExportHandler h;
  ASSERT_EQ(h.StartExportDocument(EXPORT_SCF3, "unused.scf"), 1);
  h.GetOutputInfo()->SetErrorMsg("old job", 1);
  COutputInfo borrowed(EXPORT_TEXT);
  borrowed.m_bStopOutput = 1;
  borrowed.m_nStringIndex = 7;
  borrowed.m_bHeaderEnabled = borrowed.m_bFooterEnabled = 0;
  ASSERT_EQ(h.StartExportOutput(&borrowed), 1);
  EXPECT_EQ(h.GetOutputInfo(), &borrowed);
  EXPECT_EQ(h.GetLastErrorMsg(), "old job");
  EXPECT_EQ(h.GetLastFailed(), 1);
  EXPECT_EQ(borrowed.m_bStopOutput, 0);
  EXPECT_EQ(borrowed.m_nStringIndex, 0);
  EXPECT_EQ(borrowed.m_bHeaderEnabled + borrowed.m_bFooterEnabled, 2);
  CString s("x");
  EXPECT_EQ(h.OutputTextString(s), 0);  // borrowed info without an archive
  EXPECT_EQ(s, "x");
  borrowed.m_bStopOutput = 1;
  EXPECT_EQ(h.EndExportOutput(), 1);
  EXPECT_EQ(borrowed.m_bStopOutput, 0);
  EXPECT_EQ(h.GetOutputInfo(), nullptr);  // forgotten, never deleted
  EXPECT_EQ(h.EndExportOutput(), 0);
  EXPECT_EQ(h.EndExportDocument(0), 1);
  h.SetDefaultValues();
  EXPECT_TRUE(h.GetLastErrorMsg().IsEmpty());
  EXPECT_EQ(h.GetLastFailed(), 0);
}

TEST(CExportHandler, InfoReplacementsFromTwoThreadsDoNotCollide) {
  CExportHandler h;
  auto churn = [&h](EEXPORT_TYPE t) {
    COutputInfo own(EXPORT_TEXT);
    for (int i = 0; i < 300; ++i) {
      h.StartExportDocument(t, "unused");
      h.StartExportOutput(&own);
      h.DeleteOutputInfo();
    }
  };
  std::thread a(churn, EXPORT_SCF2), b(churn, EXPORT_ABI);
  a.join();
  b.join();
  EXPECT_EQ(h.GetOutputInfo(), nullptr);
}

TEST(COutputObjectExport, WithoutAHandlerOutputDoesNothingAndAJobMakesOne) {
  ScriptObject obj;
  delete obj.m_pExportHandler;
  obj.m_pExportHandler = nullptr;
  obj.m_eOutputType = EXPORT_TEXT;
  CString s("kept");
  EXPECT_EQ(obj.OutputTextString(s), 1);
  EXPECT_EQ(s, "kept");
  EXPECT_EQ(obj.GetOutputInfoPtr(), nullptr);
  obj.SignalStopOutput();  // no info: nothing to stop
  obj.m_eOutputType = EXPORT_PRINTER;
  EXPECT_EQ(obj.OutputTextString(s), 1);  // paper without a print handler
  obj.steps = {{"a"}};
  const std::string path = Scratch("second.txt");
  EXPECT_EQ(obj.ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()), 1);
  EXPECT_NE(obj.GetExportHandler(), nullptr);
  EXPECT_EQ(ReadAll(path), "a\r\n");
}

// One object, paper then file then paper: the type it is asked for follows the job,
// and the layout setters reach the print handler only while printing.
class ModeObject : public COutputObject {
 public:
  std::vector<bool> paper;  // as the info tells it
  double tabs[3] = {1.0, 2.0, 3.0};
  int nTabs = 2;
  int GetTextOutput(COutputInfo* info, CString& text) override {
    paper.push_back(info->m_eOutputType < EXPORT_TEXT);
    EXPECT_EQ(info, GetOutputInfoPtr());
    SetTabStops(tabs, nTabs);
    text = "a\tb";
    SignalStopOutput();
    return 0;
  }
};

TEST(COutputObjectExport, PrintAndExportAlternateOnOneObject) {
  TestDeviceOptions opts;
  RegisterTestPrinter("zevtest-outobj", opts);
  CPageFormatDef fmt;
  fmt.m_device.m_strPrinterName = "zevtest-outobj";
  ModeObject obj;
  ASSERT_EQ(obj.PrintObject(fmt, CObjectOutputDef()), 1);
  ASSERT_NE(obj.GetPrintHandler(), nullptr);
  EXPECT_EQ(obj.GetPrintHandler()->GetTabStopCount(), 2);
  bool drawn = false;
  for (const TestDrawCall& c : opts.log->Texts()) drawn |= c.text == "a";
  EXPECT_TRUE(drawn);

  obj.nTabs = 3;
  const std::string path = Scratch("alternate.txt");
  ASSERT_EQ(obj.ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()), 1);
  EXPECT_EQ(ReadAll(path), "a\tb\r\n");
  EXPECT_EQ(obj.GetPrintHandler()->GetTabStopCount(), 2);  // ignored by the export

  ASSERT_EQ(obj.PrintObject(fmt, CObjectOutputDef()), 1);
  EXPECT_EQ(obj.GetPrintHandler()->GetTabStopCount(), 3);
  EXPECT_EQ(obj.paper, std::vector<bool>({true, false, true}));
  UnregisterTestPrinter("zevtest-outobj");
}

}  // namespace
