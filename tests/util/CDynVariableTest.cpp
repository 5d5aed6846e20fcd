// CDynVariable and CDynVarMap: typed reads against the text, type changes, copies and
// the owning map.
#include <gtest/gtest.h>

#include <string>

#include "zevutil/CDynVariable.h"

using namespace zev;

TEST(CDynVariable, TypedReadsFollowTheTypeConversionsReadTheText) {
  struct Case {
    const char* name;
    CDynVariable var;
    CDynVariable::ETYPE type;
    const char* text;  // null: no text
    int asInt;
    double asDouble;
  } cases[] = {
      {"integer", CDynVariable("n", 5), CDynVariable::eInteger, "5", 5, 5.0},
      {"negative integer", CDynVariable("n", -2147483647 - 1), CDynVariable::eInteger, "-2147483648",
       -2147483647 - 1, -2147483648.0},
      {"real", CDynVariable("x", 2.5), CDynVariable::eReal, "2.500000", 2, 2.5},
      {"string of digits", CDynVariable("s", "12"), CDynVariable::eString, "12", 12, 12.0},
      {"string of words", CDynVariable("s", "twelve"), CDynVariable::eString, "twelve", 0, 0.0},
      {"null string", CDynVariable("s", static_cast<const char*>(nullptr)), CDynVariable::eString, nullptr, 0, 0.0},
      {"nothing", CDynVariable(), CDynVariable::eNone, nullptr, 0, 0.0},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.name);
    const CDynVariable& v = c.var;
    EXPECT_EQ(v.GetType(), c.type);
    if (c.text) {
      EXPECT_STREQ(static_cast<const char*>(v), c.text);
    } else {
      EXPECT_EQ(static_cast<const char*>(v), nullptr);
    }
    EXPECT_EQ(int(v), c.asInt);
    EXPECT_DOUBLE_EQ(double(v), c.asDouble);

    CString s("old");
    int i = 99;
    double d = 99.0;
    EXPECT_EQ(v.GetValue(s), c.type == CDynVariable::eString ? 1 : 0);
    EXPECT_EQ(v.GetValue(i), c.type == CDynVariable::eInteger ? 1 : 0);
    EXPECT_EQ(v.GetValue(d), c.type == CDynVariable::eReal ? 1 : 0);
    EXPECT_EQ(std::string(s), c.type == CDynVariable::eString && c.text ? c.text : "");
    EXPECT_EQ(i, c.type == CDynVariable::eInteger ? c.asInt : 0);
    EXPECT_DOUBLE_EQ(d, c.type == CDynVariable::eReal ? c.asDouble : 0.0);
  }
}

TEST(CDynVariable, TypeAndNameChanges) {
  CDynVariable v("width", 7);
  for (int bad : {4, -1, 100}) {
    SCOPED_TRACE(bad);
    v.SetType(static_cast<CDynVariable::ETYPE>(bad));
    EXPECT_EQ(v.GetType(), CDynVariable::eInteger);
  }
  v.SetType(CDynVariable::eReal);  // relabels the same text
  double d = 0;
  EXPECT_EQ(v.GetValue(d), 1);
  EXPECT_DOUBLE_EQ(d, 7.0);

  v.SetValue("wide");
  EXPECT_STREQ(v.GetName(), "width");  // a new value keeps the name
  v.Reset(1);
  EXPECT_STREQ(v.GetName(), "width");
  EXPECT_EQ(v.GetType(), CDynVariable::eNone);
  EXPECT_EQ(static_cast<const char*>(v), nullptr);
  v.Reset(0);
  EXPECT_EQ(v.GetName(), nullptr);

  CDynVariable big("big", 1e300);  // longer than the usual 110-byte text
  EXPECT_DOUBLE_EQ(double(big), 1e300);
}

TEST(CDynVariable, CopiesAreIndependent) {
  CDynVariable a("a", "alpha");
  CDynVariable b(a);
  CDynVariable c("c", 3);
  c = a;
  a.SetValue(1);
  a.SetName("renamed");
  for (const CDynVariable* v : {&b, &c}) {
    EXPECT_STREQ(v->GetName(), "a");
    EXPECT_STREQ(static_cast<const char*>(*v), "alpha");
    EXPECT_EQ(v->GetType(), CDynVariable::eString);
  }
}

TEST(CDynVarMap, OwnsItsVariablesAndCopiesThemDeeply) {
  CDynVarMap map;
  map.SetAt("one", new CDynVariable("one", 1));
  map.SetAt("pi", new CDynVariable("pi", 3.25));
  map.SetAt("name", new CDynVariable("name", "trace"));

  CDynVarMap copy(map);
  CDynVarMap assigned;
  assigned.SetAt("stale", new CDynVariable("stale", 0));
  assigned = map;
  EXPECT_EQ(assigned.GetCount(), 3);

  // Change and drop the originals (RemoveKey unlinks; the caller deletes).
  CDynVariable* one = nullptr;
  CDynVariable* pi = nullptr;
  ASSERT_TRUE(map.Lookup("one", one));
  ASSERT_TRUE(map.Lookup("pi", pi));
  one->SetValue(2);
  map.RemoveKey("pi");
  delete pi;

  for (CDynVarMap* m : {&copy, &assigned}) {
    CDynVariable* c1 = nullptr;
    CDynVariable* cpi = nullptr;
    ASSERT_TRUE(m->Lookup("one", c1));
    ASSERT_TRUE(m->Lookup("pi", cpi));
    EXPECT_NE(c1, one);
    EXPECT_EQ(int(*c1), 1);
    EXPECT_DOUBLE_EQ(double(*cpi), 3.25);
    EXPECT_FALSE(m->Lookup("stale", c1));
  }
  map.RemoveAll();  // deletes "one" and "name"
  EXPECT_EQ(map.GetCount(), 0);
}
