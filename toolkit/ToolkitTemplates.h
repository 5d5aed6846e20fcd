// The toolkit's own dialog templates, laid out in code and registered under their names and
// numbers the first time a toolkit dialog is made.
#pragma once

namespace zev {

// Registers "IDD_FLEXMSGBOX", 11022, 11023, 11401, 11402 and "IDD_PRINTSTATUS" once per process; later calls
// do nothing.
void RegisterToolkitTemplates();

}  // namespace zev
