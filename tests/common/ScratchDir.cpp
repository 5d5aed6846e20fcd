// Gives every test process its own scratch folder: ZEV_TEST_TMP becomes
// <ZEV_TEST_TMP or the temp folder>/p<pid>, so tests that CTest runs side by side
// never share a file.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {
struct ScratchDir {
  ScratchDir() {
    const char* base = std::getenv("ZEV_TEST_TMP");
    std::filesystem::path dir = (base && *base) ? std::filesystem::path(base) : std::filesystem::temp_directory_path() / "zevutil-tests";
    dir /= "p" + std::to_string(::getpid());
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    setenv("ZEV_TEST_TMP", dir.string().c_str(), 1);
    m_owner = ::getpid();
  }
  ~ScratchDir() {
    const char* dir = std::getenv("ZEV_TEST_TMP");
    std::error_code ec;
    // A forked child that exits normally must not take its parent's folder away.
    if (dir && ::getpid() == m_owner && !std::getenv("ZEV_KEEP_TEST_TMP")) std::filesystem::remove_all(dir, ec);
  }
  pid_t m_owner = 0;
};
ScratchDir g_scratch;
}  // namespace
