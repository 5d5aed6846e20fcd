// The suite's dialogs on a real display: the properties sheet and the file choosers, shown
// through the GTK backend, checked for clipped controls and texts, and driven with real
// clicks (XTEST) to the same results as the headless tests.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "zevutil/CExportObjectDialog.h"
#include "zevutil/CZevExportDlg.h"
#include "zevutil/DialogModelWindow.h"
#include "zevutil/PropPages.h"
#include "zevutil/platform/Profile.h"
#include "zevutil/platform/FileChooser.h"
#include "zevutil/platform/Window.h"
#include "zevutil/platform/WindowImage.h"
#include "zevutil/platform/WindowTesting.h"
// GLib's TRUE and FALSE macros come after the layer's constants of the same names.
#include "gui/LayerLoop.h"
#include "gui/XInput.h"
#include "gui/XvfbEnvironment.h"
#include "platform/host/GtkBackendAccess.h"

namespace zev {
namespace {

using gtkhost::PeerWidget;

ULONGLONG Now() { return GetClock().Now(); }

using zevtest::RunUntil;

void SettleWindow(HWND dlg) {
  RunUntil([&] {
    GtkWidget* w = PeerWidget(dlg);
    return w && gtk_widget_get_mapped(w);
  });
  ULONGLONG end = Now() + 200;
  RunUntil([&] { return Now() >= end; });
}

RECT RectIn(HWND ctl, HWND container) {
  RECT r{};
  GetWindowRect(ctl, &r);
  MapWindowPoints(nullptr, container, reinterpret_cast<POINT*>(&r), 2);
  return r;
}

// Every shown control of a page or the sheet: the widget has exactly its rectangle, the
// theme asks for no more than that, and a label's text fits it.
void ExpectNothingClipped(HWND container) {
  for (HWND c = GetWindow(container, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) {
    if (!IsWindowVisible(c)) continue;
    char cls[64] = {};
    GetClassNameA(c, cls, sizeof cls);
    const std::string text = GetWindowTextString(c);
    SCOPED_TRACE(std::string(cls) + " '" + text + "'");
    GtkWidget* w = PeerWidget(c);
    ASSERT_NE(w, nullptr);
    RECT r = RectIn(c, container);
    GtkAllocation a;
    gtk_widget_get_allocation(w, &a);
    EXPECT_EQ(a.width, r.right - r.left);
    // A combo box's rectangle holds its dropped list; the closed box takes its top part.
    if (std::string(cls) == "ComboBox") {
      EXPECT_LE(a.height, r.bottom - r.top);
    } else {
      EXPECT_EQ(a.height, r.bottom - r.top);
    }
    if (std::string(cls) == "ZevPropertyPage") continue;  // a container: its children are checked
    GtkRequisition minimum, natural;
    gtk_widget_get_preferred_size(w, &minimum, &natural);
    EXPECT_LE(minimum.width, a.width);
    int minH = 0, natH = 0;
    gtk_widget_get_preferred_height_for_width(w, a.width, &minH, &natH);
    EXPECT_LE(natH, a.height);
    if (GTK_IS_LABEL(w)) {
      // The layout that draws the label, at the label's width.
      PangoLayout* lay = gtk_label_get_layout(GTK_LABEL(w));
      int lw = 0, lh = 0;
      pango_layout_get_pixel_size(lay, &lw, &lh);
      EXPECT_LE(lw, a.width);
      EXPECT_LE(lh, a.height);
    }
  }
}

class SuiteDialogs : public ::testing::Test {
 protected:
  void SetUp() override { ZEV_REQUIRE_DISPLAY(); }
  void TearDown() override { ResetWindowTestState(); }
};

TEST_F(SuiteDialogs, PropertiesSheetShowsEveryPageUnclippedAndClosesFromItsButton) {
  GeneralPage general;
  general.m_strObjectName = "sangerseqR_heterozygous.ab1";
  general.m_strDatabase = "/work/shared/testdata/traces";
  general.m_strType = "ABIF";
  ResultGeneralPage result;
  result.m_strObjectName = general.m_strObjectName;
  result.m_strSampleName = "B11_F";
  result.m_strSystemName = "3730-01-1522-008";
  result.m_strSubject = "A subject line long enough to wrap inside the column of texts on this page";
  NotesPage notes;
  notes.m_strNote = "NAME=B11_F\r\nRun on the second plate.";
  FragLocusTagList loci;
  for (const char* t : {"D8S1179", "D21S11", "D7S820", "CSF1PO"}) loci.m_Tags.Add(t);
  PropPages pages;
  pages.m_pGeneral = &general;
  pages.m_pResultGeneral = &result;
  pages.m_pNotes = &notes;
  pages.m_pLocusTags = &loci;
  CComObjectPropertiesDlg dlg(pages, 0, 0, 0);
  HWND sheet = dlg.Create();
  ASSERT_NE(sheet, nullptr);
  SettleWindow(sheet);
  HWND tab = GetDlgItem(sheet, CComObjectPropertiesDlg::kTabId);
  GtkNotebook* nb = GTK_NOTEBOOK(gtkhost::PeerControl(tab));
  ASSERT_NE(nb, nullptr);
  ASSERT_EQ(gtk_notebook_get_n_pages(nb), 4);
  ExpectNothingClipped(sheet);

  // The tabs stand above the page: the page window never covers a tab.
  GtkWidget* firstTab = gtk_notebook_get_tab_label(nb, gtk_notebook_get_nth_page(nb, 0));
  GtkAllocation tabLabel, page;
  gtk_widget_get_allocation(firstTab, &tabLabel);
  gtk_widget_get_allocation(PeerWidget(dlg.GetPageWindow(0)), &page);
  int tx = 0, ty = 0;
  gtk_widget_translate_coordinates(firstTab, PeerWidget(sheet), 0, 0, &tx, &ty);
  int px = 0, py = 0;
  gtk_widget_translate_coordinates(PeerWidget(dlg.GetPageWindow(0)), PeerWidget(sheet), 0, 0, &px, &py);
  EXPECT_LE(ty + tabLabel.height, py);

  // Each page in turn, picked with a real click on its tab.
  const char* shots[] = {"props-general.png", "props-result.png", "props-notes.png", "props-loci.png"};
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    if (i > 0) {
      ASSERT_TRUE(zevtest::ClickWidget(gtk_notebook_get_tab_label(nb, gtk_notebook_get_nth_page(nb, i))));
      EXPECT_TRUE(RunUntil([&] { return IsWindowVisible(dlg.GetPageWindow(i)) != 0; }, 3000, sheet));
      ULONGLONG end = Now() + 150;
      RunUntil([&] { return Now() >= end; }, 500, sheet);
    }
    EXPECT_EQ(SendMessageA(tab, TCM_GETCURSEL, 0, 0), i);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(IsWindowVisible(dlg.GetPageWindow(k)) != 0, k == i);
    ExpectNothingClipped(dlg.GetPageWindow(i));
    EXPECT_TRUE(zevtest::Screenshot(PeerWidget(sheet), shots[i]));
  }
  // The note cannot be typed into.
  HWND note = GetDlgItem(dlg.GetPageWindow(2), CComObjectPropertiesDlg::kFirstFieldId + 1);
  EXPECT_FALSE(gtk_text_view_get_editable(GTK_TEXT_VIEW(gtkhost::PeerControl(note))));

  // Only "&Close" and "&Help" show; a click on Close ends the sheet.
  EXPECT_FALSE(gtk_widget_get_visible(PeerWidget(GetDlgItem(sheet, IDOK))));
  EXPECT_FALSE(gtk_widget_get_visible(PeerWidget(GetDlgItem(sheet, CComObjectPropertiesDlg::kApplyId))));
  EXPECT_STREQ(gtk_button_get_label(GTK_BUTTON(PeerWidget(GetDlgItem(sheet, IDCANCEL)))), "_Close");
  ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(sheet, IDHELP))));
  RunUntil([] { return false; }, 200, sheet);
  EXPECT_TRUE(IsWindow(sheet));
  ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(sheet, IDCANCEL))));
  EXPECT_TRUE(RunUntil([&] { return !IsWindow(sheet); }, 3000, sheet));
  EXPECT_FALSE(dlg.ContinueModal());
}

// What the person at the chooser does, from a timer while ChooseFile runs its loop.
struct ChooserScript {
  std::function<void(GtkWidget*)> act;
  bool acted = false;
  int ticks = 0;
};
ChooserScript* g_chooser = nullptr;

void ChooserTick(HWND, UINT, UINT_PTR, DWORD) {
  GtkWidget* c = gtkhost::OpenFileChooser();
  if (!g_chooser || g_chooser->acted || !c || !gtk_widget_get_mapped(c)) return;
  if (++g_chooser->ticks < 8) return;  // let it lay out and draw its folder
  g_chooser->acted = true;
  g_chooser->act(c);
}

TEST_F(SuiteDialogs, FileChooserAnswersThroughTheLayersLoop) {
  namespace fs = std::filesystem;
  const char* tmp = std::getenv("ZEV_TEST_TMP");
  fs::path dir = fs::path(tmp ? tmp : "/tmp") / "chooser";
  fs::create_directories(dir);
  std::FILE* f = std::fopen((dir / "run_0001.txt").c_str(), "w");
  ASSERT_NE(f, nullptr);
  std::fclose(f);

  // An owner window that must refuse input while the chooser is up.
  DialogTemplate t(WS_POPUP | WS_CAPTION | DS_MODALFRAME | WS_VISIBLE, 10, 10, 120, 40, "Owner");
  t.DefPushButton("OK", IDOK, 35, 14, 50, 14);
  HWND owner = CreateDialogIndirectParamA(nullptr, &t, nullptr, [](HWND, UINT, WPARAM, LPARAM) -> INT_PTR { return 0; }, 0);
  ASSERT_NE(owner, nullptr);
  SettleWindow(owner);

  struct Case {
    const char* name;
    FileChooserRequest::Mode mode;
    GtkResponseType press;
    int result;
    std::string path;  // expected
    const char* shot;
  };
  const Case cases[] = {
      {"save under the proposed name", FileChooserRequest::Mode::Save, GTK_RESPONSE_ACCEPT, IDOK,
       (dir / "export_1.txt").string(), "chooser-save.png"},
      {"folder, cancelled", FileChooserRequest::Mode::Folder, GTK_RESPONSE_CANCEL, IDCANCEL, "", "chooser-folder.png"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    FileChooserRequest req;
    req.mode = c.mode;
    req.title = c.mode == FileChooserRequest::Mode::Save ? "Export" : "Choose the export folder";
    req.filters = {{"Text (*.txt)", "*.txt"}, {"SCF (*.scf)", "*.scf"}};
    req.filterIndex = 2;
    req.initialPath = c.mode == FileChooserRequest::Mode::Save ? (dir / "export_1.txt").string() : dir.string();
    bool ownerEnabledMeanwhile = true;
    ChooserScript script;
    script.act = [&](GtkWidget* chooser) {
      ownerEnabledMeanwhile = IsWindowEnabled(owner) != 0;
      zevtest::Screenshot(chooser, c.shot);
      GtkWidget* button = gtk_dialog_get_widget_for_response(GTK_DIALOG(chooser), c.press);
      ASSERT_NE(button, nullptr);
      zevtest::ClickWidget(button);
    };
    g_chooser = &script;
    UINT_PTR timer = SetTimer(nullptr, 0, 50, ChooserTick);
    int r = ChooseFile(owner, req);
    KillTimer(nullptr, timer);
    g_chooser = nullptr;
    EXPECT_TRUE(script.acted);
    EXPECT_EQ(r, c.result);
    EXPECT_EQ(req.path, c.path);
    if (c.result == IDOK) {
      EXPECT_EQ(req.filterIndex, 2);
    }
    EXPECT_FALSE(ownerEnabledMeanwhile);
    EXPECT_TRUE(IsWindowEnabled(owner));
    EXPECT_EQ(gtkhost::OpenFileChooser(), nullptr);
  }
  DestroyWindow(owner);
}

TEST_F(SuiteDialogs, ExportDialogsShowTheirModelsUnclippedAndTakeRealClicks) {
  namespace fs = std::filesystem;
  const char* tmp = std::getenv("ZEV_TEST_TMP");
  fs::path profile = fs::path(tmp ? tmp : "/tmp") / "export-dialogs-gui.ini";
  fs::remove(profile);
  SetApplicationProfile(profile.c_str());
  using D = CExportObjectDialog;
  D model(nullptr, 10002, 0, "/out/run", nullptr, 1, 1, 1, 0, 1, 1);
  model.SetBatchExportFormat(1);
  CDialogModelWindow win(model);
  HWND dlg = win.Create();
  ASSERT_NE(dlg, nullptr);
  SettleWindow(dlg);
  ExpectNothingClipped(dlg);
  EXPECT_TRUE(zevtest::Screenshot(PeerWidget(dlg), "export-options.png"));

  // A real click on an option reaches the model and comes back as the model says.
  const int before = model.Controls().GetCheck(D::IDC_EXPORT_RAW_DATA);
  ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(dlg, D::IDC_EXPORT_RAW_DATA))));
  EXPECT_TRUE(RunUntil([&] { return model.Controls().GetCheck(D::IDC_EXPORT_RAW_DATA) != before; }, 3000, dlg));
  EXPECT_EQ(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(PeerWidget(GetDlgItem(dlg, D::IDC_EXPORT_RAW_DATA)))),
            model.Controls().GetCheck(D::IDC_EXPORT_RAW_DATA) != 0);
  // The spin arrow by a click.
  ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(dlg, D::IDC_EXPORT_MIN_LENGTH_SPIN))));
  EXPECT_TRUE(RunUntil([&] { return model.Controls().GetText(D::IDC_EXPORT_MIN_LENGTH) == "1"; }, 3000, dlg));
  EXPECT_STREQ(gtk_entry_get_text(GTK_ENTRY(gtkhost::PeerControl(GetDlgItem(dlg, D::IDC_EXPORT_MIN_LENGTH)))), "1");
  // Another format by the layer (as a pick): options grey and hide as the model says.
  HWND filter = GetDlgItem(dlg, D::IDC_DIR_FILTER);
  const int rows = int(SendMessageA(filter, CB_GETCOUNT, 0, 0));
  ASSERT_GT(rows, 2);
  ASSERT_TRUE(ScriptedUser::Select(filter, rows - 1));
  ULONGLONG end = Now() + 150;
  RunUntil([&] { return Now() >= end; }, 500, dlg);
  for (const DialogControl& c : model.Controls().Controls()) {
    HWND h = GetDlgItem(dlg, c.m_nID);
    if (!c.m_bExists || !h) continue;
    SCOPED_TRACE(c.m_nID);
    EXPECT_EQ(gtk_widget_get_visible(PeerWidget(h)) != 0, c.IsVisible() != 0);
    if (c.IsVisible()) {
      EXPECT_EQ(gtk_widget_get_sensitive(PeerWidget(h)) != 0, c.m_bEnabled != 0);
    }
  }
  ExpectNothingClipped(dlg);
  EXPECT_TRUE(zevtest::Screenshot(PeerWidget(dlg), "export-options-last-format.png"));
  ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(dlg, IDCANCEL))));
  EXPECT_TRUE(RunUntil([&] { return !IsWindow(dlg); }, 3000, dlg));
  EXPECT_EQ(model.GetResult(), 2);

  // The batch dialog: its objects, a real click on a row and on OK.
  CObSeqIDList list;
  for (const char* name : {"run_0001", "run_0002", "run_0003"}) {
    CObSeqID id(name, 0, 10002, 0);
    list.AddTail(list.CloneElement(&id));
  }
  CZevExportDlg batch(list, nullptr, 1);
  CDialogModelWindow win2(batch);
  HWND b = win2.Create();
  ASSERT_NE(b, nullptr);
  SetWindowTextA(GetDlgItem(b, CZevExportDlg::IDC_ZEXP_FOLDER), "/out");
  SettleWindow(b);
  ExpectNothingClipped(b);
  HWND objects = GetDlgItem(b, CZevExportDlg::IDC_ZEXP_OBJECTS);
  GtkTreeView* tv = GTK_TREE_VIEW(gtkhost::PeerControl(objects));
  GdkRectangle cell;
  GtkTreePath* path = gtk_tree_path_new_from_indices(1, -1);
  gtk_tree_view_get_cell_area(tv, path, nullptr, &cell);
  gtk_tree_path_free(path);
  int bx = 0, by = 0;
  gtk_tree_view_convert_bin_window_to_widget_coords(tv, cell.x + cell.width / 2, cell.y + cell.height / 2, &bx, &by);
  int ox = 0, oy = 0;
  gdk_window_get_origin(gtk_widget_get_window(GTK_WIDGET(tv)), &ox, &oy);
  GtkAllocation a;
  gtk_widget_get_allocation(GTK_WIDGET(tv), &a);
  zevtest::ClickAt(ox + (gtk_widget_get_has_window(GTK_WIDGET(tv)) ? 0 : a.x) + bx,
                   oy + (gtk_widget_get_has_window(GTK_WIDGET(tv)) ? 0 : a.y) + by);
  EXPECT_TRUE(RunUntil([&] { return batch.Controls().Control(CZevExportDlg::IDC_ZEXP_OBJECTS).m_Selected.size() == 1; }, 3000, b));
  EXPECT_TRUE(zevtest::Screenshot(PeerWidget(b), "export-batch.png"));
  ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(b, IDOK))));
  EXPECT_TRUE(RunUntil([&] { return !IsWindow(b); }, 3000, b));
  EXPECT_EQ(win2.GetEndResult(), IDOK);
  ASSERT_EQ(batch.GetObSeqIDList().GetCount(), 1);
  EXPECT_STREQ(batch.GetObSeqIDList().GetHead()->ObName, "run_0002");
  SetApplicationProfile(nullptr);
}

}  // namespace
}  // namespace zev
