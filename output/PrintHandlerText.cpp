// CPrintHandler, text half: device text state, lines cut to the width, tab stops,
// header and footer templates, headings. Layout always runs; drawing is skipped on
// pages outside the requested range so that page numbers stay right.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "zevutil/CPrintHandler.h"
#include "zevutil/CZevDateTime.h"
#include "zevutil/SafeString.h"

namespace zev {

namespace {

constexpr int TA_LEFT_TOP = 0;
constexpr int TA_RIGHT_TOP = 2;
constexpr int TA_CENTER_TOP = 6;

int Width(CDC* dc, const char* s, int n) {
  if (!dc || n <= 0) return 0;
  return dc->GetTextExtent(s, n).cx;
}
int Width(CDC* dc, const CString& s) { return Width(dc, s.GetString(), s.GetLength()); }

// Saturating conversion of a layout position computed in floating point.
int ToInt(double v) {
  if (!(v == v)) return 0;
  if (v >= 2147483647.0) return 0x7FFFFFFF;
  if (v <= -2147483648.0) return int(0x80000000u);
  return int(v);
}

// The longest prefix of s (at most n characters) whose width is at most limit, found by
// bisection: widths grow with the prefix, so this is what cutting one character at a
// time from the end would leave.
int LongestPrefixWithin(CDC* dc, const char* s, int n, int limit) {
  int lo = 0, hi = n;
  while (lo < hi) {
    const int mid = lo + (hi - lo + 1) / 2;
    if (Width(dc, s, mid) <= limit)
      lo = mid;
    else
      hi = mid - 1;
  }
  return lo;
}

// The font of a heading: the body font two points larger and bold, and underlined on
// request (else as the body font is). Null when it can't be made; the caller deletes it.
CFont* MakeHeadingFont(CPrintHandler& handler, const FontDef& body, CDC* dc, bool underline) {
  FontDef def = body;
  def.m_nSize += 20;
  def.m_nWeight = 700;
  if (underline) def.m_bUnderline = 1;
  CFont* font = nullptr;
  handler.CreateHandlerFont(font, def, dc);
  return font;
}

// Cuts s at its end, behind an ellipsis, until it fits space less pad blank widths.
void CutEndToFit(CString& s, int space, CDC* dc, int pad) {
  const int padWidth = pad * Width(dc, "  ", 2) / 2;
  if (Width(dc, s) > space - padWidth) {
    const int keep = LongestPrefixWithin(dc, s, s.GetLength(), space - padWidth - Width(dc, "...", 3));
    s = s.Left(keep) + "...";
  }
}

}  // namespace

void SplitTemplate(const CString& tmpl, CString& left, CString& middle, CString& right) {
  const int t1 = tmpl.Find('\t');
  if (t1 < 0) {
    left = tmpl;
    middle.Empty();
    right.Empty();
    return;
  }
  left = tmpl.Left(t1);
  const int t2 = tmpl.Find('\t', t1 + 1);
  if (t2 < 0) {
    middle = tmpl.Mid(t1 + 1);
    right.Empty();
  } else {
    middle = tmpl.Mid(t1 + 1, t2 - t1 - 1);
    right = tmpl.Mid(t2 + 1);  // further tabs stay in the right part
  }
}

// ---- device text state ----

ZevTextContext CPrintHandler::GetTextContext() {
  CPrintFpuGuard guard("GetTextContext");
  ZevTextContext ctx;
  CDC* dc = GetPrintDC();
  if (!dc) return ctx;
  ctx.m_bValid = 1;
  ctx.m_nMapMode = dc->GetMapMode();
  ctx.m_nBkMode = dc->GetBkMode();
  ctx.m_nTextAlign = LONG(dc->GetTextAlign());
  ctx.m_nCharExtra = dc->GetTextCharacterExtra();
  ctx.m_nBkColor = LONG(dc->GetBkColor());
  ctx.m_nTextColor = LONG(dc->GetTextColor());
  ctx.m_pFont = dc->GetCurrentFont();
  ctx.m_hFont = ctx.m_pFont ? static_cast<HFONT>(ctx.m_pFont->GetSafeHandle()) : nullptr;
  return ctx;
}

void CPrintHandler::SetTextContext(const ZevTextContext& ctx) {
  CPrintFpuGuard guard("SetTextContext");
  CDC* dc = GetPrintDC();
  if (!dc || !ctx.m_bValid) return;
  // Each setter only for a value that differs: every call is slow on a printer driver.
  if (dc->GetMapMode() != ctx.m_nMapMode) dc->SetMapMode(ctx.m_nMapMode);
  if (dc->GetBkMode() != ctx.m_nBkMode) dc->SetBkMode(ctx.m_nBkMode);
  if (LONG(dc->GetTextAlign()) != ctx.m_nTextAlign) dc->SetTextAlign(UINT(ctx.m_nTextAlign));
  if (dc->GetTextCharacterExtra() != ctx.m_nCharExtra) dc->SetTextCharacterExtra(ctx.m_nCharExtra);
  if (LONG(dc->GetBkColor()) != ctx.m_nBkColor) dc->SetBkColor(COLORREF(ctx.m_nBkColor));
  if (LONG(dc->GetTextColor()) != ctx.m_nTextColor) dc->SetTextColor(COLORREF(ctx.m_nTextColor));
  CFont* current = dc->GetCurrentFont();
  HFONT currentHandle = current ? static_cast<HFONT>(current->GetSafeHandle()) : nullptr;
  if (ctx.m_hFont && currentHandle != ctx.m_hFont && GetObjectType(ctx.m_hFont) != 0)
    dc->SelectObject(CFont::FromHandle(ctx.m_hFont));
}

ZevTextContext CPrintHandler::CreateTextContext() {
  CPrintFpuGuard guard("CreateTextContext");
  ZevTextContext found = GetTextContext();
  CDC* dc = GetPrintDC();
  if (!dc) return found;
  if (m_pBodyFont && found.m_hFont != static_cast<HFONT>(m_pBodyFont->GetSafeHandle())) {
    LOGFONT lf{};
    m_pBodyFont->GetLogFont(&lf);
    dc->SelectObject(m_pBodyFont);
    // The font that was selected before may be gone; then the saved state gets a font
    // of its own made from the body font, so restoring it never selects a dead handle.
    if (found.m_hFont && !GetObjectType(found.m_hFont) != 0) {
      found.m_pFont = nullptr;
      found.m_hFont = nullptr;
    }
  }
  dc->SetMapMode(MM_TEXT);
  dc->SetTextAlign(TA_LEFT_TOP);
  if (m_pOutputInfo) m_pOutputInfo->m_savedTextContext = GetTextContext();
  m_bBodyFontChanged = 0;
  return found;
}

// ---- lines ----

int CPrintHandler::TextHeight(CDC* dc) { return dc ? dc->GetTextExtent("X", 1).cy : 0; }

int CPrintHandler::PrintOneLineFromTextString(CString& text, int& bMore, int bIndent, int bOwnContext) {
  CPrintFpuGuard guard("PrintOneLineFromTextString");
  if (IsOutputCancelled()) return 0;
  ZevTextContext ctx;
  if (bOwnContext || m_bBodyFontChanged) ctx = CreateTextContext();
  CDC* dc = GetPrintDC();
  const int height = TextHeight(dc);
  bMore = 0;
  int result = 1;
  COutputInfo* info = m_pOutputInfo;
  // A line taller than the whole body goes on a fresh page anyway; else no page would
  // ever take it and the job would not end.
  const bool tooTallForAnyPage = info && info->m_bPageOpen && !info->m_bNewPageNeeded &&
                                 info->IsAtTopOfPage() && info->NeedNewPage(height);
  if (NeedNewPage(height) && !tooTallForAnyPage) {
    if (info) info->m_bNewPageNeeded = 1;
  } else {
    const int x = info ? info->GetLeftEdge(bIndent) : 0;
    CString line = ExtractLineToFitPage(x, text);
    bMore = text.IsEmpty() ? 0 : 1;
    result = PrintOneLine(x, line, bIndent);
  }
  if (bOwnContext) SetTextContext(ctx);
  return result;
}

int CPrintHandler::RemoveWordFromEnd(CString& line) {
  const int len = line.GetLength();
  const int firstTab = line.Find('\t');
  const int tabFromEnd = firstTab < 0 ? -1 : len - 1 - firstTab;
  line.MakeReverse();
  const int found = line.FindOneOf(" \t");
  if (found < 0 || found == tabFromEnd)
    line.Delete(0, 1);  // the first tab is a hard stop: shrink a letter at a time
  else
    line.Delete(0, found + 1);  // the last word and the delimiter before it
  line.MakeReverse();
  return 1;
}

int CPrintHandler::DoesTextFitOnPage(int x, const CString& text) {
  if (!m_pOutputInfo) return 1;
  int bRight = 0;
  return GetNextXPos(x, text, bRight) <= m_pOutputInfo->GetRightEdge() ? 1 : 0;
}

CString CPrintHandler::ExtractLineToFitPage(int x, CString& text) {
  text.Remove('\n');
  CString line;
  const int cr = text.Find('\r');
  if (cr == 0) {
    text.Delete(0, 1);  // a forced break at the start: an empty line
  } else if (cr > 0) {
    line = text.Left(cr);
    // kept: the break is taken out of the text, so words cut off the line join the
    // text after the break.
    text.Delete(cr, 1);
  } else {
    line = text;
  }
  if (!DoesTextFitOnPage(x, line)) {
    // A long candidate is first cut to one character more than the longest prefix that
    // fits (found by bisection); the word removal then takes the same steps it would
    // have taken from the whole candidate, without measuring a megabyte per step.
    if (line.GetLength() > 256) {
      int lo = 0, hi = line.GetLength();  // prefix lo fits, prefix hi does not
      for (int probe = 256; probe < hi; probe *= 2) {
        if (DoesTextFitOnPage(x, line.Left(probe))) lo = probe;
        else { hi = probe; break; }
      }
      while (hi - lo > 1) {
        const int mid = lo + (hi - lo) / 2;
        if (DoesTextFitOnPage(x, line.Left(mid))) lo = mid;
        else hi = mid;
      }
      line = line.Left(hi);
    }
    while (!line.IsEmpty() && !DoesTextFitOnPage(x, line)) RemoveWordFromEnd(line);
    // Nothing fits (a left edge past the right edge): one character still goes, so
    // that the text comes to an end.
    if (line.IsEmpty() && !text.IsEmpty() && cr != 0) line = text.Left(1);
  }
  text.Delete(0, line.GetLength());
  CSTrimLeftAndRight(text);
  return line;
}

CString CPrintHandler::ExtractLineToFitWidth(CString& text, int bIndent) {
  const int width = m_pOutputInfo ? m_pOutputInfo->GetOutputWidth(bIndent) : 0;
  return ExtractLineToFitWidth(text, GetPrintDC(), width);
}

CString CPrintHandler::ExtractLineToFitWidth(CString& text, CDC* dc, int width) {
  CPrintFpuGuard guard("ExtractLineToFitWidth");
  int lf;
  while ((lf = text.Find('\n')) >= 0) text.Delete(lf, 1);
  CString line;
  const int cr = text.Find('\r');
  if (cr == 0) {
    text.Delete(0, 1);
  } else if (cr > 0) {
    line = text.Left(cr);
    text.Delete(cr, 1);
  } else {
    line = text;
  }
  if (Width(dc, line) > width) {
    if (line.GetLength() > 256) line = line.Left(LongestPrefixWithin(dc, line, line.GetLength(), width) + 1);
    while (!line.IsEmpty() && Width(dc, line) > width) RemoveWordFromEnd(line);
    if (line.IsEmpty() && !text.IsEmpty() && cr != 0) line = text.Left(1);
  }
  text.Delete(0, line.GetLength());
  text.Trim(" \t");
  return line;
}

// ---- tab stops ----

int CPrintHandler::GetNextTabstop(int x, int& bRight) {
  bRight = 0;
  for (int i = 0; i < m_nTabStopCount; ++i) {
    const LONG stop = m_pTabStops[i];
    const long long mag = stop < 0 ? -(long long)stop : stop;
    if (mag > x) {
      bRight = stop < 0 ? 1 : 0;
      return int(std::min<long long>(mag, 0x7FFFFFFF));
    }
  }
  if (std::fabs(m_dDefaultTab) > 0.001) {
    bRight = m_dDefaultTab < 0 ? 1 : 0;
    const double tab = std::fabs(m_dDefaultTab);
    const double n = std::trunc(x / tab + 0.00001) + 1;
    return ToInt(std::trunc(n * tab + 0.5));
  }
  return x;
}

int CPrintHandler::GetNextXPos(int x, const CString& text, int& bRight) {
  CPrintFpuGuard guard("GetNextXPos");
  CDC* dc = GetPrintDC();
  bRight = 0;
  const char* s = text.GetString();
  const int len = text.GetLength();
  int pos = 0;
  while (pos < len) {
    const char* tab = static_cast<const char*>(std::memchr(s + pos, '\t', size_t(len - pos)));
    const int end = tab ? int(tab - s) : len;
    // Text in a right-aligned column adds no width.
    if (!bRight) x = ToInt(double(x) + Width(dc, s + pos, end - pos));
    if (tab || bRight) x = GetNextTabstop(x, bRight);
    pos = tab ? end + 1 : len;
  }
  return x;
}

int CPrintHandler::PrintOneLine(int x, const CString& line, int) {
  CPrintFpuGuard guard("PrintOneLine");
  if (IsOutputCancelled()) return 0;
  CDC* dc = GetPrintDC();
  const int height = TextHeight(dc);
  const int y = m_pOutputInfo ? m_pOutputInfo->m_nCurrentY : 0;
  int result = 1;
  const char* s = line.GetString();
  // On a page outside the range nothing is drawn and x serves nothing: only y moves.
  const int len = IsOutputDisabled() ? 0 : line.GetLength();
  int pos = 0;
  while (pos < len) {
    const char* tab = static_cast<const char*>(std::memchr(s + pos, '\t', size_t(len - pos)));
    const int end = tab ? int(tab - s) : len;
    const int n = end - pos;
    int bRight = 0;
    const int stop = GetNextTabstop(x, bRight);
    if (!bRight) {
      if (n == 0) {
        x = stop;
      } else {
        if (dc && !IsOutputDisabled()) result = dc->TextOut(x, y, s + pos, n);
        x = ToInt(double(x) + Width(dc, s + pos, n));
        if (tab) x = GetNextTabstop(x, bRight);
      }
    } else {
      if (n > 0 && dc && !IsOutputDisabled() && !IsOutputCancelled()) {
        const UINT oldAlign = dc->SetTextAlign(TA_RIGHT_TOP);
        CRect clip(x, y, stop, y + height);
        result = dc->ExtTextOut(stop, y, ETO_CLIPPED, &clip, s + pos, n, nullptr);
        dc->SetTextAlign(oldAlign);
      }
      x = stop;
    }
    pos = tab ? end + 1 : len;
  }
  if (m_pOutputInfo) m_pOutputInfo->m_nCurrentY = ToInt(double(y) + height);
  return result;
}

// ---- header and footer templates ----

void CPrintHandler::Format(CString& s, int bPage) {
  const int d = s.Find("%Date");
  if (d >= 0) {
    const CString now = CTime::GetCurrentTime().Format(CString("%a ") + CZevDateTime::DateTimeFormatString());
    s = s.Left(d) + now + s.Mid(d + 5);
  }
  if (bPage) {
    const int p = s.Find("%Page");
    if (p >= 0) {
      char number[16];
      std::snprintf(number, sizeof number, "%i", m_pOutputInfo ? int(m_pOutputInfo->m_nPage) : 0);
      s = s.Left(p) + number + s.Mid(p + 5);
    }
  }
}

void CPrintHandler::LeftFit(CString& s, int space, CDC* dc, int pad) {
  CPrintFpuGuard guard("LeftFit");
  CutEndToFit(s, space, dc, pad);
}

void CPrintHandler::RightFit(CString& s, int space, CDC* dc, int pad) {
  CPrintFpuGuard guard("RightFit");
  // kept: also cuts at the end, as LeftFit does.
  CutEndToFit(s, space, dc, pad);
}

CString CPrintHandler::GetFormattedString(CString& left, CString& middle, CString& right, CDC* dc, int width,
                                          int bFormat) {
  CPrintFpuGuard guard("GetFormattedString");
  CString l = left, m = middle, r = right;
  if (bFormat) {
    Format(l, 1);
    Format(m, 1);
    Format(r, 1);
  }
  const int wL = Width(dc, l), wM = Width(dc, m), wR = Width(dc, r);
  int padL = 2, padR = 2;
  int spaceL = (width - wM) / 2, spaceR = spaceL;
  if (wM < 2) {
    m.Empty();
    padR = 0;
    if (wR < 1) {
      padL = 0;
      spaceL = std::min(width, wL);
      spaceR = 0;
    } else {
      if (wL + wR < width) {
        spaceL = wL;
        padL = 0;
      } else {
        spaceL = width - std::min(width, wR);
      }
      spaceR = width - spaceL;
    }
  }
  if (spaceL < 1) l.Empty();
  else LeftFit(l, spaceL, dc, padL);
  if (spaceR < 1) r.Empty();
  else RightFit(r, spaceR, dc, padR);
  left = l;
  middle = m;
  right = r;
  return l + m + r;
}

CString CPrintHandler::GetFormattedString(const CString& tmpl, CDC* dc, int width, int bFormat) {
  CString l, m, r;
  SplitTemplate(tmpl, l, m, r);
  return GetFormattedString(l, m, r, dc, width, bFormat);
}

CString CPrintHandler::GetFormattedString(const CString& tmpl) {
  const int width = m_pOutputInfo ? m_pOutputInfo->m_rectOutput.Width() : 0;
  return GetFormattedString(tmpl, GetPrintDC(), width, 1);
}

namespace {
struct TemplateRow {
  CString left, middle, right;
  int height = 0;
};
}  // namespace

int CPrintHandler::PrintHeader() {
  CPrintFpuGuard guard("PrintHeader");
  if (IsOutputDisabled()) return 1;
  CDC* dc = GetPrintDC();
  COutputInfo* info = m_pOutputInfo;
  if (!dc || !info) return 1;
  CFont* oldFont = m_pHeaderFont ? dc->SelectObject(m_pHeaderFont) : nullptr;
  CPen* oldPen = m_pRulePen ? dc->SelectObject(m_pRulePen) : nullptr;
  dc->SetMapMode(MM_TEXT);
  const UINT oldAlign = dc->SetTextAlign(TA_LEFT_TOP);

  const CRect& page = info->m_rectPage;
  const CRect& out = info->m_rectOutput;
  const int side = out.top - page.top;
  const int gap = 20;
  int textLeft = out.left;
  // kept: the logo's rectangle takes the page's top as x and its left as y.
  if (PrintLogo(dc, CRect(page.top, page.left, side, side))) textLeft = out.left + side + 2 * gap;
  const int textRight = out.right - gap;

  TemplateRow rows[3];
  int count = 0, h = 0;
  for (const CString* t : {&m_strHeader1, &m_strHeader2, &m_strHeader3}) {
    if (t->IsEmpty()) continue;
    TemplateRow& row = rows[count++];
    SplitTemplate(*t, row.left, row.middle, row.right);
    const CString all = GetFormattedString(row.left, row.middle, row.right, dc, textRight - textLeft, 1);
    row.height = dc->GetTextExtent(all.GetString(), all.GetLength()).cy;
    if (all.IsEmpty()) row.height = TextHeight(dc);
    h = std::max(h, row.height);
  }
  const int T = page.top + out.top;
  int y = 0, step = 0;
  if (count == 1) {
    y = (T - h + 1) / 2;
  } else if (count == 2) {
    y = (2 * T - 5 * h + 1) / 4;
    step = 3 * h / 2;
  } else if (count == 3) {
    y = (2 * T - 7 * h + 1) / 4;
    step = 5 * h / 4;
  }
  for (int i = 0; i < count; ++i, y += step) {
    const TemplateRow& row = rows[i];
    if (!row.left.IsEmpty()) {
      dc->SetTextAlign(TA_LEFT_TOP);
      dc->TextOut(textLeft, y, row.left.GetString(), row.left.GetLength());
    }
    if (!row.middle.IsEmpty()) {
      dc->SetTextAlign(TA_CENTER_TOP);
      dc->TextOut((textLeft + textRight) / 2, y, row.middle.GetString(), row.middle.GetLength());
    }
    if (!row.right.IsEmpty()) {
      dc->SetTextAlign(TA_RIGHT_TOP);
      dc->TextOut(textRight, y, row.right.GetString(), row.right.GetLength());
    }
  }
  if (!IsOutputDisabled()) {
    CRect frame(textLeft - gap, page.top, textRight + gap, out.top);
    dc->DrawEdge(&frame, 9, 0xF);
  }
  if (oldFont) dc->SelectObject(oldFont);
  if (oldPen) dc->SelectObject(oldPen);
  dc->SetTextAlign(oldAlign);
  return 1;
}

int CPrintHandler::PrintLogo(CDC* dc, CRect rect) {
  CPrintFpuGuard guard("PrintLogo");
  if (!dc) return 0;
  CBitmap logo;
  if (!logo.LoadBitmap(0x2AFA)) return 0;
  if (IsOutputDisabled()) return 1;
  CDC memDC;
  if (!memDC.CreateCompatibleDC(dc)) return 0;
  CBitmap* old = memDC.SelectObject(&logo);
  BITMAP bm{};
  logo.GetBitmap(&bm);
  if (dc->GetDeviceCaps(RASTERCAPS) & RC_STRETCHBLT)
    dc->StretchBlt(rect.left, rect.top, rect.right, rect.bottom, &memDC, 0, 0, bm.bmWidth, bm.bmHeight, SRCCOPY);
  else
    dc->BitBlt(rect.left, rect.top, bm.bmWidth, bm.bmHeight, &memDC, 0, 0, SRCCOPY);
  memDC.SelectObject(old);
  return 1;
}

int CPrintHandler::PrintFooter() {
  CPrintFpuGuard guard("PrintFooter");
  COutputInfo* info = m_pOutputInfo;
  if (!info) return 1;
  if (IsOutputDisabled() || !info->m_bFooterEnabled || info->m_bFooterPrinted) return 1;
  if (IsOutputCancelled()) return 0;
  CDC* dc = GetPrintDC();
  if (!dc) return 0;
  CFont* oldFont = m_pFooterFont ? dc->SelectObject(m_pFooterFont) : nullptr;
  CPen* oldPen = m_pRulePen ? dc->SelectObject(m_pRulePen) : nullptr;
  dc->SetMapMode(MM_TEXT);
  const UINT oldAlign = dc->GetTextAlign();
  const CRect& out = info->m_rectOutput;
  int y = out.bottom;
  for (const CString* t : {&m_strFooter1, &m_strFooter2, &m_strFooter3}) {
    if (t->IsEmpty()) continue;
    if (IsOutputCancelled()) return 0;
    TemplateRow row;
    SplitTemplate(*t, row.left, row.middle, row.right);
    const CString all = GetFormattedString(row.left, row.middle, row.right, dc, out.Width(), 1);
    row.height = all.IsEmpty() ? TextHeight(dc) : dc->GetTextExtent(all.GetString(), all.GetLength()).cy;
    y += row.height;
    if (!row.left.IsEmpty()) {
      dc->SetTextAlign(TA_LEFT_TOP);
      dc->TextOut(out.left, y, row.left.GetString(), row.left.GetLength());
    }
    if (!row.middle.IsEmpty()) {
      dc->SetTextAlign(TA_CENTER_TOP);
      dc->TextOut((out.left + out.right) / 2, y, row.middle.GetString(), row.middle.GetLength());
    }
    if (!row.right.IsEmpty()) {
      dc->SetTextAlign(TA_RIGHT_TOP);
      dc->TextOut(out.right, y, row.right.GetString(), row.right.GetLength());
    }
  }
  dc->MoveTo(out.left, out.bottom);
  dc->LineTo(out.right, out.bottom);
  info->m_bFooterPrinted = 1;
  if (oldFont) dc->SelectObject(oldFont);
  if (oldPen) dc->SelectObject(oldPen);
  dc->SetTextAlign(oldAlign);
  return 1;
}

// ---- headings ----

int CPrintHandler::PrintHeading(unsigned level, const char* title, const char* text) {
  if (level == 0) return PrintHeading0(title, text);
  if (level == 1) return PrintHeading1(title, text);
  return PrintHeadingDefault(title, text);
}

int CPrintHandler::PrintHeadingDefault(const char* title, const char* text) {
  CPrintFpuGuard guard("PrintHeading1");
  CString s = CString(title) + ": " + CString(text);
  int more = 0;
  return PrintOneLineFromTextString(s, more, 0, 1);
}

int CPrintHandler::PrintHeading1(const char* title, const char* text) {
  CPrintFpuGuard guard("PrintHeading1");
  if (IsOutputDisabled()) return 1;
  CDC* dc = GetPrintDC();
  COutputInfo* info = m_pOutputInfo;
  if (!dc || !info) return 0;
  CFont* font = MakeHeadingFont(*this, m_fontBody, dc, true);
  if (!font) return 0;
  CFont* old = dc->SelectObject(font);
  const CString s = CString(title) + ": " + CString(text);
  const int height = TextHeight(dc);
  if (NeedNewPage(height)) {
    info->m_bNewPageNeeded = 1;
  } else {
    dc->TextOut(info->m_rectOutput.left, info->m_nCurrentY, s.GetString(), s.GetLength());
    info->m_nCurrentY += height;
  }
  dc->SelectObject(old);
  delete font;
  return 1;
}

int CPrintHandler::PrintHeading0(const char* title, const char* text) {
  CPrintFpuGuard guard("PrintHeading0");
  CDC* dc = GetPrintDC();
  COutputInfo* info = m_pOutputInfo;
  if (!dc || !info) return 0;
  CFont* font = MakeHeadingFont(*this, m_fontBody, dc, false);
  if (!font) return 0;
  CFont* oldFont = dc->SelectObject(font);
  CString label = CString(title) + ": ";
  const CString body(text);
  const int h = TextHeight(dc);
  int gap = 2 * h;
  const int outWidth = info->GetOutputWidth(0);
  const int textWidth = Width(dc, body);
  long long lines = 1;
  if (textWidth > outWidth - gap) {
    const int room = outWidth - Width(dc, label) - gap;
    if (room < 1) {
      label.Empty();
    } else {
      lines = (textWidth + (long long)room - 1) / room;
    }
  }
  const long long boxH = (lines + 2) * h;
  if (info->IsAtTopOfPage()) gap = 0;
  int result = 1;
  if (NeedNewPage(int(std::min<long long>(boxH + gap + h, 0x7FFFFFFF)))) {
    info->m_bNewPageNeeded = 1;
  } else {
    const CRect& out = info->m_rectOutput;
    CRect box(out.left, info->m_nCurrentY + gap, out.right, int(info->m_nCurrentY + gap + boxH));
    const bool draw = !IsOutputDisabled();
    if (draw) {
      CGdiObject* oldBrush = dc->SelectStockObject(LTGRAY_BRUSH);
      CGdiObject* oldPen = dc->SelectStockObject(BLACK_PEN);
      const int oldBk = dc->SetBkMode(TRANSPARENT);
      dc->RoundRect(&box, CPoint(10, 10));
      const int lx = box.left + h, ly = box.top + h;
      dc->TextOut(lx, ly, label.GetString(), label.GetLength());
      CRect inner(lx + Width(dc, label), ly, box.right - 2 * h, box.bottom - 2 * h);
      PrintTextInRectangle(dc, inner, body);
      dc->SetBkMode(oldBk);
      if (oldBrush) dc->SelectObject(oldBrush);
      if (oldPen) dc->SelectObject(oldPen);
    }
    info->m_nCurrentY = box.bottom + h;
  }
  dc->SelectObject(oldFont);
  delete font;
  return result;
}

int CPrintHandler::PrintTextInRectangle(CDC* dc, const CRect& rect, const CString& text) {
  if (!dc) return rect.top;
  const int h = TextHeight(dc);
  int y = rect.top;
  const int width = rect.Width();
  if (Width(dc, text) <= width) {
    dc->TextOut(rect.left, y, text.GetString(), text.GetLength());
    return y + h;
  }
  // Broken by character, not by word: the longest prefix that fits, found by bisection.
  const char* s = text.GetString();
  int rest = text.GetLength();
  while (rest > 0) {
    const int n = LongestPrefixWithin(dc, s, rest, width);
    if (n < 1) break;
    dc->TextOut(rect.left, y, s, n);
    y += h;
    s += n;
    rest -= n;
  }
  return y;
}

}  // namespace zev
