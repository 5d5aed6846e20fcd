// Shared by the print fuzzers: a print object that prints the input's lines, with the
// first bytes choosing tab stops, margins, indent, font size, page range and templates.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "zevutil/CPrintObject.h"

namespace zevfuzz {

class FuzzLines : public zev::CPrintObject {
 public:
  FuzzLines(const std::uint8_t* data, std::size_t size) {
    std::size_t at = 0;
    auto take = [&]() -> std::uint8_t { return at < size ? data[at++] : 0; };
    m_flags = take();
    m_tabs = take() % 5;
    for (int i = 0; i < m_tabs; ++i) m_stops[i] = (int(take()) - 128) / 16.0;
    m_margin = take();
    m_indent = take();
    m_from = take() % 8;
    m_to = m_from + take() % 4;
    m_text.assign(reinterpret_cast<const char*>(data) + at, size - at);
  }

  void Prepare(zev::CPageFormatDef& format) {
    format.m_fontBody.m_nSize = 40 + (m_flags & 0x7) * 60;
    if (m_flags & 0x08) format.m_strHeader2 = "%Page\t%Date\tx\ty";
    if (m_flags & 0x10) format.m_strFooter3 = "\t\t%Page%Page";
    if (m_flags & 0x20) format.m_strHeader1 = m_text.substr(0, 200).c_str();
  }

  int GetTextOutput(zev::COutputInfo* info, zev::CString& text) override {
    const std::size_t end = m_text.find('\n', m_pos);
    const std::size_t stop = end == std::string::npos ? m_text.size() : end;
    text = zev::CString(m_text.substr(m_pos, stop - m_pos));
    m_pos = stop + 1;
    if (m_pos >= m_text.size()) {
      m_total = info ? info->m_nStringIndex + 1 : 0;
      return 0;
    }
    return 1;
  }
  zev::LONG GetNumberOfTextStrings() override { return m_total; }
  void OnStartOutput(zev::COutputInfo* info, int& bNewPageFirst) override {
    CPrintObject::OnStartOutput(info, bNewPageFirst);
    if (m_from && info->m_pPrintInfo) {
      info->m_pPrintInfo->SetFromPage(m_from);
      info->m_pPrintInfo->SetToPage(m_to);
    }
    if (m_tabs) SetTabStops(m_stops, m_tabs);
    SetLeftMargin(int(m_margin) * 40);
    SetRightMargin(int(m_margin) * 20);
    SetIndent(int(m_indent) * 10);
    if (m_flags & 0x40) info->m_bHeaderEnabled = 0;
    if (m_flags & 0x80) PrintHeading(m_flags & 3, "Heading", m_text.substr(0, 300).c_str());
  }

 private:
  std::uint8_t m_flags = 0, m_margin = 0, m_indent = 0;
  int m_tabs = 0;
  double m_stops[4] = {};
  unsigned m_from = 0, m_to = 0;
  std::string m_text;
  std::size_t m_pos = 0;
  zev::LONG m_total = 0x7FFFFFFF;
};

}  // namespace zevfuzz
