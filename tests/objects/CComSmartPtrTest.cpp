// Smart pointers, the long-keyed map that owns them and the table by channel: who
// adds and who releases a reference, and what each container keeps.
#include <gtest/gtest.h>

#include <vector>

#include "zevutil/CComSmartPtr.h"

using namespace zev;

namespace {

// A target that only counts; it is never deleted through its count.
class Counted : public TIUnknown {
 public:
  explicit Counted(LONG type = 77) : m_type(type) {}
  HRESULT QueryInterface(REFIID riid, void** ppv) override { return _InternalQueryInterface(riid, ppv); }
  ULONG AddRef() override { return ULONG(++refs); }
  ULONG Release() override { return ULONG(--refs); }
  LONG GetObjType() override { return m_type; }
  int refs = 0;

 private:
  LONG m_type;
};

class Other : public Counted {};

}  // namespace

TEST(CComSmartPtr, WhoAddsAndWhoReleases) {
  Counted a, b;
  {
    CGenericComSmartPtr p(&a);
    EXPECT_EQ(a.refs, 1);
    CGenericComSmartPtr q;
    q = p;  // assigning adds one reference
    EXPECT_EQ(a.refs, 2);
    q = p;  // kept: assigning over a held target does not release it
    EXPECT_EQ(a.refs, 3);
    q.TCopy(&b);  // adds to the new target, releases the old
    EXPECT_EQ(a.refs, 2);
    EXPECT_EQ(b.refs, 1);
    q.TCopy(&b);  // the same target: nothing
    EXPECT_EQ(b.refs, 1);
    q.Delete();
    EXPECT_EQ(b.refs, 0);
    EXPECT_TRUE(q == nullptr);
    q.TRelease(&b);  // releases the argument only
    EXPECT_EQ(b.refs, -1);
    b.refs = 0;

    CGenericComSmartPtr gone(&b);
    gone.Kill();  // forgets without releasing; its destructor releases nothing
    EXPECT_EQ(b.refs, 1);
    b.refs = 0;
  }
  EXPECT_EQ(a.refs, 1);  // the reference lost by assigning over a held target
}

TEST(CComSmartPtr, ComparisonTypeClonesAndTypedAccess) {
  Counted a(5);
  Other o;
  CGenericComSmartPtr empty;
  EXPECT_EQ(empty.GetObjType(), 0);
  TComSmartPtr<Counted> p(&a);
  EXPECT_EQ(p.GetObjType(), 5);
  EXPECT_TRUE(p == static_cast<TIUnknown*>(&a));
  EXPECT_TRUE(p != static_cast<TIUnknown*>(&o));
  EXPECT_EQ(p.get(), &a);
  EXPECT_EQ(p->GetObjType(), 5);

  CComSmartPtr* clone = p.ClonePtr();
  EXPECT_EQ(a.refs, 2);
  EXPECT_NE(dynamic_cast<TComSmartPtr<Counted>*>(clone), nullptr);  // the clone keeps the class
  CGenericComSmartPtr into;
  clone->CopyPtr(into);
  EXPECT_EQ(a.refs, 3);
  delete clone;
  EXPECT_EQ(a.refs, 2);

  TComSmartPtr<Other> wrong;
  wrong.TCopy(&a);  // a target of another class gives no typed pointer
  EXPECT_EQ(wrong.get(), nullptr);
  EXPECT_TRUE(static_cast<bool>(wrong));
  wrong.Delete();
  into.Delete();
  p.Delete();
  EXPECT_EQ(a.refs, 0);
}

TEST(CMapLongToPSmartPtr, OwnsItsValues) {
  Counted a, b, c;
  {
    CMapLongToPSmartPtr map;
    auto* pa = new CGenericComSmartPtr(&a);
    map.SetAt(1, pa);
    map.SetAt(1, pa);  // the same pointer again: still there
    EXPECT_EQ(a.refs, 1);
    map.SetAt(1, new CGenericComSmartPtr(&b));  // the old value is destroyed
    EXPECT_EQ(a.refs, 0);
    EXPECT_EQ(map.GetCount(), 1);
    map.SetAt(2, new CGenericComSmartPtr(&c));
    map.SetAt(3, nullptr);
    EXPECT_TRUE(map.RemoveKey(2));
    EXPECT_EQ(c.refs, 0);
    EXPECT_FALSE(map.RemoveKey(2));

    map.SetAt(4, new CGenericComSmartPtr(&a));
    map.Kill();  // for targets that have gone: nothing is released
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(a.refs, 1);
    EXPECT_EQ(b.refs, 1);
    a.refs = b.refs = 0;

    map.SetAt(5, new CGenericComSmartPtr(&a));
    map.Destroy();
    EXPECT_EQ(a.refs, 0);
    map.Destroy();  // an empty map: nothing
    map.SetAt(6, new CGenericComSmartPtr(&c));
  }
  EXPECT_EQ(c.refs, 0);  // destroying the map releases what it holds
}

TEST(CIUnknownArray, ChannelRangeClonesAndWalk) {
  Counted a;
  CGenericComSmartPtr mine(&a);
  CIUnknownArray arr;
  struct Case {
    int channel;
    LONG result;
  };
  const Case cases[] = {{-1, kBadChannel}, {0, 0}, {127, 0}, {128, kBadChannel}, {64, 0}, {3, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.channel);
    EXPECT_EQ(arr.AddInterface(c.channel, &mine), c.result);
  }
  EXPECT_EQ(arr.RemoveInterface(128), kBadChannel);
  EXPECT_EQ(arr.RemoveInterface(-1), kBadChannel);
  EXPECT_EQ(arr.GetNumberOfMembers(), 4);
  EXPECT_EQ(a.refs, 5);  // the table keeps clones; the caller's pointer is still its own
  EXPECT_NE(arr.GetInterface(3), &mine);
  EXPECT_EQ(arr.GetInterface(128), nullptr);

  std::vector<int> walked;
  int ch = -2;
  for (CComSmartPtr* p = arr.GetFirstInterface(ch); p; p = arr.GetNextInterface(ch)) walked.push_back(ch);
  EXPECT_EQ(walked, (std::vector<int>{0, 3, 64, 127}));
  EXPECT_EQ(ch, -1);

  EXPECT_EQ(arr.AddInterface(3, nullptr), 0);  // null clears entry and bit
  EXPECT_EQ(arr.GetInterface(3), nullptr);
  EXPECT_EQ(arr.RemoveInterface(64), 0);
  EXPECT_EQ(a.refs, 3);

  // The set can disagree with the entries: the walk goes by the set.
  CBitVector set;
  set += 5;
  set += 127;
  EXPECT_EQ(arr.SetChanList(set), 0);
  walked.clear();
  std::vector<bool> present;
  CComSmartPtr* p = arr.GetFirstInterface(ch);
  for (; ch >= 0; p = arr.GetNextInterface(ch)) {
    walked.push_back(ch);
    present.push_back(p != nullptr);
  }
  EXPECT_EQ(walked, (std::vector<int>{5, 127}));
  EXPECT_EQ(present, (std::vector<bool>{false, true}));
  CBitVector back;
  EXPECT_EQ(arr.GetChanList(back), 0);
  EXPECT_EQ(back == set, 1);

  {
    CIUnknownArray copy(arr);  // clones every entry, entries outside the set included
    EXPECT_EQ(a.refs, 5);
    EXPECT_EQ(copy.GetNumberOfMembers(), 2);
  }
  EXPECT_EQ(a.refs, 3);
  arr.Destroy();
  EXPECT_EQ(a.refs, 1);
  EXPECT_EQ(arr.GetNumberOfMembers(), 0);
  EXPECT_EQ(arr.GetInterface(0), nullptr);
}
