// zevutil: the library's command-line face. Failures print one line and exit 2.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <unistd.h>

#include "Commands.h"
#include "zevutil/zevutil.h"

namespace zevcli {

int& ExitStatus() {
  static int status = 0;
  return status;
}

void WriteFileAtomically(const std::string& path, const std::string& bytes) {
  std::string tmp = path + ".tmp" + std::to_string(::getpid());
  {
    std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
    if (!out) throw CommandError("cannot write '" + path + "'");
    out.write(bytes.data(), std::streamsize(bytes.size()));
    out.flush();
    if (!out) {
      std::remove(tmp.c_str());
      throw CommandError("cannot write '" + path + "'");
    }
  }
  if (std::rename(tmp.c_str(), path.c_str()) != 0) {
    std::remove(tmp.c_str());
    throw CommandError("cannot write '" + path + "'");
  }
}

}  // namespace zevcli

int main(int argc, char** argv) {
  CLI::App app{"zevutil: look at and convert the sequencer suite's data with the ZevUtil library"};
  app.set_version_flag("--version", std::string("zevutil ") + ZEVUTIL_VERSION);
  app.require_subcommand(1);
  zevcli::AddCoreCommands(app);
  zevcli::AddHostCommands(app);
  zevcli::AddTraceCommands(app);
  zevcli::AddCodecCommands(app);
  zevcli::AddIdentityCommands(app);
  zevcli::AddObjectCommands(app);
  zevcli::AddPrintCommands(app);
  zevcli::AddExportCommands(app);
  zevcli::AddReportCommands(app);
  zevcli::AddBitmapCommands(app);
  zevcli::AddPropsCommands(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    std::fprintf(stderr, "zevutil: %s\n", e.what());
    return 2;
  } catch (const zevcli::CommandError& e) {
    std::fprintf(stderr, "zevutil: %s\n", e.what());
    return 2;
  } catch (zev::CException* e) {
    std::string text = e->GetMessageText().GetString();
    e->Delete();
    std::fprintf(stderr, "zevutil: %s\n", text.empty() ? "library error" : text.c_str());
    return 2;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "zevutil: %s\n", e.what());
    return 2;
  }
  return zevcli::ExitStatus();
}
