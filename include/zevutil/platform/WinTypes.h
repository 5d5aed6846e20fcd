// Handles and geometry records shared by the device layer and the window layer.
#pragma once
#include "zevutil/platform/Types.h"

namespace zev {

struct HFONT__;
struct HBRUSH__;
using HFONT = HFONT__*;
using HBRUSH = HBRUSH__*;

struct POINT {
  LONG x;
  LONG y;
};
struct SIZE {
  LONG cx;
  LONG cy;
};
struct RECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};
using LPPOINT = POINT*;
using LPSIZE = SIZE*;
using LPRECT = RECT*;
using LPCRECT = const RECT*;

}  // namespace zev
