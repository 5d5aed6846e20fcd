// dump and convert commands.
#include "Commands.h"

namespace zevcli {
void AddTraceCommands(CLI::App&) {}
}  // namespace zevcli
