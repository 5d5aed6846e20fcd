// The export option dialog driven as a user would: filter rows, forced options, the
// minimum-length field, the tests at OK and the keys of section "EXPORT".
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ExportTestUtil.h"
#include "zevutil/CExportObjectDialog.h"

using namespace zev;
using D = CExportObjectDialog;

namespace {

// The constructor's flags, as a test varies them.
struct Offers {
  int zev = 1, ori = 1, abi = 1, crv = 1, gadb = 0, persist = 1;
};

class ExportObjectDialog : public zevtest::ExportDialogTest {
 protected:
  std::unique_ptr<D> Make(LONG object, Offers o = {}, const char* path = "/out/run", int fixed = 0) {
    return std::make_unique<D>(nullptr, object, fixed, path, nullptr, o.zev, o.ori, o.gadb, o.persist, o.abi, o.crv);
  }
  static std::vector<int> Types(const D& d) {
    std::vector<int> t;
    for (const FileType& f : d.GetFilterTypes()) t.push_back(f.m_eType);
    return t;
  }
  static int PosOf(const D& d, int type) {
    const auto& rows = d.GetFilterTypes();
    for (size_t i = 0; i < rows.size(); ++i)
      if (rows[i].m_eType == type) return int(i);
    return -1;
  }
  // The seven element options, as the option table lists them.
  static constexpr int kElements[7] = {D::IDC_EXPORT_HEADER,        D::IDC_EXPORT_RAW_DATA,
                                       D::IDC_EXPORT_RESULT_DATA,   D::IDC_EXPORT_RESULT_OUTPUT,
                                       D::IDC_EXPORT_QUALITY,       D::IDC_EXPORT_ALIGN_RESULTS,
                                       D::IDC_EXPORT_ALIGN_ACCURACY};
};

TEST_F(ExportObjectDialog, FilterRowsFollowObjectTypeAndOffers) {
  const int S3 = EXPORT_SCF3, S2 = EXPORT_SCF2, T = EXPORT_TEXT, Q = EXPORT_SEQ, F = EXPORT_FASTA,
            P = EXPORT_PHRED, Z = EXPORT_ZEV, O = EXPORT_ORI, E = EXPORT_ESD, A = EXPORT_ABI, C = EXPORT_CRV;
  struct Case {
    LONG object;
    Offers offers;
    std::vector<int> rows;
  };
  const Case cases[] = {
      {10002, {}, {S3, S2, T, Q, F, P, E, A, Z, O}},
      {10002, {0, 0, 0, 0}, {S3, S2, T, Q, F, P, E}},
      {10002, {1, 1, -1, 0}, {S3, S2, T, Q, F, P, E, A, Z, O}},  // any nonzero ABI flag
      {10001, {}, {S3, S2, T, E, A, Z, O}},
      {10001, {0, 1, -1, 1}, {S3, S2, T, E, A, O}},
      {10008, {}, {S3, S2, T, E, C, A, Z}},  // ORI is never offered here
      {10008, {1, 1, -1, 1}, {S3, S2, T, E, C, Z}},  // ABI only for a positive flag
      {10008, {0, 0, 2, 0}, {S3, S2, T, E, A}},
      {-1, {0, 0, 0, 0}, {Z}},
      {1002, {}, {T, Z}},
      {3001, {0, 1, 1, 1}, {T}},
      {10006, {}, {T, Z}},
      {14000, {}, {T, Z}},
      {14010, {}, {T, Z}},
      {5002, {}, {Z}},
      {5002, {0, 1, 1, 1}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "object " << c.object << " zev " << c.offers.zev << " abi " << c.offers.abi
                                    << " crv " << c.offers.crv);
    auto d = Make(c.object, c.offers);
    EXPECT_EQ(Types(*d), c.rows);
    EXPECT_EQ(d->GetFilterPos(), c.rows.empty() ? -1 : 0);
    EXPECT_EQ(d->GetExportFileType(), c.rows.empty() ? EXPORT_NONE : EEXPORT_TYPE(c.rows[0]));
  }
}

TEST_F(ExportObjectDialog, FilterTextExtensionsAndPreselection) {
  auto d = Make(10006);
  static const char kText[] = "Text (Tab Delimited) (*.txt)\0*.txt\0ZEV (*.vq*)\0*.vq*\0";
  EXPECT_EQ(d->GetFilterString(), std::string(kText, sizeof kText));
  EXPECT_EQ(d->GetTitle(), "Export");
  const auto& combo = d->Controls().Control(D::IDC_DIR_FILTER);
  EXPECT_EQ(combo.m_Items, (std::vector<CString>{"Text (Tab Delimited) (*.txt)", "ZEV (*.vq*)"}));

  // Rows take the installation's extensions at construction; ZEV and ORI are fixed.
  WriteProfileString("EXPORT", "TXT_EXT", "tab");
  WriteProfileString("EXPORT", "PHD_EXT", "phd.1");
  WriteProfileString("EXPORT", "SCF_EXT", "a/b");  // refused: the default stays
  d = Make(10002);
  const auto& rows = d->GetFilterTypes();
  EXPECT_STREQ(rows[size_t(PosOf(*d, EXPORT_TEXT))].m_szExtension, "tab");
  EXPECT_STREQ(rows[size_t(PosOf(*d, EXPORT_PHRED))].m_szExtension, "phd.1");
  EXPECT_STREQ(rows[size_t(PosOf(*d, EXPORT_SCF3))].m_szExtension, "scf");
  EXPECT_STREQ(rows[size_t(PosOf(*d, EXPORT_ZEV))].m_szExtension, "vq*");
  EXPECT_STREQ(rows[size_t(PosOf(*d, EXPORT_ORI))].m_szExtension, "ori");
  EXPECT_EQ(PosOf(*d, EXPORT_CRV), -1);

  // The stored filter is preselected when offered, and even without persisting.
  struct Case {
    int stored;
    LONG object;
    int persist;
    EEXPORT_TYPE chosen;
  };
  const Case cases[] = {
      {EXPORT_FASTA, 10002, 1, EXPORT_FASTA}, {EXPORT_FASTA, 10002, 0, EXPORT_FASTA},
      {EXPORT_FASTA, 10001, 1, EXPORT_SCF3},  // no longer offered: the first row
      {EXPORT_CRV, 10008, 1, EXPORT_CRV},     {-1, 10008, 1, EXPORT_SCF3},
      {EXPORT_TEXT, -1, 1, EXPORT_ZEV},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "stored " << c.stored << " object " << c.object);
    WriteSection("EXPORT", {{"Filter", c.stored}});
    Offers o;
    o.persist = c.persist;
    d = Make(c.object, o);
    EXPECT_EQ(d->GetExportFileType(), c.chosen);
    EXPECT_EQ(d->Controls().Control(D::IDC_DIR_FILTER).m_nSel, d->GetFilterPos());
  }
}

TEST_F(ExportObjectDialog, LongFilterTextIsCutAtItsBuffer) {
  for (const char* key : {"TXT_EXT", "SEQ_EXT", "FASTA_EXT", "SCF_EXT", "PHD_EXT", "ESD_EXT", "ABI_EXT"})
    WriteProfileString("EXPORT", key, std::string(60, 'x').c_str());
  auto d = Make(10002);
  EXPECT_EQ(d->GetFilterString().size(), 511u);
  EXPECT_EQ(d->GetFilterString().substr(0, 15), std::string("SCF (Ver 3.00) ", 15));
}

// Which options exist for an object type; for 10008 the filter has a say too.
TEST_F(ExportObjectDialog, OptionsShownPerObjectTypeAndFilter) {
  // Letters: H header, R raw, D result data, O output, Q quality, A alignment (both),
  // M remove suffix, C resolve, N note, T apply trimming.
  struct Case {
    LONG object;
    int filter;
    int showAlignment;
    const char* shown;
  };
  const Case cases[] = {
      {10002, EXPORT_TEXT, 1, "HRDOQAMCT"},  {10002, EXPORT_TEXT, 0, "HRDOQMCT"},
      {10001, EXPORT_TEXT, 1, "HRMC"},       {10006, EXPORT_TEXT, 1, "HMCN"},
      {10008, EXPORT_TEXT, 1, "HRDOMC"},     {10008, EXPORT_SCF3, 1, "HRMC"},
      {10008, EXPORT_SCF2, 1, "HRMC"},       {10008, EXPORT_ESD, 1, "HRMC"},
      {10008, EXPORT_CRV, 1, "DMC"},         {10008, EXPORT_ZEV, 1, "HRDOMC"},
      {1002, EXPORT_TEXT, 1, "CN"},          {0, EXPORT_NONE, 1, "N"},
      {10002, EXPORT_ABI, 1, "HRDOMCT"},     // ABI hides quality and alignment
      {10001, EXPORT_ABI, 1, "HRMC"},
  };
  const std::pair<char, int> letters[] = {
      {'H', D::IDC_EXPORT_HEADER},         {'R', D::IDC_EXPORT_RAW_DATA},      {'D', D::IDC_EXPORT_RESULT_DATA},
      {'O', D::IDC_EXPORT_RESULT_OUTPUT},  {'Q', D::IDC_EXPORT_QUALITY},       {'A', D::IDC_EXPORT_ALIGN_RESULTS},
      {'A', D::IDC_EXPORT_ALIGN_ACCURACY}, {'M', D::IDC_EXPORT_REMOVE_SUFFIX}, {'C', D::IDC_EXPORT_RESOLVE},
      {'N', D::IDC_EXPORT_NOTE},           {'T', D::IDC_EXPORT_APPLY_TRIMMING}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "object " << c.object << " filter " << c.filter << " alignment "
                                    << c.showAlignment);
    WriteSection("EXPORT", {{"Filter", c.filter}});
    auto d = Make(c.object);
    d->m_bShowAlignment = c.showAlignment;
    d->OnInitDialog();
    std::string shown;
    for (auto [letter, id] : letters)
      if (d->Controls().Control(id).IsVisible() && shown.find(letter) == std::string::npos) shown += letter;
    EXPECT_EQ(shown, c.shown);
    EXPECT_EQ(d->Controls().Control(D::IDC_EXPORT_ALIGN_RESULTS).m_bExists, c.showAlignment);
  }

  // Changing the filter of a 10008 object shows and hides again.
  Put("EXPORT", "Filter", EXPORT_SCF3);
  auto d = Make(10008);
  d->OnInitDialog();
  const auto visible = [&](int id) { return d->Controls().Control(id).IsVisible(); };
  EXPECT_FALSE(visible(D::IDC_EXPORT_RESULT_DATA));
  d->OnSelChangeFilter(PosOf(*d, EXPORT_CRV));
  EXPECT_TRUE(visible(D::IDC_EXPORT_RESULT_DATA));
  EXPECT_FALSE(visible(D::IDC_EXPORT_HEADER));
  d->OnSelChangeFilter(PosOf(*d, EXPORT_TEXT));
  EXPECT_TRUE(visible(D::IDC_EXPORT_HEADER) && visible(D::IDC_EXPORT_RAW_DATA) &&
              visible(D::IDC_EXPORT_RESULT_DATA) && visible(D::IDC_EXPORT_RESULT_OUTPUT));
}

// The option table, row by row. Each row runs twice, with every element option
// stored checked and stored cleared, so that "free" (the stored state, enabled) tells
// apart from forced states.
TEST_F(ExportObjectDialog, EachFilterForcesItsOptions) {
  // Per option: F free, 1 on, 0 off, f off but free, R as Result (greyed), H hidden.
  struct Case {
    LONG object;
    int filter;
    const char* cells;
  };
  const Case cases[] = {
      {10001, EXPORT_TEXT, "F1FFFFF"},  {10006, EXPORT_TEXT, "F1FFFFF"},  {10008, EXPORT_TEXT, "f0f1000"},
      {10002, EXPORT_TEXT, "FFFFFFF"},  {1002, EXPORT_TEXT, "FFFFFFF"},   {10002, EXPORT_SEQ, "0001000"},
      {10002, EXPORT_FASTA, "0001100"}, {10001, EXPORT_SCF3, "11FRR00"},  {10001, EXPORT_SCF2, "11FRR00"},
      {10008, EXPORT_SCF3, "11HHR00"},  {10008, EXPORT_SCF2, "11HHR00"},  {10002, EXPORT_SCF3, "1FFRR00"},
      {10002, EXPORT_SCF2, "1FFRR00"},  {10008, EXPORT_ESD, "0100000"},   {10001, EXPORT_ESD, "0100000"},
      {10002, EXPORT_ESD, "0100000"},   {10001, EXPORT_ABI, "11HHHHH"},   {10002, EXPORT_ABI, "1111HHH"},
      {10008, EXPORT_ABI, "1111HHH"},   {10008, EXPORT_CRV, "HH1HHHH"},   {10002, EXPORT_PHRED, "1111100"},
      {10002, EXPORT_ZEV, "1111100"},   {10001, EXPORT_ORI, "1111100"},   {10008, EXPORT_ZEV, "1111100"},
      {1002, EXPORT_ZEV, "0011100"},    {-1, EXPORT_ZEV, "0011100"},      {14010, EXPORT_ZEV, "0011100"},
  };
  const char* keys[7] = {"Header", "SampleData", "SequenceResults", "BaseSequence", "QualityParameters",
                         "AlignmentResults", "AlignmentAccuracy"};
  for (const Case& c : cases) {
    for (int stored : {0, 1}) {
      SCOPED_TRACE(testing::Message() << "object " << c.object << " filter " << c.filter << " stored " << stored);
      std::vector<std::pair<std::string, int>> values{{"Filter", c.filter}};
      for (const char* k : keys) values.emplace_back(k, stored);
      WriteSection("EXPORT", values);
      auto d = Make(c.object);
      d->m_bShowAlignment = 1;
      d->OnInitDialog();
      ASSERT_EQ(d->GetExportFileType(), c.filter);
      for (int i = 0; i < 7; ++i) {
        SCOPED_TRACE(keys[i]);
        const DialogControl& ctl = d->Controls().Control(kElements[i]);
        switch (c.cells[i]) {
          case 'F':
            EXPECT_EQ(ctl.m_bChecked, stored);
            EXPECT_EQ(ctl.m_bEnabled, 1);
            break;
          case 'f':
            EXPECT_EQ(ctl.m_bChecked, 0);
            EXPECT_EQ(ctl.m_bEnabled, 1);
            break;
          case '1':
          case '0':
            EXPECT_EQ(ctl.m_bChecked, c.cells[i] - '0');
            EXPECT_EQ(ctl.m_bEnabled, 0);
            break;
          case 'R':
            EXPECT_EQ(ctl.m_bChecked, stored);  // Result Data itself is free here
            EXPECT_EQ(ctl.m_bEnabled, 0);
            break;
          case 'H':
            EXPECT_EQ(ctl.m_bShown, 0);
            break;
        }
      }
    }
  }
}

TEST_F(ExportObjectDialog, ResultDataCarriesOutputAndQualityUnderScf) {
  struct Case {
    int filter;
    bool follows;
  };
  for (const Case& c : {Case{EXPORT_SCF3, true}, Case{EXPORT_SCF2, true}, Case{EXPORT_TEXT, false}}) {
    SCOPED_TRACE(c.filter);
    WriteSection("EXPORT", {{"Filter", c.filter}});
    auto d = Make(10002);
    d->OnInitDialog();
    auto& ctl = d->Controls();
    EXPECT_EQ(d->OnClickCheckBox(D::IDC_EXPORT_RESULT_DATA), 1);
    EXPECT_EQ(ctl.GetCheck(D::IDC_EXPORT_RESULT_DATA), 1);
    EXPECT_EQ(ctl.GetCheck(D::IDC_EXPORT_RESULT_OUTPUT), c.follows ? 1 : 0);
    EXPECT_EQ(ctl.GetCheck(D::IDC_EXPORT_QUALITY), c.follows ? 1 : 0);
    d->OnClickCheckBox(D::IDC_EXPORT_RESULT_DATA);
    EXPECT_EQ(ctl.GetCheck(D::IDC_EXPORT_RESULT_OUTPUT), 0);
    // A greyed option does not answer a click.
    if (c.follows) {
      EXPECT_EQ(d->OnClickCheckBox(D::IDC_EXPORT_RESULT_OUTPUT), 0);
    }
  }
}

TEST_F(ExportObjectDialog, ApplyTrimmingIsKeptAcrossTheZevFilter) {
  struct Case {
    int stored;         // ApplyTriming in the profile
    int alreadyApplied;
    int startFilter;
    bool userToggles;   // the user clicks Apply Trimming before going to ZEV
    int checkUnderZev, enabledUnderZev, checkAfter, enabledAfter;
  };
  const Case cases[] = {
      {1, 0, EXPORT_TEXT, false, 0, 0, 1, 1},
      {1, 0, EXPORT_TEXT, true, 0, 0, 0, 1},
      {0, 0, EXPORT_SCF3, true, 0, 0, 1, 1},
      {0, 1, EXPORT_TEXT, false, 1, 0, 1, 0},  // already applied: checked and greyed throughout
      {1, 0, EXPORT_ZEV, false, 0, 0, 1, 1},   // ZEV at start keeps the loaded state
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "stored " << c.stored << " applied " << c.alreadyApplied << " start "
                                    << c.startFilter << " toggles " << c.userToggles);
    WriteSection("EXPORT", {{"Filter", c.startFilter}});
    Offers quiet;
    quiet.persist = 0;
    auto d = Make(10002, quiet);
    d->m_bApplyTriming = c.stored;
    d->SetBatchExportFormat(1);
    d->SetTrimmingAlreadyApplied(c.alreadyApplied);
    d->OnInitDialog();
    auto& ctl = d->Controls();
    if (c.userToggles) {
      EXPECT_EQ(d->OnClickCheckBox(D::IDC_EXPORT_APPLY_TRIMMING), 1);
    }
    d->OnSelChangeFilter(PosOf(*d, EXPORT_ZEV));
    EXPECT_EQ(ctl.GetCheck(D::IDC_EXPORT_APPLY_TRIMMING), c.checkUnderZev);
    EXPECT_EQ(ctl.Control(D::IDC_EXPORT_APPLY_TRIMMING).m_bEnabled, c.enabledUnderZev);
    EXPECT_EQ(ctl.Control(D::IDC_EXPORT_MIN_LENGTH).m_bEnabled, 0);
    EXPECT_EQ(ctl.Control(D::IDC_EXPORT_MIN_LENGTH_UNIT).m_bEnabled, 0);
    d->OnSelChangeFilter(PosOf(*d, EXPORT_FASTA));
    EXPECT_EQ(ctl.GetCheck(D::IDC_EXPORT_APPLY_TRIMMING), c.checkAfter);
    EXPECT_EQ(ctl.Control(D::IDC_EXPORT_APPLY_TRIMMING).m_bEnabled, c.enabledAfter);
    EXPECT_EQ(ctl.Control(D::IDC_EXPORT_MIN_LENGTH).m_bEnabled, 1);
    // At OK the option is read only when trimming is not applied already.
    d->OnOK();
    EXPECT_EQ(d->m_bApplyTriming, c.alreadyApplied ? c.stored : c.checkAfter);
  }
}

TEST_F(ExportObjectDialog, MinimumLengthFieldHoldsItsRange) {
  Put("EXPORT", "MinAutoExportSeqLength", 50);
  Put("EXPORT", "Filter", EXPORT_TEXT);
  auto plain = Make(10002);
  plain->OnInitDialog();
  EXPECT_EQ(plain->Controls().Control(D::IDC_EXPORT_MIN_LENGTH).IsVisible(), 0);
  EXPECT_EQ(plain->Controls().Control(D::IDC_EXPORT_MIN_LENGTH_LABEL).IsVisible(), 0);
  EXPECT_EQ(plain->Controls().GetText(D::IDC_EXPORT_MIN_LENGTH_LABEL), "Export Only\n    If Sequence >");

  struct Step {
    const char* typed;  // null: a spin step of 'spin'
    int spin;
    const char* text;
    int boxes;
  };
  const Step steps[] = {
      {nullptr, 1, "51", 0},   {"1000", 0, "1000", 0}, {nullptr, 1, "1000", 0}, {"1001", 0, "1000", 1},
      {"-1", 0, "-1", 1},      {nullptr, -1, "-1", 1},  {"-2", 0, "-1", 2},      {"12.7", 0, "12.7", 2},
      {"abc", 0, "abc", 2},    {"", 0, "", 2},          {"7", 0, "7", 2},
  };
  auto d = Make(10002);
  d->SetBatchExportFormat(1);
  d->OnInitDialog();
  auto& ctl = d->Controls();
  EXPECT_EQ(ctl.Control(D::IDC_EXPORT_MIN_LENGTH).IsVisible(), 1);
  EXPECT_EQ(ctl.GetText(D::IDC_EXPORT_MIN_LENGTH), "50");
  for (const Step& s : steps) {
    SCOPED_TRACE(s.typed ? s.typed : "spin");
    if (s.typed) d->OnEditText(D::IDC_EXPORT_MIN_LENGTH, s.typed);
    else d->OnSpinMinLength(s.spin);
    EXPECT_EQ(ctl.GetText(D::IDC_EXPORT_MIN_LENGTH), s.text);
    EXPECT_EQ(boxes.size(), size_t(s.boxes));
  }
  EXPECT_EQ(boxes[0], "Please enter a value between -1 and 1000");

  // At OK the value is cut to an integer.
  struct Ok {
    const char* typed;
    int value;
  };
  for (const Ok& o : {Ok{"12.7", 12}, Ok{"-0.5", 0}, Ok{"-1", -1}, Ok{"", 0}}) {
    SCOPED_TRACE(o.typed);
    Offers quiet;
    quiet.persist = 0;
    auto e = Make(10002, quiet);
    e->SetBatchExportFormat(1);
    e->OnInitDialog();
    e->OnEditText(D::IDC_EXPORT_MIN_LENGTH, o.typed);
    ASSERT_EQ(e->OnOK(), 1);
    EXPECT_EQ(e->m_nMinAutoExportSeqLength, o.value);
  }
}

TEST_F(ExportObjectDialog, OkTestsTheChoiceAndCompletesTheName) {
  const std::string scfMsg = "Please select raw data or result data to export";
  const std::string crvMsg =
      "\"DEFAULT\" is not a valid file name for CRV export.\n Please provide a specific file name for exporting CRV "
      "format";
  struct Case {
    LONG object;
    int filter;
    const char* name;
    int raw, result, fixed;
    std::string message;  // empty: accepted
    const char* path;     // after an accepted OK
  };
  const Case cases[] = {
      {10002, EXPORT_SCF3, "run", 0, 0, 0, scfMsg, nullptr},
      {10002, EXPORT_SCF2, "run", 0, 0, 0, scfMsg, nullptr},
      {10002, EXPORT_SCF3, "run", 0, 0, 1, "", "/out/run"},  // a fixed folder is not tested
      {10002, EXPORT_SCF3, "run", 1, 0, 0, "", "/out/run.scf"},
      {10002, EXPORT_SCF3, "RUN.SCF", 0, 1, 0, "", "/out/RUN.SCF"},
      {10002, EXPORT_SCF3, "run.scf.bak", 0, 1, 0, "", "/out/run.scf.bak.scf"},
      {10002, EXPORT_PHRED, "run.scf", 0, 0, 0, "", "/out/run.scf.scf.phd.1"},
      {10002, EXPORT_PHRED, "run.SCF.PHD.1", 0, 0, 0, "", "/out/run.SCF.PHD.1"},
      {10002, EXPORT_TEXT, "run", 0, 0, 0, "", "/out/run.txt"},
      {10002, EXPORT_ZEV, "run", 0, 0, 0, "", "/out/run"},
      {10002, EXPORT_ORI, "run", 0, 0, 0, "", "/out/run.ori"},
      {10008, EXPORT_CRV, "default", 0, 0, 0, crvMsg, nullptr},
      {10008, EXPORT_CRV, "DEFAULT", 0, 0, 0, crvMsg, nullptr},
      {10008, EXPORT_CRV, "DEFAULT1", 0, 0, 0, "", "/out/DEFAULT1.CRV"},
      {10008, EXPORT_CRV, "default", 0, 0, 1, "", "/out/default"},
      {10002, EXPORT_TEXT, "", 0, 0, 0, "", "/out"},  // a folder alone gets no extension
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "filter " << c.filter << " name " << c.name << " fixed " << c.fixed);
    boxes.clear();
    // Only the filter comes from the profile; nothing is saved at OK.
    WriteSection("EXPORT", {{"Filter", c.filter}});
    std::string path = std::string("/out/") + c.name;
    Offers quiet;
    quiet.persist = 0;
    auto d = Make(c.object, quiet, path.c_str(), c.fixed);
    d->m_bSampleData = c.raw;
    d->m_bSequenceResults = c.result;
    d->OnInitDialog();
    if (c.message.empty()) {
      EXPECT_EQ(d->OnOK(), 1);
      EXPECT_EQ(d->GetResult(), 1);
      EXPECT_TRUE(boxes.empty());
      EXPECT_EQ(d->GetPathName(), c.path);
    } else {
      EXPECT_EQ(d->OnOK(), 0);
      EXPECT_EQ(d->GetResult(), 0);
      ASSERT_EQ(boxes.size(), 1u);
      EXPECT_EQ(boxes[0], c.message);
      EXPECT_EQ(d->GetPathName(), path.c_str());
    }
  }

  // A format whose stored extension is empty gets no name change; the user fixes a
  // refused choice and OK goes through.
  WriteProfileString("EXPORT", "TXT_EXT", "");
  Put("EXPORT", "Filter", EXPORT_SCF3);
  Put("EXPORT", "SampleData", 0);
  Put("EXPORT", "SequenceResults", 0);
  auto d = Make(10002);
  d->OnInitDialog();
  EXPECT_EQ(d->OnOK(), 0);
  d->OnSelChangeFilter(PosOf(*d, EXPORT_TEXT));
  d->OnEditText(D::IDC_DIR_FILENAME, "my run");
  EXPECT_EQ(d->OnOK(), 1);
  EXPECT_EQ(d->GetPathName(), "/out/my run");
  EXPECT_EQ(d->Controls().GetText(D::IDC_DIR_FILENAME), "my run");
}

TEST_F(ExportObjectDialog, EveryKeyPersistsOnlyWithThePersistFlag) {
  const std::vector<std::string> allKeys = {
      "Filter",           "Header",           "SampleData",        "SequenceResults",   "BaseSequence",
      "QualityParameters", "AlignmentResults", "AlignmentAccuracy", "RemoveExtensions",  "ResolveConflicts",
      "GADB",             "ApplyTriming",     "MinAutoExportSeqLength"};
  // Defaults of an empty profile.
  Offers o;
  o.gadb = 1;
  auto d = Make(10002, o);
  EXPECT_EQ(d->m_eFilter, EXPORT_NONE);
  EXPECT_EQ(d->m_bApplyTriming, 1);
  EXPECT_EQ(d->m_bHeader + d->m_bSampleData + d->m_bGADB + d->m_nMinAutoExportSeqLength, 0);

  // The user's choices, made with the controls, come back in a new dialog.
  d->m_bShowAlignment = 1;
  d->SetBatchExportFormat(1);
  d->OnInitDialog();
  d->OnSelChangeFilter(PosOf(*d, EXPORT_TEXT));
  for (int id : {D::IDC_EXPORT_HEADER, D::IDC_EXPORT_RESULT_OUTPUT, D::IDC_EXPORT_ALIGN_ACCURACY,
                 D::IDC_EXPORT_RESOLVE, D::IDC_EXPORT_GADB, D::IDC_EXPORT_APPLY_TRIMMING})
    EXPECT_EQ(d->OnClickCheckBox(id), 1) << id;
  d->OnEditText(D::IDC_EXPORT_MIN_LENGTH, "250");
  ASSERT_EQ(d->OnOK(), 1);
  EXPECT_EQ(Keys("EXPORT"), allKeys);

  auto back = Make(10002, o);
  EXPECT_EQ(back->m_eFilter, EXPORT_TEXT);
  EXPECT_EQ(back->GetExportFileType(), EXPORT_TEXT);
  EXPECT_EQ((std::vector<int>{back->m_bHeader, back->m_bSampleData, back->m_bSequenceResults,
                              back->m_bBaseSequence, back->m_bQualityParameters, back->m_bAlignmentResults,
                              back->m_bAlignmentAccuracy, back->m_bRemoveExtensions, back->m_bResolveConflicts,
                              back->m_bGADB, back->m_bApplyTriming, back->m_nMinAutoExportSeqLength}),
            (std::vector<int>{0, 0, 0, 1, 0, 0, 1, 0, 1, 1, 0, 250}));  // SCF had forced Header on

  // Without the flag: OK writes nothing, and only "Filter" is read.
  std::filesystem::remove(profile);
  o.persist = 0;
  auto quiet = Make(10002, o);
  quiet->OnInitDialog();
  quiet->OnSelChangeFilter(PosOf(*quiet, EXPORT_TEXT));
  quiet->OnClickCheckBox(D::IDC_EXPORT_HEADER);
  ASSERT_EQ(quiet->OnOK(), 1);
  EXPECT_FALSE(std::filesystem::exists(profile));
  Put("EXPORT", "Filter", EXPORT_SEQ);
  Put("EXPORT", "Header", 1);
  Put("EXPORT", "ApplyTriming", 0);
  auto reader = Make(10002, o);
  EXPECT_EQ(reader->GetExportFileType(), EXPORT_SEQ);
  EXPECT_EQ(reader->m_bHeader, 0);
  EXPECT_EQ(reader->m_bApplyTriming, 1);

  // Migrate To GADB is only shown, and only counts, with its flag.
  Put("EXPORT", "GADB", 1);
  o.persist = 1;
  o.gadb = 0;
  auto noGadb = Make(10002, o);
  noGadb->OnInitDialog();
  EXPECT_EQ(noGadb->Controls().Control(D::IDC_EXPORT_GADB).IsVisible(), 0);
  ASSERT_EQ(noGadb->OnOK(), 1);
  EXPECT_EQ(noGadb->m_bGADB, 0);
}

TEST_F(ExportObjectDialog, ReportDefinitionTakesTheChoicesForResultTypesOnly) {
  Put("EXPORT", "Filter", EXPORT_FASTA);
  Put("EXPORT", "Header", 1);
  Put("EXPORT", "ApplyTriming", 0);
  auto d = Make(10002);
  d->OnInitDialog();
  ASSERT_EQ(d->OnOK(), 1);
  for (int type : {10002, 10008, 10001, 0}) {
    SCOPED_TRACE(type);
    CExportReportDef def;
    const int copied = type == 10002 || type == 10008;
    EXPECT_EQ(d->GetReportDef(def, type), copied);
    EXPECT_EQ(def.m_eFilter, copied ? EXPORT_FASTA : EXPORT_NONE);
    EXPECT_EQ(def.m_strPath, copied ? "/out/run.fasta" : "");
    EXPECT_EQ(def.m_bBaseSequence, copied);        // forced on by FASTA
    EXPECT_EQ(def.m_bQualityParameters, copied);  // forced on by FASTA
    EXPECT_EQ(def.m_bHeader, 0);                   // forced off by FASTA
    EXPECT_EQ(def.m_bApplyTriming, copied ? 0 : 1);
    CExportReportDef copy;
    copy.Copy(def);
    EXPECT_EQ(copy.m_strPath, def.m_strPath);
  }
}

}  // namespace
