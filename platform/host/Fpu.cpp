// The floating-point control word in the old layout, backed by <fenv.h>: rounding
// mode and trapped exceptions everywhere, and on x86 the x87 precision control too.
#include <fenv.h>

#include "zevutil/platform/Print.h"

namespace zev {

namespace {

unsigned int Read() {
  unsigned int cw = 0;
  switch (fegetround()) {
    case FE_DOWNWARD: cw |= _RC_DOWN; break;
    case FE_UPWARD: cw |= _RC_UP; break;
    case FE_TOWARDZERO: cw |= _RC_CHOP; break;
    default: break;
  }
  // A set _EM_ bit means the exception is masked (not trapped).
  int trapped = 0;
#if defined(__GLIBC__)
  trapped = fegetexcept();
#endif
  if (!(trapped & FE_INVALID)) cw |= _EM_INVALID;
  if (!(trapped & FE_DIVBYZERO)) cw |= _EM_ZERODIVIDE;
  if (!(trapped & FE_OVERFLOW)) cw |= _EM_OVERFLOW;
  if (!(trapped & FE_UNDERFLOW)) cw |= _EM_UNDERFLOW;
  if (!(trapped & FE_INEXACT)) cw |= _EM_INEXACT;
  cw |= _EM_DENORMAL;  // never trapped here
#if defined(__i386__) || defined(__x86_64__)
  unsigned short x87 = 0;
  __asm__ volatile("fnstcw %0" : "=m"(x87));
  switch ((x87 >> 8) & 3) {
    case 0: cw |= _PC_24; break;
    case 2: cw |= _PC_53; break;
    default: cw |= _PC_64; break;
  }
#else
  cw |= _PC_53;
#endif
  return cw;
}

void Write(unsigned int cw, unsigned int mask) {
  if (mask & MCW_RC) {
    switch (cw & MCW_RC) {
      case _RC_DOWN: fesetround(FE_DOWNWARD); break;
      case _RC_UP: fesetround(FE_UPWARD); break;
      case _RC_CHOP: fesetround(FE_TOWARDZERO); break;
      default: fesetround(FE_TONEAREST); break;
    }
  }
#if defined(__GLIBC__)
  struct Bit {
    unsigned int em;
    int fe;
  };
  static const Bit bits[] = {{_EM_INVALID, FE_INVALID},
                             {_EM_ZERODIVIDE, FE_DIVBYZERO},
                             {_EM_OVERFLOW, FE_OVERFLOW},
                             {_EM_UNDERFLOW, FE_UNDERFLOW},
                             {_EM_INEXACT, FE_INEXACT}};
  for (const Bit& b : bits) {
    if (!(mask & b.em)) continue;
    if (cw & b.em) {
      fedisableexcept(b.fe);
    } else {
      feclearexcept(b.fe);  // a pending flag would trap at once
      feenableexcept(b.fe);
    }
  }
#endif
#if defined(__i386__) || defined(__x86_64__)
  if (mask & MCW_PC) {
    unsigned short x87 = 0;
    __asm__ volatile("fnstcw %0" : "=m"(x87));
    unsigned short pc = (cw & MCW_PC) == _PC_24 ? 0 : (cw & MCW_PC) == _PC_53 ? 2 : 3;
    x87 = static_cast<unsigned short>((x87 & ~0x300u) | (pc << 8));
    __asm__ volatile("fldcw %0" : : "m"(x87));
  }
#endif
}

}  // namespace

unsigned int _control87(unsigned int newValue, unsigned int mask) {
  if (mask) Write(newValue, mask);
  return Read();
}

}  // namespace zev
