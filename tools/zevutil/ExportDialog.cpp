// export --dialog: the option dialog shown through the export dialog window, and the
// batch under a progress window.
#include "ExportDialog.h"

#include <cstdio>

#include "DialogShots.h"
#include "zevutil/CExportObjectDialog.h"
#include "zevutil/CZevDlg.h"
#include "zevutil/DialogModelWindow.h"
#include "zevutil/platform/WindowImage.h"
#include "zevutil/platform/WindowMessageBox.h"

namespace zevcli {

namespace {
constexpr zev::LONG kTraceObjectType = 10002;  // the object type of sequence traces
}

bool ChooseExportInDialog(ExportDialogChoice& choice, const std::string& shot) {
  if (!DisplayOrSay("exporting as the command line says")) return true;
  std::string start = choice.outDir.empty() ? "./" : choice.outDir + "/";
  zev::CExportObjectDialog dlg(nullptr, kTraceObjectType, 0, start.c_str(), nullptr, 1, 1, 0, 0, 1, 1);
  dlg.SetBatchExportFormat(1);
  zev::CDialogModelWindow win(dlg);
  if (!shot.empty()) {
    ArmShotSteps([&win] { return win.GetSafeHwnd(); },
                 {{"", [](HWND w) {
                     // Something to export: the result data, when the format leaves it unchecked.
                     HWND result = zev::GetDlgItem(w, zev::CExportObjectDialog::IDC_EXPORT_RESULT_DATA);
                     if (result && !zev::SendMessageA(result, zev::BM_GETCHECK, 0, 0))
                       zev::SendMessageA(result, zev::BM_CLICK, 0, 0);
                   }},
                  {ShotName(shot, "options"), {}},
                  {"", [](HWND w) { zev::PostMessageA(w, zev::WM_COMMAND, zev::IDOK, 0); }}});
  }
  if (win.DoModal() != zev::IDOK) return false;
  choice.type = dlg.GetExportFileType();
  choice.outDir = dlg.GetFolder().GetString();
  if (choice.outDir.empty()) choice.outDir = ".";
  choice.minLength = dlg.m_nMinAutoExportSeqLength > 0 ? dlg.m_nMinAutoExportSeqLength : -1;
  choice.resolve = dlg.m_bResolveConflicts != 0;
  choice.applyTrimming = dlg.m_bApplyTriming != 0;
  return true;
}

struct ExportProgressWindow::Impl {
  zev::CProgressControlDlg* dlg = nullptr;  // deletes itself when its window goes
  std::string shot;
  bool shotTaken = false;
};

ExportProgressWindow::ExportProgressWindow(std::size_t total, const std::string& shot) : m(new Impl) {
  if (!zev::WindowsOnScreen()) return;
  m->dlg = new zev::CProgressControlDlg("Export", nullptr, 0);
  m->dlg->SetTotalCount(int(total));
  m->shot = shot;
}

ExportProgressWindow::~ExportProgressWindow() {
  if (m->dlg && zev::IsWindow(m->dlg->GetSafeHwnd())) zev::DestroyWindow(m->dlg->GetSafeHwnd());
}

bool ExportProgressWindow::Next(const std::string& path) {
  if (!m->dlg) return true;
  bool alive = zev::IsWindow(m->dlg->GetSafeHwnd());
  if (!alive || !m->dlg->Continue()) {
    if (alive) zev::DestroyWindow(m->dlg->GetSafeHwnd());
    m->dlg = nullptr;
    return false;
  }
  m->dlg->FormatNDisplayNext("Exporting %s", path.c_str());
  if (!m->shot.empty() && !m->shotTaken) {
    m->shotTaken = true;
    zev::UpdateWindow(m->dlg->GetSafeHwnd());
    m->dlg->Continue();  // lets the window be drawn before its picture is taken
    if (!zev::SaveWindowImage(m->dlg->GetSafeHwnd(), ShotName(m->shot, "progress").c_str()))
      std::fprintf(stderr, "zevutil: could not save the progress picture\n");
  }
  return true;
}

}  // namespace zevcli
