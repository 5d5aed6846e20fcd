// The records behind drawing-object and device-context handles, shared by the
// portable device-layer files.
#pragma once
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "GdiDevice.h"

namespace zev::gdi {

// Handles are the addresses of these records; a registry tells live handles from
// stale ones, so a deleted handle is refused instead of being read.
void RegisterHandle(const void* h);
void UnregisterHandle(const void* h);
bool IsLiveHandle(const void* h);
// The first word of a live handle's record, which tells the kinds apart.
inline std::uint32_t MagicOf(const void* h) {
  std::uint32_t m;
  std::memcpy(&m, h, sizeof m);
  return m;
}

struct GdiObject {
  static constexpr std::uint32_t kMagic = 0x6F626A31;  // first word, tells objects from contexts
  std::uint32_t magic = kMagic;
  DWORD type = 0;
  bool stock = false;
  bool deleted = false;  // DeleteObject ran while it was selected
  int selected = 0;      // contexts (and saved states) holding it
  LOGFONTA font{};
  LOGPEN pen{};
  LOGBRUSH brush{};
  std::shared_ptr<const BitmapData> bitmap;
  std::shared_ptr<const FontMetrics> hostMetrics;  // the host's font for it, once resolved
  CGdiObject* permanent = nullptr;              // the wrapper that owns the handle
  std::unique_ptr<CGdiObject> temp;             // FromHandle's wrapper
};

GdiObject* ObjectOf(HGDIOBJ h);  // null unless a live, undeleted object
GdiObject* NewObject(DWORD type);
GdiObject* StockObject(int index);
void ReleaseObject(GdiObject* o);  // frees a deleted object no context holds
void Deselect(GdiObject* o);

// The state of a context that SaveDC keeps.
struct DcState {
  int mapMode = MM_TEXT;
  UINT align = TA_LEFT | TA_TOP;
  int bkMode = OPAQUE;
  COLORREF bkColor = 0xFFFFFF;
  COLORREF textColor = 0;
  int charExtra = 0;
  GdiObject* font = nullptr;
  GdiObject* pen = nullptr;
  GdiObject* brush = nullptr;
  GdiObject* bitmap = nullptr;  // memory contexts
  POINT pos{0, 0};
  bool hasClip = false;
  RECT clip{0, 0, 0, 0};  // device units
};

struct DeviceContext {
  static constexpr std::uint32_t kMagic = 0x64637831;
  std::uint32_t magic = kMagic;
  std::unique_ptr<Surface> surface;  // null for a memory context
  DcState st;
  std::vector<DcState> saved;
  ABORTPROC abortProc = nullptr;
  bool docOpen = false;
  bool pageOpen = false;
  int pagesStarted = 0;
  std::unique_ptr<CDC> temp;  // FromHandle's wrapper
  CDC* permanent = nullptr;
  std::shared_ptr<const FontMetrics> fontMetrics;  // of st.font on this surface
};

DeviceContext* ContextOf(HDC dc);  // null unless a live context
// A new context on a surface (null: a memory context).
HDC NewContext(std::unique_ptr<Surface> surface);

// Draws the source rectangle (xs, ys, ws, hs; top-down rows) of a bitmap into the
// logical rectangle (x, y, w, h); records the call on a test device. A missing bitmap
// or an empty rectangle draws nothing and still succeeds.
BOOL BlitBitmap(DeviceContext* c, int x, int y, int w, int h, const BitmapData* bmp, int xs, int ys, int ws, int hs);

// The test device.
std::unique_ptr<Surface> NewTestSurface(const TestDeviceOptions& options);
// A registered test printer by name.
bool FindTestPrinter(const std::string& name, TestDeviceOptions& options);

}  // namespace zev::gdi
