// crc and iub commands (filled in with the checksum and IUB code modules).
#include "Commands.h"

namespace zevcli {
void AddCoreCommands(CLI::App&) {}
}  // namespace zevcli
