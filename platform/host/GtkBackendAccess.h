// What the real-window tests may ask of the GTK backend: the widgets that mirror a window.
#pragma once

// The layer's types first: GLib's TRUE and FALSE macros would spoil their declarations.
#include "zevutil/platform/Types.h"

#include <gtk/gtk.h>

namespace zev::gtkhost {

// The widget placed for a window (its GtkWindow for a top-level), or null when the window
// has no widgets (not shown yet, another thread's, or no GTK backend in use).
GtkWidget* PeerWidget(HWND hwnd);
// The widget that takes the window's input: the entry, tree view or button itself.
GtkWidget* PeerControl(HWND hwnd);
// The file chooser being shown now, or null.
GtkWidget* OpenFileChooser();

}  // namespace zev::gtkhost
