// The print and printers commands as a user runs them, the output read back as a PDF
// reader sees it (poppler's pdfinfo and pdftotext -bbox): pages, footers, page ranges,
// right-aligned columns, wrapped words, header parts, bad input, cancel, CUPS queues.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "RunProgram.h"

namespace fs = std::filesystem;

namespace {

using zevrun::ReadFile;
using zevrun::Result;
using zevrun::RunZev;
using zevrun::WriteFile;

struct Word {
  double xMin, yMin, xMax, yMax;
  std::string text;
};
using Page = std::vector<Word>;

std::string Shell(const std::string& cmd) {
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return out;
  char buf[65536];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  pclose(p);
  return out;
}

// Every page's words with their boxes, in points from the top left.
std::vector<Page> Words(const fs::path& pdf) {
  const std::string html = Shell("pdftotext -bbox '" + pdf.string() + "' - 2>/dev/null");
  std::vector<Page> pages;
  static const std::regex word(R"re(<word xMin="([0-9.]+)" yMin="([0-9.]+)" xMax="([0-9.]+)" yMax="([0-9.]+)">([^<]*)</word>)re");
  size_t pos = 0;
  while ((pos = html.find("<page", pos)) != std::string::npos) {
    const size_t end = html.find("</page>", pos);
    const std::string body = html.substr(pos, end - pos);
    Page page;
    for (std::sregex_iterator it(body.begin(), body.end(), word), last; it != last; ++it)
      page.push_back({std::stod((*it)[1]), std::stod((*it)[2]), std::stod((*it)[3]), std::stod((*it)[4]), (*it)[5]});
    pages.push_back(page);
    pos = end;
  }
  return pages;
}

int PageCount(const fs::path& pdf) {
  const std::string info = Shell("pdfinfo '" + pdf.string() + "' 2>/dev/null");
  std::smatch m;
  return std::regex_search(info, m, std::regex(R"(Pages:\s+(\d+))")) ? std::stoi(m[1]) : -1;
}

const Word* Find(const Page& page, const std::string& text) {
  for (const Word& w : page)
    if (w.text == text) return &w;
  return nullptr;
}

// "Page:" followed by the number, as the default footer prints it.
int FooterNumber(const Page& page) {
  for (size_t i = 0; i + 1 < page.size(); ++i)
    if (page[i].text == "Page:") return std::atoi(page[i + 1].text.c_str());
  return -1;
}

fs::path Scratch() { return zevrun::Scratch("print_commands"); }

// A report of n lines: a name, and a number in a right-aligned column.
std::string Report(int n) {
  std::string text;
  for (int i = 1; i <= n; ++i) text += "item" + std::to_string(i) + "\t" + std::to_string(i * 7919 % 100003) + "\n";
  return text;
}

}  // namespace

TEST(PrintCommand, PagesFootersColumnsAndHeader) {
  const std::string in = WriteFile(Scratch() / "report.txt", Report(200));
  const fs::path pdf = Scratch() / "report.pdf";
  Result r = RunZev({"print", in, "--pdf", pdf.string(), "--paper", "a4", "--tabs", "1.5,-4", "--header",
                     "LeftPart\tMidPart\tRightPart", "--json"});
  ASSERT_EQ(r.status, 0) << r.err;
  const std::vector<Page> pages = Words(pdf);
  ASSERT_EQ(int(pages.size()), PageCount(pdf));
  ASSERT_GE(pages.size(), 2u);
  EXPECT_NE(r.out.find("\"pages_output\": " + std::to_string(pages.size())), std::string::npos) << r.out;
  int numbers = 0;
  for (size_t p = 0; p < pages.size(); ++p) {
    SCOPED_TRACE(p + 1);
    EXPECT_EQ(FooterNumber(pages[p]), int(p) + 1);
    const Word *l = Find(pages[p], "LeftPart"), *m = Find(pages[p], "MidPart"), *rt = Find(pages[p], "RightPart");
    ASSERT_TRUE(l && m && rt);
    EXPECT_LT(l->xMax, m->xMin);
    EXPECT_LT(m->xMax, rt->xMin);
    EXPECT_NEAR((m->xMin + m->xMax) / 2, 595.28 / 2, 30.0);  // centred on A4
    // Every number of the column ends at 4 inches from the page's edge.
    for (const Word& w : pages[p]) {
      // Body words only: below the header band, above the footer rule (6641 units).
      if (w.text.empty() || !std::isdigit(static_cast<unsigned char>(w.text[0])) || w.yMin < 50 ||
          w.yMax > 6641 * 72.0 / 600 || w.xMin < 72)
        continue;
      ++numbers;
      EXPECT_NEAR(w.xMax, 4 * 72.0, 0.6) << w.text;
    }
  }
  EXPECT_EQ(numbers, 200);
}

TEST(PrintCommand, PageRangeAndWrappedWords) {
  std::string text;
  for (int i = 0; i < 40; ++i) {
    for (int k = 0; k < 40; ++k) text += "word" + std::to_string(k) + " ";
    text += "\n";
  }
  text += Report(400);
  const std::string in = WriteFile(Scratch() / "wrap.txt", text);
  const fs::path all = Scratch() / "all.pdf", part = Scratch() / "part.pdf";
  ASSERT_EQ(RunZev({"print", in, "--pdf", all.string()}).status, 0);
  const std::vector<Page> pages = Words(all);
  ASSERT_GE(pages.size(), 4u);
  // Long lines wrap at word boundaries: every word arrives whole, in order.
  int whole = 0;
  for (const Page& page : pages)
    for (const Word& w : page)
      if (w.text.rfind("word", 0) == 0) {
        ++whole;
        EXPECT_TRUE(std::regex_match(w.text, std::regex("word([0-9]|[1-3][0-9])"))) << w.text;
      }
  EXPECT_EQ(whole, 40 * 40);

  Result r = RunZev({"print", in, "--pdf", part.string(), "--pages", "3-4", "--json"});
  ASSERT_EQ(r.status, 0) << r.err;
  const std::vector<Page> two = Words(part);
  ASSERT_EQ(PageCount(part), 2);
  ASSERT_EQ(two.size(), 2u);
  EXPECT_EQ(FooterNumber(two[0]), 3);
  EXPECT_EQ(FooterNumber(two[1]), 4);
  // The same pages as in the whole document, word for word.
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(two[size_t(i)].size(), pages[size_t(i) + 2].size());
    for (size_t k = 0; k < two[size_t(i)].size(); ++k) {
      if (two[size_t(i)][k].text != pages[size_t(i) + 2][k].text) {
        // Only the date of the footer may differ by a second.
        EXPECT_NE(two[size_t(i)][k].text.find(':'), std::string::npos) << two[size_t(i)][k].text;
      }
    }
  }
  EXPECT_NE(r.out.find("\"pages_output\": 2"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\"pages_laid_out\": 4"), std::string::npos) << r.out;
}

TEST(PrintCommand, PngPagesAndChoices) {
  const std::string in = WriteFile(Scratch() / "short.txt", Report(10));
  const fs::path dir = Scratch() / "png";
  fs::remove_all(dir);
  Result r = RunZev({"print", in, "--png", dir.string(), "--dpi", "40", "--paper", "letter", "--landscape",
                     "--title", "Short report", "--footer", "left\t\t%Page", "--json"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(fs::exists(dir / "page-1.png"));
  EXPECT_FALSE(fs::exists(dir / "page-2.png"));
  const std::string png = ReadFile(dir / "page-1.png");
  ASSERT_GT(png.size(), 24u);
  auto be32 = [&](size_t at) {
    return (unsigned char)png[at] << 24 | (unsigned char)png[at + 1] << 16 | (unsigned char)png[at + 2] << 8 |
           (unsigned char)png[at + 3];
  };
  EXPECT_EQ(be32(16), 440u);  // 11 x 8.5 inches at 40 dpi, turned
  EXPECT_EQ(be32(20), 340u);
}

TEST(PrintCommand, BadInputGivesADocumentOrAClearFailure) {
  std::string binary;
  for (int i = 0; i < 20000; ++i) binary += char(i * 37 % 256);
  const std::string bin = WriteFile(Scratch() / "binary.bin", binary);
  const std::string huge = WriteFile(Scratch() / "huge.txt", std::string(1 << 20, 'x') + "\nend\n");
  const std::string small = WriteFile(Scratch() / "small.txt", "a\tb\nc\n");
  const fs::path pdf = Scratch() / "bad.pdf";
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* err;  // part of the failure line
  };
  const Case cases[] = {
      {{"print", bin, "--pdf", pdf.string()}, 0, ""},
      {{"print", huge, "--pdf", pdf.string(), "--pages", "1-2"}, 0, ""},
      {{"print", small, "--pdf", pdf.string(), "--font", "No Such Face 123"}, 0, ""},
      {{"print", small, "--pdf", pdf.string(), "--size", "300"}, 0, ""},
      {{"print", small, "--pdf", pdf.string(), "--pages", "50-60"}, 2, "no page"},
      {{"print", small, "--pdf", pdf.string(), "--pages", "0-3"}, 2, "bad page range"},
      {{"print", small, "--pdf", pdf.string(), "--paper", "b7"}, 2, "unknown paper"},
      {{"print", small, "--pdf", pdf.string(), "--tabs", "2,1"}, 2, "tab stops must grow"},
      {{"print", small, "--printer", "no-such-queue-xyz"}, 2, "Invalid printer no-such-queue-xyz"},
      {{"print", (Scratch() / "missing.txt").string(), "--pdf", pdf.string()}, 2, "cannot read"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(zevrun::Joined(c.args));
    fs::remove(pdf);
    Result r = RunZev(c.args);
    EXPECT_EQ(r.status, c.status) << r.err;
    EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
    if (c.status == 0) {
      EXPECT_GE(PageCount(pdf), 1);
    } else {
      EXPECT_FALSE(fs::exists(pdf));
    }
  }
}

TEST(PrintCommand, CtrlCCancelsAndLeavesNoFile) {
  const fs::path dir = zevrun::FreshScratch("print_cancel");
  const fs::path fifo = dir / "in", pdf = dir / "out.pdf";
  const std::string zev = ZEV_BINARY_DIR "/tools/zevutil/zevutil";
  // The input stays open, so the job is still running when the interrupt comes.
  const std::string script = "cd '" + dir.string() + "'\nmkfifo in\n(printf 'a\\nb\\n'; sleep 8) > in &\n'" + zev +
                             "' print --pdf '" + pdf.string() + "' < in 2>err.txt &\nz=$!\n" +
                             // The job has started once its temporary file is there.
                             "for i in $(seq 300); do ls out.pdf.part* >/dev/null 2>&1 && break; sleep 0.05; done\n" +
                             "kill -INT $z\nwait $z\necho status=$?\n";
  const std::string out = Shell("sh '" + WriteFile(dir / "run.sh", script) + "'");
  EXPECT_NE(out.find("status=130"), std::string::npos) << out << ReadFile(dir / "err.txt");
  EXPECT_FALSE(fs::exists(pdf));
  for (const auto& e : fs::directory_iterator(dir))
    EXPECT_EQ(e.path().filename().string().find("out"), std::string::npos) << e.path();
}

TEST(PrintersCommand, ListsTheBuiltInDestinations) {
  Result r = RunZev({"printers", "--json"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("\"name\": \"Print to PDF\""), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\"name\": \"Print to PNG\""), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\"kind\": \"built-in\""), std::string::npos) << r.out;
  Result t = RunZev({"printers"});
  ASSERT_EQ(t.status, 0);
  EXPECT_NE(t.out.find("Print to PDF"), std::string::npos);
}

// Against a private scheduler with two file queues that write PDF (the shared CUPS test
// script; nothing under /etc is touched): a queue by name, the default queue, the list,
// and an unknown name.
TEST(PrintCommand, CupsQueuesByNameAndByDefault) {
  const std::string script = std::string(ZEV_SHARED_DIR) + "/tools/cups-ci.sh";
  if (::geteuid() != 0 || !fs::exists("/usr/sbin/cupsd") || !fs::exists(script))
    GTEST_SKIP() << "a private cupsd needs root, cups-daemon and " << script;
  const fs::path dir = zevrun::FreshScratch("print_cups");
  const std::string in = WriteFile(dir / "in.txt", Report(150));
  const std::string zev = ZEV_BINARY_DIR "/tools/zevutil/zevutil";
  const std::string body =
      ". '" + script + "'\nD=/tmp/zev-cli-cups-$$\n"
      "cups_start \"$D\" >/dev/null 2>&1 || { echo start_failed; exit 0; }\ntrap 'cups_stop; rm -rf \"$D\"' EXIT\n"
      "cups_add_file_queue zevcli default && cups_add_file_queue zevcli2 || { echo queue_failed; exit 0; }\n"
      "'" + zev + "' print '" + in + "' --printer zevcli2; echo byname=$?\ncups_wait_idle\n"
      "pdfinfo \"$D/out/zevcli2.pdf\" | sed -n 's/^Pages: */byname_pages=/p'\n"
      "'" + zev + "' print '" + in + "'; echo default=$?\ncups_wait_idle\n"
      "pdfinfo \"$D/out/zevcli.pdf\" | sed -n 's/^Pages: */default_pages=/p'\n"
      "'" + zev + "' printers --json | grep -c '\"kind\": \"CUPS\"' | sed 's/^/cups_queues=/'\n"
      "'" + zev + "' print '" + in + "' --printer zevnone 2>&1; echo unknown=$?\n";
  const std::string out = Shell("bash '" + WriteFile(dir / "cups.sh", body) + "'");
  if (out.find("start_failed") != std::string::npos || out.find("queue_failed") != std::string::npos)
    GTEST_SKIP() << "the private scheduler did not start: " << out;
  // 150 report lines make three pages, whichever queue prints them.
  for (const char* line : {"byname=0", "byname_pages=3", "default=0", "default_pages=3", "cups_queues=2",
                           "Invalid printer zevnone", "unknown=2"})
    EXPECT_NE(out.find(line), std::string::npos) << line << "\n" << out;
}
