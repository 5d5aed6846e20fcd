// reg, ini and ps commands.
#include "Commands.h"

namespace zevcli {
void AddHostCommands(CLI::App&) {}
}  // namespace zevcli
