// Inner output objects and the life of the whole: an outer object released while a job
// holds its inner output object, jobs that end first, kept smart pointers, references
// taken before the outer object is known, the plain inner behaviour, and threads that
// run jobs on one outer object while it is let go. Every object is deleted exactly once.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "zevutil/CBaseImpOutputObject.h"
#include "zevutil/CComSmartPtr.h"
#include "zevutil/CObSeqID.h"
#include "zevutil/CObjHeader.h"

using namespace zev;

namespace {

std::string Scratch(const std::string& name) {
  const char* dir = std::getenv("ZEV_TEST_TMP");
  return std::string(dir ? dir : "/tmp") + "/impout_" + name;
}

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Who was deleted, how often and in which order.
struct Graveyard {
  std::atomic<int> outers{0};
  std::atomic<int> inners{0};
  std::atomic<int> innersMade{0};
  std::mutex mutex;
  std::string order;
  void Bury(char who) {
    std::lock_guard<std::mutex> hold(mutex);
    order += who;
  }
};

// Three lines naming the outer object's project, read through the outer object: a job
// can only write them while the outer object is alive.
class Report : public CBaseImpOutputObject {
 public:
  explicit Report(Graveyard* g) : m_g(g) { ++m_g->innersMade; }
  ~Report() override {
    ++m_g->inners;
    m_g->Bury('i');
  }
  HRESULT QueryInterface(REFIID riid, void** ppv) override { return _InternalQueryInterface(riid, ppv); }
  ULONG AddRef() override { return InternalAddRef(); }
  ULONG Release() override { return InternalRelease(); }
  int GetTextOutput(COutputInfo* info, CString& text) override {
    CString project;
    GetProjectString(project);
    text.Format("row %d of %s", int(info->m_nStringIndex), project.GetString());
    return 1;
  }
  LONG GetNumberOfTextStrings() override { return 3; }

 private:
  Graveyard* m_g;
};

const char kRows[] = "row 0 of Alpha\r\nrow 1 of Alpha\r\nrow 2 of Alpha\r\n";

class Outer : public CBaseComObject {
 public:
  explicit Outer(Graveyard* g) : m_g(g) {
    Init();
    SetProjectID(CProjectID("Alpha"));
  }
  ~Outer() override {
    ++m_g->outers;
    m_g->Bury('o');
  }
  HRESULT QueryInterface(REFIID riid, void** ppv) override { return _InternalQueryInterface(riid, ppv); }
  ULONG AddRef() override { return InternalAddRef(); }
  ULONG Release() override { return InternalRelease(); }
  LONG GetObjType() override { return OBSEQ_SAMPLE; }
  LONG Copy(const CBaseObject&) override { return 0; }
  LONG GetObjID(CObSeqID&) const override { return 0; }
  CBaseImpObject* CreateImpObject(LONG) override {
    auto* report = new Report(m_g);
    report->Init(this);
    return report;
  }
  CComSmartPtr* CreateImpSmartPtr(LONG, CBaseImpObject* object) override { return new CGenericComSmartPtr(object); }

 private:
  Graveyard* m_g;
};

constexpr LONG kKey = 5;

enum class Make { Kept, KeptPlain, Standalone };
enum class Op { OuterTake, OuterRelease, JobTake, JobEnd, JobRun, KeepPointer, Attach };

struct Step {
  Op op;
  int outersGone, innersGone;
  LONG outerCount = -1;  // checked while the outer object lives; -1 not checked
  LONG ownRefs = -1;     // checked while the inner object lives
};

struct Scenario {
  const char* name;
  Make make;
  std::vector<Step> steps;
  const char* order;  // deletions, 'o' outer and 'i' inner
};

TEST(CBaseImpOutputObject, LifetimeOfTheWhole) {
  const std::vector<Scenario> scenarios = {
      {"outer released while a job holds the inner; the job ends",
       Make::Kept,
       {{Op::OuterTake, 0, 0, 1, 0},
        {Op::JobTake, 0, 0, 2, 1},
        {Op::JobRun, 0, 0, 2, 1},
        {Op::OuterRelease, 0, 0, 1, 1},
        {Op::JobRun, 0, 0, 1, 1},
        {Op::JobEnd, 1, 1}},
       "oi"},
      {"the job ends first: the inner goes, the outer stays",
       Make::Kept,
       {{Op::OuterTake, 0, 0, 1, 0},
        {Op::JobTake, 0, 0, 2, 1},
        {Op::JobRun, 0, 0, 2, 1},
        {Op::JobEnd, 0, 1, 1},
        {Op::OuterRelease, 1, 1}},
       "io"},
      {"two jobs, the outer released between them",
       Make::Kept,
       {{Op::OuterTake, 0, 0, 1, 0},
        {Op::JobTake, 0, 0, 2, 1},
        {Op::JobTake, 0, 0, 3, 2},
        {Op::OuterRelease, 0, 0, 2, 2},
        {Op::JobEnd, 0, 0, 1, 1},
        {Op::JobRun, 0, 0, 1, 1},
        {Op::JobEnd, 1, 1}},
       "oi"},
      {"a smart pointer the outer keeps on the inner",
       Make::Kept,
       {{Op::OuterTake, 0, 0, 1, 0},
        {Op::KeepPointer, 0, 0, 1, 1},
        {Op::JobTake, 0, 0, 2, 2},
        {Op::OuterRelease, 0, 0, 1, 2},
        {Op::JobEnd, 1, 1}},
       "oi"},
      {"the outer kept a smart pointer and no job came: the outer deletes its inner",
       Make::Kept,
       {{Op::OuterTake, 0, 0, 1, 0}, {Op::KeepPointer, 0, 0, 1, 1}, {Op::OuterRelease, 1, 1}},
       "oi"},
      {"references taken before the outer is known",
       Make::Standalone,
       {{Op::OuterTake, 0, 0, 1},
        {Op::JobTake, 0, 0, 1, 1},
        {Op::JobTake, 0, 0, 1, 2},
        {Op::Attach, 0, 0, 3, 2},
        {Op::OuterRelease, 0, 0, 2, 2},
        {Op::JobEnd, 0, 0, 1, 1},
        {Op::JobRun, 0, 0, 1, 1},
        {Op::JobEnd, 1, 1}},
       "oi"},
      {"without an outer the pending references decide",
       Make::Standalone,
       {{Op::JobTake, 0, 0, -1, 1}, {Op::JobTake, 0, 0, -1, 2}, {Op::JobEnd, 0, 0, -1, 1}, {Op::JobEnd, 0, 1},
        {Op::OuterTake, 0, 1, 1}, {Op::OuterRelease, 1, 1}},
       "io"},
      {"not managing its own life: a plain inner object",
       Make::KeptPlain,
       {{Op::OuterTake, 0, 0, 1, 0},
        {Op::JobTake, 0, 0, 2, 0},
        {Op::OuterRelease, 0, 0, 1, 0},
        {Op::JobRun, 0, 0, 1, 0},
        {Op::JobEnd, 1, 1}},
       "oi"},
  };
  for (const Scenario& s : scenarios) {
    SCOPED_TRACE(s.name);
    Graveyard g;
    auto* outer = new Outer(&g);
    Report* inner = nullptr;
    if (s.make == Make::Standalone) {
      inner = new Report(&g);
    } else {
      inner = static_cast<Report*>(outer->GetImpObjectPtr(kKey));
      ASSERT_NE(inner, nullptr);
      if (s.make == Make::KeptPlain) inner->ManagesOwnLife = 0;
    }
    int stepNo = 0;
    for (const Step& step : s.steps) {
      SCOPED_TRACE(::testing::Message() << "step " << stepNo++);
      switch (step.op) {
        case Op::OuterTake: outer->AddRef(); break;
        case Op::OuterRelease: outer->Release(); break;
        case Op::JobTake: inner->AddRef(); break;
        case Op::JobEnd: inner->Release(); break;
        case Op::KeepPointer: ASSERT_NE(outer->GetImpSmartPtr(kKey), nullptr); break;
        case Op::Attach: inner->Init(outer); break;
        case Op::JobRun: {
          const std::string path = Scratch("job.txt");
          ASSERT_EQ(inner->ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()), 1);
          EXPECT_EQ(ReadAll(path), kRows);
          break;
        }
      }
      ASSERT_EQ(g.outers, step.outersGone);
      ASSERT_EQ(g.inners, step.innersGone);
      if (!step.outersGone && step.outerCount >= 0) {
        EXPECT_EQ(outer->RefCount, step.outerCount);
      }
      if (!step.innersGone && step.ownRefs >= 0) {
        EXPECT_EQ(inner->OwnRefs, step.ownRefs);
      }
      // An inner object that went by itself left the outer object's map.
      if (!step.outersGone && step.innersGone) {
        CBaseImpObject* found = nullptr;
        EXPECT_FALSE(outer->ImpObjects.Lookup(kKey, found));
      }
    }
    EXPECT_EQ(g.order, s.order);
    EXPECT_EQ(g.innersMade, 1);
  }
}

// Four threads, each with an inner output object of its own on one outer object, take
// and release references and run export jobs; the client lets the outer object go
// while they run, and each thread lets it go while its last job still holds its inner
// object. The last job to end takes the whole with it.
TEST(CBaseImpOutputObject, ThreadsRunJobsWhileTheOuterGoes) {
  constexpr int kThreads = 4;
  constexpr int kJobs = 25;
  Graveyard g;
  auto* outer = new Outer(&g);
  outer->AddRef();  // the client
  for (int t = 0; t < kThreads; ++t) outer->AddRef();  // one for each thread
  std::atomic<int> running{0};
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      const std::string path = Scratch("thread" + std::to_string(t) + ".txt");
      auto job = [&](Report* r) {
        if (!r->ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()) || ReadAll(path) != kRows) ++failures;
      };
      for (int j = 0; j < kJobs; ++j) {
        auto* r = static_cast<Report*>(outer->GetImpObjectPtr(t + 1));
        r->AddRef();  // the job holds it
        if (j == 0) ++running;
        if (j % 3 == 0) {
          r->AddRef();  // a second holder for a while
          job(r);
          r->Release();
        }
        job(r);
        r->Release();  // nobody holds it now: it goes, the outer stays
      }
      auto* r = static_cast<Report*>(outer->GetImpObjectPtr(t + 1));
      r->AddRef();
      outer->Release();  // this thread's hold on the outer object; only the job keeps it now
      job(r);
      r->Release();
    });
  }
  while (running < kThreads) std::this_thread::yield();
  outer->Release();  // the client lets go while the jobs run
  for (std::thread& th : threads) th.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(g.outers, 1);
  EXPECT_EQ(g.inners, g.innersMade);
  EXPECT_EQ(g.innersMade, kThreads * (kJobs + 1));
  EXPECT_EQ(g.order.back(), 'i');  // the last job's inner object goes after the outer
}

}  // namespace
