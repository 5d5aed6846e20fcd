// A private X server for the real-window tests: Xvfb picks a free display itself
// (-displayfd), so test binaries run side by side never collide, and DISPLAY is set
// before the window layer first opens GTK.
#include "gui/XvfbEnvironment.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

namespace zevtest {
namespace {
pid_t g_xvfb = -1;
bool g_ready = false;
std::string g_why = "the X server was not started";

// Finds a program on PATH the way execvp would.
bool OnPath(const char* prog) {
  const char* path = std::getenv("PATH");
  std::string p = path ? path : "/usr/bin:/bin";
  size_t start = 0;
  while (start <= p.size()) {
    size_t end = p.find(':', start);
    if (end == std::string::npos) end = p.size();
    std::string dir = p.substr(start, end - start);
    if (!dir.empty() && ::access((dir + "/" + prog).c_str(), X_OK) == 0) return true;
    start = end + 1;
  }
  return false;
}

// A fixed, quiet desktop: no accessibility bus, no user theme or settings, the X11
// backend and a UTF-8 locale, whatever the machine running the tests has.
void SetQuietDesktop() {
  setenv("NO_AT_BRIDGE", "1", 1);
  setenv("GDK_BACKEND", "x11", 1);
  setenv("GTK_THEME", "Adwaita", 1);
  setenv("GSETTINGS_BACKEND", "memory", 1);
  setenv("GTK_CSD", "0", 1);
  unsetenv("GTK_MODULES");
  unsetenv("WAYLAND_DISPLAY");
  const char* tmp = std::getenv("ZEV_TEST_TMP");
  std::filesystem::path cfg = std::filesystem::path(tmp && *tmp ? tmp : "/tmp") / "xdg-config";
  std::error_code ec;
  std::filesystem::create_directories(cfg, ec);
  setenv("XDG_CONFIG_HOME", cfg.c_str(), 1);
}
}  // namespace

void XvfbEnvironment::SetUp() {
  SetQuietDesktop();
  if (!OnPath("Xvfb")) {
    g_why = "Xvfb is not installed";
    return;
  }
  int fds[2];
  if (::pipe(fds) != 0) {
    g_why = "no pipe for -displayfd";
    return;
  }
  ::fcntl(fds[0], F_SETFD, FD_CLOEXEC);
  pid_t pid = ::fork();
  if (pid == 0) {
    // The server goes with the test binary, even when that crashes or is killed.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    ::close(fds[0]);
    int devnull = ::open("/dev/null", O_RDWR);
    if (devnull >= 0) {
      ::dup2(devnull, 0);
      ::dup2(devnull, 1);
      ::dup2(devnull, 2);
    }
    std::string fd = std::to_string(fds[1]);
    ::execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "1024x768x24", "-dpi", "96",
             "-nolisten", "tcp", "-noreset", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(fds[1]);
  if (pid < 0) {
    ::close(fds[0]);
    g_why = "fork failed";
    return;
  }
  g_xvfb = pid;
  // The server writes its display number and a newline once it accepts clients.
  std::string number;
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  for (;;) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    if (left <= 0) break;
    pollfd p{fds[0], POLLIN, 0};
    if (::poll(&p, 1, static_cast<int>(left)) <= 0) break;
    char buf[32];
    ssize_t n = ::read(fds[0], buf, sizeof buf);
    if (n <= 0) break;
    number.append(buf, static_cast<size_t>(n));
    if (number.find('\n') != std::string::npos) break;
  }
  ::close(fds[0]);
  if (number.empty() || number.find('\n') == std::string::npos) {
    g_why = "Xvfb did not report a display";
    TearDown();
    return;
  }
  number.erase(number.find('\n'));
  setenv("DISPLAY", (":" + number).c_str(), 1);
  g_ready = true;
}

void XvfbEnvironment::TearDown() {
  if (g_xvfb > 0) {
    ::kill(g_xvfb, SIGTERM);
    int status = 0;
    ::waitpid(g_xvfb, &status, 0);
    g_xvfb = -1;
  }
}

bool XvfbEnvironment::Ready() { return g_ready; }
const std::string& XvfbEnvironment::WhyNot() { return g_why; }

}  // namespace zevtest
