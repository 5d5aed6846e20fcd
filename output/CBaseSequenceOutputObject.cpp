// The base table and the trimming report of a called-base sequence.
#include "zevutil/CBaseSequenceOutputObject.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <memory>

#include "zevutil/CPrintHandler.h"
#include "zevutil/platform/CException.h"
#include "zevutil/platform/CFile.h"

namespace zev {

namespace {

constexpr const char* kPaperRow = "%6i %4c %3.0f %3.0f %3.0f %3.0f %9.2f %9.0f %9.2f %9i %6s %4s";
constexpr const char* kExportRow = "%i\t%c\t%.0f\t%.0f\t%.0f\t%.0f\t%.2f\t%.0f\t%.2f\t%i\t%s\t%s";

const char* YesNo(LONG flag) { return flag ? "Yes" : "No"; }

// One export row, the bytes of kExportRow with the same values, written without the
// printf machinery: a table of 100,000 bases spends most of its time there otherwise.
// to_chars with a precision gives what printf's "%.<precision>f" gives in the C locale.
// False, with nothing promised in text, for what it does not handle the same way (a
// NUL letter, a value that is not finite, a row too long for the buffer): the caller
// then formats it with kExportRow itself.
class ExportRow {
 public:
  bool Make(int number, char code, const double (&values)[7], int dataPoint, const char* inserted,
            const char* edited, CString& text) {
    if (code == '\0') return false;
    m_p = m_buf;
    Int(number);
    Char('\t');
    Char(code);
    static constexpr int kPrecision[7] = {0, 0, 0, 0, 2, 0, 2};
    for (int i = 0; i < 7; ++i) {
      Char('\t');
      Fixed(values[i], kPrecision[i]);
    }
    Char('\t');
    Int(dataPoint);
    Char('\t');
    Str(inserted);
    Char('\t');
    Str(edited);
    if (!m_p) return false;
    text = CString(m_buf, int(m_p - m_buf));
    return true;
  }

 private:
  void Char(char c) {
    if (m_p && m_p < m_end) *m_p++ = c;
    else m_p = nullptr;
  }
  void Str(const char* s) {
    while (m_p && *s) Char(*s++);
  }
  void Int(int v) {
    if (!m_p) return;
    const auto r = std::to_chars(m_p, m_end, v);
    m_p = r.ec == std::errc() ? r.ptr : nullptr;
  }
  void Fixed(double v, int precision) {
    if (!m_p) return;
    if (!std::isfinite(v)) {
      m_p = nullptr;
      return;
    }
    const auto r = std::to_chars(m_p, m_end, v, std::chars_format::fixed, precision);
    m_p = r.ec == std::errc() ? r.ptr : nullptr;
  }

  char m_buf[256];
  char* const m_end = m_buf + sizeof m_buf;
  char* m_p = nullptr;
};

const char* TrimTypeText(LONG type) {
  switch (type) {
    case ContaminantMatch::typeLeft: return "Left (5') end match";
    case ContaminantMatch::typeRight: return "Right (3') end match";
    case ContaminantMatch::typeInternal: return "Internal match";
    default: return "";
  }
}

}  // namespace

// ---- the base table ----

CBaseSequenceOutputObject::CBaseSequenceOutputObject(CBaseSequence& sequence)
    : m_pSequence(&sequence), m_nBaseCount(int(sequence.GetCount())) {}

void CBaseSequenceOutputObject::PrintPaperHeading() {
  if (!m_pPrintHandler) return;
  CString heading = kPaperHeading;
  int more = 0;
  m_pPrintHandler->PrintOneLineFromTextString(heading, more, 0, 1);
}

void CBaseSequenceOutputObject::OnTopOfPage(COutputInfo*) { PrintPaperHeading(); }

const CCalledBase* CBaseSequenceOutputObject::NextBase() {
  // The list finds an index by walking from its head; a table asks for the indices in
  // order, so the node after the previous row's is taken directly. The walk is kept for
  // any other request and whenever the list's size has changed since the last row.
  POSITION pos = nullptr;
  if (m_posCursor && m_nCursorIndex + 1 == m_nBaseIndex && m_nCursorListCount == m_pSequence->GetCount()) {
    pos = m_posCursor;
    m_pSequence->CBaseSequence::BaseList::GetNext(pos);
  } else {
    m_pSequence->FindBaseIndex(m_nBaseIndex, pos);
  }
  m_posCursor = pos;
  m_nCursorIndex = m_nBaseIndex;
  m_nCursorListCount = m_pSequence->GetCount();
  return pos ? m_pSequence->CBaseSequence::BaseList::GetAt(pos) : nullptr;
}

int CBaseSequenceOutputObject::GetTextOutput(COutputInfo* info, CString& text) {
  if (!info) return 0;
  const bool exporting = IsExporting() != 0;
  if (m_nBaseIndex == 0) {
    // kept: on paper the first page shows this heading under the one OnTopOfPage put
    // there; the report layout has always carried both.
    if (!exporting) {
      PrintPaperHeading();
    } else if (m_pExportHandler) {
      CString heading = kExportHeading;
      OutputTextString(heading);
    }
  }
  if (m_nBaseIndex < m_nBaseCount) {
    const CCalledBase* base = NextBase();
    if (base) {
      const float minutes = base->m_fMigrationTime > 0.0f ? float(base->m_fMigrationTime / 60.0) : 0.0f;
      const double values[7] = {double(base->m_fScore[0]), double(base->m_fScore[1]), double(base->m_fScore[2]),
                                double(base->m_fScore[3]), double(base->m_fCallScore),
                                double(base->m_fQualityValue), double(minutes)};
      if (!exporting || !ExportRow().Make(m_nBaseIndex + 1, char(base->m_Code), values, int(base->m_lDataPoint),
                                          YesNo(base->m_lInserted), YesNo(base->m_lEdited), text))
        text.Format(exporting ? kExportRow : kPaperRow, m_nBaseIndex + 1, char(base->m_Code), values[0], values[1],
                    values[2], values[3], values[4], values[5], values[6], int(base->m_lDataPoint),
                    YesNo(base->m_lInserted), YesNo(base->m_lEdited));
    }
    ++m_nBaseIndex;
  }
  if (m_nBaseIndex >= m_nBaseCount) {
    SetTabStops(nullptr, 0);
    SignalStopOutput();
  }
  return 1;
}

int CBaseSequenceOutputObject::ExportToQualityFile(const CString& path, const CString& title) {
  std::unique_ptr<CStdioFile> file;
  try {
    file = std::make_unique<CStdioFile>(path, CFile::modeCreate | CFile::modeWrite | CFile::typeText);
    CString line = title;
    line += "\n";
    file->WriteString(line);
    // One walk down the list: index i is the i-th node, and past the tail there is none.
    POSITION pos = m_pSequence->GetHeadPosition();
    char value[512];  // room for any double in %3.0f
    for (int i = 0; i < m_nBaseCount; ++i) {
      const CCalledBase* base = pos ? m_pSequence->CBaseSequence::BaseList::GetNext(pos) : nullptr;
      if (base) {
        std::snprintf(value, sizeof value, "%3.0f ", double(base->m_fQualityValue));
        file->WriteString(value);
      }
      // The break counts indices, not values written, so a missing base keeps it in place.
      if ((i + 1) % 20 == 0) file->WriteString("\n");
    }
    file->WriteString("\n");
    file->Close();
  } catch (CFileException* e) {
    e->Delete();
    if (file) file->Abort();
    return 0;
  } catch (CMemoryException* e) {
    e->Delete();
    return 0;
  }
  return 1;
}

// ---- the trimming report ----

CBaseSequenceTrimmingOutputObject::CBaseSequenceTrimmingOutputObject(CBaseSequence& sequence, int originalLength)
    : m_pSequence(&sequence), m_nOriginalLength(originalLength) {}

int CBaseSequenceTrimmingOutputObject::CountAlpha(const char* text) {
  int n = 0;
  for (; text && *text; ++text) n += std::isalpha(static_cast<unsigned char>(*text)) ? 1 : 0;
  return n;
}

int CBaseSequenceTrimmingOutputObject::GetTextOutput(COutputInfo* info, CString& text) {
  if (!info) return 0;
  if (IsExporting()) {
    // kept: the report is for paper; an export gets no text and no stop, so the export
    // loop ends only on its end test, after one empty round for every string the
    // object may have (0x7FFFFFFF, billions of rounds). Those rounds write nothing and
    // change nothing but the string index, so the index is moved to the last of them
    // at once: the export ends on its next test, with the same empty file, the same
    // result and the same final index.
    const LONG last = GetNumberOfTextStrings() - 1;
    if (info->m_nStringIndex < last) info->m_nStringIndex = last;
    return 0;
  }
  text.Empty();
  const bool hasQ = m_pSequence->HasQualityTrimRange();
  const int n = m_pSequence->GetNumContaminantMatches(false);
  const int q = hasQ ? 1 : 0;

  if (m_nLineIndex == 0) {
    if (!hasQ && n < 1)
      text = "No Trimming Computed";
    else
      text.Format("Original Sequence Length: %d", m_nOriginalLength);
  } else if (m_nLineIndex == 1 && hasQ) {
    const QualityTrimRange& r = m_pSequence->GetQualityTrimRange();
    const int len = (r.m_lBegin >= 0 && r.m_lEnd >= r.m_lBegin) ? int(r.m_lEnd - r.m_lBegin + 1) : 0;
    text.Format("Length after Quality Trimming: %d", len);
  } else if (m_nMatchIndex < n) {
    int k = m_nLineIndex - 1 - q;
    if (k == 0) {
      text.Format("Length after Sequence-based Trimming: %d", int(m_pSequence->GetCount()));
      ++m_nLinesConsumed;
    } else {
      k -= m_nLinesConsumed;
      const ContaminantMatch* m = m_pSequence->GetContaminantMatch(m_nMatchIndex);
      if (!m) {
        // A match that vanished between calls: nothing more to report for it.
        ++m_nMatchIndex;
      } else if (k == 0) {
        // an empty line before each match
      } else if (k == 1) {
        text = "Vector/Other Subsequence Name: ";
        text += m->m_strName;
      } else if (k == 2) {
        text = "Trim type: ";
        text += TrimTypeText(m->m_lType);
      } else if (k == 3) {
        text.Format("Enabled: %s", m->m_bEnabled ? "Yes" : "No");
      } else {
        const int b = (k - 4) / 4;
        const int r = (k - 4) % 4;
        const int col = b * 80;
        const CString& subject = m->m_strSeqAlignment;
        const CString& other = m->m_strOtherAlignment;
        if (r == 0) {
          text.Format("S   %5d %s", int(m->m_lSeqBegin) + CountAlpha(subject.Left(col)) + 1,
                      static_cast<const char*>(subject.Mid(col, 80)));
        } else if (r == 1) {
          text = "          ";
          text += m->m_strAlignmentMarks.Mid(col, 80);
        } else if (r == 2) {
          text.Format("V/O %5d %s", int(m->m_lOtherBegin) + CountAlpha(other.Left(col)) + 1,
                      static_cast<const char*>(other.Mid(col, 80)));
        } else if (b + 1 >= (subject.GetLength() + 79) / 80) {
          m_nLinesConsumed += k + 1;
          ++m_nMatchIndex;
        }
      }
    }
  } else {
    SetTabStops(nullptr, 0);
    SignalStopOutput();
  }
  ++m_nLineIndex;
  return 1;
}

}  // namespace zev
