// Uses the installed library through its umbrella header.
#include <cstdio>

#include "zevutil/zevutil.h"

int main() {
  zev::CString s;
  s.Format("%ld", zev::DWORD(0xFFFFFFFF));
  if (s != "-1") return 1;
  std::printf("installed zevutil works\n");
  return 0;
}
