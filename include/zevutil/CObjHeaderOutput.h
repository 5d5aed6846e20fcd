// CObjHeaderOutput: an object's header as report text. Three rows through the output
// object's one text interface, the same on paper and in an export:
//   "\r\nCreated:\t<revision>"    (tab stops at 1.0, 3.0 and 4.0 inches on paper)
//   "\r\nModified:\t<revision>"
//   "\r\nNote:\t<note>"           (continuation lines indented behind "Note:\t")
// where <revision> is the time by "%c", then
// "\tProject:\t<project>\r\n\t\tSystem:\t<system> [Rev <n>]".
// An edited object gives the first two rows only.
#pragma once
#include "zevutil/CObjHeader.h"
#include "zevutil/COutputObject.h"

namespace zev {

class CObjHeaderOutput : public COutputObject {
 public:
  // The header is borrowed, not owned, and must outlive every job of this object.
  explicit CObjHeaderOutput(CObjHeader* header = nullptr) : m_pObjHeader(header) {}

  // The row numbered by info's string index. 1 while rows follow; 0 for the note (which
  // also stops the output), past the last row, or without a header, info or ObjInfo.
  int GetTextOutput(COutputInfo* info, CString& text) override;
  // 3, or 0 without a header or ObjInfo.
  LONG GetNumberOfTextStrings() override;

  void SetObjHeader(CObjHeader* header) { m_pObjHeader = header; }
  CObjHeader* GetObjHeader() const { return m_pObjHeader; }

 protected:
  // The revision text of one record (see above); 1 when it was made.
  virtual int GetRevisionRecordString(EEXPORT_TYPE type, const CRevisionRecord& record, CString& text);
  // "\r\nNote:\t" and the note; on paper the indent goes behind the label. 1 when made.
  virtual int GetNoteString(EEXPORT_TYPE type, CString& text);

  CObjHeader* m_pObjHeader;  // not owned
};

}  // namespace zev
