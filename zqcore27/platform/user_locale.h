#pragma once

// Internal: what the user's locale says of language and encoding. The process's own locale is neither read nor changed.

#include <array>
#include <cstdint>

inline namespace zqcore27 {

/// An abbreviated language, two or three small letters and zeros behind them. All zeros: none.
using LanguageName = std::array<char, 4>;

/// The user's language in three letters, of which the first two tell the language and the third the region (`deu`,
/// `enu`, `eng`, `jpn`); in two or three letters as the locale spells it for a language without such an abbreviation;
/// none for the locales C and POSIX and where no locale is set. Threads: any, while nobody changes the environment.
LanguageName userLanguage();

/// The code page of the user's locale, or 0 where the locale names none that the platform has. Threads: as above.
std::uint32_t userCodePage();

/// The code page where the user's locale decides nothing.
std::uint32_t defaultCodePage();

/// The language of a locale name such as `de_AT.UTF-8@euro`.
LanguageName languageOfLocale(const char* name);

/// The code page of a locale name: of the codeset in it, UTF-8 for C, POSIX and the empty name, otherwise 0.
std::uint32_t codePageOfLocale(const char* name);

}  // namespace zqcore27
