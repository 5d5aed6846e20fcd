// Version resources from any bytes: the input as a file image (PE or ELF) read by
// ReadFileVersion, and as a VS_VERSIONINFO block queried directly.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "identity/VersionResource.h"
#include "zevutil/CZevVersionID.h"

using namespace zev;

namespace {

const std::string& ScratchFile() {
  static const std::string path = [] {
    const char* dir = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    return std::string(dir) + "/zev_version_fuzz_" + std::to_string(getpid()) + ".bin";
  }();
  return path;
}

void Query(const std::vector<BYTE>& block) {
  identity::FixedFileInfo info;
  identity::QueryFixedFileInfo(block, info);
  std::string text;
  for (const char* path : {"\\StringFileInfo\\040904B0\\ProductName", "\\StringFileInfo\\040904B0\\LegalCopyright",
                           "\\VarFileInfo\\Translation", "\\", "\\\\\\", "\\StringFileInfo"})
    identity::QueryVersionString(block, path, text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // As a file, the way callers meet it.
  if (FILE* f = std::fopen(ScratchFile().c_str(), "wb")) {
    if (size) std::fwrite(data, 1, size, f);
    std::fclose(f);
    CZevVersionID version;
    int year = 0;
    std::string path = ScratchFile();
    version.ReadFileVersion(path.data(), &year);
    CString text;
    version.GetIDString(text);
  }
  // As an image and as a block.
  std::vector<BYTE> block;
  if (identity::ExtractVersionBlock(data, size, block)) Query(block);
  Query(std::vector<BYTE>(data, data + size));
  return 0;
}
