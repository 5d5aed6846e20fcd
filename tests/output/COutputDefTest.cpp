// Output definitions: defaults, byte-exact stored forms, version handling and the
// profile form of the printer choice.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "model/ArchiveBytes.h"
#include "platform/HostTestSupport.h"
#include "zevutil/COutputDef.h"
#include "zevutil/VqeReportStream.h"
#include "zevutil/platform/Profile.h"

using namespace zev;
using namespace zev::testhelp;

namespace {

template <class T>
Bytes StoredForm(T& v) {
  return Stored([&](CArchive& ar) { v.Serialize(ar); });
}

template <class T>
void LoadFrom(T& v, const Bytes& b) {
  Loader l(b);
  v.Serialize(l.ar());
}

ByteBuilder& FontBytes(ByteBuilder& b, const FontDef& f) {
  return b.Put<LONG>(310).Str(f.m_strFaceName.str()).Put<LONG>(f.m_nSize).Put<LONG>(f.m_nWeight).Put<LONG>(
      f.m_bItalic).Put<LONG>(f.m_bUnderline);
}

}  // namespace

TEST(OutputDefs, DefaultsOfThePageFormat) {
  CPageFormatDef f;
  EXPECT_EQ(f.m_fontBody, FontDef("Arial", 100, 400, 0, 0));
  EXPECT_EQ(f.m_fontHeader, FontDef("Arial", 100, 700, 0, 0));
  EXPECT_EQ(f.m_fontFooter, f.m_fontHeader);  // the footer is bold too
  EXPECT_EQ(f.m_strHeader1, "Zevatron\t\tProjectName");
  EXPECT_EQ(f.m_strFooter1, "%Date\t\tPage: %Page");
  EXPECT_TRUE(f.m_strHeader2.IsEmpty() && f.m_strFooter3.IsEmpty());
  EXPECT_EQ(f.m_device.m_nOrientation, 1);
  EXPECT_EQ(f.m_device.m_nPaperSize, 1);
  CObjectOutputDef o;
  EXPECT_EQ(o.m_nOption1, 1);
  EXPECT_EQ(o.m_nOption2, 1);
  CDataPlotDef p;
  EXPECT_EQ(p.AreAnyChannelsActive(), 0);
  p.m_channels += 3;
  EXPECT_EQ(p.AreAnyChannelsActive(), 1);
}

TEST(OutputDefs, StoredFormsAreByteExact) {
  FontDef font("Courier New", 90, 700, 1, 0);
  ByteBuilder fb;
  EXPECT_EQ(StoredForm(font), FontBytes(fb, font).bytes());

  COutputDeviceDef dev;
  dev.m_strDriverName = "drv";
  dev.m_strPrinterName = "lp0";
  dev.m_strPortName = "FILE:";
  dev.m_nOrientation = 2;
  dev.m_nPaperSize = -3;  // stored as its 16 bits
  dev.m_strFileName = "out.pdf";
  ByteBuilder db;
  db.Put<LONG>(510).Str("drv").Str("lp0").Str("FILE:").Put<WORD>(2).Put<WORD>(0xFFFD).Str("out.pdf");
  EXPECT_EQ(StoredForm(dev), db.bytes());

  CPageFormatDef page;
  page.m_device = dev;
  page.m_strHeader2 = "h2";
  ByteBuilder pb;
  pb.Put<LONG>(410).Str("Zevatron\t\tProjectName").Str("h2").Str("").Str("%Date\t\tPage: %Page").Str("").Str("");
  pb.Raw(db.bytes());
  FontBytes(pb, page.m_fontBody);
  FontBytes(pb, page.m_fontHeader);
  FontBytes(pb, page.m_fontFooter);
  EXPECT_EQ(StoredForm(page), pb.bytes());
  CPageFormatDef back;
  back.SetDefaultValues();
  back.m_strHeader2.Empty();
  LoadFrom(back, pb.bytes());
  EXPECT_EQ(StoredForm(back), pb.bytes());

  CObjectOutputDef obj;
  obj.m_nOption1 = 7;
  obj.m_nOption2 = -2;
  EXPECT_EQ(StoredForm(obj), ByteBuilder().Put<LONG>(240).Put<LONG>(7).Put<LONG>(-2).bytes());

  CDataPlotDef plot;
  plot.m_nPlotOption2 = 0xFFFFFFFF;
  plot.m_dScale1A = 1.5;
  plot.m_nScale2 = 9;
  plot.m_dPlotExtra = -2.0;
  plot.m_channels += 5;
  const Bytes channels = Stored([&](CArchive& ar) { plot.m_channels.Serialize(ar); });
  ByteBuilder plb;
  plb.Put<LONG>(1000).Put<LONG>(1).Put<ULONG>(0xFFFFFFFF).Put(1.5).Put<LONG>(0).Put(0.0).Put(0.0).Put<LONG>(9).Put(
      0.0).Put(-2.0).Raw(channels);
  EXPECT_EQ(StoredForm(plot), plb.bytes());
  CDataPlotDef plotBack;
  Loader l(plb.bytes());
  plotBack.Serialize(l.ar());
  EXPECT_EQ(l.Remaining(), 0u);  // the channel block is read past (its reader keeps the set)
  EXPECT_EQ(plotBack.m_nPlotOption2, 0xFFFFFFFFu);
  EXPECT_EQ(plotBack.m_nScale2, 9);
  EXPECT_EQ(plotBack.m_dPlotExtra, -2.0);
}

TEST(OutputDefs, OtherVersionsReadNothingMore) {
  struct Case {
    const char* name;
    std::function<Bytes()> run;  // loads a record of the wrong version; returns its stored form
    std::function<Bytes()> fresh;
  };
  auto wrong = [](LONG v) { return ByteBuilder().Put<LONG>(v).Str("zz").Put<LONG>(5).Put<LONG>(6).bytes(); };
  const Case cases[] = {
      {"font", [&] { FontDef f; LoadFrom(f, wrong(311)); return StoredForm(f); },
       [] { FontDef f; return StoredForm(f); }},
      {"page format", [&] { CPageFormatDef f; LoadFrom(f, wrong(409)); return StoredForm(f); },
       [] { CPageFormatDef f; return StoredForm(f); }},
      {"object def", [&] { CObjectOutputDef f; LoadFrom(f, wrong(241)); return StoredForm(f); },
       [] { CObjectOutputDef f; return StoredForm(f); }},
      {"data plot", [&] { CDataPlotDef f; LoadFrom(f, wrong(999)); return StoredForm(f); },
       [] { CDataPlotDef f; return StoredForm(f); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.run(), c.fresh());
  }
  // A page format of another version stops before the device: the rest stays unread.
  Loader l(ByteBuilder().Put<LONG>(1).Put<LONG>(510).bytes());
  CPageFormatDef f;
  f.Serialize(l.ar());
  EXPECT_EQ(l.Remaining(), 4u);
  // The device's version is not looked at.
  COutputDeviceDef d;
  LoadFrom(d, ByteBuilder().Put<LONG>(77).Str("a").Str("b").Str("c").Put<WORD>(2).Put<WORD>(9).Str("f").bytes());
  EXPECT_EQ(d.m_strPrinterName, "b");
  EXPECT_EQ(d.m_nPaperSize, 9);
}

TEST(OutputDefs, NotifyFormatVersions) {
  CNotifyFormat fmt;
  fmt.m_entries[0].m_strText = "first";
  fmt.m_entries[0].m_nField5 = -1;
  fmt.m_entries[49].m_nValuesB[11] = 0x1234;
  const Bytes saved = Stored([&](CArchive& ar) { EXPECT_EQ(fmt.Save(ar), 0); });
  ASSERT_EQ(saved.size(), 4u + 50 * (1 + 30 * 2) + 5);
  EXPECT_EQ(saved[4], 5);  // the first entry's text length
  CNotifyFormat back;
  {
    Loader l(saved);
    EXPECT_EQ(back.Load(l.ar()), 0);
  }
  EXPECT_EQ(Stored([&](CArchive& ar) { back.Save(ar); }), saved);

  // The old form: eight int32, the second and sixth dropped, no second value block.
  ByteBuilder old;
  old.Put<LONG>(21001);
  for (int i = 0; i < 50; ++i) {
    old.Str(i == 0 ? "old" : "");
    for (LONG v : {0x10001, 2, 3, 4, 5, 6, 7, 8}) old.Put<LONG>(v);
    for (int k = 0; k < 12; ++k) old.Put<WORD>(WORD(k + 100));
  }
  CNotifyFormat upgraded;
  upgraded.m_entries[3].m_nValuesB[0] = 9;  // loading resets first
  {
    Loader l(old.bytes());
    upgraded.Load(l.ar());
    EXPECT_EQ(l.Remaining(), 0u);
  }
  const CNotifyFormatEntry& e = upgraded.m_entries[0];
  EXPECT_EQ(e.m_strText, "old");
  const SHORT fields[6] = {e.m_nField0, e.m_nField1, e.m_nField2, e.m_nField3, e.m_nField4, e.m_nField5};
  const SHORT expect[6] = {1, 3, 4, 5, 7, 8};  // 0x10001 cut to 16 bits
  for (int i = 0; i < 6; ++i) EXPECT_EQ(fields[i], expect[i]) << i;
  EXPECT_EQ(e.m_nValuesA[11], 111);
  EXPECT_EQ(upgraded.m_entries[3].m_nValuesB[0], 0);
  const Bytes resaved = Stored([&](CArchive& ar) { upgraded.Save(ar); });
  EXPECT_EQ(resaved[0] | (resaved[1] << 8), 21002 & 0xFFFF);

  // Any other version is reported and thrown.
  CNotifyFormat bad;
  Loader l(ByteBuilder().Put<LONG>(21003).bytes());
  bool threw = false;
  try {
    bad.Load(l.ar());
  } catch (CException* ex) {
    threw = true;
    ex->Delete();
  }
  EXPECT_TRUE(threw);
  EXPECT_STREQ(VqErr.GetMsg(), "Unexpected version in CNotifyFormat::Load");
  VqErr.Flush();
  std::unique_ptr<COutputFormat> clone(upgraded.CreateClone());
  EXPECT_TRUE(clone->IsKindOf(RUNTIME_CLASS(CNotifyFormat)));
  COutputFormat base;
  CString msg = "x";
  int bBad = 1;
  EXPECT_EQ(base.Validate(msg, bBad, 1, 1, nullptr), 1);
  EXPECT_TRUE(msg.IsEmpty());
  EXPECT_EQ(bBad, 0);
}

TEST(OutputDefs, PrinterChoiceInAProfile) {
  zevtest::TempDir dir;
  const std::string ini = dir / "print.ini";
  CPageFormatDef f;
  f.m_device.m_strDriverName = "drv";
  f.m_device.m_strPrinterName = "queue";
  f.m_device.m_strPortName = "";
  f.m_device.m_nOrientation = 2;
  f.m_device.m_nPaperSize = 9;
  f.m_device.m_strFileName = "/tmp/x.pdf";
  f.Save(ini.c_str(), "Print");
  const std::string text = zevtest::ReadBytes(ini);
  for (const char* line : {"PrintDlg_DriverName=drv", "PrintDlg_PrinterName=queue", "PrintDlg_Orientation=2",
                           "PrintDlg_PaperSize=9", "PrintDlg_Filename=/tmp/x.pdf"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line;
  }
  CPageFormatDef g;
  g.m_device.m_strPortName = "keep";  // an empty value keeps what is there
  g.Load(ini.c_str(), "Print");
  EXPECT_EQ(g.m_device.m_strPrinterName, "queue");
  EXPECT_EQ(g.m_device.m_strPortName, "keep");
  EXPECT_EQ(g.m_device.m_nOrientation, 2);
  EXPECT_EQ(g.m_device.m_nPaperSize, 9);
  // A section without the number keys resets them to 1; the names stay.
  g.Load(ini.c_str(), "Other");
  EXPECT_EQ(g.m_device.m_strPrinterName, "queue");
  EXPECT_EQ(g.m_device.m_nOrientation, 1);
  EXPECT_EQ(g.m_device.m_nPaperSize, 1);
}
