// Private to the GTK backend of the window layer: the exact-geometry container, the
// compact style, key translation and caption conversion shared by its files.
#pragma once

#include <gtk/gtk.h>

#include <algorithm>
#include <cstdint>
#include <string>

namespace zev::gtkhost {

// A child's rectangle in its parent's client area, as the window layer holds it.
struct PeerRect {
  int x = 0, y = 0, w = 0, h = 0;
};

// A container whose children get exactly their PeerRect and which asks for exactly
// its own PeerRect's size.
GtkWidget* NewFixedBox();
void SetPeerRect(GtkWidget* w, const PeerRect& r);
bool GetPeerRect(GtkWidget* w, PeerRect* out);

// Installs, once per screen, the dialog font and the compact padding that keep the
// theme's minimum sizes inside dialog-unit rectangles.
void InstallCompactStyle();
// The font every control is drawn (and so measured) with.
const char* DialogFontName();

// The virtual-key code of a GDK key event (letters upper case, as the old platform
// reports them), or 0 when the key has none.
uint32_t VirtualKeyOf(const GdkEventKey* ev);

// A caption's '&' mnemonic marks in GTK's '_' form ("&&" is a literal ampersand).
std::string MnemonicCaption(const std::string& text);

}  // namespace zev::gtkhost
