// Version resources from any bytes: the input as a file image (PE or ELF) read by
// ReadFileVersion, and as a VS_VERSIONINFO block queried directly.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "identity/VersionResource.h"
#include "zevutil/CZevVersionID.h"

using namespace zev;

namespace {

const std::string& ScratchFile() {
  static const zevfuzz::ScratchFolder folder("zev_version_fuzz_");
  static const std::string path = (folder.path / "image.bin").string();
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
  {
    std::string path = ScratchFile();
    zevfuzz::WriteFile(path, data, size);
    CZevVersionID version;
    int year = 0;
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
