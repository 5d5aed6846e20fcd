// Locale items and code page 1252 case mapping.
// Contract: GetLocaleInfoA answers the date and time items from a built-in table for
// the locales it knows and from the C library's current time locale for the
// defaults; it never changes the process locale. The case mapping is a fixed table,
// independent of any C library locale.
#include <langinfo.h>
#include <locale.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/Locale.h"

namespace zev {

namespace {

struct CaseTables {
  std::array<unsigned char, 256> upper{};
  std::array<unsigned char, 256> lower{};
  constexpr CaseTables() {
    for (int i = 0; i < 256; ++i) upper[i] = lower[i] = static_cast<unsigned char>(i);
    for (int c = 'a'; c <= 'z'; ++c) {
      upper[c] = static_cast<unsigned char>(c - 0x20);
      lower[c - 0x20] = static_cast<unsigned char>(c);
    }
    for (int c = 0xE0; c <= 0xFE; ++c) {
      if (c == 0xF7) continue;  // the division sign has no case
      upper[c] = static_cast<unsigned char>(c - 0x20);
      lower[c - 0x20] = static_cast<unsigned char>(c);
    }
    const int pairs[][2] = {{0x9A, 0x8A}, {0x9C, 0x8C}, {0x9E, 0x8E}, {0xFF, 0x9F}};
    for (const auto& p : pairs) {
      upper[p[0]] = static_cast<unsigned char>(p[1]);
      lower[p[1]] = static_cast<unsigned char>(p[0]);
    }
  }
};
constexpr CaseTables kCase;

struct LocaleItems {
  const char* shortDate;
  const char* iDate;
  const char* sDate;
  const char* timeFormat;
  const char* sTime;
  const char* iTime;
};

struct KnownLocale {
  LCID lcid;
  const char* name;  // language_territory as the C library spells it
  LocaleItems items;
};

constexpr KnownLocale kKnown[] = {
    {LCID_EN_US, "en_US", {"M/d/yyyy", "0", "/", "h:mm:ss tt", ":", "0"}},
    {LCID_EN_GB, "en_GB", {"dd/MM/yyyy", "1", "/", "HH:mm:ss", ":", "1"}},
    {LCID_DE_DE, "de_DE", {"dd.MM.yyyy", "1", ".", "HH:mm:ss", ":", "1"}},
    {LCID_JA_JP, "ja_JP", {"yyyy/MM/dd", "2", "/", "H:mm:ss", ":", "1"}},
};

const KnownLocale* FindKnown(LCID lcid) {
  for (const KnownLocale& k : kKnown)
    if (k.lcid == lcid) return &k;
  return nullptr;
}

// The language_territory part of the current time locale's name ("" for C/POSIX).
std::string CurrentTimeLocaleName() {
  const char* name = setlocale(LC_TIME, nullptr);
  if (!name) return {};
  std::string n(name);
  size_t cut = n.find_first_of(".@");
  if (cut != std::string::npos) n.resize(cut);
  if (n == "C" || n == "POSIX") return {};
  return n;
}

const KnownLocale* KnownForCurrent() {
  std::string n = CurrentTimeLocaleName();
  for (const KnownLocale& k : kKnown)
    if (n == k.name) return &k;
  return nullptr;
}

// Expands the composite conversions into their parts.
std::string ExpandFormat(const char* fmt) {
  std::string out;
  for (const char* p = fmt; *p; ++p) {
    if (*p != '%' || !p[1]) {
      out += *p;
      continue;
    }
    char c = *++p;
    // Skip the C library's flag and modifier characters (%-d, %Ey, %Od).
    while ((c == '-' || c == '_' || c == '0' || c == '^' || c == '#' || c == 'E' || c == 'O') && p[1]) c = *++p;
    switch (c) {
      case 'D': out += "%m/%d/%y"; break;
      case 'F': out += "%Y-%m-%d"; break;
      case 'r': out += "%I:%M:%S %p"; break;
      case 'T': out += "%H:%M:%S"; break;
      case 'R': out += "%H:%M"; break;
      default: out += '%'; out += c; break;
    }
  }
  return out;
}

struct Conversion {
  char code;
  std::string before;  // literal text since the previous conversion
};

std::vector<Conversion> Conversions(const std::string& fmt, std::string* trailer) {
  std::vector<Conversion> out;
  std::string lit;
  for (size_t i = 0; i < fmt.size(); ++i) {
    if (fmt[i] == '%' && i + 1 < fmt.size()) {
      char c = fmt[++i];
      if (c == '%') {
        lit += '%';
        continue;
      }
      out.push_back({c, lit});
      lit.clear();
    } else {
      lit += fmt[i];
    }
  }
  if (trailer) *trailer = lit;
  return out;
}

// Date and time items derived from the C library's formats; false when they say too
// little (no two conversions, an empty separator).
bool DeriveItems(const char* dateFmt, const char* timeFmt, std::string out[6]) {
  if (!dateFmt || !timeFmt) return false;
  std::string dTrail, tTrail;
  std::vector<Conversion> d = Conversions(ExpandFormat(dateFmt), &dTrail);
  std::vector<Conversion> t = Conversions(ExpandFormat(timeFmt), &tTrail);
  if (d.size() < 2 || t.size() < 2 || d[1].before.empty() || t[1].before.empty()) return false;
  std::string picture;
  int iDate = -1;
  for (size_t i = 0; i < d.size(); ++i) {
    picture += d[i].before;
    const char* part = nullptr;
    int order = -1;
    switch (d[i].code) {
      case 'm': part = "MM"; order = 0; break;
      case 'b': case 'h': part = "MMM"; order = 0; break;
      case 'B': part = "MMMM"; order = 0; break;
      case 'd': part = "dd"; order = 1; break;
      case 'e': part = "d"; order = 1; break;
      case 'y': part = "yy"; order = 2; break;
      case 'Y': part = "yyyy"; order = 2; break;
      default: return false;
    }
    if (iDate < 0) iDate = order;
    picture += part;
  }
  picture += dTrail;
  std::string timePicture;
  bool twentyFour = true;
  for (const Conversion& c : t) {
    timePicture += c.before;
    switch (c.code) {
      case 'H': timePicture += "HH"; break;
      case 'k': timePicture += "H"; break;
      case 'I': timePicture += "hh"; twentyFour = false; break;
      case 'l': timePicture += "h"; twentyFour = false; break;
      case 'M': timePicture += "mm"; break;
      case 'S': timePicture += "ss"; break;
      case 'p': case 'P': timePicture += "tt"; break;
      default: return false;
    }
  }
  timePicture += tTrail;
  out[0] = picture;
  out[1] = std::to_string(iDate);
  out[2] = d[1].before;
  out[3] = timePicture;
  out[4] = t[1].before;
  out[5] = std::string(1, twentyFour ? '1' : '0');
  return true;
}

int ItemIndex(LCTYPE type) {
  switch (type) {
    case LOCALE_SSHORTDATE: return 0;
    case LOCALE_IDATE: return 1;
    case LOCALE_SDATE: return 2;
    case LOCALE_STIMEFORMAT: return 3;
    case LOCALE_STIME: return 4;
    case LOCALE_ITIME: return 5;
    default: return -1;
  }
}

std::string TableItem(const LocaleItems& it, int index) {
  const char* v[6] = {it.shortDate, it.iDate, it.sDate, it.timeFormat, it.sTime, it.iTime};
  return v[index];
}

// The item for the user or system default: the C library's time locale.
std::string DefaultItem(int index) {
  if (const KnownLocale* k = KnownForCurrent()) return TableItem(k->items, index);
  if (!CurrentTimeLocaleName().empty()) {
    locale_t loc = uselocale(locale_t(nullptr));
    std::string derived[6];
    if (loc && DeriveItems(nl_langinfo_l(D_FMT, loc), nl_langinfo_l(T_FMT, loc), derived)) return derived[index];
  }
  return TableItem(kKnown[0].items, index);
}

}  // namespace

int GetLocaleInfoA(LCID locale, LCTYPE type, char* data, int cchData) {
  int index = ItemIndex(type & 0xFFFF);
  if (index < 0) {
    SetLastError(ERROR_INVALID_FLAGS);
    return 0;
  }
  std::string value;
  if (locale == LOCALE_USER_DEFAULT || locale == LOCALE_SYSTEM_DEFAULT || locale == 0) {
    value = DefaultItem(index);
  } else if (const KnownLocale* k = FindKnown(locale)) {
    value = TableItem(k->items, index);
  } else {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  int need = int(value.size()) + 1;
  if (cchData == 0) return need;
  if (cchData < 0 || !data) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  if (cchData < need) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  std::memcpy(data, value.c_str(), size_t(need));
  return need;
}

LCID GetUserDefaultLCID() {
  const KnownLocale* k = KnownForCurrent();
  return k ? k->lcid : LCID_EN_US;
}

LCID GetSystemDefaultLCID() { return GetUserDefaultLCID(); }

char Cp1252Upper(char c) { return static_cast<char>(kCase.upper[static_cast<unsigned char>(c)]); }
char Cp1252Lower(char c) { return static_cast<char>(kCase.lower[static_cast<unsigned char>(c)]); }

int Cp1252CompareNoCase(const char* a, const char* b) {
  if (!a) a = "";
  if (!b) b = "";
  for (;; ++a, ++b) {
    int ca = kCase.upper[static_cast<unsigned char>(*a)];
    int cb = kCase.upper[static_cast<unsigned char>(*b)];
    if (ca != cb) return ca - cb;
    if (!ca) return 0;
  }
}

namespace {
bool IsSingleCharacter(const char* p) { return (reinterpret_cast<std::uintptr_t>(p) >> 16) == 0; }

char* ConvertString(char* text, const std::array<unsigned char, 256>& table) {
  if (IsSingleCharacter(text)) {
    auto ch = static_cast<unsigned char>(reinterpret_cast<std::uintptr_t>(text) & 0xFF);
    return reinterpret_cast<char*>(static_cast<std::uintptr_t>(table[ch]));
  }
  for (char* p = text; *p; ++p) *p = static_cast<char>(table[static_cast<unsigned char>(*p)]);
  return text;
}
}  // namespace

char* CharUpperA(char* text) { return ConvertString(text, kCase.upper); }
char* CharLowerA(char* text) { return ConvertString(text, kCase.lower); }

DWORD CharUpperBuffA(char* text, DWORD length) {
  if (!text) return 0;
  for (DWORD i = 0; i < length; ++i) text[i] = Cp1252Upper(text[i]);
  return length;
}

DWORD CharLowerBuffA(char* text, DWORD length) {
  if (!text) return 0;
  for (DWORD i = 0; i < length; ++i) text[i] = Cp1252Lower(text[i]);
  return length;
}

}  // namespace zev
