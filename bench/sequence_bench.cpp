// The base sequence at 100,000 bases: building it through the list interface (and,
// timed apart, taking it down), reverse-complementing it, trimming it with two matches,
// and storing and reading the bases back through CCalledBase::Serialize in a CMemArchive.
// Each step runs against a plain std::list<CCalledBase> doing the same copying in the
// same run, and the program prints each step's CPU time as a ratio (ours / std::list;
// CPU time is steadier than wall time on a shared machine), plus the round trip in bytes
// per second. Targets: building 1.5 or less, reverse complement 3 or less, store and
// read back 50 million bytes per second or more.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <list>
#include <vector>

#include "bench/BenchSupport.h"
#include "zevutil/CBaseSequence.h"
#include "zevutil/CMemArchive.h"

using namespace zev;

namespace {

constexpr int kBases = 100000;
constexpr LONG kDataCount = 1300000;
constexpr LONG kLeftEnd = 999;                                // left match: bases 0..999
constexpr LONG kInternalBegin = 50000, kInternalEnd = 50999;  // internal match, masked

void FillBase(CCalledBase& b, int i) {
  b.m_lInserted = 0;
  b.m_lBaseNumber = i;
  b.m_Code = "ACGT"[i & 3];
  b.m_fCallScore = float(i % 60);
  for (int s = 0; s < 4; ++s) b.m_fScore[s] = float((i + s) % 50);
  b.m_Peak = CFloatPoint(float(i) * 12.5f, 1.0f);
  b.m_fMigrationTime = float(i) * 0.1f;
  b.m_fQualityValue = float(i % 40);
  b.m_lDataPoint = i * 12;
}

// The per-base work of a reverse complement, shared by both sides.
void Complement(CCalledBase& b) {
  b.m_Code.MakeCompliment();
  std::swap(b.m_fScore[0], b.m_fScore[3]);
  std::swap(b.m_fScore[1], b.m_fScore[2]);
  b.m_Peak.x = float(double(kDataCount - 1) - double(b.m_Peak.x));
  b.m_lDataPoint = LONG(b.m_Peak.x);
}

void BuildOurs(CBaseSequence& seq) {
  for (int i = 0; i < kBases; ++i) {
    auto* b = new CCalledBase;
    FillBase(*b, i);
    seq.AddTail(b);
  }
}

void BuildPeer(std::list<CCalledBase>& list) {
  for (int i = 0; i < kBases; ++i) {
    list.emplace_back();
    FillBase(list.back(), i);
  }
}

ContaminantMatch MakeMatch(LONG type, LONG begin, LONG end, double score) {
  ContaminantMatch m;
  m.m_lType = type;
  m.m_lSeqBegin = begin;
  m.m_lSeqEnd = end;
  m.m_dScore = score;
  return m;
}

// ---- building, and taking down again (timed apart) ----

void BM_Build_Sequence(benchmark::State& state) {
  for (auto _ : state) {
    auto* seq = new CBaseSequence;
    BuildOurs(*seq);
    benchmark::DoNotOptimize(seq->GetCount());
    state.PauseTiming();
    delete seq;
    state.ResumeTiming();
  }
}

void BM_Build_StdList(benchmark::State& state) {
  for (auto _ : state) {
    auto* list = new std::list<CCalledBase>;
    BuildPeer(*list);
    benchmark::DoNotOptimize(list->size());
    state.PauseTiming();
    delete list;
    state.ResumeTiming();
  }
}

void BM_Destroy_Sequence(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto* seq = new CBaseSequence;
    BuildOurs(*seq);
    state.ResumeTiming();
    delete seq;
  }
}

void BM_Destroy_StdList(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto* list = new std::list<CCalledBase>;
    BuildPeer(*list);
    state.ResumeTiming();
    delete list;
  }
}

// ---- reverse complement: a deep copy, the list emptied, the copy moved back from its tail ----

void BM_Reverse_Sequence(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto* seq = new CBaseSequence;
    BuildOurs(*seq);
    state.ResumeTiming();
    seq->MakeReverseCompliment(kDataCount);
    benchmark::DoNotOptimize(seq->GetHead());
    state.PauseTiming();
    delete seq;
    state.ResumeTiming();
  }
}

void BM_Reverse_StdList(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto* list = new std::list<CCalledBase>;
    BuildPeer(*list);
    state.ResumeTiming();
    std::list<CCalledBase> copy(*list);
    list->clear();
    while (!copy.empty()) {
      list->push_back(copy.back());
      copy.pop_back();
      Complement(list->back());
    }
    benchmark::DoNotOptimize(list->front());
    state.PauseTiming();
    delete list;
    state.ResumeTiming();
  }
}

// ---- trimming the reversed sequence: an internal mask, then a left cut ----

void BM_Trim_Sequence(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto* seq = new CBaseSequence;
    BuildOurs(*seq);
    seq->MakeReverseCompliment(kDataCount);
    seq->AddContaminantMatch(MakeMatch(ContaminantMatch::typeLeft, 0, kLeftEnd, 90));
    seq->AddContaminantMatch(MakeMatch(ContaminantMatch::typeInternal, kInternalBegin, kInternalEnd, 80));
    state.ResumeTiming();
    seq->ApplyContaminantTrimming('N');
    benchmark::DoNotOptimize(seq->GetCount());
    state.PauseTiming();
    if (seq->GetCount() != kBases - (kLeftEnd + 1)) state.SkipWithError("trim removed the wrong number of bases");
    delete seq;
    state.ResumeTiming();
  }
}

void BM_Trim_StdList(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto* list = new std::list<CCalledBase>;
    BuildPeer(*list);
    list->reverse();
    state.ResumeTiming();
    auto it = list->begin();
    std::advance(it, kInternalBegin);
    for (LONG i = kInternalBegin; i <= kInternalEnd && it != list->end(); ++i, ++it) it->m_Code = 'N';
    auto cut = list->begin();
    std::advance(cut, kLeftEnd + 1);
    list->erase(list->begin(), cut);
    benchmark::DoNotOptimize(list->size());
    state.PauseTiming();
    delete list;
    state.ResumeTiming();
  }
}

// ---- store and read back: every base's record out to memory and in again ----

void BM_StoreRead_Sequence(benchmark::State& state) {
  CBaseSequence seq;
  BuildOurs(seq);
  for (auto _ : state) {
    CMemArchive ar(CArchive::store);
    for (POSITION pos = seq.GetHeadPosition(); pos;) seq.GetNext(pos)->Serialize(ar);
    ar.SetMode(CArchive::load);
    CBaseSequence back;
    for (int i = 0; i < kBases; ++i) {
      auto* b = new CCalledBase;
      b->Serialize(ar);
      back.AddTail(b);
    }
    benchmark::DoNotOptimize(back.GetTail());
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * kBases * CCalledBase::kStoredBytes);
}

// The same bytes copied field by field into a growing buffer and out again.
void BM_StoreRead_StdList(benchmark::State& state) {
  std::list<CCalledBase> list;
  BuildPeer(list);
  for (auto _ : state) {
    std::vector<unsigned char> buffer;
    for (const CCalledBase& b : list) {
      unsigned char rec[CCalledBase::kStoredBytes];
      unsigned char* p = rec;
      auto put = [&p](const void* v, size_t n) {
        std::memcpy(p, v, n);
        p += n;
      };
      const LONG version = CCalledBase::kVersion;
      put(&version, 4);
      put(&b.m_lInserted, 4);
      put(&b.m_lEdited, 4);
      put(&b.m_lBaseNumber, 4);
      put(&b.m_Code.code, 1);
      put(&b.m_fCallScore, 4);
      put(b.m_fScore, 16);
      put(&b.m_Peak, 8);
      put(&b.m_Point2, 8);
      put(&b.m_fMigrationTime, 4);
      put(b.m_fExtra, 8);
      put(&b.m_lPeakFlags, 4);
      put(&b.m_fQualityValue, 4);
      put(&b.m_fSpare, 4);
      put(&b.m_lDataPoint, 4);
      buffer.insert(buffer.end(), rec, rec + sizeof rec);
    }
    std::list<CCalledBase> back;
    for (size_t off = 0; off < buffer.size(); off += CCalledBase::kStoredBytes) {
      back.emplace_back();
      CCalledBase& b = back.back();
      const unsigned char* p = buffer.data() + off + 4;
      auto get = [&p](void* v, size_t n) {
        std::memcpy(v, p, n);
        p += n;
      };
      get(&b.m_lInserted, 4);
      get(&b.m_lEdited, 4);
      get(&b.m_lBaseNumber, 4);
      get(&b.m_Code.code, 1);
      get(&b.m_fCallScore, 4);
      get(b.m_fScore, 16);
      get(&b.m_Peak, 8);
      get(&b.m_Point2, 8);
      get(&b.m_fMigrationTime, 4);
      get(b.m_fExtra, 8);
      get(&b.m_lPeakFlags, 4);
      get(&b.m_fQualityValue, 4);
      get(&b.m_fSpare, 4);
      get(&b.m_lDataPoint, 4);
    }
    benchmark::DoNotOptimize(back.back());
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * kBases * CCalledBase::kStoredBytes);
}

}  // namespace

BENCHMARK(BM_Build_Sequence)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Build_StdList)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Destroy_Sequence)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Destroy_StdList)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Reverse_Sequence)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Reverse_StdList)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Trim_Sequence)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Trim_StdList)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StoreRead_Sequence)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StoreRead_StdList)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  if (!benchsupport::Initialize(argc, argv)) return 1;
  benchsupport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  int status = 0;
  struct Step {
    const char* label;
    const char* ours;
    const char* peer;
    double target;  // the highest acceptable ratio; 0 for none
  };
  const Step steps[] = {
      {"build", "BM_Build_Sequence", "BM_Build_StdList", 1.5},
      {"destroy", "BM_Destroy_Sequence", "BM_Destroy_StdList", 0.0},
      {"reverse complement", "BM_Reverse_Sequence", "BM_Reverse_StdList", 3.0},
      {"trim", "BM_Trim_Sequence", "BM_Trim_StdList", 0.0},
      {"store and read back", "BM_StoreRead_Sequence", "BM_StoreRead_StdList", 0.0},
  };
  for (const Step& s : steps) {
    const double ours = reporter.Last(s.ours, "cpu_time"), peer = reporter.Last(s.peer, "cpu_time");
    if (ours <= 0 || peer <= 0) continue;
    const double ratio = ours / peer;
    const bool below = s.target > 0 && ratio > s.target;
    std::printf("%-20s ours/std::list time ratio %.2f%s\n", s.label, ratio, below ? "  ABOVE TARGET" : "");
    if (s.target > 0) std::printf("%-20s (target %.1f or less)\n", "", s.target);
    if (below) status = 1;
  }
  const double rate = reporter.Last("BM_StoreRead_Sequence");
  if (rate > 0) {
    std::printf("store and read back  %.1f million bytes per second (target 50 or more)%s\n", rate / 1e6,
                rate >= 50e6 ? "" : "  BELOW TARGET");
    if (rate < 50e6) status = 1;
  }
  benchmark::Shutdown();
  return status;
}
