// The GTK backend's look and keys: one compact style sheet at application priority,
// the virtual-key codes of key events, and caption mnemonics.
#include "platform/host/GtkPeers.h"

#include <gdk/gdkkeysyms.h>

namespace zev::gtkhost {

const char* DialogFontName() { return "Liberation Sans 9"; }

void InstallCompactStyle() {
  GdkScreen* screen = gdk_screen_get_default();
  if (!screen || g_object_get_data(G_OBJECT(screen), "zev-compact-style")) return;
  // Adwaita's push button alone asks for 34 px, more than the 14 dialog units a
  // template gives it; these rules bring every control under its rectangle.
  static const char kCss[] =
      "* { font-family: 'Liberation Sans'; font-size: 9pt; }\n"
      "button { padding: 1px 4px; min-height: 0; min-width: 0; }\n"
      "checkbutton, radiobutton { padding: 0; min-height: 0; }\n"
      "checkbutton check, radiobutton radio { min-width: 12px; min-height: 12px; margin: 0 4px 0 0; }\n"
      "entry { padding: 1px 4px; min-height: 0; min-width: 0; }\n"
      "combobox button, combobox entry { padding: 1px 4px; min-height: 0; min-width: 0; }\n"
      "combobox arrow { min-width: 12px; min-height: 12px; }\n"
      "progressbar trough, progressbar progress { min-height: 12px; min-width: 0; }\n"
      "progressbar.horizontal trough, progressbar.horizontal progress { min-height: 12px; min-width: 0; }\n"
      "progressbar { -GtkProgressBar-min-horizontal-bar-width: 1; -GtkProgressBar-min-horizontal-bar-height: 1; }\n"
      "notebook tab { padding: 2px 6px; min-height: 0; min-width: 0; }\n"
      "notebook header.top tabs { margin: 0; }\n"
      "treeview.view { padding: 0 2px; }\n"
      "scrollbar slider { min-width: 6px; min-height: 6px; }\n"
      "frame > border { border-radius: 0; }\n";
  GtkCssProvider* css = gtk_css_provider_new();
  gtk_css_provider_load_from_data(css, kCss, -1, nullptr);
  gtk_style_context_add_provider_for_screen(screen, GTK_STYLE_PROVIDER(css), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  g_object_unref(css);
  g_object_set_data(G_OBJECT(screen), "zev-compact-style", GINT_TO_POINTER(1));
}

uint32_t VirtualKeyOf(const GdkEventKey* ev) {
  guint k = gdk_keyval_to_upper(ev->keyval);
  if ((k >= GDK_KEY_A && k <= GDK_KEY_Z) || (k >= GDK_KEY_0 && k <= GDK_KEY_9)) return k;
  if (k >= GDK_KEY_F1 && k <= GDK_KEY_F24) return 0x70 + (k - GDK_KEY_F1);
  if (k >= GDK_KEY_KP_0 && k <= GDK_KEY_KP_9) return 0x60 + (k - GDK_KEY_KP_0);
  switch (k) {
    case GDK_KEY_BackSpace: return 0x08;
    case GDK_KEY_Tab:
    case GDK_KEY_ISO_Left_Tab: return 0x09;
    case GDK_KEY_Return:
    case GDK_KEY_KP_Enter: return 0x0D;
    case GDK_KEY_Shift_L:
    case GDK_KEY_Shift_R: return 0x10;
    case GDK_KEY_Control_L:
    case GDK_KEY_Control_R: return 0x11;
    case GDK_KEY_Alt_L:
    case GDK_KEY_Alt_R: return 0x12;
    case GDK_KEY_Pause: return 0x13;
    case GDK_KEY_Caps_Lock: return 0x14;
    case GDK_KEY_Escape: return 0x1B;
    case GDK_KEY_space: return 0x20;
    case GDK_KEY_Page_Up: return 0x21;
    case GDK_KEY_Page_Down: return 0x22;
    case GDK_KEY_End: return 0x23;
    case GDK_KEY_Home: return 0x24;
    case GDK_KEY_Left: return 0x25;
    case GDK_KEY_Up: return 0x26;
    case GDK_KEY_Right: return 0x27;
    case GDK_KEY_Down: return 0x28;
    case GDK_KEY_Insert: return 0x2D;
    case GDK_KEY_Delete: return 0x2E;
    case GDK_KEY_KP_Multiply: return 0x6A;
    case GDK_KEY_KP_Add: return 0x6B;
    case GDK_KEY_KP_Subtract: return 0x6D;
    case GDK_KEY_KP_Decimal: return 0x6E;
    case GDK_KEY_KP_Divide: return 0x6F;
    case GDK_KEY_semicolon:
    case GDK_KEY_colon: return 0xBA;
    case GDK_KEY_equal:
    case GDK_KEY_plus: return 0xBB;
    case GDK_KEY_comma:
    case GDK_KEY_less: return 0xBC;
    case GDK_KEY_minus:
    case GDK_KEY_underscore: return 0xBD;
    case GDK_KEY_period:
    case GDK_KEY_greater: return 0xBE;
    case GDK_KEY_slash:
    case GDK_KEY_question: return 0xBF;
    default: break;
  }
  // Shifted digits and other printable keys: the unshifted key of the same keycode.
  guint lower = 0;
  if (ev->hardware_keycode && gdk_keymap_translate_keyboard_state(gdk_keymap_get_for_display(gdk_window_get_display(ev->window)),
                                                                  ev->hardware_keycode, GdkModifierType(0), 0, &lower,
                                                                  nullptr, nullptr, nullptr)) {
    guint up = gdk_keyval_to_upper(lower);
    if ((up >= GDK_KEY_A && up <= GDK_KEY_Z) || (up >= GDK_KEY_0 && up <= GDK_KEY_9)) return up;
  }
  return 0;
}

std::string MnemonicCaption(const std::string& s) {
  std::string r;
  r.reserve(s.size() + 2);
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '&' && i + 1 < s.size() && s[i + 1] == '&') {
      r += '&';
      ++i;
    } else if (s[i] == '&') {
      r += '_';
    } else if (s[i] == '_') {
      r += "__";
    } else {
      r += s[i];
    }
  }
  return r;
}

}  // namespace zev::gtkhost
