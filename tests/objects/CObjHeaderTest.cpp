// Object header, info block and revision records: stored bytes, version rules and
// their failure texts, the create/edit rules and the fields that are not stored.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "model/ArchiveBytes.h"
#include "zevutil/CObjHeader.h"
#include "zevutil/VqeReportStream.h"

using namespace zev;
using zev::testhelp::ByteBuilder;
using zev::testhelp::Bytes;
using zev::testhelp::Loader;
using zev::testhelp::Stored;

namespace {

// Runs f and gives the report text of the CException* it throws, or "<no throw>".
std::string ThrownText(const std::function<void()>& f) {
  VqErr.Flush();
  try {
    f();
  } catch (CException* e) {
    std::string text = VqErr.GetMsg() ? VqErr.GetMsg() : "";
    e->Delete();
    VqErr.Flush();
    return text;
  }
  return "<no throw>";
}

const CTime kT1(1000000000);
const CTime kT2(1200000000);

Bytes RevisionBytes(LONG version, const std::string& project, const std::string& initial, const std::string& system,
                    DWORD time, WORD revision) {
  ByteBuilder b;
  b.Put(version).Str(project).Str(initial).Str(system).Put(time).Put(revision);
  return b.bytes();
}

}  // namespace

TEST(CRevisionRecord, StoredFormIsExact) {
  CRevisionRecord r;
  r.SetDefaultValues(kT1);
  r.SetNames("Proj", "Sys");
  r.Revision = 7;
  EXPECT_EQ(Stored([&](CArchive& ar) { r.Serialize(ar); }),
            RevisionBytes(14001, "Proj", "Proj", "Sys", 1000000000u, 7));

  CRevisionRecord back;
  Loader in(RevisionBytes(14001, "P", "Q", "S", 1200000000u, 65535));
  back.Serialize(in.ar());
  EXPECT_STREQ(back.Project, "P");
  EXPECT_STREQ(back.InitialProject, "Q");
  EXPECT_STREQ(back.System, "S");
  EXPECT_EQ(back.Time.GetTime(), 1200000000);
  EXPECT_EQ(back.Revision, 65535);
  EXPECT_EQ(in.Remaining(), 0u);
}

TEST(CRevisionRecord, TextLengthLimits) {
  // 127 characters survive storing and reading; 128 stored characters throw.
  const std::string longest(127, 'p');
  CRevisionRecord r;
  std::memcpy(r.Project, longest.c_str(), 128);
  CRevisionRecord back;
  Loader in(Stored([&](CArchive& ar) { r.Serialize(ar); }));
  back.Serialize(in.ar());
  EXPECT_EQ(std::string(back.Project), longest);

  Loader tooLong(RevisionBytes(14001, std::string(128, 'x'), "", "", 0, 0));
  CRevisionRecord failed;
  EXPECT_EQ(ThrownText([&] { failed.Serialize(tooLong.ar()); }), "Bad string length in CSAR_extract(CArchive &)");

  // SetNames keeps 126 characters, one short of the field.
  CRevisionRecord named;
  named.SetNames(std::string(200, 'a').c_str(), std::string(200, 'b').c_str());
  EXPECT_EQ(std::strlen(named.Project), 126u);
  EXPECT_EQ(std::strlen(named.InitialProject), 126u);
  EXPECT_EQ(std::strlen(named.System), 126u);
  named.SetNames("short", nullptr);  // a null system leaves System alone
  EXPECT_STREQ(named.InitialProject, "short");
  EXPECT_EQ(std::strlen(named.System), 126u);
}

TEST(ObjHeaderVersions, UnknownVersionsThrowTheirTextAndLeaveDefaults) {
  struct Case {
    const char* name;
    std::function<Bytes()> bytes;
    std::function<void(CArchive&)> read;
    const char* text;
  };
  CRevisionRecord rec;
  CObjInfo info;
  CObjHeader header;
  const Case cases[] = {
      {"revision", [] { return RevisionBytes(14002, "A", "A", "S", 5, 1); },
       [&](CArchive& ar) { rec.Serialize(ar); }, "Unexpected version in CRevisionRecord::Serialize "},
      {"info", [] { return ByteBuilder().Put(LONG(13000)).Put(LONG(1)).Str("n").bytes(); },
       [&](CArchive& ar) { info.Serialize(ar); }, "Unexpected version in CObjInfo::Serialize "},
      {"header", [] { return ByteBuilder().Put(LONG(12002)).Put(LONG(9)).bytes(); },
       [&](CArchive& ar) { header.Serialize(ar); }, "Unexpected version in CObjHeader::Serialize "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Loader in(c.bytes());
    EXPECT_EQ(ThrownText([&] { c.read(in.ar()); }), c.text);
  }
  EXPECT_STREQ(rec.Project, "");
  EXPECT_EQ(rec.Revision, 0);
  EXPECT_EQ(header.HeaderValue, 0);
  ASSERT_NE(header.ObjInfo, nullptr);
  EXPECT_EQ(header.ObjInfo->Note, " ");
}

TEST(CObjInfo, OldVersionReadsWithoutFlagsAndWritesTheNewOne) {
  CRevisionRecord created, modified;
  created.SetDefaultValues(kT1);
  created.SetNames("Alpha", "Box1");
  modified.SetDefaultValues(kT2);
  modified.SetNames("Beta", "Box2");
  const Bytes c = Stored([&](CArchive& ar) { created.Serialize(ar); });
  const Bytes m = Stored([&](CArchive& ar) { modified.Serialize(ar); });
  const Bytes old = ByteBuilder().Put(LONG(13001)).Put(LONG(1)).Str("note").Raw(c).Raw(m).bytes();

  CObjInfo info;
  info.InfoFlags = 99;
  Loader in(old);
  info.Serialize(in.ar());
  EXPECT_EQ(info.Edited, 1);
  EXPECT_EQ(info.Note, "note");
  EXPECT_EQ(info.InfoFlags, 0);
  EXPECT_STREQ(info.Created.Project, "Alpha");
  EXPECT_STREQ(info.Modified.System, "Box2");

  info.InfoFlags = 0x1234;
  const Bytes now = ByteBuilder().Put(LONG(13002)).Put(LONG(1)).Str("note").Put(LONG(0x1234)).Raw(c).Raw(m).bytes();
  EXPECT_EQ(Stored([&](CArchive& ar) { info.Serialize(ar); }), now);
}

TEST(CObjHeader, StoredFormDropsBarcodeSubjectAndState) {
  CObjHeader h;
  h.HeaderValue = 42;
  h.HeaderState = 5;
  h.SetBarcode("BC-1");
  h.SetSubjectID("SUBJ");
  h.SetCreateValues("Proj", "Sys", &kT1);
  h.HeaderValue = 42;  // SetCreateValues resets it with the other defaults
  h.ObjInfo->InfoFlags = 3;

  const Bytes bytes = Stored([&](CArchive& ar) { h.Serialize(ar); });
  const Bytes info = Stored([&](CArchive& ar) { h.ObjInfo->Serialize(ar); });
  EXPECT_EQ(bytes, ByteBuilder().Put(LONG(12001)).Put(LONG(42)).Raw(info).bytes());

  CObjHeader back;
  back.HeaderState = 8;
  back.SetBarcode("old");
  Loader in(bytes);
  back.Serialize(in.ar());
  EXPECT_EQ(back.HeaderValue, 42);
  EXPECT_EQ(back.HeaderState, 0);
  EXPECT_STREQ(back.GetBarcode(), "");
  EXPECT_STREQ(back.GetSubjectID(), "");
  EXPECT_EQ(back.ObjInfo->InfoFlags, 3);
  EXPECT_STREQ(back.ObjInfo->Modified.InitialProject, "Proj");
  EXPECT_EQ(Stored([&](CArchive& ar) { back.Serialize(ar); }), bytes);
}

TEST(CObjHeader, CreateAndEditValues) {
  CObjHeader h;
  h.SetCreateValues("Create", "Lab", &kT1);
  CObjInfo& i = *h.ObjInfo;
  EXPECT_EQ(i.Edited, 0);
  EXPECT_EQ(Stored([&](CArchive& ar) { i.Created.Serialize(ar); }), Stored([&](CArchive& ar) { i.Modified.Serialize(ar); }));
  EXPECT_EQ(i.Created.Time.GetTime(), kT1.GetTime());

  h.SetEditValues("Edit", nullptr, &kT2);
  EXPECT_EQ(i.Edited, 1);
  EXPECT_STREQ(i.Modified.Project, "Edit");
  EXPECT_STREQ(i.Modified.System, "Lab");  // a null system keeps the one of Created
  EXPECT_EQ(i.Modified.Time.GetTime(), kT2.GetTime());
  EXPECT_STREQ(i.Created.Project, "Create");

  h.SetEditValues("Edit2", "Other", nullptr);  // null time: now
  EXPECT_STREQ(i.Modified.System, "Other");
  EXPECT_GT(i.Modified.Time.GetTime(), kT2.GetTime());

  CString created, modified;
  h.GetProjects(created, modified);
  EXPECT_EQ(created, "Create");
  EXPECT_EQ(modified, "Edit2");
}

TEST(CObjHeader, CopiesAndTheTwoDefaults) {
  CObjHeader h;
  h.HeaderValue = 3;
  h.HeaderState = 4;
  h.SetBarcode(std::string(300, 'b').c_str());
  h.SetSubjectID("S");
  EXPECT_EQ(std::strlen(h.GetBarcode()), 128u);
  CObjHeader copy(h);
  EXPECT_EQ(copy.HeaderValue, 3);
  EXPECT_EQ(copy.HeaderState, 0);  // not copied
  EXPECT_STREQ(copy.GetSubjectID(), "S");

  // The timed defaults leave state and identifiers; the plain ones clear them.
  h.SetDefaultValues(kT1);
  EXPECT_EQ(h.HeaderState, 4);
  EXPECT_STREQ(h.GetSubjectID(), "S");
  EXPECT_EQ(h.ObjInfo->Created.Time.GetTime(), kT1.GetTime());
  h.SetDefaultValues();
  EXPECT_EQ(h.HeaderState, 0);
  EXPECT_STREQ(h.GetBarcode(), "");
}

TEST(CObjHeader, MissingInfoBlockIsAnEmptyOne) {
  CObjHeader h;
  delete h.ObjInfo;
  h.ObjInfo = nullptr;
  CString created = "x", modified = "y";
  h.GetProjects(created, modified);
  EXPECT_TRUE(created.IsEmpty() && modified.IsEmpty());
  h.SetEditValues("p", "s", &kT1);  // nothing to edit
  EXPECT_EQ(h.ObjInfo, nullptr);
  CObjHeader copy;
  copy.ObjInfo->Note = "will go";
  copy = h;  // a source without info gives the defaults
  EXPECT_EQ(copy.ObjInfo->Note, " ");
  // Storing writes a default info block: 8 + 14 + 2 * 13 bytes.
  EXPECT_EQ(Stored([&](CArchive& ar) { h.Serialize(ar); }).size(), 48u);
}
