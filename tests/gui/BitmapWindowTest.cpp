// Bitmaps in real windows: SS_BITMAP statics under the GTK backend show their image
// with every index mapped through the bitmap's colour table.
#include <gtest/gtest.h>

#include <functional>

#include "platform/window/WindowBackend.h"
#include "zevutil/CDib.h"
#include "zevutil/platform/Window.h"
#include "zevutil/platform/WindowTesting.h"
// GLib's TRUE and FALSE macros come after the layer's constants of the same names.
#include "gui/XInput.h"
#include "gui/XvfbEnvironment.h"
#include "platform/host/GtkBackendAccess.h"

namespace zev {
namespace {

constexpr WORD kIdLogo = 201, kIdStripes = 202, kIdCaption = 203;

INT_PTR BitmapDlgProc(HWND, UINT msg, WPARAM, LPARAM) { return msg == WM_INITDIALOG ? 1 : 0; }

// Runs the layer's loop until the window is mapped and has had time to draw.
void Settle(HWND dlg, int ms = 300) {
  UINT_PTR tick = SetTimer(nullptr, 0, 10, nullptr);
  const ULONGLONG end = GetClock().Now() + ULONGLONG(ms);
  MSG m;
  while (GetClock().Now() < end || !(gtkhost::PeerWidget(dlg) && gtk_widget_get_mapped(gtkhost::PeerWidget(dlg)))) {
    if (GetClock().Now() > end + 3000 || GetMessageA(&m, nullptr, 0, 0) <= 0) break;
    if (IsDialogMessageA(dlg, &m)) continue;
    TranslateMessage(&m);
    DispatchMessageA(&m);
  }
  KillTimer(nullptr, tick);
}

// The screen colour at a point of a control's client area, as a COLORREF.
COLORREF ScreenColour(HWND ctl, int x, int y) {
  POINT p{x, y};
  ClientToScreen(ctl, &p);
  GtkWidget* w = gtkhost::PeerWidget(GetParent(ctl));
  int ox = 0, oy = 0;
  gdk_window_get_origin(gtk_widget_get_window(w), &ox, &oy);
  POINT origin{0, 0};
  ClientToScreen(GetParent(ctl), &origin);
  // The layer's screen coordinates and the X server's may differ by the frame: go
  // through the dialog's client origin on both sides.
  const int rx = ox + (p.x - origin.x), ry = oy + (p.y - origin.y);
  gdk_display_sync(gdk_display_get_default());
  GdkPixbuf* pb = gdk_pixbuf_get_from_window(gdk_get_default_root_window(), rx, ry, 1, 1);
  if (!pb) return CLR_INVALID;
  const guchar* px = gdk_pixbuf_get_pixels(pb);
  COLORREF c = RGB(px[0], px[1], px[2]);
  g_object_unref(pb);
  return c;
}

TEST(GtkBitmaps, AStaticShowsItsBitmapThroughTheColourTable) {
  ZEV_REQUIRE_DISPLAY();
  ASSERT_STREQ(wnd::Backend().Name(), "gtk");

  // Four vertical stripes whose indices run backwards through a table of four colours:
  // a drawing that used the indices as grey levels or kept them in order would show.
  const COLORREF table[4] = {RGB(200, 30, 40), RGB(20, 160, 60), RGB(30, 80, 220), RGB(250, 200, 0)};
  CDib stripes;
  ASSERT_TRUE(stripes.Create(64, 24, 4));
  for (int i = 0; i < 4; ++i)
    stripes.GetColorTable()[i] = QRGB(GetRValue(table[i]), GetGValue(table[i]), GetBValue(table[i]));
  for (int y = 0; y < 24; ++y)
    for (int x = 0; x < 64; ++x) *stripes.GetPixelAddress(x, y) = BYTE(3 - x / 16);
  HBITMAP stripesBmp = stripes.CreateBitmap();
  ASSERT_NE(stripesBmp, nullptr);
  HBITMAP logo = LoadBitmapA(nullptr, MAKEINTRESOURCE(IDB_ZEV_LOGO));
  ASSERT_NE(logo, nullptr);

  DialogTemplate t(WS_POPUP | WS_CAPTION | DS_MODALFRAME | WS_VISIBLE, 30, 30, 180, 70, "Bitmaps");
  t.Control("", kIdLogo, "Static", WS_CHILD | WS_VISIBLE | SS_BITMAP, 8, 8, 48, 48)
      .Control("", kIdStripes, "Static", WS_CHILD | WS_VISIBLE | SS_BITMAP | SS_CENTERIMAGE, 64, 8, 100, 24)
      .LText("The logo (left) and four stripes drawn through their colour table.", kIdCaption, 64, 36, 108, 24);
  HWND dlg = CreateDialogIndirectParamA(nullptr, &t, nullptr, BitmapDlgProc, 0);
  ASSERT_NE(dlg, nullptr);
  SendDlgItemMessageA(dlg, kIdLogo, STM_SETIMAGE, IMAGE_BITMAP, reinterpret_cast<LPARAM>(logo));
  SendDlgItemMessageA(dlg, kIdStripes, STM_SETIMAGE, IMAGE_BITMAP, reinterpret_cast<LPARAM>(stripesBmp));
  Settle(dlg);
  EXPECT_TRUE(zevtest::Screenshot(gtkhost::PeerWidget(dlg), "bitmaps.png"));

  HWND ctl = GetDlgItem(dlg, kIdStripes);
  RECT r{};
  GetClientRect(ctl, &r);
  const int x0 = (r.right - 64) / 2, y0 = (r.bottom - 24) / 2;
  for (int stripe = 0; stripe < 4; ++stripe) {
    SCOPED_TRACE(stripe);
    EXPECT_EQ(ScreenColour(ctl, x0 + stripe * 16 + 8, y0 + 12), table[3 - stripe]);
  }
  // The logo's corner pixel is its background (index 0), its frame is table entry 1.
  HWND logoCtl = GetDlgItem(dlg, kIdLogo);
  CDib logoDib;
  ASSERT_TRUE(logoDib.LoadResource(IDB_ZEV_LOGO));
  for (POINT p : {POINT{0, 0}, POINT{32, 2}, POINT{20, 30}}) {
    SCOPED_TRACE(testing::Message() << p.x << "," << p.y);
    EXPECT_EQ(ScreenColour(logoCtl, p.x, p.y), logoDib.GetPixelColor(p.x, p.y));
  }

  DestroyWindow(dlg);
  DeleteObject(stripesBmp);
  DeleteObject(logo);
  ResetWindowTestState();
}

}  // namespace
}  // namespace zev
