// Helpers for tests of the host services: scratch folders, whole-file reads and
// writes, and child processes that run a function and exit or are killed mid-loop.
#pragma once
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace zevtest {

// A fresh folder, removed with everything in it at the end of the test.
class TempDir {
 public:
  TempDir() {
    const char* base = std::getenv("ZEV_TEST_TMP");
    std::filesystem::path root = base && *base ? base : std::filesystem::temp_directory_path().string();
    std::filesystem::create_directories(root);
    std::string tmpl = (root / "hostXXXXXX").string();
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back('\0');
    char* made = ::mkdtemp(buf.data());
    m_path = made ? made : tmpl;
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(m_path, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return m_path; }
  std::string operator/(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

inline void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), std::streamsize(bytes.size()));
}

inline std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Runs body in a child process; the child exits with body's result, skipping the
// parent's exit handlers. Returns the child's pid.
inline pid_t RunChild(const std::function<int()>& body) {
  pid_t pid = ::fork();
  if (pid == 0) ::_exit(body());
  return pid;
}

// Waits for a child; its exit status, or -1 when it did not exit normally.
inline int WaitChild(pid_t pid) {
  int status = 0;
  if (::waitpid(pid, &status, 0) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs 'step' over and over in a child (0, 1, 2, ...; a non-zero result ends the child
// with it), waits until ten steps are done, lets it go on for 'delay' and kills it with
// SIGKILL: the way to catch a writer in the middle of its work.
inline void KillMidLoop(const std::function<int(int)>& step, std::chrono::milliseconds delay) {
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  pid_t child = RunChild([&] {
    ::close(fds[0]);
    for (int i = 0;; ++i) {
      if (int e = step(i)) return e;
      if (i == 10) {
        char c = 1;
        if (::write(fds[1], &c, 1) != 1) return 1;
      }
    }
  });
  ::close(fds[1]);
  char c = 0;
  ASSERT_EQ(::read(fds[0], &c, 1), 1);
  ::close(fds[0]);
  std::this_thread::sleep_for(delay);
  ::kill(child, SIGKILL);
  EXPECT_EQ(WaitChild(child), -1);
}

}  // namespace zevtest
