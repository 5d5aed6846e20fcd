// Fields of delimited text files (SafeOutputString, ParseSafeString) and the
// CString trim helpers.
#pragma once
#include "zevutil/platform/CString.h"

namespace zev {

// The text made safe for one field of a delimited file. A text without a double
// quote, CR, LF or a character of 'special' comes back unchanged; otherwise it is
// put in double quotes with each double quote doubled, each LF turned into a blank
// and each CR dropped (characters of 'special' stay as they are).
CString SafeOutputString(const CString& text, const char* special = nullptr);

// Reads one field in place from a writable, NUL-ended buffer and moves the cursor
// past it and its delimiter. Delimiters are tab, CR and LF, and the characters of
// 'delimiters'; a CR and the character after it count as one. Leading blanks are
// skipped; a field in double quotes may hold delimiters and "" for a quote; an
// unquoted field loses its trailing blanks, except the last field of the buffer.
// Returns the field (terminated in the buffer), or the cursor itself when it is
// null or at the end.
char* ParseSafeString(char*& cursor, const char* delimiters = nullptr);

// Removes all leading occurrences of c.
void CSTrimLeftChar(CString& text, char c);
void CSTrimLeftSpaces(CString& text);
void CSTrimLeftTabs(CString& text);
// Removes trailing blanks and tabs.
void CSTrimRightSpacesAndTabs(CString& text);
// Removes trailing blanks and tabs, then leading blanks only: a leading tab stays.
void CSTrimLeftAndRight(CString& text);

}  // namespace zev
