// Path split and join in four parts (_splitpath, _makepath).
// Contract: pure text operations, no file system access; both '/' and '\' separate
// directories; every output stays within its documented size.
#include <cstring>
#include <string>

#include "zevutil/platform/FileFind.h"

namespace zev {

namespace {
// Copies n bytes of src into an output of the given capacity, cutting to fit.
void CopyPart(char* out, size_t capacity, const char* src, size_t n) {
  if (!out) return;
  if (n > capacity - 1) n = capacity - 1;
  std::memcpy(out, src, n);
  out[n] = '\0';
}
}  // namespace

void _splitpath(const char* path, char* drive, char* dir, char* fname, char* ext) {
  if (!path) path = "";
  const char* p = path;
  if (p[0] && p[1] == ':') {
    CopyPart(drive, _MAX_DRIVE, p, 2);
    p += 2;
  } else {
    CopyPart(drive, _MAX_DRIVE, p, 0);
  }
  const char* lastSep = nullptr;
  const char* lastDot = nullptr;
  for (const char* q = p; *q; ++q) {
    if (*q == '/' || *q == '\\') {
      lastSep = q;
      lastDot = nullptr;
    } else if (*q == '.') {
      lastDot = q;
    }
  }
  const char* name = p;
  if (lastSep) {
    CopyPart(dir, _MAX_DIR, p, size_t(lastSep + 1 - p));
    name = lastSep + 1;
  } else {
    CopyPart(dir, _MAX_DIR, p, 0);
  }
  size_t nameLen = std::strlen(name);
  if (lastDot) {
    CopyPart(fname, _MAX_FNAME, name, size_t(lastDot - name));
    CopyPart(ext, _MAX_EXT, lastDot, nameLen - size_t(lastDot - name));
  } else {
    CopyPart(fname, _MAX_FNAME, name, nameLen);
    CopyPart(ext, _MAX_EXT, name + nameLen, 0);
  }
}

std::string MakePath(const char* drive, const char* dir, const char* fname, const char* ext) {
  std::string out;
  if (drive && drive[0]) {
    out += drive[0];
    out += ':';
  }
  if (dir && dir[0]) {
    out += dir;
    if (out.back() != '/' && out.back() != '\\') out += '\\';
  }
  if (fname) out += fname;
  if (ext && ext[0]) {
    if (ext[0] != '.') out += '.';
    out += ext;
  }
  return out;
}

void _makepath(char* path, const char* drive, const char* dir, const char* fname, const char* ext) {
  if (!path) return;
  // The old runtime trusted the caller's _MAX_PATH buffer; the join stops at its end.
  std::string joined = MakePath(drive, dir, fname, ext);
  CopyPart(path, _MAX_PATH, joined.data(), joined.size());
}

}  // namespace zev
