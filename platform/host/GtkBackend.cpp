// The GTK 3 backend of the window layer: mirrors the layer's windows as real widgets, turns
// clicks and edits into the layer's input calls, catches keys at the top level so that they
// pass through the layer's queue and hooks first, and waits inside GLib's main context.
//
// Contract: the layer owns all state and every loop; this backend never runs gtk_main or
// gtk_dialog_run. Only the thread that opened the display gets widgets; windows of other
// threads stay headless and their loops use DefaultWait. A top-level window gets its widgets
// when it is first shown, its children with it. Disabled top-level windows refuse input
// without greying; disabled controls are greyed by GTK.
#include "window/WindowBackend.h"
#include "GdiInternal.h"

#include <climits>
#include <map>
#include <mutex>
#include <unordered_map>

#include "platform/host/GtkBackendAccess.h"
#include "platform/host/GtkPeers.h"

#include <pango/pangocairo.h>

namespace zev::gtkhost {
namespace {

using wnd::ControlKind;
using wnd::ControlView;
using wnd::StateChange;
using wnd::WindowView;

GQuark HwndQuark() {
  static GQuark q = g_quark_from_static_string("zev-hwnd");
  return q;
}
void TagWidget(GtkWidget* w, HWND hwnd) { g_object_set_qdata(G_OBJECT(w), HwndQuark(), hwnd); }
HWND TagOf(GtkWidget* w) { return w ? static_cast<HWND>(g_object_get_qdata(G_OBJECT(w), HwndQuark())) : nullptr; }

// The window a widget stands for: the nearest tagged widget at or above it.
HWND HwndOfWidget(GtkWidget* w) {
  for (; w; w = gtk_widget_get_parent(w))
    if (HWND h = TagOf(w)) return h;
  return nullptr;
}

// Window text is 8-bit; GTK wants UTF-8. Text that is not UTF-8 is read as Windows-1252.
std::string ToUtf8(const std::string& s) {
  if (g_utf8_validate(s.data(), static_cast<gssize>(s.size()), nullptr)) return s;
  gsize written = 0;
  gchar* u = g_convert_with_fallback(s.data(), static_cast<gssize>(s.size()), "UTF-8", "WINDOWS-1252", "?", nullptr,
                                     &written, nullptr);
  if (!u) u = g_convert(s.data(), static_cast<gssize>(s.size()), "UTF-8", "ISO-8859-1", nullptr, &written, nullptr);
  std::string r = u ? std::string(u, written) : std::string();
  g_free(u);
  return r;
}

// A multi-line edit keeps CR LF line ends; GTK's text buffer has LF only.
std::string ToBufferText(const std::string& s) {
  std::string r;
  r.reserve(s.size());
  for (size_t i = 0; i < s.size(); ++i)
    if (!(s[i] == '\r' && i + 1 < s.size() && s[i + 1] == '\n')) r += s[i];
  return ToUtf8(r);
}
std::string FromBufferText(const char* s) {
  std::string r;
  for (; *s; ++s) {
    if (*s == '\n') r += '\r';
    r += *s;
  }
  return r;
}

PeerRect ToPeerRect(const RECT& r, int dx, int dy) {
  return {r.left + dx, r.top + dy, r.right - r.left, r.bottom - r.top};
}

class GtkWindowBackend;
GtkWindowBackend* g_backend = nullptr;

// Key events taken into the layer's queue come back here on their second pass.
thread_local bool t_reinjecting = false;

class GtkWindowBackend final : public wnd::WindowBackend {
 public:
  GtkWindowBackend() : m_thread(GetCurrentThreadId()) {
    InstallCompactStyle();
    SIZE letters = MeasureText(nullptr, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", 0);
    m_baseUnits = {(letters.cx / 26 + 1) / 2, letters.cy};
    static GSourceFuncs funcs = {WaitPrepare, WaitCheck, WaitDispatch, nullptr, nullptr, nullptr};
    gdk_event_handler_set(OnAnyEvent, nullptr, nullptr);
    m_source = g_source_new(&funcs, sizeof(GSource));
    g_source_set_priority(m_source, G_PRIORITY_DEFAULT);
    g_source_attach(m_source, nullptr);
    if (GdkScreen* screen = gdk_screen_get_default()) {
      GdkRectangle area{0, 0, 0, 0};
      if (GdkMonitor* m = gdk_display_get_primary_monitor(gdk_screen_get_display(screen)))
        gdk_monitor_get_geometry(m, &area);
      else if (GdkMonitor* m0 = gdk_display_get_monitor(gdk_screen_get_display(screen), 0))
        gdk_monitor_get_geometry(m0, &area);
      if (area.width > 0) {
        SetSystemMetric(SM_CXSCREEN, area.width);
        SetSystemMetric(SM_CYSCREEN, area.height);
      }
    }
  }

  ~GtkWindowBackend() override {
    for (auto& [token, ev] : m_tokens) gdk_event_free(ev);
    m_tokens.clear();
    if (m_source) {
      g_source_destroy(m_source);
      g_source_unref(m_source);
    }
    if (m_measure) gtk_widget_destroy(m_measure), g_object_unref(m_measure);
  }

  const char* Name() const override { return "gtk"; }

  // ---- told of changes ----
  void WindowCreated(HWND hwnd) override {
    if (!OnMyThread()) return;
    WindowView v;
    if (!wnd::GetWindowView(hwnd, &v) || !v.parent) return;
    // A child of a window that already has widgets gets its own at once.
    if (Peer* p = Find(v.parent); p && p->box) Materialize(hwnd);
  }

  void WindowDestroyed(HWND hwnd) override {
    if (!OnMyThread()) return;  // windows of other threads have no widgets
    auto it = m_peers.find(hwnd);
    if (it == m_peers.end()) return;
    Peer p = it->second;
    m_peers.erase(it);
    if (p.outer) {
      TagWidget(p.outer, nullptr);
      if (p.control) TagWidget(p.control, nullptr);
      if (GTK_IS_NOTEBOOK(p.outer)) {
        Guard g(m_syncing);
        while (gtk_notebook_get_n_pages(GTK_NOTEBOOK(p.outer)) > 0) gtk_notebook_remove_page(GTK_NOTEBOOK(p.outer), -1);
      }
      if (!p.topLevel) ForgetFocusAndDefault(p.outer);
      gtk_widget_destroy(p.outer);
    }
    if (p.radioSink) {
      gtk_widget_destroy(p.radioSink);
      g_object_unref(p.radioSink);
    }
  }

  void WindowMoved(HWND hwnd) override {
    if (!OnMyThread()) return;  // windows of other threads have no widgets
    Peer* p = Find(hwnd);
    if (!p) return;
    WindowView v;
    if (!wnd::GetWindowView(hwnd, &v)) return;
    if (p->topLevel) {
      SetPeerRect(p->box, {0, 0, v.clientRect.right - v.clientRect.left, v.clientRect.bottom - v.clientRect.top});
      // A move the window manager made is only being recorded: placing the window again
      // would make it walk by the size of its frame.
      if (!m_syncing) gtk_window_move(GTK_WINDOW(p->outer), v.clientRect.left, v.clientRect.top);
      gtk_window_resize(GTK_WINDOW(p->outer), std::max(1, int(v.clientRect.right - v.clientRect.left)),
                        std::max(1, int(v.clientRect.bottom - v.clientRect.top)));
    } else {
      SetPeerRect(p->outer, ChildRect(v));
    }
  }

  void WindowShown(HWND hwnd, bool visible) override {
    if (!OnMyThread()) return;
    Peer* p = Find(hwnd);
    if (!p && visible) {
      WindowView v;
      if (!wnd::GetWindowView(hwnd, &v)) return;
      if (v.parent) {
        if (Peer* pp = Find(v.parent); !pp || !pp->box) return;
      }
      Materialize(hwnd);
      p = Find(hwnd);
    }
    if (!p) return;
    if (p->topLevel) {
      if (visible) {
        gtk_widget_show(p->box);
        gtk_widget_show(p->outer);
      } else {
        gtk_widget_hide(p->outer);
      }
    } else {
      gtk_widget_set_visible(p->outer, visible);
    }
  }

  void WindowEnabled(HWND hwnd, bool enabled) override {
    if (!OnMyThread()) return;  // windows of other threads have no widgets
    Peer* p = Find(hwnd);
    // A disabled top-level refuses input in the capture handler, without greying.
    if (!p || p->topLevel) return;
    gtk_widget_set_sensitive(p->outer, enabled);
  }

  void WindowTextChanged(HWND hwnd) override {
    if (!OnMyThread()) return;  // windows of other threads have no widgets
    Peer* p = Find(hwnd);
    if (!p) return;
    WindowView v;
    if (!wnd::GetWindowView(hwnd, &v)) return;
    Guard g(m_syncing);
    ApplyText(*p, v);
  }

  void WindowParentChanged(HWND hwnd) override {
    if (!OnMyThread()) return;  // windows of other threads have no widgets
    // Simplest faithful mirror: drop the widgets and make them again under the new parent.
    if (!Find(hwnd)) return;
    std::vector<HWND> subtree;
    CollectSubtree(hwnd, &subtree);
    for (auto it = subtree.rbegin(); it != subtree.rend(); ++it) WindowDestroyed(*it);
    WindowView v;
    if (wnd::GetWindowView(hwnd, &v) && (!v.parent || (Find(v.parent) && Find(v.parent)->box)) && v.visible)
      Materialize(hwnd);
  }

  void WindowZOrderChanged(HWND hwnd) override {
    if (!OnMyThread()) return;  // windows of other threads have no widgets
    Peer* p = Find(hwnd);
    if (p && p->topLevel && gtk_widget_get_visible(p->outer)) gtk_window_present(GTK_WINDOW(p->outer));
  }

  void ControlChanged(HWND hwnd, StateChange what, int index) override {
    if (!OnMyThread()) return;  // windows of other threads have no widgets
    Peer* p = Find(hwnd);
    if (!p) return;
    // The widget that is telling the layer of a user's change is already up to date.
    if (m_inputFrom == hwnd && (what == StateChange::Selection || what == StateChange::Check)) return;
    ControlView c;
    if (!wnd::GetControlView(hwnd, &c)) return;
    Guard g(m_syncing);
    ApplyControl(*p, c, what, index);
  }

  void FocusChanged(HWND newFocus) override {
    if (!OnMyThread()) return;  // windows of other threads have no widgets
    if (m_focusFromGtk) return;
    Peer* p = Find(newFocus);
    if (!p || p->topLevel || !p->control) return;
    Guard g(m_syncing);
    gtk_widget_grab_focus(p->control);
  }

  void ModalChanged(HWND dialog, HWND owner, bool modal) override {
    if (!OnMyThread()) return;  // windows of other threads have no widgets
    Peer* d = Find(dialog);
    Peer* o = Find(owner);
    if (!d || !d->topLevel) return;
    gtk_window_set_transient_for(GTK_WINDOW(d->outer), modal && o && o->topLevel ? GTK_WINDOW(o->outer) : nullptr);
  }

  void Invalidated(HWND hwnd) override {
    if (!OnMyThread()) return;  // windows of other threads have no widgets
    if (Peer* p = Find(hwnd)) gtk_widget_queue_draw(p->outer);
  }

  void UpdateNow(HWND hwnd) override {
    if (!OnMyThread()) return;  // windows of other threads have no widgets
    Peer* p = Find(hwnd);
    if (!p) return;
    GdkWindow* gw = gtk_widget_get_window(p->outer);
    if (!gw) return;
    // Draw what is pending now, without running input handlers.
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    gdk_window_process_updates(gw, TRUE);
    G_GNUC_END_IGNORE_DEPRECATIONS
    gdk_display_flush(gdk_window_get_display(gw));
  }

  void Beep(UINT) override {
    if (GdkDisplay* d = gdk_display_get_default()) gdk_display_beep(d);
  }

  // ---- asked ----
  SIZE MeasureText(HWND hwnd, const char* text, int wrapWidth) override {
    std::string u = ToUtf8(text ? text : "");
    PangoLayout* lay = nullptr;
    if (OnMyThread()) {
      lay = gtk_widget_create_pango_layout(MeasuringWidget(hwnd), u.c_str());
    } else {
      // GTK belongs to its own thread; another thread measures with a Pango context of its
      // own, set up as the controls' style sets theirs.
      lay = pango_layout_new(OffThreadContext());
      pango_layout_set_text(lay, u.c_str(), -1);
    }
    if (wrapWidth > 0) {
      pango_layout_set_width(lay, wrapWidth * PANGO_SCALE);
      pango_layout_set_wrap(lay, PANGO_WRAP_WORD_CHAR);
    }
    int cx = 0, cy = 0;
    pango_layout_get_pixel_size(lay, &cx, &cy);
    g_object_unref(lay);
    return {cx, cy};
  }

  SIZE DialogBaseUnits(const char*, int) override {
    // Templates name their own font, but every control draws with the dialog font, so the
    // base units are that font's whatever the template says. The old platform's rule: the
    // mean width of the 52 letters, rounded, and the line height.
    return m_baseUnits;
  }

  // ---- waiting ----
  void Wait(ULONGLONG deadline) override {
    if (!OnMyThread() || GetClock().IsVirtual()) {
      if (OnMyThread()) Poll();
      if (!wnd::HasQueuedMessages()) wnd::DefaultWait(deadline);
      return;
    }
    bool savedWaiting = m_waiting;
    ULONGLONG savedDeadline = m_deadline;
    m_waiting = true;
    m_deadline = deadline;
    while (!wnd::HasQueuedMessages() && GetClock().Now() < deadline) g_main_context_iteration(nullptr, TRUE);
    m_waiting = savedWaiting;
    m_deadline = savedDeadline;
  }

  void Poll() override {
    if (!OnMyThread()) return;
    bool savedWaiting = m_waiting;
    m_waiting = false;
    for (int i = 0; i < 256 && g_main_context_iteration(nullptr, FALSE); ++i) {
    }
    m_waiting = savedWaiting;
  }

  void Wake(DWORD threadId) override {
    // Safe from any thread: GLib's wake-up is remembered until the loop next polls.
    if (threadId == m_thread || threadId == 0) g_main_context_wakeup(nullptr);
  }

  // ---- raw input ----
  void ReinjectInput(std::uintptr_t token) override {
    GdkEvent* ev = TakeToken(token);
    if (!ev) return;
    if (!OnMyThread()) {
      gdk_event_free(ev);
      return;
    }
    bool saved = t_reinjecting;
    t_reinjecting = true;
    gtk_main_do_event(ev);
    t_reinjecting = saved;
    gdk_event_free(ev);
  }

  void DropInput(std::uintptr_t token) override {
    if (GdkEvent* ev = TakeToken(token)) gdk_event_free(ev);
  }

  // ---- common dialogs ----
  // GTK's file chooser, shown without gtk_dialog_run: the layer's own loop waits for the
  // answer, so the layer's timers and posted messages keep running meanwhile.
  bool ChooseFile(HWND owner, FileChooserRequest& req, int* result) override {
    if (!OnMyThread()) return false;
    using Mode = FileChooserRequest::Mode;
    const GtkFileChooserAction action = req.mode == Mode::Open   ? GTK_FILE_CHOOSER_ACTION_OPEN
                                        : req.mode == Mode::Save ? GTK_FILE_CHOOSER_ACTION_SAVE
                                                                 : GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER;
    const char* accept = req.mode == Mode::Open ? "_Open" : req.mode == Mode::Save ? "_Save" : "_Select";
    Peer* o = Find(owner);
    GtkWindow* parent = o && o->topLevel ? GTK_WINDOW(o->outer) : nullptr;
    GtkWidget* dlg = gtk_file_chooser_dialog_new(ToUtf8(req.title).c_str(), parent, action, "_Cancel",
                                                 GTK_RESPONSE_CANCEL, accept, GTK_RESPONSE_ACCEPT, nullptr);
    gtk_dialog_set_default_response(GTK_DIALOG(dlg), GTK_RESPONSE_ACCEPT);
    gtk_window_set_modal(GTK_WINDOW(dlg), TRUE);
    GtkFileChooser* fc = GTK_FILE_CHOOSER(dlg);
    gtk_file_chooser_set_do_overwrite_confirmation(fc, req.overwritePrompt);
    gtk_file_chooser_set_local_only(fc, TRUE);
    std::vector<GtkFileFilter*> filters;
    for (const auto& [name, patterns] : req.filters) {
      if (req.mode == Mode::Folder) break;  // folders are not filtered by file name
      GtkFileFilter* f = gtk_file_filter_new();
      gtk_file_filter_set_name(f, ToUtf8(name).c_str());
      std::string one;
      for (size_t i = 0; i <= patterns.size(); ++i) {
        if (i == patterns.size() || patterns[i] == ';') {
          if (!one.empty()) gtk_file_filter_add_pattern(f, ToUtf8(one).c_str());
          one.clear();
        } else if (patterns[i] != ' ') {
          one += patterns[i];
        }
      }
      gtk_file_chooser_add_filter(fc, f);  // the chooser takes the floating reference
      filters.push_back(f);
    }
    if (req.filterIndex >= 1 && req.filterIndex <= int(filters.size()))
      gtk_file_chooser_set_filter(fc, filters[size_t(req.filterIndex - 1)]);
    const std::string& init = req.initialPath;
    if (!init.empty()) {
      gchar* dir = g_path_get_dirname(init.c_str());
      gchar* base = g_path_get_basename(init.c_str());
      if (req.mode == Mode::Folder) {
        gtk_file_chooser_set_current_folder(fc, init.c_str());
      } else {
        if (init.find('/') != std::string::npos) gtk_file_chooser_set_current_folder(fc, dir);
        if (req.mode == Mode::Save) gtk_file_chooser_set_current_name(fc, ToUtf8(base).c_str());
        else if (g_file_test(init.c_str(), G_FILE_TEST_EXISTS)) gtk_file_chooser_set_filename(fc, init.c_str());
      }
      g_free(dir);
      g_free(base);
    }
    struct State {
      int response = GTK_RESPONSE_NONE;
      bool done = false;
    } st;
    g_signal_connect(dlg, "response", G_CALLBACK(+[](GtkDialog*, gint r, gpointer p) {
                       auto* s = static_cast<State*>(p);
                       s->response = r;
                       s->done = true;
                       PostMessageA(nullptr, WM_NULL, 0, 0);  // wakes the loop below
                     }),
                     &st);
    const bool disableOwner = owner && IsWindowEnabled(owner);
    if (disableOwner) EnableWindow(owner, FALSE);
    GtkWidget* savedChooser = m_chooser;
    m_chooser = dlg;
    gtk_widget_show(dlg);
    // The chooser sizes itself after the screen; without a window manager that is all of it.
    gtk_window_resize(GTK_WINDOW(dlg), 640, 440);
    bool quit = false;
    int quitCode = 0;
    MSG m;
    while (!st.done) {
      BOOL got = GetMessageA(&m, nullptr, 0, 0);
      if (got == 0) {
        quit = true;
        quitCode = int(m.wParam);
        break;
      }
      if (got < 0) break;
      TranslateMessage(&m);
      DispatchMessageA(&m);
    }
    bool ok = st.response == GTK_RESPONSE_ACCEPT;
    if (ok) {
      gchar* path = gtk_file_chooser_get_filename(fc);
      req.path = path ? path : "";
      g_free(path);
      GtkFileFilter* chosen = gtk_file_chooser_get_filter(fc);
      for (size_t i = 0; i < filters.size(); ++i)
        if (filters[i] == chosen) req.filterIndex = int(i + 1);
      ok = !req.path.empty();
    }
    m_chooser = savedChooser;
    if (disableOwner && IsWindow(owner)) EnableWindow(owner, TRUE);
    gtk_widget_destroy(dlg);
    if (quit) PostQuitMessage(quitCode);
    *result = ok ? IDOK : IDCANCEL;
    return true;
  }

  GtkWidget* CurrentChooser() const { return m_chooser; }

  bool SaveWindowImage(HWND topLevel, const char* pngPath) override {
    if (!OnMyThread()) return false;
    Peer* p = Find(topLevel);
    if (!p || !p->topLevel || !gtk_widget_get_mapped(p->outer)) return false;
    GdkWindow* gw = gtk_widget_get_window(p->outer);
    if (!gw) return false;
    UpdateNow(topLevel);
    GdkPixbuf* pb = gdk_pixbuf_get_from_window(gw, 0, 0, gdk_window_get_width(gw), gdk_window_get_height(gw));
    if (!pb) return false;
    GError* err = nullptr;
    bool ok = gdk_pixbuf_save(pb, pngPath, "png", &err, nullptr);
    if (err) g_error_free(err);
    g_object_unref(pb);
    return ok;
  }

  // ---- for tests ----
  GtkWidget* WidgetOf(HWND hwnd, bool control) {
    Peer* p = Find(hwnd);
    if (!p) return nullptr;
    return control && p->control ? p->control : p->outer;
  }

 private:
  struct Peer {
    ControlKind kind = ControlKind::Window;
    bool topLevel = false;
    GtkWidget* outer = nullptr;    // the GtkWindow, or what sits in the parent's container
    GtkWidget* control = nullptr;  // the widget that takes input and holds the state
    GtkWidget* box = nullptr;      // the container of child windows, if any
    GtkWidget* radioSink = nullptr;  // an unseen partner that lets a lone radio button clear
    GtkListStore* store = nullptr;   // list box rows
    DWORD style = 0;
  };

  struct Guard {
    explicit Guard(bool& f) : flag(f), saved(f) { flag = true; }
    ~Guard() { flag = saved; }
    bool& flag;
    bool saved;
  };

  // The native event a queued key message names; each token is taken once.
  GdkEvent* TakeToken(std::uintptr_t token) {
    std::lock_guard<std::mutex> g(m_tokenLock);
    auto it = m_tokens.find(token);
    if (it == m_tokens.end()) return nullptr;
    GdkEvent* ev = it->second;
    m_tokens.erase(it);
    return ev;
  }

  std::uintptr_t AddToken(GdkEvent* ev) {
    std::lock_guard<std::mutex> g(m_tokenLock);
    std::uintptr_t token = ++m_nextToken;
    m_tokens[token] = ev;
    return token;
  }

  // GTK clears a window's focus and default widgets when they go, but not while the window
  // is hidden (a dialog hides before it is destroyed): it would keep dangling pointers.
  void ForgetFocusAndDefault(GtkWidget* w) {
    GtkWidget* top = gtk_widget_get_toplevel(w);
    if (!GTK_IS_WINDOW(top) || top == w) return;
    Guard g(m_syncing);
    GtkWidget* focus = gtk_window_get_focus(GTK_WINDOW(top));
    if (focus && (focus == w || gtk_widget_is_ancestor(focus, w))) gtk_window_set_focus(GTK_WINDOW(top), nullptr);
    GtkWidget* def = gtk_window_get_default_widget(GTK_WINDOW(top));
    if (def && (def == w || gtk_widget_is_ancestor(def, w))) gtk_window_set_default(GTK_WINDOW(top), nullptr);
  }

  bool OnMyThread() const { return GetCurrentThreadId() == m_thread; }

  Peer* Find(HWND hwnd) {
    if (!hwnd) return nullptr;
    auto it = m_peers.find(hwnd);
    return it == m_peers.end() ? nullptr : &it->second;
  }

  void CollectSubtree(HWND hwnd, std::vector<HWND>* out) {
    out->push_back(hwnd);
    for (HWND c = GetWindow(hwnd, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) CollectSubtree(c, out);
  }

  // A child's rectangle inside its parent's container. A top-level's container is its
  // client area; a child window's container covers the whole window, so its client area
  // starts at the width of its borders.
  PeerRect ChildRect(const WindowView& v) {
    int dx = 0, dy = 0;
    WindowView pv;
    if (v.parent && wnd::GetWindowView(v.parent, &pv) && pv.parent) {
      WindowView gv;
      if (wnd::GetWindowView(pv.parent, &gv)) {
        dx = pv.clientRect.left - (pv.rect.left + gv.clientRect.left);
        dy = pv.clientRect.top - (pv.rect.top + gv.clientRect.top);
      }
    }
    return ToPeerRect(v.rect, dx, dy);
  }

  static PangoContext* OffThreadContext() {
    static thread_local PangoContext* ctx = [] {
      PangoContext* c = pango_font_map_create_context(pango_cairo_font_map_get_default());
      pango_cairo_context_set_resolution(c, 96.0);
      PangoFontDescription* fd = pango_font_description_from_string(DialogFontName());
      pango_context_set_font_description(c, fd);
      pango_font_description_free(fd);
      return c;
    }();
    return ctx;
  }

  GtkWidget* MeasuringWidget(HWND hwnd) {
    if (Peer* p = Find(hwnd)) {
      GtkWidget* w = p->control ? p->control : p->outer;
      if (GTK_IS_BUTTON(w) && GTK_IS_LABEL(gtk_bin_get_child(GTK_BIN(w)))) return gtk_bin_get_child(GTK_BIN(w));
      if (GTK_IS_COMBO_BOX(w) || GTK_IS_TREE_VIEW(w) || GTK_IS_ENTRY(w) || GTK_IS_LABEL(w)) return w;
    }
    // Before a window has widgets (a dialog measures in WM_INITDIALOG, before it is shown)
    // an unseen label with the same style measures for it.
    if (!m_measure) {
      m_measure = gtk_label_new("");
      g_object_ref_sink(m_measure);
    }
    return m_measure;
  }

  // ---- making widgets ----
  void Materialize(HWND hwnd) {
    if (Find(hwnd)) return;
    WindowView v;
    if (!wnd::GetWindowView(hwnd, &v) || v.threadId != m_thread) return;
    ControlView c;
    wnd::GetControlView(hwnd, &c);
    Peer p;
    p.kind = v.kind;
    p.style = v.style;
    Guard g(m_syncing);
    if (!v.parent) {
      p.topLevel = true;
      MakeTopLevel(p, v);
    } else {
      Peer* parent = Find(v.parent);
      if (!parent || !parent->box) return;
      MakeChild(p, v);
      TagWidget(p.outer, hwnd);
      if (p.control && p.control != p.outer) TagWidget(p.control, hwnd);
      SetPeerRect(p.outer, ChildRect(v));
      gtk_fixed_put(GTK_FIXED(parent->box), p.outer, 0, 0);
      if (!p.box) gtk_widget_show_all(p.outer);
      else gtk_widget_show(p.outer);
      gtk_widget_set_visible(p.outer, v.visible);
      if (!v.enabled) gtk_widget_set_sensitive(p.outer, FALSE);
    }
    Peer& stored = m_peers[hwnd] = p;
    ApplyText(stored, v);
    ApplyControl(stored, c, StateChange::Style, -1);
    if (stored.box)
      for (HWND ch = GetWindow(hwnd, GW_CHILD); ch; ch = GetWindow(ch, GW_HWNDNEXT)) Materialize(ch);
    if (stored.topLevel) {
      HWND focus = GetFocus();
      if (focus && IsChild(hwnd, focus))
        if (Peer* f = Find(focus); f && f->control && gtk_widget_get_can_focus(f->control))
          gtk_window_set_focus(GTK_WINDOW(stored.outer), f->control);
    }
  }

  void MakeTopLevel(Peer& p, const WindowView& v) {
    GtkWidget* win = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    TagWidget(win, v.hwnd);
    gtk_window_set_resizable(GTK_WINDOW(win), FALSE);
    bool captioned = (v.style & WS_CAPTION) == WS_CAPTION;
    gtk_window_set_decorated(GTK_WINDOW(win), captioned || !(v.style & WS_POPUP));
    if (v.kind == ControlKind::Dialog) gtk_window_set_type_hint(GTK_WINDOW(win), GDK_WINDOW_TYPE_HINT_DIALOG);
    if (Peer* o = Find(v.owner); o && o->topLevel) gtk_window_set_transient_for(GTK_WINDOW(win), GTK_WINDOW(o->outer));
    int cw = std::max(1, int(v.clientRect.right - v.clientRect.left));
    int ch = std::max(1, int(v.clientRect.bottom - v.clientRect.top));
    gtk_window_set_default_size(GTK_WINDOW(win), cw, ch);
    gtk_window_move(GTK_WINDOW(win), v.clientRect.left, v.clientRect.top);
    GtkWidget* box = NewFixedBox();
    TagWidget(box, v.hwnd);
    SetPeerRect(box, {0, 0, cw, ch});
    gtk_container_add(GTK_CONTAINER(win), box);
    g_signal_connect(win, "key-press-event", G_CALLBACK(OnKey), this);
    g_signal_connect(win, "key-release-event", G_CALLBACK(OnKey), this);
    g_signal_connect(win, "delete-event", G_CALLBACK(OnDelete), this);
    g_signal_connect_after(win, "set-focus", G_CALLBACK(OnSetFocus), this);
    g_signal_connect(win, "configure-event", G_CALLBACK(OnConfigure), this);
    p.outer = win;
    p.box = box;
  }

  void MakeChild(Peer& p, const WindowView& v) {
    DWORD s = v.style;
    switch (v.kind) {
      case ControlKind::PushButton: {
        GtkWidget* b = gtk_button_new_with_label("");
        g_signal_connect(b, "clicked", G_CALLBACK(OnClicked), this);
        p.outer = p.control = b;
        break;
      }
      case ControlKind::CheckBox: {
        GtkWidget* b = gtk_check_button_new_with_label("");
        g_signal_connect(b, "clicked", G_CALLBACK(OnClicked), this);
        p.outer = p.control = b;
        break;
      }
      case ControlKind::RadioButton: {
        // The layer owns the grouping (WS_GROUP order, non-automatic buttons); each widget
        // is alone with an unseen partner, so the layer can set or clear it freely.
        p.radioSink = gtk_radio_button_new(nullptr);
        g_object_ref_sink(p.radioSink);
        GtkWidget* b = gtk_radio_button_new_with_label_from_widget(GTK_RADIO_BUTTON(p.radioSink), "");
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(p.radioSink), TRUE);
        g_signal_connect(b, "clicked", G_CALLBACK(OnClicked), this);
        p.outer = p.control = b;
        break;
      }
      case ControlKind::GroupBox: {
        GtkWidget* f = gtk_frame_new(nullptr);
        gtk_frame_set_label_align(GTK_FRAME(f), 0.04f, 0.5f);
        p.outer = f;
        break;
      }
      case ControlKind::Edit: {
        if (s & ES_MULTILINE) {
          GtkWidget* sw = gtk_scrolled_window_new(nullptr, nullptr);
          // Without a scroll bar the content is clipped to the rectangle, never widening it.
          gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(sw), (s & WS_HSCROLL) ? GTK_POLICY_AUTOMATIC : GTK_POLICY_EXTERNAL,
                                         (s & WS_VSCROLL) ? GTK_POLICY_AUTOMATIC : GTK_POLICY_EXTERNAL);
          gtk_scrolled_window_set_shadow_type(GTK_SCROLLED_WINDOW(sw),
                                              (s & WS_BORDER) || (v.exStyle & WS_EX_CLIENTEDGE) ? GTK_SHADOW_IN : GTK_SHADOW_NONE);
          GtkWidget* tv = gtk_text_view_new();
          gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(tv), (s & WS_HSCROLL) ? GTK_WRAP_NONE : GTK_WRAP_WORD_CHAR);
          gtk_container_add(GTK_CONTAINER(sw), tv);
          g_signal_connect(gtk_text_view_get_buffer(GTK_TEXT_VIEW(tv)), "changed", G_CALLBACK(OnBufferChanged), this);
          g_object_set_qdata(G_OBJECT(gtk_text_view_get_buffer(GTK_TEXT_VIEW(tv))), HwndQuark(), v.hwnd);
          p.outer = sw;
          p.control = tv;
        } else {
          GtkWidget* e = gtk_entry_new();
          gtk_entry_set_width_chars(GTK_ENTRY(e), 0);
          gtk_entry_set_has_frame(GTK_ENTRY(e), (s & WS_BORDER) || (v.exStyle & WS_EX_CLIENTEDGE));
          if (s & ES_PASSWORD) gtk_entry_set_visibility(GTK_ENTRY(e), FALSE);
          if (s & ES_CENTER) gtk_entry_set_alignment(GTK_ENTRY(e), 0.5f);
          else if (s & ES_RIGHT) gtk_entry_set_alignment(GTK_ENTRY(e), 1.0f);
          g_signal_connect(e, "changed", G_CALLBACK(OnEntryChanged), this);
          p.outer = p.control = e;
        }
        break;
      }
      case ControlKind::Static: {
        DWORD type = s & SS_TYPEMASK;
        if (type == SS_ICON) {
          p.outer = gtk_image_new();
        } else if (type == SS_BITMAP) {
          // Drawn by hand: the bitmap's indices mapped through its colour table.
          p.outer = gtk_drawing_area_new();
          g_signal_connect(p.outer, "draw", G_CALLBACK(OnBitmapDraw), this);
        } else if (type == SS_ETCHEDHORZ || type == SS_ETCHEDVERT) {
          p.outer = gtk_separator_new(type == SS_ETCHEDHORZ ? GTK_ORIENTATION_HORIZONTAL : GTK_ORIENTATION_VERTICAL);
        } else if (type >= SS_BLACKRECT && type <= SS_WHITEFRAME) {
          p.outer = gtk_frame_new(nullptr);
        } else if (type == SS_ETCHEDFRAME) {
          p.outer = gtk_frame_new(nullptr);
          gtk_frame_set_shadow_type(GTK_FRAME(p.outer), GTK_SHADOW_ETCHED_IN);
        } else {
          GtkWidget* l = gtk_label_new("");
          bool wrap = type != SS_LEFTNOWORDWRAP && type != SS_SIMPLE;
          gtk_label_set_line_wrap(GTK_LABEL(l), wrap);
          gtk_label_set_line_wrap_mode(GTK_LABEL(l), PANGO_WRAP_WORD_CHAR);
          gtk_label_set_xalign(GTK_LABEL(l), type == SS_CENTER ? 0.5f : type == SS_RIGHT ? 1.0f : 0.0f);
          gtk_label_set_yalign(GTK_LABEL(l), (s & SS_CENTERIMAGE) ? 0.5f : 0.0f);
          gtk_label_set_justify(GTK_LABEL(l), type == SS_CENTER ? GTK_JUSTIFY_CENTER
                                              : type == SS_RIGHT ? GTK_JUSTIFY_RIGHT : GTK_JUSTIFY_LEFT);
          if (!wrap) gtk_label_set_ellipsize(GTK_LABEL(l), PANGO_ELLIPSIZE_NONE);
          p.outer = p.control = l;
        }
        break;
      }
      case ControlKind::ListBox: {
        GtkWidget* sw = gtk_scrolled_window_new(nullptr, nullptr);
        gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(sw), GTK_POLICY_EXTERNAL, GTK_POLICY_AUTOMATIC);
        gtk_scrolled_window_set_shadow_type(GTK_SCROLLED_WINDOW(sw), GTK_SHADOW_IN);
        p.store = gtk_list_store_new(1, G_TYPE_STRING);
        GtkWidget* tv = gtk_tree_view_new_with_model(GTK_TREE_MODEL(p.store));
        g_object_unref(p.store);  // the view keeps it
        gtk_tree_view_set_headers_visible(GTK_TREE_VIEW(tv), FALSE);
        gtk_tree_view_set_enable_search(GTK_TREE_VIEW(tv), FALSE);
        GtkCellRenderer* r = gtk_cell_renderer_text_new();
        g_object_set(r, "ypad", 0, nullptr);
        gtk_tree_view_insert_column_with_attributes(GTK_TREE_VIEW(tv), -1, "", r, "text", 0, nullptr);
        GtkTreeSelection* sel = gtk_tree_view_get_selection(GTK_TREE_VIEW(tv));
        gtk_tree_selection_set_mode(sel, (s & LBS_NOSEL) ? GTK_SELECTION_NONE
                                         : (s & (LBS_MULTIPLESEL | LBS_EXTENDEDSEL)) ? GTK_SELECTION_MULTIPLE
                                                                                   : GTK_SELECTION_SINGLE);
        g_object_set_qdata(G_OBJECT(sel), HwndQuark(), v.hwnd);
        g_signal_connect(sel, "changed", G_CALLBACK(OnListSelection), this);
        g_signal_connect(tv, "row-activated", G_CALLBACK(OnRowActivated), this);
        gtk_container_add(GTK_CONTAINER(sw), tv);
        p.outer = sw;
        p.control = tv;
        break;
      }
      case ControlKind::ComboBox: {
        bool withEntry = (s & 0x3) != CBS_DROPDOWNLIST;
        GtkWidget* cb = withEntry ? gtk_combo_box_text_new_with_entry() : gtk_combo_box_text_new();
        if (withEntry) {
          GtkWidget* e = gtk_bin_get_child(GTK_BIN(cb));
          gtk_entry_set_width_chars(GTK_ENTRY(e), 0);
        }
        g_signal_connect(cb, "changed", G_CALLBACK(OnComboChanged), this);
        p.outer = p.control = cb;
        break;
      }
      case ControlKind::Progress: {
        GtkWidget* pb = gtk_progress_bar_new();
        if (s & PBS_VERTICAL) {
          gtk_orientable_set_orientation(GTK_ORIENTABLE(pb), GTK_ORIENTATION_VERTICAL);
          gtk_progress_bar_set_inverted(GTK_PROGRESS_BAR(pb), TRUE);
        }
        p.outer = p.control = pb;
        break;
      }
      case ControlKind::Tab: {
        GtkWidget* nb = gtk_notebook_new();
        gtk_notebook_set_scrollable(GTK_NOTEBOOK(nb), !(s & TCS_MULTILINE));
        if (s & TCS_BOTTOM) gtk_notebook_set_tab_pos(GTK_NOTEBOOK(nb), GTK_POS_BOTTOM);
        g_signal_connect(nb, "switch-page", G_CALLBACK(OnSwitchPage), this);
        p.outer = p.control = nb;
        break;
      }
      case ControlKind::Dialog:
      case ControlKind::Window:
      default: {
        // Child dialogs (property pages) and other windows hold children of their own.
        GtkWidget* box = NewFixedBox();
        p.outer = p.box = box;
        break;
      }
    }
  }

  // ---- copying the layer's state into widgets ----
  void ApplyText(Peer& p, const WindowView& v) {
    std::string u = ToUtf8(v.text);
    if (p.topLevel) {
      gtk_window_set_title(GTK_WINDOW(p.outer), u.c_str());
      return;
    }
    switch (p.kind) {
      case ControlKind::PushButton:
      case ControlKind::CheckBox:
      case ControlKind::RadioButton:
        gtk_button_set_label(GTK_BUTTON(p.control), MnemonicCaption(u).c_str());
        gtk_button_set_use_underline(GTK_BUTTON(p.control), TRUE);
        break;
      case ControlKind::GroupBox:
        gtk_frame_set_label(GTK_FRAME(p.outer), u.empty() ? nullptr : u.c_str());
        break;
      case ControlKind::Static:
        if (GTK_IS_LABEL(p.outer)) {
          if (v.style & SS_NOPREFIX) gtk_label_set_text(GTK_LABEL(p.outer), u.c_str());
          else gtk_label_set_text_with_mnemonic(GTK_LABEL(p.outer), MnemonicCaption(u).c_str());
        }
        break;
      case ControlKind::Edit:
        if (GTK_IS_ENTRY(p.control)) {
          if (u != gtk_entry_get_text(GTK_ENTRY(p.control))) gtk_entry_set_text(GTK_ENTRY(p.control), u.c_str());
        } else {
          GtkTextBuffer* b = gtk_text_view_get_buffer(GTK_TEXT_VIEW(p.control));
          std::string want = ToBufferText(v.text);
          GtkTextIter s, e;
          gtk_text_buffer_get_bounds(b, &s, &e);
          gchar* have = gtk_text_buffer_get_text(b, &s, &e, FALSE);
          if (want != have) gtk_text_buffer_set_text(b, want.c_str(), -1);
          g_free(have);
        }
        break;
      case ControlKind::ComboBox:
        if (GtkWidget* e = gtk_bin_get_child(GTK_BIN(p.control)); e && GTK_IS_ENTRY(e)) {
          if (u != gtk_entry_get_text(GTK_ENTRY(e))) gtk_entry_set_text(GTK_ENTRY(e), u.c_str());
        }
        break;
      default:
        break;
    }
  }

  void ApplyControl(Peer& p, const ControlView& c, StateChange what, int index) {
    bool all = what == StateChange::Style;
    switch (p.kind) {
      case ControlKind::PushButton: {
        GtkStyleContext* sc = gtk_widget_get_style_context(p.control);
        WindowView v;
        bool isDefault = wnd::GetWindowView(HwndOfWidget(p.control), &v) && (v.style & BS_TYPEMASK) == BS_DEFPUSHBUTTON;
        if (isDefault) gtk_style_context_add_class(sc, "default");
        else gtk_style_context_remove_class(sc, "default");
        break;
      }
      case ControlKind::CheckBox:
      case ControlKind::RadioButton:
        if (all || what == StateChange::Check) SyncCheck(p, c);
        break;
      case ControlKind::Edit:
        if (GTK_IS_ENTRY(p.control)) {
          if (all || what == StateChange::TextLimit) gtk_entry_set_max_length(GTK_ENTRY(p.control), std::max(0, c.textLimit));
          if (all || what == StateChange::ReadOnly || what == StateChange::Style) {
            WindowView v;
            if (wnd::GetWindowView(HwndOfWidget(p.control), &v))
              gtk_editable_set_editable(GTK_EDITABLE(p.control), !(v.style & ES_READONLY));
          }
          if (what == StateChange::EditSelection)
            gtk_editable_select_region(GTK_EDITABLE(p.control), c.selStart, c.selEnd < 0 ? -1 : c.selEnd);
        } else if (all || what == StateChange::ReadOnly) {
          WindowView v;
          if (wnd::GetWindowView(HwndOfWidget(p.control), &v))
            gtk_text_view_set_editable(GTK_TEXT_VIEW(p.control), !(v.style & ES_READONLY));
        }
        break;
      case ControlKind::ListBox:
        SyncList(p, c, what, index);
        break;
      case ControlKind::ComboBox:
        SyncCombo(p, c, what, index);
        break;
      case ControlKind::Progress:
        if (all || what == StateChange::Progress) {
          double span = double(c.rangeHigh) - double(c.rangeLow);
          double f = span > 0 ? (double(c.pos) - double(c.rangeLow)) / span : 0.0;
          gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(p.control), std::clamp(f, 0.0, 1.0));
        }
        break;
      case ControlKind::Tab:
        SyncTabs(p, c, what, index);
        break;
      case ControlKind::Static:
        if ((all || what == StateChange::Icon) && GTK_IS_IMAGE(p.outer)) {
          const char* name = IconName(c.icon);
          if (name) gtk_image_set_from_icon_name(GTK_IMAGE(p.outer), name, GTK_ICON_SIZE_DIALOG);
          else gtk_image_clear(GTK_IMAGE(p.outer));
        }
        if ((all || what == StateChange::Icon) && GTK_IS_DRAWING_AREA(p.outer)) gtk_widget_queue_draw(p.outer);
        break;
      default:
        break;
    }
  }

  static const char* IconName(HICON icon) {
    if (!icon) return nullptr;
    struct Entry {
      LPCSTR id;
      const char* name;
    };
    static const Entry kIcons[] = {{IDI_HAND, "dialog-error"}, {IDI_QUESTION, "dialog-question"},
                                   {IDI_EXCLAMATION, "dialog-warning"}, {IDI_ASTERISK, "dialog-information"},
                                   {IDI_APPLICATION, "application-x-executable"}};
    for (const Entry& e : kIcons)
      if (LoadIconA(nullptr, e.id) == icon) return e.name;
    return "image-missing";
  }

  void SyncCheck(Peer& p, const ControlView& c) {
    GtkToggleButton* t = GTK_TOGGLE_BUTTON(p.control);
    gtk_toggle_button_set_inconsistent(t, c.check == BST_INDETERMINATE);
    bool on = c.check == BST_CHECKED;
    if (p.radioSink) {
      if (on) gtk_toggle_button_set_active(t, TRUE);
      else gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(p.radioSink), TRUE);
    } else {
      gtk_toggle_button_set_active(t, on);
    }
  }

  void SyncList(Peer& p, const ControlView& c, StateChange what, int index) {
    GtkTreeModel* m = GTK_TREE_MODEL(p.store);
    auto refill = [&] {
      gtk_list_store_clear(p.store);
      for (const std::string& s : c.items) gtk_list_store_insert_with_values(p.store, nullptr, -1, 0, ToUtf8(s).c_str(), -1);
    };
    switch (what) {
      case StateChange::ItemInserted:
        if (index >= 0 && index < int(c.items.size()) && gtk_tree_model_iter_n_children(m, nullptr) + 1 == int(c.items.size()))
          gtk_list_store_insert_with_values(p.store, nullptr, index, 0, ToUtf8(c.items[size_t(index)]).c_str(), -1);
        else
          refill();
        break;
      case StateChange::ItemDeleted: {
        GtkTreeIter it;
        if (gtk_tree_model_iter_n_children(m, nullptr) == int(c.items.size()) + 1 &&
            gtk_tree_model_iter_nth_child(m, &it, nullptr, index))
          gtk_list_store_remove(p.store, &it);
        else
          refill();
        break;
      }
      case StateChange::ItemsReset:
      case StateChange::Style:
        refill();
        break;
      default:
        break;
    }
    GtkTreeSelection* sel = gtk_tree_view_get_selection(GTK_TREE_VIEW(p.control));
    if (gtk_tree_selection_get_mode(sel) == GTK_SELECTION_NONE) return;
    gtk_tree_selection_unselect_all(sel);
    std::vector<int> chosen = c.selected;
    if (chosen.empty() && c.curSel >= 0) chosen.push_back(c.curSel);
    for (int i : chosen) {
      GtkTreePath* path = gtk_tree_path_new_from_indices(i, -1);
      gtk_tree_selection_select_path(sel, path);
      if (i == c.curSel) gtk_tree_view_scroll_to_cell(GTK_TREE_VIEW(p.control), path, nullptr, FALSE, 0, 0);
      gtk_tree_path_free(path);
    }
  }

  void SyncCombo(Peer& p, const ControlView& c, StateChange what, int index) {
    GtkComboBoxText* cb = GTK_COMBO_BOX_TEXT(p.control);
    GtkTreeModel* m = gtk_combo_box_get_model(GTK_COMBO_BOX(cb));
    int have = gtk_tree_model_iter_n_children(m, nullptr);
    if (what == StateChange::ItemInserted && have + 1 == int(c.items.size()) && index >= 0 && index < int(c.items.size())) {
      gtk_combo_box_text_insert_text(cb, index, ToUtf8(c.items[size_t(index)]).c_str());
    } else if (what == StateChange::ItemDeleted && have == int(c.items.size()) + 1 && index >= 0) {
      gtk_combo_box_text_remove(cb, index);
    } else if (what == StateChange::ItemsReset || what == StateChange::Style || what == StateChange::ItemInserted ||
               what == StateChange::ItemDeleted) {
      gtk_combo_box_text_remove_all(cb);
      for (const std::string& s : c.items) gtk_combo_box_text_append_text(cb, ToUtf8(s).c_str());
    }
    if (gtk_combo_box_get_active(GTK_COMBO_BOX(cb)) != c.curSel) {
      if (c.curSel >= 0 || !gtk_combo_box_get_has_entry(GTK_COMBO_BOX(cb))) gtk_combo_box_set_active(GTK_COMBO_BOX(cb), c.curSel);
    }
    if (what == StateChange::DropDown) {
      if (c.droppedDown) gtk_combo_box_popup(GTK_COMBO_BOX(cb));
      else gtk_combo_box_popdown(GTK_COMBO_BOX(cb));
    }
  }

  void SyncTabs(Peer& p, const ControlView& c, StateChange what, int index) {
    GtkNotebook* nb = GTK_NOTEBOOK(p.control);
    auto page = [&](const std::string& text, int at) {
      GtkWidget* body = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
      gtk_widget_show(body);
      gtk_notebook_insert_page(nb, body, gtk_label_new(ToUtf8(text).c_str()), at);
    };
    int have = gtk_notebook_get_n_pages(nb);
    if (what == StateChange::ItemInserted && have + 1 == int(c.items.size()) && index >= 0 && index < int(c.items.size())) {
      page(c.items[size_t(index)], index);
    } else if (what == StateChange::ItemDeleted && have == int(c.items.size()) + 1 && index >= 0) {
      gtk_notebook_remove_page(nb, index);
    } else if (what == StateChange::ItemChanged && index >= 0 && index < have && index < int(c.items.size())) {
      gtk_notebook_set_tab_label_text(nb, gtk_notebook_get_nth_page(nb, index), ToUtf8(c.items[size_t(index)]).c_str());
    } else if (what != StateChange::Selection) {
      while (gtk_notebook_get_n_pages(nb) > 0) gtk_notebook_remove_page(nb, -1);
      for (size_t i = 0; i < c.items.size(); ++i) page(c.items[i], -1);
    }
    if (c.curSel >= 0 && c.curSel < gtk_notebook_get_n_pages(nb) && gtk_notebook_get_current_page(nb) != c.curSel)
      gtk_notebook_set_current_page(nb, c.curSel);
  }

  // ---- from widgets to the layer ----
  // Runs a user's change through the layer with the widget marked as its source.
  template <class F>
  BOOL FromUser(HWND hwnd, F&& f) {
    HWND saved = m_inputFrom;
    m_inputFrom = hwnd;
    BOOL r = f();
    m_inputFrom = saved;
    return r;
  }

  static HWND TopOf(HWND hwnd) {
    HWND top = GetAncestor(hwnd, GA_ROOT);
    return top ? top : hwnd;
  }

  static gboolean OnKey(GtkWidget* win, GdkEventKey* ev, gpointer self) {
    if (t_reinjecting) return FALSE;  // the second pass: the widget may have it now
    auto* b = static_cast<GtkWindowBackend*>(self);
    HWND top = TagOf(win);
    if (!top || !wnd::InputAllowed(top)) return TRUE;  // a disabled window drops keys, without greying
    HWND target = GetFocus();
    if (!target || (target != top && !IsChild(top, target))) target = top;
    bool up = ev->type == GDK_KEY_RELEASE;
    bool alt = (ev->state & GDK_MOD1_MASK) != 0;
    UINT msg = up ? (alt ? WM_SYSKEYUP : WM_KEYUP) : (alt ? WM_SYSKEYDOWN : WM_KEYDOWN);
    WPARAM vk = VirtualKeyOf(ev);
    // Key data as the old platform packs it: repeat count, scan code, context and transition.
    LPARAM data = 1 | (LPARAM(ev->hardware_keycode > 8 ? ev->hardware_keycode - 8 : 0) & 0xFF) << 16;
    if (alt) data |= LPARAM(1) << 29;
    if (up) data |= (LPARAM(1) << 30) | (LPARAM(1) << 31);
    UINT ch = 0;
    if (!up) {
      gunichar u = gdk_keyval_to_unicode(ev->keyval);
      if (u > 0 && u < 256 && !(ev->state & GDK_CONTROL_MASK)) ch = u;
      else if (vk == VK_RETURN || vk == VK_ESCAPE || vk == VK_BACK || vk == VK_TAB) ch = UINT(vk);
    }
    std::uintptr_t token = b->AddToken(gdk_event_copy(reinterpret_cast<GdkEvent*>(ev)));
    if (!wnd::InputKey(target, msg, vk, data, ch, token)) b->DropInput(token);
    return TRUE;  // the first pass: into the layer's queue
  }

  // Every native event passes here before GTK has it. Pointer input to a top-level that
  // is disabled (the owner of a modal dialog) is dropped, so nothing in it reacts, yet
  // nothing is greyed.
  static void OnAnyEvent(GdkEvent* ev, gpointer) {
    switch (ev->type) {
      case GDK_BUTTON_PRESS:
      case GDK_2BUTTON_PRESS:
      case GDK_3BUTTON_PRESS:
      case GDK_BUTTON_RELEASE:
      case GDK_SCROLL:
      case GDK_TOUCH_BEGIN:
      case GDK_TOUCH_UPDATE:
      case GDK_TOUCH_END:
        if (HWND top = TopLevelOf(ev->any.window); top && !wnd::InputAllowed(top)) return;
        break;
      default:
        break;
    }
    gtk_main_do_event(ev);
  }

  static HWND TopLevelOf(GdkWindow* gw) {
    if (!gw) return nullptr;
    gpointer user = nullptr;
    gdk_window_get_user_data(gdk_window_get_toplevel(gw), &user);
    return user && GTK_IS_WIDGET(user) ? TagOf(GTK_WIDGET(user)) : nullptr;
  }

  // An SS_BITMAP static: its image (STM_SETIMAGE) at its own size from the top left, or
  // centred with SS_CENTERIMAGE, cut to the control.
  static gboolean OnBitmapDraw(GtkWidget* area, cairo_t* cr, gpointer) {
    ControlView c;
    WindowView v;
    const HWND hwnd = HwndOfWidget(area);
    if (!wnd::GetControlView(hwnd, &c) || !wnd::GetWindowView(hwnd, &v)) return FALSE;
    gdi::GdiObject* o = gdi::ObjectOf(c.icon);
    if (!o || o->type != OBJ_BITMAP || !o->bitmap || o->bitmap->width < 1 || o->bitmap->height < 1) return FALSE;
    const gdi::BitmapData& bmp = *o->bitmap;
    cairo_surface_t* img = cairo_image_surface_create(CAIRO_FORMAT_RGB24, bmp.width, bmp.height);
    cairo_surface_flush(img);
    unsigned char* data = cairo_image_surface_get_data(img);
    const int stride = cairo_image_surface_get_stride(img);
    if (data)
      for (int y = 0; y < bmp.height; ++y)
        gdi::ExpandRow(bmp, y, 0, bmp.width, reinterpret_cast<std::uint32_t*>(data + std::size_t(y) * std::size_t(stride)));
    cairo_surface_mark_dirty(img);
    double x = 0, y = 0;
    if (v.style & SS_CENTERIMAGE) {
      x = (gtk_widget_get_allocated_width(area) - bmp.width) / 2;
      y = (gtk_widget_get_allocated_height(area) - bmp.height) / 2;
    }
    cairo_set_source_surface(cr, img, x, y);
    cairo_paint(cr);
    cairo_surface_destroy(img);
    return TRUE;
  }

  static gboolean OnDelete(GtkWidget* win, GdkEvent*, gpointer) {
    if (HWND top = TagOf(win)) wnd::InputClose(top);
    return TRUE;  // the layer decides whether the window goes
  }

  // A window manager that moves a top-level tells the layer, so that its rectangles (and
  // ClientToScreen) stay true. Where it was put by the layer itself nothing changes.
  static gboolean OnConfigure(GtkWidget* win, GdkEventConfigure*, gpointer self) {
    auto* b = static_cast<GtkWindowBackend*>(self);
    HWND top = TagOf(win);
    WindowView v;
    if (b->m_syncing || !top || !gtk_widget_get_mapped(win) || !wnd::GetWindowView(top, &v)) return FALSE;
    GtkWidget* box = gtk_bin_get_child(GTK_BIN(win));
    GdkWindow* gw = gtk_widget_get_window(win);
    if (!box || !gw) return FALSE;
    int x = 0, y = 0;
    gdk_window_get_origin(gw, &x, &y);
    GtkAllocation a;
    gtk_widget_get_allocation(box, &a);
    int dx = x + a.x - v.clientRect.left, dy = y + a.y - v.clientRect.top;
    if (dx == 0 && dy == 0) return FALSE;
    RECT r = v.rect;
    r.left += dx, r.right += dx, r.top += dy, r.bottom += dy;
    Guard g(b->m_syncing);
    wnd::InputMoved(top, r);
    return FALSE;
  }

  static void OnSetFocus(GtkWindow*, GtkWidget* focus, gpointer self) {
    auto* b = static_cast<GtkWindowBackend*>(self);
    if (b->m_syncing || !focus) return;
    HWND h = HwndOfWidget(focus);
    if (!h || h == GetFocus()) return;
    Guard g(b->m_focusFromGtk);
    wnd::InputFocus(h);
  }

  static void OnClicked(GtkButton* button, gpointer self) {
    auto* b = static_cast<GtkWindowBackend*>(self);
    if (b->m_syncing) return;
    HWND h = TagOf(GTK_WIDGET(button));
    if (!h) return;
    // The layer runs the check logic and sends BN_CLICKED; the procedure it calls may
    // destroy this very button, so the widget is looked up again afterwards.
    b->FromUser(h, [&] { return wnd::InputClick(h); });
    Peer* p = b->Find(h);
    if (!p || (p->kind != ControlKind::CheckBox && p->kind != ControlKind::RadioButton)) return;
    ControlView c;
    if (!wnd::GetControlView(h, &c)) return;
    Guard g(b->m_syncing);
    b->SyncCheck(*p, c);  // GTK toggled the widget itself; the layer's state wins
  }

  static void OnEntryChanged(GtkEditable* e, gpointer self) {
    auto* b = static_cast<GtkWindowBackend*>(self);
    if (b->m_syncing) return;
    HWND h = TagOf(GTK_WIDGET(e));
    if (!h) return;
    std::string text = gtk_entry_get_text(GTK_ENTRY(e));
    if (!b->FromUser(h, [&] { return wnd::InputText(h, text.c_str()); })) b->RestoreText(h);
  }

  static void OnBufferChanged(GtkTextBuffer* buf, gpointer self) {
    auto* b = static_cast<GtkWindowBackend*>(self);
    if (b->m_syncing) return;
    HWND h = static_cast<HWND>(g_object_get_qdata(G_OBJECT(buf), HwndQuark()));
    if (!h || !b->Find(h)) return;
    GtkTextIter s, e;
    gtk_text_buffer_get_bounds(buf, &s, &e);
    gchar* t = gtk_text_buffer_get_text(buf, &s, &e, FALSE);
    std::string text = FromBufferText(t);
    g_free(t);
    if (!b->FromUser(h, [&] { return wnd::InputText(h, text.c_str()); })) b->RestoreText(h);
  }

  void RestoreText(HWND h) {
    Peer* p = Find(h);
    WindowView v;
    if (!p || !wnd::GetWindowView(h, &v)) return;
    Guard g(m_syncing);
    ApplyText(*p, v);
  }

  static void OnListSelection(GtkTreeSelection* sel, gpointer self) {
    auto* b = static_cast<GtkWindowBackend*>(self);
    if (b->m_syncing) return;
    HWND h = static_cast<HWND>(g_object_get_qdata(G_OBJECT(sel), HwndQuark()));
    Peer* p = b->Find(h);
    if (!p) return;
    ControlView before;
    if (!wnd::GetControlView(h, &before)) return;
    GtkTreeModel* m = nullptr;
    GList* rows = gtk_tree_selection_get_selected_rows(sel, &m);
    std::vector<int> now;
    for (GList* r = rows; r; r = r->next) now.push_back(gtk_tree_path_get_indices(static_cast<GtkTreePath*>(r->data))[0]);
    g_list_free_full(rows, reinterpret_cast<GDestroyNotify>(gtk_tree_path_free));
    if (gtk_tree_selection_get_mode(sel) == GTK_SELECTION_MULTIPLE) {
      std::vector<int> was = before.selected;
      for (int i : now)
        if (std::find(was.begin(), was.end(), i) == was.end()) b->FromUser(h, [&] { return wnd::InputSelectItem(h, i, true); });
      for (int i : was)
        if (b->Find(h) && std::find(now.begin(), now.end(), i) == now.end())
          b->FromUser(h, [&] { return wnd::InputSelectItem(h, i, false); });
    } else if (!now.empty() && now.front() != before.curSel) {
      b->FromUser(h, [&] { return wnd::InputSelect(h, now.front()); });
    }
    b->Resync(h, StateChange::Selection);
  }

  static void OnRowActivated(GtkTreeView* tv, GtkTreePath*, GtkTreeViewColumn*, gpointer self) {
    auto* b = static_cast<GtkWindowBackend*>(self);
    if (HWND h = TagOf(GTK_WIDGET(tv))) b->FromUser(h, [&] { return wnd::InputDoubleClick(h); });
  }

  static void OnComboChanged(GtkComboBox* cb, gpointer self) {
    auto* b = static_cast<GtkWindowBackend*>(self);
    if (b->m_syncing) return;
    HWND h = TagOf(GTK_WIDGET(cb));
    if (!h) return;
    int i = gtk_combo_box_get_active(cb);
    if (i >= 0) {
      b->FromUser(h, [&] { return wnd::InputSelect(h, i); });
      b->Resync(h, StateChange::Selection);
    } else if (GtkWidget* e = gtk_bin_get_child(GTK_BIN(cb)); e && GTK_IS_ENTRY(e)) {
      std::string text = gtk_entry_get_text(GTK_ENTRY(e));
      if (!b->FromUser(h, [&] { return wnd::InputText(h, text.c_str()); })) b->RestoreText(h);
    }
  }

  static void OnSwitchPage(GtkNotebook* nb, GtkWidget*, guint page, gpointer self) {
    auto* b = static_cast<GtkWindowBackend*>(self);
    if (b->m_syncing) return;
    HWND h = TagOf(GTK_WIDGET(nb));
    if (!h) return;
    ControlView c;
    if (!wnd::GetControlView(h, &c) || c.curSel == int(page)) return;
    b->FromUser(h, [&] { return wnd::InputSelect(h, int(page)); });
    // The layer may refuse the change (TCN_SELCHANGING answered TRUE, or input not allowed):
    // then the page stays.
    if (!b->Find(h) || !wnd::GetControlView(h, &c) || c.curSel != int(page))
      g_signal_stop_emission_by_name(nb, "switch-page");
  }

  void Resync(HWND h, StateChange what) {
    Peer* p = Find(h);
    ControlView c;
    if (!p || !wnd::GetControlView(h, &c)) return;
    Guard g(m_syncing);
    ApplyControl(*p, c, what, -1);
  }

  // ---- the wait source: wakes GLib's loop when the layer's queue has work ----
  static bool Ready(gint* timeout) {
    GtkWindowBackend* b = g_backend;
    if (!b || !b->m_waiting) {
      *timeout = -1;
      return false;
    }
    if (wnd::HasQueuedMessages()) {
      *timeout = 0;
      return true;
    }
    ULONGLONG now = GetClock().Now();
    if (now >= b->m_deadline) {
      *timeout = 0;
      return true;
    }
    ULONGLONG left = b->m_deadline - now;
    *timeout = b->m_deadline == wnd::kNoDeadline ? -1 : int(std::min<ULONGLONG>(left, INT_MAX));
    return false;
  }
  static gboolean WaitPrepare(GSource*, gint* timeout) { return Ready(timeout); }
  static gboolean WaitCheck(GSource*) {
    gint t;
    return Ready(&t);
  }
  static gboolean WaitDispatch(GSource*, GSourceFunc, gpointer) { return G_SOURCE_CONTINUE; }

  DWORD m_thread;
  GSource* m_source = nullptr;
  std::unordered_map<HWND, Peer> m_peers;
  std::mutex m_tokenLock;
  std::map<std::uintptr_t, GdkEvent*> m_tokens;
  std::uintptr_t m_nextToken = 0;
  GtkWidget* m_measure = nullptr;
  GtkWidget* m_chooser = nullptr;  // the file chooser being shown
  SIZE m_baseUnits{7, 14};
  bool m_waiting = false;
  ULONGLONG m_deadline = wnd::kNoDeadline;
  bool m_syncing = false;       // the backend is writing to widgets: their signals are ours
  bool m_focusFromGtk = false;  // the layer is being told of a focus change GTK made
  HWND m_inputFrom = nullptr;   // the control whose user change the layer is taking
};

}  // namespace

GtkWidget* PeerWidget(HWND hwnd) { return g_backend ? g_backend->WidgetOf(hwnd, false) : nullptr; }
GtkWidget* PeerControl(HWND hwnd) { return g_backend ? g_backend->WidgetOf(hwnd, true) : nullptr; }
GtkWidget* OpenFileChooser() { return g_backend ? g_backend->CurrentChooser() : nullptr; }

}  // namespace zev::gtkhost

namespace zev::wnd {

// Opens the display once; null (no display) leaves the layer with its null backend.
WindowBackend* CreateHostWindowBackend() {
  if (gtkhost::g_backend) return gtkhost::g_backend;
  if (!gtk_init_check(nullptr, nullptr)) return nullptr;
  gtkhost::g_backend = new gtkhost::GtkWindowBackend();
  return gtkhost::g_backend;
}

}  // namespace zev::wnd
