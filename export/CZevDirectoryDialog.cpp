// Control states of a dialog model, and the folder-and-name choice under the export
// option dialog.
#include "zevutil/CZevDirectoryDialog.h"

#include <algorithm>

namespace zev {

// ---- CDialogControlModel ----

DialogControl& CDialogControlModel::AddControl(int id, DialogControlKind kind, const char* text) {
  DialogControl c;
  c.m_nID = id;
  c.m_eKind = kind;
  c.m_strText = text;
  if (DialogControl* old = Find(id)) {
    *old = std::move(c);
    return *old;
  }
  m_Controls.push_back(std::move(c));
  return m_Controls.back();
}

DialogControl* CDialogControlModel::Find(int id) {
  auto it = std::find_if(m_Controls.begin(), m_Controls.end(), [id](const DialogControl& c) { return c.m_nID == id; });
  return it == m_Controls.end() ? nullptr : &*it;
}

const DialogControl* CDialogControlModel::Find(int id) const {
  auto it = std::find_if(m_Controls.begin(), m_Controls.end(), [id](const DialogControl& c) { return c.m_nID == id; });
  return it == m_Controls.end() ? nullptr : &*it;
}

DialogControl& CDialogControlModel::Control(int id) {
  if (DialogControl* c = Find(id)) return *c;
  // Writes to an unknown id land here and are forgotten at the next call.
  m_Detached = DialogControl();
  m_Detached.m_nID = id;
  m_Detached.m_bExists = 0;
  return m_Detached;
}

const DialogControl& CDialogControlModel::Control(int id) const {
  if (const DialogControl* c = Find(id)) return *c;
  m_Detached = DialogControl();
  m_Detached.m_nID = id;
  m_Detached.m_bExists = 0;
  return m_Detached;
}

// ---- CZevDirectoryDialog ----

CZevDirectoryDialog::CZevDirectoryDialog(CWnd* parent, int bFixedFolder, const char* path, const char* title,
                                         int bPersist)
    : m_pParent(parent), m_bFixedFolder(bFixedFolder), m_bPersist(bPersist), m_strTitle(title) {
  m_Controls.AddControl(IDC_DIR_FILTER, DialogControlKind::Combo, "");
  m_Controls.AddControl(IDC_DIR_FOLDER, DialogControlKind::Edit, "");
  m_Controls.AddControl(IDC_DIR_FILENAME, DialogControlKind::Edit, "");
  if (path && *path) {
    CString name;
    SetPathname(CString(path), name);
  }
  // A fixed folder is shown, not chosen.
  m_Controls.Enable(IDC_DIR_FOLDER, !bFixedFolder);
}

void CZevDirectoryDialog::SetPathname(const CString& path, CString& name) {
  int cut = std::max(path.ReverseFind('/'), path.ReverseFind('\\'));
  if (cut >= 0) {
    m_strFolder = path.Left(cut);
    if (cut == 0) m_strFolder = path.Left(1);  // the root keeps its separator
    name = path.Mid(cut + 1);
  } else {
    name = path;
  }
  m_strFileName = name;
  m_Controls.SetText(IDC_DIR_FOLDER, m_strFolder);
  m_Controls.SetText(IDC_DIR_FILENAME, m_strFileName);
}

CString CZevDirectoryDialog::GetPathName() const {
  if (m_strFileName.IsEmpty()) return m_strFolder;
  if (m_strFolder.IsEmpty()) return m_strFileName;
  char last = m_strFolder[m_strFolder.GetLength() - 1];
  if (last == '/' || last == '\\') return m_strFolder + m_strFileName;
  return m_strFolder + "/" + m_strFileName;
}

void CZevDirectoryDialog::OnEditText(int id, const char* text) {
  DialogControl* c = m_Controls.Find(id);
  if (!c || !c->m_bEnabled) return;
  c->m_strText = text;
  if (id == IDC_DIR_FOLDER) m_strFolder = text;
  if (id == IDC_DIR_FILENAME) m_strFileName = text;
}

int CZevDirectoryDialog::OnOK() {
  if (m_nResult) return 1;
  if (OnFileNameOK() != 0) return 0;
  m_nResult = 1;
  return 1;
}

void CZevDirectoryDialog::SetFilterString(const std::vector<std::pair<CString, CString>>& rows) {
  std::string text;
  for (const auto& [name, ext] : rows) {
    CString row;
    row.Format("%s (*.%s)|*.%s|", name.GetString(), ext.GetString(), ext.GetString());
    text += row.str();
  }
  text += '|';
  // The file dialog takes the text from a buffer of 512 bytes: a longer list is cut
  // there rather than written past it.
  if (text.size() > 511) text.resize(511);
  std::replace(text.begin(), text.end(), '|', '\0');
  m_strFilter = text;
  DialogControl& combo = m_Controls.Control(IDC_DIR_FILTER);
  combo.m_Items.clear();
  for (const auto& [name, ext] : rows) {
    CString shown;
    shown.Format("%s (*.%s)", name.GetString(), ext.GetString());
    combo.m_Items.push_back(shown);
  }
}

}  // namespace zev
