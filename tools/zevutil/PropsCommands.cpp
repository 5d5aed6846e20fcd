// props: the properties sheet of a trace file. Its general and result pages come from the
// file and its run data, its notes from the file's comments. On a display the sheet is
// shown as a window; without one the same pages are written as text.
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "Commands.h"
#include "DialogShots.h"
#include "TraceRead.h"
#include "zevutil/PropPages.h"
#include "zevutil/platform/FileChooser.h"

namespace zevcli {

namespace {

struct TraceRecords {
  zev::GeneralPage general;
  zev::ResultGeneralPage result;
  zev::NotesPage notes;
};

zev::CString Text(const std::string& s) { return zev::CString(s.c_str()); }

void FillRecords(const std::string& path, TraceRecords& r) {
  Trace t = ReadTrace(path);
  std::filesystem::path p(path);
  const std::string name = p.filename().string();
  std::string folder = p.parent_path().string();
  if (folder.empty()) folder = ".";
  struct stat st {};
  zev::CTime modified = ::stat(path.c_str(), &st) == 0 ? zev::CTime(std::int64_t(st.st_mtime)) : zev::CTime();

  r.general.m_strObjectName = Text(name);
  r.general.m_strDatabase = Text(folder);
  r.general.m_Modified = modified;
  r.general.m_strType = Text(t.format);
  r.general.m_strBarcode = Text(t.barcode);

  r.result.m_strObjectName = Text(name);
  r.result.m_strDatabase = Text(folder);
  r.result.m_Modified = modified;
  r.result.m_strType = Text(t.format);
  r.result.m_strSampleName = Text(t.name);
  r.result.m_strBarcode = Text(t.barcode);
  r.result.m_strSubject = Text(t.subject);
  if (DetectFormat(ReadWholeFile(path)) == Kind::Abif) {
    // The run data only ABIF keeps: when and where the run was made.
    zev::CAbi abi;
    LoadAbif(path, abi);
    zev::CTime start, stop;
    abi.GetRunDateTime(start, stop);
    r.result.m_Collected = start;
    r.result.m_strSystemName = abi.GetMachineName();
    if (abi.GetLaneNumber() > 0) r.result.m_strSamplePosition = Text(std::to_string(abi.GetLaneNumber()));
    r.result.m_strSamplePlate = abi.GetGelName();
  }
  std::string note;
  for (const std::string& c : t.comments) note += (note.empty() ? "" : "\r\n") + c;
  r.notes.m_strNote = Text(note);
}

void PrintSheet(const zev::CComObjectPropertiesDlg& dlg) {
  std::printf("%s\n", dlg.GetTitle().GetString());
  for (int i = 0; i < dlg.GetPageCount(); ++i) {
    const zev::CPropertyPageModel& page = *dlg.GetPage(i);
    std::printf("\n[%s]\n", page.m_strCaption.GetString());
    if (!page.m_strTitle.IsEmpty()) std::printf("%s\n", page.m_strTitle.GetString());
    for (const zev::PropField& f : page.GetFields()) {
      std::string label = f.m_strLabel.GetString(), text = f.m_strText.GetString();
      for (char& c : label)
        if (c == '\n') c = ' ';
      // A text of several lines goes on indented lines under its label.
      std::string shown;
      for (char c : text) {
        if (c == '\r') continue;
        shown += c;
        if (c == '\n') shown += "    ";
      }
      std::printf("  %-34s %s\n", label.c_str(), shown.c_str());
    }
    if (!page.m_strListLabel.IsEmpty()) {
      std::printf("  %s\n", page.m_strListLabel.GetString());
      for (const zev::CString& s : page.m_ListItems) std::printf("    %s\n", s.GetString());
    }
  }
}

}  // namespace

void AddPropsCommands(CLI::App& app) {
  auto* cmd = app.add_subcommand("props", "show the properties sheet of a trace (as text when there is no display)");
  static std::string path, shot;
  static bool asText = false;
  cmd->add_option("TRACE", path, "trace file (ABIF, SCF, ESD or CRV)")->required();
  cmd->add_flag("--text", asText, "write the pages as text even when a display is there");
  cmd->add_option("--shot", shot,
                  "unattended: save a picture of each page as SHOT-N.png, then close (for demonstrations)");
  cmd->callback([] {
    TraceRecords r;
    FillRecords(path, r);
    zev::PropPages pages;
    pages.m_pGeneral = &r.general;
    pages.m_pResultGeneral = &r.result;
    pages.m_pNotes = &r.notes;
    zev::CComObjectPropertiesDlg dlg(pages, 0, 0, 0);
    if (asText || !DisplayOrSay("the properties follow as text")) {
      PrintSheet(dlg);
      return;
    }
    if (!shot.empty()) {
      std::vector<ShotStep> steps;
      for (int i = 0; i < dlg.GetPageCount(); ++i) {
        if (i > 0)
          steps.push_back({"", [i](HWND w) {
                             HWND tab = zev::GetDlgItem(w, zev::CComObjectPropertiesDlg::kTabId);
                             zev::SendMessageA(tab, zev::TCM_SETCURSEL, zev::WPARAM(i), 0);
                             zev::NMHDR nm{tab, zev::UINT_PTR(zev::CComObjectPropertiesDlg::kTabId), zev::TCN_SELCHANGE};
                             zev::SendMessageA(w, zev::WM_NOTIFY, zev::WPARAM(nm.idFrom), zev::LPARAM(&nm));
                           }});
        steps.push_back({ShotName(shot, std::to_string(i + 1)), {}});
      }
      steps.push_back({"", [](HWND w) { zev::PostMessageA(w, zev::WM_COMMAND, zev::IDCANCEL, 0); }});
      ArmShotSteps([&dlg] { return dlg.GetSafeHwnd(); }, std::move(steps));
    }
    if (dlg.DoModal() < 0) throw CommandError("the properties sheet could not be shown");
  });
}

}  // namespace zevcli
