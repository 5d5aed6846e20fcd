// The container that holds a window's child peers: each child gets exactly the
// rectangle the window layer gave it, and the container asks for exactly its own
// client size. GtkFixed alone would give children their natural size, so a themed
// button or a wrapping label would grow past its rectangle.
#include "platform/host/GtkPeers.h"

namespace {

struct ZevFixed {
  GtkFixed parent;
};
struct ZevFixedClass {
  GtkFixedClass parent_class;
};

GQuark RectQuark() {
  static GQuark q = g_quark_from_static_string("zev-rect");
  return q;
}

const zev::gtkhost::PeerRect* RectOf(GtkWidget* w) {
  return static_cast<const zev::gtkhost::PeerRect*>(g_object_get_qdata(G_OBJECT(w), RectQuark()));
}

G_DEFINE_TYPE(ZevFixed, zev_fixed, GTK_TYPE_FIXED)

void zev_fixed_init(ZevFixed*) {}

void PreferredWidth(GtkWidget* w, gint* minimum, gint* natural) {
  const zev::gtkhost::PeerRect* r = RectOf(w);
  *minimum = *natural = r ? std::max(1, r->w) : 1;
}

void PreferredHeight(GtkWidget* w, gint* minimum, gint* natural) {
  const zev::gtkhost::PeerRect* r = RectOf(w);
  *minimum = *natural = r ? std::max(1, r->h) : 1;
}

void Allocate(GtkWidget* w, GtkAllocation* a) {
  gtk_widget_set_allocation(w, a);
  if (gtk_widget_get_has_window(w) && gtk_widget_get_realized(w))
    gdk_window_move_resize(gtk_widget_get_window(w), a->x, a->y, a->width, a->height);
  bool moved = false;
  GList* kids = gtk_container_get_children(GTK_CONTAINER(w));
  for (GList* k = kids; k; k = k->next) {
    GtkWidget* c = GTK_WIDGET(k->data);
    const zev::gtkhost::PeerRect* r = RectOf(c);
    if (!r || !gtk_widget_get_visible(c)) continue;
    // GTK wants every child asked for its size before it is given one.
    GtkRequisition minimum, natural;
    gtk_widget_get_preferred_size(c, &minimum, &natural);
    int h = r->h;
    // A combo box's rectangle includes its dropped list; the closed box takes the top.
    if (GTK_IS_COMBO_BOX(c)) h = std::min(h, std::max(minimum.height, natural.height));
    int ox = gtk_widget_get_has_window(w) ? 0 : a->x;
    int oy = gtk_widget_get_has_window(w) ? 0 : a->y;
    GtkAllocation ca = {ox + r->x, oy + r->y, std::max(1, r->w), std::max(1, h)};
    GtkAllocation old;
    gtk_widget_get_allocation(c, &old);
    gtk_widget_size_allocate(c, &ca);
    moved = moved || old.x != ca.x || old.y != ca.y || old.width != ca.width || old.height != ca.height;
  }
  g_list_free(kids);
  // A child placed over a sibling (a control inside a group box) is not always redrawn
  // where it lands; drawing the whole container again puts every child back on screen.
  if (moved) gtk_widget_queue_draw(w);
}

void zev_fixed_class_init(ZevFixedClass* k) {
  GtkWidgetClass* wc = GTK_WIDGET_CLASS(k);
  wc->get_preferred_width = PreferredWidth;
  wc->get_preferred_height = PreferredHeight;
  wc->size_allocate = Allocate;
}

}  // namespace

namespace zev::gtkhost {

GtkWidget* NewFixedBox() { return GTK_WIDGET(g_object_new(zev_fixed_get_type(), nullptr)); }

void SetPeerRect(GtkWidget* w, const PeerRect& r) {
  auto* copy = g_new(PeerRect, 1);
  *copy = r;
  g_object_set_qdata_full(G_OBJECT(w), RectQuark(), copy, g_free);
  if (GtkWidget* parent = gtk_widget_get_parent(w)) gtk_widget_queue_resize(parent);
  gtk_widget_queue_resize(w);
}

bool GetPeerRect(GtkWidget* w, PeerRect* out) {
  const PeerRect* r = RectOf(w);
  if (!r) return false;
  *out = *r;
  return true;
}

}  // namespace zev::gtkhost
