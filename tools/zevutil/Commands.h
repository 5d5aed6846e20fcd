// The command families of the zevutil program. Each family adds its subcommands to
// the application; a command reports failure by throwing CommandError.
#pragma once
#include <CLI/CLI.hpp>
#include <stdexcept>
#include <string>

namespace zevcli {

// One clear line on stderr and exit status 2.
struct CommandError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Exit status a command asks for (0 unless a command sets it, as `ps` does).
int& ExitStatus();

// Reads a whole file ("-" is standard input); throws CommandError when it can't.
std::string ReadWholeFile(const std::string& path);
// Writes through a temporary name and a rename, so that a failure leaves no partial file.
void WriteFileAtomically(const std::string& path, const std::string& bytes);

void AddCoreCommands(CLI::App& app);   // crc, iub
void AddHostCommands(CLI::App& app);   // reg, ini, ps
void AddTraceCommands(CLI::App& app);  // dump, convert
void AddCodecCommands(CLI::App& app);  // lzss, grep
void AddIdentityCommands(CLI::App& app);  // id, version
void AddObjectCommands(CLI::App& app);    // colors, calib
void AddPrintCommands(CLI::App& app);     // print, printers
void AddExportCommands(CLI::App& app);    // export
void AddReportCommands(CLI::App& app);    // report
void AddBitmapCommands(CLI::App& app);    // bitmap merge|replace|info
void AddPropsCommands(CLI::App& app);     // props

}  // namespace zevcli
