// Leak reports that belong to host libraries, not to us, for builds with
// AddressSanitizer: fontconfig keeps the configuration it parses once per process
// (freed only by FcFini, which cannot run while cairo still holds fonts). One list
// for the whole library; add a host library's own one-time allocations here.
#if defined(__SANITIZE_ADDRESS__)
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
#endif
