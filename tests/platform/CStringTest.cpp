// CString: the old platform's printf rules, ordinal comparisons, trimming and buffers.
#include <gtest/gtest.h>

#include <cstring>

#include "zevutil/platform/CString.h"

using namespace zev;

TEST(CString, FormatUsesThirtyTwoBitLong) {
  struct Case { const char* name; CString got; const char* want; };
  CString a, b, c, d, e, f;
  a.Format("%ld", DWORD(0xFFFFFFFF));
  b.Format("%lu", DWORD(0xFFFFFFFF));
  c.Format("%I64d", LONGLONG(1) << 40);
  d.Format("%lx|%5ld|%-4lu|", DWORD(0xABCDEF), LONG(-42), DWORD(7));
  e.Format("%s=%d%%", "x", 5);
  f.Format("%.3f %c", 2.5, 'Z');
  const Case cases[] = {{"%ld", a, "-1"}, {"%lu", b, "4294967295"}, {"%I64d", c, "1099511627776"},
                        {"mixed", d, "abcdef|  -42|7   |"}, {"percent", e, "x=5%"}, {"float", f, "2.500 Z"}};
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    EXPECT_STREQ(k.got, k.want);
  }
}

TEST(CString, ComparisonsAreOrdinal) {
  EXPECT_LT(CString("B").Compare("a"), 0);
  EXPECT_GT(CString("a").Compare("B"), 0);
  EXPECT_EQ(CString("abc").CompareNoCase("ABC"), 0);
  // _ lies between upper and lower case letters once folded to lower case.
  EXPECT_LT(CString("_").CompareNoCase("a"), 0);
  EXPECT_LT(CString("_").CompareNoCase("A"), 0);
  EXPECT_GT(CString("\xE9").Compare("f"), 0);  // bytes compare unsigned
}

TEST(CString, EditingOperations) {
  CString s("  Hello, World \t");
  s.Trim();
  EXPECT_STREQ(s, "Hello, World");
  EXPECT_EQ(s.Find("World"), 7);
  EXPECT_EQ(s.Find('o', 5), 8);
  EXPECT_EQ(s.ReverseFind('o'), 8);
  EXPECT_STREQ(s.Mid(7, 100), "World");
  EXPECT_STREQ(s.Left(5), "Hello");
  EXPECT_STREQ(s.Right(5), "World");
  EXPECT_STREQ(s.Mid(50), "");
  EXPECT_EQ(s.Replace("l", "LL"), 3);
  EXPECT_STREQ(s, "HeLLLLo, WorLLd");
  EXPECT_EQ(s.Remove('L'), 6);
  EXPECT_STREQ(CString("abc").MakeUpper(), "ABC");
  CString u("\xE0" "a");
  EXPECT_STREQ(u.MakeUpper(), "\xE0" "A");  // ASCII only, as the C locale
}

TEST(CString, BufferAccess) {
  CString s;
  char* p = s.GetBuffer(10);
  std::strcpy(p, "abc");
  s.ReleaseBuffer();
  EXPECT_EQ(s.GetLength(), 3);
  p = s.GetBufferSetLength(2);
  EXPECT_EQ(s.GetLength(), 2);
  (void)p;
  EXPECT_STREQ(s, "ab");
}
