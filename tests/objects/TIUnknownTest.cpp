// The component object layer: outer and inner reference counts (pending ones too),
// inner objects and smart pointers made on first use, the reserved key, header
// operations, the visible base forms, and four threads on one outer object.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "zevutil/CComSmartPtr.h"
#include "zevutil/CObSeqID.h"
#include "zevutil/CObjHeader.h"
#include "zevutil/TIUnknown.h"
#include "zevutil/platform/Host.h"

using namespace zev;

namespace {

class TestImp : public CBaseImpObject {
 public:
  explicit TestImp(std::atomic<int>* deleted = nullptr) : m_deleted(deleted) {}
  ~TestImp() override {
    if (m_deleted) ++*m_deleted;
  }
  HRESULT QueryInterface(REFIID riid, void** ppv) override { return _InternalQueryInterface(riid, ppv); }
  ULONG AddRef() override { return InternalAddRef(); }
  ULONG Release() override { return InternalRelease(); }

 private:
  std::atomic<int>* m_deleted;
};

// What a destroyed outer object leaves behind for the test to look at.
struct Tombstone {
  std::atomic<int> destroyed{0};
  LONG finalCount = -99;
  std::atomic<int> impsDeleted{0};
  std::atomic<int> impsCreated{0};
};

class TestObject : public CBaseComObject {
 public:
  explicit TestObject(Tombstone* t = nullptr) : m_t(t) {}
  ~TestObject() override {
    if (m_t) {
      m_t->finalCount = RefCount;
      ++m_t->destroyed;
    }
  }
  HRESULT QueryInterface(REFIID riid, void** ppv) override { return _InternalQueryInterface(riid, ppv); }
  ULONG AddRef() override { return InternalAddRef(); }
  ULONG Release() override { return InternalRelease(); }
  LONG GetObjType() override { return OBSEQ_SAMPLE; }
  LONG Copy(const CBaseObject&) override { return 0; }
  LONG GetObjID(CObSeqID& id) const override {
    id.ObType = OBSEQ_SAMPLE;
    return 0;
  }
  CBaseImpObject* CreateImpObject(LONG) override {
    if (m_t) ++m_t->impsCreated;
    auto* imp = new TestImp(m_t ? &m_t->impsDeleted : nullptr);
    imp->Init(this);
    return imp;
  }
  CComSmartPtr* CreateBaseSmartPtr() override { return new CGenericComSmartPtr(this); }
  CComSmartPtr* CreateImpSmartPtr(LONG key, CBaseImpObject* object) override {
    return key == 0 ? CreateBaseSmartPtr() : new CGenericComSmartPtr(object);
  }

 private:
  Tombstone* m_t;
};

// The plain base forms, with nothing overridden but what C++ requires.
class PlainObject : public CBaseComObject {
 public:
  HRESULT QueryInterface(REFIID riid, void** ppv) override { return _InternalQueryInterface(riid, ppv); }
  ULONG AddRef() override { return InternalAddRef(); }
  ULONG Release() override { return InternalRelease(); }
  LONG GetObjType() override { return 0; }
  LONG Copy(const CBaseObject&) override { return 0; }
  LONG GetObjID(CObSeqID&) const override { return 0; }
};

}  // namespace

TEST(CBaseObject, ReleaseDeletesBelowOneAndAlwaysAnswersOne) {
  Tombstone t;
  auto* obj = new TestObject(&t);
  obj->Init();
  EXPECT_EQ(obj->AddRef(), 1u);
  void* p = nullptr;  // the interface map hands out IUnknown with a reference
  EXPECT_EQ(obj->QueryInterface(IID_IUnknown, &p), S_OK);
  EXPECT_EQ(p, static_cast<IUnknown*>(obj));
  EXPECT_EQ(obj->QueryInterface(IID_IDispatch, &p), E_NOINTERFACE);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(obj->Release(), 1u);
  EXPECT_EQ(t.destroyed, 0);
  EXPECT_EQ(obj->Release(), 1u);  // the result is never the count
  EXPECT_EQ(t.destroyed, 1);
  EXPECT_EQ(t.finalCount, 0);

  // An object that was never referenced goes at its first Release.
  Tombstone t2;
  (new TestObject(&t2))->Release();
  EXPECT_EQ(t2.destroyed, 1);
}

TEST(CBaseImpObject, PendingReferencesPassToTheOuterObject) {
  Tombstone t;
  auto* obj = new TestObject(&t);
  obj->Init();
  obj->AddRef();

  auto* imp = new TestImp;
  EXPECT_EQ(imp->AddRef(), 1u);  // pending count
  EXPECT_EQ(imp->AddRef(), 2u);
  EXPECT_EQ(imp->AddRef(), 3u);
  EXPECT_EQ(imp->Release(), 1u);  // a pending one goes first
  EXPECT_EQ(imp->PendingRefs, 2);
  EXPECT_EQ(imp->GetObjType(), 0);
  EXPECT_EQ(imp->Erase(), kNoHeader);

  imp->Init(obj);
  EXPECT_EQ(imp->PendingRefs, 0);
  EXPECT_EQ(obj->RefCount, 3);
  EXPECT_EQ(imp->GetObjType(), OBSEQ_SAMPLE);
  obj->AddImpObject(imp, 5);
  imp->Release();
  imp->Release();
  EXPECT_EQ(obj->RefCount, 1);
  obj->Release();  // the inner object goes with the outer one
  EXPECT_EQ(t.destroyed, 1);
  EXPECT_EQ(t.impsDeleted, 0);  // made outside CreateImpObject, so not counted there
}

TEST(CBaseComObject, InnerObjectsAreMadeOnceAndOwned) {
  Tombstone t;
  {
    TestObject obj(&t);
    obj.Init();
    CBaseImpObject* a = obj.GetImpObjectPtr(3);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(obj.GetImpObjectPtr(3), a);
    EXPECT_NE(obj.GetImpObjectPtr(4), a);
    EXPECT_EQ(t.impsCreated, 2);
    EXPECT_EQ(a->BaseObject, &obj);

    // The key 0 answers null without the lock: another thread holding it must not block us.
    std::promise<void> locked, done;
    std::thread holder([&] {
      obj.Lock->Lock();
      locked.set_value();
      done.get_future().wait();
      obj.Lock->Unlock();
    });
    locked.get_future().wait();
    auto zero = std::async(std::launch::async, [&] { return obj.GetImpObjectPtr(0); });
    const bool answered = zero.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    done.set_value();
    holder.join();
    EXPECT_TRUE(answered);
    EXPECT_EQ(zero.get(), nullptr);

    // The reserved key is never stored: each call makes a new object the caller owns.
    auto* reserved = new TestImp;
    obj.AddImpObject(reserved, kReservedImpKey);
    EXPECT_EQ(obj.ImpObjects.GetCount(), 2);
    delete reserved;
    CBaseImpObject* r1 = obj.GetImpObjectPtr(kReservedImpKey);
    CBaseImpObject* r2 = obj.GetImpObjectPtr(kReservedImpKey);
    EXPECT_NE(r1, r2);
    EXPECT_EQ(obj.ImpObjects.GetCount(), 2);
    delete r1;
    delete r2;
    obj.AddImpObject(nullptr, 9);
    EXPECT_EQ(obj.ImpObjects.GetCount(), 2);
  }
  EXPECT_EQ(t.impsDeleted, 4);  // the two kept, and the two reserved ones deleted above
}

TEST(CBaseComObject, SmartPointersOnItselfDoNotKeepItAlive) {
  Tombstone t;
  auto* obj = new TestObject(&t);
  EXPECT_EQ(obj->GetImpSmartPtr(0), nullptr);  // no map before Init
  obj->Init();
  obj->AddRef();
  for (LONG key : {0, 2, 7}) {
    SCOPED_TRACE(key);
    CComSmartPtr* p = obj->GetImpSmartPtr(key);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(obj->RefCount, 1);
    EXPECT_EQ(obj->GetImpSmartPtr(key), p);
    EXPECT_EQ(p->GetObjType(), OBSEQ_SAMPLE);
  }
  EXPECT_EQ(obj->ImpSmartPtrs->GetCount(), 3);
  // A pointer on another object holds a real reference, given back at destruction.
  Tombstone t2;
  auto* other = new TestObject(&t2);
  other->Init();
  other->AddRef();
  obj->AddImpSmartPtr(new CGenericComSmartPtr(other), 60);
  EXPECT_EQ(other->RefCount, 2);
  obj->Release();  // nothing the object holds on itself is released again
  EXPECT_EQ(t.destroyed, 1);
  EXPECT_EQ(t.finalCount, 0);
  EXPECT_EQ(other->RefCount, 1);
  other->Release();
  EXPECT_EQ(t2.destroyed, 1);

  PlainObject plain;  // the base makes no smart pointers
  plain.Init();
  EXPECT_EQ(plain.GetImpSmartPtr(0), nullptr);
  EXPECT_EQ(plain.GetImpSmartPtr(1), nullptr);
  EXPECT_EQ(plain.GetImpObjectPtr(1), nullptr);
}

TEST(CBaseObject, HeaderOperations) {
  PlainObject obj;
  CObjInfo info;
  EXPECT_EQ(obj.SetObjInfo(info), kNoHeader);
  EXPECT_EQ(obj.GetObjInfo(info), kNoHeader);
  CProjectID project("P1");
  EXPECT_EQ(obj.SetProjectID(project), kNoHeader);

  obj.ObjectState = 4;
  obj.Modified = 1;
  EXPECT_EQ(obj.Erase(), 0);  // makes the header
  ASSERT_NE(obj.ObjHeader, nullptr);
  EXPECT_EQ(obj.ObjectState, 0);
  EXPECT_EQ(obj.Modified, 0);

  info.Note = "set";
  EXPECT_EQ(obj.SetObjInfo(info), 0);
  EXPECT_EQ(obj.Modified, 1);
  CObjInfo back;
  EXPECT_EQ(obj.GetObjInfo(back), 0);
  EXPECT_EQ(back.Note, "set");

  // The first project goes to both records; a second one to Modified only.
  EXPECT_EQ(obj.SetProjectID(project), 0);
  EXPECT_EQ(obj.SetProjectID(CProjectID("P2")), 0);
  const CObjInfo& i = *obj.ObjHeader->ObjInfo;
  EXPECT_STREQ(i.Created.Project, "P1");
  EXPECT_STREQ(i.Created.InitialProject, "P1");
  EXPECT_STREQ(i.Modified.Project, "P2");
  CProjectID got("unchanged");
  EXPECT_EQ(obj.GetProjectID(got), 0);
  EXPECT_STREQ(got.ObName, "P2");
  CString text;
  obj.GetProjectString(text);
  EXPECT_EQ(text, "P2");

  // Inner objects forward to their outer object.
  TestImp imp;
  imp.Init(&obj);
  EXPECT_EQ(imp.SetProjectID(CProjectID("P3")), 0);
  EXPECT_STREQ(obj.ObjHeader->ObjInfo->Modified.Project, "P3");

  // A header handed to Init is taken over; the three-argument form adds the inner object.
  auto* header = new CObjHeader;
  TestObject other;
  auto* kept = new TestImp;
  other.Init(kept, 6, header);
  EXPECT_EQ(other.ObjHeader, header);
  EXPECT_EQ(other.GetImpObjectPtr(6), kept);
}

TEST(CBaseComObject, BaseFormsShowAnInformationBox) {
  struct Box {
    std::string text;
    bool nullCaption;
    UINT style;
  };
  std::vector<Box> boxes;
  auto old = SetMessageBoxHandler([&](HWND, const char* text, const char* caption, UINT style) {
    boxes.push_back({text, caption == nullptr, style});
    return IDOK;
  });
  PlainObject obj;
  CString file = "f";
  CMemFile mem;
  CArchive ar(&mem, CArchive::store);
  obj.DisplayProperties();
  EXPECT_EQ(obj.ExportToVqFile(file), 0);
  EXPECT_EQ(obj.ImportFromVqFile(file, 1), 0);
  obj.Serialize(ar);
  SetMessageBoxHandler(old);

  const char* expected[] = {"Base Com Object Properties", "Base Com Object ExportToVqFile",
                            "Base Com Object ImportFromVqFile", "Base Com Object Serialize"};
  ASSERT_EQ(boxes.size(), 4u);
  for (size_t k = 0; k < 4; ++k) {
    SCOPED_TRACE(expected[k]);
    EXPECT_EQ(boxes[k].text, expected[k]);
    EXPECT_TRUE(boxes[k].nullCaption);
    EXPECT_EQ(boxes[k].style, 64u);
  }
}

// Four threads take and release references, make inner objects and their smart
// pointers on one outer object; the count comes back to what it was, and the last
// Release destroys the object at zero. Run under ThreadSanitizer by `make tsan`.
TEST(CBaseComObject, FourThreadsShareOneOuterObject) {
  Tombstone t;
  auto* obj = new TestObject(&t);
  obj->Init();
  obj->AddRef();  // the test's own reference
  constexpr int kThreads = 4, kRounds = 2000, kKeys = 7;
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int n = 0; n < kThreads; ++n) {
    threads.emplace_back([&, n] {
      while (!go) std::this_thread::yield();
      for (int i = 0; i < kRounds; ++i) {
        obj->AddRef();
        const LONG key = 1 + (i + n) % kKeys;
        CBaseImpObject* imp = obj->GetImpObjectPtr(key);
        imp->AddRef();
        {
          CGenericComSmartPtr held(imp);  // takes and gives back one more
          (void)obj->GetImpSmartPtr(i % 3 == 0 ? 0 : key);
        }
        imp->Release();
        obj->Release();
      }
    });
  }
  go = true;
  for (auto& th : threads) th.join();
  EXPECT_EQ(obj->RefCount, 1);
  EXPECT_EQ(t.impsCreated, kKeys);
  EXPECT_EQ(obj->ImpSmartPtrs->GetCount(), kKeys + 1);
  obj->Release();
  EXPECT_EQ(t.destroyed, 1);
  EXPECT_EQ(t.finalCount, 0);
  EXPECT_EQ(t.impsDeleted, kKeys);
}
