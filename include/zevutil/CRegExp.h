// CRegExp: the library's regular expression engine. A two-pass compiler turns the pattern
// into a compact node program; a backtracking matcher runs it over single-byte text.
// Syntax: literals, '.', '[...]' and '[^...]' with ranges, '^', '$', '*', '+', '?', '|',
// up to nine '(...)' groups, and '\' to quote one character.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zevutil/platform/Types.h"

namespace zev {

class CRegExp {
 public:
  static constexpr int NSUBEXP = 10;  // group 0 is the whole match, 1 to 9 the groups

  CRegExp();
  ~CRegExp();
  // A copy shares the program and the buffers of the original, as its fields stand.
  CRegExp(const CRegExp&);
  CRegExp& operator=(const CRegExp&);

  // Compiles the pattern; returns 1, or 0 on failure with the reason copied into 'error'
  // (which may be null; it is kept and receives match-time reasons too, so it must
  // outlive this object). With 'upper' the pattern is compiled upper-cased, which with
  // the 'upper' argument of the searches makes a search ignore case. A null or empty
  // pattern returns 0 and sets no text.
  int RegComp(const char* pattern, int upper = 0, char* error = nullptr);

  // Offset of the first match in 'text', or -1.
  int RegFind(const char* text);
  // The same over text[start..end] (both included, clamped to the text), upper-cased
  // first with 'upper'. The offset counts from 'text'.
  int RegFind(const char* text, int start, int end, int upper);
  // Offset of the last match in text[start..end], found by bisection: each probe treats
  // its own start as the start of the text. -1 when there is none.
  int ReverseRegFind(const char* text, int start, int end, int upper);

  // For a search through many lines at once (text between line ends, each searched on
  // its own): the first place in [from, to) that holds what every match must hold (a
  // text, or one of a set of bytes), as a search with 'upper' sees the text. No line
  // that ends before the place returned can hold a match; 'to' when there is no such
  // place at all. 'from' when the pattern gives no such hint, or nothing is compiled.
  // The text need not be terminated; the last match found is left alone.
  const char* FindCandidate(const char* from, const char* to, int upper = 0) const;

  // Length of the last match found by RegFind, 0 if there is none.
  int GetFindLen() const;
  // Bounds of the last match in the searched text (null when there is none).
  void GetFindStartStop(const char*& start, const char*& stop) const;
  // A new string (free it with free()) holding group 0 to 9 of the last match; null for
  // a group out of range, not set or empty.
  char* GetTaggedString(int group) const;
  // A new string (free it with free()) made from the template: '&' is the whole match,
  // '\0'..'\9' a group, '\\' a backslash and '\&' an ampersand. Null when the template
  // is null or there is no found text.
  char* GetReplaceString(const char* replacement) const;

 private:
  struct Tables;
  struct Frame;
  struct MatchState;

  char* reg(int paren, int& flags);
  char* regbranch(int& flags);
  char* regpiece(int& flags);
  char* regatom(int& flags);
  char* regnode(char op);
  void regc(char b);
  void reginsert(char op, char* opnd);
  void regtail(char* p, const char* val);
  void regoptail(char* p, const char* val);
  int regtry(const char* position);
  int regmatch(const char* prog);
  int regrepeat(const char* node);
  // Defined, inline, in the implementation, the only place that uses them.
  inline const char* regnext(const char* p) const;
  inline char* regnext(char* p) const;
  int CreateTempString(const char* text, int& start, int& end, int upper);

  char* Fail(const char* message);
  void GrowSize(LONG bytes);
  void MatchError(const char* message) const;
  void BuildTables();
  void ReleaseTemp();   // drops the working copy (its block kept for the next one)
  void ReleaseFound();  // drops the found text (its block kept for the next match)
  bool FirstChars(const char* scan, unsigned char (&set)[256], int& budget) const;
  bool LiteralStarts(const char* scan, std::vector<std::string>& out, int& budget) const;
  bool InClass(const char* node, char c) const;
  // mustAt: where the text every match must hold first occurs (null: not looked for).
  int SearchFrom(const char* text, const char* mustAt);
  int TryPositions(const char* text, const char* mustAt);
  bool MemoFailed(const char* node, const char* position);
  void MemoFail(const char* node, const char* position);

  int m_bEmitCode = 0;
  int m_bCompiled = 0;
  std::shared_ptr<char> m_pFoundText;  // copy of the text of the last match
  std::shared_ptr<char> m_pTempText;   // working copy of the stretch searched
  int m_bTempOwned = 0;
  const char* m_apStartp[NSUBEXP] = {};
  const char* m_apEndp[NSUBEXP] = {};
  char m_cRegStart = 0;
  char m_cRegAnchor = 0;
  const char* m_pRegMust = nullptr;  // points into the program
  int m_nRegMustLen = 0;
  std::shared_ptr<char> m_pProgram;
  const char* m_pRegParse = nullptr;
  int m_nRegNpar = 0;
  char* m_pRegCode = nullptr;
  char m_achRegDummy[3] = {};
  LONG m_lRegSize = 0;
  const char* m_pRegInput = nullptr;
  const char* m_pRegBol = nullptr;
  char* m_pErrorBuf = nullptr;

  // Bytes of the current program (what m_lRegSize was when it was emitted).
  std::size_t m_nProgSize = 0;
  // Offsets of the nodes, recorded while emitting.
  std::vector<std::size_t> m_nodeOffsets;
  // Facts derived from the program once it is compiled, shared like the program.
  std::shared_ptr<const Tables> m_pTables;
  // Matcher working state (backtracking stack, failure record); never shared.
  std::unique_ptr<MatchState> m_pMatch;
};

}  // namespace zev
