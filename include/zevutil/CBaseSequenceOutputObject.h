// Output objects of a called-base sequence: the base table (one base a line, for
// paper and for text export, plus the QUAL file of a FASTA export) and the
// trimming report (paper only).
#pragma once
#include "zevutil/CBaseSequence.h"
#include "zevutil/COutputObject.h"

namespace zev {

class CBaseSequenceOutputObject : public COutputObject {
 public:
  // The heading of the table on paper and in a text export.
  static constexpr const char* kPaperHeading =
      "Number Base   A   C   G   T CallScore QualValue Migration DataPoint Insert Edit";
  static constexpr const char* kExportHeading =
      "Base Number\tBase\tScore A\tScore C\tScore G\tScore T\tCall Score\tQuality Value\t"
      "Migration Time\tData Point\tInserted\tEdited";

  // The sequence is borrowed and must outlive the object; its size is taken now.
  explicit CBaseSequenceOutputObject(CBaseSequence& sequence);

  // One table row a call, the heading before the first; stops after the last base.
  int GetTextOutput(COutputInfo* info, CString& text) override;
  // The paper heading on top of every page.
  void OnTopOfPage(COutputInfo* info) override;

  // The quality values as a QUAL record: title, then "%3.0f " per base with a line
  // break after every 20th base index. 1 for success; 0 when the file fails.
  int ExportToQualityFile(const CString& path, const CString& title);

  CBaseSequence* m_pSequence;
  int m_nBaseCount;
  int m_nBaseIndex = 0;

 private:
  void PrintPaperHeading();
  // The base at m_nBaseIndex, or null.
  const CCalledBase* NextBase();

  POSITION m_posCursor = nullptr;  // node of the last row's base
  int m_nCursorIndex = -1;
  INT_PTR m_nCursorListCount = 0;
};

class CBaseSequenceTrimmingOutputObject : public COutputObject {
 public:
  // The sequence is borrowed; originalLength is its length before any trimming.
  CBaseSequenceTrimmingOutputObject(CBaseSequence& sequence, int originalLength);

  // One report line a call, on paper only: lengths, then each contaminant match with
  // its alignment in blocks of 80 columns.
  int GetTextOutput(COutputInfo* info, CString& text) override;

  CBaseSequence* m_pSequence;
  int m_nLineIndex = 0;
  int m_nMatchIndex = 0;
  int m_nLinesConsumed = 0;
  int m_nOriginalLength;

 protected:
  // Letters in text by the C locale's test: alignment gaps and marks do not count.
  static int CountAlpha(const char* text);
};

}  // namespace zev
