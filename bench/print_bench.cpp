// Printing 100,000 text lines as a report: our print object to a PDF file against
// `enscript -M A4 --word-wrap | ps2pdf` in the same run (pages per second), the pages
// outside a requested range (laid out, not drawn), and the peak memory of the whole
// `zevutil print` job in a child process.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "BenchSupport.h"
#include "zevutil/CPrintObject.h"

namespace fs = std::filesystem;
using namespace zev;

namespace {

fs::path WorkDir() {
  static const fs::path dir = [] {
    fs::path d = fs::temp_directory_path() / ("zev_print_bench" + std::to_string(::getpid()));
    fs::create_directories(d);
    return d;
  }();
  return dir;
}

// The 100,000-line text, made once by the shared generator.
const fs::path& Lines() {
  static const fs::path file = [] {
    const std::string cmd = "cd '" + WorkDir().string() + "' && python3 '" ZEV_SHARED_DIR "/tools/gen_lines.py'";
    if (std::system(cmd.c_str()) != 0) std::fprintf(stderr, "print_bench: gen_lines.py failed\n");
    return WorkDir() / "lines100k.txt";
  }();
  return file;
}

// Prints a text file one line per call, as `zevutil print` does.
class FilePrinter : public CPrintObject {
 public:
  FilePrinter(const fs::path& file, unsigned from, unsigned to) : m_in(file), m_from(from), m_to(to) {
    m_more = bool(std::getline(m_in, m_next));
  }
  int GetTextOutput(COutputInfo* info, CString& text) override {
    text = CString(std::move(m_next));
    m_next.clear();
    m_more = bool(std::getline(m_in, m_next));
    if (!m_more) m_total = info->m_nStringIndex + 1;
    return m_more ? 1 : 0;
  }
  LONG GetNumberOfTextStrings() override { return m_total; }
  void OnStartOutput(COutputInfo* info, int& bNewPageFirst) override {
    CPrintObject::OnStartOutput(info, bNewPageFirst);
    if (m_from) {
      info->m_pPrintInfo->SetFromPage(m_from);
      info->m_pPrintInfo->SetToPage(m_to);
    }
  }

 private:
  std::ifstream m_in;
  std::string m_next;
  bool m_more = false;
  unsigned m_from, m_to;
  LONG m_total = 0x7FFFFFFF;
};

LONG PrintLines(unsigned from, unsigned to, LONG& output) {
  FilePrinter job(Lines(), from, to);
  CPageFormatDef format;
  job.CreatePageFormatTitle(format, "lines100k.txt");
  format.m_device.m_strPrinterName = kPrintToPdfName;
  const std::string pdf = (WorkDir() / "ours.pdf").string();
  format.m_device.m_strFileName = pdf.c_str();
  format.m_device.m_nPaperSize = DMPAPER_A4;
  format.m_fontBody.m_nSize = 90;  // 9 points, as enscript's default body font
  job.PrintObject(format, CObjectOutputDef());
  output = job.GetPagesOutput();
  return job.GetPagesLaidOut();
}

void BM_OursToPdf(benchmark::State& state) {
  LONG pages = 0, output = 0;
  for (auto _ : state) pages = PrintLines(0, 0, output);
  state.SetItemsProcessed(int64_t(state.iterations()) * output);
  state.counters["pages"] = double(pages);
}

void BM_EnscriptPs2Pdf(benchmark::State& state) {
  const std::string pdf = (WorkDir() / "enscript.pdf").string();
  const std::string cmd = "enscript -q -M A4 --word-wrap -p - '" + Lines().string() + "' | ps2pdf - '" + pdf + "'";
  for (auto _ : state)
    if (std::system(cmd.c_str()) != 0) state.SkipWithError("enscript or ps2pdf failed");
  // Pages as the PDF says.
  int pages = 0;
  if (FILE* p = popen(("pdfinfo '" + pdf + "'").c_str(), "r")) {
    char line[256];
    while (std::fgets(line, sizeof line, p))
      if (std::sscanf(line, "Pages: %d", &pages) == 1) break;
    pclose(p);
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * pages);
  state.counters["pages"] = pages;
}

// Every page outside the range: laid out with drawing off, never sent to the device.
void BM_OursOutOfRange(benchmark::State& state) {
  LONG pages = 0, output = 0;
  for (auto _ : state) pages = PrintLines(65535, 65535, output);
  state.SetItemsProcessed(int64_t(state.iterations()) * pages);
  state.counters["pages"] = double(pages);
}

BENCHMARK(BM_OursToPdf)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(BM_EnscriptPs2Pdf)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(BM_OursOutOfRange)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

// Peak resident memory of `zevutil print` printing the whole text to PDF, in MiB.
double PeakMemoryOfCommand() {
  const pid_t pid = ::fork();
  if (pid == 0) {
    const std::string pdf = (WorkDir() / "cli.pdf").string();
    const std::string in = Lines().string();
    const int devnull = ::open("/dev/null", O_WRONLY);
    if (devnull >= 0) ::dup2(devnull, 2);
    ::execl(ZEV_ZEVUTIL, "zevutil", "print", in.c_str(), "--pdf", pdf.c_str(), "--paper", "a4",
            static_cast<char*>(nullptr));
    ::_exit(127);
  }
  int status = 0;
  struct rusage usage {};
  if (pid < 0 || ::wait4(pid, &status, 0, &usage) < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return -1;
  return double(usage.ru_maxrss) / 1024.0;
}

}  // namespace

int main(int argc, char** argv) {
  // Ours and the peer take turns in a random order, so that load slows both alike.
  if (!benchsupport::Initialize(argc, argv,
                                {"--benchmark_repetitions=3", "--benchmark_enable_random_interleaving=true"}))
    return 1;
  Lines();
  benchsupport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n");
  const double ours = reporter.Best("BM_OursToPdf/iterations:1/real_time", "items_per_second");
  const double peer = reporter.Best("BM_EnscriptPs2Pdf/iterations:1/real_time", "items_per_second");
  const double hidden = reporter.Best("BM_OursOutOfRange/iterations:1/real_time", "items_per_second");
  if (ours > 0 && peer > 0)
    std::printf("print 100k lines to PDF: ours %.0f pages/s, enscript|ps2pdf %.0f pages/s, ratio (ours/peer) %.2f%s\n",
                ours, peer, ours / peer, ours / peer >= 1.5 ? "" : "  BELOW TARGET");
  if (hidden > 0)
    std::printf("pages outside the range, laid out: %.0f pages/s%s\n", hidden, hidden >= 5000 ? "" : "  BELOW TARGET");
  const double peak = PeakMemoryOfCommand();
  if (peak >= 0)
    std::printf("peak memory of `zevutil print` (100k lines to PDF): %.1f MiB%s\n", peak,
                peak < 100 ? "" : "  ABOVE TARGET");
  else
    std::printf("peak memory: the zevutil print run failed\n");
  benchmark::Shutdown();
  std::error_code ec;
  fs::remove_all(WorkDir(), ec);
  return 0;
}
