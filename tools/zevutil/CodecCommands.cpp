// lzss and grep commands.
#include "Commands.h"

namespace zevcli {
void AddCodecCommands(CLI::App&) {}
}  // namespace zevcli
