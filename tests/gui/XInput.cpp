// Real input for the real-window tests, made through the XTEST extension as a user's
// mouse and keyboard would make it (GDK's own test helpers send core events that GTK,
// listening through XInput2, never sees), and in-process screenshots.
#include "gui/XInput.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <gdk/gdkx.h>

#include <cstdlib>
#include <filesystem>

namespace zevtest {
namespace {
Display* XDpy() { return gdk_x11_display_get_xdisplay(gdk_display_get_default()); }

void Settle() {
  Display* d = XDpy();
  XSync(d, False);
}
}  // namespace

bool WidgetCentre(GtkWidget* w, int* rx, int* ry) {
  GdkWindow* gw = gtk_widget_get_window(w);
  if (!gw || !gtk_widget_get_mapped(w)) return false;
  GtkAllocation a;
  gtk_widget_get_allocation(w, &a);
  // Allocations of windowless widgets are relative to the GdkWindow they draw on.
  int ox = 0, oy = 0;
  gdk_window_get_origin(gw, &ox, &oy);
  if (gtk_widget_get_has_window(w)) {
    *rx = ox + a.width / 2;
    *ry = oy + a.height / 2;
  } else {
    *rx = ox + a.x + a.width / 2;
    *ry = oy + a.y + a.height / 2;
  }
  return true;
}

void ClickAt(int rx, int ry) {
  Display* d = XDpy();
  XTestFakeMotionEvent(d, -1, rx, ry, 0);
  XTestFakeButtonEvent(d, 1, True, 0);
  XTestFakeButtonEvent(d, 1, False, 0);
  Settle();
}

bool ClickWidget(GtkWidget* w) {
  int x, y;
  if (!WidgetCentre(w, &x, &y)) return false;
  ClickAt(x, y);
  return true;
}

void TypeText(const char* text) {
  Display* d = XDpy();
  for (const char* c = text; *c; ++c) {
    KeyCode kc = XKeysymToKeycode(d, gdk_unicode_to_keyval(static_cast<guint32>(static_cast<unsigned char>(*c))));
    if (!kc) continue;
    XTestFakeKeyEvent(d, kc, True, 0);
    XTestFakeKeyEvent(d, kc, False, 0);
  }
  Settle();
}

std::string ShotPath(const char* name) {
  const char* dir = std::getenv("ZEV_GUI_SHOTS");
  std::filesystem::path p = dir && *dir ? dir : ".";
  std::error_code ec;
  std::filesystem::create_directories(p, ec);
  return (p / name).string();
}

bool Screenshot(GtkWidget* toplevel, const char* name) {
  GdkWindow* gw = gtk_widget_get_window(toplevel);
  if (!gw) return false;
  gdk_display_sync(gdk_display_get_default());
  int x = 0, y = 0;
  gdk_window_get_origin(gw, &x, &y);
  int w = gdk_window_get_width(gw), h = gdk_window_get_height(gw);
  // A margin of the root window around it shows whether anything spills over.
  int m = 8;
  int sx = std::max(0, x - m), sy = std::max(0, y - m);
  GdkPixbuf* pb = gdk_pixbuf_get_from_window(gdk_get_default_root_window(), sx, sy, w + (x - sx) + m, h + (y - sy) + m);
  if (!pb) return false;
  gboolean ok = gdk_pixbuf_save(pb, ShotPath(name).c_str(), "png", nullptr, nullptr);
  g_object_unref(pb);
  return ok;
}

}  // namespace zevtest
