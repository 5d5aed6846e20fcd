// XTEST input and screenshots for the real-window tests.
#pragma once

#include <gtk/gtk.h>

#include <string>

namespace zevtest {

// The centre of a mapped widget in root-window coordinates.
bool WidgetCentre(GtkWidget* w, int* rx, int* ry);
// A left click, pressed and released, at a root position / on a widget's centre.
void ClickAt(int rx, int ry);
bool ClickWidget(GtkWidget* w);
// Presses and releases the key of each (unshifted, ASCII) character.
void TypeText(const char* text);
// Saves the top-level window and a small margin of the screen around it as a PNG in
// the folder ZEV_GUI_SHOTS names (the build folder's gui-shots).
bool Screenshot(GtkWidget* toplevel, const char* name);
std::string ShotPath(const char* name);

}  // namespace zevtest
