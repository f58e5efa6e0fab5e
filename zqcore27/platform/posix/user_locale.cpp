#include "zqcore27/platform/user_locale.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "zqcore27/platform/code_page.h"

inline namespace zqcore27 {

namespace {

struct Language {
  const char* name;  // of the locale, with or without a region
  const char* abbreviation;
};

// A language's regions stand before the language itself.
constexpr Language LANGUAGES[] = {
    {"af", "afk"},    {"ar", "ara"},    {"be", "bel"},    {"bg", "bgr"},    {"ca", "cat"},    {"cs", "csy"},
    {"da", "dan"},    {"de_AT", "dea"}, {"de_CH", "des"}, {"de_LI", "dec"}, {"de_LU", "del"}, {"de", "deu"},
    {"el", "ell"},    {"en_AU", "ena"}, {"en_CA", "enc"}, {"en_GB", "eng"}, {"en_IE", "eni"}, {"en_NZ", "enz"},
    {"en_ZA", "ens"}, {"en", "enu"},    {"es_MX", "esm"}, {"es", "esp"},    {"et", "eti"},    {"eu", "euq"},
    {"fa", "far"},    {"fi", "fin"},    {"fr_BE", "frb"}, {"fr_CA", "frc"}, {"fr_CH", "frs"}, {"fr_LU", "frl"},
    {"fr", "fra"},    {"gl", "glc"},    {"he", "heb"},    {"hi", "hin"},    {"hr", "hrv"},    {"hu", "hun"},
    {"hy", "hye"},    {"id", "ind"},    {"is", "isl"},    {"it_CH", "its"}, {"it", "ita"},    {"ja", "jpn"},
    {"ka", "kat"},    {"kk", "kkz"},    {"ko", "kor"},    {"lt", "lth"},    {"lv", "lvi"},    {"mk", "mki"},
    {"ms", "msl"},    {"nb", "nor"},    {"nl_BE", "nlb"}, {"nl", "nld"},    {"nn", "non"},    {"no", "nor"},
    {"pl", "plk"},    {"pt_BR", "ptb"}, {"pt", "ptg"},    {"ro", "rom"},    {"ru", "rus"},    {"sk", "sky"},
    {"sl", "slv"},    {"sq", "sqi"},    {"sv_FI", "svf"}, {"sv", "sve"},    {"th", "tha"},    {"tr", "trk"},
    {"uk", "ukr"},    {"ur", "urd"},    {"vi", "vit"},    {"zh_HK", "zhh"}, {"zh_SG", "zhi"}, {"zh_TW", "cht"},
    {"zh", "chs"},
};

struct Codeset {
  const char* name;  // capital letters and digits alone
  std::uint32_t codePage;
};

// A codeset that is part of a larger page takes that page. Those of three and four bytes a character aren't here.
constexpr Codeset CODESETS[] = {
    {"UTF8", CODE_PAGE_UTF8},
    {"ANSIX341968", CODE_PAGE_UTF8},
    {"USASCII", CODE_PAGE_UTF8},
    {"SHIFTJIS", 932},
    {"SJIS", 932},
    {"WINDOWS31J", 932},
    {"GB2312", 936},
    {"EUCCN", 936},
    {"GBK", 936},
    {"EUCKR", 949},
    {"UHC", 949},
    {"BIG5", 950},
    {"JOHAB", 1361},
    {"TIS620", 874},
    {"KOI8R", 20866},
    {"KOI8U", 21866},
};

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
char small(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }
char capital(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c; }

bool isPortable(std::string_view locale) {
  const std::string_view name = locale.substr(0, locale.find('.'));
  return name.empty() || name == "C" || name == "POSIX";
}

/// The first of the three variables that is set and not empty decides.
const char* localeOf(const char* category) {
  for (const char* variable : {"LC_ALL", category, "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != 0) return value;
  }
  return "";
}

/// The codeset in a form in which its usual spellings agree. Empty if it is longer than any known one.
class CodesetName {
 public:
  explicit CodesetName(std::string_view codeset) {
    for (const char c : codeset) {
      if (!isLetter(c) && !isDigit(c)) continue;
      if (fLength == sizeof fText) {
        fLength = 0;
        return;
      }
      fText[fLength++] = capital(c);
    }
  }
  std::string_view view() const { return {fText, fLength}; }

 private:
  char fText[16];
  std::size_t fLength = 0;
};

/// The number that makes up all of `text` behind `prefix`, at most five digits; 0 if there is none.
std::uint32_t numberBehind(std::string_view prefix, std::string_view text) {
  if (!text.starts_with(prefix)) return 0;
  text.remove_prefix(prefix.size());
  if (text.size() > 5 || !std::all_of(text.begin(), text.end(), isDigit)) return 0;
  std::uint32_t number = 0;
  for (const char c : text) number = number * 10 + static_cast<std::uint32_t>(c - '0');
  return number;
}

std::uint32_t codePageOfCodeset(std::string_view name) {
  for (const Codeset& codeset : CODESETS) {
    if (name == codeset.name) return codeset.codePage;
  }
  const std::uint32_t part = numberBehind("ISO8859", name);
  if (part >= 1 && part <= 16) return CodePage::isKnown(28590 + part) ? 28590 + part : 0;
  for (const char* prefix : {"CP", "WINDOWS", "IBM", "MS"}) {
    const std::uint32_t number = numberBehind(prefix, name);
    if (CodePage::isKnown(number)) return number;
  }
  return 0;
}

}  // namespace

LanguageName languageOfLocale(const char* locale) {
  if (isPortable(locale)) return {};
  const std::string_view name = std::string_view(locale).substr(0, std::strcspn(locale, ".@"));
  const std::string_view language = name.substr(0, name.find('_'));
  LanguageName result{};
  for (const Language& row : LANGUAGES) {
    if (name == row.name || language == row.name) {
      std::copy_n(row.abbreviation, 3, result.begin());
      return result;
    }
  }
  if (language.size() < 2 || language.size() > 3 || !std::all_of(language.begin(), language.end(), isLetter)) return {};
  for (std::size_t i = 0; i < 3 && i < language.size(); ++i) result[i] = small(language[i]);
  return result;
}

std::uint32_t codePageOfLocale(const char* locale) {
  std::string_view codeset(locale);
  const std::size_t stop = codeset.find('.');
  if (stop == codeset.npos) return isPortable(locale) ? CODE_PAGE_UTF8 : 0;
  codeset = codeset.substr(stop + 1);
  return codePageOfCodeset(CodesetName(codeset.substr(0, codeset.find('@'))).view());
}

LanguageName userLanguage() { return languageOfLocale(localeOf("LC_MESSAGES")); }

std::uint32_t userCodePage() { return codePageOfLocale(localeOf("LC_CTYPE")); }

std::uint32_t defaultCodePage() { return CODE_PAGE_UTF8; }

}  // namespace zqcore27
