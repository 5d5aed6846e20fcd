// The object hand-over desk: registration, keys, ownership and disposal, termination.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zevutil/ObjEscrow.h"

using namespace zev;

namespace {

// What the disposers saw, as "<type>:<value>", in order.
std::vector<std::string> g_disposed;

void DisposeA(const char* type, void* object) {
  g_disposed.push_back(std::string(type) + ":" + std::to_string(*static_cast<int*>(object)));
  delete static_cast<int*>(object);
}
void DisposeB(const char* type, void* object) {
  g_disposed.push_back(std::string("B ") + type + ":" + std::to_string(*static_cast<int*>(object)));
  delete static_cast<int*>(object);
}

class ObjEscrowTest : public ::testing::Test {
 protected:
  void SetUp() override { g_disposed.clear(); }
  ObjEscrow escrow;
};

}  // namespace

TEST_F(ObjEscrowTest, RegistrationAnswersWhetherTheTypeWasKnown) {
  struct Case {
    const char* type;
    ObjEscrow::Disposer disposer;
    bool result;
  };
  const Case cases[] = {
      {nullptr, DisposeA, false}, {"", DisposeA, false},   {"Sample", DisposeA, false},
      {"SAMPLE", DisposeB, true}, {"Result", nullptr, false}, {"result", DisposeA, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type ? c.type : "(null)");
    EXPECT_EQ(escrow.RegisterType(c.type, c.disposer), c.result);
  }
  // The second disposer wins; it sees the name as first registered.
  ASSERT_TRUE(escrow.AddObj("sample", "k", new int(1), true));
  EXPECT_TRUE(escrow.DeleteObj("Sample", "k"));
  EXPECT_EQ(g_disposed, (std::vector<std::string>{"B Sample:1"}));
}

TEST_F(ObjEscrowTest, KeysOwnershipAndHandOver) {
  int caller = 7;
  EXPECT_FALSE(escrow.AddObj("Nope", "k", &caller, true));  // unregistered: stays the caller's
  escrow.RegisterType("T", DisposeA);

  int* first = new int(10);
  EXPECT_TRUE(escrow.AddObj("T", "k", first, true));
  EXPECT_TRUE(escrow.AddObj("T", "k", first, false));  // same pointer: only the flag changes
  EXPECT_EQ(escrow.GetObj("t", "k"), first);
  EXPECT_EQ(escrow.GetObj("T", "K"), nullptr);  // keys are exact
  EXPECT_TRUE(escrow.DeleteObj("T", "k"));      // not owned now: not disposed
  EXPECT_TRUE(g_disposed.empty());
  EXPECT_FALSE(escrow.DeleteObj("T", "k"));

  // A new pointer under a used key disposes of an owned old one, and not of an unowned one.
  EXPECT_TRUE(escrow.AddObj("T", "k", first, true));
  EXPECT_TRUE(escrow.AddObj("T", "k", &caller, false));
  EXPECT_EQ(g_disposed, (std::vector<std::string>{"T:10"}));
  int other = 8;
  EXPECT_TRUE(escrow.AddObj("T", "k", &other, false));
  EXPECT_EQ(g_disposed.size(), 1u);

  // Handing over: the object comes back and the record is gone.
  EXPECT_EQ(escrow.ReleaseObj("T", "k"), &other);
  EXPECT_EQ(escrow.GetObj("T", "k"), nullptr);
  EXPECT_EQ(escrow.ReleaseObj("T", "k"), nullptr);
  EXPECT_EQ(escrow.ReleaseObj("U", "k"), nullptr);
  EXPECT_EQ(escrow.GetObj(nullptr, "k"), nullptr);

  // Without a disposer an owned object is freed with operator delete.
  escrow.RegisterType("Plain", nullptr);
  EXPECT_TRUE(escrow.AddObj("Plain", "blob", ::operator new(64), true));
  EXPECT_TRUE(escrow.DeleteObj("PLAIN", "blob"));
}

TEST_F(ObjEscrowTest, TerminationDisposesTypeByTypeAndIsFinal) {
  escrow.RegisterType("First", DisposeA);
  escrow.RegisterType("Second", DisposeA);
  int unowned = 0;
  escrow.AddObj("Second", "a", new int(3), true);
  escrow.AddObj("First", "a", new int(1), true);
  escrow.AddObj("First", "b", &unowned, false);
  escrow.AddObj("First", "c", new int(2), true);
  escrow.RegisterType("first", DisposeB);  // replaces the disposer, keeps the name
  escrow.Terminate();
  EXPECT_EQ(g_disposed, (std::vector<std::string>{"B First:1", "B First:2", "Second:3"}));
  escrow.Terminate();  // twice is safe
  EXPECT_FALSE(escrow.RegisterType("First", DisposeA));
  EXPECT_FALSE(escrow.AddObj("First", "a", &unowned, false));
  EXPECT_EQ(escrow.GetObj("First", "b"), nullptr);
}

TEST(GetObjEscrow, OneProcessWideEscrow) {
  ObjEscrow& a = GetObjEscrow();
  EXPECT_EQ(&a, &GetObjEscrow());
  EXPECT_FALSE(a.RegisterType("GetObjEscrowTest", nullptr));
  static int shared = 5;
  EXPECT_TRUE(a.AddObj("GetObjEscrowTest", "x", &shared, false));
  EXPECT_EQ(GetObjEscrow().GetObj("GetObjEscrowTest", "x"), &shared);
}
