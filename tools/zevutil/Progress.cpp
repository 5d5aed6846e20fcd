// The progress bar of batch commands.
#include "Progress.h"

#include <cstdio>
#include <unistd.h>

namespace zevcli {

namespace {
constexpr std::size_t kBarWidth = 30;
constexpr std::size_t kNameWidth = 36;
}  // namespace

Progress::Progress(std::size_t total, std::string label)
    : m_nTotal(total), m_strLabel(std::move(label)), m_bShown(total > 1 && ::isatty(2) == 1) {}

Progress::~Progress() { Finish(); }

void Progress::Step(std::size_t done, const std::string& item) {
  if (!m_bShown) return;
  const std::size_t filled = m_nTotal ? done * kBarWidth / m_nTotal : kBarWidth;
  std::string bar(filled, '#');
  bar.resize(kBarWidth, '.');
  std::string name = item.size() > kNameWidth ? "..." + item.substr(item.size() - (kNameWidth - 3)) : item;
  std::fprintf(stderr, "\r\033[K%s [%s] %zu/%zu %s", m_strLabel.c_str(), bar.c_str(), done, m_nTotal, name.c_str());
  std::fflush(stderr);
  m_bDrawn = true;
}

void Progress::Clear() {
  if (!m_bDrawn) return;
  std::fprintf(stderr, "\r\033[K");
  std::fflush(stderr);
  m_bDrawn = false;
}

void Progress::Finish() { Clear(); }

}  // namespace zevcli
