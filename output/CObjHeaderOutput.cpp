// The header rows of a stored object: created, modified and the note.
#include "zevutil/CObjHeaderOutput.h"

namespace zev {

namespace {
constexpr int kRowCreated = 0;
constexpr int kRowModified = 1;
constexpr int kRowNote = 2;
constexpr LONG kRows = 3;
}  // namespace

LONG CObjHeaderOutput::GetNumberOfTextStrings() {
  return m_pObjHeader && m_pObjHeader->ObjInfo ? kRows : 0;
}

int CObjHeaderOutput::GetRevisionRecordString(EEXPORT_TYPE, const CRevisionRecord& record, CString& text) {
  CString names;
  names.Format("\tProject:\t%s\r\n\t\tSystem:\t%s [Rev %ld]", record.Project, record.System,
               long(record.Revision));
  text = record.Time.Format("%c");
  text += names;
  return 1;
}

int CObjHeaderOutput::GetNoteString(EEXPORT_TYPE, CString& text) {
  text = "\r\nNote:\t";
  text += m_pObjHeader->ObjInfo->Note;
  // Lines of a long note continue behind the label, not under it.
  SetIndent("Note:\t");
  return 1;
}

int CObjHeaderOutput::GetTextOutput(COutputInfo* info, CString& text) {
  if (!m_pObjHeader || !info || !m_pObjHeader->ObjInfo) return 0;
  const CObjInfo& objInfo = *m_pObjHeader->ObjInfo;
  LONG row = info->m_nStringIndex;
  // kept: for an edited object the third row falls past the note, so its report shows
  // the created and modified rows only; report layouts were made around that.
  if (row > 1 && objInfo.Edited) ++row;
  const EEXPORT_TYPE type = info->m_eOutputType;
  CString revision;
  switch (row) {
    case kRowCreated: {
      static const double kStops[] = {1.0, 3.0, 4.0};
      SetTabStops(kStops, 3);
      const int made = GetRevisionRecordString(type, objInfo.Created, revision);
      text = "\r\nCreated:\t";
      text += revision;
      return made;
    }
    case kRowModified: {
      const int made = GetRevisionRecordString(type, objInfo.Modified, revision);
      text = "\r\nModified:\t";
      text += revision;
      return made;
    }
    case kRowNote:
      GetNoteString(type, text);
      info->m_bStopOutput = 1;
      return 0;
    default:
      SetTabStops(nullptr, 0);
      return 0;
  }
}

}  // namespace zev
