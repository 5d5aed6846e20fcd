// A progress bar for batch commands, drawn on standard error when it is a terminal and
// nothing at all otherwise, so that logs and pipes stay clean.
#pragma once
#include <cstddef>
#include <string>

namespace zevcli {

class Progress {
 public:
  // total items; the bar shows when stderr is a terminal and there is more than one.
  Progress(std::size_t total, std::string label);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Item number done (1-based) was named item.
  void Step(std::size_t done, const std::string& item);
  // Clears the bar so that a message line can be printed; the next Step redraws it.
  void Clear();
  // Clears the bar for good.
  void Finish();
  bool Shown() const { return m_bShown; }

 private:
  std::size_t m_nTotal;
  std::string m_strLabel;
  bool m_bShown;
  bool m_bDrawn = false;
};

}  // namespace zevcli
